#include "GeometryOracle.h"

#include <model/bsMatrix.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <limits>

class tst_bsMatrix : public QObject {
    Q_OBJECT

private slots:
    void defaultIsAllZeros();
    void identityIsSharedAndComplete();
    void elementsAreStoredColumnByColumn();
    void columnsAreReadAndWritten();
    void productAgreesWithEigen();
    void productAssignmentPutsTheArgumentRight();
    void aMatrixCanMultiplyItself();
    void transformMapsPoints();
    void transformDividesByTheFourthComponent();
    void transformLeavesTheProductUndividedAtZero();
    void transformAgreesWithEigen();
    void rigidInverseAgreesWithEigen();
    void rigidInverseKeepsTheLastElementAndClearsTheBottomRow();
    void invertingTwiceGivesTheMatrixBack();
    void differsComparesEachElement_data();
    void differsComparesEachElement();
    void differsWithNan();
    void isFiniteOnlyIfEveryElementIs();
    void orthonormalizingFindsTheRotationBehindRoundedNumbers_data();
    void orthonormalizingFindsTheRotationBehindRoundedNumbers();
    void orthonormalizingLeavesWhatIsNoRotation();
    void exactHalfTurnTouchesOnlyHalfTurns();
    void exactHalfTurnNeverLeavesAnExcess();
    void exactHalfTurnEndsForAnyInput();
};

namespace {

/// Element i is i + 1, in storage order.
bsMatrix counted()
{
    bsMatrix matrix;
    for (int index = 0; index < 16; ++index)
        matrix.m[index] = index + 1.0;
    return matrix;
}

bool areIdentical(const bsMatrix &a, const bsMatrix &b)
{
    return std::equal(std::begin(a.m), std::end(a.m), std::begin(b.m));
}

} // namespace

void tst_bsMatrix::defaultIsAllZeros()
{
    const bsMatrix matrix;
    for (double value : matrix.m)
        QCOMPARE(value, 0.0);
}

void tst_bsMatrix::identityIsSharedAndComplete()
{
    QCOMPARE(&bsMatrix::identity(), &bsMatrix::identity());
    bsMatrix written = counted();
    written.setIdentity();
    for (int index = 0; index < 16; ++index) {
        const double expected = index % 5 == 0 ? 1.0 : 0.0;
        QCOMPARE(bsMatrix::identity().m[index], expected);
        QCOMPARE(written.m[index], expected);
    }
}

void tst_bsMatrix::elementsAreStoredColumnByColumn()
{
    bsMatrix matrix = counted();
    const bsMatrix &constant = matrix;
    QCOMPARE(constant.element(0, 0), 1.0);
    QCOMPARE(constant.element(1, 0), 2.0);
    QCOMPARE(constant.element(0, 1), 5.0);
    QCOMPARE(constant.element(2, 3), 15.0);
    QCOMPARE(constant.element(3, 2), 12.0);
    matrix.element(1, 3) = -7.0;
    QCOMPARE(matrix.m[13], -7.0);
}

void tst_bsMatrix::columnsAreReadAndWritten()
{
    bsMatrix matrix = counted();
    const bsVector translation = matrix.column(3);
    QCOMPARE(translation.x, 13.0);
    QCOMPARE(translation.y, 14.0);
    QCOMPARE(translation.z, 15.0);

    matrix.setColumn(1, bsVector(-1.0, -2.0, -3.0), -4.0);
    QCOMPARE(matrix.m[4], -1.0);
    QCOMPARE(matrix.m[5], -2.0);
    QCOMPARE(matrix.m[6], -3.0);
    QCOMPARE(matrix.m[7], -4.0);
    QCOMPARE(matrix.m[3], 4.0);
    QCOMPARE(matrix.m[8], 9.0);
}

void tst_bsMatrix::productAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 500; ++round) {
        Eigen::Matrix4d a;
        Eigen::Matrix4d b;
        for (int index = 0; index < 16; ++index) {
            a(index) = random.number(-10.0, 10.0);
            b(index) = random.number(-10.0, 10.0);
        }
        QVERIFY(Oracle::distance(Oracle::matrix(a) * Oracle::matrix(b), a * b) < 1e-11);
    }
}

void tst_bsMatrix::productAssignmentPutsTheArgumentRight()
{
    // A quarter turn about z, then a shift along the turned x axis.
    bsMatrix turn = bsMatrix::identity();
    turn.setColumn(0, bsVector(0.0, 1.0, 0.0), 0.0);
    turn.setColumn(1, bsVector(-1.0, 0.0, 0.0), 0.0);
    bsMatrix shift = bsMatrix::identity();
    shift.setColumn(3, bsVector(10.0, 0.0, 0.0), 1.0);

    bsMatrix matrix = turn;
    bsMatrix &result = matrix *= shift;
    QCOMPARE(&result, &matrix);
    QCOMPARE(matrix.column(3).x, 0.0);
    QCOMPARE(matrix.column(3).y, 10.0);
    QCOMPARE(matrix.column(3).z, 0.0);
}

void tst_bsMatrix::aMatrixCanMultiplyItself()
{
    bsMatrix matrix = counted();
    matrix *= matrix;
    QCOMPARE(Oracle::distance(matrix, Oracle::matrix(counted()) * Oracle::matrix(counted())), 0.0);
}

void tst_bsMatrix::transformMapsPoints()
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.setColumn(0, bsVector(0.0, 1.0, 0.0), 0.0);
    matrix.setColumn(1, bsVector(-1.0, 0.0, 0.0), 0.0);
    matrix.setColumn(3, bsVector(100.0, 200.0, 300.0), 1.0);
    const bsVector mapped = matrix.transform(bsVector(1.0, 2.0, 3.0));
    QCOMPARE(mapped.x, 98.0);
    QCOMPARE(mapped.y, 201.0);
    QCOMPARE(mapped.z, 303.0);
}

void tst_bsMatrix::transformDividesByTheFourthComponent()
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.m[3] = 1.0;
    matrix.m[7] = 2.0;
    matrix.m[11] = 3.0;
    matrix.m[15] = -12.0;
    // 1 * 1 + 2 * 2 + 3 * 3 - 12 = 2
    const bsVector mapped = matrix.transform(bsVector(1.0, 2.0, 3.0));
    QCOMPARE(mapped.x, 0.5);
    QCOMPARE(mapped.y, 1.0);
    QCOMPARE(mapped.z, 1.5);
}

void tst_bsMatrix::transformLeavesTheProductUndividedAtZero()
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.m[3] = 1.0;
    matrix.m[15] = -4.0;
    matrix.m[12] = 10.0;
    const bsVector mapped = matrix.transform(bsVector(4.0, 5.0, 6.0));
    QCOMPARE(mapped.x, 14.0);
    QCOMPARE(mapped.y, 5.0);
    QCOMPARE(mapped.z, 6.0);
}

void tst_bsMatrix::transformAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 500; ++round) {
        const Eigen::Matrix4d matrix = random.rigid(500.0);
        const Eigen::Vector3d point = random.vector(500.0);
        const Eigen::Vector3d expected = (matrix * point.homogeneous()).head<3>();
        QVERIFY(Oracle::distance(Oracle::matrix(matrix).transform(Oracle::vector(point)),
                                 expected) < 1e-10);
    }
}

void tst_bsMatrix::rigidInverseAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 500; ++round) {
        const Eigen::Matrix4d expected = random.rigid(500.0);
        const bsMatrix matrix = Oracle::matrix(expected);
        const bsMatrix inverse = matrix.rigidInverse();
        QVERIFY(Oracle::distance(inverse, expected.inverse()) < 1e-9);
        QVERIFY(!differs(matrix * inverse, bsMatrix::identity()));
        bsMatrix inPlace = matrix;
        inPlace.invertRigid();
        QVERIFY(areIdentical(inPlace, inverse));
    }
}

void tst_bsMatrix::rigidInverseKeepsTheLastElementAndClearsTheBottomRow()
{
    const bsMatrix inverse = counted().rigidInverse();
    // Rows of the rotation become columns; translation component i is minus column i times t.
    const double expected[16] = {1.0,
                                 5.0,
                                 9.0,
                                 0.0,
                                 2.0,
                                 6.0,
                                 10.0,
                                 0.0,
                                 3.0,
                                 7.0,
                                 11.0,
                                 0.0,
                                 -(1.0 * 13 + 2.0 * 14 + 3.0 * 15),
                                 -(5.0 * 13 + 6.0 * 14 + 7.0 * 15),
                                 -(9.0 * 13 + 10.0 * 14 + 11.0 * 15),
                                 16.0};
    for (int index = 0; index < 16; ++index)
        QCOMPARE(inverse.m[index], expected[index]);
}

void tst_bsMatrix::invertingTwiceGivesTheMatrixBack()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 500; ++round) {
        const bsMatrix matrix = Oracle::matrix(random.rigid(500.0));
        QVERIFY(!differs(matrix.rigidInverse().rigidInverse(), matrix));
    }
}

void tst_bsMatrix::differsComparesEachElement_data()
{
    QTest::addColumn<double>("offset");
    QTest::addColumn<bool>("expected");
    QTest::newRow("equal") << 0.0 << false;
    QTest::newRow("within the tolerance") << 9.9e-8 << false;
    QTest::newRow("within the tolerance below") << -9.9e-8 << false;
    QTest::newRow("exactly the tolerance") << 1e-7 << true;
    QTest::newRow("beyond the tolerance") << -1.1e-7 << true;
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << true;
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << true;
}

void tst_bsMatrix::differsComparesEachElement()
{
    QFETCH(double, offset);
    QFETCH(bool, expected);
    for (int index = 0; index < 16; ++index) {
        const bsMatrix zeros;
        bsMatrix changed;
        changed.m[index] += offset;
        QCOMPARE(differs(zeros, changed), expected);
        QCOMPARE(differs(changed, zeros), expected);
    }
    bsMatrix allChanged;
    for (double &value : allChanged.m)
        value += offset;
    QCOMPARE(differs(allChanged, bsMatrix()), expected);
}

void tst_bsMatrix::differsWithNan()
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.m[9] = std::numeric_limits<double>::quiet_NaN();
    QVERIFY(differs(matrix, matrix));
}

void tst_bsMatrix::isFiniteOnlyIfEveryElementIs()
{
    QVERIFY(isFinite(bsMatrix::identity()));
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        for (int index = 0; index < 16; ++index) {
            bsMatrix matrix;
            matrix.m[index] = bad;
            QVERIFY(!isFinite(matrix));
        }
    }
}

void tst_bsMatrix::orthonormalizingFindsTheRotationBehindRoundedNumbers_data()
{
    QTest::addColumn<double>("step");
    QTest::addColumn<double>("limit");
    QTest::newRow("3 decimals") << 1e-3 << 1.5e-3;
    QTest::newRow("6 decimals") << 1e-6 << 1.5e-6;
    QTest::newRow("as they are") << 0.0 << 1e-14;
}

void tst_bsMatrix::orthonormalizingFindsTheRotationBehindRoundedNumbers()
{
    QFETCH(double, step);
    QFETCH(double, limit);
    Oracle::Random random(testSeed());
    for (int round = 0; round < 2000; ++round) {
        const Eigen::Matrix4d exact = Oracle::rigid(random.rotation(), random.vector(500.0));
        bsMatrix matrix = Oracle::matrix(exact);
        for (int index : {0, 1, 2, 4, 5, 6, 8, 9, 10}) {
            if (step > 0.0)
                matrix.m[index] = std::round(matrix.m[index] / step) * step;
        }
        // The nearest rotation, by singular values.
        const Eigen::JacobiSVD<Eigen::Matrix3d> svd(Oracle::rotation(Oracle::matrix(matrix)),
                                                    Eigen::ComputeFullU | Eigen::ComputeFullV);
        const Eigen::Matrix3d nearest = svd.matrixU() * svd.matrixV().transpose();
        const bsMatrix before = matrix;
        matrix.orthonormalizeRotation();
        const Eigen::Matrix3d block = Oracle::rotation(Oracle::matrix(matrix));
        QVERIFY((block - nearest).norm() < 1e-13);
        QVERIFY((block - Oracle::rotation(exact)).norm() < limit);
        for (int index : {3, 7, 11, 12, 13, 14, 15})
            QCOMPARE(matrix.m[index], before.m[index]);
    }
}

void tst_bsMatrix::orthonormalizingLeavesWhatIsNoRotation()
{
    bsMatrix zeros;
    zeros.orthonormalizeRotation();
    QVERIFY(areIdentical(zeros, bsMatrix()));

    bsMatrix any = counted();
    any.orthonormalizeRotation();
    QVERIFY(areIdentical(any, counted()));

    bsMatrix undefined = bsMatrix::identity();
    undefined.m[5] = std::numeric_limits<double>::quiet_NaN();
    undefined.orthonormalizeRotation();
    QCOMPARE(undefined.m[0], 1.0);
}

void tst_bsMatrix::exactHalfTurnTouchesOnlyHalfTurns()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 500; ++round) {
        const Eigen::Vector3d axis = random.vector(1.0);
        // 0.001 degrees is the finest angle that can be typed; a half turn is one step further.
        for (double angleDeg : {-179.999, -90.0, 0.0, 1e-6, 120.0, 179.999}) {
            const bsMatrix matrix =
                Oracle::matrix(Oracle::rigid(Oracle::turn(angleDeg, axis), random.vector(9.0)));
            QVERIFY(areIdentical(matrix.withExactHalfTurn(), matrix));
        }
    }
}

void tst_bsMatrix::exactHalfTurnNeverLeavesAnExcess()
{
    Oracle::Random random(testSeed());
    int touched = 0;
    for (int round = 0; round < 5000; ++round) {
        const bsMatrix matrix = Oracle::matrix(
            Oracle::rigid(Oracle::turn(180.0, random.vector(1.0)), random.vector(9.0)));
        const bsMatrix exact = matrix.withExactHalfTurn();
        QVERIFY(exact.m[0] + exact.m[5] + exact.m[10] + 1.0 <= 0.0);
        QVERIFY(Oracle::distance(exact, Oracle::matrix(matrix)) < 1e-14);
        if (!areIdentical(exact, matrix))
            ++touched;
    }
    QVERIFY2(touched > 100, qPrintable(QString::number(touched)));
}

void tst_bsMatrix::exactHalfTurnEndsForAnyInput()
{
    bsMatrix huge = bsMatrix::identity();
    huge.m[0] = 1e20;
    huge.m[5] = -1e20;
    huge.m[10] = -1.0 + 1e-11;
    QVERIFY(areIdentical(huge.withExactHalfTurn(), huge));

    bsMatrix undefined = bsMatrix::identity();
    undefined.m[5] = std::numeric_limits<double>::quiet_NaN();
    QVERIFY(std::isnan(undefined.withExactHalfTurn().m[5]));

    bsMatrix infinite = bsMatrix::identity();
    infinite.m[5] = -std::numeric_limits<double>::infinity();
    QVERIFY(areIdentical(infinite.withExactHalfTurn(), infinite));
}

QUOREL2_TEST_MAIN(tst_bsMatrix)

#include "tst_bsMatrix.moc"
