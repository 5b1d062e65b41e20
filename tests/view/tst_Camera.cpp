#include <tests/model/GeometryOracle.h>
#include <tests/support/TestMain.h>
#include <view/Camera.h>

#include <QtTest>

#include <Eigen/Geometry>

#include <cmath>

namespace {

Eigen::Matrix4d matrixOf(const bsPose &pose)
{
    return Eigen::Map<const Eigen::Matrix4d>(pose.toMatrix().m);
}

Eigen::Matrix3d turn(double xDeg, double yDeg, double zDeg)
{
    const double radians = M_PI / 180.0;
    return (Eigen::AngleAxisd(xDeg * radians, Eigen::Vector3d::UnitX()) *
            Eigen::AngleAxisd(yDeg * radians, Eigen::Vector3d::UnitY()) *
            Eigen::AngleAxisd(zDeg * radians, Eigen::Vector3d::UnitZ()))
        .toRotationMatrix();
}

Eigen::Matrix4d pose(const Eigen::Matrix3d &rotation, double x, double y, double z)
{
    Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
    matrix.topLeftCorner<3, 3>() = rotation;
    matrix.topRightCorner<3, 1>() = Eigen::Vector3d(x, y, z);
    return matrix;
}

bool isClose(const Eigen::Matrix4d &a, const Eigen::Matrix4d &b)
{
    return (a - b).cwiseAbs().maxCoeff() < 1e-9;
}

const Eigen::Matrix4d kInitial = pose(Eigen::Matrix3d::Identity(), 0.0, 0.0, -300.0);

} // namespace

class tst_Camera : public QObject {
    Q_OBJECT

private slots:
    void startsInFrontOfThePivot();
    void matrixTakesThePivotToTheViewPosition();
    void rotationIsAppliedXAfterYAfterZToTheSavedOrientation();
    void translationIsAddedToTheSavedPosition();
    void editsDoNotAccumulateWithoutAStore();
    void zeroRotationRestoresTheSavedOrientation();
    void storedEditsAccumulate();
    void rotationKeepsThePositionAndTranslationTheOrientation();
    void setOrientationStoresAtOnce();
    void setPositionStoresAtOnce();
    void setViewStoresAtOnce();
    void transformMultipliesFromTheRightAndStores();
    void eachModeKeepsItsOwnCamera();
    void switchingTakesUpTheParkedViewAsReference();
    void sameModeAgainChangesNothing();
    void resetParkedViewsLeavesTheShownView();
    void resetParkedViewsForgetsBothParkedCameras();
    void storingHalfATurnKeepsIt();
    void halfTurnsByMatrixAreTaken();
    void thousandsOfSmallStepsStayARotation();
};

void tst_Camera::startsInFrontOfThePivot()
{
    const Camera camera;
    QVERIFY(isClose(matrixOf(camera.view()), kInitial));
    QVERIFY(isClose(matrixOf(camera.savedView()), kInitial));
    QVERIFY(!camera.isOnline());
}

void tst_Camera::matrixTakesThePivotToTheViewPosition()
{
    Camera camera;
    camera.setPosition(bsVector(1.0, 2.0, -30.0));
    camera.rotate(20.0, 30.0, 40.0);
    const bsVector pivot = camera.matrix().transform(bsVector());
    QCOMPARE(pivot.x, 1.0);
    QCOMPARE(pivot.y, 2.0);
    QCOMPARE(pivot.z, -30.0);
}

void tst_Camera::rotationIsAppliedXAfterYAfterZToTheSavedOrientation()
{
    Camera camera;
    camera.rotate(10.0, 20.0, 30.0);
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(10.0, 20.0, 30.0), 0.0, 0.0, -300.0)));
    camera.store();
    camera.rotate(-50.0, 5.0, 70.0);
    QVERIFY(isClose(matrixOf(camera.view()),
                    pose(turn(-50.0, 5.0, 70.0) * turn(10.0, 20.0, 30.0), 0.0, 0.0, -300.0)));
}

void tst_Camera::translationIsAddedToTheSavedPosition()
{
    Camera camera;
    camera.rotate(0.0, 90.0, 0.0);
    camera.store();
    camera.translate(10.0, -5.0, 2.0);
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(0.0, 90.0, 0.0), 10.0, -5.0, -298.0)));
}

void tst_Camera::editsDoNotAccumulateWithoutAStore()
{
    Camera camera;
    camera.translate(10.0, 0.0, 0.0);
    camera.translate(0.0, 20.0, 0.0);
    camera.rotate(40.0, 0.0, 0.0);
    camera.rotate(0.0, 50.0, 0.0);
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(0.0, 50.0, 0.0), 0.0, 20.0, -300.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), kInitial));
}

void tst_Camera::zeroRotationRestoresTheSavedOrientation()
{
    Camera camera;
    camera.rotate(10.0, 20.0, 30.0);
    camera.store();
    camera.rotate(33.0, 44.0, 55.0);
    camera.rotate(0.0, 0.0, 0.0);
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(10.0, 20.0, 30.0), 0.0, 0.0, -300.0)));
}

void tst_Camera::storedEditsAccumulate()
{
    Camera camera;
    for (int i = 0; i < 3; ++i) {
        camera.translate(1.0, 2.0, 3.0);
        camera.rotate(0.0, 0.0, 15.0);
        camera.store();
    }
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(0.0, 0.0, 45.0), 3.0, 6.0, -291.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), matrixOf(camera.view())));
}

void tst_Camera::rotationKeepsThePositionAndTranslationTheOrientation()
{
    Camera camera;
    camera.translate(7.0, 8.0, 9.0);
    camera.rotate(90.0, 0.0, 0.0);
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(90.0, 0.0, 0.0), 7.0, 8.0, -291.0)));
}

void tst_Camera::setOrientationStoresAtOnce()
{
    Camera camera;
    camera.translate(1.0, 2.0, 3.0);
    const Eigen::Matrix3d rotation = turn(15.0, -25.0, 35.0);
    camera.setOrientation(Oracle::matrix(pose(rotation, 77.0, 88.0, 99.0)));
    QVERIFY(isClose(matrixOf(camera.view()), pose(rotation, 1.0, 2.0, -297.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), matrixOf(camera.view())));
}

void tst_Camera::setPositionStoresAtOnce()
{
    Camera camera;
    camera.rotate(0.0, 30.0, 0.0);
    camera.setPosition(bsVector(4.0, 5.0, -600.0));
    QVERIFY(isClose(matrixOf(camera.view()), pose(turn(0.0, 30.0, 0.0), 4.0, 5.0, -600.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), matrixOf(camera.view())));
}

void tst_Camera::setViewStoresAtOnce()
{
    Camera camera;
    const Eigen::Matrix4d wanted = pose(turn(-10.0, 60.0, 5.0), 1.0, -2.0, -123.0);
    camera.setView(bsPose::fromMatrix(Oracle::matrix(wanted), 0.0));
    QVERIFY(isClose(matrixOf(camera.view()), wanted));
    QVERIFY(isClose(matrixOf(camera.savedView()), wanted));
}

void tst_Camera::transformMultipliesFromTheRightAndStores()
{
    Camera camera;
    camera.setOrientation(Oracle::matrix(pose(turn(30.0, 0.0, 0.0), 0.0, 0.0, 0.0)));
    const Eigen::Matrix4d step = pose(turn(0.0, 40.0, 10.0), 5.0, 6.0, 7.0);
    camera.transform(Oracle::matrix(step));
    const Eigen::Matrix4d wanted = pose(turn(30.0, 0.0, 0.0), 0.0, 0.0, -300.0) * step;
    QVERIFY(isClose(matrixOf(camera.view()), wanted));
    QVERIFY(isClose(matrixOf(camera.savedView()), wanted));
}

void tst_Camera::eachModeKeepsItsOwnCamera()
{
    Camera camera;
    camera.setPosition(bsVector(1.0, 2.0, -100.0));
    camera.setOrientation(Oracle::matrix(pose(turn(25.0, 35.0, 45.0), 0.0, 0.0, 0.0)));
    const Eigen::Matrix4d offline = matrixOf(camera.view());

    camera.setOnline(true);
    QVERIFY(camera.isOnline());
    QVERIFY(isClose(matrixOf(camera.view()), kInitial));
    camera.setPosition(bsVector(0.0, 0.0, -900.0));
    camera.setOrientation(Oracle::matrix(pose(turn(0.0, 0.0, 80.0), 0.0, 0.0, 0.0)));
    const Eigen::Matrix4d online = matrixOf(camera.view());

    camera.setOnline(false);
    QVERIFY(!camera.isOnline());
    QVERIFY(matrixOf(camera.view()) == offline);
    camera.setOnline(true);
    QVERIFY(matrixOf(camera.view()) == online);
}

void tst_Camera::switchingTakesUpTheParkedViewAsReference()
{
    Camera camera;
    camera.translate(50.0, 0.0, 0.0);
    camera.setOnline(true);
    camera.translate(0.0, 0.0, 10.0);
    QVERIFY(isClose(matrixOf(camera.view()), pose(Eigen::Matrix3d::Identity(), 0.0, 0.0, -290.0)));
    camera.setOnline(false);
    // What was shown offline is what comes back, stored or not.
    QVERIFY(isClose(matrixOf(camera.view()), pose(Eigen::Matrix3d::Identity(), 50.0, 0.0, -300.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), matrixOf(camera.view())));
}

void tst_Camera::sameModeAgainChangesNothing()
{
    Camera camera;
    camera.translate(5.0, 0.0, 0.0);
    camera.setOnline(false);
    QVERIFY(isClose(matrixOf(camera.view()), pose(Eigen::Matrix3d::Identity(), 5.0, 0.0, -300.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), kInitial));
    camera.setOnline(true);
    camera.translate(0.0, 6.0, 0.0);
    camera.setOnline(true);
    QVERIFY(isClose(matrixOf(camera.view()), pose(Eigen::Matrix3d::Identity(), 0.0, 6.0, -300.0)));
    QVERIFY(isClose(matrixOf(camera.savedView()), kInitial));
}

void tst_Camera::resetParkedViewsLeavesTheShownView()
{
    Camera camera;
    camera.setPosition(bsVector(0.0, 0.0, -50.0));
    camera.resetParkedViews();
    QVERIFY(isClose(matrixOf(camera.view()), pose(Eigen::Matrix3d::Identity(), 0.0, 0.0, -50.0)));
}

void tst_Camera::resetParkedViewsForgetsBothParkedCameras()
{
    Camera camera;
    camera.setOnline(true);
    camera.setPosition(bsVector(0.0, 0.0, -900.0));
    camera.rotate(0.0, 0.0, 40.0);
    camera.setOnline(false);
    camera.resetParkedViews();
    camera.setOnline(true);
    QVERIFY(isClose(matrixOf(camera.view()), kInitial));

    camera.setOnline(false);
    camera.setPosition(bsVector(0.0, 0.0, -70.0));
    camera.setOnline(true);
    camera.resetParkedViews();
    camera.setOnline(false);
    QVERIFY(isClose(matrixOf(camera.view()), kInitial));
}

void tst_Camera::storingHalfATurnKeepsIt()
{
    for (const double angle : {170.0, 179.0, 179.99, 179.9999, 179.999999, 180.0, -180.0}) {
        Camera camera;
        camera.rotate(angle, 0.0, 0.0);
        for (int i = 0; i < 50; ++i) {
            camera.store();
            camera.rotate(0.0, 0.0, 0.0);
            camera.translate(1.0, 0.0, 0.0);
        }
        QVERIFY(isClose(matrixOf(camera.view()), pose(turn(angle, 0.0, 0.0), 50.0, 0.0, -300.0)));
    }
}

void tst_Camera::halfTurnsByMatrixAreTaken()
{
    // Rounding leaves the diagonal's sum on either side of -1.
    for (int i = 0; i < 360; ++i) {
        const Eigen::Matrix3d start = turn(i, 3.0 * i, 0.0);
        const Eigen::Vector3d axis = Eigen::Vector3d(i - 100.0, 50.0, 7.0).normalized();
        const Eigen::Matrix3d halfTurn = Eigen::AngleAxisd(M_PI, axis).toRotationMatrix();
        Camera camera;
        camera.setOrientation(Oracle::matrix(pose(halfTurn, 0.0, 0.0, 0.0)));
        QVERIFY((matrixOf(camera.view()).topLeftCorner<3, 3>() - halfTurn).norm() < 1e-6);
        camera.setOrientation(Oracle::matrix(pose(start, 0.0, 0.0, 0.0)));
        camera.transform(Oracle::matrix(pose(start.transpose() * halfTurn, 0.0, 0.0, 0.0)));
        QVERIFY((matrixOf(camera.view()).topLeftCorner<3, 3>() - halfTurn).norm() < 1e-6);
    }
}

void tst_Camera::thousandsOfSmallStepsStayARotation()
{
    Camera camera;
    Eigen::Matrix3d wanted = Eigen::Matrix3d::Identity();
    for (int i = 0; i < 10000; ++i) {
        const double x = i % 7 - 3.0;
        const double y = i % 5 - 1.0;
        camera.rotate(x, y, 0.0);
        camera.store();
        wanted = turn(x, y, 0.0) * wanted;
    }
    const Eigen::Matrix3d rotation = matrixOf(camera.view()).topLeftCorner<3, 3>();
    const Eigen::Matrix3d product = rotation.transpose() * rotation;
    QVERIFY((product - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff() < 1e-9);
    QVERIFY((rotation - wanted).cwiseAbs().maxCoeff() < 1e-8);
}

QUOREL2_TEST_MAIN(tst_Camera)
#include "tst_Camera.moc"
