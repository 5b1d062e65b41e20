#include "LineFramer.h"

LineFramer::LineFramer(int maximumLength)
    : m_maximumLength(maximumLength)
{
}

void LineFramer::feed(const QByteArray &bytes)
{
    m_bytes.remove(0, m_position);
    m_searched -= m_position;
    m_position = 0;
    m_bytes += bytes;
}

LineFramer::Event LineFramer::next(QByteArray *line)
{
    for (;;) {
        const int end = m_bytes.indexOf('\n', m_searched);
        if (m_skipping) {
            m_position = end < 0 ? m_bytes.size() : end + 1;
            m_searched = m_position;
            if (end < 0)
                return Event::NeedMore;
            m_skipping = false;
            continue;
        }
        int lineLength = (end < 0 ? m_bytes.size() : end) - m_position;
        // A "\r" at the very end may yet turn out to belong to the line's end.
        if (lineLength > 0 && m_bytes.at(m_position + lineLength - 1) == '\r')
            --lineLength;
        if (lineLength > m_maximumLength) {
            m_skipping = true;
            m_searched = m_position;
            return Event::OverLong;
        }
        if (end < 0) {
            m_searched = m_bytes.size();
            return Event::NeedMore;
        }
        *line = m_bytes.mid(m_position, lineLength);
        m_position = end + 1;
        m_searched = m_position;
        return Event::Line;
    }
}
