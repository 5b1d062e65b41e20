#pragma once

#include <view/GLCanvas.h>

#include <QImage>
#include <QPoint>
#include <QPointF>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

#include <Eigen/Geometry>

#include <functional>

/// Where scene points appear, computed apart from the code under test: a perspective of 45 degrees
/// whose camera looks along -Z. The camera, room rotation and pivot are given by the test.
struct Projection {
    Eigen::Affine3d view = Eigen::Affine3d(Eigen::Translation3d(0.0, 0.0, -300.0));
    Eigen::Affine3d room = Eigen::Affine3d::Identity();
    Eigen::Vector3d pivot = Eigen::Vector3d::Zero();
    QSize size; ///< of the picture or the widget in which the point is wanted

    explicit Projection(const QSize &pictureSize)
        : size(pictureSize)
    {
    }
    QPointF point(double x, double y, double z) const;
    QPointF point(const bsVector &position) const;
    /// Pixels that a length covers, at a depth (distance in front of the camera).
    double pixels(double length, double depth) const;
};

Eigen::Affine3d affine(const bsMatrix &matrix);
bsMatrix fromAffine(const Eigen::Affine3d &transform);
Eigen::Vector3d vector(const bsVector &v);
Eigen::Vector3d centre(const QVector<bsVector> &positions);

/// Six markers around their centre (0, 0, 0), in front of the initial camera, none hiding another.
QVector<bsVector> sixMarkers();
/// Twenty markers around (40, -25, 10), none hiding another from the initial camera.
QVector<bsVector> twentyMarkers();

/// Shows a canvas as a window of the given size (widget pixels) and waits until it has drawn.
bool showCanvas(GLCanvas &canvas, const QSize &size = QSize(640, 480));
/// Draws now and reads the picture back, in device pixels. The last ones are kept for
/// keepPictures().
QImage picture(GLCanvas &canvas);
/// Saves the pictures taken since the last call into the working directory if the current case has
/// failed. To be called from cleanup().
void keepPictures();

QColor colourAt(const QImage &image, const QPointF &point);
/// Number of pixels within @p radius of @p centre for which @p test holds.
int countPixels(const QImage &image, const QPointF &centre, double innerRadius, double outerRadius,
                const std::function<bool(const QColor &)> &test);
int countPixels(const QImage &image, const std::function<bool(const QColor &)> &test);
bool isBlack(const QColor &colour);

/// Writes down every signal of a canvas with its value, in the order of emission.
class SignalLog : public QObject {
    Q_OBJECT

public:
    explicit SignalLog(GLCanvas &canvas);
    /// What was emitted since the last call.
    QStringList take();

private:
    QStringList m_lines;
};

/// Counts its frames, also those drawn directly: QGLWidget::updateGL() sends no paint event.
class CountedCanvas : public GLCanvas {
    Q_OBJECT

public:
    using GLCanvas::GLCanvas;
    int frames = 0;

protected:
    void paintGL() override;
};
