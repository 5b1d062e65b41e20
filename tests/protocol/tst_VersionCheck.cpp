#include <protocol/VersionCheck.h>

#include <host/BackendVersions.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <climits>

class tst_VersionCheck : public QObject {
    Q_OBJECT

private slots:
    void comparesMajorThenMinorThenPatch_data();
    void comparesMajorThenMinorThenPatch();
    void everyThresholdBeginsExactlyAtItsVersion_data();
    void everyThresholdBeginsExactlyAtItsVersion();
    void failsWithoutARecord();
};

void tst_VersionCheck::comparesMajorThenMinorThenPatch_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("patch");
    QTest::addColumn<int>("wantedMajor");
    QTest::addColumn<int>("wantedMinor");
    QTest::addColumn<bool>("expected");

    QTest::newRow("same, patch not known") << 1 << 17 << -1 << 1 << 17 << true;
    QTest::newRow("same, patch 0") << 1 << 17 << 0 << 1 << 17 << true;
    QTest::newRow("same, patch 9") << 1 << 17 << 9 << 1 << 17 << true;
    QTest::newRow("same, patch -2") << 1 << 17 << -2 << 1 << 17 << false;
    QTest::newRow("same, patch -5") << 1 << 17 << -5 << 1 << 17 << false;
    QTest::newRow("newer minor, patch -5") << 1 << 18 << -5 << 1 << 17 << true;
    QTest::newRow("newer major, patch -5") << 2 << 0 << -5 << 1 << 17 << true;
    QTest::newRow("newer major, older minor") << 2 << 3 << 0 << 1 << 17 << true;
    QTest::newRow("older minor, any patch") << 1 << 16 << 99 << 1 << 17 << false;
    QTest::newRow("older major, newer minor") << 0 << 99 << 99 << 1 << 9 << false;
    QTest::newRow("minor is a number, not a text") << 1 << 10 << 0 << 1 << 9 << true;
    QTest::newRow("negative major") << -1 << 99 << 0 << 0 << 6 << false;
    QTest::newRow("largest numbers") << INT_MAX << INT_MAX << INT_MAX << 1 << 17 << true;
    QTest::newRow("smallest numbers") << INT_MIN << INT_MIN << INT_MIN << 0 << 6 << false;
}

void tst_VersionCheck::comparesMajorThenMinorThenPatch()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, patch);
    QFETCH(int, wantedMajor);
    QFETCH(int, wantedMinor);
    const BackendVersions versions = {{}, major, minor, patch};
    QTEST(versionAtLeast(&versions, wantedMajor, wantedMinor), "expected");
}

void tst_VersionCheck::everyThresholdBeginsExactlyAtItsVersion_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::newRow("vimbar output form") << 0 << 6;
    QTest::newRow("tracking available") << 0 << 17;
    QTest::newRow("configuration changeable") << 1 << 9;
    QTest::newRow("target type") << 1 << 12;
    QTest::newRow("deletion of markers") << 1 << 17;
}

void tst_VersionCheck::everyThresholdBeginsExactlyAtItsVersion()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    const BackendVersions at = {{}, major, minor, -1};
    const BackendVersions below = {{}, major, minor - 1, 99};
    QVERIFY(versionAtLeast(&at, major, minor));
    QVERIFY(!versionAtLeast(&below, major, minor));
}

void tst_VersionCheck::failsWithoutARecord()
{
    QVERIFY(!versionAtLeast(nullptr, 0, 0));
}

QUOREL2_TEST_MAIN(tst_VersionCheck)
#include "tst_VersionCheck.moc"
