#include "bsPose.h"

bsPose::bsPose(const bsPose &other)
{
    *this = other;
}

bsPose &bsPose::operator=(const bsPose &other)
{
    const bsMatrix matrix = other.toMatrix();
    orientation = bsQuaternion::fromMatrix(matrix.withExactHalfTurn());
    position = matrix.column(3);
    spare = other.spare;
    return *this;
}

bsPose bsPose::fromMatrix(const bsMatrix &matrix, double spare)
{
    bsPose result;
    result.orientation = bsQuaternion::fromMatrix(matrix.withExactHalfTurn());
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
