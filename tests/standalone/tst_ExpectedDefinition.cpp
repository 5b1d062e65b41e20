#include <standalone/ExpectedDefinition.h>
#include <tests/support/TestMain.h>

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
