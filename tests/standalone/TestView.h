#pragma once

#include <QPointF>
#include <QVector>
#include <QWidget>

#include <Eigen/Core>

/// Stands where the real dialog has its OpenGL view, and is found by this name.
class QGLWidget : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;
};

/// Whether the environment variable TEST_MODULE_FAULT asks for this mistake.
bool isFaulty(const char *fault);

/// A body as the real view shows it, as far as a user has to tell things apart: balls, outlines of
/// the chosen ones, axes, a line.
class TestView : public QGLWidget {
    Q_OBJECT

public:
    using QGLWidget::QGLWidget;

    QVector<Eigen::Vector3d> markers;
    Eigen::Matrix3d axes = Eigen::Matrix3d::Identity();
    Eigen::Vector3d origin = Eigen::Vector3d::Zero();
    Eigen::Matrix3d room = Eigen::Matrix3d::Identity();
    QVector<int> chosen;
    bool hasLine = false;

signals:
    void choiceChanged();
    void menuWanted(const QPoint &place);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    QPointF pixel(const Eigen::Vector3d &position) const;
};
