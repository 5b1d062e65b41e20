// The slots take matrices and vectors by value: their signatures are part of the interface.
// clazy:excludeall=function-args-by-ref

#include "GLCanvas.h"

#include "BodyDrawing.h"
#include "GLObjectPainter.h"
#include "Picking.h"

#include <model/CoordinateOperations.h>
#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <model/bsPose.h>
#include <model/bsQuaternion.h>

#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QWheelEvent>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>

namespace {

constexpr double kPickRegionPixels = 5.0;
constexpr int kWheelDeltaPerStep = 120;
constexpr double kWheelStep = 3.0;
constexpr double kSuspendedWheelStep = 1.0;

bool areIdentical(const bsVector &a, const bsVector &b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool areIdentical(const bsMatrix &a, const bsMatrix &b)
{
    return std::equal(std::begin(a.m), std::end(a.m), std::begin(b.m));
}

std::optional<CoordinateOperations::MarkerTriple> findTriple(const abcBody &body)
{
    if (!body.isLoaded())
        return std::nullopt;
    return CoordinateOperations::findTriple(body.markerPositions());
}

bool isMarker(const abcObject *object)
{
    return object->type() == abcObject::MarkerType;
}

} // namespace

GLCanvas::GLCanvas(QWidget *parent)
    : QGLWidget(parent)
    , m_roomMatrix(bsMatrix::identity())
    , m_body(this)
{
    setFocusPolicy(Qt::StrongFocus);
    // The right button is used up by its press. Left to itself, Qt would ask the dialog for a menu
    // as well, and the dialog offers "What's This?", even in the middle of a drag.
    setContextMenuPolicy(Qt::PreventContextMenu);
    m_body.setWarningPresenter([this](const QString &title, const QString &text) {
        QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok);
        // The box has no parent, yet must not outlast the canvas.
        connect(this, &QObject::destroyed, &box, &QMessageBox::reject);
        box.exec();
    });
    // The first receiver of storeBodyRequest(): whoever else resets its wheels on it does so after
    // the commit.
    connect(this, &GLCanvas::storeBodyRequest, this, &GLCanvas::saveCurrentBody);
    connect(&m_body, &abcBody::bodyModified, this, &GLCanvas::bodyModified);
}

GLCanvas::~GLCanvas() = default;

// The body

bool GLCanvas::setBody(const QVector<bsVector> &positions, const QVector<Emission> &emissions)
{
    if (positions.isEmpty()) {
        clearBody();
        return false;
    }
    m_selection.clear();
    // Also what the wheels did while nothing was loaded.
    m_body.clear();
    // A rejected body is reported in a modal box, inside which the canvas may come to its end.
    const QPointer<GLCanvas> self(this);
    const bool loaded = m_body.loadMarkers(positions);
    if (!self)
        return false;
    if (loaded)
        m_body.setEmissions(emissions);
    emitBodyReplaced();
    return loaded;
}

void GLCanvas::exchangeMarkers(const QVector<bsVector> &positions,
                               const QVector<Emission> &emissions)
{
    if (!m_body.isLoaded())
        return;
    m_selection.clear();
    m_body.exchangeMarkers(positions);
    m_body.setEmissions(emissions);
    emitBodyReplaced();
}

void GLCanvas::clearBody()
{
    m_selection.clear();
    m_body.clear();
    emitBodyReplaced();
}

void GLCanvas::emitBodyReplaced()
{
    emitHistorySignals();
    emitSelectionSignals();
    update();
}

bool GLCanvas::hasUnappliedChanges() const
{
    return m_body.isLoaded() && m_body.undoCount() != 0;
}

bsMatrix GLCanvas::bodyTransform() const
{
    return m_body.baseMatrix().rigidInverse();
}

void GLCanvas::setAllEmissions(double ex, double ey, double ez, double angleDeg)
{
    m_body.setAllEmissions(ex, ey, ez, angleDeg);
    update();
}

// Modes

void GLCanvas::setSuspended(bool suspended)
{
    m_suspended = suspended;
    if (!suspended)
        m_camera.resetParkedViews();
    update();
}

void GLCanvas::setOnline(bool online)
{
    m_camera.setOnline(online);
    if (!online) {
        m_roomMatrix.setIdentity();
        m_roomPosition.set(0.0, 0.0, 0.0);
        m_tracked = false;
        m_hasBeenTracked = false;
    }
    emit canSetParallelAxes(!m_suspended && m_body.isLoaded() && online);
    emit is_online(online);
    update();
}

void GLCanvas::setTrackedPose(const bsMatrix &rotation, const bsVector &position, bool tracked)
{
    if (!isOnline())
        return;
    bool changed = tracked != m_tracked;
    m_tracked = tracked;
    if (tracked) {
        m_hasBeenTracked = true;
        // Of a rotation near half a turn the few decimals of a data line would leave no more than
        // a rough quaternion.
        bsMatrix roomMatrix = rotation;
        roomMatrix.orthonormalizeRotation();
        changed = changed || !areIdentical(roomMatrix, m_roomMatrix) ||
                  !areIdentical(position, m_roomPosition);
        m_roomMatrix = roomMatrix;
        m_roomPosition = position;
    }
    if (changed)
        update();
}

void GLCanvas::setRoomAxesVisible(bool visible)
{
    m_roomAxesVisible = visible;
    update();
}

// The camera

void GLCanvas::setView(const bsPose &view)
{
    m_camera.setView(view);
    update();
}

void GLCanvas::saveCurrentView()
{
    m_camera.store();
}

void GLCanvas::rotateView(double x, double y, double z)
{
    m_camera.rotate(x, y, z);
    update();
}

void GLCanvas::translateView(double x, double y, double z)
{
    m_camera.translate(x, y, z);
    update();
}

void GLCanvas::setViewOrientation(bsMatrix m)
{
    m_camera.setOrientation(m);
    update();
}

void GLCanvas::setViewPosition(bsVector position)
{
    m_camera.setPosition(position);
    update();
}

void GLCanvas::transformView(bsMatrix m)
{
    m_camera.transform(m);
}

void GLCanvas::rotateViewBegin()
{
    m_dragMode = RotateDrag;
    m_mouseDrag = false;
    update();
}

void GLCanvas::rotateViewEnd()
{
    m_dragMode = NoDrag;
    m_mouseDrag = false;
    update();
}

// Editing the body's coordinate system

void GLCanvas::rotateBody(double x, double y, double z)
{
    m_body.setPendingOrientation(bsQuaternion::fromEuler(x, y, z));
    update();
    emit body_change(true);
}

void GLCanvas::translateBody(double x, double y, double z)
{
    m_body.setPendingPosition(bsVector(x, y, z));
    update();
    emit body_change(true);
}

void GLCanvas::rotateBody(bsMatrix m)
{
    bsQuaternion orientation = bsPose::fromMatrix(m, 0.0).orientation;
    orientation.normalize();
    m_body.setPendingOrientation(orientation);
    update();
}

void GLCanvas::setBodyOrientation(bsMatrix m)
{
    // What is pending may be committed at once, and a NaN in the base matrix could never be undone
    // by another operation.
    if (!isFinite(m))
        return;
    m_body.setPendingOrientation(CoordinateOperations::pendingOrientation(m_body.baseMatrix(), m));
    update();
}

void GLCanvas::setBodyPosition(bsVector v)
{
    if (!isFinite(v))
        return;
    m_body.setPendingPosition(CoordinateOperations::pendingPosition(m_body.baseMatrix(), v));
    update();
}

void GLCanvas::saveCurrentBody()
{
    if (m_body.saveCurrentBody())
        emitHistorySignals();
    update();
}

void GLCanvas::undoBody()
{
    m_body.undo();
    emitHistorySignals();
    update();
}

void GLCanvas::redoBody()
{
    m_body.redo();
    emitHistorySignals();
    update();
}

void GLCanvas::undo()
{
    if (!m_suspended)
        undoBody();
    update();
    emit body_change(m_body.undoCount() != 0);
}

void GLCanvas::redo()
{
    if (!m_suspended)
        redoBody();
    update();
    emit body_change(true);
}

void GLCanvas::setOriginToMarker()
{
    if (!m_body.isLoaded() || !isMarkerSelectedFirst())
        return;
    setBodyPosition(selectedMarker(0)->position());
    emit storeBodyRequest();
}

void GLCanvas::setAxisToMarkers(abcAxis axisToSet, abcAxis axisToKeep)
{
    if (!m_body.isLoaded() || !areTwoMarkersSelected() || axisToSet == axisToKeep)
        return;
    const bsVector direction = selectedMarker(1)->position() - selectedMarker(0)->position();
    const bsVector keptAxis = m_body.baseMatrix().column(axisToKeep);
    setBodyOrientation(CoordinateOperations::axisFrame(direction, keptAxis, axisToSet, axisToKeep));
    emit storeBodyRequest();
}

void GLCanvas::setParallelAxes()
{
    if (m_suspended || !m_body.isLoaded() || !isOnline())
        return;
    setBodyOrientation(m_roomMatrix.rigidInverse());
    emit storeBodyRequest();
}

void GLCanvas::set_origin_to_cog()
{
    if (!m_body.isLoaded() || !isFinite(m_body.cog()))
        return;
    setBodyPosition(m_body.cog());
    emit storeBodyRequest();
}

bool GLCanvas::dueToBody()
{
    const auto triple = findTriple(m_body);
    if (!triple)
        return false;
    const QVector<bsVector> positions = m_body.markerPositions();
    const bsVector &origin = positions[triple->origin];
    commitFrame(CoordinateOperations::threePointFrame(origin, positions[triple->far],
                                                      positions[triple->third]),
                origin);
    return true;
}

bool GLCanvas::dueToRoomOriginInCog()
{
    if (!m_body.isLoaded() || !isFinite(m_body.cog()))
        return false;
    commitFrame(m_roomMatrix.rigidInverse(), m_body.cog());
    return true;
}

bool GLCanvas::dueToRoomOriginInMarker()
{
    const auto triple = findTriple(m_body);
    if (!triple)
        return false;
    commitFrame(m_roomMatrix.rigidInverse(), m_body.markers()[triple->origin]->position());
    return true;
}

void GLCanvas::commitFrame(const bsMatrix &orientation, const bsVector &origin)
{
    setBodyOrientation(orientation);
    setBodyPosition(origin);
    emit storeBodyRequest();
}

// Lines

void GLCanvas::introduceLine()
{
    if (!canJoinSelectedMarkers())
        return;
    m_body.addLine(new abcLine(selectedMarker(0), selectedMarker(1)));
    emit canIntroduceLine(false);
    update();
}

void GLCanvas::deleteLine()
{
    if (!isOneLineSelected())
        return;
    const auto *line = static_cast<const abcLine *>(m_selection.first());
    m_selection.clear();
    m_body.removeLine(line);
    emit canDeleteLine(false);
    update();
}

// The selection

int GLCanvas::selectedMarkerNumber() const
{
    if (m_selection.size() > 1)
        return -2;
    return isMarkerSelectedFirst() ? selectedMarker(0)->id() : -1;
}

void GLCanvas::select(const abcObject *object)
{
    if (!object) {
        m_selection.clear();
    } else if (m_selection.size() == 2 && m_selection.contains(object)) {
        m_selection.swapItemsAt(0, 1);
    } else if (m_selection.size() == 1 && isMarker(m_selection.first()) && isMarker(object) &&
               m_selection.first() != object) {
        m_selection.append(object);
    } else {
        m_selection = {object};
    }
    emitSelectionSignals();
    emit canDeleteMarker();
    update();
}

bool GLCanvas::isMarkerSelectedFirst() const
{
    return !m_selection.isEmpty() && isMarker(m_selection.first());
}

bool GLCanvas::areTwoMarkersSelected() const
{
    // Nothing but two markers is ever selected together.
    return m_selection.size() == 2;
}

bool GLCanvas::canJoinSelectedMarkers() const
{
    return m_body.isLoaded() && areTwoMarkersSelected() &&
           !m_body.hasLine(selectedMarker(0), selectedMarker(1));
}

bool GLCanvas::isOneLineSelected() const
{
    return m_body.isLoaded() && m_selection.size() == 1 && !isMarker(m_selection.first());
}

const abcMarker *GLCanvas::selectedMarker(int place) const
{
    return static_cast<const abcMarker *>(m_selection[place]);
}

void GLCanvas::emitSelectionSignals()
{
    emit canSetOriginToMarker(m_body.isLoaded() && isMarkerSelectedFirst());
    emit canSetAxisToMarkers(m_body.isLoaded() && areTwoMarkersSelected());
    emit canIntroduceLine(canJoinSelectedMarkers());
    emit canDeleteLine(isOneLineSelected());
}

void GLCanvas::emitHistorySignals()
{
    emit canUndo(m_body.undoCount() != 0);
    emit canRedo(m_body.redoCount() != 0);
}

// Display options

void GLCanvas::showSmallMarkers(bool showSmall)
{
    m_body.options.smallMarkers = showSmall;
    update();
}

void GLCanvas::showColoredMarkers(bool showColored)
{
    m_body.options.colouredMarkers = showColored;
    update();
}

void GLCanvas::showMarkerEmissions(bool show_emissions)
{
    m_body.setShowEmissions(show_emissions);
    update();
}

void GLCanvas::showLongAxes(bool longAxes)
{
    m_body.options.longAxes = longAxes;
    update();
}

void GLCanvas::setLongAxesFactor(double longAxesFactor)
{
    m_body.options.longAxesFactor = longAxesFactor;
    update();
}

void GLCanvas::showCOG(bool showCog)
{
    m_showCog = showCog;
    update();
}

void GLCanvas::showXYGrid(bool showXY)
{
    m_body.options.xyGrid = showXY;
    update();
}

void GLCanvas::showYZGrid(bool showYZ)
{
    m_body.options.yzGrid = showYZ;
    update();
}

void GLCanvas::showXZGrid(bool showXZ)
{
    m_body.options.xzGrid = showXZ;
    update();
}

void GLCanvas::setXYGridColor(QColor &XYColor)
{
    m_body.options.xyGridColour = XYColor;
    update();
}

void GLCanvas::setYZGridColor(QColor &YZColor)
{
    m_body.options.yzGridColour = YZColor;
    update();
}

void GLCanvas::setXZGridColor(QColor &XZColor)
{
    m_body.options.xzGridColour = XZColor;
    update();
}

// Drawing

void GLCanvas::initializeGL()
{
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glClearDepth(1.0);
    glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
    glEnable(GL_LIGHT0);
    glEnable(GL_LIGHTING);
}

void GLCanvas::resizeGL(int width, int height)
{
    setViewport(width, height);
    update();
}

void GLCanvas::setViewport(int width, int height)
{
    m_viewportWidth = width;
    m_viewportHeight = height == 0 ? 1 : height;
    glViewport(0, 0, m_viewportWidth, m_viewportHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(m_fieldOfViewDeg, static_cast<double>(m_viewportWidth) / m_viewportHeight,
                   m_nearPlane, m_farPlane);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

void GLCanvas::fitViewport()
{
    // A window that moves to a screen of another pixel ratio may keep its size in widget pixels,
    // and then nothing announces the new one in device pixels. One pixel may be mere rounding.
    const double width = this->width() * devicePixelRatioF();
    const double height = this->height() * devicePixelRatioF();
    if (std::fabs(width - m_viewportWidth) > 1.0 || std::fabs(height - m_viewportHeight) > 1.0)
        setViewport(static_cast<int>(width), static_cast<int>(height));
}

void GLCanvas::paintGL()
{
    fitViewport();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glPushMatrix();
    multiplyViewTransform();
    if (m_suspended) {
        glPopMatrix();
        glFlush();
        return;
    }

    if (m_showCog && m_body.isLoaded()) {
        // The pivot, onto which the COG is moved below.
        glColor3ub(255, 255, 255);
        glPointSize(5.0F);
        glDisable(GL_LIGHTING);
        glBegin(GL_POINTS);
        glVertex3d(0.0, 0.0, 0.0);
        glEnd();
    }
    if (isOnline() && m_roomAxesVisible)
        BodyDrawing::drawAxes(bsVector(), 40.0, false, 10.0, 1.0);
    multiplyRoomMatrix();
    translateCogToPivot();

    GLObjectPainter painter;
    BodyDrawing::drawBody(m_body, painter);
    drawSelection();

    glPopMatrix();
    glFlush();
}

void GLCanvas::drawSelection() const
{
    GLObjectPainter painter;
    for (int i = 0; i < m_selection.size(); ++i) {
        if (i == 0)
            glColor3ub(255, 255, 255);
        else
            glColor3ub(128, 128, 128);
        m_selection[i]->highlight(painter, m_body.options.smallMarkers);
    }
}

void GLCanvas::multiplyViewTransform() const
{
    glMultMatrixd(m_camera.matrix().m);
}

void GLCanvas::multiplyRoomMatrix() const
{
    if (isOnline())
        glMultMatrixd(m_roomMatrix.m);
}

void GLCanvas::translateCogToPivot() const
{
    const bsVector &cog = m_body.cog();
    glTranslated(-cog.x, -cog.y, -cog.z);
}

// Picking

const abcObject *GLCanvas::pick(const QPoint &point)
{
    if (!isValid())
        return nullptr;
    makeCurrent();
    fitViewport();

    std::array<GLuint, 512> buffer{};
    glSelectBuffer(static_cast<GLsizei>(buffer.size()), buffer.data());
    glRenderMode(GL_SELECT);
    const bool isPickable = beginPick(point);
    if (isPickable)
        drawWithNames();
    const int hitCount = endPick();
    if (!isPickable)
        return nullptr;

    const auto hit =
        Picking::readNearestHit(buffer.data(), static_cast<int>(buffer.size()), hitCount);
    return hit ? objectOf(hit->kind, hit->index) : nullptr;
}

bool GLCanvas::beginPick(const QPoint &point) const
{
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    const int height = viewport[3];

    // Events come in widget pixels, the viewport is in device pixels; the ratio changes when the
    // window moves to another screen.
    const double ratio = devicePixelRatioF();
    const double region = kPickRegionPixels * ratio;
    const float aspect = static_cast<float>(viewport[2]) / static_cast<float>(height);
    gluPickMatrix(point.x() * ratio, height - point.y() * ratio, region, region, viewport.data());
    gluPerspective(m_fieldOfViewDeg, static_cast<double>(aspect), m_nearPlane, m_farPlane);

    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    multiplyViewTransform();
    multiplyRoomMatrix();
    translateCogToPivot();
    return viewport[2] > 0;
}

void GLCanvas::drawWithNames() const
{
    GLObjectPainter painter;
    const bool small = m_body.options.smallMarkers;
    const auto drawAll = [&](const auto &objects, GLuint kind) {
        glPushName(kind);
        GLuint index = 0;
        for (const abcObject *object : objects) {
            glPushName(index++);
            object->pickDraw(painter, small);
            glPopName();
        }
        glPopName();
    };
    glInitNames();
    drawAll(m_body.markers(), abcObject::MarkerType);
    drawAll(m_body.lines(), abcObject::LineType);
}

int GLCanvas::endPick() const
{
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    return glRenderMode(GL_RENDER);
}

const abcObject *GLCanvas::objectOf(quint32 kind, quint32 index) const
{
    if (kind == abcObject::MarkerType)
        return m_body.markers().value(static_cast<int>(index), nullptr);
    if (kind == abcObject::LineType)
        return m_body.lines().value(static_cast<int>(index), nullptr);
    return nullptr;
}

// Mouse

void GLCanvas::setContextMenu(QMenu *menu)
{
    m_contextMenu = menu;
}

void GLCanvas::mousePressEvent(QMouseEvent *event)
{
    const bool withCtrl = event->modifiers().testFlag(Qt::ControlModifier);
    const bool withShift = event->modifiers().testFlag(Qt::ShiftModifier);
    const QPoint position = event->pos();
    if (event->button() == Qt::RightButton && withCtrl) {
        beginMouseDrag(RotateDrag);
    } else if (event->button() == Qt::RightButton) {
        // Anything may happen to the canvas while the menu is open.
        const QPointer<GLCanvas> self(this);
        openContextMenu(event->globalPos());
        if (!self)
            return;
    } else if (event->button() == Qt::LeftButton && withCtrl) {
        beginMouseDrag(PanDrag);
    } else if (event->button() == Qt::LeftButton && withShift) {
        beginMouseDrag(ZoomDrag);
    } else if (event->button() == Qt::LeftButton && !m_suspended) {
        // A drag whose release went to another window must not move the view any more.
        const QPointer<GLCanvas> self(this);
        endMouseDrag();
        if (self)
            select(pick(position));
        if (!self)
            return;
    }
    m_lastMousePosition = position;
    update();
}

bool GLCanvas::event(QEvent *event)
{
    if (event->type() == QEvent::WindowDeactivate || event->type() == QEvent::Hide) {
        // The release of the button will not be seen here.
        const QPointer<GLCanvas> self(this);
        endMouseDrag();
        if (!self)
            return true;
    }
    return QGLWidget::event(event);
}

void GLCanvas::beginMouseDrag(DragMode mode)
{
    m_dragMode = mode;
    m_mouseDrag = true;
}

void GLCanvas::endMouseDrag()
{
    if (m_mouseDrag)
        endDrag();
}

void GLCanvas::openContextMenu(const QPoint &globalPosition)
{
    if (!m_contextMenu)
        return;
    // The menu takes the mouse, so the release of a button that is down never gets here.
    const QPointer<GLCanvas> self(this);
    endDrag();
    if (self && m_contextMenu)
        m_contextMenu->exec(globalPosition);
}

void GLCanvas::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint position = event->pos();
    const QPoint moved = position - m_lastMousePosition;
    m_lastMousePosition = position;
    if (m_suspended || !m_body.isLoaded() || m_dragMode == NoDrag)
        return;
    if (m_dragMode == PanDrag) {
        translateView(moved.x(), -moved.y(), 0.0);
    } else if (m_dragMode == ZoomDrag) {
        translateView(0.0, 0.0, moved.y());
    } else {
        rotateView(moved.y(), moved.x(), 0.0);
    }
    emit storeViewRequest();
}

void GLCanvas::mouseReleaseEvent(QMouseEvent *event)
{
    Q_UNUSED(event)
    endDrag();
}

void GLCanvas::endDrag()
{
    if (m_dragMode == NoDrag)
        return;
    m_dragMode = NoDrag;
    m_mouseDrag = false;
    const QPointer<GLCanvas> self(this);
    emit storeViewRequest();
    if (self)
        update();
}

void GLCanvas::wheelEvent(QWheelEvent *event)
{
    const int steps = event->angleDelta().y() / kWheelDeltaPerStep;
    if (!event->modifiers().testFlag(Qt::ControlModifier) || steps == 0) {
        event->ignore();
        return;
    }
    translateView(0.0, 0.0, steps * (m_suspended ? kSuspendedWheelStep : kWheelStep));
    emit storeViewRequest();
    event->accept();
}
