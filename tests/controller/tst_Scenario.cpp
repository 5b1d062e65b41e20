#include "TestScenario.h"

#include <controller/CommandTable.h>
#include <controller/ControllerState.h>

#include <tests/support/TestMain.h>

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

const ControllerBody *findBody(const Scenario &scenario,
                               const std::function<bool(const ControllerBody &)> &condition)
{
    const auto found = std::find_if(scenario.bodies.begin(), scenario.bodies.end(), condition);
    return found == scenario.bodies.end() ? nullptr : &*found;
}

bool hasEmissions(const ControllerBody &body)
{
    return std::any_of(
        body.markers.begin(), body.markers.end(),
        [](const ControllerMarker &marker) { return length(marker.emission.direction) > 0.0; });
}

bool isStandard(const ControllerBody &body)
{
    return body.type == "standard";
}

QByteArray documentText()
{
    QFile file(QStringLiteral(QUOREL2_SOURCE_DIR "/docs/scenario.md"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class tst_Scenario : public QObject {
    Q_OBJECT

private slots:
    void builtInScenarioHasABodyOfEachKind()
    {
        const Scenario scenario = Scenario::builtIn();
        for (int count : {4, 6, 20}) {
            QVERIFY2(findBody(scenario,
                              [count](const ControllerBody &body) {
                                  return isStandard(body) && body.calibrated &&
                                         body.targetType == "tt_std" &&
                                         body.markers.size() == count;
                              }),
                     qPrintable(QString::number(count)));
        }
        QVERIFY(findBody(scenario, [](const ControllerBody &body) {
            return isStandard(body) && body.targetType == "tt_5dof";
        }));
        QVERIFY(findBody(scenario, [](const ControllerBody &body) {
            return isStandard(body) && body.targetType.endsWith("_cyl");
        }));
        QVERIFY(findBody(scenario, [](const ControllerBody &body) {
            return isStandard(body) && !body.calibrated;
        }));
        QVERIFY(findBody(scenario, [](const ControllerBody &body) {
            return isStandard(body) && body.description.isEmpty();
        }));
        QVERIFY(findBody(scenario, [](const ControllerBody &body) {
            return isStandard(body) && hasEmissions(body);
        }));
        const ControllerState state(scenario, 1);
        QCOMPARE(state.bodyCount("vimbar"), 2);
        // One lies along the room's axes, the other stands askew, so that it can be aligned.
        for (bool aligned : {true, false}) {
            QVERIFY(findBody(scenario, [aligned](const ControllerBody &body) {
                return isStandard(body) && body.targetType == "tt_std" &&
                       body.motion == Motion::Still &&
                       (body.place.rotation == kIdentity3) == aligned;
            }));
        }
        QVERIFY(scenario.backend.isAtLeast(1, 17));
        QVERIFY(scenario.configurationChangeable);
        QVERIFY(scenario.trackingAvailable);
        QCOMPARE(scenario.reference, QByteArray("none"));
    }

    void markersOfTheBuiltInBodiesCanBeToldApart()
    {
        const Scenario scenario = Scenario::builtIn();
        QVERIFY(!scenario.bodies.isEmpty());
        for (const ControllerBody &body : scenario.bodies) {
            QVector<double> distances;
            for (int i = 0; i < body.markers.size(); ++i) {
                for (int k = 0; k < i; ++k)
                    distances.append(length(body.markers[i].position - body.markers[k].position));
            }
            std::sort(distances.begin(), distances.end());
            QVERIFY(distances.first() > 15.0);
            QVERIFY(distances.last() < 1200.0);
            for (int i = 1; i < distances.size(); ++i)
                QVERIFY(distances[i] - distances[i - 1] > 0.1);
        }
    }

    void everyKeyIsTaken()
    {
        const Scenario scenario = scenarioOf(R"({
            "backend": "1.8.3",
            "configuration": {"changeable": false},
            "tracking": {"available": true, "measuring": true, "reference": "standard b01"},
            "vimbar": {"multiUserAvailable": true, "multiUser": true,
                       "multiUserWithHeadAvailable": true, "multiUserWithHead": true,
                       "output6df": true},
            "output": {"active": ["6df", "6df"], "omitUntracked": true},
            "types": [{"keyword": "Standard", "description": "A body"},
                      {"keyword": "probe", "description": ""}],
            "bodies": [{"type": "standard", "description": "One", "calibrated": false,
                        "targetType": "tt_5dof", "motion": "blinking", "position": [1, -2, 3.5],
                        "anglesDeg": [0, 0, 90],
                        "emissions": [[0, 0, 1, 40]], "markers": [[4, 5, 6]]}],
            "faults": {"replies": [{"reply": 3, "kind": "delay", "delayMs": 50}],
                       "requests": [{"request": "quorel2 set", "kind": "silence", "times": -1}],
                       "dataLines": "silent"}
        })");
        QCOMPARE(scenario.backend.toText(), QByteArray("1.8.3"));
        QVERIFY(!scenario.configurationChangeable);
        QVERIFY(scenario.trackingAvailable);
        QVERIFY(scenario.measuring);
        QCOMPARE(scenario.reference, QByteArray("standard b01"));
        QVERIFY(scenario.multiUserAvailable && scenario.multiUser);
        QVERIFY(scenario.multiUserWithHeadAvailable && scenario.multiUserWithHead);
        QVERIFY(scenario.output6df);
        QCOMPARE(scenario.activeOutputs, QVector<QByteArray>{"6df"});
        QVERIFY(scenario.omitUntracked);
        QCOMPARE(scenario.types.size(), 2);
        QCOMPARE(scenario.types[0].keyword, QByteArray("Standard"));
        QCOMPARE(scenario.types[0].description, QByteArray("A body"));
        QCOMPARE(scenario.bodies.size(), 1);
        const ControllerBody &body = scenario.bodies[0];
        QCOMPARE(body.type, QByteArray("standard"));
        QCOMPARE(body.description, QByteArray("One"));
        QCOMPARE(body.targetType, QByteArray("tt_5dof"));
        QVERIFY(!body.calibrated);
        QVERIFY(body.motion == Motion::Blinking);
        QCOMPARE(body.place.translation.z, 3.5);
        QVERIFY(qAbs(body.place.rotation[1] - 1.0) < 1e-12); // x became y
        QCOMPARE(body.markers.size(), 1);
        QCOMPARE(body.markers[0].position.y, 5.0);
        QCOMPARE(body.markers[0].emission.direction.z, 1.0);
        QCOMPARE(body.markers[0].emission.angleDeg, 40.0);
        QCOMPARE(scenario.numberedFaults.size(), 1);
        QCOMPARE(scenario.numberedFaults[0].reply, 3);
        QVERIFY(scenario.numberedFaults[0].fault.kind == FaultPlan::Kind::Delay);
        QCOMPARE(scenario.numberedFaults[0].fault.delayMs, 50);
        QCOMPARE(scenario.requestFaults.size(), 1);
        QCOMPARE(scenario.requestFaults[0].request, QByteArray("quorel2 set"));
        QCOMPARE(scenario.requestFaults[0].times, -1);
        QVERIFY(scenario.dataFault == DataFault::Silent);
    }

    void theExampleOfTheDocumentIsRead()
    {
        const QByteArray document = documentText();
        QVERIFY(!document.isEmpty());
        const QByteArray opening = "```json\n";
        const int begin = document.indexOf(opening) + opening.size();
        QVERIFY(begin >= opening.size());
        const int end = document.indexOf("```", begin);
        QVERIFY(end > begin);
        QCOMPARE(document.count(opening), 1);
        const QByteArray example = document.mid(begin, end - begin);
        const Scenario scenario = scenarioOf(example);
        QCOMPARE(scenario.backend.toText(), QByteArray("1.17.2"));
        QCOMPARE(scenario.reference, QByteArray("standard b02"));
        QCOMPARE(scenario.types.size(), 2);
        QCOMPARE(scenario.bodies.size(), 3);
        QCOMPARE(scenario.bodies[0].markers.size(), 4);
        QCOMPARE(scenario.bodies[0].markers[2].emission.angleDeg, 45.0);
        QVERIFY(scenario.bodies[1].motion == Motion::Still);
        QVERIFY(!scenario.bodies[2].calibrated);
        QCOMPARE(scenario.activeOutputs, (QVector<QByteArray>{"6d", "6df2"}));
        QCOMPARE(scenario.requestFaults.size(), 1);
        // It is complete: nothing is left that it does not show, except what it would build on.
        const auto shows = [&example](const char *key) {
            return example.contains('"' + QByteArray(key) + '"');
        };
        for (const char *key : {"backend",
                                "configuration",
                                "changeable",
                                "tracking",
                                "available",
                                "measuring",
                                "reference",
                                "vimbar",
                                "multiUserAvailable",
                                "multiUser",
                                "multiUserWithHeadAvailable",
                                "multiUserWithHead",
                                "output6df",
                                "output",
                                "active",
                                "omitUntracked",
                                "types",
                                "keyword",
                                "description",
                                "bodies",
                                "type",
                                "calibrated",
                                "targetType",
                                "motion",
                                "position",
                                "anglesDeg",
                                "markers",
                                "emissions",
                                "faults",
                                "replies",
                                "reply",
                                "kind",
                                "delayMs",
                                "requests",
                                "request",
                                "times",
                                "dataLines",
                                "setups"})
            QVERIFY2(shows(key), key);
    }

    void theDocumentNamesEveryChoice()
    {
        const QByteArray document = documentText();
        QStringList names = Scenario::setupNames();
        names << QStringLiteral("moving") << QStringLiteral("still") << QStringLiteral("lost")
              << QStringLiteral("blinking") << QStringLiteral("error") << QStringLiteral("garbage")
              << QStringLiteral("silence") << QStringLiteral("delay") << QStringLiteral("overLong")
              << QStringLiteral("disconnect") << QStringLiteral("none") << QStringLiteral("silent")
              << QStringLiteral("cut") << QStringLiteral("extends");
        for (const QString &name : qAsConst(names))
            QVERIFY2(document.contains('`' + name.toLatin1() + '`'), qPrintable(name));
    }

    void anEmptyScenarioHasTheTypesAndNoBodies()
    {
        const Scenario scenario = scenarioOf("{}");
        QCOMPARE(scenario.types.size(), 2);
        QVERIFY(scenario.bodies.isEmpty());
        QVERIFY(scenario.configurationChangeable);
    }

    void aScenarioCanExtendTheBuiltInOne()
    {
        const Scenario scenario =
            scenarioOf(R"({"setups": ["locked-configuration"], "extends": "default"})");
        QCOMPARE(scenario.bodies.size(), Scenario::builtIn().bodies.size());
        QVERIFY(!scenario.configurationChangeable);
        QCOMPARE(scenarioOf(R"({"extends": "default", "bodies": []})").bodies.size(), 0);
    }

    void theSameKeysInDifferentObjectsAreNoMistake()
    {
        // What looks like the end of a text or of an object is part of a text here.
        const Scenario scenario =
            scenarioOf("{\"bodies\": [{\"type\": \"standard\", \"markers\": []}, "
                       "{\"type\": \"standard\", \"markers\": [], \"description\": \"},{\\\\\"}], "
                       "\"types\": [{\"keyword\": \"standard\", \"description\": \"types\"}]}");
        QCOMPARE(scenario.bodies.size(), 2);
    }

    void aReferenceMayBeABodyOrAnyOtherWords()
    {
        for (const QByteArray &reference :
             {QByteArray("none"), QByteArray("room"), QByteArray("fixed frame"),
              QByteArray("STANDARD b01"), QByteArray("vimbar b02"), QByteArray("standard body")}) {
            const Scenario scenario = scenarioOf(
                "{\"extends\": \"default\", \"tracking\": {\"reference\": \"" + reference + "\"}}");
            QCOMPARE(scenario.reference, reference);
        }
    }

    void emissionsAreBroughtToUnitLength()
    {
        const Scenario scenario = scenarioOf(R"({"bodies": [{"type": "standard",
            "markers": [[0, 0, 0]], "emissions": [[0.577, 0.577, 0.577, 30]]}]})");
        QVERIFY(qAbs(length(scenario.bodies[0].markers[0].emission.direction) - 1.0) < 1e-12);
    }

    void mistakesAreToldWithTheirPlace_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("error");
        const auto body = [](const QByteArray &rest) {
            return R"({"bodies": [{"type": "standard", "markers": []}, {"type": "vimbar", )" +
                   rest + "}]}";
        };
        struct Row {
            const char *name;
            QByteArray json;
            const char *error;
        };
        const QVector<Row> rows = {
            {"empty file", "", "line 1, column 1: "},
            {"no JSON", "bodies", "line 1, column 2: "},
            {"broken in the third line", "{\n  \"backend\": \"1.17\",\n  \"types\" []\n}",
             "line 3, column 1"},
            {"unfinished", "{\"backend\": \"1.17\"", "line 1, column 1"},
            {"behind the end", "{} {}", "line 1, column "},
            {"key twice", "{\"backend\": \"1.17\",\n  \"types\": [],\n   \"backend\": \"1.18\"}",
             "line 3, column 4: key \"backend\" for the second time"},
            {"key twice inside", body("\"markers\": [], \"description\": \"{\", \"markers\": []"),
             "line 1, column 104: key \"markers\" for the second time"},
            {"key twice, differently written", "{\"types\": [], \"ty\\u0070es\": []}",
             "line 1, column 15: key \"types\" for the second time"},
            {"list at the top", "[]", "line 1, column 1: object expected"},
            {"unknown key", R"({"bodys": []})", "bodys: unknown key"},
            {"unknown key inside", R"({"tracking": {"availble": true}})",
             "tracking.availble: unknown key"},
            {"unknown key of a body", body(R"("markers": [], "marker": [])"),
             "bodies[1].marker: unknown key"},
            {"extends something else", R"({"extends": "other"})", "extends: \"default\" expected"},
            {"backend is a number", R"({"backend": 1.17})",
             "backend: version such as \"1.17\" or \"1.17.2\" expected"},
            {"backend is one number", R"({"backend": "1"})", "backend: version such as"},
            {"list for an object", R"({"tracking": []})", "tracking: object expected"},
            {"text for a flag", R"({"tracking": {"available": "yes"}})",
             "tracking.available: true or false expected"},
            {"number for a flag", R"({"configuration": {"changeable": 0}})",
             "configuration.changeable: true or false expected"},
            {"null for a flag", R"({"vimbar": {"output6df": null}})",
             "vimbar.output6df: true or false expected"},
            {"number for a text", R"({"tracking": {"reference": 3}})",
             "tracking.reference: text expected"},
            {"empty reference", R"({"tracking": {"reference": ""}})",
             "tracking.reference: words joined by single blanks"},
            {"reference with two blanks", R"({"tracking": {"reference": "a  b"}})",
             "tracking.reference: words joined by single blanks"},
            {"reference that is not there", R"({"tracking": {"reference": "standard b01"}})",
             "tracking.reference: there is no such body"},
            {"reference with one digit",
             R"({"extends": "default", "tracking": {"reference": "standard b1"}})",
             "tracking.reference: the number of a body has two to nine digits"},
            {"reference with too many digits",
             R"({"extends": "default", "tracking": {"reference": "standard b9999999999"}})",
             "tracking.reference: the number of a body has two to nine digits"},
            {"reference beyond the last body",
             R"({"extends": "default", "tracking": {"reference": "vimbar b03"}})",
             "tracking.reference: there is no such body"},
            {"reference of no type",
             R"({"extends": "default", "tracking": {"reference": "ghost b01"}})",
             "tracking.reference: there is no such body"},
            {"reference with number zero",
             R"({"extends": "default", "tracking": {"reference": "standard b00"}})",
             "tracking.reference: there is no such body"},
            {"measuring without tracking",
             R"({"tracking": {"available": false, "measuring": true}})",
             "tracking.measuring: tracking is not available"},
            {"multi-user where there is none",
             R"({"vimbar": {"multiUserAvailable": false, "multiUser": true}})",
             "vimbar.multiUser: multi-user is not available"},
            {"head without multi-user", R"({"vimbar": {"multiUserWithHead": true}})",
             "vimbar.multiUserWithHead: multi-user must be on"},
            {"unknown output", R"({"output": {"active": ["6d", "3d"]}})",
             "output.active[1]: one of 6d, 6df, 6df2 expected"},
            {"output is no list", R"({"output": {"active": "6d"}})",
             "output.active: list expected"},
            {"type without keyword", R"({"types": [{"description": "x"}]})",
             "types[0].keyword: missing"},
            {"type without description", R"({"types": [{"keyword": "x"}]})",
             "types[0].description: missing"},
            {"type with a blank", R"({"types": [{"keyword": "a b", "description": ""}]})",
             "types[0].keyword: word of"},
            {"type twice",
             R"({"types": [{"keyword": "a", "description": ""}, {"keyword": "A", "description": ""}]})",
             "types[1].keyword: there is such a type already"},
            {"bodies are no list", R"({"bodies": {}})", "bodies: list expected"},
            {"body is no object", R"({"bodies": [7]})", "bodies[0]: object expected"},
            {"body without type", R"({"bodies": [{"markers": []}]})", "bodies[0].type: missing"},
            {"body without markers", R"({"bodies": [{"type": "standard"}]})",
             "bodies[0].markers: missing"},
            {"body of an unknown type", R"({"bodies": [{"type": "ghost", "markers": []}]})",
             "bodies[0].type: there is no such type"},
            {"marker of two numbers", body(R"("markers": [[1, 2]])"),
             "bodies[1].markers[0]: three numbers expected"},
            {"marker of four numbers", body(R"("markers": [[0, 0, 0], [1, 2, 3, 4]])"),
             "bodies[1].markers[1]: three numbers expected"},
            {"marker of texts", body(R"("markers": [["1", "2", "3"]])"),
             "bodies[1].markers[0]: three numbers expected"},
            {"marker as an object", body(R"("markers": [{"x": 1}])"),
             "bodies[1].markers[0]: three numbers expected"},
            {"marker too far", body(R"("markers": [[1, 2, 1e7]])"),
             "bodies[1].markers[0]: number out of range"},
            {"markers are no list", body(R"("markers": 3)"), "bodies[1].markers: list expected"},
            {"fewer emissions than markers", body(R"("markers": [[1, 2, 3]], "emissions": [])"),
             "bodies[1].emissions: list of as many emissions as markers expected"},
            {"emission of three numbers",
             body(R"("markers": [[1, 2, 3]], "emissions": [[0, 0, 1]])"),
             "bodies[1].emissions[0]: four numbers expected"},
            {"emission too long", body(R"("markers": [[1, 2, 3]], "emissions": [[0, 0, 2, 30]])"),
             "bodies[1].emissions[0]: direction of length 1"},
            {"emission with a negative angle",
             body(R"("markers": [[1, 2, 3]], "emissions": [[0, 0, 1, -3]])"),
             "bodies[1].emissions[0]: angle from 0 to 180 expected"},
            {"unknown motion", body(R"("markers": [], "motion": "fast")"),
             "bodies[1].motion: one of moving, still, lost, blinking expected"},
            {"motion is a number", body(R"("markers": [], "motion": 1)"),
             "bodies[1].motion: one of moving"},
            {"angle too large", body(R"("markers": [], "anglesDeg": [0, 361, 0])"),
             "bodies[1].anglesDeg: number out of range"},
            {"position of two numbers", body(R"("markers": [], "position": [0, 0])"),
             "bodies[1].position: three numbers expected"},
            {"target type with a quote", body(R"("markers": [], "targetType": "tt'")"),
             "bodies[1].targetType: word of"},
            {"empty target type", body(R"("markers": [], "targetType": "")"),
             "bodies[1].targetType: word of"},
            {"target type too long",
             body("\"markers\": [], \"targetType\": \"" + QByteArray(33, 't') + '"'),
             "bodies[1].targetType: word of at most 32"},
            {"description with a quote", body(R"("markers": [], "description": "a\"b")"),
             "bodies[1].description: printable ASCII without double quotes"},
            {"description with a line feed", body(R"("markers": [], "description": "a\nb")"),
             "bodies[1].description: printable ASCII"},
            {"description beyond ASCII",
             body("\"markers\": [], \"description\": \"K\xc3\xb6rper\""),
             "bodies[1].description: printable ASCII"},
            {"description too long",
             body("\"markers\": [], \"description\": \"" + QByteArray(126, 'd') + '"'),
             "bodies[1].description: text too long"},
            {"fault without kind", R"({"faults": {"replies": [{"reply": 1}]}})",
             "faults.replies[0].kind: missing"},
            {"fault of unknown kind", R"({"faults": {"replies": [{"reply": 1, "kind": "boom"}]}})",
             "faults.replies[0].kind: one of error, garbage"},
            {"fault of reply zero", R"({"faults": {"replies": [{"reply": 0, "kind": "error"}]}})",
             "faults.replies[0].reply: number out of range"},
            {"fault of half a reply",
             R"({"faults": {"replies": [{"reply": 1.5, "kind": "error"}]}})",
             "faults.replies[0].reply: whole number expected"},
            {"negative delay",
             R"({"faults": {"replies": [{"reply": 1, "kind": "delay", "delayMs": -1}]}})",
             "faults.replies[0].delayMs: number out of range"},
            {"fault without request", R"({"faults": {"requests": [{"kind": "error"}]}})",
             "faults.requests[0].request: missing"},
            {"unknown data fault", R"({"faults": {"dataLines": "slow"}})",
             "faults.dataLines: one of none, silent, cut expected"},
            {"unknown setup", R"({"setups": ["locked-configuration", "locked"]})",
             "setups[1]: no such setup"},
            {"setup that needs a body", R"({"setups": ["lost-body"]})", "setups[0]: no such setup"},
            {"setups are no list", R"({"setups": "locked-configuration"})",
             "setups: list expected"},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.json << QString::fromLatin1(row.error);
    }

    void mistakesAreToldWithTheirPlace()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, error);
        Scenario scenario;
        scenario.reference = "untouched";
        QString told;
        QVERIFY(!Scenario::fromJson(json, &scenario, &told));
        QVERIFY2(told.startsWith(error), qPrintable(told));
        QVERIFY(told.size() > error.size() / 2);
        QCOMPARE(scenario.reference, QByteArray("untouched"));
    }

    void tooManyEntriesAreRefused()
    {
        QByteArray markers = "[0, 0, 0]";
        for (int i = 0; i < ControllerState::kMaximumMarkers; ++i)
            markers += ", [0, 0, 0]";
        Scenario scenario;
        QString error;
        QVERIFY(!Scenario::fromJson(R"({"bodies": [{"type": "standard", "markers": [)" + markers +
                                        "]}]}",
                                    &scenario, &error));
        QCOMPARE(error, QStringLiteral("bodies[0].markers: too many entries"));
    }

    void damagedFilesAreNeverTakenForMoreThanTheyAre()
    {
        QFile file(QStringLiteral(":/quorel2-controller/default.json"));
        const int bodies = Scenario::builtIn().bodies.size(); // which brings the resource in, too
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray whole = file.readAll();
        std::mt19937 random(testSeed());
        std::uniform_int_distribution<int> place(0, whole.size() - 1);
        std::uniform_int_distribution<int> byte(0, 255);
        int refused = 0;
        for (int i = 0; i < 300; ++i) {
            QByteArray damaged = whole;
            if (i % 3 == 0)
                damaged.truncate(place(random));
            else
                damaged[place(random)] = static_cast<char>(byte(random));
            Scenario scenario;
            QString error;
            if (Scenario::fromJson(damaged, &scenario, &error)) {
                QVERIFY(scenario.bodies.size() <= bodies);
            } else {
                ++refused;
                QVERIFY(!error.isEmpty());
            }
        }
        QVERIFY(refused >= 90);
    }

    void filesAreReadAndNamedInErrors()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath(QStringLiteral("bodies.json"));
        Scenario scenario;
        QString error;
        QVERIFY(!Scenario::load(name, &scenario, &error));
        QVERIFY2(error.startsWith(name + ": "), qPrintable(error));

        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"bodies": 3})");
        file.close();
        QVERIFY(!Scenario::load(name, &scenario, &error));
        QCOMPARE(error, name + ": bodies: list expected");

        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"backend": "1.9"})");
        file.close();
        QVERIFY(Scenario::load(name, &scenario, &error));
        QCOMPARE(scenario.backend.minor, 9);

        QVERIFY(!Scenario::load(folder.path(), &scenario, &error));
    }

    void everySetupFitsTheBuiltInScenario()
    {
        const QStringList names = Scenario::setupNames();
        QVERIFY(names.size() > 10);
        for (const QString &name : names) {
            Scenario scenario = Scenario::builtIn();
            QVERIFY2(scenario.applySetup(name), qPrintable(name));
        }
        Scenario scenario;
        QVERIFY(!scenario.applySetup(QStringLiteral("nothing of the kind")));
        QVERIFY(!scenario.applySetup(QString()));
    }

    void setupsDoWhatTheirNamesSay()
    {
        const auto with = [](const char *name) {
            Scenario scenario = Scenario::builtIn();
            scenario.applySetup(QString::fromLatin1(name));
            return scenario;
        };
        QVERIFY(!with("locked-configuration").configurationChangeable);
        QVERIFY(!with("tracking-unavailable").trackingAvailable);
        QVERIFY(with("multi-user").multiUser);
        QVERIFY(!with("multi-user").multiUserWithHead);
        QVERIFY(with("multi-user-with-head").multiUser);
        QVERIFY(with("multi-user-with-head").multiUserWithHead);
        QVERIFY(!with("multi-user-unavailable").multiUserAvailable);
        QCOMPARE(with("reference-target").reference, QByteArray("standard b01"));
        QCOMPARE(with("one-word-reference").reference, QByteArray("room"));
        QVERIFY(with("vimbar-6df").output6df);
        QVERIFY(with("untracked-left-out").omitUntracked);
        QVERIFY(!with("uncalibrated-body").bodies[0].calibrated);
        QVERIFY(with("lost-body").bodies[0].motion == Motion::Lost);
        QVERIFY(with("no-bodies").bodies.isEmpty());
        QVERIFY(with("cut-data-line").dataFault == DataFault::Cut);
        QVERIFY(with("silent-data-line").dataFault == DataFault::Silent);
        const struct {
            const char *name;
            FaultPlan::Kind kind;
        } faults[] = {{"error-on-third-reply", FaultPlan::Kind::Error},
                      {"garbage-on-third-reply", FaultPlan::Kind::Garbage},
                      {"silence-on-third-reply", FaultPlan::Kind::Silence}};
        for (const auto &fault : faults) {
            const Scenario scenario = with(fault.name);
            QCOMPARE(scenario.numberedFaults.size(), 1);
            QCOMPARE(scenario.numberedFaults[0].reply, 3);
            QVERIFY(scenario.numberedFaults[0].fault.kind == fault.kind);
        }
    }
};

QUOREL2_TEST_MAIN(tst_Scenario)
#include "tst_Scenario.moc"
