#include "RigidMath.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kDegreesToRadians = 0.017453292519943295;

Vector3 column(const Matrix3 &m, int index)
{
    const std::size_t first = 3 * static_cast<std::size_t>(index);
    return {m[first], m[first + 1], m[first + 2]};
}

Matrix3 fromColumns(const Vector3 &a, const Vector3 &b, const Vector3 &c)
{
    return {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z};
}

Vector3 scaled(const Vector3 &v, double factor)
{
    return {v.x * factor, v.y * factor, v.z * factor};
}

} // namespace

Vector3 operator+(const Vector3 &a, const Vector3 &b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vector3 operator-(const Vector3 &a, const Vector3 &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vector3 operator*(const Matrix3 &m, const Vector3 &v)
{
    return {m[0] * v.x + m[3] * v.y + m[6] * v.z, m[1] * v.x + m[4] * v.y + m[7] * v.z,
            m[2] * v.x + m[5] * v.y + m[8] * v.z};
}

Matrix3 operator*(const Matrix3 &a, const Matrix3 &b)
{
    return fromColumns(a * column(b, 0), a * column(b, 1), a * column(b, 2));
}

double dot(const Vector3 &a, const Vector3 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3 cross(const Vector3 &a, const Vector3 &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double length(const Vector3 &v)
{
    return std::sqrt(dot(v, v));
}

bool isFinite(const Matrix3 &m)
{
    return std::all_of(m.begin(), m.end(), [](double element) { return std::isfinite(element); });
}

Matrix3 transposed(const Matrix3 &m)
{
    return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]};
}

Matrix3 rotationFromAngles(const Vector3 &anglesDeg)
{
    const double cx = std::cos(anglesDeg.x * kDegreesToRadians);
    const double sx = std::sin(anglesDeg.x * kDegreesToRadians);
    const double cy = std::cos(anglesDeg.y * kDegreesToRadians);
    const double sy = std::sin(anglesDeg.y * kDegreesToRadians);
    const double cz = std::cos(anglesDeg.z * kDegreesToRadians);
    const double sz = std::sin(anglesDeg.z * kDegreesToRadians);
    const Matrix3 aboutX = {1.0, 0.0, 0.0, 0.0, cx, sx, 0.0, -sx, cx};
    const Matrix3 aboutY = {cy, 0.0, -sy, 0.0, 1.0, 0.0, sy, 0.0, cy};
    const Matrix3 aboutZ = {cz, sz, 0.0, -sz, cz, 0.0, 0.0, 0.0, 1.0};
    return aboutX * aboutY * aboutZ;
}

Vector3 anglesFromRotation(const Matrix3 &rotation)
{
    const double r00 = rotation[0];
    const double r01 = rotation[3];
    const double r02 = rotation[6];
    const double r12 = rotation[7];
    const double r22 = rotation[8];
    Vector3 angles;
    angles.y = std::asin(std::clamp(r02, -1.0, 1.0));
    if (std::hypot(r00, r01) > 1.0e-9) {
        angles.x = std::atan2(-r12, r22);
        angles.z = std::atan2(-r01, r00);
    } else {
        // x and z turn about the same axis; all of the turn is given to x.
        angles.x = std::atan2(rotation[5], rotation[4]);
    }
    return scaled(angles, 1.0 / kDegreesToRadians);
}

bool isRotation(const Matrix3 &m, double tolerance)
{
    if (!isFinite(m))
        return false;
    const Vector3 a = column(m, 0);
    const Vector3 b = column(m, 1);
    const Vector3 c = column(m, 2);
    const auto isNear = [tolerance](double value, double wanted) {
        return std::abs(value - wanted) <= tolerance;
    };
    return isNear(length(a), 1.0) && isNear(length(b), 1.0) && isNear(length(c), 1.0) &&
           isNear(dot(a, b), 0.0) && isNear(dot(a, c), 0.0) && isNear(dot(b, c), 0.0) &&
           dot(cross(a, b), c) > 0.0;
}

Matrix3 orthonormalized(const Matrix3 &m)
{
    Vector3 a = column(m, 0);
    a = scaled(a, 1.0 / length(a));
    Vector3 b = column(m, 1);
    b = b - scaled(a, dot(a, b));
    b = scaled(b, 1.0 / length(b));
    return fromColumns(a, b, cross(a, b));
}

RigidTransform poseAfterRedefinition(const RigidTransform &pose, const RigidTransform &redefinition)
{
    RigidTransform result;
    result.rotation = pose.rotation * transposed(redefinition.rotation);
    result.translation = pose.translation - result.rotation * redefinition.translation;
    return result;
}
