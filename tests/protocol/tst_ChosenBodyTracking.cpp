#include <protocol/BodyListEntry.h>
#include <protocol/ChosenBodyTracking.h>

#include <tests/support/TestMain.h>

#include <QtTest>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

using Outcome = ChosenBodyTracking::Outcome;
Q_DECLARE_METATYPE(ChosenBodyTracking::Outcome)

namespace {

// An explicit instantiation may name what is private: so the test can hold the lock as a thread
// does that is reading a line, for as long as it likes.
DataMutex &mutexOf(ChosenBodyTracking &tracking);
template <DataMutex ChosenBodyTracking::*Member>
struct MutexAccess {
    friend DataMutex &mutexOf(ChosenBodyTracking &tracking) { return tracking.*Member; }
};
template struct MutexAccess<&ChosenBodyTracking::m_mutex>;

// A quarter turn about z: the x axis of the body points along y of the room.
const QByteArray kTurn = "[0 1 0 -1 0 0 0 0 1]";
const QByteArray kPlace = "[10.5 -20 1500 1 2 3]" + kTurn;
const QByteArray kElsewhere = "[7 8 9 0 0 0][1 0 0 0 1 0 0 0 1]";

TrackedPose poseFor(const ChosenBodyTracking &tracking, const QString &type)
{
    return isVimbarType(type) ? tracking.vimbarPose() : tracking.standardPose();
}

bool isNowhere(const TrackedPose &pose)
{
    return pose.quality == -1.0F && pose.position.length() == 0.0 &&
           !differs(pose.rotation, bsMatrix::identity());
}

bool isAtPlace(const TrackedPose &pose)
{
    const bsVector x = pose.rotation.column(0);
    const bsVector y = pose.rotation.column(1);
    return (pose.position - bsVector(10.5, -20, 1500)).length() == 0.0 &&
           (x - bsVector(0, 1, 0)).length() == 0.0 && (y - bsVector(-1, 0, 0)).length() == 0.0 &&
           pose.rotation.element(2, 2) == 1.0 && pose.rotation.element(3, 3) == 1.0;
}

struct Answer {
    bool wellFormed = false;
    Outcome outcome = Outcome::NothingToTell;
};

Answer receive(ChosenBodyTracking &tracking, const QByteArray &lineType, const QByteArray &line)
{
    Answer answer;
    // Whatever stood there before must not be told again.
    answer.outcome = Outcome::Tracked;
    answer.wellFormed = tracking.receive(lineType.constData(), line.constData(), &answer.outcome);
    return answer;
}

} // namespace

class tst_ChosenBodyTracking : public QObject {
    Q_OBJECT

private slots:
    void atFirstNothingIsChosenAndNothingTracked();
    void linesTellOfTheChosenBody_data();
    void linesTellOfTheChosenBody();
    void everyFieldIsKept_data();
    void everyFieldIsKept();
    void aStandardBodyThatIsLostIsNowhere();
    void aVimbarThatIsLostKeepsItsLastPlaceButCountsAsLost();
    void onlyQualityMinusOneMeansLost_data();
    void onlyQualityMinusOneMeansLost();
    void withAHeadTheIdsOfBodiesBeginWithOne();
    void withAHeadTheIdsOfVimbarsStay();
    void keywordsAreMeantInAnyCase_data();
    void keywordsAreMeantInAnyCase();
    void linesOfOtherTypesAreNotRead_data();
    void linesOfOtherTypesAreNotRead();
    void malformedLinesChangeNothing_data();
    void malformedLinesChangeNothing();
    void theLastBlockOfTheBodyCounts();
    void eachKindOfBodyHasItsOwnPose();
    void choosingAnotherBodyKeepsThePoses();
    void forgottenPosesCountAsNotTracked();
    void aLineThatComesWhileAnotherIsReadIsDropped_data();
    void aLineThatComesWhileAnotherIsReadIsDropped();
    void theLockIsFreeAfterEveryLine_data();
    void theLockIsFreeAfterEveryLine();
    void theHostsTextIsOnlyRead();
    void linesOfTwoThreadsAreKeptWhole();
};

void tst_ChosenBodyTracking::atFirstNothingIsChosenAndNothingTracked()
{
    ChosenBodyTracking tracking;
    QVERIFY(isNowhere(tracking.standardPose()));
    QVERIFY(isNowhere(tracking.vimbarPose()));
    for (const char *type : {"6d", "6df", "6df2"}) {
        const Answer answer = receive(tracking, type, "garbage");
        QVERIFY(answer.wellFormed);
        QCOMPARE(answer.outcome, Outcome::NothingToTell);
    }
}

void tst_ChosenBodyTracking::linesTellOfTheChosenBody_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("lineType");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<Outcome>("outcome");
    QTest::addColumn<int>("id"); // that is kept; -1: none

    const auto row = [](const char *name, const char *type, int index, const QByteArray &line,
                        Outcome outcome, int id) {
        QTest::newRow(name) << QString::fromLatin1(type) << index << line.left(line.indexOf(' '))
                            << line << outcome << id;
    };
    const Outcome none = Outcome::NothingToTell;
    row("6d, only block", "standard", 2, "6d 1 [2 1.0]" + kPlace, Outcome::Tracked, 2);
    row("6d, second block", "standard", 2, "6d 2 [0 1.0]" + kElsewhere + " [2 1.0]" + kPlace,
        Outcome::Tracked, 2);
    row("6d, another body", "standard", 2, "6d 1 [3 1.0]" + kPlace, Outcome::NotTracked, -1);
    row("6d, place of the block is not its id", "standard", 1,
        "6d 2 [0 1.0]" + kElsewhere + " [2 1.0]" + kPlace, Outcome::NotTracked, -1);
    row("6d, lost", "standard", 2, "6d 1 [2 -1.0]" + kPlace, Outcome::NotTracked, -1);
    row("6d, no bodies", "standard", 2, "6d 0", Outcome::NotTracked, -1);
    row("6d, fewer than none", "standard", 2, "6d -1", Outcome::NotTracked, -1);
    row("6d, no body chosen", "standard", -1, "6d 1 [0 1.0]" + kPlace, Outcome::NotTracked, -1);
    row("6df, only block", "vimbar", 2, "6df 1 [2 1.0 5]" + kPlace, Outcome::Tracked, 2);
    row("6df, second block", "vimbar", 2, "6df 2 [0 1.0 0]" + kElsewhere + " [2 1.0 5]" + kPlace,
        Outcome::Tracked, 2);
    row("6df, another device", "vimbar", 2, "6df 1 [3 1.0 5]" + kPlace, none, -1);
    row("6df, place of the block is not its id", "vimbar", 1,
        "6df 2 [0 1.0 0]" + kElsewhere + " [2 1.0 5]" + kPlace, none, -1);
    row("6df, lost", "vimbar", 2, "6df 1 [2 -1.0 5]" + kPlace, Outcome::NotTracked, -1);
    row("6df, no devices", "vimbar", 2, "6df 0", none, -1);
    row("6df2, only block", "vimbar", 0, "6df2 4 1 [2 1.0 5 1]" + kPlace + "[0 0]",
        Outcome::Tracked, 2);
    // Devices numbered 3 and 5 are the only ones: the second of them is vimbar 2.
    row("6df2, second block", "vimbar", 1,
        "6df2 5 2 [2 1.0 4 2]" + kElsewhere + "[0 0] [4 1.0 5 2]" + kPlace + "[0 0]",
        Outcome::Tracked, 4);
    row("6df2, id is not the place of the block", "vimbar", 2,
        "6df2 5 1 [2 1.0 4 2]" + kPlace + "[0 0]", none, -1);
    row("6df2, lost", "vimbar", 0, "6df2 1 1 [0 -1.0 5 1]" + kPlace + "[0 0]", Outcome::NotTracked,
        -1);
    row("6df2, no devices", "vimbar", 0, "6df2 3 0", none, -1);
    row("6df2, defined devices are no blocks", "vimbar", 0, "6df2 0 1 [0 1.0 5 1]" + kPlace + "[]",
        Outcome::Tracked, 0);
}

void tst_ChosenBodyTracking::linesTellOfTheChosenBody()
{
    QFETCH(QString, type);
    QFETCH(int, index);
    QFETCH(QByteArray, lineType);
    QFETCH(QByteArray, line);
    QFETCH(Outcome, outcome);
    QFETCH(int, id);
    ChosenBodyTracking tracking;
    tracking.choose(type, index);
    const Answer answer = receive(tracking, lineType, line);
    QVERIFY(answer.wellFormed);
    QCOMPARE(answer.outcome, outcome);
    const TrackedPose pose = poseFor(tracking, type);
    if (id < 0) {
        QVERIFY(isNowhere(pose));
    } else {
        QCOMPARE(pose.id, id);
        QCOMPARE(pose.quality, 1.0F);
        QVERIFY(isAtPlace(pose));
    }
}

void tst_ChosenBodyTracking::everyFieldIsKept_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("lineType");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("buttons");
    QTest::newRow("6d") << "standard" << QByteArray("6d")
                        << QByteArray("6d 1 [3 0.125 77]" + kPlace) << 0;
    QTest::newRow("6df, button word")
        << "vimbar" << QByteArray("6df") << QByteArray("6df 1 [3 0.125 0x15]" + kPlace) << 21;
    QTest::newRow("6df2, number of buttons")
        << "vimbar" << QByteArray("6df2")
        << QByteArray("6df2 4 4 [0 1.0 1 1]" + kElsewhere + "[0] [1 1.0 1 1]" + kElsewhere +
                      "[0] [2 1.0 1 1]" + kElsewhere + "[0] [3 0.125 6 2]" + kPlace + "[0 0]")
        << 6;
}

void tst_ChosenBodyTracking::everyFieldIsKept()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, lineType);
    QFETCH(QByteArray, line);
    QFETCH(int, buttons);
    ChosenBodyTracking tracking;
    tracking.choose(type, 3);
    QCOMPARE(receive(tracking, lineType, line).outcome, Outcome::Tracked);
    const TrackedPose pose = poseFor(tracking, type);
    QCOMPARE(pose.id, 3);
    QCOMPARE(pose.quality, 0.125F);
    QCOMPARE(pose.buttons, buttons);
    QVERIFY(isAtPlace(pose));
}

void tst_ChosenBodyTracking::aStandardBodyThatIsLostIsNowhere()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 2);
    receive(tracking, "6d", "6d 1 [2 1.0]" + kPlace);
    QVERIFY(isAtPlace(tracking.standardPose()));
    QCOMPARE(receive(tracking, "6d", "6d 1 [2 -1.000]" + kElsewhere).outcome, Outcome::NotTracked);
    QVERIFY(isNowhere(tracking.standardPose()));

    // A line that does not name it leaves what is known of it.
    receive(tracking, "6d", "6d 1 [2 1.0]" + kPlace);
    QCOMPARE(receive(tracking, "6d", "6d 1 [0 1.0]" + kElsewhere).outcome, Outcome::NotTracked);
    QVERIFY(isAtPlace(tracking.standardPose()));
    QCOMPARE(receive(tracking, "6d", "6d 0").outcome, Outcome::NotTracked);
    QVERIFY(isAtPlace(tracking.standardPose()));
    QCOMPARE(tracking.standardPose().quality, 1.0F);
}

void tst_ChosenBodyTracking::aVimbarThatIsLostKeepsItsLastPlaceButCountsAsLost()
{
    for (const QByteArray &lineType : {QByteArray("6df"), QByteArray("6df2")}) {
        const bool isPlainForm = lineType == "6df";
        const auto line = [&](const char *quality, const QByteArray &place) {
            return isPlainForm ? "6df 1 [0 " + QByteArray(quality) + " 5]" + place
                               : "6df2 1 1 [0 " + QByteArray(quality) + " 5 1]" + place + "[0]";
        };
        ChosenBodyTracking tracking;
        tracking.choose(QStringLiteral("vimbar"), 0);
        QCOMPARE(receive(tracking, lineType, line("1.0", kPlace)).outcome, Outcome::Tracked);
        QCOMPARE(receive(tracking, lineType, line("-1.000", kElsewhere)).outcome,
                 Outcome::NotTracked);
        const TrackedPose pose = tracking.vimbarPose();
        QCOMPARE(pose.quality, -1.0F);
        QCOMPARE(pose.id, 0);
        QCOMPARE(pose.buttons, 5);
        QVERIFY(isAtPlace(pose));
        QCOMPARE(receive(tracking, lineType, line("0.5", kElsewhere)).outcome, Outcome::Tracked);
        QCOMPARE(tracking.vimbarPose().quality, 0.5F);
        QCOMPARE(tracking.vimbarPose().position.x, 7.0);
    }
}

void tst_ChosenBodyTracking::onlyQualityMinusOneMeansLost_data()
{
    QTest::addColumn<QByteArray>("quality");
    QTest::addColumn<Outcome>("outcome");
    QTest::newRow("-1.000") << QByteArray("-1.000") << Outcome::NotTracked;
    QTest::newRow("-1") << QByteArray("-1") << Outcome::NotTracked;
    QTest::newRow("-1e0") << QByteArray("-1e0") << Outcome::NotTracked;
    QTest::newRow("-0.999") << QByteArray("-0.999") << Outcome::Tracked;
    QTest::newRow("-2") << QByteArray("-2") << Outcome::Tracked;
    QTest::newRow("0") << QByteArray("0") << Outcome::Tracked;
    QTest::newRow("0.99") << QByteArray("0.99") << Outcome::Tracked;
}

void tst_ChosenBodyTracking::onlyQualityMinusOneMeansLost()
{
    QFETCH(QByteArray, quality);
    QFETCH(Outcome, outcome);
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    QCOMPARE(receive(tracking, "6d", "6d 1 [0 " + quality + "]" + kPlace).outcome, outcome);
    QCOMPARE(tracking.standardPose().quality, quality.toFloat());
    tracking.choose(QStringLiteral("vimbar"), 0);
    QCOMPARE(receive(tracking, "6df", "6df 1 [0 " + quality + " 1]" + kPlace).outcome, outcome);
    QCOMPARE(tracking.vimbarPose().quality, quality.toFloat());
}

void tst_ChosenBodyTracking::withAHeadTheIdsOfBodiesBeginWithOne()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    tracking.setMultiUserWithHead(true);
    QCOMPARE(receive(tracking, "6d", "6d 1 [0 1.0]" + kPlace).outcome, Outcome::NotTracked);
    QCOMPARE(receive(tracking, "6d", "6d 2 [0 1.0]" + kElsewhere + " [1 1.0]" + kPlace).outcome,
             Outcome::Tracked);
    // Kept as the body's index, with which it is compared when the pose is read.
    QCOMPARE(tracking.standardPose().id, 0);
    QVERIFY(isAtPlace(tracking.standardPose()));

    tracking.setMultiUserWithHead(false);
    QCOMPARE(receive(tracking, "6d", "6d 1 [1 1.0]" + kElsewhere).outcome, Outcome::NotTracked);
    QVERIFY(isAtPlace(tracking.standardPose()));
    QCOMPARE(receive(tracking, "6d", "6d 1 [0 1.0]" + kElsewhere).outcome, Outcome::Tracked);
    QCOMPARE(tracking.standardPose().position.x, 7.0);
}

void tst_ChosenBodyTracking::withAHeadTheIdsOfVimbarsStay()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("vimbar"), 1);
    tracking.setMultiUserWithHead(true);
    QCOMPARE(receive(tracking, "6df", "6df 1 [2 1.0 5]" + kPlace).outcome, Outcome::NothingToTell);
    QCOMPARE(receive(tracking, "6df", "6df 1 [1 1.0 5]" + kPlace).outcome, Outcome::Tracked);
    QCOMPARE(tracking.vimbarPose().id, 1);
    QCOMPARE(receive(tracking, "6df2",
                     "6df2 2 2 [0 1.0 1 1]" + kPlace + "[] [1 1.0 1 1]" + kElsewhere + "[]")
                 .outcome,
             Outcome::Tracked);
    QCOMPARE(tracking.vimbarPose().position.x, 7.0);
}

void tst_ChosenBodyTracking::keywordsAreMeantInAnyCase_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<bool>("isStandard");
    QTest::addColumn<bool>("isVimbar");
    QTest::newRow("standard") << "standard" << true << false;
    QTest::newRow("Standard") << "Standard" << true << false;
    QTest::newRow("STANDARD") << "STANDARD" << true << false;
    QTest::newRow("vimbar") << "vimbar" << false << true;
    QTest::newRow("Vimbar") << "Vimbar" << false << true;
    QTest::newRow("vIMBAR") << "vIMBAR" << false << true;
    QTest::newRow("longer") << "standards" << false << false;
    QTest::newRow("shorter") << "vimba" << false << false;
    QTest::newRow("blank behind") << "vimbar " << false << false;
    QTest::newRow("another type") << "target" << false << false;
    QTest::newRow("none") << "" << false << false;
}

void tst_ChosenBodyTracking::keywordsAreMeantInAnyCase()
{
    QFETCH(QString, type);
    QFETCH(bool, isStandard);
    QFETCH(bool, isVimbar);
    QCOMPARE(isStandardType(type), isStandard);
    QCOMPARE(isVimbarType(type), isVimbar);
    ChosenBodyTracking tracking;
    tracking.choose(type, 0);
    QCOMPARE(receive(tracking, "6d", "6d 1 [0 1.0]" + kPlace).outcome,
             isStandard ? Outcome::Tracked : Outcome::NothingToTell);
    QCOMPARE(receive(tracking, "6df", "6df 1 [0 1.0 5]" + kPlace).outcome,
             isVimbar ? Outcome::Tracked : Outcome::NothingToTell);
    QCOMPARE(receive(tracking, "6df2", "6df2 1 1 [0 1.0 5 1]" + kPlace + "[0]").outcome,
             isVimbar ? Outcome::Tracked : Outcome::NothingToTell);
}

void tst_ChosenBodyTracking::linesOfOtherTypesAreNotRead_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("lineType");
    for (const char *type : {"standard", "vimbar", "target", ""}) {
        for (const char *lineType : {"6d", "6df", "6df2", "6D", "6DF", "6dx", "6df3", "3d", ""}) {
            const QByteArray line(lineType);
            const bool isRead = (qstrcmp(type, "standard") == 0 && line == "6d") ||
                                (qstrcmp(type, "vimbar") == 0 && (line == "6df" || line == "6df2"));
            if (!isRead)
                QTest::addRow("%s for '%s'", lineType, type) << QString::fromLatin1(type) << line;
        }
    }
}

void tst_ChosenBodyTracking::linesOfOtherTypesAreNotRead()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, lineType);
    ChosenBodyTracking tracking;
    tracking.choose(type, 0);
    for (const QByteArray &line :
         {"6d 1 [0 1.0]" + kPlace, "6df 1 [0 1.0 5]" + kPlace,
          "6df2 1 1 [0 1.0 5 1]" + kPlace + "[0]", QByteArray("6d 1 [0 1.0"), QByteArray()}) {
        const Answer answer = receive(tracking, lineType, line);
        QVERIFY(answer.wellFormed);
        QCOMPARE(answer.outcome, Outcome::NothingToTell);
    }
    QVERIFY(isNowhere(tracking.standardPose()));
    QVERIFY(isNowhere(tracking.vimbarPose()));
}

void tst_ChosenBodyTracking::malformedLinesChangeNothing_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("lineType");
    QTest::addColumn<QByteArray>("line");
    const auto row = [](const char *name, const char *type, const QByteArray &line) {
        QTest::newRow(name) << QString::fromLatin1(type) << line.left(line.indexOf(' ')) << line;
    };
    // The first block is the chosen body's, and would move it.
    const QByteArray moved = "6d 2 [2 1.0]" + kElsewhere;
    row("6d, no count", "standard", "6d ");
    row("6d, no number as count", "standard", "6d x [2 1.0]" + kElsewhere);
    row("6d, missing block", "standard", moved);
    row("6d, second block without a closing bracket", "standard", moved + " [3 1.0");
    row("6d, second block without a number", "standard", moved + " [3 1.0][1 x 3]" + kTurn);
    row("6d, second block short of a number", "standard",
        moved + " [3 1.0][1 2 3][1 2 3 4 5 6 7 8]");
    row("6d, lost, then cut", "standard", "6d 2 [2 -1.0]" + kElsewhere + " [3");
    row("6df, no button word", "vimbar", "6df 1 [2 1.0]" + kElsewhere);
    row("6df, second block cut", "vimbar", "6df 2 [2 1.0 5]" + kElsewhere + " [3 1.0 5][1 2");
    row("6df, lost, then cut", "vimbar", "6df 2 [2 -1.0 5]" + kElsewhere + " [3");
    const QByteArray device = "[0 1.0 5 1]" + kElsewhere + "[0]";
    row("6df2, one count only", "vimbar", "6df2 3 " + device);
    row("6df2, no tail behind the third block", "vimbar",
        "6df2 3 3 " + device + device + "[2 1.0 5 1]" + kElsewhere);
    row("6df2, fourth block cut", "vimbar", "6df2 4 4 " + device + device + device + "[3 1.0 5 1");
}

void tst_ChosenBodyTracking::malformedLinesChangeNothing()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, lineType);
    QFETCH(QByteArray, line);
    ChosenBodyTracking tracking;
    tracking.choose(type, 2);
    if (isVimbarType(type))
        receive(tracking, "6df", "6df 1 [2 1.0 5]" + kPlace);
    else
        receive(tracking, "6d", "6d 1 [2 1.0]" + kPlace);
    const Answer answer = receive(tracking, lineType, line);
    QVERIFY(!answer.wellFormed);
    QCOMPARE(answer.outcome, Outcome::NothingToTell);
    const TrackedPose pose = poseFor(tracking, type);
    QCOMPARE(pose.quality, 1.0F);
    QCOMPARE(pose.id, 2);
    QVERIFY(isAtPlace(pose));
}

void tst_ChosenBodyTracking::theLastBlockOfTheBodyCounts()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 2);
    QCOMPARE(receive(tracking, "6d", "6d 2 [2 1.0]" + kElsewhere + " [2 0.5]" + kPlace).outcome,
             Outcome::Tracked);
    QVERIFY(isAtPlace(tracking.standardPose()));
    QCOMPARE(tracking.standardPose().quality, 0.5F);
}

void tst_ChosenBodyTracking::eachKindOfBodyHasItsOwnPose()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    receive(tracking, "6d", "6d 1 [0 1.0]" + kPlace);
    QVERIFY(isNowhere(tracking.vimbarPose()));
    tracking.choose(QStringLiteral("vimbar"), 0);
    receive(tracking, "6df", "6df 1 [0 0.5 5]" + kElsewhere);
    QVERIFY(isAtPlace(tracking.standardPose()));
    QCOMPARE(tracking.vimbarPose().position.x, 7.0);
}

void tst_ChosenBodyTracking::choosingAnotherBodyKeepsThePoses()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    receive(tracking, "6d", "6d 1 [0 1.0]" + kPlace);
    tracking.choose(QStringLiteral("standard"), 1);
    // Whose pose it is tells its id.
    QCOMPARE(tracking.standardPose().id, 0);
    QCOMPARE(receive(tracking, "6d", "6d 1 [0 1.0]" + kElsewhere).outcome, Outcome::NotTracked);
    QVERIFY(isAtPlace(tracking.standardPose()));
    tracking.choose(QString(), -1);
    QCOMPARE(receive(tracking, "6d", "6d 1 [-1 1.0]" + kElsewhere).outcome, Outcome::NothingToTell);
}

void tst_ChosenBodyTracking::forgottenPosesCountAsNotTracked()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    receive(tracking, "6d", "6d 1 [0 1.0]" + kPlace);
    tracking.choose(QStringLiteral("vimbar"), 0);
    receive(tracking, "6df", "6df 1 [0 1.0 5]" + kPlace);
    tracking.forget();
    QCOMPARE(tracking.standardPose().quality, -1.0F);
    QCOMPARE(tracking.vimbarPose().quality, -1.0F);
    // The body is still followed.
    QCOMPARE(receive(tracking, "6df", "6df 1 [0 1.0 5]" + kPlace).outcome, Outcome::Tracked);
    QCOMPARE(tracking.vimbarPose().quality, 1.0F);
    QCOMPARE(tracking.standardPose().quality, -1.0F);
}

void tst_ChosenBodyTracking::aLineThatComesWhileAnotherIsReadIsDropped_data()
{
    QTest::addColumn<QByteArray>("lineType");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("of the chosen body") << QByteArray("6d") << "6d 1 [0 1.0]" + kElsewhere;
    QTest::newRow("lost") << QByteArray("6d") << "6d 1 [0 -1.0]" + kElsewhere;
    QTest::newRow("no bodies") << QByteArray("6d") << QByteArray("6d 0");
    QTest::newRow("malformed") << QByteArray("6d") << QByteArray("6d 1 [0");
    QTest::newRow("of another type") << QByteArray("6df") << QByteArray("6df 0");
}

void tst_ChosenBodyTracking::aLineThatComesWhileAnotherIsReadIsDropped()
{
    QFETCH(QByteArray, lineType);
    QFETCH(QByteArray, line);
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    receive(tracking, "6d", "6d 1 [0 1.0]" + kPlace);
    Answer answer;
    {
        const std::lock_guard<DataMutex> reading(mutexOf(tracking));
        // That the thread ends at all shows that it did not wait.
        std::thread host([&] { answer = receive(tracking, lineType, line); });
        host.join();
        // The poses can be read at any time.
        QVERIFY(isAtPlace(tracking.standardPose()));
    }
    QVERIFY(answer.wellFormed);
    QCOMPARE(answer.outcome, Outcome::NothingToTell);
    QCOMPARE(tracking.standardPose().quality, 1.0F);

    QCOMPARE(receive(tracking, "6d", "6d 1 [0 0.5]" + kElsewhere).outcome, Outcome::Tracked);
    QCOMPARE(tracking.standardPose().quality, 0.5F);
}

void tst_ChosenBodyTracking::theLockIsFreeAfterEveryLine_data()
{
    QTest::addColumn<QByteArray>("lineType");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("kept") << QByteArray("6d") << "6d 1 [0 1.0]" + kElsewhere;
    QTest::newRow("no bodies") << QByteArray("6d") << QByteArray("6d 0");
    QTest::newRow("malformed") << QByteArray("6d") << QByteArray("6d 1 [0");
    QTest::newRow("no count") << QByteArray("6d") << QByteArray("6d");
    QTest::newRow("of another type") << QByteArray("6df") << QByteArray("6df 0");
}

void tst_ChosenBodyTracking::theLockIsFreeAfterEveryLine()
{
    QFETCH(QByteArray, lineType);
    QFETCH(QByteArray, line);
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    receive(tracking, lineType, line);
    const std::unique_lock<DataMutex> lock(mutexOf(tracking), std::try_to_lock);
    QVERIFY(lock.owns_lock());
}

void tst_ChosenBodyTracking::theHostsTextIsOnlyRead()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    // Literals may stand in memory that must not be written to.
    Outcome outcome = Outcome::NothingToTell;
    QVERIFY(tracking.receive("6d", "6d 1 [0 1.0][1 2 3][1 0 0 0 1 0 0 0 1]", &outcome));
    QCOMPARE(outcome, Outcome::Tracked);
    QVERIFY(!tracking.receive("6d", "6d 1 [0 1.0][1 2 3][1 0 0 0 1", &outcome));
    QCOMPARE(outcome, Outcome::NothingToTell);
}

/// Meant for the thread sanitizer too.
void tst_ChosenBodyTracking::linesOfTwoThreadsAreKeptWhole()
{
    ChosenBodyTracking tracking;
    tracking.choose(QStringLiteral("standard"), 0);
    std::atomic<int> malformed{0};
    std::atomic<int> kept{0};
    std::atomic<int> torn{0};
    std::atomic<bool> stop{false};
    const auto deliver = [&](int first) {
        for (int i = first; i < first + 3000; ++i) {
            const QByteArray n = QByteArray::number(i);
            const QByteArray three = n + " " + n + " " + n;
            const Answer answer =
                receive(tracking, "6d",
                        "6d 1 [0 1.0][" + three + "][" + three + " " + three + " " + three + "]");
            malformed += answer.wellFormed ? 0 : 1;
            kept += answer.outcome == Outcome::Tracked ? 1 : 0;
        }
    };
    std::thread reader([&] {
        while (!stop) {
            const TrackedPose pose = tracking.standardPose();
            const double n = pose.position.x;
            if (pose.position.y != n || pose.position.z != n ||
                (pose.quality == 1.0F && pose.rotation.element(2, 2) != n))
                ++torn;
        }
    });
    std::thread first([&] { deliver(1); });
    std::thread second([&] { deliver(10000); });
    for (int i = 0; i < 200; ++i)
        tracking.choose(QStringLiteral("standard"), 0);
    first.join();
    second.join();
    stop = true;
    reader.join();
    QCOMPARE(int(malformed), 0);
    QCOMPARE(int(torn), 0);
    QVERIFY(kept > 0);
    QCOMPARE(tracking.standardPose().quality, 1.0F);
}

QUOREL2_TEST_MAIN(tst_ChosenBodyTracking)
#include "tst_ChosenBodyTracking.moc"
