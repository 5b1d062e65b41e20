#include "CanvasFixture.h"

#include <model/abcBody.h>
#include <tests/support/EventCounter.h>

#include <QCoreApplication>
#include <QDir>
#include <QtTest>

#include <cmath>

namespace {

QVector<QImage> g_pictures;

struct BufferSwap : QGLWidget {
    static void setAutomatic(QGLWidget &widget, bool automatic)
    {
        (widget.*(&BufferSwap::setAutoBufferSwap))(automatic);
    }
};

} // namespace

QPointF Projection::point(double x, double y, double z) const
{
    const Eigen::Vector3d eye = view * (room * (Eigen::Vector3d(x, y, z) - pivot));
    const double scale = size.height() / 2.0 / std::tan(22.5 * M_PI / 180.0) / -eye.z();
    return {size.width() / 2.0 + eye.x() * scale, size.height() / 2.0 - eye.y() * scale};
}

QPointF Projection::point(const bsVector &position) const
{
    return point(position.x, position.y, position.z);
}

double Projection::pixels(double length, double depth) const
{
    return length * size.height() / 2.0 / std::tan(22.5 * M_PI / 180.0) / depth;
}

Eigen::Affine3d affine(const bsMatrix &matrix)
{
    Eigen::Affine3d transform;
    transform.matrix() = Eigen::Map<const Eigen::Matrix4d>(matrix.m);
    return transform;
}

bsMatrix fromAffine(const Eigen::Affine3d &transform)
{
    bsMatrix matrix;
    Eigen::Map<Eigen::Matrix4d>(matrix.m) = transform.matrix();
    return matrix;
}

Eigen::Vector3d vector(const bsVector &v)
{
    return {v.x, v.y, v.z};
}

Eigen::Vector3d centre(const QVector<bsVector> &positions)
{
    Eigen::Vector3d sum = Eigen::Vector3d::Zero();
    for (const bsVector &position : positions)
        sum += vector(position);
    return sum / positions.size();
}

QVector<bsVector> sixMarkers()
{
    return {{-60.0, -40.0, 5.0}, {60.0, -40.0, -5.0}, {60.0, 40.0, 5.0},
            {-60.0, 40.0, -5.0}, {0.0, 70.0, 10.0},   {0.0, -70.0, -10.0}};
}

QVector<bsVector> twentyMarkers()
{
    QVector<bsVector> positions;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 5; ++column) {
            const double depth = ((row * 5 + column) * 7) % 11 - 5.0;
            positions.append(
                bsVector(40.0 + (column - 2) * 45.0, -25.0 + (row - 1.5) * 45.0, 10.0 + depth));
        }
    }
    return positions;
}

bool showCanvas(GLCanvas &canvas, const QSize &size)
{
    canvas.setSuspended(false);
    canvas.resize(size);
    EventCounter paints(&canvas, QEvent::Paint);
    canvas.show();
    return QTest::qWaitForWindowExposed(&canvas) &&
           QTest::qWaitFor([&] { return paints.count > 0 && canvas.size() == size; });
}

QImage picture(GLCanvas &canvas)
{
    // What is in the back buffer after a swap is nobody's promise.
    BufferSwap::setAutomatic(canvas, false);
    canvas.updateGL();
    const QImage image = canvas.grabFrameBuffer().convertToFormat(QImage::Format_RGB32);
    canvas.swapBuffers();
    BufferSwap::setAutomatic(canvas, true);
    g_pictures.append(image);
    if (g_pictures.size() > 2)
        g_pictures.removeFirst();
    return image;
}

void keepPictures()
{
    if (QTest::currentTestFailed()) {
        for (int i = 0; i < g_pictures.size(); ++i) {
            const QString tag = QString::fromUtf8(QTest::currentDataTag());
            QString name = QStringLiteral("%1-%2-%3-%4.png")
                               .arg(QCoreApplication::applicationName(),
                                    QString::fromUtf8(QTest::currentTestFunction()), tag)
                               .arg(i);
            name.replace(QLatin1Char(' '), QLatin1Char('_')).remove(QLatin1Char('/'));
            g_pictures[i].save(QDir::current().filePath(name));
        }
    }
    g_pictures.clear();
}

QColor colourAt(const QImage &image, const QPointF &point)
{
    const QPoint pixel(static_cast<int>(std::floor(point.x())),
                       static_cast<int>(std::floor(point.y())));
    return image.rect().contains(pixel) ? image.pixelColor(pixel) : QColor();
}

int countPixels(const QImage &image, const QPointF &centre, double innerRadius, double outerRadius,
                const std::function<bool(const QColor &)> &test)
{
    int count = 0;
    const int reach = static_cast<int>(std::ceil(outerRadius)) + 1;
    const QPoint around = centre.toPoint();
    const QRect area(around - QPoint(reach, reach), around + QPoint(reach, reach));
    const QRect inside = area.intersected(image.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            const double distance = std::hypot(x + 0.5 - centre.x(), y + 0.5 - centre.y());
            if (distance >= innerRadius && distance <= outerRadius && test(image.pixelColor(x, y)))
                ++count;
        }
    }
    return count;
}

int countPixels(const QImage &image, const std::function<bool(const QColor &)> &test)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (test(image.pixelColor(x, y)))
                ++count;
        }
    }
    return count;
}

bool isBlack(const QColor &colour)
{
    return colour == QColor(0, 0, 0);
}

SignalLog::SignalLog(GLCanvas &canvas)
{
    const auto add = [this](const char *name) {
        return [this, name] { m_lines.append(QString::fromLatin1(name)); };
    };
    const auto addBool = [this](const char *name) {
        return [this, name](bool value) {
            m_lines.append(QStringLiteral("%1(%2)").arg(QString::fromLatin1(name),
                                                        value ? QStringLiteral("true")
                                                              : QStringLiteral("false")));
        };
    };
    const auto addTriple = [this](const char *name) {
        return [this, name](double x, double y, double z) {
            m_lines.append(
                QStringLiteral("%1(%2,%3,%4)").arg(QString::fromLatin1(name)).arg(x).arg(y).arg(z));
        };
    };
    connect(&canvas, &GLCanvas::translateViewRequest, this, addTriple("translateViewRequest"));
    connect(&canvas, &GLCanvas::rotateViewRequest, this, addTriple("rotateViewRequest"));
    connect(&canvas, &GLCanvas::storeViewRequest, this, add("storeViewRequest"));
    connect(&canvas, &GLCanvas::bodyModified, this, addBool("bodyModified"));
    connect(&canvas, &GLCanvas::storeBodyRequest, this, add("storeBodyRequest"));
    connect(&canvas, &GLCanvas::canUndo, this, addBool("canUndo"));
    connect(&canvas, &GLCanvas::canRedo, this, addBool("canRedo"));
    connect(&canvas, &GLCanvas::canSetOriginToMarker, this, addBool("canSetOriginToMarker"));
    connect(&canvas, &GLCanvas::canSetAxisToMarkers, this, addBool("canSetAxisToMarkers"));
    connect(&canvas, &GLCanvas::canSetParallelAxes, this, addBool("canSetParallelAxes"));
    connect(&canvas, &GLCanvas::body_change, this, addBool("body_change"));
    connect(&canvas, &GLCanvas::is_online, this, addBool("is_online"));
    connect(&canvas, &GLCanvas::canIntroduceLine, this, addBool("canIntroduceLine"));
    connect(&canvas, &GLCanvas::canDeleteLine, this, addBool("canDeleteLine"));
    connect(&canvas, &GLCanvas::canDeleteMarker, this, add("canDeleteMarker"));
}

QStringList SignalLog::take()
{
    QStringList lines;
    lines.swap(m_lines);
    return lines;
}

void CountedCanvas::paintGL()
{
    ++frames;
    GLCanvas::paintGL();
}
