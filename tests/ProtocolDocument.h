// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// docs/protocol.md as its tests read it: each example and table is marked by a comment in front of
// it, such as "<!-- example: listing -->".

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// A line of a table: the texts of its cells. Of a cell that starts with code only the code.
using ROW = QStringList;

/// What follows a mark in the document.
struct MARKED {
    QString kind; ///< "example", "table", "screen" or "layout"
    QString name;
    QStringList lines; ///< of the fence or table, without the fence's own lines
    QString language;  ///< of the fence
};

/// Everything that is marked, in the document's order.
QList<MARKED> ReadDocument();

/// What has that mark, empty if there is no such.
MARKED Marked(const char *kind, const char *name);

/// The bytes of an example, null if there is no such.
QByteArray Example(const char *name);

/// The request that stores a program, which the document shows in three parts.
QByteArray ExampleUpload();

/// The rows of a table below its head.
QList<ROW> Rows(const MARKED &table);
QList<ROW> Table(const char *name);

/// One test row for each row of a table, named after its first cells. The columns are texts.
void AddRows(const char *table, const QList<const char *> &columns);
