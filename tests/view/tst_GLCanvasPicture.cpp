#include "CanvasFixture.h"

#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>
#include <view/BodyDrawing.h>

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <QtTest>

#include <GL/gl.h>

#include <array>
#include <cmath>

namespace {

constexpr double kDegree = M_PI / 180.0;

const QColor kWhite(255, 255, 255);
const QColor kGrey(128, 128, 128);

/// Opens what a window system would call.
class OpenCanvas : public GLCanvas {
public:
    using GLCanvas::resizeGL;
};

void sendMouse(GLCanvas &canvas, QEvent::Type type, const QPoint &point, Qt::MouseButton button,
               Qt::KeyboardModifiers modifiers)
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, point, button, held, modifiers);
    QCoreApplication::sendEvent(&canvas, &event);
}

bool isNear(const QColor &colour, const QColor &wanted, int tolerance = 2)
{
    return std::abs(colour.red() - wanted.red()) <= tolerance &&
           std::abs(colour.green() - wanted.green()) <= tolerance &&
           std::abs(colour.blue() - wanted.blue()) <= tolerance;
}

bool isLit(const QColor &colour)
{
    return colour.isValid() && !isBlack(colour);
}

Eigen::Affine3d turn(double angleDeg, const Eigen::Vector3d &axis)
{
    return Eigen::Affine3d(Eigen::AngleAxisd(angleDeg * kDegree, axis));
}

Eigen::Affine3d cameraAt(double z, const Eigen::Affine3d &rotation = Eigen::Affine3d::Identity())
{
    return Eigen::Affine3d(Eigen::Translation3d(0.0, 0.0, z)) * rotation;
}

void setCamera(GLCanvas &canvas, const Eigen::Affine3d &view)
{
    canvas.setView(bsPose::fromMatrix(fromAffine(view), 0.0));
}

QByteArray describe(const QImage &image, const QPointF &point)
{
    return QStringLiteral("%1 at %2, %3")
        .arg(colourAt(image, point).name())
        .arg(point.x())
        .arg(point.y())
        .toUtf8();
}

#define VERIFY_LIT(image, point)                                                                   \
    QVERIFY2(isLit(colourAt(image, point)), describe(image, point).constData())
#define VERIFY_BLACK(image, point)                                                                 \
    QVERIFY2(isBlack(colourAt(image, point)), describe(image, point).constData())
#define VERIFY_COLOUR(image, point, colour)                                                        \
    QVERIFY2(isNear(colourAt(image, point), colour), describe(image, point).constData())

/// Two markers on both sides of the origin, the first of which emits.
QVector<bsVector> emitterAndOther()
{
    return {{0.0, 30.0, 0.0}, {0.0, -30.0, 0.0}};
}

const QVector<bsVector> kLineBody = {{-60, -40, 0}, {60, -40, 0}, {0, -20, 0}, {0, 100, 0}};

} // namespace

Q_DECLARE_METATYPE(std::function<void(GLCanvas &)>)

class tst_GLCanvasPicture : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void canvasWithoutBodyIsBlack();
    void suspendedCanvasIsBlack();
    void markersAreWhiteSpheres();
    void colouredMarkersCycleThroughThePalette();
    void smallMarkersShrink();
    void centreOfTheMarkersIsThePivot();
    void axesAreRedGreenAndBlue();
    void axesFollowThePendingPoseAndTheMarkersDoNot();
    void commitDoesNotChangeThePicture();
    void longAxesAreDashedAndReachTenTimesTheLength();
    void gridOfTwoExtentsEndsOnWholeNumbers();
    void gridHas41LinesEachWay_data();
    void gridHas41LinesEachWay();
    void gridFollowsTheBodysCoordinateSystem();
    void cogIsAPointOfFivePixels();
    void cogPointIsNotDrawnWithoutBody();
    void roomAxesAreDrawnOnlineOnly();
    void roomMatrixTurnsTheBodyButNotTheRoomAxes();
    void roomAxesAreDrawnWithoutBody();
    void firstSelectedIsOutlinedWhiteSecondGrey_data();
    void firstSelectedIsOutlinedWhiteSecondGrey();
    void lineIsAGreyPrism_data();
    void lineIsAGreyPrism();
    void lineHighlightIsAWiderOutline_data();
    void lineHighlightIsAWiderOutline();
    void coneBelow90OpensForward_data();
    void coneBelow90OpensForward();
    void coneAt90IsADisc_data();
    void coneAt90IsADisc();
    void coneAbove90OpensBackward();
    void coneAt180IsALine();
    void directionOppositeToZ();
    void markerWithoutDirectionHasNeitherArrowNorCone();
    void emissionsCanBeSwitchedOff();
    void setAllEmissionsShowsAtOnce();
    void resizedViewKeepsItsProportions_data();
    void resizedViewKeepsItsProportions();
    void heightZeroCountsAsOne();
    void viewFillsItsWidgetOnTheScreen();
    void paintingLeavesTheStacksAndNoError();
    void everyChangeAsksForOneQueuedRepaint_data();
    void everyChangeAsksForOneQueuedRepaint();
    void trackedPoseRepaintsOnlyWhenItChanged();
    void transformViewAndStoringTheViewDoNotRepaint();
    void deletedLineDisappears();
};

void tst_GLCanvasPicture::cleanup()
{
    keepPictures();
}

void tst_GLCanvasPicture::canvasWithoutBodyIsBlack()
{
    GLCanvas canvas;
    canvas.showXYGrid(true);
    QVERIFY(showCanvas(canvas));
    QCOMPARE(countPixels(picture(canvas), isLit), 0);
    canvas.setBody(sixMarkers(), {});
    QVERIFY(countPixels(picture(canvas), isLit) > 1000);
    canvas.clearBody();
    QCOMPARE(countPixels(picture(canvas), isLit), 0);
}

void tst_GLCanvasPicture::suspendedCanvasIsBlack()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showCOG(true);
    QVERIFY(showCanvas(canvas));
    canvas.setSuspended(true);
    QCOMPARE(countPixels(picture(canvas), isLit), 0);
    canvas.setSuspended(false);
    QVERIFY(countPixels(picture(canvas), isLit) > 1000);
}

void tst_GLCanvasPicture::markersAreWhiteSpheres()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    for (const bsVector &position : sixMarkers()) {
        const QPointF centrePoint = projection.point(position);
        VERIFY_COLOUR(image, centrePoint, kWhite);
        const double radius = projection.pixels(10.0, 300.0 - position.z);
        QCOMPARE(countPixels(image, centrePoint, 0.0, radius * 0.88, isBlack), 0);
        QCOMPARE(countPixels(image, centrePoint, radius * 1.12 + 1.0, radius * 1.4, isLit), 0);
        // Grey at the rim: lit from the viewer's side.
        QVERIFY(countPixels(image, centrePoint, radius * 0.8, radius, [](const QColor &colour) {
                    return isLit(colour) && colour.red() < 220;
                }) > 10);
    }
}

void tst_GLCanvasPicture::colouredMarkersCycleThroughThePalette()
{
    QVector<bsVector> positions = sixMarkers();
    positions.append({{-100.0, 0.0, 0.0}, {100.0, 0.0, 0.0}});
    GLCanvas canvas;
    canvas.setBody(positions, {});
    canvas.showColoredMarkers(true);
    QVERIFY(showCanvas(canvas));
    QImage image = picture(canvas);
    const Projection projection(image.size());
    const std::array<QColor, 8> expected = {
        QColor(255, 0, 0),   QColor(0, 255, 0),   QColor(0, 0, 255),     QColor(255, 255, 0),
        QColor(255, 0, 255), QColor(0, 255, 255), QColor(255, 255, 255), QColor(255, 0, 0)};
    for (int i = 0; i < positions.size(); ++i)
        VERIFY_COLOUR(image, projection.point(positions[i]), expected[i]);
    canvas.showColoredMarkers(false);
    image = picture(canvas);
    for (const bsVector &position : positions)
        VERIFY_COLOUR(image, projection.point(position), kWhite);
}

void tst_GLCanvasPicture::smallMarkersShrink()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas));
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    for (const bsVector &position : sixMarkers()) {
        const QPointF centrePoint = projection.point(position);
        const double radius = projection.pixels(3.0, 300.0 - position.z);
        QCOMPARE(countPixels(image, centrePoint, 0.0, radius - 1.0, isBlack), 0);
        QCOMPARE(countPixels(image, centrePoint, radius + 1.0, radius * 3.0, isLit), 0);
    }
}

void tst_GLCanvasPicture::centreOfTheMarkersIsThePivot()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas));
    const Eigen::Affine3d view =
        cameraAt(-300.0, turn(35.0, Eigen::Vector3d(1, 2, 3).normalized()));
    setCamera(canvas, view);
    const QImage image = picture(canvas);
    Projection projection(image.size());
    projection.view = view;
    projection.pivot = centre(twentyMarkers());
    for (const bsVector &position : twentyMarkers())
        VERIFY_LIT(image, projection.point(position));
}

void tst_GLCanvasPicture::axesAreRedGreenAndBlue()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const auto isOnly = [](int red, int green, int blue) {
        return [=](const QColor &colour) {
            return isLit(colour) && (red != 0) == (colour.red() != 0) &&
                   (green != 0) == (colour.green() != 0) && (blue != 0) == (colour.blue() != 0);
        };
    };
    QImage image = picture(canvas);
    Projection projection(image.size());
    // The heads reach from 25 to 30.
    QVERIFY(isOnly(1, 0, 0)(colourAt(image, projection.point(26.5, 0.0, 0.0))));
    QVERIFY(isOnly(1, 0, 0)(colourAt(image, projection.point(26.0, 1.2, 0.0))));
    QVERIFY(countPixels(image, projection.point(15.0, 0.0, 0.0), 0.0, 2.0, isOnly(1, 0, 0)) > 0);
    VERIFY_BLACK(image, projection.point(32.0, 0.0, 0.0));
    VERIFY_BLACK(image, projection.point(15.0, 2.0, 0.0));
    VERIFY_BLACK(image, projection.point(-15.0, 0.0, 0.0));
    QVERIFY(isOnly(0, 1, 0)(colourAt(image, projection.point(0.0, 26.5, 0.0))));
    QVERIFY(isOnly(0, 1, 0)(colourAt(image, projection.point(1.2, 26.0, 0.0))));
    VERIFY_BLACK(image, projection.point(0.0, 32.0, 0.0));
    VERIFY_BLACK(image, projection.point(0.0, -15.0, 0.0));

    projection.view = cameraAt(-300.0, turn(90.0, Eigen::Vector3d::UnitY()));
    setCamera(canvas, projection.view);
    image = picture(canvas);
    QVERIFY(isOnly(0, 0, 1)(colourAt(image, projection.point(0.0, 0.0, 26.5))));
    QVERIFY(isOnly(0, 0, 1)(colourAt(image, projection.point(0.0, 1.2, 26.0))));
    VERIFY_BLACK(image, projection.point(0.0, 0.0, 32.0));
    VERIFY_BLACK(image, projection.point(0.0, 0.0, -15.0));
}

void tst_GLCanvasPicture::axesFollowThePendingPoseAndTheMarkersDoNot()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const auto checkAxes = [&](const Eigen::Affine3d &body) {
        const QImage image = picture(canvas);
        const Projection projection(image.size());
        const auto headAt = [&](const Eigen::Vector3d &axis) {
            const Eigen::Vector3d p = body * (axis * 26.5);
            return colourAt(image, projection.point(p.x(), p.y(), p.z()));
        };
        const QColor x = headAt(Eigen::Vector3d::UnitX());
        const QColor y = headAt(Eigen::Vector3d::UnitY());
        QVERIFY(x.red() > 40 && x.green() == 0 && x.blue() == 0);
        QVERIFY(y.green() > 40 && y.red() == 0 && y.blue() == 0);
        VERIFY_BLACK(image, projection.point(0.0, 0.0, 0.0));
        for (const bsVector &position : sixMarkers())
            VERIFY_COLOUR(image, projection.point(position), kWhite);
    };
    canvas.translateBody(20.0, 10.0, -5.0);
    canvas.rotateBody(0.0, 0.0, 60.0);
    const Eigen::Affine3d first =
        Eigen::Translation3d(20.0, 10.0, -5.0) * turn(60.0, Eigen::Vector3d::UnitZ());
    checkAxes(first);
    if (QTest::currentTestFailed())
        return;
    // Base matrix first, then what is pending.
    emit canvas.storeBodyRequest();
    canvas.translateBody(-30.0, 10.0, 0.0);
    canvas.rotateBody(0.0, 0.0, 45.0);
    checkAxes(first * Eigen::Translation3d(-30.0, 10.0, 0.0) *
              turn(45.0, Eigen::Vector3d::UnitZ()));
}

void tst_GLCanvasPicture::commitDoesNotChangeThePicture()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showXYGrid(true);
    QVERIFY(showCanvas(canvas));
    canvas.translateBody(11.0, -7.0, 5.0);
    canvas.rotateBody(20.0, 30.0, 40.0);
    const QImage before = picture(canvas);
    emit canvas.storeBodyRequest();
    QCOMPARE(canvas.body().undoCount(), 1);
    const QImage after = picture(canvas);
    int different = 0;
    for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x) {
            if (!isNear(before.pixelColor(x, y), after.pixelColor(x, y), 8))
                ++different;
        }
    }
    QVERIFY2(different < 20, qPrintable(QString::number(different)));
}

void tst_GLCanvasPicture::longAxesAreDashedAndReachTenTimesTheLength()
{
    GLCanvas canvas;
    // Far off the axes.
    canvas.setBody({{150.0, 150.0, 150.0}, {-150.0, -150.0, -150.0}}, {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas));

    // Along one axis seen as horizontal: how many of the pixels from one place to another have the
    // colour, in percent.
    const auto percentOf = [&](const Projection &projection, const QImage &image,
                               const Eigen::Vector3d &axis, double from, double to,
                               const QColor &colour) {
        const Eigen::Vector3d a = axis * from;
        const Eigen::Vector3d b = axis * to;
        const QPointF left = projection.point(a.x(), a.y(), a.z());
        const QPointF right = projection.point(b.x(), b.y(), b.z());
        int hits = 0;
        int all = 0;
        for (int x = qRound(qMin(left.x(), right.x())); x < qMax(left.x(), right.x()); ++x) {
            ++all;
            for (int y = qRound(left.y()) - 2; y <= qRound(left.y()) + 2; ++y) {
                if (image.pixelColor(x, y) == colour) {
                    ++hits;
                    break;
                }
            }
        }
        return all == 0 ? -1 : 100 * hits / all;
    };
    struct Row {
        Eigen::Vector3d axis;
        QColor colour;
        Eigen::Affine3d rotation;
    };
    const std::array<Row, 3> rows = {
        Row{Eigen::Vector3d::UnitX(), QColor(255, 0, 0), Eigen::Affine3d::Identity()},
        Row{Eigen::Vector3d::UnitY(), QColor(0, 255, 0), turn(-90.0, Eigen::Vector3d::UnitZ())},
        Row{Eigen::Vector3d::UnitZ(), QColor(0, 0, 255), turn(90.0, Eigen::Vector3d::UnitY())}};
    for (const Row &row : rows) {
        setCamera(canvas, cameraAt(-900.0, row.rotation));
        canvas.setLongAxesFactor(10.0);
        canvas.showLongAxes(false);
        QImage image = picture(canvas);
        Projection projection(image.size());
        projection.view = cameraAt(-900.0, row.rotation);
        QCOMPARE(percentOf(projection, image, row.axis, 35.0, 245.0, row.colour), 0);
        canvas.showLongAxes(true);
        image = picture(canvas);
        for (const double side : {1.0, -1.0}) {
            const int dashed =
                percentOf(projection, image, row.axis * side, 40.0, 248.0, row.colour);
            QVERIFY2(dashed > 35 && dashed < 65, qPrintable(QString::number(dashed)));
            QVERIFY(percentOf(projection, image, row.axis * side, 230.0, 249.0, row.colour) > 0);
            QCOMPARE(percentOf(projection, image, row.axis * side, 254.0, 400.0, row.colour), 0);
        }
        canvas.setLongAxesFactor(4.0);
        image = picture(canvas);
        QVERIFY(percentOf(projection, image, row.axis, 80.0, 99.0, row.colour) > 0);
        QCOMPARE(percentOf(projection, image, row.axis, 104.0, 400.0, row.colour), 0);
    }
}

void tst_GLCanvasPicture::gridOfTwoExtentsEndsOnWholeNumbers()
{
    GLCanvas canvas;
    QVERIFY(showCanvas(canvas, QSize(400, 400)));
    canvas.makeCurrent();
    // Half a pixel a unit, so that the windowing transformation takes back what it is given.
    constexpr double kHalfWidth = 1000.0;
    glViewport(0, 0, 1000, 1000);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-kHalfWidth, kHalfWidth, -kHalfWidth, kHalfWidth, -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    std::array<GLfloat, 4096> buffer = {};
    glFeedbackBuffer(GLsizei(buffer.size()), GL_2D, buffer.data());
    glRenderMode(GL_FEEDBACK);
    BodyDrawing::drawGrid(500.7, 300.9, 250.0, 100.0);
    const int count = glRenderMode(GL_RENDER);
    QStringList lines;
    for (int i = 0; i + 4 < count; i += 5) {
        QStringList ends;
        for (int end = 0; end < 2; ++end) {
            const float *point = &buffer.at(std::size_t(i + 1 + 2 * end));
            ends.append(QStringLiteral("%1,%2")
                            .arg(std::lround(point[0] * 2.0F - kHalfWidth))
                            .arg(std::lround(point[1] * 2.0F - kHalfWidth)));
        }
        lines.append(ends.join(QLatin1Char(' ')));
    }
    QStringList expected;
    for (int x = -500; x <= 500; x += 250)
        expected.append(QStringLiteral("%1,-300 %1,300").arg(x));
    for (int y = -300; y <= 300; y += 100)
        expected.append(QStringLiteral("-500,%1 500,%1").arg(y));
    QCOMPARE(lines, expected);
}

void tst_GLCanvasPicture::gridHas41LinesEachWay_data()
{
    QTest::addColumn<int>("plane");
    QTest::addColumn<bool>("ownColour");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("xy") << 0 << false << QColor(255, 255, 0);
    QTest::newRow("yz") << 1 << false << QColor(0, 255, 255);
    QTest::newRow("xz") << 2 << false << QColor(255, 0, 255);
    QTest::newRow("xy in a colour of its own") << 0 << true << QColor(200, 10, 20);
    QTest::newRow("yz in a colour of its own") << 1 << true << QColor(20, 200, 10);
    QTest::newRow("xz in a colour of its own") << 2 << true << QColor(10, 20, 200);
}

void tst_GLCanvasPicture::gridHas41LinesEachWay()
{
    QFETCH(int, plane);
    QFETCH(bool, ownColour);
    QFETCH(QColor, colour);
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showSmallMarkers(true);
    QVERIFY(showCanvas(canvas, QSize(800, 800)));
    if (ownColour) {
        const std::array<void (GLCanvas::*)(QColor &), 3> setters = {
            &GLCanvas::setXYGridColor, &GLCanvas::setYZGridColor, &GLCanvas::setXZGridColor};
        (canvas.*setters[plane])(colour);
    }
    const std::array<void (GLCanvas::*)(bool), 3> shows = {
        &GLCanvas::showXYGrid, &GLCanvas::showYZGrid, &GLCanvas::showXZGrid};
    (canvas.*shows[plane])(true);

    // Each plane seen from the front; (a, b) are the directions to the right and up on the screen.
    const std::array<Eigen::Affine3d, 3> rotations = {Eigen::Affine3d::Identity(),
                                                      turn(90.0, Eigen::Vector3d::UnitY()),
                                                      turn(90.0, Eigen::Vector3d::UnitX())};
    const Eigen::Affine3d view = cameraAt(-1400.0, rotations[plane]);
    setCamera(canvas, view);
    const QImage image = picture(canvas);
    Projection projection(image.size());
    projection.view = cameraAt(-1400.0);

    const auto isLine = [&](const QColor &c) { return c == colour; };
    // Across the lines, half-way between two of the others: how many lines are crossed.
    for (const bool across : {true, false}) {
        QVector<double> crossings;
        for (double at = -520.0; at <= 520.0; at += 0.5) {
            const QPointF point =
                across ? projection.point(at, 87.5, 0.0) : projection.point(87.5, at, 0.0);
            if (!isLine(colourAt(image, point)))
                continue;
            if (crossings.isEmpty() || at - crossings.last() > 12.0)
                crossings.append(at);
        }
        QCOMPARE(crossings.size(), 41);
        for (int i = 0; i < 41; ++i)
            QVERIFY(std::fabs(crossings[i] - (-500.0 + 25.0 * i)) < 5.0);
        // And each reaches from edge to edge.
        for (const double edge : {-495.0, 495.0}) {
            const QPointF near =
                across ? projection.point(125.0, edge, 0.0) : projection.point(edge, 125.0, 0.0);
            QVERIFY(countPixels(image, near, 0.0, 2.0, isLine) > 0);
            const QPointF beyond = across ? projection.point(125.0, edge * 1.04, 0.0)
                                          : projection.point(edge * 1.04, 125.0, 0.0);
            QCOMPARE(countPixels(image, beyond, 0.0, 2.0, isLine), 0);
        }
    }
    (canvas.*shows[plane])(false);
    QCOMPARE(countPixels(picture(canvas), isLine), 0);
}

void tst_GLCanvasPicture::gridFollowsTheBodysCoordinateSystem()
{
    GLCanvas canvas;
    canvas.setBody({{150.0, 150.0, 150.0}, {-150.0, -150.0, -150.0}}, {});
    canvas.showXYGrid(true);
    QVERIFY(showCanvas(canvas));
    canvas.translateBody(12.5, 0.0, 0.0);
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    const auto isYellow = [](const QColor &colour) { return colour == QColor(255, 255, 0); };
    QVERIFY(countPixels(image, projection.point(-37.5, 12.5, 0.0), 0.0, 2.0, isYellow) > 0);
    VERIFY_BLACK(image, projection.point(-50.0, 12.5, 0.0));
}

void tst_GLCanvasPicture::cogIsAPointOfFivePixels()
{
    GLCanvas canvas;
    canvas.setBody(twentyMarkers(), {});
    QVERIFY(showCanvas(canvas));
    const auto isWhite = [](const QColor &colour) { return colour == kWhite; };
    QImage image = picture(canvas);
    const QPointF middle(image.width() / 2.0, image.height() / 2.0);
    QCOMPARE(countPixels(image, middle, 0.0, 8.0, isLit), 0);
    canvas.showCOG(true);
    image = picture(canvas);
    QCOMPARE(countPixels(image, middle, 0.0, 8.0, isWhite), 25);
    QCOMPARE(countPixels(image, middle, 0.0, 8.0, isLit), 25);
    // It stays at the pivot when the camera turns, and the markers are lit as ever.
    Projection projection(image.size());
    projection.pivot = centre(twentyMarkers());
    projection.view = cameraAt(-300.0, turn(20.0, Eigen::Vector3d::UnitY()));
    setCamera(canvas, projection.view);
    image = picture(canvas);
    QCOMPARE(countPixels(image, middle, 0.0, 4.0, isWhite), 25);
    const double radius = projection.pixels(10.0, 300.0);
    QVERIFY(countPixels(image, projection.point(twentyMarkers()[0]), 0.0, radius,
                        [](const QColor &c) { return isLit(c) && c.red() < 220; }) > 10);
    canvas.showCOG(false);
    QCOMPARE(countPixels(picture(canvas), middle, 0.0, 4.0, isWhite), 0);
}

void tst_GLCanvasPicture::cogPointIsNotDrawnWithoutBody()
{
    GLCanvas canvas;
    canvas.showCOG(true);
    QVERIFY(showCanvas(canvas));
    QCOMPARE(countPixels(picture(canvas), isLit), 0);
}

void tst_GLCanvasPicture::roomAxesAreDrawnOnlineOnly()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    // Between the body's axes, which end at 30, and the end of the room's at 48.
    const auto roomAxisPixels = [&] {
        const QImage image = picture(canvas);
        const Projection projection(image.size());
        return countPixels(image, projection.point(42.0, 0.0, 0.0), 0.0, 4.0,
                           [](const QColor &c) { return c.red() > 40 && c.green() == 0; });
    };
    canvas.setRoomAxesVisible(true);
    QCOMPARE(roomAxisPixels(), 0);
    canvas.setOnline(true);
    QVERIFY(roomAxisPixels() > 20);
    canvas.setRoomAxesVisible(false);
    QCOMPARE(roomAxisPixels(), 0);
    canvas.setRoomAxesVisible(true);
    canvas.setOnline(false);
    QCOMPARE(roomAxisPixels(), 0);
}

void tst_GLCanvasPicture::roomMatrixTurnsTheBodyButNotTheRoomAxes()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showColoredMarkers(true);
    QVERIFY(showCanvas(canvas));
    canvas.setOnline(true);
    canvas.setRoomAxesVisible(true);
    const Eigen::Affine3d room = turn(90.0, Eigen::Vector3d::UnitZ());
    canvas.setTrackedPose(fromAffine(room), bsVector(1000.0, 0.0, 0.0), true);
    const auto check = [&] {
        const QImage image = picture(canvas);
        Projection projection(image.size());
        const QColor head = colourAt(image, projection.point(42.0, 0.0, 0.0));
        QVERIFY(head.red() > 40 && head.green() == 0 && head.blue() == 0);
        projection.room = room;
        VERIFY_COLOUR(image, projection.point(sixMarkers()[0]), QColor(255, 0, 0));
        VERIFY_COLOUR(image, projection.point(sixMarkers()[1]), QColor(0, 255, 0));
        VERIFY_COLOUR(image, projection.point(sixMarkers()[4]), QColor(255, 0, 255));
        // The body's x axis points upward now.
        const QColor bodyHead = colourAt(image, projection.point(26.5, 0.0, 0.0));
        QVERIFY(bodyHead.red() > 40 && bodyHead.green() == 0);
    };
    check();
    if (QTest::currentTestFailed())
        return;
    // A body that is lost keeps the orientation that was seen last.
    canvas.setTrackedPose(bsMatrix(), bsVector(), false);
    check();
    if (QTest::currentTestFailed())
        return;
    canvas.setOnline(false);
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    VERIFY_COLOUR(image, projection.point(sixMarkers()[0]), QColor(255, 0, 0));
    VERIFY_COLOUR(image, projection.point(sixMarkers()[1]), QColor(0, 255, 0));
}

void tst_GLCanvasPicture::roomAxesAreDrawnWithoutBody()
{
    GLCanvas canvas;
    canvas.showCOG(true);
    canvas.setRoomAxesVisible(true);
    QVERIFY(showCanvas(canvas));
    canvas.setOnline(true);
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    const QColor x = colourAt(image, projection.point(42.0, 0.0, 0.0));
    const QColor y = colourAt(image, projection.point(0.0, 42.0, 0.0));
    QVERIFY(x.red() > 40 && x.green() == 0 && x.blue() == 0);
    QVERIFY(y.green() > 40 && y.red() == 0 && y.blue() == 0);
    QCOMPARE(countPixels(image, [](const QColor &colour) { return colour == kWhite; }), 0);
}

void tst_GLCanvasPicture::firstSelectedIsOutlinedWhiteSecondGrey_data()
{
    QTest::addColumn<bool>("small");
    QTest::newRow("normal") << false;
    QTest::newRow("small") << true;
}

void tst_GLCanvasPicture::firstSelectedIsOutlinedWhiteSecondGrey()
{
    QFETCH(bool, small);
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showSmallMarkers(small);
    QVERIFY(showCanvas(canvas));
    // Each marker in the middle of the picture, where its outline is a circle.
    const auto outline = [&](int marker) {
        const bsVector position = sixMarkers()[marker];
        canvas.setView(bsPose());
        canvas.setViewPosition(bsVector(-position.x, -position.y, -180.0 - position.z));
        const QImage image = picture(canvas);
        const Projection projection(image.size());
        const double radius = projection.pixels(small ? 3.0 : 10.0, 180.0);
        const QPointF point(image.width() / 2.0, image.height() / 2.0);
        QMap<QString, int> colours;
        countPixels(image, point, radius * 1.07, radius * 1.2 + 1.0, [&](const QColor &colour) {
            if (isLit(colour))
                ++colours[colour.name()];
            return false;
        });
        // Its radius is 1.2 times the marker's.
        if (countPixels(image, point, radius * 1.2 + 1.0, radius * 1.5, isLit) > 0)
            colours[QStringLiteral("outside")] = 1;
        return colours;
    };
    const auto isOnly = [](const QMap<QString, int> &colours, const QColor &colour) {
        return colours.size() == 1 && colours.value(colour.name()) > 10;
    };
    QVERIFY(outline(0).isEmpty());
    canvas.select(canvas.body().markers()[0]);
    QVERIFY(isOnly(outline(0), kWhite));
    QVERIFY(outline(1).isEmpty());
    canvas.select(canvas.body().markers()[1]);
    QVERIFY(isOnly(outline(0), kWhite));
    QVERIFY(isOnly(outline(1), kGrey));
    canvas.select(canvas.body().markers()[1]);
    QVERIFY(isOnly(outline(0), kGrey));
    QVERIFY(isOnly(outline(1), kWhite));
    // What is drawn next is filled and lit again.
    setCamera(canvas, cameraAt(-300.0));
    const QImage image = picture(canvas);
    VERIFY_COLOUR(image, Projection(image.size()).point(sixMarkers()[2]), kWhite);
    canvas.select(nullptr);
    QVERIFY(outline(0).isEmpty());
    QVERIFY(outline(1).isEmpty());
}

void tst_GLCanvasPicture::lineIsAGreyPrism_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");
    QTest::addColumn<bool>("small");
    QTest::newRow("along x") << 0 << 1 << false;
    QTest::newRow("along x, small") << 0 << 1 << true;
    QTest::newRow("parallel to y") << 2 << 3 << false;
    QTest::newRow("parallel to y, backward") << 3 << 2 << false;
    QTest::newRow("parallel to y, small") << 2 << 3 << true;
}

void tst_GLCanvasPicture::lineIsAGreyPrism()
{
    QFETCH(int, first);
    QFETCH(int, second);
    QFETCH(bool, small);
    GLCanvas canvas;
    canvas.setBody(kLineBody, {});
    canvas.showSmallMarkers(small);
    canvas.showColoredMarkers(true);
    QVERIFY(showCanvas(canvas));
    // Out of the way of the axes.
    canvas.translateBody(-80.0, 80.0, 0.0);
    canvas.select(canvas.body().markers()[first]);
    canvas.select(canvas.body().markers()[second]);
    canvas.introduceLine();
    canvas.select(nullptr);
    const QImage image = picture(canvas);
    Projection projection(image.size());
    projection.pivot = centre(kLineBody);
    const Eigen::Vector3d a = vector(kLineBody[first]);
    const Eigen::Vector3d b = vector(kLineBody[second]);
    const Eigen::Vector3d middle = (a + b) / 2.0;
    const Eigen::Vector3d across = (b - a).normalized().cross(Eigen::Vector3d::UnitZ());
    const double half = small ? 0.75 : 3.0;
    // The front face looks at the viewer: 100 * (0.2 ambient + 1.0 diffuse).
    for (const double off : {-0.6 * half, 0.0, 0.6 * half}) {
        const Eigen::Vector3d point = middle + across * off;
        VERIFY_COLOUR(image, projection.point(point.x(), point.y(), point.z()),
                      QColor(120, 120, 120));
    }
    for (const double off : {-half - 1.0, half + 1.0}) {
        const Eigen::Vector3d point = middle + across * off;
        VERIFY_BLACK(image, projection.point(point.x(), point.y(), point.z()));
    }
    // From marker to marker.
    for (const double part : {0.15, 0.85}) {
        const Eigen::Vector3d point = a + (b - a) * part;
        VERIFY_COLOUR(image, projection.point(point.x(), point.y(), point.z()),
                      QColor(120, 120, 120));
    }
}

void tst_GLCanvasPicture::lineHighlightIsAWiderOutline_data()
{
    lineIsAGreyPrism_data();
}

void tst_GLCanvasPicture::lineHighlightIsAWiderOutline()
{
    QFETCH(int, first);
    QFETCH(int, second);
    QFETCH(bool, small);
    GLCanvas canvas;
    canvas.setBody(kLineBody, {});
    canvas.showSmallMarkers(small);
    canvas.showColoredMarkers(true);
    QVERIFY(showCanvas(canvas));
    canvas.translateBody(-80.0, 80.0, 0.0);
    canvas.select(canvas.body().markers()[first]);
    canvas.select(canvas.body().markers()[second]);
    canvas.introduceLine();
    canvas.select(canvas.body().lines()[0]);
    const double scale = small ? 3.0 : 1.0;
    const Eigen::Affine3d view = cameraAt(-300.0 / scale);
    setCamera(canvas, view);
    const QImage image = picture(canvas);
    Projection projection(image.size());
    projection.view = view;
    projection.pivot = centre(kLineBody);
    const Eigen::Vector3d a = vector(kLineBody[first]);
    const Eigen::Vector3d b = vector(kLineBody[second]);
    const Eigen::Vector3d across = (b - a).normalized().cross(Eigen::Vector3d::UnitZ());
    // Seen from the front the outline's front edges are this far off, a little nearer than the
    // line.
    const double edge = 1.4 * (small ? 0.75 : 3.0);
    for (const double part : {0.3, 0.45, 0.6}) {
        for (const double side : {-1.0, 1.0}) {
            const Eigen::Vector3d point =
                a + (b - a) * part + across * side * edge + Eigen::Vector3d::UnitZ() * edge;
            const QPointF onEdge = projection.point(point.x(), point.y(), point.z());
            if (!QRectF(image.rect()).contains(onEdge))
                continue;
            QVERIFY(countPixels(image, onEdge, 0.0, 2.0,
                                [](const QColor &colour) { return colour == kWhite; }) > 0);
        }
    }
}

void tst_GLCanvasPicture::coneBelow90OpensForward_data()
{
    QTest::addColumn<bool>("small");
    QTest::newRow("normal") << false;
    QTest::newRow("small") << true;
}

void tst_GLCanvasPicture::coneBelow90OpensForward()
{
    QFETCH(bool, small);
    GLCanvas canvas;
    canvas.setBody(emitterAndOther(), {{1.0, 0.0, 0.0, 30.0}});
    canvas.showSmallMarkers(small);
    QVERIFY(showCanvas(canvas));
    const double length = small ? 15.0 : 25.8;
    const double height = length * std::cos(30.0 * kDegree);
    const double radius = length * std::sin(30.0 * kDegree);
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    const auto at = [&](double along, double off) {
        return projection.point(along, 30.0 + off, 0.0);
    };
    for (const double side : {-1.0, 1.0}) {
        VERIFY_LIT(image, at(height * 0.9, side * radius * 0.75));
        VERIFY_BLACK(image, at(height * 0.9, side * radius * 1.2));
        VERIFY_BLACK(image, at(height + 2.0, side * radius * 0.6));
        VERIFY_BLACK(image, at(-height * 0.8, side * radius * 0.6));
    }
    // The arrow: a shaft of length + 4.5, a head of 5 more.
    const double tip = length + 4.5;
    QVERIFY(countPixels(image, at(length + 3.0, 0.0), 0.0, 1.5, isLit) > 0);
    VERIFY_LIT(image, at(tip + 1.0, 1.2));
    VERIFY_LIT(image, at(tip + 1.0, -1.2));
    VERIFY_BLACK(image, at(tip + 6.5, 0.0));
    VERIFY_BLACK(image, at(length + 2.5, 3.0));
}

void tst_GLCanvasPicture::coneAt90IsADisc_data()
{
    QTest::addColumn<bool>("small");
    QTest::newRow("normal") << false;
    QTest::newRow("small") << true;
}

void tst_GLCanvasPicture::coneAt90IsADisc()
{
    QFETCH(bool, small);
    GLCanvas canvas;
    canvas.setBody({{-50.0, 30.0, 0.0}, {50.0, -30.0, 0.0}}, {{0.0, 0.0, 1.0, 90.0}});
    canvas.showSmallMarkers(small);
    QVERIFY(showCanvas(canvas));
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    const QPointF middle = projection.point(-50.0, 30.0, 0.0);
    const double radius = projection.pixels(small ? 15.0 : 25.8, 300.0);
    // The arrow points at the viewer and leans to the left and up in the picture; the other half of
    // the disc is free. Its front looks away from the light: ambient only.
    int grey = 0;
    int other = 0;
    countPixels(image, middle, projection.pixels(small ? 5.0 : 12.0, 300.0), radius * 0.95,
                [&](const QColor &colour) {
                    isNear(colour, QColor(51, 51, 51)) ? ++grey : ++other;
                    return false;
                });
    QVERIFY2(grey > 500, qPrintable(QString::number(grey)));
    QVERIFY2(other < grey / 3, qPrintable(QString::number(other)));
    QCOMPARE(countPixels(image, middle, radius * 1.05, radius * 1.3, isLit), 0);
}

void tst_GLCanvasPicture::coneAbove90OpensBackward()
{
    GLCanvas canvas;
    canvas.setBody(emitterAndOther(), {{1.0, 0.0, 0.0, 150.0}});
    QVERIFY(showCanvas(canvas));
    const double height = 25.8 * std::cos(30.0 * kDegree);
    const double radius = 12.9;
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    const auto at = [&](double along, double off) {
        return projection.point(along, 30.0 + off, 0.0);
    };
    for (const double side : {-1.0, 1.0}) {
        VERIFY_LIT(image, at(-height * 0.9, side * radius * 0.75));
        VERIFY_BLACK(image, at(-height * 0.9, side * radius * 1.2));
        // The apex is at the marker, not at the far end.
        VERIFY_BLACK(image, at(-height * 0.55, side * radius * 0.9));
        VERIFY_BLACK(image, at(-height - 2.0, side * radius * 0.6));
        VERIFY_BLACK(image, at(height * 0.8, side * radius * 0.6));
    }
    // The arrow still points forward.
    VERIFY_LIT(image, at(31.3, 1.2));
    VERIFY_BLACK(image, at(-31.3, 0.0));
}

void tst_GLCanvasPicture::coneAt180IsALine()
{
    GLCanvas canvas;
    canvas.setBody(emitterAndOther(), {{1.0, 0.0, 0.0, 180.0}});
    QVERIFY(showCanvas(canvas));
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    for (const double side : {-1.0, 1.0}) {
        VERIFY_BLACK(image, projection.point(-20.0, 30.0 + side * 2.0, 0.0));
        VERIFY_BLACK(image, projection.point(20.0, 30.0 + side * 2.0, 0.0));
    }
    VERIFY_LIT(image, projection.point(31.3, 31.2, 0.0));
}

void tst_GLCanvasPicture::directionOppositeToZ()
{
    GLCanvas canvas;
    canvas.setBody(emitterAndOther(), {{0.0, 0.0, -1.0, 30.0}});
    QVERIFY(showCanvas(canvas));
    // Seen from the side, +z to the right.
    const Eigen::Affine3d view = cameraAt(-300.0, turn(90.0, Eigen::Vector3d::UnitY()));
    setCamera(canvas, view);
    const QImage image = picture(canvas);
    Projection projection(image.size());
    projection.view = view;
    const double height = 25.8 * std::cos(30.0 * kDegree);
    for (const double side : {-1.0, 1.0}) {
        VERIFY_LIT(image, projection.point(0.0, 30.0 + side * 9.0, -height * 0.9));
        VERIFY_BLACK(image, projection.point(0.0, 30.0 + side * 9.0, height * 0.9));
        VERIFY_LIT(image, projection.point(0.0, 30.0 + side * 1.2, -31.3));
    }
    VERIFY_BLACK(image, projection.point(0.0, 30.0, 20.0));
}

void tst_GLCanvasPicture::markerWithoutDirectionHasNeitherArrowNorCone()
{
    GLCanvas canvas;
    canvas.setBody({{-50.0, 30.0, 0.0}, {50.0, -30.0, 0.0}},
                   {{0.0, 0.0, 0.0, 60.0}, {0.0, 0.0, 0.0, 150.0}});
    QVERIFY(showCanvas(canvas));
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    for (const auto &position : {bsVector(-50.0, 30.0, 0.0), bsVector(50.0, -30.0, 0.0)}) {
        QCOMPARE(countPixels(image, projection.point(position), projection.pixels(11.5, 300.0),
                             projection.pixels(25.0, 300.0), isLit),
                 0);
    }
}

void tst_GLCanvasPicture::emissionsCanBeSwitchedOff()
{
    GLCanvas canvas;
    canvas.setBody(emitterAndOther(), {{1.0, 0.0, 0.0, 30.0}});
    QVERIFY(showCanvas(canvas));
    const auto tip = [&] {
        const QImage image = picture(canvas);
        return colourAt(image, Projection(image.size()).point(31.3, 31.2, 0.0));
    };
    QVERIFY(isLit(tip()));
    canvas.showMarkerEmissions(false);
    QVERIFY(isBlack(tip()));
    canvas.showMarkerEmissions(true);
    QVERIFY(isLit(tip()));
}

void tst_GLCanvasPicture::setAllEmissionsShowsAtOnce()
{
    GLCanvas canvas;
    canvas.setBody(emitterAndOther(), {});
    QVERIFY(showCanvas(canvas));
    canvas.setAllEmissions(-1.0, 0.0, 0.0, 30.0);
    const QImage image = picture(canvas);
    const Projection projection(image.size());
    VERIFY_LIT(image, projection.point(-31.3, 31.2, 0.0));
    VERIFY_LIT(image, projection.point(-31.3, -28.8, 0.0));
    VERIFY_BLACK(image, projection.point(31.3, 31.2, 0.0));
}

void tst_GLCanvasPicture::resizedViewKeepsItsProportions_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("wide") << QSize(900, 300);
    QTest::newRow("tall") << QSize(400, 800);
    QTest::newRow("square") << QSize(500, 500);
    QTest::newRow("odd") << QSize(501, 333);
}

void tst_GLCanvasPicture::resizedViewKeepsItsProportions()
{
    QFETCH(QSize, size);
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.showColoredMarkers(true);
    QVERIFY(showCanvas(canvas));
    canvas.resize(size);
    QTRY_COMPARE(canvas.size(), size);
    const Eigen::Affine3d view = cameraAt(-500.0);
    setCamera(canvas, view);
    const std::array<QColor, 6> colours = {QColor(255, 0, 0),   QColor(0, 255, 0),
                                           QColor(0, 0, 255),   QColor(255, 255, 0),
                                           QColor(255, 0, 255), QColor(0, 255, 255)};
    // The window manager grants the new size some time after the widget has it; until then the
    // window system has no pixels beyond the old one.
    QImage image;
    const auto allMarkersAreThere = [&] {
        image = picture(canvas);
        Projection seen(image.size());
        seen.view = view;
        for (std::size_t i = 0; i < colours.size(); ++i) {
            if (!isNear(colourAt(image, seen.point(sixMarkers()[int(i)])), colours[i]))
                return false;
        }
        return true;
    };
    for (int attempt = 0; attempt < 100 && !allMarkersAreThere(); ++attempt)
        QTest::qWait(20);
    Projection projection(image.size());
    projection.view = view;
    for (int i = 0; i < 6; ++i)
        VERIFY_COLOUR(image, projection.point(sixMarkers()[i]), colours[i]);
}

void tst_GLCanvasPicture::heightZeroCountsAsOne()
{
    OpenCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.makeCurrent();
    canvas.resizeGL(320, 0);
    std::array<GLdouble, 16> projection{};
    glGetDoublev(GL_PROJECTION_MATRIX, projection.data());
    const double cotangent = 1.0 / std::tan(22.5 * kDegree);
    QVERIFY(std::fabs(projection[0] - cotangent / 320.0) < 1e-6);
    QVERIFY(std::fabs(projection[5] - cotangent) < 1e-6);
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    QCOMPARE(viewport[2], 320);
    QCOMPARE(viewport[3], 1);
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
}

void tst_GLCanvasPicture::viewFillsItsWidgetOnTheScreen()
{
    // As in the dialog: a child of a window, at a place of its own.
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins(20, 30, 20, 10);
    auto *canvas = new GLCanvas(&window);
    layout->addWidget(canvas);
    canvas->setSuspended(false);
    canvas->setBody(sixMarkers(), {});
    canvas->showXYGrid(true);
    window.resize(440, 340);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    const QSize size = canvas->size();
    const auto isYellow = [](const QColor &colour) { return colour == QColor(255, 255, 0); };
    const auto linesAtEveryEdge = [&] {
        const QImage screen =
            QGuiApplication::primaryScreen()->grabWindow(window.winId()).toImage();
        const double ratio = screen.width() / double(window.width());
        const QPointF topLeft = QPointF(canvas->mapTo(&window, QPoint(0, 0))) * ratio;
        const QSizeF device = QSizeF(size) * ratio;
        // Lines of the grid that leave the picture within 12 pixels of each corner's edges.
        Projection projection(device.toSize());
        int found = 0;
        const double millimetre = projection.pixels(1.0, 300.0);
        const int columns = static_cast<int>(device.width() / 2.0 / millimetre / 25.0);
        const int rows = static_cast<int>(device.height() / 2.0 / millimetre / 25.0);
        for (const int side : {-1, 1}) {
            for (const double edge : {3.0, device.height() - 4.0}) {
                const QPointF at(projection.point(side * columns * 25.0, 0.0, 0.0).x(), edge);
                found += countPixels(screen, topLeft + at, 0.0, 2.5, isYellow) > 0 ? 1 : 0;
            }
            for (const double edge : {3.0, device.width() - 4.0}) {
                const QPointF at(edge, projection.point(0.0, side * rows * 25.0, 0.0).y());
                found += countPixels(screen, topLeft + at, 0.0, 2.5, isYellow) > 0 ? 1 : 0;
            }
        }
        return found;
    };
    QTRY_COMPARE(linesAtEveryEdge(), 8);
    const double ratio = canvas->devicePixelRatioF();
    QCOMPARE(canvas->grabFrameBuffer().width(), static_cast<int>(size.width() * ratio));
}

void tst_GLCanvasPicture::paintingLeavesTheStacksAndNoError()
{
    GLCanvas canvas;
    QVector<Emission> emissions;
    for (int i = 0; i < 6; ++i)
        emissions.append({0.0, i - 3.0, 1.0 - i, i * 36.0});
    canvas.setBody(sixMarkers(), emissions);
    canvas.showCOG(true);
    canvas.showLongAxes(true);
    canvas.showXYGrid(true);
    canvas.showYZGrid(true);
    canvas.showXZGrid(true);
    canvas.setRoomAxesVisible(true);
    QVERIFY(showCanvas(canvas));
    canvas.setOnline(true);
    canvas.select(canvas.body().markers()[0]);
    canvas.select(canvas.body().markers()[1]);
    canvas.introduceLine();
    const auto checkState = [&] {
        canvas.makeCurrent();
        QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
        GLint depth = 0;
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &depth);
        QCOMPARE(depth, 1);
        glGetIntegerv(GL_PROJECTION_STACK_DEPTH, &depth);
        QCOMPARE(depth, 1);
        GLint mode = 0;
        glGetIntegerv(GL_MATRIX_MODE, &mode);
        QCOMPARE(mode, GL_MODELVIEW);
        glGetIntegerv(GL_RENDER_MODE, &mode);
        QCOMPARE(mode, GL_RENDER);
    };
    for (int i = 0; i < 50; ++i) {
        canvas.updateGL();
        QVERIFY(canvas.pick(QPoint(5, 5)) == nullptr);
        checkState();
        if (QTest::currentTestFailed())
            return;
    }
    canvas.setSuspended(true);
    canvas.updateGL();
    checkState();
}

void tst_GLCanvasPicture::everyChangeAsksForOneQueuedRepaint_data()
{
    using Change = std::function<void(GLCanvas &)>;
    QTest::addColumn<Change>("change");
    const auto row = [](const char *name, const Change &change) { QTest::newRow(name) << change; };
    row("setBody", [](GLCanvas &c) { c.setBody(twentyMarkers(), {}); });
    row("exchangeMarkers", [](GLCanvas &c) { c.exchangeMarkers(twentyMarkers(), {}); });
    row("setBody without markers", [](GLCanvas &c) { c.setBody({}, {}); });
    row("clearBody", [](GLCanvas &c) { c.clearBody(); });
    row("setAllEmissions", [](GLCanvas &c) { c.setAllEmissions(0.0, 0.0, 1.0, 10.0); });
    row("setSuspended", [](GLCanvas &c) { c.setSuspended(true); });
    row("setOnline", [](GLCanvas &c) { c.setOnline(true); });
    row("setTrackedPose", [](GLCanvas &c) {
        c.setOnline(true);
        c.setTrackedPose(bsMatrix::identity(), bsVector(), true);
    });
    row("setRoomAxesVisible", [](GLCanvas &c) { c.setRoomAxesVisible(true); });
    row("setView", [](GLCanvas &c) { c.setView(bsPose()); });
    row("select", [](GLCanvas &c) { c.select(c.body().markers()[3]); });
    row("rotateView", [](GLCanvas &c) { c.rotateView(1.0, 2.0, 3.0); });
    row("translateView", [](GLCanvas &c) { c.translateView(1.0, 2.0, 3.0); });
    row("setViewOrientation", [](GLCanvas &c) { c.setViewOrientation(bsMatrix::identity()); });
    row("setViewPosition", [](GLCanvas &c) { c.setViewPosition(bsVector(0.0, 0.0, -99.0)); });
    row("rotateViewBegin", [](GLCanvas &c) { c.rotateViewBegin(); });
    row("rotateViewEnd", [](GLCanvas &c) { c.rotateViewEnd(); });
    row("rotateBody by angles", [](GLCanvas &c) { c.rotateBody(1.0, 2.0, 3.0); });
    row("rotateBody by matrix", [](GLCanvas &c) { c.rotateBody(bsMatrix::identity()); });
    row("translateBody", [](GLCanvas &c) { c.translateBody(1.0, 2.0, 3.0); });
    row("setBodyOrientation", [](GLCanvas &c) { c.setBodyOrientation(bsMatrix::identity()); });
    row("setBodyPosition", [](GLCanvas &c) { c.setBodyPosition(bsVector(1.0, 2.0, 3.0)); });
    row("saveCurrentBody, nothing pending", [](GLCanvas &c) { c.saveCurrentBody(); });
    row("undoBody", [](GLCanvas &c) { c.undoBody(); });
    row("redoBody", [](GLCanvas &c) { c.redoBody(); });
    row("undo", [](GLCanvas &c) { c.undo(); });
    row("redo", [](GLCanvas &c) { c.redo(); });
    row("setOriginToMarker", [](GLCanvas &c) {
        c.select(nullptr);
        c.select(c.body().markers()[2]);
        c.setOriginToMarker();
    });
    row("setAxisToMarkers", [](GLCanvas &c) { c.setAxisToMarkers(X, Z); });
    row("set_origin_to_cog", [](GLCanvas &c) { c.set_origin_to_cog(); });
    row("dueToBody", [](GLCanvas &c) { c.dueToBody(); });
    row("dueToRoomOriginInCog", [](GLCanvas &c) { c.dueToRoomOriginInCog(); });
    row("dueToRoomOriginInMarker", [](GLCanvas &c) { c.dueToRoomOriginInMarker(); });
    row("introduceLine", [](GLCanvas &c) { c.introduceLine(); });
    row("deleteLine", [](GLCanvas &c) {
        c.introduceLine();
        c.select(c.body().lines()[0]);
        c.deleteLine();
    });
    row("setParallelAxes", [](GLCanvas &c) {
        c.setOnline(true);
        c.setParallelAxes();
    });
    row("showSmallMarkers", [](GLCanvas &c) { c.showSmallMarkers(true); });
    row("showColoredMarkers", [](GLCanvas &c) { c.showColoredMarkers(true); });
    row("showMarkerEmissions", [](GLCanvas &c) { c.showMarkerEmissions(false); });
    row("showLongAxes", [](GLCanvas &c) { c.showLongAxes(true); });
    row("setLongAxesFactor", [](GLCanvas &c) { c.setLongAxesFactor(2.0); });
    row("showCOG", [](GLCanvas &c) { c.showCOG(true); });
    row("showXYGrid", [](GLCanvas &c) { c.showXYGrid(true); });
    row("showYZGrid", [](GLCanvas &c) { c.showYZGrid(true); });
    row("showXZGrid", [](GLCanvas &c) { c.showXZGrid(true); });
    row("setXYGridColor", [](GLCanvas &c) {
        QColor colour(Qt::red);
        c.setXYGridColor(colour);
    });
    row("setYZGridColor", [](GLCanvas &c) {
        QColor colour(Qt::red);
        c.setYZGridColor(colour);
    });
    row("setXZGridColor", [](GLCanvas &c) {
        QColor colour(Qt::red);
        c.setXZGridColor(colour);
    });
    row("click", [](GLCanvas &c) {
        sendMouse(c, QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::NoModifier);
    });
    row("Ctrl and wheel", [](GLCanvas &c) {
        const QPointF place(100.0, 100.0);
        QWheelEvent event(place, place, QPoint(), QPoint(0, 120), Qt::NoButton, Qt::ControlModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&c, &event);
    });
    row("release after a drag", [](GLCanvas &c) {
        sendMouse(c, QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::ControlModifier);
        sendMouse(c, QEvent::MouseButtonRelease, QPoint(5, 5), Qt::LeftButton, Qt::NoModifier);
    });
}

void tst_GLCanvasPicture::everyChangeAsksForOneQueuedRepaint()
{
    QFETCH(std::function<void(GLCanvas &)>, change);
    CountedCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.select(canvas.body().markers()[0]);
    canvas.select(canvas.body().markers()[1]);
    QVERIFY(showCanvas(canvas));
    QCoreApplication::processEvents();
    canvas.frames = 0;
    change(canvas);
    QCOMPARE(canvas.frames, 0);
    QTRY_COMPARE(canvas.frames, 1);
    QCoreApplication::processEvents();
    QCOMPARE(canvas.frames, 1);
}

void tst_GLCanvasPicture::trackedPoseRepaintsOnlyWhenItChanged()
{
    CountedCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    canvas.setOnline(true);
    QTRY_VERIFY(canvas.frames > 0);
    QCoreApplication::processEvents();
    const bsMatrix rotation = fromAffine(turn(30.0, Eigen::Vector3d::UnitX()));
    const auto framesAfter = [&](const bsMatrix &matrix, const bsVector &position, bool tracked) {
        canvas.frames = 0;
        canvas.setTrackedPose(matrix, position, tracked);
        const int direct = canvas.frames;
        QCoreApplication::processEvents();
        return direct == 0 ? canvas.frames : -1;
    };
    QCOMPARE(framesAfter(rotation, bsVector(1, 2, 3), true), 1);
    QCOMPARE(framesAfter(rotation, bsVector(1, 2, 3), true), 0);
    QCOMPARE(framesAfter(rotation, bsVector(7, 2, 3), true), 1);
    QCOMPARE(framesAfter(rotation, bsVector(7, 8, 3), true), 1);
    QCOMPARE(framesAfter(rotation, bsVector(7, 8, 4), true), 1);
    QCOMPARE(framesAfter(rotation, bsVector(1, 2, 4), true), 1);
    QCOMPARE(framesAfter(rotation, bsVector(1, 2, 4), false), 1);
    // What an untracked body is said to do is not followed.
    QCOMPARE(framesAfter(bsMatrix::identity(), bsVector(), false), 0);
    QCOMPARE(framesAfter(rotation, bsVector(1, 2, 4), true), 1);
    QCOMPARE(framesAfter(bsMatrix::identity(), bsVector(1, 2, 4), true), 1);
    QCOMPARE(framesAfter(bsMatrix::identity(), bsVector(1, 2, 4), true), 0);
}

void tst_GLCanvasPicture::transformViewAndStoringTheViewDoNotRepaint()
{
    CountedCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    QVERIFY(showCanvas(canvas));
    QCoreApplication::processEvents();
    canvas.frames = 0;
    canvas.transformView(fromAffine(turn(10.0, Eigen::Vector3d::UnitX())));
    canvas.saveCurrentView();
    QCoreApplication::processEvents();
    QCOMPARE(canvas.frames, 0);
    canvas.showCOG(true);
    QTRY_COMPARE(canvas.frames, 1);
}

void tst_GLCanvasPicture::deletedLineDisappears()
{
    GLCanvas canvas;
    canvas.setBody(kLineBody, {});
    QVERIFY(showCanvas(canvas));
    canvas.translateBody(-80.0, 80.0, 0.0);
    canvas.select(canvas.body().markers()[0]);
    canvas.select(canvas.body().markers()[1]);
    const auto colour = [&] {
        const QImage image = picture(canvas);
        Projection projection(image.size());
        projection.pivot = centre(kLineBody);
        return colourAt(image, projection.point(30.0, -40.0, 0.0));
    };
    QVERIFY(isBlack(colour()));
    canvas.introduceLine();
    QVERIFY(isLit(colour()));
    canvas.select(canvas.body().lines()[0]);
    canvas.deleteLine();
    QVERIFY(isBlack(colour()));
}

QUOREL2_TEST_MAIN(tst_GLCanvasPicture)
#include "tst_GLCanvasPicture.moc"
