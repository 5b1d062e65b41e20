#include "ViewPicture.h"

#include <QRect>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace {

/// Of 255: what is less is no difference to the eye.
constexpr int kVisible = 16;

int largestDifference(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

bool isGrey(QRgb colour, int grey)
{
    constexpr int kExact = 3;
    return largestDifference(colour, qRgb(grey, grey, grey)) <= kExact;
}

} // namespace

bool ViewPicture::isDrawn(const QImage &view)
{
    std::set<QRgb> colours;
    for (int y = 4; y < view.height() - 4; y += 2) {
        for (int x = 4; x < view.width() - 4; x += 2) {
            colours.insert(view.pixel(x, y));
            if (colours.size() > 2)
                return true;
        }
    }
    return false;
}

double ViewPicture::changedShare(const QImage &before, const QImage &after)
{
    if (before.size() != after.size() || before.isNull())
        return 1.0;
    int changed = 0;
    for (int y = 0; y < after.height(); ++y) {
        for (int x = 0; x < after.width(); ++x) {
            if (largestDifference(before.pixel(x, y), after.pixel(x, y)) > kVisible)
                ++changed;
        }
    }
    return static_cast<double>(changed) / (static_cast<double>(after.width()) * after.height());
}

bool ViewPicture::isSame(const QImage &before, const QImage &after)
{
    return changedShare(before, after) < 1e-4;
}

bool ViewPicture::isDifferent(const QImage &before, const QImage &after)
{
    return changedShare(before, after) > 0.01;
}

bool ViewPicture::isOutlineNew(const QImage &before, const QImage &after, const QPointF &centre,
                               double radius, int grey)
{
    if (before.size() != after.size() || before.isNull())
        return false;
    const double ratio = after.devicePixelRatio();
    const double outline = (radius + 1.0) * ratio;
    const QRect square = QRectF(centre * ratio - QPointF(outline, outline),
                                centre * ratio + QPointF(outline, outline))
                             .toAlignedRect()
                             .intersected(after.rect());
    int fresh = 0;
    for (int y = square.top(); y <= square.bottom(); ++y) {
        for (int x = square.left(); x <= square.right(); ++x) {
            if (isGrey(after.pixel(x, y), grey) && !isGrey(before.pixel(x, y), grey))
                ++fresh;
        }
    }
    // Once around would be six times the radius, and there are lines across too.
    return fresh > 4.0 * radius * ratio;
}

double ViewPicture::changedAlong(const QImage &before, const QImage &after, const QPointF &from,
                                 const QPointF &to)
{
    if (before.size() != after.size() || before.isNull())
        return 0.0;
    constexpr int kPoints = 100;
    const double ratio = after.devicePixelRatio();
    int changed = 0;
    for (int i = 0; i < kPoints; ++i) {
        const double way = 0.25 + 0.5 * (i + 0.5) / kPoints;
        const QPoint point = ((from + (to - from) * way) * ratio).toPoint();
        if (after.rect().contains(point) &&
            largestDifference(before.pixel(point), after.pixel(point)) > kVisible)
            ++changed;
    }
    return static_cast<double>(changed) / kPoints;
}
