// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletCommands.h"

#include "AppImageKinds.h"
#include "AppPackage.h"
#include "SkyletBench.h"
#include "SkyletFiles.h"
#include "SkyletListing.h"
#include "SkyletOptions.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace
{

using REQUESTS = SkyletCommands::REQUESTS;
using LINES = QVector<SkyletListing::LINE>;
using OBJECTS = QVector<SkyletUpload::OBJECT>;

const char PROGRAM_EXTENSION[] = "prg";
constexpr double NANOSECONDS_PER_MILLISECOND = 1e6;

QByteArray BytesOf(const AppDosName &name)
{
    return QByteArray(name.Bytes(), static_cast<int>(name.Length()));
}

QString ShownName(const AppDosName &name)
{
    return SkyletListing::PetsciiToText(BytesOf(name));
}

/// The name as a listing can carry it: a NUL ends it there.
QByteArray ListedName(const AppDosName &name)
{
    const QByteArray bytes = BytesOf(name);
    const auto end = bytes.indexOf('\0');
    return end < 0 ? bytes : bytes.left(end);
}

QJsonArray ToJson(const QVector<SkyletListing::ENTRY> &entries)
{
    QJsonArray array;
    for (const SkyletListing::ENTRY &entry : entries)
        array.append(
            QJsonObject{{QStringLiteral("blocks"), entry.blocks},
                        {QStringLiteral("name"), SkyletListing::PetsciiToText(entry.name)},
                        {QStringLiteral("petscii"), QString::fromLatin1(entry.name.toHex())},
                        {QStringLiteral("type"), SkyletListing::PetsciiToText(entry.type)}});
    return array;
}

/// A file that was written.
QJsonObject ToJson(const QString &path, const AppDosName &name, qsizetype size)
{
    return {{QStringLiteral("file"), path},
            {QStringLiteral("name"), ShownName(name)},
            {QStringLiteral("petscii"), QString::fromLatin1(BytesOf(name).toHex())},
            {QStringLiteral("size"), static_cast<qint64>(size)}};
}

QString Milliseconds(double value)
{
    return QString::number(value, 'f', 3);
}

// What search and disks share: a listing, which a reply carries as its program.

/// Takes the listing of a reply, as far as it is whole.
SkyletExit::CODE ReadListing(SkyletSession *session, const SkyletAnswer &answer, LINES *lines)
{
    if (SkyletListing::Parse(answer.reply.package->Program().data, lines) == 0)
        return SkyletExit::SUCCESS;
    session->Report().Remark(SkyletCommands::tr("%1: the answer carries no whole listing")
                                 .arg(session->Options().hub.ToString()));
    return SkyletExit::MALFORMED_ANSWER;
}

void ShowListing(SkyletReport *report, const LINES &lines)
{
    QJsonArray texts;
    for (const SkyletListing::LINE &line : lines) {
        const QString text = SkyletListing::ToText(line);
        if (SkyletListing::IsReversed(line))
            report->ReversedLine(text);
        else
            report->Line(text);
        texts.append(text);
    }
    report->Set(QStringLiteral("listing"), texts);
    report->Set(QStringLiteral("entries"), ToJson(SkyletListing::Entries(lines)));
}

// search

SkyletExit::CODE PlanSearch(SkyletSession *session, const QStringList &arguments,
                            REQUESTS *requests)
{
    requests->append(
        {SkyletRequest::Search(session->Options().identity, session->Pattern(arguments)), {}});
    return SkyletExit::SUCCESS;
}

SkyletExit::CODE Search(SkyletSession *session, const REQUESTS &requests)
{
    const SkyletAnswer answer = session->Ask(requests.constFirst().request);
    if (!answer.IsSuccess())
        return answer.ExitCode();
    LINES lines;
    const SkyletExit::CODE exitCode = ReadListing(session, answer, &lines);
    ShowListing(&session->Report(), lines);
    const QString &rawFile = session->Options().rawFile;
    if (exitCode == SkyletExit::SUCCESS && !rawFile.isEmpty())
        return session->WriteFile(rawFile, answer.reply.package->Program().data);
    return exitCode;
}

// get

SkyletExit::CODE PlanGet(SkyletSession *session, const QStringList &arguments, REQUESTS *requests)
{
    requests->append(
        {SkyletRequest::Download(session->Options().identity, AppDeviceTransaction::REQUEST_PROGRAM,
                                 session->Pattern(arguments)),
         {}});
    return SkyletExit::SUCCESS;
}

SkyletExit::CODE Get(SkyletSession *session, const REQUESTS &requests)
{
    const SkyletAnswer answer = session->Ask(requests.constFirst().request);
    if (!answer.IsSuccess())
        return answer.ExitCode();
    const AppPackage::PROGRAM &program = answer.reply.package->Program();
    if (program.data.isEmpty()) {
        session->Report().Remark(SkyletCommands::tr("no program fits \"%1\"")
                                     .arg(session->Options().command.arguments.constFirst()));
        return SkyletExit::INCOMPLETE;
    }

    QString path = session->Options().output;
    if (path.isEmpty() || path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir()) {
        if (session->MakeDirectory(&path) != SkyletExit::SUCCESS)
            return SkyletExit::LOCAL_FILE;
        path = QDir(path).filePath(
            SkyletFiles::SafeName(program.name, QLatin1String(PROGRAM_EXTENSION)));
    }
    const SkyletExit::CODE exitCode = session->WriteFile(path, program.data);
    if (exitCode != SkyletExit::SUCCESS)
        return exitCode;
    session->Report().Line(
        SkyletCommands::tr("%1: %2 bytes").arg(path, QString::number(program.data.size())));
    session->Report().Set(QStringLiteral("program"),
                          ToJson(path, program.name, program.data.size()));
    return SkyletExit::SUCCESS;
}

// disks

SkyletExit::CODE PlanDisks(SkyletSession *session, const QStringList &arguments, REQUESTS *requests)
{
    requests->append(
        {SkyletRequest::Download(session->Options().identity, AppDeviceTransaction::REQUEST_DISKS,
                                 session->Pattern(arguments)),
         {}});
    return SkyletExit::SUCCESS;
}

SkyletExit::CODE WriteDisk(SkyletSession *session, const QString &path,
                           const AppPackage::DISK &disk, QJsonArray *written)
{
    const QString size = QString::number(disk.data.size());
    if (AppImageKinds::TypeOfSize(disk.data.size()) != disk.type)
        session->Report().Remark(
            SkyletCommands::tr("%1: %2 bytes are not the size of such an image").arg(path, size));
    const SkyletExit::CODE exitCode = session->WriteFile(path, disk.data);
    if (exitCode != SkyletExit::SUCCESS)
        return exitCode;
    session->Report().Line(SkyletCommands::tr("%1: %2 bytes").arg(path, size));
    written->append(ToJson(path, disk.name, disk.data.size()));
    return SkyletExit::SUCCESS;
}

/// Writes all disks that came, also if one cannot be written.
SkyletExit::CODE WriteDisks(SkyletSession *session, const AppPackage &package)
{
    SkyletExit::CODE exitCode = SkyletExit::SUCCESS;
    QJsonArray written;
    SkyletFiles files;
    QString directory = session->Options().output;
    if (package.NumDisks() > 0 && session->MakeDirectory(&directory) != SkyletExit::SUCCESS)
        return SkyletExit::LOCAL_FILE;
    for (int i = 0; i < package.NumDisks() && !SkyletInterrupt::IsRequested(); ++i) {
        const AppPackage::DISK &disk = *package.Disk(i);
        const QString path = QDir(directory).filePath(
            files.UniqueName(disk.name, SkyletFiles::Extension(disk.type)));
        const SkyletExit::CODE diskExitCode = WriteDisk(session, path, disk, &written);
        if (diskExitCode != SkyletExit::SUCCESS)
            exitCode = diskExitCode;
    }
    session->Report().Set(QStringLiteral("disks"), written);
    return SkyletInterrupt::IsRequested() ? SkyletExit::INTERRUPTED : exitCode;
}

/// The entries of the manifest that no disk of the package is listed by.
QVector<SkyletListing::ENTRY> MissingEntries(const AppPackage &package, const LINES &manifest)
{
    QVector<SkyletListing::ENTRY> missing = SkyletListing::Entries(manifest);
    for (int i = 0; i < package.NumDisks(); ++i) {
        const QByteArray name = ListedName(package.Disk(i)->name);
        const auto listed =
            std::find_if(missing.begin(), missing.end(),
                         [&](const SkyletListing::ENTRY &entry) { return entry.name == name; });
        if (listed != missing.end())
            missing.erase(listed);
    }
    return missing;
}

/// Names what the manifest lists beyond what came.
SkyletExit::CODE ReportMissing(SkyletSession *session, const AppPackage &package,
                               const LINES &manifest)
{
    SkyletReport &report = session->Report();
    const QVector<SkyletListing::ENTRY> missing = MissingEntries(package, manifest);
    if (missing.isEmpty() && package.NumDisks() == 0) {
        report.Remark(SkyletCommands::tr("no disk fits \"%1\"")
                          .arg(session->Options().command.arguments.constFirst()));
        return SkyletExit::INCOMPLETE;
    }
    for (const SkyletListing::ENTRY &entry : missing)
        report.Remark(SkyletCommands::tr("listed, but not sent: \"%1\" %2")
                          .arg(SkyletListing::PetsciiToText(entry.name),
                               SkyletListing::PetsciiToText(entry.type)));
    if (!missing.isEmpty())
        report.Remark(SkyletCommands::tr(
            "an answer carries 19 disks at most; a narrower pattern fetches them"));
    report.Set(QStringLiteral("missing"), ToJson(missing));
    return missing.isEmpty() ? SkyletExit::SUCCESS : SkyletExit::INCOMPLETE;
}

SkyletExit::CODE Disks(SkyletSession *session, const REQUESTS &requests)
{
    const SkyletAnswer answer = session->Ask(requests.constFirst().request);
    if (!answer.IsSuccess())
        return answer.ExitCode();
    LINES manifest;
    const SkyletExit::CODE manifestExitCode = ReadListing(session, answer, &manifest);
    ShowListing(&session->Report(), manifest);

    const SkyletExit::CODE writeExitCode = WriteDisks(session, *answer.reply.package);
    const SkyletExit::CODE missingExitCode =
        ReportMissing(session, *answer.reply.package, manifest);
    if (manifestExitCode != SkyletExit::SUCCESS)
        return manifestExitCode;
    return writeExitCode != SkyletExit::SUCCESS ? writeExitCode : missingExitCode;
}

// put

/// Finds out what all the files are, before any of them is sent.
SkyletExit::CODE PlanPut(SkyletSession *session, const QStringList &files, REQUESTS *requests)
{
    SkyletExit::CODE exitCode = SkyletExit::SUCCESS;
    OBJECTS objects;
    for (const QString &file : files) {
        SkyletUpload::OBJECT object;
        QString error;
        if (SkyletUpload::Identify(file, session->Options().name, &object, &error) == 0) {
            objects.append(object);
            continue;
        }
        session->Report().Remark(error);
        exitCode = SkyletExit::LOCAL_FILE;
    }
    if (exitCode != SkyletExit::SUCCESS)
        return exitCode;
    for (const OBJECTS &package : SkyletUpload::Plan(objects))
        requests->append({SkyletRequest::Upload(session->Options().identity), package});
    return SkyletExit::SUCCESS;
}

/// Says what became of one file. A hub's result does not tell which of several objects it is for.
void ReportObject(SkyletReport *report, const SkyletUpload::OBJECT &object,
                  const SkyletAnswer &answer, bool isAlone)
{
    const QString name = ShownName(object.name);
    if (answer.IsSuccess())
        report->Line(SkyletCommands::tr("%1: sent as \"%2\"").arg(object.path, name));
    else if (isAlone && answer.reply.status == SkyletReply::VALID)
        report->Remark(SkyletCommands::tr("%1: not stored as \"%2\"").arg(object.path, name));
    else
        report->Remark(
            SkyletCommands::tr("%1: perhaps not stored as \"%2\"").arg(object.path, name));
}

SkyletExit::CODE PutPackage(SkyletSession *session, const SkyletSession::PLANNED_REQUEST &planned,
                            QJsonArray *packages)
{
    const std::optional<SkyletRequest> request = session->Make(planned);
    if (!request)
        return SkyletExit::LOCAL_FILE;
    const SkyletAnswer answer = session->Ask(*request);
    QJsonArray sent;
    for (const SkyletUpload::OBJECT &object : planned.objects) {
        ReportObject(&session->Report(), object, answer, planned.objects.size() == 1);
        sent.append(QJsonObject{{QStringLiteral("file"), object.path},
                                {QStringLiteral("name"), ShownName(object.name)}});
    }
    packages->append(
        QJsonObject{{QStringLiteral("answer"), answer.Word()}, {QStringLiteral("objects"), sent}});
    return answer.ExitCode();
}

SkyletExit::CODE Put(SkyletSession *session, const REQUESTS &requests)
{
    SkyletExit::CODE exitCode = SkyletExit::SUCCESS;
    QJsonArray packages;
    for (const SkyletSession::PLANNED_REQUEST &planned : requests) {
        const SkyletExit::CODE packageExitCode = PutPackage(session, planned, &packages);
        if (packageExitCode != SkyletExit::SUCCESS)
            exitCode = packageExitCode;
        // These two concern a single object. The hub stores the others of a package all the same,
        // and so the other packages are sent.
        if (packageExitCode != SkyletExit::SUCCESS && packageExitCode != SkyletExit::EXISTS &&
            packageExitCode != SkyletExit::WRITE_ERROR)
            break;
    }
    if (packages.size() < requests.size())
        session->Report().Remark(
            SkyletCommands::tr("%1 of %2 packages were sent")
                .arg(QString::number(packages.size()), QString::number(requests.size())));
    session->Report().Set(QStringLiteral("packages"), packages);
    return exitCode;
}

// ping

SkyletExit::CODE PlanPing(SkyletSession *session, const QStringList &, REQUESTS *requests)
{
    requests->append({SkyletRequest::Nothing(session->Options().identity), {}});
    return SkyletExit::SUCCESS;
}

SkyletExit::CODE Ping(SkyletSession *session, const REQUESTS &requests)
{
    QElapsedTimer timer;
    timer.start();
    const SkyletAnswer answer = session->Ask(requests.constFirst().request);
    const double milliseconds = double(timer.nsecsElapsed()) / NANOSECONDS_PER_MILLISECOND;
    if (!answer.IsSuccess()) {
        if (!answer.Advice().isEmpty())
            session->Report().Remark(answer.Advice());
        return answer.ExitCode();
    }
    session->Report().Line(SkyletCommands::tr("%1: a hub answers, after %2 ms")
                               .arg(session->Options().hub.ToString(), Milliseconds(milliseconds)));
    session->Report().Set(QStringLiteral("milliseconds"), milliseconds);
    return SkyletExit::SUCCESS;
}

// bench

/// Plans what all the commands of the bench ask for.
SkyletExit::CODE PlanBench(SkyletSession *session, const QStringList &, REQUESTS *requests)
{
    for (const SkyletOptions::COMMAND &command : session->Options().load) {
        const SkyletExit::CODE exitCode =
            SkyletCommands::Find(command.name)->plan(session, command.arguments, requests);
        if (exitCode != SkyletExit::SUCCESS)
            return exitCode;
    }
    return SkyletExit::SUCCESS;
}

void ShowFigures(SkyletReport *report, const SkyletBench::FIGURES &figures, int clients)
{
    constexpr double MEGABYTE = 1e6;
    report->Line(SkyletCommands::tr("%1 requests, %2 clients, %3 s")
                     .arg(QString::number(figures.done), QString::number(clients),
                          QString::number(figures.Seconds(), 'f', 3)));
    report->Line(SkyletCommands::tr("%1 requests/s, %2 MB sent, %3 MB received")
                     .arg(QString::number(figures.Rate(), 'f', 1),
                          QString::number(double(figures.sent) / MEGABYTE, 'f', 1),
                          QString::number(double(figures.received) / MEGABYTE, 'f', 1)));
    report->Line(SkyletCommands::tr("latency in ms: p50 %1, p90 %2, p99 %3, max %4")
                     .arg(Milliseconds(figures.Latency(50)), Milliseconds(figures.Latency(90)),
                          Milliseconds(figures.Latency(99)), Milliseconds(figures.Latency(100))));
    report->Line(SkyletCommands::tr("%1 failures").arg(figures.Failures()));
    for (auto i = figures.failures.constBegin(); i != figures.failures.constEnd(); ++i)
        report->Remark(
            SkyletCommands::tr("%1 failed: %2").arg(QString::number(i.value()), i.key()));
}

void SetFigures(SkyletReport *report, const SkyletBench::FIGURES &figures, int clients)
{
    QJsonObject failures;
    for (auto i = figures.failures.constBegin(); i != figures.failures.constEnd(); ++i)
        failures.insert(i.key(), i.value());
    report->Set(QStringLiteral("clients"), clients);
    report->Set(QStringLiteral("requests"), figures.done);
    report->Set(QStringLiteral("seconds"), figures.Seconds());
    report->Set(QStringLiteral("rate"), figures.Rate());
    report->Set(QStringLiteral("sent"), figures.sent);
    report->Set(QStringLiteral("received"), figures.received);
    report->Set(QStringLiteral("latency_ms"),
                QJsonObject{{QStringLiteral("p50"), figures.Latency(50)},
                            {QStringLiteral("p90"), figures.Latency(90)},
                            {QStringLiteral("p99"), figures.Latency(99)},
                            {QStringLiteral("max"), figures.Latency(100)}});
    report->Set(QStringLiteral("failed"), figures.Failures());
    report->Set(QStringLiteral("failures"), failures);
}

SkyletExit::CODE Bench(SkyletSession *session, const REQUESTS &requests)
{
    const SkyletOptions &options = session->Options();
    SkyletBench::LOAD load; // made whole before the first request is sent
    load.clients = options.clients;
    load.count = options.requests;
    for (const SkyletSession::PLANNED_REQUEST &planned : requests) {
        const std::optional<SkyletRequest> request = session->Make(planned);
        if (!request)
            return SkyletExit::LOCAL_FILE;
        load.requests.append(request->ToBytes(options.hub.ToString()));
    }

    SkyletBench bench(options.hub, options.timeoutMs, load);
    const SkyletBench::FIGURES figures = bench.Run(&session->Interrupt());
    ShowFigures(&session->Report(), figures, options.clients);
    SetFigures(&session->Report(), figures, options.clients);
    return SkyletInterrupt::IsRequested() ? SkyletExit::INTERRUPTED : figures.exitCode;
}

int Run(const SkyletOptions &options)
{
    const SkyletCommands::COMMAND &command = *SkyletCommands::Find(options.command.name);
    SkyletSession session(options);
    session.Report().Set(QStringLiteral("command"), options.command.name);
    session.Report().Set(QStringLiteral("hub"), options.hub.ToString());
    REQUESTS requests;
    SkyletExit::CODE exitCode = command.plan(&session, options.command.arguments, &requests);
    if (exitCode == SkyletExit::SUCCESS)
        exitCode = command.run(&session, requests);
    return session.Report().Finish(exitCode);
}

} // namespace

const QVector<SkyletCommands::COMMAND> &SkyletCommands::All()
{
    static const QString raw = QStringLiteral("raw");
    static const QString output = QStringLiteral("output");
    static const QString force = QStringLiteral("force");
    static const QString replace = QStringLiteral("replace");
    static const QString as = QStringLiteral("as");
    static const QString clients = QStringLiteral("clients");
    static const QString requests = QStringLiteral("requests");
    // clang-format off
    static const QVector<COMMAND> commands{
        {"search", "[PATTERN]",
         QT_TRANSLATE_NOOP("SkyletCommands", "List what fits the pattern; all without one."),
         OWN_ARGUMENTS, 0, 1, {raw, force}, {}, PlanSearch, Search},
        {"get", "PATTERN",
         QT_TRANSLATE_NOOP("SkyletCommands", "Fetch the program that fits, as a .prg file."),
         OWN_ARGUMENTS, 1, 1, {output, force}, {}, PlanGet, Get},
        {"disks", "PATTERN",
         QT_TRANSLATE_NOOP("SkyletCommands", "Fetch the disks that fit, as image files."),
         OWN_ARGUMENTS, 1, 1, {output, force}, {}, PlanDisks, Disks},
        {"put", "FILE...",
         QT_TRANSLATE_NOOP("SkyletCommands",
                           "Store programs (.prg) and disk images (known by size)."),
         OWN_ARGUMENTS, 1, -1, {replace, as}, {}, PlanPut, Put},
        {"ping", "",
         QT_TRANSLATE_NOOP("SkyletCommands", "Is a hub there, and if not, why?"),
         OWN_ARGUMENTS, 0, 0, {}, {}, PlanPing, Ping},
        {"bench", "COMMAND...",
         QT_TRANSLATE_NOOP("SkyletCommands", "Send a command again and again, and measure."),
         OTHER_COMMANDS, 1, -1, {clients, requests}, {replace, as}, PlanBench, Bench},
    };
    // clang-format on
    return commands;
}

const SkyletCommands::COMMAND *SkyletCommands::Find(const QString &name)
{
    for (const COMMAND &command : All()) {
        if (name == QLatin1String(command.name))
            return &command;
    }
    return nullptr;
}

int SkyletCommands::Main(const QStringList &arguments)
{
    SkyletOptions options;
    QString error;
    if (SkyletOptions::Parse(arguments, &options, &error) != 0) {
        SkyletReport report(options.json ? SkyletReport::JSON : SkyletReport::TEXT);
        report.Remark(error);
        report.Remark(tr("\"skylet --help\" shows how it is used"));
        return report.Finish(SkyletExit::USAGE);
    }
    if (options.action == SkyletOptions::RUN)
        return Run(options);

    SkyletReport report(SkyletReport::TEXT);
    const QString text = options.action == SkyletOptions::SHOW_HELP
                             ? SkyletOptions::Help().trimmed()
                             : QStringLiteral("skylet " DISK_HUB_VERSION);
    for (const QString &line : text.split(QLatin1Char('\n')))
        report.Line(line);
    return report.Finish(SkyletExit::SUCCESS);
}
