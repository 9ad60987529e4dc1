// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletListing.h"

#include "AppCbmUtil.h"
#include "AppPrintable.h"
#include "MxEndian.h"

namespace
{

constexpr qsizetype LOAD_ADDRESS_SIZE = 2;
constexpr qsizetype LINE_NUMBER_OFFSET = 2; // behind the link
constexpr qsizetype LINE_TEXT_OFFSET = 4;

constexpr qsizetype ENTRY_NAME_FIELD_SIZE = 22; // two blanks, the quoted name, blanks
const char ENTRY_LEAD_IN[] = "  \"";
constexpr qsizetype ENTRY_LEAD_IN_SIZE = sizeof(ENTRY_LEAD_IN) - 1;

constexpr char REVERSE_ON = 0x12; // PETSCII control character

} // namespace

int SkyletListing::Parse(const QByteArray &program, QVector<LINE> *lines)
{
    lines->clear();
    qint64 offset = LOAD_ADDRESS_SIZE;
    while (program.size() - offset >= qint64(sizeof(quint16))) {
        if (MxEndian::LeAt<quint16>(program, offset) == 0)
            return 0;
        const auto end = program.size() - offset < LINE_TEXT_OFFSET
                             ? -1
                             : program.indexOf('\0', static_cast<int>(offset + LINE_TEXT_OFFSET));
        if (end < 0)
            return -1;
        const qint64 textOffset = offset + LINE_TEXT_OFFSET;
        lines->append(
            {MxEndian::LeAt<quint16>(program, offset + LINE_NUMBER_OFFSET),
             program.mid(static_cast<int>(textOffset), static_cast<int>(end - textOffset))});
        offset = end + 1;
    }
    return -1;
}

int SkyletListing::ToEntry(const LINE &line, ENTRY *entry)
{
    const QByteArray field = line.text.left(ENTRY_NAME_FIELD_SIZE);
    // The last one: the name may hold a quotation mark itself.
    const auto closing = field.lastIndexOf('"');
    if (field.size() < ENTRY_NAME_FIELD_SIZE || !field.startsWith(ENTRY_LEAD_IN) ||
        closing < ENTRY_LEAD_IN_SIZE)
        return -1;
    entry->blocks = line.number;
    entry->name = field.mid(ENTRY_LEAD_IN_SIZE, closing - ENTRY_LEAD_IN_SIZE);
    entry->type = line.text.mid(ENTRY_NAME_FIELD_SIZE);
    return 0;
}

QVector<SkyletListing::ENTRY> SkyletListing::Entries(const QVector<LINE> &lines)
{
    QVector<ENTRY> entries;
    for (const LINE &line : lines) {
        ENTRY entry;
        if (ToEntry(line, &entry) == 0)
            entries.append(entry);
    }
    return entries;
}

QString SkyletListing::ToText(const LINE &line)
{
    QByteArray text = line.text;
    if (IsReversed(line))
        text.remove(0, 1);
    QString shown = QString::number(line.number) + QLatin1Char(' ') + PetsciiToText(text);
    while (shown.endsWith(QLatin1Char(' ')))
        shown.chop(1);
    return shown;
}

bool SkyletListing::IsReversed(const LINE &line)
{
    return line.text.startsWith(REVERSE_ON);
}

QString SkyletListing::PetsciiToText(const QByteArray &petscii)
{
    QString text;
    for (const char c : petscii) {
        const uchar shown = AppCbmUtil::PetsciiToAscii(static_cast<uchar>(c));
        text += AppPrintable::IsUnprintable(shown) ? QLatin1Char('?')
                                                   : QLatin1Char(static_cast<char>(shown));
    }
    return text;
}
