#pragma once

#include <cmath>

/// The one tolerance of the geometry: a magnitude below it counts as zero.
constexpr double kGeometryTolerance = 1e-7;

/// True when the tolerance is greater than the magnitude of @p value; false for NaN.
inline bool isNearlyZero(double value)
{
    return kGeometryTolerance > std::fabs(value);
}
