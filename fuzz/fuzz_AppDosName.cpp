// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// A name and a pattern of any 16 bytes each: matching agrees with a slow matcher, conversions with
// each other. Input: 16 bytes of name, 16 of pattern, then a text.

#include "AppDosName.h"
#include "Fuzz.h"

#include <QString>

#include <cstring>
#include <string>

namespace
{

std::string Characters(const AppDosName &name)
{
    const std::string field(name.Bytes(), AppDosName::SIZE);
    return field.substr(0, field.find('\xA0'));
}

/// By recursion on the texts without their padding.
bool SlowMatch(const std::string &name, const std::string &pattern)
{
    if (!pattern.empty() && pattern[0] == '*')
        return true;
    if (name.empty() || pattern.empty())
        return name.empty() && pattern.empty();
    if (pattern[0] != '?' && pattern[0] != name[0])
        return false;
    return SlowMatch(name.substr(1), pattern.substr(1));
}

void CheckText(const AppDosName &name)
{
    char bytes[AppDosName::SIZE + 1];
    for (const bool convert : {false, true}) {
        name.ToString(bytes, convert);
        QString text;
        name.ToString(&text, convert);
        Q_ASSERT(text.size() == static_cast<int>(name.Length()));
        Q_ASSERT(text.toLatin1() == QByteArray(bytes, static_cast<int>(name.Length())));
        Q_ASSERT(bytes[name.Length()] == '\0');
    }
    QString text;
    name.ToString(&text, false);
    AppDosName back;
    back.FromString(text, false);
    Q_ASSERT(Characters(back) == Characters(name));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2 * AppDosName::SIZE)
        return 0;
    const char *const bytes = reinterpret_cast<const char *>(data);
    const AppDosName name = AppDosName::FromBytes(bytes);
    const AppDosName pattern = AppDosName::FromBytes(bytes + AppDosName::SIZE);
    Q_ASSERT(name.MatchesPattern(pattern) == SlowMatch(Characters(name), Characters(pattern)));
    Q_ASSERT(name.Length() == Characters(name).size());
    Q_ASSERT(pattern.ContainsWildcards() ==
             (Characters(pattern).find_first_of("*?") != std::string::npos));
    CheckText(name);

    const std::string text(bytes + 2 * AppDosName::SIZE, size - 2 * AppDosName::SIZE);
    AppDosName typed;
    typed.FromString(text.c_str(), true);
    typed.FromString(QString::fromUtf8(text.c_str()), true);
    Q_ASSERT(typed.Length() <= AppDosName::SIZE);
    return 0;
}
