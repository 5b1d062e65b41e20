#include "CanvasFixture.h"

#include <model/abcMarker.h>
#include <tests/support/TestMain.h>

#include <QWheelEvent>
#include <QtTest>

/// On a platform without OpenGL the view stays empty and everything else works.
class tst_GLCanvasWithoutContext : public QObject {
    Q_OBJECT

private slots:
    void nothingIsDrawnOrPicked();
    void mouseAndWheelAreSafe();
    void editingWorks();
};

void tst_GLCanvasWithoutContext::nothingIsDrawnOrPicked()
{
    GLCanvas canvas;
    QVERIFY(!canvas.isValid());
    canvas.setBody(sixMarkers(), {});
    canvas.setSuspended(false);
    canvas.resize(640, 480);
    canvas.show();
    QVERIFY(QTest::qWaitForWindowExposed(&canvas));
    canvas.updateGL();
    canvas.resize(300, 0);
    canvas.resize(300, 200);
    QCoreApplication::processEvents();
    QVERIFY(canvas.pick(QPoint(150, 100)) == nullptr);
}

void tst_GLCanvasWithoutContext::mouseAndWheelAreSafe()
{
    GLCanvas canvas;
    connect(&canvas, &GLCanvas::storeViewRequest, &canvas, &GLCanvas::saveCurrentView);
    canvas.setBody(sixMarkers(), {});
    canvas.setSuspended(false);
    canvas.resize(640, 480);
    canvas.show();
    QVERIFY(QTest::qWaitForWindowExposed(&canvas));
    canvas.select(canvas.body().markers()[0]);
    QTest::mouseClick(&canvas, Qt::LeftButton, Qt::NoModifier, QPoint(320, 240));
    QVERIFY(canvas.selection().isEmpty());
    QTest::mouseClick(&canvas, Qt::RightButton, Qt::NoModifier, QPoint(320, 240));
    QTest::mousePress(&canvas, Qt::LeftButton, Qt::ControlModifier, QPoint(10, 10));
    QMouseEvent move(QEvent::MouseMove, QPointF(30, 10), Qt::NoButton, Qt::LeftButton,
                     Qt::ControlModifier);
    QCoreApplication::sendEvent(&canvas, &move);
    QTest::mouseRelease(&canvas, Qt::LeftButton, Qt::ControlModifier, QPoint(30, 10));
    QCOMPARE(canvas.camera().view().position.x, 20.0);
    QWheelEvent wheel(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::ControlModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&canvas, &wheel);
    QCOMPARE(canvas.camera().view().position.z, -297.0);
}

void tst_GLCanvasWithoutContext::editingWorks()
{
    GLCanvas canvas;
    canvas.setBody(sixMarkers(), {});
    canvas.select(canvas.body().markers()[4]);
    canvas.setOriginToMarker();
    QCOMPARE(canvas.body().undoCount(), 1);
    QCOMPARE(canvas.bodyTransform().column(3).y, -70.0);
}

int main(int argc, char **argv)
{
    // With a display the platform would lend one of its contexts.
    qunsetenv("DISPLAY");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    tst_GLCanvasWithoutContext testObject;
    return runTest(argc, argv, &testObject);
}
#include "tst_GLCanvasWithoutContext.moc"
