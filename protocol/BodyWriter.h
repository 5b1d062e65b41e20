#pragma once

#include <model/Emission.h>
#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <QString>
#include <QVector>

class CommandChannel;
struct BackendVersions;

/// Writes body definitions to the controller. A failed exchange is posted to the host's standard
/// message window; nothing is retried or rolled back.
class BodyWriter {
public:
    /// Neither argument is owned; both must outlive the writer.
    BodyWriter(CommandChannel *channel, const BackendVersions *versions);

    /// Sends a transform that maps stored coordinates into the new body coordinates.
    /// @return false for a failed exchange; a reply other than "quorel2 ok" is reported, but counts
    ///         as written
    /// @param confirmed  may be null; gets whether the controller said that it took the transform
    bool writeTransform(const QString &type, int number, const bsMatrix &transform,
                        bool *confirmed = nullptr);
    /// Sends the count, then every marker with its emission. Measurement must be stopped.
    /// @return false if one of the exchanges failed
    bool writeMarkers(const QString &type, int number, const QVector<bsVector> &positions,
                      const QVector<Emission> &emissions);
    /// Controllers before 1.17 cannot.
    bool canDeleteMarkers() const;
    /// @param markerIndex  0-based
    /// @return whether the controller said that it deleted the marker
    bool deleteMarker(const QString &type, int number, int markerIndex);

private:
    CommandChannel *m_channel;
    const BackendVersions *m_versions;
};
