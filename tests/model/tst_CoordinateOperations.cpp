#include "GeometryOracle.h"

#include <model/CoordinateOperations.h>
#include <model/bsPose.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <algorithm>
#include <limits>

using namespace CoordinateOperations;

Q_DECLARE_METATYPE(abcAxis)
Q_DECLARE_METATYPE(bsVector)

class tst_CoordinateOperations : public QObject {
    Q_OBJECT

private slots:
    void axesAreColumnIndices();
    void pendingPoseReachesItsTarget();
    void pendingOrientationIsNormalized();
    void pendingOrientationReachesHalfTurns();
    void pendingPositionOnAFreshBodyIsTheTarget();
    void axisFrameOfExactAxes_data();
    void axisFrameOfExactAxes();
    void axisFrameOnAnyBase_data();
    void axisFrameOnAnyBase();
    void oppositeDirectionReversesTheSetAxis();
    void degenerateAxisFrameHasZeroColumns_data();
    void degenerateAxisFrameHasZeroColumns();
    void frameOfOneColumnTurnsItsAxisByTheShortestWay();
    void oppositeAxisIsAHalfTurn_data();
    void oppositeAxisIsAHalfTurn();
    void frameOfZerosIsTheStoredFrame();
    void equalAxesGiveTheIdentity();
    void threePointFrameOfExactPoints();
    void threePointFrameAgreesWithEigen();
    void collinearPointsGiveAZeroNormal();
    void tripleOfExactMarkers_data();
    void tripleOfExactMarkers();
    void noTripleWithoutAShorterNeighbour_data();
    void noTripleWithoutAShorterNeighbour();
    void tripleAgreesWithSortedPairs();
    void transformNumbersAreTranslationThenColumns();
    void transformNumbersPassThroughAPose();
    void transformNumbersAreOrthonormal();
    void transformNumbersKeepHalfTurns();
    void transformNumbersKeepWhatIsNearHalfATurn();
    void transformNumbersAgreeWithEigen();
};

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();

bsMatrix withRotation(const Eigen::Matrix3d &block)
{
    return Oracle::matrix(Oracle::rigid(block, Eigen::Vector3d::Zero()));
}

bool areEqual(const std::optional<MarkerTriple> &triple, int origin, int far, int third)
{
    return triple && triple->origin == origin && triple->far == far && triple->third == third;
}

QByteArray describe(const std::optional<MarkerTriple> &triple)
{
    if (!triple)
        return "none";
    return QStringLiteral("%1 %2 %3")
        .arg(triple->origin)
        .arg(triple->far)
        .arg(triple->third)
        .toUtf8();
}

struct GridPoint {
    int x;
    int y;
    int z;
};

/// The same search by sorting. Whole coordinates make every squared distance, and with it every
/// tie, exact.
std::optional<MarkerTriple> sortedTriple(const std::vector<GridPoint> &points)
{
    struct Pair {
        int first;
        int second;
        long long squared;
        bool touches(int index) const { return first == index || second == index; }
    };
    std::vector<Pair> pairs;
    const int count = static_cast<int>(points.size());
    for (int i = 0; i < count; ++i) {
        for (int j = i + 1; j < count; ++j) {
            const long long dx = points[i].x - points[j].x;
            const long long dy = points[i].y - points[j].y;
            const long long dz = points[i].z - points[j].z;
            pairs.push_back({i, j, dx * dx + dy * dy + dz * dz});
        }
    }
    if (count < 3)
        return std::nullopt;
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const Pair &a, const Pair &b) { return a.squared < b.squared; });
    // Of the longest ones the first in visiting order.
    const long long longestSquared = pairs.back().squared;
    const Pair longest = *std::find_if(pairs.begin(), pairs.end(), [=](const Pair &pair) {
        return pair.squared == longestSquared;
    });
    const auto shortest = std::find_if(pairs.begin(), pairs.end(), [&](const Pair &pair) {
        return pair.touches(longest.first) || pair.touches(longest.second);
    });
    if (shortest->squared == longestSquared)
        return std::nullopt;
    const bool originIsFirst = shortest->touches(longest.first);
    const int origin = originIsFirst ? longest.first : longest.second;
    return MarkerTriple{origin, longest.first + longest.second - origin,
                        shortest->first + shortest->second - origin};
}

QVector<bsVector> positions(const std::vector<GridPoint> &points)
{
    QVector<bsVector> result;
    for (const GridPoint &point : points)
        result.append(bsVector(point.x, point.y, point.z));
    return result;
}

} // namespace

void tst_CoordinateOperations::axesAreColumnIndices()
{
    QCOMPARE(static_cast<int>(X), 0);
    QCOMPARE(static_cast<int>(Y), 1);
    QCOMPARE(static_cast<int>(Z), 2);
}

void tst_CoordinateOperations::pendingPoseReachesItsTarget()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 2000; ++round) {
        const bsMatrix base = Oracle::matrix(random.rigid(1000.0));
        const Eigen::Matrix4d target = random.rigid(1000.0);
        bsPose pending;
        pending.position = pendingPosition(base, Oracle::vector(Oracle::translation(target)));
        pending.orientation = pendingOrientation(base, Oracle::matrix(target));
        const Eigen::Matrix4d reached = Oracle::matrix(base) * Oracle::matrix(pending.toMatrix());
        QVERIFY(Oracle::translation(reached - target).norm() < 1e-9);
        QVERIFY(Oracle::rotation(reached - target).norm() < 1e-9);
    }
}

void tst_CoordinateOperations::pendingOrientationIsNormalized()
{
    const bsMatrix stretched = withRotation(Eigen::Vector3d(2.0, 2.0, 2.0).asDiagonal());
    const bsQuaternion q = pendingOrientation(bsMatrix::identity(), stretched);
    QCOMPARE(q.x, 0.0);
    QCOMPARE(q.y, 0.0);
    QCOMPARE(q.z, 0.0);
    QCOMPARE(q.w, 1.0);
}

void tst_CoordinateOperations::pendingOrientationReachesHalfTurns()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 3000; ++round) {
        const Eigen::Matrix3d half = Oracle::turn(180.0, random.vector(1.0));
        const Eigen::Matrix3d other =
            Oracle::turn(random.number(-170.0, 170.0), random.vector(1.0));
        for (const auto &[base, target] : {std::pair(half, other), std::pair(other, half)}) {
            const bsQuaternion q = pendingOrientation(withRotation(base), withRotation(target));
            QVERIFY((base * Oracle::rotation(q.toMatrix()) - target).norm() < 1e-9);
        }
    }
}

void tst_CoordinateOperations::pendingPositionOnAFreshBodyIsTheTarget()
{
    const bsVector v = pendingPosition(bsMatrix::identity(), bsVector(10.0, 20.0, 30.0));
    QCOMPARE(v.x, 10.0);
    QCOMPARE(v.y, 20.0);
    QCOMPARE(v.z, 30.0);
}

void tst_CoordinateOperations::axisFrameOfExactAxes_data()
{
    QTest::addColumn<abcAxis>("axisToSet");
    QTest::addColumn<abcAxis>("axisToKeep");
    QTest::addColumn<QVector<double>>("columns");

    // Markers at (0, 0, 0) and (0, 10, 0) on a fresh body.
    QTest::newRow("X along y, Z kept") << X << Z << QVector<double>{0, 1, 0, -1, 0, 0, 0, 0, 1};
    QTest::newRow("Y along y, X kept") << Y << X << QVector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1};
    QTest::newRow("Y along y, Z kept") << Y << Z << QVector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1};
    QTest::newRow("Z along y, X kept") << Z << X << QVector<double>{1, 0, 0, 0, 0, -1, 0, 1, 0};
}

void tst_CoordinateOperations::axisFrameOfExactAxes()
{
    QFETCH(abcAxis, axisToSet);
    QFETCH(abcAxis, axisToKeep);
    QFETCH(QVector<double>, columns);
    const bsMatrix frame = axisFrame(
        bsVector(0.0, 10.0, 0.0), bsMatrix::identity().column(axisToKeep), axisToSet, axisToKeep);
    for (int column = 0; column < 3; ++column) {
        for (int row = 0; row < 3; ++row)
            QCOMPARE(frame.element(row, column), columns[3 * column + row]);
        QCOMPARE(frame.element(3, column), 0.0);
        QCOMPARE(frame.element(column, 3), 0.0);
    }
    QCOMPARE(frame.element(3, 3), 1.0);
}

void tst_CoordinateOperations::axisFrameOnAnyBase_data()
{
    QTest::addColumn<abcAxis>("axisToSet");
    QTest::addColumn<abcAxis>("axisToKeep");
    QTest::newRow("X set, Y kept") << X << Y;
    QTest::newRow("X set, Z kept") << X << Z;
    QTest::newRow("Y set, X kept") << Y << X;
    QTest::newRow("Y set, Z kept") << Y << Z;
    QTest::newRow("Z set, X kept") << Z << X;
    QTest::newRow("Z set, Y kept") << Z << Y;
}

void tst_CoordinateOperations::axisFrameOnAnyBase()
{
    QFETCH(abcAxis, axisToSet);
    QFETCH(abcAxis, axisToKeep);
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const bsMatrix base = Oracle::matrix(random.rigid(1000.0));
        const Eigen::Vector3d direction = random.vector(300.0);
        const Eigen::Vector3d keptBefore = Oracle::vector(base.column(axisToKeep));
        if (direction.normalized().cross(keptBefore).norm() < 1e-3)
            continue;

        const bsMatrix frame =
            axisFrame(Oracle::vector(direction), base.column(axisToKeep), axisToSet, axisToKeep);
        // Set: along the markers. Kept: what the plane across them leaves of it. Third: the one
        // that makes the frame right-handed.
        const Eigen::Vector3d set = direction.normalized();
        const Eigen::Vector3d kept = (keptBefore - set * set.dot(keptBefore)).normalized();
        QVERIFY(Oracle::distance(frame.column(axisToSet), set) < 1e-12);
        QVERIFY(Oracle::distance(frame.column(axisToKeep), kept) < 1e-12);
        QVERIFY(Oracle::rotationError(frame) < 1e-12);
        QCOMPARE(frame.column(3).length(), 0.0);
        QCOMPARE(frame.element(3, 3), 1.0);

        const bsQuaternion q = pendingOrientation(base, frame);
        const Eigen::Matrix3d reached = Oracle::rotation(base) * Oracle::rotation(q.toMatrix());
        QVERIFY((reached - Oracle::rotation(frame)).norm() < 1e-9);
    }
}

void tst_CoordinateOperations::oppositeDirectionReversesTheSetAxis()
{
    const bsVector direction(3.0, -4.0, 12.0);
    for (abcAxis axisToSet : {X, Y, Z}) {
        const abcAxis axisToKeep = axisToSet == X ? Z : X;
        const bsVector kept = bsMatrix::identity().column(axisToKeep);
        const bsMatrix frame = axisFrame(direction, kept, axisToSet, axisToKeep);
        const bsMatrix reversed = axisFrame(-direction, kept, axisToSet, axisToKeep);
        QVERIFY(Oracle::distance(reversed.column(axisToSet),
                                 -Oracle::vector(frame.column(axisToSet))) < 1e-15);
        QVERIFY(Oracle::distance(reversed.column(axisToKeep),
                                 Oracle::vector(frame.column(axisToKeep))) < 1e-15);
        QVERIFY(Oracle::rotationError(reversed) < 1e-14);
    }
}

void tst_CoordinateOperations::degenerateAxisFrameHasZeroColumns_data()
{
    QTest::addColumn<bsVector>("direction");
    QTest::addColumn<abcAxis>("axisToSet");
    QTest::addColumn<abcAxis>("axisToKeep");
    QTest::addColumn<double>("setLength");

    QTest::newRow("coincident markers") << bsVector() << X << Z << 0.0;
    QTest::newRow("coincident markers, cyclic pair") << bsVector() << X << Y << 0.0;
    QTest::newRow("kept axis parallel") << bsVector(0.0, 10.0, 0.0) << X << Y << 1.0;
    QTest::newRow("kept axis opposite") << bsVector(0.0, 0.0, -10.0) << Y << Z << 1.0;
}

void tst_CoordinateOperations::degenerateAxisFrameHasZeroColumns()
{
    QFETCH(bsVector, direction);
    QFETCH(abcAxis, axisToSet);
    QFETCH(abcAxis, axisToKeep);
    QFETCH(double, setLength);
    const bsMatrix frame =
        axisFrame(direction, bsMatrix::identity().column(axisToKeep), axisToSet, axisToKeep);
    QCOMPARE(frame.column(axisToSet).length(), setLength);
    QCOMPARE(frame.column(axisToKeep).length(), 0.0);
    QCOMPARE(frame.column(3 - axisToSet - axisToKeep).length(), 0.0);
    QCOMPARE(frame.element(3, 3), 1.0);
}

void tst_CoordinateOperations::frameOfOneColumnTurnsItsAxisByTheShortestWay()
{
    // Of a matrix whose only column that is not zero is a, in place i, the quaternion is
    // s (e_i x a, 1 + a_i).
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Matrix4d baseWanted = random.rigid(1000.0);
        const bsMatrix base = Oracle::matrix(baseWanted);
        const auto check = [&](const bsMatrix &frame, int axis, const Eigen::Vector3d &direction) {
            const Eigen::Vector3d unit = Eigen::Vector3d::Unit(axis);
            if (unit.dot(direction) < -0.999)
                return;
            const Eigen::Matrix3d wanted = Eigen::AngleAxisd(std::acos(unit.dot(direction)),
                                                             unit.cross(direction).normalized())
                                               .toRotationMatrix();
            const bsQuaternion q = pendingOrientation(base, frame);
            const Eigen::Matrix3d reached =
                Oracle::rotation(baseWanted) * Oracle::rotation(q.toMatrix());
            QVERIFY((reached - wanted).cwiseAbs().maxCoeff() < 1e-9);
            QVERIFY((reached * unit - direction).norm() < 1e-9);
        };
        for (abcAxis axisToSet : {X, Y, Z}) {
            for (abcAxis axisToKeep : {X, Y, Z}) {
                if (axisToSet == axisToKeep)
                    continue;
                const bsVector kept = base.column(axisToKeep);
                for (const bsVector &direction : {kept, -kept})
                    check(axisFrame(direction, kept, axisToSet, axisToKeep), axisToSet,
                          Oracle::vector(direction));
            }
        }
        const Eigen::Vector3d anywhere = random.vector(100.0);
        check(threePointFrame(Oracle::vector(anywhere),
                              Oracle::vector(Eigen::Vector3d(anywhere * 3.0)),
                              Oracle::vector(Eigen::Vector3d(anywhere * -2.0))),
              X, anywhere.normalized());
        if (QTest::currentTestFailed())
            return;
    }
}

void tst_CoordinateOperations::oppositeAxisIsAHalfTurn_data()
{
    QTest::addColumn<abcAxis>("axisToSet");
    QTest::addColumn<abcAxis>("axisToKeep");
    QTest::addColumn<QVector<double>>("base");
    QTest::addColumn<QVector<double>>("expected");
    // The set axis is to point against itself, where the kept axis, as committed, already points.
    // The trace plus one is 0, and of the two zeros on the diagonal the last one is taken.
    using Numbers = QVector<double>;
    const Numbers aboutY = {-1, 0, 0, 0, 1, 0, 0, 0, -1};
    const Numbers aboutZ = {-1, 0, 0, 0, -1, 0, 0, 0, 1};
    QTest::newRow("X, Y kept") << X << Y << Numbers{0, 1, 0, -1, 0, 0, 0, 0, 1} << aboutZ;
    QTest::newRow("X, Z kept") << X << Z << Numbers{0, 0, 1, 0, 1, 0, -1, 0, 0} << aboutZ;
    QTest::newRow("Y, X kept") << Y << X << Numbers{0, -1, 0, 1, 0, 0, 0, 0, 1} << aboutZ;
    QTest::newRow("Y, Z kept") << Y << Z << Numbers{1, 0, 0, 0, 0, 1, 0, -1, 0} << aboutZ;
    QTest::newRow("Z, X kept") << Z << X << Numbers{0, 0, -1, 0, 1, 0, 1, 0, 0} << aboutY;
    QTest::newRow("Z, Y kept") << Z << Y << Numbers{1, 0, 0, 0, 0, -1, 0, 1, 0} << aboutY;
}

void tst_CoordinateOperations::oppositeAxisIsAHalfTurn()
{
    QFETCH(abcAxis, axisToSet);
    QFETCH(abcAxis, axisToKeep);
    QFETCH(QVector<double>, base);
    QFETCH(QVector<double>, expected);
    const bsMatrix baseMatrix = withRotation(Eigen::Map<const Eigen::Matrix3d>(base.constData()));
    bsVector direction;
    (axisToSet == X ? direction.x : axisToSet == Y ? direction.y : direction.z) = -10.0;
    const bsMatrix frame =
        axisFrame(direction, baseMatrix.column(axisToKeep), axisToSet, axisToKeep);
    QCOMPARE(frame.column(axisToKeep).length(), 0.0);
    const bsQuaternion q = pendingOrientation(baseMatrix, frame);
    const Eigen::Matrix3d reached = Oracle::rotation(baseMatrix) * Oracle::rotation(q.toMatrix());
    const Eigen::Matrix3d wanted = Eigen::Map<const Eigen::Matrix3d>(expected.constData());
    QVERIFY((reached - wanted).cwiseAbs().maxCoeff() < 1e-9);
}

void tst_CoordinateOperations::frameOfZerosIsTheStoredFrame()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const bsMatrix base = Oracle::matrix(random.rigid(1000.0));
        const bsVector point = Oracle::vector(random.vector(100.0));
        const auto isStoredFrame = [&](const bsMatrix &frame) {
            const bsQuaternion q = pendingOrientation(base, frame);
            const Eigen::Matrix3d reached = Oracle::rotation(base) * Oracle::rotation(q.toMatrix());
            return (reached - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff() < 1e-9;
        };
        for (abcAxis axisToSet : {X, Y, Z}) {
            for (abcAxis axisToKeep : {X, Y, Z}) {
                if (axisToSet != axisToKeep)
                    QVERIFY(isStoredFrame(
                        axisFrame(bsVector(), base.column(axisToKeep), axisToSet, axisToKeep)));
            }
        }
        QVERIFY(isStoredFrame(threePointFrame(point, point, point)));
    }
}

void tst_CoordinateOperations::equalAxesGiveTheIdentity()
{
    for (abcAxis axis : {X, Y, Z}) {
        const bsMatrix frame =
            axisFrame(bsVector(1.0, 2.0, 3.0), bsVector(0.0, 1.0, 0.0), axis, axis);
        QVERIFY(!differs(frame, bsMatrix::identity()));
    }
}

void tst_CoordinateOperations::threePointFrameOfExactPoints()
{
    // X points down along z, the third point lies towards -y.
    const bsMatrix frame = threePointFrame(bsVector(1.0, 2.0, 3.0), bsVector(1.0, 2.0, -7.0),
                                           bsVector(1.0, -4.0, 1.0));
    Eigen::Matrix4d expected;
    expected << 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1;
    QCOMPARE(Oracle::distance(frame, expected), 0.0);
}

void tst_CoordinateOperations::threePointFrameAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 2000; ++round) {
        const Eigen::Vector3d origin = random.vector(500.0);
        const Eigen::Vector3d far = random.vector(500.0);
        const Eigen::Vector3d third = random.vector(500.0);
        const Eigen::Vector3d x = (far - origin).normalized();
        const Eigen::Vector3d side = third - origin;
        if (x.cross(side.normalized()).norm() < 1e-3)
            continue;
        const Eigen::Vector3d y = (side - x * x.dot(side)).normalized();
        const bsMatrix frame =
            threePointFrame(Oracle::vector(origin), Oracle::vector(far), Oracle::vector(third));
        QVERIFY(Oracle::distance(frame.column(X), x) < 1e-12);
        QVERIFY(Oracle::distance(frame.column(Y), y) < 1e-11);
        QVERIFY(Oracle::rotationError(frame) < 1e-12);
        QCOMPARE(frame.column(3).length(), 0.0);
        QCOMPARE(frame.element(3, 3), 1.0);
    }
}

void tst_CoordinateOperations::collinearPointsGiveAZeroNormal()
{
    const bsMatrix frame =
        threePointFrame(bsVector(), bsVector(10.0, 0.0, 0.0), bsVector(5.0, 0.0, 0.0));
    QCOMPARE(frame.column(X).x, 1.0);
    QCOMPARE(frame.column(Y).length(), 0.0);
    QCOMPARE(frame.column(Z).length(), 0.0);
}

void tst_CoordinateOperations::tripleOfExactMarkers_data()
{
    QTest::addColumn<QVector<bsVector>>("markers");
    QTest::addColumn<QVector<int>>("expected");

    QTest::newRow("the pairs share their second markers")
        << QVector<bsVector>{{0, 0, 0}, {100, 0, 0}, {0, 30, 0}} << QVector<int>{2, 1, 0};
    QTest::newRow("the pairs share their first markers")
        << QVector<bsVector>{{0, 0, 0}, {100, 0, 0}, {20, 10, 0}} << QVector<int>{0, 1, 2};
    QTest::newRow("the longest pair begins where the shortest ends")
        << QVector<bsVector>{{10, 5, 0}, {0, 0, 0}, {100, 0, 0}} << QVector<int>{1, 2, 0};
    QTest::newRow("the longest pair ends where the shortest begins")
        << QVector<bsVector>{{0, 0, 0}, {100, 0, 0}, {90, 10, 0}} << QVector<int>{1, 0, 2};
    // A square: the two diagonals are equally long, the first one visited is 0 to 2; all four
    // sides are equally short, the first one visited is 0 to 1.
    QTest::newRow("ties go to the pair visited first")
        << QVector<bsVector>{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}}
        << QVector<int>{0, 2, 1};
    // The shortest distance of all, 2 to 3, does not touch the longest.
    QTest::newRow("a short pair away from the longest does not count")
        << QVector<bsVector>{{0, 0, 0}, {100, 0, 0}, {50, 30, 0}, {51, 31, 0}}
        << QVector<int>{1, 0, 3};
    QTest::newRow("two markers at one place")
        << QVector<bsVector>{{0, 0, 0}, {100, 0, 0}, {100, 0, 0}} << QVector<int>{1, 0, 2};
}

void tst_CoordinateOperations::tripleOfExactMarkers()
{
    QFETCH(QVector<bsVector>, markers);
    QFETCH(QVector<int>, expected);
    const std::optional<MarkerTriple> triple = findTriple(markers);
    QVERIFY2(areEqual(triple, expected[0], expected[1], expected[2]), describe(triple));
}

void tst_CoordinateOperations::noTripleWithoutAShorterNeighbour_data()
{
    QTest::addColumn<QVector<bsVector>>("markers");
    QTest::newRow("no marker") << QVector<bsVector>();
    QTest::newRow("one marker") << QVector<bsVector>{{1, 2, 3}};
    QTest::newRow("two markers") << QVector<bsVector>{{0, 0, 0}, {1, 2, 3}};
    QTest::newRow("an equilateral triangle")
        << QVector<bsVector>{{10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
    QTest::newRow("a regular tetrahedron")
        << QVector<bsVector>{{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}};
    QTest::newRow("all at one place") << QVector<bsVector>{{5, 5, 5}, {5, 5, 5}, {5, 5, 5}};
    QTest::newRow("not numbers") << QVector<bsVector>{{kNan, 0, 0}, {kNan, 1, 0}, {kNan, 2, 0}};
}

void tst_CoordinateOperations::noTripleWithoutAShorterNeighbour()
{
    QFETCH(QVector<bsVector>, markers);
    const std::optional<MarkerTriple> triple = findTriple(markers);
    QVERIFY2(!triple, describe(triple));
}

void tst_CoordinateOperations::tripleAgreesWithSortedPairs()
{
    Oracle::Random random(testSeed());
    int found = 0;
    int missing = 0;
    for (int round = 0; round < 20000; ++round) {
        // A narrow grid makes ties the rule, a wide one the exception.
        const int extent = round % 3 == 0 ? 1 : (round % 3 == 1 ? 3 : 500);
        std::vector<GridPoint> points(static_cast<size_t>(random.integer(2, round % 50 ? 7 : 25)));
        for (GridPoint &point : points) {
            point.x = random.integer(-extent, extent);
            point.y = random.integer(-extent, extent);
            point.z = random.integer(-extent, extent);
        }
        const std::optional<MarkerTriple> expected = sortedTriple(points);
        const std::optional<MarkerTriple> actual = findTriple(positions(points));
        QVERIFY2(
            actual.has_value() == expected.has_value() &&
                (!expected || areEqual(actual, expected->origin, expected->far, expected->third)),
            describe(actual) + ", expected " + describe(expected));
        ++(expected ? found : missing);
    }
    QVERIFY(found > 1000);
    QVERIFY(missing > 100);
}

void tst_CoordinateOperations::transformNumbersAreTranslationThenColumns()
{
    // A third of a turn about the diagonal maps x to y, y to z and z to x.
    bsMatrix matrix = bsMatrix::identity();
    matrix.setColumn(0, bsVector(0.0, 1.0, 0.0), 0.0);
    matrix.setColumn(1, bsVector(0.0, 0.0, 1.0), 0.0);
    matrix.setColumn(2, bsVector(1.0, 0.0, 0.0), 0.0);
    matrix.setColumn(3, bsVector(-10.5, 20.25, 30.125), 1.0);
    const std::array<double, 12> numbers = transformNumbers(matrix);
    const std::array<double, 12> expected{-10.5, 20.25, 30.125, 0, 1, 0, 0, 0, 1, 1, 0, 0};
    for (size_t index = 0; index < numbers.size(); ++index)
        QVERIFY(std::fabs(numbers[index] - expected[index]) < 1e-15);
}

void tst_CoordinateOperations::transformNumbersPassThroughAPose()
{
    // Of a stretched identity, t = 1.03 * 3 + 1, and the bare scalar is no turn.
    const std::array<double, 12> numbers =
        transformNumbers(withRotation(Eigen::Vector3d(1.03, 1.03, 1.03).asDiagonal()));
    const std::array<double, 12> expected{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (size_t index = 0; index < numbers.size(); ++index)
        QCOMPARE(numbers[index], expected[index]);
}

void tst_CoordinateOperations::transformNumbersAreOrthonormal()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        // Off by what eight printed digits leave.
        Eigen::Matrix4d matrix = random.rigid(500.0);
        if (matrix.trace() < 0.5)
            continue;
        Eigen::Matrix4d rounded = matrix;
        for (int column = 0; column < 3; ++column) {
            for (int row = 0; row < 3; ++row)
                rounded(row, column) = std::round(rounded(row, column) * 1e8) / 1e8;
        }
        const std::array<double, 12> numbers = transformNumbers(Oracle::matrix(rounded));
        const Eigen::Map<const Eigen::Matrix3d> block(numbers.data() + 3);
        QVERIFY((block - Oracle::rotation(matrix)).cwiseAbs().maxCoeff() < 1e-7);
        QVERIFY((block.transpose() * block - Eigen::Matrix3d::Identity()).norm() < 2e-7);
    }
}

void tst_CoordinateOperations::transformNumbersKeepHalfTurns()
{
    for (int angleDeg = -179; angleDeg < 180; ++angleDeg) {
        const bsMatrix matrix = bsQuaternion::fromEuler(180.0, angleDeg, 0.0).toMatrix();
        for (const bsMatrix &sent : {matrix, matrix.rigidInverse()}) {
            const std::array<double, 12> numbers = transformNumbers(sent);
            const Eigen::Map<const Eigen::Matrix3d> block(numbers.data() + 3);
            QVERIFY2((block - Oracle::rotation(sent)).cwiseAbs().maxCoeff() < 1e-9,
                     qPrintable(QString::number(angleDeg)));
        }
    }
}

void tst_CoordinateOperations::transformNumbersKeepWhatIsNearHalfATurn()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 5000; ++round) {
        const double offDeg = std::pow(10.0, random.number(-8.0, 1.0));
        const Eigen::Matrix3d nearHalf = Oracle::turn(180.0 - offDeg, random.vector(1.0));
        const std::array<double, 12> numbers = transformNumbers(withRotation(nearHalf));
        const Eigen::Map<const Eigen::Matrix3d> block(numbers.data() + 3);
        QVERIFY2((block - nearHalf).cwiseAbs().maxCoeff() < 1e-9,
                 qPrintable(QString::number(offDeg)));
    }
}

void tst_CoordinateOperations::transformNumbersAgreeWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 2000; ++round) {
        const Eigen::Matrix4d matrix = random.rigid(1000.0);
        const std::array<double, 12> numbers = transformNumbers(Oracle::matrix(matrix));
        const Eigen::Map<const Eigen::Vector3d> translation(numbers.data());
        const Eigen::Map<const Eigen::Matrix3d> block(numbers.data() + 3);
        QCOMPARE((translation - Oracle::translation(matrix)).norm(), 0.0);
        QVERIFY((block - Oracle::rotation(matrix)).cwiseAbs().maxCoeff() < 1e-10);
    }
}

QUOREL2_TEST_MAIN(tst_CoordinateOperations)

#include "tst_CoordinateOperations.moc"
