#include "ControllerConnection.h"

#include "Logging.h"
#include "ReplyValues.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QScopedValueRollback>
#include <QThread>

namespace {

constexpr int kFirstRetryDelayMs = 100;
constexpr int kLongestRetryDelayMs = 5000;
/// A controller machine that does not answer at all must not keep an attempt open for minutes.
constexpr int kAttemptLimitMs = 3000;

} // namespace

ControllerConnection::ControllerConnection(QObject *parent)
    : QObject(parent)
    , m_lines(kLongestLine)
    , m_retryDelayMs(kFirstRetryDelayMs)
{
    qRegisterMetaType<ControllerConnection::State>();
    // The controller stands in the same network; a proxy for web pages has no business here.
    m_socket.setProxy(QNetworkProxy::NoProxy);
    m_retryTimer.setSingleShot(true);
    m_attemptLimit.setSingleShot(true);
    // A coarse timer may take a twentieth of the time more or less.
    m_attemptLimit.setTimerType(Qt::PreciseTimer);
    connect(&m_socket, &QTcpSocket::connected, this, &ControllerConnection::onConnected);
    connect(&m_socket, &QTcpSocket::disconnected, this, &ControllerConnection::onDisconnected);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, &ControllerConnection::onError);
    connect(&m_socket, &QTcpSocket::readyRead, this, &ControllerConnection::onReadyRead);
    connect(&m_retryTimer, &QTimer::timeout, this, [this] { beginConnecting(m_host); });
    connect(&m_attemptLimit, &QTimer::timeout, this, &ControllerConnection::onAttemptLimit);
}

ControllerConnection::~ControllerConnection()
{
    m_socket.disconnect(this);
}

void ControllerConnection::setTimeoutMs(int timeoutMs)
{
    m_timeoutMs = timeoutMs;
}

void ControllerConnection::setTrialParameter(const QByteArray &parameter)
{
    m_trialParameter = parameter;
}

void ControllerConnection::open(const QString &host, quint16 port)
{
    close();
    m_host = host;
    m_port = port;
    m_knownAddress.clear();
    m_wanted = true;
    m_retryDelayMs = kFirstRetryDelayMs;
    m_needsTrial = false;
    beginConnecting(host);
}

void ControllerConnection::close()
{
    m_wanted = false;
    m_reconnectForExchange = false;
    m_isOnTrial = false;
    m_retryTimer.stop();
    m_attemptLimit.stop();
    m_socket.abort();
    m_lines.clear();
    m_lastError.clear();
    setState(DisconnectedState);
}

bool ControllerConnection::waitForConnected(int limitMs)
{
    return connectWithin(QDeadlineTimer(limitMs));
}

void ControllerConnection::beginConnecting(const QString &host)
{
    m_retryTimer.stop();
    m_lines.clear();
    setState(ConnectingState);
    m_attemptLimit.start(kAttemptLimitMs);
    m_socket.connectToHost(host, m_port);
}

void ControllerConnection::onConnected()
{
    m_attemptLimit.stop();
    m_retryTimer.stop();
    m_reconnectForExchange = false;
    m_lines.clear();
    m_knownAddress = m_socket.peerAddress().toString();
    // A request must leave at once: without this it would wait for the acknowledgement of the
    // one before.
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    m_hasReplied = false;
    if (m_needsTrial && !m_trialParameter.isEmpty())
        beginTrial();
    else
        becomeConnected();
}

void ControllerConnection::becomeConnected()
{
    m_lastError.clear();
    ++m_connectCount;
    setState(ConnectedState);
}

void ControllerConnection::beginTrial()
{
    m_isOnTrial = true;
    m_attemptLimit.start(m_timeoutMs);
    m_trial = Exchange();
    m_trial.time = QDateTime::currentDateTime();
    m_trial.request = "quorel2 get " + m_trialParameter;
    m_trialClock.start();
    qCDebug(lcStandalone) << ">" << m_trial.request;
    m_socket.write(m_trial.request + '\n');
}

void ControllerConnection::readTrial()
{
    receive();
    LineBuffer::Line line;
    while (m_isOnTrial && m_lines.takeLine(&line)) {
        QByteArray value;
        m_trial.reply = line.text;
        if (isErrorReply(line.text)) {
            endTrial(ExchangeStatus::Refused);
        } else if (valueOfReply(line.text, m_trialParameter, &value)) {
            endTrial(ExchangeStatus::Done);
        } else {
            reportUnasked(line.text);
        }
    }
}

void ControllerConnection::endTrial(ExchangeStatus status)
{
    m_isOnTrial = false;
    m_attemptLimit.stop();
    m_trial.status = status;
    m_trial.milliseconds = static_cast<double>(m_trialClock.nsecsElapsed()) / 1e6;
    const bool replied = status == ExchangeStatus::Done || status == ExchangeStatus::Refused;
    m_trial.replied = replied;
    if (!replied)
        m_trial.reply.clear();
    emit tried(m_trial);
    if (replied) {
        m_needsTrial = false;
        becomeConnected();
    }
}

void ControllerConnection::onAttemptLimit()
{
    if (m_isOnTrial)
        endTrial(ExchangeStatus::TimedOut);
    connectionFailed(tr("The controller does not answer"));
}

void ControllerConnection::onDisconnected()
{
    if (m_state == ConnectedState)
        connectionFailed(tr("The controller closed the connection"));
}

void ControllerConnection::onError(QAbstractSocket::SocketError error)
{
    // Waiting for bytes reports its own time limit here, and the end of the connection is reported
    // once more as such.
    if (error == QAbstractSocket::SocketTimeoutError || m_state == DisconnectedState)
        return;
    if (error == QAbstractSocket::RemoteHostClosedError)
        connectionFailed(tr("The controller closed the connection"));
    else
        connectionFailed(m_socket.errorString());
}

void ControllerConnection::connectionFailed(const QString &reason)
{
    qCInfo(lcStandalone) << "no connection to" << m_host << m_port << reason;
    if (m_isOnTrial)
        endTrial(ExchangeStatus::ConnectionLost);
    m_lastError = reason;
    m_attemptLimit.stop();
    m_reconnectForExchange = false;
    // Before abort(), whose own signals must not come back here.
    setState(DisconnectedState);
    m_socket.abort();
    if (!m_wanted)
        return;
    m_retryTimer.start(m_retryDelayMs);
    m_retryDelayMs = qMin(2 * m_retryDelayMs, kLongestRetryDelayMs);
}

void ControllerConnection::resynchronise(const QString &reason)
{
    if (m_state != ConnectedState)
        return;
    qCInfo(lcStandalone) << "connection given up:" << reason;
    m_lastError = reason;
    setState(DisconnectedState);
    m_socket.abort();
    m_lines.clear();
    m_reconnectForExchange = true;
    m_retryTimer.start(0);
}

bool ControllerConnection::connectWithin(const QDeadlineTimer &deadline)
{
    if (m_state == DisconnectedState) {
        if (!m_wanted)
            return false;
        beginConnecting(m_knownAddress.isEmpty() ? m_host : m_knownAddress);
    }
    // Nobody can say how long it takes to find a name; the socket would wait for it without limit.
    if (m_socket.state() == QAbstractSocket::HostLookupState || m_isOnTrial)
        return false;
    if (m_state == ConnectingState)
        m_socket.waitForConnected(static_cast<int>(deadline.remainingTime()));
    // The socket has dropped an attempt whose limit passed.
    if (m_state == ConnectingState && !m_isOnTrial)
        connectionFailed(tr("The controller does not answer"));
    return m_state == ConnectedState;
}

Exchange ControllerConnection::exchange(const QByteArray &line, Replies replies)
{
    Exchange result;
    result.time = QDateTime::currentDateTime();
    result.request = line;
    if (QThread::currentThread() != thread() || m_busy) {
        result.status = ExchangeStatus::Busy;
        return result;
    }
    if (line.size() > kLongestLine || line.contains('\n') || line.contains('\r') ||
        line.contains('\0')) {
        result.status = ExchangeStatus::BadRequest;
        return result;
    }
    const QScopedValueRollback<bool> busy(m_busy, true);
    QElapsedTimer clock;
    clock.start();
    const QDeadlineTimer deadline(m_timeoutMs);

    const bool mayWait = m_reconnectForExchange;
    if (m_state == ConnectedState)
        dropUnaskedLines();
    if (m_state != ConnectedState && !(mayWait && connectWithin(deadline))) {
        result.status = ExchangeStatus::NotConnected;
    } else {
        qCDebug(lcStandalone) << ">" << line;
        m_socket.write(line + '\n');
        m_socket.flush();
        result.status = waitForReply(deadline, replies, &result);
        result.replied =
            result.status == ExchangeStatus::Done || result.status == ExchangeStatus::ReplyTooLong;
        if (result.replied) {
            qCDebug(lcStandalone) << "<" << result.reply;
            m_retryDelayMs = kFirstRetryDelayMs;
            m_hasReplied = true;
        }
        reportUnaskedLines();
        if (result.status == ExchangeStatus::TimedOut) {
            const QString reason = tr("The controller did not reply in time");
            m_needsTrial = !m_hasReplied;
            if (m_hasReplied)
                resynchronise(reason);
            else
                connectionFailed(reason);
        }
    }
    result.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    return result;
}

ExchangeStatus ControllerConnection::waitForReply(const QDeadlineTimer &deadline, Replies replies,
                                                  Exchange *exchange)
{
    // What had begun to come before the request was written cannot be its reply.
    bool firstIsUnasked = m_lines.hasUnfinishedLine();
    for (;;) {
        // Also what the controller said before it hung up is a reply.
        if (m_state == ConnectedState)
            receive();
        LineBuffer::Line line;
        while (m_lines.takeLine(&line)) {
            const bool isUnasked = firstIsUnasked || (replies == AnswersOnly &&
                                                      !isAnswerTo(exchange->request, line.text));
            firstIsUnasked = false;
            if (isUnasked) {
                reportUnasked(line.text);
                continue;
            }
            exchange->reply = line.text;
            return line.tooLong ? ExchangeStatus::ReplyTooLong : ExchangeStatus::Done;
        }
        if (m_state != ConnectedState)
            return ExchangeStatus::ConnectionLost;
        if (deadline.hasExpired())
            return ExchangeStatus::TimedOut;
        m_socket.waitForReadyRead(static_cast<int>(qMax<qint64>(deadline.remainingTime(), 1)));
    }
}

void ControllerConnection::receive()
{
    char bytes[4096];
    qint64 size;
    while (m_socket.isOpen() && (size = m_socket.read(bytes, sizeof bytes)) > 0)
        m_lines.feed(bytes, static_cast<int>(size));
}

void ControllerConnection::onReadyRead()
{
    if (m_isOnTrial)
        readTrial();
    else if (m_busy)
        receive();
    else
        dropUnaskedLines();
}

void ControllerConnection::dropUnaskedLines()
{
    // A poll, so that bytes and the end of the connection are seen which the event loop has not
    // heard of yet.
    if (m_busy)
        m_socket.waitForReadyRead(0);
    receive();
    reportUnaskedLines();
}

void ControllerConnection::reportUnaskedLines()
{
    LineBuffer::Line line;
    while (m_lines.takeLine(&line))
        reportUnasked(line.text);
}

void ControllerConnection::reportUnasked(const QByteArray &line)
{
    qCInfo(lcStandalone) << "unasked:" << line;
    emit unaskedLine(line);
}

void ControllerConnection::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}
