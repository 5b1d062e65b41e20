#pragma once

#include "bsVector.h"

/// A homogeneous 4x4 transform, stored column by column as OpenGL stores matrices: the element of
/// row r and column c is m[r + 4 * c]. Translation (millimetres) in m[12] to m[14].
/// All zeros by default, not the identity.
class bsMatrix {
public:
    double m[16] = {};

    /// The shared identity that every reset uses.
    static const bsMatrix &identity();

    double &element(int row, int column) { return m[row + 4 * column]; }
    double element(int row, int column) const { return m[row + 4 * column]; }

    void setIdentity();
    /// Rows 0 to 2 of a column; column 3 is the translation.
    bsVector column(int index) const;
    /// Writes @p v into rows 0 to 2 of a column and @p w into row 3.
    void setColumn(int index, const bsVector &v, double w);

    /// this := this * right (right acts first).
    bsMatrix &operator*=(const bsMatrix &right);
    /// The point (x, y, z, 1) transformed, divided by its fourth component unless that is 0.
    bsVector transform(const bsVector &point) const;

    /// Inverts in place; right only for a rotation with a translation, which is not tested.
    /// m[15] is kept.
    void invertRigid();
    /// The rigid inverse as a new matrix.
    bsMatrix rigidInverse() const;

    /// Brings a rotation block that is off by the rounding of its numbers to the nearest rotation;
    /// the rest stays. A block that is far from any rotation stays as it is.
    void orthonormalizeRotation();

    /// A copy to take a quaternion from. A half turn has a diagonal that sums up to -1; rounding
    /// can leave the sum just above, and the quaternion of such a matrix would be no turn at all.
    /// The copy has that excess (less than 1e-10) taken off its diagonal; any other matrix is
    /// copied as it is.
    bsMatrix withExactHalfTurn() const;
};

bsMatrix operator*(const bsMatrix &left, const bsMatrix &right);

/// True unless all sixteen pairs of elements agree within the tolerance; NaN always differs.
bool differs(const bsMatrix &a, const bsMatrix &b);

/// None of the sixteen elements is infinite or NaN.
bool isFinite(const bsMatrix &matrix);
