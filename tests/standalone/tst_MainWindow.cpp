#include <host/ModuleInterface.h>
#include <standalone/ElidedLabel.h>
#include <standalone/LogView.h>
#include <standalone/MainWindow.h>
#include <tests/support/TestMain.h>

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include <limits>

namespace {

QString textOf(const MainWindow &window, const char *name)
{
    const auto *label = window.findChild<QLabel *>(QString::fromLatin1(name));
    return label ? label->text() : QStringLiteral("no label %1").arg(QString::fromLatin1(name));
}

QStringList rowsOf(const MainWindow &window, const char *name, const QVector<int> &columns)
{
    const auto *view = window.findChild<LogView *>(QString::fromLatin1(name));
    QStringList rows;
    for (int row = 0; view && row < view->model()->rowCount(); ++row) {
        QStringList cells;
        for (const int column : columns)
            cells.append(view->model()->index(row, column).data().toString());
        rows.append(cells.join(QLatin1Char('|')));
    }
    return rows;
}

QStringList menuTitles(const MainWindow &window)
{
    QStringList titles;
    for (const QAction *action : window.menuBar()->actions())
        titles.append(action->text());
    return titles;
}

QStringList entriesOf(const MainWindow &window, const QString &title)
{
    QStringList texts;
    for (const QAction *action : window.menuBar()->actions()) {
        if (action->text() == title) {
            for (const QAction *entry : action->menu()->actions())
                texts.append(entry->text());
        }
    }
    return texts;
}

Exchange exchange(const QByteArray &request, const QByteArray &reply, ExchangeStatus status)
{
    Exchange result;
    result.time = QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9, 100));
    result.request = request;
    result.reply = reply;
    result.replied = !reply.isNull();
    result.status = status;
    result.milliseconds = 1.25;
    return result;
}

} // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void theHostsOwnMenusStandAtTheEnds();
    void entriesStandAtTheirPlaces();
    void anEntryInAMenuOfTheHostsStandsInFront();
    void theShortcutOfAnEntryWorksFromTheWindow();
    void messagesAreListedWithTimeSourceAndText();
    void everyExchangeIsListedBothWays();
    void aFailedExchangeTellsItsReason();
    void anUnaskedLineIsAWarningAndNoExchange();
    void theFilterShowsOnlyLinesWithItsText();
    void clearButtonsEmptyTheLists();
    void aBurstIsShownInOneGo();
    void theHistoryIsBounded();
    void theStatusBarTellsAddressAndState();
    void theDataRateIsTold();
    void closingIsReported();
    void quitClosesTheWindow();
    void aboutTellsProgramAndModule();
    void theWindowFitsASmallScreen();
    void nothingIsCutOffAtTheMinimumSize_data();
    void nothingIsCutOffAtTheMinimumSize();
};

void MainWindowTest::theHostsOwnMenusStandAtTheEnds()
{
    MainWindow window;
    QCOMPARE(menuTitles(window), (QStringList{"&File", "&Help"}));
    QCOMPARE(entriesOf(window, QStringLiteral("&File")), QStringList{"&Quit"});
    QCOMPARE(entriesOf(window, QStringLiteral("&Help")), QStringList{"&About"});
    QVERIFY(!window.windowIcon().isNull());
}

void MainWindowTest::entriesStandAtTheirPlaces()
{
    MainWindow window;
    QAction late(QStringLiteral("Late"));
    QAction early(QStringLiteral("Early"));
    QAction further(QStringLiteral("Further"));
    QAction nearer(QStringLiteral("Nearer"));
    MenuEntry entries[] = {{&early, 35, QStringLiteral("&Tracking"), 300, nullptr, 0},
                           {&late, 90, QStringLiteral("&Tracking"), 300, nullptr, 0},
                           {&further, 1, QStringLiteral("Further"), 400, nullptr, 0},
                           {&nearer, 1, QStringLiteral("Nearer"), 200, nullptr, 0},
                           {nullptr, 2, QStringLiteral("Nothing"), 250, nullptr, 0}};
    window.installEntries({&entries[0], &entries[1], &entries[2], &entries[3], &entries[4]});
    QCOMPARE(menuTitles(window), (QStringList{"&File", "Nearer", "&Tracking", "Further", "&Help"}));
    QCOMPARE(entriesOf(window, QStringLiteral("&Tracking")), (QStringList{"Early", "Late"}));
}

void MainWindowTest::anEntryInAMenuOfTheHostsStandsInFront()
{
    MainWindow window;
    QAction import(QStringLiteral("Import"));
    QAction more(QStringLiteral("Import more"));
    MenuEntry first = {&import, 5, QStringLiteral("&File"), 0, nullptr, 0};
    MenuEntry second = {&more, 6, QStringLiteral("&File"), 0, nullptr, 0};
    window.installEntries({&first, &second});
    QCOMPARE(menuTitles(window), (QStringList{"&File", "&Help"}));
    QCOMPARE(entriesOf(window, QStringLiteral("&File")),
             (QStringList{"Import", "Import more", "&Quit"}));
}

void MainWindowTest::theShortcutOfAnEntryWorksFromTheWindow()
{
    MainWindow window;
    QAction action(QStringLiteral("Body &adjustment"));
    action.setShortcut(QKeySequence(QStringLiteral("Shift+F6")));
    MenuEntry entry = {&action, 35, QStringLiteral("&Tracking"), 300, nullptr, 0};
    window.installEntries({&entry});
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QSignalSpy triggered(&action, &QAction::triggered);
    QTest::keyClick(&window, Qt::Key_F6, Qt::ShiftModifier);
    QCOMPARE(triggered.size(), 1);
}

void MainWindowTest::messagesAreListedWithTimeSourceAndText()
{
    MainWindow window;
    const QDateTime time(QDate(2024, 5, 6), QTime(7, 8, 9, 10));
    window.addMessage(time, QStringLiteral("QUOREL4"),
                      QStringLiteral("Error: Unable to check body type"));
    window.addMessage(time, QStringLiteral("Other"), QStringLiteral("two\nlines"));
    window.addUndelivered(time, QStringLiteral("BodyAdjustmentModule"), QStringLiteral("Gone"),
                          QStringLiteral("reopen"));
    // Without anybody's doing.
    QTRY_COMPARE(rowsOf(window, "messageView", {0, 1, 2}),
                 (QStringList{QStringLiteral("07:08:09.010|QUOREL4|Error: Unable to check body "
                                             "type"),
                              QStringLiteral("07:08:09.010|Other|two \u23ce lines"),
                              QStringLiteral("07:08:09.010|BodyAdjustmentModule|Not delivered, "
                                             "there is no module \"Gone\": reopen")}));
}

void MainWindowTest::everyExchangeIsListedBothWays()
{
    MainWindow window;
    window.addExchange(exchange("quorel2 get status active", "quorel2 set status active mea",
                                ExchangeStatus::Done));
    window.flush();
    QCOMPARE(rowsOf(window, "trafficView", {0, 1, 2, 3, 4}),
             (QStringList{QStringLiteral("07:08:09.100|\u2192 Sent|quorel2 get status active||"),
                          QStringLiteral("07:08:09.101|\u2190 Received|quorel2 set status active "
                                         "mea|ok|1.25")}));
}

void MainWindowTest::aFailedExchangeTellsItsReason()
{
    MainWindow window;
    window.addExchange(exchange("a", QByteArray(), ExchangeStatus::TimedOut));
    window.addExchange(exchange("b", "quorel2 err no such body", ExchangeStatus::Refused));
    window.addExchange(exchange("c", "quorel2 err no such body", ExchangeStatus::Done));
    window.addExchange(exchange("d", "quorel2 errand", ExchangeStatus::Done));
    window.addExchange(exchange("e\nf", QByteArray(), ExchangeStatus::BadRequest));
    window.flush();
    QCOMPARE(
        rowsOf(window, "trafficView", {1, 2, 3}),
        (QStringList{QStringLiteral("\u2192 Sent|a|"), QStringLiteral("\u2715 No reply||timed out"),
                     QStringLiteral("\u2192 Sent|b|"),
                     QStringLiteral("\u2190 Received|quorel2 err no such body|refused"),
                     QStringLiteral("\u2192 Sent|c|"),
                     QStringLiteral("\u2190 Received|quorel2 err no such body|refused"),
                     QStringLiteral("\u2192 Sent|d|"),
                     QStringLiteral("\u2190 Received|quorel2 errand|ok"),
                     QStringLiteral("\u2192 Not sent|e \u23ce f|"),
                     QStringLiteral("\u2715 No reply||bad request")}));
}

void MainWindowTest::anUnaskedLineIsAWarningAndNoExchange()
{
    MainWindow window;
    const auto *count = window.findChild<QLabel *>(QStringLiteral("trafficCount"));
    QVERIFY(count);
    window.addExchange(exchange("a", "b", ExchangeStatus::Done));
    for (int i = 0; i < 2; ++i)
        window.addUnasked(QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9, 10)), "quorel2 warning hot");
    window.flush();
    QCOMPARE(rowsOf(window, "trafficView", {0, 1, 2, 3, 4}).mid(2),
             (QStringList{QStringLiteral("07:08:09.010|\u2190 Unasked|quorel2 warning hot||"),
                          QStringLiteral("07:08:09.010|\u2190 Unasked|quorel2 warning hot||")}));
    const auto *model = window.findChild<LogView *>(QStringLiteral("trafficView"))->model();
    QCOMPARE(model->index(1, 0).data(LogModel::SeverityRole).toInt(), int(LogModel::Normal));
    QCOMPARE(model->index(2, 0).data(LogModel::SeverityRole).toInt(), int(LogModel::Warning));
    QCOMPARE(count->text(), QStringLiteral("1 exchanges"));
}

void MainWindowTest::theFilterShowsOnlyLinesWithItsText()
{
    MainWindow window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.addExchange(exchange("quorel2 tracking start", "quorel2 ok", ExchangeStatus::Done));
    window.addExchange(exchange("quorel2 get a", "quorel2 set a [b]", ExchangeStatus::Done));
    window.flush();
    auto *filter = window.findChild<QLineEdit *>(QStringLiteral("trafficFilter"));
    QVERIFY(filter);
    QTest::mouseClick(filter, Qt::LeftButton);
    QTest::keyClicks(filter, QStringLiteral("TRACKING"));
    QCOMPARE(rowsOf(window, "trafficView", {2}), QStringList{"quorel2 tracking start"});
    window.addExchange(exchange("quorel2 tracking stop", "quorel2 ok", ExchangeStatus::Done));
    window.flush();
    QCOMPARE(rowsOf(window, "trafficView", {2}),
             (QStringList{"quorel2 tracking start", "quorel2 tracking stop"}));
    filter->selectAll();
    QTest::keyClicks(filter, QStringLiteral("[b]"));
    QCOMPARE(rowsOf(window, "trafficView", {2}), QStringList{"quorel2 set a [b]"});
    filter->clear();
    QCOMPARE(rowsOf(window, "trafficView", {2}).size(), 6);
}

void MainWindowTest::clearButtonsEmptyTheLists()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto fill = [&] {
        window.addMessage(QDateTime::currentDateTime(), QStringLiteral("s"), QStringLiteral("t"));
        window.addExchange(exchange("a", "b", ExchangeStatus::Done));
    };
    fill();
    window.flush();
    fill(); // not shown yet; it goes too
    QList<QToolButton *> buttons;
    for (QToolButton *button : window.findChildren<QToolButton *>()) {
        if (button->text() == QLatin1String("Clear"))
            buttons.append(button);
    }
    QCOMPARE(buttons.size(), 2);
    for (QToolButton *button : qAsConst(buttons))
        QTest::mouseClick(button, Qt::LeftButton);
    window.flush();
    QCOMPARE(rowsOf(window, "messageView", {0}).size(), 0);
    QCOMPARE(rowsOf(window, "trafficView", {0}).size(), 0);
}

void MainWindowTest::aBurstIsShownInOneGo()
{
    MainWindow window;
    auto *view = window.findChild<LogView *>(QStringLiteral("trafficView"));
    QSignalSpy inserted(view->model(), &QAbstractItemModel::rowsInserted);
    for (int i = 0; i < 1000; ++i)
        window.addExchange(exchange("request", "reply", ExchangeStatus::Done));
    QCOMPARE(inserted.size(), 0);
    QTRY_COMPARE(view->model()->rowCount(), 2000);
    QCOMPARE(inserted.size(), 1);
}

void MainWindowTest::theHistoryIsBounded()
{
    MainWindow window;
    const auto *view = window.findChild<LogView *>(QStringLiteral("trafficView"));
    const auto *messages = window.findChild<LogView *>(QStringLiteral("messageView"));
    for (int i = 0; i < 12000; ++i) {
        window.addExchange(exchange("request", QByteArray::number(i), ExchangeStatus::Done));
        window.addMessage(QDateTime::currentDateTime(), QStringLiteral("s"), QString::number(i));
        if (i % 500 == 0)
            window.flush();
    }
    window.flush();
    QVERIFY(view->model()->rowCount() <= 10000);
    QVERIFY(messages->model()->rowCount() <= 10000);
    QCOMPARE(view->model()->index(view->model()->rowCount() - 1, 2).data().toString(),
             QStringLiteral("11999"));
}

void MainWindowTest::theStatusBarTellsAddressAndState()
{
    MainWindow window;
    QVERIFY(textOf(window, "stateLabel").contains(QStringLiteral("Not connected")));
    QCOMPARE(textOf(window, "backendLabel"), QStringLiteral("Backend unknown"));
    window.setController(QStringLiteral("Simulated controller"), QStringLiteral("127.0.0.1:42200"));
    window.setConnectionState(ControllerConnection::ConnectingState, QString());
    QVERIFY(textOf(window, "stateLabel").contains(QStringLiteral("Connecting")));
    window.setConnectionState(ControllerConnection::ConnectedState, QString());
    QVERIFY(textOf(window, "stateLabel").contains(QStringLiteral("Connected")));
    window.setBackendVersion(QStringLiteral("1.17"));
    QCOMPARE(textOf(window, "backendLabel"), QStringLiteral("Backend 1.17"));
    QCOMPARE(textOf(window, "addressLabel"),
             QStringLiteral("Simulated controller 127.0.0.1:42200"));
    window.setConnectionState(ControllerConnection::DisconnectedState,
                              QStringLiteral("Connection refused"));
    QVERIFY(textOf(window, "stateLabel").contains(QStringLiteral("Not connected")));
    QCOMPARE(window.findChild<QLabel *>(QStringLiteral("stateLabel"))->toolTip(),
             QStringLiteral("Connection refused"));
}

void MainWindowTest::theDataRateIsTold()
{
    MainWindow window;
    QCOMPARE(textOf(window, "dataRateLabel"), QStringLiteral("Data lines: none"));
    window.setDataRate(119.96, 0);
    QCOMPARE(textOf(window, "dataRateLabel"), QStringLiteral("Data lines: 120.0/s"));
    window.setDataRate(0.0, 0);
    QCOMPARE(textOf(window, "dataRateLabel"), QStringLiteral("Data lines: none"));
    window.setDataRate(60.0, 7);
    QCOMPARE(textOf(window, "dataRateLabel"),
             QStringLiteral("Data lines: 60.0/s, 7 from elsewhere dropped"));
}

void MainWindowTest::closingIsReported()
{
    MainWindow window;
    QSignalSpy closed(&window, &MainWindow::closed);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.close();
    QCOMPARE(closed.size(), 1);
}

void MainWindowTest::quitClosesTheWindow()
{
    MainWindow window;
    QSignalSpy closed(&window, &MainWindow::closed);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(closed.size(), 1);
    QVERIFY(!window.isVisible());
}

void MainWindowTest::aboutTellsProgramAndModule()
{
    MainWindow window;
    window.setModuleInfo(QStringLiteral("GUI <Body> Adjustment"), QStringLiteral("v3.1.9"),
                         QStringLiteral("/somewhere/lib.so"));
    QCOMPARE(textOf(window, "moduleLabel"), QStringLiteral("GUI <Body> Adjustment v3.1.9"));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    for (const QAction *menu : window.menuBar()->actions()) {
        for (QAction *action : menu->menu()->actions()) {
            if (action->text() == QLatin1String("&About"))
                action->trigger();
        }
    }
    QPointer<QMessageBox> box = window.findChild<QMessageBox *>();
    QVERIFY(box);
    QTRY_VERIFY(box->isVisible());
    QVERIFY(box->text().contains(QStringLiteral("GUI &lt;Body&gt; Adjustment v3.1.9")));
    QVERIFY(box->text().contains(QStringLiteral("/somewhere/lib.so")));
    QTest::keyClick(box.data(), Qt::Key_Escape);
    QTRY_VERIFY(!box);
}

void MainWindowTest::theWindowFitsASmallScreen()
{
    MainWindow window;
    QVERIFY(window.width() <= 1280 && window.height() <= 800);
    QVERIFY(window.minimumSizeHint().width() <= 800);
    QVERIFY(window.minimumSizeHint().height() <= 600);
}

void MainWindowTest::nothingIsCutOffAtTheMinimumSize_data()
{
    QTest::addColumn<quint64>("dropped");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("version");
    QTest::newRow("as it is most of the time")
        << quint64(0) << QStringLiteral("127.0.0.1:42200") << QStringLiteral("1.17.2");
    QTest::newRow("the longest texts")
        << std::numeric_limits<quint64>::max()
        << QStringLiteral("[fe80:1111:2222:3333:4444:5555:6666:7777%enp0s31f6]:65535")
        << QStringLiteral("9999.9999.9999");
}

void MainWindowTest::nothingIsCutOffAtTheMinimumSize()
{
    QFETCH(quint64, dropped);
    QFETCH(QString, address);
    QFETCH(QString, version);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.resize(1, 1);
    QTRY_COMPARE(window.size(), window.minimumSize());
    const QSize smallest = window.minimumSize();

    window.setModuleInfo(QStringLiteral("GUI Body Adjustment"), QStringLiteral("v3.1.9"),
                         QStringLiteral("/somewhere/lib.so"));
    window.setController(QStringLiteral("Simulated controller"), address);
    window.setConnectionState(ControllerConnection::DisconnectedState, QString());
    window.setBackendVersion(version);
    window.setDataRate(119.9, dropped);
    for (int i = 0; i < 5000; ++i)
        window.addExchange(exchange("request", "reply", ExchangeStatus::UnexpectedReply));
    window.flush();
    window.findChild<QLineEdit *>(QStringLiteral("trafficFilter"))
        ->setText(QStringLiteral("request"));
    window.flush();
    QTest::qWait(50);
    // No text makes the window grow.
    QCOMPARE(window.size(), smallest);
    QCOMPARE(window.minimumSize(), smallest);

    QWidgetList shown;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->isVisible() && !qobject_cast<QLineEdit *>(widget->parent()) &&
            (qobject_cast<QLabel *>(widget) || qobject_cast<QToolButton *>(widget) ||
             qobject_cast<QLineEdit *>(widget)))
            shown.append(widget);
    }
    QVERIFY(shown.size() >= 11);
    const auto nameOf = [](const QWidget *widget) {
        const auto *label = qobject_cast<const QLabel *>(widget);
        return label ? label->text().toUtf8() : widget->objectName().toUtf8();
    };
    for (const QWidget *widget : qAsConst(shown)) {
        QVERIFY2(widget->width() >= widget->minimumSizeHint().width(), nameOf(widget));
        QVERIFY2(widget->height() >= widget->minimumSizeHint().height(), nameOf(widget));
        QVERIFY2(widget->parentWidget()->rect().contains(widget->geometry()), nameOf(widget));
        for (const QWidget *other : qAsConst(shown)) {
            if (other != widget && other->parent() == widget->parent())
                QVERIFY2(!other->geometry().intersects(widget->geometry()), nameOf(widget));
        }
    }
    // What tells one from another is seen of a text that is cut.
    const auto shownText = [&](const char *name) {
        return window.findChild<ElidedLabel *>(QString::fromLatin1(name))->shownText();
    };
    QVERIFY2(shownText("moduleLabel").endsWith(QStringLiteral(" v3.1.9")),
             qPrintable(shownText("moduleLabel")));
    QVERIFY2(shownText("addressLabel").endsWith(address.mid(address.lastIndexOf(':'))),
             qPrintable(shownText("addressLabel")));
    QVERIFY2(shownText("dataRateLabel").startsWith(QStringLiteral("Data lines: 119.9/s")),
             qPrintable(shownText("dataRateLabel")));
    QCOMPARE(shownText("addressLabel") == textOf(window, "addressLabel"), dropped == 0);
    QCOMPARE(shownText("backendLabel") == textOf(window, "backendLabel"), dropped == 0);
    QCOMPARE(shownText("dataRateLabel") == textOf(window, "dataRateLabel"), dropped == 0);

    const auto *traffic = window.findChild<LogView *>(QStringLiteral("trafficView"));
    const QFontMetrics metrics(traffic->font());
    QVERIFY(traffic->header()->sectionSize(2) >=
            metrics.horizontalAdvance(QStringLiteral("quorel2 set body number_of_marker")));
    QVERIFY(!traffic->horizontalScrollBar()->isVisible());
}

QUOREL2_TEST_MAIN(MainWindowTest)
#include "tst_MainWindow.moc"
