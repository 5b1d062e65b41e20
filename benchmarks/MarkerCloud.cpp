#include "MarkerCloud.h"

#include <cmath>

namespace {

constexpr double kRadiusMm = 80.0;
constexpr double kHalfAngleDeg = 60.0;

/// Points of a spiral from pole to pole, which turns by the golden angle from each to the next.
bsVector direction(int index, int count)
{
    const double z = 1.0 - (2.0 * index + 1.0) / count;
    const double turn = index * M_PI * (3.0 - std::sqrt(5.0));
    const double reach = std::sqrt(1.0 - z * z);
    return {reach * std::cos(turn), reach * std::sin(turn), z};
}

} // namespace

QVector<bsVector> cloudPositions(int count)
{
    QVector<bsVector> positions;
    for (int i = 0; i < count; ++i) {
        const bsVector outward = direction(i, count);
        positions.append({kRadiusMm * outward.x, kRadiusMm * outward.y, kRadiusMm * outward.z});
    }
    return positions;
}

QVector<Emission> cloudEmissions(int count)
{
    QVector<Emission> emissions;
    for (int i = 0; i < count; ++i) {
        const bsVector outward = direction(i, count);
        emissions.append({outward.x, outward.y, outward.z, kHalfAngleDeg});
    }
    return emissions;
}
