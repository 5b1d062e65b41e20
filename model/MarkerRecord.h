#pragma once

#include "Emission.h"
#include "bsVector.h"

#include <QtGlobal>

/// One marker as a value.
struct MarkerRecord {
    qint32 id = -1;           ///< index in load order, from 0; the controller numbers from 1
    bsVector position;        ///< millimetres
    double radius = 10.0;     ///< sphere radius in the view
    double smallRadius = 3.0; ///< the same with small markers
    Emission emission;

    MarkerRecord() = default;
    MarkerRecord(qint32 markerId, const bsVector &markerPosition, double markerRadius,
                 double markerSmallRadius, double ex, double ey, double ez, double angleDeg);
};
