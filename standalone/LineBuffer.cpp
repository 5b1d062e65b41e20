#include "LineBuffer.h"

#include <cstring>
#include <utility>

LineBuffer::LineBuffer(int longestLine)
    : m_longestLine(longestLine)
{
}

void LineBuffer::feed(const char *bytes, int size)
{
    while (size > 0) {
        const void *found = std::memchr(bytes, '\n', static_cast<size_t>(size));
        const int length =
            found ? static_cast<int>(static_cast<const char *>(found) - bytes) : size;

        m_begun = true;
        // One byte more than allowed is kept, since the last one may turn out to be the '\r'.
        const int room = m_longestLine + 1 - m_unfinished.size();
        const int taken = qMin(length, room);
        m_unfinished.append(bytes, taken);
        if (taken < length)
            m_overflow = true;

        if (!found)
            return;
        Line line;
        line.text = std::exchange(m_unfinished, QByteArray());
        if (!m_overflow && line.text.endsWith('\r'))
            line.text.chop(1);
        line.tooLong = m_overflow || line.text.size() > m_longestLine;
        line.text.truncate(m_longestLine);
        m_lines.push_back(std::move(line));
        m_begun = false;
        m_overflow = false;

        bytes += length + 1;
        size -= length + 1;
    }
}

bool LineBuffer::takeLine(Line *line)
{
    if (m_lines.empty())
        return false;
    *line = std::move(m_lines.front());
    m_lines.pop_front();
    return true;
}

void LineBuffer::clear()
{
    m_unfinished.clear();
    m_begun = false;
    m_overflow = false;
    m_lines.clear();
}
