#include "bsPose.h"

#include <cmath>

namespace {

/// Up to some degrees from a half turn, the rounding in the small trace of a rotation makes its
/// quaternion too long or too short. The next conversion would take that for another trace, and
/// the one after it for another rotation.
bsQuaternion orientationOf(const bsMatrix &matrix)
{
    constexpr double kRounding = 1e-4;

    bsQuaternion result = bsQuaternion::fromMatrix(matrix.withExactHalfTurn());
    const double square =
        result.x * result.x + result.y * result.y + result.z * result.z + result.w * result.w;
    // Of a matrix that is no rotation, the quaternion is what it is.
    if (std::fabs(square - 1.0) < kRounding)
        result.normalize();
    return result;
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
