// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// Something that people should know about a directory or files in it.
struct CheckRemark {
    QString code;      ///< a word for programs, for example "same-name"
    QStringList files; ///< relative to the directory; empty if it is about the directory itself
    QString text;
    QString advice; ///< may be empty
};
