// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckShelf.h"

#include "CheckServedRemarks.h"
#include "CheckUnserved.h"

#include "AppCbmUtil.h"

#include <QByteArray>
#include <QSet>

#include <algorithm>

namespace
{

using SECTION = CheckShelf::SECTION;

std::optional<SECTION> Find(CheckServed::ROLE role, const std::optional<QString> &directory)
{
    if (!directory)
        return std::nullopt;
    const CheckServed served = CheckServed::Find(role, *directory);
    return SECTION{served, CheckServedRemarks::Of(served)};
}

const CheckServed *ServedOf(const std::optional<SECTION> &section)
{
    return section ? &section->served : nullptr;
}

QVector<CheckRemark> Unserved(const std::optional<SECTION> &section,
                              const std::optional<SECTION> &other)
{
    return section ? CheckUnserved::Remarks(section->served, ServedOf(other))
                   : QVector<CheckRemark>();
}

/// Tells the remarks on files that are not served from each other, whatever directory they are
/// looked at from.
QString Key(const CheckRemark &remark, const SECTION &section)
{
    return remark.code + QLatin1Char(' ') + section.served.CanonicalDirectory() + QLatin1Char('/') +
           remark.files.value(0);
}

void SortByFile(QVector<CheckRemark> *remarks)
{
    std::stable_sort(remarks->begin(), remarks->end(),
                     [](const CheckRemark &a, const CheckRemark &b) {
                         if (a.files.isEmpty() || b.files.isEmpty())
                             return a.files.size() < b.files.size();
                         return a.files.first() < b.files.first();
                     });
}

} // namespace

CheckShelf::CheckShelf(const PLACE &place) : mPlace(place) {}

CheckShelf CheckShelf::Look(const PLACE &place)
{
    CheckShelf shelf(place);
    shelf.mDisks = Find(CheckServed::ROLE_DISKS, place.diskDirectory);
    shelf.mPrograms = Find(CheckServed::ROLE_PROGRAMS, place.programDirectory);
    shelf.RemarkOnUnserved();
    for (std::optional<SECTION> *const section : {&shelf.mDisks, &shelf.mPrograms}) {
        if (*section)
            SortByFile(&(*section)->remarks);
    }
    return shelf;
}

/// One directory may lie in the other, or be the same. What was said of the disks' is not said
/// again of the programs'.
void CheckShelf::RemarkOnUnserved()
{
    QSet<QString> said;
    const QVector<CheckRemark> ofDisks = Unserved(mDisks, mPrograms);
    for (const CheckRemark &remark : ofDisks) {
        said.insert(Key(remark, *mDisks));
        mDisks->remarks.append(remark);
    }
    const bool same = mDisks && mPrograms &&
                      mDisks->served.CanonicalDirectory() == mPrograms->served.CanonicalDirectory();
    const QVector<CheckRemark> ofPrograms =
        same ? QVector<CheckRemark>() : Unserved(mPrograms, mDisks);
    for (const CheckRemark &remark : ofPrograms) {
        if (!said.contains(Key(remark, *mPrograms)))
            mPrograms->remarks.append(remark);
    }
}

const CheckShelf::PLACE &CheckShelf::Place() const
{
    return mPlace;
}

const std::optional<CheckShelf::SECTION> &CheckShelf::Disks() const
{
    return mDisks;
}

const std::optional<CheckShelf::SECTION> &CheckShelf::Programs() const
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
    for (const std::optional<SECTION> *section : {&mDisks, &mPrograms}) {
        if (*section)
            size += (*section)->served.Entries().size() * entrySize;
    }
    return size;
}

qint64 CheckShelf::ListingMemory() const
{
    return ListingSize() - AppCbmUtil::ProgramBegin().size();
}

QVector<CheckRemark> CheckShelf::ListingRemarks() const
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
    for (const std::optional<SECTION> *section : {&mDisks, &mPrograms}) {
        if (*section)
            count += (*section)->remarks.size();
    }
    return count;
}
