#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QtTest>

#include <cmath>

namespace {

using Answer = FakeHost::Answer;
using Operation = FakeHost::Operation;

/// More than any session here can need: a loop that does not end is found out.
constexpr int kMostExchanges = 2000;

// What goes wrong ---------------------------------------------------------------------------------

enum Kind { Commands = 1, Texts = 2, Counts = 4, Numbers = 8, Writes = 16 };
constexpr int kReads = Texts | Counts | Numbers;
constexpr int kReplies = Commands | kReads;
constexpr int kEverything = kReplies | Writes;

Kind kindOf(Operation operation)
{
    switch (operation) {
    case Operation::Command:
        return Commands;
    case Operation::GetString:
        return Texts;
    case Operation::GetInt:
        return Counts;
    case Operation::GetDoubles:
        return Numbers;
    case Operation::Set:
        break;
    }
    return Writes;
}

struct Fault {
    const char *name;
    int kinds; ///< of exchanges that can go wrong so
    int status;
    QByteArray text;
    bool lasts = false; ///< from there on every exchange goes wrong
};

const Fault kFaults[] = {
    {"failed exchange", kEverything, 1, ""},
    {"line lost for good", kEverything, 1, "", true},
    {"failed exchange, other status", kEverything, -1, ""},
    {"failed exchange with a good reply", Commands, -1, "quorel2 ok"},
    {"failed exchange with a good value", Texts, 256, "yes"},
    {"error reply", Commands, 0, "quorel2 err 12 not now"},
    {"nearly ok", Commands, 0, "quorel2 okay"},
    {"garbage", Commands | Texts, 0, "?|%s%n|\xff\x01 'x\""},
    {"two words", Texts, 0, "two words"},
    {"empty value", kReplies, 0, ""},
    {"127 characters", kReplies, 0, QByteArray(127, 'x')},
    {"letters for numbers", Counts | Numbers, 0, "many of them"},
    {"nan", Counts | Numbers, 0, "nan nan nan nan"},
    {"1e999", Counts | Numbers, 0, "1e999 1e999 1e999 1e999"},
    {"1e300", Numbers, 0, "1e300 -1e300 1e300 1e300"},
    {"zeros", Counts | Numbers, 0, "0 0 0 0"},
    {"too few numbers", Numbers, 0, "1 2"},
    {"huge count", Counts, 0, "999999999"},
    {"count of one", Counts, 0, "1"},
    {"negative count", Counts, 0, "-3"},
    {"very negative count", Counts, 0, "-2147483648"},
};

// What is told of it ------------------------------------------------------------------------------

/// The error text of an exchange that begins with a text; the first row that fits is meant. An
/// empty text: nothing is told.
const struct {
    const char *beginning;
    const char *text;
} kErrorTexts[] = {
    {"get config is_changeable", ""},
    {"get tracking available", ""},
    {"get tracking reference", "Error: Unable to get info reference target"},
    {"get status active", "Error: Unable to check mea status"},
    {"get vimbar multiuser", ""},
    {"get vimbar number_of_devices", "Error: Unable to get number of vimbars"},
    {"get body number_of_types", "Error: Unable to get number of types for body"},
    {"get body type t", "Error: Unable to check body type"},
    {"get body number_of_bodies ", "Error: Unable to check number of bodies for body"},
    {"get body type_desc ", "Error: Unable to check body type description"},
    {"get body calibrated ", "Error: Unable to check body cali info"},
    {"get body target_type ", "Error: Unable to check body target_type"},
    {"get body desc ", "Error: Unable to check body description"},
    {"get body number_of_marker ", "Error: Unable to check body marker info"},
    {"get body marker ", "Error: Unable to check body marker info"},
    {"get body marker_emission ", "Error: Unable to check body marker emission info"},
    {"set output active ", ""},
    {"set vimbar multiuser_with_head no",
     "Error: Unable to deactivate multi user Vimbar with head"},
    {"set vimbar multiuser_with_head yes", "Error: Unable to activate multi user Vimbar with head"},
    {"set vimbar multiuser no", "Error: Unable to deactivate multi user Vimbar"},
    {"set vimbar multiuser yes", "Error: Unable to activate multi user Vimbar"},
    {"set tracking reference none", "Error: Unable to unset reference target"},
    {"set tracking reference ", "Error: Unable to restore reference target"},
    {"set body number_of_marker ", "Error: Unable to set body target_type"},
    {"set body marker ", "Error: Unable to set body marker values"},
    {"set body marker_emission ", "Error: Unable to set body marker emission"},
    {"quorel2 tracking ", ""},
    {"quorel2 get vimbar output_6df", ""},
    {"quorel2 body transform ", "Error: Unable to set body transformation"},
    {"quorel2 body delete_marker ", "Error: Unable to delete marker of body"},
};

bool holdsFiniteNumbers(const QByteArray &text, int count)
{
    const QList<QByteArray> words = text.split(' ');
    for (int i = 0; i < count; ++i) {
        bool isNumber = false;
        const double number = words.value(i).toDouble(&isNumber);
        if (!isNumber || !std::isfinite(number))
            return false;
    }
    return true;
}

/// How often an exchange that ended so is told of. What is told depends on what the exchange was
/// for, which the line before it shows.
int timesTold(const QString &lineBefore, const QString &line, const FakeHost::Outcome &outcome)
{
    const int failed = outcome.status != 0 ? 1 : 0;
    const int notOk = outcome.text != "quorel2 ok" ? 1 : 0;
    if (line.startsWith("quorel2 body delete_marker "))
        return failed + notOk;
    if (line.startsWith("quorel2 body transform "))
        return std::max(failed, notOk);
    // Asked before a stop, the state may stay unknown.
    if (line == "get status active") {
        const bool afterStart =
            lineBefore == "quorel2 tracking start" || lineBefore.startsWith("set output ") ||
            lineBefore.startsWith("set body ") || lineBefore.startsWith("quorel2 body delete");
        return afterStart ? failed : 0;
    }
    // The counts that are asked for outside of the list have substitutes.
    if (line.startsWith("get body number_of_bodies "))
        return lineBefore.startsWith("get body type t") ? failed : 0;
    if (line.startsWith("get body marker "))
        return failed || !holdsFiniteNumbers(outcome.text, 3) ? 1 : 0;
    if (line.startsWith("get body marker_emission "))
        return failed || !holdsFiniteNumbers(outcome.text, 4) ? 1 : 0;
    return failed;
}

/// Transcript and outcomes of a session with what must have been posted, each text right behind
/// the exchange that it is about.
QStringList withExpectedPosts(const QStringList &lines, const QVector<FakeHost::Outcome> &outcomes)
{
    QStringList expected;
    for (int i = 0; i < lines.size(); ++i) {
        const QString &line = lines.at(i);
        expected += line;
        QString text = "no such exchange is known";
        for (const auto &row : kErrorTexts) {
            if (line.startsWith(row.beginning)) {
                text = row.text;
                break;
            }
        }
        const int times = text.isEmpty() ? 0 : timesTold(lines.value(i - 1), line, outcomes.at(i));
        for (int time = 0; time < times; ++time)
            expected += "post standard QUOREL4 1 " + text;
    }
    return expected;
}

/// Where two lists differ first; empty if they do not.
QString difference(const QStringList &actual, const QStringList &expected)
{
    for (int i = 0; i < std::max(actual.size(), expected.size()); ++i) {
        if (actual.value(i, "(end)") != expected.value(i, "(end)"))
            return QStringLiteral("line %1 is \"%2\" and not \"%3\"")
                .arg(i + 1)
                .arg(actual.value(i, "(end)"), expected.value(i, "(end)"));
    }
    return QString();
}

// The sessions ------------------------------------------------------------------------------------

enum World { Plain, ClosedByOk, MultiUserStaysOn, NoTracking, OldBackend, ByRequest };

const struct {
    World world;
    const char *name;
} kWorlds[] = {
    {Plain, "whole session"},    {ClosedByOk, "closed by OK"},
    {NoTracking, "no tracking"}, {MultiUserStaysOn, "multi-user mode stays on"},
    {OldBackend, "old backend"}, {ByRequest, "by request"},
};

const char kUnwillingLine[] = "set vimbar multiuser no";
const QString kReference = QStringLiteral("standard 02");
const QString kAnswerToRequest = QStringLiteral("post Calibration BodyAdjustmentModule 1 reopen");

/// An exchange that was made to go wrong.
struct Hit {
    int number = 0; ///< of the exchange; 0: there is none
    QString line;
    Answer answer;
    bool lasts = false;

    bool tellsUntruth() const { return number != 0 && answer.status == 0; }
};

} // namespace

class TestDialogFailures : public DialogTest {
    Q_OBJECT

private:
    World m_world = Plain;
    QMap<QString, QString> m_parameters; ///< of the controller before each session

    void prepare(World world)
    {
        m_world = world;
        QMap<QString, QString> &p = host().parameters;
        for (const char *name :
             {"vimbar multiuser_available", "vimbar multiuser",
              "vimbar multiuser_with_head_available", "vimbar multiuser_with_head"})
            p[name] = "yes";
        p["tracking reference"] = kReference;
        if (world == NoTracking)
            p["tracking available"] = "no";
        if (world == OldBackend)
            host().setVersion(0, 5);
        m_parameters = p;
        fixture().answerTo = [](const SeenBox &box) {
            return box.text == "Delete selected marker?" ? QMessageBox::Ok : QMessageBox::Yes;
        };
        fixture().makeDialog();
    }

    void pressIfEnabled(const char *button) { fixture().child<QAbstractButton>(button)->click(); }
    void choose(int position)
    {
        auto *list = fixture().child<QComboBox>("body_name");
        if (list->isEnabled() && position < list->count())
            list->setCurrentIndex(position);
    }
    void move(double byMm)
    {
        if (fixture().isEnabled("body_pos_xyzWidget"))
            fixture().changeValue("body_pos_xyzWidget", 0, byMm);
    }
    /// What a user can do with what the controller lets him see.
    void work()
    {
        choose(DialogFixture::Wand);
        move(10.0);
        pressIfEnabled("apply_button");
        if (canvas()->body().markerCount() > 2)
            fixture().selectMarker(2);
        pressIfEnabled("pushButton_deleteMarker");
        pressIfEnabled("undo_button");
        pressIfEnabled("redo_button");
        choose(DialogFixture::Probe);
        move(5.0);
        choose(DialogFixture::SpareProbe);
        move(-5.0);
        pressIfEnabled(m_world == ClosedByOk ? "ok_button" : "cancel_button");
    }

    void runSession(const std::function<std::optional<Answer>(const FakeHost::Exchange &)> &hook)
    {
        host().clearRecords();
        host().clearFaults();
        host().parameters = m_parameters;
        host().hook = [this, hook](const FakeHost::Exchange &exchange) {
            if (exchange.number > kMostExchanges)
                qFatal("The session does not end.");
            std::optional<Answer> answer = hook(exchange);
            if (!answer && m_world == MultiUserStaysOn && exchange.line == kUnwillingLine)
                answer = Answer{1, {}, true};
            return answer;
        };
        fixture().boxes.clear();
        if (m_world == ByRequest)
            fixture().quickRequestedSession("Calibration", "standard|1", [this] { work(); });
        else
            fixture().quickSession([this] { work(); });
    }

    /// What the session did that it should not have done; empty: nothing.
    QString complaint(const Hit &hit)
    {
        if (dialog()->isVisible())
            return "the dialog is still open";
        QStringList told = host().journal;
        QStringList subscriptions;
        for (int i = told.size() - 1; i >= 0; --i) {
            if (told.at(i).startsWith("add ") || told.at(i).startsWith("remove "))
                subscriptions.prepend(told.takeAt(i));
        }
        if (told.removeAll(kAnswerToRequest) != (m_world == ByRequest ? 1 : 0))
            return "the request was not answered once";
        for (const QString &problem :
             {complaintOfSubscriptions(subscriptions), complaintOfBoxes(),
              difference(told, withExpectedPosts(host().transcript, host().outcomes)),
              complaintOfRefusals(hit), complaintOfState(hit)}) {
            if (!problem.isEmpty())
                return problem;
        }
        return QString();
    }

    QString complaintOfSubscriptions(const QStringList &subscriptions)
    {
        const bool plainForm = host().transcript.contains("set output active chmon 6df yes");
        const QString line = plainForm ? "6df" : "6df2";
        if (!host().requesters.isEmpty())
            return "a data line is still subscribed";
        return difference(subscriptions, {"add 6d", "add " + line, "remove 6d", "remove " + line});
    }

    QString complaintOfBoxes()
    {
        const QStringList known = {"Apply the changes?", "Delete selected marker?",
                                   "Discard the changes for all bodies?"};
        for (const SeenBox &box : fixture().boxes) {
            if (box.title != "Error loading body" && !known.contains(box.text))
                return "unexpected box: " + box.text;
        }
        return QString();
    }

    /// A controller that tells the truth but for one refusal finds nothing else to refuse.
    QString complaintOfRefusals(const Hit &hit)
    {
        if (hit.lasts || hit.tellsUntruth())
            return QString();
        const QStringList &lines = host().transcript;
        for (int i = 0; i < lines.size(); ++i) {
            if (i + 1 != hit.number && lines.at(i) != kUnwillingLine &&
                timesTold(lines.value(i - 1), lines.at(i), host().outcomes.at(i)) > 0)
                return "refused too: " + lines.at(i);
        }
        return QString();
    }

    /// What the controller was asked to restore and refused is not the dialog's fault.
    QString complaintOfState(const Hit &hit)
    {
        if (hit.lasts)
            return QString();
        if (host().parameters.value("status active") == "mea")
            return "the measurement still runs";
        for (const char *name : {"vimbar multiuser", "vimbar multiuser_with_head"}) {
            if (hit.line != QStringLiteral("set %1 yes").arg(name) &&
                host().parameters.value(name) != "yes")
                return QStringLiteral("%1 is left off").arg(name);
        }
        QString wanted = kReference;
        if (hit.line == "set tracking reference " + kReference) {
            wanted = "none";
        } else if (hit.line == "get tracking reference" && hit.tellsUntruth() &&
                   !hit.answer.text.isEmpty()) {
            // What was told comes back, if it is a reference of two words.
            wanted = QString::fromLatin1(hit.answer.text);
            if (wanted.split(' ').size() != 2)
                wanted = "none";
        }
        if (host().parameters.value("tracking reference") != wanted)
            return "the reference is left at " + host().parameters.value("tracking reference");
        return QString();
    }

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    void eachFaultAtEachExchangeIsToldAndTheSessionEnds_data()
    {
        QTest::addColumn<int>("world");
        QTest::addColumn<int>("faultIndex");
        const QByteArrayList inAllWorlds = {"failed exchange", "garbage", "huge count",
                                            "count of one"};
        for (const auto &row : kWorlds) {
            int index = 0;
            for (const Fault &fault : kFaults) {
                // The other sessions differ from the whole one by few exchanges.
                if (row.world == Plain || inAllWorlds.contains(fault.name) ||
                    (row.world == ClosedByOk && fault.lasts))
                    QTest::addRow("%s: %s", row.name, fault.name) << int(row.world) << index;
                ++index;
            }
        }
    }

    void eachFaultAtEachExchangeIsToldAndTheSessionEnds()
    {
        QFETCH(int, world);
        QFETCH(int, faultIndex);
        const Fault &fault = kFaults[faultIndex];
        prepare(World(world));
        QVector<Operation> operations;
        runSession([&](const FakeHost::Exchange &exchange) {
            operations.append(exchange.operation);
            return std::optional<Answer>();
        });
        const QStringList undisturbed = host().transcript;
        QCOMPARE(complaint(Hit()), QString());

        int hits = 0;
        for (int n = 1; n <= undisturbed.size(); ++n) {
            if ((fault.kinds & kindOf(operations.at(n - 1))) == 0)
                continue;
            ++hits;
            const Hit hit{n, undisturbed.at(n - 1), {fault.status, fault.text, true}, fault.lasts};
            runSession([&](const FakeHost::Exchange &exchange) {
                const bool isHit = exchange.number == n || (hit.lasts && exchange.number > n);
                return isHit ? std::optional<Answer>(hit.answer) : std::nullopt;
            });
            // Nothing of the session before is left over.
            QString problem = difference(host().transcript.mid(0, n), undisturbed.mid(0, n));
            if (problem.isEmpty())
                problem = complaint(hit);
            QVERIFY2(problem.isEmpty(),
                     qPrintable(
                         QStringLiteral("exchange %1, \"%2\": %3").arg(n).arg(hit.line, problem)));
        }
        QVERIFY(hits > 0);
    }

    /// The faults of the other case are only as good as the session that they hit.
    void theUndisturbedSessionReachesEverything()
    {
        prepare(Plain);
        runSession([](const FakeHost::Exchange &) { return std::optional<Answer>(); });
        QVERIFY(host().errors().isEmpty());
        QStringList texts;
        for (const SeenBox &box : fixture().boxes)
            texts += box.text;
        QCOMPARE(texts, (QStringList{"Delete selected marker?", "Apply the changes?",
                                     "Discard the changes for all bodies?"}));
        QStringList missing;
        for (const auto &row : kErrorTexts) {
            const QString beginning = row.beginning;
            bool found = false;
            for (const QString &line : host().transcript)
                found = found || line.startsWith(beginning);
            if (!found)
                missing += beginning;
        }
        // Asked only when the multi-user mode stays on.
        QCOMPARE(missing, QStringList{"get vimbar number_of_devices"});
    }
};

QUOREL2_TEST_MAIN(TestDialogFailures)
#include "tst_DialogFailures.moc"
