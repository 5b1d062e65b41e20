#pragma once

#include <QSize>

class QAbstractButton;
class QLabel;
class QString;

/// Shows a picture on the label with as many pixels as the label's screen has, also after a move to
/// another screen. The picture keeps its size in the layout. May be called again for another
/// picture.
/// @param path  a picture that has a variant "@2x" beside it, for example ":/panning.png"; empty:
///              no picture
/// @param size  the picture is scaled to this size; an empty one: its own
void showSharpPicture(QLabel *label, const QString &path, const QSize &size = QSize());

/// Draws the icon of the button, which has a variant "@2x" beside it, with as many pixels as the
/// screen has, whether or not the host has asked for fine icons in the whole application.
void drawIconSharply(QAbstractButton *button);
