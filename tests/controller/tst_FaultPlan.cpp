#include <controller/FaultPlan.h>

#include <tests/support/TestMain.h>

#include <QtTest>

using Kind = FaultPlan::Kind;

class tst_FaultPlan : public QObject {
    Q_OBJECT

private slots:
    void withoutFaultsNothingIsSpoiled()
    {
        FaultPlan plan;
        for (int i = 0; i < 5; ++i)
            QVERIFY(plan.take("quorel2 get status active").kind == Kind::None);
    }

    void onlyTheNumberedReplyIsSpoiled()
    {
        FaultPlan plan;
        plan.spoilReply(3, {Kind::Error, 0});
        QVector<Kind> kinds;
        for (int i = 0; i < 5; ++i)
            kinds.append(plan.take("x").kind);
        QCOMPARE(kinds,
                 (QVector<Kind>{Kind::None, Kind::None, Kind::Error, Kind::None, Kind::None}));
    }

    void numbersCountFromWhenTheFaultWasPlanned()
    {
        FaultPlan plan;
        plan.take("x");
        plan.take("x");
        plan.spoilReply(1, {Kind::Silence, 0});
        QVERIFY(plan.take("x").kind == Kind::Silence);
        QVERIFY(plan.take("x").kind == Kind::None);
    }

    void severalNumbersEachHaveTheirTurn()
    {
        FaultPlan plan;
        plan.spoilReply(2, {Kind::Delay, 250});
        plan.spoilReply(1, {Kind::Garbage, 0});
        QVERIFY(plan.take("x").kind == Kind::Garbage);
        const FaultPlan::Fault second = plan.take("x");
        QVERIFY(second.kind == Kind::Delay);
        QCOMPARE(second.delayMs, 250);
        QVERIFY(plan.take("x").kind == Kind::None);
    }

    void requestsAreKnownByTheirBeginning()
    {
        FaultPlan plan;
        plan.spoilRequests("quorel2 body transform", {Kind::Error, 0}, 2);
        QVERIFY(plan.take("quorel2 get body desc").kind == Kind::None);
        QVERIFY(plan.take("quorel2 body transform a").kind == Kind::Error);
        QVERIFY(plan.take("quorel2 body transform b").kind == Kind::Error);
        QVERIFY(plan.take("quorel2 body transform c").kind == Kind::None);
    }

    void aRequestCanBeSpoiledForEver()
    {
        FaultPlan plan;
        plan.spoilRequests("a", {Kind::OverLong, 0}, -1);
        for (int i = 0; i < 10; ++i)
            QVERIFY(plan.take("ab").kind == Kind::OverLong);
        plan.clear();
        QVERIFY(plan.take("ab").kind == Kind::None);
    }

    void noTimesIsNever()
    {
        FaultPlan plan;
        plan.spoilRequests("a", {Kind::Error, 0}, 0);
        QVERIFY(plan.take("a").kind == Kind::None);
    }

    void clearForgetsNumbersToo()
    {
        FaultPlan plan;
        plan.spoilReply(1, {Kind::Error, 0});
        plan.clear();
        QVERIFY(plan.take("a").kind == Kind::None);
    }
};

QUOREL2_TEST_MAIN(tst_FaultPlan)
#include "tst_FaultPlan.moc"
