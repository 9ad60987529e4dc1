// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckServedRemarks.h"

#include "CheckMatches.h"
#include "CheckName.h"
#include "CheckServed.h"

#include "AppMediaMgr.h"

#include <QDir>
#include <QHash>

#include <utility>

namespace
{

CheckRemark RemarkOn(const CheckEntry &entry, const QString &code, const QString &text,
                     const QString &advice)
{
    return {code, {entry.file}, text, advice};
}

QString Screen(const CheckEntry &entry)
{
    return CheckName::Screen(entry.name);
}

void RemarkOnDirectory(const CheckServed &served, QVector<CheckRemark> *remarks)
{
    if (served.Directory().isEmpty())
        remarks->append(
            {QStringLiteral("directory-not-chosen"),
             {},
             CheckServedRemarks::tr("no directory was chosen; nothing is served or stored"),
             CheckServedRemarks::tr("Choose it in the hub's window.")});
    else if (!QDir(served.Directory()).exists())
        remarks->append(
            {QStringLiteral("directory-missing"),
             {},
             CheckServedRemarks::tr("the directory does not exist; nothing is served or stored"),
             CheckServedRemarks::tr("Make it, or choose another in the hub's window.")});
}

void RemarkOnUnreadable(const CheckServed &, const CheckEntry &entry, QVector<CheckRemark> *remarks)
{
    if (entry.readable)
        return;
    if (entry.info.isFile() && entry.info.size() > AppMediaMgr::READ_SIZE_MAX)
        remarks->append(RemarkOn(
            entry, QStringLiteral("too-large"),
            CheckServedRemarks::tr("too large to send; SEARCH lists it, DOWNLOAD passes over it"),
            CheckServedRemarks::tr("Move it elsewhere.")));
    else if (entry.info.isFile())
        remarks->append(RemarkOn(
            entry, QStringLiteral("unreadable"),
            CheckServedRemarks::tr("cannot be read; SEARCH lists it, DOWNLOAD passes over it"),
            CheckServedRemarks::tr("Allow the user that the hub runs as to read it.")));
    else if (entry.info.isDir())
        remarks->append(RemarkOn(
            entry, QStringLiteral("no-file"),
            CheckServedRemarks::tr("a directory; SEARCH lists it, DOWNLOAD passes over it"),
            CheckServedRemarks::tr("Rename it.")));
    else
        remarks->append(
            RemarkOn(entry, QStringLiteral("no-file"),
                     CheckServedRemarks::tr(
                         "a pipe, a socket or a device; SEARCH lists it, DOWNLOAD passes over it"),
                     CheckServedRemarks::tr("Remove it.")));
}

void RemarkOnEmpty(const CheckServed &served, const CheckEntry &entry,
                   QVector<CheckRemark> *remarks)
{
    if (entry.info.isFile() && served.IsEmpty(entry))
        remarks->append(
            RemarkOn(entry, QStringLiteral("empty"),
                     CheckServedRemarks::tr("empty; SEARCH lists it, DOWNLOAD sends nothing"),
                     CheckServedRemarks::tr("Get it anew.")));
}

void RemarkOnExtension(const CheckServed &served, const CheckEntry &entry,
                       QVector<CheckRemark> *remarks)
{
    if (served.Role() != CheckServed::ROLE_DISKS ||
        entry.file.endsWith(entry.type, Qt::CaseInsensitive))
        return;
    if (!entry.info.suffix().isEmpty())
        remarks->append(RemarkOn(
            entry, QStringLiteral("other-extension"),
            CheckServedRemarks::tr("served as a %1, since it has the size of one").arg(entry.type),
            CheckServedRemarks::tr("If it is none, move it out of the disk directory.")));
}

/// A file's name between its last slash and its first dot, which is what the hub makes its DOS name
/// of. Not by the parts of a QFileInfo: making them takes too long for every file there is.
struct STEM {
    explicit STEM(const QString &file)
        : start(file.lastIndexOf(QLatin1Char('/')) + 1)
        , dot(file.indexOf(QLatin1Char('.'), start))
        , size((dot < 0 ? file.size() : dot) - start)
    {
    }

    qsizetype start;
    qsizetype dot; ///< -1 if there is none
    qsizetype size;
};

void RemarkOnDots(const CheckServed &, const CheckEntry &entry, QVector<CheckRemark> *remarks)
{
    const qsizetype firstDot = STEM(entry.file).dot;
    if (firstDot >= 0 && firstDot != entry.file.lastIndexOf(QLatin1Char('.')))
        remarks->append(
            RemarkOn(entry, QStringLiteral("cut-at-dot"),
                     CheckServedRemarks::tr("listed as \"%1\": a name ends at its first dot")
                         .arg(Screen(entry)),
                     CheckServedRemarks::tr("Rename it, without the other dots.")));
}

void RemarkOnLength(const CheckServed &, const CheckEntry &entry, QVector<CheckRemark> *remarks)
{
    if (STEM(entry.file).size > AppDosName::SIZE)
        remarks->append(
            RemarkOn(entry, QStringLiteral("cut-at-16"),
                     CheckServedRemarks::tr("listed as \"%1\": a name has 16 characters at most")
                         .arg(Screen(entry)),
                     CheckServedRemarks::tr("Shorten its name.")));
}

QString AdviceOnName(const CheckServed &served, const CheckEntry &entry)
{
    const CheckEntry::MATCH &match = entry.match;
    const QString keys = CheckName::Keys(entry.name);
    if (entry.sent && match.fits == 1)
        return CheckServedRemarks::tr("Type %1, or rename it.").arg(keys);
    if (entry.sent)
        return CheckServedRemarks::tr("Type %1, which fits %2 files, or rename it.")
            .arg(keys, QString::number(match.fits));
    if (served.Role() == CheckServed::ROLE_PROGRAMS && match.lastReadable >= 0 && !keys.isEmpty()) {
        const CheckEntry &sent = served.Entries().at(match.lastReadable);
        if (&sent != &entry)
            return CheckServedRemarks::tr("Rename it: %1 gets %2.").arg(keys, sent.file);
    }
    return CheckServedRemarks::tr("Rename it.");
}

void RemarkOnName(const CheckServed &served, const CheckEntry &entry, QVector<CheckRemark> *remarks)
{
    const QStringList faults = CheckName::Faults(entry.name);
    if (!faults.isEmpty())
        remarks->append(RemarkOn(
            entry, QStringLiteral("name"),
            CheckServedRemarks::tr("its name holds %1").arg(faults.join(QStringLiteral("; "))),
            AdviceOnName(served, entry)));
}

// Each appends its remark on the entry, if there is reason for it.
using REMARK_ON_ENTRY = void (*)(const CheckServed &, const CheckEntry &, QVector<CheckRemark> *);
const REMARK_ON_ENTRY REMARKS_ON_ENTRY[] = {RemarkOnUnreadable, RemarkOnEmpty,  RemarkOnExtension,
                                            RemarkOnDots,       RemarkOnLength, RemarkOnName};

QString SentOfDisks(const CheckServed &served, const CheckEntry::MATCH &match)
{
    if (match.readable == 0)
        return CheckServedRemarks::tr("none of them");
    if (match.readable > CheckMatches::DISKS_MAX)
        return CheckServedRemarks::tr("no more than %1, up to %2")
            .arg(QString::number(CheckMatches::DISKS_MAX),
                 served.Entries().at(match.lastDisk).file);
    return match.readable < match.fits ? CheckServedRemarks::tr("those that can be read")
                                       : CheckServedRemarks::tr("all of them");
}

QString SentOfPrograms(const CheckServed &served, const CheckEntry::MATCH &match)
{
    if (match.lastReadable < 0)
        return CheckServedRemarks::tr("none of them");
    const CheckEntry &last = served.Entries().at(match.lastReadable);
    return served.IsEmpty(last)
               ? CheckServedRemarks::tr("nothing, since the last one, %1, is empty").arg(last.file)
               : CheckServedRemarks::tr("the last one that can be read, %1").arg(last.file);
}

/// `group` is the entries of one name, in the order of the listing.
CheckRemark RemarkOnSharedName(const CheckServed &served, const QVector<const CheckEntry *> &group)
{
    QStringList files;
    for (const CheckEntry *const entry : group)
        files.append(entry->file);
    const CheckEntry &first = *group.first();
    const QString sent = served.Role() == CheckServed::ROLE_DISKS
                             ? SentOfDisks(served, first.match)
                             : SentOfPrograms(served, first.match);
    return {QStringLiteral("same-name"), files,
            CheckServedRemarks::tr("%1 files share the name \"%2\"; DOWNLOAD sends %3")
                .arg(QString::number(files.size()), Screen(first), sent),
            CheckServedRemarks::tr(
                "Rename them so that they differ in their first 16 characters, before a dot.")};
}

void RemarkOnSharedNames(const CheckServed &served, QVector<CheckRemark> *remarks)
{
    QHash<QByteArray, QVector<const CheckEntry *>> groups;
    for (const CheckEntry &entry : served.Entries()) {
        if (entry.match.fits > 1)
            groups[QByteArray(entry.name.Bytes(), static_cast<int>(entry.name.Length()))].append(
                &entry);
    }
    // A pattern with a wildcard may fit names that are not the same.
    for (const QVector<const CheckEntry *> &group : std::as_const(groups)) {
        if (group.size() > 1)
            remarks->append(RemarkOnSharedName(served, group));
    }
}

} // namespace

QVector<CheckRemark> CheckServedRemarks::Of(const CheckServed &served)
{
    QVector<CheckRemark> remarks;
    RemarkOnDirectory(served, &remarks);
    for (const CheckEntry &entry : served.Entries()) {
        for (const REMARK_ON_ENTRY remarkOn : REMARKS_ON_ENTRY)
            remarkOn(served, entry, &remarks);
    }
    RemarkOnSharedNames(served, &remarks);
    return remarks;
}
