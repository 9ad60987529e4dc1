// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletOptions.h"

#include "MxMd5.h"
#include "SkyletCommands.h"
#include "SkyletExit.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QFile>

#include <algorithm>

namespace
{

const char HUB_VARIABLE[] = "SKYLET_HUB";
const char DEFAULT_UDID[] = "skylet";
const char AS[] = "as";
const char THEN[] = ","; // stands between the commands of a bench
constexpr qsizetype DIGEST_SIZE = 32;
constexpr qint64 PASSWORD_LINE_MAX = 65536; // bytes

/// The names of all commands, in the order of the help.
QStringList CommandNames()
{
    QStringList names;
    for (const SkyletCommands::COMMAND &command : SkyletCommands::All())
        names.append(QLatin1String(command.name));
    return names;
}

/// The commands whose own option this is, for its line of the help: "get, disks".
QString OwnersOf(const QString &option)
{
    QStringList owners;
    for (const SkyletCommands::COMMAND &command : SkyletCommands::All()) {
        if (command.options.contains(option))
            owners.append(QLatin1String(command.name));
    }
    return owners.join(QLatin1String(", "));
}

/// The lines of the help that name the commands.
QString CommandLines()
{
    constexpr int USAGE_WIDTH = 23; // columns
    QString lines;
    for (const SkyletCommands::COMMAND &command : SkyletCommands::All()) {
        const QString usage =
            QLatin1String(command.name) + QLatin1Char(' ') + QLatin1String(command.usage);
        lines += QLatin1String("  ") + usage.leftJustified(USAGE_WIDTH) +
                 SkyletCommands::tr(command.help) + QLatin1Char('\n');
    }
    return lines;
}

/// Reads a command line: the options, as QCommandLineParser has them, and the command.
class READER
{
    Q_DECLARE_TR_FUNCTIONS(SkyletOptions)

public:
    READER();

    int Read(const QStringList &arguments, SkyletOptions *options, QString *error);
    QString Help() const { return mParser.helpText(); }

private:
    void AddOptionsOfAll();
    void AddOptionsOfSome();

    QString Value(const char *name) const { return mParser.value(QLatin1String(name)); }
    bool IsSet(const char *name) const { return mParser.isSet(QLatin1String(name)); }
    int Fail(const QString &text);

    int ReadGlobals(SkyletOptions *options);
    int ReadHub(SkyletOptions *options);
    int ReadDigest(SkyletOptions *options);
    int ReadPasswordFile(const QString &path, QString *password);
    int ReadNumber(const char *name, int max, int *number);
    int ReadCommand(SkyletOptions *options);
    int ReadLoad(SkyletOptions *options);
    int CheckCommand(const SkyletOptions::COMMAND &command);
    int CheckOptions(const SkyletCommands::COMMAND &command);

    QCommandLineParser mParser;
    QString mError;
};

READER::READER()
{
    mParser.setApplicationDescription(
        tr("Asks a Disk Hub for programs and disks, as a Skylet does.\n"
           "\n"
           "Commands:\n"
           "%1"
           "\n"
           "A pattern is a name as \"search\" shows it; ? stands for any one character, * for\n"
           "all that follow.")
            .arg(CommandLines()));
    AddOptionsOfAll();
    AddOptionsOfSome();
    mParser.addPositionalArgument(QStringLiteral("command"), tr("What to do, see above."),
                                  tr("COMMAND [ARGUMENT...]"));
}

void READER::AddOptionsOfAll()
{
    mParser.addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, tr("Show this help.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, tr("Show the version.")},
        {QStringLiteral("hub"),
         tr("The hub; without it, what SKYLET_HUB says. Port 80 without one."), tr("HOST[:PORT]")},
        {QStringLiteral("user"), tr("The user, where the hub restricts access."), tr("NAME")},
        {QStringLiteral("password"),
         tr("The user's password; empty without it. Others see it in "
            "the list of processes."),
         tr("TEXT")},
        {QStringLiteral("password-file"), tr("Read the password from the first line of a file."),
         tr("FILE")},
        {QStringLiteral("digest"), tr("The password's MD5 digest in place of the password."),
         tr("HEX")},
        {QStringLiteral("udid"),
         tr("How the hub's console names this device (%1).").arg(QLatin1String(DEFAULT_UDID)),
         tr("ID"), QLatin1String(DEFAULT_UDID)},
        {QStringLiteral("timeout"),
         tr("How long to wait while nothing comes or goes (%1); connecting takes 5 at most.")
             .arg(SkyletOptions::TIMEOUT_DEFAULT_S),
         tr("SECONDS")},
        {QStringLiteral("json"), tr("Answer with one JSON object.")},
    });
}

/// Each with the commands in front that take it.
void READER::AddOptionsOfSome()
{
    const auto add = [this](const QStringList &names, const QString &help, const QString &value) {
        const QString shown = OwnersOf(names.constLast()) + QLatin1String(": ") + help;
        mParser.addOption({names, shown, value});
    };
    add({QStringLiteral("raw")}, tr("keep the listing as a .prg file, too."), tr("FILE"));
    add({QStringLiteral("o"), QStringLiteral("output")},
        tr("where to write; the working directory without it."), tr("FILE|DIR"));
    add({QStringLiteral("force")}, tr("replace files that exist."), QString());
    add({QStringLiteral("replace")}, tr("replace what the hub has by that name."), QString());
    add({QLatin1String(AS)}, tr("the name on the hub, for a single file."), tr("NAME"));
    add({QStringLiteral("clients")},
        tr("connections at the same time (%1).").arg(SkyletOptions::CLIENTS_DEFAULT), tr("N"));
    add({QStringLiteral("requests")},
        tr("requests in all (%1).").arg(SkyletOptions::REQUESTS_DEFAULT), tr("N"));
}

int READER::Fail(const QString &text)
{
    mError = text;
    return -1;
}

int READER::Read(const QStringList &arguments, SkyletOptions *options, QString *error)
{
    options->json = arguments.contains(QLatin1String("--json"));
    int status = mParser.parse(arguments) ? 0 : Fail(mParser.errorText());
    if (status == 0 && IsSet("help"))
        options->action = SkyletOptions::SHOW_HELP;
    else if (status == 0 && IsSet("version"))
        options->action = SkyletOptions::SHOW_VERSION;
    else if (status == 0 && (ReadCommand(options) != 0 || ReadGlobals(options) != 0))
        status = -1;
    *error = mError;
    return status;
}

int READER::ReadGlobals(SkyletOptions *options)
{
    options->identity.user = Value("user");
    options->identity.udid = Value("udid");
    options->rawFile = Value("raw");
    options->output = Value("output");
    options->name = Value(AS);
    options->force = IsSet("force");
    options->replace = IsSet("replace");
    int seconds = SkyletOptions::TIMEOUT_DEFAULT_S;
    if (ReadNumber("timeout", SkyletOptions::TIMEOUT_MAX_S, &seconds) != 0 ||
        ReadNumber("clients", SkyletOptions::CLIENTS_MAX, &options->clients) != 0 ||
        ReadNumber("requests", SkyletOptions::REQUESTS_MAX, &options->requests) != 0)
        return -1;
    options->timeoutMs = seconds * 1000;
    if (ReadDigest(options) != 0)
        return -1;
    return ReadHub(options);
}

int READER::ReadHub(SkyletOptions *options)
{
    const QString text = IsSet("hub") ? Value("hub") : qEnvironmentVariable(HUB_VARIABLE);
    if (text.isEmpty())
        return Fail(tr("no hub is named; say --hub HOST[:PORT], or set SKYLET_HUB"));
    if (SkyletAddress::FromString(text, &options->hub) != 0)
        return Fail(tr("\"%1\" is no HOST[:PORT]").arg(text));
    return 0;
}

int READER::ReadDigest(SkyletOptions *options)
{
    const int given = int(IsSet("password")) + int(IsSet("password-file")) + int(IsSet("digest"));
    if (given > 1)
        return Fail(tr("only one of --password, --password-file and --digest makes sense"));
    if (given > 0 && !IsSet("user"))
        return Fail(tr("a password without --user makes no sense"));
    if (IsSet("digest")) {
        const QString digest = Value("digest").toLower(); // as hubs keep it
        const bool isHex = std::all_of(digest.begin(), digest.end(), [](QChar c) {
            return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f');
        });
        if (digest.size() != DIGEST_SIZE || !isHex)
            return Fail(tr("a digest has 32 hexadecimal digits"));
        options->identity.digest = digest;
        return 0;
    }

    QString password = Value("password");
    if (IsSet("password-file") && ReadPasswordFile(Value("password-file"), &password) != 0)
        return -1;
    // The hub gives new users an empty password. Its dialog hashes Latin-1, too, and as many bytes.
    const QByteArray bytes = password.toLatin1();
    if (IsSet("user"))
        options->identity.digest =
            MxMd5::HashDataToString(bytes.constData(), static_cast<unsigned short>(bytes.size()));
    return 0;
}

int READER::ReadPasswordFile(const QString &path, QString *password)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Fail(tr("%1 cannot be read: %2").arg(path, file.errorString()));
    QByteArray line = file.readLine(PASSWORD_LINE_MAX);
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    *password = QString::fromUtf8(line);
    return 0;
}

int READER::ReadNumber(const char *name, int max, int *number)
{
    if (!IsSet(name))
        return 0;
    bool isNumber = false;
    const int value = Value(name).toInt(&isNumber);
    if (!isNumber || value < 1 || value > max)
        return Fail(
            tr("--%1 takes a number from 1 to %2").arg(QLatin1String(name), QString::number(max)));
    *number = value;
    return 0;
}

int READER::ReadCommand(SkyletOptions *options)
{
    QStringList words = mParser.positionalArguments();
    if (words.isEmpty()) {
        QStringList names = CommandNames();
        const QString last = names.takeLast();
        return Fail(
            tr("a command is missing: %1 or %2").arg(names.join(QLatin1String(", ")), last));
    }
    options->command.name = words.takeFirst();
    options->command.arguments = words;
    if (CheckCommand(options->command) != 0)
        return -1;
    const SkyletCommands::COMMAND &command = *SkyletCommands::Find(options->command.name);
    if (CheckOptions(command) != 0)
        return -1;
    return command.arguments == SkyletCommands::OTHER_COMMANDS ? ReadLoad(options) : 0;
}

int READER::ReadLoad(SkyletOptions *options)
{
    SkyletOptions::COMMAND command;
    QStringList words = options->command.arguments;
    words.append(QLatin1String(THEN));
    for (const QString &word : std::as_const(words)) {
        if (command.name.isEmpty()) {
            command.name = word;
        } else if (word != QLatin1String(THEN)) {
            command.arguments.append(word);
        } else {
            if (command.name == options->command.name)
                return Fail(tr("a %1 of a %1 makes no sense").arg(command.name));
            if (CheckCommand(command) != 0)
                return -1;
            options->load.append(command);
            command = SkyletOptions::COMMAND();
        }
    }
    return 0;
}

int READER::CheckCommand(const SkyletOptions::COMMAND &given)
{
    const SkyletCommands::COMMAND *const command = SkyletCommands::Find(given.name);
    if (command == nullptr)
        return Fail(tr("\"%1\" is no command").arg(given.name));
    const auto count = given.arguments.size();
    if (count < command->minArguments)
        return Fail(tr("%1 needs to know what").arg(given.name));
    if (command->maxArguments >= 0 && count > command->maxArguments)
        return Fail(tr("%1 takes no \"%2\"; quote patterns, or the shell replaces them")
                        .arg(given.name, given.arguments.at(command->maxArguments)));
    if (IsSet(AS) && command->options.contains(QLatin1String(AS)) && count > 1)
        return Fail(tr("--as gives a name to a single file"));
    return 0;
}

/// Whether the command takes the options that are given. One of no command is one of all.
int READER::CheckOptions(const SkyletCommands::COMMAND &command)
{
    const QStringList names = mParser.optionNames();
    for (QString name : names) {
        if (name == QLatin1String("o"))
            name = QStringLiteral("output");
        const bool isTaken = command.options.contains(name) || command.passedOn.contains(name);
        if (!isTaken && !OwnersOf(name).isEmpty())
            return Fail(tr("%1 takes no --%2").arg(QLatin1String(command.name), name));
    }
    return 0;
}

} // namespace

int SkyletOptions::Parse(const QStringList &arguments, SkyletOptions *options, QString *error)
{
    READER reader;
    return reader.Read(arguments, options, error);
}

QString SkyletOptions::Help()
{
    return READER().Help() + QLatin1Char('\n') + tr("Exit codes:") + QLatin1Char('\n') +
           SkyletExit::Table();
}

bool SkyletOptions::IsLatin1(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= 0xFF; });
}
