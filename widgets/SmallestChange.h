#pragma once

#include <cmath>

/// A change of a value widget that is not larger than this, in the unit of the value, is none.
constexpr double kSmallestChange = 1e-5;

/// False for NaN.
inline bool isChange(double difference)
{
    return std::abs(difference) > kSmallestChange;
}
