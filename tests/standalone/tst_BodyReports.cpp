#include <controller/DataLineWriter.h>
#include <controller/ControllerState.h>
#include <standalone/BodyReports.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <Eigen/Geometry>

#include <thread>

namespace {

using Rotation = std::array<double, 9>;

Rotation turned(double angleDeg, const Eigen::Vector3d &axis)
{
    const Eigen::Matrix3d m =
        Eigen::AngleAxisd(angleDeg * EIGEN_PI / 180.0, axis.normalized()).toRotationMatrix();
    Rotation result{};
    Eigen::Map<Eigen::Matrix3d>(result.data()) = m;
    return result;
}

/// A line of one body, number 1.
QByteArray lineOf(const Rotation &rotation, double x = 0.0, const char *quality = "1.000")
{
    QByteArray numbers;
    for (const double number : rotation)
        numbers += (numbers.isEmpty() ? "" : " ") + QByteArray::number(number, 'f', 6);
    return QByteArray("6d 1 [0 ") + quality + "][" + QByteArray::number(x, 'f', 3) +
           " 0.000 0.000 0.000 0.000 0.000][" + numbers + "] ";
}

const Rotation kStraight = turned(0.0, Eigen::Vector3d::UnitX());

void feed(BodyReports *reports, const QByteArray &line, int times = 1)
{
    for (int i = 0; i < times; ++i)
        QCOMPARE(reports->receiveLine("6d", line.constData()), 0);
}

} // namespace

class BodyReportsTest : public QObject {
    Q_OBJECT

private slots:
    void aLineIsRead()
    {
        QVector<BodyReport> reports;
        QVERIFY(parseBodyLine(
            "6d 2 [0 1.000][326.848 -187.216 109.503 -160.4704 -3.6963 -7.0913]"
            "[0.940508 -0.339238 -0.019025 0.333599 0.932599 -0.137735 0.064467 0.123194 0.990286] "
            "[3 -1.000][0 0 0 0 0 0][0 0 0 0 0 0 0 0 0] ",
            &reports));
        QCOMPARE(reports.size(), 2);
        QCOMPARE(reports[0].number, 1);
        QVERIFY(reports[0].tracked);
        QCOMPARE(reports[0].position, (std::array<double, 3>{326.848, -187.216, 109.503}));
        QCOMPARE(reports[0].rotation[1], -0.339238);
        QCOMPARE(reports[0].rotation[8], 0.990286);
        QCOMPARE(reports[1].number, 4);
        QVERIFY(!reports[1].tracked);
    }

    void aLineWithoutBodiesIsRead()
    {
        QVector<BodyReport> reports(3);
        QVERIFY(parseBodyLine("6d 0 ", &reports));
        QCOMPARE(reports.size(), 0);
    }

    void otherLinesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("line");
        const QByteArray good = lineOf(kStraight);
        const auto row = [](const char *name, const QByteArray &line) {
            QTest::newRow(name) << line;
        };
        row("nothing", "");
        row("another type", QByteArray(good).replace("6d ", "6df "));
        row("no count", QByteArray(good).replace("6d 1 ", "6d "));
        row("fewer bodies than counted", QByteArray(good).replace("6d 1 ", "6d 2 "));
        row("more bodies than counted", QByteArray(good).replace("6d 1 ", "6d 0 "));
        row("a negative count", "6d -1 ");
        row("a bracket missing", good.left(good.lastIndexOf('[')));
        row("cut off", good.left(good.lastIndexOf('[') + 2));
        row("not closed", QByteArray(good).replace("]", ""));
        row("eight numbers", QByteArray(good).replace(" 1.000000] ", "] "));
        row("a word", QByteArray(good).replace("0.000 0.000 0.000]", "0.000 0.000 east]"));
        row("not finite", QByteArray(good).replace("1.000000] ", "nan] "));
        row("something between brackets", QByteArray(good).replace("][", "]x["));
    }

    void otherLinesAreRefused()
    {
        QFETCH(QByteArray, line);
        QVector<BodyReport> reports(7);
        QVERIFY(!parseBodyLine(line, &reports));
        QCOMPARE(reports.size(), 7);
        BodyReports watched;
        QCOMPARE(watched.receiveLine("6d", line.constData()), -1);
        QCOMPARE(watched.lineCount(), 0);
    }

    void theControllersLinesAreUnderstood()
    {
        ControllerState state(Scenario::builtIn(), 1);
        QVector<BodyReport> reports;
        QVERIFY(parseBodyLine(DataLineWriter::bodyLine(state, 0), &reports));
        QCOMPARE(reports.size(), state.bodyCount("standard"));
        const ControllerState::TrackedBody body = state.trackedBody("standard", 1, 0);
        for (size_t i = 0; i < 9; ++i)
            QVERIFY(std::abs(reports[0].rotation[i] - body.pose.rotation[i]) < 1e-6);
    }

    void anglesBetweenRotations_data()
    {
        QTest::addColumn<double>("angleDeg");
        for (const double angle : {0.0, 0.001, 1.0, 90.0, 179.0, 180.0})
            QTest::newRow(qPrintable(QString::number(angle))) << angle;
    }

    void anglesBetweenRotations()
    {
        QFETCH(double, angleDeg);
        const Eigen::Vector3d axis(1.0, -2.0, 0.5);
        const double found = angleBetweenDeg(turned(20.0, axis), turned(20.0 + angleDeg, axis));
        QVERIFY2(std::abs(found - angleDeg) < 1e-5, qPrintable(QString::number(found, 'g', 12)));
    }

    void aBodyStandsStillWhenEnoughLinesSaySo()
    {
        BodyReports reports;
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust - 1);
        QVERIFY(!reports.standsStill(1));
        feed(&reports, lineOf(kStraight));
        QVERIFY(reports.standsStill(1));
        QVERIFY(!reports.turns(1));
        QVERIFY(!reports.standsStill(2));
        QCOMPARE(reports.lineCount(), BodyReports::kLinesToTrust);
        reports.forget();
        QVERIFY(!reports.standsStill(1));
        QCOMPARE(reports.lineCount(), 0);
    }

    void theLastDigitMayFlicker()
    {
        BodyReports reports;
        Rotation other = kStraight;
        other[1] = 1e-6;
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust);
        feed(&reports, lineOf(other, 0.001));
        QVERIFY(reports.standsStill(1));
        other[1] = 2e-6;
        feed(&reports, lineOf(other));
        QVERIFY(!reports.standsStill(1));
    }

    void whatMovedOnceDoesNotStandStill()
    {
        BodyReports reports;
        feed(&reports, lineOf(kStraight, 0.002));
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust);
        QVERIFY(!reports.standsStill(1));
        // It moved, but did not turn.
        QVERIFY(!reports.turns(1));
    }

    void aBodyTurnsWhenItTurnedVisibly()
    {
        BodyReports reports;
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust);
        feed(&reports, lineOf(turned(1.9, Eigen::Vector3d::UnitZ())));
        QVERIFY(!reports.turns(1));
        QVERIFY(!reports.standsStill(1));
        feed(&reports, lineOf(turned(2.1, Eigen::Vector3d::UnitZ())));
        feed(&reports, lineOf(kStraight));
        QVERIFY(reports.turns(1));
    }

    void aBodyThatIsLostOnceCountsAsNeither()
    {
        BodyReports reports;
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust);
        feed(&reports, lineOf(Rotation{}, 0.0, "-1.000"));
        QVERIFY(!reports.standsStill(1));
        feed(&reports, lineOf(turned(10.0, Eigen::Vector3d::UnitZ())));
        QVERIFY(!reports.turns(1));
    }

    void aBodyIsJudgedAsSoonAsItIsClear()
    {
        BodyReports reports;
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust - 1);
        QVERIFY(!reports.isJudged(1));
        QVERIFY(!reports.isJudged(2));
        feed(&reports, lineOf(kStraight));
        QVERIFY(reports.isJudged(1));
        // Not in the lines at all.
        QVERIFY(reports.isJudged(2));
        // It has begun to move, perhaps to turn.
        feed(&reports, lineOf(turned(1.9, Eigen::Vector3d::UnitZ())));
        QVERIFY(!reports.isJudged(1));
        feed(&reports, lineOf(turned(2.1, Eigen::Vector3d::UnitZ())));
        QVERIFY(reports.isJudged(1));

        reports.forget();
        feed(&reports, lineOf(turned(1.0, Eigen::Vector3d::UnitZ())));
        feed(&reports, lineOf(kStraight), BodyReports::kLinesToTrust);
        QVERIFY(!reports.isJudged(1));
        feed(&reports, lineOf(Rotation{}, 0.0, "-1.000"));
        QVERIFY(reports.isJudged(1));
    }

    void theNewestRotationIsTold()
    {
        BodyReports reports;
        Rotation rotation{};
        QVERIFY(!reports.newestRotation(1, &rotation));
        const Rotation turn = turned(90.0, Eigen::Vector3d::UnitY());
        feed(&reports, lineOf(kStraight));
        feed(&reports, lineOf(turn));
        QVERIFY(reports.newestRotation(1, &rotation));
        QVERIFY(angleBetweenDeg(rotation, turn) < 1e-3);
        feed(&reports, lineOf(Rotation{}, 0.0, "-1.000"));
        QVERIFY(!reports.newestRotation(1, &rotation));
        feed(&reports, lineOf(turn));
        feed(&reports, "6d 0 ");
        QVERIFY(!reports.newestRotation(1, &rotation));
    }

    void aBodyIsAlignedAsFarAsTheDigitsGo_data()
    {
        QTest::addColumn<int>("element");
        QTest::addColumn<double>("value");
        QTest::addColumn<bool>("aligned");
        QTest::newRow("exactly") << 0 << 1.0 << true;
        QTest::newRow("one digit off") << 1 << 0.000001 << true;
        QTest::newRow("one digit off on the diagonal") << 4 << 0.999999 << true;
        QTest::newRow("two digits off") << 1 << 0.000002 << false;
        QTest::newRow("two digits off the other way") << 5 << -0.000002 << false;
        QTest::newRow("two digits off on the diagonal") << 8 << 0.999998 << false;
    }

    void aBodyIsAlignedAsFarAsTheDigitsGo()
    {
        QFETCH(int, element);
        QFETCH(double, value);
        QFETCH(bool, aligned);
        BodyReports reports;
        QVERIFY(!reports.isAlignedWithRoom(1));
        Rotation rotation = kStraight;
        rotation[static_cast<size_t>(element)] = value;
        feed(&reports, lineOf(rotation));
        QCOMPARE(reports.isAlignedWithRoom(1), aligned);
    }

    void linesMayComeOnAnotherThread()
    {
        BodyReports reports;
        std::thread sender([&reports] {
            for (int i = 0; i < 2000; ++i)
                reports.receiveLine("6d", lineOf(turned(i, Eigen::Vector3d::UnitX())).constData());
        });
        Rotation rotation{};
        while (reports.lineCount() < 2000)
            reports.newestRotation(1, &rotation);
        sender.join();
        QVERIFY(reports.newestRotation(1, &rotation));
        QVERIFY(angleBetweenDeg(rotation, turned(1999.0, Eigen::Vector3d::UnitX())) < 1e-3);
    }
};

QUOREL2_TEST_MAIN(BodyReportsTest)
#include "tst_BodyReports.moc"
