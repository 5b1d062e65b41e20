#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/EventCounter.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>

class TestDialogWithoutOpenGL : public DialogTest {
    Q_OBJECT

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    void theDialogSaysSoAndEverythingElseWorks()
    {
        fixture().makeDialog();
        QVERIFY(!canvas()->isValid());
        fixture().quickSession([&] {
            QVERIFY(fixture().child<QLabel>("error_label")->text().contains("OpenGL"));
            QVERIFY(fixture().child<QLabel>("error_label")->isVisible());
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(fixture().child<QTableWidget>("tableWidget_data")->rowCount(), 6);
            auto *box = fixture()
                            .child<QWidget>("body_pos_xyzWidget")
                            ->findChildren<QDoubleSpinBox *>()
                            .first();
            box->setFocus();
            box->selectAll();
            QTest::keyClicks(box, "10\r");
            QCOMPARE(canvas()->body().undoCount(), 1);
            QTest::mouseClick(canvas(), Qt::LeftButton);
            dialog()->toggled_show_COG();
            fixture().child<QPushButton>("apply_button")->click();
            QCOMPARE(host().transcript.filter("body transform").size(), 1);
            fixture().child<QPushButton>("ok_button")->click();
            QVERIFY(!dialog()->isVisible());
        });
    }

    /// Meant for the thread sanitizer too: lines come while bodies are chosen, shown, followed and
    /// hidden.
    void linesFromAnotherThreadAreTakenWhileTheUserWorks()
    {
        fixture().makeDialog();
        std::atomic<bool> stop{false};
        std::atomic<int> malformed{0};
        std::thread lines([&] {
            int turn = 0;
            while (!stop) {
                ++turn;
                const QByteArray x = QByteArray::number(turn % 1000);
                // Quarter turns about z, never none.
                const QByteArray rotation =
                    turn % 2 == 0 ? "[0 1 0 -1 0 0 0 0 1]" : "[0 -1 0 1 0 0 0 0 1]";
                if (host().deliver("6d", "6d 2 [0 1.000][" + x + " " + x + " " + x + "]" +
                                             rotation + " [1 1.000][" + x + " 0 0]" + rotation) !=
                    0)
                    ++malformed;
                host().deliver("6df2", "6df2 2 1 [0 1.0 4 2][" + x + " 0 0]" + rotation + "[0 0]");
                std::this_thread::yield();
            }
        });
        int trackedSignals = 0;
        // What is still queued at the end goes with the receiver.
        QObject receiver;
        connect(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked, &receiver,
                [&] { ++trackedSignals; });
        QHash<int, int> followed;
        int torn = 0;
        for (int round = 0; round < 3; ++round) {
            fixture().quickSession([&] {
                auto *online = fixture().child<QCheckBox>("online_checkbox");
                for (int i = 0; i < 20; ++i) {
                    const int body = i % 2 == 0 ? DialogFixture::Wand : DialogFixture::Probe;
                    fixture().choose(body);
                    if (i % 4 == 0)
                        online->click();
                    if (!online->isChecked()) {
                        QTest::qWait(5);
                        continue;
                    }
                    // Longer than the dialog takes from one look at the pose to the next.
                    QTest::qWait(40);
                    if (!QTest::qWaitFor([&] { return canvas()->isTracked(); }))
                        break;
                    const bsMatrix &room = canvas()->roomMatrix();
                    if (std::fabs(room.element(1, 0)) == 1.0)
                        ++followed[body];
                    const bsVector &place = canvas()->roomPosition();
                    if (body == DialogFixture::Wand && (place.x != place.y || place.x != place.z))
                        ++torn;
                }
            });
        }
        stop = true;
        lines.join();
        QVERIFY(trackedSignals > 0);
        QCOMPARE(int(malformed), 0);
        QCOMPARE(torn, 0);
        // Every other four bodies of a session are looked at online.
        QCOMPARE(followed.value(DialogFixture::Wand), 3 * 6);
        QCOMPARE(followed.value(DialogFixture::Probe), 3 * 6);
    }

    void aBurstOfLinesIsShownOnceAsTheLastOneSays_data()
    {
        QTest::addColumn<bool>("trackedAtTheEnd");
        QTest::newRow("tracked at the end") << true;
        QTest::newRow("lost at the end") << false;
    }

    void aBurstOfLinesIsShownOnceAsTheLastOneSays()
    {
        QFETCH(bool, trackedAtTheEnd);
        constexpr int kLines = 3000;
        fixture().makeDialog();
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Plain);
            goOnline();
            const auto deliver = [&](int i) {
                const bool tracked = (i % 3 != 0) == trackedAtTheEnd;
                host().deliver("6d", "6d 1 [1 " + QByteArray(tracked ? "1.0" : "-1.0") + "][" +
                                         QByteArray::number(i) + " 0 0][0 1 0 -1 0 0 0 0 1]");
            };
            // The other state first, so that there is something to show.
            deliver(3);
            QTest::qWait(100);
            auto *icon = fixture().child<QLabel>("body_icon");
            const qint64 before = icon->pixmap(Qt::ReturnByValue).cacheKey();
            EventCounter layouts(icon->parentWidget(), QEvent::LayoutRequest);
            EventCounter paints(icon, QEvent::Paint);
            int told = 0;
            QObject receiver;
            connect(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked, &receiver,
                    [&] { ++told; });
            // The user interface is busy meanwhile.
            std::thread lines([&] {
                for (int i = 1; i <= kLines + 1; ++i)
                    deliver(i);
            });
            lines.join();
            QCOMPARE(told, 0);
            QTRY_COMPARE(told, kLines + 1);
            QTest::qWait(100);
            QVERIFY(icon->pixmap(Qt::ReturnByValue).cacheKey() != before);
            QCOMPARE(fixture().isItselfEnabled("pushButton_due_to_room"), trackedAtTheEnd);
            QCOMPARE(canvas()->isTracked(), trackedAtTheEnd);
            QVERIFY(layouts.count <= 1);
            QVERIFY(paints.count <= 1);
            if (trackedAtTheEnd)
                QCOMPARE(canvas()->roomPosition().x, double(kLines + 1));

            // Nothing new, nothing to lay out or to paint.
            layouts.count = 0;
            paints.count = 0;
            for (int i = 0; i < 20; ++i) {
                deliver(kLines + 1);
                QTest::qWait(5);
            }
            QCOMPARE(layouts.count, 0);
            QCOMPARE(paints.count, 0);
        });
    }
};

QUOREL2_TEST_MAIN(TestDialogWithoutOpenGL)
#include "tst_DialogWithoutOpenGL.moc"
