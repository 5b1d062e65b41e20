#include "TestScenario.h"

#include <controller/CommandTable.h>
#include <controller/ControllerState.h>

#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QFile>
#include <QSet>
#include <QtTest>

#include <random>

namespace {

class RecordedSubscription : public DataSubscription {
public:
    void connectData(quint16 udpPort) override { port = udpPort; }
    void disconnectData() override { port = 0; }

    quint16 port = 0;
};

struct Exchange {
    const char *name;
    QByteArray request;
    QByteArray reply;
};

} // namespace

class tst_CommandTable : public QObject {
    Q_OBJECT

private slots:
    void wellFormedRequestsAreAnswered_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("reply");
        const QVector<Exchange> rows = {
            {"version", "quorel2 get backend version", "quorel2 set backend version 1.17.2"},
            {"changeable", "quorel2 get config is_changeable",
             "quorel2 set config is_changeable yes"},
            {"status", "quorel2 get status active", "quorel2 set status active idle"},
            {"tracking available", "quorel2 get tracking available",
             "quorel2 set tracking available yes"},
            {"reference", "quorel2 get tracking reference", "quorel2 set tracking reference none"},
            {"output on", "quorel2 get output active chmon 6d",
             "quorel2 set output active chmon 6d yes"},
            {"output off", "quorel2 get output active chmon 6df2",
             "quorel2 set output active chmon 6df2 no"},
            {"devices", "quorel2 get vimbar number_of_devices",
             "quorel2 set vimbar number_of_devices 1"},
            {"multi-user available", "quorel2 get vimbar multiuser_available",
             "quorel2 set vimbar multiuser_available yes"},
            {"multi-user", "quorel2 get vimbar multiuser", "quorel2 set vimbar multiuser no"},
            {"with head available", "quorel2 get vimbar multiuser_with_head_available",
             "quorel2 set vimbar multiuser_with_head_available yes"},
            {"with head", "quorel2 get vimbar multiuser_with_head",
             "quorel2 set vimbar multiuser_with_head no"},
            {"6df", "quorel2 get vimbar output_6df", "quorel2 set vimbar output_6df no"},
            {"number of types", "quorel2 get body number_of_types",
             "quorel2 set body number_of_types 2"},
            {"first type", "quorel2 get body type t01", "quorel2 set body type t01 standard"},
            {"last type", "quorel2 get body type t02", "quorel2 set body type t02 vimbar"},
            {"type description", "quorel2 get body type_desc standard",
             "quorel2 set body type_desc standard \"Standard body\""},
            {"bodies", "quorel2 get body number_of_bodies standard",
             "quorel2 set body number_of_bodies standard 2"},
            {"bodies of a type in other case", "quorel2 get body number_of_bodies Standard",
             "quorel2 set body number_of_bodies Standard 2"},
            {"calibrated", "quorel2 get body calibrated standard b01",
             "quorel2 set body calibrated standard b01 yes"},
            {"not calibrated", "quorel2 get body calibrated standard b02",
             "quorel2 set body calibrated standard b02 no"},
            {"target type", "quorel2 get body target_type standard b02",
             "quorel2 set body target_type standard b02 'tt_5dof'"},
            {"description", "quorel2 get body desc vimbar b01",
             "quorel2 set body desc vimbar b01 \"Vimbar right\""},
            {"no description", "quorel2 get body desc standard b02",
             "quorel2 set body desc standard b02 \"\""},
            {"number of markers", "quorel2 get body number_of_marker standard b01",
             "quorel2 set body number_of_marker standard b01 3"},
            {"marker", "quorel2 get body marker standard b01 m02",
             "quorel2 set body marker standard b01 m02 -4.500 0.000 1234.568"},
            {"emission", "quorel2 get body marker_emission standard b01 m03",
             "quorel2 set body marker_emission standard b01 m03 0.600 0.000 0.800 12.500"},
            {"no emission", "quorel2 get body marker_emission standard b01 m02",
             "quorel2 set body marker_emission standard b01 m02 0.000 0.000 0.000 0.000"},
            {"indices of more digits", "quorel2 get body marker standard b0001 m000000002",
             "quorel2 set body marker standard b0001 m000000002 -4.500 0.000 1234.568"},
            {"blanks between words", "  quorel2   get  status   active ",
             "quorel2 set status active idle"},

            {"set reference", "quorel2 set tracking reference standard b01", "quorel2 ok"},
            {"unset reference", "quorel2 set tracking reference none", "quorel2 ok"},
            {"set output", "quorel2 set output active chmon 6df2 yes", "quorel2 ok"},
            {"unset output", "quorel2 set output active chmon 6d no", "quorel2 ok"},
            {"set multi-user", "quorel2 set vimbar multiuser yes", "quorel2 ok"},
            {"unset with head", "quorel2 set vimbar multiuser_with_head no", "quorel2 ok"},
            {"set number of markers", "quorel2 set body number_of_marker standard b01 12",
             "quorel2 ok"},
            {"set marker", "quorel2 set body marker standard b01 m03 -1.000 2.500 1e1",
             "quorel2 ok"},
            {"set emission",
             "quorel2 set body marker_emission vimbar b01 m01 0.577 0.577 -0.577 40.000",
             "quorel2 ok"},

            {"start", "quorel2 tracking start", "quorel2 ok"},
            {"stop", "quorel2 tracking stop", "quorel2 ok"},
            {"transform",
             "quorel2 body transform standard b01 1.000 -2.000 3.500 1.00000000 0.00000000 "
             "0.00000000 0.00000000 1.00000000 0.00000000 0.00000000 0.00000000 1.00000000",
             "quorel2 ok"},
            {"delete marker", "quorel2 body delete_marker standard b01 m02", "quorel2 ok"},
            {"connect data", "quorel2 data connect 5000", "quorel2 ok"},
            {"disconnect data", "quorel2 data disconnect", "quorel2 ok"},
        };
        for (const Exchange &row : rows)
            QTest::newRow(row.name) << row.request << row.reply;
    }

    void wellFormedRequestsAreAnswered()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, reply);
        ControllerState state(smallScenario(), 1);
        RecordedSubscription subscription;
        QCOMPARE(CommandTable::answer(request, &state, &subscription), reply);
    }

    void malformedRequestsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("reply");
        const QByteArray transform = "quorel2 body transform standard b01 ";
        const QVector<Exchange> rows = {
            {"empty", "", "unknown command"},
            {"blanks", "   ", "unknown command"},
            {"another system", "quorel get status active", "unknown command"},
            {"capital letters", "QUOREL2 get status active", "unknown command"},
            {"only the name", "quorel2", "unknown command"},
            {"only a verb", "quorel2 get", "unknown parameter"},
            {"only another verb", "quorel2 set", "unknown parameter"},
            {"reply as a request", "quorel2 ok", "unknown command"},
            {"unknown verb", "quorel2 put status active", "unknown command"},
            {"unknown parameter", "quorel2 get status passive", "unknown parameter"},
            {"half a parameter", "quorel2 get status", "unknown parameter"},
            {"parameter without a blank", "quorel2 getstatus active", "unknown command"},
            {"parameter in capital letters", "quorel2 get STATUS active", "unknown parameter"},
            {"unknown command", "quorel2 tracking pause", "unknown command"},
            {"half a command", "quorel2 tracking", "unknown command"},
            {"command that is read", "quorel2 get tracking start", "parameter cannot be read"},
            {"command that is set", "quorel2 set tracking start", "parameter cannot be set"},
            {"parameter without a verb", "quorel2 status active", "unknown command"},
            {"read-only parameter", "quorel2 set status active mea", "parameter cannot be set"},
            {"other read-only parameter", "quorel2 set body desc standard b01 \"x\"",
             "parameter cannot be set"},
            {"format characters", "quorel2 get %s%n%s%n", "unknown parameter"},
            {"NUL", QByteArray("quorel2 get status\0active", 25), "invalid character"},
            {"trailing NUL", QByteArray("quorel2 get status active\0", 26), "invalid character"},
            {"tabulator", "quorel2\tget status active", "invalid character"},
            {"carriage return inside", "quorel2 get\rstatus active", "invalid character"},
            {"line feed inside", "quorel2 get status\nactive", "invalid character"},
            {"Latin-1", "quorel2 get body desc k\xf6rper b01", "invalid character"},
            {"UTF-8", "quorel2 get status active \xe2\x82\xac", "invalid character"},
            {"delete character", "quorel2 get status active\x7f", "invalid character"},
            {"argument too many", "quorel2 get status active now", "wrong number of arguments"},
            {"argument missing", "quorel2 get body desc standard", "wrong number of arguments"},
            {"no arguments", "quorel2 get body desc", "wrong number of arguments"},
            {"unknown type", "quorel2 get body number_of_bodies nothing", "no such type"},
            {"part of a type", "quorel2 get body number_of_bodies stand", "no such type"},
            {"unknown type of a body", "quorel2 get body desc nothing b01", "no such type"},
            {"body number without letter", "quorel2 get body desc standard 01", "bad body number"},
            {"body number with another letter", "quorel2 get body desc standard m01",
             "bad body number"},
            {"body number with a capital letter", "quorel2 get body desc standard B01",
             "bad body number"},
            {"body number of one digit", "quorel2 get body desc standard b1", "bad body number"},
            {"body number without digits", "quorel2 get body desc standard b", "bad body number"},
            {"negative body number", "quorel2 get body desc standard b-1", "bad body number"},
            {"body number with a sign", "quorel2 get body desc standard b+1", "bad body number"},
            {"hexadecimal body number", "quorel2 get body desc standard b0x1", "bad body number"},
            {"body number with a point", "quorel2 get body desc standard b01.0", "bad body number"},
            {"body number of ten digits", "quorel2 get body desc standard b0000000001",
             "bad body number"},
            {"body number beyond an int", "quorel2 get body desc standard b99999999999999999999",
             "bad body number"},
            {"body zero", "quorel2 get body desc standard b00", "no such body"},
            {"body beyond the last", "quorel2 get body desc standard b03", "no such body"},
            {"largest body number", "quorel2 get body desc standard b999999999", "no such body"},
            {"marker of a missing body", "quorel2 get body marker vimbar b02 m01", "no such body"},
            {"marker zero", "quorel2 get body marker standard b01 m00", "no such marker"},
            {"marker beyond the last", "quorel2 get body marker standard b01 m04",
             "no such marker"},
            {"emission beyond the last", "quorel2 get body marker_emission standard b01 m04",
             "no such marker"},
            {"marker number of one digit", "quorel2 get body marker standard b01 m1",
             "bad marker number"},
            {"type zero", "quorel2 get body type t00", "no such type"},
            {"type beyond the last", "quorel2 get body type t03", "no such type"},
            {"type number without letter", "quorel2 get body type 01", "bad type number"},
            {"unknown channel", "quorel2 get output active ch01 6d", "value out of range"},
            {"unknown line", "quorel2 set output active chmon 3d yes", "value out of range"},
            {"neither yes nor no", "quorel2 set vimbar multiuser maybe", "yes or no expected"},
            {"capital yes", "quorel2 set vimbar multiuser YES", "yes or no expected"},
            {"no flag", "quorel2 set vimbar multiuser", "wrong number of arguments"},
            {"head without multi-user", "quorel2 set vimbar multiuser_with_head yes",
             "not available"},
            {"no reference", "quorel2 set tracking reference", "wrong number of arguments"},
            {"unknown reference", "quorel2 set tracking reference standard b77", "no such body"},
            {"no count", "quorel2 set body number_of_marker standard b01",
             "wrong number of arguments"},
            {"count in words", "quorel2 set body number_of_marker standard b01 five",
             "count expected"},
            {"negative count", "quorel2 set body number_of_marker standard b01 -1",
             "count expected"},
            {"broken count", "quorel2 set body number_of_marker standard b01 1.5",
             "count expected"},
            {"count too large", "quorel2 set body number_of_marker standard b01 201",
             "value out of range"},
            {"count beyond an int", "quorel2 set body number_of_marker standard b01 4294967297",
             "count expected"},
            {"two coordinates", "quorel2 set body marker standard b01 m01 1 2",
             "wrong number of arguments"},
            {"four coordinates", "quorel2 set body marker standard b01 m01 1 2 3 4",
             "wrong number of arguments"},
            {"decimal commas", "quorel2 set body marker standard b01 m01 1,5 2,5 3,5",
             "number expected"},
            {"coordinate that is no number", "quorel2 set body marker standard b01 m01 1 nan 3",
             "number expected"},
            {"infinite coordinate", "quorel2 set body marker standard b01 m01 inf 2 3",
             "number expected"},
            {"coordinate too large to be finite",
             "quorel2 set body marker standard b01 m01 1 2 1e400", "number expected"},
            {"coordinate out of range", "quorel2 set body marker standard b01 m01 1 2 1000001",
             "value out of range"},
            {"hexadecimal coordinate", "quorel2 set body marker standard b01 m01 0x10 2 3",
             "number expected"},
            {"moved marker beyond the last", "quorel2 set body marker standard b01 m04 1 2 3",
             "no such marker"},
            {"emission of length two", "quorel2 set body marker_emission standard b01 m01 0 0 2 30",
             "value out of range"},
            {"emission with too wide an angle",
             "quorel2 set body marker_emission standard b01 m01 0 0 1 181", "value out of range"},
            {"emission of three numbers", "quorel2 set body marker_emission standard b01 m01 0 0 1",
             "wrong number of arguments"},
            {"transform of eleven numbers", transform + "0 0 0 1 0 0 0 1 0 0 0",
             "wrong number of arguments"},
            {"transform of thirteen numbers", transform + "0 0 0 1 0 0 0 1 0 0 0 1 0",
             "wrong number of arguments"},
            {"transform by no number", transform + "0 0 0 nan 0 0 0 1 0 0 0 1", "number expected"},
            {"transform by a mirror", transform + "0 0 0 1 0 0 0 1 0 0 0 -1",
             "not a rotation matrix"},
            {"transform by zeros", transform + "0 0 0 0 0 0 0 0 0 0 0 0", "not a rotation matrix"},
            {"transform out of the room", transform + "1e7 0 0 1 0 0 0 1 0 0 0 1",
             "value out of range"},
            {"transform of a missing body",
             "quorel2 body transform standard b09 0 0 0 1 0 0 0 1 0 0 0 1", "no such body"},
            {"deleting a missing marker", "quorel2 body delete_marker standard b01 m04",
             "no such marker"},
            {"deleting marker zero", "quorel2 body delete_marker standard b01 m00",
             "no such marker"},
            {"port zero", "quorel2 data connect 0", "bad port number"},
            {"port too large", "quorel2 data connect 65536", "bad port number"},
            {"port with a sign", "quorel2 data connect -5", "bad port number"},
            {"port in words", "quorel2 data connect http", "bad port number"},
            {"no port", "quorel2 data connect", "wrong number of arguments"},
        };
        for (const Exchange &row : rows)
            QTest::newRow(row.name) << row.request << "quorel2 err " + row.reply;
    }

    void malformedRequestsAreRefused()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, reply);
        ControllerState state(smallScenario(), 1);
        RecordedSubscription subscription;
        subscription.port = 9;
        QCOMPARE(CommandTable::answer(request, &state, &subscription), reply);
        // Nothing was done.
        QCOMPARE(subscription.port, quint16(9));
        QCOMPARE(state.findBody("standard", 1)->markers.size(), 3);
        QCOMPARE(state.findMarker("standard", 1, 1)->position.x, 1.0);
        QCOMPARE(state.findMarker("standard", 1, 1)->emission.angleDeg, 30.0);
        QCOMPARE(state.reference(), QByteArray("none"));
        QVERIFY(!state.isMultiUser());
        QVERIFY(state.isOutputActive("6d"));
    }

    void settingsAreReadBack()
    {
        ControllerState state(smallScenario(), 1);
        const auto answer = [&state](const QByteArray &request) {
            return CommandTable::answer("quorel2 " + request, &state, nullptr);
        };
        QCOMPARE(answer("set vimbar multiuser yes"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get vimbar multiuser"), QByteArray("quorel2 set vimbar multiuser yes"));
        QCOMPARE(answer("set vimbar multiuser_with_head yes"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get vimbar multiuser_with_head"),
                 QByteArray("quorel2 set vimbar multiuser_with_head yes"));
        QCOMPARE(answer("set tracking reference standard b02"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get tracking reference"),
                 QByteArray("quorel2 set tracking reference standard b02"));
        QCOMPARE(answer("set output active chmon 6df yes"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get output active chmon 6df"),
                 QByteArray("quorel2 set output active chmon 6df yes"));
        QCOMPARE(answer("tracking start"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get status active"), QByteArray("quorel2 set status active mea"));
        QCOMPARE(answer("tracking stop"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get status active"), QByteArray("quorel2 set status active idle"));
    }

    void definitionsAreReadBack_data() { addLocaleRows(); }

    void definitionsAreReadBack()
    {
        UNDER_LOCALE_OF_ROW();
        ControllerState state(smallScenario(), 1);
        const auto answer = [&state](const QByteArray &request) {
            return CommandTable::answer("quorel2 " + request, &state, nullptr);
        };
        QCOMPARE(answer("set body number_of_marker standard b02 2"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get body number_of_marker standard b02"),
                 QByteArray("quorel2 set body number_of_marker standard b02 2"));
        QCOMPARE(answer("get body marker standard b02 m02"),
                 QByteArray("quorel2 set body marker standard b02 m02 0.000 0.000 0.000"));
        QCOMPARE(answer("set body marker standard b02 m02 1.25 -2.5 100.0625"),
                 QByteArray("quorel2 ok"));
        QCOMPARE(answer("get body marker standard b02 m02"),
                 QByteArray("quorel2 set body marker standard b02 m02 1.250 -2.500 100.062"));
        QCOMPARE(answer("set body marker_emission standard b02 m01 0.000 -1.000 0.000 22.500"),
                 QByteArray("quorel2 ok"));
        QCOMPARE(answer("get body marker_emission standard b02 m01"),
                 QByteArray("quorel2 set body marker_emission standard b02 m01 0.000 -1.000 0.000 "
                            "22.500"));
        QCOMPARE(answer("body delete_marker standard b02 m01"), QByteArray("quorel2 ok"));
        QCOMPARE(answer("get body marker standard b02 m01"),
                 QByteArray("quorel2 set body marker standard b02 m01 1.250 -2.500 100.062"));
    }

    void transformTakesTheRotationColumnByColumn()
    {
        ControllerState state(smallScenario(), 1);
        // A quarter turn about z: x becomes y, y becomes -x.
        QCOMPARE(CommandTable::answer("quorel2 body transform vimbar b01 1.000 2.000 3.000 "
                                      "0.00000000 1.00000000 0.00000000 -1.00000000 0.00000000 "
                                      "0.00000000 0.00000000 0.00000000 1.00000000",
                                      &state, nullptr),
                 QByteArray("quorel2 ok"));
        QCOMPARE(CommandTable::answer("quorel2 get body marker vimbar b01 m01", &state, nullptr),
                 QByteArray("quorel2 set body marker vimbar b01 m01 1.000 12.000 3.000"));
        QCOMPARE(CommandTable::answer("quorel2 get body marker vimbar b01 m02", &state, nullptr),
                 QByteArray("quorel2 set body marker vimbar b01 m02 -19.000 2.000 3.000"));
    }

    void lockedConfigurationRefusesWrites()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("locked-configuration"));
        ControllerState state(scenario, 1);
        const QByteArray refused = "quorel2 err configuration is not changeable";
        QCOMPARE(CommandTable::answer("quorel2 get config is_changeable", &state, nullptr),
                 QByteArray("quorel2 set config is_changeable no"));
        for (const char *request : {"quorel2 body transform standard b01 0 0 0 1 0 0 0 1 0 0 0 1",
                                    "quorel2 body delete_marker standard b01 m01",
                                    "quorel2 set body number_of_marker standard b01 3",
                                    "quorel2 set body marker standard b01 m01 0 0 0",
                                    "quorel2 set body marker_emission standard b01 m01 0 0 1 10"})
            QCOMPARE(CommandTable::answer(request, &state, nullptr), refused);
    }

    void withoutTrackingMeasurementDoesNotStart()
    {
        Scenario scenario = smallScenario();
        QVERIFY(scenario.applySetup("tracking-unavailable"));
        ControllerState state(scenario, 1);
        QCOMPARE(CommandTable::answer("quorel2 get tracking available", &state, nullptr),
                 QByteArray("quorel2 set tracking available no"));
        QCOMPARE(CommandTable::answer("quorel2 tracking start", &state, nullptr),
                 QByteArray("quorel2 err not available"));
        QCOMPARE(CommandTable::answer("quorel2 get status active", &state, nullptr),
                 QByteArray("quorel2 set status active idle"));
    }

    void dataCommandsGoToTheClient()
    {
        ControllerState state(smallScenario(), 1);
        RecordedSubscription subscription;
        QCOMPARE(CommandTable::answer("quorel2 data connect 65535", &state, &subscription),
                 QByteArray("quorel2 ok"));
        QCOMPARE(subscription.port, quint16(65535));
        QCOMPARE(CommandTable::answer("quorel2 data disconnect", &state, &subscription),
                 QByteArray("quorel2 ok"));
        QCOMPARE(subscription.port, quint16(0));
        QCOMPARE(CommandTable::answer("quorel2 data connect 1", &state, nullptr),
                 QByteArray("quorel2 err not available"));
    }

    void olderBackendsDoNotKnowNewerLines_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("newEnough");
        QTest::addColumn<QString>("tooOld");
        QTest::newRow("output form") << QByteArray("quorel2 get vimbar output_6df") << "0.6"
                                     << "0.5.9";
        QTest::newRow("tracking available")
            << QByteArray("quorel2 get tracking available") << "0.17"
            << "0.16";
        QTest::newRow("changeable") << QByteArray("quorel2 get config is_changeable") << "1.9"
                                    << "1.8";
        QTest::newRow("target type")
            << QByteArray("quorel2 get body target_type standard b01") << "1.12"
            << "1.11";
        QTest::newRow("writing emissions")
            << QByteArray("quorel2 set body marker_emission standard b01 m01 0 0 1 10") << "1.12"
            << "1.11";
        QTest::newRow("deleting markers")
            << QByteArray("quorel2 body delete_marker standard b01 m01") << "1.17"
            << "1.16.99";
    }

    void olderBackendsDoNotKnowNewerLines()
    {
        QFETCH(QByteArray, request);
        QFETCH(QString, newEnough);
        QFETCH(QString, tooOld);
        ControllerState state(smallScenario(), 1);
        BackendVersion version;
        QVERIFY(BackendVersion::fromText(newEnough, &version));
        state.setBackend(version);
        QVERIFY(!CommandTable::answer(request, &state, nullptr).startsWith("quorel2 err"));
        QVERIFY(BackendVersion::fromText(tooOld, &version));
        state.setBackend(version);
        QVERIFY(CommandTable::answer(request, &state, nullptr).startsWith("quorel2 err"));
    }

    void everyBackendReadsEmissions()
    {
        ControllerState state(smallScenario(), 1);
        state.setBackend({0, 1, -1});
        QCOMPARE(CommandTable::answer("quorel2 get body marker_emission standard b01 m01", &state,
                                      nullptr),
                 QByteArray("quorel2 set body marker_emission standard b01 m01 0.000 0.000 1.000 "
                            "30.000"));
    }

    void longestTextsFitTheReplies()
    {
        Scenario scenario = smallScenario();
        const QByteArray longest(125, 'd');
        scenario.types[0].keyword = QByteArray(32, 't');
        scenario.types[0].description = longest;
        scenario.bodies[0].type = scenario.types[0].keyword;
        scenario.bodies[0].description = longest;
        scenario.bodies[0].markers[0].position = {-1e6, -1e6, -1e6};
        ControllerState state(scenario, 1);
        const QByteArray type = scenario.types[0].keyword;
        const QByteArray body = type + " b000000001";
        for (const QByteArray &request :
             {"type_desc " + type, "desc " + body, "marker " + body + " m000000001",
              "target_type " + body, QByteArray("type t000000001")}) {
            const QByteArray reply =
                CommandTable::answer("quorel2 get body " + request, &state, nullptr);
            QVERIFY2(reply.startsWith("quorel2 set body " + request + ' '), reply.constData());
            QVERIFY(reply.size() <= 207);
            QVERIFY(reply.size() - request.size() - 18 <= 127);
        }
    }

    void textsThatDoNotFitAreRefused()
    {
        Scenario scenario = smallScenario();
        scenario.bodies[0].description = QByteArray(126, 'd');
        ControllerState state(scenario, 1);
        QCOMPARE(CommandTable::answer("quorel2 get body desc standard b01", &state, nullptr),
                 QByteArray("quorel2 err reply too long"));
    }

    void anyBytesGetOneShortPrintableReply()
    {
        std::mt19937 random(testSeed());
        std::uniform_int_distribution<int> byte(0, 255);
        std::uniform_int_distribution<int> length(0, 120);
        std::uniform_int_distribution<int> choice(0, 11);
        const QList<QByteArray> words = {"quorel2", "get", "set", "body", "marker", "standard",
                                         "b01",     "m01", "1.5", "yes",  "%n%s",   "transform"};
        ControllerState state(smallScenario(), 1);
        for (int i = 0; i < 5000; ++i) {
            QByteArray request;
            const int count = length(random);
            if (i % 2 == 0) {
                for (int k = 0; k < count; ++k)
                    request += static_cast<char>(byte(random));
            } else {
                request = "quorel2";
                for (int k = 0; k < count / 8; ++k)
                    request += ' ' + words[choice(random)];
            }
            const QByteArray reply = CommandTable::answer(request, &state, nullptr);
            QVERIFY(reply.startsWith("quorel2 "));
            QVERIFY(reply.size() <= CommandTable::kMaximumReplyLength);
            for (char c : reply)
                QVERIFY(c >= ' ' && c <= '~');
        }
    }

    void everyRowIsDocumentedOnce()
    {
        QSet<QString> seen;
        const QString document = CommandTable::toMarkdown();
        const char *const prefixes[] = {"quorel2 get ", "quorel2 set ", "quorel2 "};
        for (const CommandTable::Row &row : CommandTable::rows()) {
            QVERIFY(qstrlen(row.help) > 0);
            const QString line = QLatin1String(prefixes[static_cast<int>(row.verb)]) +
                                 QString::fromLatin1(row.pattern).replace('|', "\\|");
            QVERIFY2(!seen.contains(line), qPrintable(line));
            seen.insert(line);
            QCOMPARE(document.count("| `" + line + "` | "), 1);
        }
    }

    void theCommandListInTheDocumentsIsTheTable()
    {
        QFile file(QStringLiteral(QUOREL2_SOURCE_DIR "/docs/controller-commands.md"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        QCOMPARE(QString::fromUtf8(file.readAll()), CommandTable::toMarkdown());
    }
};

QUOREL2_TEST_MAIN(tst_CommandTable)
#include "tst_CommandTable.moc"
