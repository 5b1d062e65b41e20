#include "MarkerDeletions.h"

#include <algorithm>

void MarkerList::transform(const bsMatrix &transform)
{
    for (bsVector &position : positions)
        position = transform.transform(position);
    for (Emission &emission : emissions) {
        const bsVector direction = transform.transform(emission.direction()) - transform.column(3);
        emission = {direction.x, direction.y, direction.z, emission.angleDeg};
    }
}

void MarkerList::removeAt(int marker)
{
    positions.removeAt(marker);
    if (marker < emissions.size())
        emissions.removeAt(marker);
}

void MarkerDeletions::clear()
{
    m_records.clear();
}

void MarkerDeletions::add(const BodyIdentity &body, const MarkerList &before, int marker)
{
    if (!body.isValid())
        return;
    Record *record = find(body);
    if (!record) {
        m_records.append({body, before, {}, {}, true});
        record = &m_records.last();
    }
    if (!record->done.isEmpty() && !record->done.last().isConfirmed &&
        record->done.last().before.positions.size() == before.positions.size())
        record->done.removeLast();
    record->done.append({before, marker, true});
    record->pending.clear();
}

bool MarkerDeletions::canUndo(const BodyIdentity &body) const
{
    const Record *record = find(body);
    return record && !record->done.isEmpty();
}

MarkerList MarkerDeletions::beforeLast(const BodyIdentity &body) const
{
    const Record *record = find(body);
    return record && !record->done.isEmpty() ? record->done.last().before : MarkerList();
}

void MarkerDeletions::undo(const BodyIdentity &body)
{
    Record *record = find(body);
    if (record && !record->done.isEmpty())
        record->pending.append(record->done.takeLast().marker);
}

int MarkerDeletions::pendingMarker(const BodyIdentity &body) const
{
    const Record *record = find(body);
    return record && !record->pending.isEmpty() ? record->pending.last() : -1;
}

void MarkerDeletions::redo(const BodyIdentity &body, const MarkerList &before)
{
    Record *record = find(body);
    if (record && !record->pending.isEmpty())
        record->done.append({before, record->pending.takeLast(), true});
}

void MarkerDeletions::notConfirmed(const BodyIdentity &body)
{
    Record *record = find(body);
    if (!record)
        return;
    record->pending.clear();
    if (!record->done.isEmpty())
        record->done.last().isConfirmed = false;
}

void MarkerDeletions::notWritten(const BodyIdentity &body)
{
    if (Record *record = find(body)) {
        record->isWritten = false;
        record->pending.clear();
    }
}

QList<BodyIdentity> MarkerDeletions::changedBodies() const
{
    QList<BodyIdentity> bodies;
    for (const Record &record : m_records) {
        if (!record.done.isEmpty() || !record.isWritten)
            bodies.append(record.body);
    }
    return bodies;
}

MarkerList MarkerDeletions::markersAtOpening(const BodyIdentity &body) const
{
    const Record *record = find(body);
    return record ? record->atOpening : MarkerList();
}

void MarkerDeletions::undoAll(const BodyIdentity &body)
{
    Record *record = find(body);
    if (!record)
        return;
    while (!record->done.isEmpty())
        undo(body);
    record->isWritten = true;
}

void MarkerDeletions::carryAlong(const BodyIdentity &body, const bsMatrix &transform)
{
    Record *record = find(body);
    if (!record)
        return;
    record->atOpening.transform(transform);
    for (Deletion &deletion : record->done)
        deletion.before.transform(transform);
}

MarkerDeletions::Record *MarkerDeletions::find(const BodyIdentity &body)
{
    const auto found =
        std::find_if(m_records.begin(), m_records.end(),
                     [&body](const Record &record) { return record.body.isSame(body); });
    return found == m_records.end() ? nullptr : &*found;
}

const MarkerDeletions::Record *MarkerDeletions::find(const BodyIdentity &body) const
{
    return const_cast<MarkerDeletions *>(this)->find(body);
}
