#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/BodyTable.h>
#include <widgets/xyzWidget.h>

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QWindow>
#include <QtTest>
#include <qwt_wheel.h>

#include <Eigen/Geometry>

/// What the windowing system sends, context-menu events included: the mouse works on the window,
/// not on a widget.
class TestDialogMouse : public DialogTest {
    Q_OBJECT

private:
    QLabel *errorLabel() { return fixture().child<QLabel>("error_label"); }

    static QWindow *windowOf(QWidget *widget)
    {
        return widget->windowHandle() ? widget->windowHandle() : widget->window()->windowHandle();
    }
    static QPoint inWindow(QWidget *widget, const QPoint &point)
    {
        return widget->windowHandle() ? point : widget->mapTo(widget->window(), point);
    }
    static Eigen::Matrix3d rotationOf(const bsPose &pose)
    {
        const bsMatrix matrix = pose.toMatrix();
        return Eigen::Map<const Eigen::Matrix4d>(matrix.m).topLeftCorner<3, 3>();
    }
    static double angleDeg(const Eigen::Matrix3d &rotation)
    {
        return Eigen::AngleAxisd(rotation).angle() * 180.0 / M_PI;
    }

    /// Clicks with the right button, closes what pops up, and lists it: "menu: first entry".
    QStringList popupsOfRightClick(QWidget *where, const QPoint &point)
    {
        QStringList popups;
        QTimer timer;
        connect(&timer, &QTimer::timeout, &timer, [&popups] {
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            if (!menu)
                return;
            popups.append(menu->actions().isEmpty() ? QString() : menu->actions().first()->text());
            menu->close();
        });
        timer.start(5);
        QTest::mouseClick(windowOf(where), Qt::RightButton, {}, inWindow(where, point));
        QTest::qWait(50);
        return popups;
    }

private slots:
    void aRightClickOnTheViewOpensItsMenuAndNoOther()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(popupsOfRightClick(canvas(), QPoint(5, 5)), QStringList("Small markers"));
        });
    }

    void aRightClickOnTheMarkerTableOpensItsMenuAndNoOther()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().menuAction("Data view")->trigger();
            auto *table = fixture().child<QTableWidget>("tableWidget_data");
            QTRY_VERIFY(table->isVisible());
            QCOMPARE(popupsOfRightClick(table->viewport(), QPoint(20, 20)),
                     QStringList("Graphic view"));
        });
    }

    void aRightClickOnTheEmissionsOpensNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().menuAction("Data view")->trigger();
            auto *table = fixture().child<QTableWidget>("tableWidget_emissions");
            QTRY_VERIFY(table->isVisible());
            QCOMPARE(popupsOfRightClick(table->viewport(), QPoint(20, 20)), QStringList());
            QCOMPARE(popupsOfRightClick(table->horizontalHeader()->viewport(), QPoint(5, 5)),
                     QStringList());
        });
    }

    void aRightDragWithCtrlTurnsTheView()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            bool poppedUp = false;
            QTimer timer;
            connect(&timer, &QTimer::timeout, &timer, [&poppedUp] {
                if (QWidget *popup = QApplication::activePopupWidget()) {
                    poppedUp = true;
                    popup->close();
                }
            });
            timer.start(5);
            QWindow *window = windowOf(canvas());
            const QPoint start = inWindow(canvas(), QPoint(200, 200));
            QTest::mousePress(window, Qt::RightButton, Qt::ControlModifier, start);
            QTest::qWait(20);
            for (const QPoint &step : {QPoint(0, 20), QPoint(30, 20)}) {
                // Moves carry no button when QTest makes them.
                QMouseEvent move(QEvent::MouseMove, QPoint(200, 200) + step, Qt::NoButton,
                                 Qt::RightButton, Qt::ControlModifier);
                QApplication::sendEvent(canvas(), &move);
            }
            QTest::mouseRelease(window, Qt::RightButton, Qt::ControlModifier,
                                start + QPoint(30, 20));
            QTest::qWait(20);
            QVERIFY(!poppedUp);
            QVERIFY(!canvas()->isDragging());
            // 20 pixels down, then 30 to the right, one degree each; the later turn is outermost.
            const Eigen::Matrix3d expected =
                (Eigen::AngleAxisd(30.0 * M_PI / 180.0, Eigen::Vector3d::UnitY()) *
                 Eigen::AngleAxisd(20.0 * M_PI / 180.0, Eigen::Vector3d::UnitX()))
                    .toRotationMatrix();
            QVERIFY((rotationOf(canvas()->camera().view()) - expected).norm() < 1e-9);
        });
    }

    void resettingTheViewEndsWhatTheViewWheelsBegan()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *orientation = fixture().child<xyzWidget>("ori_xyzWidget");
            auto *position = fixture().child<xyzWidget>("pos_xyzWidget");
            turnWheel(orientation, 30);
            turnWheel(position, 10);
            QVERIFY(angleDeg(rotationOf(canvas()->camera().view())) > 1.0);
            fixture().child<QPushButton>("reset_view_button")->click();
            QVERIFY(angleDeg(rotationOf(canvas()->camera().view())) < 1e-9);
            QCOMPARE(orientation->xValue(), 0.0);
            QCOMPARE(position->xValue(), 0.0);
            const bsVector before = canvas()->camera().view().position;
            turnWheel(orientation, 1);
            turnWheel(position, 1);
            // One step of the wheels each, from where the view was put.
            QVERIFY(angleDeg(rotationOf(canvas()->camera().view())) < 2.0);
            QVERIFY(std::fabs(canvas()->camera().view().position.x - before.x) < 2.0);
        });
    }

    void goingOnlineEndsWhatTheViewWheelsBegan()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *orientation = fixture().child<xyzWidget>("ori_xyzWidget");
            turnWheel(orientation, 30);
            const Eigen::Matrix3d offline = rotationOf(canvas()->camera().view());
            QVERIFY(angleDeg(offline) > 1.0);
            auto *online = fixture().child<QCheckBox>("online_checkbox");
            online->click();
            QCOMPARE(orientation->xValue(), 0.0);
            QVERIFY(angleDeg(rotationOf(canvas()->camera().view())) < 1e-9);
            turnWheel(orientation, 1);
            QVERIFY(angleDeg(rotationOf(canvas()->camera().view())) < 2.0);
            online->click();
            QVERIFY((rotationOf(canvas()->camera().view()) - offline).norm() < 1e-9);
        });
    }

    void whatWentWrongWithABodyIsNotToldOfAnother_data()
    {
        QTest::addColumn<int>("next");
        QTest::newRow("another body") << 0;
        QTest::newRow("a typed value") << 1;
        QTest::newRow("no body") << 2;
    }
    void whatWentWrongWithABodyIsNotToldOfAnother()
    {
        QFETCH(int, next);
        host().addBody("standard", 2, "", true, "tt_std",
                       {{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}});
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            fixture().child<QPushButton>("pushButton_due_to_body")->click();
            QVERIFY(errorLabel()->isVisible());
            QCOMPARE(errorLabel()->text(),
                     QStringLiteral("The markers of this body do not define a coordinate system: "
                                    "at least three markers at different distances are needed."));
            if (next == 0)
                fixture().choose(DialogFixture::Wand);
            else if (next == 1)
                fixture().typeValue("body_pos_xyzWidget", 0, "5\r");
            else
                fixture().choose(-1);
            QVERIFY(!errorLabel()->isVisible());
            QCOMPARE(errorLabel()->text(), QString());
        });
    }

    void theRoomsAxesOfABodyThatIsNotSeenWellAreToldOf_data()
    {
        QTest::addColumn<QList<QByteArray>>("qualities");
        QTest::addColumn<QString>("told");
        const QString last = QStringLiteral("The body is not tracked reliably now: the axes are "
                                            "those of the orientation in which it was seen last.");
        QTest::newRow("seen") << QList<QByteArray>{"1.000"} << QString();
        QTest::newRow("seen badly")
            << QList<QByteArray>{"0.990"}
            << QStringLiteral("The body has not been tracked reliably yet: its orientation in the "
                              "room is not known.");
        QTest::newRow("seen, then badly") << QList<QByteArray>{"1.000", "0.990"} << last;
        QTest::newRow("seen badly, then well") << QList<QByteArray>{"0.990", "1.000"} << QString();
    }
    void theRoomsAxesOfABodyThatIsNotSeenWellAreToldOf()
    {
        QFETCH(QList<QByteArray>, qualities);
        QFETCH(QString, told);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            for (const QByteArray &quality : qAsConst(qualities)) {
                host().deliver("6d", bodyLine(0, quality));
                dialog()->update_track();
            }
            for (const char *button : {"adjust_axes_to_room_button", "pushButton_due_to_room",
                                       "pushButton_due_to_room_0"}) {
                auto *widget = fixture().child<QPushButton>(button);
                QTRY_VERIFY(widget->isEnabledTo(widget->parentWidget()));
                widget->click();
                QCOMPARE(errorLabel()->text(), told);
                QCOMPARE(errorLabel()->isVisible(), !told.isEmpty());
            }
        });
    }

private:
    static void turnWheel(xyzWidget *group, int notches)
    {
        auto *wheel = group->findChild<QwtWheel *>();
        QVERIFY(wheel);
        const QPointF centre = wheel->rect().center();
        for (int i = 0; i < notches; ++i) {
            QWheelEvent event(centre, wheel->mapToGlobal(centre.toPoint()), QPoint(),
                              QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                              false);
            QApplication::sendEvent(wheel, &event);
        }
    }
};

QUOREL2_TEST_MAIN(TestDialogMouse)

#include "tst_DialogMouse.moc"
