#include "TestDialog.h"

#include <controller/ControllerThread.h>
#include <standalone/ControllerConnection.h>
#include <standalone/DataReceiver.h>
#include <standalone/Demo.h>
#include <standalone/HostCommandService.h>
#include <tests/support/TestMain.h>

#include <QAction>
#include <QApplication>
#include <QEventLoop>
#include <QMainWindow>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QtTest>

namespace {

/// How long a step may take, where one is expected to fail for it.
constexpr int kShortLimitMs = 3000;
constexpr int kLimitMs = 60000;

struct Outcome {
    int exitCode = -1;
    QString report;
    QStringList pictures;
};

Scenario scenarioOf(const QByteArray &json)
{
    Scenario scenario;
    QString error;
    if (!Scenario::fromJson(json, &scenario, &error))
        qFatal("%s", qPrintable(error));
    return scenario;
}

/// A body for each motion, all of them suitable for every adjustment.
QByteArray scenarioWith(const QList<QByteArray> &motions)
{
    QList<QByteArray> bodies;
    for (const QByteArray &motion : motions)
        bodies.append(R"({"type": "standard", "targetType": "tt_std", "motion": ")" + motion +
                      R"(", "markers": [[0, 0, 0], [80, 60, 0], [-80, 30, 5], [10, -70, 15]]})");
    return "{\"extends\": \"default\", \"bodies\": [" + bodies.join(", ") + "]}";
}

/// Plays the demonstration on the test dialog, in this process.
Outcome play(const Scenario &scenario, int limitMs)
{
    Outcome outcome;
    ControllerThread controller(scenario, 1);
    ControllerConnection connection;
    DataReceiver receiver;
    QString reason;
    if (!controller.start())
        return outcome;
    connection.open(controller.address().toString(), controller.port());
    if (!connection.waitForConnected(kLimitMs) ||
        !receiver.start(connection.localAddress(), connection.peerAddress(), &reason))
        return outcome;
    HostCommandService service(&connection, &receiver);
    service.command("quorel2 data connect " + QByteArray::number(receiver.port()));

    QMainWindow window;
    window.resize(900, 700);
    TestDialog dialog(&service, &window);
    QAction entry(QStringLiteral("&Adjust"));
    QObject::connect(&entry, &QAction::triggered, &dialog, &TestDialog::open);
    window.menuBar()->addMenu(QStringLiteral("&Tracking"))->addAction(&entry);
    window.show();

    QTemporaryDir folder;
    {
        Demo demo(&service, &window, &entry, folder.path());
        demo.setLimitMs(limitMs);
        QEventLoop loop;
        // Ended by failure, it leaves open what is open, inside whose loops all of this runs.
        QObject::connect(&demo, &Demo::finished, &loop, [&](int exitCode, const QString &report) {
            outcome.exitCode = exitCode;
            outcome.report = report;
            while (QWidget *popup = QApplication::activePopupWidget())
                popup->close();
            while (QWidget *modal = QApplication::activeModalWidget())
                modal->close();
            loop.quit();
        });
        demo.start();
        loop.exec();
    }
    outcome.pictures = QDir(folder.path()).entryList({QStringLiteral("*.png")});
    receiver.stop();
    connection.close();
    return outcome;
}

} // namespace

class DemoTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { qunsetenv("TEST_MODULE_FAULT"); }

    void bothAdjustmentsReachTheirGoal()
    {
        const Outcome outcome = play(Scenario::builtIn(), kLimitMs);
        QVERIFY2(
            outcome.report.startsWith(QStringLiteral(
                "The controller holds the expected definition of standard body 1 (4 markers).\n"
                "The controller holds the expected definition of standard body 9 (5 markers).\n"
                "The controller reports its axes parallel to the room's: ")),
            qPrintable(outcome.report));
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.pictures.size(), 39);
    }

    void aBodyThatLiesAlongTheRoomsAxesWillDo()
    {
        Scenario scenario = Scenario::builtIn();
        scenario.bodies.removeAt(8);
        const Outcome outcome = play(scenario, kLimitMs);
        QVERIFY2(outcome.report.contains(QStringLiteral("standard body 4 (5 markers)")),
                 qPrintable(outcome.report));
        QCOMPARE(outcome.exitCode, 0);
    }

    void mistakesAreFound_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QString>("found");
        const auto row = [](const char *name, const QByteArray &fault, const QString &found) {
            QTest::newRow(name) << fault << found;
        };
        const QString notShown = QStringLiteral("did not show what comes of step \"%1\"");
        row("the outline is drawn about another marker", "outline",
            notShown.arg(QStringLiteral("first-marker-picked")));
        row("the axis points the other way", "axis", QStringLiteral("The data view shows"));
        row("undo takes nothing back", "undo", notShown.arg(QStringLiteral("axis-undone")));
        row("no line is drawn", "line", notShown.arg(QStringLiteral("line-added")));
        row("one number of the data view is wrong", "table", QStringLiteral("The data view shows"));
        row("the view does not follow", "follow", notShown.arg(QStringLiteral("online-followed")));
        row("the still body is not written", "write",
            QStringLiteral("does not hold the expected definition of standard body 9"));
        row("the first body is changed once more", "first",
            QStringLiteral("does not hold the expected definition of standard body 1"));
        row("the axes are turned the wrong way", "inverse",
            QStringLiteral("The controller reports the body's rotation "));
        row("the axes are a thousandth of a degree off", "room",
            QStringLiteral("The controller reports the body's rotation "));
    }

    void mistakesAreFound()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QString, found);
        qputenv("TEST_MODULE_FAULT", fault);
        const Outcome outcome = play(Scenario::builtIn(), kShortLimitMs);
        QVERIFY2(outcome.report.contains(found), qPrintable(outcome.report));
        QCOMPARE(outcome.exitCode, 1);
    }

    void whatItNeedsAndDoesNotFindIsTold_data()
    {
        QTest::addColumn<QByteArray>("scenario");
        QTest::addColumn<QString>("told");
        QTest::newRow("no body at all") << QByteArray(R"({"extends": "default", "bodies": []})")
                                        << QStringLiteral("The list of bodies is empty.");
        QTest::newRow("no body that suits")
            << scenarioWith({"still", "moving"}).replace("tt_std", "tt_5dof")
            << QStringLiteral("no calibrated standard body of target type tt_std in the list");
        QTest::newRow("no data lines")
            << QByteArray(R"({"extends": "default", "faults": {"dataLines": "silent"}})")
            << QStringLiteral("No data lines come from the controller.");
        QByteArray behind = scenarioWith({"moving", "still"});
        const QByteArray markers = "[[0, 0, 0], [80, 60, 0], [-80, 30, 5], [10, -70, 15]]";
        behind.replace(behind.lastIndexOf(markers), markers.size(),
                       "[[0, 0, 0], [5, 5, 90], [-5, 5, 180], [5, -5, 230]]");
        QTest::newRow("markers that hide each other")
            << behind << QStringLiteral("no two markers in full view");
    }

    void whatItNeedsAndDoesNotFindIsTold()
    {
        QFETCH(QByteArray, scenario);
        QFETCH(QString, told);
        const bool isSilent = scenario.contains("silent");
        const Outcome outcome = play(scenarioOf(scenario), isSilent ? kShortLimitMs : kLimitMs);
        QVERIFY2(outcome.report.contains(told), qPrintable(outcome.report));
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(outcome.pictures.contains(QStringLiteral("failed.png")));
    }

    void whatThereIsNoBodyForIsLeftOut_data()
    {
        QTest::addColumn<QByteArray>("scenario");
        QTest::addColumn<QStringList>("report");
        QTest::addColumn<QStringList>("played");
        QTest::addColumn<QStringList>("leftOut");
        const QString first = QStringLiteral("The controller holds the expected definition of "
                                             "standard body 1 (4 markers).");
        const QString second = QStringLiteral("The controller holds the expected definition of "
                                              "standard body 2 (4 markers).");
        const QString noStill = QStringLiteral(
            "The second adjustment was left out: there is no further calibrated standard body of "
            "target type tt_std that stands still.");
        const QString noMoving = QStringLiteral(
            "Following a moving body was left out: there is no calibrated standard body of target "
            "type tt_std that moves.");
        const QString parallel =
            QStringLiteral("The controller reports its axes parallel to the room's: ");
        const QStringList whole = {"graphic-view", "axes-to-room", "applied-again", "closed-again"};
        const QStringList following = {"moving-body-list", "apply-question", "moving-body-shown",
                                       "online-followed", "still-body-list-again"};
        QTest::newRow("one body") << scenarioWith({"still"}) << QStringList{first, noStill}
                                  << QStringList{"second-dialog", "second-cancelled"}
                                  << QStringList{"still-body-chosen", "closed-again"};
        QTest::newRow("only the first body is still")
            << scenarioWith({"still", "moving"}) << QStringList{first, noStill}
            << QStringList{"second-cancelled"} << QStringList{"still-body-chosen"};
        QTest::newRow("no moving body")
            << scenarioWith({"still", "still"}) << QStringList{first, second, parallel, noMoving}
            << whole << following;
        QTest::newRow("the moving body is lost now and then")
            << scenarioWith({"lost", "still"}) << QStringList{first, second, parallel, noMoving}
            << whole << following;
    }

    void whatThereIsNoBodyForIsLeftOut()
    {
        QFETCH(QByteArray, scenario);
        QFETCH(QStringList, report);
        QFETCH(QStringList, played);
        QFETCH(QStringList, leftOut);
        const Outcome outcome = play(scenarioOf(scenario), kLimitMs);
        const QStringList told = outcome.report.split(QLatin1Char('\n'));
        QVERIFY2(told.size() == report.size(), qPrintable(outcome.report));
        for (int i = 0; i < report.size(); ++i)
            QVERIFY2(told.at(i).startsWith(report.at(i)), qPrintable(outcome.report));
        QCOMPARE(outcome.exitCode, 0);
        const QString pictures = outcome.pictures.join(QLatin1Char(' '));
        for (const QString &name : played)
            QVERIFY2(pictures.contains(QLatin1Char('-') + name + ".png"), qPrintable(name));
        for (const QString &name : leftOut)
            QVERIFY2(!pictures.contains(QLatin1Char('-') + name + ".png"), qPrintable(name));
        QVERIFY(!outcome.pictures.contains(QStringLiteral("failed.png")));
    }

    void aMistakeIsFoundWhereThePartOfTheMovingBodyIsLeftOut()
    {
        qputenv("TEST_MODULE_FAULT", "write");
        const Outcome outcome = play(scenarioOf(scenarioWith({"still", "still"})), kLimitMs);
        QVERIFY2(outcome.report.contains(
                     QStringLiteral("does not hold the expected definition of standard body 2")),
                 qPrintable(outcome.report));
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(!outcome.pictures.join(QLatin1Char(' ')).contains(QStringLiteral("online")));
    }
};

QUOREL2_TEST_MAIN(DemoTest)
#include "tst_Demo.moc"
