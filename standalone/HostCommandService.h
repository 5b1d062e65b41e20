#pragma once

#include "Exchange.h"

#include <host/IOManager.h>

#include <QDateTime>
#include <QHash>
#include <QObject>

#include <cstdarg>

class ControllerConnection;
class DataReceiver;

/// The command service that the modules get: turns their calls into exchanges with the controller,
/// routes their messages and hands their data lines on.
///
/// Belongs to the GUI thread. Only postMessage() may be called from any thread; the message is then
/// delivered from the GUI thread's event loop.
class HostCommandService : public QObject, public IOManager {
    Q_OBJECT

public:
    /// What the modules' buffers hold, the NUL not counted.
    static constexpr int kLongestValue = 127;
    static constexpr int kLongestReply = 207;

    /// Neither argument is owned; both must outlive the service.
    HostCommandService(ControllerConnection *connection, DataReceiver *dataReceiver,
                       QObject *parent = nullptr);

    void reserved0() override {}
    void reserved1() override {}
    void reserved2() override {}
    /// @param reply  may be null; gets an empty text if the exchange failed
    int sendCommand(char *reply, const char *format, ...) override
        __attribute__((format(printf, 3, 4)));
    void reserved4() override {}
    int getString(char *value, const char *format, ...) override
        __attribute__((format(printf, 3, 4)));
    int getInt(int *value, const char *format, ...) override __attribute__((format(printf, 3, 4)));
    void reserved7() override {}
    void reserved8() override {}
    int getDoubles(double *values, int count, const char *format, ...) override
        __attribute__((format(printf, 4, 5)));
    void reserved10() override {}
    int setParameter(const char *format, ...) override __attribute__((format(printf, 2, 3)));
    void addRequester(const char *lineType, Requester *requester) override;
    void removeRequester(const char *lineType, Requester *requester) override;
    void reserved14() override {}
    void reserved15() override {}
    void postMessage(const char *destination, const char *source, int kind,
                     const char *text) override;
    void registerReceiver(const char *module, MessageReceiver *receiver) override;
    void unregisterReceiver(const char *module, MessageReceiver *receiver) override;

    /// The same exchanges for the host itself, with texts ready made. A command waits for its
    /// answer; what the controller says before it is not taken for one.
    Exchange command(const QByteArray &line);
    Exchange query(const QByteArray &parameter, QByteArray *value);

signals:
    /// Every exchange, also one that failed before anything was sent.
    void exchanged(const Exchange &exchange);
    /// A message for the standard message window.
    void messagePosted(const QDateTime &time, const QString &source, int kind, const QString &text);
    /// A message to a module that nobody has registered.
    void messageUndelivered(const QDateTime &time, const QString &source,
                            const QString &destination, const QString &text);

private:
    /// @param line  as far as it could be formatted
    static Exchange badRequest(const QByteArray &line);
    Exchange finish(const Exchange &exchange);
    /// Takes the first line that comes. If that is no answer, the connection is opened anew.
    Exchange ask(const QByteArray &line);
    /// The value is good if the exchange is done.
    Exchange read(const QByteArray &parameter, QByteArray *value);
    Exchange readFormatted(const char *format, std::va_list arguments, QByteArray *value);
    void deliver(const QByteArray &destination, const QByteArray &source, int kind,
                 const QByteArray &text);

    ControllerConnection *m_connection;
    DataReceiver *m_dataReceiver;
    QHash<QByteArray, MessageReceiver *> m_receivers;
};
