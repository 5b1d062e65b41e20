#include <standalone/MarkerView.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <cmath>

using Position = MarkerView::Position;
Q_DECLARE_METATYPE(Position)

namespace {

const QSize kSize(640, 480);
/// What is seen of a millimetre in the middle plane: half the height for 300 tan 22.5.
const double kPixelsPerMm = 240.0 / 124.2640687;

void compare(const QPointF &found, double x, double y)
{
    QVERIFY2(std::hypot(found.x() - x, found.y() - y) < 1e-6,
             qPrintable(QStringLiteral("(%1, %2) instead of (%3, %4)")
                            .arg(found.x())
                            .arg(found.y())
                            .arg(x)
                            .arg(y)));
}

} // namespace

class MarkerViewTest : public QObject {
    Q_OBJECT

private slots:
    void theCentreIsSeenInTheMiddle()
    {
        const MarkerView view({{7.0, 8.0, 9.0}}, kSize);
        compare(view.pixelOf(0), 320.0, 240.0);
        QVERIFY(std::fabs(view.outlineRadiusOf(0) - 12.0 * kPixelsPerMm) < 1e-6);
    }

    void xIsToTheRightAndYIsUp()
    {
        const MarkerView view({{150.0, 60.0, 5.0}, {50.0, 40.0, 5.0}}, kSize);
        compare(view.pixelOf(0), 320.0 + 50.0 * kPixelsPerMm, 240.0 - 10.0 * kPixelsPerMm);
        compare(view.pixelOf(1), 320.0 - 50.0 * kPixelsPerMm, 240.0 + 10.0 * kPixelsPerMm);
    }

    void whatIsNearerIsLarger()
    {
        const MarkerView view({{40.0, 0.0, 100.0}, {-40.0, 0.0, -100.0}}, kSize);
        compare(view.pixelOf(0), 320.0 + 40.0 * 1.5 * kPixelsPerMm, 240.0);
        compare(view.pixelOf(1), 320.0 - 40.0 * 0.75 * kPixelsPerMm, 240.0);
        QVERIFY(std::fabs(view.outlineRadiusOf(0) - 2.0 * view.outlineRadiusOf(1)) < 1e-6);
    }

    void theHeightSetsTheScale()
    {
        const QVector<Position> markers = {{10.0, 0.0, 0.0}, {-10.0, 0.0, 0.0}};
        compare(MarkerView(markers, {640, 240}).pixelOf(0), 320.0 + 5.0 * kPixelsPerMm, 120.0);
        compare(MarkerView(markers, {300, 480}).pixelOf(0), 150.0 + 10.0 * kPixelsPerMm, 240.0);
    }

    void onlyMarkersApartAndWithinAreInFullView()
    {
        // Their centre is (0, 0, 0).
        const QVector<Position> markers = {
            {0.0, 0.0, 0.0},   {150.0, 0.0, 0.0},   {-150.0, 0.0, 0.0},  {0.0, 60.0, 0.0},
            {0.0, -60.0, 0.0}, {12.0, 60.0, -50.0}, {-12.0, -60.0, 50.0}};
        const MarkerView view(markers, kSize);
        QVERIFY(view.isInFullView(0));
        // The outline reaches 162 mm to the right, and a few pixels are kept free.
        QVERIFY(MarkerView(markers, {qCeil(2.0 * 162.0 * kPixelsPerMm) + 8, 480}).isInFullView(1));
        QVERIFY(!MarkerView(markers, {qFloor(2.0 * 162.0 * kPixelsPerMm), 480}).isInFullView(1));
        QVERIFY(!MarkerView(markers, {400, 480}).isInFullView(1));
        QVERIFY(!view.isInFullView(3));
        QVERIFY(!view.isInFullView(5));
    }

    void markersBehindTheEyeAreNeverSeen()
    {
        const MarkerView view({{0.0, 0.0, 700.0}, {0.0, 0.0, 0.0}, {90.0, 0.0, 0.0}}, kSize);
        QVERIFY(!view.isInFullView(0));
    }

    void thePairIsNeitherAlongXNorAcross()
    {
        // Along x, across, and one pair at about 45 degrees.
        const MarkerView view({{0.0, 0.0, 0.0}, {80.0, 2.0, 0.0}, {3.0, 80.0, 0.0}}, kSize);
        const MarkerView::Pair pair = view.pairForAxis();
        QCOMPARE(pair.first, 1);
        QCOMPARE(pair.second, 2);
    }

    void depthCountsAsAcross()
    {
        const MarkerView view({{-30.0, 0.0, -40.0}, {30.0, 0.0, 20.0}}, kSize);
        QVERIFY(view.pairForAxis().isValid());
    }

    void withoutASuitablePairThereIsNone_data()
    {
        QTest::addColumn<QVector<Position>>("markers");
        QTest::newRow("no marker") << QVector<Position>{};
        QTest::newRow("one marker") << QVector<Position>{{0.0, 0.0, 0.0}};
        QTest::newRow("along x") << QVector<Position>{{-40.0, 0.0, 0.0}, {40.0, 0.0, 0.0}};
        QTest::newRow("across") << QVector<Position>{{0.0, -40.0, 0.0}, {0.0, 40.0, 0.0}};
        QTest::newRow("in one place") << QVector<Position>{{0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
        QTest::newRow("one behind the other")
            << QVector<Position>{{0.0, 0.0, 0.0}, {5.0, 0.0, 5.0}};
        QTest::newRow("out of sight")
            << QVector<Position>{{-200.0, -200.0, 0.0}, {200.0, 200.0, 0.0}};
    }

    void withoutASuitablePairThereIsNone()
    {
        QFETCH(QVector<Position>, markers);
        QVERIFY(!MarkerView(markers, kSize).pairForAxis().isValid());
    }
};

QUOREL2_TEST_MAIN(MarkerViewTest)
#include "tst_MarkerView.moc"
