#pragma once

#include <QByteArray>

/// Cuts a stream of bytes into lines, however the bytes were split on their way. A line ends with
/// "\n"; one "\r" before it belongs to the end. Memory stays bounded by what was fed last.
class LineFramer {
public:
    enum class Event {
        NeedMore, ///< no whole line is there
        Line,     ///< a line, without its end
        OverLong, ///< a line was longer than the limit; told once, the rest of it is skipped
    };

    /// @param maximumLength  bytes of a line without its end
    explicit LineFramer(int maximumLength);

    void feed(const QByteArray &bytes);
    /// @param line  gets the line for Event::Line, and is left alone otherwise
    Event next(QByteArray *line);
    /// Bytes that next() has not yet taken.
    int pendingBytes() const { return m_bytes.size() - m_position; }

private:
    int m_maximumLength;
    QByteArray m_bytes;
    int m_position = 0; // start of the line being read
    int m_searched = 0; // no "\n" before this place
    bool m_skipping = false;
};
