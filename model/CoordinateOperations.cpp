#include "CoordinateOperations.h"

#include "bsPose.h"

namespace CoordinateOperations {

namespace {

/// Two markers by index, the smaller index first.
struct MarkerPair {
    int first;
    int second;
};

bool shareMarker(const MarkerPair &a, const MarkerPair &b)
{
    return a.first == b.first || a.first == b.second || a.second == b.first || a.second == b.second;
}

double distance(const QVector<bsVector> &positions, const MarkerPair &pair)
{
    return (positions[pair.first] - positions[pair.second]).length();
}

// Both searches visit the pairs in the same order and let only a strictly better one replace the
// best so far, so that of equal distances the first visited decides.

std::optional<MarkerPair> longestPair(const QVector<bsVector> &positions)
{
    std::optional<MarkerPair> best;
    double bestDistance = -1.0;
    for (int i = 0; i < positions.size(); ++i) {
        for (int j = i + 1; j < positions.size(); ++j) {
            const MarkerPair pair{i, j};
            const double pairDistance = distance(positions, pair);
            if (pairDistance > bestDistance) {
                bestDistance = pairDistance;
                best = pair;
            }
        }
    }
    return best;
}

std::optional<MarkerPair> shortestAdjacentPair(const QVector<bsVector> &positions,
                                               const MarkerPair &longest)
{
    std::optional<MarkerPair> best;
    double bestDistance = distance(positions, longest);
    for (int i = 0; i < positions.size(); ++i) {
        for (int j = i + 1; j < positions.size(); ++j) {
            const MarkerPair pair{i, j};
            if (!shareMarker(pair, longest))
                continue;
            const double pairDistance = distance(positions, pair);
            if (pairDistance < bestDistance) {
                bestDistance = pairDistance;
                best = pair;
            }
        }
    }
    return best;
}

} // namespace

bsQuaternion pendingOrientation(const bsMatrix &baseMatrix, const bsMatrix &target)
{
    const bsMatrix inverse = baseMatrix.rigidInverse();
    return bsQuaternion::product(bsQuaternion::fromMatrix(inverse.withExactHalfTurn()),
                                 bsQuaternion::fromMatrix(target.withExactHalfTurn()));
}

bsVector pendingPosition(const bsMatrix &baseMatrix, const bsVector &target)
{
    return baseMatrix.rigidInverse().transform(target);
}

bsMatrix axisFrame(const bsVector &direction, const bsVector &keptAxis, abcAxis axisToSet,
                   abcAxis axisToKeep)
{
    if (axisToSet == axisToKeep)
        return bsMatrix::identity();

    const bsVector setAxis = direction.normalized();
    bsVector kept = keptAxis;
    bsVector third;
    const bool isCyclic = (axisToSet == X && axisToKeep == Y) ||
                          (axisToSet == Y && axisToKeep == Z) ||
                          (axisToSet == Z && axisToKeep == X);
    if (isCyclic) {
        third = cross(setAxis, kept);
        kept = cross(third, setAxis);
    } else {
        third = cross(kept, setAxis);
        kept = cross(setAxis, third);
    }
    kept.normalize();
    third.normalize();

    bsMatrix frame;
    frame.setColumn(axisToSet, setAxis, 0.0);
    frame.setColumn(axisToKeep, kept, 0.0);
    frame.setColumn(X + Y + Z - axisToSet - axisToKeep, third, 0.0);
    frame.setColumn(3, bsVector(), 1.0);
    return frame;
}

bsMatrix threePointFrame(const bsVector &origin, const bsVector &far, const bsVector &third)
{
    const bsVector xAxis = (far - origin).normalized();
    const bsVector zAxis = cross(xAxis, third - origin).normalized();
    const bsVector yAxis = cross(zAxis, xAxis).normalized();

    bsMatrix frame;
    frame.setColumn(X, xAxis, 0.0);
    frame.setColumn(Y, yAxis, 0.0);
    frame.setColumn(Z, zAxis, 0.0);
    frame.setColumn(3, bsVector(), 1.0);
    return frame;
}

std::optional<MarkerTriple> findTriple(const QVector<bsVector> &positions)
{
    const std::optional<MarkerPair> longest = longestPair(positions);
    if (!longest)
        return std::nullopt;
    const std::optional<MarkerPair> shortest = shortestAdjacentPair(positions, *longest);
    if (!shortest)
        return std::nullopt;

    if (longest->first == shortest->first)
        return MarkerTriple{longest->first, longest->second, shortest->second};
    if (longest->first == shortest->second)
        return MarkerTriple{longest->first, longest->second, shortest->first};
    if (longest->second == shortest->first)
        return MarkerTriple{longest->second, longest->first, shortest->second};
    return MarkerTriple{longest->second, longest->first, shortest->first};
}

std::array<double, 12> transformNumbers(const bsMatrix &matrix)
{
    const bsMatrix rigid = bsPose::fromMatrix(matrix, 0.0).toMatrix();
    const double *m = rigid.m;
    return {m[12], m[13], m[14], m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]};
}

} // namespace CoordinateOperations
