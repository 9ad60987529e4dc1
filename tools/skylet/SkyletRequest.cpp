// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletRequest.h"

#include <QUrl>

#include <utility>

namespace
{

// What a Commodore 64 with a Skylet as drive 8 says of itself. Hubs take it and do not use it.
constexpr int DEVICE_NUMBER = 8;
constexpr int DEVICE_MEMORY = 38911; // bytes free for BASIC

const char BOUNDARY[] = "SkyletPart";

} // namespace

SkyletRequest::SkyletRequest(const SkyletIdentity &identity)
{
    Add("usr", identity.user);
    Add("pwd", identity.digest);
}

SkyletRequest SkyletRequest::Search(const SkyletIdentity &identity, const QString &pattern)
{
    SkyletRequest request(identity);
    request.Add("dev", DEVICE_NUMBER);
    request.Add("udid", identity.udid);
    request.Add("pat", pattern);
    request.Add("cmd", AppDeviceTransaction::COMMAND_SEARCH);
    request.Add("req", AppDeviceTransaction::REQUEST_PROGRAM);
    request.Add("mem", DEVICE_MEMORY);
    return request;
}

SkyletRequest SkyletRequest::Download(const SkyletIdentity &identity,
                                      AppDeviceTransaction::REQUEST what, const QString &pattern)
{
    SkyletRequest request(identity);
    request.Add("dev", DEVICE_NUMBER);
    request.Add("udid", identity.udid);
    request.Add("pat", pattern);
    request.Add("cmd", AppDeviceTransaction::COMMAND_DOWNLOAD);
    request.Add("req", what);
    request.Add("mem", DEVICE_MEMORY);
    return request;
}

SkyletRequest SkyletRequest::Upload(const SkyletIdentity &identity)
{
    SkyletRequest request(identity);
    request.Add("cmd", AppDeviceTransaction::COMMAND_UPLOAD);
    request.Add("udid", identity.udid);
    return request;
}

SkyletRequest SkyletRequest::Nothing(const SkyletIdentity &identity)
{
    SkyletRequest request(identity);
    request.Add("dev", DEVICE_NUMBER);
    request.Add("udid", identity.udid);
    return request;
}

QByteArray SkyletRequest::ToBytes(const QString &host) const
{
    QByteArray type("application/x-www-form-urlencoded");
    QByteArray body;
    if (mPackage.isEmpty() && FitsUrlEncoding()) {
        body = UrlEncodedBody();
    } else {
        const QByteArray boundary = FreeBoundary();
        type = "multipart/form-data; boundary=" + boundary;
        body = MultipartBody(boundary);
    }
    return "POST / HTTP/1.1\r\n"
           "Host: " +
           host.toUtf8() +
           "\r\n"
           "Content-Type: " +
           type +
           "\r\n"
           "Content-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

void SkyletRequest::Add(const char *name, const QString &value)
{
    // To a hub an empty value is the same as none.
    if (!value.isEmpty())
        mProperties.append(qMakePair(QByteArray(name), value));
}

void SkyletRequest::Add(const char *name, int value)
{
    Add(name, QString::number(value));
}

bool SkyletRequest::FitsUrlEncoding() const
{
    for (const auto &property : mProperties) {
        const QString &value = property.second;
        if (value.contains(QLatin1Char('&')) || value.contains(QLatin1Char('=')) ||
            value.trimmed() != value)
            return false;
    }
    return true;
}

QByteArray SkyletRequest::UrlEncodedBody() const
{
    QByteArray body;
    for (const auto &property : mProperties) {
        if (!body.isEmpty())
            body += '&';
        body += property.first + '=' + QUrl::toPercentEncoding(property.second);
    }
    return body;
}

QByteArray SkyletRequest::MultipartBody(const QByteArray &boundary) const
{
    QByteArray body;
    body.reserve(mPackage.size() + 4096);
    for (const auto &property : mProperties) {
        // Hubs percent-decode the value of a part, too.
        body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + property.first +
                "\"\r\n\r\n" + QUrl::toPercentEncoding(property.second) + "\r\n";
    }
    if (!mPackage.isEmpty()) {
        body += "--" + boundary +
                "\r\nContent-Disposition: form-data; name=\"up\"; filename=\"package\""
                "\r\nContent-Type: application/octet-stream\r\n\r\n";
        body += mPackage;
        body += "\r\n";
    }
    body += "--" + boundary + "--\r\n";
    return body;
}

/// A boundary that occurs in nothing that it divides.
QByteArray SkyletRequest::FreeBoundary() const
{
    QByteArray boundary(BOUNDARY);
    const QByteArray values = UrlEncodedBody();
    for (int i = 1; mPackage.contains("--" + boundary) || values.contains("--" + boundary); ++i)
        boundary = BOUNDARY + QByteArray::number(i);
    return boundary;
}
