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

void Transcript::addUnasked(const QByteArray &line)
{
    if (m_file.isOpen())
        write("# unasked: ", line);
}

void Transcript::add(const Exchange &exchange)
{
    if (!m_file.isOpen())
        return;
    write("> ", exchange.request);
    if (exchange.replied)
        write("< ", exchange.reply);
    else
        write("! ", statusText(exchange.status).toUtf8());
}

void Transcript::write(const char *sign, QByteArray text)
{
    // A refused request may hold line ends, and a reply what is none but looks like one.
    text.replace('\n', "\\n").replace('\r', "\\r").replace('\0', "\\0");
    m_file.write(sign + text + '\n');
    m_file.flush();
}
