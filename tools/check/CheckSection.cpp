// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckSection.h"

#include "CheckName.h"

#include "AppImageKinds.h"
#include "AppMediaMgr.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <algorithm>
#include <utility>

namespace
{

/// The pattern that fits every name.
AppDosName Everything()
{
    AppDosName pattern;
    pattern.FromString("*", true);
    return pattern;
}

/// Whether a DOWNLOAD can read what a search found.
bool IsReadable(const QFileInfo &info)
{
    // Opening each file of a large directory takes longer than the search did.
    const QFile::Permissions anybody = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
    if (info.isFile() && info.permission(anybody))
        return true;
    return AppMediaMgr::Instance().Read(info, nullptr);
}

bool HasDiskSize(const QFileInfo &info)
{
    return AppImageKinds::TypeOfSize(info.size()) != AppImageKinds::NO_DISKTYPE;
}

/// Empty if the file cannot be read.
QByteArray HeadOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(CheckImage::HEAD_SIZE) : QByteArray();
}

} // namespace

CheckSection::CheckSection(ROLE role, const QString &directory) : mRole(role)
{
    // An empty path would become the working directory.
    if (directory.isEmpty())
        return;
    mDirectory = QDir(directory).absolutePath();
    mCanonical = QFileInfo(mDirectory).canonicalFilePath();
}

void CheckSection::LookAtServed()
{
    RemarkOnDirectory();
    Search();
    const QVector<CheckMatches::FILE> files = Files();
    mMatches = CheckMatches::Find(files);
    for (int i = 0; i < mEntries.size(); ++i) {
        mEntries[i].sent = files.at(i).readable && IsSent(i);
        if (!files.at(i).readable)
            RemarkOnUnreadable(i);
        RemarkOnEmpty(i);
        RemarkOnExtension(i);
        RemarkOnCutName(i);
        RemarkOnName(i);
    }
    RemarkOnSharedNames();
}

void CheckSection::Search()
{
    const AppMediaMgr &media = AppMediaMgr::Instance();
    if (mRole == ROLE_DISKS) {
        const QList<AppMediaMgr::DISK> disks = media.SearchDisks(mDirectory, Everything());
        Reserve(disks.size());
        for (const AppMediaMgr::DISK &disk : disks)
            Append(disk.name, AppImageKinds::OfType(disk.type)->name, disk.info);
    } else {
        const QList<AppMediaMgr::PROGRAM> programs = media.SearchPrograms(mDirectory, Everything());
        Reserve(programs.size());
        for (const AppMediaMgr::PROGRAM &program : programs)
            Append(program.name, "PRG", program.info);
    }
}

void CheckSection::Reserve(qsizetype size)
{
    mEntries.reserve(size);
    mInfos.reserve(size);
    mFiles.reserve(size);
}

void CheckSection::Append(const AppDosName &name, const char *type, const QFileInfo &info)
{
    const bool isRoot = mDirectory.endsWith(QLatin1Char('/'));
    const QString file = info.filePath().mid(mDirectory.size() + (isRoot ? 0 : 1));
    mEntries.append({name, QLatin1String(type), file, false});
    mInfos.append(info);
    mFiles.insert(file);
}

QVector<CheckMatches::FILE> CheckSection::Files() const
{
    QVector<CheckMatches::FILE> files;
    files.reserve(mEntries.size());
    for (int i = 0; i < mEntries.size(); ++i) {
        const AppDosName &name = mEntries.at(i).name;
        files.append({name, CheckName::Wildcards(name), IsReadable(mInfos.at(i))});
    }
    return files;
}

void CheckSection::LookAtRest(const QVector<CheckTree::ITEM> &items, const CheckSection *other,
                              QSet<QString> *remarked)
{
    for (const CheckTree::ITEM &item : items) {
        const bool isFile = item.kind == CheckTree::KIND_FILE;
        const bool mayBeServed = isFile || item.kind == CheckTree::KIND_SPECIAL;
        if (mayBeServed && mFiles.contains(item.path))
            continue;
        const QString path = mCanonical + QLatin1Char('/') + item.path;
        if (mayBeServed && other != nullptr && other->Serves(path))
            continue;
        const CheckImage::REASON reason =
            isFile ? WhyNotServed(path, other) : WhyNotSeen(item.kind);
        const QString key = reason.code + QLatin1Char(' ') + path;
        if (reason.code.isEmpty() || remarked->contains(key))
            continue;
        remarked->insert(key);
        Remark(reason.code, item.path.isEmpty() ? QStringList() : QStringList(item.path),
               reason.text, reason.advice);
    }
    SortRemarks();
}

bool CheckSection::Serves(const QString &path) const
{
    const QString prefix = mCanonical + QLatin1Char('/');
    return !mCanonical.isEmpty() && path.startsWith(prefix) &&
           mFiles.contains(path.mid(prefix.size()));
}

QString CheckSection::Directory() const
{
    return mDirectory;
}

QString CheckSection::CanonicalDirectory() const
{
    return mCanonical;
}

const QVector<CheckSection::ENTRY> &CheckSection::Entries() const
{
    return mEntries;
}

const QVector<CheckSection::REMARK> &CheckSection::Remarks() const
{
    return mRemarks;
}

bool CheckSection::IsEmpty(int index) const
{
    return mRole == ROLE_PROGRAMS && mInfos.at(index).size() == 0;
}

/// Whether a DOWNLOAD sends the file, which can be read, if what is to be typed for it is typed.
bool CheckSection::IsSent(int index) const
{
    const CheckMatches::MATCH &match = mMatches.at(index);
    // Nothing can be typed for an empty name.
    if (mEntries.at(index).name.Length() == 0)
        return false;
    if (mRole == ROLE_DISKS)
        return index <= match.lastDisk;
    // A program without data is left out of a package.
    return index == match.lastReadable && !IsEmpty(index);
}

QString CheckSection::Screen(int index) const
{
    return CheckName::Screen(mEntries.at(index).name);
}

void CheckSection::Remark(const QString &code, const QStringList &files, const QString &text,
                          const QString &advice)
{
    mRemarks.append({code, files, text, advice});
}

void CheckSection::RemarkOn(int index, const QString &code, const QString &text,
                            const QString &advice)
{
    Remark(code, {mEntries.at(index).file}, text, advice);
}

void CheckSection::RemarkOnDirectory()
{
    if (mDirectory.isEmpty())
        Remark(QStringLiteral("directory-not-chosen"), {},
               tr("no directory was chosen; nothing is served or stored"),
               tr("Choose it in the hub's window."));
    else if (!QDir(mDirectory).exists())
        Remark(QStringLiteral("directory-missing"), {},
               tr("the directory does not exist; nothing is served or stored"),
               tr("Make it, or choose another in the hub's window."));
}

void CheckSection::RemarkOnUnreadable(int index)
{
    const QFileInfo &info = mInfos.at(index);
    if (info.isFile())
        RemarkOn(index, QStringLiteral("unreadable"),
                 tr("cannot be read; SEARCH lists it, DOWNLOAD passes over it"),
                 tr("Allow the user that the hub runs as to read it."));
    else if (info.isDir())
        RemarkOn(index, QStringLiteral("no-file"),
                 tr("a directory; SEARCH lists it, DOWNLOAD passes over it"), tr("Rename it."));
    else
        RemarkOn(index, QStringLiteral("no-file"),
                 tr("a pipe, a socket or a device; SEARCH lists it, DOWNLOAD passes over it"),
                 tr("Remove it."));
}

void CheckSection::RemarkOnEmpty(int index)
{
    if (mInfos.at(index).isFile() && IsEmpty(index))
        RemarkOn(index, QStringLiteral("empty"),
                 tr("empty; SEARCH lists it, DOWNLOAD sends nothing"), tr("Get it anew."));
}

void CheckSection::RemarkOnExtension(int index)
{
    const ENTRY &entry = mEntries.at(index);
    if (mRole != ROLE_DISKS || entry.file.endsWith(entry.type, Qt::CaseInsensitive))
        return;
    if (!mInfos.at(index).suffix().isEmpty())
        RemarkOn(index, QStringLiteral("other-extension"),
                 tr("served as a %1, since it has the size of one").arg(entry.type),
                 tr("If it is none, move it out of the disk directory."));
}

void CheckSection::RemarkOnCutName(int index)
{
    // Not by the parts of a QFileInfo: making them takes too long for every file there is.
    const QString &file = mEntries.at(index).file;
    const qsizetype start = file.lastIndexOf(QLatin1Char('/')) + 1;
    const qsizetype firstDot = file.indexOf(QLatin1Char('.'), start);
    if (firstDot != file.lastIndexOf(QLatin1Char('.')) && firstDot >= 0)
        RemarkOn(index, QStringLiteral("cut-at-dot"),
                 tr("listed as \"%1\": a name ends at its first dot").arg(Screen(index)),
                 tr("Rename it, without the other dots."));
    if ((firstDot < 0 ? file.size() : firstDot) - start > AppDosName::SIZE)
        RemarkOn(index, QStringLiteral("cut-at-16"),
                 tr("listed as \"%1\": a name has 16 characters at most").arg(Screen(index)),
                 tr("Shorten its name."));
}

void CheckSection::RemarkOnName(int index)
{
    const QStringList faults = CheckName::Faults(mEntries.at(index).name);
    if (!faults.isEmpty())
        RemarkOn(index, QStringLiteral("name"),
                 tr("its name holds %1").arg(faults.join(QStringLiteral("; "))),
                 AdviceOnName(index));
}

QString CheckSection::AdviceOnName(int index) const
{
    const ENTRY &entry = mEntries.at(index);
    const CheckMatches::MATCH &match = mMatches.at(index);
    const QString keys = CheckName::Keys(entry.name);
    if (entry.sent && match.fits == 1)
        return tr("Type %1, or rename it.").arg(keys);
    if (entry.sent)
        return tr("Type %1, which fits %2 files, or rename it.")
            .arg(keys, QString::number(match.fits));
    const bool another = mRole == ROLE_PROGRAMS && match.lastReadable >= 0 &&
                         match.lastReadable != index && !keys.isEmpty();
    if (another)
        return tr("Rename it: %1 gets %2.").arg(keys, mEntries.at(match.lastReadable).file);
    return tr("Rename it.");
}

void CheckSection::RemarkOnSharedNames()
{
    QHash<QByteArray, QVector<int>> groups;
    for (int i = 0; i < mEntries.size(); ++i) {
        const AppDosName &name = mEntries.at(i).name;
        if (mMatches.at(i).fits > 1)
            groups[QByteArray(name.Bytes(), static_cast<int>(name.Length()))].append(i);
    }
    // A pattern with a wildcard may fit names that are not the same.
    for (const QVector<int> &group : std::as_const(groups)) {
        if (group.size() > 1)
            RemarkOnSharedName(group);
    }
}

void CheckSection::RemarkOnSharedName(const QVector<int> &group)
{
    QStringList files;
    for (const int index : group)
        files.append(mEntries.at(index).file);
    const int first = group.first();
    const QString sent = mRole == ROLE_DISKS ? SentOfDisks(first) : SentOfPrograms(first);
    Remark(QStringLiteral("same-name"), files,
           tr("%1 files share the name \"%2\"; DOWNLOAD sends %3")
               .arg(QString::number(files.size()), Screen(first), sent),
           tr("Rename them so that they differ in their first 16 characters, before a dot."));
}

QString CheckSection::SentOfDisks(int index) const
{
    const CheckMatches::MATCH &match = mMatches.at(index);
    if (match.readable == 0)
        return tr("none of them");
    if (match.readable > CheckMatches::DISKS_MAX)
        return tr("no more than %1, up to %2")
            .arg(QString::number(CheckMatches::DISKS_MAX), mEntries.at(match.lastDisk).file);
    return match.readable < match.fits ? tr("those that can be read") : tr("all of them");
}

QString CheckSection::SentOfPrograms(int index) const
{
    const int last = mMatches.at(index).lastReadable;
    if (last < 0)
        return tr("none of them");
    const QString file = mEntries.at(last).file;
    return IsEmpty(last) ? tr("nothing, since the last one, %1, is empty").arg(file)
                         : tr("the last one that can be read, %1").arg(file);
}

CheckImage::REASON CheckSection::WhyNotServed(const QString &path, const CheckSection *other) const
{
    const QFileInfo info(path);
    if (!info.exists())
        return {QStringLiteral("unreadable"),
                tr("not served: its directory does not let one look at it"),
                tr("Allow the user that the hub runs as to enter the directory.")};
    if (CheckImage::IsProgram(path)) {
        if (mRole == ROLE_PROGRAMS || other == nullptr)
            return {};
        return {QStringLiteral("wrong-directory"),
                tr("not served: programs are looked for in the program directory"),
                tr("Move it there.")};
    }
    if (HasDiskSize(info)) {
        if (mRole == ROLE_DISKS || other == nullptr)
            return {};
        return {QStringLiteral("wrong-directory"),
                tr("not served: disks are looked for in the disk directory; and while it lies "
                   "here, no program of its name can be uploaded"),
                tr("Move it there.")};
    }
    CheckImage::REASON reason = CheckImage::WhyNot(path, info.size(), HeadOf(path));
    reason.text = tr("not served: %1").arg(reason.text);
    return reason;
}

CheckImage::REASON CheckSection::WhyNotSeen(CheckTree::KIND kind) const
{
    const QString rename = tr("Rename it.");
    switch (kind) {
    case CheckTree::KIND_HIDDEN_FILE:
        return {QStringLiteral("hidden"), tr("not served: the dot at its start hides it"), rename};
    case CheckTree::KIND_HIDDEN_DIRECTORY:
        return {QStringLiteral("hidden"), tr("not looked into: the dot at its start hides it"),
                rename};
    case CheckTree::KIND_SPECIAL:
        return {QStringLiteral("no-file"), tr("not served: a pipe, a socket or a device"),
                QString()};
    case CheckTree::KIND_LINKED_DIRECTORY:
        return {QStringLiteral("link"),
                tr("not looked into: links to directories are not followed"),
                tr("Move the directory itself here.")};
    case CheckTree::KIND_BROKEN_LINK:
        return {QStringLiteral("link"), tr("not served: a link to what is not there"),
                tr("Mend or remove it.")};
    case CheckTree::KIND_UNREADABLE_DIRECTORY:
        return {QStringLiteral("unreadable"), tr("not looked into: it cannot be read"),
                tr("Allow the user that the hub runs as to read it.")};
    case CheckTree::KIND_UNDECODABLE:
        return {QStringLiteral("no-text"),
                tr("not served: its name is no text in this system's encoding"), rename};
    case CheckTree::KIND_FILE:
        break;
    }
    return {};
}

void CheckSection::SortRemarks()
{
    std::stable_sort(mRemarks.begin(), mRemarks.end(), [](const REMARK &a, const REMARK &b) {
        if (a.files.isEmpty() || b.files.isEmpty())
            return a.files.size() < b.files.size();
        return a.files.first() < b.files.first();
    });
}
