#pragma once

#include <QDoubleSpinBox>

/// A spin box for measured values that behaves alike under every locale.
///
/// A comma and a point both mean the decimal separator, there are no digit groups, and text that
/// cannot be a number of the range with at most decimals() decimals cannot be typed or pasted.
/// The value is shown with the decimal separator of the widget's locale.
///
/// Return and Enter finish the edit and go no further, so no button of a dialog is pressed. Undo
/// and redo keys belong to the text only while it holds unconfirmed typing; otherwise they are left
/// to the window. The mouse wheel changes the value only while the spin box has the focus.
class ValueSpinBox : public QDoubleSpinBox {
    Q_OBJECT

public:
    explicit ValueSpinBox(QWidget *parent = nullptr);

    /// True while the text holds typing that neither Return, a loss of focus nor a step has
    /// confirmed.
    bool hasUnconfirmedText() const;
    /// Takes the typed text as the value, as Return does, and shows it in full. Text that is no
    /// value of the range is replaced by the last value. Emits valueChanged() only if the value
    /// changed, and never editingFinished().
    void confirmText();

    QValidator::State validate(QString &text, int &position) const override;
    /// The last value for text that is not a number.
    double valueFromText(const QString &text) const override;
    QString textFromValue(double value) const override;
    void fixup(QString &text) const override;

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    QString plainNumber(const QString &text) const;
    bool leavesToWindow(const QKeyEvent *event) const;
};
