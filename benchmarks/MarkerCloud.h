#pragma once

#include <model/Emission.h>
#include <model/bsVector.h>

#include <QVector>

/// Markers spread evenly over a ball that the view shows whole from its initial camera. Positions
/// in millimetres.
QVector<bsVector> cloudPositions(int count);
/// Outward from the centre of the ball, with a half-angle of 60 degrees.
QVector<Emission> cloudEmissions(int count);
