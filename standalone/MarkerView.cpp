#include "MarkerView.h"

#include <cmath>

namespace {

constexpr double kEyeDistanceMm = 300.0;
constexpr double kOpeningDeg = 45.0;
constexpr double kBallMm = 10.0;
constexpr double kOutline = 1.2;
constexpr double kMarginPixels = 3.0;
constexpr double kWantedAngleDeg = 45.0;
constexpr double kAngleMarginDeg = 20.0;
constexpr double kShortestMm = 1.0;

double degrees(double radians)
{
    return radians * 180.0 / std::acos(-1.0);
}

} // namespace

MarkerView::MarkerView(const QVector<Position> &markers, const QSize &size)
    : m_markers(markers)
    , m_size(size)
    , m_focalPixels(size.height() / 2.0 / std::tan(kOpeningDeg / 2.0 * std::acos(-1.0) / 180.0))
{
    for (const Position &marker : markers) {
        for (size_t i = 0; i < 3; ++i)
            m_centre[i] += marker[i] / markers.size();
    }
}

MarkerView::Position MarkerView::fromEye(int marker) const
{
    const Position &position = m_markers.at(marker);
    return {position[0] - m_centre[0], position[1] - m_centre[1],
            kEyeDistanceMm - (position[2] - m_centre[2])};
}

QPointF MarkerView::pixelOf(int marker) const
{
    const Position seen = fromEye(marker);
    return {m_size.width() / 2.0 + seen[0] / seen[2] * m_focalPixels,
            m_size.height() / 2.0 - seen[1] / seen[2] * m_focalPixels};
}

double MarkerView::outlineRadiusOf(int marker) const
{
    return kOutline * kBallMm / fromEye(marker)[2] * m_focalPixels;
}

bool MarkerView::isInFullView(int marker) const
{
    if (fromEye(marker)[2] < 2.0 * kBallMm)
        return false;
    const QPointF pixel = pixelOf(marker);
    const double outline = outlineRadiusOf(marker) + kMarginPixels;
    if (pixel.x() < outline || pixel.y() < outline || pixel.x() > m_size.width() - outline ||
        pixel.y() > m_size.height() - outline)
        return false;
    for (int other = 0; other < m_markers.size(); ++other) {
        if (other == marker || fromEye(other)[2] < 2.0 * kBallMm)
            continue;
        const QPointF apart = pixelOf(other) - pixel;
        if (std::hypot(apart.x(), apart.y()) < outline + outlineRadiusOf(other))
            return false;
    }
    return true;
}

MarkerView::Pair MarkerView::pairForAxis() const
{
    Pair best;
    double nearest = kAngleMarginDeg;
    for (int first = 0; first < m_markers.size(); ++first) {
        for (int second = first + 1; second < m_markers.size(); ++second) {
            if (!isInFullView(first) || !isInFullView(second))
                continue;
            const Position &from = m_markers.at(first);
            const Position &to = m_markers.at(second);
            const double along = std::fabs(to[0] - from[0]);
            const double across = std::hypot(to[1] - from[1], to[2] - from[2]);
            if (std::hypot(along, across) < kShortestMm)
                continue;
            const double off = std::fabs(degrees(std::atan2(across, along)) - kWantedAngleDeg);
            if (off < nearest) {
                nearest = off;
                best = {first, second};
            }
        }
    }
    return best;
}
