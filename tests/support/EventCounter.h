#pragma once

#include <QEvent>
#include <QObject>

/// Counts the events of one type that an object gets.
class EventCounter : public QObject {
public:
    EventCounter(QObject *watched, QEvent::Type type)
        : m_type(type)
    {
        watched->installEventFilter(this);
    }
    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == m_type)
            ++count;
        return QObject::eventFilter(watched, event);
    }

private:
    QEvent::Type m_type;
};
