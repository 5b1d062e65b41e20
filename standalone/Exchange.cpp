#include "Exchange.h"

#include "ReplyValues.h"

#include <QCoreApplication>

static const QByteArray kQuery = QByteArrayLiteral("quorel2 get ");

static QString tr(const char *text)
{
    return QCoreApplication::translate("Exchange", text);
}

QString statusText(ExchangeStatus status)
{
    switch (status) {
    case ExchangeStatus::Done:
        return QString();
    case ExchangeStatus::NotConnected:
        return tr("not connected");
    case ExchangeStatus::ConnectionLost:
        return tr("connection lost");
    case ExchangeStatus::TimedOut:
        return tr("timed out");
    case ExchangeStatus::ReplyTooLong:
        return tr("reply too long");
    case ExchangeStatus::UnexpectedReply:
        return tr("unexpected reply");
    case ExchangeStatus::Refused:
        return tr("refused");
    case ExchangeStatus::BadRequest:
        return tr("bad request");
    case ExchangeStatus::Busy:
        return tr("busy");
    }
    return QString();
}

bool isErrorReply(const QByteArray &reply)
{
    return reply == "quorel2 err" || reply.startsWith("quorel2 err ");
}

bool isAnswerTo(const QByteArray &request, const QByteArray &reply)
{
    if (isErrorReply(reply))
        return true;
    if (request.startsWith(kQuery)) {
        QByteArray value;
        return valueOfReply(reply, request.mid(kQuery.size()), &value);
    }
    return reply == "quorel2 ok" || reply.startsWith("quorel2 ok ");
}
