#pragma once

#include "BodyIdentity.h"

#include <model/Emission.h>
#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <QList>
#include <QVector>

/// The markers of a body in its present stored frame, by marker index.
struct MarkerList {
    QVector<bsVector> positions; ///< millimetres
    QVector<Emission> emissions;

    /// Every marker where @p transform takes it; emission directions are turned.
    void transform(const bsMatrix &transform);
    void removeAt(int marker);
};

/// The markers that were deleted on the controller since the dialog was opened, body by body, so
/// that each deletion can be undone and redone and what was there at opening brought back.
class MarkerDeletions {
public:
    void clear();

    /// A marker of the body was told to be deleted; what could be redone for it is forgotten. So is
    /// the last deletion if it was not confirmed and the body has as many markers as before it: it
    /// was not carried out.
    /// @param before  all markers, that one included
    /// @param marker  0-based
    void add(const BodyIdentity &body, const MarkerList &before, int marker);

    bool canUndo(const BodyIdentity &body) const;
    /// The markers that the body had before its last deletion; nothing if there was none.
    MarkerList beforeLast(const BodyIdentity &body) const;
    /// The last deletion of the body was taken back; it is then pending to be redone.
    void undo(const BodyIdentity &body);
    /// The marker that Redo deletes, 0-based; -1: none.
    int pendingMarker(const BodyIdentity &body) const;
    /// The pending marker was told to be deleted again.
    void redo(const BodyIdentity &body, const MarkerList &before);
    /// The controller did not confirm the last deletion. What else could be redone is forgotten:
    /// it was counted in the markers that would be left.
    void notConfirmed(const BodyIdentity &body);

    /// A list of markers for the body could not be written whole. What could be redone was counted
    /// in that list and is forgotten. What is deleted and undone later may begin with what is there
    /// now: the body counts as changed until all deletions are taken back.
    void notWritten(const BodyIdentity &body);
    /// The bodies that may have other markers than at opening, in the order of their first
    /// deletion.
    QList<BodyIdentity> changedBodies() const;
    MarkerList markersAtOpening(const BodyIdentity &body) const;
    /// All deletions of the body were taken back; each is then pending to be redone.
    void undoAll(const BodyIdentity &body);

    /// The controller mapped the body's markers; what is kept of them is mapped along.
    void carryAlong(const BodyIdentity &body, const bsMatrix &transform);

private:
    struct Deletion {
        MarkerList before;
        int marker = -1;
        bool isConfirmed = true;
    };
    struct Record {
        BodyIdentity body;
        MarkerList atOpening;
        QVector<Deletion> done; ///< the last one at the back
        QVector<int> pending;   ///< markers to delete again, the next one at the back
        bool isWritten = true;
    };

    Record *find(const BodyIdentity &body);
    const Record *find(const BodyIdentity &body) const;

    QVector<Record> m_records;
};
