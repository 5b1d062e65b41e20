#pragma once

#include <QByteArray>

#include <deque>

/// Cuts a stream of bytes into lines. Pure: bytes in, lines out, however the stream was split.
///
/// A line ends with '\n'; one '\r' before it belongs to the end of the line. No more than the
/// longest line allowed is ever kept of an unfinished line.
class LineBuffer {
public:
    struct Line {
        QByteArray text;      ///< without its end; the first bytes only of a line that is too long
        bool tooLong = false; ///< the line was longer than allowed; the rest of it was dropped
    };

    /// @param longestLine  bytes of the longest line allowed, its end not counted
    explicit LineBuffer(int longestLine);

    void feed(const char *bytes, int size);
    /// Takes the oldest complete line.
    /// @return false and nothing changed if there is none
    bool takeLine(Line *line);
    /// True when a line has begun whose end has not come yet.
    bool hasUnfinishedLine() const { return m_begun; }
    /// Forgets all lines, finished or not.
    void clear();

private:
    int m_longestLine;
    QByteArray m_unfinished;
    bool m_begun = false;
    bool m_overflow = false;
    std::deque<Line> m_lines;
};
