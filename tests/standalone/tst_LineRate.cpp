#include <standalone/LineRate.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <random>

namespace {

constexpr qint64 kSecondUs = 1000000;

/// Time of a frame at 60 Hz.
qint64 frameUs(int frame)
{
    return frame * kSecondUs / 60;
}

bool isNear(double rate, double expected, double tolerance)
{
    return rate > expected - tolerance && rate < expected + tolerance;
}

#define VERIFY_NEAR(rate, expected, tolerance)                                                     \
    QVERIFY2(isNear(rate, expected, tolerance), qPrintable(QString::number(rate)))

} // namespace

class LineRateTest : public QObject {
    Q_OBJECT

private slots:
    void withoutLinesThereIsNone();
    void oneStreamHasItsRateFromTheSecondLineOn();
    void twoStreamsAddUp();
    void theRateIsRightWhenAskedLate();
    void aStreamThatEndedIsNoneASecondLater();
    void aStreamThatBeginsAgainIsMeasuredAnew();
    void aChangeOfTheRateIsSeenWithinASecond();
    void aSlowStreamHasItsRate();
    void jitterHardlyMatters();
    void linesAtOneTimeAreCounted();
    void aFloodIsMeasuredToo();
};

void LineRateTest::withoutLinesThereIsNone()
{
    QCOMPARE(LineRate().perSecond(0), 0.0);
    QCOMPARE(LineRate().perSecond(100 * kSecondUs), 0.0);
}

void LineRateTest::oneStreamHasItsRateFromTheSecondLineOn()
{
    LineRate rate;
    rate.add(frameUs(0));
    QCOMPARE(rate.perSecond(frameUs(0)), 1.0);
    for (int frame = 1; frame < 600; ++frame) {
        rate.add(frameUs(frame));
        VERIFY_NEAR(rate.perSecond(frameUs(frame)), 60.0, 0.01);
    }
}

void LineRateTest::twoStreamsAddUp()
{
    LineRate rate;
    for (int frame = 0; frame < 600; ++frame) {
        rate.add(frameUs(frame));
        rate.add(frameUs(frame) + 20);
        if (frame >= 30)
            VERIFY_NEAR(rate.perSecond(frameUs(frame) + 20), 120.0, 3.0);
        if (frame >= 61)
            VERIFY_NEAR(rate.perSecond(frameUs(frame) + 20), 120.0, 0.01);
    }
}

void LineRateTest::theRateIsRightWhenAskedLate()
{
    LineRate rate;
    for (int frame = 0; frame < 120; ++frame)
        rate.add(frameUs(frame));
    VERIFY_NEAR(rate.perSecond(frameUs(119) + 900000), 60.0, 0.01);
}

void LineRateTest::aStreamThatEndedIsNoneASecondLater()
{
    LineRate rate;
    for (int frame = 0; frame < 120; ++frame)
        rate.add(frameUs(frame));
    QVERIFY(rate.perSecond(frameUs(119) + kSecondUs) > 0.0);
    QCOMPARE(rate.perSecond(frameUs(119) + kSecondUs + 1), 0.0);
}

void LineRateTest::aStreamThatBeginsAgainIsMeasuredAnew()
{
    LineRate rate;
    for (int frame = 0; frame < 120; ++frame)
        rate.add(frameUs(frame));
    for (int frame = 600; frame < 603; ++frame)
        rate.add(frameUs(frame));
    VERIFY_NEAR(rate.perSecond(frameUs(602)), 60.0, 0.01);
}

void LineRateTest::aChangeOfTheRateIsSeenWithinASecond()
{
    LineRate rate;
    for (int frame = 0; frame <= 120; ++frame)
        rate.add(frameUs(frame));
    for (int frame = 122; frame <= 180; frame += 2)
        rate.add(frameUs(frame));
    VERIFY_NEAR(rate.perSecond(frameUs(180)), 30.0, 0.6);
}

void LineRateTest::aSlowStreamHasItsRate()
{
    LineRate rate;
    for (int line = 0; line < 10; ++line) {
        rate.add(line * kSecondUs);
        QCOMPARE(rate.perSecond(line * kSecondUs), 1.0);
    }
}

void LineRateTest::jitterHardlyMatters()
{
    std::mt19937 random(testSeed());
    std::uniform_int_distribution<int> jitterUs(0, 8000);
    LineRate rate;
    for (int frame = 0; frame < 600; ++frame) {
        const qint64 timeUs = frameUs(frame) + jitterUs(random);
        rate.add(timeUs);
        if (frame >= 120)
            VERIFY_NEAR(rate.perSecond(timeUs), 60.0, 1.5);
    }
}

void LineRateTest::linesAtOneTimeAreCounted()
{
    LineRate rate;
    for (int i = 0; i < 5; ++i)
        rate.add(7);
    QCOMPARE(rate.perSecond(7), 5.0);
}

void LineRateTest::aFloodIsMeasuredToo()
{
    LineRate rate;
    for (int line = 0; line < 300000; ++line)
        rate.add(line * 10);
    VERIFY_NEAR(rate.perSecond(3000000), 100000.0, 1.0);
}

QUOREL2_TEST_MAIN(LineRateTest)
#include "tst_LineRate.moc"
