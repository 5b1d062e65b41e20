#include "UnfocusedWheelFilter.h"

#include <QEvent>
#include <QWidget>

UnfocusedWheelFilter::UnfocusedWheelFilter(QWidget *widget)
    : QObject(widget)
{
}

void UnfocusedWheelFilter::install(QWidget *widget)
{
    // With another policy the first turn of the wheel would take the focus, and with it the
    // scrolling that was meant for what lies around the widget.
    widget->setFocusPolicy(Qt::StrongFocus);
    widget->installEventFilter(new UnfocusedWheelFilter(widget));
}

bool UnfocusedWheelFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Wheel && !static_cast<QWidget *>(watched)->hasFocus()) {
        event->ignore();
        return true;
    }
    return QObject::eventFilter(watched, event);
}
