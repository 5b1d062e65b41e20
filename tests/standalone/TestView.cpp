#include "TestView.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr double kBallPixels = 14.0;

Eigen::Vector3d centre(const QVector<Eigen::Vector3d> &markers)
{
    Eigen::Vector3d sum = Eigen::Vector3d::Zero();
    for (const Eigen::Vector3d &marker : markers)
        sum += marker;
    return sum / std::max(1, markers.size());
}

} // namespace

bool isFaulty(const char *fault)
{
    return qgetenv("TEST_MODULE_FAULT") == fault;
}

QPointF TestView::pixel(const Eigen::Vector3d &position) const
{
    // A height of 2 * 300 * tan(22.5 degrees) fills the view at the body's distance.
    const Eigen::Vector3d seen = room * (position - centre(markers));
    const double scale = height() / 248.528137 * 300.0 / (300.0 - seen.z());
    return {width() / 2.0 + scale * seen.x(), height() / 2.0 - scale * seen.y()};
}

void TestView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (markers.isEmpty())
        return;
    const QColor colours[3] = {Qt::red, Qt::green, Qt::blue};
    for (int axis = 0; axis < 3; ++axis) {
        painter.setPen(QPen(colours[axis], 8));
        painter.drawLine(pixel(origin), pixel(origin + 60.0 * axes.col(axis)));
    }
    if (hasLine && chosen.size() == 2) {
        painter.setPen(QPen(QColor(100, 100, 100), 5));
        painter.drawLine(pixel(markers[chosen[0]]), pixel(markers[chosen[1]]));
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::magenta);
    for (const Eigen::Vector3d &marker : qAsConst(markers))
        painter.drawEllipse(pixel(marker), kBallPixels, kBallPixels);
    painter.setBrush(Qt::NoBrush);
    for (int i = 0; i < chosen.size(); ++i) {
        const int shown = isFaulty("outline") ? (chosen[i] + 1) % markers.size() : chosen[i];
        painter.setPen(QPen(i == 0 ? QColor(255, 255, 255) : QColor(128, 128, 128), 3));
        painter.drawEllipse(pixel(markers[shown]), kBallPixels, kBallPixels);
    }
}

void TestView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton) {
        emit menuWanted(event->globalPos());
        return;
    }
    int hit = -1;
    for (int i = 0; i < markers.size(); ++i) {
        const QPointF apart = pixel(markers[i]) - event->localPos();
        if (std::hypot(apart.x(), apart.y()) <= kBallPixels)
            hit = i;
    }
    if (hit < 0)
        chosen.clear();
    else if (chosen.size() == 1 && chosen[0] != hit)
        chosen.append(hit);
    else
        chosen = {hit};
    update();
    emit choiceChanged();
}
