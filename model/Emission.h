#pragma once

#include "bsVector.h"

/// In which direction a marker emits (unit vector, stored frame) and the half-angle of its cone in
/// degrees. A zero direction means that none is known.
struct Emission {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double angleDeg = 0.0;

    bsVector direction() const { return bsVector(x, y, z); }
};
