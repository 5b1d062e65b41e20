#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <tests/support/EventCounter.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace {

const QByteArray kModule = "BodyAdjustmentModule";
const QByteArray kRequest = "OpenBodyAdjustmentDialog";

/// A host in which the module that gets its dialog back asks for the next body at once.
class AskingHost : public FakeHost {
public:
    QList<QByteArray> next;

    void postMessage(const char *destination, const char *source, int kind,
                     const char *text) override
    {
        FakeHost::postMessage(destination, source, kind, text);
        if (qstrcmp(text, "reopen") == 0 && !next.isEmpty())
            sendToModule(kModule, destination, kRequest + " " + next.takeFirst());
    }
};

} // namespace

class TestDialogMessages : public DialogTest {
    Q_OBJECT

private:
    QComboBox *list() { return fixture().child<QComboBox>("body_name"); }

    void send(const QByteArray &sender, const QByteArray &text)
    {
        host().sendToModule(kModule, sender, text);
    }
    /// Who was answered, in order; any other message is written out.
    QStringList answered(const FakeHost &by)
    {
        QStringList destinations;
        for (const FakeHost::Message &message : by.messages) {
            const bool isAnswer = message.text == QLatin1String("reopen") && message.kind == 1 &&
                                  message.source == QLatin1String("BodyAdjustmentModule");
            destinations.append(isAnswer ? message.destination
                                         : message.destination + " gets " + message.text);
        }
        return destinations;
    }
    QStringList answered() { return answered(host()); }
    /// Waits until the dialog is up, which opens in an event loop of its own.
    void whenOpen(const std::function<void()> &script)
    {
        runWhen([this] { return dialog() && dialog()->isVisible(); }, script);
    }
    /// The message box or dialog that is open above the dialog, or the menu or list if that is the
    /// window meant; null: none.
    QWidget *openAbove(const QString &window = QString())
    {
        if (window.startsWith(QLatin1String("menu")) || window == QLatin1String("body list"))
            return QApplication::activePopupWidget();
        QWidget *modal = QApplication::activeModalWidget();
        return modal && modal != dialog() && modal->isVisible() ? modal : nullptr;
    }
    void whenOpenAbove(const QString &window, const std::function<void()> &script)
    {
        runWhen([this, window] { return openAbove(window) != nullptr; }, script);
    }

    void addWindowRows()
    {
        QTest::addColumn<QString>("window");
        for (const char *window :
             {"leaving a body", "leaving a body by the open list", "discarding by Escape",
              "discarding by the close button", "deleting by the button", "deleting by the key",
              "reading after a deletion", "reading after a redo", "unknown type", "one marker",
              "help", "axis", "body list", "menu of the view", "menu of the table",
              "menu beside the table"})
            QTest::newRow(window) << QString::fromLatin1(window);
    }
    /// The widget may be gone when its menu closes.
    static void pressRight(QWidget *widget)
    {
        const QPoint place = widget->rect().center();
        QMouseEvent event(QEvent::MouseButtonPress, place, widget->mapToGlobal(place),
                          Qt::RightButton, Qt::RightButton, Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    }
    /// Brings up the window in the way the user does. Returns when it is gone.
    void open(const QString &window)
    {
        fixture().leaveBoxesOpen = true;
        if (window == QLatin1String("one marker")) {
            fixture().choose(DialogFixture::Pen);
            return;
        }
        fixture().choose(DialogFixture::Wand);
        if (window == QLatin1String("help")) {
            fixture().click("help_button");
        } else if (window == QLatin1String("axis")) {
            canvas()->select(canvas()->body().markers().at(0));
            canvas()->select(canvas()->body().markers().at(1));
            fixture().click("set_axis_button");
        } else if (window == QLatin1String("body list")) {
            QTest::mouseClick(list(), Qt::LeftButton);
            QTRY_VERIFY(!dialog() || !dialog()->isVisible() || !list()->view()->isVisible());
        } else if (window == QLatin1String("menu of the view")) {
            pressRight(canvas());
        } else if (window.startsWith(QLatin1String("menu "))) {
            dialog()->toggled_switch_view();
            auto *table = fixture().child<QTableWidget>("tableWidget_data");
            pressRight(window == QLatin1String("menu of the table") ? table->viewport()
                                                                    : table->parentWidget());
        } else if (window.startsWith(QLatin1String("deleting"))) {
            canvas()->select(canvas()->body().markers().at(0));
            if (window.endsWith(QLatin1String("key")))
                QTest::keyClick(dialog(), Qt::Key_Delete);
            else
                fixture().click("pushButton_deleteMarker");
        } else if (window == QLatin1String("unknown type")) {
            goOnline();
            list()->setItemData(DialogFixture::Plain, QStringLiteral("target|2|calibrated|tt_std"));
            host().hook =
                [](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
                if (!exchange.line.contains("target b02"))
                    return std::nullopt;
                const bool isCount = exchange.line.contains("number_of_marker");
                return FakeHost::Answer{0, isCount ? "2" : "0 0 1 0", true};
            };
            fixture().choose(DialogFixture::Plain);
            // The timer would tell it again and again.
            for (QTimer *timer : dialog()->findChildren<QTimer *>())
                timer->stop();
            dialog()->update_track();
        } else {
            openQuestionAboutWork(window);
        }
    }
    void openQuestionAboutWork(const QString &window)
    {
        if (window == QLatin1String("reading after a redo")) {
            fixture().leaveBoxesOpen = false;
            canvas()->select(canvas()->body().markers().at(0));
            fixture().answers = {QMessageBox::Ok};
            fixture().click("pushButton_deleteMarker");
            fixture().click("undo_button");
        }
        auto *position = fixture().child<xyzWidget>("body_pos_xyzWidget");
        position->findChildren<bsDoubleWidget *>().first()->adjustValue(10.0);
        position->finishEditing();
        if (window == QLatin1String("leaving a body")) {
            fixture().choose(DialogFixture::Plain);
        } else if (window == QLatin1String("leaving a body by the open list")) {
            fixture().openList();
            QTest::keyClick(list()->view(), Qt::Key_Down);
        } else if (window == QLatin1String("discarding by Escape")) {
            QTest::keyClick(dialog(), Qt::Key_Escape);
        } else if (window == QLatin1String("discarding by the close button")) {
            dialog()->close();
        } else if (window == QLatin1String("reading after a redo")) {
            fixture().leaveBoxesOpen = true;
            fixture().click("redo_button");
        } else {
            // The first question is answered, the second one is what stays.
            canvas()->select(canvas()->body().markers().at(0));
            fixture().leaveBoxesOpen = false;
            fixture().answers = {QMessageBox::Ok};
            auto *timer = new QTimer(&fixture());
            connect(timer, &QTimer::timeout, this, [this, timer] {
                fixture().leaveBoxesOpen = !fixture().boxes.isEmpty();
                if (fixture().leaveBoxesOpen)
                    timer->stop();
            });
            timer->start(0);
            fixture().click("pushButton_deleteMarker");
        }
    }

private slots:
    // Other threads -------------------------------------------------------------------------------

    void aRequestFromAnotherThreadOpensTheDialogOnItsOwn_data()
    {
        QTest::addColumn<bool>("qtThread");
        QTest::newRow("a thread of the standard library") << false;
        QTest::newRow("a thread of Qt") << true;
    }

    void aRequestFromAnotherThreadOpensTheDialogOnItsOwn()
    {
        QFETCH(bool, qtThread);
        fixture().makeDialog();
        bool otherThreadExchanged = false;
        host().hook = [&](const FakeHost::Exchange &) -> std::optional<FakeHost::Answer> {
            otherThreadExchanged =
                otherThreadExchanged || QThread::currentThread() != dialog()->thread();
            return std::nullopt;
        };
        int result = -1;
        const auto request = [&] {
            result = host().sendToModule(kModule, "Calibration", kRequest + " standard|2");
        };
        if (qtThread) {
            const std::unique_ptr<QThread> thread(QThread::create(request));
            thread->start();
            QVERIFY(thread->wait());
        } else {
            std::thread(request).join();
        }
        // The host got its answer; the dialog opens when the event loop comes to it.
        QCOMPARE(result, 0);
        QVERIFY(!dialog()->isVisible());
        QVERIFY(host().transcript.isEmpty());
        bool done = false;
        whenOpen([&] {
            QCOMPARE(list()->currentIndex(), int(DialogFixture::Plain));
            QVERIFY(host().messages.isEmpty());
            dialog()->reject();
            done = true;
        });
        QTRY_VERIFY(done && !dialog()->isVisible());
        QCOMPARE(answered(), QStringList{"Calibration"});
        QVERIFY(!otherThreadExchanged);
    }

    void ofABurstTheFirstOpensAndEveryOneIsAnsweredOnce_data()
    {
        QTest::addColumn<int>("threads");
        QTest::newRow("one after the other") << 0;
        QTest::newRow("from another thread") << 1;
        QTest::newRow("from four threads") << 4;
    }

    void ofABurstTheFirstOpensAndEveryOneIsAnsweredOnce()
    {
        QFETCH(int, threads);
        fixture().makeDialog();
        EventCounter shown(dialog(), QEvent::Show);
        const int each = 100 / std::max(threads, 1);
        const auto requests = [&](int first) {
            for (int i = first; i < first + each; ++i) {
                // Each one for another body.
                const QByteArray body = "standard|" + QByteArray::number(1 + i % 3);
                send("Module " + QByteArray::number(i), kRequest + " " + body);
            }
        };
        std::vector<std::thread> senders;
        for (int thread = 0; thread < threads; ++thread)
            senders.emplace_back(requests, thread * each);
        for (std::thread &sender : senders)
            sender.join();
        if (threads == 0)
            requests(0);
        QVERIFY(host().messages.isEmpty());

        bool done = false;
        int chosen = -1;
        whenOpen([&] {
            chosen = list()->currentIndex();
            // The others are told that it will not be for them.
            QTRY_COMPARE(host().messages.size(), 99);
            QVERIFY(dialog()->isVisible());
            QCOMPARE(list()->currentIndex(), chosen);
            dialog()->reject();
            done = true;
        });
        QTRY_VERIFY(done && !dialog()->isVisible());
        QCOMPARE(shown.count, 1);
        QCOMPARE(host().journal.count("add 6d"), 1);
        QStringList destinations = answered();
        QCOMPARE(destinations.size(), 100);
        const int opener = destinations.last().mid(7).toInt();
        QCOMPARE(chosen, opener % 3);
        if (threads < 2)
            QCOMPARE(opener, 0);
        destinations.sort();
        destinations.removeDuplicates();
        QCOMPARE(destinations.size(), 100);
        // Nothing comes later.
        QTest::qWait(50);
        QCOMPARE(host().messages.size(), 100);
        QVERIFY(!dialog()->isVisible());
    }

    // While the dialog is open --------------------------------------------------------------------

    void aBurstWhileTheDialogIsOpenDisturbsNobody()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 1, "20\r");
            canvas()->select(canvas()->body().markers().at(4));
            // One more value is half typed.
            fixture().typeValue("body_ori_xyzWidget", 2, "3");
            auto *field = spinBox("body_ori_xyzWidget", 2);
            const QString typed = field->text();
            const QStringList enabled = fixture().enabledControls();
            host().clearRecords();
            EventCounter raised(dialog(), QEvent::ZOrderChange);
            EventCounter shown(dialog(), QEvent::Show);
            std::thread other([&] {
                for (int i = 0; i < 100; ++i)
                    send("Module " + QByteArray::number(i), kRequest + " standard|3");
            });
            other.join();
            QTRY_COMPARE(host().messages.size(), 100);
            QStringList expected;
            for (int i = 0; i < 100; ++i)
                expected.append(QStringLiteral("Module %1").arg(i));
            QCOMPARE(answered(), expected);
            QCOMPARE(host().journal.size(), 100);
            QVERIFY(raised.count >= 1);
            QCOMPARE(shown.count, 0);
            QTRY_VERIFY(dialog()->isActiveWindow());

            QCOMPARE(list()->currentIndex(), int(DialogFixture::Wand));
            QCOMPARE(fixture().enabledControls(), enabled);
            QCOMPARE(canvas()->body().undoCount(), 1);
            QCOMPARE(canvas()->selectedMarkerNumber(), 4);
            QCOMPARE(field->text(), typed);
            QTest::keyClick(field, Qt::Key_0);
            QTest::keyClick(field, Qt::Key_Return);
            QCOMPARE(canvas()->body().undoCount(), 2);
            QVERIFY(std::fabs(canvas()->body().baseMatrix().column(0).x - std::sqrt(0.75)) < 1e-9);
            QVERIFY(fixture().boxes.isEmpty());
            host().clearRecords();
            fixture().answers = {QMessageBox::Yes};
            dialog()->reject();
        });
        // It was opened from the menu: nobody waits for its end.
        QVERIFY(host().messages.isEmpty());
    }

    void aSecondRequestIsAnsweredAtOnceAndTheFirstAtTheEnd()
    {
        fixture().requestedSession(" standard|2", [&] {
            send("Other", kRequest + " standard|1");
            QTRY_COMPARE(answered(), QStringList{"Other"});
            QCOMPARE(list()->currentIndex(), int(DialogFixture::Plain));
            QVERIFY(!fixture().isEnabled("body_name"));
            // Also once more from the module that waits.
            send("Calibration", kRequest + " standard|1");
            QTRY_COMPARE(answered(), (QStringList{"Other", "Calibration"}));
            QVERIFY(dialog()->isVisible());
        });
        QCOMPARE(answered(), (QStringList{"Other", "Calibration", "Calibration"}));
    }

    void aRequestWhileAWindowIsOpenAboveLeavesItOpen_data() { addWindowRows(); }

    void aRequestWhileAWindowIsOpenAboveLeavesItOpen()
    {
        QFETCH(QString, window);
        host().parameters["body number_of_marker standard b03"] = "1";
        bool asked = false;
        fixture().session([&] {
            whenOpenAbove(window, [&] {
                asked = true;
                const QPointer<QWidget> above(openAbove(window));
                const int messages = host().messages.size();
                send("Other", kRequest + " standard|2");
                QTRY_COMPARE(host().messages.size(), messages + 1);
                QCOMPARE(answered().last(), QStringLiteral("Other"));
                QVERIFY(above && above->isVisible());
                QVERIFY(dialog()->isVisible());
                above->close();
            });
            open(window);
            fixture().leaveBoxesOpen = false;
        });
        QVERIFY(asked);
        QCOMPARE(answered().count("Other"), 1);
    }

    // Which body ----------------------------------------------------------------------------------

    void theTextIsMeantAsTheBeginningOfAnEntry_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("position");
        const QByteArray body = kRequest + " ";
        QTest::newRow("the first of a type") << body + "standard" << int(DialogFixture::Wand);
        QTest::newRow("the first of the other type")
            << body + "vimbar" << int(DialogFixture::Probe);
        QTest::newRow("not a longer number") << body + "standard|1" << int(DialogFixture::Wand);
        QTest::newRow("the longer number") << body + "standard|10" << 9;
        QTest::newRow("more of the entry")
            << body + "standard|3|calibrated" << int(DialogFixture::Pen);
        QTest::newRow("the whole entry") << body + "standard|3|calibrated|tt_5dof" << -1;
        QTest::newRow("part of a word") << body + "stand" << -1;
        QTest::newRow("bar behind the type") << body + "standard|" << -1;
        QTest::newRow("leading zero") << body + "standard|03" << -1;
        QTest::newRow("pattern characters") << body + "standard.3" << -1;
        QTest::newRow("wildcard") << body + "*" << -1;
        QTest::newRow("no blank") << kRequest << -1;
        QTest::newRow("blank and nothing") << body << -1;
        QTest::newRow("two blanks") << body + " standard|3" << -1;
        QTest::newRow("blank behind") << body + "standard|3 " << -1;
        QTest::newRow("trailing word") << body + "standard|3 now" << -1;
        QTest::newRow("tab for a blank") << kRequest + "\tstandard|3" << -1;
        QTest::newRow("further letters") << kRequest + "Now standard|3" << int(DialogFixture::Pen);
        QTest::newRow("further letters and no body") << kRequest + "Now" << -1;
        QTest::newRow("beyond the last") << body + "vimbar|9" << -1;
        QTest::newRow("of no type") << body + "target|1" << -1;
    }

    void theTextIsMeantAsTheBeginningOfAnEntry()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, position);
        const QVector<bsVector> markers = host().markers("standard", 1);
        for (int number = 6; number <= 10; ++number)
            host().addBody("standard", number, "", true, "tt_std", markers);
        // The vimbars now stand behind ten bodies.
        if (position == DialogFixture::Probe)
            position = 10;
        fixture().requestedSession(text.mid(kRequest.size()), [&] {
            QCOMPARE(list()->currentIndex(), position);
            QCOMPARE(canvas()->isBodyLoaded(), position >= 0);
            QVERIFY(!fixture().isEnabled("body_name"));
            QVERIFY(host().errors().isEmpty());
            QVERIFY(fixture().boxes.isEmpty());
            QVERIFY(!fixture().child<QLabel>("error_label")->isVisible());
        });
        QCOMPARE(answered(), QStringList{"Calibration"});
    }

    void otherMessagesAreIgnored()
    {
        fixture().makeDialog();
        for (const char *text : {"reopen", "", "openBodyAdjustmentDialog standard|1",
                                 " OpenBodyAdjustmentDialog standard|1", "Close"})
            QCOMPARE(host().sendToModule(kModule, "Calibration", text), 0);
        QTest::qWait(20);
        QVERIFY(!dialog()->isVisible());
        QVERIFY(host().transcript.isEmpty());
        QVERIFY(host().messages.isEmpty());
    }

    void aBodyThatIsNotThereLeavesNothingToWorkOn()
    {
        // Of the last time, a body is still known.
        fixture().session([&] { fixture().choose(DialogFixture::Wand); });
        host().clearRecords();
        fixture().requestedSession(" standard|33", [&] {
            QCOMPARE(list()->currentIndex(), -1);
            QVERIFY(!canvas()->isBodyLoaded());
            QVERIFY(host().transcript.filter("number_of_marker").isEmpty());
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().child<QPushButton>("apply_button")->click();
            fixture().child<QPushButton>("pushButton_due_to_body")->click();
            QTest::keyClick(dialog(), Qt::Key_Delete);
            fixture().child<QPushButton>("ok_button")->click();
            QVERIFY(!dialog()->isVisible());
        });
        QVERIFY(fixture().boxes.isEmpty());
        QVERIFY(host().transcript.filter("quorel2 body").isEmpty());
        QVERIFY(host().errors().isEmpty());
        QCOMPARE(answered(), QStringList{"Calibration"});
    }

    void theBodyIsShownAlsoWhenItWasShownLastTime_data()
    {
        QTest::addColumn<bool>("byRequest");
        QTest::addColumn<bool>("changed");
        QTest::newRow("requested again") << true << false;
        QTest::newRow("chosen by hand before") << false << false;
        QTest::newRow("requested again after a change") << true << true;
    }

    void theBodyIsShownAlsoWhenItWasShownLastTime()
    {
        QFETCH(bool, byRequest);
        QFETCH(bool, changed);
        const auto last = [&] {
            if (!byRequest)
                fixture().choose(DialogFixture::Wand);
            if (changed)
                fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().child<QPushButton>("ok_button")->click();
        };
        if (byRequest)
            fixture().requestedSession(" standard|1", last);
        else
            fixture().session(last);
        host().clearRecords();
        fixture().requestedSession(" standard|1", [&] {
            QCOMPARE(list()->currentIndex(), int(DialogFixture::Wand));
            QCOMPARE(list()->currentText(), QStringLiteral("Wand (Standard body 01)"));
            QCOMPARE(host().transcript.count("get body number_of_marker standard b01"), 1);
            QCOMPARE(canvas()->body().markerCount(), 6);
            QCOMPARE(canvas()->body().markerPositions().at(1).x, changed ? 90.0 : 100.0);
            QCOMPARE(canvas()->body().undoCount(), 0);
            QCOMPARE(fixture().child<QTableWidget>("tableWidget_data")->rowCount(), 6);
            QVERIFY(fixture().isEnabled("body_pos_xyzWidget"));
            QVERIFY(!fixture().isEnabled("apply_button"));
        });
    }

    // The answer ----------------------------------------------------------------------------------

    void howeverTheDialogClosesTheSenderIsAnsweredOnce_data()
    {
        QTest::addColumn<QString>("way");
        for (const char *way :
             {"OK", "OK with a change", "Cancel", "Cancel with a change", "Escape", "close button",
              "hidden", "hidden while a question is open", "accepted by somebody else",
              "No, then Yes"})
            QTest::newRow(way) << QString::fromLatin1(way);
    }

    void howeverTheDialogClosesTheSenderIsAnsweredOnce()
    {
        QFETCH(QString, way);
        host().parameters["tracking reference"] = "standard 02";
        fixture().requestedSession(" standard|1", [&] {
            const bool changes =
                way.contains("change") || way.contains("question") || way.contains("No,");
            if (changes)
                fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().answers = {QMessageBox::Yes};
            if (way.startsWith("OK")) {
                fixture().click("ok_button");
            } else if (way.startsWith("Cancel")) {
                fixture().click("cancel_button");
            } else if (way == "Escape") {
                QTest::keyClick(dialog(), Qt::Key_Escape);
            } else if (way == "close button") {
                dialog()->close();
            } else if (way == "hidden") {
                dialog()->hide();
            } else if (way == "accepted by somebody else") {
                dialog()->accept();
            } else if (way == "No, then Yes") {
                fixture().answers = {QMessageBox::No};
                fixture().click("cancel_button");
                QVERIFY(dialog()->isVisible());
                QVERIFY(host().messages.isEmpty());
                fixture().answers = {QMessageBox::Yes};
                fixture().click("cancel_button");
            } else {
                fixture().leaveBoxesOpen = true;
                whenOpenAbove(QString(), [&] {
                    dialog()->hide();
                    fixture().leaveBoxesOpen = false;
                });
                fixture().click("cancel_button");
            }
            fixture().answers.clear();
            QVERIFY(!dialog()->isVisible());
        });
        QTRY_COMPARE(host().messages.size(), 1);
        QCOMPARE(answered(), QStringList{"Calibration"});
        QCOMPARE(host().transcript.count("set tracking reference standard 02"), 1);
        QVERIFY(host().requesters.isEmpty());

        // The next opening is the menu's.
        host().clearRecords();
        fixture().answers.clear();
        fixture().session([&] {
            QCOMPARE(list()->currentIndex(), -1);
            QVERIFY(fixture().isEnabled("body_name"));
        });
        QVERIFY(host().messages.isEmpty());
    }

    void whoAsksAgainAtTheAnswerIsServedAgain_data()
    {
        QTest::addColumn<QString>("way");
        for (const char *way : {"ok_button", "cancel_button", "hide"})
            QTest::newRow(way) << QString::fromLatin1(way);
    }

    void whoAsksAgainAtTheAnswerIsServedAgain()
    {
        QFETCH(QString, way);
        AskingHost asking;
        asking.parameters = host().parameters;
        asking.next = {"standard|2", "vimbar|1"};
        fixture().dialog = std::make_unique<BodyAdjustmentDialog>(&asking, &fixture().parentWindow,
                                                                  &asking.versions);
        QVector<int> seen;
        QTimer closer;
        connect(&closer, &QTimer::timeout, this, [&] {
            if (!dialog()->isVisible())
                return;
            seen.append(list()->currentIndex());
            if (way == QLatin1String("hide"))
                dialog()->hide();
            else
                fixture().child<QPushButton>(way.toLatin1().constData())->click();
        });
        closer.start(5);
        asking.sendToModule(kModule, "Calibration", kRequest + " standard|1");
        QTRY_COMPARE(asking.messages.size(), 3);
        QTRY_VERIFY(!dialog()->isVisible());
        QCOMPARE(seen,
                 (QVector<int>{DialogFixture::Wand, DialogFixture::Plain, DialogFixture::Probe}));
        QCOMPARE(answered(asking), (QStringList{"Calibration", "Calibration", "Calibration"}));
        closer.stop();
        fixture().dialog.reset();
    }

    void aRequestThatComesWhileTheDialogClosesIsNotLost()
    {
        fixture().makeDialog();
        send("First", kRequest + " standard|1");
        QVector<int> seen;
        QTimer closer;
        connect(&closer, &QTimer::timeout, this, [&] {
            if (!dialog()->isVisible())
                return;
            seen.append(list()->currentIndex());
            dialog()->reject();
            if (seen.size() == 1) {
                // It is closed, but whoever opened it has not gone on yet.
                send("Second", kRequest + " standard|2");
                send("Third", kRequest + " standard|3");
                QCoreApplication::sendPostedEvents();
            }
        });
        closer.start(5);
        QTRY_COMPARE(host().messages.size(), 3);
        QTRY_VERIFY(!dialog()->isVisible());
        // The third came while it was open for the second.
        QCOMPARE(seen, (QVector<int>{DialogFixture::Wand, DialogFixture::Plain}));
        QCOMPARE(answered(), (QStringList{"First", "Third", "Second"}));
    }

    // The end -------------------------------------------------------------------------------------

    void aRequestThatIsStillOnItsWayAtTheEndIsDropped()
    {
        fixture().makeDialog();
        for (int i = 0; i < 100; ++i)
            send("Calibration", kRequest + " standard|1");
        dialog()->detachFromHost();
        fixture().dialog.reset();
        QTest::qWait(20);
        QVERIFY(host().transcript.isEmpty());
        QCOMPARE(host().sendToModule(kModule, "Calibration", kRequest), -1);
    }

    void aRequestThatIsStillOnItsWayWhenTheHostDetachesTheModuleOpensNothing()
    {
        fixture().makeDialog();
        send("Calibration", kRequest + " standard|1");
        dialog()->detachFromHost();
        QTest::qWait(20);
        QVERIFY(!dialog()->isVisible());
        QCOMPARE(host().transcript, QStringList());
        QVERIFY(host().messages.isEmpty());
    }

    void aRequestBringsAMinimisedDialogBack()
    {
        fixture().session([&] {
            dialog()->setWindowState(dialog()->windowState() | Qt::WindowMinimized);
            QVERIFY(dialog()->isMinimized());
            // At once: not every window manager would do it by itself when told to activate it.
            dialog()->onReceiveOpenBodyAdjustmentDialog("Calibration", "standard|2");
            QVERIFY(!dialog()->isMinimized());
            QCOMPARE(answered(), QStringList{"Calibration"});
        });
    }

    void openingItOnceMoreWhileItIsOpenChangesNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().clearRecords();
            QCOMPARE(dialog()->update_and_exec(), int(QDialog::Rejected));
            QVERIFY(dialog()->isVisible());
            QCOMPARE(host().transcript, QStringList());
            QCOMPARE(canvas()->body().undoCount(), 1);
            QCOMPARE(list()->currentIndex(), int(DialogFixture::Wand));
        });
    }

    void whileItAsksWhetherToDiscardItDoesNotAskAgain()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().answerTo = [this](const SeenBox &) {
                dialog()->reject();
                return QMessageBox::No;
            };
            dialog()->reject();
            fixture().answerTo = nullptr;
            QCOMPARE(fixture().boxes.size(), 1);
            QVERIFY(dialog()->isVisible());
            QCOMPARE(canvas()->body().undoCount(), 1);
        });
    }

    void theHostMayEndWhileTheBodyIsReadAgainAfterAnApply()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().parameters["body number_of_marker standard b01"] = "1";
            fixture().answerTo = [this](const SeenBox &box) {
                if (box.title == QLatin1String("Error loading body"))
                    fixture().dialog.reset();
                return QMessageBox::Ok;
            };
            fixture().click("apply_button");
            fixture().answerTo = nullptr;
            QVERIFY(!fixture().dialog);
            QCOMPARE(fixture().boxes.size(), 1);
        });
        QCOMPARE(transforms().size(), 1);
        QVERIFY(host().requesters.isEmpty());
    }

    void aRequestOfNobodyIsNotAnswered()
    {
        fixture().session([&] {
            send("", kRequest + " standard|2");
            QTest::qWait(20);
            QVERIFY(host().messages.isEmpty());
        });
    }

    void theModuleMayBeCleanedUpWhileAWindowIsOpenAbove_data() { addWindowRows(); }

    void theModuleMayBeCleanedUpWhileAWindowIsOpenAbove()
    {
        QFETCH(QString, window);
        host().parameters["tracking reference"] = "standard 02";
        host().parameters["body number_of_marker standard b03"] = "1";
        QStringList left;
        fixture().session([&] {
            whenOpenAbove(window, [&] {
                host().clearRecords();
                dialog()->detachFromHost();
                fixture().dialog.reset();
                left = host().transcript;
            });
            open(window);
            QVERIFY(!dialog());
        });
        QCOMPARE(left, (QStringList{"get status active", "quorel2 tracking stop",
                                    "set tracking reference standard 02"}));
        // Nothing goes on behind it.
        QTest::qWait(50);
        QCOMPARE(host().transcript, left);
        QVERIFY(host().requesters.isEmpty());
        QVERIFY(host().receivers.isEmpty());
        QVERIFY(!QApplication::activePopupWidget());
        QVERIFY(!QApplication::activeModalWidget());
    }

    void theHostsWindowMayGoWhileAWindowIsOpenAbove_data() { addWindowRows(); }

    void theHostsWindowMayGoWhileAWindowIsOpenAbove()
    {
        QFETCH(QString, window);
        host().parameters["body number_of_marker standard b03"] = "1";
        auto mainWindow = std::make_unique<QWidget>();
        fixture().dialog =
            std::make_unique<BodyAdjustmentDialog>(&host(), mainWindow.get(), &host().versions);
        fixture().session([&] {
            whenOpenAbove(window, [&] {
                // The window owns the dialog.
                const QPointer<BodyAdjustmentDialog> guard(fixture().dialog.release());
                mainWindow.reset();
                QVERIFY(!guard);
            });
            open(window);
            QVERIFY(!dialog());
        });
        QVERIFY(host().requesters.isEmpty());
        QVERIFY(host().receivers.isEmpty());
    }

    void theHostMayEndInABoxOfTheOpening()
    {
        // The requested body has one marker, which is told before the dialog is up.
        host().parameters["body number_of_marker standard b03"] = "1";
        host().parameters["tracking reference"] = "standard 02";
        fixture().makeDialog();
        fixture().leaveBoxesOpen = true;
        bool ended = false;
        whenOpenAbove(QString(), [&] {
            QVERIFY(!dialog()->isVisible());
            send("Other", kRequest + " standard|1");
            QTRY_COMPARE(answered(), QStringList{"Other"});
            fixture().dialog.reset();
            ended = true;
        });
        send("Calibration", kRequest + " standard|3");
        QTRY_VERIFY(ended);
        QTest::qWait(20);
        QCOMPARE(host().parameters.value("tracking reference"), QStringLiteral("standard 02"));
        QVERIFY(host().receivers.isEmpty());
        QVERIFY(!QApplication::activeModalWidget());
    }

    void aDialogHiddenUnderAQuestionChangesNothingMore_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<QMessageBox::StandardButton>("answer");
        QTest::newRow("deleting") << "deleting by the button" << QMessageBox::Ok;
        QTest::newRow("leaving") << "leaving a body" << QMessageBox::Yes;
        QTest::newRow("leaving without applying") << "leaving a body" << QMessageBox::No;
    }

    void aDialogHiddenUnderAQuestionChangesNothingMore()
    {
        QFETCH(QString, window);
        QFETCH(QMessageBox::StandardButton, answer);
        host().parameters["tracking reference"] = "standard 02";
        const QVector<bsVector> before = host().markers("standard", 1);
        fixture().session([&] {
            whenOpenAbove(window, [&] {
                dialog()->hide();
                host().clearRecords();
                fixture().answers = {answer};
                fixture().leaveBoxesOpen = false;
            });
            open(window);
            QCOMPARE(host().transcript, QStringList());
        });
        QCOMPARE(host().transcript, QStringList{"set tracking reference standard 02"});
        QCOMPARE(host().markers("standard", 1).size(), before.size());
    }
};

QUOREL2_TEST_MAIN(TestDialogMessages)
#include "tst_DialogMessages.moc"
