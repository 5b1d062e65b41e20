#include "TestScenario.h"

#include <controller/ControllerState.h>
#include <controller/DataLineWriter.h>

#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QtTest>

namespace {

const char *const kIdentity = "[1.000000 0.000000 0.000000 0.000000 1.000000 0.000000 0.000000 "
                              "0.000000 1.000000]";
const char *const kZeros = "[0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 0.000000 "
                           "0.000000 0.000000]";
/// A quarter turn about x, column by column.
const char *const kQuarterTurn = "[1.000000 0.000000 0.000000 0.000000 0.000000 1.000000 0.000000 "
                                 "-1.000000 0.000000]";

QByteArray wandBlock(const char *id)
{
    return '[' + QByteArray(id) + " 1.000][100.000 200.000 300.000 0.000 0.000 0.000]" + kIdentity +
           ' ';
}

QByteArray lostBlock(const char *id)
{
    return '[' + QByteArray(id) + " -1.000][0.000 0.000 0.000 0.000 0.000 0.000]" + kZeros + ' ';
}

} // namespace

class tst_DataLineWriter : public QObject {
    Q_OBJECT

private slots:
    void bodyLineHasABlockForEachStandardBody_data() { addLocaleRows(); }

    void bodyLineHasABlockForEachStandardBody()
    {
        UNDER_LOCALE_OF_ROW();
        const ControllerState state(smallScenario(), 1);
        QCOMPARE(DataLineWriter::bodyLine(state, 0), "6d 2 " + wandBlock("0") + lostBlock("1"));
    }

    void untrackedBodiesCanBeLeftOut()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("untracked-left-out"));
        scenario.bodies[2].motion = Motion::Lost;
        const ControllerState state(scenario, 1);
        QCOMPARE(DataLineWriter::bodyLine(state, 0), "6d 1 " + wandBlock("0"));
        QCOMPARE(DataLineWriter::vimbarLine(state, 0), QByteArray("6df 0 "));
        // A device's place in this line is its number, so it has to stay.
        QVERIFY(DataLineWriter::vimbarLine2(state, 0).startsWith("6df2 1 1 [0 -1.000 4 2]"));
    }

    void withoutBodiesTheLineIsEmpty()
    {
        const ControllerState state(scenarioOf("{}"), 1);
        QCOMPARE(DataLineWriter::bodyLine(state, 0), QByteArray("6d 0 "));
        QCOMPARE(DataLineWriter::vimbarLine(state, 0), QByteArray("6df 0 "));
        QCOMPARE(DataLineWriter::vimbarLine2(state, 0), QByteArray("6df2 0 0 "));
    }

    void withHeadTheHeadIsNumberZero()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("multi-user-with-head"));
        const ControllerState state(scenario, 1);
        const QByteArray line = DataLineWriter::bodyLine(state, 0);
        QVERIFY2(line.startsWith("6d 3 [0 1.000]["), line.constData());
        QVERIFY2(line.endsWith(wandBlock("1") + lostBlock("2")), line.constData());
    }

    void multiUserWithoutHeadChangesNoNumber()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("multi-user"));
        const ControllerState state(scenario, 1);
        QCOMPARE(DataLineWriter::bodyLine(state, 0), "6d 2 " + wandBlock("0") + lostBlock("1"));
    }

    void vimbarLinesHaveTheirOwnForms()
    {
        const ControllerState state(smallScenario(), 1);
        QCOMPARE(DataLineWriter::vimbarLine(state, 0),
                 QByteArray("6df 1 [0 1.000 0][-1.000 -2.000 -3.000 90.000 0.000 0.000]") +
                     kQuarterTurn + ' ');
        QCOMPARE(DataLineWriter::vimbarLine2(state, 0),
                 QByteArray("6df2 1 1 [0 1.000 4 2][-1.000 -2.000 -3.000]") + kQuarterTurn +
                     "[0 0 0 0 0.00 0.00] ");
    }

    void anglesAndMatrixTellTheSameRotation()
    {
        const ControllerState state(Scenario::builtIn(), 5);
        const QByteArray line = DataLineWriter::bodyLine(state, 1234567);
        const int from = line.indexOf('[', line.indexOf(']')) + 1;
        const QList<QByteArray> pose = line.mid(from, line.indexOf(']', from) - from).split(' ');
        const int matrixFrom = line.indexOf('[', from) + 1;
        const QList<QByteArray> matrix =
            line.mid(matrixFrom, line.indexOf(']', matrixFrom) - matrixFrom).split(' ');
        QCOMPARE(pose.size(), 6);
        QCOMPARE(matrix.size(), 9);
        // R = Rx Ry Rz: the first row is cy cz, -cy sz, sy.
        const double toRadians = 3.14159265358979323846 / 180.0;
        const double y = pose[4].toDouble() * toRadians;
        const double z = pose[5].toDouble() * toRadians;
        QVERIFY(qAbs(matrix[0].toDouble() - std::cos(y) * std::cos(z)) < 1e-4);
        QVERIFY(qAbs(matrix[3].toDouble() + std::cos(y) * std::sin(z)) < 1e-4);
        QVERIFY(qAbs(matrix[6].toDouble() - std::sin(y)) < 1e-4);
    }

    void redefinedAxesChangeTheReportedRotation()
    {
        ControllerState state(smallScenario(), 1);
        // A quarter turn about x of the definition turns the pose back.
        QVERIFY(state.transformBody("vimbar", 1, {{1, 0, 0, 0, 0, 1, 0, -1, 0}, {}}) ==
                StateResult::Done);
        QVERIFY2(DataLineWriter::vimbarLine(state, 0).contains(kIdentity),
                 DataLineWriter::vimbarLine(state, 0).constData());
    }

    void onlyActiveLinesAreSentWhileMeasuring()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(DataLineWriter::activeLines(state, 0).isEmpty());
        QVERIFY(state.startMeasurement() == StateResult::Done);
        QCOMPARE(DataLineWriter::activeLines(state, 0).size(), 1);
        QVERIFY(DataLineWriter::activeLines(state, 0)[0].startsWith("6d 2 "));
        QVERIFY(state.setOutputActive("chmon", "6df2", true) == StateResult::Done);
        QCOMPARE(DataLineWriter::activeLines(state, 0).size(), 2);
        QVERIFY(DataLineWriter::activeLines(state, 0)[1].startsWith("6df2 1 1 "));
        QVERIFY(state.setOutputActive("chmon", "6d", false) == StateResult::Done);
        QVERIFY(state.setOutputActive("chmon", "6df2", false) == StateResult::Done);
        QVERIFY(state.setOutputActive("chmon", "6df", true) == StateResult::Done);
        QCOMPARE(DataLineWriter::activeLines(state, 0).size(), 1);
        QVERIFY(DataLineWriter::activeLines(state, 0)[0].startsWith("6df 1 "));
        QVERIFY(state.stopMeasurement() == StateResult::Done);
        QVERIFY(DataLineWriter::activeLines(state, 0).isEmpty());
    }

    void faultsOfTheDataLines()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.startMeasurement() == StateResult::Done);
        const QByteArray whole = DataLineWriter::bodyLine(state, 0);
        state.setDataFault(DataFault::Cut);
        const QByteArray cut = DataLineWriter::activeLines(state, 0).value(0);
        QVERIFY(whole.startsWith(cut));
        QVERIFY(cut.lastIndexOf('[') > cut.lastIndexOf(']'));
        QVERIFY(cut.size() > whole.size() / 2);
        state.setDataFault(DataFault::Silent);
        QVERIFY(DataLineWriter::activeLines(state, 0).isEmpty());
        state.setDataFault(DataFault::None);
        QCOMPARE(DataLineWriter::activeLines(state, 0).value(0), whole);
    }
};

QUOREL2_TEST_MAIN(tst_DataLineWriter)
#include "tst_DataLineWriter.moc"
