#include <tests/support/TestMain.h>
#include <view/DrawingGeometry.h>

#include <QRandomGenerator>
#include <QtTest>

#include <Eigen/Geometry>

#include <cmath>

using namespace DrawingGeometry;

namespace {

Eigen::Vector3d vector(const bsVector &v)
{
    return {v.x, v.y, v.z};
}

bool isClose(double a, double b)
{
    return std::fabs(a - b) < 1e-9;
}

bool isClose(const Eigen::Vector3d &a, const Eigen::Vector3d &b)
{
    return (a - b).cwiseAbs().maxCoeff() < 1e-9;
}

/// Where the rotation puts +Z.
Eigen::Vector3d turnedZ(const AxisAngle &rotation)
{
    return Eigen::AngleAxisd(rotation.angleDeg * M_PI / 180.0, vector(rotation.axis)) *
           Eigen::Vector3d::UnitZ();
}

/// Checks a prism from first principles: six rectangles that close a box around the two points.
void checkPrism(const bsVector &first, const bsVector &second, double width)
{
    const auto faces = linePrism(first, second, width);
    const Eigen::Vector3d a = vector(first);
    const Eigen::Vector3d b = vector(second);
    const Eigen::Vector3d middle = (a + b) / 2.0;
    const double length = (b - a).norm();

    Eigen::Vector3d normals = Eigen::Vector3d::Zero();
    double area = 0.0;
    for (const PrismFace &face : faces) {
        const Eigen::Vector3d normal = vector(face.normal);
        QVERIFY(isClose(normal.norm(), 1.0));
        normals += normal;
        Eigen::Vector3d faceMiddle = Eigen::Vector3d::Zero();
        for (const bsVector &corner : face.corners) {
            const Eigen::Vector3d offset = vector(corner) - middle;
            // Every corner lies on an end, half a diagonal of the section off the line.
            const double along = std::fabs(offset.dot((b - a) / length));
            QVERIFY(isClose(along, length / 2.0));
            const double off = std::sqrt(offset.squaredNorm() - along * along);
            QVERIFY(std::fabs(off - width / 2.0 * std::sqrt(2.0)) < 1e-6);
            faceMiddle += vector(corner) / 4.0;
        }
        // Plane, outward and rectangular: neighbours in order, sides at right angles.
        const Eigen::Vector3d edge = vector(face.corners[1]) - vector(face.corners[0]);
        const Eigen::Vector3d next = vector(face.corners[2]) - vector(face.corners[1]);
        const Eigen::Vector3d opposite = vector(face.corners[3]) - vector(face.corners[2]);
        QVERIFY(isClose(edge.dot(normal), 0.0));
        QVERIFY(isClose(next.dot(normal), 0.0));
        QVERIFY(isClose(edge.dot(next), 0.0));
        QVERIFY(isClose(edge, -opposite));
        QVERIFY((faceMiddle - middle).dot(normal) > 0.0);
        // Counter-clockwise from outside.
        QVERIFY(edge.cross(next).dot(normal) > 0.0);
        area += edge.norm() * next.norm();
    }
    QVERIFY(isClose(normals, Eigen::Vector3d::Zero()));
    QVERIFY(std::fabs(area - (4.0 * width * length + 2.0 * width * width)) < 1e-6);
}

} // namespace

class tst_DrawingGeometry : public QObject {
    Q_OBJECT

private slots:
    void axisSizesFollowTheLength();
    void gridExtentIsTruncatedTowardZero();
    void gridOfTheBodyHas41Lines();
    void gridStopsAtTheLastLineNotBeyondTheExtent_data();
    void gridStopsAtTheLastLineNotBeyondTheExtent();
    void gridWithoutAPositiveSpacingIsEmpty();
    void rotationTakesZOntoTheDirection_data();
    void rotationTakesZOntoTheDirection();
    void rotationIsTheShortest();
    void oppositeDirectionTurnsAboutAPerpendicularAxis();
    void randomDirections();
    void coneLengthsDependOnTheMarkerSize();
    void coneAtEachOpeningAngle_data();
    void coneAtEachOpeningAngle();
    void coneSideHasTheConeLength();
    void prismAlongX();
    void prismAlongYTakesXAsHelper();
    void prismIsAClosedBox();
    void prismBetweenEqualPointsHasNoExtent();
};

void tst_DrawingGeometry::axisSizesFollowTheLength()
{
    const AxisSizes body = axisSizes(25.0);
    QCOMPARE(body.shaftRadius, 0.3125);
    QCOMPARE(body.headRadius, 2.5);
    QCOMPARE(body.headLength, 5.0);
    const AxisSizes room = axisSizes(40.0);
    QCOMPARE(room.shaftRadius, 0.5);
    QCOMPARE(room.headRadius, 4.0);
    QCOMPARE(room.headLength, 8.0);
}

void tst_DrawingGeometry::gridExtentIsTruncatedTowardZero()
{
    QCOMPARE(gridHalfExtent(500.7, 25.0), 500.0);
    QCOMPARE(gridHalfExtent(500.0, 30.0), 500.0);
    QCOMPARE(gridHalfExtent(-2.9, 1.0), -2.0);
    QCOMPARE(gridHalfExtent(0.9, 25.0), 0.0);
}

void tst_DrawingGeometry::gridOfTheBodyHas41Lines()
{
    const QVector<double> positions = gridPositions(500.0, 25.0);
    QCOMPARE(positions.size(), 41);
    for (int i = 0; i < positions.size(); ++i)
        QCOMPARE(positions[i], -500.0 + 25.0 * i);
}

void tst_DrawingGeometry::gridStopsAtTheLastLineNotBeyondTheExtent_data()
{
    QTest::addColumn<double>("extent");
    QTest::addColumn<double>("spacing");
    QTest::addColumn<QVector<double>>("expected");
    QTest::newRow("divides") << 4.0 << 2.0 << QVector<double>{-4, -2, 0, 2, 4};
    QTest::newRow("does not divide") << 5.0 << 4.0 << QVector<double>{-5, -1, 3};
    QTest::newRow("fractional extent") << 2.9 << 1.0 << QVector<double>{-2, -1, 0, 1, 2};
    QTest::newRow("wider than the grid") << 2.0 << 25.0 << QVector<double>{-2};
    QTest::newRow("no extent") << 0.0 << 25.0 << QVector<double>{0};
    QTest::newRow("negative extent") << -3.0 << 1.0 << QVector<double>{};
}

void tst_DrawingGeometry::gridStopsAtTheLastLineNotBeyondTheExtent()
{
    QFETCH(double, extent);
    QFETCH(double, spacing);
    QTEST(gridPositions(extent, spacing), "expected");
}

void tst_DrawingGeometry::gridWithoutAPositiveSpacingIsEmpty()
{
    QVERIFY(gridPositions(500.0, 0.0).isEmpty());
    QVERIFY(gridPositions(500.0, -25.0).isEmpty());
    QVERIFY(gridPositions(500.0, 1e-300).isEmpty());
    QVERIFY(gridPositions(500.0, std::nan("")).isEmpty());
}

void tst_DrawingGeometry::rotationTakesZOntoTheDirection_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("z");
    QTest::addColumn<double>("angleDeg");
    QTest::newRow("same") << 0.0 << 0.0 << 1.0 << 0.0;
    QTest::newRow("same, longer") << 0.0 << 0.0 << 250.0 << 0.0;
    QTest::newRow("x") << 1.0 << 0.0 << 0.0 << 90.0;
    QTest::newRow("-y") << 0.0 << -1.0 << 0.0 << 90.0;
    QTest::newRow("between x and z") << 2.0 << 0.0 << 2.0 << 45.0;
    QTest::newRow("behind") << 0.0 << 1.0 << -1.0 << 135.0;
    QTest::newRow("opposite") << 0.0 << 0.0 << -1.0 << 180.0;
    QTest::newRow("opposite, short") << 0.0 << 0.0 << -0.001 << 180.0;
    QTest::newRow("nearly opposite") << 1e-5 << 0.0 << -1.0 << 180.0 - std::atan(1e-5) * 180 / M_PI;
}

void tst_DrawingGeometry::rotationTakesZOntoTheDirection()
{
    QFETCH(double, x);
    QFETCH(double, y);
    QFETCH(double, z);
    QFETCH(double, angleDeg);
    const AxisAngle rotation = rotationFromZ(bsVector(x, y, z));
    QVERIFY(std::fabs(rotation.angleDeg - angleDeg) < 1e-6);
    QVERIFY(isClose(turnedZ(rotation), Eigen::Vector3d(x, y, z).normalized()));
}

void tst_DrawingGeometry::rotationIsTheShortest()
{
    const AxisAngle rotation = rotationFromZ(bsVector(0.0, 3.0, 4.0));
    QVERIFY(isClose(rotation.angleDeg, std::atan2(3.0, 4.0) * 180.0 / M_PI));
    // +Z x direction, of length 1
    QVERIFY(isClose(vector(rotation.axis), Eigen::Vector3d(-1.0, 0.0, 0.0)));
}

void tst_DrawingGeometry::oppositeDirectionTurnsAboutAPerpendicularAxis()
{
    const AxisAngle rotation = rotationFromZ(bsVector(0.0, 0.0, -1.0));
    QVERIFY(isClose(rotation.angleDeg, 180.0));
    QVERIFY(isClose(vector(rotation.axis).norm(), 1.0));
    QVERIFY(isClose(rotation.axis.z, 0.0));
}

void tst_DrawingGeometry::randomDirections()
{
    QRandomGenerator random(testSeed());
    for (int i = 0; i < 2000; ++i) {
        const bsVector direction(random.generateDouble() - 0.5, random.generateDouble() - 0.5,
                                 random.generateDouble() - 0.5);
        const AxisAngle rotation = rotationFromZ(direction);
        QVERIFY(rotation.angleDeg >= 0.0 && rotation.angleDeg <= 180.0 + 1e-9);
        QVERIFY(isClose(turnedZ(rotation), vector(direction).normalized()));
    }
}

void tst_DrawingGeometry::coneLengthsDependOnTheMarkerSize()
{
    QCOMPARE(emissionConeLength(true), 15.0);
    QCOMPARE(emissionConeLength(false), 25.8);
    QCOMPARE(emissionArrowLength(true), 19.5);
    QCOMPARE(emissionArrowLength(false), 30.3);
}

void tst_DrawingGeometry::coneAtEachOpeningAngle_data()
{
    QTest::addColumn<double>("angleDeg");
    QTest::addColumn<bool>("small");
    QTest::addColumn<double>("height");
    QTest::addColumn<double>("radius");
    QTest::addColumn<bool>("backward");
    QTest::newRow("0: a line") << 0.0 << false << 25.8 << 0.0 << false;
    QTest::newRow("30") << 30.0 << false << 22.343455418 << 12.9 << false;
    QTest::newRow("30, small") << 30.0 << true << 12.990381057 << 7.5 << false;
    QTest::newRow("45") << 45.0 << false << 18.243354954 << 18.243354954 << false;
    QTest::newRow("60") << 60.0 << false << 12.9 << 22.343455418 << false;
    QTest::newRow("90: a disc") << 90.0 << false << 0.0 << 25.8 << false;
    QTest::newRow("90, small") << 90.0 << true << 0.0 << 15.0 << false;
    QTest::newRow("120") << 120.0 << false << 12.9 << 22.343455418 << true;
    QTest::newRow("150, small") << 150.0 << true << 12.990381057 << 7.5 << true;
    QTest::newRow("180: a line backward") << 180.0 << false << 25.8 << 0.0 << true;
}

void tst_DrawingGeometry::coneAtEachOpeningAngle()
{
    QFETCH(double, angleDeg);
    QFETCH(bool, small);
    QFETCH(double, height);
    QFETCH(double, radius);
    const EmissionCone cone = emissionCone(angleDeg, small);
    QVERIFY2(std::fabs(cone.height - height) < 1e-8, qPrintable(QString::number(cone.height)));
    QVERIFY2(std::fabs(cone.radius - radius) < 1e-8, qPrintable(QString::number(cone.radius)));
    // GLU draws nothing for a negative size.
    QVERIFY(cone.height >= 0.0);
    QVERIFY(cone.radius >= 0.0);
    QTEST(cone.backward, "backward");
}

void tst_DrawingGeometry::coneSideHasTheConeLength()
{
    for (int angle = 0; angle <= 180; ++angle) {
        for (const bool small : {false, true}) {
            const EmissionCone cone = emissionCone(angle, small);
            QVERIFY(isClose(std::hypot(cone.height, cone.radius), small ? 15.0 : 25.8));
            QVERIFY(cone.height >= 0.0 && cone.radius >= 0.0);
            QCOMPARE(cone.backward, angle > 90);
        }
    }
}

void tst_DrawingGeometry::prismAlongX()
{
    // d = +x, u = d x (0, 1, 0) = +z, v = d x u = -y
    const auto faces = linePrism(bsVector(10.0, 5.0, 1.0), bsVector(50.0, 5.0, 1.0), 6.0);
    const Eigen::Vector3d expected[] = {Eigen::Vector3d::UnitZ(),  -Eigen::Vector3d::UnitY(),
                                        -Eigen::Vector3d::UnitZ(), Eigen::Vector3d::UnitY(),
                                        -Eigen::Vector3d::UnitX(), Eigen::Vector3d::UnitX()};
    for (int i = 0; i < 6; ++i)
        QVERIFY(isClose(vector(faces[i].normal), expected[i]));
    for (const bsVector &corner : faces[0].corners) {
        QVERIFY(isClose(corner.z, 4.0));
        QVERIFY(isClose(std::fabs(corner.y - 5.0), 3.0));
        QVERIFY(isClose(corner.x, 10.0) || isClose(corner.x, 50.0));
    }
    for (const bsVector &corner : faces[4].corners)
        QVERIFY(isClose(corner.x, 10.0));
    for (const bsVector &corner : faces[5].corners)
        QVERIFY(isClose(corner.x, 50.0));
}

void tst_DrawingGeometry::prismAlongYTakesXAsHelper()
{
    // d = +y, u = d x (1, 0, 0) = -z, v = d x u = -x
    const auto faces = linePrism(bsVector(0.0, -20.0, 0.0), bsVector(0.0, 20.0, 0.0), 6.0);
    QVERIFY(isClose(vector(faces[0].normal), -Eigen::Vector3d::UnitZ()));
    QVERIFY(isClose(vector(faces[1].normal), -Eigen::Vector3d::UnitX()));
    checkPrism(bsVector(0.0, -20.0, 0.0), bsVector(0.0, 20.0, 0.0), 6.0);
    checkPrism(bsVector(3.0, 20.0, -7.0), bsVector(3.0, -20.0, -7.0), 1.5);
}

void tst_DrawingGeometry::prismIsAClosedBox()
{
    QRandomGenerator random(testSeed());
    const auto coordinate = [&random] { return random.generateDouble() * 200.0 - 100.0; };
    for (int i = 0; i < 500; ++i) {
        const bsVector first(coordinate(), coordinate(), coordinate());
        const bsVector second(coordinate(), coordinate(), coordinate());
        checkPrism(first, second, i % 2 == 0 ? 6.0 : 1.5);
        if (QTest::currentTestFailed())
            return;
    }
    // Almost along y, where the helper direction is about to give way.
    checkPrism(bsVector(0.0, -50.0, 0.0), bsVector(1e-4, 50.0, 0.0), 6.0);
}

void tst_DrawingGeometry::prismBetweenEqualPointsHasNoExtent()
{
    const bsVector point(4.0, 5.0, 6.0);
    for (const PrismFace &face : linePrism(point, point, 6.0)) {
        for (const bsVector &corner : face.corners)
            QVERIFY(isClose(vector(corner), vector(point)));
    }
}

QUOREL2_TEST_MAIN(tst_DrawingGeometry)
#include "tst_DrawingGeometry.moc"
