#pragma once

/// A point or a direction; lengths in millimetres. (0, 0, 0) by default.
class bsVector {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    bsVector() = default;
    bsVector(double xValue, double yValue, double zValue);
    void set(double xValue, double yValue, double zValue);

    bsVector operator-() const;
    bsVector &operator+=(const bsVector &other);
    bsVector &operator*=(double factor);
    /// Divides each component; a divisor of zero gives the IEEE result.
    bsVector &operator/=(double divisor);

    double length() const;
    /// Scales to length 1. A vector shorter than the tolerance is left unchanged.
    void normalize();
    /// The normalized copy.
    bsVector normalized() const;
};

bsVector operator+(const bsVector &a, const bsVector &b);
bsVector operator-(const bsVector &a, const bsVector &b);
bsVector operator*(const bsVector &vector, double factor);
double dot(const bsVector &a, const bsVector &b);
/// a x b
bsVector cross(const bsVector &a, const bsVector &b);

/// No component is infinite or NaN.
bool isFinite(const bsVector &vector);
