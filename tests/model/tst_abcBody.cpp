#include "GeometryOracle.h"

#include <model/CoordinateOperations.h>
#include <model/ObjectPainter.h>
#include <model/abcBody.h>
#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>

#include <QMetaMethod>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

#include <limits>
#include <optional>

Q_DECLARE_METATYPE(bsVector)

class tst_abcBody : public QObject {
    Q_OBJECT

private slots:
    void signalsAreInOrder();
    void newBodyIsEmpty();
    void displayOptionsHaveTheirDefaults();
    void paletteHasSevenColours();
    void markerRecordHasItsDefaults();
    void markerRecordTakesEveryField();
    void objectsHaveTypesAndColours();
    void objectsDrawThroughThePainter();

    void loadingCreatesMarkersInOrder();
    void loadingASinglePositionWarns();
    void singlePositionEmptiesALoadedBody();
    void warningIsTranslated();
    void warningWithoutAPresenterIsLogged();
    void loadingNothingGivesAnEmptyLoadedBody();
    void loadingAgainStartsAfresh();
    void eighthMarkerIsRedAgain();
    void cogIsTheMeanOfTheMarkers();
    void clearKeepsOptionsCogAndPalette();
    void clearAnnouncesItself();
    void emissionsOfAShorterListChangeTheFirstMarkers();
    void emissionsOfALongerListChangeEveryMarker();
    void allEmissionsAreTheSame();
    void emissionsCanBeHidden();

    void otherMarkersTakeThePlaceOfThoseThatAreThere();
    void exchangingMarkersKeepsTheCoordinateSystem();
    void exchangingMarkersRemovesTheLines();

    void linesJoinInEitherOrder();
    void removingALineKeepsTheOrderOfTheOthers();
    void linesAreDeletedByTheBody();

    void recordsOfAFreshBodyAreTheStoredPositions();
    void recordsFollowTheBaseMatrixOnly();
    void recordsKeepRadiusAndEmission();

    void originOnAMarker();
    void originOnTheCog();
    void axisAlongTwoMarkers();
    void positionThenOrientationReachesBoth();

    void nothingPendingCommitsNothing();
    void pendingBelowTheToleranceCommitsNothing();
    void commitMultipliesFromTheRight();
    void commitRecordsThePreviousMatrix();
    void commitClearsRedo();
    void emptyCommitKeepsRedo();
    void undoAndRedoWalkTheHistory();
    void undoAndRedoWithoutEntriesDoNothing();
    void undoAndRedoLeaveThePendingPose();
    void historyLimitDropsTheOldest();
    void historyLimitHoldsForRedo();
    void historyIsUnboundedWithoutALimit();
    void notFinitePendingPoseIsDropped_data();
    void notFinitePendingPoseIsDropped();
    void overflowingCommitIsDropped();
    void cogOfAnEmptyBodyIsNotCommitted();
    void anyPendingOrientationCommitsARotation();
    void singleCommitsStayWithinRounding();
    void rotationStaysOrthonormal();
    void randomEditsFollowTheReference();
};

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

const QVector<bsVector> kCorners{{0, 0, 0}, {100, 0, 0}, {0, 100, 0}, {0, 0, 100}};

bool areIdentical(const bsMatrix &a, const bsMatrix &b)
{
    return std::equal(std::begin(a.m), std::end(a.m), std::begin(b.m));
}

bool isIdentity(const bsMatrix &matrix)
{
    return areIdentical(matrix, bsMatrix::identity());
}

void compareVector(const bsVector &actual, double x, double y, double z)
{
    QCOMPARE(actual.x, x);
    QCOMPARE(actual.y, y);
    QCOMPARE(actual.z, z);
}

void compareEmission(const Emission &actual, double x, double y, double z, double angleDeg)
{
    QCOMPARE(actual.x, x);
    QCOMPARE(actual.y, y);
    QCOMPARE(actual.z, z);
    QCOMPARE(actual.angleDeg, angleDeg);
}

bool commitShift(abcBody &body, double x, double y, double z)
{
    body.setPendingPosition(bsVector(x, y, z));
    return body.saveCurrentBody();
}

/// Writes down each call in words.
class RecordingPainter : public ObjectPainter {
public:
    void drawMarker(const abcMarker &marker, bool small, bool coloured) override
    {
        add("draw marker", &marker, small);
        calls.last() += coloured ? " coloured" : " plain";
    }
    void highlightMarker(const abcMarker &marker, bool small) override
    {
        add("highlight marker", &marker, small);
    }
    void pickDrawMarker(const abcMarker &marker, bool small) override
    {
        add("pick marker", &marker, small);
    }
    void drawLine(const abcLine &line, bool small) override { add("draw line", &line, small); }
    void highlightLine(const abcLine &line, bool small) override
    {
        add("highlight line", &line, small);
    }
    void pickDrawLine(const abcLine &line, bool small) override { add("pick line", &line, small); }

    QStringList calls;
    const abcObject *object = nullptr;

private:
    void add(const char *call, const abcObject *drawn, bool small)
    {
        calls.append(QLatin1String(call) + (small ? " small" : " large"));
        object = drawn;
    }
};

class CountedLine : public abcLine {
public:
    CountedLine(const abcMarker *first, const abcMarker *second, int *deleted)
        : abcLine(first, second)
        , m_deleted(deleted)
    {
    }
    ~CountedLine() override { ++*m_deleted; }

private:
    int *m_deleted;
};

/// Answers only texts of the body's own context.
class BodyTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override
    {
        Q_UNUSED(disambiguation)
        Q_UNUSED(n)
        if (qstrcmp(context, "abcBody") != 0)
            return QString();
        return QStringLiteral("<") + QLatin1String(sourceText) + QStringLiteral(">");
    }
};

/// The history as one line of states with a place in it, and the pending change beside it.
class ReferenceHistory {
public:
    explicit ReferenceHistory(int limit)
        : m_limit(limit)
    {
    }

    const Eigen::Matrix4d &base() const { return m_states[static_cast<size_t>(m_place)]; }
    int undoCount() const { return m_place; }
    int redoCount() const { return static_cast<int>(m_states.size()) - 1 - m_place; }
    /// What undoing @p steps times leads to, counted from 1; negative for redoing.
    const Eigen::Matrix4d &state(int steps) const
    {
        return m_states[static_cast<size_t>(m_place - steps)];
    }
    Eigen::Matrix4d pending() const { return Oracle::rigid(rotation, position); }

    bool commit()
    {
        const Eigen::Matrix4d change = pending();
        if (!change.allFinite()) {
            resetPending();
            return false;
        }
        if ((change - Eigen::Matrix4d::Identity()).cwiseAbs().maxCoeff() < 1e-7)
            return false;
        Eigen::Matrix4d next = base() * change;
        next.topLeftCorner<3, 3>() =
            Eigen::Quaterniond(next.topLeftCorner<3, 3>()).normalized().toRotationMatrix();
        m_states.resize(static_cast<size_t>(m_place) + 1);
        m_states.push_back(next);
        ++m_place;
        if (m_limit != 0 && m_place > m_limit) {
            m_states.erase(m_states.begin());
            --m_place;
        }
        resetPending();
        return true;
    }
    bool undo()
    {
        if (undoCount() == 0)
            return false;
        --m_place;
        return true;
    }
    bool redo()
    {
        if (redoCount() == 0)
            return false;
        ++m_place;
        return true;
    }
    void restart()
    {
        m_states = {Eigen::Matrix4d(Eigen::Matrix4d::Identity())};
        m_place = 0;
        resetPending();
    }

    Eigen::Vector3d position = Eigen::Vector3d::Zero();
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();

private:
    void resetPending()
    {
        position.setZero();
        rotation.setIdentity();
    }

    int m_limit;
    int m_place = 0;
    std::vector<Eigen::Matrix4d> m_states{Eigen::Matrix4d(Eigen::Matrix4d::Identity())};
};

} // namespace

void tst_abcBody::signalsAreInOrder()
{
    const QMetaObject &meta = abcBody::staticMetaObject;
    QVERIFY(meta.superClass() == &QObject::staticMetaObject);
    QList<QByteArray> found;
    QList<QByteArray> names;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        QCOMPARE(meta.method(index).methodType(), QMetaMethod::Signal);
        found.append(meta.method(index).methodSignature());
        names += meta.method(index).parameterNames();
    }
    QCOMPARE(found, (QList<QByteArray>{"bodyModified(bool)", "bodyLoaded(bool)"}));
    QCOMPARE(names, (QList<QByteArray>{"modified", "loaded"}));
}

void tst_abcBody::newBodyIsEmpty()
{
    QObject parent;
    auto *body = new abcBody(&parent);
    QCOMPARE(body->parent(), &parent);
    QVERIFY(!body->isLoaded());
    QVERIFY(!body->isModified());
    QVERIFY(body->name().isEmpty());
    QCOMPARE(body->markerCount(), 0);
    QVERIFY(body->lines().isEmpty());
    QVERIFY(isIdentity(body->baseMatrix()));
    QVERIFY(isIdentity(body->pendingPose().toMatrix()));
    QCOMPARE(body->undoCount(), 0);
    QCOMPARE(body->redoCount(), 0);
    compareVector(body->cog(), 0.0, 0.0, 0.0);
}

void tst_abcBody::displayOptionsHaveTheirDefaults()
{
    const abcBody body(nullptr);
    QCOMPARE(body.options.smallMarkers, false);
    QCOMPARE(body.options.colouredMarkers, false);
    QCOMPARE(body.options.markerEmissions, true);
    QCOMPARE(body.options.longAxes, false);
    QCOMPARE(body.options.longAxesFactor, 10.0);
    QCOMPARE(body.options.xyGrid, false);
    QCOMPARE(body.options.yzGrid, false);
    QCOMPARE(body.options.xzGrid, false);
    QCOMPARE(body.options.gridHalfExtent, 500.0);
    QCOMPARE(body.options.gridSpacing, 25.0);
    QCOMPARE(body.options.xyGridColour, QColor(255, 255, 0));
    QCOMPARE(body.options.yzGridColour, QColor(0, 255, 255));
    QCOMPARE(body.options.xzGridColour, QColor(255, 0, 255));
}

void tst_abcBody::paletteHasSevenColours()
{
    const abcBody body(nullptr);
    QCOMPARE(body.palette(), (QVector<QColor>{QColor(255, 0, 0, 255), QColor(0, 255, 0, 255),
                                              QColor(0, 0, 255, 255), QColor(255, 255, 0, 255),
                                              QColor(255, 0, 255, 255), QColor(0, 255, 255, 255),
                                              QColor(255, 255, 255, 255)}));
}

void tst_abcBody::markerRecordHasItsDefaults()
{
    const MarkerRecord record;
    QCOMPARE(record.id, -1);
    compareVector(record.position, 0.0, 0.0, 0.0);
    QCOMPARE(record.radius, 10.0);
    QCOMPARE(record.smallRadius, 3.0);
    compareEmission(record.emission, 0.0, 0.0, 0.0, 0.0);
}

void tst_abcBody::markerRecordTakesEveryField()
{
    const MarkerRecord record(7, bsVector(1.0, 2.0, 3.0), 4.0, 5.0, 0.1, 0.2, 0.3, 60.0);
    const MarkerRecord copied = record;
    QCOMPARE(copied.id, 7);
    compareVector(copied.position, 1.0, 2.0, 3.0);
    QCOMPARE(copied.radius, 4.0);
    QCOMPARE(copied.smallRadius, 5.0);
    compareEmission(copied.emission, 0.1, 0.2, 0.3, 60.0);
}

void tst_abcBody::objectsHaveTypesAndColours()
{
    MarkerRecord record;
    record.id = 3;
    record.position.set(1.0, 2.0, 3.0);
    const abcMarker marker(record);
    const abcMarker other(record);
    const abcLine line(&marker, &other);

    QCOMPARE(marker.type(), 1u);
    QCOMPARE(marker.colour, QColor(255, 255, 255, 255));
    QCOMPARE(marker.id(), 3);
    compareVector(marker.position(), 1.0, 2.0, 3.0);

    QCOMPARE(line.type(), 2u);
    QCOMPARE(line.colour, QColor(100, 100, 100, 255));
    QCOMPARE(line.width, 6.0);
    QCOMPARE(line.smallWidth, 1.5);
    QCOMPARE(line.firstMarker(), &marker);
    QCOMPARE(line.secondMarker(), &other);
    QVERIFY(isIdentity(line.pose.toMatrix()));
}

void tst_abcBody::objectsDrawThroughThePainter()
{
    const abcMarker marker{MarkerRecord()};
    const abcLine line(&marker, &marker);
    RecordingPainter painter;
    for (const abcObject *object :
         {static_cast<const abcObject *>(&marker), static_cast<const abcObject *>(&line)}) {
        object->draw(painter, true, false);
        QCOMPARE(painter.object, object);
        object->draw(painter, false, true);
        object->highlight(painter, true);
        object->highlight(painter, false);
        object->pickDraw(painter, true);
        object->pickDraw(painter, false);
        QCOMPARE(painter.object, object);
    }
    QCOMPARE(painter.calls,
             (QStringList{"draw marker small plain", "draw marker large coloured",
                          "highlight marker small", "highlight marker large", "pick marker small",
                          "pick marker large", "draw line small", "draw line large",
                          "highlight line small", "highlight line large", "pick line small",
                          "pick line large"}));
}

void tst_abcBody::loadingCreatesMarkersInOrder()
{
    abcBody body(nullptr);
    QSignalSpy loaded(&body, &abcBody::bodyLoaded);
    QSignalSpy modified(&body, &abcBody::bodyModified);
    QVERIFY(body.loadMarkers({{1, 2, 3}, {-4, 5, -6}, {7, 8, 9}}));

    QVERIFY(body.isLoaded());
    QVERIFY(!body.isModified());
    QCOMPARE(loaded, (QList<QVariantList>{{true}}));
    QCOMPARE(modified.count(), 0);
    QCOMPARE(body.markerCount(), 3);
    compareVector(body.markerPositions()[1], -4.0, 5.0, -6.0);
    for (int index = 0; index < 3; ++index) {
        const MarkerRecord &record = body.markers()[index]->record;
        QCOMPARE(record.id, index);
        QCOMPARE(record.radius, 10.0);
        QCOMPARE(record.smallRadius, 3.0);
        compareEmission(record.emission, 0.0, 0.0, 0.0, 0.0);
        QCOMPARE(body.markers()[index]->colour, body.palette()[index]);
    }
}

void tst_abcBody::loadingASinglePositionWarns()
{
    abcBody body(nullptr);
    QStringList shown;
    body.setWarningPresenter(
        [&shown](const QString &title, const QString &text) { shown << title << text; });
    QSignalSpy loaded(&body, &abcBody::bodyLoaded);
    QVERIFY(!body.loadMarkers({{1, 2, 3}}));
    QCOMPARE(shown, (QStringList{"Error loading body",
                                 "Error : Number of markers = 1 (is it a body file ?).\n"
                                 "Body not loaded."}));
    QVERIFY(!body.isLoaded());
    QCOMPARE(body.markerCount(), 0);
    QCOMPARE(loaded.count(), 0);
}

void tst_abcBody::singlePositionEmptiesALoadedBody()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    int warnings = 0;
    bool emptyWhenWarned = false;
    body.setWarningPresenter([&](const QString &, const QString &) {
        ++warnings;
        emptyWhenWarned = !body.isLoaded() && body.markerCount() == 0;
    });
    QSignalSpy loaded(&body, &abcBody::bodyLoaded);
    QVERIFY(!body.loadMarkers({{1, 2, 3}}));
    QCOMPARE(warnings, 1);
    QVERIFY(emptyWhenWarned);
    QCOMPARE(loaded, (QList<QVariantList>{{false}}));
    compareVector(body.cog(), 25.0, 25.0, 25.0);
}

void tst_abcBody::warningIsTranslated()
{
    BodyTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    abcBody body(nullptr);
    QStringList shown;
    body.setWarningPresenter(
        [&shown](const QString &title, const QString &text) { shown << title << text; });
    body.loadMarkers({{1, 2, 3}});
    QCoreApplication::removeTranslator(&translator);
    QCOMPARE(shown, (QStringList{"<Error loading body>",
                                 "<Error : Number of markers = 1 (is it a body file ?).\n"
                                 "Body not loaded.>"}));
}

void tst_abcBody::warningWithoutAPresenterIsLogged()
{
    abcBody body(nullptr);
    QTest::ignoreMessage(QtWarningMsg, "Error loading body: Error : Number of markers = 1 (is it a "
                                       "body file ?).\nBody not loaded.");
    QVERIFY(!body.loadMarkers({{1, 2, 3}}));
}

void tst_abcBody::loadingNothingGivesAnEmptyLoadedBody()
{
    abcBody body(nullptr);
    int warnings = 0;
    body.setWarningPresenter([&warnings](const QString &, const QString &) { ++warnings; });
    QSignalSpy loaded(&body, &abcBody::bodyLoaded);
    QVERIFY(body.loadMarkers({}));
    QVERIFY(body.isLoaded());
    QCOMPARE(loaded, (QList<QVariantList>{{true}}));
    QCOMPARE(body.markerCount(), 0);
    QCOMPARE(warnings, 0);
    QVERIFY(std::isnan(body.cog().x));
    QVERIFY(std::isnan(body.cog().y));
    QVERIFY(std::isnan(body.cog().z));
}

void tst_abcBody::loadingAgainStartsAfresh()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    body.addLine(new abcLine(body.markers()[0], body.markers()[1]));
    commitShift(body, 1.0, 0.0, 0.0);
    commitShift(body, 2.0, 0.0, 0.0);
    body.undo();
    body.setPendingPosition(bsVector(5.0, 6.0, 7.0));
    body.setPendingOrientation(bsQuaternion::fromEuler(10.0, 20.0, 30.0));
    QSignalSpy loaded(&body, &abcBody::bodyLoaded);
    QSignalSpy modified(&body, &abcBody::bodyModified);

    QVERIFY(body.loadMarkers({{0, 0, 0}, {2, 4, 6}}));
    QCOMPARE(loaded, (QList<QVariantList>{{false}, {true}}));
    QCOMPARE(modified, (QList<QVariantList>{{false}}));
    QCOMPARE(body.markerCount(), 2);
    QVERIFY(body.lines().isEmpty());
    QVERIFY(isIdentity(body.baseMatrix()));
    QVERIFY(isIdentity(body.pendingPose().toMatrix()));
    QCOMPARE(body.undoCount(), 0);
    QCOMPARE(body.redoCount(), 0);
    QVERIFY(!body.isModified());
    compareVector(body.cog(), 1.0, 2.0, 3.0);

    // The last saved matrix started afresh as well: it is what the next commit records.
    QVERIFY(commitShift(body, 9.0, 0.0, 0.0));
    body.undo();
    QVERIFY(isIdentity(body.baseMatrix()));
}

void tst_abcBody::eighthMarkerIsRedAgain()
{
    abcBody body(nullptr);
    QVector<bsVector> positions;
    for (int index = 0; index < 16; ++index)
        positions.append(bsVector(index, 0.0, 0.0));
    body.loadMarkers(positions);
    QCOMPARE(body.markers()[6]->colour, QColor(255, 255, 255, 255));
    QCOMPARE(body.markers()[7]->colour, QColor(255, 0, 0, 255));
    QCOMPARE(body.markers()[15]->colour, QColor(0, 255, 0, 255));
}

void tst_abcBody::cogIsTheMeanOfTheMarkers()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    compareVector(body.cog(), 25.0, 25.0, 25.0);
    commitShift(body, 10.0, 0.0, 0.0);
    compareVector(body.cog(), 25.0, 25.0, 25.0);
}

void tst_abcBody::clearKeepsOptionsCogAndPalette()
{
    abcBody body(nullptr);
    body.options.longAxes = true;
    body.options.gridSpacing = 50.0;
    body.loadMarkers(kCorners);
    body.clear();
    QVERIFY(body.options.longAxes);
    QCOMPARE(body.options.gridSpacing, 50.0);
    compareVector(body.cog(), 25.0, 25.0, 25.0);
    QCOMPARE(body.palette().size(), 7);
}

void tst_abcBody::clearAnnouncesItself()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    commitShift(body, 1.0, 2.0, 3.0);
    QStringList heard;
    connect(&body, &abcBody::bodyLoaded, this, [&](bool loaded) {
        heard << QStringLiteral("loaded %1").arg(loaded);
        QCOMPARE(body.isLoaded(), loaded);
    });
    connect(&body, &abcBody::bodyModified, this, [&](bool modified) {
        heard << QStringLiteral("modified %1").arg(modified);
        QCOMPARE(body.isModified(), modified);
    });
    body.clear();
    QCOMPARE(heard, (QStringList{"loaded 0", "modified 0"}));
}

void tst_abcBody::emissionsOfAShorterListChangeTheFirstMarkers()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    body.setAllEmissions(0.0, 0.0, 1.0, 30.0);
    body.setEmissions({{1.0, 0.0, 0.0, 10.0}, {0.0, 1.0, 0.0, 20.0}});
    compareEmission(body.markers()[0]->record.emission, 1.0, 0.0, 0.0, 10.0);
    compareEmission(body.markers()[1]->record.emission, 0.0, 1.0, 0.0, 20.0);
    compareEmission(body.markers()[2]->record.emission, 0.0, 0.0, 1.0, 30.0);
    compareEmission(body.markers()[3]->record.emission, 0.0, 0.0, 1.0, 30.0);
}

void tst_abcBody::emissionsOfALongerListChangeEveryMarker()
{
    abcBody body(nullptr);
    body.loadMarkers({{0, 0, 0}, {1, 0, 0}});
    body.setEmissions({{1, 0, 0, 1}, {2, 0, 0, 2}, {3, 0, 0, 3}});
    compareEmission(body.markers()[0]->record.emission, 1.0, 0.0, 0.0, 1.0);
    compareEmission(body.markers()[1]->record.emission, 2.0, 0.0, 0.0, 2.0);
}

void tst_abcBody::allEmissionsAreTheSame()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    body.setAllEmissions(0.6, 0.0, 0.8, 45.0);
    for (const abcMarker *marker : body.markers())
        compareEmission(marker->record.emission, 0.6, 0.0, 0.8, 45.0);
}

void tst_abcBody::emissionsCanBeHidden()
{
    abcBody body(nullptr);
    body.setShowEmissions(false);
    QVERIFY(!body.options.markerEmissions);
    body.setShowEmissions(true);
    QVERIFY(body.options.markerEmissions);
}

void tst_abcBody::otherMarkersTakeThePlaceOfThoseThatAreThere()
{
    abcBody body(nullptr);
    body.options.longAxes = true;
    QVERIFY(body.loadMarkers(kCorners));
    body.setAllEmissions(0.0, 0.0, 1.0, 60.0);
    QVector<bsVector> others;
    for (int i = 0; i < 9; ++i)
        others.append(bsVector(10.0 * i, -i, 7.0));
    body.exchangeMarkers(others);
    QVERIFY(body.isLoaded());
    QCOMPARE(body.markerCount(), 9);
    for (int i = 0; i < 9; ++i) {
        QCOMPARE(body.markers()[i]->id(), i);
        compareVector(body.markerPositions()[i], 10.0 * i, -i, 7.0);
        QCOMPARE(body.markers()[i]->colour, body.palette()[i % 7]);
        // Nothing is left of the markers that were there.
        compareEmission(body.markers()[i]->record.emission, 0.0, 0.0, 0.0, 0.0);
    }
    compareVector(body.cog(), 40.0, -4.0, 7.0);
    QVERIFY(body.options.longAxes);

    body.exchangeMarkers({bsVector(1, 2, 3), bsVector(3, 4, 5)});
    QCOMPARE(body.markerCount(), 2);
    compareVector(body.cog(), 2.0, 3.0, 4.0);
}

void tst_abcBody::exchangingMarkersKeepsTheCoordinateSystem()
{
    abcBody body(nullptr);
    QVERIFY(body.loadMarkers(kCorners));
    QVERIFY(commitShift(body, 10.0, 0.0, 0.0));
    QVERIFY(commitShift(body, 0.0, 20.0, 0.0));
    body.undo();
    body.setPendingPosition(bsVector(1.0, 2.0, 3.0));
    body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 90.0));
    const bsMatrix pending = body.pendingPose().toMatrix();
    QSignalSpy modified(&body, &abcBody::bodyModified);
    QSignalSpy loaded(&body, &abcBody::bodyLoaded);
    body.exchangeMarkers({bsVector(5, 0, 0), bsVector(0, 5, 0), bsVector(0, 0, 5)});
    QCOMPARE(modified.count(), 0);
    QCOMPARE(loaded.count(), 0);
    QVERIFY(body.isModified());
    QCOMPARE(body.undoCount(), 1);
    QCOMPARE(body.redoCount(), 1);
    compareVector(body.baseMatrix().column(3), 10.0, 0.0, 0.0);
    QVERIFY(areIdentical(body.pendingPose().toMatrix(), pending));
    compareVector(body.markerRecords()[0].position, -5.0, 0.0, 0.0);
    body.setPendingPosition(bsVector());
    body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 0.0));
    QVERIFY(!body.saveCurrentBody());
    body.redo();
    compareVector(body.baseMatrix().column(3), 10.0, 20.0, 0.0);
    body.undo();
    body.undo();
    QVERIFY(isIdentity(body.baseMatrix()));
}

void tst_abcBody::exchangingMarkersRemovesTheLines()
{
    int deleted = 0;
    abcBody body(nullptr);
    QVERIFY(body.loadMarkers(kCorners));
    body.addLine(new CountedLine(body.markers()[0], body.markers()[1], &deleted));
    body.addLine(new CountedLine(body.markers()[2], body.markers()[1], &deleted));
    body.exchangeMarkers(kCorners);
    QCOMPARE(deleted, 2);
    QVERIFY(body.lines().isEmpty());
    QVERIFY(!body.hasLine(body.markers()[0], body.markers()[1]));
}

void tst_abcBody::linesJoinInEitherOrder()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    const QList<abcMarker *> &markers = body.markers();
    QVERIFY(!body.hasLine(markers[0], markers[2]));
    body.addLine(new abcLine(markers[0], markers[2]));
    QVERIFY(body.hasLine(markers[0], markers[2]));
    QVERIFY(body.hasLine(markers[2], markers[0]));
    QVERIFY(!body.hasLine(markers[0], markers[1]));
    QVERIFY(!body.hasLine(markers[0], markers[0]));
}

void tst_abcBody::removingALineKeepsTheOrderOfTheOthers()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    const QList<abcMarker *> &markers = body.markers();
    int deleted = 0;
    auto *first = new CountedLine(markers[0], markers[1], &deleted);
    auto *second = new CountedLine(markers[1], markers[2], &deleted);
    auto *third = new CountedLine(markers[2], markers[3], &deleted);
    for (abcLine *line : {first, second, third, second})
        body.addLine(line);
    body.addLine(nullptr);
    QCOMPARE(body.lines(), (QList<abcLine *>{first, second, third}));

    body.removeLine(first);
    QCOMPARE(body.lines(), (QList<abcLine *>{second, third}));
    QCOMPARE(deleted, 1);

    int othersDeleted = 0;
    CountedLine stranger(markers[0], markers[3], &othersDeleted);
    body.removeLine(&stranger);
    QCOMPARE(body.lines(), (QList<abcLine *>{second, third}));
    QCOMPARE(othersDeleted, 0);
}

void tst_abcBody::linesAreDeletedByTheBody()
{
    int deleted = 0;
    {
        abcBody body(nullptr);
        body.loadMarkers(kCorners);
        body.addLine(new CountedLine(body.markers()[0], body.markers()[1], &deleted));
        body.addLine(new CountedLine(body.markers()[1], body.markers()[2], &deleted));
        body.clear();
        QCOMPARE(deleted, 2);
        body.loadMarkers(kCorners);
        body.addLine(new CountedLine(body.markers()[0], body.markers()[1], &deleted));
    }
    QCOMPARE(deleted, 3);
}

void tst_abcBody::recordsOfAFreshBodyAreTheStoredPositions()
{
    abcBody body(nullptr);
    body.loadMarkers({{1.5, -2.5, 3.5}, {4, 5, 6}});
    const QList<MarkerRecord> records = body.markerRecords();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records[0].id, 0);
    QCOMPARE(records[1].id, 1);
    compareVector(records[0].position, 1.5, -2.5, 3.5);
    compareVector(records[1].position, 4.0, 5.0, 6.0);
}

void tst_abcBody::recordsFollowTheBaseMatrixOnly()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    body.setPendingPosition(bsVector(10.0, 0.0, 0.0));
    compareVector(body.markerRecords()[1].position, 100.0, 0.0, 0.0);
    QVERIFY(body.saveCurrentBody());
    compareVector(body.markerRecords()[0].position, -10.0, 0.0, 0.0);
    compareVector(body.markerRecords()[1].position, 90.0, 0.0, 0.0);
    compareVector(body.markerRecords()[3].position, -10.0, 0.0, 100.0);
    compareVector(body.markerPositions()[1], 100.0, 0.0, 0.0);

    // A quarter turn about the committed z axis: what lay on its x axis lies on -y.
    body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 90.0));
    QVERIFY(body.saveCurrentBody());
    QVERIFY(Oracle::distance(body.markerRecords()[1].position, {0.0, -90.0, 0.0}) < 1e-13);
}

void tst_abcBody::recordsKeepRadiusAndEmission()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    body.setAllEmissions(1.0, 0.0, 0.0, 33.0);
    body.markers()[2]->record.radius = 12.0;
    body.markers()[2]->record.smallRadius = 4.0;
    body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 90.0));
    body.saveCurrentBody();
    const MarkerRecord record = body.markerRecords()[2];
    QCOMPARE(record.id, 2);
    QCOMPARE(record.radius, 12.0);
    QCOMPARE(record.smallRadius, 3.0);
    compareEmission(record.emission, 1.0, 0.0, 0.0, 33.0);
}

void tst_abcBody::originOnAMarker()
{
    abcBody body(nullptr);
    body.loadMarkers({{10, 20, 30}, {0, 0, 0}});
    body.setPendingPosition(
        CoordinateOperations::pendingPosition(body.baseMatrix(), body.markers()[0]->position()));
    QVERIFY(body.saveCurrentBody());
    compareVector(body.baseMatrix().column(3), 10.0, 20.0, 30.0);
    compareVector(body.markerRecords()[0].position, 0.0, 0.0, 0.0);
}

void tst_abcBody::originOnTheCog()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    body.setPendingPosition(CoordinateOperations::pendingPosition(body.baseMatrix(), body.cog()));
    QVERIFY(body.saveCurrentBody());
    compareVector(body.baseMatrix().column(3), 25.0, 25.0, 25.0);
}

void tst_abcBody::axisAlongTwoMarkers()
{
    abcBody body(nullptr);
    body.loadMarkers({{0, 0, 0}, {0, 10, 0}});
    body.setPendingOrientation(CoordinateOperations::pendingOrientation(
        body.baseMatrix(), CoordinateOperations::axisFrame(bsVector(0.0, 10.0, 0.0),
                                                           body.baseMatrix().column(Z), X, Z)));
    QVERIFY(body.saveCurrentBody());
    QVERIFY(Oracle::distance(body.baseMatrix().column(X), {0.0, 1.0, 0.0}) < 1e-15);
    QVERIFY(Oracle::distance(body.baseMatrix().column(Y), {-1.0, 0.0, 0.0}) < 1e-15);
    QVERIFY(Oracle::distance(body.baseMatrix().column(Z), {0.0, 0.0, 1.0}) < 1e-15);
}

void tst_abcBody::positionThenOrientationReachesBoth()
{
    Oracle::Random random(testSeed());
    abcBody body(nullptr);
    for (int round = 0; round < 1000; ++round) {
        const Eigen::Matrix3d turn = Oracle::turn(random.number(-170.0, 170.0), random.vector(1.0));
        const Eigen::Vector3d origin = random.vector(1000.0);
        const bsMatrix target = Oracle::matrix(Oracle::rigid(turn, origin));
        body.setPendingPosition(
            CoordinateOperations::pendingPosition(body.baseMatrix(), Oracle::vector(origin)));
        body.setPendingOrientation(
            CoordinateOperations::pendingOrientation(body.baseMatrix(), target));
        const bsMatrix shown = body.baseMatrix() * body.pendingPose().toMatrix();
        QVERIFY(Oracle::distance(shown, Oracle::matrix(target)) < 1e-9);
        QVERIFY(body.saveCurrentBody());
        QVERIFY(Oracle::distance(body.baseMatrix(), Oracle::matrix(target)) < 1e-9);
    }
}

void tst_abcBody::nothingPendingCommitsNothing()
{
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    QSignalSpy modified(&body, &abcBody::bodyModified);
    QVERIFY(!body.saveCurrentBody());
    body.setPendingPosition(bsVector(0.0, 0.0, 0.0));
    body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 0.0));
    QVERIFY(!body.saveCurrentBody());
    QCOMPARE(body.undoCount(), 0);
    QCOMPARE(modified.count(), 0);
    QVERIFY(!body.isModified());
    QVERIFY(commitShift(body, 1.0, 0.0, 0.0));
    QVERIFY(!body.saveCurrentBody());
    QCOMPARE(body.undoCount(), 1);
}

void tst_abcBody::pendingBelowTheToleranceCommitsNothing()
{
    abcBody body(nullptr);
    body.setPendingPosition(bsVector(9.9e-8, -9.9e-8, 9.9e-8));
    QVERIFY(!body.saveCurrentBody());
    QVERIFY(isIdentity(body.baseMatrix()));
    // It stays pending: a later edit of the other half takes it along.
    QCOMPARE(body.pendingPose().position.x, 9.9e-8);
    body.setPendingPosition(bsVector(0.0, 1e-7, 0.0));
    QVERIFY(body.saveCurrentBody());
    QCOMPARE(body.undoCount(), 1);
    // 2 sin(a / 2) cos(a / 2) is what an element of a small turn differs by.
    const double belowDeg = 9e-8 * 180.0 / std::acos(-1.0);
    body.setPendingOrientation(bsQuaternion::fromEuler(belowDeg, 0.0, 0.0));
    QVERIFY(!body.saveCurrentBody());
    body.setPendingOrientation(bsQuaternion::fromEuler(belowDeg * 1.2, 0.0, 0.0));
    QVERIFY(body.saveCurrentBody());
}

void tst_abcBody::commitMultipliesFromTheRight()
{
    abcBody body(nullptr);
    body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 90.0));
    body.setPendingPosition(bsVector(100.0, 0.0, 0.0));
    QVERIFY(body.saveCurrentBody());
    QVERIFY(isIdentity(body.pendingPose().toMatrix()));
    // The second shift is along the turned x axis.
    QVERIFY(commitShift(body, 10.0, 0.0, 0.0));
    QVERIFY(Oracle::distance(body.baseMatrix().column(3), {100.0, 10.0, 0.0}) < 1e-13);
    QVERIFY(Oracle::distance(body.baseMatrix().column(X), {0.0, 1.0, 0.0}) < 1e-15);
}

void tst_abcBody::commitRecordsThePreviousMatrix()
{
    abcBody body(nullptr);
    QSignalSpy modified(&body, &abcBody::bodyModified);
    QVERIFY(commitShift(body, 10.0, 0.0, 0.0));
    QVERIFY(body.isModified());
    QCOMPARE(modified, (QList<QVariantList>{{true}}));
    QCOMPARE(body.undoCount(), 1);
    body.undo();
    QVERIFY(isIdentity(body.baseMatrix()));
    QVERIFY(body.isModified());
}

void tst_abcBody::commitClearsRedo()
{
    abcBody body(nullptr);
    commitShift(body, 1.0, 0.0, 0.0);
    commitShift(body, 2.0, 0.0, 0.0);
    body.undo();
    body.undo();
    QCOMPARE(body.undoCount(), 0);
    QCOMPARE(body.redoCount(), 2);
    QVERIFY(commitShift(body, 4.0, 0.0, 0.0));
    QCOMPARE(body.undoCount(), 1);
    QCOMPARE(body.redoCount(), 0);
    body.redo();
    compareVector(body.baseMatrix().column(3), 4.0, 0.0, 0.0);
}

void tst_abcBody::emptyCommitKeepsRedo()
{
    abcBody body(nullptr);
    commitShift(body, 1.0, 0.0, 0.0);
    body.undo();
    QVERIFY(!body.saveCurrentBody());
    QCOMPARE(body.redoCount(), 1);
    body.redo();
    compareVector(body.baseMatrix().column(3), 1.0, 0.0, 0.0);
}

void tst_abcBody::undoAndRedoWalkTheHistory()
{
    abcBody body(nullptr);
    QVector<bsMatrix> states{body.baseMatrix()};
    for (int step = 1; step <= 5; ++step) {
        body.setPendingOrientation(bsQuaternion::fromEuler(7.0 * step, -11.0, 13.0));
        QVERIFY(commitShift(body, step, 2.0 * step, -step));
        states.append(body.baseMatrix());
    }
    QSignalSpy modified(&body, &abcBody::bodyModified);
    for (int step = 4; step >= 0; --step) {
        body.undo();
        QVERIFY(areIdentical(body.baseMatrix(), states[step]));
        QCOMPARE(body.undoCount(), step);
        QCOMPARE(body.redoCount(), 5 - step);
    }
    for (int step = 1; step <= 5; ++step) {
        body.redo();
        QVERIFY(areIdentical(body.baseMatrix(), states[step]));
        QCOMPARE(body.undoCount(), step);
        QCOMPARE(body.redoCount(), 5 - step);
    }
    QCOMPARE(modified.count(), 10);
    for (const QVariantList &arguments : modified)
        QCOMPARE(arguments, QVariantList{true});
}

void tst_abcBody::undoAndRedoWithoutEntriesDoNothing()
{
    abcBody body(nullptr);
    QSignalSpy modified(&body, &abcBody::bodyModified);
    body.undo();
    body.redo();
    QCOMPARE(modified.count(), 0);
    QVERIFY(!body.isModified());
    QVERIFY(isIdentity(body.baseMatrix()));
    QCOMPARE(body.undoCount(), 0);
    QCOMPARE(body.redoCount(), 0);
}

void tst_abcBody::undoAndRedoLeaveThePendingPose()
{
    abcBody body(nullptr);
    commitShift(body, 1.0, 0.0, 0.0);
    body.setPendingPosition(bsVector(5.0, 6.0, 7.0));
    body.setPendingOrientation(bsQuaternion(0.0, 0.6, 0.0, 0.8));
    const auto verifyPending = [&body] {
        compareVector(body.pendingPose().position, 5.0, 6.0, 7.0);
        QCOMPARE(body.pendingPose().orientation.y, 0.6);
        QCOMPARE(body.pendingPose().orientation.w, 0.8);
    };
    body.undo();
    verifyPending();
    body.redo();
    verifyPending();
}

void tst_abcBody::historyLimitDropsTheOldest()
{
    abcBody body(nullptr);
    body.setHistoryLimit(3);
    for (int step = 1; step <= 5; ++step) {
        QVERIFY(commitShift(body, 1.0, 0.0, 0.0));
        QCOMPARE(body.undoCount(), std::min(step, 3));
    }
    for (int step = 0; step < 5; ++step)
        body.undo();
    compareVector(body.baseMatrix().column(3), 2.0, 0.0, 0.0);
    QCOMPARE(body.redoCount(), 3);
}

void tst_abcBody::historyLimitHoldsForRedo()
{
    abcBody body(nullptr);
    for (int step = 0; step < 5; ++step)
        commitShift(body, 1.0, 0.0, 0.0);
    body.undo();
    body.undo();
    body.setHistoryLimit(3);
    body.redo();
    QCOMPARE(body.undoCount(), 3);
    body.redo();
    QCOMPARE(body.undoCount(), 3);
    compareVector(body.baseMatrix().column(3), 5.0, 0.0, 0.0);
    for (int step = 0; step < 3; ++step)
        body.undo();
    compareVector(body.baseMatrix().column(3), 2.0, 0.0, 0.0);
}

void tst_abcBody::historyIsUnboundedWithoutALimit()
{
    abcBody body(nullptr);
    for (int step = 0; step < 5000; ++step)
        QVERIFY(commitShift(body, 1.0, 0.0, 0.0));
    QCOMPARE(body.undoCount(), 5000);
    for (int step = 0; step < 5000; ++step)
        body.undo();
    QVERIFY(isIdentity(body.baseMatrix()));
}

void tst_abcBody::notFinitePendingPoseIsDropped_data()
{
    QTest::addColumn<bsVector>("position");
    QTest::addColumn<QVector<double>>("orientation");
    const QVector<double> noTurn{0.0, 0.0, 0.0, 1.0};
    QTest::newRow("position not a number") << bsVector(0.0, kNan, 0.0) << noTurn;
    QTest::newRow("position infinite") << bsVector(0.0, 0.0, -kInfinity) << noTurn;
    QTest::newRow("vector part not a number")
        << bsVector(1.0, 2.0, 3.0) << QVector<double>{kNan, 0.0, 0.0, 1.0};
    QTest::newRow("scalar not a number") << bsVector() << QVector<double>{0.0, 0.0, 0.0, kNan};
    QTest::newRow("vector part infinite")
        << bsVector() << QVector<double>{0.0, kInfinity, 0.0, 1.0};
}

void tst_abcBody::notFinitePendingPoseIsDropped()
{
    QFETCH(bsVector, position);
    QFETCH(QVector<double>, orientation);
    abcBody body(nullptr);
    body.loadMarkers(kCorners);
    commitShift(body, 1.0, 0.0, 0.0);
    commitShift(body, 2.0, 0.0, 0.0);
    body.undo();
    const bsMatrix before = body.baseMatrix();
    QSignalSpy modified(&body, &abcBody::bodyModified);

    body.setPendingPosition(position);
    body.setPendingOrientation(
        bsQuaternion(orientation[0], orientation[1], orientation[2], orientation[3]));
    QVERIFY(!body.saveCurrentBody());
    QVERIFY(areIdentical(body.baseMatrix(), before));
    QVERIFY(isIdentity(body.pendingPose().toMatrix()));
    QCOMPARE(body.undoCount(), 1);
    QCOMPARE(body.redoCount(), 1);
    QCOMPARE(modified.count(), 0);
}

void tst_abcBody::overflowingCommitIsDropped()
{
    abcBody body(nullptr);
    QVERIFY(commitShift(body, 1.5e308, 0.0, 0.0));
    QVERIFY(!commitShift(body, 1.5e308, 0.0, 0.0));
    QCOMPARE(body.baseMatrix().column(3).x, 1.5e308);
    QCOMPARE(body.undoCount(), 1);
}

void tst_abcBody::cogOfAnEmptyBodyIsNotCommitted()
{
    abcBody body(nullptr);
    body.loadMarkers({});
    body.setPendingPosition(CoordinateOperations::pendingPosition(body.baseMatrix(), body.cog()));
    QVERIFY(!body.saveCurrentBody());
    QVERIFY(isIdentity(body.baseMatrix()));
    QVERIFY(isIdentity(body.pendingPose().toMatrix()));
}

void tst_abcBody::anyPendingOrientationCommitsARotation()
{
    Oracle::Random random(testSeed());
    abcBody body(nullptr);
    for (int round = 0; round < 2000; ++round) {
        bsMatrix anything = bsMatrix::identity();
        for (int column = 0; column < 3; ++column)
            anything.setColumn(column, Oracle::vector(random.vector(3.0)), 0.0);
        if (random.integer(0, 3) == 0)
            anything.setColumn(random.integer(0, 2), bsVector(), 0.0);
        body.setPendingOrientation(bsQuaternion::fromMatrix(anything));
        body.setPendingPosition(Oracle::vector(random.vector(10.0)));
        QVERIFY(body.saveCurrentBody());
        QVERIFY(Oracle::rotationError(body.baseMatrix()) < 1e-9);
    }
    // The four-digit quaternion is short by 2e-5.
    body.setPendingOrientation(bsQuaternion(0.7071, 0.7071, 0.0, 0.0));
    QVERIFY(body.saveCurrentBody());
    QVERIFY(Oracle::rotationError(body.baseMatrix()) < 1e-9);
}

void tst_abcBody::singleCommitsStayWithinRounding()
{
    Oracle::Random random(testSeed());
    abcBody body(nullptr);
    for (int round = 0; round < 2000; ++round) {
        const Eigen::Vector3d angles = random.vector(180.0);
        body.setPendingPosition(Oracle::vector(random.vector(10.0)));
        body.setPendingOrientation(bsQuaternion::fromEuler(angles.x(), angles.y(), angles.z()));
        const Eigen::Matrix4d product =
            Oracle::matrix(body.baseMatrix()) * Oracle::matrix(body.pendingPose().toMatrix());
        QVERIFY(body.saveCurrentBody());
        const Eigen::Matrix4d difference = Oracle::matrix(body.baseMatrix()) - product;
        QVERIFY(Oracle::rotation(difference).cwiseAbs().maxCoeff() < 1e-14);
        QVERIFY(Oracle::translation(difference).cwiseAbs().maxCoeff() < 1e-11);
        QCOMPARE(body.baseMatrix().element(3, 0), 0.0);
        QCOMPARE(body.baseMatrix().element(3, 1), 0.0);
        QCOMPARE(body.baseMatrix().element(3, 2), 0.0);
        QCOMPARE(body.baseMatrix().element(3, 3), 1.0);
    }
}

void tst_abcBody::rotationStaysOrthonormal()
{
    Oracle::Random random(testSeed());
    abcBody body(nullptr);
    double worst = 0.0;
    for (int commit = 0; commit < 12000; ++commit) {
        const Eigen::Vector3d angles = random.vector(180.0);
        body.setPendingOrientation(bsQuaternion::fromEuler(angles.x(), angles.y(), angles.z()));
        body.setPendingPosition(Oracle::vector(random.vector(1.0)));
        QVERIFY(body.saveCurrentBody());
        worst = std::max(worst, Oracle::rotationError(body.baseMatrix()));
    }
    QCOMPARE(body.undoCount(), 12000);
    // Errors that add up reach some 1e-14 here; corrected ones stay at a few roundings.
    QVERIFY2(worst < 4e-15, qPrintable(QString::number(worst)));
}

void tst_abcBody::randomEditsFollowTheReference()
{
    Oracle::Random random(testSeed());
    for (int limit : {0, 7}) {
        abcBody body(nullptr);
        body.setHistoryLimit(static_cast<quint32>(limit));
        QVERIFY(body.loadMarkers(kCorners));
        ReferenceHistory reference(limit);
        QVector<bool> modifiedHeard;
        QVector<bool> loadedHeard;
        connect(&body, &abcBody::bodyModified, this,
                [&modifiedHeard](bool modified) { modifiedHeard.append(modified); });
        connect(&body, &abcBody::bodyLoaded, this,
                [&loadedHeard](bool loaded) { loadedHeard.append(loaded); });
        bool wasModified = false;
        int effectiveCommits = 0;
        int emptyCommits = 0;
        int longestHistory = 0;
        QVector<bsVector> corners = kCorners;
        const auto isAt = [](const bsMatrix &matrix, const Eigen::Matrix4d &wanted) {
            const Eigen::Matrix4d difference = Oracle::matrix(matrix) - wanted;
            return Oracle::rotation(difference).cwiseAbs().maxCoeff() < 1e-11 &&
                   Oracle::translation(difference).cwiseAbs().maxCoeff() < 1e-9 &&
                   difference.row(3).cwiseAbs().maxCoeff() == 0.0;
        };

        for (int step = 0; step < 15000; ++step) {
            modifiedHeard.clear();
            loadedHeard.clear();
            bool changed = false;
            bool reloaded = false;
            const int action = random.integer(0, 1040);
            if (action < 200) {
                reference.position = random.vector(50.0);
                body.setPendingPosition(Oracle::vector(reference.position));
            } else if (action < 400) {
                const Eigen::Vector3d angles = random.vector(180.0);
                reference.rotation = Oracle::euler(angles.x(), angles.y(), angles.z());
                body.setPendingOrientation(
                    bsQuaternion::fromEuler(angles.x(), angles.y(), angles.z()));
            } else if (action < 430) {
                reference.position = random.vector(9e-8);
                body.setPendingPosition(Oracle::vector(reference.position));
            } else if (action < 450) {
                reference.position.setZero();
                reference.rotation.setIdentity();
                body.setPendingPosition(bsVector());
                body.setPendingOrientation(bsQuaternion());
            } else if (action < 480) {
                const Eigen::Vector3d target = random.vector(300.0);
                reference.position = (reference.base().inverse() * target.homogeneous()).head<3>();
                body.setPendingPosition(CoordinateOperations::pendingPosition(
                    body.baseMatrix(), Oracle::vector(target)));
            } else if (action < 490) {
                reference.position.setConstant(kNan);
                body.setPendingPosition(bsVector(kNan, kNan, kNan));
            } else if (action < 750) {
                changed = reference.commit();
                QCOMPARE(body.saveCurrentBody(), changed);
                ++(changed ? effectiveCommits : emptyCommits);
            } else if (action < 900) {
                changed = reference.undo();
                body.undo();
            } else if (action < 998) {
                changed = reference.redo();
                body.redo();
            } else if (action <= 1000) {
                reloaded = true;
                reference.restart();
                corners = kCorners;
                QVERIFY(body.loadMarkers(corners));
            } else if (action < 1020) {
                body.addLine(new abcLine(body.markers()[0], body.markers()[1]));
                corners = {Oracle::vector(random.vector(100.0)), bsVector(1.0, 2.0, 3.0),
                           Oracle::vector(random.vector(100.0))};
                body.exchangeMarkers(corners);
                QVERIFY(body.lines().isEmpty());
            } else {
                // The wheels at zero.
                reference.position.setZero();
                reference.rotation.setIdentity();
                body.setPendingPosition(bsVector());
                body.setPendingOrientation(bsQuaternion::fromEuler(0.0, 0.0, 0.0));
                QVERIFY(!body.saveCurrentBody());
                ++emptyCommits;
            }

            wasModified = reloaded ? false : (wasModified || changed);
            QCOMPARE(body.isModified(), wasModified);
            QCOMPARE(modifiedHeard, reloaded  ? QVector<bool>{false}
                                    : changed ? QVector<bool>{true}
                                              : QVector<bool>());
            QCOMPARE(loadedHeard, reloaded ? (QVector<bool>{false, true}) : QVector<bool>());
            QCOMPARE(body.undoCount(), reference.undoCount());
            QCOMPARE(body.redoCount(), reference.redoCount());
            QVERIFY(isAt(body.baseMatrix(), reference.base()));
            QCOMPARE(body.undoStack().size(), reference.undoCount());
            for (int back = 1; back <= reference.undoCount(); ++back) {
                const bsMatrix &entry = body.undoStack()[reference.undoCount() - back];
                QVERIFY(isAt(entry, reference.state(back)));
            }
            QCOMPARE(body.redoStack().size(), reference.redoCount());
            for (int forth = 1; forth <= reference.redoCount(); ++forth) {
                const bsMatrix &entry = body.redoStack()[reference.redoCount() - forth];
                QVERIFY(isAt(entry, reference.state(-forth)));
            }
            longestHistory = std::max(longestHistory, reference.undoCount());
            // What is drawn beside the base matrix.
            if (reference.pending().allFinite())
                QVERIFY(isAt(body.pendingPose().toMatrix(), reference.pending()));
            else
                QVERIFY(std::isnan(body.pendingPose().position.x));
            const QVector<bsVector> positions = body.markerPositions();
            QCOMPARE(positions.size(), corners.size());
            for (int marker = 0; marker < corners.size(); ++marker)
                QCOMPARE((positions[marker] - corners[marker]).length(), 0.0);
        }
        QVERIFY(effectiveCommits > 1000);
        QVERIFY(emptyCommits > 100);
        QVERIFY(limit != 0 ? longestHistory == limit : longestHistory > 20);
    }
}

QUOREL2_TEST_MAIN(tst_abcBody)

#include "tst_abcBody.moc"
