#include <controller/BackendVersion.h>

#include <tests/support/TestMain.h>

#include <QtTest>

class tst_BackendVersion : public QObject {
    Q_OBJECT

private slots:
    void textIsReadAndWrittenBack_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("patch");
        QTest::newRow("no patch level") << "1.17" << 1 << 17 << -1;
        QTest::newRow("patch level") << "1.17.2" << 1 << 17 << 2;
        QTest::newRow("patch level zero") << "0.6.0" << 0 << 6 << 0;
        QTest::newRow("large") << "9999.0.9999" << 9999 << 0 << 9999;
    }

    void textIsReadAndWrittenBack()
    {
        QFETCH(QString, text);
        BackendVersion version{7, 7, 7};
        QVERIFY(BackendVersion::fromText(text, &version));
        QTEST(version.major, "major");
        QTEST(version.minor, "minor");
        QTEST(version.patch, "patch");
        QCOMPARE(QString::fromLatin1(version.toText()), text);
    }

    void wrongTextChangesNothing_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text : {"", "1", "1.", ".1", "1.2.", "1.2.3.4", "-1.2", "1.x", " 1.2",
                                 "1.2 ", "1,2", "10000.1", "1.2\n", "v1.2"})
            QTest::newRow(text) << QString::fromLatin1(text);
    }

    void wrongTextChangesNothing()
    {
        QFETCH(QString, text);
        BackendVersion version{7, 8, 9};
        QVERIFY(!BackendVersion::fromText(text, &version));
        QCOMPARE(version.major, 7);
        QCOMPARE(version.minor, 8);
        QCOMPARE(version.patch, 9);
    }

    void majorCountsBeforeMinor()
    {
        const BackendVersion version{1, 12, -1};
        QVERIFY(version.isAtLeast(1, 12));
        QVERIFY(version.isAtLeast(0, 17));
        QVERIFY(!version.isAtLeast(1, 13));
        QVERIFY(!version.isAtLeast(2, 0));
    }
};

QUOREL2_TEST_MAIN(tst_BackendVersion)
#include "tst_BackendVersion.moc"
