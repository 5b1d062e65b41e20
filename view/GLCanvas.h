#pragma once

#include "Camera.h"

#include <model/Emission.h>
#include <model/MarkerRecord.h>
#include <model/abcAxis.h>
#include <model/abcBody.h>
#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <QColor>
#include <QGLWidget>
#include <QList>
#include <QPoint>
#include <QPointer>
#include <QVector>

class QMenu;
class abcMarker;
class abcObject;

/// The interactive 3D view of one rigid body, which it owns. Lengths in millimetres, angles in
/// degrees. Events and slots change state and ask for a repaint; only paintGL() draws.
class GLCanvas : public QGLWidget {
    Q_OBJECT

public:
    explicit GLCanvas(QWidget *parent = nullptr);
    ~GLCanvas() override;

    /// Shows a body (stored frame). Empties the selection and the history.
    /// @return false if there is no body in the list; the canvas is then empty
    bool setBody(const QVector<bsVector> &positions, const QVector<Emission> &emissions);
    /// Other markers for the body that is shown (same stored frame). Empties the selection and
    /// removes the lines; the coordinate system and the history stay. Nothing without a body.
    void exchangeMarkers(const QVector<bsVector> &positions, const QVector<Emission> &emissions);
    /// Empties the canvas: body, lines, selection and history. The camera stays.
    void clearBody();
    bool isBodyLoaded() const { return m_body.isLoaded(); }
    /// A body is loaded and there is something to undo.
    bool hasUnappliedChanges() const;
    const abcBody &body() const { return m_body; }
    /// Takes stored coordinates into the committed body coordinates.
    bsMatrix bodyTransform() const;
    QList<MarkerRecord> markerRecords() const { return m_body.markerRecords(); }
    void setAllEmissions(double ex, double ey, double ez, double angleDeg);

    void setSuspended(bool suspended);
    bool isSuspended() const { return m_suspended; }
    void setOnline(bool online);
    bool isOnline() const { return m_camera.isOnline(); }
    /// Online only: the pose of the body in the room as tracked now. An untracked body keeps the
    /// orientation that was seen last.
    void setTrackedPose(const bsMatrix &rotation, const bsVector &position, bool tracked);
    /// The last tracked rotation while online, else the identity.
    const bsMatrix &roomMatrix() const { return m_roomMatrix; }
    /// The last tracked position (millimetres) while online, else (0, 0, 0).
    const bsVector &roomPosition() const { return m_roomPosition; }
    bool isTracked() const { return m_tracked; }
    /// True if the body was tracked since the view went online: the room matrix is one of its own.
    bool hasBeenTracked() const { return m_hasBeenTracked; }
    /// Read only in online mode.
    void setRoomAxesVisible(bool visible);
    bool isRoomAxesVisible() const { return m_roomAxesVisible; }
    bool isCogVisible() const { return m_showCog; }

    const Camera &camera() const { return m_camera; }
    /// Shows the given camera and makes it the reference of the next edit.
    void setView(const bsPose &view);
    /// True while the mouse moves the camera or the orientation wheels turn it.
    bool isDragging() const { return m_dragMode != NoDrag; }
    /// Ends a drag of the mouse whose release will go to another window.
    void endMouseDrag();

    /// Takes the menu that a right click opens; not owned.
    void setContextMenu(QMenu *menu);

    /// Id of the one selected marker; -1 without a selected marker, -2 with two selected objects.
    int selectedMarkerNumber() const;
    const QList<const abcObject *> &selection() const { return m_selection; }
    /// What a click on @p object (of the shown body; null: empty space) does to the selection.
    void select(const abcObject *object);
    /// The object under a point in widget pixels, or null. Null too without an OpenGL context.
    const abcObject *pick(const QPoint &point);

    /// The presets. Each commits at once; false and nothing changed when no three markers at
    /// different distances are found or no body is loaded.
    bool dueToBody();
    bool dueToRoomOriginInCog();
    bool dueToRoomOriginInMarker();

public slots:
    /// Makes the shown camera the saved one.
    void saveCurrentView();
    /// Relative to the saved camera, so that a call replaces the last of its kind until the camera
    /// is saved anew: turns by Rx(x) * Ry(y) * Rz(z) about the pivot, moves along the axes of the
    /// eye.
    void rotateView(double x, double y, double z);
    void translateView(double x, double y, double z);
    /// Absolute; the camera is saved at once.
    void setViewOrientation(bsMatrix m);
    void setViewPosition(bsVector position);
    /// The matrix of the camera times @p m, saved at once. Asks for no repaint.
    void transformView(bsMatrix m);
    /// The orientation wheels begin and end to turn the camera.
    void rotateViewBegin();
    void rotateViewEnd();

    /// The pending orientation (Rx(x) * Ry(y) * Rz(z)) and the pending position, relative to the
    /// base matrix. They are drawn, but not committed. Both emit body_change().
    void rotateBody(double x, double y, double z);
    void translateBody(double x, double y, double z);
    /// The pending orientation as the rotation of @p m, without body_change().
    void rotateBody(bsMatrix m);
    /// The pending orientation and position that bring the axes and the origin to a target in the
    /// stored frame. A target that is not finite changes nothing.
    void setBodyOrientation(bsMatrix m);
    void setBodyPosition(bsVector v);
    /// Commits what is pending; the history stays if nothing is.
    void saveCurrentBody();
    /// Steps through the history of commits. The pending pose stays.
    void undoBody();
    void redoBody();
    /// The same unless suspended; body_change() in any case.
    void undo();
    void redo();

    // The operations on the coordinate system commit at once, with whatever else was pending. One
    // that lacks what it needs does nothing.

    /// Needs a selected marker; of two, the first counts.
    void setOriginToMarker();
    /// Points @p axisToSet from the first selected marker to the second and keeps the other axis as
    /// near as possible to where it is. Needs two markers and different axes.
    void setAxisToMarkers(abcAxis axisToSet, abcAxis axisToKeep);
    /// Turns the axes to the room's. Needs a body and the online mode, and not to be suspended.
    void setParallelAxes();
    /// Needs a body with a finite COG.
    void set_origin_to_cog();
    /// Needs two selected markers that no line joins. Lines are no part of the history.
    void introduceLine();
    /// Needs a selected line.
    void deleteLine();

    // What is drawn, and how.

    void showSmallMarkers(bool showSmall);
    void showColoredMarkers(bool showColored);
    void showMarkerEmissions(bool show_emissions);
    void showLongAxes(bool longAxes);
    /// How far the long axes reach to both sides, in lengths of the short ones.
    void setLongAxesFactor(double longAxesFactor);
    void showCOG(bool showCog);
    void showXYGrid(bool showXY);
    void showYZGrid(bool showYZ);
    void showXZGrid(bool showXZ);
    /// The colour is copied.
    void setXYGridColor(QColor &XYColor);
    void setYZGridColor(QColor &YZColor);
    void setXZGridColor(QColor &XZColor);

signals:
    /// Never emitted; there for wheels that show the camera.
    void translateViewRequest(double x, double y, double z);
    void rotateViewRequest(double x, double y, double z);
    /// The mouse has moved the camera, or a drag has ended. The canvas leaves it to the receivers
    /// to call saveCurrentView() and then to put their wheels back to 0.
    void storeViewRequest();
    /// True after a commit, an undo or a redo; false when a body is loaded or cleared.
    void bodyModified(bool bodyModified);
    /// What is pending is to be committed. The canvas does so before any other receiver is called.
    void storeBodyRequest();
    /// Whether there is something to undo, or to redo. Both after each commit that changes
    /// something, each undo and redo, and whenever the body or its markers are exchanged.
    void canUndo(bool enableUndo);
    void canRedo(bool enableRedo);
    /// Whether the selection is what the operation needs. Both, and the two about lines, after each
    /// select() and whenever the body or its markers are exchanged.
    void canSetOriginToMarker(bool enableSetOriginToMarker);
    void canSetAxisToMarkers(bool enableSetAxisToMarkers);
    /// With each setOnline(): true online, with a body and not suspended.
    void canSetParallelAxes(bool enableSetParallelAxes);
    /// Wheels have changed the pending pose, or undo() or redo() was called.
    /// @param can_apply  false if undo() has left nothing to undo, else true
    void body_change(bool can_apply);
    /// With each setOnline().
    void is_online(bool online);
    /// As canSetOriginToMarker(); false also after the operation.
    void canIntroduceLine(bool enableIntroduceLine);
    void canDeleteLine(bool enableDeleteLine);
    /// With each select(). Whether a marker can be deleted is for the receiver to find out.
    void canDeleteMarker();

protected:
    bool event(QEvent *event) override;
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    enum DragMode { NoDrag = 0, PanDrag = 1, ZoomDrag = 2, RotateDrag = 3 };

    /// Takes the size of the picture in device pixels.
    void setViewport(int width, int height);
    /// Sets the viewport anew if the widget now covers another number of device pixels.
    void fitViewport();
    /// From scene coordinates (body in the stored frame) into eye coordinates, in three steps.
    void multiplyViewTransform() const;
    void multiplyRoomMatrix() const;
    void translateCogToPivot() const;
    void drawSelection() const;

    /// @return false if there is no picture in which to pick; endPick() follows all the same
    bool beginPick(const QPoint &point) const;
    void drawWithNames() const;
    /// @return the number of hit records, negative after an overflow
    int endPick() const;
    const abcObject *objectOf(quint32 kind, quint32 index) const;

    /// Commits at once. Both are in the stored frame; one that is not finite is left out.
    void commitFrame(const bsMatrix &orientation, const bsVector &origin);
    void openContextMenu(const QPoint &globalPosition);
    void endDrag();
    void beginMouseDrag(DragMode mode);
    bool isMarkerSelectedFirst() const;
    bool areTwoMarkersSelected() const;
    bool canJoinSelectedMarkers() const;
    bool isOneLineSelected() const;
    const abcMarker *selectedMarker(int place) const;
    void emitSelectionSignals();
    void emitHistorySignals();
    void emitBodyReplaced();

    double m_fieldOfViewDeg = 45.0;
    double m_nearPlane = 1.0;
    double m_farPlane = 100000.0;
    int m_viewportWidth = 1;  ///< device pixels
    int m_viewportHeight = 1; ///< device pixels, never 0
    Camera m_camera;
    bool m_roomAxesVisible = false;
    bsMatrix m_roomMatrix;
    bsVector m_roomPosition;
    bool m_tracked = false;
    bool m_hasBeenTracked = false;
    bool m_showCog = false;
    bool m_suspended = false;
    DragMode m_dragMode = NoDrag;
    bool m_mouseDrag = false;   ///< the mode was begun by a mouse button
    QPoint m_lastMousePosition; ///< widget pixels
    QPointer<QMenu> m_contextMenu;
    abcBody m_body;
    QList<const abcObject *> m_selection; ///< at most two objects of the body
};
