#include "bsPose.h"

#include <cmath>

namespace {

bool isRotation(const bsMatrix &matrix)
{
    constexpr double rounding = 1e-12;
    const bsVector x = matrix.column(0);
    const bsVector y = matrix.column(1);
    const bsVector z = matrix.column(2);
    const auto isUnit = [](const bsVector &v) { return std::fabs(v.length() - 1.0) < rounding; };
    return isUnit(x) && isUnit(y) && isUnit(z) && (cross(x, y) - z).length() < rounding;
}

bsQuaternion orientationOf(const bsMatrix &matrix)
{
    bsQuaternion orientation = bsQuaternion::fromMatrix(matrix.withExactHalfTurn());
    // Near half a turn the length comes from the square root of a small trace and is off by as
    // much as 1e-5. Of a matrix that is no rotation the length has a meaning.
    if (isRotation(matrix))
        orientation.normalize();
    return orientation;
}

} // namespace

bsPose::bsPose(const bsPose &other)
{
    *this = other;
}

bsPose &bsPose::operator=(const bsPose &other)
{
    const bsMatrix matrix = other.toMatrix();
    orientation = orientationOf(matrix);
    position = matrix.column(3);
    spare = other.spare;
    return *this;
}

bsPose bsPose::fromMatrix(const bsMatrix &matrix, double spare)
{
    bsPose result;
    result.orientation = orientationOf(matrix);
    result.position = matrix.column(3);
    result.spare = spare;
    return result;
}

bsMatrix bsPose::toMatrix() const
{
    bsMatrix result = orientation.toMatrix();
    result.setColumn(3, position, 1.0);
    return result;
}
