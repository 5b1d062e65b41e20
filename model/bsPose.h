#pragma once

#include "bsMatrix.h"
#include "bsQuaternion.h"
#include "bsVector.h"

/// Position (millimetres) and orientation. Every copy passes through the matrix form and back, so
/// that a copied orientation is the one that its matrix gives.
class bsPose {
public:
    bsVector position;
    bsQuaternion orientation;
    double spare = 0.0; ///< carried along, never interpreted

    bsPose() = default;
    bsPose(const bsPose &other);
    bsPose &operator=(const bsPose &other);
    ~bsPose() = default;

    static bsPose fromMatrix(const bsMatrix &matrix, double spare);
    bsMatrix toMatrix() const;
};
