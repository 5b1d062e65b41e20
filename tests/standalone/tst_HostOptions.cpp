#include <controller/ControllerServer.h>
#include <standalone/HostOptions.h>
#include <tests/support/TestMain.h>

#include <QtTest>

namespace {

bool parse(const QStringList &arguments, HostOptions *options, QString *error)
{
    return HostOptions::parse(QStringList{QStringLiteral("quorel2-host")} + arguments, options,
                              error);
}

} // namespace

class HostOptionsTest : public QObject {
    Q_OBJECT

private slots:
    void withoutOptionsEverythingIsSimulated();
    void everyOptionIsTaken();
    void addressesAreSplit_data();
    void addressesAreSplit();
    void mistakesAreToldBySentence_data();
    void mistakesAreToldBySentence();
    void helpAndVersionComeBeforeMistakes();
    void helpNamesEveryOption();
};

void HostOptionsTest::withoutOptionsEverythingIsSimulated()
{
    HostOptions options;
    QString error;
    QVERIFY(parse({}, &options, &error));
    QVERIFY(options.controllerHost.isEmpty());
    QVERIFY(options.scenarioFile.isEmpty());
    QVERIFY(options.pluginFile.isEmpty());
    QVERIFY(options.demoFolder.isEmpty());
    QVERIFY(!options.backendVersion);
    QCOMPARE(options.timeoutMs, 2000);
    // The movements of the controller's own program.
    QCOMPARE(options.seed, ControllerServer::kDefaultSeed);
    QVERIFY(!options.showHelp && !options.showVersion);
}

void HostOptionsTest::everyOptionIsTaken()
{
    HostOptions options;
    QString error;
    QVERIFY2(parse({"--scenario", "bodies.json", "--seed", "4294967295", "--plugin", "m.so",
                    "--demo=out dir", "--timeout", "350", "--backend-version", "0.6"},
                   &options, &error),
             qPrintable(error));
    QCOMPARE(options.scenarioFile, QStringLiteral("bodies.json"));
    QCOMPARE(options.seed, 4294967295u);
    QCOMPARE(options.pluginFile, QStringLiteral("m.so"));
    QCOMPARE(options.demoFolder, QStringLiteral("out dir"));
    QCOMPARE(options.timeoutMs, 350);
    QCOMPARE(options.backendVersion.value().toText(), QByteArray("0.6"));

    QVERIFY(parse({"--backend", "1.17.3"}, &options, &error));
    QCOMPARE(options.backendVersion.value().toText(), QByteArray("1.17.3"));

    QVERIFY(parse({"--controller", "tracker:42200"}, &options, &error));
    QCOMPARE(options.controllerHost, QStringLiteral("tracker"));
    QCOMPARE(options.controllerPort, quint16(42200));
    QVERIFY(options.scenarioFile.isEmpty());
}

void HostOptionsTest::addressesAreSplit_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port"); // 0: not an address
    const auto row = [](const char *text, const char *host, int port) {
        QTest::newRow(text) << QString::fromLatin1(host) << port;
    };
    row("127.0.0.1:5000", "127.0.0.1", 5000);
    row("tracker.lab:1", "tracker.lab", 1);
    row("[::1]:65535", "::1", 65535);
    row("tracker", "", 0);
    row("tracker:", "", 0);
    row(":5000", "", 0);
    row("tracker:0", "", 0);
    row("tracker:65536", "", 0);
    row("tracker:-1", "", 0);
    row("tracker:x", "", 0);
    row("tracker:5000x", "", 0);
    row("::1:5000", "", 0);
    row("[]:5000", "", 0);
    row(" :5000", "", 0);
    row("", "", 0);
}

void HostOptionsTest::addressesAreSplit()
{
    QFETCH(QString, host);
    QFETCH(int, port);
    QString foundHost = QStringLiteral("old");
    quint16 foundPort = 1;
    QCOMPARE(splitAddress(QString::fromLatin1(QTest::currentDataTag()), &foundHost, &foundPort),
             port != 0);
    QCOMPARE(foundHost, port != 0 ? host : QStringLiteral("old"));
    QCOMPARE(int(foundPort), port != 0 ? port : 1);
}

void HostOptionsTest::mistakesAreToldBySentence_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("part");
    const auto row = [](const char *name, const QStringList &arguments, const char *part) {
        QTest::newRow(name) << arguments << QString::fromLatin1(part);
    };
    row("unknown option", {"--fast"}, "fast");
    row("a word", {"scenario.json"}, "\"scenario.json\"");
    row("missing value", {"--demo"}, "demo");
    row("empty value", {"--demo="}, "--demo needs a value");
    row("empty plug-in", {"--plugin", ""}, "--plugin needs a value");
    row("bad address", {"--controller", "here"}, "HOST:PORT");
    row("bad port", {"--controller", "here:99999"}, "\"here:99999\"");
    row("bad seed", {"--seed", "-1"}, "\"-1\"");
    row("worded seed", {"--seed", "one"}, "\"one\"");
    row("no time", {"--timeout", "0"}, "\"0\"");
    row("negative time", {"--timeout", "-5"}, "\"-5\"");
    row("endless time", {"--timeout", "600001"}, "\"600001\"");
    row("fraction of time", {"--timeout", "1.5"}, "\"1.5\"");
    row("bad version", {"--backend", "new"}, "\"new\"");
    row("bad version by its other name", {"--backend-version", "new"}, "\"new\"");
    row("version of more digits than the controller's", {"--backend", "10000.0"}, "\"10000.0\"");
    row("patch level of more digits", {"--backend", "1.17.10000"}, "\"1.17.10000\"");
    row("missing version", {"--backend-version="}, "--backend needs a value");
    row("scenario of a real controller", {"--controller", "a:1", "--scenario", "s"}, "--scenario");
    row("seed of a real controller", {"--controller", "a:1", "--seed", "1"}, "--seed");
}

void HostOptionsTest::mistakesAreToldBySentence()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, part);
    HostOptions options;
    options.timeoutMs = 77;
    QString error;
    QVERIFY(!parse(arguments, &options, &error));
    QVERIFY2(error.contains(part), qPrintable(error));
    QVERIFY2(error.endsWith(QLatin1Char('.')), qPrintable(error));
    QVERIFY2(error.at(0).isUpper() || error.startsWith(QStringLiteral("--")), qPrintable(error));
    QCOMPARE(options.timeoutMs, 77);
}

void HostOptionsTest::helpAndVersionComeBeforeMistakes()
{
    HostOptions options;
    QString error;
    for (const char *argument : {"-h", "--help"}) {
        QVERIFY(parse({QString::fromLatin1(argument), "--timeout", "x"}, &options, &error));
        QVERIFY(options.showHelp);
    }
    for (const char *argument : {"-v", "--version"}) {
        QVERIFY(parse({QString::fromLatin1(argument), "--nonsense"}, &options, &error));
        QVERIFY(options.showVersion);
    }
}

void HostOptionsTest::helpNamesEveryOption()
{
    const QString help = HostOptions::helpText();
    for (const char *option :
         {"--controller HOST:PORT", "--scenario FILE", "--seed N", "--plugin FILE", "--demo DIR",
          "--timeout MS", "--backend V", "--help", "--version"})
        QVERIFY2(help.contains(QLatin1String(option)), option);
    for (const QString &line : help.split(QLatin1Char('\n')))
        QVERIFY2(line.size() <= 80, qPrintable(line));
}

QUOREL2_TEST_MAIN(HostOptionsTest)
#include "tst_HostOptions.moc"
