#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMetaType>
#include <QString>

/// How an exchange with the controller ended. The number is the status that a module gets.
enum class ExchangeStatus {
    Done = 0,
    NotConnected = 1,    ///< there is no connection; nothing was sent
    ConnectionLost = 2,  ///< the connection ended before the reply came
    TimedOut = 3,        ///< the time limit passed before the reply came
    ReplyTooLong = 4,    ///< the reply or its value does not fit the module's buffer
    UnexpectedReply = 5, ///< the reply is not one to this request, or its value cannot be read
    Refused = 6,         ///< the controller answered with an error
    BadRequest = 7,      ///< the request cannot be a line of the protocol; nothing was sent
    Busy = 8,            ///< another exchange is under way, or this is not the connection's thread
};

/// One exchange with the controller: a line each way.
struct Exchange {
    QDateTime time; ///< when the request was made
    QByteArray request;
    QByteArray reply;
    bool replied = false; ///< a reply line came, whatever it said
    ExchangeStatus status = ExchangeStatus::NotConnected;
    double milliseconds = 0.0;
};

/// In words for the user; empty for an exchange that was done.
QString statusText(ExchangeStatus status);

/// True for the controller's word that it did not do what was asked.
bool isErrorReply(const QByteArray &reply);

/// True for what a controller may answer to that request line: that it did not do it, else the
/// value that was asked for, or that it did what it was told. Anything else it has said of its own
/// accord, and the answer is still to come.
bool isAnswerTo(const QByteArray &request, const QByteArray &reply);

Q_DECLARE_METATYPE(Exchange)
