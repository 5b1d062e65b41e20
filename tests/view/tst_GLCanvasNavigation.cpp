#include "CanvasFixture.h"

#include <tests/support/TestMain.h>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QTimer>
#include <QWheelEvent>
#include <QtTest>

#include <cmath>

namespace {

Eigen::Matrix3d turn(double xDeg, double yDeg, double zDeg)
{
    const double radians = M_PI / 180.0;
    return (Eigen::AngleAxisd(xDeg * radians, Eigen::Vector3d::UnitX()) *
            Eigen::AngleAxisd(yDeg * radians, Eigen::Vector3d::UnitY()) *
            Eigen::AngleAxisd(zDeg * radians, Eigen::Vector3d::UnitZ()))
        .toRotationMatrix();
}

Eigen::Affine3d pose(const Eigen::Matrix3d &rotation, double x, double y, double z)
{
    return Eigen::Translation3d(x, y, z) * Eigen::Affine3d(rotation);
}

const Eigen::Matrix3d kStraight = Eigen::Matrix3d::Identity();

/// A canvas with a body, wired as its window wires it: each store request makes the view the
/// reference of the next edit.
class NavigatedCanvas : public CountedCanvas {
public:
    explicit NavigatedCanvas(QWidget *parent = nullptr)
        : CountedCanvas(parent)
    {
        setBody(sixMarkers(), {});
        connect(this, &GLCanvas::storeViewRequest, this, &GLCanvas::saveCurrentView);
        connect(this, &GLCanvas::storeViewRequest, this, [this] { ++stores; });
    }

    bool isViewAt(const Eigen::Affine3d &wanted) const
    {
        const Eigen::Matrix4d difference = affine(camera().matrix()).matrix() - wanted.matrix();
        return difference.cwiseAbs().maxCoeff() < 1e-9;
    }

    bool isSavedViewAt(const Eigen::Affine3d &wanted) const
    {
        const Eigen::Matrix4d difference =
            affine(camera().savedView().toMatrix()).matrix() - wanted.matrix();
        return difference.cwiseAbs().maxCoeff() < 1e-9;
    }

    void press(Qt::MouseButton button, Qt::KeyboardModifiers modifiers, const QPoint &point)
    {
        QTest::mousePress(windowHandle(), button, modifiers, point);
    }
    void move(const QPoint &point) { QTest::mouseMove(windowHandle(), point); }
    void release(Qt::MouseButton button, const QPoint &point)
    {
        QTest::mouseRelease(windowHandle(), button, Qt::NoModifier, point);
    }
    /// @return whether the event was used
    bool turnWheel(int delta, Qt::KeyboardModifiers modifiers)
    {
        const QPointF place(100.0, 100.0);
        QWheelEvent event(place, mapToGlobal(place.toPoint()), QPoint(), QPoint(0, delta),
                          Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(this, &event);
        return event.isAccepted();
    }

    int stores = 0;
};

/// A dialog with a canvas in it, shown. Like every dialog with a help text it answers a
/// context-menu event that nobody below takes by a popup of its own.
class DialogWithCanvas : public QDialog {
public:
    DialogWithCanvas()
        : canvas(new NavigatedCanvas(this))
    {
        setWhatsThis(QStringLiteral("help"));
        canvas->setGeometry(33, 57, 501, 403);
        canvas->setSuspended(false);
        resize(600, 500);
    }

    bool show()
    {
        QDialog::show();
        return QTest::qWaitForWindowExposed(this) &&
               QTest::qWaitFor([this] { return canvas->frames > 0; });
    }

    NavigatedCanvas *const canvas; ///< a child
};

/// Writes down each menu that pops up, and closes it.
class PopupLog : public QObject {
public:
    PopupLog() { qApp->installEventFilter(this); }
    QVector<const QObject *> popups;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *menu = qobject_cast<QMenu *>(watched);
        if (menu && event->type() == QEvent::Show) {
            popups.append(menu);
            QTimer::singleShot(0, menu, &QMenu::close);
        }
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

Q_DECLARE_METATYPE(Qt::MouseButton)
Q_DECLARE_METATYPE(Qt::KeyboardModifier)
Q_DECLARE_METATYPE(Eigen::Affine3d)

class tst_GLCanvasNavigation : public QObject {
    Q_OBJECT

private slots:
    void plainClickDoesNotMoveTheView();
    void plainDragDoesNotMoveTheView();
    void ctrlLeftDragPans();
    void panIsOneUnitPerPixelWhateverTheOrientation();
    void shiftLeftDragZooms();
    void ctrlAndShiftTogetherPan();
    void ctrlRightDragRotates();
    void rotateStepsAddUp();
    void everyStepOfADragIsStored();
    void dragStartsWhereTheButtonWentDown();
    void anyReleaseEndsTheDrag();
    void releaseWithoutDragStoresNothing();
    void aDragWhoseReleaseWentElsewhereMovesNothingAfterwards();
    void releasedMouseMovesNothing();
    void moveAfterAPlainPressStartsFromThere();
    void dragWithoutBodyChangesNothing();
    void dragOnASuspendedCanvasChangesNothing();
    void oneRepaintForEachMove_data();
    void oneRepaintForEachMove();
    void ctrlWheelMovesTheCamera_data();
    void ctrlWheelMovesTheCamera();
    void wheelWithoutCtrlIsLeftToOthers();
    void wheelStepsAreSmallWhileSuspended();
    void wheelMovesFromTheSavedView();
    void wheelsOfTheViewActFromTheSavedView();
    void viewWheelGestureIsADrag();
    void setViewOrientationAndPositionStore();
    void transformViewMultipliesFromTheRight();
    void onlineAndOfflineHaveTheirOwnCamera();
    void sameModeAgainKeepsTheCamera();
    void endOfTheSuspensionResetsTheParkedViews();
    void rightClickOpensTheMenuWhereItWasPressed();
    void rightClickWithCtrlOpensNoMenu();
    void dragInsideADialogOpensNoPopup_data();
    void dragInsideADialogOpensNoPopup();
    void rightClickInsideADialogOpensOnlyTheCanvassMenu();
    void rightClickWithoutMenuIsSafe();
    void deletedMenuIsForgotten();
    void menuEndsADrag();
    void menuMayBeDeletedByTheEndOfTheDrag();
    void canvasMayBeDeletedInsideItsMenu();
    void canvasMayBeDeletedInsideAStoreRequest_data();
    void canvasMayBeDeletedInsideAStoreRequest();
    void focusPolicyIsStrong();
};

void tst_GLCanvasNavigation::plainClickDoesNotMoveTheView()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 300));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
    QCOMPARE(canvas.stores, 0);
    QVERIFY(!canvas.isDragging());
}

void tst_GLCanvasNavigation::plainDragDoesNotMoveTheView()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::MiddleButton, Qt::RightButton}) {
        canvas.press(button, Qt::NoModifier, QPoint(200, 300));
        canvas.move(QPoint(230, 340));
        canvas.release(button, QPoint(230, 340));
    }
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
    QCOMPARE(canvas.stores, 0);
}

void tst_GLCanvasNavigation::ctrlLeftDragPans()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(200, 300));
    QVERIFY(canvas.isDragging());
    canvas.move(QPoint(210, 295));
    QVERIFY(canvas.isViewAt(pose(kStraight, 10, 5, -300)));
    canvas.release(Qt::LeftButton, QPoint(210, 295));
    QVERIFY(canvas.isViewAt(pose(kStraight, 10, 5, -300)));
    QVERIFY(canvas.isSavedViewAt(pose(kStraight, 10, 5, -300)));
    QVERIFY(!canvas.isDragging());
}

void tst_GLCanvasNavigation::panIsOneUnitPerPixelWhateverTheOrientation()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    const Eigen::Matrix3d rotation = turn(40, 50, 60);
    canvas.setViewOrientation(fromAffine(pose(rotation, 0, 0, 0)));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(10, 10));
    for (int i = 1; i <= 20; ++i)
        canvas.move(QPoint(10 + i, 10 + 2 * i));
    canvas.release(Qt::LeftButton, QPoint(30, 50));
    QVERIFY(canvas.isViewAt(pose(rotation, 20, -40, -300)));
}

void tst_GLCanvasNavigation::shiftLeftDragZooms()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ShiftModifier, QPoint(200, 300));
    QVERIFY(canvas.isDragging());
    canvas.move(QPoint(250, 320));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -280)));
    canvas.move(QPoint(190, 290));
    canvas.release(Qt::LeftButton, QPoint(190, 290));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -310)));
}

void tst_GLCanvasNavigation::ctrlAndShiftTogetherPan()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier | Qt::ShiftModifier, QPoint(200, 300));
    canvas.move(QPoint(203, 304));
    canvas.release(Qt::LeftButton, QPoint(203, 304));
    QVERIFY(canvas.isViewAt(pose(kStraight, 3, -4, -300)));
}

void tst_GLCanvasNavigation::ctrlRightDragRotates()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::RightButton, Qt::ControlModifier, QPoint(200, 200));
    QVERIFY(canvas.isDragging());
    // One degree for each pixel: downward about x, to the right about y.
    canvas.move(QPoint(230, 220));
    QVERIFY(canvas.isViewAt(pose(turn(20, 30, 0), 0, 0, -300)));
    canvas.release(Qt::RightButton, QPoint(230, 220));
    QVERIFY(canvas.isViewAt(pose(turn(20, 30, 0), 0, 0, -300)));
    QVERIFY(!canvas.isDragging());
}

void tst_GLCanvasNavigation::rotateStepsAddUp()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::RightButton, Qt::ControlModifier, QPoint(200, 200));
    Eigen::Matrix3d wanted = kStraight;
    QPoint last(200, 200);
    for (const QPoint &point : {QPoint(215, 200), QPoint(215, 190), QPoint(100, 111)}) {
        canvas.move(point);
        wanted = turn(point.y() - last.y(), point.x() - last.x(), 0) * wanted;
        last = point;
        QVERIFY(canvas.isViewAt(pose(wanted, 0, 0, -300)));
    }
    canvas.release(Qt::RightButton, last);
}

void tst_GLCanvasNavigation::everyStepOfADragIsStored()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    SignalLog log(canvas);
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(200, 200));
    QCOMPARE(canvas.stores, 0);
    canvas.move(QPoint(201, 200));
    QCOMPARE(canvas.stores, 1);
    QVERIFY(canvas.isSavedViewAt(pose(kStraight, 1, 0, -300)));
    canvas.move(QPoint(203, 200));
    QCOMPARE(canvas.stores, 2);
    QVERIFY(canvas.isSavedViewAt(pose(kStraight, 3, 0, -300)));
    canvas.release(Qt::LeftButton, QPoint(203, 200));
    QCOMPARE(canvas.stores, 3);
    QCOMPARE(log.take(),
             QStringList({QStringLiteral("storeViewRequest"), QStringLiteral("storeViewRequest"),
                          QStringLiteral("storeViewRequest")}));
}

void tst_GLCanvasNavigation::dragStartsWhereTheButtonWentDown()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(50, 50));
    canvas.release(Qt::LeftButton, QPoint(50, 50));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(300, 300));
    canvas.move(QPoint(301, 300));
    canvas.release(Qt::LeftButton, QPoint(301, 300));
    QVERIFY(canvas.isViewAt(pose(kStraight, 1, 0, -300)));
}

void tst_GLCanvasNavigation::anyReleaseEndsTheDrag()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(50, 50));
    canvas.release(Qt::MiddleButton, QPoint(50, 50));
    QVERIFY(!canvas.isDragging());
    QCOMPARE(canvas.stores, 1);
}

void tst_GLCanvasNavigation::releaseWithoutDragStoresNothing()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    canvas.release(Qt::LeftButton, QPoint(50, 50));
    canvas.press(Qt::MiddleButton, Qt::ControlModifier, QPoint(50, 50));
    QVERIFY(!canvas.isDragging());
    canvas.release(Qt::MiddleButton, QPoint(50, 50));
    QCOMPARE(canvas.stores, 0);
}

void tst_GLCanvasNavigation::aDragWhoseReleaseWentElsewhereMovesNothingAfterwards()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(50, 50));
    QVERIFY(canvas.isDragging());
    // Another window takes the focus, and with it the release.
    QEvent deactivate(QEvent::WindowDeactivate);
    QCoreApplication::sendEvent(&canvas, &deactivate);
    QVERIFY(!canvas.isDragging());
    QCOMPARE(canvas.stores, 1);

    QMouseEvent press(QEvent::MouseButtonPress, QPointF(50, 50), Qt::LeftButton, Qt::LeftButton,
                      Qt::ShiftModifier);
    QCoreApplication::sendEvent(&canvas, &press);
    QVERIFY(canvas.isDragging());
    const Eigen::Affine3d before = affine(canvas.camera().matrix());
    QMouseEvent plainPress(QEvent::MouseButtonPress, QPointF(60, 60), Qt::LeftButton,
                           Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&canvas, &plainPress);
    QVERIFY(!canvas.isDragging());
    QMouseEvent move(QEvent::MouseMove, QPointF(90, 20), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(&canvas, &move);
    QVERIFY(canvas.isViewAt(before));

    // What the view's wheels began is theirs to end.
    canvas.rotateViewBegin();
    QCoreApplication::sendEvent(&canvas, &deactivate);
    QVERIFY(canvas.isDragging());
    canvas.rotateViewEnd();
}

void tst_GLCanvasNavigation::releasedMouseMovesNothing()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(50, 50));
    canvas.release(Qt::LeftButton, QPoint(50, 50));
    canvas.move(QPoint(150, 150));
    canvas.press(Qt::LeftButton, Qt::NoModifier, QPoint(150, 150));
    canvas.move(QPoint(250, 150));
    canvas.release(Qt::LeftButton, QPoint(250, 150));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
    QCOMPARE(canvas.stores, 1);
}

void tst_GLCanvasNavigation::moveAfterAPlainPressStartsFromThere()
{
    // Positions are followed without a drag too.
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    canvas.move(QPoint(150, 90));
    canvas.rotateViewBegin();
    canvas.move(QPoint(151, 92));
    QVERIFY(canvas.isViewAt(pose(turn(2, 1, 0), 0, 0, -300)));
    canvas.release(Qt::LeftButton, QPoint(151, 92));
}

void tst_GLCanvasNavigation::dragWithoutBodyChangesNothing()
{
    NavigatedCanvas canvas;
    canvas.clearBody();
    QVERIFY(showCanvas(canvas));
    const auto drag = [&](Qt::MouseButton button, Qt::KeyboardModifier modifier) {
        canvas.press(button, modifier, QPoint(50, 50));
        canvas.move(QPoint(80, 90));
        QCOMPARE(canvas.stores, 0);
        canvas.release(button, QPoint(80, 90));
        QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
        canvas.stores = 0;
    };
    drag(Qt::LeftButton, Qt::ControlModifier);
    drag(Qt::LeftButton, Qt::ShiftModifier);
    drag(Qt::RightButton, Qt::ControlModifier);
    // A body that arrives during the drag is moved from where the mouse is then.
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(50, 50));
    canvas.move(QPoint(80, 90));
    canvas.setBody(sixMarkers(), {});
    canvas.move(QPoint(81, 90));
    QVERIFY(canvas.isViewAt(pose(kStraight, 1, 0, -300)));
    canvas.release(Qt::LeftButton, QPoint(81, 90));
}

void tst_GLCanvasNavigation::dragOnASuspendedCanvasChangesNothing()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.setSuspended(true);
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(50, 50));
    canvas.move(QPoint(80, 90));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
    QCOMPARE(canvas.stores, 0);
    canvas.release(Qt::LeftButton, QPoint(80, 90));
}

void tst_GLCanvasNavigation::oneRepaintForEachMove_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifier>("modifier");
    QTest::newRow("pan") << Qt::LeftButton << Qt::ControlModifier;
    QTest::newRow("zoom") << Qt::LeftButton << Qt::ShiftModifier;
    QTest::newRow("rotate") << Qt::RightButton << Qt::ControlModifier;
}

void tst_GLCanvasNavigation::oneRepaintForEachMove()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(Qt::KeyboardModifier, modifier);
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(button, modifier, QPoint(50, 50));
    QCoreApplication::processEvents();
    const auto moveTo = [&](const QPoint &point) {
        QMouseEvent event(QEvent::MouseMove, point, Qt::NoButton, button, modifier);
        QCoreApplication::sendEvent(&canvas, &event);
    };
    for (int i = 1; i <= 5; ++i) {
        const Eigen::Matrix4d before = affine(canvas.camera().matrix()).matrix();
        canvas.frames = 0;
        moveTo(QPoint(50 + 3 * i, 50 + i));
        QVERIFY(affine(canvas.camera().matrix()).matrix() != before);
        QCOMPARE(canvas.frames, 0);
        QTRY_COMPARE(canvas.frames, 1);
        QCoreApplication::processEvents();
        QCOMPARE(canvas.frames, 1);
    }
    // Moves that arrive together are drawn once.
    canvas.frames = 0;
    for (int i = 1; i <= 50; ++i)
        moveTo(QPoint(65 + 3 * i, 55 + i));
    QCOMPARE(canvas.frames, 0);
    QTRY_COMPARE(canvas.frames, 1);
    QCoreApplication::processEvents();
    QCOMPARE(canvas.frames, 1);
    canvas.frames = 0;
    canvas.release(button, QPoint(200, 50));
    QCoreApplication::processEvents();
    QCOMPARE(canvas.frames, 1);
}

void tst_GLCanvasNavigation::ctrlWheelMovesTheCamera_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<double>("z");
    QTest::newRow("one notch forward") << 120 << -297.0;
    QTest::newRow("one notch back") << -120 << -303.0;
    QTest::newRow("two notches back") << -240 << -306.0;
    QTest::newRow("half a notch") << 60 << -300.0;
    QTest::newRow("half a notch back") << -119 << -300.0;
    QTest::newRow("one and a half") << 180 << -297.0;
    QTest::newRow("one and a half back") << -180 << -303.0;
    QTest::newRow("nothing") << 0 << -300.0;
}

void tst_GLCanvasNavigation::ctrlWheelMovesTheCamera()
{
    QFETCH(int, delta);
    QFETCH(double, z);
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    SignalLog log(canvas);
    const bool used = canvas.turnWheel(delta, Qt::ControlModifier);
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, z)));
    QVERIFY(canvas.isSavedViewAt(pose(kStraight, 0, 0, z)));
    QCOMPARE(used, z != -300.0);
    QCOMPARE(log.take().count(QStringLiteral("storeViewRequest")), used ? 1 : 0);
    canvas.turnWheel(delta, Qt::ControlModifier);
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300.0 + 2.0 * (z + 300.0))));
}

void tst_GLCanvasNavigation::wheelWithoutCtrlIsLeftToOthers()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    for (const Qt::KeyboardModifier modifier : {Qt::NoModifier, Qt::ShiftModifier}) {
        QVERIFY(!canvas.turnWheel(120, modifier));
        QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
        QCOMPARE(canvas.stores, 0);
    }
}

void tst_GLCanvasNavigation::wheelStepsAreSmallWhileSuspended()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.setSuspended(true);
    QVERIFY(canvas.turnWheel(240, Qt::ControlModifier));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -298)));
    QCOMPARE(canvas.stores, 1);
}

void tst_GLCanvasNavigation::wheelMovesFromTheSavedView()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.translateView(50.0, 60.0, 70.0);
    QVERIFY(canvas.turnWheel(120, Qt::ControlModifier));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -297)));
}

void tst_GLCanvasNavigation::wheelsOfTheViewActFromTheSavedView()
{
    NavigatedCanvas canvas;
    canvas.translateView(5.0, 0.0, 0.0);
    canvas.translateView(6.0, 1.0, 0.0);
    QVERIFY(canvas.isViewAt(pose(kStraight, 6, 1, -300)));
    canvas.rotateView(10.0, 0.0, 0.0);
    canvas.rotateView(20.0, 30.0, 40.0);
    QVERIFY(canvas.isViewAt(pose(turn(20, 30, 40), 6, 1, -300)));
    QCOMPARE(canvas.stores, 0);
    emit canvas.storeViewRequest();
    // The wheels return to zero.
    canvas.rotateView(0.0, 0.0, 0.0);
    canvas.translateView(0.0, 0.0, 0.0);
    QVERIFY(canvas.isViewAt(pose(turn(20, 30, 40), 6, 1, -300)));
    canvas.rotateView(90.0, 0.0, 0.0);
    QVERIFY(canvas.isViewAt(pose(turn(90, 0, 0) * turn(20, 30, 40), 6, 1, -300)));
}

void tst_GLCanvasNavigation::viewWheelGestureIsADrag()
{
    NavigatedCanvas canvas;
    SignalLog log(canvas);
    canvas.rotateViewBegin();
    QVERIFY(canvas.isDragging());
    canvas.rotateView(1.0, 2.0, 3.0);
    QVERIFY(canvas.isDragging());
    canvas.rotateViewEnd();
    QVERIFY(!canvas.isDragging());
    QCOMPARE(log.take(), QStringList());
}

void tst_GLCanvasNavigation::setViewOrientationAndPositionStore()
{
    NavigatedCanvas canvas;
    canvas.setViewOrientation(fromAffine(pose(turn(10, 20, 30), 0, 0, 0)));
    QVERIFY(canvas.isSavedViewAt(pose(turn(10, 20, 30), 0, 0, -300)));
    canvas.setViewPosition(bsVector(1.0, 2.0, -3.0));
    QVERIFY(canvas.isViewAt(pose(turn(10, 20, 30), 1, 2, -3)));
    QVERIFY(canvas.isSavedViewAt(pose(turn(10, 20, 30), 1, 2, -3)));
    const Eigen::Affine3d other = pose(turn(0, 0, 90), 0, 0, -50);
    canvas.setView(bsPose::fromMatrix(fromAffine(other), 0.0));
    QVERIFY(canvas.isViewAt(other));
    QVERIFY(canvas.isSavedViewAt(other));
    QCOMPARE(canvas.stores, 0);
}

void tst_GLCanvasNavigation::transformViewMultipliesFromTheRight()
{
    NavigatedCanvas canvas;
    const Eigen::Affine3d start = pose(turn(10, 20, 30), 1, 2, -300);
    canvas.setView(bsPose::fromMatrix(fromAffine(start), 0.0));
    const Eigen::Affine3d step = pose(turn(0, 45, 0), 7, 8, 9);
    canvas.transformView(fromAffine(step));
    QVERIFY(canvas.isViewAt(start * step));
    QVERIFY(canvas.isSavedViewAt(start * step));
}

void tst_GLCanvasNavigation::onlineAndOfflineHaveTheirOwnCamera()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(200, 200));
    canvas.move(QPoint(230, 210));
    canvas.release(Qt::LeftButton, QPoint(230, 210));
    const Eigen::Affine3d offline = pose(kStraight, 30, -10, -300);
    QVERIFY(canvas.isViewAt(offline));

    canvas.setOnline(true);
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
    canvas.press(Qt::RightButton, Qt::ControlModifier, QPoint(200, 200));
    canvas.move(QPoint(225, 245));
    canvas.release(Qt::RightButton, QPoint(225, 245));
    const Eigen::Affine3d online = pose(turn(45, 25, 0), 0, 0, -300);
    QVERIFY(canvas.isViewAt(online));

    canvas.setOnline(false);
    QVERIFY(canvas.isViewAt(offline));
    QVERIFY(canvas.isSavedViewAt(offline));
    canvas.setOnline(true);
    QVERIFY(canvas.isViewAt(online));
    QVERIFY(canvas.isSavedViewAt(online));
}

void tst_GLCanvasNavigation::sameModeAgainKeepsTheCamera()
{
    NavigatedCanvas canvas;
    canvas.setViewPosition(bsVector(9.0, 8.0, -7.0));
    canvas.setOnline(false);
    QVERIFY(canvas.isViewAt(pose(kStraight, 9, 8, -7)));
    canvas.setOnline(true);
    canvas.setViewPosition(bsVector(1.0, 1.0, -1.0));
    canvas.setOnline(true);
    QVERIFY(canvas.isViewAt(pose(kStraight, 1, 1, -1)));
    canvas.setOnline(false);
    QVERIFY(canvas.isViewAt(pose(kStraight, 9, 8, -7)));
}

void tst_GLCanvasNavigation::endOfTheSuspensionResetsTheParkedViews()
{
    NavigatedCanvas canvas;
    canvas.setOnline(true);
    canvas.setViewPosition(bsVector(1.0, 1.0, -1.0));
    canvas.setOnline(false);
    canvas.setViewPosition(bsVector(9.0, 8.0, -7.0));
    canvas.setSuspended(true);
    canvas.setSuspended(false);
    QVERIFY(!canvas.isSuspended());
    QVERIFY(canvas.isViewAt(pose(kStraight, 9, 8, -7)));
    canvas.setOnline(true);
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
}

void tst_GLCanvasNavigation::rightClickOpensTheMenuWhereItWasPressed()
{
    NavigatedCanvas canvas;
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    canvas.setContextMenu(&menu);
    QVERIFY(showCanvas(canvas));
    QPoint place;
    connect(&menu, &QMenu::aboutToShow, this, [&] {
        QTimer::singleShot(0, &menu, [&] {
            place = menu.pos();
            menu.close();
        });
    });
    QTest::mouseClick(canvas.windowHandle(), Qt::RightButton, Qt::NoModifier, QPoint(120, 130));
    QTRY_COMPARE(place, canvas.mapToGlobal(QPoint(120, 130)));
    QVERIFY(!canvas.isDragging());
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
    QVERIFY(canvas.selection().isEmpty());
}

void tst_GLCanvasNavigation::rightClickWithCtrlOpensNoMenu()
{
    NavigatedCanvas canvas;
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    canvas.setContextMenu(&menu);
    QVERIFY(showCanvas(canvas));
    QSignalSpy shown(&menu, &QMenu::aboutToShow);
    canvas.press(Qt::RightButton, Qt::ControlModifier, QPoint(120, 130));
    canvas.release(Qt::RightButton, QPoint(120, 130));
    QCOMPARE(shown.size(), 0);
}

void tst_GLCanvasNavigation::dragInsideADialogOpensNoPopup_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifier>("modifier");
    QTest::addColumn<Eigen::Affine3d>("view");
    QTest::newRow("pan") << Qt::LeftButton << Qt::ControlModifier << pose(kStraight, 30, -20, -300);
    QTest::newRow("zoom") << Qt::LeftButton << Qt::ShiftModifier << pose(kStraight, 0, 0, -280);
    QTest::newRow("rotate") << Qt::RightButton << Qt::ControlModifier
                            << pose(turn(20, 30, 0), 0, 0, -300);
}

void tst_GLCanvasNavigation::dragInsideADialogOpensNoPopup()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(Qt::KeyboardModifier, modifier);
    QFETCH(Eigen::Affine3d, view);
    DialogWithCanvas dialog;
    QVERIFY(dialog.show());
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    dialog.canvas->setContextMenu(&menu);
    const PopupLog log;
    dialog.canvas->press(button, modifier, QPoint(100, 100));
    QVERIFY(dialog.canvas->isDragging());
    dialog.canvas->move(QPoint(130, 120));
    QVERIFY(dialog.canvas->isViewAt(view));
    dialog.canvas->release(button, QPoint(130, 120));
    QVERIFY(!dialog.canvas->isDragging());
    QVERIFY(dialog.canvas->isViewAt(view));
    QCoreApplication::processEvents();
    QCOMPARE(log.popups.size(), 0);
}

void tst_GLCanvasNavigation::rightClickInsideADialogOpensOnlyTheCanvassMenu()
{
    DialogWithCanvas dialog;
    QVERIFY(dialog.show());
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    dialog.canvas->setContextMenu(&menu);
    const PopupLog log;
    QTest::mouseClick(dialog.canvas->windowHandle(), Qt::RightButton, Qt::NoModifier,
                      QPoint(120, 130));
    QCoreApplication::processEvents();
    QCOMPARE(log.popups, QVector<const QObject *>{&menu});
    QVERIFY(dialog.canvas->isViewAt(pose(kStraight, 0, 0, -300)));
}

void tst_GLCanvasNavigation::rightClickWithoutMenuIsSafe()
{
    NavigatedCanvas canvas;
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::RightButton, Qt::NoModifier, QPoint(120, 130));
    canvas.release(Qt::RightButton, QPoint(120, 130));
    QVERIFY(!canvas.isDragging());
}

void tst_GLCanvasNavigation::deletedMenuIsForgotten()
{
    NavigatedCanvas canvas;
    auto *menu = new QMenu;
    canvas.setContextMenu(menu);
    QVERIFY(showCanvas(canvas));
    delete menu;
    canvas.press(Qt::RightButton, Qt::NoModifier, QPoint(120, 130));
    canvas.release(Qt::RightButton, QPoint(120, 130));
    QVERIFY(!canvas.isDragging());
}

void tst_GLCanvasNavigation::menuEndsADrag()
{
    NavigatedCanvas canvas;
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    canvas.setContextMenu(&menu);
    QVERIFY(showCanvas(canvas));
    bool closed = false;
    connect(&menu, &QMenu::aboutToShow, this, [&] {
        QTimer::singleShot(0, &menu, [&] {
            closed = true;
            menu.close();
        });
    });
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(100, 100));
    QVERIFY(canvas.isDragging());
    canvas.press(Qt::RightButton, Qt::NoModifier, QPoint(100, 100));
    QTRY_VERIFY(closed);
    QVERIFY(!canvas.isDragging());
    canvas.move(QPoint(150, 150));
    QVERIFY(canvas.isViewAt(pose(kStraight, 0, 0, -300)));
}

void tst_GLCanvasNavigation::canvasMayBeDeletedInsideItsMenu()
{
    for (const bool ownsMenu : {true, false}) {
        QPointer<NavigatedCanvas> canvas = new NavigatedCanvas;
        auto *menu = new QMenu(ownsMenu ? canvas.data() : nullptr);
        menu->addAction(QStringLiteral("entry"));
        canvas->setContextMenu(menu);
        QVERIFY(showCanvas(*canvas));
        connect(menu, &QMenu::aboutToShow, this, [&, menu] {
            QTimer::singleShot(0, this, [&, menu] {
                delete canvas.data();
                if (!ownsMenu)
                    menu->close();
            });
        });
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(50, 50), canvas->mapToGlobal({50, 50}),
                          Qt::RightButton, Qt::RightButton, Qt::NoModifier);
        QCoreApplication::sendEvent(canvas.data(), &press);
        QVERIFY(canvas.isNull());
        if (!ownsMenu)
            delete menu;
    }
}

void tst_GLCanvasNavigation::menuMayBeDeletedByTheEndOfTheDrag()
{
    NavigatedCanvas canvas;
    auto *menu = new QMenu;
    menu->addAction(QStringLiteral("entry"));
    canvas.setContextMenu(menu);
    QVERIFY(showCanvas(canvas));
    canvas.press(Qt::LeftButton, Qt::ControlModifier, QPoint(100, 100));
    connect(&canvas, &GLCanvas::storeViewRequest, menu, [menu] { delete menu; });
    const PopupLog log;
    canvas.press(Qt::RightButton, Qt::NoModifier, QPoint(100, 100));
    QVERIFY(!canvas.isDragging());
    QCOMPARE(log.popups.size(), 0);
}

void tst_GLCanvasNavigation::canvasMayBeDeletedInsideAStoreRequest_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("a step of the drag") << int(QEvent::MouseMove) << Qt::NoButton;
    QTest::newRow("the release") << int(QEvent::MouseButtonRelease) << Qt::LeftButton;
    QTest::newRow("a plain press") << int(QEvent::MouseButtonPress) << Qt::LeftButton;
    QTest::newRow("the context menu") << int(QEvent::MouseButtonPress) << Qt::RightButton;
    QTest::newRow("another window") << int(QEvent::WindowDeactivate) << Qt::NoButton;
    QTest::newRow("a turn of the mouse wheel") << int(QEvent::Wheel) << Qt::NoButton;
}

void tst_GLCanvasNavigation::canvasMayBeDeletedInsideAStoreRequest()
{
    QFETCH(int, type);
    QFETCH(Qt::MouseButton, button);
    const QPointer<NavigatedCanvas> canvas = new NavigatedCanvas;
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    canvas->setContextMenu(&menu);
    QVERIFY(showCanvas(*canvas));
    canvas->press(Qt::LeftButton, Qt::ControlModifier, QPoint(100, 100));
    QVERIFY(canvas->isDragging());
    const PopupLog log;
    int requests = 0;
    connect(canvas.data(), &GLCanvas::storeViewRequest, this, [&] {
        ++requests;
        delete canvas.data();
    });
    if (type == QEvent::WindowDeactivate) {
        QEvent event(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(canvas.data(), &event);
    } else if (type == QEvent::Wheel) {
        QWheelEvent event(QPointF(9.0, 9.0), canvas->mapToGlobal({9, 9}), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(canvas.data(), &event);
    } else {
        QMouseEvent event(QEvent::Type(type), QPointF(110.0, 90.0), canvas->mapToGlobal({110, 90}),
                          button, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(canvas.data(), &event);
    }
    QVERIFY(canvas.isNull());
    QCOMPARE(requests, 1);
    QCOMPARE(log.popups.size(), 0);
}

void tst_GLCanvasNavigation::focusPolicyIsStrong()
{
    NavigatedCanvas canvas;
    QCOMPARE(canvas.focusPolicy(), Qt::StrongFocus);
}

QUOREL2_TEST_MAIN(tst_GLCanvasNavigation)
#include "tst_GLCanvasNavigation.moc"
