#include <tests/support/TestMain.h>

#include <QProcess>
#include <QtTest>

class TestModuleLife : public QObject {
    Q_OBJECT

private slots:
    void theHostEndsCleanlyWithTheDialogOpen_data()
    {
        QTest::addColumn<int>("times");
        QTest::addColumn<QString>("end");
        QTest::newRow("a thousand openings") << 1000 << "quit";
        QTest::newRow("the application quits") << 3 << "quit";
        QTest::newRow("the process exits") << 3 << "exit";
        QTest::newRow("the module is cleaned up") << 3 << "cleanup";
        QTest::newRow("the host's window goes") << 3 << "window";
    }

    void theHostEndsCleanlyWithTheDialogOpen()
    {
        QFETCH(int, times);
        QFETCH(QString, end);
        live(times, end, "ended open\n");
    }

    void theLibraryMayGoAfterTheApplication()
    {
        live(3, QStringLiteral("late"), "unloaded late\n");
    }

private:
    void live(int times, const QString &end, const QByteArray &lastWords)
    {
        QProcess process;
        process.start(
            QUOREL2_BUILD_DIR "/bin/life_host",
            {QUOREL2_BUILD_DIR "/plugins/libBodyAdjustmentModule.so", QString::number(times), end});
        QVERIFY2(process.waitForFinished(250000), qPrintable(process.errorString()));
        const QByteArray errors = process.readAllStandardError();
        QVERIFY2(process.exitStatus() == QProcess::NormalExit, errors.constData());
        QVERIFY2(process.exitCode() == 0, errors.constData());
        QVERIFY2(!errors.contains("Sanitizer") && !errors.contains("runtime error"),
                 errors.constData());
        QCOMPARE(process.readAllStandardOutput(),
                 QByteArray("opened " + QByteArray::number(times) + ", grown by 0\n" + lastWords));
    }
};

QUOREL2_TEST_MAIN(TestModuleLife)
#include "tst_ModuleLife.moc"
