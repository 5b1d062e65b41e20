#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTcpSocket>
#include <QVector>

#include <array>

/// The simulated controller as a process of its own on a free port, and a line to it beside the
/// host's.
class ControllerProcess {
public:
    explicit ControllerProcess(const QStringList &arguments = {});
    ~ControllerProcess();
    Q_DISABLE_COPY(ControllerProcess)

    /// @return false if it did not say that it is listening
    bool start();
    QString address() const { return m_address; }
    quint16 port() const { return m_port; }

    /// The reply to one line; empty if none came.
    QByteArray ask(const QByteArray &line);
    /// The value of a parameter.
    QByteArray value(const QByteArray &parameter);
    /// The markers of a body, for example of "standard b01"; millimetres.
    QVector<std::array<double, 3>> markers(const QByteArray &body);

private:
    QStringList m_arguments;
    QProcess m_process;
    QTcpSocket m_socket;
    QString m_address;
    quint16 m_port = 0;
};
