#pragma once

#include <model/bsVector.h>

#include <QVector>

#include <array>

/// The numbers behind the drawings of the 3D view, without OpenGL. Lengths in millimetres, angles
/// in degrees.
namespace DrawingGeometry {

/// A coordinate axis is a shaft with a cone on its end.
struct AxisSizes {
    double shaftRadius;
    double headRadius;
    double headLength;
};
AxisSizes axisSizes(double length);

/// The half-extent that a grid really has: @p extent truncated toward zero to a whole number.
double gridHalfExtent(double extent, double spacing);
/// Where the lines across one direction of a grid lie, from minus the half-extent upwards. The last
/// one is not beyond the half-extent. Empty unless the spacing is positive.
QVector<double> gridPositions(double extent, double spacing);

struct AxisAngle {
    double angleDeg;
    bsVector axis;
};
/// The shortest rotation that takes +Z onto @p direction (not zero, any length). Half a turn, for
/// the direction opposite to +Z, is about an axis perpendicular to +Z.
AxisAngle rotationFromZ(const bsVector &direction);

/// Length of the side of an emission cone.
double emissionConeLength(bool small);
/// Length of the shaft of the arrow along the emission direction.
double emissionArrowLength(bool small);

/// The cone into which a marker emits; its apex is at the marker.
struct EmissionCone {
    double height;
    double radius; ///< at the open end
    bool backward; ///< opens against the emission direction
};
/// @param openingAngleDeg  half-angle from the emission direction, 0 to 180
EmissionCone emissionCone(double openingAngleDeg, bool small);

struct PrismFace {
    bsVector normal; ///< outward, of length 1
    std::array<bsVector, 4> corners;
};
/// The square-section box from one point to another: four sides, then the end at @p first, then the
/// end at @p second. Two equal points give a box without extent.
std::array<PrismFace, 6> linePrism(const bsVector &first, const bsVector &second, double width);

} // namespace DrawingGeometry
