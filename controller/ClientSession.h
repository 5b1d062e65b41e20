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
    void handleRequest(const QByteArray &request);
    void sendLine(const QByteArray &line);

    QTcpSocket *m_socket;
    ControllerServer *m_server;
    LineFramer m_framer;
    QUdpSocket *m_dataSocket = nullptr;
    quint16 m_dataPort = 0;
    qint64 m_replyDueUs = -1;
    QByteArray m_heldReply;
};
