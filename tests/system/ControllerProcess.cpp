#include "ControllerProcess.h"

#include <QElapsedTimer>

namespace {
constexpr int kLimitMs = 20000;
}

ControllerProcess::ControllerProcess(const QStringList &arguments)
    : m_arguments(arguments)
{
}

ControllerProcess::~ControllerProcess()
{
    m_socket.abort();
    m_process.terminate();
    if (!m_process.waitForFinished(kLimitMs)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool ControllerProcess::start()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QStringLiteral(QUOREL2_BUILD_DIR "/bin/quorel2-controller"),
                    QStringList{"--listen", "127.0.0.1:0"} + m_arguments);
    QByteArray output;
    while (!output.contains('\n')) {
        if (!m_process.waitForReadyRead(kLimitMs))
            return false;
        output += m_process.readAll();
    }
    m_address = QString::fromLatin1(output.left(output.indexOf('\n')))
                    .section(QLatin1Char(' '), -1)
                    .trimmed();
    m_port = m_address.section(QLatin1Char(':'), -1).toUShort();
    m_socket.connectToHost(QStringLiteral("127.0.0.1"), m_port);
    return m_port != 0 && m_socket.waitForConnected(kLimitMs);
}

QByteArray ControllerProcess::ask(const QByteArray &line)
{
    m_socket.write(line + '\n');
    QElapsedTimer timer;
    timer.start();
    while (!m_socket.canReadLine() && timer.elapsed() < kLimitMs) {
        if (!m_socket.waitForReadyRead(kLimitMs))
            break;
    }
    return m_socket.readLine().trimmed();
}

QByteArray ControllerProcess::value(const QByteArray &parameter)
{
    const QByteArray reply = ask("quorel2 get " + parameter);
    const QByteArray start = "quorel2 set " + parameter + ' ';
    return reply.startsWith(start) ? reply.mid(start.size()) : QByteArray();
}

QVector<std::array<double, 3>> ControllerProcess::markers(const QByteArray &body)
{
    QVector<std::array<double, 3>> positions;
    const int count = value("body number_of_marker " + body).toInt();
    for (int marker = 1; marker <= count; ++marker) {
        const QByteArray number = QByteArray::number(marker).rightJustified(2, '0');
        const QList<QByteArray> numbers = value("body marker " + body + " m" + number).split(' ');
        if (numbers.size() == 3)
            positions.append({numbers[0].toDouble(), numbers[1].toDouble(), numbers[2].toDouble()});
    }
    return positions;
}
