#include <controller/NumberText.h>

#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <clocale>
#include <cstdio>
#include <random>

class tst_NumberText : public QObject {
    Q_OBJECT

private slots:
    void numbersHaveAPointWhateverTheLocale_data() { addLocaleRows(); }

    void numbersHaveAPointWhateverTheLocale()
    {
        UNDER_LOCALE_OF_ROW();
        QCOMPARE(numberText(1234.5678, 3), QByteArray("1234.568"));
        QCOMPARE(numberText(-0.5, 8), QByteArray("-0.50000000"));
        double value = 0.0;
        QVERIFY(parseNumber("1.5", &value));
        QCOMPARE(value, 1.5);
        QVERIFY(!parseNumber("1,5", &value));
    }

    void numbersAreThoseOfPrintf()
    {
        std::setlocale(LC_ALL, "C"); // for printf
        std::mt19937 random(testSeed());
        std::uniform_real_distribution<double> number(-1e6, 1e6);
        char wanted[64];
        const double ties[] = {100.0625, 0.0625, 1e6, 0.125, 2.5};
        for (int i = 0; i < 2000; ++i) {
            const double value = i < 5 ? ties[i] : number(random) / (1 + i % 100);
            for (int decimals : {2, 3, 6, 8}) {
                std::snprintf(wanted, sizeof wanted, "%.*f", decimals, value);
                QCOMPARE(numberText(value, decimals), QByteArray(wanted));
            }
        }
        std::snprintf(wanted, sizeof wanted, "%.3f", 1e40);
        QCOMPARE(numberText(1e40, 3), QByteArray(wanted));
        QCOMPARE(numberText(1.7e308, 20).size(), 309 + 21);
    }

    void whatRoundsToZeroHasNoSign()
    {
        QCOMPARE(numberText(-0.0, 3), QByteArray("0.000"));
        QCOMPARE(numberText(-0.0004, 3), QByteArray("0.000"));
        QCOMPARE(numberText(-0.0006, 3), QByteArray("-0.001"));
        QCOMPARE(numberText(-10.0, 3), QByteArray("-10.000"));
    }

    void plainNumbersAreRead_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<double>("wanted");
        QTest::newRow("whole") << QByteArray("12") << 12.0;
        QTest::newRow("negative") << QByteArray("-12.000") << -12.0;
        QTest::newRow("plus sign") << QByteArray("+0.25") << 0.25;
        QTest::newRow("nothing before the point") << QByteArray(".5") << 0.5;
        QTest::newRow("nothing behind the point") << QByteArray("5.") << 5.0;
        QTest::newRow("exponent") << QByteArray("1.5e-3") << 0.0015;
        QTest::newRow("leading zeros") << QByteArray("007") << 7.0;
    }

    void plainNumbersAreRead()
    {
        QFETCH(QByteArray, text);
        QFETCH(double, wanted);
        double value = 99.0;
        QVERIFY(parseNumber(text, &value));
        QCOMPARE(value, wanted);
    }

    void anythingElseIsNoNumber_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("blank") << QByteArray(" ");
        QTest::newRow("leading blank") << QByteArray(" 1");
        QTest::newRow("trailing blank") << QByteArray("1 ");
        QTest::newRow("sign only") << QByteArray("-");
        QTest::newRow("two signs") << QByteArray("--1");
        QTest::newRow("point only") << QByteArray(".");
        QTest::newRow("two points") << QByteArray("1.2.3");
        QTest::newRow("comma") << QByteArray("1,5");
        QTest::newRow("not a number") << QByteArray("nan");
        QTest::newRow("infinite") << QByteArray("inf");
        QTest::newRow("negative infinite") << QByteArray("-infinity");
        QTest::newRow("too large") << QByteArray("1e999");
        QTest::newRow("hexadecimal") << QByteArray("0x10");
        QTest::newRow("no exponent") << QByteArray("1e");
        QTest::newRow("sign of exponent only") << QByteArray("1e+");
        QTest::newRow("letter behind") << QByteArray("1f");
        QTest::newRow("NUL behind") << QByteArray("1\0", 2);
        QTest::newRow("NUL inside") << QByteArray("1\0002", 3);
    }

    void anythingElseIsNoNumber()
    {
        QFETCH(QByteArray, text);
        double value = 99.0;
        QVERIFY(!parseNumber(text, &value));
        QCOMPARE(value, 99.0);
    }

    void bodyNamesAreRead_data()
    {
        QTest::addColumn<QByteArray>("type");
        QTest::addColumn<int>("number");
        const auto row = [](const char *text, const QByteArray &type, int number) {
            QTest::newRow(text) << type << number;
        };
        row("standard b02", "standard", 2);
        row("Vimbar b00", "Vimbar", 0);
        row("ghost b123456789", "ghost", 123456789);
        for (const char *text :
             {"", "none", "standard", "standard 02", "standard b", "standard b2", "standard b+1",
              "standard b-1", "standard b0x1", "standard b02.0", "standard B02", "standard m02",
              "standard b02 ", " standard b02", " b02", "standard  b02", "standard b02 x",
              "standard b0000000002", "standard b\xc2\xb2\xc2\xb2"})
            row(text, "untouched", 7);
    }

    void bodyNamesAreRead()
    {
        QFETCH(QByteArray, type);
        QFETCH(int, number);
        QByteArray foundType = "untouched";
        int foundNumber = 7;
        QCOMPARE(parseBodyName(QTest::currentDataTag(), &foundType, &foundNumber),
                 type != "untouched");
        QCOMPARE(foundType, type);
        QCOMPARE(foundNumber, number);
    }
};

QUOREL2_TEST_MAIN(tst_NumberText)
#include "tst_NumberText.moc"
