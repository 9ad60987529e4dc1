// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletOptions.h"

#include "MxMd5.h"
#include "SkyletExit.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QFile>

#include <algorithm>

namespace
{

const char HUB_VARIABLE[] = "SKYLET_HUB";
const char DEFAULT_UDID[] = "skylet";
const char BENCH[] = "bench";
const char THEN[] = ","; // stands between the commands of a bench
constexpr qsizetype DIGEST_SIZE = 32;
constexpr qint64 PASSWORD_LINE_MAX = 65536; // bytes

/// How a command is used. An option of none of them is one of all.
struct USAGE {
    const char *name;
    int minArguments;
    int maxArguments; // -1 for any number
    QStringList options;
};

const QVector<USAGE> &Usages()
{
    static const QString force = QStringLiteral("force");
    static const QString output = QStringLiteral("output");
    static const QString replace = QStringLiteral("replace");
    static const QString as = QStringLiteral("as");
    static const QVector<USAGE> usages{
        {"search", 0, 1, {QStringLiteral("raw"), force}},
        {"get", 1, 1, {output, force}},
        {"disks", 1, 1, {output, force}},
        {"put", 1, -1, {replace, as}},
        {"ping", 0, 0, {}},
        {BENCH, 1, -1, {QStringLiteral("clients"), QStringLiteral("requests"), replace, as}},
    };
    return usages;
}

const USAGE *FindUsage(const QString &name)
{
    for (const USAGE &usage : Usages()) {
        if (name == QLatin1String(usage.name))
            return &usage;
    }
    return nullptr;
}

/// The options, as QCommandLineParser has them, and what they are checked with.
class LINE
{
    Q_DECLARE_TR_FUNCTIONS(SkyletOptions)

public:
    LINE();

    int Read(const QStringList &arguments, SkyletOptions *options, QString *error);
    QString Help() const { return mParser.helpText(); }

private:
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
    int CheckOptions(const USAGE &usage);

    QCommandLineParser mParser;
    QString mError;
};

LINE::LINE()
{
    mParser.setApplicationDescription(
        tr("Asks a Disk Hub for programs and disks, as a Skylet does.\n"
           "\n"
           "Commands:\n"
           "  search [PATTERN]       List what fits the pattern; all without one.\n"
           "  get PATTERN            Fetch the program that fits, as a .prg file.\n"
           "  disks PATTERN          Fetch the disks that fit, as image files.\n"
           "  put FILE...            Store programs (.prg) and disk images (known by size).\n"
           "  ping                   Is a hub there, and if not, why?\n"
           "  bench COMMAND...       Send a command again and again, and measure.\n"
           "\n"
           "A pattern is a name as \"search\" shows it; ? stands for any one character, * for\n"
           "all that follow."));
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
        {QStringLiteral("raw"), tr("search: keep the listing as a .prg file, too."), tr("FILE")},
        {{QStringLiteral("o"), QStringLiteral("output")},
         tr("get, disks: where to write; the working directory without it."),
         tr("FILE|DIR")},
        {QStringLiteral("force"), tr("search, get, disks: replace files that exist.")},
        {QStringLiteral("replace"), tr("put: replace what the hub has by that name.")},
        {QStringLiteral("as"), tr("put: the name on the hub, for a single file."), tr("NAME")},
        {QStringLiteral("clients"),
         tr("bench: connections at the same time (%1).").arg(SkyletOptions::CLIENTS_DEFAULT),
         tr("N")},
        {QStringLiteral("requests"),
         tr("bench: requests in all (%1).").arg(SkyletOptions::REQUESTS_DEFAULT), tr("N")},
    });
    mParser.addPositionalArgument(QStringLiteral("command"), tr("What to do, see above."),
                                  tr("COMMAND [ARGUMENT...]"));
}

int LINE::Fail(const QString &text)
{
    mError = text;
    return -1;
}

int LINE::Read(const QStringList &arguments, SkyletOptions *options, QString *error)
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

int LINE::ReadGlobals(SkyletOptions *options)
{
    options->identity.user = Value("user");
    options->identity.udid = Value("udid");
    options->rawFile = Value("raw");
    options->output = Value("output");
    options->name = Value("as");
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

int LINE::ReadHub(SkyletOptions *options)
{
    const QString text = IsSet("hub") ? Value("hub") : qEnvironmentVariable(HUB_VARIABLE);
    if (text.isEmpty())
        return Fail(tr("no hub is named; say --hub HOST[:PORT], or set SKYLET_HUB"));
    if (SkyletAddress::FromString(text, &options->hub) != 0)
        return Fail(tr("\"%1\" is no HOST[:PORT]").arg(text));
    return 0;
}

int LINE::ReadDigest(SkyletOptions *options)
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

int LINE::ReadPasswordFile(const QString &path, QString *password)
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

int LINE::ReadNumber(const char *name, int max, int *number)
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

int LINE::ReadCommand(SkyletOptions *options)
{
    QStringList words = mParser.positionalArguments();
    if (words.isEmpty())
        return Fail(tr("a command is missing: search, get, disks, put, ping or bench"));
    options->command.name = words.takeFirst();
    options->command.arguments = words;
    if (CheckCommand(options->command) != 0)
        return -1;
    if (CheckOptions(*FindUsage(options->command.name)) != 0)
        return -1;
    return options->command.name == QLatin1String(BENCH) ? ReadLoad(options) : 0;
}

int LINE::ReadLoad(SkyletOptions *options)
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
            if (command.name == QLatin1String(BENCH))
                return Fail(tr("a bench of a bench makes no sense"));
            if (CheckCommand(command) != 0)
                return -1;
            options->load.append(command);
            command = SkyletOptions::COMMAND();
        }
    }
    return 0;
}

int LINE::CheckCommand(const SkyletOptions::COMMAND &command)
{
    const USAGE *const usage = FindUsage(command.name);
    if (usage == nullptr)
        return Fail(tr("\"%1\" is no command").arg(command.name));
    const auto count = command.arguments.size();
    if (count < usage->minArguments)
        return Fail(tr("%1 needs to know what").arg(command.name));
    if (usage->maxArguments >= 0 && count > usage->maxArguments)
        return Fail(tr("%1 takes no \"%2\"; quote patterns, or the shell replaces them")
                        .arg(command.name, command.arguments.at(usage->maxArguments)));
    if (IsSet("as") && command.name == QLatin1String("put") && count > 1)
        return Fail(tr("--as gives a name to a single file"));
    return 0;
}

int LINE::CheckOptions(const USAGE &usage)
{
    QStringList ofCommands;
    for (const USAGE &each : Usages())
        ofCommands += each.options;
    const QStringList names = mParser.optionNames();
    for (QString name : names) {
        if (name == QLatin1String("o"))
            name = QStringLiteral("output");
        if (ofCommands.contains(name) && !usage.options.contains(name))
            return Fail(tr("%1 takes no --%2").arg(QLatin1String(usage.name), name));
    }
    return 0;
}

} // namespace

int SkyletOptions::Parse(const QStringList &arguments, SkyletOptions *options, QString *error)
{
    LINE line;
    return line.Read(arguments, options, error);
}

QString SkyletOptions::Help()
{
    return LINE().Help() + QLatin1Char('\n') + tr("Exit codes:") + QLatin1Char('\n') +
           SkyletExit::Table();
}

bool SkyletOptions::IsLatin1(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= 0xFF; });
}
