#include "DialogFixture.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>

namespace {

/// Counts the events of one type that an object gets.
class EventCounter : public QObject {
public:
    EventCounter(QObject *watched, QEvent::Type type)
        : m_type(type)
    {
        watched->installEventFilter(this);
    }
    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == m_type)
            ++count;
        return QObject::eventFilter(watched, event);
    }

private:
    QEvent::Type m_type;
};

} // namespace

class TestDialogWithoutOpenGL : public QObject {
    Q_OBJECT

private:
    /// Opens the dialog and runs @p script in its event loop. However the script ends, the dialog
    /// is closed after it.
    void openFor(DialogFixture &fixture, const std::function<void()> &script)
    {
        QTimer::singleShot(0, this, [&] {
            script();
            if (fixture.dialog->isVisible())
                fixture.dialog->reject();
        });
        fixture.dialog->update_and_exec();
    }

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    void theDialogSaysSoAndEverythingElseWorks()
    {
        DialogFixture fixture;
        fixture.makeDialog();
        QVERIFY(!fixture.canvas()->isValid());
        openFor(fixture, [&] {
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
            QVERIFY(!fixture.dialog->isVisible());
        });
    }

    /// Meant for the thread sanitizer too: lines come while bodies are chosen, shown, followed and
    /// hidden.
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
                // Quarter turns about z, never none.
                const QByteArray rotation =
                    turn % 2 == 0 ? "[0 1 0 -1 0 0 0 0 1]" : "[0 -1 0 1 0 0 0 0 1]";
                if (fixture.host.deliver("6d", "6d 2 [0 1.000][" + x + " " + x + " " + x + "]" +
                                                   rotation + " [1 1.000][" + x + " 0 0]" +
                                                   rotation) != 0)
                    ++malformed;
                fixture.host.deliver("6df2",
                                     "6df2 2 1 [0 1.0 4 2][" + x + " 0 0]" + rotation + "[0 0]");
                std::this_thread::yield();
            }
        });
        int trackedSignals = 0;
        // What is still queued at the end goes with the receiver.
        QObject receiver;
        connect(fixture.dialog.get(), &BodyAdjustmentDialog::set_chosen_body_tracked, &receiver,
                [&] { ++trackedSignals; });
        QHash<int, int> followed;
        int torn = 0;
        for (int round = 0; round < 3; ++round) {
            openFor(fixture, [&] {
                auto *online = fixture.child<QCheckBox>("online_checkbox");
                for (int i = 0; i < 20; ++i) {
                    const int body = i % 2 == 0 ? DialogFixture::Wand : DialogFixture::Probe;
                    fixture.choose(body);
                    if (i % 4 == 0)
                        online->click();
                    if (!online->isChecked()) {
                        QTest::qWait(5);
                        continue;
                    }
                    // Longer than the dialog takes from one look at the pose to the next.
                    QTest::qWait(40);
                    if (!QTest::qWaitFor([&] { return fixture.canvas()->isTracked(); }))
                        break;
                    const bsMatrix &room = fixture.canvas()->roomMatrix();
                    if (std::fabs(room.element(1, 0)) == 1.0)
                        ++followed[body];
                    const bsVector &place = fixture.canvas()->roomPosition();
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
        DialogFixture fixture;
        fixture.makeDialog();
        openFor(fixture, [&] {
            fixture.choose(DialogFixture::Plain);
            fixture.child<QCheckBox>("online_checkbox")->click();
            const auto deliver = [&](int i) {
                const bool tracked = (i % 3 != 0) == trackedAtTheEnd;
                fixture.host.deliver("6d", "6d 1 [1 " + QByteArray(tracked ? "1.0" : "-1.0") +
                                               "][" + QByteArray::number(i) +
                                               " 0 0][0 1 0 -1 0 0 0 0 1]");
            };
            // The other state first, so that there is something to show.
            deliver(3);
            QTest::qWait(100);
            auto *icon = fixture.child<QLabel>("body_icon");
            const qint64 before = icon->pixmap(Qt::ReturnByValue).cacheKey();
            EventCounter layouts(icon->parentWidget(), QEvent::LayoutRequest);
            EventCounter paints(icon, QEvent::Paint);
            int told = 0;
            QObject receiver;
            connect(fixture.dialog.get(), &BodyAdjustmentDialog::set_chosen_body_tracked, &receiver,
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
            QCOMPARE(fixture.isItselfEnabled("pushButton_due_to_room"), trackedAtTheEnd);
            QCOMPARE(fixture.canvas()->isTracked(), trackedAtTheEnd);
            QVERIFY(layouts.count <= 1);
            QVERIFY(paints.count <= 1);
            if (trackedAtTheEnd)
                QCOMPARE(fixture.canvas()->roomPosition().x, double(kLines + 1));

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
