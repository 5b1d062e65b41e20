#include <standalone/ExpectedDefinition.h>
#include <tests/support/TestMain.h>

#include <QVector3D>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

using Marker = ExpectedDefinition::Marker;

void compare(const std::array<double, 3> &found, double x, double y, double z)
{
    QVERIFY2(std::fabs(found[0] - x) < 1e-9 && std::fabs(found[1] - y) < 1e-9 &&
                 std::fabs(found[2] - z) < 1e-9,
             qPrintable(QStringLiteral("(%1, %2, %3) instead of (%4, %5, %6)")
                            .arg(found[0])
                            .arg(found[1])
                            .arg(found[2])
                            .arg(x)
                            .arg(y)
                            .arg(z)));
}

/// A tetrahedron whose centre of gravity is (25, 25, 25).
QVector<Marker> tetrahedron()
{
    QVector<Marker> markers(4);
    markers[1].position = {100.0, 0.0, 0.0};
    markers[2].position = {0.0, 100.0, 0.0};
    markers[3].position = {0.0, 0.0, 100.0};
    return markers;
}

} // namespace

class ExpectedDefinitionTest : public QObject {
    Q_OBJECT

private slots:
    void nothingDoneChangesNothing();
    void theCentreOfGravityBecomesTheOrigin();
    void aTurnOfTheAxesTurnsTheMarkersBack();
    void originAndTurnTogether();
    void axesAreTurnedInTheOrderXYZ();
    void aSecondTurnIsAboutTheTurnedAxes();
    void applyBeginsAnew();
    void theNumbersAreThoseOfThePrintedCommand();
    void emissionsTurnAndKeepTheirAngle();
    void anAxisIsLaidThroughTwoMarkers_data();
    void anAxisIsLaidThroughTwoMarkers();
    void theKeptAxisIsTheOneOfTheFrameAsItIs();
    void axesKeepTheirOriginAndStayRightHanded();
    void whatDefinesNoAxisChangesNothing_data();
    void whatDefinesNoAxisChangesNothing();
    void theFrameIsAlignedWithTheRoom();
    void roundedRotationsAreTakenToTheNearest();
    void whatIsNoRotationAlignsNothing();
    void aBodyWithoutMarkersStaysSo();
    void differencesAreFoundMarkerByMarker();
    void differencesOfTheLastDigitAreNone();
};

void ExpectedDefinitionTest::nothingDoneChangesNothing()
{
    ExpectedDefinition definition(tetrahedron());
    definition.apply();
    compare(definition.markers().at(3).position, 0.0, 0.0, 100.0);
}

void ExpectedDefinitionTest::theCentreOfGravityBecomesTheOrigin()
{
    ExpectedDefinition definition(tetrahedron());
    definition.originToCentreOfGravity();
    // Only the command changes what the controller holds.
    compare(definition.markers().at(1).position, 100.0, 0.0, 0.0);
    definition.apply();
    compare(definition.markers().at(0).position, -25.0, -25.0, -25.0);
    compare(definition.markers().at(1).position, 75.0, -25.0, -25.0);
    compare(definition.markers().at(2).position, -25.0, 75.0, -25.0);
    compare(definition.markers().at(3).position, -25.0, -25.0, 75.0);
}

void ExpectedDefinitionTest::aTurnOfTheAxesTurnsTheMarkersBack()
{
    ExpectedDefinition definition(tetrahedron());
    definition.turn(0.0, 0.0, 90.0);
    definition.apply();
    compare(definition.markers().at(1).position, 0.0, -100.0, 0.0);
    compare(definition.markers().at(2).position, 100.0, 0.0, 0.0);
    compare(definition.markers().at(3).position, 0.0, 0.0, 100.0);
}

void ExpectedDefinitionTest::originAndTurnTogether()
{
    ExpectedDefinition definition(tetrahedron());
    definition.originToCentreOfGravity();
    definition.turn(0.0, 0.0, 30.0);
    definition.apply();
    // By hand: R^T (p - cog) with cos 30 = 0.86602540 and sin 30 = 0.5, the translation
    // -R^T cog = (-34.151, -9.151, -25.000).
    compare(definition.markers().at(0).position, -34.151, -9.151, -25.0);
    compare(definition.markers().at(1).position, 52.45154, -59.151, -25.0);
    compare(definition.markers().at(2).position, 15.849, 77.45154, -25.0);
    compare(definition.markers().at(3).position, -34.151, -9.151, 75.0);
}

void ExpectedDefinitionTest::axesAreTurnedInTheOrderXYZ()
{
    QVector<Marker> markers(1);
    markers[0].position = {1.0, 2.0, 3.0};
    ExpectedDefinition definition(markers);
    definition.turn(90.0, 90.0, 0.0);
    definition.apply();
    // Rx(90) Ry(90) has the columns (0, 1, 0), (0, 0, 1) and (1, 0, 0); its transpose is applied.
    compare(definition.markers().at(0).position, 2.0, 3.0, 1.0);
}

void ExpectedDefinitionTest::aSecondTurnIsAboutTheTurnedAxes()
{
    QVector<Marker> markers(1);
    markers[0].position = {1.0, 2.0, 3.0};
    ExpectedDefinition definition(markers);
    definition.turn(90.0, 0.0, 0.0);
    definition.turn(0.0, 90.0, 0.0);
    definition.apply();
    compare(definition.markers().at(0).position, 2.0, 3.0, 1.0);
}

void ExpectedDefinitionTest::applyBeginsAnew()
{
    ExpectedDefinition definition(tetrahedron());
    definition.originToCentreOfGravity();
    definition.turn(0.0, 0.0, 90.0);
    definition.apply();
    definition.apply();
    compare(definition.markers().at(1).position, -25.0, -75.0, -25.0);
    // The centre of gravity is the origin by now.
    definition.originToCentreOfGravity();
    definition.turn(0.0, 0.0, 270.0);
    definition.apply();
    compare(definition.markers().at(1).position, 75.0, -25.0, -25.0);
}

void ExpectedDefinitionTest::theNumbersAreThoseOfThePrintedCommand()
{
    QVector<Marker> markers(1);
    markers[0].position = {1.00049, 2.00051, -1000000.0};
    ExpectedDefinition definition(markers);
    definition.originToCentreOfGravity();
    definition.apply();
    // The translation goes out with three decimals: -1.000, -2.001.
    compare(definition.markers().at(0).position, 0.00049, -0.00049, 0.0);
    ExpectedDefinition turned(tetrahedron());
    turned.turn(0.0, 0.0, 30.0);
    turned.apply();
    compare(turned.markers().at(1).position, 86.602540, -50.0, 0.0);
}

void ExpectedDefinitionTest::emissionsTurnAndKeepTheirAngle()
{
    QVector<Marker> markers(2);
    markers[0].position = {10.0, 0.0, 0.0};
    markers[0].emission = {1.0, 0.0, 0.0, 60.0};
    ExpectedDefinition definition(markers);
    definition.originToCentreOfGravity();
    definition.turn(0.0, 0.0, 90.0);
    definition.apply();
    const std::array<double, 4> emission = definition.markers().at(0).emission;
    compare({emission[0], emission[1], emission[2]}, 0.0, -1.0, 0.0);
    QCOMPARE(emission[3], 60.0);
    QCOMPARE(definition.markers().at(1).emission, (std::array<double, 4>{}));
}

void ExpectedDefinitionTest::anAxisIsLaidThroughTwoMarkers_data()
{
    QTest::addColumn<int>("set");
    QTest::addColumn<int>("keep");
    // The axes of the frame in stored coordinates, for markers along y.
    QTest::addColumn<QVector<QVector3D>>("axes");
    using Axes = QVector<QVector3D>;
    QTest::newRow("x, z kept") << 0 << 2 << Axes{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}};
    QTest::newRow("y, x kept") << 1 << 0 << Axes{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    QTest::newRow("y, z kept") << 1 << 2 << Axes{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    QTest::newRow("z, x kept") << 2 << 0 << Axes{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
}

void ExpectedDefinitionTest::anAxisIsLaidThroughTwoMarkers()
{
    QFETCH(int, set);
    QFETCH(int, keep);
    QFETCH(QVector<QVector3D>, axes);
    QVector<Marker> markers(3);
    markers[1].position = {0.0, 10.0, 0.0};
    markers[2].position = {1.0, 2.0, 3.0};
    ExpectedDefinition definition(markers);
    QVERIFY(definition.setAxis(set, keep, 0, 1));
    const QVector3D point(1.0F, 2.0F, 3.0F);
    compare(definition.positionsInFrame().at(2), double(QVector3D::dotProduct(axes[0], point)),
            double(QVector3D::dotProduct(axes[1], point)),
            double(QVector3D::dotProduct(axes[2], point)));
    // The other way round, the axis points the other way.
    ExpectedDefinition reversed(markers);
    QVERIFY(reversed.setAxis(set, keep, 1, 0));
    const auto index = static_cast<size_t>(set);
    QCOMPARE(reversed.positionsInFrame().at(2)[index], -definition.positionsInFrame().at(2)[index]);
}

void ExpectedDefinitionTest::theKeptAxisIsTheOneOfTheFrameAsItIs()
{
    QVector<Marker> markers(3);
    markers[1].position = {0.0, 0.0, 5.0};
    markers[2].position = {1.0, 2.0, 3.0};
    ExpectedDefinition definition(markers);
    definition.turn(0.0, 0.0, 90.0);
    // x of the frame is (0, 1, 0) by now, and y is calculated from it and z.
    QVERIFY(definition.setAxis(2, 0, 0, 1));
    compare(definition.positionsInFrame().at(2), 2.0, -1.0, 3.0);
}

void ExpectedDefinitionTest::axesKeepTheirOriginAndStayRightHanded()
{
    QVector<Marker> markers = tetrahedron();
    markers[0].position = {3.0, -8.0, 11.0};
    for (int set = 0; set < 3; ++set) {
        for (int keep = 0; keep < 3; ++keep) {
            if (set == keep)
                continue;
            ExpectedDefinition definition(markers);
            definition.originToCentreOfGravity();
            definition.turn(10.0, -20.0, 70.0);
            const QVector<std::array<double, 3>> before = definition.positionsInFrame();
            QVERIFY(definition.setAxis(set, keep, 0, 3));
            const QVector<std::array<double, 3>> after = definition.positionsInFrame();
            // The volume of three markers about the origin keeps its size and its sign.
            const auto volume = [](const QVector<std::array<double, 3>> &p) {
                return p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) -
                       p[0][1] * (p[1][0] * p[2][2] - p[1][2] * p[2][0]) +
                       p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0]);
            };
            QVERIFY(std::fabs(volume(after) - volume(before)) < 1e-6);
            const auto first = static_cast<size_t>(set);
            const double length = std::sqrt(3.0 * 3.0 + 8.0 * 8.0 + 89.0 * 89.0);
            QVERIFY(std::fabs(after[3][first] - after[0][first] - length) < 1e-9);
        }
    }
}

void ExpectedDefinitionTest::whatDefinesNoAxisChangesNothing_data()
{
    QTest::addColumn<QVector<int>>("arguments");
    QTest::newRow("one axis twice") << QVector<int>{1, 1, 0, 3};
    QTest::newRow("no such axis to set") << QVector<int>{3, 1, 0, 3};
    QTest::newRow("no such axis to keep") << QVector<int>{0, -1, 0, 3};
    QTest::newRow("no such marker") << QVector<int>{0, 1, 0, 4};
    QTest::newRow("negative marker") << QVector<int>{0, 1, -1, 3};
    QTest::newRow("one marker twice") << QVector<int>{0, 1, 2, 2};
    QTest::newRow("the kept axis along the markers") << QVector<int>{0, 1, 0, 2};
}

void ExpectedDefinitionTest::whatDefinesNoAxisChangesNothing()
{
    QFETCH(QVector<int>, arguments);
    ExpectedDefinition definition(tetrahedron());
    QVERIFY(!definition.setAxis(arguments[0], arguments[1], arguments[2], arguments[3]));
    compare(definition.positionsInFrame().at(3), 0.0, 0.0, 100.0);
}

void ExpectedDefinitionTest::theFrameIsAlignedWithTheRoom()
{
    // The body's x shows along the room's y, its y along z, its z along x.
    ExpectedDefinition definition(tetrahedron());
    definition.originToCentreOfGravity();
    definition.turn(10.0, 20.0, 30.0);
    QVERIFY(definition.alignWithRoom({0, 1, 0, 0, 0, 1, 1, 0, 0}));
    // What lies 75 along the body's x from the origin lies 75 along the room's y.
    compare(definition.positionsInFrame().at(1), -25.0, 75.0, -25.0);
    definition.apply();
    compare(definition.markers().at(2).position, -25.0, -25.0, 75.0);
    compare(definition.markers().at(3).position, 75.0, -25.0, -25.0);
}

void ExpectedDefinitionTest::roundedRotationsAreTakenToTheNearest()
{
    // 30 degrees about z, rounded so that neither length nor right angle is exact.
    QVector<Marker> markers(1);
    markers[0].position = {1000.0, 0.0, 0.0};
    ExpectedDefinition definition(markers);
    QVERIFY(definition.alignWithRoom({0.866026, 0.499999, 0, -0.500001, 0.866025, 0, 0, 0, 1}));
    const std::array<double, 3> position = definition.positionsInFrame().at(0);
    const double length = std::hypot(position[0], position[1]);
    QVERIFY2(std::fabs(length - 1000.0) < 1e-9, qPrintable(QString::number(length, 'g', 15)));
    QVERIFY(std::fabs(position[0] - 866.0254) < 1e-3);
    QVERIFY(std::fabs(position[1] - 500.0) < 1e-3);
}

void ExpectedDefinitionTest::whatIsNoRotationAlignsNothing()
{
    ExpectedDefinition definition(tetrahedron());
    QVERIFY(!definition.alignWithRoom({}));
    QVERIFY(!definition.alignWithRoom({-1, 0, 0, 0, 1, 0, 0, 0, 1}));
    QVERIFY(!definition.alignWithRoom({1.1, 0, 0, 0, 1, 0, 0, 0, 1}));
    QVERIFY(!definition.alignWithRoom(
        {std::numeric_limits<double>::quiet_NaN(), 0, 0, 0, 1, 0, 0, 0, 1}));
    compare(definition.positionsInFrame().at(3), 0.0, 0.0, 100.0);
}

void ExpectedDefinitionTest::aBodyWithoutMarkersStaysSo()
{
    ExpectedDefinition definition;
    definition.originToCentreOfGravity();
    definition.turn(1.0, 2.0, 3.0);
    definition.apply();
    QVERIFY(definition.markers().isEmpty());
}

void ExpectedDefinitionTest::differencesAreFoundMarkerByMarker()
{
    const QVector<Marker> expected = tetrahedron();
    QVector<Marker> held = expected;
    QVERIFY(ExpectedDefinition::differences(expected, held).isEmpty());
    held[1].position[2] = 0.0021;
    held[2].emission[3] = 5.0;
    held[3].position[0] = std::numeric_limits<double>::quiet_NaN();
    const QStringList found = ExpectedDefinition::differences(expected, held);
    QCOMPARE(found.size(), 3);
    QCOMPARE(found.at(0), QStringLiteral("marker 2: position (100.000, 0.000, 0.000) expected, "
                                         "the controller holds (100.000, 0.000, 0.002)"));
    QVERIFY(found.at(1).startsWith(QStringLiteral("marker 3: emission (0.000, 0.000, 0.000, "
                                                  "0.000) expected")));
    QVERIFY(found.at(2).startsWith(QStringLiteral("marker 4: position")));
    held.removeLast();
    QCOMPARE(ExpectedDefinition::differences(expected, held),
             QStringList{QStringLiteral("4 markers expected, the controller holds 3")});
}

void ExpectedDefinitionTest::differencesOfTheLastDigitAreNone()
{
    const QVector<Marker> expected = tetrahedron();
    QVector<Marker> held = expected;
    for (Marker &marker : held) {
        for (double &number : marker.position)
            number += 0.0019;
    }
    QVERIFY(ExpectedDefinition::differences(expected, held).isEmpty());
}

QUOREL2_TEST_MAIN(ExpectedDefinitionTest)
#include "tst_ExpectedDefinition.moc"
