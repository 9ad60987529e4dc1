// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletAddress.h"

#include <algorithm>

namespace
{

/// Where the ":" before the port stands, -1 if there is none. Colons inside an IPv6 address do not
/// count.
qsizetype PortColon(const QString &text)
{
    if (text.startsWith(QLatin1Char('[')) || text.count(QLatin1Char(':')) == 1)
        return text.indexOf(QLatin1Char(':'), text.indexOf(QLatin1Char(']')) + 1);
    return -1;
}

/// Returns 0 and leaves `*port` as it was if the text is no port.
bool ReadPort(const QString &text, quint16 *port)
{
    const bool digits =
        std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    bool fits = false;
    const quint16 value = text.toUShort(&fits);
    if (!digits || !fits || value == 0)
        return false;
    *port = value;
    return true;
}

} // namespace

int SkyletAddress::FromString(const QString &text, SkyletAddress *address)
{
    SkyletAddress parsed;
    const qsizetype colon = PortColon(text);
    parsed.host = colon < 0 ? text : text.left(colon);
    if (colon >= 0 && !ReadPort(text.mid(colon + 1), &parsed.port))
        return -1;

    if (parsed.host.startsWith(QLatin1Char('['))) {
        if (!parsed.host.endsWith(QLatin1Char(']')))
            return -1;
        parsed.host = parsed.host.mid(1, parsed.host.size() - 2);
    }
    const bool blank = std::any_of(parsed.host.begin(), parsed.host.end(),
                                   [](QChar c) { return c.isSpace() || !c.isPrint(); });
    if (parsed.host.isEmpty() || blank)
        return -1;
    *address = parsed;
    return 0;
}

QString SkyletAddress::ToString() const
{
    QString text =
        host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    if (port != DEFAULT_PORT)
        text += QLatin1Char(':') + QString::number(port);
    return text;
}
