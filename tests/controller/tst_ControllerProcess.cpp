#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QtTest>

#include <csignal>
#include <memory>
#include <vector>

#include <sys/resource.h>

namespace {

constexpr int kPatienceMs = 30000;

QString programName()
{
    return QStringLiteral(QUOREL2_BUILD_DIR "/bin/quorel2-controller");
}

/// The program, run with options until it ends by itself.
struct Run {
    explicit Run(const QStringList &options)
    {
        QProcess process;
        // It must not need a display.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("none such"));
        process.setProcessEnvironment(environment);
        process.start(programName(), options);
        ended = process.waitForFinished(kPatienceMs);
        exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        output = process.readAllStandardOutput();
        error = process.readAllStandardError();
    }

    bool ended = false;
    int exitCode = -1;
    QByteArray output;
    QByteArray error;
};

/// The program, running and listening.
class Controller {
public:
    explicit Controller(
        const QStringList &options = {},
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        m_process.setProcessEnvironment(environment);
        m_process.start(programName(), QStringList{"--listen", "127.0.0.1:0"} + options);
        while (!m_process.canReadLine() && m_process.waitForReadyRead(kPatienceMs)) {
        }
        readyLine = m_process.readLine();
        port = readyLine.mid(readyLine.lastIndexOf(':') + 1).trimmed().toUShort();
        socket.connectToHost(QHostAddress::LocalHost, port);
        socket.waitForConnected(kPatienceMs);
    }

    ~Controller()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        m_process.waitForFinished(kPatienceMs);
    }

    QByteArray ask(const QByteArray &request)
    {
        socket.write(request + '\n');
        while (!socket.canReadLine()) {
            if (!socket.waitForReadyRead(kPatienceMs))
                return {};
        }
        return socket.readLine().trimmed();
    }

    /// @return the exit status, or -1 if it had to be ended otherwise
    int endBySignal(int signal)
    {
        ::kill(static_cast<pid_t>(m_process.processId()), signal);
        if (!m_process.waitForFinished(kPatienceMs))
            return -1;
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QByteArray errorOutput() { return m_process.readAllStandardError(); }
    qint64 processId() const { return m_process.processId(); }
    bool isRunning() const { return m_process.state() == QProcess::Running; }

    QByteArray readyLine;
    quint16 port = 0;
    QTcpSocket socket;

private:
    QProcess m_process;
};

} // namespace

class tst_ControllerProcess : public QObject {
    Q_OBJECT

private slots:
    void helpNeedsNoDisplay()
    {
        const Run run({"--help"});
        QVERIFY(run.ended);
        QCOMPARE(run.exitCode, 0);
        for (const char *option :
             {"--listen", "--scenario", "--seed", "--backend", "--commands", "--version"})
            QVERIFY2(run.output.contains(option), option);
        QVERIFY(run.error.isEmpty());
    }

    void versionNeedsNoDisplay()
    {
        const Run run({"--version"});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, QByteArray("quorel2-controller " QUOREL2_VERSION "\n"));
    }

    void commandListIsTheOneInTheDocuments()
    {
        QFile file(QStringLiteral(QUOREL2_SOURCE_DIR "/docs/controller-commands.md"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const Run run({"--commands"});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, file.readAll());
    }

    void mistakesInTheOptionsEndItWithAnError_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("error");
        QTest::newRow("unknown option")
            << QStringList{"--lisen", "127.0.0.1:0"} << QByteArray("lisen");
        QTest::newRow("superfluous argument")
            << QStringList{"scenario.json"} << QByteArray("unexpected argument 'scenario.json'");
        const QByteArray listen =
            "--listen wants a numeric address or localhost, and a port: 127.0.0.1:42200";
        QTest::newRow("address without port") << QStringList{"--listen", "127.0.0.1"} << listen;
        QTest::newRow("name of a machine") << QStringList{"--listen", "tracker:42200"} << listen;
        QTest::newRow("option without value") << QStringList{"--listen"} << QByteArray("listen");
        QTest::newRow("address of another machine")
            << QStringList{"--listen", "192.0.2.1:4000"}
            << QByteArray("cannot listen on 192.0.2.1:4000: ");
        QTest::newRow("seed in words")
            << QStringList{"--seed", "one"} << QByteArray("--seed wants");
        QTest::newRow("negative seed") << QStringList{"--seed", "-1"} << QByteArray("--seed wants");
        QTest::newRow("backend of one number")
            << QStringList{"--backend", "1"} << QByteArray("--backend wants");
        QTest::newRow("scenario without a name")
            << QStringList{"--scenario", ""} << QByteArray("--scenario wants the name of a file");
        QTest::newRow("missing scenario") << QStringList{"--scenario", "/nowhere/at/all.json"}
                                          << QByteArray("/nowhere/at/all.json: ");
        QTest::newRow("unknown setup")
            << QStringList{"--setup", "%n"} << QByteArray("no setup '%n'");
    }

    void mistakesInTheOptionsEndItWithAnError()
    {
        QFETCH(QStringList, options);
        QFETCH(QByteArray, error);
        const Run run(options);
        QVERIFY(run.ended);
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.output.isEmpty());
        QVERIFY2(run.error.startsWith("quorel2-controller: "), run.error.constData());
        QVERIFY2(run.error.contains(error), run.error.constData());
        QCOMPARE(run.error.count('\n'), 1);
    }

    void mistakesInTheScenarioAreToldWithFileAndPlace()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath(QStringLiteral("broken.json"));
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"bodies": [{"type": "standard", "markers": [[1, 2]]}]})");
        file.close();
        const Run run({"--scenario", name});
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(QString::fromLocal8Bit(run.error),
                 QStringLiteral("quorel2-controller: %1: bodies[0].markers[0]: three numbers "
                                "expected\n")
                     .arg(name));
    }

    void anAddressInUseIsTold()
    {
        QTcpServer occupant;
        QVERIFY(occupant.listen(QHostAddress::LocalHost, 0));
        const QString address = QStringLiteral("127.0.0.1:%1").arg(occupant.serverPort());
        const Run run({"--listen", address});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.error.contains("cannot listen on " + address.toLatin1()),
                 run.error.constData());
    }

    void aPrintedLineTellsWhereItListens()
    {
        Controller controller;
        QCOMPARE(controller.readyLine,
                 "listening on 127.0.0.1:" + QByteArray::number(controller.port) + '\n');
        QCOMPARE(controller.ask("quorel2 get body desc standard b01"),
                 QByteArray("quorel2 set body desc standard b01 \"Wand\""));
    }

    void optionsChangeTheController()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath(QStringLiteral("one.json"));
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            R"({"bodies": [{"type": "standard", "description": "Only one", "markers": []}]})");
        file.close();
        Controller controller({"--scenario", name, "--backend", "1.16", "--seed", "4294967295",
                               "--setup", "multi-user", "--setup", "one-word-reference"});
        QCOMPARE(controller.ask("quorel2 get body desc standard b01"),
                 QByteArray("quorel2 set body desc standard b01 \"Only one\""));
        QCOMPARE(controller.ask("quorel2 get backend version"),
                 QByteArray("quorel2 set backend version 1.16"));
        QCOMPARE(controller.ask("quorel2 body delete_marker standard b01 m01"),
                 QByteArray("quorel2 err unknown command"));
        QCOMPARE(controller.ask("quorel2 get vimbar multiuser"),
                 QByteArray("quorel2 set vimbar multiuser yes"));
        QCOMPARE(controller.ask("quorel2 get tracking reference"),
                 QByteArray("quorel2 set tracking reference room"));
    }

    void dataLinesAreStreamed()
    {
        Controller controller;
        QUdpSocket data;
        QVERIFY(data.bind(QHostAddress(QHostAddress::LocalHost)));
        const QByteArray bodies = controller.ask("quorel2 get body number_of_bodies standard");
        const QByteArray beginning = "6d " + bodies.split(' ').last() + " [0 1.000][";
        QCOMPARE(controller.ask("quorel2 tracking start"), QByteArray("quorel2 ok"));
        QCOMPARE(controller.ask("quorel2 data connect " + QByteArray::number(data.localPort())),
                 QByteArray("quorel2 ok"));
        for (int i = 0; i < 5; ++i) {
            QTRY_VERIFY_WITH_TIMEOUT(data.hasPendingDatagrams(), kPatienceMs);
            QByteArray line(static_cast<int>(data.pendingDatagramSize()), '\0');
            data.readDatagram(line.data(), line.size());
            QVERIFY2(line.startsWith(beginning), line.constData());
        }
    }

    void numbersHaveAPointUnderALocaleWithAComma()
    {
        QProcessEnvironment environment;
        {
            const CommaLocale comma; // makes the locale where there is none
            if (!comma.isAsWanted())
                QSKIP("NOT TESTED: this system has no locale with a decimal comma");
            environment = QProcessEnvironment::systemEnvironment();
        }
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("de_DE.UTF-8"));
        Controller controller({}, environment);
        QCOMPARE(controller.ask("quorel2 set body marker standard b01 m01 1.5 -2.25 1000.125"),
                 QByteArray("quorel2 ok"));
        QCOMPARE(controller.ask("quorel2 get body marker standard b01 m01"),
                 QByteArray("quorel2 set body marker standard b01 m01 1.500 -2.250 1000.125"));
    }

    void rudeClientsDoNotEndIt()
    {
        Controller controller;
        for (int i = 0; i < 20; ++i) {
            QTcpSocket rude;
            rude.connectToHost(QHostAddress::LocalHost, controller.port);
            QVERIFY(rude.waitForConnected(kPatienceMs));
            rude.write(QByteArray(100000, static_cast<char>(i * 13)));
            rude.write("\nquorel2 data connect 9\nquorel2 tracking start\nquorel2 get");
            rude.waitForBytesWritten(kPatienceMs);
            if (i % 2)
                rude.abort();
        }
        QCOMPARE(controller.ask("quorel2 get body number_of_types"),
                 QByteArray("quorel2 set body number_of_types 2"));
        QVERIFY(controller.isRunning());
        QCOMPARE(controller.endBySignal(SIGTERM), 0);
        QCOMPARE(controller.errorOutput(), QByteArray());
    }

    void afterRunningOutOfDescriptorsItAcceptsAgain()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("Without descriptors of its own the sanitizer takes valid objects for invalid ones.");
#endif
        Controller controller;
        const rlimit few = {32, 32};
        QCOMPARE(
            ::prlimit(static_cast<pid_t>(controller.processId()), RLIMIT_NOFILE, &few, nullptr), 0);
        // The system accepts connections for it, up to the length of its queue.
        std::vector<std::unique_ptr<QTcpSocket>> clients;
        for (int i = 0; i < 40; ++i) {
            clients.push_back(std::make_unique<QTcpSocket>());
            clients.back()->connectToHost(QHostAddress::LocalHost, controller.port);
            QVERIFY(clients.back()->waitForConnected(kPatienceMs));
            clients.back()->write("quorel2 get status active\n");
            clients.back()->flush();
        }
        // The highest is given last.
        const QString last = QStringLiteral("/proc/%1/fd/31").arg(controller.processId());
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(last).isSymLink(), kPatienceMs);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(controller.ask("quorel2 get status active"),
                     QByteArray("quorel2 set status active idle"));
        QVERIFY(!clients.back()->waitForReadyRead(0));
        clients.clear();
        QTcpSocket late;
        late.connectToHost(QHostAddress::LocalHost, controller.port);
        late.write("quorel2 get status active\n");
        QTRY_VERIFY_WITH_TIMEOUT(late.canReadLine(), kPatienceMs);
        QCOMPARE(late.readLine(), QByteArray("quorel2 set status active idle\n"));
        QVERIFY(controller.isRunning());
    }

    void signalsEndItCleanly_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("interrupt") << SIGINT;
        QTest::newRow("termination") << SIGTERM;
        QTest::newRow("end of the terminal") << SIGHUP;
    }

    void signalsEndItCleanly()
    {
        QFETCH(int, signal);
        Controller controller;
        QCOMPARE(controller.ask("quorel2 data connect 9"), QByteArray("quorel2 ok"));
        QCOMPARE(controller.ask("quorel2 tracking start"), QByteArray("quorel2 ok"));
        QCOMPARE(controller.endBySignal(signal), 0);
        QVERIFY(controller.errorOutput().isEmpty());
    }

    void startedToOutliveItsTerminalItDoes()
    {
        const auto before = std::signal(SIGHUP, SIG_IGN);
        Controller controller;
        std::signal(SIGHUP, before);
        ::kill(static_cast<pid_t>(controller.processId()), SIGHUP);
        QCOMPARE(controller.ask("quorel2 get status active"),
                 QByteArray("quorel2 set status active idle"));
        QTest::qWait(100);
        QVERIFY(controller.isRunning());
        QCOMPARE(controller.endBySignal(SIGTERM), 0);
    }
};

QUOREL2_TEST_MAIN(tst_ControllerProcess)
#include "tst_ControllerProcess.moc"
