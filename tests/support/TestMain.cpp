#include "TestMain.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

namespace {

QtMessageHandler s_testHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!text.startsWith(QLatin1String("This plugin does not support ")))
        s_testHandler(type, context, text);
}

} // namespace

int runTest(int argc, char **argv, QObject *testObject)
{
    // Qt warns about a missing or public runtime directory; a temporary one is private.
    const QTemporaryDir runtimeDirectory;
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", runtimeDirectory.path().toLocal8Bit());
    // Windows that come and go quickly cross with the window manager's requests; the X server's
    // complaints about that say nothing about the program.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.xcb.warning=false"));
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setQuitOnLastWindowClosed(false);
    return QTest::qExec(testObject, argc, argv);
}

void dropWindowlessWarnings()
{
    s_testHandler = qInstallMessageHandler(handleMessage);
}

quint32 testSeed()
{
    bool given = false;
    quint32 seed = qEnvironmentVariable("QUOREL2_SEED").toUInt(&given);
    if (!given)
        seed = QRandomGenerator::global()->generate();
    std::printf("seed %u\n", seed);
    std::fflush(stdout);
    return seed;
}
