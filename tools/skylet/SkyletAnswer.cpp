// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletAnswer.h"

#include "AppPackage.h"
#include "SkyletConnection.h"

#include <iterator>

namespace
{

struct ROW {
    SkyletAnswer::KIND kind;
    SkyletExit::CODE exitCode;
    const char *word;
    const char *message;
    const char *advice;
};

// By SkyletAnswer::KIND.
const ROW ROWS[] = {
    {SkyletAnswer::SUCCESS, SkyletExit::SUCCESS, "success", "", ""},
    {SkyletAnswer::HOST_NOT_FOUND, SkyletExit::NO_CONNECTION, "host-not-found",
     QT_TRANSLATE_NOOP("SkyletAnswer", "there is no host of that name"),
     QT_TRANSLATE_NOOP("SkyletAnswer",
                       "Use the IP address that the hub's console shows behind \"running on\".")},
    {SkyletAnswer::REFUSED, SkyletExit::NO_CONNECTION, "refused",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the connection is refused"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "Nothing listens there: start the hub, and compare address "
                                       "and port with those in its window.")},
    {SkyletAnswer::UNREACHABLE, SkyletExit::NO_CONNECTION, "unreachable",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the host cannot be reached"),
     QT_TRANSLATE_NOOP(
         "SkyletAnswer",
         "Check that both machines are on the same network and the address is right.")},
    {SkyletAnswer::CONNECT_TIMED_OUT, SkyletExit::NO_CONNECTION, "connect-timed-out",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the connection timed out"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "A firewall on the hub's machine drops the connection, or "
                                       "no machine has this address.")},
    {SkyletAnswer::CLOSED, SkyletExit::NO_ANSWER, "closed",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the connection was closed without an answer"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "Something listens there that does not take requests as a "
                                       "hub does: compare the port with the hub's window.")},
    {SkyletAnswer::TIMED_OUT, SkyletExit::NO_ANSWER, "timed-out",
     QT_TRANSLATE_NOOP("SkyletAnswer", "no answer came in time"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "The hub is busy or stuck, or another program listens "
                                       "there; --timeout waits longer.")},
    {SkyletAnswer::MALFORMED, SkyletExit::MALFORMED_ANSWER, "malformed-answer",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the answer is not a hub's"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "Another program listens on this port, or a proxy stands "
                                       "between: compare the port with the hub's window.")},
    {SkyletAnswer::LOGIN_REFUSED, SkyletExit::LOGIN_REFUSED, "login-refused",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the hub refuses the user or the password"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "Compare both with the hub's access restrictions, where "
                                       "upper and lower case differ; its console says which.")},
    {SkyletAnswer::READ_ONLY, SkyletExit::READ_ONLY, "read-only",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the hub lets this user read only"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "The hub's access restrictions say who may write.")},
    {SkyletAnswer::DISK_EXISTS, SkyletExit::EXISTS, "disk-exists",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the hub has a disk of that name; --replace replaces it"),
     ""},
    {SkyletAnswer::PROGRAM_EXISTS, SkyletExit::EXISTS, "program-exists",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the program's name is taken; --replace replaces it"), ""},
    {SkyletAnswer::WRITE_ERROR, SkyletExit::WRITE_ERROR, "write-error",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the hub cannot write a file"),
     QT_TRANSLATE_NOOP("SkyletAnswer", "Look at the hub's directories: do they exist, are they "
                                       "chosen, may it write there, is there room?")},
    {SkyletAnswer::OTHER_RESULT, SkyletExit::OTHER_RESULT, "other-result",
     QT_TRANSLATE_NOOP("SkyletAnswer", "the hub sends another result code"), ""},
    {SkyletAnswer::INTERRUPTED, SkyletExit::INTERRUPTED, "interrupted",
     QT_TRANSLATE_NOOP("SkyletAnswer", "interrupted"), ""},
};

const ROW &Row(SkyletAnswer::KIND kind)
{
    Q_ASSERT(kind >= 0 && kind < int(std::size(ROWS)) && ROWS[kind].kind == kind);
    return ROWS[kind];
}

SkyletAnswer::KIND KindOfResult(qint32 result)
{
    switch (result) {
    case AppPackage::RESULT_OK:
        return SkyletAnswer::SUCCESS;
    case AppPackage::RESULT_WRITE_ERROR:
        return SkyletAnswer::WRITE_ERROR;
    case AppPackage::RESULT_READ_ONLY:
        return SkyletAnswer::READ_ONLY;
    case AppPackage::RESULT_DISK_EXISTS:
        return SkyletAnswer::DISK_EXISTS;
    case AppPackage::RESULT_PROGRAM_EXISTS:
        return SkyletAnswer::PROGRAM_EXISTS;
    case AppPackage::RESULT_AUTH_FAILURE:
        return SkyletAnswer::LOGIN_REFUSED;
    default:
        return SkyletAnswer::OTHER_RESULT;
    }
}

SkyletAnswer::KIND KindOfOutcome(SkyletConnection::OUTCOME outcome)
{
    switch (outcome) {
    case SkyletConnection::HOST_NOT_FOUND:
        return SkyletAnswer::HOST_NOT_FOUND;
    case SkyletConnection::REFUSED:
        return SkyletAnswer::REFUSED;
    case SkyletConnection::UNREACHABLE:
        return SkyletAnswer::UNREACHABLE;
    case SkyletConnection::CONNECT_TIMED_OUT:
        return SkyletAnswer::CONNECT_TIMED_OUT;
    case SkyletConnection::CLOSED:
        return SkyletAnswer::CLOSED;
    case SkyletConnection::TIMED_OUT:
        return SkyletAnswer::TIMED_OUT;
    case SkyletConnection::ANSWERED:
        return SkyletAnswer::SUCCESS;
    case SkyletConnection::NONE:
        break;
    }
    return SkyletAnswer::INTERRUPTED;
}

/// How far the exchange came, for an answer that did not come in time.
QString HowFar(const SkyletConnection &connection)
{
    if (connection.ReplySize() >= 0)
        return SkyletAnswer::tr("%1 of %2 bytes came")
            .arg(connection.Bytes().size())
            .arg(connection.ReplySize());
    if (connection.BytesSent() < connection.RequestSize())
        return SkyletAnswer::tr("%1 of %2 bytes were sent")
            .arg(connection.BytesSent())
            .arg(connection.RequestSize());
    return QString();
}

void TakeReply(const QByteArray &bytes, SkyletAnswer *answer)
{
    answer->reply = SkyletReply::Parse(bytes);
    if (answer->reply.status != SkyletReply::VALID) {
        answer->kind = SkyletAnswer::MALFORMED;
        answer->detail = answer->reply.Message();
        return;
    }
    const qint32 result = answer->reply.package->result;
    answer->kind = KindOfResult(result);
    if (answer->kind == SkyletAnswer::OTHER_RESULT)
        answer->detail = QString::number(result);
}

} // namespace

SkyletAnswer SkyletAnswer::FromConnection(const SkyletConnection &connection)
{
    SkyletAnswer answer;
    answer.kind = KindOfOutcome(connection.Outcome());
    if (connection.Outcome() == SkyletConnection::ANSWERED)
        TakeReply(connection.Bytes(), &answer);
    else if (answer.kind == TIMED_OUT)
        answer.detail = HowFar(connection);
    else if (answer.kind == UNREACHABLE)
        answer.detail = connection.ErrorText();
    return answer;
}

SkyletExit::CODE SkyletAnswer::ExitCode() const
{
    return Row(kind).exitCode;
}

QString SkyletAnswer::Word() const
{
    return QLatin1String(Row(kind).word);
}

QString SkyletAnswer::Message() const
{
    const char *const text = Row(kind).message;
    const QString message = *text == '\0' ? QString() : tr(text);
    return detail.isEmpty() ? message : message + QLatin1String(": ") + detail;
}

QString SkyletAnswer::Advice() const
{
    const char *const text = Row(kind).advice;
    return *text == '\0' ? QString() : tr(text);
}
