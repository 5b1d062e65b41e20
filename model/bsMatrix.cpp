#include "bsMatrix.h"

#include "Tolerance.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

const bsMatrix &bsMatrix::identity()
{
    static const bsMatrix sharedIdentity = [] {
        bsMatrix matrix;
        matrix.setIdentity();
        return matrix;
    }();
    return sharedIdentity;
}

void bsMatrix::setIdentity()
{
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col)
            element(row, col) = row == col ? 1.0 : 0.0;
    }
}

bsVector bsMatrix::column(int index) const
{
    return bsVector(element(0, index), element(1, index), element(2, index));
}

void bsMatrix::setColumn(int index, const bsVector &v, double w)
{
    element(0, index) = v.x;
    element(1, index) = v.y;
    element(2, index) = v.z;
    element(3, index) = w;
}

bsMatrix &bsMatrix::operator*=(const bsMatrix &right)
{
    *this = *this * right;
    return *this;
}

bsVector bsMatrix::transform(const bsVector &point) const
{
    double result[4];
    for (int row = 0; row < 4; ++row) {
        result[row] = element(row, 0) * point.x + element(row, 1) * point.y +
                      element(row, 2) * point.z + element(row, 3);
    }
    bsVector transformed(result[0], result[1], result[2]);
    if (result[3] != 0.0)
        transformed /= result[3];
    return transformed;
}

void bsMatrix::invertRigid()
{
    const bsVector translation = column(3);
    const bsVector inverted(-dot(column(0), translation), -dot(column(1), translation),
                            -dot(column(2), translation));

    std::swap(element(0, 1), element(1, 0));
    std::swap(element(0, 2), element(2, 0));
    std::swap(element(1, 2), element(2, 1));
    setColumn(3, inverted, element(3, 3));
    for (int col = 0; col < 3; ++col)
        element(3, col) = 0.0;
}

bsMatrix bsMatrix::rigidInverse() const
{
    bsMatrix result = *this;
    result.invertRigid();
    return result;
}

void bsMatrix::orthonormalizeRotation()
{
    // Newton's iteration for the polar decomposition: each pass squares the error, so three of them
    // take numbers of three decimals to the limit of a double.
    constexpr int kPasses = 3;
    constexpr double kFarFromAnyRotation = 0.1;
    for (int pass = 0; pass < kPasses; ++pass) {
        double correction[3][3];
        for (int row = 0; row < 3; ++row) {
            for (int col = 0; col < 3; ++col) {
                const double error = dot(column(row), column(col)) - (row == col ? 1.0 : 0.0);
                if (!(std::fabs(error) < kFarFromAnyRotation))
                    return;
                correction[row][col] = (row == col ? 1.0 : 0.0) - 0.5 * error;
            }
        }
        const bsMatrix source = *this;
        for (int row = 0; row < 3; ++row) {
            for (int col = 0; col < 3; ++col) {
                double sum = 0.0;
                for (int inner = 0; inner < 3; ++inner)
                    sum += source.element(row, inner) * correction[inner][col];
                element(row, col) = sum;
            }
        }
    }
}

bsMatrix bsMatrix::withExactHalfTurn() const
{
    // What a rotation within 0.0006 degrees of a half turn has left here. Below it the square root
    // of the trace carries more rounding noise than the other elements.
    constexpr double kHalfTurnNoise = 1e-10;

    bsMatrix result = *this;
    int largest = 0;
    for (int index = 1; index < 3; ++index) {
        if (result.element(index, index) > result.element(largest, largest))
            largest = index;
    }
    const auto excess = [&result] {
        return result.element(0, 0) + result.element(1, 1) + result.element(2, 2) + 1.0;
    };
    if (excess() >= kHalfTurnNoise)
        return result;
    // Rounding may swallow a subtraction, hence the growing factor; elements too large for any
    // effect are no rotation's.
    for (int pass = 1; pass <= 8 && excess() > 0.0; ++pass)
        result.element(largest, largest) -= pass * excess();
    return result;
}

bsMatrix operator*(const bsMatrix &left, const bsMatrix &right)
{
    bsMatrix result;
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col) {
            double sum = 0.0;
            for (int inner = 0; inner < 4; ++inner)
                sum += left.element(row, inner) * right.element(inner, col);
            result.element(row, col) = sum;
        }
    }
    return result;
}

bool differs(const bsMatrix &a, const bsMatrix &b)
{
    for (int index = 0; index < 16; ++index) {
        if (!isNearlyZero(a.m[index] - b.m[index]))
            return true;
    }
    return false;
}

bool isFinite(const bsMatrix &matrix)
{
    return std::all_of(std::begin(matrix.m), std::end(matrix.m),
                       [](double element) { return std::isfinite(element); });
}
