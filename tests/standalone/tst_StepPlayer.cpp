#include <standalone/DemoScene.h>
#include <standalone/StepPlayer.h>
#include <tests/support/TestMain.h>

#include <QDialog>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {
constexpr int kLimitMs = 60000;
}

class StepPlayerTest : public QObject {
    Q_OBJECT

private:
    struct Stage {
        Stage()
        {
            window.resize(300, 200);
            window.setText(QStringLiteral("main"));
            window.show();
        }
        QStringList pictures() const
        {
            return QDir(folder.path()).entryList({QStringLiteral("*.png")});
        }
        QString problem() const { return ended.first().first().toString(); }

        QLabel window;
        QTemporaryDir folder;
        DemoScene scene{&window};
        StepPlayer player{&scene, folder.path()};
        QSignalSpy ended{&player, &StepPlayer::ended};
    };
    static DemoStep named(const QString &name)
    {
        DemoStep step;
        step.name = name;
        return step;
    }

private slots:
    void stepsComeInOrderAndLeavePictures()
    {
        Stage stage;
        QStringList calls;
        QVector<DemoStep> steps;
        for (const QString &name : {QStringLiteral("one"), QStringLiteral("two")}) {
            DemoStep step = named(name);
            step.ready = [&calls, name] {
                calls.append(name + QStringLiteral(" ready"));
                return true;
            };
            step.act = [&calls, name] { calls.append(name + QStringLiteral(" act")); };
            step.done = [&calls, name] {
                calls.append(name + QStringLiteral(" done"));
                return true;
            };
            step.finish = [&calls, name] {
                calls.append(name + QStringLiteral(" finish"));
                return QString();
            };
            steps.append(step);
        }
        steps.insert(1, DemoStep());
        stage.player.setSteps(steps);
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(stage.problem(), QString());
        QCOMPARE(calls, (QStringList{"one ready", "one act", "one done", "one finish", "two ready",
                                     "two act", "two done", "two finish"}));
        QCOMPARE(stage.pictures(), (QStringList{"01-one.png", "02-two.png"}));
    }

    void aStepThatIsLeftOutIsNotPlayed()
    {
        Stage stage;
        QStringList acted;
        int asked = 0;
        QVector<DemoStep> steps;
        for (const char *name : {"first", "left-out", "late", "last"}) {
            DemoStep step = named(QString::fromLatin1(name));
            step.act = [&acted, name] { acted.append(QString::fromLatin1(name)); };
            steps.append(step);
        }
        steps[1].leftOut = [] { return true; };
        // What is to be left out may be known only after a while.
        steps[2].leftOut = [&asked] { return ++asked > 3; };
        steps[2].ready = [] { return false; };
        steps[3].leftOut = [] { return false; };
        stage.player.setSteps(steps);
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(stage.problem(), QString());
        QCOMPARE(acted, (QStringList{"first", "last"}));
        QCOMPARE(asked, 4);
        QCOMPARE(stage.pictures(), (QStringList{"01-first.png", "02-last.png"}));
    }

    void aStepWaitsUntilItCanBegin()
    {
        Stage stage;
        int asked = 0;
        DemoStep step = named(QStringLiteral("late"));
        step.ready = [&asked] { return ++asked >= 4; };
        int askedBefore = 0;
        step.act = [&] { askedBefore = asked; };
        stage.player.setSteps({step});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(askedBefore, 4);
    }

    void anEffectMustHoldForItsRounds()
    {
        Stage stage;
        int asked = 0;
        DemoStep step = named(QStringLiteral("unsteady"));
        step.rounds = 3;
        // Not the third time: it begins anew.
        step.done = [&asked] { return ++asked != 3; };
        stage.player.setSteps({step});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(asked, 6);
    }

    void aModalDialogDoesNotStopIt()
    {
        Stage stage;
        QDialog dialog(&stage.window);
        bool returned = false;
        DemoStep open = named(QStringLiteral("open"));
        open.act = [&] {
            dialog.exec();
            returned = true;
        };
        open.done = [&] { return dialog.isVisible(); };
        DemoStep close = named(QStringLiteral("close"));
        close.act = [&] { dialog.accept(); };
        close.done = [&] { return !dialog.isVisible(); };
        stage.player.setSteps({open, close});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(stage.problem(), QString());
        QTRY_VERIFY(returned);
    }

    void whatDoesNotGetOnIsTold_data()
    {
        QTest::addColumn<bool>("begins");
        QTest::addColumn<QString>("told");
        QTest::newRow("begin") << false
                               << QStringLiteral(
                                      "Step \"stuck\" could not begin within 0 s. Rain.");
        QTest::newRow("effect") << true
                                << QStringLiteral("Step \"stuck\" had no effect within 0 s. Rain.");
    }

    void whatDoesNotGetOnIsTold()
    {
        QFETCH(bool, begins);
        QFETCH(QString, told);
        Stage stage;
        DemoStep step = named(QStringLiteral("stuck"));
        step.ready = [begins] { return begins; };
        step.done = [] { return false; };
        step.hint = [] { return QStringLiteral("Rain."); };
        stage.player.setLimitMs(300);
        stage.player.setSteps({step, named(QStringLiteral("never"))});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(stage.problem(), told);
        QCOMPARE(stage.pictures(), QStringList{QStringLiteral("failed.png")});
    }

    void aProblemAfterTheEffectEndsIt()
    {
        Stage stage;
        DemoStep step = named(QStringLiteral("wrong"));
        step.finish = [] { return QStringLiteral("Two and two are five."); };
        stage.player.setSteps({step, named(QStringLiteral("never"))});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(stage.problem(), QStringLiteral("Two and two are five."));
        QCOMPARE(stage.pictures(), QStringList{QStringLiteral("failed.png")});
    }

    void anActMayFail()
    {
        Stage stage;
        QDialog dialog(&stage.window);
        dialog.setWindowTitle(QStringLiteral("Left open"));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        DemoStep step = named(QStringLiteral("impossible"));
        step.act = [&stage] { stage.player.fail(QStringLiteral("There is nothing to do.")); };
        stage.player.setSteps({step, named(QStringLiteral("never"))});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QCOMPARE(stage.problem(),
                 QStringLiteral("There is nothing to do. Open windows: \"Left open\"."));
        stage.player.fail(QStringLiteral("Once more."));
        QCOMPARE(stage.ended.size(), 1);
    }

    void aPictureThatCannotBeWrittenIsAFailure()
    {
        Stage stage;
        QVERIFY(stage.folder.remove());
        stage.player.setSteps({named(QStringLiteral("one"))});
        stage.player.start();
        QVERIFY(stage.ended.wait(kLimitMs));
        QVERIFY2(stage.problem().contains(QStringLiteral("01-one.png\" cannot be written")),
                 qPrintable(stage.problem()));
    }
};

QUOREL2_TEST_MAIN(StepPlayerTest)
#include "tst_StepPlayer.moc"
