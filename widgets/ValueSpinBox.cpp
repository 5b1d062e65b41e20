#include "ValueSpinBox.h"

#include "UnfocusedWheelFilter.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QPointer>
#include <QRegularExpression>

#include <cmath>

namespace {

const QChar kArabicDecimalSeparator(0x066B);
const QChar kMinusSign(0x2212);

/// Optional sign, digits, and digits behind a separator; any of them may still be missing.
const QString kNumberPattern = QStringLiteral("\\A([+-]?)([0-9]*)(?:(\\.)([0-9]*))?\\z");

} // namespace

ValueSpinBox::ValueSpinBox(QWidget *parent)
    : QDoubleSpinBox(parent)
{
    UnfocusedWheelFilter::install(this);
}

bool ValueSpinBox::hasUnconfirmedText() const
{
    return lineEdit()->isModified();
}

void ValueSpinBox::confirmText()
{
    const QPointer<ValueSpinBox> alive(this);
    interpretText();
    if (alive)
        lineEdit()->setModified(false);
}

QValidator::State ValueSpinBox::validate(QString &text, int & /*position*/) const
{
    static const QRegularExpression pattern(kNumberPattern);
    const QString number = plainNumber(text);
    const QRegularExpressionMatch match = pattern.match(number);
    if (!match.hasMatch())
        return QValidator::Invalid;

    const QString sign = match.captured(1);
    const QString whole = match.captured(2);
    const QString fraction = match.captured(4);
    if ((sign == QLatin1String("-") && minimum() >= 0.0) ||
        (sign == QLatin1String("+") && maximum() <= 0.0))
        return QValidator::Invalid;
    if (fraction.size() > decimals() || (decimals() == 0 && !match.captured(3).isEmpty()))
        return QValidator::Invalid;
    if (whole.isEmpty() && fraction.isEmpty())
        return QValidator::Intermediate;

    const double value = QLocale::c().toDouble(number);
    if (value >= minimum() && value <= maximum())
        return QValidator::Acceptable;
    // More digits only lead away from zero.
    const bool beyondRange = value >= 0.0 ? value > maximum() : value < minimum();
    return beyondRange ? QValidator::Invalid : QValidator::Intermediate;
}

double ValueSpinBox::valueFromText(const QString &text) const
{
    bool isNumber = false;
    const double number = QLocale::c().toDouble(plainNumber(text), &isNumber);
    return isNumber && std::isfinite(number) ? number : value();
}

QString ValueSpinBox::textFromValue(double value) const
{
    QLocale shown = locale();
    shown.setNumberOptions(shown.numberOptions() | QLocale::OmitGroupSeparator);
    return shown.toString(value, 'f', decimals());
}

void ValueSpinBox::fixup(QString & /*text*/) const
{
    // The base class removes the locale's group separator here: a point under a German locale.
}

bool ValueSpinBox::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride &&
        leavesToWindow(static_cast<QKeyEvent *>(event))) {
        event->ignore();
        return true;
    }
    return QDoubleSpinBox::event(event);
}

void ValueSpinBox::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        // The base class announces the value once more even if it has not changed, and hands the
        // key on to the dialog.
        event->accept();
        const QPointer<ValueSpinBox> alive(this);
        confirmText();
        if (!alive)
            return;
        selectAll();
        emit editingFinished();
        return;
    }
    if (leavesToWindow(event)) {
        event->ignore();
        return;
    }
    QDoubleSpinBox::keyPressEvent(event);
}

void ValueSpinBox::focusOutEvent(QFocusEvent *event)
{
    const QPointer<ValueSpinBox> alive(this);
    QDoubleSpinBox::focusOutEvent(event);
    if (alive)
        lineEdit()->setModified(false);
}

/// The text without prefix and suffix, its sign, digits and decimal separators (of whatever script)
/// as the C locale writes them. Anything else stays as it is.
QString ValueSpinBox::plainNumber(const QString &text) const
{
    QString number = text;
    if (number.startsWith(prefix()))
        number.remove(0, prefix().size());
    if (number.endsWith(suffix()))
        number.chop(suffix().size());
    number = number.trimmed();
    for (QChar &character : number) {
        if (character.isDigit())
            character = QLatin1Char(static_cast<char>('0' + character.digitValue()));
        else if (character == QLatin1Char(',') || character == kArabicDecimalSeparator)
            character = QLatin1Char('.');
        else if (character == kMinusSign)
            character = QLatin1Char('-');
    }
    return number;
}

bool ValueSpinBox::leavesToWindow(const QKeyEvent *event) const
{
    const bool isUndoOrRedo = event->matches(QKeySequence::Undo) ||
                              event->matches(QKeySequence::Redo) ||
                              (event->key() == Qt::Key_Z &&
                               (event->modifiers() == Qt::ControlModifier ||
                                event->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier)));
    return isUndoOrRedo && !hasUnconfirmedText();
}
