// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// The parsing of form bodies against the toolkit's own split and decode of the same body, in one
// process and in turn. Output: lines of what, ratio of medians and goal, separated by tabs.

#include "AppDeviceTransaction.h"
#include "SegmentSocket.h"

#include <QElapsedTimer>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace
{

constexpr int PAIRS = 10000;
constexpr int ROUNDS = 41;

QByteArray UrlEncoded()
{
    QByteArray body;
    for (int i = 0; i < PAIRS; ++i)
        body += "field" + QByteArray::number(i) + "=value+%41" + QByteArray::number(i) + "&";
    return body;
}

QByteArray Multipart()
{
    QByteArray body;
    for (int i = 0; i < PAIRS; ++i) {
        body += "--XyZ\r\nContent-Disposition: form-data; name=\"field" + QByteArray::number(i) +
                "\"\r\n\r\nvalue+%41" + QByteArray::number(i) + "\r\n";
    }
    return body + "--XyZ--\r\n";
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

void Parse(const QByteArray &body, const char *type)
{
    const std::unique_ptr<SegmentSocket> socket(
        new SegmentSocket({QByteArray("Content-Length: 0\r\n\r\n")}));
    AppDeviceTransaction transaction(socket.get());
    transaction.mContent = body;
    transaction.mContentType = QLatin1String(type);
    transaction.mBoundary = QStringLiteral("XyZ");
    sSink += transaction.ParseContent();
}

void ParseUrlEncoded(const QByteArray &body)
{
    Parse(body, "application/x-www-form-urlencoded");
}

void ParseMultipart(const QByteArray &body)
{
    Parse(body, "multipart/form-data;");
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

} // namespace

int main()
{
    std::printf("parsing 10 000 URL-encoded pairs\t%.3f\t2.5\n",
                Ratio(ParseUrlEncoded, SplitUrlEncoded, UrlEncoded()));
    std::printf("parsing 10 000 multipart fields\t%.3f\t2.0\n",
                Ratio(ParseMultipart, SplitMultipart, Multipart()));
    return sSink == 0x7FFFFFFF ? 1 : 0;
}
