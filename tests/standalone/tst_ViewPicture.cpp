#include <standalone/ViewPicture.h>
#include <tests/support/TestMain.h>

#include <QPainter>
#include <QtTest>

#include <functional>

namespace {

/// A black picture of 200 x 100 view pixels with something drawn in it, in view pixels.
QImage picture(const std::function<void(QPainter &)> &draw = {}, int ratio = 1)
{
    QImage image(200 * ratio, 100 * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::black);
    if (draw) {
        QPainter painter(&image);
        draw(painter);
    }
    return image;
}

void drawBall(QPainter &painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::blue);
    painter.drawEllipse(QPointF(60.0, 50.0), 10.0, 10.0);
}

void drawOutline(QPainter &painter, const QPointF &centre, int grey)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QColor(grey, grey, grey));
    painter.drawEllipse(centre, 12.0, 12.0);
    painter.drawLine(centre - QPointF(12.0, 0.0), centre + QPointF(12.0, 0.0));
}

} // namespace

class ViewPictureTest : public QObject {
    Q_OBJECT

private slots:
    void aPlainPictureIsNotDrawn()
    {
        QVERIFY(!ViewPicture::isDrawn(QImage()));
        QVERIFY(!ViewPicture::isDrawn(picture()));
        QVERIFY(!ViewPicture::isDrawn(
            picture([](QPainter &p) { p.fillRect(0, 0, 100, 100, Qt::white); })));
        QVERIFY(ViewPicture::isDrawn(picture([](QPainter &p) {
            p.fillRect(0, 0, 50, 100, Qt::white);
            drawBall(p);
        })));
    }

    void changedPixelsAreCounted()
    {
        const QImage before = picture();
        const QImage after =
            picture([](QPainter &p) { p.fillRect(0, 0, 50, 20, QColor(17, 0, 0)); });
        QCOMPARE(ViewPicture::changedShare(before, after), 0.05);
        QCOMPARE(ViewPicture::changedShare(before, before), 0.0);
        QCOMPARE(ViewPicture::changedShare(before, QImage(10, 10, QImage::Format_RGB32)), 1.0);
        QCOMPARE(ViewPicture::changedShare(QImage(), QImage()), 1.0);
    }

    void anInvisibleDifferenceIsNone()
    {
        const QImage after =
            picture([](QPainter &p) { p.fillRect(0, 0, 200, 100, QColor(16, 16, 16)); });
        QVERIFY(ViewPicture::isSame(picture(), after));
        QVERIFY(!ViewPicture::isDifferent(picture(), after));
    }

    void theSmallestChangeIsNotTheSameAndNotDifferent()
    {
        const QImage after = picture([](QPainter &p) { p.fillRect(0, 0, 2, 2, Qt::red); });
        QVERIFY(!ViewPicture::isSame(picture(), after));
        QVERIFY(!ViewPicture::isDifferent(picture(), after));
        QVERIFY(ViewPicture::isDifferent(picture(), picture(drawBall)));
    }

    void anOutlineIsFound_data()
    {
        QTest::addColumn<int>("ratio");
        QTest::newRow("one pixel for one") << 1;
        QTest::newRow("on a fine display") << 2;
    }

    void anOutlineIsFound()
    {
        QFETCH(int, ratio);
        const QPointF centre(60.0, 50.0);
        const QImage before = picture(drawBall, ratio);
        const QImage white = picture(
            [&](QPainter &p) {
                drawBall(p);
                drawOutline(p, centre, 255);
            },
            ratio);
        QVERIFY(ViewPicture::isOutlineNew(before, white, centre, 12.0, 255));
        QVERIFY(!ViewPicture::isOutlineNew(before, white, centre, 12.0, 128));
        QVERIFY(!ViewPicture::isOutlineNew(before, before, centre, 12.0, 255));
        // It was there before.
        QVERIFY(!ViewPicture::isOutlineNew(white, white, centre, 12.0, 255));
        // It is elsewhere.
        QVERIFY(!ViewPicture::isOutlineNew(before, white, QPointF(130.0, 50.0), 12.0, 255));
        QVERIFY(!ViewPicture::isOutlineNew(QImage(), white, centre, 12.0, 255));
    }

    void anOutlineAtTheEdgeIsLookedAtAsFarAsItIsSeen()
    {
        const QImage after = picture([](QPainter &p) { drawOutline(p, QPointF(0.0, 0.0), 255); });
        QVERIFY(!ViewPicture::isOutlineNew(picture(), after, QPointF(0.0, 0.0), 12.0, 255));
    }

    void aLineIsFoundBetweenItsEnds_data()
    {
        QTest::addColumn<int>("ratio");
        QTest::newRow("one pixel for one") << 1;
        QTest::newRow("on a fine display") << 2;
    }

    void aLineIsFoundBetweenItsEnds()
    {
        QFETCH(int, ratio);
        const QPointF from(20.0, 20.0);
        const QPointF to(180.0, 70.0);
        const QImage before = picture({}, ratio);
        const QImage after = picture(
            [&](QPainter &p) {
                p.setPen(QPen(Qt::gray, 3));
                p.drawLine(from, to);
            },
            ratio);
        QVERIFY(ViewPicture::changedAlong(before, after, from, to) > 0.95);
        QVERIFY(ViewPicture::changedAlong(before, after, from, QPointF(180.0, 20.0)) < 0.1);
        QCOMPARE(ViewPicture::changedAlong(before, before, from, to), 0.0);
        QCOMPARE(ViewPicture::changedAlong(QImage(), after, from, to), 0.0);
        // Partly out of the picture.
        QVERIFY(ViewPicture::changedAlong(before, after, from, QPointF(340.0, 120.0)) < 0.6);
    }
};

QUOREL2_TEST_MAIN(ViewPictureTest)
#include "tst_ViewPicture.moc"
