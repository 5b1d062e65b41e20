#include <host/IOManager.h>
#include <standalone/ControllerConnection.h>
#include <standalone/DataReceiver.h>
#include <standalone/HostCommandService.h>
#include <standalone/PluginHost.h>
#include <tests/support/TestMain.h>

#include <QApplication>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QStringList calls()
{
    return qApp->property("testModuleCalls").toStringList();
}

const QString kTestModule = QStringLiteral(QUOREL2_TEST_MODULE);

} // namespace

class PluginHostTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void theModuleTellsWhatItIs();
    void theFourObjectsAreHandedOverUnderTheirTypes();
    void entriesAreSortedByMenuAndPlace();
    void theModuleEndsInOrderAndOnlyOnce();
    void theModuleIsUnloadedWhenNothingOfItRuns();
    void aModuleCanBeLoadedAgain();
    void theDestructorEndsTheModule();
    void aMissingFileIsToldBySentence();
    void whatIsNoModuleIsToldBySentence_data();
    void whatIsNoModuleIsToldBySentence();
    void theDefaultFileIsTheFirstThatExists();

private:
    ControllerConnection m_connection;
    DataReceiver m_dataReceiver;
    HostCommandService m_service{&m_connection, &m_dataReceiver};
    BackendVersions m_versions = {{}, 1, 17, -1};
};

void PluginHostTest::init()
{
    qApp->setProperty("testModuleCalls", QStringList());
}

void PluginHostTest::theModuleTellsWhatItIs()
{
    PluginHost host;
    QString error;
    QVERIFY2(host.load(kTestModule, &error), qPrintable(error));
    QVERIFY(host.isLoaded());
    QCOMPARE(host.interfaceId(), QStringLiteral("org.quorel.Quorel2.TestModule"));
    QCOMPARE(host.className(), QStringLiteral("TestModule"));
    QCOMPARE(host.moduleName(), QStringLiteral("Test Module"));
    QCOMPARE(host.moduleVersion(), QStringLiteral("v1.2.3"));
    QCOMPARE(host.fileName(), QFileInfo(kTestModule).absoluteFilePath());
}

void PluginHostTest::theFourObjectsAreHandedOverUnderTheirTypes()
{
    PluginHost host;
    QString error;
    QVERIFY(host.load(kTestModule, &error));
    QWidget parent;
    host.handOver(&m_service, &parent, &m_versions, true);
    QCOMPARE(calls(), (QStringList{QStringLiteral("CommandManager IOManager*"),
                                   QStringLiteral("ModuleParent QWidget*"),
                                   QStringLiteral("BackendVersions BackendVersions*"),
                                   QStringLiteral("ObserverMode bool")}));
    // The module gets the very objects: what it is asked for, it does by them.
    host.sortedEntries();
    m_service.postMessage("TestModule", "host", 1, "hello");
    QCOMPARE(calls().last(), QStringLiteral("message hello"));
}

void PluginHostTest::entriesAreSortedByMenuAndPlace()
{
    PluginHost host;
    QString error;
    QVERIFY(host.load(kTestModule, &error));
    QWidget parent;
    host.handOver(&m_service, &parent, &m_versions, false);
    QStringList texts;
    for (const MenuEntry *entry : host.sortedEntries())
        texts.append(entry->menuTitle + QLatin1Char(' ') + entry->action->text());
    QCOMPARE(texts,
             (QStringList{QStringLiteral("&Tracking &Adjust"), QStringLiteral("&Tracking Late"),
                          QStringLiteral("F&urther Further")}));
}

void PluginHostTest::theModuleEndsInOrderAndOnlyOnce()
{
    PluginHost host;
    QString error;
    QVERIFY(host.load(kTestModule, &error));
    QWidget parent;
    host.handOver(&m_service, &parent, &m_versions, false);
    host.sortedEntries();
    qApp->setProperty("testModuleCalls", QStringList());
    host.end();
    QVERIFY(!host.isLoaded());
    host.end();
    QCOMPARE(calls().mid(0, 2),
             (QStringList{QStringLiteral("shutdown"), QStringLiteral("cleanup")}));
    QCOMPARE(calls().count(QStringLiteral("shutdown")), 1);
    QCOMPARE(calls().count(QStringLiteral("cleanup")), 1);
    // What the module told before it ended is still known.
    QCOMPARE(host.moduleName(), QStringLiteral("Test Module"));
}

void PluginHostTest::theModuleIsUnloadedWhenNothingOfItRuns()
{
    PluginHost host;
    QString error;
    QVERIFY(host.load(kTestModule, &error));
    host.end();
    QCOMPARE(calls(), (QStringList{QStringLiteral("shutdown"), QStringLiteral("cleanup"),
                                   QStringLiteral("destroyed")}));

    // From within an event loop, as when its dialog is open, its code must stay.
    PluginHost running;
    QVERIFY(running.load(kTestModule, &error));
    qApp->setProperty("testModuleCalls", QStringList());
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [&] {
        running.end();
        loop.quit();
    });
    loop.exec();
    QCOMPARE(calls(), (QStringList{QStringLiteral("shutdown"), QStringLiteral("cleanup")}));
}

void PluginHostTest::aModuleCanBeLoadedAgain()
{
    for (int run = 0; run < 50; ++run) {
        PluginHost host;
        QString error;
        QVERIFY2(host.load(kTestModule, &error), qPrintable(error));
        QWidget parent;
        host.handOver(&m_service, &parent, &m_versions, false);
        QCOMPARE(host.sortedEntries().size(), 3);
        host.end();
    }
    QCOMPARE(calls().count(QStringLiteral("cleanup")), 50);
}

void PluginHostTest::theDestructorEndsTheModule()
{
    {
        PluginHost host;
        QString error;
        QVERIFY(host.load(kTestModule, &error));
    }
    QCOMPARE(calls().mid(0, 2),
             (QStringList{QStringLiteral("shutdown"), QStringLiteral("cleanup")}));
    // Nothing to end is no trouble either.
    PluginHost unused;
    unused.end();
}

void PluginHostTest::aMissingFileIsToldBySentence()
{
    PluginHost host;
    QString error;
    QVERIFY(!host.load(QStringLiteral("/nowhere/libNothing.so"), &error));
    QCOMPARE(error, QStringLiteral("There is no module \"/nowhere/libNothing.so\"."));
    QVERIFY(!host.isLoaded());
}

void PluginHostTest::whatIsNoModuleIsToldBySentence_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("reason");
    QTest::newRow("text") << QStringLiteral("text") << QStringLiteral("is not a module");
    QTest::newRow("empty") << QStringLiteral("empty") << QStringLiteral("is not a module");
    QTest::newRow("folder") << QStringLiteral("folder") << QStringLiteral("is not a module");
    QTest::newRow("plain library")
        << QStringLiteral(QUOREL2_PLAIN_LIBRARY) << QStringLiteral("is not a module");
    QTest::newRow("cut module") << QStringLiteral("cut") << QString();
    QTest::newRow("foreign plug-in")
        << QStringLiteral(QUOREL2_FOREIGN_PLUGIN) << QStringLiteral("does not offer the interface");
}

void PluginHostTest::whatIsNoModuleIsToldBySentence()
{
    QFETCH(QString, kind);
    QFETCH(QString, reason);
    QTemporaryDir folder;
    QString fileName = folder.filePath(QStringLiteral("libBroken.so"));
    QFile file(fileName);
    if (kind == QLatin1String("folder")) {
        QVERIFY(QDir().mkdir(fileName));
    } else if (kind.startsWith(QLatin1Char('/'))) {
        fileName = kind;
    } else {
        QVERIFY(file.open(QIODevice::WriteOnly));
        if (kind == QLatin1String("text"))
            file.write("This is no library.\n");
        if (kind == QLatin1String("cut")) {
            QFile whole(kTestModule);
            QVERIFY(whole.open(QIODevice::ReadOnly));
            file.write(whole.read(whole.size() / 2));
        }
        file.close();
    }
    PluginHost host;
    QString error;
    QVERIFY(!host.load(fileName, &error));
    QVERIFY(!host.isLoaded());
    QVERIFY2(error.contains(fileName), qPrintable(error));
    QVERIFY2(error.contains(reason), qPrintable(error));
    host.end();
}

void PluginHostTest::theDefaultFileIsTheFirstThatExists()
{
    QTemporaryDir folder;
    const QString program = folder.filePath(QStringLiteral("bin"));
    const auto make = [&](const QString &name) {
        const QString path = folder.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        return file.open(QIODevice::WriteOnly);
    };
    const QString beside = QStringLiteral("plugins/libBodyAdjustmentModule.so");
    const QString installed = QStringLiteral("lib/quorel2/plugins/libBodyAdjustmentModule.so");
    QCOMPARE(PluginHost::defaultFile(program), folder.filePath(beside));
    QVERIFY(make(installed));
    QCOMPARE(PluginHost::defaultFile(program), folder.filePath(installed));
    QVERIFY(make(beside));
    QCOMPARE(PluginHost::defaultFile(program), folder.filePath(beside));
}

QUOREL2_TEST_MAIN(PluginHostTest)
#include "tst_PluginHost.moc"
