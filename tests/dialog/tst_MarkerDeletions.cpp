#include <dialog/MarkerDeletions.h>
#include <tests/model/GeometryOracle.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <Eigen/Geometry>

#include <random>
#include <vector>

namespace {

const BodyIdentity kWand = {QStringLiteral("standard"), 0, 0};
const BodyIdentity kProbe = {QStringLiteral("vimbar"), 0, 5};

Eigen::Vector3d directionOf(const Emission &emission)
{
    return Eigen::Vector3d(emission.x, emission.y, emission.z);
}

/// Markers that tell by their coordinates which list and which marker they are.
MarkerList listOf(int count, double tag)
{
    MarkerList list;
    for (int i = 0; i < count; ++i) {
        list.positions.append(bsVector(tag, i, -tag));
        list.emissions.append(Emission{0.6, -0.8, 0.0, 10.0 * i + tag});
    }
    return list;
}

/// As listOf() made it: the number of markers and the tag; 0 and 0 for an empty list.
QPair<int, double> contents(const MarkerList &list)
{
    return {list.positions.size(), list.positions.isEmpty() ? 0.0 : list.positions.first().x};
}

QPair<int, double> made(int count, double tag)
{
    return {count, tag};
}

QStringList namesOf(const QList<BodyIdentity> &bodies)
{
    QStringList names;
    for (const BodyIdentity &body : bodies)
        names.append(QStringLiteral("%1 %2").arg(body.type).arg(body.number()));
    return names;
}

Eigen::Isometry3d turnAndMove(double degrees, const Eigen::Vector3d &axis,
                              const Eigen::Vector3d &translation)
{
    Eigen::Isometry3d transform = Eigen::Isometry3d::Identity();
    transform.translate(translation);
    transform.rotate(Eigen::AngleAxisd(degrees * EIGEN_PI / 180.0, axis.normalized()));
    return transform;
}

void compareMapped(const MarkerList &actual, const MarkerList &original,
                   const Eigen::Isometry3d &transform)
{
    QCOMPARE(actual.positions.size(), original.positions.size());
    QCOMPARE(actual.emissions.size(), original.emissions.size());
    for (int i = 0; i < original.positions.size(); ++i) {
        const Eigen::Vector3d expected = transform * Oracle::vector(original.positions.at(i));
        QVERIFY((Oracle::vector(actual.positions.at(i)) - expected).norm() < 1e-9);
    }
    for (int i = 0; i < original.emissions.size(); ++i) {
        const Eigen::Vector3d expected =
            transform.rotation() * directionOf(original.emissions.at(i));
        QVERIFY((directionOf(actual.emissions.at(i)) - expected).norm() < 1e-9);
        QCOMPARE(actual.emissions.at(i).angleDeg, original.emissions.at(i).angleDeg);
    }
}

/// Takes the last deletion of the body back.
/// @return the markers that the body has then
MarkerList undone(MarkerDeletions &deletions, const BodyIdentity &body)
{
    const MarkerList before = deletions.beforeLast(body);
    deletions.undo(body);
    return before;
}

/// Takes all deletions of all bodies back.
void undoAllOf(MarkerDeletions &deletions)
{
    for (const BodyIdentity &body : deletions.changedBodies())
        deletions.undoAll(body);
}

} // namespace

class TestMarkerDeletions : public QObject {
    Q_OBJECT

private slots:
    void atFirstThereIsNothingToUndoOrRedoOrBringBack()
    {
        MarkerDeletions deletions;
        QVERIFY(!deletions.canUndo(kWand));
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        QVERIFY(deletions.changedBodies().isEmpty());
        QVERIFY(deletions.markersAtOpening(kWand).positions.isEmpty());
        QVERIFY(undone(deletions, kWand).positions.isEmpty());
        deletions.redo(kWand, listOf(6, 1));
        deletions.undoAll(kWand);
        deletions.notWritten(kWand);
        deletions.carryAlong(kWand, bsMatrix::identity());
        QVERIFY(!deletions.canUndo(kWand));
        QVERIFY(deletions.changedBodies().isEmpty());
    }

    void undoGivesTheMarkersThatWereThereBefore()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        QVERIFY(deletions.canUndo(kWand));
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        const MarkerList before = undone(deletions, kWand);
        QCOMPARE(contents(before), made(6, 1));
        QCOMPARE(before.emissions.size(), 6);
        QCOMPARE(before.emissions.at(5).angleDeg, 51.0);
        QVERIFY(!deletions.canUndo(kWand));
        QCOMPARE(deletions.pendingMarker(kWand), 2);
        QVERIFY(undone(deletions, kWand).positions.isEmpty());
        QCOMPARE(deletions.pendingMarker(kWand), 2);
    }

    void undoAndRedoGoThroughTheDeletionsStepByStep()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(7, 1), 6);
        deletions.add(kWand, listOf(6, 2), 0);
        deletions.add(kWand, listOf(5, 3), 3);
        for (int round = 0; round < 3; ++round) {
            QCOMPARE(contents(undone(deletions, kWand)), made(5, 3));
            QCOMPARE(deletions.pendingMarker(kWand), 3);
            QVERIFY(deletions.canUndo(kWand));
            QCOMPARE(contents(undone(deletions, kWand)), made(6, 2));
            QCOMPARE(deletions.pendingMarker(kWand), 0);
            QVERIFY(deletions.canUndo(kWand));
            QCOMPARE(contents(undone(deletions, kWand)), made(7, 1));
            QCOMPARE(deletions.pendingMarker(kWand), 6);
            QVERIFY(!deletions.canUndo(kWand));

            deletions.redo(kWand, listOf(7, 1));
            QVERIFY(deletions.canUndo(kWand));
            QCOMPARE(deletions.pendingMarker(kWand), 0);
            deletions.redo(kWand, listOf(6, 2));
            QCOMPARE(deletions.pendingMarker(kWand), 3);
            deletions.redo(kWand, listOf(5, 3));
            QCOMPARE(deletions.pendingMarker(kWand), -1);
        }
    }

    void undoAfterARedoGivesTheMarkersThatTheRedoFound()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        deletions.undo(kWand);
        // The body was moved in between.
        deletions.redo(kWand, listOf(6, 9));
        QCOMPARE(contents(undone(deletions, kWand)), made(6, 9));
        QCOMPARE(contents(deletions.markersAtOpening(kWand)), made(6, 1));
    }

    void aRedoWithNothingPendingIsNoDeletion()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        deletions.redo(kWand, listOf(5, 2));
        QCOMPARE(contents(undone(deletions, kWand)), made(6, 1));
        QVERIFY(!deletions.canUndo(kWand));
    }

    void aNewDeletionForgetsWhatCouldBeRedoneForThatBody()
    {
        MarkerDeletions deletions;
        deletions.add(kProbe, listOf(5, 1), 4);
        deletions.undo(kProbe);
        deletions.add(kWand, listOf(7, 1), 6);
        deletions.add(kWand, listOf(6, 2), 5);
        deletions.undo(kWand);
        deletions.undo(kWand);
        deletions.add(kWand, listOf(7, 3), 1);
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        QCOMPARE(deletions.pendingMarker(kProbe), 4);
        QCOMPARE(contents(undone(deletions, kWand)), made(7, 3));
        QVERIFY(!deletions.canUndo(kWand));
        QCOMPARE(deletions.pendingMarker(kWand), 1);
        deletions.redo(kWand, listOf(7, 3));
        QCOMPARE(deletions.pendingMarker(kWand), -1);
    }

    void aDeletionThatWasNotCarriedOutIsNoStepBesideTheNext()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(7, 1), 6);
        deletions.add(kWand, listOf(6, 2), 2);
        deletions.notConfirmed(kWand);
        // Until then it can be undone and tried again.
        QCOMPARE(contents(undone(deletions, kWand)), made(6, 2));
        QCOMPARE(deletions.pendingMarker(kWand), 2);
        deletions.redo(kWand, listOf(6, 2));
        deletions.notConfirmed(kWand);

        deletions.add(kWand, listOf(6, 3), 4);
        QCOMPARE(contents(undone(deletions, kWand)), made(6, 3));
        QCOMPARE(contents(undone(deletions, kWand)), made(7, 1));
        QVERIFY(!deletions.canUndo(kWand));
        deletions.redo(kWand, listOf(7, 1));
        QCOMPARE(deletions.pendingMarker(kWand), 4);
        deletions.redo(kWand, listOf(6, 3));
        QCOMPARE(deletions.pendingMarker(kWand), -1);
    }

    void afterARedoThatWasNotConfirmedNoFurtherMarkerIsRedone()
    {
        MarkerDeletions deletions;
        deletions.add(kProbe, listOf(5, 1), 1);
        deletions.undo(kProbe);
        deletions.add(kWand, listOf(8, 1), 6);
        deletions.add(kWand, listOf(7, 2), 6);
        undoAllOf(deletions);
        deletions.redo(kWand, listOf(8, 1));
        deletions.notConfirmed(kWand);
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        QCOMPARE(deletions.pendingMarker(kProbe), 1);
        QCOMPARE(contents(undone(deletions, kWand)), made(8, 1));
        QCOMPARE(deletions.pendingMarker(kWand), 6);
        deletions.notConfirmed({QStringLiteral("standard"), 7, 7});
    }

    void eachBodyHasItsOwnDeletions()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        QVERIFY(!deletions.canUndo(kProbe));
        deletions.add(kProbe, listOf(5, 2), 4);
        deletions.add(kWand, listOf(5, 3), 0);
        QCOMPARE(contents(undone(deletions, kProbe)), made(5, 2));
        QVERIFY(!deletions.canUndo(kProbe));
        QVERIFY(deletions.canUndo(kWand));
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        QCOMPARE(contents(undone(deletions, kWand)), made(5, 3));
        QCOMPARE(contents(undone(deletions, kWand)), made(6, 1));
        QCOMPARE(deletions.pendingMarker(kProbe), 4);
    }

    void typeAndNumberTellWhichBodyIsMeant_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("listIndex");
        QTest::addColumn<bool>("same");
        QTest::newRow("the same") << "standard" << 0 << 0 << true;
        QTest::newRow("elsewhere in the list") << "standard" << 0 << 3 << true;
        QTest::newRow("other number") << "standard" << 1 << 0 << false;
        QTest::newRow("other type of that number") << "vimbar" << 0 << 0 << false;
        QTest::newRow("other case of the type") << "Standard" << 0 << 0 << false;
    }

    void typeAndNumberTellWhichBodyIsMeant()
    {
        QFETCH(QString, type);
        QFETCH(int, index);
        QFETCH(int, listIndex);
        QFETCH(bool, same);
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        const BodyIdentity body = {type, index, listIndex};
        QCOMPARE(deletions.canUndo(body), same);
        QCOMPARE(deletions.markersAtOpening(body).positions.size(), same ? 6 : 0);
        QCOMPARE(undone(deletions, body).positions.size(), same ? 6 : 0);
        QCOMPARE(deletions.pendingMarker(body), same ? 2 : -1);
    }

    void whatIsNoBodyHasNoDeletions()
    {
        MarkerDeletions deletions;
        deletions.add(BodyIdentity(), listOf(6, 1), 2);
        deletions.add({QStringLiteral("standard"), -1, 3}, listOf(6, 1), 2);
        QVERIFY(!deletions.canUndo(BodyIdentity()));
        QVERIFY(deletions.changedBodies().isEmpty());
    }

    void theMarkersAtOpeningAreThoseBeforeTheFirstDeletion()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(7, 1), 6);
        deletions.add(kWand, listOf(6, 2), 5);
        QCOMPARE(contents(deletions.markersAtOpening(kWand)), made(7, 1));
        deletions.undo(kWand);
        deletions.undo(kWand);
        deletions.add(kWand, listOf(7, 3), 0);
        QCOMPARE(contents(deletions.markersAtOpening(kWand)), made(7, 1));
        QCOMPARE(deletions.markersAtOpening(kWand).emissions.at(3).angleDeg, 31.0);
        QVERIFY(deletions.markersAtOpening(kProbe).positions.isEmpty());
    }

    void changedBodiesComeInTheOrderOfTheirFirstDeletion()
    {
        const BodyIdentity pen = {QStringLiteral("standard"), 2, 2};
        MarkerDeletions deletions;
        deletions.add(kProbe, listOf(5, 1), 0);
        deletions.add(pen, listOf(6, 2), 0);
        deletions.add(kWand, listOf(6, 3), 0);
        deletions.add(kProbe, listOf(4, 4), 0);
        QCOMPARE(namesOf(deletions.changedBodies()),
                 (QStringList{"vimbar 1", "standard 3", "standard 1"}));
        QCOMPARE(deletions.changedBodies().at(0).listIndex, 5);

        deletions.undo(pen);
        QCOMPARE(namesOf(deletions.changedBodies()), (QStringList{"vimbar 1", "standard 1"}));
        deletions.undo(kProbe);
        QCOMPARE(namesOf(deletions.changedBodies()), (QStringList{"vimbar 1", "standard 1"}));
        deletions.undo(kProbe);
        QCOMPARE(namesOf(deletions.changedBodies()), QStringList{"standard 1"});
        deletions.redo(pen, listOf(6, 2));
        deletions.redo(kProbe, listOf(5, 1));
        QCOMPARE(namesOf(deletions.changedBodies()),
                 (QStringList{"vimbar 1", "standard 3", "standard 1"}));
    }

    void allTakenBackCanBeRedoneInTheOrderInWhichItWasDone()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(8, 1), 7);
        deletions.add(kProbe, listOf(5, 5), 4);
        deletions.add(kWand, listOf(7, 2), 0);
        deletions.add(kWand, listOf(6, 3), 3);
        deletions.undo(kWand);
        undoAllOf(deletions);
        QVERIFY(deletions.changedBodies().isEmpty());
        QVERIFY(!deletions.canUndo(kWand));
        QVERIFY(!deletions.canUndo(kProbe));
        QCOMPARE(contents(deletions.markersAtOpening(kWand)), made(8, 1));
        QCOMPARE(deletions.pendingMarker(kProbe), 4);
        for (const int marker : {7, 0, 3}) {
            QCOMPARE(deletions.pendingMarker(kWand), marker);
            deletions.redo(kWand, listOf(8, 1));
        }
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        QCOMPARE(namesOf(deletions.changedBodies()), QStringList{"standard 1"});
    }

    void aBodyThatCouldNotBeWrittenStaysChangedUntilItIs()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        deletions.undo(kWand);
        deletions.notWritten(kWand);
        QCOMPARE(namesOf(deletions.changedBodies()), QStringList{"standard 1"});
        QVERIFY(!deletions.canUndo(kWand));
        QCOMPARE(contents(deletions.markersAtOpening(kWand)), made(6, 1));
        // Its number was one of the list that was not written.
        QCOMPARE(deletions.pendingMarker(kWand), -1);
        // What is deleted and undone from there on may be what was written in part.
        deletions.add(kWand, listOf(6, 1), 3);
        QCOMPARE(namesOf(deletions.changedBodies()), QStringList{"standard 1"});
        deletions.undo(kWand);
        QCOMPARE(namesOf(deletions.changedBodies()), QStringList{"standard 1"});
        undoAllOf(deletions);
        QVERIFY(deletions.changedBodies().isEmpty());

        deletions.notWritten(kWand);
        deletions.notWritten(kProbe);
        undoAllOf(deletions);
        QVERIFY(deletions.changedBodies().isEmpty());
        deletions.notWritten(kWand);
        QCOMPARE(namesOf(deletions.changedBodies()), QStringList{"standard 1"});
    }

    void clearingForgetsEverything()
    {
        MarkerDeletions deletions;
        deletions.add(kWand, listOf(6, 1), 2);
        deletions.add(kProbe, listOf(5, 1), 2);
        deletions.undo(kProbe);
        deletions.notWritten(kProbe);
        deletions.clear();
        for (const BodyIdentity &body : {kWand, kProbe}) {
            QVERIFY(!deletions.canUndo(body));
            QCOMPARE(deletions.pendingMarker(body), -1);
            QVERIFY(deletions.markersAtOpening(body).positions.isEmpty());
        }
        QVERIFY(deletions.changedBodies().isEmpty());
    }

    void aListIsTransformedWithItsDirections()
    {
        const Eigen::Isometry3d transform =
            turnAndMove(130.0, Eigen::Vector3d(1, -2, 0.5), Eigen::Vector3d(300, -20, 7));
        MarkerList list = listOf(5, 12.5);
        list.emissions.append(Emission());
        const MarkerList original = list;
        list.transform(Oracle::matrix(transform.matrix()));
        compareMapped(list, original, transform);
        // A direction that is none stays none.
        QCOMPARE(directionOf(list.emissions.last()).norm(), 0.0);
    }

    void whatIsKeptOfABodyIsCarriedAlong()
    {
        const Eigen::Isometry3d first =
            turnAndMove(40.0, Eigen::Vector3d(1, 2, 3), Eigen::Vector3d(10, -20, 30));
        const Eigen::Isometry3d second =
            turnAndMove(-75.0, Eigen::Vector3d(-1, 0.5, 2), Eigen::Vector3d(-5, 80, 2));
        MarkerDeletions deletions;
        deletions.add(kProbe, listOf(5, 4), 0);
        deletions.add(kWand, listOf(8, 1), 7);
        deletions.carryAlong(kWand, Oracle::matrix(first.matrix()));
        // What is deleted now is given in the frame that the body has now.
        deletions.add(kWand, listOf(7, 2), 6);
        deletions.carryAlong(kWand, Oracle::matrix(second.matrix()));
        deletions.add(kWand, listOf(6, 3), 5);

        compareMapped(deletions.markersAtOpening(kWand), listOf(8, 1), second * first);
        compareMapped(undone(deletions, kWand), listOf(6, 3), Eigen::Isometry3d::Identity());
        compareMapped(undone(deletions, kWand), listOf(7, 2), second);
        compareMapped(undone(deletions, kWand), listOf(8, 1), second * first);
        compareMapped(deletions.markersAtOpening(kProbe), listOf(5, 4),
                      Eigen::Isometry3d::Identity());
        compareMapped(undone(deletions, kProbe), listOf(5, 4), Eigen::Isometry3d::Identity());
        QCOMPARE(deletions.pendingMarker(kWand), 7);

        // Also while nothing is left to undo.
        deletions.carryAlong(kWand, Oracle::matrix(first.matrix()));
        compareMapped(deletions.markersAtOpening(kWand), listOf(8, 1), first * second * first);
    }

    void randomWorkAgreesWithAPlainAccount()
    {
        // Each body as the account has it: the list at opening, and what was deleted, with the
        // list before it and the transform since.
        struct Step {
            MarkerList before;
            Eigen::Isometry3d since = Eigen::Isometry3d::Identity();
            int marker;
            bool confirmed = true;
        };
        struct Body {
            BodyIdentity identity;
            MarkerList atOpening;
            Eigen::Isometry3d sinceOpening = Eigen::Isometry3d::Identity();
            std::vector<Step> done;
            std::vector<int> pending;
            bool written = true;
        };
        std::mt19937 random(testSeed());
        const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
        for (int round = 0; round < 200; ++round) {
            std::vector<Body> bodies = {{kWand, {}, Eigen::Isometry3d::Identity(), {}, {}, true},
                                        {kProbe, {}, Eigen::Isometry3d::Identity(), {}, {}, true},
                                        {{QStringLiteral("standard"), 1, 1},
                                         {},
                                         Eigen::Isometry3d::Identity(),
                                         {},
                                         {},
                                         true}};
            QStringList order;
            MarkerDeletions deletions;
            for (int step = 0; step < 40; ++step) {
                Body &body = bodies[unsigned(below(3))];
                const MarkerList now = listOf(4 + below(5), below(1000));
                switch (below(8)) {
                case 0:
                case 1: {
                    const int marker = below(now.positions.size());
                    deletions.add(body.identity, now, marker);
                    if (body.atOpening.positions.isEmpty()) {
                        body.atOpening = now;
                        body.sinceOpening = Eigen::Isometry3d::Identity();
                        order += namesOf({body.identity});
                    }
                    if (!body.done.empty() && !body.done.back().confirmed &&
                        body.done.back().before.positions.size() == now.positions.size())
                        body.done.pop_back();
                    body.done.push_back({now, Eigen::Isometry3d::Identity(), marker, true});
                    body.pending.clear();
                    break;
                }
                case 2: {
                    const MarkerList list = undone(deletions, body.identity);
                    if (body.done.empty()) {
                        QVERIFY(list.positions.isEmpty());
                        break;
                    }
                    compareMapped(list, body.done.back().before, body.done.back().since);
                    body.pending.push_back(body.done.back().marker);
                    body.done.pop_back();
                    break;
                }
                case 3:
                    deletions.redo(body.identity, now);
                    if (!body.pending.empty()) {
                        body.done.push_back(
                            {now, Eigen::Isometry3d::Identity(), body.pending.back(), true});
                        body.pending.pop_back();
                    }
                    break;
                case 4: {
                    const Eigen::Isometry3d transform = turnAndMove(
                        below(360), Eigen::Vector3d(1 + below(9), below(9) - 4, below(9) - 4),
                        Eigen::Vector3d(below(99), below(99), below(99)));
                    deletions.carryAlong(body.identity, Oracle::matrix(transform.matrix()));
                    body.sinceOpening = transform * body.sinceOpening;
                    for (Step &done : body.done)
                        done.since = transform * done.since;
                    break;
                }
                case 5:
                    deletions.notWritten(body.identity);
                    body.written = body.atOpening.positions.isEmpty();
                    body.pending.clear();
                    break;
                case 6:
                    deletions.notConfirmed(body.identity);
                    if (!body.done.empty())
                        body.done.back().confirmed = false;
                    body.pending.clear();
                    break;
                default:
                    if (below(4) != 0)
                        break;
                    undoAllOf(deletions);
                    for (Body &each : bodies) {
                        while (!each.done.empty()) {
                            each.pending.push_back(each.done.back().marker);
                            each.done.pop_back();
                        }
                        each.written = true;
                    }
                }
                QStringList changed = order;
                for (const Body &each : bodies) {
                    QCOMPARE(deletions.canUndo(each.identity), !each.done.empty());
                    QCOMPARE(deletions.pendingMarker(each.identity),
                             each.pending.empty() ? -1 : each.pending.back());
                    compareMapped(deletions.markersAtOpening(each.identity), each.atOpening,
                                  each.sinceOpening);
                    if (each.done.empty() && each.written)
                        changed.removeAll(namesOf({each.identity}).first());
                    if (QTest::currentTestFailed())
                        return;
                }
                QCOMPARE(namesOf(deletions.changedBodies()), changed);
            }
        }
    }
};

QUOREL2_TEST_MAIN(TestMarkerDeletions)
#include "tst_MarkerDeletions.moc"
