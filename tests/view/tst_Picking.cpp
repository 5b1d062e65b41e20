#include <tests/support/TestMain.h>
#include <view/Picking.h>

#include <QVector>
#include <QtTest>

Q_DECLARE_METATYPE(QVector<quint32>)

namespace {

constexpr quint32 kFarthest = 0xFFFFFFFFU;
const QString kNothing = QStringLiteral("nothing");

QString hitIn(const QVector<quint32> &buffer, int size, int hitCount)
{
    const auto hit = Picking::readNearestHit(buffer.constData(), size, hitCount);
    return hit ? QStringLiteral("%1:%2").arg(hit->kind).arg(hit->index) : kNothing;
}

} // namespace

class tst_Picking : public QObject {
    Q_OBJECT

private slots:
    void nearestHit_data();
    void nearestHit();
    void everyTruncationIsSafe();
    void everyHitCountIsSafe();
};

void tst_Picking::nearestHit_data()
{
    QTest::addColumn<QVector<quint32>>("buffer");
    QTest::addColumn<int>("hitCount");
    QTest::addColumn<QString>("expected");

    using Words = QVector<quint32>;
    QTest::newRow("no hit") << Words{0, 0, 0, 0, 0} << 0 << kNothing;
    QTest::newRow("overflow") << Words{2, 5, 6, 1, 3} << -1 << kNothing;
    QTest::newRow("one marker") << Words{2, 5, 6, 1, 3} << 1 << "1:3";
    QTest::newRow("one line") << Words{2, 5, 6, 2, 0} << 1 << "2:0";
    QTest::newRow("nearer first") << Words{2, 5, 9, 1, 3, 2, 6, 7, 1, 4} << 2 << "1:3";
    QTest::newRow("nearer second") << Words{2, 6, 7, 1, 3, 2, 5, 9, 2, 4} << 2 << "2:4";
    QTest::newRow("equal depths take the first")
        << Words{2, 5, 5, 1, 3, 2, 5, 5, 1, 4, 2, 5, 5, 2, 0} << 3 << "1:3";
    QTest::newRow("the maximum depth does not count")
        << Words{2, 5, 900, 1, 3, 2, 6, 6, 1, 4} << 2 << "1:3";
    QTest::newRow("depths compare as unsigned")
        << Words{2, 0x80000001U, kFarthest, 1, 3, 2, 0x7FFFFFFFU, kFarthest, 1, 4} << 2 << "1:4";
    QTest::newRow("the farthest depth is no hit")
        << Words{2, kFarthest, kFarthest, 1, 3} << 1 << kNothing;
    QTest::newRow("just before the farthest depth")
        << Words{2, kFarthest - 1, kFarthest, 1, 3} << 1 << "1:3";
    QTest::newRow("longer records are stepped over")
        << Words{4, 8, 9, 1, 7, 5, 5, 2, 7, 9, 1, 2} << 2 << "1:2";
    QTest::newRow("the first two of more names") << Words{4, 5, 9, 1, 7, 5, 5} << 1 << "1:7";
    QTest::newRow("a record without names is stepped over")
        << Words{0, 8, 9, 2, 7, 9, 1, 2} << 2 << "1:2";
    QTest::newRow("nearest without an index") << Words{2, 8, 9, 1, 2, 1, 3, 4, 1} << 2 << kNothing;
    QTest::newRow("nearest without names") << Words{0, 3, 4, 2, 8, 9, 1, 2} << 2 << kNothing;
    QTest::newRow("fewer records asked for than present")
        << Words{2, 8, 9, 1, 2, 2, 3, 4, 1, 5} << 1 << "1:2";
    QTest::newRow("header cut") << Words{2, 8} << 1 << kNothing;
    QTest::newRow("names cut") << Words{2, 8, 9, 1} << 1 << kNothing;
    QTest::newRow("second record cut in its names")
        << Words{2, 8, 9, 1, 2, 2, 3, 4, 1} << 2 << "1:2";
    QTest::newRow("second record cut in its header") << Words{2, 8, 9, 1, 2, 2, 3} << 2 << "1:2";
    QTest::newRow("name count beyond any buffer")
        << Words{kFarthest, 3, 4, 1, 2, 2, 1, 1, 1, 9} << 2 << kNothing;
    QTest::newRow("name count that would wrap around")
        << Words{kFarthest - 2, 3, 4, 1, 2} << 2 << kNothing;
    QTest::newRow("more records announced than fit") << Words{2, 8, 9, 1, 2} << 1000 << "1:2";
    QTest::newRow("unknown kind is handed on") << Words{2, 8, 9, 77, 2} << 1 << "77:2";
}

void tst_Picking::nearestHit()
{
    QFETCH(QVector<quint32>, buffer);
    QFETCH(int, hitCount);
    QTEST(hitIn(buffer, buffer.size(), hitCount), "expected");
}

void tst_Picking::everyTruncationIsSafe()
{
    // Four records, each nearer than the one before, ending after 5, 11, 16 and 21 words.
    const QVector<quint32> whole = {2, 90, 95, 1, 0, 3, 80, 85, 1, 1, 4,
                                    2, 70, 75, 2, 2, 2, 60, 65, 1, 3};
    for (int size = 0; size <= whole.size(); ++size) {
        // A vector of exactly that size lets a sanitizer see any read beyond it.
        const QVector<quint32> cut = whole.mid(0, size);
        QString expected = kNothing;
        if (size >= 21)
            expected = QStringLiteral("1:3");
        else if (size >= 16)
            expected = QStringLiteral("2:2");
        else if (size >= 11)
            expected = QStringLiteral("1:1");
        else if (size >= 5)
            expected = QStringLiteral("1:0");
        QCOMPARE(hitIn(cut, size, 4), expected);
    }
    QCOMPARE(hitIn({}, 0, 4), kNothing);
}

void tst_Picking::everyHitCountIsSafe()
{
    const QVector<quint32> words(512, 1);
    for (const int hitCount : {-2147483647 - 1, -1, 0, 1, 128, 129, 2147483647})
        QCOMPARE(hitIn(words, words.size(), hitCount), kNothing);
}

QUOREL2_TEST_MAIN(tst_Picking)
#include "tst_Picking.moc"
