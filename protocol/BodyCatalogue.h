#pragma once

#include "BodyListEntry.h"

#include <model/Emission.h>
#include <model/bsVector.h>

#include <QString>
#include <QVector>

#include <optional>

class CommandChannel;
struct BackendVersions;

/// Reads which bodies the controller knows and how they are defined. A failed exchange is posted to
/// the host's standard message window.
class BodyCatalogue {
public:
    struct Item {
        QString displayText;
        BodyListEntry entry;
    };
    struct List {
        QVector<Item> items;
        bool multiUserWarning = false; ///< vimbar bodies were left out
        /// False when a failed read ended the build; the items read before it are there.
        bool complete = false;
    };

    /// Neither argument is owned; both must outlive the catalogue.
    BodyCatalogue(CommandChannel *channel, const BackendVersions *versions);

    /// A mode that is not available, or a failed read, counts as off; nothing is posted.
    bool isMultiUserOn();
    bool isMultiUserWithHeadOn();
    /// Reads everything anew, the multi-user state first.
    List readBodyList();
    /// Number of bodies of a type; what a full controller holds if this one does not tell (nothing
    /// is posted).
    int readStandardBodyCount();
    int readVimbarCount();
    /// Positions in millimetres, stored frame; the emissions run parallel to them.
    /// @return true only if every marker was read; after a failure the lists hold those read before
    ///         it. Nothing is touched, and nothing reported, for a body of no markers.
    bool loadMarkers(const QString &type, int number, QVector<bsVector> *positions,
                     QVector<Emission> *emissions);

private:
    bool areVimbarsLeftOut();
    /// False when a failed read ended the build.
    bool readBodiesOfType(const QString &type, QVector<Item> *items);
    std::optional<Item> readBody(const QString &type, int number);

    CommandChannel *m_channel;
    const BackendVersions *m_versions;
};
