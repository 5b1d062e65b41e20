#include <controller/ListenAddress.h>

#include <tests/support/TestMain.h>

#include <QtTest>

class tst_ListenAddress : public QObject {
    Q_OBJECT

private slots:
    void addressesAreReadAndWrittenBack_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("written");
        QTest::newRow("IPv4") << "127.0.0.1:42200"
                              << "127.0.0.1:42200";
        QTest::newRow("any address") << "0.0.0.0:1"
                                     << "0.0.0.0:1";
        QTest::newRow("free port") << "127.0.0.1:0"
                                   << "127.0.0.1:0";
        QTest::newRow("name of this machine") << "localhost:80"
                                              << "127.0.0.1:80";
        QTest::newRow("IPv6") << "[::1]:65535"
                              << "[::1]:65535";
    }

    void addressesAreReadAndWrittenBack()
    {
        QFETCH(QString, text);
        ListenAddress address;
        QVERIFY(ListenAddress::fromText(text, &address));
        QTEST(address.toText(), "written");
    }

    void anythingElseChangesNothing_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text :
             {"", ":", "127.0.0.1", "127.0.0.1:", ":42200", "42200", "127.0.0.1:x",
              "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:+1", "127.0.0.1: 1", "256.0.0.1:1",
              "::1:80", "[::1]", "[]:1", "[127.0.0.1]:80", "[localhost]:80", "example.org:80"})
            QTest::newRow(text) << QString::fromLatin1(text);
    }

    void anythingElseChangesNothing()
    {
        QFETCH(QString, text);
        ListenAddress address{QHostAddress(QStringLiteral("10.0.0.1")), 7};
        QVERIFY(!ListenAddress::fromText(text, &address));
        QCOMPARE(address.toText(), QStringLiteral("10.0.0.1:7"));
    }
};

QUOREL2_TEST_MAIN(tst_ListenAddress)
#include "tst_ListenAddress.moc"
