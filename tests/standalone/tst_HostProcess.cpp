#include <controller/ControllerServer.h>
#include <controller/ControllerThread.h>
#include <tests/support/TestMain.h>

#include <QImage>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <set>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kLimitMs = 120000;

struct Result {
    bool ended = false;
    int exitCode = -1;
    QString output;
    QString errors;
};

/// Runs the program to its end.
Result run(const QStringList &arguments, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QUOREL2_HOST_PROGRAM), arguments);
    Result result;
    result.ended =
        process.waitForFinished(kLimitMs) && process.exitStatus() == QProcess::NormalExit;
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
    result.exitCode = process.exitCode();
    result.output = QString::fromLocal8Bit(process.readAllStandardOutput());
    result.errors = QString::fromLocal8Bit(process.readAllStandardError());
    return result;
}

Result run(const QStringList &arguments)
{
    return run(arguments, QProcessEnvironment::systemEnvironment());
}

QProcessEnvironment withoutDisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    return environment;
}

QStringList linesOf(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/// A port on loopback at which nobody accepts.
class Listener {
public:
    explicit Listener(int queueLength)
        : m_descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *any = reinterpret_cast<sockaddr *>(&address);
        if (::bind(m_descriptor, any, size) == 0 && ::listen(m_descriptor, queueLength) == 0 &&
            ::getsockname(m_descriptor, any, &size) == 0)
            m_port = ntohs(address.sin_port);
    }
    ~Listener() { ::close(m_descriptor); }
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    /// 0 if there is none.
    quint16 port() const { return m_port; }

private:
    int m_descriptor;
    quint16 m_port = 0;
};

const QString kPlugin = QStringLiteral(QUOREL2_TEST_MODULE);

} // namespace

class HostProcessTest : public QObject {
    Q_OBJECT

private slots:
    void helpAndVersionNeedNoDisplay_data();
    void helpAndVersionNeedNoDisplay();
    void mistakesEndWithASentenceAndOne_data();
    void mistakesEndWithASentenceAndOne();
    void withoutDisplayItSaysSo();
    void anUnreachableDisplayIsTold_data();
    void anUnreachableDisplayIsTold();
    void withoutWindowsItNeedsNoDisplay();
    void theModuleIsPrinted();
    void aSignalEndsItInOrder_data();
    void aSignalEndsItInOrder();
    void aSignalDuringTheStartIsNotLost_data();
    void aSignalDuringTheStartIsNotLost();
    void theDemonstrationIsRightForARightModule();
    void theDemonstrationFindsAWrongModule();
    void theDemonstrationTellsWhereItStuck();
};

void HostProcessTest::helpAndVersionNeedNoDisplay_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("beginning");
    QTest::newRow("help") << QStringLiteral("--help") << QStringLiteral("Usage: quorel2-host");
    QTest::newRow("h") << QStringLiteral("-h") << QStringLiteral("Usage: quorel2-host");
    QTest::newRow("version") << QStringLiteral("--version")
                             << QStringLiteral("quorel2-host 3.1.9\n");
    QTest::newRow("v") << QStringLiteral("-v") << QStringLiteral("quorel2-host 3.1.9\n");
}

void HostProcessTest::helpAndVersionNeedNoDisplay()
{
    QFETCH(QString, option);
    QFETCH(QString, beginning);
    for (const char *platform : {"", "xcb", "no-such-platform"}) {
        QProcessEnvironment environment = withoutDisplay();
        if (*platform)
            environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QString::fromLatin1(platform));
        const Result result = run({option}, environment);
        QVERIFY(result.ended);
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.output.startsWith(beginning), qPrintable(result.output));
        QCOMPARE(result.errors, QString());
    }
}

void HostProcessTest::mistakesEndWithASentenceAndOne_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("part");
    const auto row = [](const char *name, const QStringList &arguments, const QString &part) {
        QTest::newRow(name) << arguments << part;
    };
    row("unknown option", {"--fast"}, QStringLiteral("fast"));
    row("bad address", {"--controller", "here"}, QStringLiteral("HOST:PORT"));
    row("missing module", {"--plugin", "/nowhere/lib.so"},
        QStringLiteral("There is no module \"/nowhere/lib.so\"."));
    row("library that is no module", {"--plugin", QStringLiteral(QUOREL2_PLAIN_LIBRARY)},
        QStringLiteral("is not a module"));
    row("plug-in that is no module", {"--plugin", QStringLiteral(QUOREL2_FOREIGN_PLUGIN)},
        QStringLiteral("does not offer the interface"));
    row("missing scenario", {"--plugin", kPlugin, "--scenario", "/nowhere/scenario.json"},
        QStringLiteral("/nowhere/scenario.json"));
    row("folder that cannot be made", {"--plugin", kPlugin, "--demo", "/proc/demo"},
        QStringLiteral("\"/proc/demo\""));
    row("demonstration without controller",
        {"--plugin", kPlugin, "--controller", "127.0.0.1:1", "--demo",
         QDir::tempPath() + QStringLiteral("/quorel2-no-controller")},
        QStringLiteral("cannot be reached"));
}

void HostProcessTest::mistakesEndWithASentenceAndOne()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, part);
    const Result result = run(arguments);
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 1);
    const int sentence = result.errors.indexOf(QStringLiteral("quorel2-host: "));
    QVERIFY2(sentence >= 0, qPrintable(result.errors));
    QVERIFY2(result.errors.indexOf(part, sentence) >= 0, qPrintable(result.errors));
    QDir(QDir::tempPath() + QStringLiteral("/quorel2-no-controller")).removeRecursively();
}

void HostProcessTest::withoutDisplayItSaysSo()
{
    const Result result = run({QStringLiteral("--plugin"), kPlugin}, withoutDisplay());
    QVERIFY(result.ended);
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.errors.startsWith(QStringLiteral("quorel2-host: There is no display.")),
             qPrintable(result.errors));
}

void HostProcessTest::anUnreachableDisplayIsTold_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("value");
    QTest::newRow("X11") << QStringLiteral("DISPLAY") << QStringLiteral(":47110");
    QTest::newRow("Wayland only") << QStringLiteral("WAYLAND_DISPLAY")
                                  << QStringLiteral("no-such-display");
    QTest::newRow("platform") << QStringLiteral("QT_QPA_PLATFORM")
                              << QStringLiteral("no-such-platform");
    QTest::newRow("X11 platform, no display")
        << QStringLiteral("QT_QPA_PLATFORM") << QStringLiteral("xcb");
}

void HostProcessTest::anUnreachableDisplayIsTold()
{
    QFETCH(QString, variable);
    QFETCH(QString, value);
    QProcessEnvironment environment = withoutDisplay();
    environment.insert(variable, value);
    const Result result = run({QStringLiteral("--plugin"), kPlugin}, environment);
    QVERIFY2(result.ended, qPrintable(result.errors));
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.errors,
             QStringLiteral("quorel2-host: The display cannot be reached (%1=%2). Run it in a "
                            "desktop session or under a virtual one: xvfb-run -a quorel2-host\n")
                 .arg(variable, value));
}

void HostProcessTest::withoutWindowsItNeedsNoDisplay()
{
    QProcessEnvironment environment = withoutDisplay();
    environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":47110"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QUOREL2_HOST_PROGRAM), {QStringLiteral("--plugin"), kPlugin});
    QString output;
    QTRY_VERIFY_WITH_TIMEOUT((output += QString::fromLocal8Bit(process.readAllStandardOutput()))
                                 .contains(QStringLiteral("Simulated controller at 127.0.0.1:")),
                             kLimitMs);
    process.terminate();
    QVERIFY(process.waitForFinished(kLimitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void HostProcessTest::theModuleIsPrinted()
{
    QProcess process;
    process.start(QStringLiteral(QUOREL2_HOST_PROGRAM), {QStringLiteral("--plugin"), kPlugin});
    QString output;
    QTRY_VERIFY_WITH_TIMEOUT((output += QString::fromLocal8Bit(process.readAllStandardOutput()))
                                 .contains(QStringLiteral("Simulated controller at 127.0.0.1:")),
                             kLimitMs);
    QVERIFY2(output.contains(kPlugin), qPrintable(output));
    QVERIFY2(
        output.contains(QRegularExpression(
            QStringLiteral("IID +org\\.quorel\\.Quorel2\\.TestModule\n.*class name +TestModule\n"
                           ".*name +Test Module\n.*version +v1\\.2\\.3\n"),
            QRegularExpression::DotMatchesEverythingOption)),
        qPrintable(output));
    process.terminate();
    QVERIFY(process.waitForFinished(kLimitMs));
    // The window system's library takes an option of the same name.
    QVERIFY(!process.readAllStandardError().contains("plugin"));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void HostProcessTest::aSignalEndsItInOrder_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void HostProcessTest::aSignalEndsItInOrder()
{
    QFETCH(int, signal);
    ControllerThread controller(Scenario::builtIn(), 1);
    QVERIFY(controller.start());
    QProcess process;
    process.start(QStringLiteral(QUOREL2_HOST_PROGRAM),
                  {QStringLiteral("--plugin"), kPlugin, QStringLiteral("--controller"),
                   QStringLiteral("127.0.0.1:%1").arg(controller.port())});
    QVERIFY(process.waitForStarted());
    const auto answers = [&] {
        quint64 count = 0;
        controller.call([&](ControllerServer &server) { count = server.answerCount(); });
        return count;
    };
    QTRY_VERIFY_WITH_TIMEOUT(answers() >= 2, kLimitMs);
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), signal), 0);
    QVERIFY(process.waitForFinished(kLimitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void HostProcessTest::aSignalDuringTheStartIsNotLost_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("accepts");
    QTest::newRow("SIGTERM, no connection") << SIGTERM << false;
    QTest::newRow("SIGINT, no connection") << SIGINT << false;
    QTest::newRow("SIGTERM, no reply") << SIGTERM << true;
}

void HostProcessTest::aSignalDuringTheStartIsNotLost()
{
    QFETCH(int, signal);
    QFETCH(bool, accepts);
    // The system takes connections for a listener that accepts none, until its queue is full.
    const Listener listener(accepts ? 16 : 0);
    QVERIFY(listener.port() != 0);
    QTcpSocket occupants[3];
    if (!accepts) {
        for (QTcpSocket &occupant : occupants)
            occupant.connectToHost(QHostAddress::LocalHost, listener.port());
        QTRY_COMPARE(std::count_if(std::begin(occupants), std::end(occupants),
                                   [](const QTcpSocket &occupant) {
                                       return occupant.state() == QAbstractSocket::ConnectedState;
                                   }),
                     1);
    }
    QProcess process;
    process.start(QStringLiteral(QUOREL2_HOST_PROGRAM),
                  {QStringLiteral("--plugin"), kPlugin, QStringLiteral("--controller"),
                   QStringLiteral("127.0.0.1:%1").arg(listener.port())});
    QString output;
    QTRY_VERIFY_WITH_TIMEOUT((output += QString::fromLocal8Bit(process.readAllStandardOutput()))
                                 .contains(QStringLiteral("Controller at ")),
                             kLimitMs);
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), signal), 0);
    QVERIFY(process.waitForFinished(kLimitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void HostProcessTest::theDemonstrationIsRightForARightModule()
{
    QTemporaryDir parent;
    const QDir folder(parent.filePath(QStringLiteral("new/demo")));
    const Result result = run({QStringLiteral("--plugin"), kPlugin, QStringLiteral("--demo"),
                               folder.path(), QStringLiteral("--seed"), QStringLiteral("5")});
    QVERIFY2(result.ended && result.exitCode == 0, qPrintable(result.output + result.errors));
    for (const char *body : {"standard body 1", "standard body 9"})
        QVERIFY2(result.output.contains(
                     QStringLiteral("The controller holds the expected definition of ") +
                     QLatin1String(body)),
                 qPrintable(result.output));

    const QStringList pictures =
        folder.entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
    QCOMPARE(pictures.mid(0, 10),
             (QStringList{"01-main-window.png", "02-menu.png", "03-dialog.png", "04-body-list.png",
                          "05-body-chosen.png", "06-origin-to-cog.png", "07-turn-typed.png",
                          "08-turned.png", "09-applied.png", "10-closed.png"}));
    QCOMPARE(pictures.last(), QStringLiteral("39-closed-again.png"));
    for (const QString &name : folder.entryList({QStringLiteral("*.png")}, QDir::Files)) {
        const QImage picture(folder.filePath(name));
        QVERIFY2(picture.width() >= 200 && picture.height() >= 200, qPrintable(name));
        std::set<QRgb> colours;
        for (int y = 0; y < picture.height(); y += 3) {
            for (int x = 0; x < picture.width(); x += 3)
                colours.insert(picture.pixel(x, y));
        }
        QVERIFY2(colours.size() > 4, qPrintable(name));
    }

    const QStringList lines = linesOf(folder.filePath(QStringLiteral("transcript.txt")));
    QVERIFY(lines.size() > 20);
    QCOMPARE(lines.size() % 2, 0);
    for (int i = 0; i < lines.size(); i += 2) {
        QVERIFY2(lines.at(i).startsWith(QStringLiteral("> quorel2 ")), qPrintable(lines.at(i)));
        QVERIFY2(lines.at(i + 1).startsWith(QStringLiteral("< quorel2 ")),
                 qPrintable(lines.at(i + 1)));
    }
    QCOMPARE(lines.filter(QStringLiteral("> quorel2 body transform ")).size(), 3);
    const QStringList transforms =
        lines.filter(QStringLiteral("> quorel2 body transform standard b01 "));
    QCOMPARE(transforms.size(), 1);
    // The turn: its columns with eight decimals.
    QVERIFY2(transforms.first().endsWith(
                 QStringLiteral(" 0.86602540 -0.50000000 0.00000000 0.50000000 0.86602540 "
                                "0.00000000 0.00000000 0.00000000 1.00000000")),
             qPrintable(transforms.first()));
}

void HostProcessTest::theDemonstrationFindsAWrongModule()
{
    QTemporaryDir folder;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TEST_MODULE_ERROR_DEG"), QStringLiteral("0.01"));
    const Result result =
        run({QStringLiteral("--plugin"), kPlugin, QStringLiteral("--demo"), folder.path()},
            environment);
    QVERIFY2(result.ended, qPrintable(result.output + result.errors));
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.output.contains(QStringLiteral("does not hold the expected definition")) &&
                 result.output.contains(QStringLiteral("marker 1: position (")),
             qPrintable(result.output));
}

void HostProcessTest::theDemonstrationTellsWhereItStuck()
{
    // A controller without bodies gives an empty list, from which nothing can be chosen.
    QTemporaryDir folder;
    const QString scenario = folder.filePath(QStringLiteral("uncalibrated.json"));
    QFile file(scenario);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"types": [{"keyword": "standard", "description": "Standard body"}],
                   "bodies": [{"type": "standard", "description": "New", "calibrated": false,
                               "markers": [[0, 0, 0], [100, 0, 0], [0, 100, 0]]}]})");
    file.close();
    const Result result = run({QStringLiteral("--plugin"), kPlugin, QStringLiteral("--demo"),
                               folder.path(), QStringLiteral("--scenario"), scenario});
    QVERIFY2(result.ended, qPrintable(result.output + result.errors));
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.output.contains(QStringLiteral("The demonstration failed: There is no "
                                                   "calibrated standard body")),
             qPrintable(result.output + result.errors));
    QVERIFY(QFileInfo::exists(folder.filePath(QStringLiteral("failed.png"))));
}

QUOREL2_TEST_MAIN(HostProcessTest)
#include "tst_HostProcess.moc"
