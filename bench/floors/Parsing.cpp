// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// The reading of forms and of header lines against the toolkit's own split and decode of the same
// bytes, in one process and in turn. Output: lines of what, ratio of medians and goal, separated by
// tabs.

#include "AppDeviceTransaction.h"
#include "AppFormBody.h"
#include "FormParts.h"
#include "SegmentSocket.h"

#include <QElapsedTimer>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace
{

constexpr int COUNT = 10000; ///< of pairs, fields and header lines
constexpr int ROUNDS = 41;

QByteArray UrlEncoded()
{
    QByteArray body;
    for (int i = 0; i < COUNT; ++i)
        body += "field" + QByteArray::number(i) + "=value+%41" + QByteArray::number(i) + "&";
    return body;
}

QByteArray Multipart()
{
    QByteArray body;
    for (int i = 0; i < COUNT; ++i)
        body += FormField("field" + QByteArray::number(i), "value+%41" + QByteArray::number(i));
    return body + FORM_END;
}

QByteArray Headers()
{
    QByteArray headers = "POST / HTTP/1.1\r\n";
    for (int i = 0; i < COUNT; ++i)
        headers += "X-Field-" + QByteArray::number(i) + ": value " + QByteArray::number(i) + "\r\n";
    return headers + "Content-Length: 0\r\n\r\n";
}

qint64 Nanoseconds(void (*parse)(const QByteArray &), const QByteArray &body)
{
    QElapsedTimer timer;
    timer.start();
    parse(body);
    return timer.nsecsElapsed();
}

double Median(std::vector<qint64> values)
{
    std::sort(values.begin(), values.end());
    return double(values[values.size() / 2]);
}

double Ratio(void (*own)(const QByteArray &), void (*toolkit)(const QByteArray &),
             const QByteArray &body)
{
    std::vector<qint64> ours;
    std::vector<qint64> theirs;
    for (int i = 0; i < ROUNDS; ++i) {
        ours.push_back(Nanoseconds(own, body));
        theirs.push_back(Nanoseconds(toolkit, body));
    }
    return Median(ours) / Median(theirs);
}

int sSink; ///< keeps the toolkit's work from being optimised away

void Parse(AppFormBody form)
{
    AppFormBody::FIELD field;
    while (form.ReadField(&field))
        sSink += int(field.name.size() + field.value.size());
}

void ParseUrlEncoded(const QByteArray &body)
{
    Parse({AppFormBody::TYPE_URL_ENCODED, QString(), body});
}

void ParseMultipart(const QByteArray &body)
{
    Parse({AppFormBody::TYPE_MULTIPART, QStringLiteral("XyZ"), body});
}

void ReceiveHeaders(const QByteArray &headers)
{
    const std::unique_ptr<SegmentSocket> socket(new SegmentSocket({headers}));
    const AppDeviceTransaction transaction(socket.get());
    sSink += transaction.mHeadersDone;
}

void SplitUrlEncoded(const QByteArray &body)
{
    QByteArray bytes = body;
    bytes.replace('+', ' ');
    const QStringList pairs =
        QString::fromUtf8(QByteArray::fromPercentEncoding(bytes)).split(QLatin1Char('&'));
    for (const QString &pair : pairs)
        sSink += int(pair.split(QLatin1Char('=')).value(1).trimmed().size());
}

void SplitMultipart(const QByteArray &body)
{
    const QStringList lines = QString::fromLatin1(body).split(QLatin1String("\r\n"));
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("Content-Disposition")))
            sSink += int(line.split(QLatin1Char('=')).value(1).size());
        else
            sSink +=
                int(QString::fromUtf8(QByteArray::fromPercentEncoding(line.toLatin1())).size());
    }
}

void SplitHeaders(const QByteArray &headers)
{
    const QStringList lines = QString::fromLatin1(headers).split(QLatin1String("\r\n"));
    for (const QString &line : lines)
        sSink += int(line.split(QLatin1Char(' ')).value(0).size());
}

void Report(const char *what, double ratio, const char *goal)
{
    std::printf("parsing 10 000 %s\t%.3f\t%s\n", what, ratio, goal);
}

} // namespace

int main()
{
    Report("URL-encoded pairs", Ratio(ParseUrlEncoded, SplitUrlEncoded, UrlEncoded()), "0.5");
    Report("multipart fields", Ratio(ParseMultipart, SplitMultipart, Multipart()), "0.5");
    Report("header lines", Ratio(ReceiveHeaders, SplitHeaders, Headers()), "1.4");
    return sSink == 0x7FFFFFFF ? 1 : 0;
}
