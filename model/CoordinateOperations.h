#pragma once

#include "abcAxis.h"
#include "bsMatrix.h"
#include "bsQuaternion.h"
#include "bsVector.h"

#include <QVector>

#include <array>
#include <optional>

/// The geometry of changing a body's coordinate system. Positions are in the stored frame
/// (millimetres); a base matrix maps body coordinates into it.
namespace CoordinateOperations {

/// The pending orientation with which the body's axes become the rotation of @p target.
bsQuaternion pendingOrientation(const bsMatrix &baseMatrix, const bsMatrix &target);
/// The pending position with which the body's origin comes to lie at @p target.
bsVector pendingPosition(const bsMatrix &baseMatrix, const bsVector &target);

/// A right-handed frame whose axis @p axisToSet points along @p direction and whose axis
/// @p axisToKeep is @p keptAxis made perpendicular to it. The two axes must differ.
/// A zero direction, or a kept axis parallel to it, gives zero columns. Equal axes give the
/// identity.
bsMatrix axisFrame(const bsVector &direction, const bsVector &keptAxis, abcAxis axisToSet,
                   abcAxis axisToKeep);

/// X from @p origin to @p far, Y in the plane of the three on the side of @p third, Z normal to it.
bsMatrix threePointFrame(const bsVector &origin, const bsVector &far, const bsVector &third);

/// Three different markers by index.
struct MarkerTriple {
    int origin;
    int far;
    int third;
};

/// The markers that define a body by itself: the origin ends both the longest distance between two
/// markers and the shortest distance that touches it.
/// @return nothing for fewer than three markers, or if no distance that touches the longest is
///         shorter than it
std::optional<MarkerTriple> findTriple(const QVector<bsVector> &positions);

/// The twelve numbers of a transform command: translation (millimetres), then the rotation column
/// by column, re-orthonormalised through a pose.
std::array<double, 12> transformNumbers(const bsMatrix &matrix);

} // namespace CoordinateOperations
