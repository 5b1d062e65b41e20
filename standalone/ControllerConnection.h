#pragma once

#include "Exchange.h"
#include "LineBuffer.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

class QDeadlineTimer;

/// The connection to the controller: one text line each way, synchronously.
///
/// An exchange runs no event loop, so nothing else of the program happens during it. A reply that
/// did not come in time is never given to a later request: the connection is given up and opened
/// anew. A lost connection is opened again from the event loop, with growing pauses; until then
/// every exchange fails at once.
///
/// A connection on which no request was ever answered counts as lost with its first time-out. From
/// then on a new one must answer a trial, which holds nobody up, before it counts as made: a
/// controller that accepts connections and is silent for good would else cost a time limit with
/// each.
class ControllerConnection : public QObject {
    Q_OBJECT

public:
    enum State { DisconnectedState, ConnectingState, ConnectedState };
    Q_ENUM(State)

    static constexpr int kDefaultTimeoutMs = 2000;
    /// Bytes of the longest line that is understood.
    static constexpr int kLongestLine = 1023;

    explicit ControllerConnection(QObject *parent = nullptr);
    ~ControllerConnection() override;

    /// Time limit of one exchange.
    void setTimeoutMs(int timeoutMs);
    int timeoutMs() const { return m_timeoutMs; }
    /// What a controller that was silent is asked as its trial, a parameter that can be read at any
    /// time. Without one there is no trial.
    void setTrialParameter(const QByteArray &parameter);

    /// Begins to connect, and keeps the connection up until close().
    void open(const QString &host, quint16 port);
    /// Waits without an event loop until the connection stands. A host name whose address is still
    /// being looked up is not waited for.
    /// @return false if it could not be made within the limit; it goes on being tried
    bool waitForConnected(int limitMs);
    void close();

    State state() const { return m_state; }
    QString host() const { return m_host; }
    quint16 port() const { return m_port; }
    /// Why there is no connection, in the system's words; empty while there is one.
    QString lastError() const { return m_lastError; }
    /// How many times it has been made; a new one knows nothing of what was asked over an older.
    int connectCount() const { return m_connectCount; }
    QHostAddress localAddress() const { return m_socket.localAddress(); }
    QHostAddress peerAddress() const { return m_socket.peerAddress(); }

    /// What is taken for a reply: the first line that comes, or the first that can be the answer.
    enum Replies { AnyLine, AnswersOnly };

    /// Sends a line and waits for the reply line.
    /// @param line  without its end; it must hold none, and no NUL
    /// @return the exchange with its reply; the status is Done when a whole line came
    Exchange exchange(const QByteArray &line, Replies replies = AnyLine);

    /// Gives the connection up because requests and replies may be out of step, and opens it anew
    /// for the next exchange.
    void resynchronise(const QString &reason);

signals:
    void stateChanged(ControllerConnection::State state);
    /// A line that no request was waiting for.
    void unaskedLine(const QByteArray &line);
    /// A trial came to its end.
    void tried(const Exchange &exchange);

private:
    void beginConnecting(const QString &host);
    void onConnected();
    void onAttemptLimit();
    void becomeConnected();
    void onDisconnected();
    void onError(QAbstractSocket::SocketError error);
    void onReadyRead();
    void connectionFailed(const QString &reason);
    void beginTrial();
    void readTrial();
    void endTrial(ExchangeStatus status);
    bool connectWithin(const QDeadlineTimer &deadline);
    ExchangeStatus waitForReply(const QDeadlineTimer &deadline, Replies replies,
                                Exchange *exchange);
    void receive();
    void dropUnaskedLines();
    void reportUnaskedLines();
    void reportUnasked(const QByteArray &line);
    void setState(State state);

    QTcpSocket m_socket;
    QTimer m_retryTimer;
    QTimer m_attemptLimit;
    LineBuffer m_lines;
    QString m_host;
    quint16 m_port = 0;
    QString m_knownAddress; ///< to which the host's name led last
    QString m_lastError;
    State m_state = DisconnectedState;
    int m_timeoutMs = kDefaultTimeoutMs;
    int m_retryDelayMs;
    int m_connectCount = 0;
    bool m_wanted = false;
    bool m_busy = false;
    bool m_hasReplied = false; ///< on the connection that stands
    bool m_needsTrial = false; ///< the controller has not replied since it was silent
    bool m_isOnTrial = false;  ///< a trial is under way
    QByteArray m_trialParameter;
    Exchange m_trial;
    QElapsedTimer m_trialClock;
    /// The connection was given up on purpose, so the next exchange may wait for a new one.
    bool m_reconnectForExchange = false;
};
