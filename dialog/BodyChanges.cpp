#include "BodyChanges.h"

#include <protocol/BodyWriter.h>
#include <protocol/CommandChannel.h>
#include <protocol/TrackingSession.h>

#include <cmath>

namespace {

/// A body keeps at least this many markers.
constexpr int kFewestMarkers = 4;

/// True if sending the transform would change a number on the controller at the precision with
/// which transforms are printed.
bool isWorthSending(const bsMatrix &transform)
{
    constexpr double kPrintedLengthMm = 5e-4;
    constexpr double kPrintedRotation = 1e-8;
    const bsMatrix &identity = bsMatrix::identity();
    for (int column = 0; column < 4; ++column) {
        const double limit = column == 3 ? kPrintedLengthMm : kPrintedRotation;
        for (int row = 0; row < 3; ++row) {
            if (std::fabs(transform.element(row, column) - identity.element(row, column)) > limit)
                return true;
        }
    }
    return false;
}

} // namespace

BodyChanges::BodyChanges(BodyWriter *writer, TrackingSession *session, CommandChannel *channel)
    : m_writer(writer)
    , m_session(session)
    , m_channel(channel)
{
}

void BodyChanges::begin(int bodyCount)
{
    m_deletions.clear();
    m_transforms.reset(bodyCount);
}

void BodyChanges::setShown(const ListedBody &body, const MarkerList &markers)
{
    m_shown = body;
    m_markers = markers;
    m_markersAreCertain = true;
}

void BodyChanges::setNoneShown()
{
    m_shown = ListedBody();
}

// Transforms --------------------------------------------------------------------------------------

bool BodyChanges::writeTransform(const bsMatrix &transform)
{
    bool confirmed = false;
    if (!m_writer->writeTransform(m_shown.type, m_shown.number(), transform, &confirmed))
        return false;
    m_transforms.add(m_shown.number(), m_shown.listIndex, transform, confirmed);
    if (confirmed) {
        m_markers.transform(transform);
        m_deletions.carryAlong(m_shown, transform);
    }
    return confirmed;
}

void BodyChanges::discardTransforms(const EntryAt &entryAt)
{
    for (int i = 0; i < m_transforms.listSize(); ++i) {
        if (!m_transforms.isChanged(i))
            continue;
        const std::optional<BodyListEntry> entry = entryAt(i);
        if (!entry)
            continue;
        if (entry->number < 1) {
            m_channel->postError("Error: Wrong body ID. Cannot discard changes");
            break;
        }
        bool discarded = false;
        if (!m_writer->writeTransform(entry->type, entry->number,
                                      m_transforms.discardTransform(entry->number), &discarded))
            break;
        // What the controller refused is reported and not tried again.
        const bsMatrix correction = m_transforms.correctionAfterDiscard(entry->number, i);
        if (discarded && isWorthSending(correction) &&
            !m_writer->writeTransform(entry->type, entry->number, correction))
            break;
    }
    m_transforms.reset(m_transforms.listSize());
}

// Deleted markers ---------------------------------------------------------------------------------

bool BodyChanges::canDelete(int marker) const
{
    const int count = m_markers.positions.size();
    return m_markersAreCertain && m_shown.isValid() && m_writer->canDeleteMarkers() &&
           count > kFewestMarkers && marker >= 0 && marker < count;
}

void BodyChanges::deleteMarker(int marker)
{
    m_deletions.add(m_shown, m_markers, marker);
    tellToDelete(marker);
}

bool BodyChanges::canUndoDeletion() const
{
    return m_deletions.canUndo(m_shown);
}

void BodyChanges::undoDeletion()
{
    m_markers = m_deletions.beforeLast(m_shown);
    m_session->stopMeasurement();
    if (writeMarkers(m_shown, m_markers))
        m_deletions.undo(m_shown);
    m_session->startMeasurement();
}

bool BodyChanges::canRedoDeletion() const
{
    // The body may have been given other markers meanwhile.
    return canDelete(m_deletions.pendingMarker(m_shown));
}

void BodyChanges::redoDeletion()
{
    const int marker = m_deletions.pendingMarker(m_shown);
    m_deletions.redo(m_shown, m_markers);
    tellToDelete(marker);
}

void BodyChanges::tellToDelete(int marker)
{
    m_session->stopMeasurement();
    if (m_writer->deleteMarker(m_shown.type, m_shown.number(), marker)) {
        // Should the reading that follows fail, the numbers of the markers are still those of the
        // controller.
        m_markers.removeAt(marker);
    } else {
        m_deletions.notConfirmed(m_shown);
        m_markersAreCertain = false;
    }
    m_session->startMeasurement();
}

bool BodyChanges::writeMarkersOfOpening()
{
    const QList<BodyIdentity> bodies = m_deletions.changedBodies();
    if (bodies.isEmpty())
        return false;
    bool isShownOneOfThem = false;
    m_session->stopMeasurement();
    for (const BodyIdentity &body : bodies) {
        const MarkerList markers = m_deletions.markersAtOpening(body);
        if (writeMarkers(body, markers))
            m_deletions.undoAll(body);
        if (body.isSame(m_shown)) {
            m_markers = markers;
            isShownOneOfThem = true;
        }
    }
    m_session->startMeasurement();
    return isShownOneOfThem;
}

bool BodyChanges::writeMarkers(const BodyIdentity &body, const MarkerList &markers)
{
    const bool written =
        m_writer->writeMarkers(body.type, body.number(), markers.positions, markers.emissions);
    if (!written)
        m_deletions.notWritten(body);
    if (body.isSame(m_shown))
        m_markersAreCertain = written;
    return written;
}
