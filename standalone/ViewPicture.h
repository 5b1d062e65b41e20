#pragma once

#include <QImage>
#include <QPointF>

/// Looks at pictures of the 3D view as a user does. Points and lengths are in the view's own
/// pixels, of which a picture may have several for each.
namespace ViewPicture {

/// Something is drawn: more than two colours.
bool isDrawn(const QImage &view);

/// The share of the pixels that differ visibly, 0 to 1; 1 for pictures of different size.
double changedShare(const QImage &before, const QImage &after);

/// True for pictures between which a user sees no difference.
bool isSame(const QImage &before, const QImage &after);
/// True for pictures between which a user cannot overlook the difference.
bool isDifferent(const QImage &before, const QImage &after);

/// A ball that was not marked before is now: lines of that grey have come round it.
/// @param radius  of the outline
/// @param grey    0 to 255
bool isOutlineNew(const QImage &before, const QImage &after, const QPointF &centre, double radius,
                  int grey);

/// The share of the points on the middle half of the way between two points that changed.
double changedAlong(const QImage &before, const QImage &after, const QPointF &from,
                    const QPointF &to);

} // namespace ViewPicture
