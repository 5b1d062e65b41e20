#include "UserInput.h"

#include <QEvent>
#include <QPointer>
#include <QWidget>
#include <QWindow>

// Exported by Qt Gui for whoever plays the user; its own test library's headers declare them so.
QT_BEGIN_NAMESPACE
Q_GUI_EXPORT void qt_handleMouseEvent(QWindow *window, const QPointF &local, const QPointF &global,
                                      Qt::MouseButtons state, Qt::MouseButton button,
                                      QEvent::Type type, Qt::KeyboardModifiers mods, int timestamp);
Q_GUI_EXPORT void qt_handleKeyEvent(QWindow *w, QEvent::Type t, int k, Qt::KeyboardModifiers mods,
                                    const QString &text = QString(), bool autorep = false,
                                    ushort count = 1);
QT_END_NAMESPACE

namespace {

/// Far enough apart that two clicks are never taken for a double click.
int nextTimestamp()
{
    static int timestamp = 0;
    return timestamp += 2000;
}

QWindow *windowOf(QWidget *widget)
{
    return widget->window()->windowHandle();
}

void sendMouse(QWidget *widget, const QPoint &position, QEvent::Type type, Qt::MouseButton button,
               Qt::MouseButtons state, int timestamp)
{
    QWindow *window = windowOf(widget);
    if (!window)
        return;
    qt_handleMouseEvent(window, widget->mapTo(widget->window(), position),
                        widget->mapToGlobal(position), state, button, type, Qt::NoModifier,
                        timestamp);
}

void sendKey(QWidget *widget, int key, Qt::KeyboardModifiers modifiers, const QString &text)
{
    const QPointer<QWidget> guard(widget);
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        // The first event may have closed the window.
        QWindow *window = guard ? windowOf(guard) : nullptr;
        if (window)
            qt_handleKeyEvent(window, type, key, modifiers, text);
    }
}

} // namespace

void UserInput::click(QWidget *widget)
{
    click(widget, widget->rect().center());
}

void UserInput::click(QWidget *widget, const QPoint &position)
{
    const QPointer<QWidget> guard(widget);
    press(widget, position, Qt::LeftButton);
    if (guard)
        release(widget, position, Qt::LeftButton);
}

void UserInput::press(QWidget *widget, const QPoint &position, Qt::MouseButton button)
{
    const QPointer<QWidget> guard(widget);
    moveMouse(widget, position);
    if (guard)
        sendMouse(widget, position, QEvent::MouseButtonPress, button, button, nextTimestamp());
}

void UserInput::release(QWidget *widget, const QPoint &position, Qt::MouseButton button)
{
    sendMouse(widget, position, QEvent::MouseButtonRelease, button, Qt::NoButton, nextTimestamp());
}

void UserInput::moveMouse(QWidget *widget, const QPoint &position)
{
    sendMouse(widget, position, QEvent::MouseMove, Qt::NoButton, Qt::NoButton, nextTimestamp());
}

void UserInput::pressKey(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    const QString text = key == Qt::Key_Return ? QStringLiteral("\r") : QString();
    sendKey(widget, key, modifiers, text);
}

void UserInput::typeText(QWidget *widget, const QString &text)
{
    const QPointer<QWidget> guard(widget);
    for (const QChar character : text) {
        if (guard)
            sendKey(widget, character.toUpper().unicode(), Qt::NoModifier, QString(character));
    }
}
