#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/TestMain.h>
#include <model/abcMarker.h>
#include <view/GLCanvas.h>
#include <widgets/xyzWidget.h>

#include <QAbstractItemView>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QMenu>
#include <QMetaMethod>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QWheelEvent>
#include <QtTest>

#include <thread>

namespace {

const QString kIdentityRotation =
    QStringLiteral("1.00000000 0.00000000 0.00000000 0.00000000 1.00000000 0.00000000 "
                   "0.00000000 0.00000000 1.00000000");

/// What reading one body into the list asks.
QStringList listRead(const QString &type, int number, bool withTargetType)
{
    const QString body = QStringLiteral("%1 b%2").arg(type).arg(number, 2, 10, QLatin1Char('0'));
    QStringList lines = {"get body type_desc " + type, "get body calibrated " + body};
    if (withTargetType)
        lines.append("get body target_type " + body);
    lines.append("get body desc " + body);
    return lines;
}

QStringList listBuild(bool withTargetType)
{
    QStringList lines = {"get vimbar multiuser_available", "get body number_of_types",
                         "get body type t01", "get body number_of_bodies standard"};
    for (int number = 1; number <= 5; ++number)
        lines += listRead("standard", number, withTargetType);
    lines += QStringList{"get body type t02", "get body number_of_bodies vimbar"};
    for (int number = 1; number <= 2; ++number)
        lines += listRead("vimbar", number, withTargetType);
    return lines;
}

QStringList markerRead(const QString &body, int count)
{
    QStringList lines = {"get body number_of_marker " + body};
    for (int marker = 1; marker <= count; ++marker) {
        const QString name =
            QStringLiteral("%1 m%2").arg(body).arg(marker, 2, 10, QLatin1Char('0'));
        lines += QStringList{"get body marker " + name, "get body marker_emission " + name};
    }
    return lines;
}

} // namespace

class TestBodyAdjustmentDialog : public DialogTest {
    Q_OBJECT

private slots:
    // Construction --------------------------------------------------------------------------------

    void metaObjectListsTheSignalAndTheSlotsInOrder()
    {
        const QList<QByteArray> expected = {"set_chosen_body_tracked(bool)",
                                            "update_and_exec()",
                                            "on_redo_button_clicked()",
                                            "on_undo_button_clicked()",
                                            "on_pushButton_deleteMarker_clicked()",
                                            "on_doubleSpinBox_alpha_valueChanged(double)",
                                            "on_doubleSpinBox_ez_valueChanged(double)",
                                            "on_doubleSpinBox_ey_valueChanged(double)",
                                            "on_doubleSpinBox_ex_valueChanged(double)",
                                            "calcNormalizedUnitVector()",
                                            "enableEmissionTab(bool)",
                                            "keyPressEvent(QKeyEvent*)",
                                            "showEvent(QShowEvent*)",
                                            "hideEvent(QHideEvent*)",
                                            "resizeEvent(QResizeEvent*)",
                                            "onReceiveOpenBodyAdjustmentDialog(QString,QString)",
                                            "on_online_checkbox_clicked()",
                                            "on_reset_view_button_clicked()",
                                            "on_help_button_clicked()",
                                            "on_ok_button_clicked()",
                                            "on_apply_button_clicked()",
                                            "reject()",
                                            "can_set_origin_to_marker_slot(bool)",
                                            "set_origin_to_marker()",
                                            "on_set_origin_cog_button_clicked()",
                                            "can_set_axis_slot(bool)",
                                            "set_axis()",
                                            "on_adjust_axes_to_room_button_clicked()",
                                            "on_pushButton_due_to_body_clicked()",
                                            "on_pushButton_due_to_room_clicked()",
                                            "on_pushButton_due_to_room_0_clicked()",
                                            "update_current_body(int,bool)",
                                            "update_current_body(int)",
                                            "update_after_apply(int)",
                                            "update_track()",
                                            "toggled_small_markers()",
                                            "toggled_colored_markers()",
                                            "toggled_long_axes()",
                                            "toggled_show_COG()",
                                            "toggled_show_XY()",
                                            "toggled_show_YZ()",
                                            "toggled_show_XZ()",
                                            "toggled_show_room_ori()",
                                            "toggled_switch_view()",
                                            "toggled_marker_emissions()",
                                            "table_body_change()",
                                            "apply_button_enable(bool)",
                                            "apply_button_enable()",
                                            "update_room_buttons(bool)",
                                            "enable_undo_disable_redo()",
                                            "onCanDeleteMarker()"};
        const QMetaObject &meta = BodyAdjustmentDialog::staticMetaObject;
        QList<QByteArray> signatures;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            signatures.append(meta.method(i).methodSignature());
        QCOMPARE(signatures, expected);
        QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
        const QMetaMethod open = meta.method(meta.indexOfSlot("update_and_exec()"));
        QCOMPARE(QByteArray(open.typeName()), QByteArray("int"));
    }

    void metacastAnswersToDialogAndRequester()
    {
        fixture().makeDialog();
        QCOMPARE(dialog()->qt_metacast("BodyAdjustmentDialog"), static_cast<void *>(dialog()));
        QCOMPARE(dialog()->qt_metacast("Requester"),
                 static_cast<void *>(static_cast<Requester *>(dialog())));
    }

    void constructionRegistersTheReceiverAndAsksNothing()
    {
        fixture().makeDialog();
        QCOMPARE(host().journal, QStringList{"register BodyAdjustmentModule"});
        auto *tabs = fixture().child<QTabWidget>("tabWidget");
        QCOMPARE(tabs->count(), 2);
        QCOMPARE(tabs->currentIndex(), 0);
        auto *stack = fixture().child<QStackedWidget>("stackedWidget");
        QCOMPARE(stack->currentIndex(), 0);
        QCOMPARE(stack->widget(0), static_cast<QWidget *>(canvas()));
        QVERIFY(stack->widget(1)->inherits("BodyTable"));
        for (const char *name :
             {"set_origin_button", "set_axis_button", "adjust_axes_to_room_button",
              "pushButton_deleteMarker", "pushButton_due_to_room", "pushButton_due_to_room_0",
              "online_checkbox"})
            QVERIFY2(!fixture().isEnabled(name), name);
    }

    void valueGroupsHaveTheirModesAndRanges()
    {
        fixture().makeDialog();
        const auto spinBoxes = [this](const char *name) {
            return fixture().child<QWidget>(name)->findChildren<QDoubleSpinBox *>();
        };
        for (const char *name : {"body_pos_xyzWidget", "pos_xyzWidget"}) {
            QCOMPARE(spinBoxes(name).size(), 3);
            for (QDoubleSpinBox *box : spinBoxes(name)) {
                QCOMPARE(box->minimum(), -999.99);
                QCOMPARE(box->maximum(), 999.99);
                QVERIFY(!box->wrapping());
            }
        }
        for (const char *name : {"body_ori_xyzWidget", "ori_xyzWidget"}) {
            for (QDoubleSpinBox *box : spinBoxes(name)) {
                QCOMPARE(box->minimum(), 0.0);
                QCOMPARE(box->maximum(), 359.0);
                QVERIFY(box->wrapping());
            }
        }
        QVERIFY(!spinBoxes("body_pos_xyzWidget").first()->isHidden());
        QVERIFY(spinBoxes("pos_xyzWidget").first()->isHidden());
    }

    void destructionUnregistersTheReceiverOnce()
    {
        fixture().makeDialog();
        dialog()->detachFromHost();
        fixture().dialog.reset();
        QCOMPARE(host().journal.count("unregister BodyAdjustmentModule"), 1);
    }

    // Opening and closing -------------------------------------------------------------------------

    void openingAsksWhatTheBackendVersionKnows_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<bool>("changeable");
        QTest::addColumn<bool>("available");
        QTest::addColumn<bool>("targetType");
        QTest::addColumn<bool>("outputForm");
        QTest::newRow("1.17") << 1 << 17 << true << true << true << true;
        QTest::newRow("1.12") << 1 << 12 << true << true << true << true;
        QTest::newRow("1.11") << 1 << 11 << true << true << false << true;
        QTest::newRow("1.8") << 1 << 8 << false << true << false << true;
        QTest::newRow("0.16") << 0 << 16 << false << false << false << true;
        QTest::newRow("0.5") << 0 << 5 << false << false << false << false;
    }

    void openingAsksWhatTheBackendVersionKnows()
    {
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(bool, changeable);
        QFETCH(bool, available);
        QFETCH(bool, targetType);
        QFETCH(bool, outputForm);
        host().setVersion(major, minor);
        QStringList expected = {"register BodyAdjustmentModule"};
        if (changeable)
            expected.append("get config is_changeable");
        if (available)
            expected.append("get tracking available");
        expected +=
            QStringList{"get body number_of_bodies standard", "get body number_of_bodies vimbar",
                        "get vimbar multiuser_available",
                        "get vimbar multiuser_with_head_available", "get tracking reference"};
        expected += listBuild(targetType);
        expected += QStringList{"get vimbar multiuser_with_head_available", "add 6d"};
        if (outputForm)
            expected.append("quorel2 get vimbar output_6df");
        expected += QStringList{"add 6df2", "set output active chmon 6df2 yes",
                                "quorel2 tracking start", "get status active"};
        QStringList opened;
        fixture().session([&] { opened = host().journal; });
        QCOMPARE(opened, expected);
    }

    void closingWithoutAChangeAsksNoQuestionAndRestoresNothingThatWasOff()
    {
        fixture().session([&] { host().clearRecords(); });
        QCOMPARE(host().journal, (QStringList{"get status active", "quorel2 tracking stop",
                                              "get status active", "remove 6d", "remove 6df2"}));
        QVERIFY(fixture().boxes.isEmpty());
    }

    void closingSwitchesOnWhatOpeningSwitchedOff()
    {
        host().parameters["vimbar multiuser_available"] = "yes";
        host().parameters["vimbar multiuser"] = "yes";
        host().parameters["vimbar multiuser_with_head_available"] = "yes";
        host().parameters["vimbar multiuser_with_head"] = "yes";
        host().parameters["tracking reference"] = "standard 02";
        fixture().session([&] {
            QVERIFY(host().transcript.contains("set vimbar multiuser_with_head no"));
            QVERIFY(host().transcript.contains("set vimbar multiuser no"));
            QVERIFY(host().transcript.contains("set tracking reference none"));
            host().clearRecords();
        });
        QCOMPARE(host().transcript,
                 (QStringList{"get status active", "quorel2 tracking stop",
                              "set vimbar multiuser yes", "set vimbar multiuser_with_head yes",
                              "set tracking reference standard 02", "get status active"}));
        QVERIFY(host().messages.isEmpty());
    }

    void okSwitchesOnWhatOpeningSwitchedOffBeforeItCloses_data()
    {
        QTest::addColumn<bool>("changed");
        QTest::addColumn<bool>("withHead");
        QTest::newRow("nothing changed") << false << true;
        QTest::newRow("a change to write") << true << true;
        QTest::newRow("without a head") << true << false;
    }

    void okSwitchesOnWhatOpeningSwitchedOffBeforeItCloses()
    {
        QFETCH(bool, changed);
        QFETCH(bool, withHead);
        host().parameters["vimbar multiuser_available"] = "yes";
        host().parameters["vimbar multiuser"] = "yes";
        host().parameters["vimbar multiuser_with_head_available"] = "yes";
        host().parameters["vimbar multiuser_with_head"] = withHead ? "yes" : "no";
        host().parameters["tracking reference"] = "standard 02";
        fixture().makeDialog();
        connect(dialog(), &QDialog::accepted, this, [this] { host().journal.append("accepted"); });
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            if (changed)
                fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            QCOMPARE(host().parameters.value("vimbar multiuser"), QStringLiteral("no"));
            QCOMPARE(host().parameters.value("vimbar multiuser_with_head"), QStringLiteral("no"));
            QCOMPARE(host().parameters.value("tracking reference"), QStringLiteral("none"));
            host().clearRecords();
            fixture().click("ok_button");
        });
        QStringList expected;
        if (changed)
            expected.append("quorel2 body transform standard b01 -10.000 -0.000 -0.000 " +
                            kIdentityRotation);
        expected +=
            QStringList{"get status active", "quorel2 tracking stop", "set vimbar multiuser yes"};
        if (withHead)
            expected.append("set vimbar multiuser_with_head yes");
        expected += QStringList{"set tracking reference standard 02", "get status active",
                                "remove 6d", "remove 6df2", "accepted"};
        QCOMPARE(host().journal, expected);
    }

    void fillingTheListLoadsNoBodyAndChoosesNone()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            QCOMPARE(list->count(), 7);
            QCOMPARE(list->currentIndex(), -1);
            QCOMPARE(list->itemText(0), QStringLiteral("Wand (Standard body 01)"));
            QCOMPARE(list->itemText(1), QStringLiteral("Standard body 02"));
            QCOMPARE(list->itemData(6).toString(), QStringLiteral("vimbar|2|calibrated|tt_std"));
            QVERIFY(host().transcript.filter("number_of_marker").isEmpty());
            QVERIFY(!canvas()->isBodyLoaded());
            QVERIFY(list->hasFocus());
        });
    }

    void aListThatCouldNotBeReadLoadsNoBodyEither()
    {
        host().failLine("get body type_desc vimbar");
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            QCOMPARE(list->count(), 5);
            QCOMPARE(list->currentIndex(), -1);
            QVERIFY(!canvas()->isBodyLoaded());
            QCOMPARE(host().errors(), QStringList{"Error: Unable to check body type description"});
        });
    }

    void everyOpeningReadsEverythingAnewAndShowsNoBody()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QVERIFY(canvas()->isBodyLoaded());
        });
        fixture().session([&] {
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(), -1);
            QVERIFY(!canvas()->isBodyLoaded());
            fixture().choose(DialogFixture::Wand);
            QVERIFY(canvas()->isBodyLoaded());
        });
    }

    void openedAndClosedOftenItStaysTheSame()
    {
        fixture().makeDialog();
        for (int i = 0; i < 300; ++i) {
            QTimer::singleShot(0, dialog(), [this] { dialog()->reject(); });
            QCOMPARE(dialog()->update_and_exec(), int(QDialog::Rejected));
        }
        QCOMPARE(host().requesters.value("6d").size(), 0);
        QCOMPARE(host().receivers.size(), 1);
    }

    // States --------------------------------------------------------------------------------------

    void withoutABodyOnlyViewAndClosingAreEnabled()
    {
        fixture().session([&] {
            QCOMPARE(
                fixture().enabledControls(),
                (QStringList{"body_name", "pos_xyzWidget", "ori_xyzWidget", "reset_view_button",
                             "help_button", "ok_button", "cancel_button"}));
        });
    }

    void eachKindOfBodyEnablesWhatItAllows_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QStringList>("enabled");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<bool>("tabs");
        const QStringList view = {"pos_xyzWidget", "ori_xyzWidget", "reset_view_button"};
        const QStringList end = {"help_button", "ok_button", "cancel_button"};
        QTest::newRow("tt_std") << int(DialogFixture::Wand)
                                << QStringList{"body_name", "body_pos_xyzWidget",
                                               "body_ori_xyzWidget", "set_origin_cog_button",
                                               "pushButton_due_to_body"} +
                                       view + QStringList{"online_checkbox"} + end
                                << "Bod&y" << true;
        QTest::newRow("tt_5dof") << int(DialogFixture::Pen)
                                 << QStringList{"body_name", "body_ori_xyzWidget",
                                                "set_origin_cog_button"} +
                                        view + QStringList{"online_checkbox"} + end
                                 << "Bod&y" << true;
        QTest::newRow("cylinder markers")
            << int(DialogFixture::Tube)
            << QStringList{"body_name"} + view + QStringList{"online_checkbox"} + end
            << "<b><font color=gray>Bod&y has cylinder marker!</font></b>" << false;
        QTest::newRow("not calibrated")
            << int(DialogFixture::Raw) << QStringList{"body_name"} + end
            << "<b><font color=red>Bod&y not calibrated!</font></b>" << true;
        QTest::newRow("vimbar") << int(DialogFixture::Probe)
                                << QStringList{"body_name", "body_pos_xyzWidget",
                                               "body_ori_xyzWidget", "set_origin_cog_button",
                                               "pushButton_due_to_body"} +
                                       view + QStringList{"online_checkbox"} + end
                                << "Bod&y" << true;
    }

    void eachKindOfBodyEnablesWhatItAllows()
    {
        QFETCH(int, position);
        QFETCH(QStringList, enabled);
        QFETCH(QString, caption);
        QFETCH(bool, tabs);
        fixture().session([&] {
            fixture().choose(position);
            QCOMPARE(fixture().enabledControls(), enabled);
            QCOMPARE(fixture().child<QLabel>("loadBody")->text(), caption);
            for (int i = 0; i < 2; ++i)
                QCOMPARE(fixture().child<QTabWidget>("tabWidget")->isTabEnabled(i), tabs);
            QCOMPARE(fixture().child<QTabWidget>("tabWidget")->currentIndex(), 0);
            QCOMPARE(canvas()->isBodyLoaded(), position != DialogFixture::Raw);
        });
    }

    void theUncalibratedBodyShowsAGreyIconAndAnEmptyTable()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *table = fixture().child<QTableWidget>("tableWidget_data");
            QCOMPARE(table->rowCount(), 6);
            fixture().choose(DialogFixture::Raw);
            QCOMPARE(table->rowCount(), 0);
            auto *icon = fixture().child<QLabel>("body_icon");
            QVERIFY(icon->pixmap(Qt::ReturnByValue).size() == QSize(18, 18));
            const qint64 grey = icon->pixmap(Qt::ReturnByValue).cacheKey();
            host().deliver("6d", bodyLine(4, "1.000"));
            QCOMPARE(icon->pixmap(Qt::ReturnByValue).cacheKey(), grey);
            fixture().choose(DialogFixture::Wand);
            host().deliver("6d", bodyLine(0, "1.000"));
            QVERIFY(icon->pixmap(Qt::ReturnByValue).cacheKey() != grey);
        });
    }

    void aLockedConfigurationCanBeSeenButNotChanged()
    {
        host().parameters["config is_changeable"] = "no";
        fixture().session([&] {
            QVERIFY(!dialog()->windowIcon().isNull());
            QVERIFY(!fixture().child<QTabWidget>("tabWidget")->isTabEnabled(0));
            QVERIFY(!fixture().child<QTabWidget>("tabWidget")->isTabEnabled(1));
            fixture().choose(DialogFixture::Wand);
            QVERIFY(canvas()->isBodyLoaded());
            QCOMPARE(
                fixture().enabledControls(),
                (QStringList{"body_name", "pos_xyzWidget", "ori_xyzWidget", "reset_view_button",
                             "online_checkbox", "help_button", "ok_button", "cancel_button"}));
            QVERIFY(!fixture().child<QTabWidget>("tabWidget")->isTabEnabled(0));
        });
        host().parameters["config is_changeable"] = "yes";
        fixture().session([&] {
            QVERIFY(fixture().child<QTabWidget>("tabWidget")->isTabEnabled(0));
            fixture().choose(DialogFixture::Wand);
            QVERIFY(fixture().isEnabled("body_pos_xyzWidget"));
        });
    }

    void withoutTrackingNothingIsStartedOrStopped()
    {
        host().parameters["tracking available"] = "no";
        fixture().session([&] {
            QVERIFY(!fixture().child<QLabel>("error_label")->isVisible());
            QVERIFY(fixture().child<QLabel>("error_label")->text().isEmpty());
            fixture().choose(DialogFixture::Wand);
            QVERIFY(!fixture().isEnabled("online_checkbox"));
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().click("apply_button");
        });
        QVERIFY(host().transcript.filter("tracking st").isEmpty());
        QVERIFY(!transforms().isEmpty());
    }

    void multiUserThatStaysOnIsTold()
    {
        host().parameters["vimbar multiuser_available"] = "yes";
        host().parameters["vimbar multiuser"] = "yes";
        host().failLine("set vimbar multiuser no");
        fixture().session([&] {
            QVERIFY(fixture().child<QLabel>("error_label")->isVisible());
            QCOMPARE(
                fixture().child<QLabel>("error_label")->text(),
                QStringLiteral("<b><font color=red>Multi user should be disabled!</font></b>"));
            QCOMPARE(fixture().child<QComboBox>("body_name")->count(), 5);
            QCOMPARE(host().errors(), QStringList{"Error: Unable to deactivate multi user Vimbar"});
        });
    }

    void theOnlineBoxNeedsARunningMeasurement()
    {
        host().answerLine("get status active", {0, "idle", true});
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QVERIFY(!fixture().isEnabled("online_checkbox"));
        });
        QVERIFY(!host().transcript.contains("quorel2 tracking stop"));
    }

    // Choosing ------------------------------------------------------------------------------------

    void choosingReadsTheMarkersOnceAndShowsThem()
    {
        fixture().session([&] {
            host().clearRecords();
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(host().transcript, markerRead("standard b01", 6));
            QCOMPARE(canvas()->body().markerCount(), 6);
            auto *table = fixture().child<QTableWidget>("tableWidget_data");
            QCOMPARE(table->rowCount(), 6);
            QCOMPARE(table->item(1, 1)->text(), QStringLiteral("100.00"));
        });
    }

    void highlightingAnEntryLoadsItAndTheBoxShowsIt()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            fixture().choose(DialogFixture::Wand);
            host().clearRecords();
            fixture().openList();
            QVERIFY(host().transcript.isEmpty());
            QTest::keyClick(list->view(), Qt::Key_Down);
            QCOMPARE(host().transcript, markerRead("standard b02", 4));
            QCOMPARE(canvas()->body().markerCount(), 4);
            QCOMPARE(list->currentIndex(), int(DialogFixture::Plain));
            QTest::keyClick(list->view(), Qt::Key_Escape);
            QTRY_VERIFY(!list->view()->isVisible());
            QCOMPARE(list->currentIndex(), int(DialogFixture::Plain));
            QCOMPARE(host().transcript, markerRead("standard b02", 4));
        });
    }

    void openingTheListWithNothingChosenChoosesNothing_data()
    {
        QTest::addColumn<bool>("byMouse");
        QTest::newRow("F4") << false;
        QTest::newRow("mouse") << true;
    }
    void openingTheListWithNothingChosenChoosesNothing()
    {
        QFETCH(bool, byMouse);
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            host().clearRecords();
            if (byMouse)
                QTest::mouseClick(list, Qt::LeftButton, {}, list->rect().center());
            else
                QTest::keyClick(list, Qt::Key_F4);
            QTRY_VERIFY(list->view()->isVisible());
            QVERIFY(QTest::qWaitForWindowExposed(list->view()->window()));
            QTRY_VERIFY(list->view()->hasFocus());
            QTest::keyClick(list->view(), Qt::Key_Escape);
            QTRY_VERIFY(!list->view()->isVisible());
            QCOMPARE(list->currentIndex(), -1);
            QCOMPARE(host().transcript, QStringList());
            QVERIFY(!canvas()->isBodyLoaded());
            // Return takes only what is highlighted.
            QTest::keyClick(list, Qt::Key_F4);
            QTRY_VERIFY(list->view()->isVisible());
            QTRY_VERIFY(list->view()->hasFocus());
            QTest::qWait(20);
            QTest::keyClick(list->view(), Qt::Key_Return);
            QCOMPARE(list->currentIndex(), -1);
            QCOMPARE(host().transcript, QStringList());
            // The first body can be chosen all the same.
            QTest::keyClick(list->view(), Qt::Key_Down);
            QTRY_COMPARE(list->currentIndex(), 0);
            QCOMPARE(canvas()->body().markerCount(), 6);
            QTest::keyClick(list->view(), Qt::Key_Return);
            QTRY_VERIFY(!list->view()->isVisible());
            QCOMPARE(list->currentIndex(), 0);
            QCOMPARE(host().transcript.count("get body number_of_marker standard b01"), 1);
        });
    }

    void pointingAtTheFirstRowOfAFreshListLoadsIt()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            QTest::mouseClick(list, Qt::LeftButton, {}, list->rect().center());
            QTRY_VERIFY(list->view()->isVisible());
            QVERIFY(QTest::qWaitForWindowExposed(list->view()->window()));
            QTRY_VERIFY(list->view()->hasFocus());
            QVERIFY(!canvas()->isBodyLoaded());
            host().clearRecords();
            const QRect first = list->view()->visualRect(list->model()->index(0, 0));
            QTest::mouseMove(list->view()->viewport(), first.center() - QPoint(5, 0));
            QTest::mouseMove(list->view()->viewport(), first.center());
            QTRY_COMPARE(canvas()->body().markerCount(), 6);
            QCOMPARE(list->currentIndex(), 0);
            QCOMPARE(host().transcript.count("get body number_of_marker standard b01"), 1);
            // Any other one too, and once also where it cannot be read.
            host().failLine("get body number_of_marker standard b03");
            const QRect third = list->view()->visualRect(list->model()->index(2, 0));
            QTest::mouseMove(list->view()->viewport(), third.center());
            QTRY_COMPARE(host().transcript.count("get body number_of_marker standard b03"), 1);
            const QRect second = list->view()->visualRect(list->model()->index(1, 0));
            QTest::mouseMove(list->view()->viewport(), second.center());
            QTRY_COMPARE(canvas()->body().markerCount(), 4);
            QCOMPARE(host().transcript.count("get body number_of_marker standard b02"), 1);
            QTest::keyClick(list->view(), Qt::Key_Escape);
        });
    }

    void aRowThatIsPressedUnderAPointerAtRestIsChosen_data()
    {
        QTest::addColumn<int>("row");
        QTest::newRow("first") << int(DialogFixture::Wand);
        QTest::newRow("third") << int(DialogFixture::Pen);
    }
    void aRowThatIsPressedUnderAPointerAtRestIsChosen()
    {
        QFETCH(int, row);
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            fixture().openList();
            QTRY_VERIFY(list->view()->hasFocus());
            QTest::qWait(300); // a click that comes with the opening is not taken for a choice
            host().clearRecords();
            const QPoint place = list->view()->visualRect(list->model()->index(row, 0)).center();
            // Nothing moved before it: the list may have been scrolled under the pointer.
            const QPoint global = list->view()->viewport()->mapToGlobal(place);
            for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
                const bool isPress = type == QEvent::MouseButtonPress;
                QMouseEvent event(type, place, global, Qt::LeftButton,
                                  isPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
                QApplication::sendEvent(list->view()->viewport(), &event);
                QTest::qWait(20);
            }
            QTRY_VERIFY(!list->view()->isVisible());
            QCOMPARE(list->currentIndex(), row);
            const QString count =
                QStringLiteral("get body number_of_marker standard b0%1").arg(row + 1);
            QCOMPARE(host().transcript.count(count), 1);
        });
    }

    void withoutAParentItOpensAllTheSame()
    {
        BodyAdjustmentDialog alone(&host(), nullptr, &host().versions);
        QTimer::singleShot(0, &alone, [&alone] { alone.reject(); });
        QCOMPARE(alone.update_and_exec(), int(QDialog::Rejected));
        QVERIFY(alone.windowIcon().isNull());
    }

    void aBodyCanBeLoadedWithoutAskingForTheChanges()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().clearRecords();
            dialog()->update_current_body(DialogFixture::Plain, false);
            QVERIFY(fixture().boxes.isEmpty());
            QCOMPARE(canvas()->body().markerCount(), 4);
            QCOMPARE(canvas()->body().undoCount(), 0);
            QCOMPARE(host().transcript, markerRead("standard b02", 4));
        });
    }

    void afterAnApplyWithoutAPlaceInTheListTheChosenBodyIsRead()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            host().clearRecords();
            dialog()->update_after_apply(-1);
            QCOMPARE(host().transcript, markerRead("standard b02", 4));
            QCOMPARE(canvas()->body().markerCount(), 4);
        });
    }

    void anEntryThatCannotBeReadChoosesNoBodyAndTheLastOneCanBeChosenAgain()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            auto *caption = fixture().child<QLabel>("loadBody");
            fixture().choose(DialogFixture::Wand);
            host().clearRecords();
            list->setItemData(DialogFixture::Plain, QStringLiteral("standard"));
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(host().transcript, QStringList());
            QCOMPARE(canvas()->body().markerCount(), 6);
            // What it is called in another language is still no body.
            QEvent languageChange(QEvent::LanguageChange);
            QCoreApplication::sendEvent(dialog(), &languageChange);
            QCOMPARE(caption->text(), QStringLiteral("Bod&y"));
            // Nothing can be deleted of a body that is not chosen.
            canvas()->select(canvas()->body().markers().at(0));
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));

            fixture().choose(DialogFixture::Wand);
            QCOMPARE(host().transcript.first(),
                     QStringLiteral("get body number_of_marker standard b01"));
            canvas()->select(canvas()->body().markers().at(0));
            QVERIFY(fixture().isEnabled("pushButton_deleteMarker"));
        });
    }

    void openingTheListOnAChangedBodyAsksNothingAndLosesNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().clearRecords();
            fixture().openList();
            QTest::keyClick(fixture().child<QComboBox>("body_name")->view(), Qt::Key_Escape);
            QVERIFY(fixture().boxes.isEmpty());
            QVERIFY(host().transcript.isEmpty());
            QCOMPARE(canvas()->body().undoCount(), 1);
            QVERIFY(fixture().isEnabled("apply_button"));
        });
    }

    void leavingAChangedBodyAsks_data()
    {
        QTest::addColumn<bool>("apply");
        QTest::addColumn<bool>("byHighlight");
        QTest::newRow("Yes") << true << false;
        QTest::newRow("No") << false << false;
        QTest::newRow("Yes while the list is open") << true << true;
    }

    void leavingAChangedBodyAsks()
    {
        QFETCH(bool, apply);
        QFETCH(bool, byHighlight);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().clearRecords();
            fixture().answers = {apply ? QMessageBox::Yes : QMessageBox::No};
            auto *list = fixture().child<QComboBox>("body_name");
            if (byHighlight) {
                fixture().openList();
                QTest::keyClick(list->view(), Qt::Key_Down);
                QVERIFY(!list->view()->isVisible());
            } else {
                fixture().choose(DialogFixture::Plain);
            }
            QCOMPARE(fixture().boxes.size(), 1);
            const SeenBox &box = fixture().boxes.first();
            QCOMPARE(box.icon, QMessageBox::Warning);
            QCOMPARE(box.title, QStringLiteral("Body Adjustment"));
            QCOMPARE(box.text, QStringLiteral("Apply the changes?"));
            QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
            QCOMPARE(box.defaultButton, QMessageBox::Yes);
            QStringList expected;
            if (apply)
                expected.append("quorel2 body transform standard b01 -10.000 -0.000 -0.000 " +
                                kIdentityRotation);
            expected += markerRead("standard b02", 4);
            QCOMPARE(host().transcript, expected);
            QCOMPARE(list->currentIndex(), int(DialogFixture::Plain));
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("apply_button"));

            // What was applied is what Cancel has to take back.
            fixture().boxes.clear();
            fixture().answers.fill(QMessageBox::Yes, apply ? 1 : 0);
            host().clearRecords();
            fixture().click("cancel_button");
            QCOMPARE(fixture().boxes.size(), apply ? 1 : 0);
            QCOMPARE(host().transcript.filter("body transform").size(), apply ? 1 : 0);
        });
    }

    void aUserWhoHasUndoneEverythingIsAskedNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().click("undo_button");
            fixture().choose(DialogFixture::Plain);
            QVERIFY(fixture().boxes.isEmpty());
        });
    }

    void whatIsTypedWhenAnotherBodyIsChosenCountsAsAChange()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 1, "7");
            fixture().answers = {QMessageBox::Yes};
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(fixture().boxes.size(), 1);
            QCOMPARE(host().transcript.filter("body transform").size(), 1);
            QVERIFY(fixture()
                        .host.transcript.filter("body transform")
                        .first()
                        .contains(" -0.000 -7.000 -0.000 "));
        });
    }

    void anEntryThatCannotBeReadIsNoBody()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            list->setItemData(1, QStringLiteral("standard|2"));
            fixture().choose(DialogFixture::Wand);
            host().clearRecords();
            fixture().choose(DialogFixture::Plain);
            QVERIFY(host().transcript.isEmpty());
            QVERIFY(canvas()->isBodyLoaded());
        });
    }

    void aFailedLoadKeepsThePreviousBodyAndWritesOnlyToIt()
    {
        host().failLine("get body marker standard b02 m03");
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(host().errors(), QStringList{"Error: Unable to check body marker info"});
            QCOMPARE(canvas()->body().markerCount(), 6);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().click("apply_button");
            const QStringList written = host().transcript.filter("body transform");
            QCOMPARE(written.size(), 1);
            QVERIFY(written.first().contains("standard b01"));
        });
    }

    void aBodyOfNoMarkersFailsToLoadWithoutAMessage()
    {
        host().parameters["body number_of_marker standard b02"] = "0";
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            QVERIFY(host().errors().isEmpty());
            QVERIFY(!canvas()->isBodyLoaded());
        });
    }

    void aBodyOfOneMarkerIsReportedAndNotShown()
    {
        host().parameters["body number_of_marker standard b02"] = "1";
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(fixture().boxes.size(), 1);
            QCOMPARE(fixture().boxes.first().title, QStringLiteral("Error loading body"));
            QVERIFY(!canvas()->isBodyLoaded());
        });
    }
};

QUOREL2_TEST_MAIN(TestBodyAdjustmentDialog)
#include "tst_BodyAdjustmentDialog.moc"
