#include "bsDoubleWidget.h"

#include "SmallestChange.h"
#include "ValueSpinBox.h"

#include <QBoxLayout>
#include <QEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPaintEvent>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QSignalBlocker>
#include <QStyle>
#include <QWheelEvent>

#include <qwt_wheel.h>

#include <cmath>
#include <utility>

namespace {

constexpr double kWrapCorrection = 1.0;
constexpr double kWheelPeriod = 361.0;
constexpr double kHalfTurn = 180.0;
constexpr int kControlWidth = 56;
constexpr int kNotch = QWheelEvent::DefaultDeltasPerStep;

/// The library's wheel with two corrections: the small scrolls of a touchpad add up to notches
/// instead of being lost one by one, and no key jumps to an end of the range, because the position
/// of the wheel means nothing.
class ThumbWheel : public QwtWheel {
public:
    using QwtWheel::QwtWheel;

protected:
    void wheelEvent(QWheelEvent *event) override
    {
        const QPoint angle = event->angleDelta();
        const int delta = std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
        if ((delta < 0) != (m_scrolled < 0))
            m_scrolled = 0;
        m_scrolled += delta;
        const int notches = m_scrolled / kNotch;
        if (notches == 0) {
            event->accept();
            return;
        }
        m_scrolled -= notches * kNotch;
        QWheelEvent whole(event->position(), event->globalPosition(), QPoint(),
                          QPoint(0, notches * kNotch), event->buttons(), event->modifiers(),
                          event->phase(), event->inverted(), event->source());
        QwtWheel::wheelEvent(&whole);
        event->setAccepted(whole.isAccepted());
    }

    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Home || event->key() == Qt::Key_End) {
            event->ignore();
            return;
        }
        QwtWheel::keyPressEvent(event);
    }

private:
    int m_scrolled = 0; ///< what is left of whole notches, in eighths of a degree
};

/// A label whose colour is given stays legible on a dark ground: there it stands on a light field.
class ColouredLabel : public QLabel {
public:
    using QLabel::QLabel;

    void setColour(const QColor &colour)
    {
        QPalette ownPalette = palette();
        ownPalette.setColor(QPalette::All, QPalette::WindowText, colour);
        setPalette(ownPalette);
        m_hasColour = true;
        makeRoomForField();
    }

protected:
    void changeEvent(QEvent *event) override
    {
        QLabel::changeEvent(event);
        if (event->type() == QEvent::PaletteChange)
            makeRoomForField();
    }

    void paintEvent(QPaintEvent *event) override
    {
        if (needsField() && !text().isEmpty()) {
            const Qt::Alignment side = QStyle::visualAlignment(layoutDirection(), alignment());
            const QRect field =
                style()
                    ->itemTextRect(fontMetrics(), contentsRect(), int(side), true, text())
                    .adjusted(-kFieldMargin, 0, kFieldMargin, 0);
            QPainter painter(this);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(kFieldBrightness, kFieldBrightness, kFieldBrightness));
            painter.drawRoundedRect(field, kFieldMargin, kFieldMargin);
        }
        QLabel::paintEvent(event);
    }

private:
    static constexpr int kFieldMargin = 3;
    static constexpr int kFieldBrightness = 235;

    bool needsField() const
    {
        constexpr int kMiddle = 128;
        return m_hasColour && palette().color(backgroundRole()).lightness() < kMiddle;
    }

    void makeRoomForField()
    {
        const int margin = needsField() ? kFieldMargin : 0;
        setContentsMargins(margin, 0, margin, 0);
    }

    bool m_hasColour = false;
};

double spinBoxMaximum(double maximum, bool wrapping)
{
    return wrapping ? maximum - kWrapCorrection : maximum;
}

} // namespace

bsDoubleWidget::bsDoubleWidget(QWidget *parent, bsDoubleMode mode, double minimum, double maximum,
                               bool wrapping)
    : QWidget(parent)
{
    qRegisterMetaType<bsDoubleMode>("bsDoubleMode");
    qRegisterMetaType<bsDoublePosition>("bsDoublePosition");
    qRegisterMetaType<bsDoubleOrientation>("bsDoubleOrientation");

    m_mainLayout = new QBoxLayout(QBoxLayout::LeftToRight, this);
    m_mainLayout->setContentsMargins(0, 0, 0, 0);

    m_label = new ColouredLabel(this);
    m_label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_mainLayout->addWidget(m_label);

    m_valueLayout = new QBoxLayout(QBoxLayout::TopToBottom);
    m_valueLayout->setSpacing(5);
    m_mainLayout->addLayout(m_valueLayout);

    m_spinBox = new ValueSpinBox(this);
    m_spinBox->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_spinBox->setAlignment(Qt::AlignRight);
    m_spinBox->setMinimum(minimum);
    m_spinBox->setWrapping(wrapping);
    m_spinBox->setMaximum(spinBoxMaximum(maximum, m_spinBox->wrapping()));
    m_spinBox->setMinimumWidth(kControlWidth);
    connect(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            &bsDoubleWidget::spinChanged);
    connect(m_spinBox, &QDoubleSpinBox::editingFinished, this, &bsDoubleWidget::setEditingFinished);
    m_valueLayout->addWidget(m_spinBox);

    // The wheel keeps the library's step of 1. It has no mass: a wheel that runs on would change
    // the value after its release.
    m_wheel = new ThumbWheel(this);
    m_wheel->setRange(0.0, 360.0);
    m_wheel->setPageStepCount(10);
    m_wheel->setTotalAngle(3600.0);
    m_wheel->setWrapping(true);
    m_wheel->setTickCount(15);
    m_wheel->installEventFilter(this);
    connect(m_wheel, &QwtWheel::valueChanged, this, &bsDoubleWidget::wheelChanged);
    connect(m_wheel, &QwtWheel::wheelPressed, this, &bsDoubleWidget::setMouseEditingBegin);
    connect(m_wheel, &QwtWheel::wheelReleased, this, &bsDoubleWidget::setMouseEditingFinished);
    m_valueLayout->addWidget(m_wheel);

    bsDoubleWidget::setMode(mode);
    bsDoubleWidget::setWheelOrientation(Horizontal);
}

bsDoubleWidget::~bsDoubleWidget()
{
    // A child that loses the focus while it is destroyed must not reach this object any more.
    m_spinBox->disconnect(this);
    m_wheel->disconnect(this);
    m_wheel->removeEventFilter(this);
}

double bsDoubleWidget::value() const
{
    return m_spinBox->value();
}

QString bsDoubleWidget::label() const
{
    return m_label->text();
}

void bsDoubleWidget::setStep(double step)
{
    changeWithoutGesture([this, step] {
        if (m_spinBox->wrapping())
            m_spinBox->setMaximum(m_spinBox->maximum() + m_spinBox->singleStep() - step);
        m_spinBox->setSingleStep(step);
    });
}

void bsDoubleWidget::setWrapping(bool wrapping)
{
    if (wrapping == m_spinBox->wrapping())
        return;
    changeWithoutGesture([this, wrapping] {
        m_spinBox->setWrapping(wrapping);
        m_spinBox->setMaximum(m_spinBox->maximum() +
                              (wrapping ? -kWrapCorrection : kWrapCorrection));
    });
}

void bsDoubleWidget::setLabelColor(const QColor &color)
{
    static_cast<ColouredLabel *>(m_label)->setColour(color);
}

void bsDoubleWidget::setQuantity(const QString &quantity)
{
    m_quantity = quantity;
    nameControls();
}

bool bsDoubleWidget::isEditing() const
{
    return m_editing != Gesture::None;
}

void bsDoubleWidget::finishEditing()
{
    const QPointer<bsDoubleWidget> alive(this);
    if (m_spinBox->hasUnconfirmedText())
        m_spinBox->confirmText();
    if (alive)
        setEditingFinished();
}

void bsDoubleWidget::setRange(double minimum, double maximum)
{
    const double spinMaximum = spinBoxMaximum(maximum, m_spinBox->wrapping());
    changeWithoutGesture([this, minimum, spinMaximum] {
        m_spinBox->setMinimum(minimum);
        m_spinBox->setMaximum(spinMaximum);
    });
}

void bsDoubleWidget::showLabel(bool show)
{
    m_label->setVisible(show);
}

void bsDoubleWidget::setLabel(const QString &label)
{
    m_label->setText(label);
    nameControls();
}

void bsDoubleWidget::setLabelFont(const QFont &font)
{
    m_label->setFont(font);
}

void bsDoubleWidget::setSuffix(const QString &suffix)
{
    m_spinBox->setSuffix(suffix);
}

void bsDoubleWidget::setDecimals(int decimals)
{
    changeWithoutGesture([this, decimals] { m_spinBox->setDecimals(decimals); });
}

void bsDoubleWidget::setValue(double value)
{
    if (!isChange(value - this->value()))
        return;
    {
        const QSignalBlocker blocker(m_spinBox);
        m_spinBox->setValue(value);
    }
    emit valueChanged(value);
}

void bsDoubleWidget::adjustValue(double inc)
{
    if (!isChange(inc))
        return;
    const QPointer<bsDoubleWidget> alive(this);
    m_spinBox->setValue(value() + inc);
    // Without the focus the spin box will not notice the end of this gesture.
    if (alive && isEditing() && !m_mouseEditing && !m_spinBox->hasFocus())
        m_pendingFinish = true;
}

void bsDoubleWidget::setMode(bsDoubleMode mode)
{
    if (mode != SpinBoxOnly && mode != WheelOnly && mode != SpinBoxAndWheel)
        return;
    m_spinBox->setVisible(mode != WheelOnly);
    m_wheel->setVisible(mode != SpinBoxOnly);
}

void bsDoubleWidget::setLabelPosition(bsDoublePosition position)
{
    switch (position) {
    case Top:
        m_mainLayout->setDirection(QBoxLayout::TopToBottom);
        m_mainLayout->setAlignment(m_label, Qt::AlignCenter);
        break;
    case Bottom:
        m_mainLayout->setDirection(QBoxLayout::BottomToTop);
        m_mainLayout->setAlignment(m_label, Qt::AlignCenter);
        break;
    case Left:
        m_mainLayout->setDirection(QBoxLayout::LeftToRight);
        m_mainLayout->setAlignment(m_label, Qt::AlignLeft);
        break;
    case Right:
        m_mainLayout->setDirection(QBoxLayout::RightToLeft);
        m_mainLayout->setAlignment(m_label, Qt::AlignLeft);
        break;
    }
}

void bsDoubleWidget::setWheelPosition(bsDoublePosition position)
{
    switch (position) {
    case Top:
        m_valueLayout->setDirection(QBoxLayout::BottomToTop);
        break;
    case Bottom:
        m_valueLayout->setDirection(QBoxLayout::TopToBottom);
        break;
    case Left:
        m_valueLayout->setDirection(QBoxLayout::RightToLeft);
        break;
    case Right:
        m_valueLayout->setDirection(QBoxLayout::LeftToRight);
        break;
    }
}

void bsDoubleWidget::setWheelOrientation(bsDoubleOrientation orientation)
{
    switch (orientation) {
    case Horizontal:
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        m_wheel->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        m_wheel->setMinimumWidth(kControlWidth);
        m_wheel->setOrientation(Qt::Horizontal);
        m_valueLayout->setAlignment(m_wheel, Qt::Alignment());
        break;
    case Vertical:
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
        m_wheel->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
        m_wheel->setMinimumWidth(0);
        m_wheel->setOrientation(Qt::Vertical);
        m_valueLayout->setAlignment(m_wheel, Qt::AlignHCenter);
        break;
    }
}

void bsDoubleWidget::reset()
{
    if (m_editing == Gesture::TakingFocus)
        return;
    const QPointer<bsDoubleWidget> alive(this);
    resetWheel();
    changeWithoutGesture([this] { m_spinBox->setValue(0.0); });
    if (alive)
        setEditingFinished();
}

void bsDoubleWidget::languageChange() {}

void bsDoubleWidget::resetWheel()
{
    m_lastWheelValue = 0.0;
    m_wheel->setValue(0.0);
}

void bsDoubleWidget::spinChanged(double value)
{
    const QPointer<bsDoubleWidget> alive(this);
    if (!std::exchange(m_nextChangeWithoutGesture, false))
        setEditingBegin();
    if (alive)
        emit valueChanged(value);
}

void bsDoubleWidget::wheelChanged(double value)
{
    const double difference = value - m_lastWheelValue;
    if (difference > kHalfTurn)
        m_lastWheelValue += kWheelPeriod;
    if (difference < -kHalfTurn)
        m_lastWheelValue -= kWheelPeriod;
    if (!m_mouseEditing)
        m_pendingFinish = true;
    const int steps = static_cast<int>(value - m_lastWheelValue);
    // Before the step: what the step sets off may reset the wheel.
    m_lastWheelValue = value;
    if (steps != 0)
        m_spinBox->stepBy(steps);
}

void bsDoubleWidget::setEditingBegin()
{
    if (m_editing != Gesture::None)
        return;
    const QPointer<bsDoubleWidget> alive(this);
    m_editing = Gesture::TakingFocus;
    m_spinBox->setFocus(Qt::OtherFocusReason);
    if (!alive) // as far as the toolkit survives that
        return;
    m_editing = Gesture::Open;
    emit editingBegin();
}

void bsDoubleWidget::setEditingFinished()
{
    if (m_editing != Gesture::Open)
        return;
    const QPointer<bsDoubleWidget> alive(this);
    m_editing = Gesture::Ending;
    resetWheel();
    // The spin box answers the loss of its focus with one more editingFinished().
    m_spinBox->clearFocus();
    emit editingFinished();
    if (!alive)
        return;
    m_editing = Gesture::None;
    // Writing to the wheel has ended a drag, and no release will follow.
    m_mouseEditing = false;
    m_pendingFinish = false;
}

void bsDoubleWidget::setMouseEditingBegin()
{
    m_mouseEditing = true;
    m_pendingFinish = false;
    setEditingBegin();
}

void bsDoubleWidget::setMouseEditingFinished()
{
    const QPointer<bsDoubleWidget> alive(this);
    setEditingFinished();
    if (alive)
        m_mouseEditing = false;
}

void bsDoubleWidget::leaveEvent(QEvent *event)
{
    event->accept();
    if (!m_pendingFinish)
        return;
    const QPointer<bsDoubleWidget> alive(this);
    setEditingFinished();
    if (alive)
        m_pendingFinish = false;
}

void bsDoubleWidget::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    setEditingFinished();
}

void bsDoubleWidget::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // A disabled wheel hears no release and a disabled spin box no Return.
    if (event->type() == QEvent::EnabledChange && !isEnabled())
        setEditingFinished();
}

bool bsDoubleWidget::eventFilter(QObject *watched, QEvent *event)
{
    // Only the wheel is watched. While its own spin box is hidden it keeps the focus; whoever
    // turned it by keys may never have had the pointer over it.
    if (event->type() == QEvent::FocusOut) {
        const QPointer<bsDoubleWidget> alive(this);
        setEditingFinished();
        if (!alive)
            return true;
    }
    return QWidget::eventFilter(watched, event);
}

void bsDoubleWidget::nameControls()
{
    QString name = label();
    if (!m_quantity.isEmpty()) {
        if (name.endsWith(QLatin1Char(':')))
            name.chop(1);
        name = m_quantity + QLatin1Char(' ') + name;
    }
    m_spinBox->setAccessibleName(name);
    m_wheel->setAccessibleName(name);
}

/// Changes that @p change makes to the spin box's value are announced, but are no edit of the user.
void bsDoubleWidget::changeWithoutGesture(const std::function<void()> &change)
{
    const QPointer<bsDoubleWidget> alive(this);
    m_nextChangeWithoutGesture = true;
    change();
    if (alive)
        m_nextChangeWithoutGesture = false;
}
