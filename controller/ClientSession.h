#pragma once

#include "CommandTable.h"
#include "LineFramer.h"

#include <QByteArray>
#include <QObject>
#include <QVector>

class ControllerServer;
class QTcpSocket;
class QUdpSocket;

/// One client's connection: takes its requests in order, one after the other, and answers each.
/// A client that does not read its replies is not read either, so its share of memory is bounded.
class ClientSession : public QObject, private DataSubscription {
    Q_OBJECT

public:
    /// Takes over @p socket.
    ClientSession(QTcpSocket *socket, ControllerServer *server);
    ~ClientSession() override;

    bool wantsData() const { return m_dataSocket != nullptr; }
    void sendData(const QVector<QByteArray> &lines);

    /// Time at which a reply that is held back is due, in microseconds of the controller's clock;
    /// -1: none is held back.
    qint64 replyDueUs() const { return m_replyDueUs; }
    /// Sends the reply that is held back, and goes on with the requests behind it.
    void sendHeldReply();
    /// Ends the connection at once.
    void drop();

private:
    void connectData(quint16 udpPort) override;
    void disconnectData() override;

    void processInput();
    /// Answers what a client asked before it closed its side of the connection; a client may still
    /// read then.
    void answerRest();
    /// @return false if no whole request is there
    bool answerNext();
    void handleRequest(const QByteArray &request);
    void sendLine(const QByteArray &line);

    QTcpSocket *m_socket;
    ControllerServer *m_server;
    LineFramer m_framer;
    QUdpSocket *m_dataSocket = nullptr;
    quint16 m_dataPort = 0;
    qint64 m_replyDueUs = -1;
    QByteArray m_heldReply;
    /// The same connection once more: the socket closes its own as soon as the client has closed
    /// its side. -1: there was none left
    int m_descriptor;
    QByteArray m_lastReplies;
    qint64 m_unsentBytes = 0; ///< of replies, when last looked
    bool m_isEnded = false;   ///< by the controller
};
