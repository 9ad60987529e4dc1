// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppMediaMgr.h"
#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

constexpr int D64_SIZE = 174848;

/// A name of the bytes before the padding.
inline AppDosName Name(const QByteArray &bytes)
{
    return AppDosName::FromBytes(bytes.leftJustified(AppDosName::SIZE, char(0xA0)).constData());
}

/// The name of a host's text.
inline AppDosName HostName(const char *text)
{
    AppDosName name;
    name.FromString(QString::fromUtf8(text), true);
    return name;
}

inline AppDosName Everything()
{
    return Name("*");
}

/// A directory of media, a new one for each row of a test.
class MediaTest : public QObject
{
protected:
    /// For the test's init().
    void MakeDirectory()
    {
        mDirectory = std::make_unique<QTemporaryDir>();
        QVERIFY(mDirectory->isValid());
        // Open to everybody, see OrdinaryUser.
        QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
    }

    /// Rows of what is no directory.
    void AddNoDirectories() const
    {
        QTest::addColumn<QString>("directory");

        // Relative to a working directory that is full of media.
        QTest::newRow("never-chosen") << QString();
        QTest::newRow("empty-text") << QStringLiteral("");
        QTest::newRow("missing") << QStringLiteral("missing");
        QTest::newRow("missing-in-a-missing-one") << QStringLiteral("missing/missing");
        QTest::newRow("file") << QStringLiteral("a.prg");
        QTest::newRow("dangling-link") << QStringLiteral("dangling");
    }

    QString Path(const char *relative) const { return Path(QString::fromUtf8(relative)); }

    /// The same for any name: QTemporaryDir and QDir take a colon in front for Qt's own.
    QString Path(const QString &relative) const
    {
        return mDirectory->path() + QLatin1Char('/') + relative;
    }

    bool SetMode(const char *relative, mode_t mode) const
    {
        return chmod(QFile::encodeName(Path(relative)).constData(), mode) == 0;
    }

    /// Relative paths, sorted.
    template <typename RECORD> QStringList Found(const QList<RECORD> &records) const
    {
        QStringList paths;
        for (const RECORD &record : records)
            paths.append(QDir(mDirectory->path()).relativeFilePath(record.info.filePath()));
        paths.sort();
        return paths;
    }

    QStringList FoundDisks(const AppDosName &pattern = Everything()) const
    {
        return Found(AppMediaMgr::Instance().SearchDisks(mDirectory->path(), pattern));
    }

    QStringList FoundPrograms(const AppDosName &pattern = Everything()) const
    {
        return Found(AppMediaMgr::Instance().SearchPrograms(mDirectory->path(), pattern));
    }

    std::unique_ptr<QTemporaryDir> mDirectory;
};
