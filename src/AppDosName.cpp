// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"

#include "AppCbmUtil.h"

#include <QString>

#include <algorithm>
#include <cstring>

AppDosName::AppDosName()
{
    std::fill_n(mName, SIZE, PADDING);
}

AppDosName AppDosName::FromBytes(const char *bytes)
{
    AppDosName name;
    std::memcpy(name.mName, bytes, SIZE);
    return name;
}

const char *AppDosName::Bytes() const
{
    return reinterpret_cast<const char *>(mName);
}

unsigned int AppDosName::Length() const
{
    return static_cast<unsigned int>(std::find(mName, mName + SIZE, PADDING) - mName);
}

bool AppDosName::MatchesPattern(const AppDosName &pattern) const
{
    for (int i = 0; i < SIZE; ++i) {
        const unsigned char expected = pattern.mName[i];
        // Before the end of the name, so that "ABC*" accepts "ABC" and "*" the empty name.
        if (expected == '*')
            return true;
        if (mName[i] == PADDING)
            return expected == PADDING;
        if (expected != '?' && expected != mName[i])
            return false;
    }
    return true;
}

bool AppDosName::ContainsWildcards() const
{
    const unsigned char *const end = mName + Length();
    return std::any_of(mName, end, [](unsigned char c) { return c == '?' || c == '*'; });
}

void AppDosName::FromString(const QString &text, bool convert)
{
    FromString(QStringView(text), convert);
}

void AppDosName::FromString(QStringView text, bool convert)
{
    const int length = static_cast<int>(std::min<qsizetype>(text.size(), SIZE));
    for (int i = 0; i < length; ++i) {
        const auto c = static_cast<unsigned char>(text.at(i).toLatin1());
        mName[i] = convert ? AppCbmUtil::AsciiToPetscii(c) : c;
    }
    std::fill(mName + length, mName + SIZE, PADDING);
}

void AppDosName::FromString(const char *text, bool convert)
{
    // The length is held in one byte: a text of 256 characters counts as an empty one.
    const int length = std::min<int>(static_cast<unsigned char>(std::strlen(text)), SIZE);
    for (int i = 0; i < length; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        mName[i] = convert ? AppCbmUtil::AsciiToPetscii(c) : c;
    }
    std::fill(mName + length, mName + SIZE, PADDING);
}

void AppDosName::ToString(char *out, bool convert) const
{
    const unsigned int length = Length();
    for (unsigned int i = 0; i < length; ++i)
        out[i] = static_cast<char>(convert ? AppCbmUtil::PetsciiToAscii(mName[i]) : mName[i]);
    out[length] = '\0';
}

void AppDosName::ToString(QString *out, bool convert) const
{
    const unsigned int length = Length();
    for (unsigned int i = 0; i < length; ++i)
        out->append(QLatin1Char(
            static_cast<char>(convert ? AppCbmUtil::PetsciiToAscii(mName[i]) : mName[i])));
}
