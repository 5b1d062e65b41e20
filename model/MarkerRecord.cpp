#include "MarkerRecord.h"

MarkerRecord::MarkerRecord(qint32 markerId, const bsVector &markerPosition, double markerRadius,
                           double markerSmallRadius, double ex, double ey, double ez,
                           double angleDeg)
    : id(markerId)
    , position(markerPosition)
    , radius(markerRadius)
    , smallRadius(markerSmallRadius)
    , emission{ex, ey, ez, angleDeg}
{
}
