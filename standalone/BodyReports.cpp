#include "BodyReports.h"

#include "ReplyValues.h"

#include <QList>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kBracketsPerBody = 3;

/// The texts between the brackets of a line.
/// @return false if brackets do not close or something other than blanks stands between them
bool splitBrackets(const QByteArray &text, QVector<QByteArray> *brackets)
{
    int position = 0;
    while (position < text.size()) {
        if (text.at(position) == ' ') {
            ++position;
            continue;
        }
        const int end = text.indexOf(']', position);
        if (text.at(position) != '[' || end < 0)
            return false;
        brackets->append(text.mid(position + 1, end - position - 1));
        position = end + 1;
    }
    return true;
}

template <typename Numbers>
bool differ(const Numbers &a, const Numbers &b, double limit)
{
    for (size_t i = 0; i < a.size(); ++i) {
        if (!(std::fabs(a[i] - b[i]) < limit))
            return true;
    }
    return false;
}

bool isElsewhere(const BodyReport &a, const BodyReport &b)
{
    // A body at rest may still flicker in the last digit.
    constexpr double kLastDigitMm = 0.001;
    return differ(a.position, b.position, 1.5 * kLastDigitMm) ||
           differ(a.rotation, b.rotation, 1.5 * BodyReports::kLastDigit);
}

} // namespace

bool parseBodyLine(const QByteArray &line, QVector<BodyReport> *reports)
{
    const QByteArray head("6d ");
    const int bodies = line.indexOf('[');
    int count = 0;
    if (!line.startsWith(head) ||
        !parseInt(bodies < 0 ? line.mid(head.size()) : line.mid(head.size(), bodies - head.size()),
                  &count))
        return false;
    QVector<QByteArray> brackets;
    if (bodies >= 0 && !splitBrackets(line.mid(bodies), &brackets))
        return false;
    if (count < 0 || brackets.size() % kBracketsPerBody != 0 ||
        brackets.size() / kBracketsPerBody != count)
        return false;
    QVector<BodyReport> result;
    for (int i = 0; i < brackets.size(); i += kBracketsPerBody) {
        BodyReport report;
        double head2[2];
        double place[6];
        if (!parseDoubles(brackets.at(i), head2, 2) ||
            !parseDoubles(brackets.at(i + 1), place, 6) ||
            !parseDoubles(brackets.at(i + 2), report.rotation.data(), 9))
            return false;
        report.number = static_cast<int>(head2[0]) + 1;
        report.tracked = head2[1] > 0.0;
        std::copy(place, place + 3, report.position.begin());
        result.append(report);
    }
    *reports = result;
    return true;
}

double angleBetweenDeg(const std::array<double, 9> &a, const std::array<double, 9> &b)
{
    // The distance of two rotations as lists of numbers; good for small angles too.
    double sum = 0.0;
    for (size_t i = 0; i < a.size(); ++i)
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    return 2.0 * std::asin(std::min(1.0, std::sqrt(sum / 8.0))) * 180.0 / std::acos(-1.0);
}

int BodyReports::receiveLine(const char *, const char *line)
{
    QVector<BodyReport> reports;
    if (!parseBodyLine(line, &reports))
        return -1;
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_lines;
    for (auto &body : m_bodies)
        body.second.newest.tracked = false;
    for (const BodyReport &report : qAsConst(reports)) {
        History &history = m_bodies[report.number];
        history.newest = report;
        if (!report.tracked)
            continue;
        if (++history.linesTracked == 1)
            history.first = report;
        history.moved = history.moved || isElsewhere(history.first, report);
        history.turnDeg =
            std::max(history.turnDeg, angleBetweenDeg(history.first.rotation, report.rotation));
    }
    return 0;
}

void BodyReports::forget()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bodies.clear();
    m_lines = 0;
}

int BodyReports::lineCount() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

const BodyReports::History *BodyReports::historyOf(int number) const
{
    const auto found = m_bodies.find(number);
    return found == m_bodies.end() ? nullptr : &found->second;
}

bool BodyReports::newestRotation(int number, std::array<double, 9> *rotation) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const History *history = historyOf(number);
    if (!history || !history->newest.tracked)
        return false;
    *rotation = history->newest.rotation;
    return true;
}

bool BodyReports::isTrackedThroughout(int number) const
{
    const History *history = historyOf(number);
    return history && m_lines >= kLinesToTrust && history->linesTracked == m_lines;
}

bool BodyReports::standsStill(int number) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return isTrackedThroughout(number) && !historyOf(number)->moved;
}

bool BodyReports::turns(int number) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return isTrackedThroughout(number) && historyOf(number)->turnDeg >= kTurnDeg;
}

bool BodyReports::isJudged(int number) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_lines < kLinesToTrust || !isTrackedThroughout(number))
        return m_lines >= kLinesToTrust;
    const History *history = historyOf(number);
    return !history->moved || history->turnDeg >= kTurnDeg;
}

bool BodyReports::isAlignedWithRoom(int number) const
{
    std::array<double, 9> rotation{};
    if (!newestRotation(number, &rotation))
        return false;
    const std::array<double, 9> identity = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
    // Half a digit more, so that what is off by one does not hang on binary fractions.
    return !differ(rotation, identity, 1.5 * kLastDigit);
}
