#pragma once

#include <QDialog>

/// Explains with three pictures how the mouse controls the 3D view.
class HelpDialog : public QDialog {
    Q_OBJECT

public:
    explicit HelpDialog(QWidget *parent);
};
