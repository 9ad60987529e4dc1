// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletSession.h"

#include "AppDosName.h"
#include "SkyletConnection.h"
#include "SkyletFiles.h"
#include "SkyletProgress.h"

#include <QDir>
#include <QEventLoop>

SkyletSession::SkyletSession(const SkyletOptions &options)
    : mOptions(options), mReport(options.json ? SkyletReport::JSON : SkyletReport::TEXT)
{
}

QString SkyletSession::Pattern(const QStringList &arguments)
{
    if (arguments.isEmpty())
        return QStringLiteral("*");
    const QString &pattern = arguments.constFirst();
    if (pattern.size() > AppDosName::SIZE)
        mReport.Remark(tr("only the first %1 characters of \"%2\" count")
                           .arg(QString::number(AppDosName::SIZE), pattern));
    if (!SkyletOptions::IsLatin1(pattern))
        mReport.Remark(tr("\"%1\" has a character that no Commodore name has").arg(pattern));
    return pattern;
}

std::optional<SkyletRequest> SkyletSession::Make(const PLANNED_REQUEST &planned)
{
    if (planned.objects.isEmpty())
        return planned.request;
    const auto replace =
        mOptions.replace ? SkyletUpload::REPLACE_EXISTING : SkyletUpload::KEEP_EXISTING;
    QByteArray package;
    QString error;
    if (SkyletUpload::Pack(planned.objects, replace, &package, &error) != 0) {
        mReport.Remark(error);
        return std::nullopt;
    }
    SkyletRequest request = planned.request;
    request.SetPackage(package);
    return request;
}

SkyletAnswer SkyletSession::Ask(const SkyletRequest &request)
{
    SkyletAnswer answer = Exchange(request);
    mReport.Set(QStringLiteral("answer"), answer.Word());
    if (!answer.IsSuccess())
        mReport.Remark(tr("%1: %2").arg(mOptions.hub.ToString(), answer.Message()));
    return answer;
}

SkyletExit::CODE SkyletSession::WriteFile(const QString &path, const QByteArray &data)
{
    const auto overwrite =
        mOptions.force ? SkyletFiles::REPLACE_EXISTING : SkyletFiles::KEEP_EXISTING;
    QString error;
    if (SkyletFiles::Write(path, data, overwrite, &error) == 0)
        return SkyletExit::SUCCESS;
    mReport.Remark(error);
    return SkyletExit::LOCAL_FILE;
}

SkyletExit::CODE SkyletSession::MakeDirectory(QString *directory)
{
    if (directory->isEmpty())
        *directory = QStringLiteral(".");
    if (QDir().mkpath(*directory))
        return SkyletExit::SUCCESS;
    mReport.Remark(tr("%1 is no directory, and none can be made").arg(*directory));
    return SkyletExit::LOCAL_FILE;
}

SkyletAnswer SkyletSession::Exchange(const SkyletRequest &request) const
{
    SkyletConnection connection(mOptions.hub, mOptions.timeoutMs);
    const SkyletProgress progress(
        [&connection] { return SkyletProgress::OfConnection(connection); });
    QEventLoop loop;
    QObject::connect(&connection, &SkyletConnection::Finished, &loop, &QEventLoop::quit);
    QObject::connect(&mInterrupt, &SkyletInterrupt::Requested, &loop, &QEventLoop::quit);
    connection.Send(request.ToBytes(mOptions.hub.ToString()));
    if (connection.State() != SkyletConnection::FINISHED)
        loop.exec();
    return SkyletAnswer::FromConnection(connection);
}
