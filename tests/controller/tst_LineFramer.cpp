#include <controller/LineFramer.h>

#include <tests/support/TestMain.h>

#include <QtTest>

#include <random>

namespace {

constexpr int kLimit = 40;

/// What a framer tells of bytes that come in pieces: lines as "=text", over-long ones as "!".
QList<QByteArray> framed(const QList<QByteArray> &pieces, int limit = kLimit)
{
    LineFramer framer(limit);
    QList<QByteArray> events;
    for (const QByteArray &piece : pieces) {
        framer.feed(piece);
        for (;;) {
            QByteArray line("untouched");
            const LineFramer::Event event = framer.next(&line);
            if (event == LineFramer::Event::NeedMore)
                break;
            if (event == LineFramer::Event::Line) {
                events.append('=' + line);
            } else {
                if (line != "untouched")
                    qFatal("an over-long line was handed out");
                events.append("!");
            }
        }
    }
    return events;
}

QByteArray recordedSession()
{
    return QByteArray("quorel2 get body number_of_types\r\n"
                      "quorel2 tracking start\n"
                      "\n"
                      "\r\n"
                      "\r\r\n"
                      "a\rb\n") +
           QByteArray(kLimit, 'x') + "\n" + QByteArray(kLimit, 'y') + "\r\n" +
           QByteArray(kLimit + 1, 'z') + "\n" + QByteArray(3 * kLimit, 'z') + "\r\nafter\n" +
           QByteArray("bin\0ary\xff\n", 9) + "unfinished";
}

QList<QByteArray> eventsOfRecordedSession()
{
    return {"=quorel2 get body number_of_types",
            "=quorel2 tracking start",
            "=",
            "=",
            "=\r",
            "=a\rb",
            '=' + QByteArray(kLimit, 'x'),
            '=' + QByteArray(kLimit, 'y'),
            "!",
            "!",
            "=after",
            QByteArray("=bin\0ary\xff", 9)};
}

} // namespace

class tst_LineFramer : public QObject {
    Q_OBJECT

private slots:
    void aSessionInOnePieceIsCutIntoItsLines()
    {
        QCOMPARE(framed({recordedSession()}), eventsOfRecordedSession());
    }

    void everyCutGivesTheSameLines()
    {
        const QByteArray session = recordedSession();
        for (int i = 0; i <= session.size(); ++i)
            QCOMPARE(framed({session.left(i), session.mid(i)}), eventsOfRecordedSession());
    }

    void everyPairOfCutsGivesTheSameLines()
    {
        const QByteArray session = recordedSession();
        for (int i = 0; i <= session.size(); ++i) {
            for (int k = i; k <= session.size(); k += 3)
                QCOMPARE(framed({session.left(i), session.mid(i, k - i), session.mid(k)}),
                         eventsOfRecordedSession());
        }
    }

    void byteByByteGivesTheSameLines()
    {
        QList<QByteArray> pieces;
        const QByteArray session = recordedSession();
        for (char byte : session)
            pieces.append(QByteArray(1, byte));
        QCOMPARE(framed(pieces), eventsOfRecordedSession());
    }

    void anOverLongLineIsToldBeforeItEnds()
    {
        QCOMPARE(framed({QByteArray(kLimit + 1, 'x')}), (QList<QByteArray>{"!"}));
    }

    void aLineThatNeverEndsIsToldOnceAndNotKept()
    {
        LineFramer framer(kLimit);
        QByteArray line;
        int told = 0;
        for (int i = 0; i < 1000; ++i) {
            framer.feed(QByteArray(1000, 'x'));
            while (framer.next(&line) != LineFramer::Event::NeedMore)
                ++told;
            QCOMPARE(framer.pendingBytes(), 0);
        }
        QCOMPARE(told, 1);
    }

    void aWaitingCarriageReturnDoesNotMakeALineTooLong()
    {
        QCOMPARE(framed({QByteArray(kLimit, 'x') + "\r", "\n"}),
                 (QList<QByteArray>{'=' + QByteArray(kLimit, 'x')}));
        QCOMPARE(framed({QByteArray(kLimit, 'x') + "\r", "x\n"}), (QList<QByteArray>{"!"}));
    }

    void randomBytesInRandomPiecesGiveTheSameLines()
    {
        std::mt19937 random(testSeed());
        std::uniform_int_distribution<int> choice(0, 5);
        std::uniform_int_distribution<int> length(0, 9);
        for (int round = 0; round < 300; ++round) {
            QByteArray bytes;
            for (int i = 0; i < 200; ++i)
                bytes += "ab\r\n\0x"[choice(random)];
            QList<QByteArray> pieces;
            for (int at = 0; at < bytes.size();) {
                const int count = length(random);
                pieces.append(bytes.mid(at, count));
                at += count;
            }
            QCOMPARE(framed(pieces, 6), framed({bytes}, 6));
        }
    }
};

QUOREL2_TEST_MAIN(tst_LineFramer)
#include "tst_LineFramer.moc"
