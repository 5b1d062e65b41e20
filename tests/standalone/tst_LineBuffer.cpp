#include <standalone/LineBuffer.h>
#include <tests/support/TestMain.h>

#include <QRandomGenerator>
#include <QtTest>

namespace {

constexpr int kLongest = 40;

/// As a controller sent it: both line ends, an empty line, a line of the greatest length.
const QByteArray kSession = "quorel2 ok\n"
                            "quorel2 set body number_of_types 2\r\n"
                            "\n"
                            "quorel2 set body desc standard b08 \n"
                            "quorel2 err no such body\r\n"
                            "0123456789012345678901234567890123456789\r\n"
                            "quorel2 ok\n";

const QVector<QByteArray> kLines = {"quorel2 ok",
                                    "quorel2 set body number_of_types 2",
                                    "",
                                    "quorel2 set body desc standard b08 ",
                                    "quorel2 err no such body",
                                    "0123456789012345678901234567890123456789",
                                    "quorel2 ok"};

QVector<QByteArray> takeAll(LineBuffer *buffer)
{
    QVector<QByteArray> lines;
    LineBuffer::Line line;
    while (buffer->takeLine(&line))
        lines.append((line.tooLong ? QByteArray("TOO LONG ") : QByteArray()) + line.text);
    return lines;
}

void feed(LineBuffer *buffer, const QByteArray &bytes)
{
    buffer->feed(bytes.constData(), bytes.size());
}

} // namespace

class LineBufferTest : public QObject {
    Q_OBJECT

private slots:
    void everyCutOfASessionGivesTheSameLines();
    void everyPairOfCutsGivesTheSameLines();
    void byteByByteGivesTheSameLines();
    void randomPiecesGiveTheSameLines();
    void nothingGivesNothing();
    void aLineWithoutItsEndIsNotGiven();
    void onlyOneCarriageReturnBelongsToTheEnd();
    void aCarriageReturnInsideStays();
    void theLongestLineAllowedIsWhole_data();
    void theLongestLineAllowedIsWhole();
    void aLongerLineIsCutAndMarked_data();
    void aLongerLineIsCutAndMarked();
    void theLineBehindATooLongOneIsWhole();
    void anEndlessLineTakesNoMemory();
    void binaryBytesAreKept();
    void clearForgetsEverything();
};

void LineBufferTest::everyCutOfASessionGivesTheSameLines()
{
    for (int cut = 0; cut <= kSession.size(); ++cut) {
        LineBuffer buffer(kLongest);
        feed(&buffer, kSession.left(cut));
        QVector<QByteArray> lines = takeAll(&buffer);
        feed(&buffer, kSession.mid(cut));
        lines += takeAll(&buffer);
        QCOMPARE(lines, kLines);
        QVERIFY(!buffer.hasUnfinishedLine());
    }
}

void LineBufferTest::everyPairOfCutsGivesTheSameLines()
{
    for (int first = 0; first <= kSession.size(); ++first) {
        for (int second = first; second <= kSession.size(); ++second) {
            LineBuffer buffer(kLongest);
            feed(&buffer, kSession.left(first));
            feed(&buffer, kSession.mid(first, second - first));
            feed(&buffer, kSession.mid(second));
            QCOMPARE(takeAll(&buffer), kLines);
        }
    }
}

void LineBufferTest::byteByByteGivesTheSameLines()
{
    LineBuffer buffer(kLongest);
    QVector<QByteArray> lines;
    for (const char byte : kSession) {
        buffer.feed(&byte, 1);
        lines += takeAll(&buffer);
    }
    QCOMPARE(lines, kLines);
}

void LineBufferTest::randomPiecesGiveTheSameLines()
{
    QRandomGenerator random(testSeed());
    for (int run = 0; run < 500; ++run) {
        LineBuffer buffer(kLongest);
        QVector<QByteArray> lines;
        int position = 0;
        while (position < kSession.size()) {
            const int size = random.bounded(0, 12);
            feed(&buffer, kSession.mid(position, size));
            position += size;
            if (random.bounded(2) == 0)
                lines += takeAll(&buffer);
        }
        lines += takeAll(&buffer);
        QCOMPARE(lines, kLines);
    }
}

void LineBufferTest::nothingGivesNothing()
{
    LineBuffer buffer(kLongest);
    LineBuffer::Line line{"untouched", false};
    QVERIFY(!buffer.takeLine(&line));
    feed(&buffer, "");
    QVERIFY(!buffer.takeLine(&line));
    QCOMPARE(line.text, QByteArray("untouched"));
    QVERIFY(!buffer.hasUnfinishedLine());
}

void LineBufferTest::aLineWithoutItsEndIsNotGiven()
{
    LineBuffer buffer(kLongest);
    feed(&buffer, "quorel2 ok\r");
    QVERIFY(takeAll(&buffer).isEmpty());
    QVERIFY(buffer.hasUnfinishedLine());
    feed(&buffer, "\n");
    QVERIFY(!buffer.hasUnfinishedLine());
    QCOMPARE(takeAll(&buffer), QVector<QByteArray>{"quorel2 ok"});
}

void LineBufferTest::onlyOneCarriageReturnBelongsToTheEnd()
{
    LineBuffer buffer(kLongest);
    feed(&buffer, "a\r\r\n");
    QCOMPARE(takeAll(&buffer), QVector<QByteArray>{"a\r"});
}

void LineBufferTest::aCarriageReturnInsideStays()
{
    LineBuffer buffer(kLongest);
    feed(&buffer, "a\rb\n");
    QCOMPARE(takeAll(&buffer), QVector<QByteArray>{"a\rb"});
}

void LineBufferTest::theLongestLineAllowedIsWhole_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("line feed") << QByteArray("\n");
    QTest::newRow("carriage return and line feed") << QByteArray("\r\n");
}

void LineBufferTest::theLongestLineAllowedIsWhole()
{
    QFETCH(QByteArray, end);
    LineBuffer buffer(kLongest);
    feed(&buffer, QByteArray(kLongest, 'x') + end);
    QCOMPARE(takeAll(&buffer), QVector<QByteArray>{QByteArray(kLongest, 'x')});
}

void LineBufferTest::aLongerLineIsCutAndMarked_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("by one") << QByteArray(kLongest + 1, 'x');
    QTest::newRow("by a carriage return too many") << QByteArray(QByteArray(kLongest, 'x') + '\r');
    QTest::newRow("by two") << QByteArray(kLongest + 2, 'x');
    QTest::newRow("by much") << QByteArray(100 * kLongest, 'x');
}

void LineBufferTest::aLongerLineIsCutAndMarked()
{
    QFETCH(QByteArray, line);
    const QVector<QByteArray> expected{"TOO LONG " + QByteArray(kLongest, 'x')};
    LineBuffer whole(kLongest);
    feed(&whole, line + "\r\n");
    QCOMPARE(takeAll(&whole), expected);
    LineBuffer bytes(kLongest);
    for (const char byte : QByteArray(line + "\r\n"))
        bytes.feed(&byte, 1);
    QCOMPARE(takeAll(&bytes), expected);
}

void LineBufferTest::theLineBehindATooLongOneIsWhole()
{
    LineBuffer buffer(kLongest);
    feed(&buffer, QByteArray(3 * kLongest, 'x') + "\nquorel2 ok\n");
    QCOMPARE(takeAll(&buffer),
             (QVector<QByteArray>{"TOO LONG " + QByteArray(kLongest, 'x'), "quorel2 ok"}));
}

void LineBufferTest::anEndlessLineTakesNoMemory()
{
    LineBuffer buffer(kLongest);
    const QByteArray piece(1 << 20, 'x');
    for (int i = 0; i < 64; ++i)
        feed(&buffer, piece);
    LineBuffer::Line line;
    QVERIFY(!buffer.takeLine(&line));
    feed(&buffer, "\n");
    QVERIFY(buffer.takeLine(&line));
    QVERIFY(line.tooLong);
    QCOMPARE(line.text.size(), kLongest);
    QVERIFY2(line.text.capacity() < 1024, "the bytes of the rest were kept");
}

void LineBufferTest::binaryBytesAreKept()
{
    LineBuffer buffer(kLongest);
    const QByteArray line("\0\xff\x80 x", 5);
    feed(&buffer, line + '\n');
    QCOMPARE(takeAll(&buffer), QVector<QByteArray>{line});
}

void LineBufferTest::clearForgetsEverything()
{
    LineBuffer buffer(kLongest);
    feed(&buffer, "one\n" + QByteArray(2 * kLongest, 'x'));
    buffer.clear();
    QVERIFY(takeAll(&buffer).isEmpty());
    QVERIFY(!buffer.hasUnfinishedLine());
    feed(&buffer, "two\n");
    QCOMPARE(takeAll(&buffer), QVector<QByteArray>{"two"});
}

QUOREL2_TEST_MAIN(LineBufferTest)
#include "tst_LineBuffer.moc"
