#include "DialogFixture.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <memory>
#include <thread>

class TestDialogWithoutOpenGL : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    void theDialogSaysSoAndEverythingElseWorks()
    {
        DialogFixture fixture;
        fixture.makeDialog();
        QVERIFY(!fixture.canvas()->isValid());
        QTimer::singleShot(0, this, [&] {
            QVERIFY(fixture.child<QLabel>("error_label")->text().contains("OpenGL"));
            QVERIFY(fixture.child<QLabel>("error_label")->isVisible());
            fixture.choose(DialogFixture::Wand);
            QCOMPARE(fixture.child<QTableWidget>("tableWidget_data")->rowCount(), 6);
            auto *box = fixture.child<QWidget>("body_pos_xyzWidget")
                            ->findChildren<QDoubleSpinBox *>()
                            .first();
            box->setFocus();
            box->selectAll();
            QTest::keyClicks(box, "10\r");
            QCOMPARE(fixture.canvas()->body().undoCount(), 1);
            QTest::mouseClick(fixture.canvas(), Qt::LeftButton);
            fixture.dialog->toggled_show_COG();
            fixture.child<QPushButton>("apply_button")->click();
            QCOMPARE(fixture.host.transcript.filter("body transform").size(), 1);
            fixture.child<QPushButton>("ok_button")->click();
        });
        fixture.dialog->update_and_exec();
    }

    /// Meant for the thread sanitizer too: lines come while bodies are chosen, shown and hidden.
    void linesFromAnotherThreadAreTakenWhileTheUserWorks()
    {
        DialogFixture fixture;
        fixture.makeDialog();
        std::atomic<bool> stop{false};
        std::atomic<int> malformed{0};
        std::thread lines([&] {
            int turn = 0;
            while (!stop) {
                ++turn;
                const QByteArray x = QByteArray::number(turn % 1000);
                if (fixture.host.deliver("6d", "6d 2 [0 1.000][" + x + " " + x + " " + x +
                                                   "][1 0 0 0 1 0 0 0 1] [1 1.000][" + x +
                                                   " 0 0][1 0 0 0 1 0 0 0 1]") != 0)
                    ++malformed;
                fixture.host.deliver("6df2",
                                     "6df2 2 1 [0 1.0 4 2][" + x + " 0 0][1 0 0 0 1 0 0 0 1][0 0]");
                std::this_thread::yield();
            }
        });
        int trackedSignals = 0;
        connect(fixture.dialog.get(), &BodyAdjustmentDialog::set_chosen_body_tracked, this,
                [&] { ++trackedSignals; });
        for (int round = 0; round < 3; ++round) {
            QTimer::singleShot(0, this, [&] {
                for (int i = 0; i < 20; ++i) {
                    fixture.choose(i % 2 == 0 ? DialogFixture::Wand : DialogFixture::Probe);
                    fixture.child<QCheckBox>("online_checkbox")->click();
                    QTest::qWait(5);
                }
                fixture.dialog->reject();
            });
            fixture.dialog->update_and_exec();
        }
        stop = true;
        lines.join();
        QVERIFY(trackedSignals > 0);
        QCOMPARE(int(malformed), 0);
    }
};

QUOREL2_TEST_MAIN(TestDialogWithoutOpenGL)
#include "tst_DialogWithoutOpenGL.moc"
