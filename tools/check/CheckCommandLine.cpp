// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckCommandLine.h"

#include "CheckReport.h"
#include "CheckSettings.h"
#include "CheckShelf.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>

#include <vector>

namespace
{

/// The command line's options, with a parser that knows them.
struct OPTIONS {
    OPTIONS()
    {
        parser.setApplicationDescription(
            CheckCommandLine::tr("Says what the hub serves from its directories and what it does "
                                 "not, and why. Changes nothing.\n"
                                 "Without options it looks at the directories of the hub's "
                                 "settings. Exits with 0 if there\n"
                                 "is nothing to remark, 1 with remarks, 2 on bad usage."));
        parser.addOptions({settings, disks, programs, json, help, version});
    }

    QCommandLineOption settings{
        QStringLiteral("settings"),
        CheckCommandLine::tr(
            "Look at the directories of the hub's settings, users' own ones too.")};
    QCommandLineOption disks{QStringLiteral("disks"),
                             CheckCommandLine::tr("Look at this directory of disk images."),
                             QStringLiteral("DIR")};
    QCommandLineOption programs{QStringLiteral("programs"),
                                CheckCommandLine::tr("Look at this directory of programs."),
                                QStringLiteral("DIR")};
    QCommandLineOption json{QStringLiteral("json"),
                            CheckCommandLine::tr("Write JSON instead of text.")};
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            CheckCommandLine::tr("Show this help.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               CheckCommandLine::tr("Show the version.")};
    QCommandLineParser parser;
};

CheckCommandLine::RESULT UsageError(const QString &message)
{
    const QString text =
        CheckCommandLine::tr("disk-hub-check: %1\nTry \"disk-hub-check --help\".\n")
            .arg(CheckReport::Printable(message));
    return {CheckCommandLine::EXIT_USAGE, QString(), QByteArray(), text};
}

/// What is wrong with the arguments, or an empty string.
QString Fault(const OPTIONS &options)
{
    const QCommandLineParser &parser = options.parser;
    if (!parser.positionalArguments().isEmpty())
        return CheckCommandLine::tr("unexpected argument \"%1\"")
            .arg(parser.positionalArguments().first());
    if (parser.isSet(options.settings) &&
        (parser.isSet(options.disks) || parser.isSet(options.programs)))
        return CheckCommandLine::tr("--settings does not go with --disks or --programs");
    for (const QCommandLineOption &option : {options.disks, options.programs}) {
        const QStringList directories = parser.values(option);
        if (directories.size() > 1)
            return CheckCommandLine::tr("--%1 is given twice").arg(option.names().first());
        if (directories.size() == 1 &&
            (directories.first().isEmpty() || !QDir(directories.first()).exists()))
            return CheckCommandLine::tr("no such directory: \"%1\"").arg(directories.first());
    }
    return QString();
}

QVector<CheckShelf::PLACE> Places(const OPTIONS &options)
{
    const bool named =
        options.parser.isSet(options.disks) || options.parser.isSet(options.programs);
    if (!named)
        return CheckSettings::Places();
    CheckShelf::PLACE place;
    if (options.parser.isSet(options.disks))
        place.diskDirectory = options.parser.value(options.disks);
    if (options.parser.isSet(options.programs))
        place.programDirectory = options.parser.value(options.programs);
    return {place};
}

} // namespace

CheckCommandLine::RESULT CheckCommandLine::Run(const QStringList &arguments)
{
    OPTIONS options;
    if (!options.parser.parse(arguments))
        return UsageError(options.parser.errorText());
    if (options.parser.isSet(options.help))
        return {EXIT_CLEAN, options.parser.helpText(), QByteArray(), QString()};
    if (options.parser.isSet(options.version))
        return {EXIT_CLEAN, QStringLiteral("disk-hub-check " DISK_HUB_VERSION "\n"), QByteArray(),
                QString()};
    const QString fault = Fault(options);
    if (!fault.isEmpty())
        return UsageError(fault);

    std::vector<CheckShelf> shelves;
    qsizetype remarks = 0;
    for (const CheckShelf::PLACE &place : Places(options)) {
        shelves.push_back(CheckShelf::Look(place));
        remarks += shelves.back().NumRemarks();
    }
    RESULT result;
    result.exitCode = remarks == 0 ? EXIT_CLEAN : EXIT_REMARKS;
    if (options.parser.isSet(options.json))
        result.json = CheckReport::Json(shelves);
    else
        result.text = CheckReport::Text(shelves);
    return result;
}
