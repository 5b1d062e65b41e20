#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <tests/model/GeometryOracle.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/xyzWidget.h>

#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTimer>
#include <QWheelEvent>
#include <QtTest>

#include <thread>

#include <Eigen/Geometry>

namespace {

const QString kIdentityRotation =
    QStringLiteral("1.00000000 0.00000000 0.00000000 0.00000000 1.00000000 0.00000000 "
                   "0.00000000 0.00000000 1.00000000");

double distance(const bsVector &a, const bsVector &b)
{
    return (a - b).length();
}

} // namespace

class TestDialogEditing : public DialogTest {
    Q_OBJECT

private:
    void chooseAndMove(int position, const QString &x)
    {
        fixture().choose(position);
        fixture().typeValue("body_pos_xyzWidget", 0, x + "\r");
    }

private slots:
    // Value fields --------------------------------------------------------------------------------

    void typingIsOneEditThatTheEndOfTheGestureCommits()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QSignalSpy store(canvas(), &GLCanvas::storeBodyRequest);
            fixture().typeValue("body_pos_xyzWidget", 0, "12");
            QCOMPARE(canvas()->body().undoCount(), 0);
            QCOMPARE(canvas()->body().pendingPose().position.x, 12.0);
            QVERIFY(fixture().isEnabled("apply_button"));
            QTest::keyClick(spinBox("body_pos_xyzWidget", 0), Qt::Key_Return);
            QCOMPARE(store.count(), 1);
            QCOMPARE(canvas()->body().undoCount(), 1);
            QCOMPARE(canvas()->body().baseMatrix().column(3).x, 12.0);
            QCOMPARE(canvas()->body().pendingPose().position.x, 0.0);
            for (int i = 0; i < 3; ++i)
                QCOMPARE(spinBox("body_pos_xyzWidget", i)->value(), 0.0);
            QCOMPARE(fixture().child<QTableWidget>("tableWidget_data")->item(0, 1)->text(),
                     QStringLiteral("-12.00"));
            QVERIFY(fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("redo_button"));
            QVERIFY(fixture().isEnabled("apply_button"));
        });
    }

    void leavingTheFieldEndsTheEditToo()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_ori_xyzWidget", 2, "90");
            QTest::keyClick(spinBox("body_ori_xyzWidget", 2), Qt::Key_Tab);
            QCOMPARE(canvas()->body().undoCount(), 1);
            const bsVector x = canvas()->body().baseMatrix().column(0);
            QVERIFY(distance(x, bsVector(0, 1, 0)) < 1e-9);
        });
    }

    void anEditBackToZeroLeavesNoTrace()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "5");
            spinBox("body_pos_xyzWidget", 0)->selectAll();
            QTest::keyClicks(spinBox("body_pos_xyzWidget", 0), "0\r");
            QCOMPARE(canvas()->body().undoCount(), 0);
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("redo_button"));
            QVERIFY(!fixture().isEnabled("apply_button"));
        });
    }

    void undoAndRedoWalkTheHistoryAndTheButtonsTellTheTruth()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            fixture().typeValue("body_pos_xyzWidget", 1, "20\r");
            QCOMPARE(canvas()->body().undoCount(), 2);
            fixture().click("undo_button");
            QVERIFY(fixture().isEnabled("undo_button"));
            QVERIFY(fixture().isEnabled("redo_button"));
            QVERIFY(fixture().isEnabled("apply_button"));
            fixture().click("undo_button");
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(fixture().isEnabled("redo_button"));
            QVERIFY(!fixture().isEnabled("apply_button"));
            QCOMPARE(canvas()->body().baseMatrix().column(3).x, 0.0);
            fixture().click("redo_button");
            QVERIFY(fixture().isEnabled("undo_button"));
            QVERIFY(fixture().isEnabled("apply_button"));
            QCOMPARE(canvas()->body().baseMatrix().column(3).x, 10.0);
            fixture().typeValue("body_pos_xyzWidget", 2, "1\r");
            QVERIFY(!fixture().isEnabled("redo_button"));
        });
    }

    void undoAndRedoKeysWorkFromEverywhere()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            const QVector<QWidget *> places = {spinBox("body_pos_xyzWidget", 0),
                                               spinBox("body_ori_xyzWidget", 2),
                                               fixture().child<QWidget>("body_name"), canvas(),
                                               fixture().child<QWidget>("help_button")};
            for (QWidget *place : places) {
                place->setFocus();
                QTRY_VERIFY(place->hasFocus());
                QTest::keyClick(place, Qt::Key_Z, Qt::ControlModifier);
                QCOMPARE(canvas()->body().undoCount(), 0);
                QTest::keyClick(place, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
                QCOMPARE(canvas()->body().undoCount(), 1);
            }
        });
    }

    void returnInAFieldOnlyFinishesTheEdit()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            host().clearRecords();
            for (const char *group : {"body_pos_xyzWidget", "body_ori_xyzWidget"}) {
                for (int component = 0; component < 3; ++component) {
                    for (const int key : {int(Qt::Key_Return), int(Qt::Key_Enter)}) {
                        QDoubleSpinBox *box = spinBox(group, component);
                        box->setFocus();
                        QTRY_VERIFY(box->hasFocus());
                        QTest::keyClick(box, Qt::Key(key));
                        QVERIFY(dialog()->isVisible());
                        QVERIFY(host().transcript.isEmpty());
                        QVERIFY(fixture().boxes.isEmpty());
                        QCOMPARE(canvas()->body().undoCount(), 0);
                    }
                }
            }
            for (QPushButton *button : dialog()->findChildren<QPushButton *>()) {
                if (button->window() != dialog())
                    continue;
                QVERIFY2(!button->isDefault(), qPrintable(button->objectName()));
                QVERIFY2(!button->autoDefault(), qPrintable(button->objectName()));
            }
        });
    }

    void commaAndPointAreTheDecimalSeparator_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("point") << "12.5";
        QTest::newRow("comma") << "12,5";
    }

    void commaAndPointAreTheDecimalSeparator()
    {
        QFETCH(QString, typed);
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, typed);
            fixture().click("apply_button");
            QCOMPARE(transforms(),
                     QStringList{"quorel2 body transform standard b01 -12.500 -0.000 -0.000 " +
                                 kIdentityRotation});
        });
    }

    void scrollingPastAFieldOrTheListChangesNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().child<QWidget>("help_button")->setFocus();
            const QVector<QWidget *> places = {spinBox("body_pos_xyzWidget", 0),
                                               spinBox("body_ori_xyzWidget", 1),
                                               fixture().child<QWidget>("body_name")};
            for (QWidget *place : places) {
                const QPointF local = place->rect().center();
                QWheelEvent event(local, place->mapToGlobal(local.toPoint()), QPoint(),
                                  QPoint(0, -120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                                  false);
                QApplication::sendEvent(place, &event);
                QVERIFY(!place->hasFocus());
            }
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(),
                     int(DialogFixture::Wand));
            QCOMPARE(spinBox("body_pos_xyzWidget", 0)->value(), 0.0);
            QCOMPARE(spinBox("body_ori_xyzWidget", 1)->value(), 0.0);
            auto *list = fixture().child<QComboBox>("body_name");
            list->setFocus();
            QTRY_VERIFY(list->hasFocus());
            const QPointF local = list->rect().center();
            QWheelEvent event(local, list->mapToGlobal(local.toPoint()), QPoint(), QPoint(0, -120),
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(list, &event);
            QCOMPARE(list->currentIndex(), int(DialogFixture::Plain));
        });
    }

    // Apply, OK, Cancel ---------------------------------------------------------------------------

    void applyWritesTheInverseOfTheBaseMatrixAndReadsTheBodyAgain()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QVector<bsVector> before = host().markers("standard", 1);
            fixture().click("set_origin_cog_button");
            fixture().typeValue("body_ori_xyzWidget", 2, "30\r");
            host().clearRecords();
            fixture().click("apply_button");
            QCOMPARE(host().transcript.first(), QStringLiteral("quorel2 tracking stop"));
            QCOMPARE(host().transcript.at(2), QStringLiteral("quorel2 tracking start"));
            QCOMPARE(host().transcript.at(3),
                     QStringLiteral("get body number_of_marker standard b01"));
            QCOMPARE(host().transcript.size(), 4 + 2 * 6);

            Eigen::Vector3d cog = Eigen::Vector3d::Zero();
            for (const bsVector &p : before)
                cog += Eigen::Vector3d(p.x, p.y, p.z) / double(before.size());
            Eigen::Isometry3d base = Eigen::Isometry3d::Identity();
            base.translate(cog);
            base.rotate(Eigen::AngleAxisd(EIGEN_PI / 6.0, Eigen::Vector3d::UnitZ()));
            const Eigen::Matrix4d written = Oracle::matrix(transformOf(transforms().first()));
            QVERIFY(written.isApprox(base.inverse().matrix(), 1e-4));
            const QRegularExpression format(
                QStringLiteral("^quorel2 body transform standard b01( -?\\d+\\.\\d{3}){3}"
                               "( -?\\d\\.\\d{8}){9}$"));
            QVERIFY2(format.match(transforms().first()).hasMatch(),
                     qPrintable(transforms().first()));
            QVERIFY(transforms().first().contains(" 0.86602540 -0.50000000 "));

            const QVector<bsVector> after = host().markers("standard", 1);
            for (int i = 0; i < before.size(); ++i) {
                const Eigen::Vector3d expected =
                    base.inverse() * Eigen::Vector3d(before[i].x, before[i].y, before[i].z);
                QVERIFY(distance(after[i], bsVector(expected.x(), expected.y(), expected.z())) <
                        2e-3);
            }
            QVERIFY(!fixture().isEnabled("apply_button"));
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(!differs(canvas()->body().baseMatrix(), bsMatrix::identity()));
            QCOMPARE(canvas()->body().markerPositions().first().x, after.first().x);
        });
    }

    void applyByItsShortcutFinishesWhatIsTyped()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 2, "4");
            QTest::keyClick(spinBox("body_pos_xyzWidget", 2), Qt::Key_A, Qt::AltModifier);
            QTRY_COMPARE(transforms().size(), 1);
            QVERIFY(transforms().first().contains(" -0.000 -0.000 -4.000 "));
        });
    }

    void okFinishesWhatIsTypedWritesItAndCloses()
    {
        const int result = [&] {
            int value = -1;
            value = fixture().session([&] {
                fixture().choose(DialogFixture::Wand);
                fixture().typeValue("body_pos_xyzWidget", 0, "3");
                host().clearRecords();
                fixture().child<QPushButton>("ok_button")->click();
                QVERIFY(!dialog()->isVisible());
            });
            return value;
        }();
        QCOMPARE(result, int(QDialog::Accepted));
        QCOMPARE(host().transcript,
                 (QStringList{"quorel2 body transform standard b01 -3.000 -0.000 -0.000 " +
                                  kIdentityRotation,
                              "get status active", "quorel2 tracking stop", "get status active"}));
        QVERIFY(fixture().boxes.isEmpty());
    }

    void okWithoutAChangeWritesNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            host().clearRecords();
            fixture().click("ok_button");
        });
        QCOMPARE(host().transcript,
                 (QStringList{"get status active", "quorel2 tracking stop", "get status active"}));
    }

    void anErrorWhileOkWritesIsPostedAndTheDialogCloses()
    {
        host().hook = [](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
            if (exchange.line.startsWith("quorel2 body transform"))
                return FakeHost::Answer{3, "", true};
            return std::nullopt;
        };
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "3");
            fixture().click("ok_button");
            QVERIFY(!dialog()->isVisible());
        });
        QCOMPARE(host().errors(), QStringList{"Error: Unable to set body transformation"});
    }

    void cancelAsksBeforeItDiscards()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            fixture().answers = {QMessageBox::No};
            fixture().click("cancel_button");
            QVERIFY(dialog()->isVisible());
            QCOMPARE(fixture().boxes.size(), 1);
            const SeenBox &box = fixture().boxes.first();
            QCOMPARE(box.icon, QMessageBox::Warning);
            QCOMPARE(box.title, QStringLiteral("Body Adjustment"));
            QCOMPARE(box.text, QStringLiteral("Discard the changes for all bodies?"));
            QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
            QCOMPARE(box.defaultButton, QMessageBox::No);
            QCOMPARE(canvas()->body().undoCount(), 1);

            fixture().answers = {QMessageBox::Yes};
            host().clearRecords();
            QTest::keyClick(dialog(), Qt::Key_Escape);
            QVERIFY(!dialog()->isVisible());
            QVERIFY(transforms().isEmpty());
        });
    }

    void theWindowsCloseButtonCancels()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            fixture().answers = {QMessageBox::No};
            dialog()->close();
            QVERIFY(dialog()->isVisible());
            QCOMPARE(fixture().boxes.size(), 1);
        });
    }

    void whatIsTypedWhenCancelIsPressedIsAskedFor()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "9");
            fixture().answers = {QMessageBox::No};
            QTest::keyClick(spinBox("body_pos_xyzWidget", 0), Qt::Key_Escape);
            QCOMPARE(fixture().boxes.size(), 1);
            QVERIFY(dialog()->isVisible());
        });
    }

    void cancelAfterTwoAppliesSendsOneInverseOfBoth()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            fixture().click("apply_button");
            fixture().typeValue("body_pos_xyzWidget", 1, "20\r");
            fixture().click("apply_button");
            QCOMPARE(transforms().size(), 2);
            host().clearRecords();
            fixture().answers = {QMessageBox::Yes};
            fixture().click("cancel_button");
        });
        QCOMPARE(transforms(), QStringList{"quorel2 body transform standard b01 10.000 20.000 "
                                           "-0.000 " +
                                           kIdentityRotation});
    }

    void cancelRestoresEveryBodyWhateverWasWritten()
    {
        // Standard body 1 and vimbar 1 share their number; turns and moves do not commute.
        const QVector<bsVector> wand = host().markers("standard", 1);
        const QVector<bsVector> probe = host().markers("vimbar", 1);
        fixture().session([&] {
            for (int round = 0; round < 2; ++round) {
                for (const int position : {int(DialogFixture::Wand), int(DialogFixture::Probe)}) {
                    fixture().choose(position);
                    fixture().typeValue("body_ori_xyzWidget", round, "40\r");
                    fixture().click("apply_button");
                    fixture().typeValue("body_pos_xyzWidget", 2, "25\r");
                    fixture().click("apply_button");
                }
            }
            QVERIFY(distance(host().markers("standard", 1).at(1), wand.at(1)) > 5.0);
            fixture().answers = {QMessageBox::Yes};
            fixture().click("cancel_button");
            QVERIFY(!dialog()->isVisible());
        });
        for (int i = 0; i < wand.size(); ++i)
            QVERIFY(distance(host().markers("standard", 1).at(i), wand.at(i)) < 0.01);
        for (int i = 0; i < probe.size(); ++i)
            QVERIFY(distance(host().markers("vimbar", 1).at(i), probe.at(i)) < 0.01);
    }

    void whatWasNotTakenIsNotTakenBack_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("errors");
        QTest::addColumn<int>("questions");
        QTest::addColumn<int>("discards");
        QTest::newRow("failed exchange") << 1 << QByteArray() << 1 << 0 << 0;
        // Counts as a change; the command that takes it back needs another one behind it.
        QTest::newRow("refused") << 0 << QByteArray("quorel2 err no") << 1 << 1 << 2;
        QTest::newRow("other case") << 0 << QByteArray("quorel2 OK") << 1 << 1 << 2;
        QTest::newRow("trailing blank") << 0 << QByteArray("quorel2 ok ") << 1 << 1 << 2;
    }

    void whatWasNotTakenIsNotTakenBack()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(int, errors);
        QFETCH(int, questions);
        QFETCH(int, discards);
        const QVector<bsVector> before = host().markers("standard", 1);
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            host().hook =
                [=](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
                if (exchange.line.startsWith("quorel2 body transform"))
                    return FakeHost::Answer{status, reply, true};
                return std::nullopt;
            };
            fixture().click("apply_button");
            QCOMPARE(host().errors().size(), errors);
            host().hook = nullptr;
            host().clearRecords();
            fixture().boxes.clear();
            fixture().answers.fill(QMessageBox::Yes, questions);
            fixture().click("cancel_button");
            QCOMPARE(fixture().boxes.size(), questions);
            QCOMPARE(transforms().size(), discards);
        });
        for (int i = 0; i < before.size(); ++i)
            QVERIFY(distance(host().markers("standard", 1).at(i), before.at(i)) < 0.01);
    }

    void nothingIsWrittenTwiceWhenReadingBackFails()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            host().failLine("get body number_of_marker standard b01");
            fixture().click("apply_button");
            QCOMPARE(transforms().size(), 1);
            QCOMPARE(canvas()->body().undoCount(), 0);
            QCOMPARE(canvas()->body().markerPositions().first().x, -10.0);
            fixture().click("ok_button");
        });
        QCOMPARE(transforms().size(), 1);
    }

    void afterAFailedLoadNameListAndViewAreThoseOfTheBodyThatIsShown()
    {
        host().failLine("get body marker standard b02 m03");
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(),
                     int(DialogFixture::Wand));
            QCOMPARE(fixture().child<QTableWidget>("tableWidget_data")->rowCount(), 6);
            QSignalSpy tracked(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked);
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            QCOMPARE(tracked.count(), 1);
            QVERIFY(tracked.first().first().toBool());
        });
    }

    void aWindowToldToCloseTwiceAsksOnce()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            fixture().leaveBoxesOpen = true;
            QTimer::singleShot(20, this, [&] {
                dialog()->close();
                int open = 0;
                for (QWidget *widget : QApplication::topLevelWidgets())
                    open += widget->isVisible() && widget->inherits("QMessageBox") ? 1 : 0;
                QCOMPARE(open, 1);
                fixture().answers = {QMessageBox::No};
                fixture().leaveBoxesOpen = false;
            });
            dialog()->close();
            QVERIFY(dialog()->isVisible());
        });
    }

    void theMultiUserWarningOutlastsTheWork()
    {
        host().parameters["vimbar multiuser_available"] = "yes";
        host().parameters["vimbar multiuser"] = "yes";
        host().failLine("set vimbar multiuser no");
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QString warning = fixture().child<QLabel>("error_label")->text();
            QVERIFY(!warning.isEmpty());
            fixture().click("set_origin_cog_button");
            QCOMPARE(fixture().child<QLabel>("error_label")->text(), warning);
        });
    }

    // Deleting markers ----------------------------------------------------------------------------

    void aDeletedMarkerComesBackByUndoAndGoesByRedoAsOftenAsTheUserLikes()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QVector<bsVector> before = host().markers("standard", 1);
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));
            canvas()->select(canvas()->body().markers().at(2));
            QVERIFY(fixture().isEnabled("pushButton_deleteMarker"));
            fixture().answers = {QMessageBox::Cancel};
            fixture().click("pushButton_deleteMarker");
            QCOMPARE(fixture().boxes.size(), 1);
            QCOMPARE(fixture().boxes.first().icon, QMessageBox::Question);
            QCOMPARE(fixture().boxes.first().title, QStringLiteral("QUOREL4"));
            QCOMPARE(fixture().boxes.first().text, QStringLiteral("Delete selected marker?"));
            QCOMPARE(fixture().boxes.first().defaultButton, QMessageBox::Cancel);
            QCOMPARE(host().markers("standard", 1).size(), 6);

            fixture().answers = {QMessageBox::Ok};
            host().clearRecords();
            fixture().click("pushButton_deleteMarker");
            QCOMPARE(host().transcript.mid(0, 5),
                     (QStringList{"get status active", "quorel2 tracking stop",
                                  "quorel2 body delete_marker standard b01 m03",
                                  "quorel2 tracking start", "get status active"}));
            QCOMPARE(host().markers("standard", 1).size(), 5);
            QCOMPARE(canvas()->body().markerCount(), 5);
            for (int round = 0; round < 2; ++round) {
                fixture().click("undo_button");
                QCOMPARE(host().markers("standard", 1).size(), 6);
                QCOMPARE(host().markers("standard", 1).at(2).y, before.at(2).y);
                QCOMPARE(canvas()->body().markerCount(), 6);
                QVERIFY(!fixture().isEnabled("undo_button"));
                fixture().click("redo_button");
                QCOMPARE(host().markers("standard", 1).size(), 5);
                QVERIFY(!fixture().isEnabled("redo_button"));
            }
            host().clearRecords();
            fixture().child<QPushButton>("cancel_button")->click();
        });
        QCOMPARE(host().markers("standard", 1).size(), 6);
        QVERIFY(host().transcript.contains("set body number_of_marker standard b01 6"));
    }

    void deletedMarkersAreWrittenBackToTheBodyThatTheyAreOf()
    {
        const QVector<bsVector> probe = host().markers("vimbar", 1);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            canvas()->select(canvas()->body().markers().at(0));
            fixture().answers = {QMessageBox::Ok};
            fixture().click("pushButton_deleteMarker");
            fixture().choose(DialogFixture::Probe);
            QVERIFY(!fixture().isEnabled("undo_button"));
            fixture().child<QPushButton>("cancel_button")->click();
        });
        QCOMPARE(host().markers("standard", 1).size(), 6);
        QCOMPARE(host().markers("vimbar", 1).size(), probe.size());
    }

    void markersAreDeletedOnlyWhereTheBackendCanAndFourRemain_data()
    {
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("position");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("six markers") << 17 << int(DialogFixture::Wand) << true;
        QTest::newRow("five markers") << 17 << int(DialogFixture::SpareProbe) << true;
        QTest::newRow("four markers") << 17 << int(DialogFixture::Plain) << false;
        QTest::newRow("older backend") << 16 << int(DialogFixture::Wand) << false;
    }

    void markersAreDeletedOnlyWhereTheBackendCanAndFourRemain()
    {
        QFETCH(int, minor);
        QFETCH(int, position);
        QFETCH(bool, enabled);
        host().setVersion(1, minor);
        fixture().session([&] {
            fixture().choose(position);
            canvas()->select(canvas()->body().markers().at(0));
            QCOMPARE(fixture().isEnabled("pushButton_deleteMarker"), enabled);
            canvas()->setFocus();
            QTest::keyClick(canvas(), Qt::Key_Delete);
            QCOMPARE(fixture().boxes.size(), enabled ? 1 : 0);
        });
    }

    // Presets -------------------------------------------------------------------------------------

    void dueToBodyLaysTheFrameThroughThreeMarkers()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            fixture().child<QPushButton>("pushButton_due_to_body")->click();
            QCOMPARE(canvas()->body().undoCount(), 1);
            QVERIFY(fixture().isEnabled("apply_button"));
            QVERIFY(fixture().child<QLabel>("error_label")->text().isEmpty());
        });
    }

    void aBodyThatDefinesNoFrameIsLeftAloneAndTheUserIsTold()
    {
        // Four markers at equal distances.
        host().addBody("standard", 2, "", true, "tt_std",
                       {{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}});
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            fixture().child<QPushButton>("pushButton_due_to_body")->click();
            QCOMPARE(canvas()->body().undoCount(), 0);
            QVERIFY(!fixture().isEnabled("apply_button"));
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(fixture().child<QLabel>("error_label")->isVisible());
            QVERIFY(!fixture().child<QLabel>("error_label")->text().isEmpty());
        });
    }

    // Online --------------------------------------------------------------------------------------

    void onlineShowsOnlyAPoseOfFullQualityOfTheChosenBody_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<bool>("turned");
        const QByteArray rotation = "[0.0 1.0 0.0 -1.0 0.0 0.0 0.0 0.0 1.0]";
        QTest::newRow("tracked") << "6d 1 [0 1.000][1 2 3 0 0 0]" + rotation << true;
        QTest::newRow("quality 0.99") << "6d 1 [0 0.990][1 2 3 0 0 0]" + rotation << false;
        QTest::newRow("lost") << "6d 1 [0 -1.000][1 2 3 0 0 0]" + rotation << false;
        QTest::newRow("another body") << "6d 1 [1 1.000][1 2 3 0 0 0]" + rotation << false;
        QTest::newRow("second block")
            << "6d 2 [3 1.000][0 0 0 0 0 0][1 0 0 0 1 0 0 0 1] [0 1.000][1 2 3 0 0 0]" + rotation
            << true;
        QTest::newRow("malformed") << QByteArray("6d 1 [0 1.000][1 2 3][0.0 1.0 0.0") << false;
    }

    void onlineShowsOnlyAPoseOfFullQualityOfTheChosenBody()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, turned);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *online = fixture().child<QCheckBox>("online_checkbox");
            QVERIFY(online->isEnabled());
            online->click();
            QVERIFY(canvas()->isOnline());
            host().deliver("6d", line);
            dialog()->update_track();
            fixture().child<QPushButton>("adjust_axes_to_room_button")->setEnabled(true);
            dialog()->on_adjust_axes_to_room_button_clicked();
            const bsVector x = canvas()->body().baseMatrix().column(0);
            QVERIFY(distance(x, turned ? bsVector(0, -1, 0) : bsVector(1, 0, 0)) < 1e-9);
            online->click();
            QVERIFY(!canvas()->isOnline());
            QVERIFY(!fixture().isEnabled("adjust_axes_to_room_button"));
        });
    }

    void theRoomButtonsFollowTheTracking()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            QVERIFY(!fixture().isEnabled("adjust_axes_to_room_button"));
            goOnline();
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            for (const char *name : {"adjust_axes_to_room_button", "pushButton_due_to_room",
                                     "pushButton_due_to_room_0"})
                QVERIFY2(fixture().isEnabled(name), name);
            host().deliver("6d", "6d 0");
            for (const char *name : {"adjust_axes_to_room_button", "pushButton_due_to_room",
                                     "pushButton_due_to_room_0"})
                QVERIFY2(!fixture().isEnabled(name), name);
        });
    }

    void goingOfflineTakesTheRoomButtonsAway()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *online = fixture().child<QCheckBox>("online_checkbox");
            online->click();
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            QVERIFY(fixture().isEnabled("pushButton_due_to_room"));
            online->click();
            QVERIFY(!canvas()->isOnline());
            const auto areDisabled = [this] {
                for (const char *name : {"adjust_axes_to_room_button", "pushButton_due_to_room",
                                         "pushButton_due_to_room_0"})
                    QVERIFY2(!fixture().isEnabled(name), name);
            };
            areDisabled();
            // Tracked or not, a view that does not follow cannot tell where the room is.
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            areDisabled();
        });
    }

    void whatALineToldOfTheBodyBeforeDoesNotReachAnUncalibratedOne()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            std::thread([this] {
                host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            }).join();
            // It is on its way to the dialog's thread.
            QVERIFY(!fixture().isEnabled("adjust_axes_to_room_button"));
            fixture().choose(DialogFixture::Raw);
            const QString state = fixture().child<QLabel>("body_icon")->accessibleName();
            QCoreApplication::processEvents();
            QCOMPARE(fixture().child<QLabel>("body_icon")->accessibleName(), state);
            QVERIFY(!fixture().isEnabled("adjust_axes_to_room_button"));
            QVERIFY(!fixture().isEnabled("pushButton_due_to_room"));
        });
    }

    void onlineWithNothingChosenNothingIsFollowedOrTold()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            dialog()->update_current_body(-1);
            QVERIFY(fixture().child<QCheckBox>("online_checkbox")->isChecked());
            dialog()->update_track();
            QVERIFY(fixture().boxes.isEmpty());
            QVERIFY(!canvas()->isTracked());
        });
    }

    void openingAgainIsNotOnline()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            QVERIFY(canvas()->isOnline());
        });
        fixture().session([&] {
            QVERIFY(!fixture().child<QCheckBox>("online_checkbox")->isChecked());
            QVERIFY(!fixture().isEnabled("online_checkbox"));
            QVERIFY(!canvas()->isOnline());
            for (const char *name : {"adjust_axes_to_room_button", "pushButton_due_to_room",
                                     "pushButton_due_to_room_0"})
                QVERIFY2(!fixture().isEnabled(name), name);
            fixture().choose(DialogFixture::Wand);
            QVERIFY(!canvas()->isOnline());
            host().deliver("6d", "6d 1 [0 1.0][0 0 0][1 0 0 0 1 0 0 0 1]");
            QVERIFY(!fixture().isEnabled("pushButton_due_to_room"));
        });
    }

    void aVimbarIsFollowedByItsOwnLine()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::SpareProbe);
            QSignalSpy tracked(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked);
            // The second block of a "6df2" line is the second vimbar, whatever its id.
            QCOMPARE(host().deliver("6df2", "6df2 4 2 [2 1.0 4 2][0 0 0][1 0 0 0 1 0 0 0 1][0 0] "
                                            "[4 1.0 4 2][1 2 3][1 0 0 0 1 0 0 0 1][0 0]"),
                     0);
            QCOMPARE(tracked.count(), 1);
            QCOMPARE(tracked.last().first().toBool(), true);
            host().deliver("6df2", "6df2 4 2 [2 1.0 4 2][0 0 0][1 0 0 0 1 0 0 0 1][0 0] "
                                   "[4 -1.0 4 2][1 2 3][1 0 0 0 1 0 0 0 1][0 0]");
            QCOMPARE(tracked.count(), 2);
            QCOMPARE(tracked.last().first().toBool(), false);
            // Body lines are not the vimbar's.
            QCOMPARE(host().deliver("6d", "6d 1 [1 1.0][0 0 0][1 0 0 0 1 0 0 0 1]"), 0);
            QCOMPARE(tracked.count(), 2);
        });
    }

    void aVimbarWhoseIdIsAnothersIsTrackedButNotFollowed()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::SpareProbe);
            goOnline();
            const QByteArray rest = "[1 2 3][0.0 1.0 0.0 -1.0 0.0 0.0 0.0 0.0 1.0][0 0]";
            for (const QByteArray &id : {QByteArray("4"), QByteArray("1")}) {
                host().deliver("6df2",
                               "6df2 4 2 [2 1.0 4 2]" + rest + " [" + id + " 1.0 4 2]" + rest);
                dialog()->update_track();
                QCOMPARE(canvas()->isTracked(), id == "1");
            }
        });
    }

    void linesTellWhetherTheChosenBodyIsTracked_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("result");
        QTest::addColumn<QList<bool>>("emitted");
        const QByteArray rest = "[1 2 3 0 0 0][1 0 0 0 1 0 0 0 1]";
        QTest::newRow("no bodies") << QByteArray("6d 0") << 0 << QList<bool>{false};
        QTest::newRow("tracked") << "6d 1 [0 1.000]" + rest << 0 << QList<bool>{true};
        QTest::newRow("poor but tracked") << "6d 1 [0 0.500]" + rest << 0 << QList<bool>{true};
        QTest::newRow("lost") << "6d 1 [0 -1.000]" + rest << 0 << QList<bool>{false};
        QTest::newRow("others only") << "6d 1 [7 1.000]" + rest << 0 << QList<bool>{false};
        QTest::newRow("second block cut")
            << "6d 2 [0 1.000]" + rest + " [1 1.000" << -1 << QList<bool>{};
        QTest::newRow("no count") << QByteArray("6d ") << -1 << QList<bool>{};
    }

    void linesTellWhetherTheChosenBodyIsTracked()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, result);
        QFETCH(QList<bool>, emitted);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QSignalSpy tracked(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked);
            QCOMPARE(host().deliver("6d", line), result);
            QList<bool> seen;
            for (const QList<QVariant> &arguments : tracked)
                seen.append(arguments.first().toBool());
            QCOMPARE(seen, emitted);
        });
    }

    void withAHeadTrackedTooTheIdsBeginWithOne()
    {
        // Switching it off fails, so that it is still on when the dialog looks again.
        host().parameters["vimbar multiuser_available"] = "yes";
        host().parameters["vimbar multiuser"] = "yes";
        host().parameters["vimbar multiuser_with_head_available"] = "yes";
        host().parameters["vimbar multiuser_with_head"] = "yes";
        host().failLine("set vimbar multiuser_with_head no");
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QSignalSpy tracked(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked);
            host().deliver("6d", "6d 1 [1 1.0][1 2 3][1 0 0 0 1 0 0 0 1]");
            QCOMPARE(tracked.count(), 1);
            QVERIFY(tracked.first().first().toBool());
        });
    }

    void anUnknownBodyTypeIsToldOnceAtATime()
    {
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            fixture().choose(DialogFixture::Wand);
            goOnline();
            list->setItemData(DialogFixture::Plain, QStringLiteral("target|2|calibrated|tt_std"));
            int boxes = 0;
            int most = 0;
            QTimer counter;
            connect(&counter, &QTimer::timeout, this, [&] {
                int open = 0;
                for (QWidget *widget : QApplication::topLevelWidgets())
                    open += widget->isVisible() && widget->inherits("QMessageBox") ? 1 : 0;
                most = qMax(most, open);
                if (++boxes > 60) {
                    counter.stop();
                    for (QWidget *widget : QApplication::topLevelWidgets()) {
                        if (widget->isVisible() && widget->inherits("QMessageBox"))
                            widget->close();
                    }
                }
            });
            fixture().leaveBoxesOpen = true;
            host().hook =
                [](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
                if (exchange.line.contains("target b02")) {
                    if (exchange.line.contains("number_of_marker"))
                        return FakeHost::Answer{0, "2", true};
                    return FakeHost::Answer{0, "0 0 1 0", true};
                }
                return std::nullopt;
            };
            fixture().choose(DialogFixture::Plain);
            counter.start(5);
            QTRY_VERIFY(boxes > 60);
            QCOMPARE(most, 1);
            QVERIFY(fixture().child<QCheckBox>("online_checkbox")->isChecked());
            goOnline();
            fixture().leaveBoxesOpen = false;
        });
    }

    void theBoxAboutAnUnknownBodyTypeSaysWhatHappened()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            fixture()
                .child<QComboBox>("body_name")
                ->setItemData(DialogFixture::Plain, QStringLiteral("target|2|calibrated|tt_std"));
            // The first box is looked at, and with its answer the view goes offline.
            fixture().answerTo = [this](const SeenBox &) {
                dialog()->update_track();
                auto *online = fixture().child<QCheckBox>("online_checkbox");
                if (online->isChecked())
                    QTimer::singleShot(0, online, &QCheckBox::click);
                return QMessageBox::Ok;
            };
            host().hook =
                [](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
                if (!exchange.line.contains("target b02"))
                    return std::nullopt;
                return FakeHost::Answer{
                    0, exchange.line.contains("number_of_marker") ? "4" : "0 0 1 0", true};
            };
            fixture().choose(DialogFixture::Plain);
            QTRY_VERIFY(!fixture().boxes.isEmpty());
            const SeenBox box = fixture().boxes.first();
            QCOMPARE(box.icon, QMessageBox::Information);
            QCOMPARE(box.title, QStringLiteral("[Quorellib] Error"));
            QCOMPARE(box.text, QStringLiteral("Unknown body type.\nGoing offline..."));
            QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
            QTRY_VERIFY(!fixture().child<QCheckBox>("online_checkbox")->isChecked());
            fixture().answerTo = nullptr;
        });
    }

    // Requests ------------------------------------------------------------------------------------

    void aRequestOpensOnItsBodyAndIsAnsweredOnce_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("position");
        QTest::newRow("standard body") << QByteArray(" standard|3") << int(DialogFixture::Pen);
        QTest::newRow("vimbar") << QByteArray(" vimbar|2") << int(DialogFixture::SpareProbe);
        QTest::newRow("type only") << QByteArray(" standard") << int(DialogFixture::Wand);
        QTest::newRow("no body named") << QByteArray("") << -1;
        QTest::newRow("unknown body") << QByteArray(" standard|33") << -1;
        QTest::newRow("further word") << QByteArray(" vimbar|2 extra") << -1;
        QTest::newRow("other case") << QByteArray(" Standard|3") << -1;
    }

    void aRequestOpensOnItsBodyAndIsAnsweredOnce()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, position);
        fixture().requestedSession(request, [&] {
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(), position);
            QVERIFY(!fixture().isEnabled("body_name"));
            QCOMPARE(canvas()->isBodyLoaded(), position >= 0);
            QVERIFY(host().messages.isEmpty());
        });
        QCOMPARE(host().messages.size(), 1);
        QCOMPARE(host().messages.first().destination, QStringLiteral("Calibration"));
        QCOMPARE(host().messages.first().source, QStringLiteral("BodyAdjustmentModule"));
        QCOMPARE(host().messages.first().kind, 1);
        QCOMPARE(host().messages.first().text, QStringLiteral("reopen"));

        // From the menu there is nobody to answer, and every body can be chosen again.
        host().clearRecords();
        fixture().session([&] { QVERIFY(fixture().isEnabled("body_name")); });
        QVERIFY(host().messages.isEmpty());
    }

    void theSameBodyCanBeRequestedAgain()
    {
        for (int i = 0; i < 2; ++i) {
            fixture().requestedSession(" standard|1", [&] {
                QVERIFY(canvas()->isBodyLoaded());
                QVERIFY(fixture().isEnabled("body_pos_xyzWidget"));
            });
        }
    }

    void aRequestWhileTheDialogIsOpenChangesNothing()
    {
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            host().clearRecords();
            host().sendToModule("BodyAdjustmentModule", "Calibration",
                                "OpenBodyAdjustmentDialog standard|3");
            QTRY_COMPARE(host().messages.size(), 1);
            QCOMPARE(host().messages.first().text, QStringLiteral("reopen"));
            QVERIFY(host().transcript.isEmpty());
            QVERIFY(dialog()->isVisible());
            QCOMPARE(canvas()->body().undoCount(), 1);
            QVERIFY(fixture().isEnabled("body_name"));
        });
        QCOMPARE(host().messages.size(), 1);
    }

    // The end -------------------------------------------------------------------------------------

    void theHostMayEndWhileTheDialogIsOpen_data()
    {
        QTest::addColumn<QString>("inHand");
        QTest::addColumn<bool>("withItsWindow");
        for (const bool withItsWindow : {false, true}) {
            for (const char *inHand :
                 {"nothing", "half-typed field", "held wheel", "turned wheel", "dragged view",
                  "open list", "menu of the view", "menu of the table"})
                QTest::addRow("%s%s", inHand, withItsWindow ? ", the window goes" : "")
                    << inHand << withItsWindow;
        }
    }

    void theHostMayEndWhileTheDialogIsOpen()
    {
        QFETCH(QString, inHand);
        QFETCH(bool, withItsWindow);
        host().parameters["tracking reference"] = "standard 02";
        QPointer<QWidget> window = new QWidget;
        fixture().dialog =
            std::make_unique<BodyAdjustmentDialog>(&host(), window.data(), &host().versions);
        const QPointer<BodyAdjustmentDialog> opened(dialog());
        const auto end = [&] {
            if (withItsWindow) {
                fixture().dialog.release();
                delete window;
            } else {
                fixture().dialog.reset();
            }
        };
        fixture().session([&] {
            chooseAndMove(DialogFixture::Wand, "10");
            host().clearRecords();
            const auto sendMouse = [](QWidget *widget, QEvent::Type type, QPoint by) {
                const QPoint place = widget->rect().center() + by;
                QMouseEvent event(type, place, widget->mapToGlobal(place),
                                  type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                                  Qt::LeftButton, Qt::ControlModifier);
                QApplication::sendEvent(widget, &event);
            };
            if (inHand == "half-typed field") {
                fixture().typeValue("body_ori_xyzWidget", 1, "12");
                QCOMPARE(canvas()->body().pendingPose().orientation.w < 1.0, true);
            } else if (inHand.endsWith("wheel")) {
                QWidget *wheel = nullptr;
                for (QWidget *child :
                     fixture().child<QWidget>("ori_xyzWidget")->findChildren<QWidget *>()) {
                    if (child->inherits("QwtWheel"))
                        wheel = child;
                }
                QVERIFY(wheel && wheel->isVisible());
                sendMouse(wheel, QEvent::MouseButtonPress, QPoint());
                if (inHand == "turned wheel")
                    sendMouse(wheel, QEvent::MouseMove, QPoint(15, 0));
                QVERIFY(canvas()->isDragging());
            } else if (inHand == "dragged view") {
                sendMouse(canvas(), QEvent::MouseButtonPress, QPoint());
                sendMouse(canvas(), QEvent::MouseMove, QPoint(5, 5));
                QVERIFY(canvas()->isDragging());
            } else if (inHand == "open list") {
                fixture().openList();
            }
            if (!inHand.startsWith("menu")) {
                end();
                return;
            }
            runWhen([] { return QApplication::activePopupWidget() != nullptr; }, end);
            if (inHand == "menu of the table")
                dialog()->toggled_switch_view();
            // Straight to the widget: behind a right press in a window Qt itself goes on with it.
            QWidget *target = inHand == "menu of the view"
                                  ? static_cast<QWidget *>(canvas())
                                  : fixture().child<QTableWidget>("tableWidget_data")->viewport();
            const QPoint place = target->rect().center();
            QMouseEvent event(QEvent::MouseButtonPress, place, target->mapToGlobal(place),
                              Qt::RightButton, Qt::RightButton, Qt::NoModifier);
            QApplication::sendEvent(target, &event);
        });
        QVERIFY(!opened);
        QCOMPARE(window.isNull(), withItsWindow);
        delete window;
        // What was still to be handled finds nobody.
        QTest::qWait(50);
        QVERIFY(!QApplication::activePopupWidget());
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(host().requesters.isEmpty());
        QVERIFY(host().receivers.isEmpty());
        QCOMPARE(host().transcript, (QStringList{"get status active", "quorel2 tracking stop",
                                                 "set tracking reference standard 02"}));
    }

    void theHostMayEndWhileAMessageBoxIsOpen_data()
    {
        QTest::addColumn<QString>("box");
        for (const char *box : {"leaving a body", "cancel", "help", "axis", "one marker"})
            QTest::newRow(box) << box;
    }

    void theHostMayEndWhileAMessageBoxIsOpen()
    {
        QFETCH(QString, box);
        host().parameters["body number_of_marker standard b03"] = "1";
        fixture().session([&] {
            if (box == "one marker")
                fixture().choose(DialogFixture::Wand);
            else
                chooseAndMove(DialogFixture::Wand, "10");
            fixture().leaveBoxesOpen = true;
            const auto isOpenAbove = [this] {
                QWidget *modal = QApplication::activeModalWidget();
                return modal && modal != dialog() && modal->isVisible();
            };
            runWhen(isOpenAbove, [this] { fixture().dialog.reset(); });
            if (box == "leaving a body")
                fixture().choose(DialogFixture::Plain);
            else if (box == "cancel")
                dialog()->reject();
            else if (box == "one marker")
                fixture().choose(DialogFixture::Pen);
            else if (box == "help")
                dialog()->on_help_button_clicked();
            else
                dialog()->set_axis();
            QVERIFY(!fixture().dialog);
        });
    }
};

QUOREL2_TEST_MAIN(TestDialogEditing)
#include "tst_DialogEditing.moc"
