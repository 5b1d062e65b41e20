#pragma once

class QWidget;

/// Gives each control of the window its "What's This" text as the description that screen readers
/// tell, also to the fields and wheels of a three-axis group. To be called again after a change of
/// the language.
void describeControls(QWidget *window);
