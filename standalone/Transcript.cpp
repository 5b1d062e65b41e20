#include "Transcript.h"

bool Transcript::open(const QString &fileName, QString *error)
{
    m_file.close();
    m_file.setFileName(fileName);
    if (m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return true;
    *error = m_file.errorString();
    return false;
}

void Transcript::add(const Exchange &exchange)
{
    if (!m_file.isOpen())
        return;
    // A refused request may hold line ends, which would break the one line for each direction.
    QByteArray request = exchange.request;
    request.replace('\n', "\\n").replace('\r', "\\r").replace('\0', "\\0");
    m_file.write("> " + request + '\n');
    if (exchange.replied)
        m_file.write("< " + exchange.reply + '\n');
    else
        m_file.write("! " + statusText(exchange.status).toUtf8() + '\n');
    m_file.flush();
}
