#include <controller/SimulationClock.h>

#include <tests/support/TestMain.h>

#include <QSignalSpy>
#include <QtTest>

class tst_SimulationClock : public QObject {
    Q_OBJECT

private slots:
    void aVirtualClockMovesOnlyWhenTold()
    {
        SimulationClock clock(SimulationClock::Kind::Virtual);
        QSignalSpy advanced(&clock, &SimulationClock::advanced);
        QCOMPARE(clock.nowUs(), 0);
        clock.advance(1500);
        QCOMPARE(clock.nowUs(), 1500000);
        clock.advance(0);
        QCOMPARE(clock.nowUs(), 1500000);
        QCOMPARE(advanced.size(), 2);
    }

    void timeNeverGoesBack()
    {
        SimulationClock clock(SimulationClock::Kind::Virtual);
        QSignalSpy advanced(&clock, &SimulationClock::advanced);
        clock.advance(-1);
        QCOMPARE(clock.nowUs(), 0);
        QCOMPARE(advanced.size(), 0);
    }

    void aRealClockMovesByItself()
    {
        SimulationClock clock(SimulationClock::Kind::Real);
        QSignalSpy advanced(&clock, &SimulationClock::advanced);
        const qint64 start = clock.nowUs();
        clock.advance(1000000);
        QVERIFY(clock.nowUs() < start + 1000000000);
        QCOMPARE(advanced.size(), 0);
        QTRY_VERIFY(clock.nowUs() > start);
    }
};

QUOREL2_TEST_MAIN(tst_SimulationClock)
#include "tst_SimulationClock.moc"
