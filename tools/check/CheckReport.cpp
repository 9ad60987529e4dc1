// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckReport.h"

#include "CheckName.h"

#include "AppPrintable.h"

#include <QChar>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QVector>

#include <algorithm>

namespace
{

// In place of what to type for a file that typing does not get.
const QLatin1String NOTHING("-");

qsizetype NumRemarks(const std::vector<CheckShelf> &shelves)
{
    qsizetype count = 0;
    for (const CheckShelf &shelf : shelves)
        count += shelf.NumRemarks();
    return count;
}

QString Title(const CheckShelf::PLACE &place)
{
    if (place.users.isEmpty())
        return CheckReport::tr("The hub's directories");
    const QString users = CheckReport::Printable(place.users.join(QStringLiteral(", ")));
    return place.inUse ? CheckReport::tr("Own directories of %1").arg(users)
                       : CheckReport::tr("Own directories of %1 (unused: access is not restricted)")
                             .arg(users);
}

QString Keys(const CheckEntry &entry)
{
    return entry.sent ? CheckName::Keys(entry.name) : QString(NOTHING);
}

/// Appends a cell and fills it up to the next column.
void AppendCell(const QString &cell, qsizetype width, QString *text)
{
    constexpr int GAP = 2;

    const qsizetype end = text->size() + std::max(width, qsizetype(cell.size())) + GAP;
    text->append(cell);
    text->resize(end, QLatin1Char(' '));
}

void AppendEntries(const QVector<CheckEntry> &entries, QString *text)
{
    if (entries.isEmpty())
        return;
    const QString indent = QStringLiteral("    ");
    const QString screenHead = CheckReport::tr("On the Commodore");
    const QString keysHead = CheckReport::tr("To type");
    const QString typeHead = CheckReport::tr("Kind");

    QStringList keys;
    keys.reserve(entries.size());
    qsizetype keysWidth = keysHead.size();
    for (const CheckEntry &entry : entries) {
        keys.append(Keys(entry));
        keysWidth = std::max<qsizetype>(keysWidth, keys.last().size());
    }
    const qsizetype screenWidth = std::max<qsizetype>(screenHead.size(), AppDosName::SIZE);

    text->append(indent);
    AppendCell(screenHead, screenWidth, text);
    AppendCell(keysHead, keysWidth, text);
    AppendCell(typeHead, typeHead.size(), text);
    text->append(CheckReport::tr("File") + QLatin1Char('\n'));
    for (int i = 0; i < entries.size(); ++i) {
        const CheckEntry &entry = entries.at(i);
        text->append(indent);
        AppendCell(CheckName::Screen(entry.name), screenWidth, text);
        AppendCell(keys.at(i), keysWidth, text);
        AppendCell(entry.type, typeHead.size(), text);
        text->append(CheckReport::Printable(entry.file));
        text->append(QLatin1Char('\n'));
    }
}

QString FilesOf(const CheckRemark &remark)
{
    const qsizetype more = remark.files.size() - CheckReport::FILES_MAX;
    const QString text = remark.files.mid(0, CheckReport::FILES_MAX).join(QStringLiteral(", "));
    return more > 0 ? CheckReport::tr("%1 and %2 more").arg(text, QString::number(more)) : text;
}

void AppendRemarks(const QVector<CheckRemark> &remarks, QString *text)
{
    for (const CheckRemark &remark : remarks) {
        text->append(QStringLiteral("  * "));
        if (!remark.files.isEmpty())
            text->append(CheckReport::Printable(FilesOf(remark)) + QStringLiteral(": "));
        text->append(CheckReport::Printable(remark.text) + QLatin1Char('\n'));
        if (!remark.advice.isEmpty())
            text->append(QStringLiteral("    ") + CheckReport::Printable(remark.advice) +
                         QLatin1Char('\n'));
    }
}

void AppendSection(const QString &heading, const CheckShelf::SECTION &section, QString *text)
{
    const QString directory = section.served.Directory().isEmpty()
                                  ? CheckReport::tr("no directory")
                                  : CheckReport::Printable(section.served.Directory());
    text->append(heading.arg(directory, QString::number(section.served.Entries().size())) +
                 QLatin1Char('\n'));
    AppendEntries(section.served.Entries(), text);
    AppendRemarks(section.remarks, text);
    text->append(QLatin1Char('\n'));
}

QString Fits(qint64 memory, qint64 free)
{
    return memory <= free ? CheckReport::tr("fits") : CheckReport::tr("does not fit");
}

void AppendListing(const CheckShelf &shelf, QString *text)
{
    const qint64 memory = shelf.ListingMemory();
    text->append(CheckReport::tr("Listing of everything: %1 bytes; %2 a C64 (%3 free), %4 a VIC-20 "
                                 "without expansion (%5 free)")
                     .arg(QString::number(memory), Fits(memory, CheckShelf::C64_MEMORY),
                          QString::number(CheckShelf::C64_MEMORY),
                          Fits(memory, CheckShelf::VIC20_MEMORY),
                          QString::number(CheckShelf::VIC20_MEMORY)) +
                 QLatin1Char('\n'));
    AppendRemarks(shelf.ListingRemarks(), text);
    text->append(QLatin1Char('\n'));
}

QJsonArray JsonRemarks(const QVector<CheckRemark> &remarks)
{
    QJsonArray array;
    for (const CheckRemark &remark : remarks)
        array.append(
            QJsonObject{{QStringLiteral("code"), remark.code},
                        {QStringLiteral("files"), QJsonArray::fromStringList(remark.files)},
                        {QStringLiteral("text"), remark.text},
                        {QStringLiteral("advice"), remark.advice}});
    return array;
}

QJsonObject JsonEntry(const CheckEntry &entry)
{
    const QJsonValue none;
    return {{QStringLiteral("screen"), CheckName::Screen(entry.name)},
            {QStringLiteral("keys"), entry.sent ? CheckName::Keys(entry.name) : none},
            {QStringLiteral("pattern"), entry.sent ? CheckName::Pattern(entry.name) : none},
            {QStringLiteral("kind"), QString(entry.type)},
            {QStringLiteral("file"), entry.file}};
}

QJsonValue JsonSection(const std::optional<CheckShelf::SECTION> &section)
{
    if (!section)
        return QJsonValue();
    QJsonArray entries;
    for (const CheckEntry &entry : section->served.Entries())
        entries.append(JsonEntry(entry));
    return QJsonObject{{QStringLiteral("directory"), section->served.Directory()},
                       {QStringLiteral("served"), entries},
                       {QStringLiteral("remarks"), JsonRemarks(section->remarks)}};
}

QJsonObject JsonShelf(const CheckShelf &shelf)
{
    const qint64 memory = shelf.ListingMemory();
    const QJsonObject listing{{QStringLiteral("bytes"), shelf.ListingSize()},
                              {QStringLiteral("memory"), memory},
                              {QStringLiteral("fitsC64"), memory <= CheckShelf::C64_MEMORY},
                              {QStringLiteral("fitsVic20"), memory <= CheckShelf::VIC20_MEMORY},
                              {QStringLiteral("remarks"), JsonRemarks(shelf.ListingRemarks())}};
    return {{QStringLiteral("users"), QJsonArray::fromStringList(shelf.Place().users)},
            {QStringLiteral("inUse"), shelf.Place().inUse},
            {QStringLiteral("disks"), JsonSection(shelf.Disks())},
            {QStringLiteral("programs"), JsonSection(shelf.Programs())},
            {QStringLiteral("listing"), listing}};
}

/// Whether a terminal shows the character, a Unicode code point, and does nothing else with it.
bool IsShown(char32_t point)
{
    // Most are; asking Unicode about each takes its time.
    const bool isAscii = point >= ' ' && point <= '~';
    return isAscii || (QChar::isPrint(point) && !AppPrintable::IsUnprintable(point));
}

} // namespace

QString CheckReport::Text(const std::vector<CheckShelf> &shelves)
{
    QString text;
    for (const CheckShelf &shelf : shelves) {
        if (shelves.size() > 1)
            text += Title(shelf.Place()) + QStringLiteral("\n\n");
        if (shelf.Disks())
            AppendSection(tr("Disks from %1: %2"), *shelf.Disks(), &text);
        if (shelf.Programs())
            AppendSection(tr("Programs from %1: %2"), *shelf.Programs(), &text);
        AppendListing(shelf, &text);
    }
    const qsizetype remarks = NumRemarks(shelves);
    text += remarks == 0 ? tr("Nothing to remark.") : tr("Remarks: %1").arg(remarks);
    return text + QLatin1Char('\n');
}

QByteArray CheckReport::Json(const std::vector<CheckShelf> &shelves)
{
    QJsonArray array;
    for (const CheckShelf &shelf : shelves)
        array.append(JsonShelf(shelf));
    const QJsonObject report{{QStringLiteral("version"), QStringLiteral(DISK_HUB_VERSION)},
                             {QStringLiteral("remarks"), qint64(NumRemarks(shelves))},
                             {QStringLiteral("shelves"), array}};
    return AppPrintable::EscapedJson(QJsonDocument(report).toJson());
}

QString CheckReport::Printable(const QString &text)
{
    if (std::all_of(text.begin(), text.end(), [](QChar c) { return IsShown(c.unicode()); }))
        return text;

    QString printable;
    const QVector<uint> points = text.toUcs4();
    for (const uint point : points) {
        if (IsShown(point))
            printable += QString::fromUcs4(reinterpret_cast<const char32_t *>(&point), 1);
        else if (point <= 0xFF)
            printable += QStringLiteral("\\x%1").arg(point, 2, 16, QLatin1Char('0'));
        else
            printable += QStringLiteral("\\u%1").arg(point, 4, 16, QLatin1Char('0'));
    }
    return printable;
}
