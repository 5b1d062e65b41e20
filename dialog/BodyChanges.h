#pragma once

#include "AppliedTransforms.h"
#include "BodyIdentity.h"
#include "MarkerDeletions.h"

#include <model/bsMatrix.h>

#include <functional>
#include <optional>

class BodyWriter;
class CommandChannel;
class TrackingSession;

/// What the controller's bodies went through since the dialog was opened, and what the controller
/// now holds of the body that is shown.
///
/// Writes transforms and markers and keeps what is needed to take them back. While it is not
/// certain which markers the controller holds of the shown body, none of them can be deleted: the
/// numbers on view could be those of others.
class BodyChanges {
public:
    /// Gives the body at a position of the body list, or nothing.
    using EntryAt = std::function<std::optional<BodyListEntry>(int)>;

    /// No argument is owned; all must outlive the changes.
    BodyChanges(BodyWriter *writer, TrackingSession *session, CommandChannel *channel);

    /// Forgets all changes and makes room for as many bodies.
    void begin(int bodyCount);

    /// The body was read from the controller, and is shown.
    void setShown(const ListedBody &body, const MarkerList &markers);
    void setNoneShown();
    const ListedBody &shown() const { return m_shown; }
    /// What the controller holds of the shown body; after a failed exchange, what it should hold.
    const MarkerList &markers() const { return m_markers; }
    /// False while the controller may hold other markers than markers().
    bool areMarkersCertain() const { return m_markersAreCertain; }

    /// Sends the shown body a transform that maps stored coordinates into the new ones.
    /// @return true if the controller said that it took it; markers() are mapped then
    bool writeTransform(const bsMatrix &transform);
    bool hasTransforms() const { return m_transforms.hasChanges(); }
    /// Takes the transforms of all bodies back, until an exchange fails, and forgets them.
    void discardTransforms(const EntryAt &entryAt);

    /// @param marker  0-based
    bool canDelete(int marker) const;
    /// Tells the controller to delete a marker of the shown body, outside measurement. If it says
    /// that it did, markers() are those that are left.
    void deleteMarker(int marker);
    bool canUndoDeletion() const;
    /// Writes the markers that the shown body had before its last deletion, outside measurement.
    /// After a failure it can be tried again.
    void undoDeletion();
    bool canRedoDeletion() const;
    void redoDeletion();
    /// Writes the markers that the bodies had at opening, outside measurement, where they changed.
    /// @return true if the shown body is one of them
    bool writeMarkersOfOpening();

private:
    void tellToDelete(int marker);
    bool writeMarkers(const BodyIdentity &body, const MarkerList &markers);

    BodyWriter *m_writer;
    TrackingSession *m_session;
    CommandChannel *m_channel;

    ListedBody m_shown;
    MarkerList m_markers;
    bool m_markersAreCertain = true;
    AppliedTransforms m_transforms;
    MarkerDeletions m_deletions;
};
