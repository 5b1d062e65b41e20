#pragma once

#include <QObject>

class QWidget;

/// Keeps the mouse wheel from a widget that has no focus, so that nothing changes under a pointer
/// that only scrolls past.
class UnfocusedWheelFilter : public QObject {
    Q_OBJECT

public:
    /// Guards @p widget for its life. The wheel does not give it the focus either.
    static void install(QWidget *widget);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    explicit UnfocusedWheelFilter(QWidget *widget);
};
