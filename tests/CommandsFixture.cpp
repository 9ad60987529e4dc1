// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CommandsFixture.h"

namespace
{

// A listing, by bytes.
constexpr int LISTING_HEADER_SIZE = 32; // load address and title line
constexpr int NAME_OFFSET = 7;          // in an entry
constexpr int TYPE_OFFSET = 26;         // in an entry
constexpr int ENTRY_SIZE = 30;          // with a type of three characters

} // namespace

WireObject Program(const QByteArray &name, const QByteArray &data, bool replace)
{
    WireObject object;
    object.type = WireObject::PROGRAM;
    object.name = NameField(name);
    object.data = data;
    object.replace = replace;
    return object;
}

WireObject Disk(const QByteArray &name, const QByteArray &data, bool replace)
{
    WireObject object = Program(name, data, replace);
    object.type = WireObject::DISK;
    return object;
}

QByteArray SearchListing(const QByteArray &entries)
{
    return Listing("SEARCH RESULTS", entries);
}

QByteArray ManifestListing(const QByteArray &entries)
{
    return Listing("SENT DISK(S)", entries);
}

QList<QByteArray> Entries(const QByteArray &listing)
{
    QList<QByteArray> entries;
    for (int at = LISTING_HEADER_SIZE; at + ENTRY_SIZE <= listing.size(); at += ENTRY_SIZE) {
        const QByteArray name = listing.mid(at + NAME_OFFSET);
        entries.append(name.left(name.indexOf('"')) + '.' + listing.mid(at + TYPE_OFFSET, 3));
    }
    return entries;
}

QByteArray OnlyProgram(const HubReply &reply)
{
    const WirePackage package = reply.Package();
    if (!package.valid || package.objects.size() != 1 ||
        package.objects.first().type != WireObject::PROGRAM)
        return QByteArray();
    return package.objects.first().data;
}

QList<WireObject> Disks(const HubReply &reply)
{
    QList<WireObject> disks;
    const WirePackage package = reply.Package();
    for (const WireObject &object : package.objects) {
        if (object.type == WireObject::DISK)
            disks.append(object);
    }
    return disks;
}

QStringList AsShown(const QStringList &lines)
{
    QPlainTextEdit console;
    for (QString line : lines) {
        for (QChar &c : line) {
            if (c.category() == QChar::Other_Control)
                c = QChar(QChar::ReplacementCharacter);
        }
        console.appendPlainText(line);
    }
    return console.toPlainText().split(QLatin1Char('\n'));
}

QString HostText(const QByteArray &name)
{
    QString text;
    for (const char c : name) {
        const int byte = static_cast<unsigned char>(c);
        if (byte == 0xA0)
            break;
        if (byte >= 0x41 && byte <= 0x5A)
            text += QChar(byte + 0x20);
        else if (byte >= 0xC1 && byte <= 0xDA)
            text += QChar(byte - 0x80);
        else
            text += QChar(byte);
    }
    return text;
}

void AddDirectoriesOfNothing()
{
    QTest::addColumn<QString>("directory");

    QTest::newRow("never-chosen") << QString();
    QTest::newRow("empty-text") << QStringLiteral("");
    QTest::newRow("missing") << QStringLiteral("missing");
    QTest::newRow("file") << QStringLiteral("a.prg");
    QTest::newRow("dangling-link") << QStringLiteral("dangling");
}

void CommandsFixture::initTestCase()
{
    umask(022);
    QVERIFY(mHub.Port() != 0);
    QVERIFY(HubFixture::Console());
    mWorkingDirectory = QDir::currentPath();
}

void CommandsFixture::init()
{
    mDirectory = std::make_unique<QTemporaryDir>();
    QVERIFY(mDirectory->isValid());
    // Open to everybody, see OrdinaryUser.
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
    QVERIFY(QDir().mkpath(Path("disks")));
    QVERIFY(QDir().mkpath(Path("programs")));
    mHub->mDiskPath = Path("disks");
    mHub->mProgramPath = Path("programs");
    mHub->mValidate = false;
    mHub->RemAllUsers();
    HubFixture::ClearLog();
}

void CommandsFixture::cleanup()
{
    QCOMPARE(QDir::currentPath(), mWorkingDirectory);
}

QString CommandsFixture::Path(const QString &relative) const
{
    return mDirectory->path() + QLatin1Char('/') + relative;
}

QString CommandsFixture::MakeFullDirectory() const
{
    bool made = WriteSparseFile(Path("full/a.prg"), D64_SIZE);
#ifndef Q_OS_WIN // where there is just nothing of that name
    made = made && MakeLink(QStringLiteral("gone"), Path("full/dangling"));
#endif
    return made ? Path("full") : QString();
}

QStringList CommandsFixture::Received(const char *kind, const QString &name)
{
    return {QStringLiteral("> Received %1 \"%2\"").arg(QLatin1String(kind), name)};
}

QString CommandsFixture::Written(const QString &path)
{
    return QStringLiteral("> Written as \"") + path + QStringLiteral("\".");
}

QStringList CommandsFixture::DiskRefused()
{
    return {QStringLiteral("    ** Disk with that name already exists!"),
            QStringLiteral("    ** Specify \"@disk:\" to replace...")};
}

QStringList CommandsFixture::ProgramRefused()
{
    return {QStringLiteral("    ** Program with that name already exists!"),
            QStringLiteral("    ** Specify \"@:\" to replace...")};
}

QStringList CommandsFixture::DiskFailed()
{
    return {QStringLiteral("    ** Unknown error writing disk!")};
}

QStringList CommandsFixture::ProgramFailed()
{
    return {QStringLiteral("    ** Unknown error writing program!")};
}

QString CommandsFixture::Requested(const char *command)
{
    return QStringLiteral("%1 request from Skylet UUID: 42").arg(QLatin1String(command));
}

QStringList CommandsFixture::UploadLog() const
{
    QStringList log = HubFixture::Log();
    log.removeAll(Requested("UPLOAD"));
    return log;
}
