// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletCommands.h"

#include "AppImageKinds.h"
#include "AppPackage.h"
#include "SkyletExit.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace
{

const char PROGRAM_EXTENSION[] = "prg";
constexpr double NANOSECONDS_PER_MILLISECOND = 1e6;

QString ShownName(const AppDosName &name)
{
    return SkyletListing::PetsciiToText(QByteArray(name.Bytes(), static_cast<int>(name.Length())));
}

/// The name as a listing can carry it: a NUL ends it there.
QByteArray ListedName(const AppDosName &name)
{
    const QByteArray bytes(name.Bytes(), static_cast<int>(name.Length()));
    const auto end = bytes.indexOf('\0');
    return end < 0 ? bytes : bytes.left(end);
}

QJsonObject ToJson(const SkyletListing::ENTRY &entry)
{
    return {{QStringLiteral("blocks"), entry.blocks},
            {QStringLiteral("name"), SkyletListing::PetsciiToText(entry.name)},
            {QStringLiteral("petscii"), QString::fromLatin1(entry.name.toHex())},
            {QStringLiteral("type"), SkyletListing::PetsciiToText(entry.type)}};
}

QJsonArray ToJson(const QVector<SkyletListing::ENTRY> &entries)
{
    QJsonArray array;
    for (const SkyletListing::ENTRY &entry : entries)
        array.append(ToJson(entry));
    return array;
}

/// A file that was written.
QJsonObject ToJson(const QString &path, const AppDosName &name, qsizetype size)
{
    return {
        {QStringLiteral("file"), path},
        {QStringLiteral("name"), ShownName(name)},
        {QStringLiteral("petscii"),
         QString::fromLatin1(QByteArray(name.Bytes(), static_cast<int>(name.Length())).toHex())},
        {QStringLiteral("size"), static_cast<qint64>(size)}};
}

QString Milliseconds(double value)
{
    return QString::number(value, 'f', 3);
}

} // namespace

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
        return SkyletCommands(options).Run();

    SkyletReport report(SkyletReport::TEXT);
    const QString text = options.action == SkyletOptions::SHOW_HELP
                             ? SkyletOptions::Help().trimmed()
                             : QStringLiteral("skylet " DISK_HUB_VERSION);
    for (const QString &line : text.split(QLatin1Char('\n')))
        report.Line(line);
    return report.Finish(SkyletExit::SUCCESS);
}

SkyletCommands::SkyletCommands(const SkyletOptions &options)
    : mOptions(options)
    , mReport(options.json ? SkyletReport::JSON : SkyletReport::TEXT)
    , mClient(options.hub, options.timeoutMs, &mInterrupt)
{
}

int SkyletCommands::Run()
{
    struct ROW {
        const char *name;
        int (SkyletCommands::*command)();
    };
    static const ROW rows[] = {
        {"search", &SkyletCommands::Search}, {"get", &SkyletCommands::Get},
        {"disks", &SkyletCommands::Disks},   {"put", &SkyletCommands::Put},
        {"ping", &SkyletCommands::Ping},     {"bench", &SkyletCommands::Bench},
    };
    mReport.Set(QStringLiteral("command"), mOptions.command.name);
    mReport.Set(QStringLiteral("hub"), mOptions.hub.ToString());
    int exitCode = SkyletExit::USAGE;
    for (const ROW &row : rows) {
        if (mOptions.command.name == QLatin1String(row.name))
            exitCode = (this->*row.command)();
    }
    return mReport.Finish(exitCode);
}

int SkyletCommands::Search()
{
    const SkyletAnswer answer = Ask(ToRequest(mOptions.command));
    if (!answer.IsSuccess())
        return answer.ExitCode();
    QVector<SkyletListing::LINE> lines;
    const int exitCode = ReadListing(answer, &lines);
    ShowListing(lines);
    if (exitCode == SkyletExit::SUCCESS && !mOptions.rawFile.isEmpty())
        return WriteFile(mOptions.rawFile, answer.reply.package->Program().data);
    return exitCode;
}

int SkyletCommands::Get()
{
    const SkyletAnswer answer = Ask(ToRequest(mOptions.command));
    if (!answer.IsSuccess())
        return answer.ExitCode();
    const AppPackage::PROGRAM &program = answer.reply.package->Program();
    if (program.data.isEmpty()) {
        mReport.Remark(tr("no program fits \"%1\"").arg(mOptions.command.arguments.constFirst()));
        return SkyletExit::INCOMPLETE;
    }

    QString path = mOptions.output;
    if (path.isEmpty() || path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir()) {
        if (TargetDirectory(&path) != SkyletExit::SUCCESS)
            return SkyletExit::LOCAL_FILE;
        path = QDir(path).filePath(
            SkyletFiles::SafeName(program.name, QLatin1String(PROGRAM_EXTENSION)));
    }
    const int exitCode = WriteFile(path, program.data);
    if (exitCode != SkyletExit::SUCCESS)
        return exitCode;
    mReport.Line(tr("%1: %2 bytes").arg(path, QString::number(program.data.size())));
    mReport.Set(QStringLiteral("program"), ToJson(path, program.name, program.data.size()));
    return SkyletExit::SUCCESS;
}

int SkyletCommands::Disks()
{
    const SkyletAnswer answer = Ask(ToRequest(mOptions.command));
    if (!answer.IsSuccess())
        return answer.ExitCode();
    QVector<SkyletListing::LINE> manifest;
    const int manifestExitCode = ReadListing(answer, &manifest);
    ShowListing(manifest);

    const int writeExitCode = WriteDisks(answer);
    const int missingExitCode = ReportMissing(answer, manifest);
    if (manifestExitCode != SkyletExit::SUCCESS)
        return manifestExitCode;
    return writeExitCode != SkyletExit::SUCCESS ? writeExitCode : missingExitCode;
}

int SkyletCommands::Put()
{
    QVector<SkyletUpload::OBJECT> objects;
    if (Identify(mOptions.command.arguments, &objects) != SkyletExit::SUCCESS)
        return SkyletExit::LOCAL_FILE;

    int exitCode = SkyletExit::SUCCESS;
    QJsonArray packages;
    const QVector<QVector<SkyletUpload::OBJECT>> plan = SkyletUpload::Plan(objects);
    for (const QVector<SkyletUpload::OBJECT> &package : plan) {
        const int packageExitCode = PutPackage(package, &packages);
        if (packageExitCode != SkyletExit::SUCCESS)
            exitCode = packageExitCode;
        // What befalls a single object does not keep the others from being stored, as on the hub.
        if (packageExitCode != SkyletExit::SUCCESS && packageExitCode != SkyletExit::EXISTS &&
            packageExitCode != SkyletExit::WRITE_ERROR)
            break;
    }
    if (packages.size() < plan.size()) {
        mReport.Remark(tr("%1 of %2 packages were sent")
                           .arg(QString::number(packages.size()), QString::number(plan.size())));
    }
    mReport.Set(QStringLiteral("packages"), packages);
    return exitCode;
}

int SkyletCommands::Ping()
{
    QElapsedTimer timer;
    timer.start();
    const SkyletAnswer answer = Ask(ToRequest(mOptions.command));
    const double milliseconds = double(timer.nsecsElapsed()) / NANOSECONDS_PER_MILLISECOND;
    if (!answer.IsSuccess()) {
        if (!answer.Advice().isEmpty())
            mReport.Remark(answer.Advice());
        return answer.ExitCode();
    }
    mReport.Line(tr("%1: a hub answers, after %2 ms")
                     .arg(mOptions.hub.ToString(), Milliseconds(milliseconds)));
    mReport.Set(QStringLiteral("milliseconds"), milliseconds);
    return SkyletExit::SUCCESS;
}

int SkyletCommands::Bench()
{
    SkyletBench::LOAD load;
    load.clients = mOptions.clients;
    load.count = mOptions.requests;
    if (MakeLoad(&load.requests) != SkyletExit::SUCCESS)
        return SkyletExit::LOCAL_FILE;
    SkyletBench bench(mOptions.hub, mOptions.timeoutMs, load);
    return ReportFigures(bench.Run(&mInterrupt));
}

/// Sends a request, and says so if it fails.
SkyletAnswer SkyletCommands::Ask(const SkyletRequest &request)
{
    SkyletAnswer answer = mClient.Ask(request);
    mReport.Set(QStringLiteral("answer"), answer.Word());
    if (!answer.IsSuccess())
        mReport.Remark(tr("%1: %2").arg(mOptions.hub.ToString(), answer.Message()));
    return answer;
}

/// The pattern of a command, with a remark on what a hub makes of it.
QString SkyletCommands::Pattern(const SkyletOptions::COMMAND &command)
{
    if (command.arguments.isEmpty())
        return QStringLiteral("*");
    const QString &pattern = command.arguments.constFirst();
    if (pattern.size() > AppDosName::SIZE)
        mReport.Remark(tr("only the first %1 characters of \"%2\" count")
                           .arg(QString::number(AppDosName::SIZE), pattern));
    if (!SkyletOptions::IsLatin1(pattern))
        mReport.Remark(tr("\"%1\" has a character that no Commodore name has").arg(pattern));
    return pattern;
}

/// The request of any command but put.
SkyletRequest SkyletCommands::ToRequest(const SkyletOptions::COMMAND &command)
{
    const SkyletIdentity &identity = mOptions.identity;
    if (command.name == QLatin1String("search"))
        return SkyletRequest::Search(identity, Pattern(command));
    if (command.name == QLatin1String("get"))
        return SkyletRequest::Download(identity, AppDeviceTransaction::REQUEST_PROGRAM,
                                       Pattern(command));
    if (command.name == QLatin1String("disks"))
        return SkyletRequest::Download(identity, AppDeviceTransaction::REQUEST_DISKS,
                                       Pattern(command));
    return SkyletRequest::Nothing(identity);
}

/// Takes the listing that a reply carries as its program, as far as it is whole.
int SkyletCommands::ReadListing(const SkyletAnswer &answer, QVector<SkyletListing::LINE> *lines)
{
    if (SkyletListing::Parse(answer.reply.package->Program().data, lines) == 0)
        return SkyletExit::SUCCESS;
    mReport.Remark(tr("%1: the answer carries no whole listing").arg(mOptions.hub.ToString()));
    return SkyletExit::MALFORMED_ANSWER;
}

void SkyletCommands::ShowListing(const QVector<SkyletListing::LINE> &lines)
{
    QJsonArray texts;
    for (const SkyletListing::LINE &line : lines) {
        const QString text = SkyletListing::ToText(line);
        if (SkyletListing::IsReversed(line))
            mReport.ReversedLine(text);
        else
            mReport.Line(text);
        texts.append(text);
    }
    mReport.Set(QStringLiteral("listing"), texts);
    mReport.Set(QStringLiteral("entries"), ToJson(SkyletListing::Entries(lines)));
}

int SkyletCommands::WriteDisks(const SkyletAnswer &answer)
{
    int exitCode = SkyletExit::SUCCESS;
    QJsonArray written;
    QString directory = mOptions.output;
    const AppPackage &package = *answer.reply.package;
    if (package.NumDisks() > 0 && TargetDirectory(&directory) != SkyletExit::SUCCESS)
        return SkyletExit::LOCAL_FILE;
    for (int i = 0; i < package.NumDisks() && !SkyletInterrupt::IsRequested(); ++i) {
        const AppPackage::DISK &disk = *package.Disk(i);
        const QString path = QDir(directory).filePath(
            mFiles.UniqueName(disk.name, SkyletFiles::Extension(disk.type)));
        if (AppImageKinds::TypeOfSize(disk.data.size()) != disk.type)
            mReport.Remark(tr("%1: %2 bytes are not the size of such an image")
                               .arg(path, QString::number(disk.data.size())));
        const int fileExitCode = WriteFile(path, disk.data);
        if (fileExitCode != SkyletExit::SUCCESS) {
            exitCode = fileExitCode;
            continue;
        }
        mReport.Line(tr("%1: %2 bytes").arg(path, QString::number(disk.data.size())));
        written.append(ToJson(path, disk.name, disk.data.size()));
    }
    mReport.Set(QStringLiteral("disks"), written);
    return SkyletInterrupt::IsRequested() ? static_cast<int>(SkyletExit::INTERRUPTED) : exitCode;
}

/// Names what the manifest lists beyond what came.
int SkyletCommands::ReportMissing(const SkyletAnswer &answer,
                                  const QVector<SkyletListing::LINE> &manifest)
{
    const AppPackage &package = *answer.reply.package;
    QVector<SkyletListing::ENTRY> missing = SkyletListing::Entries(manifest);
    if (missing.isEmpty() && package.NumDisks() == 0) {
        mReport.Remark(tr("no disk fits \"%1\"").arg(mOptions.command.arguments.constFirst()));
        return SkyletExit::INCOMPLETE;
    }
    for (int i = 0; i < package.NumDisks(); ++i) {
        const QByteArray name = ListedName(package.Disk(i)->name);
        const auto listed =
            std::find_if(missing.begin(), missing.end(),
                         [&](const SkyletListing::ENTRY &entry) { return entry.name == name; });
        if (listed != missing.end())
            missing.erase(listed);
    }
    for (const SkyletListing::ENTRY &entry : std::as_const(missing))
        mReport.Remark(tr("listed, but not sent: \"%1\" %2")
                           .arg(SkyletListing::PetsciiToText(entry.name),
                                SkyletListing::PetsciiToText(entry.type)));
    if (!missing.isEmpty())
        mReport.Remark(tr("an answer carries 19 disks at most; a narrower pattern fetches them"));
    mReport.Set(QStringLiteral("missing"), ToJson(missing));
    return missing.isEmpty() ? SkyletExit::SUCCESS : SkyletExit::INCOMPLETE;
}

int SkyletCommands::WriteFile(const QString &path, const QByteArray &data)
{
    QString error;
    const auto overwrite =
        mOptions.force ? SkyletFiles::REPLACE_EXISTING : SkyletFiles::KEEP_EXISTING;
    if (SkyletFiles::Write(path, data, overwrite, &error) == 0)
        return SkyletExit::SUCCESS;
    mReport.Remark(error);
    return SkyletExit::LOCAL_FILE;
}

/// Makes the directory that was named, if it is not there. An empty name becomes the working
/// directory.
int SkyletCommands::TargetDirectory(QString *directory)
{
    if (directory->isEmpty())
        *directory = QStringLiteral(".");
    if (QDir().mkpath(*directory))
        return SkyletExit::SUCCESS;
    mReport.Remark(tr("%1 is no directory, and none can be made").arg(*directory));
    return SkyletExit::LOCAL_FILE;
}

/// Finds out what all the files are, before any of them is sent.
int SkyletCommands::Identify(const QStringList &files, QVector<SkyletUpload::OBJECT> *objects)
{
    int exitCode = SkyletExit::SUCCESS;
    for (const QString &file : files) {
        SkyletUpload::OBJECT object;
        QString error;
        if (SkyletUpload::Identify(file, mOptions.name, &object, &error) == 0) {
            objects->append(object);
            continue;
        }
        mReport.Remark(error);
        exitCode = SkyletExit::LOCAL_FILE;
    }
    return exitCode;
}

int SkyletCommands::PutPackage(const QVector<SkyletUpload::OBJECT> &objects, QJsonArray *packages)
{
    QByteArray package;
    QString error;
    const auto replace =
        mOptions.replace ? SkyletUpload::REPLACE_EXISTING : SkyletUpload::KEEP_EXISTING;
    if (SkyletUpload::Pack(objects, replace, &package, &error) != 0) {
        mReport.Remark(error);
        return SkyletExit::LOCAL_FILE;
    }
    const SkyletAnswer answer = Ask(SkyletRequest::Upload(mOptions.identity, package));

    QJsonArray sent;
    for (const SkyletUpload::OBJECT &object : objects) {
        ReportObject(object, answer, objects.size() == 1);
        sent.append(QJsonObject{{QStringLiteral("file"), object.path},
                                {QStringLiteral("name"), ShownName(object.name)}});
    }
    packages->append(
        QJsonObject{{QStringLiteral("answer"), answer.Word()}, {QStringLiteral("objects"), sent}});
    return answer.ExitCode();
}

/// Says what became of one file. A hub's result does not tell which of several objects it is for.
void SkyletCommands::ReportObject(const SkyletUpload::OBJECT &object, const SkyletAnswer &answer,
                                  bool isAlone)
{
    const QString name = ShownName(object.name);
    if (answer.IsSuccess())
        mReport.Line(tr("%1: sent as \"%2\"").arg(object.path, name));
    else if (isAlone && answer.reply.status == SkyletReply::VALID)
        mReport.Remark(tr("%1: not stored as \"%2\"").arg(object.path, name));
    else
        mReport.Remark(tr("%1: perhaps not stored as \"%2\"").arg(object.path, name));
}

/// The requests of a bench. All are made before the first is sent.
int SkyletCommands::MakeLoad(QVector<QByteArray> *requests)
{
    const QString host = mOptions.hub.ToString();
    for (const SkyletOptions::COMMAND &command : mOptions.load) {
        if (command.name != QLatin1String("put")) {
            requests->append(ToRequest(command).ToBytes(host));
            continue;
        }
        QVector<SkyletUpload::OBJECT> objects;
        if (Identify(command.arguments, &objects) != SkyletExit::SUCCESS)
            return SkyletExit::LOCAL_FILE;
        const auto replace =
            mOptions.replace ? SkyletUpload::REPLACE_EXISTING : SkyletUpload::KEEP_EXISTING;
        for (const QVector<SkyletUpload::OBJECT> &part : SkyletUpload::Plan(objects)) {
            QByteArray package;
            QString error;
            if (SkyletUpload::Pack(part, replace, &package, &error) != 0) {
                mReport.Remark(error);
                return SkyletExit::LOCAL_FILE;
            }
            requests->append(SkyletRequest::Upload(mOptions.identity, package).ToBytes(host));
        }
    }
    return SkyletExit::SUCCESS;
}

int SkyletCommands::ReportFigures(const SkyletBench::FIGURES &figures)
{
    constexpr double MEGABYTE = 1e6;
    mReport.Line(tr("%1 requests, %2 clients, %3 s")
                     .arg(QString::number(figures.done), QString::number(mOptions.clients),
                          QString::number(figures.Seconds(), 'f', 3)));
    mReport.Line(tr("%1 requests/s, %2 MB sent, %3 MB received")
                     .arg(QString::number(figures.Rate(), 'f', 1),
                          QString::number(double(figures.sent) / MEGABYTE, 'f', 1),
                          QString::number(double(figures.received) / MEGABYTE, 'f', 1)));
    mReport.Line(tr("latency in ms: p50 %1, p90 %2, p99 %3, max %4")
                     .arg(Milliseconds(figures.Latency(50)), Milliseconds(figures.Latency(90)),
                          Milliseconds(figures.Latency(99)), Milliseconds(figures.Latency(100))));
    mReport.Line(tr("%1 failures").arg(figures.Failures()));

    QJsonObject failures;
    for (auto i = figures.failures.constBegin(); i != figures.failures.constEnd(); ++i) {
        failures.insert(i.key(), i.value());
        mReport.Remark(tr("%1 failed: %2").arg(QString::number(i.value()), i.key()));
    }
    mReport.Set(QStringLiteral("clients"), mOptions.clients);
    mReport.Set(QStringLiteral("requests"), figures.done);
    mReport.Set(QStringLiteral("seconds"), figures.Seconds());
    mReport.Set(QStringLiteral("rate"), figures.Rate());
    mReport.Set(QStringLiteral("sent"), figures.sent);
    mReport.Set(QStringLiteral("received"), figures.received);
    mReport.Set(QStringLiteral("latency_ms"),
                QJsonObject{{QStringLiteral("p50"), figures.Latency(50)},
                            {QStringLiteral("p90"), figures.Latency(90)},
                            {QStringLiteral("p99"), figures.Latency(99)},
                            {QStringLiteral("max"), figures.Latency(100)}});
    mReport.Set(QStringLiteral("failed"), figures.Failures());
    mReport.Set(QStringLiteral("failures"), failures);
    return SkyletInterrupt::IsRequested() ? static_cast<int>(SkyletExit::INTERRUPTED)
                                          : figures.exitCode;
}
