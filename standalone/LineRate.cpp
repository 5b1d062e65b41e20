#include "LineRate.h"

namespace {

/// More lines than this share less than a second, so that their memory is bounded.
constexpr size_t kMostLines = 4096;

} // namespace

void LineRate::add(qint64 timeUs)
{
    if (!m_times.empty() && timeUs - m_times.back() > kWindowUs)
        m_times.clear();
    m_times.push_back(timeUs);
    while (m_times.size() > kMostLines || (m_times.size() > 2 && timeUs - m_times[1] >= kWindowUs))
        m_times.pop_front();
}

double LineRate::perSecond(qint64 nowUs) const
{
    if (m_times.empty() || nowUs - m_times.back() > kWindowUs)
        return 0.0;
    const qint64 spanUs = m_times.back() - m_times.front();
    // Of a single line, or of several at once, no more is known than that they came within a
    // second.
    if (spanUs <= 0)
        return static_cast<double>(m_times.size());
    return static_cast<double>(m_times.size() - 1) * 1e6 / static_cast<double>(spanUs);
}
