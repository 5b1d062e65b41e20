#pragma once

#include "bsDoubleEnums.h"

#include <QColor>
#include <QFont>
#include <QString>
#include <QWidget>

#include <functional>

class QBoxLayout;
class QLabel;
class QwtWheel;
class ValueSpinBox;

/// One labelled value, edited through a spin box, a thumb wheel, or both.
///
/// The spin box owns the value, its range, step, decimals and wrapping; the wheel only steps it:
/// one unit of the wheel is one step. The value has the unit that the user of the widget gives it.
///
/// What the user does in one go is an editing gesture: exactly one editingBegin(), the value
/// changes, exactly one editingFinished(). A gesture begins with the first change or with the press
/// on the wheel. It ends with the release of the wheel, with Return or the loss of the focus in the
/// spin box, or, after the wheel was scrolled or turned by keys, when the pointer leaves the
/// widget. So that none stays open, it also ends when the wheel loses the focus to another widget,
/// when the widget is hidden or disabled, and with reset(). Calls of the program never begin a
/// gesture, except adjustValue().
///
/// The wheel returns to 0 with the end of every gesture; its position means nothing in between.
class bsDoubleWidget : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double value READ value WRITE setValue)
    Q_PROPERTY(QString label READ label WRITE setLabel)

public:
    /// @param wrapping  stepping over one end of the range leads to the other; the spin box then
    ///                  ends 1.0 below @p maximum, so that both ends of a full turn are not offered
    bsDoubleWidget(QWidget *parent, bsDoubleMode mode, double minimum, double maximum,
                   bool wrapping);
    ~bsDoubleWidget() override;

    virtual double value() const;
    virtual QString label() const;

    /// Size of one step. The upper end of a wrapping range moves with it, so that it stays one step
    /// below the full turn.
    virtual void setStep(double step);
    /// Changing it moves the upper end of the range by 1.0.
    virtual void setWrapping(bool wrapping);
    /// Text colour of the label, also while it is disabled. On a dark ground the label stands on a
    /// light field of its own.
    virtual void setLabelColor(const QColor &color);
    /// What the value is one component of, for those who do not see where it stands: the spin box
    /// and the wheel then carry, for example, "Body position x [mm]" as their accessible name.
    void setQuantity(const QString &quantity);

    /// An editing gesture is open.
    bool isEditing() const;
    /// Takes text that is typed but not confirmed as the value and ends the open gesture, as if the
    /// user had pressed Return or let go of the wheel. Without an open gesture nothing is emitted.
    void finishEditing();

signals:
    /// The user or setValue() changed the value.
    void valueChanged(double value);
    /// An editing gesture ended.
    void editingFinished();
    /// An editing gesture started.
    void editingBegin();

public slots:
    /// While the spin box wraps, its range ends 1.0 below @p maximum. A value outside the new range
    /// is moved to its end, which is announced by valueChanged().
    virtual void setRange(double minimum, double maximum);
    virtual void showLabel(bool show);
    /// The spin box and the wheel carry the label, behind the quantity, as their accessible name.
    virtual void setLabel(const QString &label);
    virtual void setLabelFont(const QFont &font);
    virtual void setSuffix(const QString &suffix);
    virtual void setDecimals(int decimals);
    /// Changes of 1e-5 or less are ignored. Emits valueChanged() with the requested value, even if
    /// the spin box clamped it. Begins no gesture.
    virtual void setValue(double value);
    /// Adds to the value as the user would, in an editing gesture. 1e-5 or less is ignored.
    virtual void adjustValue(double inc);
    virtual void setMode(bsDoubleMode mode);
    virtual void setLabelPosition(bsDoublePosition position);
    virtual void setWheelPosition(bsDoublePosition position);
    virtual void setWheelOrientation(bsDoubleOrientation orientation);
    /// Wheel and value return to 0; a value that was not 0 is announced by valueChanged(). Begins
    /// no gesture and takes no focus. A gesture that is open, and not itself just ending, ends
    /// after the change, because the wheel forgets a drag when it is written to. While this widget
    /// takes the focus for a gesture that begins, nothing happens: such a call ends the edit of the
    /// field that loses the focus.
    virtual void reset();
    /// The widget has no text of its own: nothing to do.
    virtual void languageChange();

private slots:
    void resetWheel();
    void spinChanged(double value);
    void wheelChanged(double value);
    void setEditingBegin();
    void setEditingFinished();
    void setMouseEditingBegin();
    void setMouseEditingFinished();

protected:
    void leaveEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// Where the editing gesture stands. One begin and one end each: whatever the taking or the
    /// clearing of the focus calls from inside finds the gesture in a state of its own.
    enum class Gesture { None, TakingFocus, Open, Ending };

    void changeWithoutGesture(const std::function<void()> &change);
    void nameControls();

    double m_lastWheelValue = 0.0;
    QBoxLayout *m_mainLayout = nullptr;
    QLabel *m_label = nullptr;
    QBoxLayout *m_valueLayout = nullptr;
    ValueSpinBox *m_spinBox = nullptr;
    QwtWheel *m_wheel = nullptr;
    QString m_quantity;
    Gesture m_editing = Gesture::None;
    bool m_mouseEditing = false;
    bool m_pendingFinish = false;
    bool m_nextChangeWithoutGesture = false;
};
