// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "ProtocolDocument.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace
{

QByteArray TextBytes(const QStringList &lines)
{
    QByteArray bytes = lines.join(QString()).toLatin1();
    bytes.replace("\\r", "\r").replace("\\n", "\n");
    return bytes;
}

/// Null unless the offsets rise and the fence ends with "end".
QByteArray HexBytes(const QStringList &lines)
{
    QByteArray bytes;
    for (const QString &line : lines) {
        const QString code = line.section(QLatin1Char(';'), 0, 0);
        const int offset = code.section(QLatin1Char(' '), 0, 0).toInt(nullptr, 16);
        const QString shown = code.section(QLatin1Char(' '), 1).trimmed();
        if (offset < bytes.size())
            return QByteArray();
        bytes.append(QByteArray(offset - int(bytes.size()), '\0'));
        if (shown == QLatin1String("end"))
            return bytes;
        bytes.append(QByteArray::fromHex(shown.toLatin1()));
    }
    return QByteArray();
}

QString CellText(const QString &cell)
{
    const QString text = cell.trimmed();
    const QLatin1Char tick('`');
    return text.startsWith(tick) ? text.section(tick, 1, 1) : text;
}

} // namespace

QList<MARKED> ReadDocument()
{
    QFile file(QStringLiteral(DISK_HUB_SOURCE_DIR "/docs/protocol.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    const QRegularExpression mark(
        QStringLiteral("^<!-- (example|table|screen|layout): (\\S+) -->$"));

    QList<MARKED> all;
    for (int i = 0; i < lines.size(); ++i) {
        const QRegularExpressionMatch match = mark.match(lines.at(i));
        if (!match.hasMatch())
            continue;
        MARKED marked{match.captured(1), match.captured(2), {}, {}};
        const QString fence = QStringLiteral("```");
        const bool fenced = lines.value(++i).startsWith(fence);
        if (fenced)
            marked.language = lines.at(i++).mid(fence.size());
        const auto goesOn = [&](const QString &line) {
            return fenced ? line != fence : line.startsWith(QLatin1Char('|'));
        };
        for (; i < lines.size() && goesOn(lines.at(i)); ++i)
            marked.lines.append(lines.at(i));
        all.append(marked);
    }
    return all;
}

MARKED Marked(const char *kind, const char *name)
{
    const QList<MARKED> all = ReadDocument();
    for (const MARKED &marked : all) {
        if (marked.kind == QLatin1String(kind) && marked.name == QLatin1String(name))
            return marked;
    }
    return {};
}

QByteArray Example(const char *name)
{
    const MARKED marked = Marked("example", name);
    return marked.language == QLatin1String("hex") ? HexBytes(marked.lines)
                                                   : TextBytes(marked.lines);
}

QList<ROW> Rows(const MARKED &table)
{
    QList<ROW> rows;
    for (const QString &line : table.lines.mid(2)) {
        ROW row;
        const QStringList cells = line.split(QLatin1Char('|'));
        for (const QString &cell : cells.mid(1, cells.size() - 2))
            row.append(CellText(cell));
        rows.append(row);
    }
    return rows;
}

QList<ROW> Table(const char *name)
{
    return Rows(Marked("table", name));
}

void AddRows(const char *table, const QList<const char *> &columns)
{
    for (const char *column : columns)
        QTest::addColumn<QString>(column);
    const QList<ROW> rows = Table(table);
    for (int i = 0; i < rows.size(); ++i) {
        const QString name = QStringLiteral("%1-%2").arg(i + 1).arg(rows.at(i).constFirst());
        QTestData &data =
            QTest::newRow(qPrintable(QString(name).replace(QLatin1Char(' '), QLatin1Char('-'))));
        for (int column = 0; column < columns.size(); ++column)
            data << rows.at(i).value(column);
    }
}

QByteArray ExampleUpload()
{
    return Example("upload-head") + Example("upload-package") + Example("upload-tail");
}
