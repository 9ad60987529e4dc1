// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletExit.h"

namespace
{

struct ROW {
    SkyletExit::CODE code;
    const char *word;
    const char *text;
};

const ROW ROWS[] = {
    {SkyletExit::SUCCESS, "success", QT_TRANSLATE_NOOP("SkyletExit", "all went well")},
    {SkyletExit::INCOMPLETE, "incomplete",
     QT_TRANSLATE_NOOP("SkyletExit", "nothing fits the pattern, or not all that fits was sent")},
    {SkyletExit::USAGE, "usage", QT_TRANSLATE_NOOP("SkyletExit", "the command line is wrong")},
    {SkyletExit::NO_CONNECTION, "no-connection",
     QT_TRANSLATE_NOOP("SkyletExit", "there is no connection to the hub")},
    {SkyletExit::NO_ANSWER, "no-answer",
     QT_TRANSLATE_NOOP("SkyletExit", "the hub gives no whole answer in time")},
    {SkyletExit::MALFORMED_ANSWER, "malformed-answer",
     QT_TRANSLATE_NOOP("SkyletExit", "the answer is not a hub's, or damaged")},
    {SkyletExit::LOGIN_REFUSED, "login-refused",
     QT_TRANSLATE_NOOP("SkyletExit", "the hub refuses the user or the password")},
    {SkyletExit::READ_ONLY, "read-only",
     QT_TRANSLATE_NOOP("SkyletExit", "the hub lets this user read only")},
    {SkyletExit::EXISTS, "exists",
     QT_TRANSLATE_NOOP("SkyletExit", "the hub has a disk or program of that name")},
    {SkyletExit::WRITE_ERROR, "write-error",
     QT_TRANSLATE_NOOP("SkyletExit", "the hub cannot write a file")},
    {SkyletExit::OTHER_RESULT, "other-result",
     QT_TRANSLATE_NOOP("SkyletExit", "the hub sends another result code")},
    {SkyletExit::LOCAL_FILE, "local-file",
     QT_TRANSLATE_NOOP("SkyletExit", "a file here exists, or cannot be read or written")},
    {SkyletExit::INTERRUPTED, "interrupted",
     QT_TRANSLATE_NOOP("SkyletExit", "stopped by Ctrl-C or a signal")},
};

} // namespace

QString SkyletExit::Word(int code)
{
    for (const ROW &row : ROWS) {
        if (row.code == code)
            return QLatin1String(row.word);
    }
    return QString();
}

QString SkyletExit::Table()
{
    QString table;
    for (const ROW &row : ROWS) {
        table += QStringLiteral("  %1  %2  %3\n")
                     .arg(row.code, 3)
                     .arg(QLatin1String(row.word), -16)
                     .arg(tr(row.text));
    }
    return table;
}
