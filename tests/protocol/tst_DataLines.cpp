#include <protocol/DataLines.h>

#include <tests/support/CommaLocale.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>

Q_DECLARE_METATYPE(DataLineType)

namespace {

const QByteArray kPlace = "[100.123 -200.500 1500.000]";
const QByteArray kTurn = "[0.5 0.25 -0.125 4 5 6 7 8 9]";
const QByteArray kRest = kPlace + kTurn;

// A copy of exactly the line's size on the heap, so that an address sanitizer sees every step
// beyond it.
class ParsedLine {
public:
    ParsedLine(DataLineType type, const QByteArray &line)
    {
        const std::size_t size = std::strlen(line.constData()) + 1;
        const std::unique_ptr<char[]> text(new char[size]);
        std::memcpy(text.get(), line.constData(), size);
        blocks.append(DataBlock()); // left over from an earlier line
        wellFormed = parseDataLine(type, text.get(), &blocks);
        unchanged = std::memcmp(text.get(), line.constData(), size) == 0;
    }

    QVector<DataBlock> blocks;
    bool wellFormed = false;
    bool unchanged = false;
};

double asFloat(double number)
{
    return static_cast<double>(static_cast<float>(number));
}

} // namespace

class tst_DataLines : public QObject {
    Q_OBJECT

private slots:
    void readsAllFieldsOfABody_data() { addLocaleRows(); }
    void readsAllFieldsOfABody();
    void readsTheButtonWordOfADevice();
    void readsButtonAndControllerCountsOfADevice();
    void keepsTheOrderOfTheLine();
    void acceptsWellFormedLines_data();
    void acceptsWellFormedLines();
    void readsIdsAsInC_data();
    void readsIdsAsInC();
    void rejectsMalformedLines_data();
    void rejectsMalformedLines();
    void neverReadsBehindTheEndOfTheLine();
    void theCountStandsBehindOneCharacterAfterTheType();
    void rejectsEveryCutOfALine_data();
    void rejectsEveryCutOfALine();
    void aCommaIsNeverADecimalPoint_data() { addLocaleRows(); }
    void aCommaIsNeverADecimalPoint();
    void survivesRandomChanges_data() { addLocaleRows(); }
    void survivesRandomChanges();
    void readsFieldsByDescriptor();
    void rejectsFieldsThatDoNotFitTheDescriptor_data();
    void rejectsFieldsThatDoNotFitTheDescriptor();
};

void tst_DataLines::readsAllFieldsOfABody()
{
    UNDER_LOCALE_OF_ROW();
    const ParsedLine line(DataLineType::SixD, "6d 1 [4 0.750]" + kRest);
    QVERIFY(line.wellFormed);
    QVERIFY(line.unchanged);
    QCOMPARE(line.blocks.size(), 1);
    const DataBlock &block = line.blocks.first();
    QCOMPARE(block.id, 4L);
    QCOMPARE(block.quality, 0.75);
    QCOMPARE(block.buttons, 0L);
    QCOMPARE(block.controllers, 0L);
    // The numbers are floats: compared bit for bit with the nearest one.
    QVERIFY(block.position.x == asFloat(100.123));
    QVERIFY(block.position.x != 100.123);
    QCOMPARE(block.position.y, -200.5);
    QCOMPARE(block.position.z, 1500.0);
    // Column by column, each from top to bottom.
    const double expected[16] = {0.5, 0.25, -0.125, 0, 4, 5, 6, 0, 7, 8, 9, 0, 0, 0, 0, 1};
    for (int index = 0; index < 16; ++index)
        QCOMPARE(block.rotation.m[index], expected[index]);
}

void tst_DataLines::readsTheButtonWordOfADevice()
{
    const ParsedLine line(DataLineType::SixDf, "6df 1 [2 1.000 5]" + kRest);
    QVERIFY(line.wellFormed);
    QVERIFY(line.unchanged);
    QCOMPARE(line.blocks.size(), 1);
    QCOMPARE(line.blocks.first().id, 2L);
    QCOMPARE(line.blocks.first().quality, 1.0);
    QCOMPARE(line.blocks.first().buttons, 5L);
    QCOMPARE(line.blocks.first().position.y, -200.5);
    QCOMPARE(line.blocks.first().rotation.element(1, 2), 8.0);
}

void tst_DataLines::readsButtonAndControllerCountsOfADevice()
{
    const ParsedLine line(DataLineType::SixDf2, "6df2 9 2 [3 1.000 6 2]" + kRest + "[63 -0.5 0.5]" +
                                                    "[5 -1.000 4 1]" + kRest + "[]");
    QVERIFY(line.wellFormed);
    QVERIFY(line.unchanged);
    QCOMPARE(line.blocks.size(), 2); // the number of defined devices does not count
    QCOMPARE(line.blocks.at(0).id, 3L);
    QCOMPARE(line.blocks.at(0).buttons, 6L);
    QCOMPARE(line.blocks.at(0).controllers, 2L);
    QCOMPARE(line.blocks.at(1).id, 5L);
    QCOMPARE(line.blocks.at(1).quality, -1.0);
    QCOMPARE(line.blocks.at(1).buttons, 4L);
    QCOMPARE(line.blocks.at(1).controllers, 1L);
}

void tst_DataLines::keepsTheOrderOfTheLine()
{
    const ParsedLine line(DataLineType::SixD,
                          "6d 3 [7 1.0]" + kRest + " [0 -1.000]" + kRest + " [3 0.99]" + kRest);
    QVERIFY(line.wellFormed);
    QCOMPARE(line.blocks.size(), 3);
    QCOMPARE(line.blocks.at(0).id, 7L);
    QCOMPARE(line.blocks.at(1).id, 0L);
    QCOMPARE(line.blocks.at(1).quality, -1.0);
    QCOMPARE(line.blocks.at(2).id, 3L);
    QVERIFY(line.blocks.at(2).quality == asFloat(0.99));
}

void tst_DataLines::acceptsWellFormedLines_data()
{
    QTest::addColumn<DataLineType>("type");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("blockCount");

    const auto d = DataLineType::SixD;
    const auto df = DataLineType::SixDf;
    const auto df2 = DataLineType::SixDf2;
    QTest::newRow("6d, no body") << d << QByteArray("6d 0") << 0;
    QTest::newRow("6d, no body, blank behind") << d << QByteArray("6d 0 ") << 0;
    QTest::newRow("6d, negative count") << d << QByteArray("6d -3") << 0;
    QTest::newRow("6d, count in hexadecimal") << d << "6d 0x1 [0 1.0]" + kRest << 1;
    QTest::newRow("6d, more blanks before the count") << d << "6d   1 [0 1.0]" + kRest << 1;
    QTest::newRow("6df, no device") << df << QByteArray("6df 0") << 0;
    QTest::newRow("6df2, no device of none") << df2 << QByteArray("6df2 0 0") << 0;
    QTest::newRow("6df2, no device of two") << df2 << QByteArray("6df2 2 0") << 0;
    QTest::newRow("further values of a bracket are skipped")
        << d << "6d 1 [0 1.0 7 words][1 2 3 10.5 20.5 30.5]" + kTurn << 1;
    QTest::newRow("further blocks are skipped") << d << "6d 1 [0 1.0]" + kRest + "[1" << 1;
    QTest::newRow("text between the brackets is skipped")
        << d << "6d 1 bodies: [0 1.0] at " + kPlace + " turned " + kTurn + "\r\n"
        << 1;
    QTest::newRow("closing bracket before the first opening one")
        << d << "6d 1 ] [0 1.0]" + kRest << 1;
    QTest::newRow("blanks inside the brackets")
        << d << QByteArray("6d 1 [ 0  1.0 ][ 1\t2 3 ][ 1 2 3 4 5 6 7 8 9 ]") << 1;
    QTest::newRow("numbers with exponents")
        << d << QByteArray("6d 1 [0 1e0][1E2 -2e-3 3.e1][+1 2 3 4 5 6 7 8 .9]") << 1;
    QTest::newRow("numbers too small for a float are zero")
        << d << QByteArray("6d 1 [0 1][1e-300 1e-400 -1e-50][1 0 0 0 1 0 0 0 1]") << 1;
    QTest::newRow("largest float")
        << d << QByteArray("6d 1 [0 1][3.4028234e38 -3.4028234e38 0][1 0 0 0 1 0 0 0 1]") << 1;
}

void tst_DataLines::acceptsWellFormedLines()
{
    QFETCH(DataLineType, type);
    QFETCH(QByteArray, line);
    const ParsedLine parsed(type, line);
    QVERIFY(parsed.wellFormed);
    QVERIFY(parsed.unchanged);
    QTEST(parsed.blocks.size(), "blockCount");
}

void tst_DataLines::readsIdsAsInC_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<qint64>("id");
    QTest::newRow("decimal") << QByteArray("17") << qint64(17);
    QTest::newRow("octal") << QByteArray("017") << qint64(15);
    QTest::newRow("hexadecimal") << QByteArray("0x1F") << qint64(31);
    QTest::newRow("sign") << QByteArray("+3") << qint64(3);
    QTest::newRow("negative") << QByteArray("-1") << qint64(-1);
    QTest::newRow("largest") << QByteArray("2147483647") << qint64(INT_MAX);
    QTest::newRow("smallest") << QByteArray("-2147483648") << qint64(INT_MIN);
}

void tst_DataLines::readsIdsAsInC()
{
    QFETCH(QByteArray, text);
    const ParsedLine parsed(DataLineType::SixD, "6d 1 [" + text + " 1.0]" + kRest);
    QVERIFY(parsed.wellFormed);
    QCOMPARE(parsed.blocks.size(), 1);
    QTEST(qint64(parsed.blocks.first().id), "id");
}

void tst_DataLines::rejectsMalformedLines_data()
{
    QTest::addColumn<DataLineType>("type");
    QTest::addColumn<QByteArray>("line");

    const auto d = DataLineType::SixD;
    const auto df = DataLineType::SixDf;
    const auto df2 = DataLineType::SixDf2;
    const QByteArray good = "[0 1.0]" + kRest;

    for (const char *line : {"", "6", "6d", "6d ", "6d  ", "6d x", "6d [", "6d -", "6d +", "6d ."})
        QTest::addRow("6d, no count: \"%s\"", line) << d << QByteArray(line);
    for (const char *line : {"", "6", "6d", "6df", "6df ", "6df x"})
        QTest::addRow("6df, no count: \"%s\"", line) << df << QByteArray(line);
    for (const char *line :
         {"", "6", "6df", "6df2", "6df2 ", "6df2 x", "6df2 1", "6df2 1 ", "6df2 1 x"})
        QTest::addRow("6df2, a count is missing: \"%s\"", line) << df2 << QByteArray(line);
    QTest::newRow("count out of range") << d << "6d 99999999999999999999 " + good;
    QTest::newRow("negative count out of range") << d << QByteArray("6d -99999999999999999999");
    QTest::newRow("ignored count out of range") << df2 << QByteArray("6df2 99999999999999999999 0");
    QTest::newRow("count beyond the blocks") << d << "6d 2 " + good;
    QTest::newRow("largest count") << d << "6d 9223372036854775807 " + good;

    QTest::newRow("no bracket") << d << QByteArray("6d 1");
    QTest::newRow("only opening brackets") << d << QByteArray("6d 1 [[[[");
    QTest::newRow("only closing brackets") << d << QByteArray("6d 1 ]]]]");
    QTest::newRow("round brackets") << d << QByteArray("6d 1 (0 1.0)(1 2 3)(1 2 3 4 5 6 7 8 9)");
    QTest::newRow("missing last closing bracket")
        << d << "6d 1 [0 1.0]" + kPlace + "[1 2 3 4 5 6 7 8 9";
    QTest::newRow("missing first opening bracket") << d << "6d 1 0 1.0]" + kRest;
    QTest::newRow("missing second bracket pair") << d << "6d 1 [0 1.0]" + kTurn;
    QTest::newRow("missing third bracket pair") << d << "6d 1 [0 1.0]" + kPlace;
    QTest::newRow("missing fourth bracket pair") << df2 << "6df2 1 1 [0 1.0 0 0]" + kRest;
    QTest::newRow("fourth bracket not closed") << df2 << "6df2 1 1 [0 1.0 0 0]" + kRest + "[";
    QTest::newRow("second block not closed")
        << d << "6d 2 " + good + "[1 1.0]" + kPlace + "[1 2 3 4 5 6 7 8 9";
    QTest::newRow("second block not closed in its first bracket") << d << "6d 2 " + good + "[1 1.0";
    QTest::newRow("brackets in brackets") << d << "6d 1 [[0 1.0]]" + kRest;
    QTest::newRow("empty brackets") << d << QByteArray("6d 1 [][][]");

    QTest::newRow("no id") << d << "6d 1 []" + kRest;
    QTest::newRow("id is a word") << d << "6d 1 [a 1.0]" + kRest;
    QTest::newRow("id beyond int") << d << "6d 1 [2147483648 1.0]" + kRest;
    QTest::newRow("id below int") << d << "6d 1 [-2147483649 1.0]" + kRest;
    QTest::newRow("id that would wrap round to 0") << d << "6d 1 [4294967296 1.0]" + kRest;
    QTest::newRow("id beyond long") << d << "6d 1 [99999999999999999999 1.0]" + kRest;
    QTest::newRow("id of the second block beyond int")
        << d << "6d 2 " + good + "[4294967296 1.0]" + kRest;
    QTest::newRow("no quality") << d << "6d 1 [0]" + kRest;
    QTest::newRow("quality is a word") << d << "6d 1 [0 good]" + kRest;
    QTest::newRow("no button word") << df << "6df 1 [0 1.0]" + kRest;
    QTest::newRow("button word beyond long") << df << "6df 1 [0 1.0 99999999999999999999]" + kRest;
    QTest::newRow("no number of controllers") << df2 << "6df2 1 1 [0 1.0 4]" + kRest + "[]";
    QTest::newRow("two coordinates") << d << "6d 1 [0 1.0][1 2]" + kTurn;
    QTest::newRow("a coordinate is a word") << d << "6d 1 [0 1.0][1 two 3]" + kTurn;
    QTest::newRow("coordinates separated by commas") << d << "6d 1 [0 1.0][1,2,3]" + kTurn;
    QTest::newRow("coordinates with decimal commas") << d << "6d 1 [0 1.0][1,5 2,5 3,5]" + kTurn;
    QTest::newRow("eight rotation elements") << d << "6d 1 [0 1.0]" + kPlace + "[1 2 3 4 5 6 7 8]";
    QTest::newRow("rotation elements in the next bracket")
        << d << "6d 1 [0 1.0]" + kPlace + "[1 2 3 4 5 6 7 8][9]";

    for (const char *number : {"nan", "-nan", "NAN", "nan(1)", "inf", "-inf", "INF", "infinity",
                               "1e39", "-1e39", "1e400", "0x1p200"}) {
        QTest::addRow("quality %s", number) << d << "6d 1 [0 " + QByteArray(number) + "]" + kRest;
        QTest::addRow("coordinate %s", number)
            << d << "6d 1 [0 1.0][1 2 " + QByteArray(number) + "]" + kTurn;
        QTest::addRow("rotation element %s", number)
            << d << "6d 1 [0 1.0]" + kPlace + "[1 2 3 4 5 6 7 8 " + QByteArray(number) + "]";
    }
}

void tst_DataLines::rejectsMalformedLines()
{
    QFETCH(DataLineType, type);
    QFETCH(QByteArray, line);
    for (const bool comma : {false, true}) {
        const CommaLocale locale(comma);
        const ParsedLine parsed(type, line);
        QVERIFY(!parsed.wellFormed);
        QVERIFY(parsed.unchanged);
    }
}

void tst_DataLines::neverReadsBehindTheEndOfTheLine()
{
    // What lies behind the NUL would make each of these a good line of no blocks.
    QVector<DataBlock> blocks;
    char sixD[] = "6d\0 0";
    QVERIFY(!parseDataLine(DataLineType::SixD, sixD, &blocks));
    char sixDf[] = "6df\0 0";
    QVERIFY(!parseDataLine(DataLineType::SixDf, sixDf, &blocks));
    char sixDf2[] = "6df2\0 0 0";
    QVERIFY(!parseDataLine(DataLineType::SixDf2, sixDf2, &blocks));
    char empty[] = "\0\0\0 0 0 0";
    QVERIFY(!parseDataLine(DataLineType::SixD, empty, &blocks));
}

void tst_DataLines::theCountStandsBehindOneCharacterAfterTheType()
{
    QVERIFY(ParsedLine(DataLineType::SixD, "6dx0").wellFormed);
    QVERIFY(ParsedLine(DataLineType::SixDf, "6dfx0").wellFormed);
    QVERIFY(ParsedLine(DataLineType::SixDf2, "6df2x0 0").wellFormed);
    QVERIFY(!ParsedLine(DataLineType::SixD, "6d x0").wellFormed);
    QVERIFY(!ParsedLine(DataLineType::SixDf, "6df x0").wellFormed);
    QVERIFY(!ParsedLine(DataLineType::SixDf2, "6df2 x0 0").wellFormed);
}

void tst_DataLines::rejectsEveryCutOfALine_data()
{
    QTest::addColumn<DataLineType>("type");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("6d") << DataLineType::SixD << "6d 2 [0 1.000]" + kRest + "[1 -1.000]" + kRest;
    QTest::newRow("6df") << DataLineType::SixDf
                         << "6df 2 [0 1.000 5]" + kRest + "[1 1.000 0]" + kRest;
    QTest::newRow("6df2") << DataLineType::SixDf2
                          << "6df2 3 2 [0 1.000 4 2]" + kRest + "[1 0.5][1 1.000 4 2]" + kRest +
                                 "[3 0.25]";
}

void tst_DataLines::rejectsEveryCutOfALine()
{
    QFETCH(DataLineType, type);
    QFETCH(QByteArray, line);
    QVERIFY(ParsedLine(type, line).wellFormed);
    for (int length = 0; length < line.size(); ++length) {
        const ParsedLine parsed(type, line.left(length));
        QVERIFY2(!parsed.wellFormed, line.left(length).constData());
        QVERIFY2(parsed.unchanged, line.left(length).constData());
    }
}

void tst_DataLines::aCommaIsNeverADecimalPoint()
{
    UNDER_LOCALE_OF_ROW();
    // What follows the last field that is wanted is skipped, here a comma and a digit.
    const ParsedLine parsed(DataLineType::SixD, "6d 1 [0 1,5]" + kRest);
    QVERIFY(parsed.wellFormed);
    QCOMPARE(parsed.blocks.first().quality, 1.0);
}

void tst_DataLines::survivesRandomChanges()
{
    UNDER_LOCALE_OF_ROW();
    std::mt19937 random(testSeed());
    const auto below = [&random](int limit) {
        return std::uniform_int_distribution<int>(0, limit - 1)(random);
    };
    const QByteArray alphabet = "[]0123456789.-+eExXnaif, \t";
    const QVector<QPair<DataLineType, QByteArray>> lines = {
        {DataLineType::SixD, "6d 2 [0 1.000]" + kRest + "[1 -1.000]" + kRest},
        {DataLineType::SixDf, "6df 2 [0 1.000 5]" + kRest + "[1 1.000 0]" + kRest},
        {DataLineType::SixDf2,
         "6df2 3 2 [0 1.0 4 2]" + kRest + "[1 0.5][1 1.0 4 2]" + kRest + "[]"},
    };
    int accepted = 0;
    int rejected = 0;
    for (int round = 0; round < 30000; ++round) {
        const auto &original = lines.at(below(lines.size()));
        QByteArray line = original.second;
        for (int change = below(4); change >= 0 && !line.isEmpty(); --change) {
            const int at = below(line.size());
            switch (below(5)) {
            case 0:
                line[at] = static_cast<char>(below(256));
                break;
            case 1:
                line[at] = alphabet.at(below(alphabet.size()));
                break;
            case 2:
                line.truncate(at);
                break;
            case 3:
                line.remove(at, 1 + below(5));
                break;
            default:
                line.insert(at, line.mid(below(line.size()), 1 + below(20)));
                break;
            }
        }
        const ParsedLine parsed(original.first, line);
        QVERIFY2(parsed.unchanged, line.constData());
        if (!parsed.wellFormed) {
            ++rejected;
            continue;
        }
        ++accepted;
        for (const DataBlock &block : parsed.blocks) {
            bool finite = std::isfinite(block.quality) && std::isfinite(block.position.length());
            for (const double element : block.rotation.m)
                finite = finite && std::isfinite(element);
            QVERIFY2(finite && block.id >= INT_MIN && block.id <= INT_MAX, line.constData());
        }
    }
    // Both ways through the parser were taken often enough to mean something.
    QVERIFY(accepted > 1000);
    QVERIFY(rejected > 1000);
}

void tst_DataLines::readsFieldsByDescriptor()
{
    DataFields fields;
    QVERIFY(readDataFields(" 7 1.5 0x10 -3 rest", "ifii", &fields));
    QCOMPARE(fields.integers[0], 7L);
    QCOMPARE(fields.numbers[0], 1.5);
    QCOMPARE(fields.integers[1], 16L);
    QCOMPARE(fields.integers[2], -3L);

    QVERIFY(readDataFields("1 2 3 4 5 6 7 8 9", "fffffffff", &fields));
    for (int index = 0; index < 9; ++index)
        QCOMPARE(fields.numbers[static_cast<std::size_t>(index)], index + 1.0);

    QVERIFY(readDataFields("", "", &fields));
    QVERIFY(readDataFields("anything", "", &fields));
    QVERIFY(readDataFields("4294967295", "i", &fields));
    QCOMPARE(qint64(fields.integers[0]), Q_INT64_C(4294967295));
}

void tst_DataLines::rejectsFieldsThatDoNotFitTheDescriptor_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("descriptor");
    QTest::newRow("unknown letter") << QByteArray("1") << QByteArray("d");
    QTest::newRow("unknown letter behind good fields") << QByteArray("1 2 3") << QByteArray("ifx");
    QTest::newRow("capital letter") << QByteArray("1") << QByteArray("I");
    QTest::newRow("blank in the descriptor") << QByteArray("1 2") << QByteArray("i f");
    QTest::newRow("no text") << QByteArray("") << QByteArray("i");
    QTest::newRow("only blanks") << QByteArray("  ") << QByteArray("f");
    QTest::newRow("too few fields") << QByteArray("1 2") << QByteArray("iff");
    QTest::newRow("integer expected, number there") << QByteArray("1.5 2") << QByteArray("ii");
    QTest::newRow("more integers than there is room for")
        << QByteArray("1 2 3 4") << QByteArray("iiii");
    QTest::newRow("more numbers than there is room for")
        << QByteArray("1 2 3 4 5 6 7 8 9 10") << QByteArray("ffffffffff");
}

void tst_DataLines::rejectsFieldsThatDoNotFitTheDescriptor()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, descriptor);
    DataFields fields;
    QVERIFY(!readDataFields(text.constData(), descriptor.constData(), &fields));
}

QUOREL2_TEST_MAIN(tst_DataLines)
#include "tst_DataLines.moc"
