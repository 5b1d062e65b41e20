#pragma once

#include <model/bsMatrix.h>

#include <QBitArray>
#include <QVector>

/// What was written to the controller's bodies since the dialog was opened, so that it can be taken
/// back.
///
/// A slot belongs to a body number, whatever the body's type; the changed bits and the true
/// transforms belong to positions in the body list.
class AppliedTransforms {
public:
    /// Forgets everything and makes room for as many bodies.
    void reset(int bodyCount);

    /// Keeps a transform that was written to the body of that number at that list position.
    /// @param confirmed  whether the controller said that it took it; one that it refused did not
    ///                   change the body, but counts for the slot
    void add(int bodyNumber, int listIndex, const bsMatrix &written, bool confirmed);

    bool hasChanges() const;
    int listSize() const { return m_changed.size(); }
    bool isChanged(int listIndex) const;

    /// The inverse of the slot's transforms, each multiplied on from the right.
    bsMatrix discardTransform(int bodyNumber) const;
    /// What must follow the discard transform, once the controller took that, to bring the body at
    /// that list position back to where it was; the identity when the discard transform does.
    bsMatrix correctionAfterDiscard(int bodyNumber, int listIndex) const;

private:
    void growTo(int slotCount, int listSize);

    QVector<bsMatrix> m_slots;
    QBitArray m_changed;
    QVector<bsMatrix> m_written; ///< the product of what one body took, the last one leftmost
};
