// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckCommandLine.h"

#include <QCoreApplication>

#include <cstdio>

namespace
{

/// Returns 0, or -1 if not everything could be written.
int Write(const QByteArray &bytes, std::FILE *file)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, file) == size && std::fflush(file) == 0 ? 0 : -1;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const CheckCommandLine::RESULT result = CheckCommandLine::Run(QCoreApplication::arguments());
    Write(result.error, stderr);
    if (Write(result.output, stdout) != 0) {
        std::perror("disk-hub-check: cannot write the report");
        return CheckCommandLine::EXIT_USAGE;
    }
    return result.exitCode;
}
