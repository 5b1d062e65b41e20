#include "GeometryOracle.h"

#include <model/bsPose.h>
#include <tests/support/TestMain.h>

#include <QtTest>

class tst_bsPose : public QObject {
    Q_OBJECT

private slots:
    void defaultIsTheIdentity();
    void fromMatrixTakesColumnAndSpare();
    void toMatrixHoldsRotationAndPosition();
    void roundTripAgreesWithEigen();
    void rotationsNearHalfATurnKeepTheirDigits();
    void copiesCarryTheSpare();
    void copiesPassThroughTheMatrix_data();
    void copiesPassThroughTheMatrix();
    void assignmentToItselfKeepsThePose();
    void halfTurnsSurviveACopy();
    void turnsOfNearlyHalfACircleSurviveAnyNumberOfCopies();
    void whatIsNoRotationIsNotMadeOne();
};

void tst_bsPose::defaultIsTheIdentity()
{
    const bsPose pose;
    QCOMPARE(pose.position.length(), 0.0);
    QCOMPARE(pose.orientation.x, 0.0);
    QCOMPARE(pose.orientation.y, 0.0);
    QCOMPARE(pose.orientation.z, 0.0);
    QCOMPARE(pose.orientation.w, 1.0);
    QCOMPARE(pose.spare, 0.0);
    QCOMPARE(Oracle::distance(pose.toMatrix(), Eigen::Matrix4d::Identity()), 0.0);
}

void tst_bsPose::fromMatrixTakesColumnAndSpare()
{
    bsMatrix matrix = bsMatrix::identity();
    matrix.setColumn(0, bsVector(0.0, 0.0, -1.0), 0.0); // a quarter turn about y
    matrix.setColumn(2, bsVector(1.0, 0.0, 0.0), 0.0);
    matrix.setColumn(3, bsVector(1.0, 2.0, 3.0), 1.0);
    const bsPose pose = bsPose::fromMatrix(matrix, 4.5);
    QCOMPARE(pose.position.x, 1.0);
    QCOMPARE(pose.position.y, 2.0);
    QCOMPARE(pose.position.z, 3.0);
    QCOMPARE(pose.spare, 4.5);
    QVERIFY(std::fabs(pose.orientation.y - std::sqrt(0.5)) < 1e-15);
    QVERIFY(std::fabs(pose.orientation.w - std::sqrt(0.5)) < 1e-15);
}

void tst_bsPose::toMatrixHoldsRotationAndPosition()
{
    bsPose pose;
    pose.position.set(10.0, -20.0, 30.0);
    pose.orientation = bsQuaternion(0.0, 0.0, 0.6, 0.8);
    // cos = 0.8^2 - 0.6^2 = 0.28, sin = 2 * 0.6 * 0.8 = 0.96
    Eigen::Matrix4d expected;
    expected << 0.28, -0.96, 0.0, 10.0, 0.96, 0.28, 0.0, -20.0, 0.0, 0.0, 1.0, 30.0, 0.0, 0.0, 0.0,
        1.0;
    QVERIFY(Oracle::distance(pose.toMatrix(), expected) < 1e-15);
}

void tst_bsPose::roundTripAgreesWithEigen()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 2000; ++round) {
        const Eigen::Matrix4d matrix = random.rigid(1000.0);
        const bsPose pose = bsPose::fromMatrix(Oracle::matrix(matrix), 0.0);
        QVERIFY(Oracle::distance(pose.toMatrix(), matrix) < 1e-10);
    }
}

void tst_bsPose::rotationsNearHalfATurnKeepTheirDigits()
{
    Oracle::Random random(testSeed());
    for (int round = 0; round < 5000; ++round) {
        const double offDeg = std::pow(10.0, random.number(-8.0, 1.0));
        const Eigen::Matrix4d matrix =
            Oracle::rigid(Oracle::turn(180.0 - offDeg, random.vector(1.0)), random.vector(100.0));
        const bsPose pose = bsPose::fromMatrix(Oracle::matrix(matrix), 0.0);
        const bsPose copied(pose);
        QVERIFY2(Oracle::distance(pose.toMatrix(), matrix) < 1e-9,
                 qPrintable(QString::number(offDeg)));
        QVERIFY2(Oracle::distance(copied.toMatrix(), matrix) < 1e-9,
                 qPrintable(QString::number(offDeg)));
    }
}

void tst_bsPose::copiesCarryTheSpare()
{
    bsPose pose;
    pose.spare = -2.25;
    pose.position.set(1.0, 2.0, 3.0);
    const bsPose copied(pose);
    QCOMPARE(copied.spare, -2.25);
    QCOMPARE(copied.position.y, 2.0);
    bsPose assigned;
    assigned = pose;
    QCOMPARE(assigned.spare, -2.25);
    QCOMPARE(assigned.position.z, 3.0);
}

void tst_bsPose::copiesPassThroughTheMatrix_data()
{
    QTest::addColumn<QVector<double>>("original");
    QTest::addColumn<QVector<double>>("expected");

    QTest::newRow("the scalar of a matrix's quaternion is positive")
        << QVector<double>{0.0, 0.0, 0.6, -0.8} << QVector<double>{0.0, 0.0, -0.6, 0.8};
    QTest::newRow("the negated identity")
        << QVector<double>{0.0, 0.0, 0.0, -1.0} << QVector<double>{0.0, 0.0, 0.0, 1.0};
    QTest::newRow("a bare scalar of any size is no turn")
        << QVector<double>{0.0, 0.0, 0.0, 5.0} << QVector<double>{0.0, 0.0, 0.0, 1.0};
    // z = 0.5, w = 0.5: rows (0.5, -0.5, 0), (0.5, 0.5, 0), (0, 0, 1); t = 3, s = 0.5 / sqrt(3)
    QTest::newRow("a short quaternion is not stretched")
        << QVector<double>{0.0, 0.0, 0.5, 0.5}
        << QVector<double>{0.0, 0.0, 0.5 / std::sqrt(3.0), std::sqrt(3.0) / 2.0};
}

void tst_bsPose::copiesPassThroughTheMatrix()
{
    QFETCH(QVector<double>, original);
    QFETCH(QVector<double>, expected);
    bsPose pose;
    pose.orientation = bsQuaternion(original[0], original[1], original[2], original[3]);
    const bsPose copied(pose);
    bsPose assigned;
    assigned = pose;
    for (const bsQuaternion &q : {copied.orientation, assigned.orientation}) {
        QVERIFY(std::fabs(q.x - expected[0]) < 1e-15);
        QVERIFY(std::fabs(q.y - expected[1]) < 1e-15);
        QVERIFY(std::fabs(q.z - expected[2]) < 1e-15);
        QVERIFY(std::fabs(q.w - expected[3]) < 1e-15);
    }
}

void tst_bsPose::assignmentToItselfKeepsThePose()
{
    bsPose pose;
    pose.position.set(1.0, 2.0, 3.0);
    pose.orientation = bsQuaternion::fromEuler(10.0, 20.0, 30.0);
    pose.spare = 7.0;
    const Eigen::Matrix4d before = Oracle::matrix(pose.toMatrix());
    const bsPose &alias = pose;
    pose = alias;
    QVERIFY(Oracle::distance(pose.toMatrix(), before) < 1e-14);
    QCOMPARE(pose.spare, 7.0);
}

void tst_bsPose::halfTurnsSurviveACopy()
{
    // Whole degrees that add up to a half turn about an oblique axis, as a user types them.
    for (int angleDeg = -179; angleDeg < 180; ++angleDeg) {
        for (int arrangement = 0; arrangement < 3; ++arrangement) {
            const double first = arrangement == 2 ? angleDeg : 180.0;
            const double second =
                arrangement == 1 ? angleDeg * 0.5 : (arrangement == 2 ? 0.0 : angleDeg);
            const double third = arrangement == 0 ? 0.0 : (arrangement == 1 ? 0.0 : 180.0);
            bsPose pose;
            pose.orientation = bsQuaternion::fromEuler(first, second, third);
            bsPose copied(pose);
            for (int round = 0; round < 3; ++round) {
                QVERIFY2((Oracle::rotation(copied.toMatrix()) - Oracle::euler(first, second, third))
                                 .cwiseAbs()
                                 .maxCoeff() < 1e-9,
                         qPrintable(QStringLiteral("%1 %2 %3").arg(first).arg(second).arg(third)));
                copied = bsPose(copied);
            }
        }
    }
}

void tst_bsPose::turnsOfNearlyHalfACircleSurviveAnyNumberOfCopies()
{
    std::mt19937 random(testSeed());
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    for (int i = 0; i < 20000; ++i) {
        const Eigen::Vector3d axis(number(random), number(random), number(random));
        // From 10 degrees to what no longer differs from a half turn, on both sides of it.
        const double missing = 0.2 * std::pow(10.0, 12.0 * (number(random) - 1.0) / 2.0);
        const double angle = i % 2 ? EIGEN_PI - missing : EIGEN_PI + missing;
        const Eigen::Matrix4d matrix =
            Oracle::rigid(Eigen::AngleAxisd(angle, axis.normalized()).toRotationMatrix(),
                          Eigen::Vector3d::Zero());
        bsPose pose = bsPose::fromMatrix(Oracle::matrix(matrix), 0.0);
        for (int copy = 0; copy < 4; ++copy) {
            const double error = Oracle::distance(pose.toMatrix(), matrix);
            QVERIFY2(error < 1e-9, qPrintable(QStringLiteral("%1 rad missing, copy %2: %3")
                                                  .arg(missing)
                                                  .arg(copy)
                                                  .arg(error)));
            pose = bsPose(pose);
            pose = bsPose::fromMatrix(pose.toMatrix(), 0.0);
        }
    }
}

void tst_bsPose::whatIsNoRotationIsNotMadeOne()
{
    bsMatrix crooked = bsMatrix::identity();
    crooked.element(0, 0) = 1.01;
    const bsPose pose = bsPose::fromMatrix(crooked, 0.0);
    QVERIFY(std::fabs(pose.orientation.w - std::sqrt(4.01) / 2.0) < 1e-15);
}

QUOREL2_TEST_MAIN(tst_bsPose)

#include "tst_bsPose.moc"
