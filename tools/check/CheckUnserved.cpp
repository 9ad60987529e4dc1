// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckUnserved.h"

#include "CheckImage.h"
#include "CheckServed.h"
#include "CheckTree.h"

#include "AppImageKinds.h"

#include <QFile>
#include <QFileInfo>

namespace
{

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

/// Why the regular file at `path`, which is absolute, is not served from the directory.
CheckImage::REASON WhyNotServed(const QString &path, const CheckServed &served,
                                const CheckServed *other)
{
    const QFileInfo info(path);
    if (!info.exists())
        return {QStringLiteral("unreadable"),
                CheckUnserved::tr("not served: its directory does not let one look at it"),
                CheckUnserved::tr("Allow the user that the hub runs as to enter the directory.")};
    if (CheckImage::IsProgram(path)) {
        if (served.Role() == CheckServed::ROLE_PROGRAMS || other == nullptr)
            return {};
        return {QStringLiteral("wrong-directory"),
                CheckUnserved::tr("not served: programs are looked for in the program directory"),
                CheckUnserved::tr("Move it there.")};
    }
    if (HasDiskSize(info)) {
        if (served.Role() == CheckServed::ROLE_DISKS || other == nullptr)
            return {};
        return {QStringLiteral("wrong-directory"),
                CheckUnserved::tr(
                    "not served: disks are looked for in the disk directory; and while it lies "
                    "here, no program of its name can be uploaded"),
                CheckUnserved::tr("Move it there.")};
    }
    CheckImage::REASON reason = CheckImage::WhyNot(path, info.size(), HeadOf(path));
    reason.text = CheckUnserved::tr("not served: %1").arg(reason.text);
    return reason;
}

CheckImage::REASON WhyNotSeen(CheckTree::KIND kind)
{
    const QString rename = CheckUnserved::tr("Rename it.");
    switch (kind) {
    case CheckTree::KIND_HIDDEN_FILE:
        return {QStringLiteral("hidden"),
                CheckUnserved::tr("not served: the dot at its start hides it"), rename};
    case CheckTree::KIND_HIDDEN_DIRECTORY:
        return {QStringLiteral("hidden"),
                CheckUnserved::tr("not looked into: the dot at its start hides it"), rename};
    case CheckTree::KIND_SPECIAL:
        return {QStringLiteral("no-file"),
                CheckUnserved::tr("not served: a pipe, a socket or a device"), QString()};
    case CheckTree::KIND_LINKED_DIRECTORY:
        return {QStringLiteral("link"),
                CheckUnserved::tr("not looked into: links to directories are not followed"),
                CheckUnserved::tr("Move the directory itself here.")};
    case CheckTree::KIND_BROKEN_LINK:
        return {QStringLiteral("link"),
                CheckUnserved::tr("not served: a link to what is not there"),
                CheckUnserved::tr("Mend or remove it.")};
    case CheckTree::KIND_UNREADABLE_DIRECTORY:
        return {QStringLiteral("unreadable"),
                CheckUnserved::tr("not looked into: it cannot be read"),
                CheckUnserved::tr("Allow the user that the hub runs as to read it.")};
    case CheckTree::KIND_UNDECODABLE:
        return {QStringLiteral("no-text"),
                CheckUnserved::tr("not served: its name is no text in this system's encoding"),
                rename};
    case CheckTree::KIND_FILE:
        break;
    }
    return {};
}

CheckImage::REASON WhyNot(const CheckTree::ITEM &item, const CheckServed &served,
                          const CheckServed *other)
{
    const QString path = served.CanonicalDirectory() + QLatin1Char('/') + item.path;
    const bool isFile = item.kind == CheckTree::KIND_FILE;
    const bool mayBeServed = isFile || item.kind == CheckTree::KIND_SPECIAL;
    if (mayBeServed && (served.Lists(item.path) || (other != nullptr && other->Serves(path))))
        return {};
    return isFile ? WhyNotServed(path, served, other) : WhyNotSeen(item.kind);
}

} // namespace

QVector<CheckRemark> CheckUnserved::Remarks(const CheckServed &served, const CheckServed *other)
{
    QVector<CheckRemark> remarks;
    if (served.CanonicalDirectory().isEmpty())
        return remarks;
    const QVector<CheckTree::ITEM> items = CheckTree::Walk(served.CanonicalDirectory());
    for (const CheckTree::ITEM &item : items) {
        const CheckImage::REASON reason = WhyNot(item, served, other);
        if (!reason.code.isEmpty())
            remarks.append({reason.code,
                            item.path.isEmpty() ? QStringList() : QStringList(item.path),
                            reason.text, reason.advice});
    }
    return remarks;
}
