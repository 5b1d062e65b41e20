#include "GeometryOracle.h"

#include <model/Tolerance.h>
#include <model/bsVector.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <cmath>
#include <limits>

class tst_bsVector : public QObject {
    Q_OBJECT

private slots:
    void defaultIsZero();
    void setReplacesEveryComponent();
    void arithmeticIsComponentWise();
    void divisionByZeroGivesTheIeeeResult();
    void dotAgreesWithEigen();
    void crossFollowsTheRightHand();
    void crossAgreesWithEigen();
    void lengthIsEuclidean();
    void normalizeScalesToLengthOne_data();
    void normalizeScalesToLengthOne();
    void normalizedLeavesTheOriginal();
    void isFiniteOnlyIfEveryComponentIs();
    void toleranceIsStrictAndRejectsNan();
};

namespace {

void compareExactly(const bsVector &actual, double x, double y, double z)
{
    QCOMPARE(actual.x, x);
    QCOMPARE(actual.y, y);
    QCOMPARE(actual.z, z);
}

} // namespace

void tst_bsVector::defaultIsZero()
{
    compareExactly(bsVector(), 0.0, 0.0, 0.0);
}

void tst_bsVector::setReplacesEveryComponent()
{
    bsVector v(1.0, 2.0, 3.0);
    compareExactly(v, 1.0, 2.0, 3.0);
    v.set(-4.0, 5.0, -6.0);
    compareExactly(v, -4.0, 5.0, -6.0);
}

void tst_bsVector::arithmeticIsComponentWise()
{
    const bsVector a(1.0, -2.0, 3.5);
    const bsVector b(10.0, 20.0, -30.0);
    compareExactly(a + b, 11.0, 18.0, -26.5);
    compareExactly(a - b, -9.0, -22.0, 33.5);
    compareExactly(-a, -1.0, 2.0, -3.5);

    compareExactly(a * -2.0, -2.0, 4.0, -7.0);

    bsVector c = a;
    c += b;
    compareExactly(c, 11.0, 18.0, -26.5);
    c *= 2.0;
    compareExactly(c, 22.0, 36.0, -53.0);
    c /= 4.0;
    compareExactly(c, 5.5, 9.0, -13.25);
    compareExactly(a, 1.0, -2.0, 3.5);
}

void tst_bsVector::divisionByZeroGivesTheIeeeResult()
{
    bsVector v(1.0, -1.0, 0.0);
    v /= 0.0;
    QCOMPARE(v.x, std::numeric_limits<double>::infinity());
    QCOMPARE(v.y, -std::numeric_limits<double>::infinity());
    QVERIFY(std::isnan(v.z));
}

void tst_bsVector::dotAgreesWithEigen()
{
    QCOMPARE(dot(bsVector(1.0, -2.0, 3.0), bsVector(4.0, 5.0, 7.0)), 15.0);
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Vector3d a = random.vector(1000.0);
        const Eigen::Vector3d b = random.vector(1000.0);
        QVERIFY(std::fabs(dot(Oracle::vector(a), Oracle::vector(b)) - a.dot(b)) < 1e-8);
    }
}

void tst_bsVector::crossFollowsTheRightHand()
{
    const bsVector x(1.0, 0.0, 0.0);
    const bsVector y(0.0, 1.0, 0.0);
    const bsVector z(0.0, 0.0, 1.0);
    compareExactly(cross(x, y), 0.0, 0.0, 1.0);
    compareExactly(cross(y, z), 1.0, 0.0, 0.0);
    compareExactly(cross(z, x), 0.0, 1.0, 0.0);
    compareExactly(cross(bsVector(1.0, 2.0, 3.0), bsVector(4.0, 5.0, 7.0)), -1.0, 5.0, -3.0);
    compareExactly(cross(x, x), 0.0, 0.0, 0.0);
}

void tst_bsVector::crossAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Vector3d a = random.vector(1000.0);
        const Eigen::Vector3d b = random.vector(1000.0);
        QVERIFY(Oracle::distance(cross(Oracle::vector(a), Oracle::vector(b)), a.cross(b)) < 1e-8);
    }
}

void tst_bsVector::lengthIsEuclidean()
{
    QCOMPARE(bsVector(2.0, -3.0, 6.0).length(), 7.0);
    QCOMPARE(bsVector().length(), 0.0);
}

void tst_bsVector::normalizeScalesToLengthOne_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("z");
    QTest::addColumn<double>("expectedX");
    QTest::addColumn<double>("expectedY");
    QTest::addColumn<double>("expectedZ");

    QTest::newRow("a vector of length 5") << 3.0 << 0.0 << 4.0 << 0.6 << 0.0 << 0.8;
    QTest::newRow("zero stays zero") << 0.0 << 0.0 << 0.0 << 0.0 << 0.0 << 0.0;
    QTest::newRow("shorter than the tolerance stays")
        << 9.9e-8 << 0.0 << 0.0 << 9.9e-8 << 0.0 << 0.0;
    QTest::newRow("short in all components stays")
        << 5e-8 << -5e-8 << 5e-8 << 5e-8 << -5e-8 << 5e-8;
    QTest::newRow("exactly the tolerance is not zero") << 0.0 << 1e-7 << 0.0 << 0.0 << 1.0 << 0.0;
    QTest::newRow("just above the tolerance") << 0.0 << 0.0 << -1.01e-7 << 0.0 << 0.0 << -1.0;
}

void tst_bsVector::normalizeScalesToLengthOne()
{
    QFETCH(double, x);
    QFETCH(double, y);
    QFETCH(double, z);
    QFETCH(double, expectedX);
    QFETCH(double, expectedY);
    QFETCH(double, expectedZ);

    bsVector v(x, y, z);
    v.normalize();
    compareExactly(v, expectedX, expectedY, expectedZ);
}

void tst_bsVector::normalizedLeavesTheOriginal()
{
    const bsVector v(0.0, -8.0, 6.0);
    compareExactly(v.normalized(), 0.0, -0.8, 0.6);
    compareExactly(v, 0.0, -8.0, 6.0);
}

void tst_bsVector::isFiniteOnlyIfEveryComponentIs()
{
    QVERIFY(isFinite(bsVector(1.0, std::numeric_limits<double>::max(), -1.0)));
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        QVERIFY(!isFinite(bsVector(bad, 0.0, 0.0)));
        QVERIFY(!isFinite(bsVector(0.0, bad, 0.0)));
        QVERIFY(!isFinite(bsVector(0.0, 0.0, bad)));
    }
}

void tst_bsVector::toleranceIsStrictAndRejectsNan()
{
    QVERIFY(isNearlyZero(0.0));
    QVERIFY(isNearlyZero(-9.99e-8));
    QVERIFY(!isNearlyZero(1e-7));
    QVERIFY(!isNearlyZero(-1e-7));
    QVERIFY(!isNearlyZero(std::numeric_limits<double>::quiet_NaN()));
}

QUOREL2_TEST_MAIN(tst_bsVector)

#include "tst_bsVector.moc"
