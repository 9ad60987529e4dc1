// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTranslator>

class QLocale;

/// The toolkit's own texts, such as "Yes" and "No", in the user's language.
///
/// They come from the translations that are installed with the toolkit; without any, its texts stay
/// English. The hub's own stay English always, and the windows keep their direction: it never
/// translates a text of the hub's classes, whatever a file holds, so that no console line and no
/// settings key changes with the language.
class AppToolkitTexts : public QTranslator
{
public:
    /// Loads the texts for the language. Returns whether there are any.
    bool Load(const QLocale &locale);

    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int count) const override;
};
