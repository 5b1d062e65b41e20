#include "CanvasFixture.h"

#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

namespace {

/// "m2" is marker 2, "l0" is line 0, "-" is nothing.
const abcObject *objectOf(const GLCanvas &canvas, const QString &name)
{
    const int index = name.mid(1).toInt();
    if (name.startsWith(QLatin1Char('m')))
        return canvas.body().markers()[index];
    if (name.startsWith(QLatin1Char('l')))
        return canvas.body().lines()[index];
    return nullptr;
}

QString nameOf(const GLCanvas &canvas, const abcObject *object)
{
    for (int i = 0; i < canvas.body().markers().size(); ++i) {
        if (canvas.body().markers()[i] == object)
            return QStringLiteral("m%1").arg(i);
    }
    for (int i = 0; i < canvas.body().lines().size(); ++i) {
        if (canvas.body().lines()[i] == object)
            return QStringLiteral("l%1").arg(i);
    }
    return QStringLiteral("?");
}

QString selectionOf(const GLCanvas &canvas)
{
    QStringList names;
    for (const abcObject *object : canvas.selection())
        names.append(nameOf(canvas, object));
    return names.join(QLatin1Char(' '));
}

/// Where to click for an object from the initial camera.
QPoint placeOf(const GLCanvas &canvas, const QString &name)
{
    const Projection projection(canvas.size());
    const auto *object = objectOf(canvas, name);
    if (!object)
        return {canvas.width() / 2, canvas.height() / 2};
    if (object->type() == abcObject::MarkerType)
        return projection.point(static_cast<const abcMarker *>(object)->position()).toPoint();
    const auto *line = static_cast<const abcLine *>(object);
    const Eigen::Vector3d a = vector(line->firstMarker()->position());
    const Eigen::Vector3d b = vector(line->secondMarker()->position());
    const Eigen::Vector3d place = a + (b - a) * 0.3;
    return projection.point(place.x(), place.y(), place.z()).toPoint();
}

void click(GLCanvas &canvas, const QString &name)
{
    QTest::mouseClick(canvas.windowHandle(), Qt::LeftButton, Qt::NoModifier, placeOf(canvas, name));
}

QStringList availability(bool origin, bool axis, bool introduce, bool deleteLine)
{
    const auto text = [](bool value) {
        return value ? QStringLiteral("(true)") : QStringLiteral("(false)");
    };
    return {QStringLiteral("canSetOriginToMarker") + text(origin),
            QStringLiteral("canSetAxisToMarkers") + text(axis),
            QStringLiteral("canIntroduceLine") + text(introduce),
            QStringLiteral("canDeleteLine") + text(deleteLine)};
}

QStringList availabilityAfterClick(bool origin, bool axis, bool introduce, bool deleteLine)
{
    return availability(origin, axis, introduce, deleteLine) << QStringLiteral("canDeleteMarker");
}

} // namespace

class tst_GLCanvasSelection : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void clicksFollowTheRule_data();
    void clicksFollowTheRule();
    void clickOnNothingEmitsAllFalse();
    void availabilityOfOneMarker();
    void availabilityOfTwoMarkers();
    void availabilityOfAJoinedPair();
    void availabilityOfALine();
    void availabilityAtTheMomentOfTheSignal();
    void selectedMarkerNumber();
    void introduceLineKeepsTheSelection();
    void introduceLineTwiceAddsOneLine();
    void introduceLineNeedsTwoMarkers();
    void introducedLineRunsFromFirstToSecond();
    void deleteLineKeepsTheOthersInOrder();
    void deleteLineNeedsASelectedLine();
    void deletedLineCanBeIntroducedAgain();
    void loadingEmptiesTheSelection();
    void clearingEmptiesTheSelection();
    void rejectedBodyEmptiesTheCanvas();
    void canvasMayBeDeletedInsideTheBoxOfARejectedBody();
    void emptyBodyEmptiesTheCanvas();
    void clickWithModifierSelectsNothing_data();
    void clickWithModifierSelectsNothing();
    void middleButtonSelectsNothing();
    void doubleClickIsTwoClicks();
    void bodyReplacedInsideTheContextMenuLeavesNoDanglingSelection();
    void bodyReplacedDuringADragLeavesNoDanglingSelection();
    void lineDeletedFromTheContextMenu();

private:
    QScopedPointer<GLCanvas> m_canvas;
};

void tst_GLCanvasSelection::init()
{
    m_canvas.reset(new GLCanvas);
    m_canvas->setBody(sixMarkers(), {});
    QVERIFY(showCanvas(*m_canvas));
    // Line 0 from marker 2 to marker 3, line 1 from marker 0 to marker 3.
    for (const auto &pair : {QPair<int, int>(2, 3), QPair<int, int>(0, 3)}) {
        m_canvas->select(nullptr);
        m_canvas->select(m_canvas->body().markers()[pair.first]);
        m_canvas->select(m_canvas->body().markers()[pair.second]);
        m_canvas->introduceLine();
    }
    m_canvas->select(nullptr);
}

void tst_GLCanvasSelection::cleanup()
{
    m_canvas.reset();
}

void tst_GLCanvasSelection::clicksFollowTheRule_data()
{
    QTest::addColumn<QString>("clicks");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing") << "-"
                             << "";
    QTest::newRow("a marker") << "m0"
                              << "m0";
    QTest::newRow("a line") << "l0"
                            << "l0";
    QTest::newRow("the same marker again keeps it") << "m0 m0"
                                                    << "m0";
    QTest::newRow("the same line again keeps it") << "l0 l0"
                                                  << "l0";
    QTest::newRow("two markers") << "m0 m1"
                                 << "m0 m1";
    QTest::newRow("two markers the other way") << "m1 m0"
                                               << "m1 m0";
    QTest::newRow("second of two again swaps") << "m0 m1 m1"
                                               << "m1 m0";
    QTest::newRow("first of two again swaps") << "m0 m1 m0"
                                              << "m1 m0";
    QTest::newRow("swapped and swapped back") << "m0 m1 m1 m1"
                                              << "m0 m1";
    QTest::newRow("third marker") << "m0 m1 m4"
                                  << "m4";
    QTest::newRow("line after two markers") << "m0 m1 l0"
                                            << "l0";
    QTest::newRow("line after swapped markers") << "m0 m1 m1 l0"
                                                << "l0";
    QTest::newRow("marker after a line") << "l0 m4"
                                         << "m4";
    QTest::newRow("line after a marker") << "m4 l0"
                                         << "l0";
    QTest::newRow("another line") << "l0 l1"
                                  << "l1";
    QTest::newRow("marker of the line after it") << "l0 m2"
                                                 << "m2";
    QTest::newRow("two markers after a line") << "l0 m4 m5"
                                              << "m4 m5";
    QTest::newRow("nothing after a marker") << "m0 -"
                                            << "";
    QTest::newRow("nothing after two markers") << "m0 m1 -"
                                               << "";
    QTest::newRow("nothing after a line") << "l1 -"
                                          << "";
    QTest::newRow("marker after nothing") << "m0 m1 - m5"
                                          << "m5";
}

void tst_GLCanvasSelection::clicksFollowTheRule()
{
    QFETCH(QString, clicks);
    for (const QString &name : clicks.split(QLatin1Char(' ')))
        click(*m_canvas, name);
    QTEST(selectionOf(*m_canvas), "expected");
}

void tst_GLCanvasSelection::clickOnNothingEmitsAllFalse()
{
    click(*m_canvas, QStringLiteral("m0"));
    SignalLog log(*m_canvas);
    click(*m_canvas, QStringLiteral("-"));
    QCOMPARE(log.take(), availabilityAfterClick(false, false, false, false));
    // Also when nothing was selected before.
    click(*m_canvas, QStringLiteral("-"));
    QCOMPARE(log.take(), availabilityAfterClick(false, false, false, false));
}

void tst_GLCanvasSelection::availabilityOfOneMarker()
{
    SignalLog log(*m_canvas);
    click(*m_canvas, QStringLiteral("m0"));
    QCOMPARE(log.take(), availabilityAfterClick(true, false, false, false));
    click(*m_canvas, QStringLiteral("m0"));
    QCOMPARE(log.take(), availabilityAfterClick(true, false, false, false));
}

void tst_GLCanvasSelection::availabilityOfTwoMarkers()
{
    click(*m_canvas, QStringLiteral("m0"));
    SignalLog log(*m_canvas);
    click(*m_canvas, QStringLiteral("m1"));
    QCOMPARE(log.take(), availabilityAfterClick(true, true, true, false));
    click(*m_canvas, QStringLiteral("m0"));
    QCOMPARE(log.take(), availabilityAfterClick(true, true, true, false));
}

void tst_GLCanvasSelection::availabilityOfAJoinedPair()
{
    SignalLog log(*m_canvas);
    for (const bool swapped : {false, true}) {
        click(*m_canvas, QStringLiteral("-"));
        click(*m_canvas, swapped ? QStringLiteral("m3") : QStringLiteral("m2"));
        log.take();
        click(*m_canvas, swapped ? QStringLiteral("m2") : QStringLiteral("m3"));
        QCOMPARE(log.take(), availabilityAfterClick(true, true, false, false));
    }
}

void tst_GLCanvasSelection::availabilityOfALine()
{
    SignalLog log(*m_canvas);
    click(*m_canvas, QStringLiteral("l1"));
    QCOMPARE(log.take(), availabilityAfterClick(false, false, false, true));
}

void tst_GLCanvasSelection::availabilityAtTheMomentOfTheSignal()
{
    // Whoever hears of the availability sees the selection that it is about.
    QStringList seen;
    connect(m_canvas.data(), &GLCanvas::canSetOriginToMarker, this,
            [&] { seen.append(selectionOf(*m_canvas)); });
    click(*m_canvas, QStringLiteral("m0"));
    click(*m_canvas, QStringLiteral("m1"));
    click(*m_canvas, QStringLiteral("-"));
    QCOMPARE(seen, QStringList({QStringLiteral("m0"), QStringLiteral("m0 m1"), QString()}));
}

void tst_GLCanvasSelection::selectedMarkerNumber()
{
    QCOMPARE(m_canvas->selectedMarkerNumber(), -1);
    click(*m_canvas, QStringLiteral("m4"));
    QCOMPARE(m_canvas->selectedMarkerNumber(), 4);
    click(*m_canvas, QStringLiteral("m1"));
    QCOMPARE(m_canvas->selectedMarkerNumber(), -2);
    click(*m_canvas, QStringLiteral("l0"));
    QCOMPARE(m_canvas->selectedMarkerNumber(), -1);
    click(*m_canvas, QStringLiteral("-"));
    QCOMPARE(m_canvas->selectedMarkerNumber(), -1);
}

void tst_GLCanvasSelection::introduceLineKeepsTheSelection()
{
    click(*m_canvas, QStringLiteral("m4"));
    click(*m_canvas, QStringLiteral("m1"));
    SignalLog log(*m_canvas);
    m_canvas->introduceLine();
    QCOMPARE(log.take(), QStringList{QStringLiteral("canIntroduceLine(false)")});
    QCOMPARE(selectionOf(*m_canvas), QStringLiteral("m4 m1"));
    QCOMPARE(m_canvas->body().lines().size(), 3);
}

void tst_GLCanvasSelection::introduceLineTwiceAddsOneLine()
{
    click(*m_canvas, QStringLiteral("m4"));
    click(*m_canvas, QStringLiteral("m1"));
    m_canvas->introduceLine();
    SignalLog log(*m_canvas);
    m_canvas->introduceLine();
    click(*m_canvas, QStringLiteral("m1"));
    QCOMPARE(log.take(), availabilityAfterClick(true, true, false, false));
    QCOMPARE(selectionOf(*m_canvas), QStringLiteral("m1 m4"));
    m_canvas->introduceLine();
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(m_canvas->body().lines().size(), 3);
}

void tst_GLCanvasSelection::introduceLineNeedsTwoMarkers()
{
    SignalLog log(*m_canvas);
    for (const char *name : {"-", "m0", "l0"}) {
        click(*m_canvas, QString::fromLatin1(name));
        log.take();
        m_canvas->introduceLine();
        QCOMPARE(log.take(), QStringList());
        QCOMPARE(m_canvas->body().lines().size(), 2);
    }
    m_canvas->clearBody();
    log.take();
    m_canvas->introduceLine();
    QCOMPARE(log.take(), QStringList());
    QVERIFY(m_canvas->body().lines().isEmpty());
}

void tst_GLCanvasSelection::introducedLineRunsFromFirstToSecond()
{
    click(*m_canvas, QStringLiteral("m4"));
    click(*m_canvas, QStringLiteral("m1"));
    m_canvas->introduceLine();
    const abcLine *line = m_canvas->body().lines().last();
    QCOMPARE(line->firstMarker()->id(), 4);
    QCOMPARE(line->secondMarker()->id(), 1);
    QCOMPARE(line->colour, QColor(100, 100, 100));
    QCOMPARE(line->width, 6.0);
    QCOMPARE(line->smallWidth, 1.5);
}

void tst_GLCanvasSelection::deleteLineKeepsTheOthersInOrder()
{
    click(*m_canvas, QStringLiteral("m4"));
    click(*m_canvas, QStringLiteral("m1"));
    m_canvas->introduceLine();
    const abcLine *first = m_canvas->body().lines()[0];
    const abcLine *last = m_canvas->body().lines()[2];
    click(*m_canvas, QStringLiteral("l1"));
    SignalLog log(*m_canvas);
    m_canvas->deleteLine();
    QCOMPARE(log.take(), QStringList{QStringLiteral("canDeleteLine(false)")});
    QCOMPARE(selectionOf(*m_canvas), QString());
    QCOMPARE(m_canvas->body().lines().size(), 2);
    QCOMPARE(m_canvas->body().lines()[0], first);
    QCOMPARE(m_canvas->body().lines()[1], last);
}

void tst_GLCanvasSelection::deleteLineNeedsASelectedLine()
{
    SignalLog log(*m_canvas);
    for (const char *name : {"-", "m0", "m1"}) {
        click(*m_canvas, QString::fromLatin1(name));
        log.take();
        const QString selected = selectionOf(*m_canvas);
        m_canvas->deleteLine();
        QCOMPARE(log.take(), QStringList());
        QCOMPARE(selectionOf(*m_canvas), selected);
        QCOMPARE(m_canvas->body().lines().size(), 2);
    }
}

void tst_GLCanvasSelection::deletedLineCanBeIntroducedAgain()
{
    click(*m_canvas, QStringLiteral("l0"));
    m_canvas->deleteLine();
    click(*m_canvas, QStringLiteral("m2"));
    SignalLog log(*m_canvas);
    click(*m_canvas, QStringLiteral("m3"));
    QCOMPARE(log.take(), availabilityAfterClick(true, true, true, false));
    m_canvas->introduceLine();
    QCOMPARE(m_canvas->body().lines().size(), 2);
}

void tst_GLCanvasSelection::loadingEmptiesTheSelection()
{
    click(*m_canvas, QStringLiteral("m0"));
    click(*m_canvas, QStringLiteral("m1"));
    SignalLog log(*m_canvas);
    QVERIFY(m_canvas->setBody(twentyMarkers(), {}));
    QCOMPARE(selectionOf(*m_canvas), QString());
    QCOMPARE(log.take(),
             QStringList({QStringLiteral("bodyModified(false)"), QStringLiteral("canUndo(false)"),
                          QStringLiteral("canRedo(false)")}) +
                 availability(false, false, false, false));
    QVERIFY(m_canvas->body().lines().isEmpty());
}

void tst_GLCanvasSelection::clearingEmptiesTheSelection()
{
    click(*m_canvas, QStringLiteral("l0"));
    SignalLog log(*m_canvas);
    m_canvas->clearBody();
    QCOMPARE(selectionOf(*m_canvas), QString());
    QCOMPARE(log.take(),
             QStringList({QStringLiteral("bodyModified(false)"), QStringLiteral("canUndo(false)"),
                          QStringLiteral("canRedo(false)")}) +
                 availability(false, false, false, false));
    QVERIFY(!m_canvas->isBodyLoaded());
}

void tst_GLCanvasSelection::rejectedBodyEmptiesTheCanvas()
{
    click(*m_canvas, QStringLiteral("m0"));
    SignalLog log(*m_canvas);
    QString title;
    QString text;
    bool hadNoParent = false;
    QMessageBox::StandardButtons buttons;
    // The box is modal; it is answered from inside its loop.
    QTimer answer;
    answer.setInterval(10);
    connect(&answer, &QTimer::timeout, this, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        answer.stop();
        title = box->windowTitle();
        text = box->text();
        buttons = box->standardButtons();
        hadNoParent = box->parentWidget() == nullptr;
        // What is drawn meanwhile must not refer to the old body.
        m_canvas->updateGL();
        box->accept();
    });
    answer.start();
    QVERIFY(!m_canvas->setBody({{1.0, 2.0, 3.0}}, {}));
    QCOMPARE(title, QStringLiteral("Error loading body"));
    QCOMPARE(text, QStringLiteral("Error : Number of markers = 1 (is it a body file ?).\n"
                                  "Body not loaded."));
    QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(hadNoParent);
    QVERIFY(!m_canvas->isBodyLoaded());
    QCOMPARE(m_canvas->body().markerCount(), 0);
    QCOMPARE(selectionOf(*m_canvas), QString());
    QCOMPARE(log.take(),
             QStringList({QStringLiteral("bodyModified(false)"), QStringLiteral("canUndo(false)"),
                          QStringLiteral("canRedo(false)")}) +
                 availability(false, false, false, false));
}

void tst_GLCanvasSelection::canvasMayBeDeletedInsideTheBoxOfARejectedBody()
{
    QTimer answer;
    answer.setInterval(10);
    connect(&answer, &QTimer::timeout, this, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        answer.stop();
        m_canvas.reset();
        box->accept();
    });
    answer.start();
    QVERIFY(!m_canvas->setBody({{1.0, 2.0, 3.0}}, {}));
    QVERIFY(m_canvas.isNull());
}

void tst_GLCanvasSelection::emptyBodyEmptiesTheCanvas()
{
    click(*m_canvas, QStringLiteral("m0"));
    SignalLog log(*m_canvas);
    QVERIFY(!m_canvas->setBody({}, {}));
    QVERIFY(!m_canvas->isBodyLoaded());
    QCOMPARE(selectionOf(*m_canvas), QString());
    QCOMPARE(log.take(),
             QStringList({QStringLiteral("bodyModified(false)"), QStringLiteral("canUndo(false)"),
                          QStringLiteral("canRedo(false)")}) +
                 availability(false, false, false, false));
}

void tst_GLCanvasSelection::clickWithModifierSelectsNothing_data()
{
    QTest::addColumn<int>("modifiers");
    QTest::newRow("Ctrl") << int(Qt::ControlModifier);
    QTest::newRow("Shift") << int(Qt::ShiftModifier);
    QTest::newRow("Ctrl and Shift") << int(Qt::ControlModifier | Qt::ShiftModifier);
}

void tst_GLCanvasSelection::clickWithModifierSelectsNothing()
{
    QFETCH(int, modifiers);
    click(*m_canvas, QStringLiteral("m0"));
    QTest::mouseClick(m_canvas->windowHandle(), Qt::LeftButton, Qt::KeyboardModifiers(modifiers),
                      placeOf(*m_canvas, QStringLiteral("m1")));
    QCOMPARE(selectionOf(*m_canvas), QStringLiteral("m0"));
}

void tst_GLCanvasSelection::middleButtonSelectsNothing()
{
    QTest::mouseClick(m_canvas->windowHandle(), Qt::MiddleButton, Qt::NoModifier,
                      placeOf(*m_canvas, QStringLiteral("m1")));
    QCOMPARE(selectionOf(*m_canvas), QString());
}

void tst_GLCanvasSelection::doubleClickIsTwoClicks()
{
    click(*m_canvas, QStringLiteral("m0"));
    click(*m_canvas, QStringLiteral("m1"));
    SignalLog log(*m_canvas);
    QTest::mouseDClick(m_canvas->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                       placeOf(*m_canvas, QStringLiteral("m1")));
    // Swapped by each press.
    QCOMPARE(selectionOf(*m_canvas), QStringLiteral("m0 m1"));
    QCOMPARE(log.take().count(QStringLiteral("canDeleteMarker")), 2);
    QVERIFY(!m_canvas->isDragging());
}

void tst_GLCanvasSelection::bodyReplacedInsideTheContextMenuLeavesNoDanglingSelection()
{
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    m_canvas->setContextMenu(&menu);
    click(*m_canvas, QStringLiteral("m0"));
    click(*m_canvas, QStringLiteral("m1"));
    bool replaced = false;
    connect(&menu, &QMenu::aboutToShow, this, [&] {
        QTimer::singleShot(0, &menu, [&] {
            replaced = true;
            m_canvas->clearBody();
            menu.close();
        });
    });
    QTest::mouseClick(m_canvas->windowHandle(), Qt::RightButton, Qt::NoModifier, QPoint(20, 20));
    QTRY_VERIFY(replaced);
    QVERIFY(m_canvas->selection().isEmpty());
    m_canvas->introduceLine();
    m_canvas->deleteLine();
    m_canvas->setOriginToMarker();
    m_canvas->updateGL();
    QCOMPARE(m_canvas->selectedMarkerNumber(), -1);
}

void tst_GLCanvasSelection::bodyReplacedDuringADragLeavesNoDanglingSelection()
{
    click(*m_canvas, QStringLiteral("m0"));
    click(*m_canvas, QStringLiteral("m1"));
    QWindow *window = m_canvas->windowHandle();
    QTest::mousePress(window, Qt::LeftButton, Qt::ControlModifier, QPoint(100, 100));
    QTest::mouseMove(window, QPoint(110, 100));
    m_canvas->setBody(twentyMarkers(), {});
    QVERIFY(m_canvas->selection().isEmpty());
    QTest::mouseMove(window, QPoint(120, 100));
    m_canvas->updateGL();
    m_canvas->clearBody();
    QTest::mouseMove(window, QPoint(130, 100));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::ControlModifier, QPoint(130, 100));
    QVERIFY(!m_canvas->isDragging());
    QVERIFY(m_canvas->selection().isEmpty());
    m_canvas->updateGL();
}

void tst_GLCanvasSelection::lineDeletedFromTheContextMenu()
{
    QMenu menu;
    QAction *action = menu.addAction(QStringLiteral("delete"));
    connect(action, &QAction::triggered, m_canvas.data(), &GLCanvas::deleteLine);
    m_canvas->setContextMenu(&menu);
    click(*m_canvas, QStringLiteral("l0"));
    connect(&menu, &QMenu::aboutToShow, this, [&] {
        QTimer::singleShot(0, &menu, [&] {
            QTest::mouseClick(&menu, Qt::LeftButton, Qt::NoModifier,
                              menu.actionGeometry(action).center());
        });
    });
    QTest::mouseClick(m_canvas->windowHandle(), Qt::RightButton, Qt::NoModifier, QPoint(20, 20));
    QTRY_COMPARE(m_canvas->body().lines().size(), 1);
    QVERIFY(m_canvas->selection().isEmpty());
    m_canvas->updateGL();
}

QUOREL2_TEST_MAIN(tst_GLCanvasSelection)
#include "tst_GLCanvasSelection.moc"
