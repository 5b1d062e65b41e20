#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTabWidget>
#include <QTableWidget>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace {

const double kSqrt3 = std::sqrt(3.0);
/// What the small controller behind the host keeps of a number.
constexpr double kStoredPrecision = 5e-7;
/// Half a unit of the last decimal of a printed length, and of a printed rotation element.
constexpr double kPrintedLength = 5e-4;
constexpr double kPrintedRotation = 5e-9;

double distance(const bsVector &a, const bsVector &b)
{
    return (a - b).length();
}

bsVector directionOf(const Emission &emission)
{
    return bsVector(emission.x, emission.y, emission.z);
}

/// What the controller holds of a body, and by how much Cancel may miss it.
///
/// A transform command prints lengths with three decimals, which moves a marker by up to
/// sqrt(3) * 5e-4 mm, and rotation elements with eight: nine errors of up to 5e-9 move a marker at
/// the distance p from the origin by up to 3 * 5e-9 * p. A list of markers prints lengths, and
/// emission values, with three decimals. Transforms keep distances, so the errors of all commands
/// add up at most; those with which a body is brought back count too.
struct Held {
    QString type;
    int number = 0;
    bool calibrated = true;
    QVector<bsVector> markers;
    QVector<Emission> emissions;

    double positionError = kStoredPrecision;
    double directionError = kStoredPrecision;
    int transforms = 0;
    int lists = 0;

    QString name() const
    {
        return QStringLiteral("%1 b%2").arg(type).arg(number, 2, 10, QLatin1Char('0'));
    }
    /// To be called before the controller hears of the line.
    void countCommand(const QString &line, const FakeHost &host)
    {
        if (line.startsWith("quorel2 body transform " + name() + " ")) {
            double reach = 0.0;
            for (const bsVector &position : host.markers(type, number))
                reach = std::max(reach, position.length());
            ++transforms;
            positionError +=
                kSqrt3 * (kPrintedLength + kStoredPrecision) + 3.0 * kPrintedRotation * reach;
            directionError += 3.0 * kPrintedRotation + kSqrt3 * kStoredPrecision;
        } else if (line.startsWith("set body number_of_marker " + name() + " ")) {
            ++lists;
            positionError += kSqrt3 * (kPrintedLength + kStoredPrecision);
            directionError += kSqrt3 * (kPrintedLength + kStoredPrecision);
        }
    }
    double angleError() const { return lists > 0 ? kPrintedLength + 1e-6 : 1e-6; }
};

/// The first way in which what the host's controller has differs from what was held; empty if in
/// none.
QString difference(const FakeHost &host, const Held &held)
{
    const QVector<bsVector> markers = host.markers(held.type, held.number);
    const QVector<Emission> emissions = host.emissions(held.type, held.number);
    if (markers.size() != held.markers.size())
        return QStringLiteral("%1 has %2 markers instead of %3")
            .arg(held.name())
            .arg(markers.size())
            .arg(held.markers.size());
    for (int i = 0; i < markers.size(); ++i) {
        const double missed = distance(markers.at(i), held.markers.at(i));
        const Emission &emission = emissions.at(i);
        const Emission &expected = held.emissions.at(i);
        const double turned = distance(directionOf(emission), directionOf(expected));
        if (!(missed <= held.positionError))
            return QStringLiteral("%1, marker %2: off by %3 mm, allowed %4")
                .arg(held.name())
                .arg(i + 1)
                .arg(missed)
                .arg(held.positionError);
        if (!(turned <= held.directionError))
            return QStringLiteral("%1, emission %2: off by %3, allowed %4")
                .arg(held.name())
                .arg(i + 1)
                .arg(turned)
                .arg(held.directionError);
        if (!(std::fabs(emission.angleDeg - expected.angleDeg) <= held.angleError()))
            return QStringLiteral("%1, opening angle %2: %3 instead of %4")
                .arg(held.name())
                .arg(i + 1)
                .arg(emission.angleDeg)
                .arg(expected.angleDeg);
    }
    return QString();
}

/// How often something happened, over all sequences.
struct Tally {
    int sequences = 0;
    int steps = 0;
    int commits = 0;
    int applies = 0;
    int deletions = 0;
    int otherBodyChosen = 0; ///< by the reading that follows a deletion
    int undoneDeletions = 0;
    int redoneDeletions = 0;
    int undoneEdits = 0;
    int redoneEdits = 0;
    int keptOpen = 0; ///< Cancel, then No
    int transforms = 0;
    int listWrites = 0;
    int sharedNumbers = 0; ///< both bodies of one number were transformed
    int faults = 0;
};

/// Opens one dialog again and again, each time on other bodies, and does random work in it that the
/// user could do in the same way.
class RandomWork {
public:
    explicit RandomWork(quint32 seed)
        : m_random(seed)
    {
        m_fixture.makeDialog();
    }

    FakeHost &host() { return m_fixture.host; }
    const Tally &tally() const { return m_tally; }

    /// Lets exchanges fail now and then while the user works; not while Cancel brings back.
    bool withFaults = false;

    /// One opening, with 20 to 40 steps.
    /// @return what went wrong, after what was done has been printed; empty if nothing did
    QString run()
    {
        fillController();
        host().clearRecords();
        m_log.clear();
        m_faultsGoOn = true;
        const int steps = 20 + below(21);
        host().hook = [this](const FakeHost::Exchange &exchange) { return watch(exchange); };
        m_fixture.quickSession([this, steps] {
            for (int i = 0; i < steps && m_problem.isEmpty() && dialog()->isVisible(); ++i)
                step();
            m_faultsGoOn = false;
            if (dialog()->isVisible()) {
                m_log.append("cancel");
                // Where nothing is left to be taken back, Cancel does not ask.
                m_fixture.answers = {QMessageBox::Yes};
                dialog()->reject();
                m_fixture.answers.clear();
            }
            if (dialog()->isVisible()) {
                report("Cancel did not close the dialog.");
                dialog()->hide();
            }
        });
        if (!withFaults && !host().errors().isEmpty())
            report(host().errors().first());
        for (const Held &held : m_bodies) {
            report(difference(host(), held));
            m_tally.transforms += held.transforms;
            m_tally.listWrites += held.lists;
            for (const Held &other : m_bodies) {
                if (held.number == other.number && held.type < other.type && held.transforms > 0 &&
                    other.transforms > 0)
                    ++m_tally.sharedNumbers;
            }
        }
        ++m_tally.sequences;
        if (!m_problem.isEmpty())
            std::printf("%s\n", qPrintable(m_log.join(QLatin1Char('\n'))));
        return m_problem;
    }

private:
    /// What was deleted of a body, as the user would count it.
    struct Deletions {
        int done = 0;
        int pending = 0;
    };

    int below(int limit) { return int(m_random() % unsigned(limit)); }
    double number(double limit)
    {
        return std::uniform_real_distribution<double>(-limit, limit)(m_random);
    }
    BodyAdjustmentDialog *dialog() { return m_fixture.dialog.get(); }
    GLCanvas *canvas() { return m_fixture.canvas(); }
    QComboBox *list() { return m_fixture.child<QComboBox>("body_name"); }
    QPushButton *button(const char *name) { return m_fixture.child<QPushButton>(name); }
    bool isPossible(const char *name) { return m_fixture.isEnabled(name); }
    QMessageBox::StandardButton yesOrNo() { return below(2) ? QMessageBox::Yes : QMessageBox::No; }
    void report(const QString &problem)
    {
        if (m_problem.isEmpty() && !problem.isEmpty())
            m_problem = problem;
    }

    void fillController()
    {
        m_bodies.clear();
        m_deletions.clear();
        host().parameters = FakeHost().parameters;
        QVector<QPair<QString, int>> types = {{"standard", 5}, {"vimbar", 3}};
        // Where the vimbars stand first, a deletion chooses one of them for a standard body.
        if (below(2))
            std::swap(types[0], types[1]);
        for (const auto &type : types) {
            for (int number = 1; number <= type.second; ++number)
                addBody(type.first, number);
        }
    }

    void addBody(const QString &type, int bodyNumber)
    {
        Held held;
        held.type = type;
        held.number = bodyNumber;
        const int markers = 4 + below(6);
        const int emitting = below(3); // none, all, some
        for (int i = 0; i < markers; ++i) {
            held.markers.append(bsVector(number(150), number(150), number(150)));
            bsVector direction(number(1), number(1), number(1));
            direction.normalize();
            const bool emits = emitting == 1 || (emitting == 2 && below(2));
            held.emissions.append(
                emits ? Emission{direction.x, direction.y, direction.z, 20.0 + below(100) / 8.0}
                      : Emission());
        }
        QString target = QStringLiteral("tt_std");
        if (type == QLatin1String("standard") && bodyNumber == 2)
            target = QStringLiteral("tt_5dof");
        if (type == QLatin1String("standard") && bodyNumber == 3)
            target = QStringLiteral("tt_6dof_cyl");
        held.calibrated = type != QLatin1String("standard") || bodyNumber != 4;
        host().addBody(type, bodyNumber, QString(), held.calibrated, target, held.markers,
                       held.emissions);
        held.markers = host().markers(type, bodyNumber);
        held.emissions = host().emissions(type, bodyNumber);
        m_bodies.append(held);
        m_deletions.append(Deletions());
    }

    std::optional<FakeHost::Answer> watch(const FakeHost::Exchange &exchange)
    {
        if (withFaults && m_faultsGoOn) {
            const std::optional<FakeHost::Answer> fault = faultFor(exchange.line);
            if (fault) {
                ++m_tally.faults;
                m_log.append("  fails: " + exchange.line);
                return fault;
            }
        }
        if (exchange.line.startsWith("quorel2 body ") || exchange.line.startsWith("set body ")) {
            m_log.append("  " + exchange.line);
            checkDeletion(exchange.line);
            for (Held &held : m_bodies)
                held.countCommand(exchange.line, host());
        }
        return std::nullopt;
    }

    /// The marker that goes is the one that was selected, whatever failed before.
    void checkDeletion(const QString &line)
    {
        const int body = shown();
        if (!m_selected || !line.startsWith("quorel2 body delete_marker ") || body < 0)
            return;
        const Held &held = m_bodies.at(body);
        const int marker = line.mid(line.lastIndexOf(QLatin1Char('m')) + 1).toInt() - 1;
        const QVector<bsVector> markers = host().markers(held.type, held.number);
        if (marker < 0 || marker >= markers.size() ||
            distance(markers.at(marker), *m_selected) > held.positionError)
            report("Another marker than the selected one is deleted.");
        if (markers.size() <= 4)
            report("One of four markers is deleted.");
    }

    /// Nothing of a line that fails reaches the controller.
    std::optional<FakeHost::Answer> faultFor(const QString &line)
    {
        const FakeHost::Answer failed = {2, "", true};
        const FakeHost::Answer refused = {0, "quorel2 err no", true};
        if (line.startsWith("quorel2 body ") && below(5) == 0)
            return below(2) ? failed : refused;
        if (line.startsWith("set body ") && below(12) == 0)
            return failed;
        if ((line.startsWith("get body marker") || line.startsWith("get body number_of_marker")) &&
            below(50) == 0)
            return failed;
        return std::nullopt;
    }

    /// The body that is shown as one of m_bodies; -1: none.
    int shown()
    {
        const QStringList entry =
            list()->itemData(list()->currentIndex()).toString().split(QLatin1Char('|'));
        if (entry.size() < 2 || !canvas()->isBodyLoaded())
            return -1;
        for (int i = 0; i < m_bodies.size(); ++i) {
            if (m_bodies.at(i).type == entry.at(0) && m_bodies.at(i).number == entry.at(1).toInt())
                return i;
        }
        return -1;
    }

    void step()
    {
        ++m_tally.steps;
        const int commits = canvas()->body().undoCount();
        const int kind = below(24);
        if (shown() < 0 || kind < 3)
            chooseBody();
        else if (kind < 6)
            turnWheel("body_pos_xyzWidget", number(150));
        else if (kind < 9)
            turnWheel("body_ori_xyzWidget", 1.0 + below(350));
        else if (kind < 13)
            operate();
        else if (kind < 15)
            apply();
        else if (kind < 17)
            deleteMarker();
        else if (kind < 20)
            undo();
        else if (kind < 22)
            redo();
        else if (kind < 23)
            keepOpen();
        else
            toggleOnline();
        m_tally.commits += canvas()->body().undoCount() > commits ? 1 : 0;
        m_fixture.answers.clear();
        if (dialog()->isVisible())
            checkWhatIsSeen();
    }

    void chooseBody()
    {
        const int position = below(list()->count());
        m_log.append(QStringLiteral("choose %1").arg(list()->itemData(position).toString()));
        m_fixture.answers = {yesOrNo()};
        list()->setCurrentIndex(position);
    }

    void turnWheel(const char *group, double by)
    {
        if (!isPossible(group))
            return;
        auto *values = m_fixture.child<xyzWidget>(group);
        m_log.append(QStringLiteral("%1 by %2").arg(group).arg(by));
        const auto components = values->findChildren<bsDoubleWidget *>();
        for (int count = 1 + below(2); count > 0; --count) {
            bsDoubleWidget *component = components.at(below(3));
            component->adjustValue(by / 2.0);
            component->adjustValue(by / 2.0);
        }
        // Now and then the gesture is left open.
        if (below(5) != 0)
            values->finishEditing();
    }

    void select(int count)
    {
        canvas()->select(nullptr);
        QVector<int> markers;
        while (markers.size() < count) {
            const int marker = below(canvas()->body().markerCount());
            if (!markers.contains(marker))
                markers.append(marker);
        }
        for (const int marker : markers)
            canvas()->select(canvas()->body().markers().at(marker));
    }

    void operate()
    {
        static const char *const operations[] = {
            "set_origin_button",      "set_origin_cog_button",     "set_axis_button",
            "pushButton_due_to_body", "pushButton_due_to_room",    "pushButton_due_to_room_0",
            "set_axis_button",        "adjust_axes_to_room_button"};
        const char *operation = operations[below(8)];
        const bool setsAxis = qstrcmp(operation, "set_axis_button") == 0;
        if (qstrcmp(operation, "set_origin_button") == 0)
            select(1);
        else if (setsAxis)
            select(2);
        if (!isPossible(operation))
            return;
        m_log.append(operation);
        if (setsAxis) {
            // What the set-axis dialog does when it is confirmed.
            const int axis = below(3);
            canvas()->setAxisToMarkers(abcAxis(axis), abcAxis((axis + 1 + below(2)) % 3));
        } else {
            button(operation)->click();
        }
    }

    void apply()
    {
        if (!isPossible("apply_button"))
            return;
        m_log.append("apply");
        ++m_tally.applies;
        button("apply_button")->click();
    }

    void deleteMarker()
    {
        select(1);
        if (!isPossible("pushButton_deleteMarker"))
            return;
        const int body = shown();
        const int before = list()->currentIndex();
        const int marker = canvas()->selectedMarkerNumber();
        m_log.append(QStringLiteral("delete marker %1").arg(marker + 1));
        m_selected = canvas()->body().markerPositions().at(marker);
        m_fixture.answers = {QMessageBox::Ok, yesOrNo()};
        button("pushButton_deleteMarker")->click();
        m_selected.reset();
        ++m_tally.deletions;
        ++m_deletions[body].done;
        m_deletions[body].pending = 0;
        checkReselection(body, before);
    }

    /// The reading that follows a deletion takes the body's number for a place in the list.
    void checkReselection(int body, int before)
    {
        if (withFaults)
            return;
        if (list()->currentIndex() != m_bodies.at(body).number - 1)
            report("Another body than expected is shown.");
        if (list()->currentIndex() != before)
            ++m_tally.otherBodyChosen;
    }

    void undo()
    {
        if (!isPossible("undo_button"))
            return;
        const int body = shown();
        Deletions &deletions = m_deletions[body];
        m_log.append("undo");
        if (deletions.done > 0) {
            --deletions.done;
            ++deletions.pending;
            ++m_tally.undoneDeletions;
        } else {
            ++m_tally.undoneEdits;
        }
        button("undo_button")->click();
    }

    void redo()
    {
        if (!isPossible("redo_button"))
            return;
        const int body = shown();
        const int before = list()->currentIndex();
        Deletions &deletions = m_deletions[body];
        m_log.append("redo");
        m_fixture.answers = {yesOrNo()};
        button("redo_button")->click();
        if (deletions.pending > 0) {
            --deletions.pending;
            ++deletions.done;
            ++m_tally.redoneDeletions;
            checkReselection(body, before);
        } else {
            ++m_tally.redoneEdits;
        }
    }

    /// Only where Cancel asks; else it would close the dialog.
    void keepOpen()
    {
        bool asks = canvas()->hasUnappliedChanges();
        for (const Held &held : qAsConst(m_bodies))
            asks = asks || (held.transforms > 0 && !withFaults);
        if (!asks)
            return;
        m_log.append("cancel, but no");
        m_fixture.answers = {QMessageBox::No};
        dialog()->reject();
        for (Deletions &deletions : m_deletions) {
            deletions.pending += deletions.done;
            deletions.done = 0;
        }
        ++m_tally.keptOpen;
        if (!dialog()->isVisible())
            report("No kept nothing open.");
    }

    void toggleOnline()
    {
        if (!isPossible("online_checkbox"))
            return;
        m_log.append("online");
        m_fixture.child<QCheckBox>("online_checkbox")->click();
        const double turn = number(3.0);
        const QByteArray c = QByteArray::number(std::cos(turn), 'f', 9);
        const QByteArray s = QByteArray::number(std::sin(turn), 'f', 9);
        const QByteArray minusS = QByteArray::number(-std::sin(turn), 'f', 9);
        const QByteArray place =
            "[1 2 3 0 0 0][" + c + " " + s + " 0 " + minusS + " " + c + " 0 0 0 1]";
        QByteArray bodies = "6d 5";
        QByteArray devices = "6df2 3 3";
        for (int id = 0; id < 5; ++id) {
            bodies += " [" + QByteArray::number(id) + " 1.0]" + place;
            if (id < 3)
                devices += " [" + QByteArray::number(id) + " 1.0 1 1]" + place + "[0]";
        }
        host().deliver("6d", bodies);
        host().deliver("6df2", devices);
        dialog()->update_track();
    }

    /// What is shown is what the controller holds, and the buttons tell what can be done.
    void checkWhatIsSeen()
    {
        if (withFaults)
            return;
        for (int i = 0; i < m_bodies.size(); ++i) {
            const Held &held = m_bodies.at(i);
            const int expected = held.markers.size() - m_deletions.at(i).done;
            if (host().markers(held.type, held.number).size() != expected)
                report(QStringLiteral("%1 should have %2 markers").arg(held.name()).arg(expected));
        }
        const int body = shown();
        if (body < 0)
            return;
        const Held &held = m_bodies.at(body);
        const QVector<bsVector> markers = host().markers(held.type, held.number);
        const QVector<Emission> emissions = host().emissions(held.type, held.number);
        const QList<MarkerRecord> records = canvas()->markerRecords();
        if (records.size() != markers.size()) {
            report(held.name() + " is shown with another number of markers.");
            return;
        }
        for (int i = 0; i < markers.size(); ++i) {
            if (distance(canvas()->body().markerPositions().at(i), markers.at(i)) >
                    held.positionError ||
                distance(directionOf(records.at(i).emission), directionOf(emissions.at(i))) >
                    held.directionError)
                report(held.name() + " is shown where it is not.");
        }
        const bool isEditing = m_fixture.child<xyzWidget>("body_pos_xyzWidget")->isEditing() ||
                               m_fixture.child<xyzWidget>("body_ori_xyzWidget")->isEditing();
        if (isEditing || !m_fixture.child<QTabWidget>("tabWidget")->isTabEnabled(0))
            return;
        const Deletions &deletions = m_deletions.at(body);
        if (isPossible("undo_button") != (canvas()->body().undoCount() > 0 || deletions.done > 0))
            report("Undo does not tell whether it can.");
        if (isPossible("redo_button") !=
            (canvas()->body().redoCount() > 0 || deletions.pending > 0))
            report("Redo does not tell whether it can.");
    }

    std::mt19937 m_random;
    Tally m_tally;
    DialogFixture m_fixture;
    QVector<Held> m_bodies;
    QVector<Deletions> m_deletions;
    bool m_faultsGoOn = true;
    std::optional<bsVector> m_selected; ///< the marker that is being deleted, in the stored frame
    QStringList m_log;
    QString m_problem;
};

void print(const Tally &t)
{
    std::printf("%d sequences, %d steps: %d commits, %d applies, %d deletions (%d chose another "
                "body), %d undone, %d redone; edits %d undone, %d redone; %d times kept open; %d "
                "transforms, %d lists, %d shared numbers; %d faults\n",
                t.sequences, t.steps, t.commits, t.applies, t.deletions, t.otherBodyChosen,
                t.undoneDeletions, t.redoneDeletions, t.undoneEdits, t.redoneEdits, t.keptOpen,
                t.transforms, t.listWrites, t.sharedNumbers, t.faults);
    std::fflush(stdout);
}

} // namespace

/// Cancel brings back what the controller held when the dialog was opened.
class TestDialogCancel : public DialogTest {
    Q_OBJECT

private:
    void move(int component, double by)
    {
        fixture().changeValue("body_pos_xyzWidget", component, by);
    }
    void turn(int component, double degrees)
    {
        fixture().changeValue("body_ori_xyzWidget", component, degrees);
    }
    void deleteMarker(int marker, QMessageBox::StandardButton apply = QMessageBox::No)
    {
        canvas()->select(nullptr);
        canvas()->select(canvas()->body().markers().at(marker));
        QVERIFY(fixture().isEnabled("pushButton_deleteMarker"));
        fixture().answers = {QMessageBox::Ok, apply};
        press("pushButton_deleteMarker");
        fixture().answers.clear();
    }
    void cancel(QMessageBox::StandardButton discard)
    {
        fixture().boxes.clear();
        fixture().answers = {discard};
        dialog()->reject();
        fixture().answers.clear();
    }
    QStringList boxTexts()
    {
        QStringList texts;
        for (const SeenBox &box : fixture().boxes)
            texts.append(box.text);
        return texts;
    }
    /// What was written of marker lists: the lines without their beginning.
    QStringList listLines()
    {
        QStringList lines = host().transcript.filter(QRegularExpression("^set body "));
        return lines.replaceInStrings("set body ", QString());
    }
    QStringList tableRow(int row)
    {
        auto *table = fixture().child<QTableWidget>("tableWidget_data");
        QStringList cells;
        for (int column = 0; column < 4; ++column)
            cells.append(table->item(row, column)->text());
        return cells;
    }
    /// x of every marker, as the controller holds it.
    QVector<double> xOf(const QString &type, int number)
    {
        QVector<double> values;
        for (const bsVector &position : host().markers(type, number))
            values.append(position.x);
        return values;
    }

    const QVector<double> kWandX = {0, 100, 0, 30, -60, 20};
    const QVector<double> kSpareX = {0, 80, 0, 20, -30};

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    void whateverWasDoneCancelBringsEverythingBack()
    {
        dropFixture();
        RandomWork work(testSeed());
        for (int i = 0; i < 250; ++i) {
            const QString problem = work.run();
            QVERIFY2(problem.isEmpty(),
                     qPrintable(QStringLiteral("sequence %1: ").arg(i) + problem));
        }
        const Tally tally = work.tally();
        print(tally);
        // Far below what comes by chance.
        QVERIFY(tally.applies > 100 && tally.commits > 800);
        QVERIFY(tally.deletions > 150 && tally.otherBodyChosen > 50);
        QVERIFY(tally.undoneDeletions > 30 && tally.redoneDeletions > 3);
        QVERIFY(tally.undoneEdits > 60 && tally.redoneEdits > 1);
        QVERIFY(tally.keptOpen > 60 && tally.sharedNumbers > 8);
    }

    void whateverFailedMeanwhileCancelBringsEverythingBack()
    {
        dropFixture();
        RandomWork work(testSeed());
        work.withFaults = true;
        for (int i = 0; i < 150; ++i) {
            const QString problem = work.run();
            QVERIFY2(problem.isEmpty(),
                     qPrintable(QStringLiteral("sequence %1: ").arg(i) + problem));
        }
        print(work.tally());
        QVERIFY(work.tally().faults > 150);
    }

    // Cancel that is taken back -------------------------------------------------------------------

    void noBringsDeletedMarkersBackAllTheSameAndKeepsTheWork()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(3);
            deleteMarker(1);
            move(0, 10.0);
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 0, -60, 20}));
            canvas()->select(canvas()->body().markers().at(0));
            host().clearRecords();
            cancel(QMessageBox::No);
            QVERIFY(dialog()->isVisible());
            QCOMPARE(boxTexts(), QStringList{"Discard the changes for all bodies?"});
            QCOMPARE(host().transcript.mid(0, 3),
                     (QStringList{"get status active", "quorel2 tracking stop",
                                  "set body number_of_marker standard b01 6"}));
            QCOMPARE(host().transcript.mid(3 + 2 * 6),
                     (QStringList{"quorel2 tracking start", "get status active"}));
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(host().errors().isEmpty());

            // The view shows them, in the coordinate system that is being worked on.
            QCOMPARE(canvas()->body().markerCount(), 6);
            QVERIFY(canvas()->selection().isEmpty());
            QCOMPARE(canvas()->body().undoCount(), 1);
            QCOMPARE(canvas()->body().baseMatrix().column(3).x, 10.0);
            QCOMPARE(tableRow(1), (QStringList{"2", "90.00", "0.00", "0.00"}));
            QCOMPARE(canvas()->markerRecords().at(1).emission.y, 1.0);
            QVERIFY(fixture().isEnabled("apply_button"));
            QVERIFY(fixture().isEnabled("undo_button"));
            QVERIFY(fixture().isEnabled("redo_button"));
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));

            // Undo goes on with the work, and nothing is written twice.
            press("undo_button");
            QCOMPARE(canvas()->body().undoCount(), 0);
            host().clearRecords();
            cancel(QMessageBox::Yes);
            QVERIFY(!dialog()->isVisible());
            QVERIFY(boxTexts().isEmpty());
            QVERIFY(listLines().isEmpty());
        });
    }

    void afterNoRedoDeletesAgain()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(3);
            deleteMarker(1);
            move(0, 10.0);
            cancel(QMessageBox::No);
            // The deletion reads the body again, and asks for the work first.
            fixture().boxes.clear();
            fixture().answers = {QMessageBox::Yes};
            host().clearRecords();
            press("redo_button");
            QCOMPARE(boxTexts(), QStringList{"Apply the changes?"});
            QCOMPARE(host().transcript.filter("delete_marker"),
                     QStringList{"quorel2 body delete_marker standard b01 m04"});
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, 90, -10, -70, 10}));
            press("redo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, -10, -70, 10}));
            QVERIFY(!fixture().isEnabled("redo_button"));
            // Undo brings back what each of them found.
            press("undo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, 90, -10, -70, 10}));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, 90, -10, 20, -70, 10}));
            press("redo_button");
            cancel(QMessageBox::Yes);
            QVERIFY(!dialog()->isVisible());
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    // Several bodies ------------------------------------------------------------------------------

    void markersOfTwoBodiesComeBackInTheOrderOfTheirFirstDeletion()
    {
        host().addBody("standard", 2, "", true, "tt_std",
                       {{1, 0, 0}, {2, 0, 0}, {3, 60, 0}, {4, 40, 50}, {5, 1, 1}, {6, 2, 3}});
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::SpareProbe);
            deleteMarker(4);
            // The reading behind it takes the number of the vimbar for a place in the list.
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(),
                     int(DialogFixture::Plain));
            QVERIFY(!fixture().isEnabled("undo_button"));
            deleteMarker(0);
            deleteMarker(0);
            fixture().choose(DialogFixture::SpareProbe);
            QVERIFY(fixture().isEnabled("undo_button"));
            QCOMPARE(xOf("vimbar", 2), (QVector<double>{0, 80, 0, 20}));
            QCOMPARE(xOf("standard", 2), (QVector<double>{3, 4, 5, 6}));
            host().clearRecords();
            cancel(QMessageBox::Yes);
            QVERIFY(!dialog()->isVisible());
            // No transform was applied and none is pending: nothing to ask.
            QVERIFY(boxTexts().isEmpty());
        });
        QCOMPARE(listLines().filter("number_of_marker"),
                 (QStringList{"number_of_marker vimbar b02 5", "number_of_marker standard b02 6"}));
        QCOMPARE(host().transcript.count("quorel2 tracking start"), 1);
        QCOMPARE(xOf("vimbar", 2), kSpareX);
        QCOMPARE(xOf("standard", 2), (QVector<double>{1, 2, 3, 4, 5, 6}));
    }

    void undoTakesBackOnlyWhatWasDeletedOfTheChosenBody()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::SpareProbe);
            deleteMarker(4);
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            deleteMarker(5, QMessageBox::Yes);
            move(1, 5.0);
            press("undo_button");
            QCOMPARE(xOf("standard", 1).size(), 6);
            QCOMPARE(canvas()->body().undoCount(), 1);
            press("undo_button");
            QCOMPARE(canvas()->body().undoCount(), 0);
            QVERIFY(!fixture().isEnabled("undo_button"));
            QCOMPARE(xOf("vimbar", 2).size(), 4);
            fixture().choose(DialogFixture::SpareProbe);
            press("undo_button");
            QCOMPARE(xOf("vimbar", 2), kSpareX);
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void bodiesOfOneNumberAreNotTakenForEachOther()
    {
        host().addBody("vimbar", 1, "Probe", true, "tt_std",
                       {{7, 0, 0}, {8, 0, 0}, {9, 60, 0}, {10, 40, 50}, {11, 1, 1}});
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Probe);
            deleteMarker(0);
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(),
                     int(DialogFixture::Wand));
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("redo_button"));
            move(2, 4.0);
            press("apply_button");
            fixture().choose(DialogFixture::Probe);
            press("undo_button");
            QCOMPARE(xOf("vimbar", 1), (QVector<double>{7, 8, 9, 10, 11}));
            QCOMPARE(host().markers("vimbar", 1).first().z, 0.0);
            cancel(QMessageBox::Yes);
        });
        QCOMPARE(host().markers("standard", 1).first().z, 0.0);
        QCOMPARE(host().markers("vimbar", 1).first().z, 0.0);
    }

    // The right frame -----------------------------------------------------------------------------

    void undoOfADeletionKeepsTheEditsThatCameAfterIt()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            move(0, 10.0);
            turn(2, 90.0);
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            QCOMPARE(canvas()->body().undoCount(), 2);
            QCOMPARE(canvas()->body().baseMatrix().column(3).x, 10.0);
            QCOMPARE(tableRow(1), (QStringList{"2", "0.00", "-90.00", "0.00"}));
            QVERIFY(fixture().isEnabled("apply_button"));
            press("undo_button");
            QCOMPARE(tableRow(1), (QStringList{"2", "90.00", "0.00", "0.00"}));
            press("apply_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, 90, -10, 20, -70, 10}));
            cancel(QMessageBox::Yes);
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void whatWasDeletedIsWrittenBackInTheFrameThatTheBodyHasThen()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            turn(0, 90.0);
            press("apply_button");
            host().clearRecords();
            cancel(QMessageBox::Yes);
        });
        // The body's z axis was turned onto y of the controller's frame; (0, 60, 0) is (0, 0, -60).
        QStringList lines = listLines();
        lines.replaceInStrings(QRegularExpression("-0\\.000"), "0.000");
        QCOMPARE(lines.size(), 1 + 2 * 6);
        QCOMPARE(lines.at(1 + 2 * 2),
                 QStringLiteral("marker standard b01 m03 0.000 0.000 -60.000"));
        QCOMPARE(lines.at(2), QStringLiteral("marker_emission standard b01 m01 0.000 1.000 0.000 "
                                             "60.000"));
        QCOMPARE(lines.at(4), QStringLiteral("marker_emission standard b01 m02 0.000 0.000 -1.000 "
                                             "60.000"));
        QCOMPARE(transforms().size(), 1);
        QVERIFY(host().transcript.indexOf(transforms().first()) >
                host().transcript.lastIndexOf(QRegularExpression("^set body .*")));
        QCOMPARE(xOf("standard", 1), kWandX);
        QVERIFY(distance(host().markers("standard", 1).at(2), bsVector(0, 60, 0)) < 1e-3);
        QVERIFY(distance(directionOf(host().emissions("standard", 1).at(1)), bsVector(0, 1, 0)) <
                1e-3);
    }

    void whatIsDeletedAfterAnApplyThatCouldNotReadBackComesBackInTheRightFrame()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            turn(2, 90.0);
            host().failLine("get body number_of_marker standard b01");
            press("apply_button");
            host().clearFaults();
            QCOMPARE(canvas()->body().markerCount(), 6);
            QVERIFY(distance(canvas()->body().markerPositions().at(1), bsVector(0, -100, 0)) <
                    1e-6);
            deleteMarker(1);
            QCOMPARE(xOf("standard", 1).size(), 5);
            press("undo_button");
            QVERIFY(distance(host().markers("standard", 1).at(1), bsVector(0, -100, 0)) < 1e-3);
            QVERIFY(distance(directionOf(host().emissions("standard", 1).at(1)),
                             bsVector(1, 0, 0)) < 1e-3);
            press("redo_button");
            cancel(QMessageBox::Yes);
        });
        QVERIFY(distance(host().markers("standard", 1).at(1), bsVector(100, 0, 0)) < 1e-3);
        QVERIFY(distance(directionOf(host().emissions("standard", 1).at(1)), bsVector(0, 1, 0)) <
                1e-3);
    }

    void theMarkersAreReadAgainBeforeTheWorkIsWritten()
    {
        // "Apply the changes?" comes with the reading that follows the deletion.
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            move(0, 10.0);
            fixture().boxes.clear();
            deleteMarker(0, QMessageBox::Yes);
            QCOMPARE(boxTexts(), (QStringList{"Delete selected marker?", "Apply the changes?"}));
            QCOMPARE(xOf("standard", 1), (QVector<double>{90, -10, 20, -70, 10}));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, 90, -10, 20, -70, 10}));
            press("redo_button");
            cancel(QMessageBox::Yes);
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    // What fails ----------------------------------------------------------------------------------

    void whatCouldNotBeWrittenBackIsTriedAgain_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("error");
        QTest::newRow("count") << "set body number_of_marker standard b01 6"
                               << "Error: Unable to set body target_type";
        QTest::newRow("position") << "set body marker standard b01 m02 100.000 0.000 0.000"
                                  << "Error: Unable to set body marker values";
        QTest::newRow("emission")
            << "set body marker_emission standard b01 m03 1.000 0.000 0.000 60.000"
            << "Error: Unable to set body marker emission";
    }

    void whatCouldNotBeWrittenBackIsTriedAgain()
    {
        QFETCH(QString, line);
        QFETCH(QString, error);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(1);
            move(0, 10.0);
            host().failLine(line);
            cancel(QMessageBox::No);
            QCOMPARE(host().errors(), QStringList{error});
            host().clearFaults();
            host().clearRecords();
            cancel(QMessageBox::No);
            QCOMPARE(listLines().size(), 1 + 2 * 6);
            QVERIFY(host().errors().isEmpty());
            QCOMPARE(xOf("standard", 1), kWandX);
            QCOMPARE(host().emissions("standard", 1).at(2).x, 1.0);

            host().clearRecords();
            cancel(QMessageBox::Yes);
            QVERIFY(listLines().isEmpty());
        });
    }

    void anUndoThatWasWrittenInPartIsMadeUpForByCancel()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(1);
            host().failLine("set body marker standard b01 m02 100.000 0.000 0.000");
            press("undo_button");
            QCOMPARE(host().errors(), QStringList{"Error: Unable to set body marker values"});
            host().clearFaults();
            QVERIFY(xOf("standard", 1) != kWandX);
            // Nobody is asked: deleted markers come back in any case.
            cancel(QMessageBox::Yes);
            QVERIFY(!dialog()->isVisible());
            QVERIFY(boxTexts().isEmpty());
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void whereAnUndoCouldNotBeWrittenNoOtherMarkerGoes_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("held"); ///< markers that the controller has then
        QTest::newRow("count") << "set body number_of_marker standard b01 6" << 5;
        QTest::newRow("position") << "set body marker standard b01 m02 100.000 0.000 0.000" << 6;
    }

    void whereAnUndoCouldNotBeWrittenNoOtherMarkerGoes()
    {
        QFETCH(QString, line);
        QFETCH(int, held);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(4);
            deleteMarker(2);
            press("undo_button");
            QVERIFY(fixture().isEnabled("redo_button"));
            host().failLine(line);
            press("undo_button");
            QCOMPARE(host().markers("standard", 1).size(), held);
            // Which numbers the markers have on the controller is not known now.
            QVERIFY(!fixture().isEnabled("redo_button"));
            canvas()->select(canvas()->body().markers().at(2));
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));
            host().clearRecords();
            dialog()->on_pushButton_deleteMarker_clicked();
            dialog()->on_redo_button_clicked();
            QCOMPARE(host().transcript, QStringList());

            // The undo can be tried again.
            host().clearFaults();
            QVERIFY(fixture().isEnabled("undo_button"));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(fixture().isEnabled("redo_button"));
            press("redo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, 0, 30, 20}));
            deleteMarker(1);
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 0, 30, 20}));
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void whereTheMarkersAreReadAgainAfterAnUndoThatFailedTheyCanBeDeleted()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            host().failLine("set body number_of_marker standard b01 6");
            press("undo_button");
            host().clearFaults();
            QCOMPARE(canvas()->body().markerCount(), 6);
            fixture().choose(DialogFixture::Plain);
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(canvas()->body().markerCount(), 5);
            QVERIFY(!fixture().isEnabled("redo_button"));
            deleteMarker(2);
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, -60, 20}));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, 30, -60, 20}));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
        });
    }

    void markersOfTheOpeningThatCouldNotBeWrittenBackAreNotDeletedAgain()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            move(0, 10.0);
            host().failLine("set body number_of_marker standard b01 6");
            cancel(QMessageBox::No);
            host().clearFaults();
            QVERIFY(!fixture().isEnabled("redo_button"));
            canvas()->select(canvas()->body().markers().at(2));
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));
            QCOMPARE(host().markers("standard", 1).size(), 5);
            // The deletion can still be undone by itself.
            QVERIFY(fixture().isEnabled("undo_button"));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(fixture().isEnabled("redo_button"));
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void aDeletionThatCouldNotBeReadBackIsShownAllTheSame_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("count") << "get body number_of_marker standard b01";
        QTest::newRow("marker") << "get body marker standard b01 m02";
    }

    void aDeletionThatCouldNotBeReadBackIsShownAllTheSame()
    {
        QFETCH(QString, line);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            host().failLine(line);
            deleteMarker(2);
            QCOMPARE(canvas()->body().markerCount(), 5);
            QCOMPARE(canvas()->body().markers().at(2)->record.position.x, 30.0);
            QCOMPARE(canvas()->markerRecords().at(2).emission.z, 1.0);
            QCOMPARE(tableRow(2), (QStringList{"3", "30.00", "40.00", "50.00"}));
            QVERIFY(fixture().isEnabled("undo_button"));

            // The next one is the marker that is seen under its number, and the last that may go.
            deleteMarker(2);
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, -60, 20}));
            QCOMPARE(canvas()->body().markerCount(), 4);
            canvas()->select(canvas()->body().markers().at(2));
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));

            // Each is a step of its own.
            host().clearFaults();
            press("undo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, 30, -60, 20}));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(!fixture().isEnabled("undo_button"));
            host().failLine(line);
            press("redo_button");
            QVERIFY(fixture().isEnabled("undo_button"));
            press("redo_button");
            QVERIFY(!fixture().isEnabled("redo_button"));
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, -60, 20}));
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void whetherADeletionWasCarriedOutIsReadBeforeTheNextOne()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            host().failLine("quorel2 body delete_marker standard b01 m03");
            host().failLine("get body number_of_marker standard b01");
            deleteMarker(2);
            host().clearFaults();
            canvas()->select(canvas()->body().markers().at(2));
            QVERIFY(!fixture().isEnabled("pushButton_deleteMarker"));
            fixture().choose(DialogFixture::Plain);
            fixture().choose(DialogFixture::Wand);
            canvas()->select(canvas()->body().markers().at(2));
            QVERIFY(fixture().isEnabled("pushButton_deleteMarker"));
        });
    }

    void afterAnApplyThatCouldNotBeReadBackADeletionCanBeUndone_data()
    {
        QTest::addColumn<bool>("byQuestion");
        QTest::newRow("apply") << false;
        QTest::newRow("question") << true;
    }

    void afterAnApplyThatCouldNotBeReadBackADeletionCanBeUndone()
    {
        QFETCH(bool, byQuestion);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            move(0, 10.0);
            host().failLine("get body number_of_marker standard b01");
            host().failLine("get body number_of_marker standard b02");
            if (byQuestion) {
                fixture().answers = {QMessageBox::Yes};
                fixture().choose(DialogFixture::Plain);
            } else {
                press("apply_button");
            }
            host().clearFaults();
            QCOMPARE(transforms().size(), 1);
            QVERIFY(!fixture().isEnabled("apply_button"));
            QVERIFY(fixture().isEnabled("undo_button"));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{-10, 90, -10, 20, -70, 10}));
            QVERIFY(fixture().isEnabled("redo_button"));
            cancel(QMessageBox::Yes);
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void aRedoIsForgottenWhereTheBodyHasOtherMarkersMeanwhile_data()
    {
        QTest::addColumn<int>("marker");
        QTest::addColumn<int>("count"); ///< that the controller tells
        QTest::addColumn<bool>("possible");
        QTest::newRow("as before") << 5 << 6 << true;
        QTest::newRow("one less, and the marker is there") << 4 << 5 << true;
        QTest::newRow("one less, and the marker is not there") << 5 << 5 << false;
        QTest::newRow("four") << 2 << 4 << false;
    }

    void aRedoIsForgottenWhereTheBodyHasOtherMarkersMeanwhile()
    {
        QFETCH(int, marker);
        QFETCH(int, count);
        QFETCH(bool, possible);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(marker);
            press("undo_button");
            QVERIFY(fixture().isEnabled("redo_button"));
            fixture().choose(DialogFixture::Plain);
            const QString parameter = QStringLiteral("body number_of_marker standard b01");
            const QString told = host().parameters.value(parameter);
            host().parameters[parameter] = QString::number(count);
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(canvas()->body().markerCount(), count);
            QCOMPARE(fixture().isEnabled("redo_button"), possible);
            host().clearRecords();
            dialog()->on_redo_button_clicked();
            QCOMPARE(host().transcript.filter("delete_marker").size(), possible ? 1 : 0);
            host().parameters[parameter] = told;
        });
    }

    void whereTheMarkersAreNotKnownTheListReadsThemAgain()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            host().failLine("set body number_of_marker standard b01 6");
            press("undo_button");
            host().clearFaults();
            QCOMPARE(canvas()->body().markerCount(), 6);
            auto *list = fixture().child<QComboBox>("body_name");
            // What opening the list says of the body that is shown.
            emit list->highlighted(list->currentIndex());
            QCOMPARE(canvas()->body().markerCount(), 5);
            host().clearRecords();
            emit list->highlighted(list->currentIndex());
            QCOMPARE(host().transcript, QStringList());
            QVERIFY(fixture().isEnabled("undo_button"));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
        });
    }

    void aDeletionAfterAnUndoThatWasWrittenInPartKeepsBothSteps()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(1);
            host().failLine("set body marker standard b01 m02 100.000 0.000 0.000");
            press("undo_button");
            host().clearFaults();
            fixture().choose(DialogFixture::Plain);
            fixture().choose(DialogFixture::Wand);
            const QVector<double> inPart = xOf("standard", 1);
            QVERIFY(inPart.size() == 6 && inPart != kWandX);
            deleteMarker(5);
            press("undo_button");
            QCOMPARE(xOf("standard", 1), inPart);
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(!fixture().isEnabled("undo_button"));
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void aDeletionThatWasRefusedTakesNothingAway_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("errors");
        QTest::newRow("refused") << 0 << QByteArray("quorel2 err no") << 1;
        QTest::newRow("failed") << 1 << QByteArray() << 2;
    }

    void aDeletionThatWasRefusedTakesNothingAway()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(int, errors);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            host().answerLine("quorel2 body delete_marker standard b01 m03", {status, reply, true});
            deleteMarker(2);
            QCOMPARE(host().errors().size(), errors);
            QCOMPARE(host().errors().count("Error: Unable to delete marker of body"), errors);
            QCOMPARE(canvas()->body().markerCount(), 6);
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("redo_button"));
            host().clearFaults();

            // The next one is one step, and Redo deletes no marker that nobody chose.
            deleteMarker(2);
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, 30, -60, 20}));
            press("undo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            QVERIFY(!fixture().isEnabled("undo_button"));
            press("redo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, 30, -60, 20}));
            QVERIFY(!fixture().isEnabled("redo_button"));
            cancel(QMessageBox::Yes);
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void aRedoThatWasRefusedEndsTheRedoing()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(5);
            deleteMarker(4);
            press("undo_button");
            press("undo_button");
            host().answerLine("quorel2 body delete_marker standard b01 m06",
                              {0, "quorel2 err no", true});
            press("redo_button");
            QCOMPARE(xOf("standard", 1), kWandX);
            // The other deletion was counted in the markers that would be left.
            QVERIFY(!fixture().isEnabled("redo_button"));
            host().clearFaults();
            press("undo_button");
            QVERIFY(fixture().isEnabled("redo_button"));
            press("redo_button");
            QCOMPARE(xOf("standard", 1), (QVector<double>{0, 100, 0, 30, -60}));
        });
        QCOMPARE(xOf("standard", 1), kWandX);
    }

    void anEditThatCameToNothingLeavesADeletionToBeRedone()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            press("undo_button");
            // Turned back and forth, and not yet finished.
            auto *group = fixture().child<xyzWidget>("body_pos_xyzWidget");
            auto *x = group->findChildren<bsDoubleWidget *>().first();
            x->adjustValue(10.0);
            x->adjustValue(-10.0);
            QVERIFY(group->isEditing());
            press("undo_button");
            QCOMPARE(canvas()->body().undoCount(), 0);
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("apply_button"));
            QVERIFY(fixture().isEnabled("redo_button"));
            press("redo_button");
            QCOMPARE(xOf("standard", 1).size(), 5);
        });
    }

    void openingAnewForgetsTheDeletionsOfTheLastTime()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            deleteMarker(2);
            dialog()->on_ok_button_clicked();
        });
        QCOMPARE(xOf("standard", 1).size(), 5);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(!fixture().isEnabled("redo_button"));
            host().clearRecords();
            cancel(QMessageBox::Yes);
            QVERIFY(listLines().isEmpty());
        });
        QCOMPARE(xOf("standard", 1).size(), 5);
    }
};

QUOREL2_TEST_MAIN(TestDialogCancel)
#include "tst_DialogCancel.moc"
