#include <standalone/BackendVersionText.h>
#include <tests/support/TestMain.h>

#include <QtTest>

class BackendVersionTextTest : public QObject {
    Q_OBJECT

private slots:
    void aVersionIsReadAndShown_data();
    void aVersionIsReadAndShown();
    void anythingElseIsNoVersion_data();
    void anythingElseIsNoVersion();
    void anUnknownVersionHasNoText();
};

void BackendVersionTextTest::aVersionIsReadAndShown_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("patch");
    QTest::newRow("1.17") << 1 << 17 << -1;
    QTest::newRow("1.17.0") << 1 << 17 << 0;
    QTest::newRow("1.17.3") << 1 << 17 << 3;
    QTest::newRow("0.6") << 0 << 6 << -1;
    QTest::newRow("12.345.678") << 12 << 345 << 678;
}

void BackendVersionTextTest::aVersionIsReadAndShown()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, patch);
    BackendVersions version = unknownBackendVersion();
    QVERIFY(parseBackendVersion(QTest::currentDataTag(), &version));
    QCOMPARE(version.major, major);
    QCOMPARE(version.minor, minor);
    QCOMPARE(version.patch, patch);
    QCOMPARE(backendVersionText(version), QString::fromLatin1(QTest::currentDataTag()));
}

void BackendVersionTextTest::anythingElseIsNoVersion_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const char *text : {"", "1", "1.", ".17", "1.17.", "1.17.3.4", "1.x", "v1.17", "1,17",
                             "-1.17", "1.-17", " 1.17", "1.17 ", "1. 17", "1.99999999999"})
        QTest::newRow(text) << QByteArray(text);
}

void BackendVersionTextTest::anythingElseIsNoVersion()
{
    QFETCH(QByteArray, text);
    BackendVersions version = {{}, 4, 5, 6};
    QVERIFY(!parseBackendVersion(text, &version));
    QCOMPARE(version.major, 4);
    QCOMPARE(version.minor, 5);
    QCOMPARE(version.patch, 6);
}

void BackendVersionTextTest::anUnknownVersionHasNoText()
{
    const BackendVersions version = unknownBackendVersion();
    QCOMPARE(version.major, 0);
    QCOMPARE(version.minor, 0);
    QCOMPARE(version.patch, -1);
    QCOMPARE(backendVersionText(version), QString());
}

QUOREL2_TEST_MAIN(BackendVersionTextTest)
#include "tst_BackendVersionText.moc"
