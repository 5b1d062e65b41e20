#include "TestMain.h"

#include <QApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QStyleFactory>
#include <QtTest>

#include <cstdio>

int runTest(int argc, char **argv, QObject *testObject)
{
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", QDir::tempPath().toLocal8Bit());
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setQuitOnLastWindowClosed(false);
    return QTest::qExec(testObject, argc, argv);
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
