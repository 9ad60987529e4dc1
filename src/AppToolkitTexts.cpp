// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppToolkitTexts.h"

#include <QLibraryInfo>
#include <QLocale>

namespace
{

QString TranslationsPath()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QLibraryInfo::path(QLibraryInfo::TranslationsPath);
#else
    return QLibraryInfo::location(QLibraryInfo::TranslationsPath);
#endif
}

} // namespace

bool AppToolkitTexts::Load(const QLocale &locale)
{
    return load(locale, QStringLiteral("qtbase"), QStringLiteral("_"), TranslationsPath());
}

QString AppToolkitTexts::translate(const char *context, const char *sourceText,
                                   const char *disambiguation, int count) const
{
    const bool own = qstrncmp(context, "App", 3) == 0;
    const bool direction = qstrcmp(sourceText, "QT_LAYOUT_DIRECTION") == 0;
    if (own || direction)
        return {};
    return QTranslator::translate(context, sourceText, disambiguation, count);
}
