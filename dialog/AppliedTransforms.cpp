#include "AppliedTransforms.h"

void AppliedTransforms::reset(int bodyCount)
{
    m_slots = QVector<bsMatrix>(bodyCount, bsMatrix::identity());
    m_written = QVector<bsMatrix>(bodyCount, bsMatrix::identity());
    m_changed = QBitArray(bodyCount);
}

void AppliedTransforms::add(int bodyNumber, int listIndex, const bsMatrix &written, bool confirmed)
{
    if (bodyNumber < 1 || listIndex < 0)
        return;
    growTo(bodyNumber, listIndex + 1);
    m_slots[bodyNumber - 1] *= written;
    if (confirmed)
        m_written[listIndex] = written * m_written.at(listIndex);
    m_changed.setBit(listIndex);
}

bool AppliedTransforms::hasChanges() const
{
    return m_changed.count(true) > 0;
}

bool AppliedTransforms::isChanged(int listIndex) const
{
    return listIndex >= 0 && listIndex < m_changed.size() && m_changed.testBit(listIndex);
}

bsMatrix AppliedTransforms::discardTransform(int bodyNumber) const
{
    if (bodyNumber < 1 || bodyNumber > m_slots.size())
        return bsMatrix::identity();
    return m_slots.at(bodyNumber - 1).rigidInverse();
}

bsMatrix AppliedTransforms::correctionAfterDiscard(int bodyNumber, int listIndex) const
{
    if (!isChanged(listIndex))
        return bsMatrix::identity();
    // The body stands at discard * written; the correction takes that back to the identity.
    return m_written.at(listIndex).rigidInverse() * discardTransform(bodyNumber).rigidInverse();
}

void AppliedTransforms::growTo(int slotCount, int listSize)
{
    // The counts read at opening may be smaller than what the list holds if the controller's
    // configuration changed in between.
    while (m_slots.size() < slotCount)
        m_slots.append(bsMatrix::identity());
    while (m_written.size() < listSize)
        m_written.append(bsMatrix::identity());
    if (m_changed.size() < listSize)
        m_changed.resize(listSize);
}
