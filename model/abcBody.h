#pragma once

#include "Emission.h"
#include "MarkerRecord.h"
#include "bsMatrix.h"
#include "bsPose.h"
#include "bsVector.h"

#include <QColor>
#include <QList>
#include <QObject>
#include <QString>
#include <QVector>

#include <functional>

class ObjectPainter;
class abcLine;
class abcMarker;

/// How the body is drawn; lengths in millimetres.
struct DisplayOptions {
    bool smallMarkers = false;
    bool colouredMarkers = false;
    bool markerEmissions = true;
    bool longAxes = false;
    double longAxesFactor = 10.0;
    bool xyGrid = false;
    bool yzGrid = false;
    bool xzGrid = false;
    double gridHalfExtent = 500.0;
    double gridSpacing = 25.0;
    QColor xyGridColour = QColor(255, 255, 0);
    QColor yzGridColour = QColor(0, 255, 255);
    QColor xzGridColour = QColor(255, 0, 255);
};

/// The rigid body being adjusted: its markers as the controller delivered them (stored frame), the
/// lines between them, and its coordinate system as a committed base matrix times a pending pose.
///
/// The base matrix maps body coordinates into the stored frame. Marker positions never change.
/// The body owns its markers and lines.
class abcBody : public QObject {
    Q_OBJECT

public:
    /// Shows a warning to the user; set by whoever owns a window.
    using WarningPresenter = std::function<void(const QString &title, const QString &text)>;

    explicit abcBody(QObject *parent);
    ~abcBody() override;

    void setWarningPresenter(WarningPresenter presenter);

    /// Empties the body and its history. Display options, COG and palette stay.
    void clear();
    /// Replaces the body. A single position is no body: it is reported through the warning
    /// presenter, false is returned and the body stays empty. No position gives a loaded body
    /// without markers.
    bool loadMarkers(const QVector<bsVector> &positions);
    /// Other markers for the loaded body, in the same stored frame: its coordinate system and the
    /// history stay. Removes the lines; no selection may refer to lines or markers any more.
    void exchangeMarkers(const QVector<bsVector> &positions);
    /// Markers beyond the end of the list keep their emission.
    void setEmissions(const QVector<Emission> &emissions);
    void setAllEmissions(double ex, double ey, double ez, double angleDeg);
    void setShowEmissions(bool show);

    bool isLoaded() const { return m_loaded; }
    bool isModified() const { return m_modified; }
    const QString &name() const { return m_name; }
    int markerCount() const { return m_markers.size(); }
    const QList<abcMarker *> &markers() const { return m_markers; }
    const QList<abcLine *> &lines() const { return m_lines; }
    /// Stored positions, in marker order.
    QVector<bsVector> markerPositions() const;
    /// The markers in committed body coordinates; emission directions are copied unrotated.
    QList<MarkerRecord> markerRecords() const;
    /// Mean of the marker positions at the last load or exchange (stored frame); NaN for a body of
    /// no markers.
    const bsVector &cog() const { return m_cog; }
    const QVector<QColor> &palette() const { return m_palette; }

    bsMatrix baseMatrix() const { return m_baseMatrix; }
    /// The uncommitted change, relative to the base matrix.
    const bsPose &pendingPose() const { return m_pendingPose; }
    void setPendingPosition(const bsVector &position);
    void setPendingOrientation(const bsQuaternion &orientation);

    /// True if a line joins the two markers in either order.
    bool hasLine(const abcMarker *a, const abcMarker *b) const;
    /// Takes ownership of @p line. A line that the body already holds is not added again,
    /// and no null.
    void addLine(abcLine *line);
    /// Removes the first occurrence and deletes it; the others keep their order. No selection may
    /// refer to the line any more.
    void removeLine(const abcLine *line);

    /// Folds the pending pose into the base matrix and records the previous one for undo. The
    /// base matrix stays a rotation with a translation, whatever was pending.
    /// @return false and no history entry if nothing was pending. A pending pose with a number that
    ///         is not finite (the COG of a body without markers, say) is dropped in the same way
    bool saveCurrentBody();
    void undo();
    void redo();
    int undoCount() const { return m_undoStack.size(); }
    int redoCount() const { return m_redoStack.size(); }
    /// Earlier base matrices, newest last.
    const QVector<bsMatrix> &undoStack() const { return m_undoStack; }
    /// Base matrices that were undone, newest last.
    const QVector<bsMatrix> &redoStack() const { return m_redoStack; }
    /// The undo stack never grows beyond a limit other than 0.
    void setHistoryLimit(quint32 limit) { m_historyLimit = limit; }

    DisplayOptions options;

signals:
    void bodyModified(bool modified);
    void bodyLoaded(bool loaded);

private:
    Q_DISABLE_COPY(abcBody)

    void clearPendingPose();
    void createMarkers(const QVector<bsVector> &positions);
    void colourMarkers();
    void deleteObjects();
    void pushUndo(const bsMatrix &matrix);
    void setModified(bool modified);

    QString m_name;
    QString m_reserved; ///< a second text that nothing fills
    bsMatrix m_baseMatrix;
    bsMatrix m_lastSavedMatrix;
    bsPose m_pendingPose;
    QVector<bsMatrix> m_undoStack; ///< newest last
    QVector<bsMatrix> m_redoStack; ///< newest last
    quint32 m_historyLimit = 0;
    bsVector m_cog;
    bool m_modified = false;
    bool m_loaded = false;
    QList<abcLine *> m_lines;
    QList<abcMarker *> m_markers;
    QVector<QColor> m_palette;
    WarningPresenter m_warningPresenter;
};
