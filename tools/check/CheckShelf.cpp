// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckShelf.h"

#include "CheckTree.h"

#include "AppCbmUtil.h"

#include <QByteArray>
#include <QSet>

#include <future>

namespace
{

void LookAtServed(std::optional<CheckSection> *section)
{
    if (*section)
        (*section)->LookAtServed();
}

QVector<CheckTree::ITEM> Walk(const QString &directory)
{
    return directory.isEmpty() ? QVector<CheckTree::ITEM>() : CheckTree::Walk(directory);
}

} // namespace

CheckShelf::CheckShelf(const PLACE &place) : mPlace(place)
{
    if (place.diskDirectory)
        mDisks.emplace(CheckSection::ROLE_DISKS, *place.diskDirectory);
    if (place.programDirectory)
        mPrograms.emplace(CheckSection::ROLE_PROGRAMS, *place.programDirectory);
    const QString diskDirectory = mDisks ? mDisks->CanonicalDirectory() : QString();
    const QString programDirectory = mPrograms ? mPrograms->CanonicalDirectory() : QString();

    // Of one directory for both everything is said once.
    const bool same = programDirectory == diskDirectory;

    // Large directories take their time, and the searches and walks do not depend on each other.
    std::future<void> programSearch = std::async(std::launch::async, LookAtServed, &mPrograms);
    std::future<QVector<CheckTree::ITEM>> diskWalk =
        std::async(std::launch::async, Walk, diskDirectory);
    std::future<QVector<CheckTree::ITEM>> programWalk =
        std::async(std::launch::async, Walk, same ? QString() : programDirectory);
    LookAtServed(&mDisks);
    programSearch.wait();

    QSet<QString> remarked;
    if (mDisks)
        mDisks->LookAtRest(diskWalk.get(), mPrograms ? &*mPrograms : nullptr, &remarked);
    if (mPrograms)
        mPrograms->LookAtRest(programWalk.get(), mDisks ? &*mDisks : nullptr, &remarked);
}

const CheckShelf::PLACE &CheckShelf::Place() const
{
    return mPlace;
}

const std::optional<CheckSection> &CheckShelf::Disks() const
{
    return mDisks;
}

const std::optional<CheckSection> &CheckShelf::Programs() const
{
    return mPrograms;
}

qint64 CheckShelf::ListingSize() const
{
    // Every entry has the same length, whatever its name.
    const qint64 entrySize =
        AppCbmUtil::ProgramDirectoryEntry(0, QByteArray(), QByteArray("PRG")).size();
    qint64 size = AppCbmUtil::ProgramBegin().size() +
                  AppCbmUtil::ProgramDirectoryHeader(QByteArray()).size() +
                  AppCbmUtil::ProgramEnd().size();
    for (const std::optional<CheckSection> *section : {&mDisks, &mPrograms}) {
        if (*section)
            size += (*section)->Entries().size() * entrySize;
    }
    return size;
}

qint64 CheckShelf::ListingMemory() const
{
    return ListingSize() - AppCbmUtil::ProgramBegin().size();
}

QVector<CheckSection::REMARK> CheckShelf::ListingRemarks() const
{
    if (ListingMemory() <= C64_MEMORY)
        return {};
    return {{QStringLiteral("listing-too-long"),
             {},
             tr("the listing of everything does not fit the memory of a C64"),
             tr("Search for less, for example A*, then B*.")}};
}

qsizetype CheckShelf::NumRemarks() const
{
    qsizetype count = ListingRemarks().size();
    for (const std::optional<CheckSection> *section : {&mDisks, &mPrograms}) {
        if (*section)
            count += (*section)->Remarks().size();
    }
    return count;
}
