#pragma once

#include <QMessageBox>

/// Runs a message box above its parent.
/// @return the button; NoButton if the parent was destroyed meanwhile, and the box with it
QMessageBox::StandardButton runMessageBox(QWidget *parent, QMessageBox::Icon icon,
                                          const QString &title, const QString &text,
                                          QMessageBox::StandardButtons buttons,
                                          QMessageBox::StandardButton defaultButton);
