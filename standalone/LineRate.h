#pragma once

#include <QtGlobal>

#include <deque>

/// Lines per second of a stream that comes and goes. Pure: times in, rate out.
///
/// The rate is measured from line to line, so it is right from the second line on and however late
/// it is asked for. A pause of more than a second ends a stream; what comes after it is a new one.
/// All times are microseconds of one clock and never decrease.
class LineRate {
public:
    static constexpr qint64 kWindowUs = 1000000;

    void add(qint64 timeUs);
    /// @return lines per second over the last second of the stream, 0 once a second without a line
    ///         has passed
    double perSecond(qint64 nowUs) const;

private:
    std::deque<qint64> m_times; ///< of the last second's lines, and the one before them
};
