#include <dialog/BodyChanges.h>
#include <protocol/BodyCatalogue.h>
#include <protocol/BodyWriter.h>
#include <protocol/CommandChannel.h>
#include <protocol/TrackingSession.h>

#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QtTest>

namespace {

const QString kStandard = QStringLiteral("standard");
const QString kVimbar = QStringLiteral("vimbar");
const QString kTarget = QStringLiteral("tt_std");
const QVector<bsVector> kSixMarkers = {{10, 0, 0}, {0, 20, 0}, {0, 0, 30},
                                       {40, 1, 0}, {0, 50, 2}, {3, 0, 60}};
const QVector<bsVector> kFiveMarkers = kSixMarkers.mid(1);
const QVector<bsVector> kFourMarkers = kSixMarkers.mid(2);

/// Positions in the body list.
enum Body { Wand, Pen, Probe };

/// A quarter turn about z and a shift.
bsMatrix turnAndMove()
{
    bsMatrix matrix;
    matrix.element(1, 0) = 1.0;
    matrix.element(0, 1) = -1.0;
    matrix.element(2, 2) = 1.0;
    matrix.setColumn(3, bsVector(5, 6, 7), 1.0);
    return matrix;
}

/// The same, by hand.
QVector<bsVector> turnedAndMoved(QVector<bsVector> positions)
{
    for (bsVector &p : positions)
        p = bsVector(5 - p.y, 6 + p.x, 7 + p.z);
    return positions;
}

/// A transform that does not commute with the other one.
bsMatrix halfTurn()
{
    bsMatrix matrix;
    matrix.element(0, 0) = 1.0;
    matrix.element(1, 1) = -1.0;
    matrix.element(2, 2) = -1.0;
    matrix.setColumn(3, bsVector(1, 0, 0), 1.0);
    return matrix;
}

QStringList textOf(const QVector<bsVector> &positions)
{
    QStringList texts;
    for (const bsVector &p : positions) {
        texts += QStringLiteral("%1 %2 %3")
                     .arg(qRound(1000 * p.x))
                     .arg(qRound(1000 * p.y))
                     .arg(qRound(1000 * p.z));
    }
    return texts;
}

QVector<bsVector> without(QVector<bsVector> positions, int marker)
{
    positions.removeAt(marker);
    return positions;
}

FakeHost::Answer refusal()
{
    FakeHost::Answer answer;
    answer.text = "quorel2 err";
    return answer;
}

struct Setup {
    FakeHost host;
    CommandChannel channel{&host};
    BodyCatalogue catalogue{&channel, &host.versions};
    BodyWriter writer{&channel, &host.versions};
    TrackingSession session{&channel, &catalogue, &host.versions};
    BodyChanges changes{&writer, &session, &channel};
    QVector<BodyListEntry> entries;

    Setup()
    {
        add(kStandard, 1, kSixMarkers);
        add(kStandard, 2, kFiveMarkers);
        add(kVimbar, 1, kFourMarkers);
        session.readTrackingAvailable();
        session.startMeasurement();
        changes.begin(entries.size());
        show(Wand);
    }

    void add(const QString &type, int number, const QVector<bsVector> &markers)
    {
        host.addBody(type, number, QString(), true, kTarget, markers);
        BodyListEntry entry;
        entry.type = type;
        entry.number = number;
        entry.calibrated = true;
        entry.targetType = kTarget;
        entries.append(entry);
    }

    /// Reads the body from the controller, as the dialog does.
    void show(Body body)
    {
        MarkerList markers;
        const BodyListEntry &entry = entries.at(body);
        QVERIFY(catalogue.loadMarkers(entry.type, entry.number, &markers.positions,
                                      &markers.emissions));
        changes.setShown(ListedBody(entry, body), markers);
        host.clearRecords();
    }

    QVector<bsVector> held(Body body) const
    {
        return host.markers(entries.at(body).type, entries.at(body).number);
    }

    void discard()
    {
        changes.discardTransforms(
            [this](int position) -> std::optional<BodyListEntry> { return entries.at(position); });
    }

    QStringList sent(const QString &beginning) const
    {
        return host.transcript.filter(QRegularExpression(QLatin1Char('^') + beginning));
    }
};

} // namespace

#define COMPARE_MARKERS(actual, expected) QCOMPARE(textOf(actual), textOf(expected))

class TestBodyChanges : public QObject {
    Q_OBJECT

private slots:
    void aTransformThatWasTakenMapsWhatTheControllerHolds()
    {
        Setup s;
        QVERIFY(!s.changes.hasTransforms());
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        QVERIFY(s.changes.hasTransforms());
        COMPARE_MARKERS(s.held(Wand), turnedAndMoved(kSixMarkers));
        COMPARE_MARKERS(s.changes.markers().positions, turnedAndMoved(kSixMarkers));
    }

    void aTransformThatWasRefusedChangesNoMarkersAndIsAskedAboutAtTheEnd()
    {
        Setup s;
        s.host.hook = [](const FakeHost::Exchange &) { return refusal(); };
        QVERIFY(!s.changes.writeTransform(turnAndMove()));
        COMPARE_MARKERS(s.changes.markers().positions, kSixMarkers);
        QVERIFY(s.changes.hasTransforms());
    }

    void aTransformWhoseExchangeFailedIsNotKept()
    {
        Setup s;
        s.host.failExchange(1);
        QVERIFY(!s.changes.writeTransform(turnAndMove()));
        COMPARE_MARKERS(s.changes.markers().positions, kSixMarkers);
        QVERIFY(!s.changes.hasTransforms());
    }

    void discardTakesTheTransformsOfAllBodiesBack()
    {
        Setup s;
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        QVERIFY(s.changes.writeTransform(halfTurn()));
        s.show(Pen);
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        // The vimbar has the number of the first body.
        s.show(Probe);
        QVERIFY(s.changes.writeTransform(halfTurn()));
        s.discard();
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
        COMPARE_MARKERS(s.held(Pen), kFiveMarkers);
        COMPARE_MARKERS(s.held(Probe), kFourMarkers);
        QVERIFY(!s.changes.hasTransforms());
    }

    void discardEndsAtTheFirstExchangeThatFails()
    {
        Setup s;
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.show(Pen);
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.host.clearRecords();
        s.host.failExchange(1);
        s.discard();
        QCOMPARE(s.host.transcript.size(), 1);
        COMPARE_MARKERS(s.held(Pen), turnedAndMoved(kFiveMarkers));
        QVERIFY(!s.changes.hasTransforms());
    }

    void discardPassesOverAnEntryThatCannotBeRead()
    {
        Setup s;
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.show(Pen);
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.host.clearRecords();
        s.changes.discardTransforms([&s](int position) -> std::optional<BodyListEntry> {
            if (position == Wand)
                return std::nullopt;
            return s.entries.at(position);
        });
        COMPARE_MARKERS(s.held(Wand), turnedAndMoved(kSixMarkers));
        COMPARE_MARKERS(s.held(Pen), kFiveMarkers);
        QCOMPARE(s.host.errors(), QStringList());
    }

    void discardEndsAtABodyWithoutANumber()
    {
        Setup s;
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.show(Pen);
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.host.clearRecords();
        s.entries[Wand].number = 0;
        s.discard();
        QCOMPARE(s.host.transcript, QStringList());
        QCOMPARE(s.host.errors(), QStringList("Error: Wrong body ID. Cannot discard changes"));
    }

    void aDeletionIsUndoneAndRedoneOutsideMeasurement()
    {
        Setup s;
        QVERIFY(s.changes.canDelete(2));
        QVERIFY(!s.changes.canUndoDeletion());
        s.changes.deleteMarker(2);
        QCOMPARE(s.host.transcript, QStringList({"get status active", "quorel2 tracking stop",
                                                 "quorel2 body delete_marker standard b01 m03",
                                                 "quorel2 tracking start", "get status active"}));
        COMPARE_MARKERS(s.held(Wand), without(kSixMarkers, 2));
        COMPARE_MARKERS(s.changes.markers().positions, without(kSixMarkers, 2));
        QVERIFY(s.changes.areMarkersCertain());
        QVERIFY(s.changes.canUndoDeletion());
        QVERIFY(!s.changes.canRedoDeletion());

        s.host.clearRecords();
        s.changes.undoDeletion();
        QCOMPARE(s.host.transcript.mid(0, 2),
                 QStringList({"get status active", "quorel2 tracking stop"}));
        QCOMPARE(s.host.transcript.mid(s.host.transcript.size() - 2),
                 QStringList({"quorel2 tracking start", "get status active"}));
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
        COMPARE_MARKERS(s.changes.markers().positions, kSixMarkers);
        QVERIFY(!s.changes.canUndoDeletion());
        QVERIFY(s.changes.canRedoDeletion());

        s.changes.redoDeletion();
        COMPARE_MARKERS(s.held(Wand), without(kSixMarkers, 2));
        COMPARE_MARKERS(s.changes.markers().positions, without(kSixMarkers, 2));
        QVERIFY(s.changes.canUndoDeletion());
        QVERIFY(!s.changes.canRedoDeletion());
    }

    void fourMarkersAreKept()
    {
        Setup s;
        s.show(Pen);
        QVERIFY(s.changes.canDelete(4));
        s.changes.deleteMarker(4);
        for (int marker = 0; marker < 5; ++marker)
            QVERIFY(!s.changes.canDelete(marker));
        s.show(Probe);
        QVERIFY(!s.changes.canDelete(0));
    }

    void onlyMarkersThatThereAreCanBeDeleted()
    {
        Setup s;
        QVERIFY(!s.changes.canDelete(-1));
        QVERIFY(s.changes.canDelete(0));
        QVERIFY(s.changes.canDelete(5));
        QVERIFY(!s.changes.canDelete(6));
        s.changes.setNoneShown();
        QVERIFY(!s.changes.canDelete(0));
        QVERIFY(!s.changes.canUndoDeletion());
    }

    void anOlderControllerDeletesNoMarkers()
    {
        Setup s;
        s.host.setVersion(1, 16);
        QVERIFY(!s.changes.canDelete(0));
        s.host.setVersion(1, 17);
        QVERIFY(s.changes.canDelete(0));
    }

    void afterADeletionThatWasNotConfirmedNoneFollowsUntilTheMarkersAreReadAgain()
    {
        Setup s;
        s.host.answerLine(QStringLiteral("quorel2 body delete_marker standard b01 m03"), refusal());
        s.changes.deleteMarker(2);
        COMPARE_MARKERS(s.changes.markers().positions, kSixMarkers);
        QVERIFY(!s.changes.areMarkersCertain());
        QVERIFY(!s.changes.canDelete(0));
        QVERIFY(!s.changes.canRedoDeletion());
        // The controller may have deleted it all the same.
        QVERIFY(s.changes.canUndoDeletion());
        s.show(Wand);
        QVERIFY(s.changes.areMarkersCertain());
        QVERIFY(s.changes.canDelete(0));
        // It did not, as was read: only the next deletion is there to be undone.
        s.changes.deleteMarker(1);
        s.changes.undoDeletion();
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
        QVERIFY(!s.changes.canUndoDeletion());
    }

    void anUndoThatCouldNotBeWrittenCanBeTriedAgain()
    {
        Setup s;
        s.changes.deleteMarker(2);
        s.host.failLine(QStringLiteral("set body marker standard b01 m02 0.000 20.000 0.000"));
        s.changes.undoDeletion();
        QVERIFY(s.host.transcript.contains(
            QStringLiteral("set body marker standard b01 m02 0.000 20.000 0.000")));
        QVERIFY(!s.changes.areMarkersCertain());
        QVERIFY(!s.changes.canDelete(0));
        QVERIFY(s.changes.canUndoDeletion());
        QVERIFY(!s.changes.canRedoDeletion());
        s.host.clearFaults();
        s.changes.undoDeletion();
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
        QVERIFY(s.changes.areMarkersCertain());
        QVERIFY(!s.changes.canUndoDeletion());
    }

    void afterAnUndoThatCouldNotBeWrittenNothingIsDeletedAgain()
    {
        Setup s;
        s.changes.deleteMarker(0);
        s.changes.deleteMarker(0);
        s.changes.undoDeletion();
        QVERIFY(s.changes.canRedoDeletion());
        s.host.failLine(QStringLiteral("set body number_of_marker standard b01 6"));
        s.changes.undoDeletion();
        s.show(Wand);
        QVERIFY(s.changes.areMarkersCertain());
        QVERIFY(!s.changes.canRedoDeletion());
    }

    void theMarkersOfOpeningComeBackForEveryBody()
    {
        Setup s;
        s.changes.deleteMarker(0);
        s.changes.deleteMarker(0);
        s.show(Pen);
        s.changes.deleteMarker(4);
        s.host.clearRecords();
        QVERIFY(s.changes.writeMarkersOfOpening());
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
        COMPARE_MARKERS(s.held(Pen), kFiveMarkers);
        COMPARE_MARKERS(s.changes.markers().positions, kFiveMarkers);
        QCOMPARE(s.sent(QStringLiteral("quorel2 tracking")),
                 QStringList({"quorel2 tracking stop", "quorel2 tracking start"}));

        // It is done: nothing is left to be written.
        s.host.clearRecords();
        QVERIFY(!s.changes.writeMarkersOfOpening());
        QCOMPARE(s.host.transcript, QStringList());
    }

    void itIsToldWhetherTheShownBodyGotItsMarkersOfOpening()
    {
        Setup s;
        s.changes.deleteMarker(0);
        s.show(Probe);
        QVERIFY(!s.changes.writeMarkersOfOpening());
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
        COMPARE_MARKERS(s.changes.markers().positions, kFourMarkers);
    }

    void theMarkersOfOpeningComeBackWhereATransformTookThem()
    {
        Setup s;
        s.changes.deleteMarker(3);
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        QVERIFY(s.changes.writeMarkersOfOpening());
        COMPARE_MARKERS(s.held(Wand), turnedAndMoved(kSixMarkers));
        COMPARE_MARKERS(s.changes.markers().positions, turnedAndMoved(kSixMarkers));
        s.discard();
        COMPARE_MARKERS(s.held(Wand), kSixMarkers);
    }

    void aNewOpeningBeginsWithoutChanges()
    {
        Setup s;
        s.changes.deleteMarker(3);
        QVERIFY(s.changes.writeTransform(turnAndMove()));
        s.changes.begin(s.entries.size());
        QVERIFY(!s.changes.hasTransforms());
        QVERIFY(!s.changes.canUndoDeletion());
        s.host.clearRecords();
        QVERIFY(!s.changes.writeMarkersOfOpening());
        s.discard();
        QCOMPARE(s.host.transcript, QStringList());
    }
};

QUOREL2_TEST_MAIN(TestBodyChanges)
#include "tst_BodyChanges.moc"
