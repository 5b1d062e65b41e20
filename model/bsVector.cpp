#include "bsVector.h"

#include "Tolerance.h"

#include <cmath>

bsVector::bsVector(double xValue, double yValue, double zValue)
    : x(xValue)
    , y(yValue)
    , z(zValue)
{
}

void bsVector::set(double xValue, double yValue, double zValue)
{
    x = xValue;
    y = yValue;
    z = zValue;
}

bsVector bsVector::operator-() const
{
    return bsVector(-x, -y, -z);
}

bsVector &bsVector::operator+=(const bsVector &other)
{
    x += other.x;
    y += other.y;
    z += other.z;
    return *this;
}

bsVector &bsVector::operator*=(double factor)
{
    x *= factor;
    y *= factor;
    z *= factor;
    return *this;
}

bsVector &bsVector::operator/=(double divisor)
{
    x /= divisor;
    y /= divisor;
    z /= divisor;
    return *this;
}

double bsVector::length() const
{
    return std::sqrt(dot(*this, *this));
}

void bsVector::normalize()
{
    const double currentLength = length();
    if (!isNearlyZero(currentLength))
        *this /= currentLength;
}

bsVector bsVector::normalized() const
{
    bsVector result = *this;
    result.normalize();
    return result;
}

bsVector operator+(const bsVector &a, const bsVector &b)
{
    return bsVector(a.x + b.x, a.y + b.y, a.z + b.z);
}

bsVector operator-(const bsVector &a, const bsVector &b)
{
    return bsVector(a.x - b.x, a.y - b.y, a.z - b.z);
}

bsVector operator*(const bsVector &vector, double factor)
{
    return bsVector(vector.x * factor, vector.y * factor, vector.z * factor);
}

double dot(const bsVector &a, const bsVector &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

bsVector cross(const bsVector &a, const bsVector &b)
{
    return bsVector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

bool isFinite(const bsVector &vector)
{
    return std::isfinite(vector.x) && std::isfinite(vector.y) && std::isfinite(vector.z);
}
