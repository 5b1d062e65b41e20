#include "TestScenario.h"

#include <controller/ControllerState.h>

#include <tests/support/TestMain.h>

#include <QtTest>

#include <Eigen/Geometry>

#include <limits>
#include <random>

namespace {

constexpr double kDegrees = 3.14159265358979323846 / 180.0;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

Eigen::Vector3d toEigen(const Vector3 &v)
{
    return {v.x, v.y, v.z};
}

Eigen::Matrix3d toEigen(const Matrix3 &m)
{
    return Eigen::Map<const Eigen::Matrix3d>(m.data());
}

Eigen::Isometry3d toEigen(const RigidTransform &transform)
{
    Eigen::Isometry3d result = Eigen::Isometry3d::Identity();
    result.linear() = toEigen(transform.rotation);
    result.translation() = toEigen(transform.translation);
    return result;
}

RigidTransform fromEigen(const Eigen::Isometry3d &transform)
{
    RigidTransform result;
    Eigen::Map<Eigen::Matrix3d>(result.rotation.data()) = transform.linear();
    result.translation = {transform.translation().x(), transform.translation().y(),
                          transform.translation().z()};
    return result;
}

Eigen::Isometry3d randomTransform(std::mt19937 *random)
{
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    const Eigen::Vector3d axis =
        Eigen::Vector3d(number(*random), number(*random), number(*random)).normalized();
    return Eigen::Translation3d(500 * number(*random), 500 * number(*random),
                                500 * number(*random)) *
           Eigen::AngleAxisd(180 * kDegrees * number(*random), axis);
}

/// As the transform command prints it: three decimals and eight.
RigidTransform printed(RigidTransform transform)
{
    const auto rounded = [](double value, double factor) {
        return std::round(value * factor) / factor;
    };
    transform.translation = {rounded(transform.translation.x, 1e3),
                             rounded(transform.translation.y, 1e3),
                             rounded(transform.translation.z, 1e3)};
    for (double &element : transform.rotation)
        element = rounded(element, 1e8);
    return transform;
}

bool isNear(const Eigen::Vector3d &a, const Eigen::Vector3d &b, double tolerance)
{
    return (a - b).norm() <= tolerance;
}

QVector<Eigen::Vector3d> markersInRoom(const ControllerState &state, int number, qint64 timeUs)
{
    const Eigen::Isometry3d pose = toEigen(state.trackedBody("standard", number, timeUs).pose);
    QVector<Eigen::Vector3d> markers;
    for (const ControllerMarker &marker : state.findBody("standard", number)->markers)
        markers.append(pose * toEigen(marker.position));
    return markers;
}

} // namespace

class tst_ControllerState : public QObject {
    Q_OBJECT

private slots:
    // --- definitions

    void transformMapsEveryMarkerAndTurnsTheEmissions()
    {
        std::mt19937 random(testSeed());
        ControllerState state(smallScenario(), 1);
        const QVector<ControllerMarker> before = state.findBody("standard", 1)->markers;
        const Eigen::Isometry3d change = randomTransform(&random);
        QVERIFY(state.transformBody("standard", 1, fromEigen(change)) == StateResult::Done);
        const QVector<ControllerMarker> after = state.findBody("standard", 1)->markers;
        QCOMPARE(after.size(), before.size());
        for (int i = 0; i < after.size(); ++i) {
            QVERIFY(isNear(toEigen(after[i].position), change * toEigen(before[i].position), 1e-9));
            QVERIFY(isNear(toEigen(after[i].emission.direction),
                           change.linear() * toEigen(before[i].emission.direction), 1e-12));
            QCOMPARE(after[i].emission.angleDeg, before[i].emission.angleDeg);
        }
    }

    void transformLeavesOtherBodiesAlone()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.transformBody("vimbar", 1, {kIdentity3, {5, 6, 7}}) == StateResult::Done);
        QCOMPARE(state.findMarker("standard", 1, 1)->position.x, 1.0);
        QCOMPARE(state.findMarker("vimbar", 1, 1)->position.x, 15.0);
        QCOMPARE(state.trackedBody("standard", 1, 0).pose.translation.x, 100.0);
    }

    void everyMarkerStaysWhereItIsInTheRoom()
    {
        std::mt19937 random(testSeed());
        ControllerState state(Scenario::builtIn(), 3);
        const ControllerState untouched(Scenario::builtIn(), 3);
        for (int round = 0; round < 20; ++round) {
            QVERIFY(
                state.transformBody("standard", 1, printed(fromEigen(randomTransform(&random)))) ==
                StateResult::Done);
            const qint64 timeUs = 123456 * round;
            const QVector<Eigen::Vector3d> wanted = markersInRoom(untouched, 1, timeUs);
            const QVector<Eigen::Vector3d> is = markersInRoom(state, 1, timeUs);
            for (int i = 0; i < is.size(); ++i)
                QVERIFY(isNear(is[i], wanted[i], 1e-3));
        }
    }

    void stillBodyWithAxesAlongTheRoomReportsTheIdentity()
    {
        ControllerState state(smallScenario(), 1);
        // Turned first, then aligned again by the rotation that it reports.
        const Matrix3 turn = rotationFromAngles({20, -30, 40});
        QVERIFY(state.transformBody("standard", 1, {turn, {}}) == StateResult::Done);
        const RigidTransform reported = state.trackedBody("standard", 1, 0).pose;
        QVERIFY(toEigen(reported.rotation).isApprox(toEigen(turn).transpose(), 1e-12));
        QVERIFY(state.transformBody("standard", 1, {reported.rotation, {}}) == StateResult::Done);
        const RigidTransform aligned = state.trackedBody("standard", 1, 0).pose;
        QVERIFY(toEigen(aligned.rotation).isIdentity(1e-12));
        QVERIFY(isNear(toEigen(aligned.translation), {100, 200, 300}, 1e-9));
    }

    void newOriginMovesTheReportedPosition()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.transformBody("standard", 1, {kIdentity3, {-1, -2, -3}}) ==
                StateResult::Done);
        const RigidTransform pose = state.trackedBody("standard", 1, 0).pose;
        QVERIFY(isNear(toEigen(pose.translation), {101, 202, 303}, 1e-12));
        QVERIFY(isNear(toEigen(state.findMarker("standard", 1, 1)->position), {0, 0, 0}, 1e-12));
    }

    void markersMovedOneByOneLeaveTheReportedPose()
    {
        ControllerState state(smallScenario(), 1);
        const RigidTransform before = state.trackedBody("standard", 1, 0).pose;
        for (int marker = 1; marker <= 3; ++marker) {
            const Vector3 position = state.findMarker("standard", 1, marker)->position;
            QVERIFY(state.setMarker("standard", 1, marker, position + Vector3{10, 20, 30}) ==
                    StateResult::Done);
        }
        const RigidTransform after = state.trackedBody("standard", 1, 0).pose;
        QVERIFY(after.rotation == before.rotation);
        QCOMPARE(after.translation.x, before.translation.x);
        QCOMPARE(after.translation.z, before.translation.z);
    }

    void transformAndItsInverseRestoreDefinitionAndPose()
    {
        std::mt19937 random(testSeed());
        ControllerState state(smallScenario(), 1);
        const Eigen::Isometry3d change = randomTransform(&random);
        QVERIFY(state.transformBody("standard", 1, fromEigen(change)) == StateResult::Done);
        QVERIFY(state.transformBody("standard", 1, fromEigen(change.inverse())) ==
                StateResult::Done);
        QVERIFY(isNear(toEigen(state.findMarker("standard", 1, 3)->position), {7, 8, 9}, 1e-9));
        const RigidTransform pose = state.trackedBody("standard", 1, 0).pose;
        QVERIFY(toEigen(pose.rotation).isIdentity(1e-12));
        QVERIFY(isNear(toEigen(pose.translation), {100, 200, 300}, 1e-9));
    }

    void reportedRotationStaysARotationAfterManyTransforms()
    {
        ControllerState state(smallScenario(), 1);
        RigidTransform step = printed({rotationFromAngles({33, 44, 55}), {}});
        step.rotation[0] += 5e-4; // as far off as is tolerated
        for (int i = 0; i < 500; ++i)
            QVERIFY(state.transformBody("vimbar", 1, step) == StateResult::Done);
        QVERIFY(isRotation(state.trackedBody("vimbar", 1, 0).pose.rotation, 1e-9));
    }

    void whatIsNoTransformIsRefusedAndChangesNothing_data()
    {
        QTest::addColumn<QVector<double>>("n");
        QTest::addColumn<int>("result");
        using V = QVector<double>;
        const int notARotation = static_cast<int>(StateResult::NotARotation);
        const int outOfRange = static_cast<int>(StateResult::OutOfRange);
        QTest::newRow("mirror") << V{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, -1} << notARotation;
        QTest::newRow("scale") << V{0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 2} << notARotation;
        QTest::newRow("zero") << V{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0} << notARotation;
        QTest::newRow("no number in the rotation")
            << V{0, 0, 0, 1, 0, 0, 0, kNan, 0, 0, 0, 1} << notARotation;
        QTest::newRow("no number in the translation")
            << V{0, kNan, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1} << outOfRange;
        QTest::newRow("translation too far")
            << V{0, 0, 1.1e6, 1, 0, 0, 0, 1, 0, 0, 0, 1} << outOfRange;
        QTest::newRow("marker too far") << V{1e6, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1} << outOfRange;
    }

    void whatIsNoTransformIsRefusedAndChangesNothing()
    {
        QFETCH(QVector<double>, n);
        QFETCH(int, result);
        ControllerState state(smallScenario(), 1);
        RigidTransform transform;
        transform.translation = {n[0], n[1], n[2]};
        std::copy(n.begin() + 3, n.end(), transform.rotation.begin());
        QCOMPARE(static_cast<int>(state.transformBody("standard", 1, transform)), result);
        QCOMPARE(state.findMarker("standard", 1, 1)->position.x, 1.0);
        QCOMPARE(state.findMarker("standard", 1, 3)->position.z, 9.0);
        QCOMPARE(state.trackedBody("standard", 1, 0).pose.translation.x, 100.0);
    }

    void definitionsChangeWhetherOrNotMeasurementRuns()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.startMeasurement() == StateResult::Done);
        QVERIFY(state.transformBody("standard", 1, {}) == StateResult::Done);
        QVERIFY(state.setMarkerCount("standard", 1, 3) == StateResult::Done);
        QVERIFY(state.setMarker("standard", 1, 1, {4, 5, 6}) == StateResult::Done);
        QVERIFY(state.setEmission("standard", 1, 1, {{0, 1, 0}, 10}) == StateResult::Done);
        QVERIFY(state.deleteMarker("standard", 1, 3) == StateResult::Done);
        QVERIFY(state.isMeasuring());
    }

    void lockedConfigurationRefusesEveryChangeOfADefinition()
    {
        ControllerState state(smallScenario(), 1);
        state.setConfigurationChangeable(false);
        QVERIFY(state.transformBody("standard", 1, {}) == StateResult::NotChangeable);
        QVERIFY(state.setMarkerCount("standard", 1, 9) == StateResult::NotChangeable);
        QVERIFY(state.setMarker("standard", 1, 1, {4, 5, 6}) == StateResult::NotChangeable);
        QVERIFY(state.setEmission("standard", 1, 1, {{0, 1, 0}, 10}) == StateResult::NotChangeable);
        QVERIFY(state.deleteMarker("standard", 1, 3) == StateResult::NotChangeable);
        QCOMPARE(state.findBody("standard", 1)->markers.size(), 3);
        QCOMPARE(state.findMarker("standard", 1, 1)->position.x, 1.0);
        state.setConfigurationChangeable(true);
        QVERIFY(state.deleteMarker("standard", 1, 3) == StateResult::Done);
    }

    void deletingAMarkerMovesThoseBehindItUp()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.deleteMarker("standard", 1, 2) == StateResult::Done);
        QCOMPARE(state.findBody("standard", 1)->markers.size(), 2);
        QCOMPARE(state.findMarker("standard", 1, 1)->position.x, 1.0);
        QCOMPARE(state.findMarker("standard", 1, 2)->position.x, 7.0);
        QCOMPARE(state.findMarker("standard", 1, 2)->emission.angleDeg, 12.5);
        QVERIFY(state.deleteMarker("standard", 1, 3) == StateResult::NoSuchMarker);
        QVERIFY(state.deleteMarker("standard", 1, 0) == StateResult::NoSuchMarker);
    }

    void growingTheListKeepsWhatIsThere()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.setMarkerCount("standard", 1, 5) == StateResult::Done);
        QCOMPARE(state.findMarker("standard", 1, 3)->position.x, 7.0);
        const ControllerMarker *added = state.findMarker("standard", 1, 5);
        QVERIFY(added);
        QCOMPARE(length(added->position), 0.0);
        QCOMPARE(length(added->emission.direction), 0.0);
        QCOMPARE(added->emission.angleDeg, 0.0);
    }

    void shrinkingTheListDropsFromTheEnd()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.setMarkerCount("standard", 1, 1) == StateResult::Done);
        QCOMPARE(state.findMarker("standard", 1, 1)->position.x, 1.0);
        QVERIFY(!state.findMarker("standard", 1, 2));
        // What was dropped is gone for good.
        QVERIFY(state.setMarkerCount("standard", 1, 2) == StateResult::Done);
        QCOMPARE(state.findMarker("standard", 1, 2)->position.z, 0.0);
    }

    void markerCountHasLimits()
    {
        ControllerState state(smallScenario(), 1);
        const int most = ControllerState::kMaximumMarkers;
        QVERIFY(state.setMarkerCount("standard", 1, most) == StateResult::Done);
        QVERIFY(state.setMarkerCount("standard", 1, most + 1) == StateResult::OutOfRange);
        QVERIFY(state.setMarkerCount("standard", 1, -1) == StateResult::OutOfRange);
        QCOMPARE(state.findBody("standard", 1)->markers.size(), most);
        QVERIFY(state.setMarkerCount("standard", 1, 0) == StateResult::Done);
    }

    void emissionsAreUnitDirectionsWithAnAngle_data()
    {
        QTest::addColumn<QVector<double>>("n");
        QTest::addColumn<bool>("accepted");
        using V = QVector<double>;
        QTest::newRow("along an axis") << V{0, -1, 0, 45} << true;
        QTest::newRow("rounded to three decimals") << V{0.577, 0.577, 0.577, 30} << true;
        QTest::newRow("unknown") << V{0, 0, 0, 0} << true;
        QTest::newRow("widest angle") << V{1, 0, 0, 180} << true;
        QTest::newRow("too long") << V{0, 0, 1.1, 45} << false;
        QTest::newRow("too short") << V{0, 0, 0.9, 45} << false;
        QTest::newRow("negative angle") << V{1, 0, 0, -1} << false;
        QTest::newRow("angle too wide") << V{1, 0, 0, 180.5} << false;
        QTest::newRow("no number as direction") << V{kNan, 0, 0, 45} << false;
        QTest::newRow("no number as angle") << V{1, 0, 0, kNan} << false;
    }

    void emissionsAreUnitDirectionsWithAnAngle()
    {
        QFETCH(QVector<double>, n);
        QFETCH(bool, accepted);
        ControllerState state(smallScenario(), 1);
        const StateResult result = state.setEmission("standard", 1, 2, {{n[0], n[1], n[2]}, n[3]});
        QVERIFY(result == (accepted ? StateResult::Done : StateResult::OutOfRange));
        if (accepted) {
            QCOMPARE(state.findMarker("standard", 1, 2)->emission.direction.x, n[0]);
            QCOMPARE(state.findMarker("standard", 1, 2)->emission.angleDeg, n[3]);
        } else {
            QCOMPARE(state.findMarker("standard", 1, 2)->emission.angleDeg, 0.0);
        }
    }

    void missingBodiesAndMarkersAreTold()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.transformBody("standard", 3, {}) == StateResult::NoSuchBody);
        QVERIFY(state.transformBody("standard", 0, {}) == StateResult::NoSuchBody);
        QVERIFY(state.transformBody("vimbar", 2, {}) == StateResult::NoSuchBody);
        QVERIFY(state.transformBody("nothing", 1, {}) == StateResult::NoSuchBody);
        QVERIFY(state.setMarkerCount("vimbar", -1, 3) == StateResult::NoSuchBody);
        QVERIFY(state.setMarker("standard", 9, 1, {}) == StateResult::NoSuchBody);
        QVERIFY(state.setMarker("standard", 1, 4, {}) == StateResult::NoSuchMarker);
        QVERIFY(state.setMarker("standard", 1, 0, {}) == StateResult::NoSuchMarker);
        QVERIFY(state.setEmission("standard", 1, 4, {}) == StateResult::NoSuchMarker);
        QVERIFY(!state.findBody("standard", 0));
        QVERIFY(!state.findMarker("standard", 1, 0));
        QVERIFY(!state.trackedBody("standard", 7, 0).tracked);
    }

    void typesAreFoundInAnyCase()
    {
        const ControllerState state(smallScenario(), 1);
        QCOMPARE(state.bodyCount("Standard"), 2);
        QCOMPARE(state.findType("VIMBAR")->keyword, QByteArray("vimbar"));
        QVERIFY(!state.findType("vim"));
    }

    // --- where the bodies are

    void sameSeedGivesTheSameMotion()
    {
        const ControllerState first(Scenario::builtIn(), 42);
        const ControllerState second(Scenario::builtIn(), 42);
        const ControllerState other(Scenario::builtIn(), 43);
        bool differs = false;
        for (qint64 timeUs = 0; timeUs < 20000000; timeUs += 333333) {
            const RigidTransform a = first.trackedBody("standard", 2, timeUs).pose;
            const RigidTransform b = second.trackedBody("standard", 2, timeUs).pose;
            QVERIFY(a.rotation == b.rotation);
            QVERIFY(toEigen(a.translation) == toEigen(b.translation));
            differs =
                differs || other.trackedBody("standard", 2, timeUs).pose.rotation != a.rotation;
        }
        QVERIFY(differs);
    }

    void bodiesMoveEachInItsOwnWay()
    {
        const ControllerState state(Scenario::builtIn(), 1);
        const auto offset = [&state](int number, qint64 timeUs) -> Eigen::Vector3d {
            return toEigen(state.trackedBody("standard", number, timeUs).pose.translation) -
                   toEigen(state.trackedBody("standard", number, 0).pose.translation);
        };
        QVERIFY(offset(1, 2000000).norm() > 1.0);
        QVERIFY((offset(1, 2000000) - offset(2, 2000000)).norm() > 1.0);
    }

    void motionIsSmooth()
    {
        const ControllerState state(Scenario::builtIn(), testSeed());
        const qint64 frameUs = 1000000 / 60;
        for (int number : {1, 2, 3, 5}) {
            Eigen::Isometry3d last = toEigen(state.trackedBody("standard", number, 0).pose);
            double travelled = 0.0;
            for (int frame = 1; frame < 600; ++frame) {
                const Eigen::Isometry3d next =
                    toEigen(state.trackedBody("standard", number, frame * frameUs).pose);
                const double step = (next.translation() - last.translation()).norm();
                const double turn =
                    Eigen::AngleAxisd(last.linear().transpose() * next.linear()).angle();
                QVERIFY(step < 15.0);
                QVERIFY(turn < 2.5 * kDegrees);
                travelled += step;
                last = next;
            }
            QVERIFY(travelled > 50.0);
        }
    }

    void posesAreRotations()
    {
        const ControllerState state(Scenario::builtIn(), testSeed());
        for (qint64 timeUs = 0; timeUs < 5000000; timeUs += 100000)
            QVERIFY(isRotation(state.trackedBody("vimbar", 1, timeUs).pose.rotation, 1e-12));
    }

    void stillBodyStaysWhereItWasPut()
    {
        const ControllerState state(smallScenario(), 1);
        for (qint64 timeUs : {0LL, 1000000LL, 3600000000LL}) {
            const ControllerState::TrackedBody body = state.trackedBody("vimbar", 1, timeUs);
            QVERIFY(body.tracked);
            QVERIFY(isNear(toEigen(body.pose.translation), {-1, -2, -3}, 0.0));
            QVERIFY(isNear(toEigen(body.pose.rotation) * Eigen::Vector3d::UnitY(),
                           Eigen::Vector3d::UnitZ(), 1e-12));
        }
    }

    void bodiesThatCannotBeTrackedAreNot()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.trackedBody("standard", 1, 0).tracked);
        QVERIFY(!state.trackedBody("standard", 2, 0).tracked); // not calibrated
        QVERIFY(state.setMotion("standard", 1, Motion::Lost) == StateResult::Done);
        QVERIFY(!state.trackedBody("standard", 1, 0).tracked);
        QVERIFY(state.setMarkerCount("vimbar", 1, 0) == StateResult::Done);
        QVERIFY(!state.trackedBody("vimbar", 1, 0).tracked);
        QVERIFY(state.setMotion("vimbar", 2, Motion::Lost) == StateResult::NoSuchBody);
    }

    void blinkingBodyIsLostAgainAndAgain()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.setMotion("standard", 1, Motion::Blinking) == StateResult::Done);
        int changes = 0;
        int tracked = 0;
        bool last = state.trackedBody("standard", 1, 0).tracked;
        for (int i = 0; i < 2000; ++i) { // 20 s
            const bool now = state.trackedBody("standard", 1, 10000LL * i).tracked;
            changes += now != last;
            tracked += now;
            last = now;
        }
        QCOMPARE(changes, 10);
        QCOMPARE(tracked, 1500);
    }

    // --- settings

    void measurementNeedsTracking()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(!state.isMeasuring());
        QVERIFY(state.startMeasurement() == StateResult::Done);
        QVERIFY(state.startMeasurement() == StateResult::Done);
        QVERIFY(state.isMeasuring());
        state.setTrackingAvailable(false);
        QVERIFY(!state.isMeasuring());
        QVERIFY(state.startMeasurement() == StateResult::NotAvailable);
        QVERIFY(state.stopMeasurement() == StateResult::NotAvailable);
        state.setTrackingAvailable(true);
        QVERIFY(!state.isMeasuring());
        QVERIFY(state.startMeasurement() == StateResult::Done);
        QVERIFY(state.stopMeasurement() == StateResult::Done);
        QVERIFY(!state.isMeasuring());
    }

    void multiUserWithHeadGoesOnlyWithMultiUser()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.setMultiUserWithHead(true) == StateResult::NotAvailable);
        QVERIFY(state.setMultiUserWithHead(false) == StateResult::Done);
        QVERIFY(state.setMultiUser(true) == StateResult::Done);
        QVERIFY(!state.isMultiUserWithHead());
        QVERIFY(state.setMultiUserWithHead(true) == StateResult::Done);
        QVERIFY(state.setMultiUser(true) == StateResult::Done);
        QVERIFY(state.isMultiUserWithHead());
        QVERIFY(state.setMultiUser(false) == StateResult::Done);
        QVERIFY(!state.isMultiUser());
        QVERIFY(!state.isMultiUserWithHead());
    }

    void unavailableMultiUserCannotBeSwitchedOn()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("multi-user-unavailable"));
        ControllerState state(scenario, 1);
        QVERIFY(!state.isMultiUserAvailable());
        QVERIFY(state.setMultiUser(true) == StateResult::NotAvailable);
        QVERIFY(state.setMultiUser(false) == StateResult::Done);
    }

    void referenceIsABodyOrWhatTheScenarioSaid()
    {
        Scenario scenario = smallScenario();
        scenario.reference = "room";
        ControllerState state(scenario, 1);
        QCOMPARE(state.reference(), QByteArray("room"));
        QVERIFY(state.setReference("none") == StateResult::Done);
        QCOMPARE(state.reference(), QByteArray("none"));
        QVERIFY(state.setReference("room") == StateResult::Done);
        QVERIFY(state.setReference("standard b02") == StateResult::Done);
        QCOMPARE(state.reference(), QByteArray("standard b02"));
        for (const char *wrong : {"standard b03", "standard b00", "standard", "standard 02",
                                  "floor", "standard b02 x", "", "standard bx", "standard b+1",
                                  "standard b1", "standard b 1", "standard b0000000002"})
            QVERIFY2(state.setReference(wrong) == StateResult::NoSuchBody, wrong);
        QCOMPARE(state.reference(), QByteArray("standard b02"));
    }

    void outputsAreSwitchedOneByOne()
    {
        ControllerState state(smallScenario(), 1);
        QVERIFY(state.isOutputActive("6d"));
        QVERIFY(!state.isOutputActive("6df2"));
        QVERIFY(state.setOutputActive("chmon", "6df2", true) == StateResult::Done);
        QVERIFY(state.setOutputActive("chmon", "6df2", true) == StateResult::Done);
        QVERIFY(state.isOutputActive("6df2"));
        QVERIFY(!state.isOutputActive("6df"));
        QVERIFY(state.setOutputActive("chmon", "6df2", false) == StateResult::Done);
        QVERIFY(!state.isOutputActive("6df2"));
        QVERIFY(state.setOutputActive("chmon", "3d", true) == StateResult::OutOfRange);
        QVERIFY(state.setOutputActive("ch01", "6d", false) == StateResult::OutOfRange);
        QVERIFY(state.isOutputActive("6d"));
    }
};

QUOREL2_TEST_MAIN(tst_ControllerState)
#include "tst_ControllerState.moc"
