#pragma once

#include "bsMatrix.h"
#include "bsVector.h"

/// An orientation; vector part first, scalar last. The identity (0, 0, 0, 1) by default.
class bsQuaternion {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;

    bsQuaternion() = default;
    bsQuaternion(double xValue, double yValue, double zValue, double wValue);

    /// Rotation by @p angleDeg degrees about @p axis, which need not have length 1.
    static bsQuaternion fromAxisAngle(double angleDeg, const bsVector &axis);
    /// Rx(x) * Ry(y) * Rz(z), angles in degrees.
    static bsQuaternion fromEuler(double xDeg, double yDeg, double zDeg);
    /// Reads the rotation block only; the result is not normalized.
    static bsQuaternion fromMatrix(const bsMatrix &matrix);
    /// Hamilton product, normalized: the rotation is R(a) * R(b).
    static bsQuaternion product(const bsQuaternion &a, const bsQuaternion &b);

    /// Scales to norm 1. A quaternion shorter than the tolerance becomes the identity.
    void normalize();
    /// Rotation block of this orientation, translation 0. The orientation is taken as it is.
    bsMatrix toMatrix() const;
};
