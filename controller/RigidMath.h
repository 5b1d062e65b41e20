#pragma once

#include <array>

/// The controller's own small geometry. Lengths in millimetres, angles in degrees.
struct Vector3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// Rotation, column by column: row r, column c is element r + 3c.
using Matrix3 = std::array<double, 9>;

constexpr Matrix3 kIdentity3 = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

/// Maps a point p to rotation * p + translation.
struct RigidTransform {
    Matrix3 rotation = kIdentity3;
    Vector3 translation;
};

Vector3 operator+(const Vector3 &a, const Vector3 &b);
Vector3 operator-(const Vector3 &a, const Vector3 &b);
Vector3 operator*(const Matrix3 &m, const Vector3 &v);
Matrix3 operator*(const Matrix3 &a, const Matrix3 &b);
double dot(const Vector3 &a, const Vector3 &b);
Vector3 cross(const Vector3 &a, const Vector3 &b);
double length(const Vector3 &v);
bool isFinite(const Matrix3 &m);

Matrix3 transposed(const Matrix3 &m);

/// The rotation Rx(xDeg) * Ry(yDeg) * Rz(zDeg) of column vectors.
Matrix3 rotationFromAngles(const Vector3 &anglesDeg);

/// The inverse of rotationFromAngles(); where y is 90 or -90 degrees, z is 0.
Vector3 anglesFromRotation(const Matrix3 &rotation);

/// True when the columns are of unit length, at right angles and right-handed, each within
/// @p tolerance. False for numbers that are not finite.
bool isRotation(const Matrix3 &m, double tolerance);

/// The exact rotation next to a matrix that is one within a small tolerance: the first column keeps
/// its direction, the second its plane.
Matrix3 orthonormalized(const Matrix3 &m);

/// The pose of a body after its coordinates were redefined by p' = R p + t, when its pose before
/// was @p pose: rotation Q R^T, translation q - Q R^T t.
RigidTransform poseAfterRedefinition(const RigidTransform &pose,
                                     const RigidTransform &redefinition);
