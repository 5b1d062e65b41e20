#include <standalone/ReplyValues.h>
#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QtTest>

class ReplyValuesTest : public QObject {
    Q_OBJECT

private slots:
    void numbersKeepAllTheirDigits();
    void nothingIsWrittenUnlessAllIsRight();
    void aValueIsWhatFollowsTheParameter();
    void aReplyToALongerParameterIsNoReply();
};

void ReplyValuesTest::numbersKeepAllTheirDigits()
{
    const CommaLocale comma;
    double numbers[4] = {};
    QVERIFY(parseDoubles("0.86602540 -0.5 1e-7 123456.789", numbers, 4));
    QCOMPARE(numbers[0], 0.86602540);
    QCOMPARE(numbers[1], -0.5);
    QCOMPARE(numbers[2], 1e-7);
    QCOMPARE(numbers[3], 123456.789);
}

void ReplyValuesTest::nothingIsWrittenUnlessAllIsRight()
{
    double numbers[3] = {7.0, 8.0, 9.0};
    QVERIFY(!parseDoubles("1 2 x", numbers, 3));
    QVERIFY(!parseDoubles("1 2", numbers, 3));
    QVERIFY(!parseDoubles("1 2 3", numbers, 2));
    QCOMPARE(numbers[0], 7.0);
    QCOMPARE(numbers[1], 8.0);
    QCOMPARE(numbers[2], 9.0);
    QVERIFY(parseDoubles("", numbers, 0));
    int number = 7;
    QVERIFY(!parseInt("8 ?", &number));
    QCOMPARE(number, 7);
}

void ReplyValuesTest::aValueIsWhatFollowsTheParameter()
{
    QByteArray value("old");
    QVERIFY(
        valueOfReply("quorel2 set tracking reference standard b02", "tracking reference", &value));
    QCOMPARE(value, QByteArray("standard b02"));
    QVERIFY(valueOfReply("quorel2 set tracking reference", "tracking reference", &value));
    QCOMPARE(value, QByteArray());
}

void ReplyValuesTest::aReplyToALongerParameterIsNoReply()
{
    QByteArray value("old");
    QVERIFY(
        !valueOfReply("quorel2 set vimbar multiuser_available yes", "vimbar multiuser", &value));
    QVERIFY(!valueOfReply("quorel2 set vimbar", "vimbar multiuser", &value));
    QVERIFY(!valueOfReply("", "vimbar multiuser", &value));
    QCOMPARE(value, QByteArray("old"));
}

QUOREL2_TEST_MAIN(ReplyValuesTest)
#include "tst_ReplyValues.moc"
