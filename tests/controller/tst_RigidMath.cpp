#include <controller/RigidMath.h>

#include <tests/support/TestMain.h>

#include <QtTest>

#include <Eigen/Geometry>

#include <limits>
#include <random>

namespace {

constexpr double kDegrees = 3.14159265358979323846 / 180.0;

Eigen::Matrix3d toEigen(const Matrix3 &m)
{
    return Eigen::Map<const Eigen::Matrix3d>(m.data());
}

Eigen::Vector3d toEigen(const Vector3 &v)
{
    return {v.x, v.y, v.z};
}

Eigen::Matrix3d eigenRotation(double x, double y, double z)
{
    using Eigen::AngleAxisd;
    using Eigen::Vector3d;
    return (AngleAxisd(x * kDegrees, Vector3d::UnitX()) *
            AngleAxisd(y * kDegrees, Vector3d::UnitY()) *
            AngleAxisd(z * kDegrees, Vector3d::UnitZ()))
        .toRotationMatrix();
}

} // namespace

class tst_RigidMath : public QObject {
    Q_OBJECT

private slots:
    void anglesTurnAboutXThenYThenZ()
    {
        QVERIFY(toEigen(rotationFromAngles({90, 0, 0}) * Vector3{0, 1, 0})
                    .isApprox(Eigen::Vector3d(0, 0, 1)));
        std::mt19937 random(testSeed());
        std::uniform_real_distribution<double> angle(-180.0, 180.0);
        for (int i = 0; i < 200; ++i) {
            const Vector3 angles = {angle(random), angle(random), angle(random)};
            QVERIFY(toEigen(rotationFromAngles(angles))
                        .isApprox(eigenRotation(angles.x, angles.y, angles.z), 1e-12));
        }
    }

    void productsAreThoseOfMatrices()
    {
        std::mt19937 random(testSeed());
        std::uniform_real_distribution<double> element(-2.0, 2.0);
        for (int i = 0; i < 50; ++i) {
            Matrix3 a;
            Matrix3 b;
            for (std::size_t k = 0; k < 9; ++k) {
                a[k] = element(random);
                b[k] = element(random);
            }
            const Vector3 v = {element(random), element(random), element(random)};
            QVERIFY(toEigen(a * b).isApprox(toEigen(a) * toEigen(b), 1e-12));
            QVERIFY(toEigen(a * v).isApprox(toEigen(a) * toEigen(v), 1e-12));
            QVERIFY(toEigen(transposed(a)) == toEigen(a).transpose());
            QVERIFY(toEigen(cross(v, a * v)).isApprox(toEigen(v).cross(toEigen(a * v)), 1e-12));
        }
    }

    void anglesAreReadBackFromARotation_data()
    {
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::addColumn<double>("z");
        QTest::newRow("none") << 0.0 << 0.0 << 0.0;
        QTest::newRow("general") << 10.0 << -25.0 << 40.0;
        QTest::newRow("past a right angle") << 170.0 << 80.0 << -175.0;
        QTest::newRow("y straight up") << 30.0 << 90.0 << 20.0;
        QTest::newRow("y straight down") << -50.0 << -90.0 << 70.0;
    }

    void anglesAreReadBackFromARotation()
    {
        QFETCH(double, x);
        QFETCH(double, y);
        QFETCH(double, z);
        const Eigen::Matrix3d wanted = eigenRotation(x, y, z);
        Matrix3 rotation;
        Eigen::Map<Eigen::Matrix3d>(rotation.data()) = wanted;
        const Vector3 angles = anglesFromRotation(rotation);
        QVERIFY(eigenRotation(angles.x, angles.y, angles.z).isApprox(wanted, 1e-7));
    }

    void onlyRotationsAreRotations_data()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double infinity = std::numeric_limits<double>::infinity();
        QTest::addColumn<QVector<double>>("m");
        QTest::addColumn<bool>("wanted");
        using V = QVector<double>;
        QTest::newRow("identity") << V{1, 0, 0, 0, 1, 0, 0, 0, 1} << true;
        QTest::newRow("quarter turn") << V{0, 1, 0, -1, 0, 0, 0, 0, 1} << true;
        QTest::newRow("scaled by half the tolerance")
            << V{1.0005, 0, 0, 0, 1.0005, 0, 0, 0, 1.0005} << true;
        QTest::newRow("scaled by twice the tolerance")
            << V{1.002, 0, 0, 0, 1.002, 0, 0, 0, 1.002} << false;
        QTest::newRow("sheared") << V{1, 0, 0, 0.01, 1, 0, 0, 0, 1} << false;
        QTest::newRow("mirror") << V{1, 0, 0, 0, 1, 0, 0, 0, -1} << false;
        QTest::newRow("zero") << V{0, 0, 0, 0, 0, 0, 0, 0, 0} << false;
        QTest::newRow("one axis twice") << V{1, 0, 0, 1, 0, 0, 0, 0, 1} << false;
        QTest::newRow("not a number") << V{1, 0, 0, 0, nan, 0, 0, 0, 1} << false;
        QTest::newRow("infinite") << V{1, 0, 0, 0, infinity, 0, 0, 0, 1} << false;
    }

    void onlyRotationsAreRotations()
    {
        QFETCH(QVector<double>, m);
        QFETCH(bool, wanted);
        Matrix3 matrix;
        std::copy(m.begin(), m.end(), matrix.begin());
        QCOMPARE(isRotation(matrix, 1e-3), wanted);
    }

    void orthonormalizingGivesTheRotationNextToIt()
    {
        std::mt19937 random(testSeed());
        std::uniform_real_distribution<double> noise(-2e-4, 2e-4);
        const Eigen::Matrix3d exact = eigenRotation(20, -40, 110);
        Matrix3 matrix;
        for (int i = 0; i < 9; ++i)
            matrix[static_cast<std::size_t>(i)] = exact(i) + noise(random);
        const Eigen::Matrix3d result = toEigen(orthonormalized(matrix));
        QVERIFY(result.isUnitary(1e-12));
        QVERIFY(result.determinant() > 0.0);
        QVERIFY((result - exact).cwiseAbs().maxCoeff() < 2e-3);
    }

    void redefinitionMovesThePoseAgainstTheCoordinates()
    {
        RigidTransform pose{rotationFromAngles({10, 20, 30}), {100, -50, 7}};
        RigidTransform change{rotationFromAngles({-70, 5, 160}), {3, 4, -5}};
        const RigidTransform after = poseAfterRedefinition(pose, change);

        Eigen::Isometry3d eigenPose = Eigen::Translation3d(toEigen(pose.translation)) *
                                      Eigen::Isometry3d(toEigen(pose.rotation));
        Eigen::Isometry3d eigenChange = Eigen::Translation3d(toEigen(change.translation)) *
                                        Eigen::Isometry3d(toEigen(change.rotation));
        const Eigen::Isometry3d wanted = eigenPose * eigenChange.inverse();
        QVERIFY(toEigen(after.rotation).isApprox(wanted.linear(), 1e-12));
        QVERIFY(toEigen(after.translation).isApprox(wanted.translation(), 1e-12));
    }
};

QUOREL2_TEST_MAIN(tst_RigidMath)
#include "tst_RigidMath.moc"
