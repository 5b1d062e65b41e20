#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/BodyTable.h>
#include <widgets/HelpDialog.h>
#include <widgets/SetAxisDialog.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QWindow>
#include <QtTest>

#include <qwt_wheel.h>

#include <algorithm>

namespace {

/// A button that a shortcut presses is shown pressed for this long before it acts, and some more.
constexpr int kClickMs = 250;

/// The text of the label that screen readers tell with a control.
QString accessibleLabel(QWidget *widget)
{
    const auto relations = QAccessible::queryAccessibleInterface(widget)->relations();
    for (const auto &relation : relations) {
        if (relation.second & QAccessible::Label)
            return relation.first->text(QAccessible::Name);
    }
    return QString();
}

QString accessibleText(QWidget *widget, QAccessible::Text kind)
{
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(kind) : QString();
}

/// How a stop of the Tab key is called here: fields and wheels by what they are for.
QString nameOf(const QWidget *widget)
{
    if (!widget)
        return QStringLiteral("nothing");
    if (qobject_cast<const GLCanvas *>(widget))
        return QStringLiteral("view");
    if (qobject_cast<const QTabBar *>(widget))
        return QStringLiteral("tabs");
    if (qobject_cast<const bsDoubleWidget *>(widget->parentWidget()))
        return widget->accessibleName();
    return widget->objectName();
}

/// Presses a key as the windowing system delivers it to the window.
void pressKey(QWidget *window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::keyClick(window->window()->windowHandle(), key, modifiers);
}

/// The stops of the Tab key, or of Shift and Tab, from @p first until it comes round again.
QList<QWidget *> tabRound(QWidget *first, bool backwards)
{
    constexpr int tooMany = 100;
    first->setFocus(Qt::TabFocusReason);
    QList<QWidget *> stops;
    do {
        stops.append(QApplication::focusWidget());
        if (backwards)
            pressKey(first, Qt::Key_Backtab, Qt::ShiftModifier);
        else
            pressKey(first, Qt::Key_Tab);
    } while (QApplication::focusWidget() != first && stops.size() < tooMany);
    return stops;
}

QStringList names(const QList<QWidget *> &stops)
{
    QStringList list;
    for (const QWidget *stop : stops)
        list.append(nameOf(stop));
    return list;
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char('|'));
}

const QStringList kGeneral =
    words("tabs|Body position x [mm]|Body position y [mm]|Body position z [mm]|"
          "Body orientation x [deg]|Body orientation y [deg]|Body orientation z [deg]|"
          "set_origin_button|set_origin_cog_button|set_axis_button|adjust_axes_to_room_button|"
          "pushButton_deleteMarker");
const QStringList kSpecial =
    words("tabs|pushButton_due_to_body|pushButton_due_to_room|pushButton_due_to_room_0");
const QStringList kWheels = words("View position x|View position y|View position z|"
                                  "View orientation x|View orientation y|View orientation z");
const QStringList kBelow = words("online_checkbox|undo_button|redo_button|help_button|ok_button|"
                                 "apply_button|cancel_button");
const QStringList kReset = words("reset_view_button");

} // namespace

class tst_DialogKeyboard : public DialogTest {
    Q_OBJECT

private:
    QPushButton *button(const char *name) { return fixture().child<QPushButton>(name); }
    QTabWidget *tabs() { return fixture().child<QTabWidget>("tabWidget"); }

    void choose(int position)
    {
        fixture().choose(position);
        canvas()->setFocus();
    }
    void select(std::initializer_list<int> markers)
    {
        canvas()->select(nullptr);
        for (const int marker : markers)
            canvas()->select(canvas()->body().markers().at(marker));
    }
    void goOnlineTracked(int body)
    {
        pressKey(dialog(), Qt::Key_T, Qt::AltModifier);
        QTRY_VERIFY(fixture().child<QCheckBox>("online_checkbox")->isChecked());
        host().deliver("6d", bodyLine(body, "1.000"));
        QTRY_VERIFY(canvas()->isTracked());
    }
    QList<QwtWheel *> wheels(const char *group)
    {
        QList<QwtWheel *> list;
        for (auto *component : fixture().child<QWidget>(group)->findChildren<bsDoubleWidget *>())
            list.append(component->findChild<QwtWheel *>());
        return list;
    }
    QList<QAbstractSpinBox *> fields(const char *group)
    {
        QList<QAbstractSpinBox *> list;
        for (auto *component : fixture().child<QWidget>(group)->findChildren<bsDoubleWidget *>())
            list.append(component->findChild<QAbstractSpinBox *>());
        return list;
    }
    bsVector marker(int index) { return canvas()->markerRecords().at(index).position; }
    static bool near(const bsVector &a, const bsVector &b) { return (a - b).length() < 1e-6; }

private slots:
    // Tab

    void tabLeadsToEveryControlInTheOrderInWhichItIsSeen_data()
    {
        QTest::addColumn<bool>("dataView");
        QTest::addColumn<int>("tab");
        QTest::addColumn<QStringList>("expected");
        const QStringList list = words("body_name");
        const QStringList view = words("view");
        const QStringList tables = words("tableWidget_data|tableWidget_emissions");
        QTest::newRow("view, general")
            << false << 0 << list + view + kGeneral + kWheels + kReset + kBelow;
        QTest::newRow("view, special")
            << false << 1 << list + view + kSpecial + kWheels + kReset + kBelow;
        QTest::newRow("data view, general")
            << true << 0 << list + tables + kGeneral + kWheels + kBelow;
        QTest::newRow("data view, special")
            << true << 1 << list + tables + kSpecial + kWheels + kBelow;
    }

    void tabLeadsToEveryControlInTheOrderInWhichItIsSeen()
    {
        QFETCH(bool, dataView);
        QFETCH(int, tab);
        QFETCH(QStringList, expected);
        fixture().session([&] {
            choose(DialogFixture::Wand);
            goOnlineTracked(0);
            tabs()->setCurrentIndex(tab);
            if (dataView)
                fixture().menuAction(QStringLiteral("Data view"))->trigger();
            // No state has all of them enabled: one selected marker, two, something to undo and
            // to redo.
            for (const char *name :
                 {"set_origin_button", "set_axis_button", "pushButton_deleteMarker", "undo_button",
                  "redo_button", "apply_button"})
                button(name)->setEnabled(true);

            host().clearRecords();
            auto *list = fixture().child<QComboBox>("body_name");
            QCOMPARE(names(tabRound(list, false)), expected);

            QStringList backwards = expected;
            std::reverse(backwards.begin() + 1, backwards.end());
            QCOMPARE(names(tabRound(list, true)), backwards);

            // Walking about is no edit.
            QVERIFY(!canvas()->hasUnappliedChanges());
            QCOMPARE(host().transcript, QStringList());
        });
    }

    void everyStopOfTheTabKeyCanBeSeen()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            for (QWidget *stop : tabRound(fixture().child<QComboBox>("body_name"), false)) {
                QVERIFY2(stop->isVisible(), qPrintable(nameOf(stop)));
                QVERIFY2(!stop->visibleRegion().isEmpty(), qPrintable(nameOf(stop)));
            }
        });
    }

    void tabLeavesOutWhatIsDisabled()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            fixture().choose(DialogFixture::Raw);
            QCOMPARE(names(tabRound(list, false)),
                     words("body_name|view|tabs|help_button|ok_button|cancel_button"));
            // The tabs of a body that must not be edited are disabled one by one.
            fixture().choose(DialogFixture::Tube);
            QCOMPARE(names(tabRound(list, false)),
                     words("body_name|view|tabs") + kWheels + kReset +
                         words("online_checkbox|help_button|ok_button|cancel_button"));
        });
    }

    void tabGoesOnBehindAWheelThatKeysHaveTurned()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            const QList<QwtWheel *> all = wheels("pos_xyzWidget") + wheels("ori_xyzWidget");
            all.first()->setFocus();
            for (int i = 0; i < all.size(); ++i) {
                QCOMPARE(nameOf(QApplication::focusWidget()), kWheels.at(i));
                const bsMatrix before = canvas()->camera().view().toMatrix();
                pressKey(dialog(), Qt::Key_Up);
                pressKey(dialog(), Qt::Key_Up);
                QVERIFY(differs(canvas()->camera().view().toMatrix(), before));
                pressKey(dialog(), Qt::Key_Tab);
                // The gesture has ended; the wheels count from the view as it is now.
                QVERIFY(!fixture().child<xyzWidget>("pos_xyzWidget")->isEditing());
                QVERIFY(!fixture().child<xyzWidget>("ori_xyzWidget")->isEditing());
            }
            QCOMPARE(nameOf(QApplication::focusWidget()), kReset.first());
        });
    }

    void tabKeepsATypedValue()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            fields("body_pos_xyzWidget").at(0)->setFocus(Qt::TabFocusReason);
            for (const Qt::Key key : {Qt::Key_1, Qt::Key_2})
                pressKey(dialog(), key);
            pressKey(dialog(), Qt::Key_Tab);
            QCOMPARE(nameOf(QApplication::focusWidget()), QStringLiteral("Body position y [mm]"));
            QVERIFY(near(marker(0), bsVector(-12, 0, 0)));
            QCOMPARE(canvas()->body().undoCount(), 1);
        });
    }

    // Shortcuts

    void altOPutsTheOriginOnTheMarker()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            select({1});
            pressKey(dialog(), Qt::Key_O, Qt::AltModifier);
            QTRY_VERIFY(near(marker(1), bsVector(0, 0, 0)));
        });
    }

    void altEPutsTheOriginOnTheCentreOfGravity()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            pressKey(dialog(), Qt::Key_E, Qt::AltModifier);
            QTRY_VERIFY(canvas()->hasUnappliedChanges());
            bsVector sum(0, 0, 0);
            for (int i = 0; i < 6; ++i)
                sum = sum + marker(i);
            QVERIFY(near(sum, bsVector(0, 0, 0)));
        });
    }

    void altXSetsAnAxisByKeysAlone()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            select({0, 2});
            bool closed = false;
            whenModal<SetAxisDialog>([&](SetAxisDialog *window) {
                // From X to Z, then Return for OK.
                QTRY_COMPARE(nameOf(QApplication::focusWidget()),
                             QStringLiteral("axisToSetComboBox"));
                pressKey(window, Qt::Key_Down);
                pressKey(window, Qt::Key_Down);
                pressKey(window, Qt::Key_Return);
                QTRY_VERIFY(!window->isVisible());
                closed = true;
            });
            pressKey(dialog(), Qt::Key_X, Qt::AltModifier);
            QTRY_VERIFY(closed);
            // The marker at (0, 60, 0) now lies on the Z axis.
            QTRY_VERIFY(near(marker(2) - marker(0), bsVector(0, 0, 60)));
        });
    }

    void altJTurnsTheAxesToTheRoom()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            goOnlineTracked(0);
            QTRY_VERIFY(button("adjust_axes_to_room_button")->isEnabled());
            pressKey(dialog(), Qt::Key_J, Qt::AltModifier);
            QTRY_VERIFY(canvas()->hasUnappliedChanges());
        });
    }

    void thePresetsHaveTheirKeysOnTheSpecialTabOnly_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Alt+B") << Qt::Key_B;
        QTest::newRow("Alt+C") << Qt::Key_C;
        QTest::newRow("Alt+M") << Qt::Key_M;
    }

    void thePresetsHaveTheirKeysOnTheSpecialTabOnly()
    {
        QFETCH(Qt::Key, key);
        fixture().session([&] {
            choose(DialogFixture::Wand);
            goOnlineTracked(0);
            QTRY_VERIFY(button("pushButton_due_to_room")->isEnabledTo(dialog()));
            pressKey(dialog(), key, Qt::AltModifier);
            QTest::qWait(kClickMs);
            QVERIFY(!canvas()->hasUnappliedChanges());
            pressKey(dialog(), Qt::Key_S, Qt::AltModifier);
            QTRY_COMPARE(tabs()->currentIndex(), 1);
            pressKey(dialog(), key, Qt::AltModifier);
            QTRY_VERIFY(canvas()->hasUnappliedChanges());
            QCOMPARE(canvas()->body().undoCount(), 1);
        });
    }

    void altGAndAltSChangeTheTab()
    {
        fixture().session([&] {
            pressKey(dialog(), Qt::Key_S, Qt::AltModifier);
            QTRY_COMPARE(tabs()->currentIndex(), 1);
            QVERIFY(button("pushButton_due_to_body")->isVisible());
            pressKey(dialog(), Qt::Key_G, Qt::AltModifier);
            QTRY_COMPARE(tabs()->currentIndex(), 0);
            QVERIFY(button("set_origin_button")->isVisible());
        });
    }

    void altVResetsTheView()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            const bsMatrix start = canvas()->camera().view().toMatrix();
            wheels("ori_xyzWidget").at(1)->setFocus();
            pressKey(dialog(), Qt::Key_PageUp);
            QVERIFY(differs(canvas()->camera().view().toMatrix(), start));
            pressKey(dialog(), Qt::Key_V, Qt::AltModifier);
            QTRY_VERIFY(!differs(canvas()->camera().view().toMatrix(), start));
        });
    }

    void altTFollowsTheTrackedOrientation()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            pressKey(dialog(), Qt::Key_T, Qt::AltModifier);
            QTRY_VERIFY(canvas()->isOnline());
            pressKey(dialog(), Qt::Key_T, Qt::AltModifier);
            QTRY_VERIFY(!canvas()->isOnline());
        });
    }

    void altUAndAltRUndoAndRedo()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            select({1});
            pressKey(dialog(), Qt::Key_O, Qt::AltModifier);
            QTRY_VERIFY(near(marker(1), bsVector(0, 0, 0)));
            pressKey(dialog(), Qt::Key_U, Qt::AltModifier);
            QTRY_VERIFY(near(marker(1), bsVector(100, 0, 0)));
            pressKey(dialog(), Qt::Key_R, Qt::AltModifier);
            QTRY_VERIFY(near(marker(1), bsVector(0, 0, 0)));
        });
    }

    void controlZUndoesAndControlShiftZRedoesFromEveryStop()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            select({1});
            pressKey(dialog(), Qt::Key_O, Qt::AltModifier);
            QTRY_VERIFY(near(marker(1), bsVector(0, 0, 0)));
            const QList<QWidget *> stops = tabRound(fixture().child<QComboBox>("body_name"), false);
            QVERIFY(stops.size() > 20);
            for (QWidget *stop : stops) {
                // The button itself is disabled by what it does.
                if (stop == button("undo_button") || stop == button("redo_button"))
                    continue;
                stop->setFocus(Qt::TabFocusReason);
                QCOMPARE(QApplication::focusWidget(), stop);
                pressKey(dialog(), Qt::Key_Z, Qt::ControlModifier);
                QVERIFY2(near(marker(1), bsVector(100, 0, 0)), qPrintable(nameOf(stop)));
                pressKey(dialog(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
                QVERIFY2(near(marker(1), bsVector(0, 0, 0)), qPrintable(nameOf(stop)));
            }
        });
    }

    void altHOpensTheHelpAndAltXClosesIt()
    {
        fixture().session([&] {
            bool closed = false;
            whenModal<HelpDialog>([&](HelpDialog *window) {
                // A window manager that is late takes the focus away once more.
                QTRY_VERIFY((pressKey(window, Qt::Key_X, Qt::AltModifier), !window->isVisible()));
                closed = true;
            });
            pressKey(dialog(), Qt::Key_H, Qt::AltModifier);
            QTRY_VERIFY(closed);
            QTRY_VERIFY(!dialog()->findChild<HelpDialog *>());
            QVERIFY(dialog()->isVisible());
        });
    }

    void altAApplies()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            pressKey(dialog(), Qt::Key_E, Qt::AltModifier);
            QTRY_VERIFY(button("apply_button")->isEnabled());
            pressKey(dialog(), Qt::Key_A, Qt::AltModifier);
            QTRY_COMPARE(transforms().size(), 1);
            QVERIFY(!button("apply_button")->isEnabled());
        });
    }

    void shortcutsOfDisabledButtonsDoNothing()
    {
        fixture().session([&] {
            choose(DialogFixture::Tube);
            host().clearRecords();
            for (const Qt::Key key : {Qt::Key_O, Qt::Key_E, Qt::Key_X, Qt::Key_J, Qt::Key_B,
                                      Qt::Key_C, Qt::Key_M, Qt::Key_U, Qt::Key_R, Qt::Key_A})
                pressKey(dialog(), key, Qt::AltModifier);
            QTest::qWait(kClickMs);
            QVERIFY(!canvas()->hasUnappliedChanges());
            QCOMPARE(host().transcript, QStringList());
        });
    }

    void altYLeadsToTheListWhateverItsCaptionSays_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("part");
        QTest::newRow("calibrated") << int(DialogFixture::Wand) << QStringLiteral("Bod&y");
        QTest::newRow("cylinder") << int(DialogFixture::Tube)
                                  << QStringLiteral("Bod&y has cylinder marker!");
        QTest::newRow("uncalibrated")
            << int(DialogFixture::Raw) << QStringLiteral("Bod&y not calibrated!");
    }

    void altYLeadsToTheListWhateverItsCaptionSays()
    {
        QFETCH(int, position);
        QFETCH(QString, part);
        fixture().session([&] {
            choose(position);
            QVERIFY(fixture().child<QLabel>("loadBody")->text().contains(part));
            QVERIFY(!fixture().child<QComboBox>("body_name")->hasFocus());
            pressKey(dialog(), Qt::Key_Y, Qt::AltModifier);
            QTRY_VERIFY(fixture().child<QComboBox>("body_name")->hasFocus());
        });
    }

    void noTwoControlsThatAreShownShareAKey()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            for (int tab = 0; tab < tabs()->count(); ++tab) {
                tabs()->setCurrentIndex(tab);
                QStringList keys;
                for (const QAbstractButton *shown : dialog()->findChildren<QAbstractButton *>()) {
                    if (shown->isVisible() && !shown->shortcut().isEmpty())
                        keys.append(shown->shortcut().toString());
                }
                for (const QLabel *label : dialog()->findChildren<QLabel *>()) {
                    if (label->isVisible() && label->buddy())
                        keys.append(QKeySequence::mnemonic(label->text()).toString());
                }
                for (int i = 0; i < tabs()->count(); ++i)
                    keys.append(QKeySequence::mnemonic(tabs()->tabText(i)).toString());
                keys.removeAll(QString());
                QVERIFY(keys.size() >= 10);
                QCOMPARE(keys.removeDuplicates(), 0);
            }
        });
    }

    // Delete, Escape, Y

    void deleteAsksForTheSelectedMarkerFromWhereverItIsNoText()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            select({3});
            const QList<QWidget *> stops = tabRound(fixture().child<QComboBox>("body_name"), false);
            for (QWidget *stop : stops) {
                stop->setFocus(Qt::TabFocusReason);
                const bool isField = qobject_cast<QAbstractSpinBox *>(stop);
                fixture().boxes.clear();
                pressKey(dialog(), Qt::Key_Delete);
                QVERIFY2(fixture().boxes.size() == (isField ? 0 : 1), qPrintable(nameOf(stop)));
                if (!isField)
                    QCOMPARE(fixture().boxes.first().text,
                             QStringLiteral("Delete selected marker?"));
            }
            QCOMPARE(canvas()->body().markerCount(), 6);
        });
    }

    void escapeCancelsFromEveryStop()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            // With something to lose Cancel asks, and every answer but Yes keeps the dialog open.
            fixture().click("set_origin_cog_button");
            const QList<QWidget *> stops = tabRound(fixture().child<QComboBox>("body_name"), false);
            QVERIFY(stops.size() > 15);
            for (QWidget *stop : stops) {
                stop->setFocus(Qt::TabFocusReason);
                fixture().boxes.clear();
                pressKey(dialog(), Qt::Key_Escape);
                QVERIFY2(fixture().boxes.size() == 1, qPrintable(nameOf(stop)));
                QCOMPARE(fixture().boxes.first().text,
                         QStringLiteral("Discard the changes for all bodies?"));
                QVERIFY(dialog()->isVisible());
            }
            fixture().answers = {QMessageBox::Yes};
            pressKey(dialog(), Qt::Key_Escape);
            QVERIFY(!dialog()->isVisible());
        });
    }

    void escapeClosesTheOpenListOnly()
    {
        fixture().session([&] {
            fixture().openList();
            QWidget *view = fixture().child<QComboBox>("body_name")->view();
            pressKey(view, Qt::Key_Escape);
            QTRY_VERIFY(!view->isVisible());
            QVERIFY(dialog()->isVisible());
        });
    }

    void theListIsUsedByKeysAlone()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            QVERIFY(list->hasFocus());
            pressKey(dialog(), Qt::Key_Down);
            QCOMPARE(list->currentIndex(), 0);
            QCOMPARE(canvas()->body().markerCount(), 6);
            pressKey(dialog(), Qt::Key_End);
            QCOMPARE(list->currentIndex(), list->count() - 1);
            QCOMPARE(canvas()->body().markerCount(), 5);
            pressKey(dialog(), Qt::Key_Down, Qt::AltModifier);
            QTRY_VERIFY(list->view()->isVisible());
            pressKey(list->view(), Qt::Key_Home);
            pressKey(list->view(), Qt::Key_Return);
            QTRY_VERIFY(!list->view()->isVisible());
            QCOMPARE(list->currentIndex(), 0);
            QCOMPARE(canvas()->body().markerCount(), 6);
        });
    }

    void yDoesNothingButLeadToTheListWithItsModifiers()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            auto *list = fixture().child<QComboBox>("body_name");
            pressKey(dialog(), Qt::Key_Y);
            QVERIFY(canvas()->hasFocus());
            // The modifier word is the windowing system's, which the test can only state.
            constexpr quint32 bothShiftsAndNumLock = 0x211;
            for (const quint32 word : {0x210U, 0x201U, 0x611U}) {
                QKeyEvent event(QEvent::KeyPress, Qt::Key_Y, Qt::ShiftModifier, 0, 0, word,
                                QStringLiteral("Y"));
                QApplication::sendEvent(canvas(), &event);
                QVERIFY(canvas()->hasFocus());
            }
            QKeyEvent event(QEvent::KeyPress, Qt::Key_Y, Qt::ShiftModifier, 0, 0,
                            bothShiftsAndNumLock, QStringLiteral("Y"));
            QApplication::sendEvent(canvas(), &event);
            QVERIFY(list->hasFocus());
            QVERIFY(dialog()->isVisible());
        });
    }

    // Menus

    void theMenuKeysEndADragOfTheMouse()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            const QPoint centre = canvas()->rect().center();
            QTest::mousePress(canvas(), Qt::LeftButton, Qt::ControlModifier, centre);
            QVERIFY(canvas()->isDragging());
            pressKey(dialog(), Qt::Key_Menu);
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu);
            QVERIFY(!canvas()->isDragging());
            QTest::keyClick(menu, Qt::Key_Escape);
            QTest::mouseRelease(canvas(), Qt::LeftButton, {}, centre);
        });
    }

    void theMenuKeysOpenTheContextMenus_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<bool>("shift");
        QTest::newRow("menu key") << Qt::Key_Menu << false;
        QTest::newRow("Shift+F10") << Qt::Key_F10 << true;
    }

    void theMenuKeysOpenTheContextMenus()
    {
        QFETCH(Qt::Key, key);
        QFETCH(bool, shift);
        const Qt::KeyboardModifiers modifier = shift ? Qt::ShiftModifier : Qt::NoModifier;
        fixture().session([&] {
            choose(DialogFixture::Wand);
            pressKey(dialog(), key, modifier);
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu);
            // The last of its entries is the data view.
            QTest::keyClick(menu, Qt::Key_Up);
            QTest::keyClick(menu, Qt::Key_Return);
            QTRY_VERIFY(!canvas()->isVisible());
            QVERIFY(!QApplication::activePopupWidget());

            // From each of the two tables, which Tab leads to.
            for (const char *table : {"tableWidget_emissions", "tableWidget_data"}) {
                fixture().child<QTableWidget>(table)->setFocus(Qt::TabFocusReason);
                pressKey(dialog(), key, modifier);
                menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                QVERIFY(menu);
                QCOMPARE(menu->actions().first()->text(), QStringLiteral("Graphic view"));
                QTest::keyClick(menu, Qt::Key_Escape);
                QVERIFY(!QApplication::activePopupWidget());
                QVERIFY(dialog()->isVisible());
            }
            pressKey(dialog(), key, modifier);
            QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
            QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
            QTRY_VERIFY(canvas()->isVisible());
            QVERIFY(canvas()->hasFocus());
        });
    }

    void theMenuKeysBelongToTheViewAndTheTables()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            button("help_button")->setFocus();
            pressKey(dialog(), Qt::Key_Menu);
            pressKey(dialog(), Qt::Key_F10, Qt::ShiftModifier);
            QVERIFY(!QApplication::activePopupWidget());
        });
    }

    // The small dialogs

    void theSetAxisDialogIsUsedByKeysAlone()
    {
        SetAxisDialog window(nullptr);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto *toSet = window.findChild<QComboBox *>(QStringLiteral("axisToSetComboBox"));
        const QStringList expected =
            words("axisToSetComboBox|axisToPreserveComboBox|pushButton_ok|pushButton_cancel");
        QCOMPARE(names(tabRound(toSet, false)), expected);
        QStringList backwards = expected;
        std::reverse(backwards.begin() + 1, backwards.end());
        QCOMPARE(names(tabRound(toSet, true)), backwards);

        QStringList set;
        connect(&window, &SetAxisDialog::setAxis, this, [&set](abcAxis axisToSet, abcAxis kept) {
            set.append(QStringLiteral("%1 %2").arg(axisToSet).arg(kept));
        });
        pressKey(&window, Qt::Key_Down);
        pressKey(&window, Qt::Key_Tab);
        pressKey(&window, Qt::Key_Down);
        pressKey(&window, Qt::Key_Tab);
        pressKey(&window, Qt::Key_Space);
        QCOMPARE(set, QStringList(QStringLiteral("%1 %2").arg(Y).arg(Z)));
        QVERIFY(!window.isVisible());

        QSignalSpy rejected(&window, &QDialog::rejected);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        pressKey(&window, Qt::Key_Escape);
        QCOMPARE(rejected.count(), 1);
        QCOMPARE(set.size(), 1);
    }

    void theHelpDialogHasOneStop()
    {
        HelpDialog window(nullptr);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto *exit = window.findChild<QPushButton *>(QStringLiteral("exit_button"));
        QCOMPARE(names(tabRound(exit, false)), words("exit_button"));
        pressKey(&window, Qt::Key_Space);
        QVERIFY(!window.isVisible());
    }

    // Screen readers

    void everyStopOfTheTabKeyHasANameOfItsOwn()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            for (int tab = 0; tab < 2; ++tab) {
                for (const char *view : {"Graphic view", "Data view"}) {
                    tabs()->setCurrentIndex(tab);
                    fixture().menuAction(QString::fromLatin1(view))->trigger();
                    if (canvas()->isVisible() == (QByteArray(view) == "Data view"))
                        fixture().menuAction(QString::fromLatin1(view))->trigger();
                    QStringList spoken;
                    for (QWidget *stop : tabRound(fixture().child<QComboBox>("body_name"), false)) {
                        // The tabs are told one by one.
                        if (qobject_cast<QTabBar *>(stop))
                            continue;
                        const QString name = accessibleText(stop, QAccessible::Name);
                        QVERIFY2(!name.isEmpty(), qPrintable(nameOf(stop)));
                        spoken.append(name);
                    }
                    QCOMPARE(spoken.removeDuplicates(), 0);
                }
            }
        });
    }

    void fieldsAndWheelsSayWhatTheyAreFor()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            QStringList spoken;
            for (const char *group : {"body_pos_xyzWidget", "body_ori_xyzWidget"}) {
                for (QAbstractSpinBox *field : fields(group))
                    spoken.append(accessibleText(field, QAccessible::Name));
            }
            QCOMPARE(spoken, kGeneral.mid(1, 6));
            spoken.clear();
            for (const char *group : {"pos_xyzWidget", "ori_xyzWidget"}) {
                for (QwtWheel *wheel : wheels(group))
                    spoken.append(accessibleText(wheel, QAccessible::Name));
            }
            QCOMPARE(spoken, kWheels);
            QCOMPARE(
                accessibleText(fields("body_ori_xyzWidget").at(2), QAccessible::Description),
                QStringLiteral("Change the body coordinate system by rotating around three axes"));
            QCOMPARE(accessibleText(wheels("pos_xyzWidget").at(0), QAccessible::Description),
                     QStringLiteral("Change the position of viewing the body"));
        });
    }

    void theViewThePicturesAndTheButtonsSayWhatTheyAre()
    {
        fixture().session([&] {
            choose(DialogFixture::Wand);
            QCOMPARE(accessibleText(canvas(), QAccessible::Name),
                     QStringLiteral("Graphic view of the current body"));
            QCOMPARE(accessibleText(dialog()->findChild<BodyTable *>(), QAccessible::Name),
                     QStringLiteral("Data view of the current body"));
            QCOMPARE(accessibleLabel(fixture().child<QWidget>("body_name")),
                     QStringLiteral("Body"));
            QCOMPARE(accessibleText(button("undo_button"), QAccessible::Name),
                     QStringLiteral("Undo"));
            for (const char *picture : {"label_3", "label_4", "label_5"})
                QVERIFY2(
                    !accessibleText(fixture().child<QLabel>(picture), QAccessible::Name).isEmpty(),
                    picture);
            // As plain text, although the explanation is a rich one.
            QCOMPARE(accessibleText(button("pushButton_due_to_room_0"), QAccessible::Description),
                     QStringLiteral("Set the origin of the body coordinate system in Marker #1, "
                                    "orientate the orientation the same as the room coordinate "
                                    "system"));
            for (const QPushButton *shown : dialog()->findChildren<QPushButton *>())
                QVERIFY2(!shown->accessibleDescription().isEmpty(),
                         qPrintable(shown->objectName()));
        });
    }

    void theStatusIconSaysItsState()
    {
        fixture().session([&] {
            QLabel *icon = fixture().child<QLabel>("body_icon");
            const auto spoken = [icon] { return accessibleText(icon, QAccessible::Name); };
            QCOMPARE(spoken(), QStringLiteral("The state of the body is not known"));
            choose(DialogFixture::Wand);
            host().deliver("6d", bodyLine(0, "1.000"));
            QTRY_COMPARE(spoken(), QStringLiteral("The body is tracked"));
            host().deliver("6d", bodyLine(0, "-1.000"));
            QTRY_COMPARE(spoken(), QStringLiteral("The body is not tracked"));
            fixture().choose(DialogFixture::Raw);
            QCOMPARE(spoken(), QStringLiteral("The body is not calibrated"));
            dialog()->update_current_body(-1);
            QCOMPARE(spoken(), QStringLiteral("The state of the body is not known"));
        });
    }

    void theSmallDialogsSayWhatTheyAre()
    {
        SetAxisDialog axes(nullptr);
        const QVector<QPair<const char *, QString>> lists = {
            {"axisToSetComboBox", QStringLiteral("axis to set:")},
            {"axisToPreserveComboBox", QStringLiteral("axis to preserve:")},
            {"axisToCalculateComboBox", QStringLiteral("axis to calculate:")}};
        for (const auto &list : lists)
            QCOMPARE(accessibleLabel(axes.findChild<QComboBox *>(QString::fromLatin1(list.first))),
                     list.second);
        HelpDialog help(nullptr);
        for (const char *picture : {"label_5", "label_3", "label_7"})
            QVERIFY2(!accessibleText(help.findChild<QLabel *>(QString::fromLatin1(picture)),
                                     QAccessible::Name)
                          .isEmpty(),
                     picture);
    }
};

QUOREL2_TEST_MAIN(tst_DialogKeyboard)
#include "tst_DialogKeyboard.moc"
