#include "CanvasFixture.h"

#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>

#include <QMetaMethod>
#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

Eigen::Matrix3d turn(double xDeg, double yDeg, double zDeg)
{
    const double radians = M_PI / 180.0;
    return (Eigen::AngleAxisd(xDeg * radians, Eigen::Vector3d::UnitX()) *
            Eigen::AngleAxisd(yDeg * radians, Eigen::Vector3d::UnitY()) *
            Eigen::AngleAxisd(zDeg * radians, Eigen::Vector3d::UnitZ()))
        .toRotationMatrix();
}

Eigen::Affine3d pose(const Eigen::Matrix3d &rotation, const Eigen::Vector3d &position)
{
    return Eigen::Translation3d(position) * Eigen::Affine3d(rotation);
}

Eigen::Matrix3d columns(const Eigen::Vector3d &x, const Eigen::Vector3d &y,
                        const Eigen::Vector3d &z)
{
    Eigen::Matrix3d matrix;
    matrix << x, y, z;
    return matrix;
}

double largestDifference(const Eigen::Affine3d &a, const Eigen::Affine3d &b)
{
    return (a.matrix() - b.matrix()).cwiseAbs().maxCoeff();
}

bool isAt(const GLCanvas &canvas, const Eigen::Affine3d &wanted)
{
    return largestDifference(affine(canvas.body().baseMatrix()), wanted) < 1e-9;
}

/// How the body's axes are drawn: the base matrix, then what is pending.
Eigen::Affine3d drawnAxes(const GLCanvas &canvas)
{
    return affine(canvas.body().baseMatrix()) * affine(canvas.body().pendingPose().toMatrix());
}

bool isRotation(const Eigen::Matrix3d &matrix)
{
    const Eigen::Matrix3d difference = matrix.transpose() * matrix - Eigen::Matrix3d::Identity();
    return difference.cwiseAbs().maxCoeff() < 1e-9 && matrix.determinant() > 0.0;
}

QString text(const char *name, bool value)
{
    return QStringLiteral("%1(%2)").arg(QString::fromLatin1(name),
                                        value ? QStringLiteral("true") : QStringLiteral("false"));
}

QStringList history(bool undo, bool redo)
{
    return {text("canUndo", undo), text("canRedo", redo)};
}

const QString kStored = QStringLiteral("storeBodyRequest");
const QString kModified = QStringLiteral("bodyModified(true)");

/// What a coordinate operation that commits something emits. The log hears of the request only
/// after the canvas has committed.
QStringList committed()
{
    return QStringList{kModified} + history(true, false) + QStringList{kStored};
}

void selectMarkers(GLCanvas &canvas, int first, int second = -1)
{
    canvas.select(nullptr);
    canvas.select(canvas.body().markers()[first]);
    if (second >= 0)
        canvas.select(canvas.body().markers()[second]);
}

/// The canvas's own public methods of a kind that return nothing, as declared:
/// "rotateBody(bsMatrix) m".
QStringList ownMethods(QMetaMethod::MethodType type)
{
    const QMetaObject &meta = GLCanvas::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() != type || method.access() != QMetaMethod::Public ||
            method.returnType() != QMetaType::Void)
            continue;
        QByteArrayList words = method.parameterNames();
        words.prepend(method.methodSignature());
        methods.append(QString::fromLatin1(words.join(' ')));
    }
    return methods;
}

const QVector<bsVector> kRightAngle = {{0, 0, 0}, {100, 0, 0}, {0, 30, 0}};
const QVector<bsVector> kTetrahedron = {{0, 0, 0}, {100, 0, 0}, {0, 100, 0}, {0, 0, 100}};

/// A second, plain account of what the canvas edits, for comparison after every step.
class Reference {
public:
    Eigen::Affine3d base = Eigen::Affine3d::Identity();
    Eigen::Vector3d pendingPosition = Eigen::Vector3d::Zero();
    Eigen::Matrix3d pendingRotation = Eigen::Matrix3d::Identity();
    QVector<Eigen::Affine3d> undoStack;
    QVector<Eigen::Affine3d> redoStack;
    QVector<Eigen::Vector3d> positions;
    QVector<int> selection; ///< markers; a line is -1
    QVector<QPair<int, int>> lines;
    int selectedLine = -1;
    bool loaded = false;
    bool online = false;
    bool suspended = false;
    Eigen::Matrix3d room = Eigen::Matrix3d::Identity();
    QStringList log;

    void load(const QVector<bsVector> &markers)
    {
        *this = Reference(*this, markers);
        log = QStringList{text("bodyModified", false)} + history(false, false);
        addAvailability();
    }

    void clear() { load({}); }

    void logHistory() { log += history(!undoStack.isEmpty(), !redoStack.isEmpty()); }

    void exchange(const QVector<bsVector> &markers)
    {
        if (!loaded)
            return;
        positions.clear();
        for (const bsVector &marker : markers)
            positions.append(vector(marker));
        lines.clear();
        selection.clear();
        selectedLine = -1;
        logHistory();
        addAvailability();
    }

    Eigen::Affine3d pending() const { return pose(pendingRotation, pendingPosition); }

    /// @return whether there was anything to commit
    bool commit()
    {
        if (largestDifference(pending(), Eigen::Affine3d::Identity()) < 1e-7)
            return false;
        undoStack.append(base);
        base = base * pending();
        redoStack.clear();
        pendingPosition.setZero();
        pendingRotation.setIdentity();
        log += kModified;
        logHistory();
        return true;
    }

    bool store()
    {
        const bool committed = commit();
        log += kStored;
        return committed;
    }

    void step(QVector<Eigen::Affine3d> &from, QVector<Eigen::Affine3d> &to)
    {
        if (!from.isEmpty()) {
            to.append(base);
            base = from.takeLast();
            log += kModified;
        }
        logHistory();
    }

    void target(const Eigen::Matrix3d &rotation)
    {
        pendingRotation = base.rotation().transpose() * rotation;
    }
    void target(const Eigen::Vector3d &origin) { pendingPosition = base.inverse() * origin; }

    bool isPair() const { return selection.size() == 2; }
    bool isJoined() const
    {
        return isPair() && (lines.contains({selection[0], selection[1]}) ||
                            lines.contains({selection[1], selection[0]}));
    }

    void select(int marker)
    {
        selectedLine = -1;
        if (marker < 0)
            selection.clear();
        else if (isPair() && selection.contains(marker))
            selection = {selection[1], selection[0]};
        else if (selection.size() == 1 && selection[0] != marker)
            selection.append(marker);
        else
            selection = {marker};
        addAvailability();
        log += QStringLiteral("canDeleteMarker");
    }

    void selectLine(int line)
    {
        selection.clear();
        selectedLine = line;
        addAvailability();
        log += QStringLiteral("canDeleteMarker");
    }

    void addAvailability()
    {
        log += QStringList{text("canSetOriginToMarker", loaded && !selection.isEmpty()),
                           text("canSetAxisToMarkers", loaded && isPair()),
                           text("canIntroduceLine", loaded && isPair() && !isJoined()),
                           text("canDeleteLine", loaded && selectedLine >= 0)};
    }

    bool isKeptAxisAlongMarkers(int axisToKeep) const
    {
        const Eigen::Vector3d set =
            (positions[selection[1]] - positions[selection[0]]).normalized();
        const Eigen::Vector3d kept = base.matrix().col(axisToKeep).head<3>();
        return set.cross(kept).norm() < 1e-3;
    }

    Eigen::Matrix3d axisFrame(int axisToSet, int axisToKeep) const
    {
        const Eigen::Vector3d set =
            (positions[selection[1]] - positions[selection[0]]).normalized();
        const Eigen::Vector3d kept = base.matrix().col(axisToKeep).head<3>();
        const Eigen::Vector3d perpendicular = (kept - kept.dot(set) * set).normalized();
        Eigen::Matrix3d frame;
        frame.col(axisToSet) = set;
        frame.col(axisToKeep) = perpendicular;
        const int third = 3 - axisToSet - axisToKeep;
        frame.col(third) = frame.col((third + 1) % 3).cross(frame.col((third + 2) % 3));
        return frame;
    }

    /// Origin, far and third marker.
    std::array<int, 3> triple() const
    {
        const auto length = [this](int i, int j) { return (positions[i] - positions[j]).norm(); };
        int a = 0;
        int b = 1;
        for (int i = 0; i < positions.size(); ++i) {
            for (int j = i + 1; j < positions.size(); ++j) {
                if (length(i, j) > length(a, b)) {
                    a = i;
                    b = j;
                }
            }
        }
        std::array<int, 3> best = {a, b, -1};
        double shortest = length(a, b);
        for (int k = 0; k < positions.size(); ++k) {
            if (k == a || k == b)
                continue;
            if (length(a, k) < shortest) {
                shortest = length(a, k);
                best = {a, b, k};
            }
            if (length(b, k) < shortest) {
                shortest = length(b, k);
                best = {b, a, k};
            }
        }
        return best;
    }

    Eigen::Vector3d cog() const
    {
        Eigen::Vector3d sum = Eigen::Vector3d::Zero();
        for (const Eigen::Vector3d &position : positions)
            sum += position;
        return sum / positions.size();
    }

    Reference() = default;

private:
    Reference(const Reference &modes, const QVector<bsVector> &markers)
        : loaded(!markers.isEmpty())
        , online(modes.online)
        , suspended(modes.suspended)
        , room(modes.room)
    {
        for (const bsVector &marker : markers)
            positions.append(vector(marker));
    }
};

bool areAt(const QVector<bsMatrix> &stack, const QVector<Eigen::Affine3d> &wanted)
{
    return std::equal(stack.begin(), stack.end(), wanted.begin(), wanted.end(),
                      [](const bsMatrix &entry, const Eigen::Affine3d &wantedEntry) {
                          return largestDifference(affine(entry), wantedEntry) < 1e-9;
                      });
}

QVector<bsVector> randomMarkers(QRandomGenerator &random)
{
    const auto coordinate = [&random] { return random.generateDouble() * 200.0 - 100.0; };
    QVector<bsVector> positions;
    const int count = 3 + random.bounded(18);
    for (int i = 0; i < count; ++i)
        positions.append(bsVector(coordinate(), coordinate(), coordinate()));
    return positions;
}

} // namespace

Q_DECLARE_METATYPE(bsVector)

class tst_GLCanvasEditing : public QObject {
    Q_OBJECT

private slots:
    void bodyTransformIsTheRigidInverseOfTheBase();
    void wheelsSetThePendingPoseOnly();
    void storeCommitsWhatTheWheelsSet();
    void storeCommitsBeforeOthersHearOfIt();
    void resetOfTheWheelsPutsNothingIntoTheHistory();
    void finishingAtZeroCommitsNothing();
    void changesBelowTheToleranceCommitNothing();
    void undoAndRedoSequence();
    void undoWithNothingToUndo();
    void redoWithNothingToRedo();
    void undoBodyAndRedoBodySayNothingOfApplying();
    void suspendedCanvasUndoesNothing();
    void newCommitClearsRedo();
    void unappliedChanges();
    void settersNameTheirTargetInStoredCoordinates();
    void settersIgnoreWhatIsNotFinite();
    void rotateByMatrixEmitsNothing();
    void rotateByMatrixTakesHalfTurns();
    void originToMarker();
    void originToMarkerNeedsAMarkerFirst();
    void originTakesTheFirstOfTwo();
    void axisToMarkers_data();
    void axisToMarkers();
    void axisToMarkersNeedsTwoMarkers();
    void axisToMarkersWithEqualAxesDoesNothing();
    void keptAxisAlongTheMarkersTurnsTheSetAxisByTheShortestWay_data();
    void keptAxisAlongTheMarkersTurnsTheSetAxisByTheShortestWay();
    void markersAtOnePlaceTakeTheAxesBackToTheStoredFrame_data();
    void markersAtOnePlaceTakeTheAxesBackToTheStoredFrame();
    void dueToBodyOfCollinearMarkersTurnsXByTheShortestWay_data();
    void dueToBodyOfCollinearMarkersTurnsXByTheShortestWay();
    void parallelAxes();
    void parallelAxesFollowARotationOfFewDecimals_data();
    void parallelAxesFollowARotationOfFewDecimals();
    void parallelAxesPreconditions();
    void originToCog();
    void originToCogNeedsABody();
    void dueToBody();
    void dueToRoomOriginInCog();
    void dueToRoomOriginInMarker();
    void presetsWithoutATripleFail_data();
    void presetsWithoutATripleFail();
    void presetsNeedABody();
    void bodyWithoutAFinitePlaceCommitsNothing();
    void onlineSwitchTellsWhatIsPossible();
    void trackedPoseCountsOnlineOnly();
    void untrackedBodyKeepsItsOrientation();
    void clearedBodyStartsAnew();
    void loadSignals();
    void editsWithoutABodyDoNotReachTheNextOne();
    void emissionsAreGivenToTheMarkers();
    void exchangedMarkersLeaveTheCoordinateSystem();
    void exchangedMarkersTakeLinesAndSelectionAway();
    void exchangeSignals();
    void withoutABodyThereIsNothingToExchange();
    void signalsAreDeclaredInOrder();
    void slotsHaveTheirSignatures();
    void randomEditsAgreeWithAPlainAccount();
    void manyCommitsStayARotation();
};

void tst_GLCanvasEditing::bodyTransformIsTheRigidInverseOfTheBase()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(1.0, 2.0, 3.0);
    canvas.rotateBody(10.0, 20.0, 30.0);
    const Eigen::Affine3d wanted = pose(turn(10, 20, 30), {1, 2, 3});
    QVERIFY(largestDifference(affine(canvas.bodyTransform()), Eigen::Affine3d::Identity()) == 0.0);
    emit canvas.storeBodyRequest();
    QVERIFY(largestDifference(affine(canvas.bodyTransform()), wanted.inverse()) < 1e-12);
    const Eigen::Vector3d marker = wanted.inverse() * Eigen::Vector3d(100, 0, 0);
    QVERIFY((vector(canvas.markerRecords()[1].position) - marker).norm() < 1e-9);
}

void tst_GLCanvasEditing::wheelsSetThePendingPoseOnly()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    SignalLog log(canvas);
    canvas.translateBody(5.0, 6.0, 7.0);
    canvas.translateBody(1.0, 2.0, 3.0);
    canvas.rotateBody(99.0, 0.0, 0.0);
    canvas.rotateBody(10.0, 20.0, 30.0);
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    QVERIFY(largestDifference(drawnAxes(canvas), pose(turn(10, 20, 30), {1, 2, 3})) < 1e-12);
    QCOMPARE(canvas.body().undoCount(), 0);
    QCOMPARE(log.take(), QStringList({text("body_change", true), text("body_change", true),
                                      text("body_change", true), text("body_change", true)}));
}

void tst_GLCanvasEditing::storeCommitsWhatTheWheelsSet()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(1.0, 2.0, 3.0);
    canvas.rotateBody(10.0, 20.0, 30.0);
    SignalLog log(canvas);
    emit canvas.storeBodyRequest();
    QCOMPARE(log.take(), committed());
    QVERIFY(isAt(canvas, pose(turn(10, 20, 30), {1, 2, 3})));
    QVERIFY(largestDifference(affine(canvas.body().pendingPose().toMatrix()),
                              Eigen::Affine3d::Identity()) == 0.0);
    // The next change is relative to that.
    canvas.translateBody(10.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    QVERIFY(isAt(canvas, pose(turn(10, 20, 30), {1, 2, 3}) * Eigen::Translation3d(10, 0, 0)));
}

void tst_GLCanvasEditing::storeCommitsBeforeOthersHearOfIt()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    int countSeen = -1;
    connect(&canvas, &GLCanvas::storeBodyRequest, this,
            [&] { countSeen = canvas.body().undoCount(); });
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    QCOMPARE(countSeen, 1);
}

void tst_GLCanvasEditing::resetOfTheWheelsPutsNothingIntoTheHistory()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    // As the window wires it: after a commit the wheels return to zero, which they announce.
    connect(&canvas, &GLCanvas::storeBodyRequest, this, [&] {
        canvas.translateBody(0.0, 0.0, 0.0);
        canvas.rotateBody(0.0, 0.0, 0.0);
    });
    canvas.translateBody(10.0, 0.0, 0.0);
    canvas.rotateBody(0.0, 0.0, 90.0);
    const Eigen::Affine3d first = pose(turn(0, 0, 90), {10, 0, 0});
    emit canvas.storeBodyRequest();
    QCOMPARE(canvas.body().undoCount(), 1);
    QVERIFY(isAt(canvas, first));
    QVERIFY(largestDifference(drawnAxes(canvas), first) < 1e-12);

    selectMarkers(canvas, 1);
    canvas.setOriginToMarker();
    QCOMPARE(canvas.body().undoCount(), 2);
    canvas.set_origin_to_cog();
    QVERIFY(canvas.dueToRoomOriginInCog());
    QCOMPARE(canvas.body().undoCount(), 4);

    canvas.undo();
    canvas.undo();
    canvas.undo();
    QVERIFY(isAt(canvas, first));
    QCOMPARE(canvas.body().redoCount(), 3);
    // Another end of a gesture that changed nothing keeps what can be redone.
    SignalLog log(canvas);
    emit canvas.storeBodyRequest();
    emit canvas.storeBodyRequest();
    QCOMPARE(canvas.body().undoCount(), 1);
    QCOMPARE(canvas.body().redoCount(), 3);
    const QStringList emitted = log.take();
    QVERIFY(!emitted.contains(text("canUndo", true)));
    QVERIFY(!emitted.contains(text("canRedo", false)));
}

void tst_GLCanvasEditing::finishingAtZeroCommitsNothing()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.undo();
    QCOMPARE(canvas.body().redoCount(), 1);
    SignalLog log(canvas);
    canvas.translateBody(4.0, 0.0, 0.0);
    canvas.translateBody(0.0, 0.0, 0.0);
    canvas.rotateBody(0.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    QCOMPARE(log.take(), QStringList({text("body_change", true), text("body_change", true),
                                      text("body_change", true), kStored}));
    QCOMPARE(canvas.body().undoCount(), 0);
    QCOMPARE(canvas.body().redoCount(), 1);
}

void tst_GLCanvasEditing::changesBelowTheToleranceCommitNothing()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(0.9e-7, -0.9e-7, 0.9e-7);
    canvas.rotateBody(4e-6, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    QCOMPARE(canvas.body().undoCount(), 0);
    canvas.translateBody(1.1e-7, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    QCOMPARE(canvas.body().undoCount(), 1);
}

void tst_GLCanvasEditing::undoAndRedoSequence()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    const Eigen::Affine3d first = pose(turn(0, 0, 0), {1, 0, 0});
    const Eigen::Affine3d second = pose(turn(0, 0, 90), {1, 0, 0});
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.rotateBody(0.0, 0.0, 90.0);
    emit canvas.storeBodyRequest();
    QVERIFY(isAt(canvas, second));

    SignalLog log(canvas);
    canvas.undo();
    QCOMPARE(log.take(),
             QStringList{kModified} + history(true, true) + QStringList{text("body_change", true)});
    QVERIFY(isAt(canvas, first));
    canvas.undo();
    QCOMPARE(log.take(), QStringList{kModified} + history(false, true) +
                             QStringList{text("body_change", false)});
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    canvas.redo();
    QCOMPARE(log.take(),
             QStringList{kModified} + history(true, true) + QStringList{text("body_change", true)});
    QVERIFY(isAt(canvas, first));
    canvas.redo();
    QCOMPARE(log.take(), QStringList{kModified} + history(true, false) +
                             QStringList{text("body_change", true)});
    QVERIFY(isAt(canvas, second));
}

void tst_GLCanvasEditing::undoWithNothingToUndo()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    SignalLog log(canvas);
    canvas.undo();
    QCOMPARE(log.take(), history(false, false) + QStringList{text("body_change", false)});
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.undo();
    log.take();
    canvas.undo();
    QCOMPARE(log.take(), history(false, true) + QStringList{text("body_change", false)});
    QCOMPARE(canvas.body().redoCount(), 1);
}

void tst_GLCanvasEditing::redoWithNothingToRedo()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    SignalLog log(canvas);
    canvas.redo();
    QCOMPARE(log.take(), history(false, false) + QStringList{text("body_change", true)});
}

void tst_GLCanvasEditing::undoBodyAndRedoBodySayNothingOfApplying()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    SignalLog log(canvas);
    canvas.undoBody();
    QCOMPARE(log.take(), QStringList{kModified} + history(false, true));
    canvas.redoBody();
    QCOMPARE(log.take(), QStringList{kModified} + history(true, false));
    canvas.redoBody();
    QCOMPARE(log.take(), history(true, false));
}

void tst_GLCanvasEditing::suspendedCanvasUndoesNothing()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.setSuspended(true);
    SignalLog log(canvas);
    canvas.undo();
    QCOMPARE(log.take(), QStringList{text("body_change", true)});
    canvas.redo();
    QCOMPARE(log.take(), QStringList{text("body_change", true)});
    QCOMPARE(canvas.body().undoCount(), 1);
    QVERIFY(isAt(canvas, pose(turn(0, 0, 0), {1, 0, 0})));
}

void tst_GLCanvasEditing::newCommitClearsRedo()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    for (int i = 1; i <= 2; ++i) {
        canvas.translateBody(i, 0.0, 0.0);
        emit canvas.storeBodyRequest();
    }
    canvas.undo();
    canvas.undo();
    QCOMPARE(canvas.body().redoCount(), 2);
    canvas.translateBody(0.0, 5.0, 0.0);
    SignalLog log(canvas);
    emit canvas.storeBodyRequest();
    QCOMPARE(log.take(), committed());
    QCOMPARE(canvas.body().undoCount(), 1);
    QCOMPARE(canvas.body().redoCount(), 0);
}

void tst_GLCanvasEditing::unappliedChanges()
{
    GLCanvas canvas;
    QVERIFY(!canvas.hasUnappliedChanges());
    canvas.setBody(kRightAngle, {});
    QVERIFY(!canvas.hasUnappliedChanges());
    canvas.translateBody(1.0, 0.0, 0.0);
    QVERIFY(!canvas.hasUnappliedChanges());
    emit canvas.storeBodyRequest();
    QVERIFY(canvas.hasUnappliedChanges());
    canvas.undo();
    QVERIFY(!canvas.hasUnappliedChanges());
    canvas.redo();
    QVERIFY(canvas.hasUnappliedChanges());
    canvas.clearBody();
    QVERIFY(!canvas.hasUnappliedChanges());
}

void tst_GLCanvasEditing::settersNameTheirTargetInStoredCoordinates()
{
    QRandomGenerator random(testSeed());
    const auto angle = [&random] { return random.generateDouble() * 340.0 - 170.0; };
    const auto coordinate = [&random] { return random.generateDouble() * 400.0 - 200.0; };
    for (int i = 0; i < 300; ++i) {
        GLCanvas canvas;
        canvas.setBody(kRightAngle, {});
        canvas.translateBody(coordinate(), coordinate(), coordinate());
        canvas.rotateBody(angle(), angle(), angle());
        emit canvas.storeBodyRequest();
        const Eigen::Matrix3d rotation = turn(angle(), angle(), angle());
        const Eigen::Vector3d origin(coordinate(), coordinate(), coordinate());
        const int undoCount = canvas.body().undoCount();
        canvas.setBodyPosition(bsVector(origin.x(), origin.y(), origin.z()));
        canvas.setBodyOrientation(fromAffine(pose(rotation, {7, 8, 9})));
        QVERIFY(largestDifference(drawnAxes(canvas), pose(rotation, origin)) < 1e-9);
        QCOMPARE(canvas.body().undoCount(), undoCount);
        emit canvas.storeBodyRequest();
        QVERIFY(largestDifference(affine(canvas.body().baseMatrix()), pose(rotation, origin)) <
                1e-9);
    }
}

void tst_GLCanvasEditing::settersIgnoreWhatIsNotFinite()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(1.0, 2.0, 3.0);
    canvas.setBodyPosition(bsVector(1.0, kNaN, 0.0));
    canvas.setBodyPosition(bsVector(5.0, 6.0, kNaN));
    canvas.setBodyPosition(bsVector(std::numeric_limits<double>::infinity(), 0.0, 0.0));
    bsMatrix matrix = bsMatrix::identity();
    matrix.element(1, 1) = kNaN;
    canvas.setBodyOrientation(matrix);
    QVERIFY(largestDifference(drawnAxes(canvas), pose(turn(0, 0, 0), {1, 2, 3})) == 0.0);
}

void tst_GLCanvasEditing::rotateByMatrixEmitsNothing()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    SignalLog log(canvas);
    canvas.rotateBody(fromAffine(pose(turn(10, 20, 30), {5, 5, 5})));
    canvas.setBodyPosition(bsVector(1.0, 2.0, 3.0));
    QCOMPARE(log.take(), QStringList());
    QVERIFY(largestDifference(drawnAxes(canvas), pose(turn(10, 20, 30), {1, 2, 3})) < 1e-12);
}

void tst_GLCanvasEditing::rotateByMatrixTakesHalfTurns()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    for (int i = 0; i < 360; ++i) {
        const Eigen::Vector3d axis = Eigen::Vector3d(i - 100.0, 50.0, 7.0).normalized();
        const Eigen::Matrix3d halfTurn = Eigen::AngleAxisd(M_PI, axis).toRotationMatrix();
        canvas.rotateBody(fromAffine(pose(halfTurn, {0, 0, 0})));
        QVERIFY(largestDifference(drawnAxes(canvas), pose(halfTurn, {0, 0, 0})) < 1e-9);
    }
}

void tst_GLCanvasEditing::originToMarker()
{
    GLCanvas canvas;
    canvas.setBody({{0, 0, 0}, {10, 20, 30}, {50, 0, 0}}, {});
    selectMarkers(canvas, 1);
    SignalLog log(canvas);
    canvas.setOriginToMarker();
    QCOMPARE(log.take(), committed());
    QVERIFY(isAt(canvas, pose(turn(0, 0, 0), {10, 20, 30})));
    QVERIFY(vector(canvas.markerRecords()[1].position).norm() < 1e-12);
    // A second time nothing is left to commit.
    canvas.setOriginToMarker();
    QCOMPARE(log.take(), QStringList{kStored});
    QCOMPARE(canvas.body().undoCount(), 1);
}

void tst_GLCanvasEditing::originToMarkerNeedsAMarkerFirst()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    canvas.setOriginToMarker();
    QCOMPARE(log.take(), QStringList());
    canvas.setBody(kTetrahedron, {});
    selectMarkers(canvas, 1, 2);
    canvas.introduceLine();
    canvas.select(nullptr);
    log.take();
    canvas.setOriginToMarker();
    QCOMPARE(log.take(), QStringList());
    canvas.select(canvas.body().lines()[0]);
    log.take();
    canvas.setOriginToMarker();
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(canvas.body().undoCount(), 0);
}

void tst_GLCanvasEditing::originTakesTheFirstOfTwo()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    selectMarkers(canvas, 2, 1);
    canvas.setOriginToMarker();
    QVERIFY(isAt(canvas, pose(turn(0, 0, 0), {0, 100, 0})));
}

void tst_GLCanvasEditing::axisToMarkers_data()
{
    QTest::addColumn<int>("axisToSet");
    QTest::addColumn<int>("axisToKeep");
    QTest::addColumn<bool>("swapped");
    QTest::addColumn<QVector<double>>("axes");
    // The markers are at (0, 0, 0) and (0, 10, 0).
    QTest::newRow("X along, Z kept")
        << 0 << 2 << false << QVector<double>{0, 1, 0, -1, 0, 0, 0, 0, 1};
    QTest::newRow("Y along, X kept")
        << 1 << 0 << false << QVector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1};
    QTest::newRow("Y along, Z kept")
        << 1 << 2 << false << QVector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1};
    QTest::newRow("Z along, X kept")
        << 2 << 0 << false << QVector<double>{1, 0, 0, 0, 0, -1, 0, 1, 0};
    QTest::newRow("X against, Z kept")
        << 0 << 2 << true << QVector<double>{0, -1, 0, 1, 0, 0, 0, 0, 1};
    QTest::newRow("Y against, X kept")
        << 1 << 0 << true << QVector<double>{1, 0, 0, 0, -1, 0, 0, 0, -1};
    QTest::newRow("Z against, X kept")
        << 2 << 0 << true << QVector<double>{1, 0, 0, 0, 0, 1, 0, -1, 0};
}

void tst_GLCanvasEditing::axisToMarkers()
{
    QFETCH(int, axisToSet);
    QFETCH(int, axisToKeep);
    QFETCH(bool, swapped);
    QFETCH(QVector<double>, axes);
    GLCanvas canvas;
    canvas.setBody({{0, 0, 0}, {0, 10, 0}, {30, 0, 0}}, {});
    selectMarkers(canvas, swapped ? 1 : 0, swapped ? 0 : 1);
    SignalLog log(canvas);
    canvas.setAxisToMarkers(abcAxis(axisToSet), abcAxis(axisToKeep));
    const Eigen::Matrix3d wanted = Eigen::Map<const Eigen::Matrix3d>(axes.constData());
    QVERIFY(isAt(canvas, pose(wanted, {0, 0, 0})));
    const bool changed = !wanted.isIdentity();
    QCOMPARE(log.take(), changed ? committed() : QStringList{kStored});
}

void tst_GLCanvasEditing::axisToMarkersNeedsTwoMarkers()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    canvas.setAxisToMarkers(X, Z);
    QCOMPARE(log.take(), QStringList());
    canvas.setBody(kTetrahedron, {});
    selectMarkers(canvas, 1, 2);
    canvas.introduceLine();
    selectMarkers(canvas, 1);
    log.take();
    canvas.setAxisToMarkers(X, Z);
    canvas.select(canvas.body().lines()[0]);
    log.take();
    canvas.setAxisToMarkers(X, Z);
    canvas.select(nullptr);
    log.take();
    canvas.setAxisToMarkers(X, Z);
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(canvas.body().undoCount(), 0);
}

void tst_GLCanvasEditing::axisToMarkersWithEqualAxesDoesNothing()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.rotateBody(10.0, 20.0, 30.0);
    emit canvas.storeBodyRequest();
    selectMarkers(canvas, 1, 2);
    SignalLog log(canvas);
    for (const abcAxis axis : {X, Y, Z})
        canvas.setAxisToMarkers(axis, axis);
    QCOMPARE(log.take(), QStringList());
    QVERIFY(isAt(canvas, pose(turn(10, 20, 30), {0, 0, 0})));
}

void tst_GLCanvasEditing::keptAxisAlongTheMarkersTurnsTheSetAxisByTheShortestWay_data()
{
    QTest::addColumn<int>("axisToSet");
    QTest::addColumn<int>("axisToKeep");
    QTest::addColumn<bsVector>("second");
    QTest::addColumn<QVector<double>>("quaternion");
    QTest::addColumn<QVector<double>>("axes");
    // The first marker is at (0, 0, 0), so the set axis a is the only column of the frame that is
    // not zero. With the trace a_i of that matrix the quaternion is s (m21 - m12, m02 - m20,
    // m10 - m01, 1 + a_i), for a unit a across axis i a quarter turn.
    const double h = std::sqrt(0.5);
    using Numbers = QVector<double>;
    QTest::newRow("X along y, Y kept") << 0 << 1 << bsVector(0, 10, 0) << Numbers{0, 0, h, h}
                                       << Numbers{0, 1, 0, -1, 0, 0, 0, 0, 1};
    QTest::newRow("X against y, Y kept") << 0 << 1 << bsVector(0, -10, 0) << Numbers{0, 0, -h, h}
                                         << Numbers{0, -1, 0, 1, 0, 0, 0, 0, 1};
    QTest::newRow("X along z, Z kept") << 0 << 2 << bsVector(0, 0, 10) << Numbers{0, -h, 0, h}
                                       << Numbers{0, 0, 1, 0, 1, 0, -1, 0, 0};
    QTest::newRow("X against z, Z kept") << 0 << 2 << bsVector(0, 0, -10) << Numbers{0, h, 0, h}
                                         << Numbers{0, 0, -1, 0, 1, 0, 1, 0, 0};
    QTest::newRow("Y along x, X kept") << 1 << 0 << bsVector(10, 0, 0) << Numbers{0, 0, -h, h}
                                       << Numbers{0, -1, 0, 1, 0, 0, 0, 0, 1};
    QTest::newRow("Y along z, Z kept") << 1 << 2 << bsVector(0, 0, 10) << Numbers{h, 0, 0, h}
                                       << Numbers{1, 0, 0, 0, 0, 1, 0, -1, 0};
    QTest::newRow("Z along x, X kept") << 2 << 0 << bsVector(10, 0, 0) << Numbers{0, h, 0, h}
                                       << Numbers{0, 0, -1, 0, 1, 0, 1, 0, 0};
    QTest::newRow("Z along y, Y kept") << 2 << 1 << bsVector(0, 10, 0) << Numbers{-h, 0, 0, h}
                                       << Numbers{1, 0, 0, 0, 0, -1, 0, 1, 0};
    // Off the axis by less than counts as a length.
    QTest::newRow("Y almost along x, X kept")
        << 1 << 0 << bsVector(10, 1e-9, 0) << Numbers{0, 0, -h, h}
        << Numbers{0, -1, 0, 1, 0, 0, 0, 0, 1};
}

void tst_GLCanvasEditing::keptAxisAlongTheMarkersTurnsTheSetAxisByTheShortestWay()
{
    QFETCH(int, axisToSet);
    QFETCH(int, axisToKeep);
    QFETCH(bsVector, second);
    QFETCH(QVector<double>, quaternion);
    QFETCH(QVector<double>, axes);
    GLCanvas canvas;
    canvas.setBody({{0, 0, 0}, second, {30, 40, 50}}, {});
    selectMarkers(canvas, 0, 1);
    // What is pending is seen before the commit.
    disconnect(&canvas, &GLCanvas::storeBodyRequest, &canvas, &GLCanvas::saveCurrentBody);
    canvas.setAxisToMarkers(abcAxis(axisToSet), abcAxis(axisToKeep));
    const bsQuaternion pending = canvas.body().pendingPose().orientation;
    QVERIFY(std::fabs(pending.x - quaternion[0]) < 1e-9);
    QVERIFY(std::fabs(pending.y - quaternion[1]) < 1e-9);
    QVERIFY(std::fabs(pending.z - quaternion[2]) < 1e-9);
    QVERIFY(std::fabs(pending.w - quaternion[3]) < 1e-9);
    canvas.saveCurrentBody();
    const Eigen::Matrix3d wanted = Eigen::Map<const Eigen::Matrix3d>(axes.constData());
    QVERIFY(isAt(canvas, pose(wanted, {0, 0, 0})));
    QCOMPARE(canvas.body().undoCount(), 1);
}

void tst_GLCanvasEditing::markersAtOnePlaceTakeTheAxesBackToTheStoredFrame_data()
{
    QTest::addColumn<bsVector>("second");
    QTest::newRow("at one place") << bsVector(7, 8, 9);
    QTest::newRow("nearer than counts as a length") << bsVector(7 + 1e-10, 8, 9 - 1e-10);
}

/// All columns are zero then, which as a quaternion is no rotation.
void tst_GLCanvasEditing::markersAtOnePlaceTakeTheAxesBackToTheStoredFrame()
{
    QFETCH(bsVector, second);
    for (const abcAxis set : {X, Y, Z}) {
        for (const abcAxis keep : {X, Y, Z}) {
            if (set == keep)
                continue;
            GLCanvas canvas;
            canvas.setBody({{7, 8, 9}, second, {30, 40, 50}}, {});
            canvas.translateBody(1.0, 2.0, 3.0);
            canvas.rotateBody(10.0, 20.0, 30.0);
            emit canvas.storeBodyRequest();
            selectMarkers(canvas, 0, 1);
            canvas.setAxisToMarkers(set, keep);
            QVERIFY(isAt(canvas, pose(Eigen::Matrix3d::Identity(), {1, 2, 3})));
            QCOMPARE(canvas.body().undoCount(), 2);
            canvas.setAxisToMarkers(set, keep);
            QCOMPARE(canvas.body().undoCount(), 2);
        }
    }
}

void tst_GLCanvasEditing::dueToBodyOfCollinearMarkersTurnsXByTheShortestWay_data()
{
    QTest::addColumn<QVector<bsVector>>("positions");
    QTest::addColumn<QVector<double>>("axes");
    QTest::addColumn<bsVector>("origin");
    // x := far - origin, y := z := 0, and the quaternion is s (0, -x.z, x.y, 1 + x.x).
    using Numbers = QVector<double>;
    QTest::newRow("along z") << QVector<bsVector>{{0, 0, 0}, {0, 0, 100}, {0, 0, 30}}
                             << Numbers{0, 0, 1, 0, 1, 0, -1, 0, 0} << bsVector(0, 0, 0);
    QTest::newRow("against z") << QVector<bsVector>{{0, 0, 0}, {0, 0, 100}, {0, 0, 70}}
                               << Numbers{0, 0, -1, 0, 1, 0, 1, 0, 0} << bsVector(0, 0, 100);
    QTest::newRow("along y") << QVector<bsVector>{{5, 0, 0}, {5, 30, 0}, {5, 100, 0}}
                             << Numbers{0, 1, 0, -1, 0, 0, 0, 0, 1} << bsVector(5, 0, 0);
    QTest::newRow("along x") << QVector<bsVector>{{1, 2, 3}, {101, 2, 3}, {31, 2, 3}}
                             << Numbers{1, 0, 0, 0, 1, 0, 0, 0, 1} << bsVector(1, 2, 3);
    // The trace plus one is 0 and m11 is not above m22: a half turn about z.
    QTest::newRow("against x") << QVector<bsVector>{{1, 2, 3}, {101, 2, 3}, {71, 2, 3}}
                               << Numbers{-1, 0, 0, 0, -1, 0, 0, 0, 1} << bsVector(101, 2, 3);
    // x = (0, 0.6, 0.8): the quaternion (0, -0.8, 0.6, 1) / sqrt(2).
    QTest::newRow("oblique") << QVector<bsVector>{{0, 0, 0}, {0, 18, 24}, {0, 60, 80}}
                             << Numbers{0, 0.6, 0.8, -0.6, 0.64, -0.48, -0.8, -0.48, 0.36}
                             << bsVector(0, 0, 0);
}

void tst_GLCanvasEditing::dueToBodyOfCollinearMarkersTurnsXByTheShortestWay()
{
    QFETCH(QVector<bsVector>, positions);
    QFETCH(QVector<double>, axes);
    QFETCH(bsVector, origin);
    const Eigen::Matrix3d wanted = Eigen::Map<const Eigen::Matrix3d>(axes.constData());
    for (const bool turned : {false, true}) {
        GLCanvas canvas;
        canvas.setBody(positions, {});
        if (turned) {
            canvas.translateBody(5.0, 6.0, 7.0);
            canvas.rotateBody(10.0, 20.0, 30.0);
            emit canvas.storeBodyRequest();
        }
        QVERIFY(canvas.dueToBody());
        QVERIFY(isAt(canvas, pose(wanted, vector(origin))));
    }
}

void tst_GLCanvasEditing::parallelAxes()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.translateBody(1.0, 2.0, 3.0);
    canvas.rotateBody(40.0, 50.0, 60.0);
    emit canvas.storeBodyRequest();
    canvas.setOnline(true);
    const Eigen::Matrix3d room = turn(15, -25, 35);
    // Neither the translation of the room matrix nor the position plays a part.
    canvas.setTrackedPose(fromAffine(pose(room, {100, 200, 300})), bsVector(9, 9, 9), true);
    SignalLog log(canvas);
    canvas.setParallelAxes();
    QCOMPARE(log.take(), committed());
    QVERIFY(isAt(canvas, pose(room.transpose(), {1, 2, 3})));
    // The body's axes in the room are the room's.
    const Eigen::Matrix3d inRoom = room * affine(canvas.body().baseMatrix()).linear();
    QVERIFY((inRoom - Eigen::Matrix3d::Identity()).norm() < 1e-9);
}

void tst_GLCanvasEditing::parallelAxesFollowARotationOfFewDecimals_data()
{
    QTest::addColumn<double>("step");
    QTest::addColumn<double>("limitDeg");
    QTest::newRow("3 decimals") << 1e-3 << 0.1;
    QTest::newRow("6 decimals") << 1e-6 << 1e-4;
    QTest::newRow("single precision") << 0.0 << 1e-5;
}

/// Near half a turn the quaternion of rounded numbers is all noise.
void tst_GLCanvasEditing::parallelAxesFollowARotationOfFewDecimals()
{
    QFETCH(double, step);
    QFETCH(double, limitDeg);
    GLCanvas canvas;
    QRandomGenerator random(testSeed());
    for (int round = 0; round < 2000; ++round) {
        canvas.setBody(kTetrahedron, {});
        canvas.setOnline(true);
        const auto unit = [&random] { return random.generateDouble() * 2.0 - 1.0; };
        const double angleDeg = round % 4 == 0 ? 180.0 : 170.0 + 10.0 * random.generateDouble();
        const Eigen::Matrix3d room =
            Eigen::AngleAxisd(angleDeg * M_PI / 180.0,
                              Eigen::Vector3d(unit(), unit(), unit()).normalized())
                .toRotationMatrix();
        bsMatrix rotation = fromAffine(pose(room, {0, 0, 0}));
        for (int index : {0, 1, 2, 4, 5, 6, 8, 9, 10}) {
            double &number = rotation.m[index];
            number = step > 0.0 ? std::round(number / step) * step : double(float(number));
        }
        canvas.setTrackedPose(rotation, bsVector(), true);
        canvas.setParallelAxes();
        const Eigen::Matrix3d inRoom = room * affine(canvas.body().baseMatrix()).linear();
        const double offDeg = Eigen::AngleAxisd(inRoom).angle() * 180.0 / M_PI;
        QVERIFY2(
            offDeg < limitDeg,
            qPrintable(
                QStringLiteral("%1 degrees of %2 off by %3").arg(round).arg(angleDeg).arg(offDeg)));
    }
}

void tst_GLCanvasEditing::parallelAxesPreconditions()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.rotateBody(40.0, 50.0, 60.0);
    emit canvas.storeBodyRequest();
    SignalLog log(canvas);
    canvas.setParallelAxes();
    QCOMPARE(log.take(), QStringList());
    canvas.setOnline(true);
    canvas.setSuspended(true);
    log.take();
    canvas.setParallelAxes();
    QCOMPARE(log.take(), QStringList());
    canvas.setSuspended(false);
    QCOMPARE(canvas.body().undoCount(), 1);
    canvas.clearBody();
    log.take();
    canvas.setParallelAxes();
    QCOMPARE(log.take(), QStringList());
}

void tst_GLCanvasEditing::originToCog()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    SignalLog log(canvas);
    canvas.set_origin_to_cog();
    QCOMPARE(log.take(), committed());
    QVERIFY(isAt(canvas, pose(turn(0, 0, 0), {25, 25, 25})));
    canvas.rotateBody(0.0, 0.0, 90.0);
    canvas.translateBody(3.0, 4.0, 5.0);
    emit canvas.storeBodyRequest();
    canvas.set_origin_to_cog();
    QVERIFY(isAt(canvas, pose(turn(0, 0, 90), {25, 25, 25})));
}

void tst_GLCanvasEditing::originToCogNeedsABody()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    canvas.set_origin_to_cog();
    QCOMPARE(log.take(), QStringList());
    canvas.setBody(kTetrahedron, {});
    canvas.clearBody();
    log.take();
    canvas.set_origin_to_cog();
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(canvas.body().undoCount(), 0);
    canvas.setBody({}, {});
    log.take();
    canvas.set_origin_to_cog();
    QCOMPARE(log.take(), QStringList());
}

void tst_GLCanvasEditing::dueToBody()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.translateBody(5.0, 6.0, 7.0);
    canvas.rotateBody(10.0, 20.0, 30.0);
    emit canvas.storeBodyRequest();
    SignalLog log(canvas);
    QVERIFY(canvas.dueToBody());
    QCOMPARE(log.take(), committed());
    // Longest from 1 to 2, the shortest that touches it from 0 to 2: origin 2, x toward 1.
    const Eigen::Vector3d origin(0, 30, 0);
    const Eigen::Vector3d x = (Eigen::Vector3d(100, 0, 0) - origin).normalized();
    const Eigen::Vector3d z = x.cross(-origin).normalized();
    QVERIFY(isAt(canvas, pose(columns(x, z.cross(x), z), origin)));
    QCOMPARE(canvas.body().undoCount(), 2);
    const QList<MarkerRecord> records = canvas.markerRecords();
    QVERIFY(vector(records[2].position).norm() < 1e-9);
    QVERIFY(std::fabs(records[1].position.y) < 1e-9 && std::fabs(records[1].position.z) < 1e-9);
    QVERIFY(records[1].position.x > 0.0);
    QVERIFY(records[0].position.y > 0.0 && std::fabs(records[0].position.z) < 1e-9);
}

void tst_GLCanvasEditing::dueToRoomOriginInCog()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.rotateBody(10.0, 20.0, 30.0);
    emit canvas.storeBodyRequest();
    // Offline the room is the stored frame.
    SignalLog log(canvas);
    QVERIFY(canvas.dueToRoomOriginInCog());
    QCOMPARE(log.take(), committed());
    QVERIFY(isAt(canvas, pose(turn(0, 0, 0), {25, 25, 25})));
    canvas.setOnline(true);
    const Eigen::Matrix3d room = turn(70, 80, -90);
    canvas.setTrackedPose(fromAffine(pose(room, {0, 0, 0})), bsVector(), true);
    QVERIFY(canvas.dueToRoomOriginInCog());
    QVERIFY(isAt(canvas, pose(room.transpose(), {25, 25, 25})));
    QCOMPARE(canvas.body().undoCount(), 3);
}

void tst_GLCanvasEditing::dueToRoomOriginInMarker()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {});
    canvas.setOnline(true);
    const Eigen::Matrix3d room = turn(70, 80, -90);
    canvas.setTrackedPose(fromAffine(pose(room, {0, 0, 0})), bsVector(), true);
    SignalLog log(canvas);
    QVERIFY(canvas.dueToRoomOriginInMarker());
    QCOMPARE(log.take(), committed());
    QVERIFY(isAt(canvas, pose(room.transpose(), {0, 30, 0})));
}

void tst_GLCanvasEditing::presetsWithoutATripleFail_data()
{
    QTest::addColumn<QVector<bsVector>>("positions");
    QTest::newRow("two markers") << QVector<bsVector>{{0, 0, 0}, {10, 0, 0}};
    QTest::newRow("all distances equal") << QVector<bsVector>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    QTest::newRow("all at one place") << QVector<bsVector>(4, bsVector(1, 2, 3));
}

void tst_GLCanvasEditing::presetsWithoutATripleFail()
{
    QFETCH(QVector<bsVector>, positions);
    GLCanvas canvas;
    canvas.setBody(positions, {});
    canvas.translateBody(5.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.undo();
    // A pending change stays pending.
    canvas.rotateBody(0.0, 10.0, 0.0);
    SignalLog log(canvas);
    QVERIFY(!canvas.dueToBody());
    QVERIFY(!canvas.dueToRoomOriginInMarker());
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(canvas.body().undoCount(), 0);
    QCOMPARE(canvas.body().redoCount(), 1);
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    QVERIFY(largestDifference(drawnAxes(canvas), pose(turn(0, 10, 0), {0, 0, 0})) < 1e-12);
}

void tst_GLCanvasEditing::presetsNeedABody()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    QVERIFY(!canvas.dueToBody());
    QVERIFY(!canvas.dueToRoomOriginInCog());
    QVERIFY(!canvas.dueToRoomOriginInMarker());
    QCOMPARE(log.take(), QStringList());
    canvas.setBody(kTetrahedron, {});
    canvas.clearBody();
    log.take();
    QVERIFY(!canvas.dueToBody());
    QVERIFY(!canvas.dueToRoomOriginInCog());
    QVERIFY(!canvas.dueToRoomOriginInMarker());
    QCOMPARE(log.take(), QStringList());
}

void tst_GLCanvasEditing::bodyWithoutAFinitePlaceCommitsNothing()
{
    GLCanvas canvas;
    canvas.setBody({{0, 0, 0}, {kNaN, 0, 0}, {0, 10, 0}}, {});
    SignalLog log(canvas);
    canvas.set_origin_to_cog();
    QVERIFY(!canvas.dueToRoomOriginInCog());
    QCOMPARE(log.take(), QStringList());
    selectMarkers(canvas, 1, 0);
    canvas.setOriginToMarker();
    canvas.setAxisToMarkers(X, Y);
    canvas.dueToBody();
    for (const double element : canvas.body().baseMatrix().m)
        QVERIFY(std::isfinite(element));
    QCOMPARE(canvas.body().undoCount(), 0);
}

void tst_GLCanvasEditing::onlineSwitchTellsWhatIsPossible()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    canvas.setOnline(true);
    QCOMPARE(log.take(), QStringList({text("canSetParallelAxes", false), text("is_online", true)}));
    QVERIFY(canvas.isOnline());
    canvas.setBody(kTetrahedron, {});
    log.take();
    canvas.setOnline(true);
    QCOMPARE(log.take(), QStringList({text("canSetParallelAxes", true), text("is_online", true)}));
    canvas.setOnline(false);
    QCOMPARE(log.take(),
             QStringList({text("canSetParallelAxes", false), text("is_online", false)}));
    QVERIFY(!canvas.isOnline());
    canvas.setOnline(false);
    QCOMPARE(log.take(),
             QStringList({text("canSetParallelAxes", false), text("is_online", false)}));
    canvas.setSuspended(true);
    canvas.setOnline(true);
    QCOMPARE(log.take(), QStringList({text("canSetParallelAxes", false), text("is_online", true)}));
}

void tst_GLCanvasEditing::trackedPoseCountsOnlineOnly()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    const Eigen::Affine3d room = pose(turn(10, 20, 30), {0, 0, 0});
    const auto isRoomAt = [&](const Eigen::Affine3d &wanted) {
        return largestDifference(affine(canvas.roomMatrix()), wanted) < 1e-14;
    };
    QVERIFY(isRoomAt(Eigen::Affine3d::Identity()));
    canvas.setTrackedPose(fromAffine(room), bsVector(1, 2, 3), true);
    QVERIFY(isRoomAt(Eigen::Affine3d::Identity()));
    QVERIFY(!canvas.isTracked());
    canvas.setOnline(true);
    QVERIFY(isRoomAt(Eigen::Affine3d::Identity()));
    canvas.setTrackedPose(fromAffine(room), bsVector(1, 2, 3), true);
    QVERIFY(isRoomAt(room));
    QVERIFY(canvas.isTracked());
    QCOMPARE(canvas.roomPosition().y, 2.0);
    canvas.setOnline(false);
    QVERIFY(isRoomAt(Eigen::Affine3d::Identity()));
    QVERIFY(!canvas.isTracked());
    QCOMPARE(canvas.roomPosition().y, 0.0);
}

void tst_GLCanvasEditing::untrackedBodyKeepsItsOrientation()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.setOnline(true);
    const Eigen::Affine3d room = pose(turn(10, 20, 30), {0, 0, 0});
    canvas.setTrackedPose(fromAffine(room), bsVector(1, 2, 3), true);
    canvas.setTrackedPose(bsMatrix(), bsVector(7, 8, 9), false);
    QVERIFY(!canvas.isTracked());
    QVERIFY(largestDifference(affine(canvas.roomMatrix()), room) < 1e-14);
    QCOMPARE(canvas.roomPosition().y, 2.0);
    canvas.setParallelAxes();
    QVERIFY(isAt(canvas, pose(turn(10, 20, 30).transpose(), {0, 0, 0})));
}

void tst_GLCanvasEditing::clearedBodyStartsAnew()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.showLongAxes(true);
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.rotateBody(0.0, 0.0, 30.0);
    const bsVector before = canvas.camera().view().position;
    canvas.clearBody();
    QVERIFY(!canvas.isBodyLoaded());
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    QVERIFY(largestDifference(drawnAxes(canvas), Eigen::Affine3d::Identity()) == 0.0);
    QCOMPARE(canvas.body().undoCount(), 0);
    QVERIFY(canvas.markerRecords().isEmpty());
    QVERIFY(canvas.body().options.longAxes);
    QCOMPARE(canvas.camera().view().position.z, before.z);
}

void tst_GLCanvasEditing::loadSignals()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    QVERIFY(canvas.setBody(kTetrahedron, {}));
    const QStringList availability = {
        text("canSetOriginToMarker", false), text("canSetAxisToMarkers", false),
        text("canIntroduceLine", false), text("canDeleteLine", false)};
    const QStringList expected =
        QStringList{text("bodyModified", false)} + history(false, false) + availability;
    QCOMPARE(log.take(), expected);
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    log.take();
    QVERIFY(canvas.setBody(kRightAngle, {}));
    QCOMPARE(log.take(), expected);
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    QCOMPARE(canvas.body().markerCount(), 3);
}

void tst_GLCanvasEditing::editsWithoutABodyDoNotReachTheNextOne()
{
    GLCanvas canvas;
    canvas.translateBody(1.0, 2.0, 3.0);
    emit canvas.storeBodyRequest();
    canvas.rotateBody(0.0, 0.0, 30.0);
    canvas.setBody(kRightAngle, {});
    QCOMPARE(canvas.body().undoCount(), 0);
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    QVERIFY(largestDifference(drawnAxes(canvas), Eigen::Affine3d::Identity()) == 0.0);
    QVERIFY(!canvas.hasUnappliedChanges());
}

void tst_GLCanvasEditing::emissionsAreGivenToTheMarkers()
{
    GLCanvas canvas;
    canvas.setBody(kRightAngle, {{1.0, 0.0, 0.0, 30.0}, {0.0, 1.0, 0.0, 40.0}});
    const auto records = canvas.markerRecords();
    QCOMPARE(records[0].emission.x, 1.0);
    QCOMPARE(records[1].emission.angleDeg, 40.0);
    QCOMPARE(records[2].emission.angleDeg, 0.0);
    canvas.setAllEmissions(0.0, 0.0, -1.0, 55.0);
    for (const MarkerRecord &record : canvas.markerRecords()) {
        QCOMPARE(record.emission.x, 0.0);
        QCOMPARE(record.emission.z, -1.0);
        QCOMPARE(record.emission.angleDeg, 55.0);
    }
}

void tst_GLCanvasEditing::exchangedMarkersLeaveTheCoordinateSystem()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.translateBody(10.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.rotateBody(0.0, 0.0, 90.0);
    emit canvas.storeBodyRequest();
    canvas.undo();
    canvas.translateBody(0.0, 0.0, 3.0);
    canvas.rotateBody(30.0, 0.0, 0.0);
    const Eigen::Affine3d base = affine(canvas.body().baseMatrix());
    const Eigen::Affine3d drawn = drawnAxes(canvas);
    const bsPose view = canvas.camera().view();
    canvas.exchangeMarkers({{20, 0, 0}, {0, 40, 0}, {0, 0, 60}, {20, 40, 0}, {0, 20, 40}},
                           {{1.0, 0.0, 0.0, 30.0}, {0.0, 1.0, 0.0, 40.0}});
    QVERIFY(canvas.isBodyLoaded());
    QVERIFY(isAt(canvas, base));
    QVERIFY(largestDifference(drawnAxes(canvas), drawn) == 0.0);
    QCOMPARE(canvas.camera().view().position.z, view.position.z);
    QVERIFY(canvas.hasUnappliedChanges());

    QCOMPARE(canvas.body().markerCount(), 5);
    QCOMPARE(canvas.markerRecords()[0].position.x, 10.0);
    QCOMPARE(canvas.markerRecords()[1].emission.angleDeg, 40.0);
    QCOMPARE(canvas.markerRecords()[2].emission.angleDeg, 0.0);
    QCOMPARE(canvas.body().cog().x, 8.0);
    QCOMPARE(canvas.body().cog().y, 20.0);
    QCOMPARE(canvas.body().cog().z, 20.0);
    QCOMPARE(canvas.body().markers()[4]->colour, QColor(255, 0, 255));

    // Undo and redo walk the same history.
    QCOMPARE(canvas.body().undoCount(), 1);
    QCOMPARE(canvas.body().redoCount(), 1);
    canvas.undo();
    QVERIFY(isAt(canvas, Eigen::Affine3d::Identity()));
    canvas.redo();
    canvas.redo();
    QVERIFY(isAt(canvas, pose(turn(0.0, 0.0, 90.0), Eigen::Vector3d(10.0, 0.0, 0.0))));
    // An operation takes the new markers.
    canvas.set_origin_to_cog();
    QCOMPARE(canvas.body().baseMatrix().column(3).y, 20.0);
}

void tst_GLCanvasEditing::exchangedMarkersTakeLinesAndSelectionAway()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    selectMarkers(canvas, 0, 2);
    canvas.introduceLine();
    QCOMPARE(canvas.body().lines().size(), 1);
    canvas.exchangeMarkers(kTetrahedron, {});
    QVERIFY(canvas.body().lines().isEmpty());
    QVERIFY(canvas.selection().isEmpty());
    QCOMPARE(canvas.selectedMarkerNumber(), -1);

    // Also when the line is what is selected.
    selectMarkers(canvas, 0, 2);
    canvas.introduceLine();
    canvas.select(canvas.body().lines().first());
    canvas.exchangeMarkers(kRightAngle, {});
    QVERIFY(canvas.selection().isEmpty());
    canvas.deleteLine();
    QCOMPARE(canvas.body().markerCount(), 3);
}

void tst_GLCanvasEditing::exchangeSignals()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    canvas.translateBody(1.0, 0.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.translateBody(0.0, 1.0, 0.0);
    emit canvas.storeBodyRequest();
    canvas.undo();
    selectMarkers(canvas, 0, 2);
    SignalLog log(canvas);
    canvas.exchangeMarkers(kRightAngle, {});
    QCOMPARE(log.take(), history(true, true) + (QStringList{text("canSetOriginToMarker", false),
                                                            text("canSetAxisToMarkers", false),
                                                            text("canIntroduceLine", false),
                                                            text("canDeleteLine", false)}));
}

void tst_GLCanvasEditing::withoutABodyThereIsNothingToExchange()
{
    GLCanvas canvas;
    SignalLog log(canvas);
    canvas.exchangeMarkers(kTetrahedron, {});
    QVERIFY(!canvas.isBodyLoaded());
    QCOMPARE(canvas.body().markerCount(), 0);
    QCOMPARE(log.take(), QStringList());
}

void tst_GLCanvasEditing::signalsAreDeclaredInOrder()
{
    QVERIFY(GLCanvas::staticMetaObject.superClass() == &QGLWidget::staticMetaObject);
    QCOMPARE(ownMethods(QMetaMethod::Signal),
             QStringList({QStringLiteral("translateViewRequest(double,double,double) x y z"),
                          QStringLiteral("rotateViewRequest(double,double,double) x y z"),
                          QStringLiteral("storeViewRequest()"),
                          QStringLiteral("bodyModified(bool) bodyModified"),
                          QStringLiteral("storeBodyRequest()"),
                          QStringLiteral("canUndo(bool) enableUndo"),
                          QStringLiteral("canRedo(bool) enableRedo"),
                          QStringLiteral("canSetOriginToMarker(bool) enableSetOriginToMarker"),
                          QStringLiteral("canSetAxisToMarkers(bool) enableSetAxisToMarkers"),
                          QStringLiteral("canSetParallelAxes(bool) enableSetParallelAxes"),
                          QStringLiteral("body_change(bool) can_apply"),
                          QStringLiteral("is_online(bool) online"),
                          QStringLiteral("canIntroduceLine(bool) enableIntroduceLine"),
                          QStringLiteral("canDeleteLine(bool) enableDeleteLine"),
                          QStringLiteral("canDeleteMarker()")}));
}

void tst_GLCanvasEditing::slotsHaveTheirSignatures()
{
    QStringList expected = {
        // The camera.
        QStringLiteral("saveCurrentView()"),
        QStringLiteral("rotateView(double,double,double) x y z"),
        QStringLiteral("translateView(double,double,double) x y z"),
        QStringLiteral("setViewOrientation(bsMatrix) m"),
        QStringLiteral("setViewPosition(bsVector) position"),
        QStringLiteral("transformView(bsMatrix) m"),
        QStringLiteral("rotateViewBegin()"),
        QStringLiteral("rotateViewEnd()"),
        // The body's coordinate system.
        QStringLiteral("rotateBody(double,double,double) x y z"),
        QStringLiteral("translateBody(double,double,double) x y z"),
        QStringLiteral("rotateBody(bsMatrix) m"),
        QStringLiteral("setBodyOrientation(bsMatrix) m"),
        QStringLiteral("setBodyPosition(bsVector) v"),
        QStringLiteral("saveCurrentBody()"),
        QStringLiteral("undoBody()"),
        QStringLiteral("redoBody()"),
        QStringLiteral("undo()"),
        QStringLiteral("redo()"),
        QStringLiteral("setOriginToMarker()"),
        QStringLiteral("setAxisToMarkers(abcAxis,abcAxis) axisToSet axisToKeep"),
        QStringLiteral("setParallelAxes()"),
        QStringLiteral("set_origin_to_cog()"),
        // Lines.
        QStringLiteral("introduceLine()"),
        QStringLiteral("deleteLine()"),
        // What is shown.
        QStringLiteral("showSmallMarkers(bool) showSmall"),
        QStringLiteral("showColoredMarkers(bool) showColored"),
        QStringLiteral("showMarkerEmissions(bool) show_emissions"),
        QStringLiteral("showLongAxes(bool) longAxes"),
        QStringLiteral("setLongAxesFactor(double) longAxesFactor"),
        QStringLiteral("showCOG(bool) showCog"),
        QStringLiteral("showXYGrid(bool) showXY"),
        QStringLiteral("showYZGrid(bool) showYZ"),
        QStringLiteral("showXZGrid(bool) showXZ"),
        QStringLiteral("setXYGridColor(QColor&) XYColor"),
        QStringLiteral("setYZGridColor(QColor&) YZColor"),
        QStringLiteral("setXZGridColor(QColor&) XZColor"),
    };
    QStringList found = ownMethods(QMetaMethod::Slot);
    expected.sort();
    found.sort();
    QCOMPARE(found, expected);
    QVERIFY(ownMethods(QMetaMethod::Method).isEmpty());
}

void tst_GLCanvasEditing::randomEditsAgreeWithAPlainAccount()
{
    QRandomGenerator random(testSeed());
    // Right angles and half turns among them.
    const auto angle = [&random] {
        return random.bounded(4) == 0 ? random.bounded(-2, 3) * 90.0
                                      : random.generateDouble() * 360.0 - 180.0;
    };
    const auto coordinate = [&random] { return random.generateDouble() * 100.0 - 50.0; };
    GLCanvas canvas;
    canvas.setSuspended(false);
    Reference reference;
    const QVector<bsVector> start = randomMarkers(random);
    canvas.setBody(start, {});
    reference.load(start);
    SignalLog log(canvas);

    constexpr int kSteps = 12000;
    int emptyCommits = 0;
    int exchangesWithHistory = 0;
    int longestHistory = 0;
    for (int i = 0; i < kSteps; ++i) {
        reference.log.clear();
        const int action = random.bounded(1060);
        if (action < 150) {
            const double x = coordinate();
            const double y = coordinate();
            const double z = coordinate();
            canvas.translateBody(x, y, z);
            reference.pendingPosition = {x, y, z};
            reference.log += text("body_change", true);
        } else if (action < 300) {
            const double x = angle();
            const double y = angle();
            const double z = angle();
            canvas.rotateBody(x, y, z);
            reference.pendingRotation = turn(x, y, z);
            reference.log += text("body_change", true);
        } else if (action < 480) {
            emit canvas.storeBodyRequest();
            emptyCommits += reference.store() ? 0 : 1;
        } else if (action < 530) {
            canvas.translateBody(0.0, 0.0, 0.0);
            canvas.rotateBody(0.0, 0.0, 0.0);
            reference.pendingPosition.setZero();
            reference.pendingRotation.setIdentity();
            reference.log += text("body_change", true);
            reference.log += text("body_change", true);
        } else if (action < 620) {
            canvas.undo();
            if (!reference.suspended)
                reference.step(reference.undoStack, reference.redoStack);
            reference.log += text("body_change", !reference.undoStack.isEmpty());
        } else if (action < 690) {
            canvas.redo();
            if (!reference.suspended)
                reference.step(reference.redoStack, reference.undoStack);
            reference.log += text("body_change", true);
        } else if (action < 705) {
            canvas.undoBody();
            reference.step(reference.undoStack, reference.redoStack);
        } else if (action < 720) {
            canvas.redoBody();
            reference.step(reference.redoStack, reference.undoStack);
        } else if (action < 780) {
            const int marker = random.bounded(reference.positions.size() + 1) - 1;
            canvas.select(marker < 0 ? nullptr : canvas.body().markers()[marker]);
            reference.select(marker);
        } else if (action < 810) {
            canvas.setOriginToMarker();
            if (!reference.selection.isEmpty()) {
                reference.target(reference.positions[reference.selection[0]]);
                reference.store();
            }
        } else if (action < 850) {
            const int set = random.bounded(3);
            const int keep = (set + 1 + random.bounded(2)) % 3;
            // What comes of a kept axis along the markers has a case of its own.
            if (reference.isPair() && reference.isKeptAxisAlongMarkers(keep))
                continue;
            canvas.setAxisToMarkers(abcAxis(set), abcAxis(keep));
            if (reference.isPair()) {
                reference.target(reference.axisFrame(set, keep));
                reference.store();
            }
        } else if (action < 870) {
            canvas.set_origin_to_cog();
            if (reference.loaded) {
                reference.target(reference.cog());
                reference.store();
            }
        } else if (action < 890) {
            canvas.setParallelAxes();
            if (reference.loaded && reference.online && !reference.suspended) {
                reference.target(Eigen::Matrix3d(reference.room.transpose()));
                reference.store();
            }
        } else if (action < 920) {
            const int preset = random.bounded(3);
            const std::array<bool (GLCanvas::*)(), 3> presets = {
                &GLCanvas::dueToBody, &GLCanvas::dueToRoomOriginInCog,
                &GLCanvas::dueToRoomOriginInMarker};
            QCOMPARE((canvas.*presets[preset])(), reference.loaded);
            if (reference.loaded) {
                const auto [o, f, s] = reference.triple();
                const Eigen::Vector3d origin = reference.positions[o];
                if (preset == 0) {
                    const Eigen::Vector3d x = (reference.positions[f] - origin).normalized();
                    const Eigen::Vector3d z = x.cross(reference.positions[s] - origin).normalized();
                    reference.target(columns(x, z.cross(x), z));
                } else {
                    reference.target(Eigen::Matrix3d(reference.room.transpose()));
                }
                reference.target(preset == 1 ? reference.cog() : origin);
                reference.store();
            }
        } else if (action < 935) {
            const Eigen::Matrix3d rotation = turn(angle(), angle(), angle());
            canvas.rotateBody(fromAffine(pose(rotation, {1, 2, 3})));
            reference.pendingRotation = rotation;
        } else if (action < 950) {
            const bool online = random.bounded(2) == 1;
            canvas.setOnline(online);
            reference.online = online;
            if (!online)
                reference.room.setIdentity();
            reference.log +=
                text("canSetParallelAxes", online && reference.loaded && !reference.suspended);
            reference.log += text("is_online", online);
        } else if (action < 965) {
            const Eigen::Matrix3d room = turn(angle(), angle(), angle());
            const bool tracked = random.bounded(3) > 0;
            canvas.setTrackedPose(fromAffine(pose(room, {4, 5, 6})), bsVector(4, 5, 6), tracked);
            if (reference.online && tracked)
                reference.room = room;
        } else if (action < 980) {
            canvas.introduceLine();
            if (reference.isPair() && !reference.isJoined()) {
                reference.lines.append({reference.selection[0], reference.selection[1]});
                reference.log += text("canIntroduceLine", false);
            }
        } else if (action < 985) {
            if (!reference.lines.isEmpty()) {
                const int line = random.bounded(reference.lines.size());
                canvas.select(canvas.body().lines()[line]);
                reference.selectLine(line);
            }
        } else if (action < 990) {
            canvas.deleteLine();
            if (reference.selectedLine >= 0) {
                reference.lines.remove(reference.selectedLine);
                reference.selectedLine = -1;
                reference.log += text("canDeleteLine", false);
            }
        } else if (action < 995) {
            reference.suspended = !reference.suspended;
            canvas.setSuspended(reference.suspended);
        } else if (action < 999) {
            // Seldom enough for a long history in between.
            if (random.bounded(10) == 0) {
                const QVector<bsVector> positions = randomMarkers(random);
                canvas.setBody(positions, {});
                reference.load(positions);
            }
        } else if (action < 1000) {
            if (random.bounded(4) == 0) {
                canvas.clearBody();
                reference.clear();
            }
        } else if (action < 1020) {
            const QVector<bsVector> positions = randomMarkers(random);
            canvas.exchangeMarkers(positions, {});
            reference.exchange(positions);
            exchangesWithHistory += reference.undoStack.isEmpty() ? 0 : 1;
        } else if (action < 1040) {
            canvas.saveCurrentBody();
            reference.commit();
            canvas.saveCurrentBody();
            emit canvas.storeBodyRequest();
            reference.log += kStored;
            ++emptyCommits;
        } else {
            // Too little to count; it stays pending.
            canvas.translateBody(9e-8, -9e-8, 0.0);
            canvas.rotateBody(0.0, 0.0, 0.0);
            reference.pendingPosition = {9e-8, -9e-8, 0.0};
            reference.pendingRotation.setIdentity();
            reference.log += text("body_change", true);
            reference.log += text("body_change", true);
            emit canvas.storeBodyRequest();
            QVERIFY(!reference.store());
            ++emptyCommits;
        }

        const QByteArray where = QStringLiteral("step %1, action %2").arg(i).arg(action).toUtf8();
        QCOMPARE(log.take(), reference.log);
        const Eigen::Affine3d base = affine(canvas.body().baseMatrix());
        QVERIFY2(largestDifference(base, reference.base) < 1e-9, where.constData());
        const Eigen::Affine3d pending = affine(canvas.body().pendingPose().toMatrix());
        QVERIFY2(largestDifference(pending, reference.pending()) < 1e-9, where.constData());
        QVERIFY2(largestDifference(drawnAxes(canvas), reference.base * reference.pending()) < 1e-9,
                 where.constData());
        QVERIFY2(isRotation(base.linear()), where.constData());
        QVERIFY2(areAt(canvas.body().undoStack(), reference.undoStack), where.constData());
        QVERIFY2(areAt(canvas.body().redoStack(), reference.redoStack), where.constData());
        QCOMPARE(canvas.body().undoCount(), reference.undoStack.size());
        QCOMPARE(canvas.body().redoCount(), reference.redoStack.size());
        longestHistory = std::max(longestHistory, reference.undoStack.size());
        QCOMPARE(canvas.body().markerCount(), reference.positions.size());
        for (int k = 0; k < reference.positions.size(); ++k)
            QVERIFY(vector(canvas.body().markers()[k]->position()) == reference.positions[k]);
        QCOMPARE(canvas.isBodyLoaded(), reference.loaded);
        QCOMPARE(canvas.hasUnappliedChanges(), reference.loaded && !reference.undoStack.isEmpty());
        QCOMPARE(canvas.body().lines().size(), reference.lines.size());
        const int selected = reference.selectedLine >= 0 ? 1 : reference.selection.size();
        QCOMPARE(canvas.selection().size(), selected);
        for (int k = 0; k < reference.selection.size(); ++k) {
            QCOMPARE(canvas.selection()[k], canvas.body().markers()[reference.selection[k]]);
        }
    }

    QVERIFY(emptyCommits > 100);
    QVERIFY(exchangesWithHistory > 50);
    QVERIFY(longestHistory > 100);

    // The whole history, back to the beginning and forward again.
    const int undoCount = reference.undoStack.size();
    for (int i = 0; i < undoCount; ++i) {
        canvas.undoBody();
        reference.step(reference.undoStack, reference.redoStack);
        QVERIFY(largestDifference(affine(canvas.body().baseMatrix()), reference.base) < 1e-9);
    }
    QVERIFY(largestDifference(affine(canvas.body().baseMatrix()), Eigen::Affine3d::Identity()) ==
            0.0);
    const int redoCount = reference.redoStack.size();
    for (int i = 0; i < redoCount; ++i) {
        canvas.redoBody();
        reference.step(reference.redoStack, reference.undoStack);
        QVERIFY(largestDifference(affine(canvas.body().baseMatrix()), reference.base) < 1e-9);
    }
    QCOMPARE(canvas.body().redoCount(), 0);
}

void tst_GLCanvasEditing::manyCommitsStayARotation()
{
    GLCanvas canvas;
    canvas.setBody(kTetrahedron, {});
    for (int i = 0; i < 10000; ++i) {
        canvas.rotateBody(i % 17 - 5.0, i % 11 - 8.0, i % 7 + 0.1);
        canvas.translateBody(i % 5 - 2.0, 0.0, 0.0);
        emit canvas.storeBodyRequest();
    }
    QCOMPARE(canvas.body().undoCount(), 10000);
    QVERIFY(isRotation(affine(canvas.body().baseMatrix()).linear()));
}

QUOREL2_TEST_MAIN(tst_GLCanvasEditing)
#include "tst_GLCanvasEditing.moc"
