#include "ScriptedController.h"

#include <controller/ControllerServer.h>
#include <controller/ControllerThread.h>
#include <controller/QuitSignals.h>
#include <standalone/Host.h>
#include <standalone/LogView.h>
#include <standalone/MainWindow.h>
#include <tests/support/TestMain.h>

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QWindow>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <functional>
#include <memory>

namespace {

constexpr int kLimitMs = 30000;

HostOptions testOptions()
{
    HostOptions options;
    options.pluginFile = QStringLiteral(QUOREL2_TEST_MODULE);
    options.timeoutMs = 10000;
    return options;
}

/// For a host on a controller that the test plays.
HostOptions optionsFor(const ScriptedController &controller)
{
    HostOptions options = testOptions();
    options.controllerHost = QStringLiteral("127.0.0.1");
    options.controllerPort = controller.port();
    return options;
}

QStringList calls()
{
    return qApp->property("testModuleCalls").toStringList();
}

QAction *entry(const MainWindow *window)
{
    for (const QAction *menu : window->menuBar()->actions()) {
        for (QAction *action : menu->menu()->actions()) {
            if (action->text() == QLatin1String("&Adjust"))
                return action;
        }
    }
    return nullptr;
}

QString textOf(const MainWindow *window, const char *name)
{
    return window->findChild<QLabel *>(QString::fromLatin1(name))->text();
}

QStringList texts(const MainWindow *window, const char *viewName)
{
    const auto *view = window->findChild<LogView *>(QString::fromLatin1(viewName));
    QStringList result;
    for (int row = 0; row < view->model()->rowCount(); ++row)
        result.append(view->model()->index(row, 2).data().toString());
    return result;
}

/// Runs the event loop until it is told to end, at the latest after the limit.
int runLoop()
{
    QTimer::singleShot(kLimitMs, qApp, [] { QCoreApplication::exit(99); });
    return QApplication::exec();
}

/// Calls @p act as soon as the module's dialog is up.
void whenDialogIsUp(QObject *context, const std::function<void(QWidget *)> &act)
{
    auto *timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [timer, act] {
        QWidget *dialog = QApplication::activeModalWidget();
        if (!dialog || !dialog->windowHandle() || !dialog->windowHandle()->isExposed())
            return;
        timer->stop();
        // Not from within the timer, which stands still while its slot runs a loop.
        QMetaObject::invokeMethod(
            timer, [act, dialog] { act(dialog); }, Qt::QueuedConnection);
    });
    timer->start(10);
}

} // namespace

class HostTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void itSimulatesAControllerAndGreetsIt();
    void theVersionGivenReplacesTheControllers();
    void anotherControllerIsUsed();
    void aControllerThatKnowsNoVersionIsTakenAsOld();
    void aControllerOutOfReachIsNoError();
    void aControllerThatNeverAnswersIsGreetedAndReportedOnce();
    void aControllerThatGivesNoDataLinesIsUsedAllTheSame_data();
    void aControllerThatGivesNoDataLinesIsUsedAllTheSame();
    void afterAReconnectTheControllerIsGreetedAnew();
    void afterATimeOutTheDataLinesComeAgain();
    void nonsenseForTheVersionIsAskedForOnce();
    void silenceAboutTheVersionIsAskedForTwice();
    void whatIsSaidBeforeTheFirstAnswerCostsNothing();
    void linesThatNobodyAskedForAreShown();
    void dataLinesAreCounted();
    void dataLinesFromElsewhereAreReportedOnce();
    void closingTheWindowEndsTheModule();
    void closingTheWindowWhileTheDialogIsOpenEndsTheModule();
    void quitWhileTheDialogIsOpenEndsTheModule();
    void aSignalWhileTheDialogIsOpenEndsTheModule();
    void aHostThatCouldNotStartEndsToo();
    void itStartsAndEndsManyTimes();
    void aDemonstrationWithoutControllerIsAnError();
    void aDemonstrationWithASilentControllerIsAnError();
    void thePictureOfAnEarlierFailureIsGone();
    // The last one, since it leaves the module loaded.
    void endFromWithinTheDialogIsSafe();
};

void HostTest::init()
{
    qApp->setProperty("testModuleCalls", QStringList());
}

void HostTest::itSimulatesAControllerAndGreetsIt()
{
    Host host(testOptions());
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    const MainWindow *window = host.window();
    QVERIFY(window->isVisible());
    QTRY_VERIFY(texts(window, "trafficView").size() >= 4);
    const QStringList traffic = texts(window, "trafficView");
    QVERIFY2(traffic.at(0).startsWith(QStringLiteral("quorel2 data connect ")),
             qPrintable(traffic.at(0)));
    QCOMPARE(traffic.at(1), QStringLiteral("quorel2 ok"));
    QCOMPARE(traffic.at(2), QStringLiteral("quorel2 get backend version"));
    QVERIFY(textOf(window, "addressLabel").startsWith(QStringLiteral("Simulated controller 127.")));
    QVERIFY(textOf(window, "stateLabel").contains(QStringLiteral("Connected")));
    QVERIFY(textOf(window, "backendLabel").startsWith(QStringLiteral("Backend 1.17")));
    QCOMPARE(calls().mid(0, 5),
             (QStringList{QStringLiteral("CommandManager IOManager*"),
                          QStringLiteral("ModuleParent QWidget*"),
                          QStringLiteral("BackendVersions BackendVersions*"),
                          QStringLiteral("ObserverMode bool"), QStringLiteral("menuEntries")}));
    QVERIFY(entry(window));
}

void HostTest::theVersionGivenReplacesTheControllers()
{
    HostOptions options = testOptions();
    options.backendVersion = BackendVersion{0, 16, -1};
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QCOMPARE(textOf(host.window(), "backendLabel"), QStringLiteral("Backend 0.16"));
}

void HostTest::anotherControllerIsUsed()
{
    ControllerThread controller(Scenario::builtIn(), 1);
    QVERIFY(controller.start());
    HostOptions options = testOptions();
    options.controllerHost = QStringLiteral("localhost");
    options.controllerPort = controller.port();
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QCOMPARE(textOf(host.window(), "addressLabel"),
             QStringLiteral("Controller localhost:%1").arg(controller.port()));
    QVERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral("Connected")));
    int clients = 0;
    QVERIFY(controller.call([&](ControllerServer &server) { clients = server.clientCount(); }));
    QCOMPARE(clients, 1);
    host.end();
}

void HostTest::aControllerThatKnowsNoVersionIsTakenAsOld()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(request.startsWith("quorel2 get") ? "quorel2 err unknown parameter\n"
                                                     : "quorel2 ok\n");
        });
    QVERIFY(controller.start());
    Host host(optionsFor(controller));
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QCOMPARE(textOf(host.window(), "backendLabel"), QStringLiteral("Backend unknown"));
    host.end();
}

void HostTest::aControllerOutOfReachIsNoError()
{
    quint16 port = 0;
    const auto answer = [](const QByteArray &, const ScriptedController::Client &c) {
        c.send("quorel2 ok\n");
    };
    {
        ScriptedController reserved(answer);
        QVERIFY(reserved.start());
        port = reserved.port();
    }
    HostOptions options = testOptions();
    options.controllerHost = QStringLiteral("127.0.0.1");
    options.controllerPort = port;
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QVERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral("Not connected")));
    QTRY_COMPARE(texts(host.window(), "messageView").size(), 1);
    QVERIFY(texts(host.window(), "messageView")
                .at(0)
                .startsWith(QStringLiteral("Error: No connection to the controller")));
    // It is found when it comes.
    ScriptedController controller(answer);
    QVERIFY(controller.start(port));
    QTRY_VERIFY_WITH_TIMEOUT(
        textOf(host.window(), "stateLabel").contains(QStringLiteral(";Connected")), kLimitMs);
    QTRY_VERIFY(!controller.requests().empty());
    QVERIFY(controller.requests().front().startsWith("quorel2 data connect "));
    host.end();
}

void HostTest::aControllerThatNeverAnswersIsGreetedAndReportedOnce()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &) {});
    QVERIFY(controller.start());
    HostOptions options = optionsFor(controller);
    options.timeoutMs = 60;
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QVERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral("Not connected")));
    // Each further connection is tried by a request that nobody waits for.
    QTRY_VERIFY_WITH_TIMEOUT(controller.requests().size() >= 3, kLimitMs);
    const std::vector<QByteArray> requests = controller.requests();
    QVERIFY(controller.connectionCount() >= static_cast<int>(requests.size()));
    QVERIFY2(requests.front().startsWith("quorel2 data connect "), requests.front().constData());
    for (size_t i = 1; i < requests.size(); ++i)
        QCOMPARE(requests[i], QByteArray("quorel2 get status active"));
    host.window()->flush();
    QVERIFY(
        texts(host.window(), "trafficView").contains(QStringLiteral("quorel2 get status active")));
    QTRY_COMPARE(texts(host.window(), "messageView").size(), 1);
    QVERIFY2(texts(host.window(), "messageView")
                 .at(0)
                 .startsWith(QStringLiteral("Error: No connection to the controller")),
             qPrintable(texts(host.window(), "messageView").at(0)));
    host.end();
}

void HostTest::aControllerThatGivesNoDataLinesIsUsedAllTheSame_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("silence") << QByteArray();
    QTest::newRow("nonsense") << QByteArray("what?\n");
}

void HostTest::aControllerThatGivesNoDataLinesIsUsedAllTheSame()
{
    QFETCH(QByteArray, reply);
    ScriptedController controller(
        [reply](const QByteArray &request, const ScriptedController::Client &c) {
            if (request == "quorel2 get status active")
                c.send("quorel2 set status active idle\n");
            else if (request == "quorel2 get backend version")
                c.send("quorel2 set backend version 1.17\n");
            else if (!reply.isEmpty())
                c.send(reply);
        });
    QVERIFY(controller.start());
    HostOptions options = optionsFor(controller);
    options.timeoutMs = 300;
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QTRY_COMPARE_WITH_TIMEOUT(textOf(host.window(), "backendLabel"), QStringLiteral("Backend 1.17"),
                              kLimitMs);
    QTRY_VERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral(";Connected")));
    // Two connections with the request, and one on which it is left out.
    QTRY_COMPARE_WITH_TIMEOUT(controller.connectionCount(), 3, kLimitMs);
    QTest::qWait(500);
    QCOMPARE(controller.connectionCount(), 3);
    int dataRequests = 0;
    for (const QByteArray &request : controller.requests())
        dataRequests += request.startsWith("quorel2 data connect ") ? 1 : 0;
    QCOMPARE(dataRequests, 2);
    host.window()->flush();
    QVERIFY(texts(host.window(), "messageView")
                .contains(QStringLiteral("Error: The controller does not answer the request for "
                                         "data lines. There will be none.")));
    host.end();
}

void HostTest::afterAReconnectTheControllerIsGreetedAnew()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(request == "quorel2 get backend version" ? "quorel2 set backend version 1.9\n"
                                                            : "quorel2 ok\n");
        });
    QVERIFY(controller.start());
    Host host(optionsFor(controller));
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QCOMPARE(controller.requests().size(), size_t(2));
    controller.hangUp();
    QTRY_COMPARE_WITH_TIMEOUT(controller.requests().size(), size_t(4), kLimitMs);
    QVERIFY(controller.requests().at(2).startsWith("quorel2 data connect "));
    QTRY_COMPARE(texts(host.window(), "messageView").size(), 2);
    QVERIFY(texts(host.window(), "messageView").at(0).contains(QStringLiteral("No connection")));
    QCOMPARE(texts(host.window(), "messageView").at(1),
             QStringLiteral("Connected to the controller."));
    host.end();
}

void HostTest::afterATimeOutTheDataLinesComeAgain()
{
    // The new connection is made within the next exchange, so the state is back before anybody
    // hears of the loss.
    std::atomic<bool> silent{false};
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (request == "quorel2 get body number_of_bodies standard" && !silent.exchange(true))
                return;
            c.send(request == "quorel2 get backend version" ? "quorel2 set backend version 1.17\n"
                                                            : "quorel2 ok\n");
        });
    QVERIFY(controller.start());
    HostOptions options = optionsFor(controller);
    options.timeoutMs = 300;
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    whenDialogIsUp(&host, [](QWidget *dialog) { dialog->close(); });
    entry(host.window())->trigger();
    const auto greetings = [&] {
        int count = 0;
        for (const QByteArray &request : controller.requests())
            count += request.startsWith("quorel2 data connect ") ? 1 : 0;
        return count;
    };
    QTRY_COMPARE_WITH_TIMEOUT(greetings(), 2, kLimitMs);
    QCOMPARE(controller.connectionCount(), 2);
    host.end();
}

void HostTest::nonsenseForTheVersionIsAskedForOnce()
{
    ScriptedController controller(
        [](const QByteArray &, const ScriptedController::Client &c) { c.send("quorel2 ok\n"); });
    QVERIFY(controller.start());
    Host host(optionsFor(controller));
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    // The connection may be out of step after it, so there is one more, with its data lines.
    QTRY_COMPARE_WITH_TIMEOUT(controller.requests().size(), size_t(3), kLimitMs);
    QCOMPARE(controller.requests().at(1), QByteArray("quorel2 get backend version"));
    QVERIFY(controller.requests().at(2).startsWith("quorel2 data connect "));
    QTRY_VERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral(";Connected")));
    QCOMPARE(controller.connectionCount(), 2);
    host.end();
}

void HostTest::silenceAboutTheVersionIsAskedForTwice()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            if (request != "quorel2 get backend version")
                c.send("quorel2 ok\n");
        });
    QVERIFY(controller.start());
    HostOptions options = optionsFor(controller);
    options.timeoutMs = 60;
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    // Two connections with both questions, and one on which the second is left out.
    QTRY_COMPARE_WITH_TIMEOUT(controller.requests().size(), size_t(5), kLimitMs);
    QCOMPARE(controller.requests().at(3), QByteArray("quorel2 get backend version"));
    QVERIFY(controller.requests().at(4).startsWith("quorel2 data connect "));
    QTRY_VERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral(";Connected")));
    QCOMPARE(textOf(host.window(), "backendLabel"), QStringLiteral("Backend unknown"));
    QCOMPARE(controller.connectionCount(), 3);
    host.end();
}

void HostTest::whatIsSaidBeforeTheFirstAnswerCostsNothing()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(request == "quorel2 get backend version"
                       ? "quorel2 set backend version 1.17\n"
                       : "quorel2 warning camera 3 hot\nquorel2 ok\n");
        });
    QVERIFY(controller.start());
    Host host(optionsFor(controller));
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QTRY_COMPARE_WITH_TIMEOUT(controller.requests().size(), size_t(2), kLimitMs);
    QTRY_VERIFY(textOf(host.window(), "stateLabel").contains(QStringLiteral(";Connected")));
    QCOMPARE(textOf(host.window(), "backendLabel"), QStringLiteral("Backend 1.17"));
    QCOMPARE(controller.connectionCount(), 1);
    host.end();
}

void HostTest::linesThatNobodyAskedForAreShown()
{
    ScriptedController controller(
        [](const QByteArray &request, const ScriptedController::Client &c) {
            c.send(request == "quorel2 get backend version" ? "quorel2 set backend version 1.17\n"
                                                            : "quorel2 ok\nquorel2 hot\n");
        });
    QVERIFY(controller.start());
    QTemporaryDir folder;
    HostOptions options = optionsFor(controller);
    options.demoFolder = folder.path();
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    host.window()->flush();
    QVERIFY(texts(host.window(), "trafficView").contains(QStringLiteral("quorel2 hot")));
    host.end();
    QFile transcript(folder.filePath(QStringLiteral("transcript.txt")));
    QVERIFY(transcript.open(QIODevice::ReadOnly));
    const QByteArray lines = transcript.readAll();
    QVERIFY2(lines.contains("# unasked: quorel2 hot\n"), lines.constData());
}

void HostTest::dataLinesAreCounted()
{
    Host host(testOptions());
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QCOMPARE(textOf(host.window(), "dataRateLabel"), QStringLiteral("Data lines: none"));
    const auto rate = [&] {
        return textOf(host.window(), "dataRateLabel")
            .section(QRegularExpression(QStringLiteral("[ /]")), 2, 2)
            .toDouble();
    };
    whenDialogIsUp(&host, [&](QWidget *dialog) {
        // Lines that a busy machine holds up come at another rate for a while.
        QTRY_VERIFY_WITH_TIMEOUT(rate() > 59.0 && rate() < 61.0, kLimitMs);
        dialog->close();
    });
    entry(host.window())->trigger();
    QVERIFY(calls().contains(QStringLiteral("exec returned")));
    QTRY_COMPARE_WITH_TIMEOUT(textOf(host.window(), "dataRateLabel"),
                              QStringLiteral("Data lines: none"), kLimitMs);
}

void HostTest::dataLinesFromElsewhereAreReportedOnce()
{
    std::atomic<quint16> port{0};
    ScriptedController controller(
        [&](const QByteArray &request, const ScriptedController::Client &c) {
            if (request.startsWith("quorel2 data connect "))
                port = request.mid(request.lastIndexOf(' ') + 1).toUShort();
            c.send(request == "quorel2 get backend version" ? "quorel2 set backend version 1.17\n"
                                                            : "quorel2 ok\n");
        });
    QVERIFY(controller.start());
    Host host(optionsFor(controller));
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QVERIFY(port != 0);
    QUdpSocket stranger;
    QVERIFY(stranger.bind(QHostAddress(QStringLiteral("127.0.0.2"))));
    const QHostAddress loopback(QHostAddress::LocalHost);
    stranger.writeDatagram("6d 0 ", loopback, port);
    stranger.writeDatagram("6d 0 ", loopback, port);
    const QString label = QStringLiteral("Data lines: none, %1 from elsewhere dropped");
    QTRY_COMPARE_WITH_TIMEOUT(textOf(host.window(), "dataRateLabel"), label.arg(2), kLimitMs);
    stranger.writeDatagram("6d 0 ", loopback, port);
    QTRY_COMPARE_WITH_TIMEOUT(textOf(host.window(), "dataRateLabel"), label.arg(3), kLimitMs);
    host.window()->flush();
    QCOMPARE(texts(host.window(), "messageView"),
             QStringList{QStringLiteral("Error: Data lines from 127.0.0.2 are dropped, since the "
                                        "controller is at 127.0.0.1.")});
    host.end();
}

void HostTest::closingTheWindowEndsTheModule()
{
    Host host(testOptions());
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QTimer::singleShot(0, host.window(), [&] { host.window()->close(); });
    QCOMPARE(runLoop(), 0);
    host.end();
    QCOMPARE(calls().mid(calls().size() - 3),
             (QStringList{QStringLiteral("shutdown"), QStringLiteral("cleanup"),
                          QStringLiteral("destroyed")}));
}

void HostTest::closingTheWindowWhileTheDialogIsOpenEndsTheModule()
{
    Host host(testOptions());
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    whenDialogIsUp(&host, [&](QWidget *) { host.window()->close(); });
    QTimer::singleShot(0, entry(host.window()), &QAction::trigger);
    QCOMPARE(runLoop(), 0);
    host.end();
    QCOMPARE(calls().mid(5),
             (QStringList{QStringLiteral("exec"), QStringLiteral("exec returned"),
                          QStringLiteral("shutdown"), QStringLiteral("cleanup, dialog shown"),
                          QStringLiteral("destroyed")}));
}

void HostTest::quitWhileTheDialogIsOpenEndsTheModule()
{
    Host host(testOptions());
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    whenDialogIsUp(&host, [](QWidget *) { QCoreApplication::quit(); });
    QTimer::singleShot(0, entry(host.window()), &QAction::trigger);
    QCOMPARE(runLoop(), 0);
    host.end();
    QCOMPARE(calls().count(QStringLiteral("shutdown")), 1);
    QCOMPARE(calls().last(), QStringLiteral("destroyed"));
}

void HostTest::aSignalWhileTheDialogIsOpenEndsTheModule()
{
    Host host(testOptions());
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QuitSignals quitSignals;
    whenDialogIsUp(&host, [](QWidget *) { std::raise(SIGTERM); });
    QTimer::singleShot(0, entry(host.window()), &QAction::trigger);
    QCOMPARE(runLoop(), 0);
    host.end();
    QCOMPARE(calls().count(QStringLiteral("shutdown")), 1);
    QCOMPARE(calls().last(), QStringLiteral("destroyed"));
}

void HostTest::aHostThatCouldNotStartEndsToo()
{
    HostOptions options = testOptions();
    options.scenarioFile = QStringLiteral("/nowhere/scenario.json");
    {
        Host host(options);
        QString error;
        QVERIFY(!host.start(&error));
        QVERIFY2(error.contains(QStringLiteral("/nowhere/scenario.json")), qPrintable(error));
    }
    QCOMPARE(calls(), (QStringList{QStringLiteral("shutdown"), QStringLiteral("cleanup"),
                                   QStringLiteral("destroyed")}));
}

void HostTest::itStartsAndEndsManyTimes()
{
    for (int run = 0; run < 100; ++run) {
        Host host(testOptions());
        QString error;
        QVERIFY2(host.start(&error), qPrintable(error));
        QTimer::singleShot(0, host.window(), [&] { host.window()->close(); });
        QCOMPARE(runLoop(), 0);
        host.end();
        host.end();
    }
    QCOMPARE(calls().count(QStringLiteral("cleanup")), 100);
}

void HostTest::aDemonstrationWithoutControllerIsAnError()
{
    QTemporaryDir folder;
    HostOptions options = testOptions();
    options.controllerHost = QStringLiteral("127.0.0.1");
    options.controllerPort = 1;
    options.demoFolder = folder.path();
    Host host(options);
    QString error;
    QVERIFY(!host.start(&error));
    QVERIFY2(error.startsWith(QStringLiteral("The controller at 127.0.0.1:1 cannot be reached")),
             qPrintable(error));
}

void HostTest::aDemonstrationWithASilentControllerIsAnError()
{
    ScriptedController controller([](const QByteArray &, const ScriptedController::Client &) {});
    QVERIFY(controller.start());
    QTemporaryDir folder;
    HostOptions options = optionsFor(controller);
    options.timeoutMs = 60;
    options.demoFolder = folder.path();
    Host host(options);
    QString error;
    QVERIFY(!host.start(&error));
    QVERIFY2(error.contains(QStringLiteral("cannot be reached")), qPrintable(error));
}

void HostTest::thePictureOfAnEarlierFailureIsGone()
{
    QTemporaryDir folder;
    for (const char *name : {"failed.png", "mine.png"}) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    HostOptions options = testOptions();
    options.demoFolder = folder.path();
    Host host(options);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QVERIFY(!QFile::exists(folder.filePath(QStringLiteral("failed.png"))));
    QVERIFY(QFile::exists(folder.filePath(QStringLiteral("mine.png"))));
    host.end();
}

void HostTest::endFromWithinTheDialogIsSafe()
{
    auto host = std::make_unique<Host>(testOptions());
    QString error;
    QVERIFY2(host->start(&error), qPrintable(error));
    whenDialogIsUp(qApp, [&](QWidget *) { host.reset(); });
    entry(host->window())->trigger();
    QVERIFY(!host);
    // The module's code is still on the stack here, so it must not have been unloaded.
    QCOMPARE(calls().mid(5), (QStringList{QStringLiteral("exec"), QStringLiteral("shutdown"),
                                          QStringLiteral("cleanup, dialog shown"),
                                          QStringLiteral("exec returned, dialog gone")}));
}

QUOREL2_TEST_MAIN(HostTest)
#include "tst_Host.moc"
