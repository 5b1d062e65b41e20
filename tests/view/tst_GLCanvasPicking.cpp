#include "CanvasFixture.h"

#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/support/EventCounter.h>
#include <tests/support/TestMain.h>

#include <QRandomGenerator>
#include <QtTest>

#include <GL/gl.h>

#include <array>
#include <cmath>

namespace {

QString nameOf(const GLCanvas &canvas, const abcObject *object)
{
    if (!object)
        return QStringLiteral("nothing");
    const QList<abcMarker *> &markers = canvas.body().markers();
    for (int i = 0; i < markers.size(); ++i) {
        if (markers[i] == object)
            return QStringLiteral("marker %1").arg(i);
    }
    const QList<abcLine *> &lines = canvas.body().lines();
    for (int i = 0; i < lines.size(); ++i) {
        if (lines[i] == object)
            return QStringLiteral("line %1").arg(i);
    }
    return QStringLiteral("unknown object");
}

QString picked(GLCanvas &canvas, const QPointF &point)
{
    return nameOf(canvas, canvas.pick(point.toPoint()));
}

void joinMarkers(GLCanvas &canvas, int first, int second)
{
    canvas.select(nullptr);
    canvas.select(canvas.body().markers()[first]);
    canvas.select(canvas.body().markers()[second]);
    canvas.introduceLine();
    canvas.select(nullptr);
}

Eigen::Affine3d turn(double angleDeg, double x, double y, double z)
{
    return Eigen::Affine3d(
        Eigen::AngleAxisd(angleDeg * M_PI / 180.0, Eigen::Vector3d(x, y, z).normalized()));
}

Eigen::Affine3d cameraAt(double z)
{
    return Eigen::Affine3d(Eigen::Translation3d(0.0, 0.0, z));
}

void setCamera(GLCanvas &canvas, const Eigen::Affine3d &view)
{
    canvas.setView(bsPose::fromMatrix(fromAffine(view), 0.0));
}

/// Picks and clicks every marker in its middle.
void checkEveryMarker(GLCanvas &canvas, const QVector<bsVector> &positions,
                      const Projection &projection)
{
    for (int i = 0; i < positions.size(); ++i) {
        const QPoint point = projection.point(positions[i]).toPoint();
        QVERIFY(canvas.rect().contains(point));
        QCOMPARE(picked(canvas, point), QStringLiteral("marker %1").arg(i));
        canvas.select(nullptr);
        QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, point);
        QCOMPARE(canvas.selection().size(), 1);
        QCOMPARE(nameOf(canvas, canvas.selection().first()), QStringLiteral("marker %1").arg(i));
    }
}

/// A canvas that the window system may call, or move to a screen of another pixel ratio.
class MovedCanvas : public GLCanvas {
public:
    using GLCanvas::GLCanvas;
    using GLCanvas::resizeGL;
    double ratioOfTheNewScreen = 0.0; ///< 0: still on the old one

protected:
    int metric(PaintDeviceMetric which) const override
    {
        if (which == PdmDevicePixelRatioScaled && ratioOfTheNewScreen > 0.0)
            return static_cast<int>(ratioOfTheNewScreen * devicePixelRatioFScale());
        return GLCanvas::metric(which);
    }
};

QSize viewportSize(GLCanvas &canvas)
{
    canvas.makeCurrent();
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    return QSize(viewport[2], viewport[3]);
}

/// A marker at the pivot and two far to the sides.
const QVector<bsVector> kMarkerAtPivot = {{0.0, 0.0, 0.0}, {500.0, 0.0, 0.0}, {-500.0, 0.0, 0.0}};

} // namespace

class tst_GLCanvasPicking : public QObject {
    Q_OBJECT

private slots:
    void scaleFactorOfThisRunIsInEffect();
    void everyMarkerIsHit_data();
    void everyMarkerIsHit();
    void everyMarkerIsHitAfterAResize();
    void edgesOfAMarkerAreHitWhateverTheProportions_data();
    void edgesOfAMarkerAreHitWhateverTheProportions();
    void everyMarkerIsHitOnAScreenOfAnotherRatio_data();
    void everyMarkerIsHitOnAScreenOfAnotherRatio();
    void staleSizeIsMendedBeforePickingAndPainting();
    void nothingIsHitInAViewWithoutWidth();
    void everyMarkerIsHitWithATurnedCamera();
    void everyMarkerIsHitInEachModesCamera();
    void everyMarkerIsHitInsideAWindow();
    void pickRegionIsFivePixelsWide();
    void smallMarkersAreHitWhereTheyAreDrawn();
    void emptySpaceIsNothing();
    void axesGridsConesAndCogAreNotHit();
    void nearerMarkerIsHit();
    void equalDepthTakesTheFirst();
    void nearerOfLineAndMarkerIsHit();
    void lineIsHitAlongItsLength();
    void lineParallelToYIsHit();
    void smallLinesAreThinner();
    void secondOfTwoLinesIsHit();
    void pickingWithoutBodyFindsNothing();
    void pickingBeforeTheFirstFrameIsSafe();
    void overflowOfTheRecordsIsNoHit();
    void pickUsesTheCanvassOwnContext();
    void pickedPictureStaysAsItWas();
    void clickOnASuspendedCanvasPicksNothing();
    void clickOutsideTheBodyClearsTheSelection();
};

void tst_GLCanvasPicking::scaleFactorOfThisRunIsInEffect()
{
    const double scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
    GLCanvas canvas;
    QVERIFY(showCanvas(canvas));
    QCOMPARE(canvas.devicePixelRatioF(), scale);
    QCOMPARE(picture(canvas).width(), static_cast<int>(canvas.width() * scale));
}

void tst_GLCanvasPicking::everyMarkerIsHit_data()
{
    QTest::addColumn<bool>("small");
    QTest::newRow("normal") << false;
    QTest::newRow("small") << true;
}

void tst_GLCanvasPicking::everyMarkerIsHit()
{
    QFETCH(bool, small);
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    canvas.showSmallMarkers(small);
    QVERIFY(showCanvas(canvas));
    Projection projection(canvas.size());
    projection.pivot = centre(twentyMarkers());
    checkEveryMarker(canvas, twentyMarkers(), projection);
}

void tst_GLCanvasPicking::everyMarkerIsHitAfterAResize()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas));
    for (const QSize &size : {QSize(501, 333), QSize(333, 501), QSize(800, 500)}) {
        canvas.resize(size);
        QTRY_COMPARE(canvas.size(), size);
        const Eigen::Affine3d view = cameraAt(-500.0);
        setCamera(canvas, view);
        Projection projection(size);
        projection.view = view;
        projection.pivot = centre(twentyMarkers());
        checkEveryMarker(canvas, twentyMarkers(), projection);
        if (QTest::currentTestFailed())
            return;
    }
}

void tst_GLCanvasPicking::edgesOfAMarkerAreHitWhateverTheProportions_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("x");
    QTest::newRow("wide") << QSize(700, 210) << 150.0;
    QTest::newRow("tall") << QSize(210, 560) << 38.0;
    QTest::newRow("square") << QSize(400, 400) << 80.0;
}

void tst_GLCanvasPicking::edgesOfAMarkerAreHitWhateverTheProportions()
{
    QFETCH(QSize, size);
    QFETCH(double, x);
    GLCanvas canvas;
    canvas.setBody({{-x, 0.0, 0.0}, {x, 0.0, 0.0}}, {});
    QVERIFY(showCanvas(canvas));
    canvas.resize(size);
    QTRY_COMPARE(canvas.size(), size);
    // Where the lines of sight touch the sphere of radius 10.
    const Projection projection(size);
    const double middle = std::atan(x / 300.0);
    const double half = std::asin(10.0 / std::hypot(x, 300.0));
    const double centreX = size.width() / 2.0;
    const double outer = projection.pixels(300.0 * std::tan(middle + half), 300.0);
    const double inner = projection.pixels(300.0 * std::tan(middle - half), 300.0);
    const double y = size.height() / 2.0;
    for (const int side : {-1, 1}) {
        const QString marker = side < 0 ? QStringLiteral("marker 0") : QStringLiteral("marker 1");
        const QString nothing = QStringLiteral("nothing");
        QCOMPARE(picked(canvas, {centreX + side * (outer + 1.0), y}), marker);
        QCOMPARE(picked(canvas, {centreX + side * (inner - 1.0), y}), marker);
        QCOMPARE(picked(canvas, {centreX + side * (outer + 4.0), y}), nothing);
        QCOMPARE(picked(canvas, {centreX + side * (inner - 4.0), y}), nothing);
    }
}

void tst_GLCanvasPicking::everyMarkerIsHitOnAScreenOfAnotherRatio_data()
{
    QTest::addColumn<double>("factor");
    QTest::addColumn<bool>("painted");
    QTest::newRow("twice the ratio, painted there") << 2.0 << true;
    QTest::newRow("twice the ratio, not painted yet") << 2.0 << false;
    QTest::newRow("half the ratio, painted there") << 0.5 << true;
    QTest::newRow("half the ratio, not painted yet") << 0.5 << false;
}

void tst_GLCanvasPicking::everyMarkerIsHitOnAScreenOfAnotherRatio()
{
    QFETCH(double, factor);
    QFETCH(bool, painted);
    MovedCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas));
    // The widget keeps its size, so nothing resizes the picture.
    canvas.ratioOfTheNewScreen = factor * canvas.devicePixelRatioF();
    const QSize wanted = (QSizeF(canvas.size()) * canvas.ratioOfTheNewScreen).toSize();
    if (painted) {
        canvas.updateGL();
        QCOMPARE(viewportSize(canvas), wanted);
    }
    Projection projection(canvas.size());
    projection.pivot = centre(twentyMarkers());
    checkEveryMarker(canvas, twentyMarkers(), projection);
    QCOMPARE(viewportSize(canvas), wanted);
}

void tst_GLCanvasPicking::staleSizeIsMendedBeforePickingAndPainting()
{
    MovedCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const QImage before = picture(canvas);
    const QSize size = viewportSize(canvas);
    QCOMPARE(size, before.size());
    Projection projection(canvas.size());
    projection.pivot = centre(twentyMarkers());
    const auto makeStale = [&](const QSize &stale) {
        canvas.makeCurrent();
        canvas.resizeGL(stale.width(), stale.height());
        QVERIFY(viewportSize(canvas) != size);
    };
    for (const QSize &stale :
         {QSize(size.width() / 2, size.height() * 2), QSize(size.width() / 2, size.height()),
          QSize(size.width(), size.height() * 2)}) {
        makeStale(stale);
        QCOMPARE(picked(canvas, projection.point(twentyMarkers()[19])),
                 QStringLiteral("marker 19"));
        QCOMPARE(viewportSize(canvas), size);
        makeStale(stale);
        QCOMPARE(picture(canvas), before);
        QCOMPARE(viewportSize(canvas), size);
    }
}

void tst_GLCanvasPicking::nothingIsHitInAViewWithoutWidth()
{
    // As a splitter may leave it: the canvas is there, but has no pixel.
    QWidget window;
    window.resize(640, 480);
    MovedCanvas canvas(&window);
    canvas.setSuspended(false);
    canvas.setBody(kMarkerAtPivot, {});
    canvas.setGeometry(0, 0, 640, 480);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("marker 0"));
    canvas.setGeometry(0, 0, 0, 480);
    QTRY_COMPARE(viewportSize(canvas).width(), 0);
    // Without a perspective the marker around the eye would be the nearest.
    setCamera(canvas, cameraAt(0.0));
    QCOMPARE(picked(canvas, {0, 240}), QStringLiteral("nothing"));
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
    setCamera(canvas, cameraAt(-300.0));
    canvas.setGeometry(0, 0, 640, 480);
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("marker 0"));
}

void tst_GLCanvasPicking::everyMarkerIsHitWithATurnedCamera()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas));
    QRandomGenerator random(testSeed());
    for (int i = 0; i < 20; ++i) {
        // Not so far that one hides another.
        const Eigen::Affine3d view =
            Eigen::Translation3d(random.generateDouble() * 40.0 - 20.0,
                                 random.generateDouble() * 40.0 - 20.0,
                                 -350.0 - random.generateDouble() * 300.0) *
            turn(random.generateDouble() * 360.0, 0, 0, 1) *
            turn(random.generateDouble() * 30.0, random.generateDouble() - 0.5,
                 random.generateDouble() - 0.5, 0.01);
        setCamera(canvas, view);
        Projection projection(canvas.size());
        projection.view = view;
        projection.pivot = centre(twentyMarkers());
        for (int marker = 0; marker < 20; ++marker) {
            const QPoint point = projection.point(twentyMarkers()[marker]).toPoint();
            QCOMPARE(picked(canvas, point), QStringLiteral("marker %1").arg(marker));
        }
    }
}

void tst_GLCanvasPicking::everyMarkerIsHitInEachModesCamera()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    QVERIFY(showCanvas(canvas));
    Projection offline(canvas.size());
    offline.pivot = centre(twentyMarkers());
    offline.view = Eigen::Translation3d(20.0, -30.0, -400.0) * turn(20.0, 0, 1, 0);
    setCamera(canvas, offline.view);

    canvas.setOnline(true);
    Projection online(canvas.size());
    online.pivot = offline.pivot;
    online.room = turn(140.0, 0, 0, 1) * turn(10.0, 1, 0, 0);
    canvas.setTrackedPose(fromAffine(online.room), bsVector(500.0, 600.0, 700.0), true);
    checkEveryMarker(canvas, twentyMarkers(), online);
    if (QTest::currentTestFailed())
        return;
    online.view = Eigen::Translation3d(0.0, 0.0, -450.0) * turn(-15.0, 1, 1, 0);
    setCamera(canvas, online.view);
    checkEveryMarker(canvas, twentyMarkers(), online);
    if (QTest::currentTestFailed())
        return;

    canvas.setOnline(false);
    checkEveryMarker(canvas, twentyMarkers(), offline);
}

void tst_GLCanvasPicking::everyMarkerIsHitInsideAWindow()
{
    // A child widget with a native window of its own at an odd place.
    QWidget window;
    auto *canvas = new GLCanvas(&window);
    canvas->setSuspended(false);
    canvas->setGeometry(33, 57, 501, 403);
    canvas->setBody(twentyMarkers(), {});
    canvas->showSmallMarkers(true);
    window.resize(600, 500);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    EventCounter paints(canvas, QEvent::Paint);
    canvas->update();
    QTRY_VERIFY(paints.count > 0);
    Projection projection(canvas->size());
    projection.pivot = centre(twentyMarkers());
    checkEveryMarker(*canvas, twentyMarkers(), projection);
}

void tst_GLCanvasPicking::pickRegionIsFivePixelsWide()
{
    GLCanvas canvas;
    canvas.setBody(kMarkerAtPivot, {});
    QVERIFY(showCanvas(canvas));
    // The sphere of radius 10 at 300 is 19.31 widget pixels in radius, around (320, 240). A point
    // hits as far as 2.5 pixels beyond that.
    const QString hit = QStringLiteral("marker 0");
    const QString miss = QStringLiteral("nothing");
    QCOMPARE(picked(canvas, {341, 240}), hit);
    QCOMPARE(picked(canvas, {342, 240}), miss);
    QCOMPARE(picked(canvas, {299, 240}), hit);
    QCOMPARE(picked(canvas, {298, 240}), miss);
    QCOMPARE(picked(canvas, {320, 219}), hit);
    QCOMPARE(picked(canvas, {320, 218}), miss);
    QCOMPARE(picked(canvas, {320, 261}), hit);
    QCOMPARE(picked(canvas, {320, 262}), miss);
}

void tst_GLCanvasPicking::smallMarkersAreHitWhereTheyAreDrawn()
{
    GLCanvas canvas;
    canvas.setBody(kMarkerAtPivot, {});
    QVERIFY(showCanvas(canvas));
    QCOMPARE(picked(canvas, {330, 240}), QStringLiteral("marker 0"));
    canvas.showSmallMarkers(true);
    // 5.79 widget pixels in radius now.
    QCOMPARE(picked(canvas, {328, 240}), QStringLiteral("marker 0"));
    QCOMPARE(picked(canvas, {329, 240}), QStringLiteral("nothing"));
    canvas.showSmallMarkers(false);
    QCOMPARE(picked(canvas, {330, 240}), QStringLiteral("marker 0"));
}

void tst_GLCanvasPicking::emptySpaceIsNothing()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const Projection projection(canvas.size());
    for (const QPointF &point :
         {projection.point(20, 20, 0), projection.point(0, -40, 0), QPointF(0, 0),
          QPointF(639, 479), QPointF(-50, 100), QPointF(5000, 5000)})
        QCOMPARE(picked(canvas, point), QStringLiteral("nothing"));
}

void tst_GLCanvasPicking::axesGridsConesAndCogAreNotHit()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {{1.0, 0.0, 0.0, 30.0}, {-1.0, 0.0, 0.0, 90.0}});
    canvas.showCOG(true);
    canvas.showLongAxes(true);
    canvas.showXYGrid(true);
    canvas.setRoomAxesVisible(true);
    QVERIFY(showCanvas(canvas));
    canvas.setOnline(true);
    const Projection projection(canvas.size());
    const QString nothing = QStringLiteral("nothing");
    QCOMPARE(picked(canvas, projection.point(0, 0, 0)), nothing);
    QCOMPARE(picked(canvas, projection.point(27, 0, 0)), nothing);
    QCOMPARE(picked(canvas, projection.point(0, 42, 0)), nothing);
    QCOMPARE(picked(canvas, projection.point(25, 25, 0)), nothing);
    // On the cone and on the tip of the arrow.
    QCOMPARE(picked(canvas, projection.point(-60 + 20, -40 + 5, 5)), nothing);
    QCOMPARE(picked(canvas, projection.point(-60 + 32, -40, 5)), nothing);
}

void tst_GLCanvasPicking::nearerMarkerIsHit()
{
    for (const bool firstIsNearer : {true, false}) {
        GLCanvas canvas;
        const bsVector nearer(0.0, 0.0, 20.0);
        const bsVector farther(0.0, 0.0, -20.0);
        canvas.setBody({firstIsNearer ? nearer : farther, firstIsNearer ? farther : nearer}, {});
        QVERIFY(showCanvas(canvas));
        const QString expected =
            firstIsNearer ? QStringLiteral("marker 0") : QStringLiteral("marker 1");
        const QString other =
            firstIsNearer ? QStringLiteral("marker 1") : QStringLiteral("marker 0");
        QCOMPARE(picked(canvas, {320, 240}), expected);
        // From the other side.
        setCamera(canvas, cameraAt(-300.0) * turn(180.0, 0, 1, 0.001));
        QCOMPARE(picked(canvas, {320, 240}), other);
    }
}

void tst_GLCanvasPicking::equalDepthTakesTheFirst()
{
    GLCanvas canvas;
    const bsVector place(0.0, 0.0, 0.0);
    canvas.setBody({{500.0, 0.0, 0.0}, place, place, place, {-500.0, 0.0, 0.0}}, {});
    QVERIFY(showCanvas(canvas));
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("marker 1"));
}

void tst_GLCanvasPicking::nearerOfLineAndMarkerIsHit()
{
    GLCanvas canvas;
    // Marker 0 behind the line between 1 and 2, marker 3 in front of it.
    const QVector<bsVector> positions = {
        {-30.0, 0.0, -20.0}, {-90.0, 0.0, 20.0}, {90.0, 0.0, 20.0}, {30.0, 0.0, 60.0}};
    canvas.setBody(positions, {});
    QVERIFY(showCanvas(canvas));
    joinMarkers(canvas, 1, 2);
    Projection projection(canvas.size());
    projection.pivot = centre(positions);
    QCOMPARE(picked(canvas, projection.point(positions[0])), QStringLiteral("line 0"));
    QCOMPARE(picked(canvas, projection.point(-30.0, 8.5, -20.0)), QStringLiteral("marker 0"));
    QCOMPARE(picked(canvas, projection.point(positions[3])), QStringLiteral("marker 3"));
    QCOMPARE(picked(canvas, projection.point(-60.0, 0.0, 20.0)), QStringLiteral("line 0"));
    QCOMPARE(picked(canvas, projection.point(positions[1])), QStringLiteral("marker 1"));
}

void tst_GLCanvasPicking::lineIsHitAlongItsLength()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    joinMarkers(canvas, 0, 2);
    const Projection projection(canvas.size());
    const Eigen::Vector3d a = vector(sixMarkers()[0]);
    const Eigen::Vector3d b = vector(sixMarkers()[2]);
    for (double part = 0.15; part < 0.86; part += 0.05) {
        const Eigen::Vector3d point = a + (b - a) * part;
        QCOMPARE(picked(canvas, projection.point(point.x(), point.y(), point.z())),
                 QStringLiteral("line 0"));
    }
}

void tst_GLCanvasPicking::lineParallelToYIsHit()
{
    GLCanvas canvas;
    canvas.setBody({{0.0, -60.0, 0.0}, {0.0, 60.0, 0.0}}, {});
    QVERIFY(showCanvas(canvas));
    joinMarkers(canvas, 0, 1);
    const Projection projection(canvas.size());
    QCOMPARE(picked(canvas, projection.point(0.0, 20.0, 0.0)), QStringLiteral("line 0"));
    QCOMPARE(picked(canvas, projection.point(2.5, -20.0, 0.0)), QStringLiteral("line 0"));
    QCOMPARE(picked(canvas, projection.point(6.0, -20.0, 0.0)), QStringLiteral("nothing"));
}

void tst_GLCanvasPicking::smallLinesAreThinner()
{
    GLCanvas canvas;
    canvas.setBody({{-60.0, 0.0, 0.0}, {60.0, 0.0, 0.0}}, {});
    QVERIFY(showCanvas(canvas));
    joinMarkers(canvas, 0, 1);
    const Projection projection(canvas.size());
    QCOMPARE(picked(canvas, projection.point(0.0, 3.0, 0.0)), QStringLiteral("line 0"));
    canvas.showSmallMarkers(true);
    QCOMPARE(picked(canvas, projection.point(0.0, 3.0, 0.0)), QStringLiteral("nothing"));
    QCOMPARE(picked(canvas, projection.point(0.0, 0.0, 0.0)), QStringLiteral("line 0"));
}

void tst_GLCanvasPicking::secondOfTwoLinesIsHit()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    joinMarkers(canvas, 0, 1);
    joinMarkers(canvas, 2, 3);
    const Projection projection(canvas.size());
    QCOMPARE(picked(canvas, projection.point(30.0, -40.0, 0.0)), QStringLiteral("line 0"));
    QCOMPARE(picked(canvas, projection.point(30.0, 40.0, 0.0)), QStringLiteral("line 1"));
    canvas.select(canvas.body().lines()[0]);
    canvas.deleteLine();
    QCOMPARE(picked(canvas, projection.point(30.0, -40.0, 0.0)), QStringLiteral("nothing"));
    QCOMPARE(picked(canvas, projection.point(30.0, 40.0, 0.0)), QStringLiteral("line 0"));
}

void tst_GLCanvasPicking::pickingWithoutBodyFindsNothing()
{
    GLCanvas canvas;
    QVERIFY(showCanvas(canvas));
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("nothing"));
    canvas.setBody(kMarkerAtPivot, {});
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("marker 0"));
    canvas.clearBody();
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("nothing"));
}

void tst_GLCanvasPicking::pickingBeforeTheFirstFrameIsSafe()
{
    GLCanvas canvas;
    canvas.pick(QPoint(10, 10));
    canvas.setBody(kMarkerAtPivot, {});
    canvas.pick(QPoint(10, 10));
    QVERIFY(showCanvas(canvas));
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("marker 0"));
}

void tst_GLCanvasPicking::overflowOfTheRecordsIsNoHit()
{
    GLCanvas canvas;
    // Five words for each of them.
    canvas.setBody(QVector<bsVector>(103), {});
    QVERIFY(showCanvas(canvas));
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("nothing"));
    canvas.setBody(QVector<bsVector>(102), {});
    QCOMPARE(picked(canvas, {320, 240}), QStringLiteral("marker 0"));
}

void tst_GLCanvasPicking::pickUsesTheCanvassOwnContext()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    QVERIFY(showCanvas(canvas));
    GLCanvas other;
    QVERIFY(showCanvas(other, QSize(200, 100)));
    Projection projection(canvas.size());
    projection.pivot = centre(twentyMarkers());
    other.makeCurrent();
    QCOMPARE(picked(canvas, projection.point(twentyMarkers()[7])), QStringLiteral("marker 7"));
    other.doneCurrent();
    QCOMPARE(picked(canvas, projection.point(twentyMarkers()[12])), QStringLiteral("marker 12"));
}

void tst_GLCanvasPicking::pickedPictureStaysAsItWas()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const QImage before = picture(canvas);
    for (int i = 0; i < 100; ++i)
        canvas.pick(QPoint(i * 6, i * 4));
    QCOMPARE(picture(canvas), before);
    canvas.makeCurrent();
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
}

void tst_GLCanvasPicking::clickOnASuspendedCanvasPicksNothing()
{
    GLCanvas canvas;
    canvas.setBody(kMarkerAtPivot, {});
    QVERIFY(showCanvas(canvas));
    canvas.setSuspended(true);
    SignalLog log(canvas);
    QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(320, 240));
    QVERIFY(canvas.selection().isEmpty());
    QCOMPARE(log.take(), QStringList());
    canvas.setSuspended(false);
    QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(320, 240));
    QCOMPARE(canvas.selection().size(), 1);
}

void tst_GLCanvasPicking::clickOutsideTheBodyClearsTheSelection()
{
    GLCanvas canvas;
    canvas.setBody(kMarkerAtPivot, {});
    QVERIFY(showCanvas(canvas));
    QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(320, 240));
    QCOMPARE(canvas.selectedMarkerNumber(), 0);
    QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(320, 400));
    QVERIFY(canvas.selection().isEmpty());
    QCOMPARE(canvas.selectedMarkerNumber(), -1);
}

QUOREL2_TEST_MAIN(tst_GLCanvasPicking)
#include "tst_GLCanvasPicking.moc"
