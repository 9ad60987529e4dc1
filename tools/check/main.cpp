// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppStandardOutput.h"
#include "CheckCommandLine.h"

#include <QCoreApplication>

#include <cstdio>

namespace
{

/// Returns whether everything could be written.
bool WriteReport(const CheckCommandLine::RESULT &result)
{
    return AppStandardOutput::Write(stdout, result.text) &&
           AppStandardOutput::WriteUtf8(stdout, result.json) && std::fflush(stdout) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const CheckCommandLine::RESULT result = CheckCommandLine::Run(QCoreApplication::arguments());
    static_cast<void>(AppStandardOutput::Write(stderr, result.error));
    if (!WriteReport(result)) {
        std::perror("disk-hub-check: cannot write the report");
        return CheckCommandLine::EXIT_USAGE;
    }
    return result.exitCode;
}
