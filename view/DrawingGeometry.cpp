#include "DrawingGeometry.h"

#include <model/Tolerance.h>

#include <Eigen/Geometry>

#include <cmath>

namespace {

constexpr double kPi = 3.141592653589793;

} // namespace

namespace DrawingGeometry {

AxisSizes axisSizes(double length)
{
    const double headRadius = length / 10.0;
    return {headRadius * 0.125, headRadius, length / 5.0};
}

double gridHalfExtent(double extent, double spacing)
{
    return static_cast<double>(static_cast<int>(extent)) / spacing * spacing;
}

QVector<double> gridPositions(double extent, double spacing)
{
    QVector<double> positions;
    if (!(spacing > 0.0))
        return positions;
    const double halfExtent = gridHalfExtent(extent, spacing);
    // A spacing too small to be seen next to the extent would never reach the end.
    if (-halfExtent + spacing == -halfExtent)
        return positions;
    double position = -halfExtent;
    while (position <= halfExtent) {
        positions.append(position);
        position += spacing;
    }
    return positions;
}

AxisAngle rotationFromZ(const bsVector &direction)
{
    const auto rotation = Eigen::Quaterniond().setFromTwoVectors(
        Eigen::Vector3d::UnitZ(), Eigen::Vector3d(direction.x, direction.y, direction.z));
    const Eigen::AngleAxisd angleAxis(rotation);
    const Eigen::Vector3d &axis = angleAxis.axis();
    return {angleAxis.angle() * 180.0 / kPi, bsVector(axis.x(), axis.y(), axis.z())};
}

double emissionConeLength(bool small)
{
    return small ? 15.0 : 25.8;
}

double emissionArrowLength(bool small)
{
    return emissionConeLength(small) + 4.5;
}

EmissionCone emissionCone(double openingAngleDeg, bool small)
{
    const bool backward = openingAngleDeg > 90.0;
    const double fromPlaneDeg = backward ? openingAngleDeg - 90.0 : 90.0 - openingAngleDeg;
    const double fromPlane = fromPlaneDeg * kPi / 180.0;
    const double length = emissionConeLength(small);
    return {length * std::sin(fromPlane), length * std::cos(fromPlane), backward};
}

std::array<PrismFace, 6> linePrism(const bsVector &first, const bsVector &second, double width)
{
    const bsVector d = (second - first).normalized();
    bsVector u = cross(d, bsVector(0.0, 1.0, 0.0));
    if (isNearlyZero(u.length()))
        u = cross(d, bsVector(1.0, 0.0, 0.0));
    u.normalize();
    const bsVector v = cross(d, u).normalized();
    const bsVector halfU = u * (width / 2.0);
    const bsVector halfV = v * (width / 2.0);

    // Counter-clockwise as seen from the second point.
    const std::array<bsVector, 4> section = {halfU + halfV, halfV - halfU, -halfU - halfV,
                                             halfU - halfV};
    const auto side = [&](const bsVector &normal, int from, int to) {
        return PrismFace{normal,
                         {first + section[from], first + section[to], second + section[to],
                          second + section[from]}};
    };
    return {
        side(u, 3, 0),
        side(v, 0, 1),
        side(-u, 1, 2),
        side(-v, 2, 3),
        {-d, {first + section[3], first + section[2], first + section[1], first + section[0]}},
        {d, {second + section[0], second + section[1], second + section[2], second + section[3]}}};
}

} // namespace DrawingGeometry
