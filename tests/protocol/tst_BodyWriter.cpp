#include <protocol/BodyWriter.h>
#include <protocol/CommandChannel.h>

#include <tests/support/CommaLocale.h>
#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <cmath>

namespace {

const QString kType = QStringLiteral("standard");
const QString kTransformError = QStringLiteral("Error: Unable to set body transformation");
const QString kCountError = QStringLiteral("Error: Unable to set body target_type");
const QString kMarkerError = QStringLiteral("Error: Unable to set body marker values");
const QString kEmissionError = QStringLiteral("Error: Unable to set body marker emission");
const QString kDeleteError = QStringLiteral("Error: Unable to delete marker of body");

struct Setup {
    FakeHost host;
    CommandChannel channel{&host};
    BodyWriter writer{&channel, &host.versions};

    Setup()
    {
        host.addBody(kType, 3, QStringLiteral("Wand"), true, QStringLiteral("tt_std"),
                     {bsVector(10, 0, 0), bsVector(0, 20, 0), bsVector(0, 0, 30)});
    }
};

FakeHost::Answer reply(const char *text, int status = 0)
{
    FakeHost::Answer answer;
    answer.status = status;
    answer.text = text;
    return answer;
}

// A quarter turn about z with a shift; the rotation's columns are (0, 1, 0), (-1, 0, 0), (0, 0, 1).
bsMatrix quarterTurn(double x, double y, double z)
{
    bsMatrix matrix;
    matrix.element(1, 0) = 1.0;
    matrix.element(0, 1) = -1.0;
    matrix.element(2, 2) = 1.0;
    matrix.setColumn(3, bsVector(x, y, z), 1.0);
    return matrix;
}

// Half a turn about x with a shift.
bsMatrix halfTurn(double x, double y, double z)
{
    bsMatrix matrix;
    matrix.element(0, 0) = 1.0;
    matrix.element(1, 1) = -1.0;
    matrix.element(2, 2) = -1.0;
    matrix.setColumn(3, bsVector(x, y, z), 1.0);
    return matrix;
}

// The twelve numbers of the one transform command sent; zeros may come with either sign.
QVector<double> sentNumbers(const FakeHost &host)
{
    QVector<double> numbers;
    const QStringList words = host.transcript.last().split(QLatin1Char(' ')).mid(5);
    for (const QString &word : words)
        numbers += word.toDouble() + 0.0;
    return numbers;
}

const QVector<bsVector> kPositions = {bsVector(1.5, 2.5, -3.5), bsVector(0, 0, 0),
                                      bsVector(1000.12345, 0.0004, 7)};

} // namespace

class tst_BodyWriter : public QObject {
    Q_OBJECT

private slots:
    void sendsTheTransformColumnByColumn_data() { addLocaleRows(); }
    void sendsTheTransformColumnByColumn();
    void makesTheRotationOrthonormal();
    void theControllerHoldsTheTransformedBody();
    void theInverseOfTwoChangesBringsTheBodyBack();
    void aTransformFailedByStatusIsReportedOnceAndNotWritten();
    void aTransformNotConfirmedIsReportedOnceAndCountsAsWritten_data();
    void aTransformNotConfirmedIsReportedOnceAndCountsAsWritten();
    void writesMarkersAndEmissionsInTurn_data() { addLocaleRows(); }
    void writesMarkersAndEmissionsInTurn();
    void zeroEmissionsAreNotWritten_data();
    void zeroEmissionsAreNotWritten();
    void oneEmissionValueIsEnoughToWriteThemAll_data();
    void oneEmissionValueIsEnoughToWriteThemAll();
    void emissionsAreWrittenFromVersion112On_data();
    void emissionsAreWrittenFromVersion112On();
    void markersWithoutARecordGetNoEmission();
    void noMarkersWritesTheCountOnly();
    void aFailedCountEndsTheWrite();
    void failedMarkersAndEmissionsAreReportedAndTheNextIsWritten();
    void tellsWhetherTheMarkersWereWrittenWhole_data();
    void tellsWhetherTheMarkersWereWrittenWhole();
    void deletesByTheControllersNumber();
    void reportsAFailedDeletion_data();
    void reportsAFailedDeletion();
};

void tst_BodyWriter::sendsTheTransformColumnByColumn()
{
    UNDER_LOCALE_OF_ROW();
    Setup s;
    QVERIFY(s.writer.writeTransform(kType, 3, quarterTurn(1.5, -2.25, 0.0625)));
    QCOMPARE(s.host.transcript.size(), 1);
    QVERIFY(s.host.transcript.first().startsWith(
        QLatin1String("quorel2 body transform standard b03 1.500 -2.250 0.062 ")));
    QCOMPARE(sentNumbers(s.host), QVector<double>({1.5, -2.25, 0.062, 0, 1, 0, -1, 0, 0, 0, 0, 1}));
    const QStringList words = s.host.transcript.first().split(QLatin1Char(' '));
    QCOMPARE(words.size(), 17);
    for (int index = 8; index < 17; ++index)
        QCOMPARE(words.at(index).section(QLatin1Char('.'), 1).size(), 8);
    QCOMPARE(s.host.errors(), QStringList());
}

void tst_BodyWriter::makesTheRotationOrthonormal()
{
    Setup s;
    bsMatrix crooked = quarterTurn(1, 2, 3);
    crooked.element(1, 0) = 1.01; // longer than 1
    crooked.element(2, 0) = 0.01; // and not at right angles
    QVERIFY(s.writer.writeTransform(kType, 3, crooked));
    const QVector<double> sent = sentNumbers(s.host);
    QCOMPARE(sent.mid(0, 3), QVector<double>({1, 2, 3}));
    // Trace 1, so w = sqrt(2) / 2, and the vector part is (0, 0 - 0.01, 1.01 + 1) * 0.25 / w; the
    // first column is then (1 - 2 y y - 2 z z, 2 (w z + x y), 2 (x z - w y)).
    const double w = std::sqrt(2.0) / 2.0;
    const double x = 0.0;
    const double y = -0.01 * 0.25 / w;
    const double z = 2.01 * 0.25 / w;
    QVERIFY(std::fabs(sent.at(3) - (1 - 2 * y * y - 2 * z * z)) < 1e-8);
    QVERIFY(std::fabs(sent.at(4) - 2 * (w * z + x * y)) < 1e-8);
    QVERIFY(std::fabs(sent.at(5) - 2 * (x * z - w * y)) < 1e-8);
    QVERIFY(std::fabs(sent.at(4) - 1.01) > 1e-3);
}

void tst_BodyWriter::theControllerHoldsTheTransformedBody()
{
    Setup s;
    QVERIFY(s.writer.writeTransform(kType, 3, quarterTurn(1, 2, 3)));
    const QVector<bsVector> markers = s.host.markers(kType, 3);
    QCOMPARE(markers.size(), 3);
    // (10, 0, 0) is turned onto the y axis, (0, 20, 0) onto -x.
    QVERIFY((markers.at(0) - bsVector(1, 12, 3)).length() < 1e-5);
    QVERIFY((markers.at(1) - bsVector(-19, 2, 3)).length() < 1e-5);
    QVERIFY((markers.at(2) - bsVector(1, 2, 33)).length() < 1e-5);
}

void tst_BodyWriter::theInverseOfTwoChangesBringsTheBodyBack()
{
    Setup s;
    // Two moves, which commute, so that the product from the right is what was done.
    bsMatrix first = bsMatrix::identity();
    first.setColumn(3, bsVector(1, 2, 3), 1.0);
    bsMatrix second = bsMatrix::identity();
    second.setColumn(3, bsVector(10, -20, 0.5), 1.0);
    QVERIFY(s.writer.writeTransform(kType, 3, first));
    QVERIFY(s.writer.writeTransform(kType, 3, second));
    bsMatrix applied = bsMatrix::identity();
    applied *= first;
    applied *= second;
    s.host.clearRecords();
    QVERIFY(s.writer.writeTransform(kType, 3, applied.rigidInverse()));
    QCOMPARE(s.host.transcript.size(), 1);
    QCOMPARE(sentNumbers(s.host), QVector<double>({-11, 18, -3.5, 1, 0, 0, 0, 1, 0, 0, 0, 1}));
    const QVector<bsVector> markers = s.host.markers(kType, 3);
    QVERIFY((markers.at(0) - bsVector(10, 0, 0)).length() < 1e-5);
    QVERIFY((markers.at(1) - bsVector(0, 20, 0)).length() < 1e-5);
    QVERIFY((markers.at(2) - bsVector(0, 0, 30)).length() < 1e-5);

    // With turns, the inverse of A * B undoes B first.
    const bsMatrix turns = quarterTurn(1, 2, 3) * halfTurn(4, 5, 6);
    QVERIFY(s.writer.writeTransform(kType, 3, turns));
    QVERIFY(s.writer.writeTransform(kType, 3, turns.rigidInverse()));
    QVERIFY((s.host.markers(kType, 3).at(0) - bsVector(10, 0, 0)).length() < 1e-5);
}

void tst_BodyWriter::aTransformFailedByStatusIsReportedOnceAndNotWritten()
{
    for (const char *text : {"", "quorel2 ok", "quorel2 err"}) {
        Setup s;
        s.host.answerExchange(1, reply(text, 1));
        QVERIFY(!s.writer.writeTransform(kType, 3, bsMatrix::identity()));
        QCOMPARE(s.host.errors(), QStringList(kTransformError));
        QCOMPARE(s.host.transcript.size(), 1);
    }
}

void tst_BodyWriter::aTransformNotConfirmedIsReportedOnceAndCountsAsWritten_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("error") << QByteArray("quorel2 err locked");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("trailing blank") << QByteArray("quorel2 ok ");
    QTest::newRow("echo") << QByteArray("quorel2 body transform");
}

void tst_BodyWriter::aTransformNotConfirmedIsReportedOnceAndCountsAsWritten()
{
    QFETCH(QByteArray, text);
    Setup s;
    s.host.answerExchange(1, reply(text.constData()));
    QVERIFY(s.writer.writeTransform(kType, 3, bsMatrix::identity()));
    QCOMPARE(s.host.errors(), QStringList(kTransformError));
}

void tst_BodyWriter::writesMarkersAndEmissionsInTurn()
{
    UNDER_LOCALE_OF_ROW();
    Setup s;
    s.writer.writeMarkers(kType, 3, kPositions,
                          {Emission{0, 0, 1, 60}, Emission{}, Emission{0.6, -0.8, 0, 45.5}});
    QCOMPARE(s.host.transcript,
             QStringList({"set body number_of_marker standard b03 3",
                          "set body marker standard b03 m01 1.500 2.500 -3.500",
                          "set body marker_emission standard b03 m01 0.000 0.000 1.000 60.000",
                          "set body marker standard b03 m02 0.000 0.000 0.000",
                          "set body marker_emission standard b03 m02 0.000 0.000 0.000 0.000",
                          "set body marker standard b03 m03 1000.123 0.000 7.000",
                          "set body marker_emission standard b03 m03 0.600 -0.800 0.000 45.500"}));
    QCOMPARE(s.host.errors(), QStringList());
    const QVector<bsVector> held = s.host.markers(kType, 3);
    QCOMPARE(held.size(), 3);
    QCOMPARE(held.at(2).x, 1000.123);
    QCOMPARE(s.host.emissions(kType, 3).at(2).angleDeg, 45.5);
}

void tst_BodyWriter::zeroEmissionsAreNotWritten_data()
{
    QTest::addColumn<int>("records");
    QTest::newRow("one zero record for each marker") << 3;
    QTest::newRow("fewer") << 1;
    QTest::newRow("none") << 0;
}

void tst_BodyWriter::zeroEmissionsAreNotWritten()
{
    QFETCH(int, records);
    Setup s;
    s.writer.writeMarkers(kType, 3, kPositions, QVector<Emission>(records));
    QCOMPARE(s.host.transcript,
             QStringList({"set body number_of_marker standard b03 3",
                          "set body marker standard b03 m01 1.500 2.500 -3.500",
                          "set body marker standard b03 m02 0.000 0.000 0.000",
                          "set body marker standard b03 m03 1000.123 0.000 7.000"}));
}

void tst_BodyWriter::oneEmissionValueIsEnoughToWriteThemAll_data()
{
    QTest::addColumn<int>("record");
    QTest::addColumn<int>("value");
    for (int record = 0; record < 3; ++record) {
        for (int value = 0; value < 4; ++value)
            QTest::addRow("record %d, value %d", record, value) << record << value;
    }
}

void tst_BodyWriter::oneEmissionValueIsEnoughToWriteThemAll()
{
    QFETCH(int, record);
    QFETCH(int, value);
    Setup s;
    QVector<Emission> emissions(3);
    double *values[4] = {&emissions[record].x, &emissions[record].y, &emissions[record].z,
                         &emissions[record].angleDeg};
    *values[value] = -0.5;
    s.writer.writeMarkers(kType, 3, kPositions, emissions);
    QCOMPARE(s.host.transcript.filter(QStringLiteral("marker_emission")).size(), 3);
    QCOMPARE(s.host.transcript.size(), 7);
}

void tst_BodyWriter::emissionsAreWrittenFromVersion112On_data()
{
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("written");
    QTest::newRow("1.12") << 1 << 12 << 3;
    QTest::newRow("2.0") << 2 << 0 << 3;
    QTest::newRow("1.11") << 1 << 11 << 0;
    QTest::newRow("0.17") << 0 << 17 << 0;
}

void tst_BodyWriter::emissionsAreWrittenFromVersion112On()
{
    QFETCH(int, major);
    QFETCH(int, minor);
    Setup s;
    s.host.setVersion(major, minor);
    s.writer.writeMarkers(kType, 3, kPositions, QVector<Emission>(3, Emission{0, 0, 1, 60}));
    QTEST(s.host.transcript.filter(QStringLiteral("marker_emission")).size(), "written");
    QCOMPARE(s.host.transcript.filter(QStringLiteral("body marker ")).size(), 3);
}

void tst_BodyWriter::markersWithoutARecordGetNoEmission()
{
    Setup s;
    s.writer.writeMarkers(kType, 3, kPositions, {Emission{0, 0, 1, 60}});
    QCOMPARE(s.host.transcript,
             QStringList({"set body number_of_marker standard b03 3",
                          "set body marker standard b03 m01 1.500 2.500 -3.500",
                          "set body marker_emission standard b03 m01 0.000 0.000 1.000 60.000",
                          "set body marker standard b03 m02 0.000 0.000 0.000",
                          "set body marker standard b03 m03 1000.123 0.000 7.000"}));

    // A record beyond the markers still counts for whether any is written.
    s.host.clearRecords();
    s.writer.writeMarkers(kType, 3, {bsVector(1, 2, 3)}, {Emission{}, Emission{0, 0, 1, 60}});
    QCOMPARE(s.host.transcript,
             QStringList({"set body number_of_marker standard b03 1",
                          "set body marker standard b03 m01 1.000 2.000 3.000",
                          "set body marker_emission standard b03 m01 0.000 0.000 0.000 0.000"}));
}

void tst_BodyWriter::noMarkersWritesTheCountOnly()
{
    Setup s;
    s.writer.writeMarkers(kType, 3, {}, {});
    QCOMPARE(s.host.transcript, QStringList("set body number_of_marker standard b03 0"));
}

void tst_BodyWriter::aFailedCountEndsTheWrite()
{
    Setup s;
    s.host.failExchange(1);
    s.writer.writeMarkers(kType, 3, kPositions, QVector<Emission>(3, Emission{0, 0, 1, 60}));
    QCOMPARE(s.host.transcript, QStringList("set body number_of_marker standard b03 3"));
    QCOMPARE(s.host.errors(), QStringList(kCountError));
}

void tst_BodyWriter::failedMarkersAndEmissionsAreReportedAndTheNextIsWritten()
{
    const QStringList errorOf = {kMarkerError,   kEmissionError, kMarkerError,
                                 kEmissionError, kMarkerError,   kEmissionError};
    for (int failing = 2; failing <= 7; ++failing) {
        Setup s;
        s.host.failExchange(failing);
        s.writer.writeMarkers(kType, 3, kPositions, QVector<Emission>(3, Emission{0, 0, 1, 60}));
        QCOMPARE(s.host.transcript.size(), 7);
        QCOMPARE(s.host.errors(), QStringList(errorOf.at(failing - 2)));
    }
    Setup s;
    for (int failing = 2; failing <= 7; ++failing)
        s.host.failExchange(failing);
    s.writer.writeMarkers(kType, 3, kPositions, QVector<Emission>(3, Emission{0, 0, 1, 60}));
    QCOMPARE(s.host.transcript.size(), 7);
    QCOMPARE(s.host.errors(), errorOf);
}

void tst_BodyWriter::tellsWhetherTheMarkersWereWrittenWhole_data()
{
    QTest::addColumn<int>("failing"); // 0: none
    QTest::addColumn<int>("minor");
    QTest::addColumn<bool>("whole");
    QTest::newRow("everything") << 0 << 17 << true;
    QTest::newRow("all but the count") << 1 << 17 << false;
    for (int failing = 2; failing <= 7; ++failing)
        QTest::addRow("all but exchange %d", failing) << failing << 17 << false;
    QTest::newRow("exchange after the last") << 8 << 17 << true;
    QTest::newRow("positions only") << 0 << 11 << true;
    QTest::newRow("all but the last position") << 4 << 11 << false;
    QTest::newRow("an emission that is not sent") << 5 << 11 << true;
}

void tst_BodyWriter::tellsWhetherTheMarkersWereWrittenWhole()
{
    QFETCH(int, failing);
    QFETCH(int, minor);
    QFETCH(bool, whole);
    Setup s;
    s.host.setVersion(1, minor);
    if (failing > 0)
        s.host.failExchange(failing, failing % 2 == 0 ? 1 : -1);
    QCOMPARE(s.writer.writeMarkers(kType, 3, kPositions, QVector<Emission>(3, {0, 0, 1, 60})),
             whole);
    QCOMPARE(s.host.errors().isEmpty(), whole);

    // One failure is not remembered.
    s.host.clearFaults();
    QVERIFY(s.writer.writeMarkers(kType, 3, kPositions, {}));
    QVERIFY(s.writer.writeMarkers(kType, 3, {}, {}));
}

void tst_BodyWriter::deletesByTheControllersNumber()
{
    Setup s;
    QVERIFY(s.writer.deleteMarker(kType, 3, 1));
    QCOMPARE(s.host.transcript, QStringList("quorel2 body delete_marker standard b03 m02"));
    QCOMPARE(s.host.errors(), QStringList());
    const QVector<bsVector> left = s.host.markers(kType, 3);
    QCOMPARE(left.size(), 2);
    QCOMPARE(left.at(0).x, 10.0);
    QCOMPARE(left.at(1).z, 30.0);
}

void tst_BodyWriter::reportsAFailedDeletion_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("errors");
    QTest::newRow("status and no reply") << 1 << QByteArray("") << 2;
    QTest::newRow("status and error") << -1 << QByteArray("quorel2 err") << 2;
    QTest::newRow("status and positive reply") << 1 << QByteArray("quorel2 ok") << 1;
    QTest::newRow("error alone") << 0 << QByteArray("quorel2 err") << 1;
    QTest::newRow("empty reply") << 0 << QByteArray("") << 1;
    QTest::newRow("trailing blank") << 0 << QByteArray("quorel2 ok ") << 1;
    QTest::newRow("done") << 0 << QByteArray("quorel2 ok") << 0;
}

void tst_BodyWriter::reportsAFailedDeletion()
{
    QFETCH(int, status);
    QFETCH(QByteArray, text);
    QFETCH(int, errors);
    Setup s;
    s.host.answerExchange(1, reply(text.constData(), status));
    QCOMPARE(s.writer.deleteMarker(kType, 3, 0), errors == 0);
    QStringList expected;
    for (int index = 0; index < errors; ++index)
        expected += kDeleteError;
    QCOMPARE(s.host.errors(), expected);
    QCOMPARE(s.host.transcript.size(), 1);
}

QUOREL2_TEST_MAIN(tst_BodyWriter)
#include "tst_BodyWriter.moc"
