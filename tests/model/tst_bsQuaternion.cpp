#include "GeometryOracle.h"

#include <model/bsQuaternion.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <limits>

class tst_bsQuaternion : public QObject {
    Q_OBJECT

private slots:
    void defaultIsTheIdentity();
    void componentsAreVectorFirst();
    void axisAngleNormalizesTheAxis();
    void axisAngleOfAZeroAxisKeepsOnlyTheScalar();
    void axisAngleAgreesWithEigen();
    void quarterTurnMapsXToY();
    void normalizeScalesToNormOne();
    void normalizeOfATinyQuaternionGivesTheIdentity();
    void productPutsTheLeftFactorLeft();
    void productIsNormalized();
    void productAgreesWithEigen();
    void toMatrixTakesTheQuaternionAsItIs();
    void toMatrixAgreesWithEigen();
    void eulerIsXTimesYTimesZ();
    void eulerMapsYToZ();
    void eulerAgreesWithEigen();
    void fromMatrixOfExactMatrices_data();
    void fromMatrixOfExactMatrices();
    void fromMatrixReadsOnlyTheRotation();
    void fromMatrixIsNotNormalized();
    void fromMatrixTiesGoToTheLaterStep();
    void fromMatrixTakesTheFirstStepForAnyPositiveTrace();
    void fromMatrixTakesEveryBranch();
    void fromMatrixAgreesWithEigen();
};

namespace {

constexpr double kRootHalf = 0.7071067811865476;

void compareExactly(const bsQuaternion &actual, double x, double y, double z, double w)
{
    QCOMPARE(actual.x, x);
    QCOMPARE(actual.y, y);
    QCOMPARE(actual.z, z);
    QCOMPARE(actual.w, w);
}

double distance(const bsQuaternion &a, double x, double y, double z, double w)
{
    return std::max(std::max(std::fabs(a.x - x), std::fabs(a.y - y)),
                    std::max(std::fabs(a.z - z), std::fabs(a.w - w)));
}

/// Rows of a rotation block.
bsMatrix rows(double m00, double m01, double m02, double m10, double m11, double m12, double m20,
              double m21, double m22)
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.setColumn(0, bsVector(m00, m10, m20), 0.0);
    matrix.setColumn(1, bsVector(m01, m11, m21), 0.0);
    matrix.setColumn(2, bsVector(m02, m12, m22), 0.0);
    return matrix;
}

bsMatrix diagonal(double m00, double m11, double m22)
{
    return rows(m00, 0.0, 0.0, 0.0, m11, 0.0, 0.0, 0.0, m22);
}

Eigen::Quaterniond randomQuaternion(Oracle::Random &random)
{
    return Eigen::Quaterniond(random.rotation());
}

bsQuaternion toKit(const Eigen::Quaterniond &q)
{
    return bsQuaternion(q.x(), q.y(), q.z(), q.w());
}

} // namespace

void tst_bsQuaternion::defaultIsTheIdentity()
{
    compareExactly(bsQuaternion(), 0.0, 0.0, 0.0, 1.0);
}

void tst_bsQuaternion::componentsAreVectorFirst()
{
    compareExactly(bsQuaternion(1.0, 2.0, 3.0, 4.0), 1.0, 2.0, 3.0, 4.0);
}

void tst_bsQuaternion::axisAngleNormalizesTheAxis()
{
    const bsQuaternion q = bsQuaternion::fromAxisAngle(90.0, bsVector(0.0, 0.0, 2.0));
    QVERIFY(distance(q, 0.0, 0.0, kRootHalf, kRootHalf) < 1e-15);
    const bsQuaternion full = bsQuaternion::fromAxisAngle(360.0, bsVector(1.0, 0.0, 0.0));
    QVERIFY(distance(full, 0.0, 0.0, 0.0, -1.0) < 1e-15);
}

void tst_bsQuaternion::axisAngleOfAZeroAxisKeepsOnlyTheScalar()
{
    compareExactly(bsQuaternion::fromAxisAngle(60.0, bsVector()), 0.0, 0.0, 0.0, 1.0);
}

void tst_bsQuaternion::axisAngleAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 500; ++round) {
        const double angleDeg = random.number(-720.0, 720.0);
        const Eigen::Vector3d axis = random.vector(10.0);
        const bsQuaternion q = bsQuaternion::fromAxisAngle(angleDeg, Oracle::vector(axis));
        QVERIFY((Oracle::rotation(q.toMatrix()) - Oracle::turn(angleDeg, axis)).norm() < 1e-13);
    }
}

void tst_bsQuaternion::quarterTurnMapsXToY()
{
    const bsMatrix matrix = bsQuaternion::fromAxisAngle(90.0, bsVector(0.0, 0.0, 2.0)).toMatrix();
    QVERIFY(Oracle::distance(matrix.transform(bsVector(1.0, 0.0, 0.0)), {0.0, 1.0, 0.0}) < 1e-15);
}

void tst_bsQuaternion::normalizeScalesToNormOne()
{
    bsQuaternion q(1.0, -3.0, 5.0, 1.0);
    q.normalize();
    QVERIFY(distance(q, 1.0 / 6.0, -0.5, 5.0 / 6.0, 1.0 / 6.0) < 1e-15);
    bsQuaternion atTolerance(0.0, 1e-7, 0.0, 0.0);
    atTolerance.normalize();
    QVERIFY(distance(atTolerance, 0.0, 1.0, 0.0, 0.0) < 1e-15);
}

void tst_bsQuaternion::normalizeOfATinyQuaternionGivesTheIdentity()
{
    bsQuaternion zero(0.0, 0.0, 0.0, 0.0);
    zero.normalize();
    compareExactly(zero, 0.0, 0.0, 0.0, 1.0);
    bsQuaternion tiny(9e-8, 0.0, 3e-8, 0.0);
    tiny.normalize();
    compareExactly(tiny, 0.0, 0.0, 0.0, 1.0);
}

void tst_bsQuaternion::productPutsTheLeftFactorLeft()
{
    // i * j = k, j * i = -k
    const bsQuaternion i(1.0, 0.0, 0.0, 0.0);
    const bsQuaternion j(0.0, 1.0, 0.0, 0.0);
    const bsQuaternion k(0.0, 0.0, 1.0, 0.0);
    compareExactly(bsQuaternion::product(i, j), 0.0, 0.0, 1.0, 0.0);
    compareExactly(bsQuaternion::product(j, i), 0.0, 0.0, -1.0, 0.0);
    compareExactly(bsQuaternion::product(j, k), 1.0, 0.0, 0.0, 0.0);
    compareExactly(bsQuaternion::product(k, i), 0.0, 1.0, 0.0, 0.0);
    compareExactly(bsQuaternion::product(i, i), 0.0, 0.0, 0.0, -1.0);
}

void tst_bsQuaternion::productIsNormalized()
{
    const bsQuaternion product =
        bsQuaternion::product(bsQuaternion(0.0, 0.0, 0.0, 3.0), bsQuaternion(0.0, 2.0, 0.0, 0.0));
    compareExactly(product, 0.0, 1.0, 0.0, 0.0);
    const bsQuaternion vanishing =
        bsQuaternion::product(bsQuaternion(1e-4, 0.0, 0.0, 0.0), bsQuaternion(0.0, 1e-4, 0.0, 0.0));
    compareExactly(vanishing, 0.0, 0.0, 0.0, 1.0);
}

void tst_bsQuaternion::productAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Quaterniond a = randomQuaternion(random);
        const Eigen::Quaterniond b = randomQuaternion(random);
        const Eigen::Quaterniond expected = a * b;
        const bsQuaternion actual = bsQuaternion::product(toKit(a), toKit(b));
        QVERIFY(distance(actual, expected.x(), expected.y(), expected.z(), expected.w()) < 1e-14);
    }
}

void tst_bsQuaternion::toMatrixTakesTheQuaternionAsItIs()
{
    const bsMatrix matrix = bsQuaternion(1.0, 2.0, 3.0, 4.0).toMatrix();
    const bsMatrix expected = rows(-25.0, -20.0, 22.0, 28.0, -19.0, 4.0, -10.0, 20.0, -9.0);
    for (int index = 0; index < 16; ++index)
        QCOMPARE(matrix.m[index], expected.m[index]);
}

void tst_bsQuaternion::toMatrixAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Quaterniond q = randomQuaternion(random);
        QVERIFY(Oracle::distance(toKit(q).toMatrix(),
                                 Oracle::rigid(q.toRotationMatrix(), Eigen::Vector3d::Zero())) <
                1e-14);
    }
}

void tst_bsQuaternion::eulerIsXTimesYTimesZ()
{
    const bsMatrix matrix = bsQuaternion::fromEuler(90.0, 90.0, 0.0).toMatrix();
    // Rx(90) * Ry(90): x goes to -z by the inner turn and on to y by the outer one.
    QVERIFY(Oracle::distance(matrix.transform(bsVector(1.0, 0.0, 0.0)), {0.0, 1.0, 0.0}) < 1e-15);
    QVERIFY(Oracle::distance(matrix.transform(bsVector(0.0, 1.0, 0.0)), {0.0, 0.0, 1.0}) < 1e-15);
    QVERIFY(Oracle::distance(matrix.transform(bsVector(0.0, 0.0, 1.0)), {1.0, 0.0, 0.0}) < 1e-15);
}

void tst_bsQuaternion::eulerMapsYToZ()
{
    const bsMatrix matrix = bsQuaternion::fromEuler(90.0, 0.0, 0.0).toMatrix();
    QVERIFY(Oracle::distance(matrix.transform(bsVector(0.0, 1.0, 0.0)), {0.0, 0.0, 1.0}) < 1e-15);
}

void tst_bsQuaternion::eulerAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Vector3d angles = random.vector(360.0);
        const bsQuaternion q = bsQuaternion::fromEuler(angles.x(), angles.y(), angles.z());
        QVERIFY((Oracle::rotation(q.toMatrix()) - Oracle::euler(angles.x(), angles.y(), angles.z()))
                    .norm() < 1e-13);
    }
}

void tst_bsQuaternion::fromMatrixOfExactMatrices_data()
{
    QTest::addColumn<QVector<double>>("block"); // row by row
    QTest::addColumn<QVector<double>>("expected");

    QTest::newRow("identity") << QVector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}
                              << QVector<double>{0, 0, 0, 1};
    QTest::newRow("half turn about x")
        << QVector<double>{1, 0, 0, 0, -1, 0, 0, 0, -1} << QVector<double>{1, 0, 0, 0};
    QTest::newRow("half turn about y")
        << QVector<double>{-1, 0, 0, 0, 1, 0, 0, 0, -1} << QVector<double>{0, 1, 0, 0};
    QTest::newRow("half turn about z")
        << QVector<double>{-1, 0, 0, 0, -1, 0, 0, 0, 1} << QVector<double>{0, 0, 1, 0};
    // With m00 = m11 the second step does not apply, the third does.
    QTest::newRow("half turn between x and y") << QVector<double>{0, 1, 0, 1, 0, 0, 0, 0, -1}
                                               << QVector<double>{kRootHalf, kRootHalf, 0, 0};
    // With m11 = m22 and the first smaller, the fourth step applies.
    QTest::newRow("half turn between y and z") << QVector<double>{-1, 0, 0, 0, 0, 1, 0, 1, 0}
                                               << QVector<double>{0, kRootHalf, kRootHalf, 0};
    // With m00 = m22 and the second smaller, the fourth step applies as well.
    QTest::newRow("half turn between x and z") << QVector<double>{0, 0, 1, 0, -1, 0, 1, 0, 0}
                                               << QVector<double>{kRootHalf, 0, kRootHalf, 0};
    QTest::newRow("third of a turn about the diagonal")
        << QVector<double>{0, 0, 1, 1, 0, 0, 0, 1, 0} << QVector<double>{0.5, 0.5, 0.5, 0.5};
    QTest::newRow("quarter turn back about z") << QVector<double>{0, 1, 0, -1, 0, 0, 0, 0, 1}
                                               << QVector<double>{0, 0, -kRootHalf, kRootHalf};
    QTest::newRow("zero block") << QVector<double>{0, 0, 0, 0, 0, 0, 0, 0, 0}
                                << QVector<double>{0, 0, 0, 0.5};
}

void tst_bsQuaternion::fromMatrixOfExactMatrices()
{
    QFETCH(QVector<double>, block);
    QFETCH(QVector<double>, expected);
    const bsQuaternion q = bsQuaternion::fromMatrix(rows(
        block[0], block[1], block[2], block[3], block[4], block[5], block[6], block[7], block[8]));
    QVERIFY2(distance(q, expected[0], expected[1], expected[2], expected[3]) < 1e-15,
             qPrintable(QStringLiteral("%1 %2 %3 %4").arg(q.x).arg(q.y).arg(q.z).arg(q.w)));
}

void tst_bsQuaternion::fromMatrixReadsOnlyTheRotation()
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.setColumn(3, bsVector(7.0, 8.0, 9.0), 10.0);
    matrix.m[3] = 11.0;
    compareExactly(bsQuaternion::fromMatrix(matrix), 0.0, 0.0, 0.0, 1.0);
}

void tst_bsQuaternion::fromMatrixIsNotNormalized()
{
    // t = 3 + 3 + 3 + 1 = 10, w = sqrt(10) / 2
    compareExactly(bsQuaternion::fromMatrix(diagonal(3.0, 3.0, 3.0)), 0.0, 0.0, 0.0,
                   std::sqrt(10.0) / 2.0);
    // t = -2, the second step: x = sqrt(1 + 3 + 3 + 3) / 2
    const bsQuaternion second =
        bsQuaternion::fromMatrix(rows(3.0, 1.0, 2.0, 3.0, -3.0, 5.0, 4.0, 7.0, -3.0));
    const double s = 0.5 / std::sqrt(10.0);
    QVERIFY(distance(second, std::sqrt(10.0) / 2.0, 4.0 * s, 6.0 * s, 2.0 * s) < 1e-15);
    // t = -2, the third step: y = sqrt(1 + 3 + 3 + 3) / 2
    const bsQuaternion third =
        bsQuaternion::fromMatrix(rows(-3.0, 1.0, 2.0, 3.0, 3.0, 5.0, 4.0, 7.0, -3.0));
    QVERIFY(distance(third, 4.0 * s, std::sqrt(10.0) / 2.0, 12.0 * s, -2.0 * s) < 1e-15);
    // t = -2, the fourth step: z = sqrt(1 + 3 + 3 + 3) / 2
    const bsQuaternion fourth =
        bsQuaternion::fromMatrix(rows(-3.0, 1.0, 2.0, 3.0, -3.0, 5.0, 4.0, 7.0, 3.0));
    QVERIFY(distance(fourth, 6.0 * s, 12.0 * s, std::sqrt(10.0) / 2.0, 2.0 * s) < 1e-15);
}

void tst_bsQuaternion::fromMatrixTiesGoToTheLaterStep()
{
    // Rotations give the same quaternion by each step; only another matrix tells them apart.
    const double s = 0.5 / std::sqrt(2.0);
    // m00 = m11 > m22: the third step.
    const bsQuaternion third =
        bsQuaternion::fromMatrix(rows(0.0, 1.0, 0.3, 1.0, 0.0, 0.1, 0.2, 0.5, -1.0));
    QVERIFY(distance(third, 2.0 * s, 0.25 / s, 0.6 * s, 0.1 * s) < 1e-15);
    // m00 = m22 > m11: the fourth step.
    const bsQuaternion fourth =
        bsQuaternion::fromMatrix(rows(0.0, 0.1, 1.0, 0.4, -1.0, 0.2, 1.0, 0.7, 0.0));
    QVERIFY(distance(fourth, 2.0 * s, 0.9 * s, 0.25 / s, 0.3 * s) < 1e-15);
    // m11 = m22 > m00: the fourth step.
    const bsQuaternion fourthAgain =
        bsQuaternion::fromMatrix(rows(-1.0, 0.1, 0.6, 0.4, 0.0, 1.0, 0.2, 1.0, 0.0));
    QVERIFY(distance(fourthAgain, 0.8 * s, 2.0 * s, 0.25 / s, 0.3 * s) < 1e-15);
}

void tst_bsQuaternion::fromMatrixTakesTheFirstStepForAnyPositiveTrace()
{
    const double tiny = std::ldexp(1.0, -40);
    // t = 2^-40, s = 2^19
    const bsQuaternion first = bsQuaternion::fromMatrix(
        rows(-0.5, 0.0, 0.0, 2.0 * std::ldexp(1.0, -20), -0.5, 0.0, 0.0, 0.0, tiny));
    compareExactly(first, 0.0, 0.0, 1.0, std::ldexp(1.0, -21));
}

void tst_bsQuaternion::fromMatrixTakesEveryBranch()
{
    // Half turns about oblique axes, scaled so that the trace stays below -1.
    Oracle::Random random(testSeed());
    int taken[3] = {};
    for (int round = 0; round < 3000; ++round) {
        const Eigen::Vector3d axis = random.vector(1.0).normalized();
        Eigen::Matrix3d block = Oracle::turn(180.0, axis);
        block.diagonal().array() -= 1e-12;
        const bsQuaternion q =
            bsQuaternion::fromMatrix(Oracle::matrix(Oracle::rigid(block, Eigen::Vector3d::Zero())));
        int largest = 0;
        axis.cwiseAbs().maxCoeff(&largest);
        ++taken[largest];
        const double sign = axis[largest] < 0.0 ? -1.0 : 1.0;
        QVERIFY(distance(q, sign * axis.x(), sign * axis.y(), sign * axis.z(), 0.0) < 1e-11);
    }
    for (int count : taken)
        QVERIFY(count > 100);
}

void tst_bsQuaternion::fromMatrixAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    int compared = 0;
    for (int round = 0; round < 5000; ++round) {
        const Eigen::Matrix3d block = random.rotation();
        // Near a half turn the first step loses digits to its square root.
        if (block.trace() + 1.0 < 1e-3)
            continue;
        Eigen::Quaterniond expected(block);
        if (expected.w() < 0.0)
            expected.coeffs() *= -1.0;
        const bsQuaternion q =
            bsQuaternion::fromMatrix(Oracle::matrix(Oracle::rigid(block, random.vector(100.0))));
        QVERIFY(distance(q, expected.x(), expected.y(), expected.z(), expected.w()) < 1e-11);
        ++compared;
    }
    QVERIFY(compared > 4000);
}

QUOREL2_TEST_MAIN(tst_bsQuaternion)

#include "tst_bsQuaternion.moc"
