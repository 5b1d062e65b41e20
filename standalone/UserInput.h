#pragma once

#include <QPoint>
#include <QString>
#include <Qt>

class QWidget;

/// Does what a user's hand does: the events enter where the window system's own do, so focus,
/// shortcuts, open menus and modal windows decide what becomes of them.
namespace UserInput {

/// The middle of the widget.
void click(QWidget *widget);
/// @param position  in the widget
void click(QWidget *widget, const QPoint &position);
/// The two halves of a click, where something is to happen between them: a press that opens a menu
/// returns only when the menu has closed. press() moves the mouse there first.
void press(QWidget *widget, const QPoint &position, Qt::MouseButton button);
void release(QWidget *widget, const QPoint &position, Qt::MouseButton button);
void moveMouse(QWidget *widget, const QPoint &position);
/// To whatever has the focus in the widget's window.
void pressKey(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
void typeText(QWidget *widget, const QString &text);

} // namespace UserInput
