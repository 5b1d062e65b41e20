#pragma once

class QLabel;
class QString;

/// Registers the pictures (":/red.png" and the others); a static library's resources are not there
/// before. May be called again.
void initWidgetResources();

/// Shows a picture on the label with as many pixels as the label's screen has, also after a move to
/// another screen. The picture keeps its size in the layout.
/// @param path  a picture that has a variant "@2x" beside it, for example ":/panning.png"
void showSharpPicture(QLabel *label, const QString &path);
