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
void moveMouse(QWidget *widget, const QPoint &position);
/// To whatever has the focus in the widget's window.
void pressKey(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
void typeText(QWidget *widget, const QString &text);

} // namespace UserInput
