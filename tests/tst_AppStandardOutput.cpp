// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppStandardOutput.h"
#include "HostFiles.h"

#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace
{

using STREAM = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

STREAM Open(const QString &path)
{
    return {std::fopen(QFile::encodeName(path).constData(), "wb"), std::fclose};
}

/// What a file holds after `write` wrote to it.
QByteArray Written(const std::function<bool(std::FILE *)> &write)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("output"));
    if (!write(Open(path).get()))
        return "not written";
    return ReadFile(path);
}

} // namespace

class tst_AppStandardOutput : public QObject
{
    Q_OBJECT

private slots:
    void textIsInTheSystemsEncoding();
    void utf8IsWrittenAsItIs();
    void nothingIsWrittenForNothing();
    void failureIsTold();
};

void tst_AppStandardOutput::textIsInTheSystemsEncoding()
{
    const QString text = QString::fromUtf8("caf\xc3\xa9 \xe2\x82\xac\n");
    QCOMPARE(Written([&](std::FILE *stream) { return AppStandardOutput::Write(stream, text); }),
             text.toLocal8Bit());
}

void tst_AppStandardOutput::utf8IsWrittenAsItIs()
{
    const QByteArray text = QByteArray::fromHex("C3A9 00 FF 0A");
    QCOMPARE(Written([&](std::FILE *stream) { return AppStandardOutput::WriteUtf8(stream, text); }),
             text);
}

void tst_AppStandardOutput::nothingIsWrittenForNothing()
{
    QCOMPARE(Written([](std::FILE *stream) { return AppStandardOutput::Write(stream, QString()); }),
             QByteArray(""));
}

void tst_AppStandardOutput::failureIsTold()
{
    SKIP_ON_WINDOWS("Windows has no full device");
    const STREAM full = Open(QStringLiteral("/dev/full"));
    QVERIFY(full != nullptr);
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    QVERIFY(!AppStandardOutput::Write(full.get(), QStringLiteral("a")));
    QVERIFY(!AppStandardOutput::WriteUtf8(full.get(), "a"));
}

QTEST_GUILESS_MAIN(tst_AppStandardOutput)
#include "tst_AppStandardOutput.moc"
