#include "HostCommandService.h"

#include "CLocale.h"
#include "ControllerConnection.h"
#include "DataReceiver.h"
#include "ReplyValues.h"

#include <host/MessageReceiver.h>

#include <QThread>

#include <cstdio>
#include <cstring>

namespace {

constexpr char kQuery[] = "quorel2 get ";

/// Formats in the C locale, behind the given beginning.
/// @return false if the text is too long or cannot be formatted; what no line may hold, the
///         connection refuses
__attribute__((format(printf, 3, 0))) bool formatLine(QByteArray *line, const char *beginning,
                                                      const char *format, std::va_list arguments)
{
    *line = beginning;
    if (!format)
        return false;
    char text[ControllerConnection::kLongestLine + 1];
    int length = 0;
    {
        const CLocale cLocale;
        // The list was begun by the caller, which the analyser does not follow.
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
        length = std::vsnprintf(text, sizeof text, format, arguments);
    }
    if (length < 0)
        return false;
    const int shown = qMin(length, static_cast<int>(sizeof text) - 1);
    line->append(text, shown);
    return shown == length && line->size() <= ControllerConnection::kLongestLine;
}

void copyOut(char *buffer, const QByteArray &text)
{
    if (!buffer)
        return;
    std::memcpy(buffer, text.constData(), static_cast<size_t>(text.size()));
    buffer[text.size()] = '\0';
}

QString fromModule(const QByteArray &text)
{
    return QString::fromLatin1(text);
}

} // namespace

HostCommandService::HostCommandService(ControllerConnection *connection, DataReceiver *dataReceiver,
                                       QObject *parent)
    : QObject(parent)
    , m_connection(connection)
    , m_dataReceiver(dataReceiver)
{
}

int HostCommandService::sendCommand(char *reply, const char *format, ...)
{
    copyOut(reply, QByteArray());
    QByteArray line;
    std::va_list arguments;
    va_start(arguments, format);
    const bool valid = formatLine(&line, "", format, arguments);
    va_end(arguments);
    Exchange exchange = valid ? ask(line) : badRequest(line);
    if (exchange.status == ExchangeStatus::Done) {
        if (exchange.reply.size() > kLongestReply || exchange.reply.contains('\0'))
            exchange.status = ExchangeStatus::ReplyTooLong;
        else
            copyOut(reply, exchange.reply);
    }
    return static_cast<int>(finish(exchange).status);
}

int HostCommandService::getString(char *value, const char *format, ...)
{
    copyOut(value, QByteArray());
    QByteArray text;
    std::va_list arguments;
    va_start(arguments, format);
    Exchange exchange = readFormatted(format, arguments, &text);
    va_end(arguments);
    if (exchange.status == ExchangeStatus::Done) {
        if (text.size() > kLongestValue)
            exchange.status = ExchangeStatus::ReplyTooLong;
        else
            copyOut(value, text);
    }
    return static_cast<int>(finish(exchange).status);
}

int HostCommandService::getInt(int *value, const char *format, ...)
{
    QByteArray text;
    std::va_list arguments;
    va_start(arguments, format);
    Exchange exchange = readFormatted(format, arguments, &text);
    va_end(arguments);
    if (exchange.status == ExchangeStatus::Done && !(value && parseInt(text, value)))
        exchange.status = ExchangeStatus::UnexpectedReply;
    return static_cast<int>(finish(exchange).status);
}

int HostCommandService::getDoubles(double *values, int count, const char *format, ...)
{
    QByteArray text;
    std::va_list arguments;
    va_start(arguments, format);
    Exchange exchange = readFormatted(format, arguments, &text);
    va_end(arguments);
    if (exchange.status == ExchangeStatus::Done &&
        !(values && count > 0 && parseDoubles(text, values, count)))
        exchange.status = ExchangeStatus::UnexpectedReply;
    return static_cast<int>(finish(exchange).status);
}

int HostCommandService::setParameter(const char *format, ...)
{
    QByteArray line;
    std::va_list arguments;
    va_start(arguments, format);
    const bool valid = formatLine(&line, "quorel2 set ", format, arguments);
    va_end(arguments);
    Exchange exchange = valid ? ask(line) : badRequest(line);
    if (exchange.status == ExchangeStatus::Done && exchange.reply != "quorel2 ok") {
        exchange.status = isErrorReply(exchange.reply) ? ExchangeStatus::Refused
                                                       : ExchangeStatus::UnexpectedReply;
    }
    return static_cast<int>(finish(exchange).status);
}

Exchange HostCommandService::ask(const QByteArray &line)
{
    Exchange exchange = m_connection->exchange(line);
    // The answer may still be on its way, and would be taken for the next request's.
    if (exchange.replied && !isAnswerTo(line, exchange.reply))
        m_connection->resynchronise(tr("The controller sent a reply to something else"));
    return exchange;
}

Exchange HostCommandService::command(const QByteArray &line)
{
    return finish(m_connection->exchange(line, ControllerConnection::AnswersOnly));
}

Exchange HostCommandService::query(const QByteArray &parameter, QByteArray *value)
{
    return finish(read(parameter, value));
}

Exchange HostCommandService::read(const QByteArray &parameter, QByteArray *value)
{
    Exchange exchange = ask(kQuery + parameter);
    if (exchange.status != ExchangeStatus::Done)
        return exchange;
    if (isErrorReply(exchange.reply))
        exchange.status = ExchangeStatus::Refused;
    else if (!valueOfReply(exchange.reply, parameter, value) || value->contains('\0'))
        exchange.status = ExchangeStatus::UnexpectedReply;
    return exchange;
}

Exchange HostCommandService::readFormatted(const char *format, std::va_list arguments,
                                           QByteArray *value)
{
    QByteArray parameter;
    return formatLine(&parameter, "", format, arguments) ? read(parameter, value)
                                                         : badRequest(kQuery + parameter);
}

Exchange HostCommandService::badRequest(const QByteArray &line)
{
    Exchange exchange;
    exchange.time = QDateTime::currentDateTime();
    exchange.request = line;
    exchange.status = ExchangeStatus::BadRequest;
    return exchange;
}

Exchange HostCommandService::finish(const Exchange &exchange)
{
    emit exchanged(exchange);
    return exchange;
}

void HostCommandService::addRequester(const char *lineType, Requester *requester)
{
    if (lineType)
        m_dataReceiver->addRequester(lineType, requester);
}

void HostCommandService::removeRequester(const char *lineType, Requester *requester)
{
    if (lineType)
        m_dataReceiver->removeRequester(lineType, requester);
}

void HostCommandService::postMessage(const char *destination, const char *source, int kind,
                                     const char *text)
{
    // The texts are copied here, since they are the caller's and may be gone when delivered.
    const QByteArray to(destination);
    const QByteArray from(source);
    const QByteArray words(text);
    if (QThread::currentThread() == thread())
        deliver(to, from, kind, words);
    else
        QMetaObject::invokeMethod(
            this, [=] { deliver(to, from, kind, words); }, Qt::QueuedConnection);
}

void HostCommandService::deliver(const QByteArray &destination, const QByteArray &source, int kind,
                                 const QByteArray &text)
{
    const QDateTime now = QDateTime::currentDateTime();
    if (destination == "standard") {
        emit messagePosted(now, fromModule(source), kind, fromModule(text));
    } else if (MessageReceiver *receiver = m_receivers.value(destination)) {
        receiver->receiveMessage(kind, source.constData(), text.constData());
    } else {
        emit messageUndelivered(now, fromModule(source), fromModule(destination), fromModule(text));
    }
}

void HostCommandService::registerReceiver(const char *module, MessageReceiver *receiver)
{
    if (module && receiver)
        m_receivers.insert(module, receiver);
}

void HostCommandService::unregisterReceiver(const char *module, MessageReceiver *receiver)
{
    const QByteArray name(module);
    if (m_receivers.value(name) == receiver)
        m_receivers.remove(name);
}
