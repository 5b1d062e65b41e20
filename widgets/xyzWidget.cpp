#include "xyzWidget.h"

#include "SmallestChange.h"

#include <QBoxLayout>
#include <QColor>
#include <QGroupBox>
#include <QPointer>
#include <QSignalBlocker>

xyzWidget::xyzWidget(QWidget *parent, bsDoubleMode mode, double minimum, double maximum,
                     bool wrapping)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    auto *components = new QHBoxLayout(this);
    components->setContentsMargins(0, 0, 0, 0);

    m_groupBox = new QGroupBox(this);
    m_groupBox->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    m_groupBox->setLayout(new QHBoxLayout);
    m_groupBox->hide();

    m_x = createComponent(mode, minimum, maximum, wrapping, tr("X :"), QColor(200, 0, 0));
    m_y = createComponent(mode, minimum, maximum, wrapping, tr("Y :"), QColor(0, 200, 0));
    m_z = createComponent(mode, minimum, maximum, wrapping, tr("Z :"), QColor(0, 0, 200));
}

xyzWidget::~xyzWidget() = default;

double xyzWidget::xValue() const
{
    return m_x->value();
}

double xyzWidget::yValue() const
{
    return m_y->value();
}

double xyzWidget::zValue() const
{
    return m_z->value();
}

QString xyzWidget::xLabel() const
{
    return m_x->label();
}

QString xyzWidget::yLabel() const
{
    return m_y->label();
}

QString xyzWidget::zLabel() const
{
    return m_z->label();
}

bool xyzWidget::isHorizontal() const
{
    return m_horizontal;
}

void xyzWidget::setSuffix(const QString &suffix)
{
    for (bsDoubleWidget *component : {m_x, m_y, m_z})
        component->setSuffix(suffix);
}

void xyzWidget::setStep(double step)
{
    for (bsDoubleWidget *component : {m_x, m_y, m_z})
        component->setStep(step);
}

void xyzWidget::setMode(bsDoubleMode mode)
{
    for (bsDoubleWidget *component : {m_x, m_y, m_z})
        component->setMode(mode);
}

void xyzWidget::showGroupBox(bool show)
{
    QLayout *own = layout();
    QLayout *grouped = m_groupBox->layout();
    if (show) {
        for (bsDoubleWidget *component : {m_x, m_y, m_z})
            own->removeWidget(component);
        own->addWidget(m_groupBox);
        for (bsDoubleWidget *component : {m_x, m_y, m_z}) {
            component->setParent(m_groupBox);
            grouped->addWidget(component);
        }
        m_groupBox->show();
    } else {
        m_groupBox->hide();
        for (bsDoubleWidget *component : {m_x, m_y, m_z})
            grouped->removeWidget(component);
        own->removeWidget(m_groupBox);
        for (bsDoubleWidget *component : {m_x, m_y, m_z}) {
            component->setParent(this);
            own->addWidget(component);
        }
    }
}

void xyzWidget::setGroupTitle(const QString &title)
{
    m_groupBox->setTitle(title);
}

QString xyzWidget::groupTitle() const
{
    return m_groupBox->title();
}

void xyzWidget::setQuantity(const QString &quantity)
{
    for (bsDoubleWidget *component : {m_x, m_y, m_z})
        component->setQuantity(quantity);
}

bool xyzWidget::isEditing() const
{
    return m_x->isEditing() || m_y->isEditing() || m_z->isEditing();
}

void xyzWidget::finishEditing()
{
    const QPointer<xyzWidget> alive(this);
    for (bsDoubleWidget *component : {m_x, m_y, m_z}) {
        component->finishEditing();
        if (!alive)
            return;
    }
}

void xyzWidget::setValues(double x, double y, double z)
{
    if (!isChange(x - xValue()) && !isChange(y - yValue()) && !isChange(z - zValue()))
        return;
    {
        const QSignalBlocker xBlocker(m_x);
        const QSignalBlocker yBlocker(m_y);
        const QSignalBlocker zBlocker(m_z);
        m_x->setValue(x);
        m_y->setValue(y);
        m_z->setValue(z);
    }
    emit valueChanged(xValue(), yValue(), zValue());
}

void xyzWidget::adjustValues(double x, double y, double z)
{
    setValues(xValue() + x, yValue() + y, zValue() + z);
}

void xyzWidget::setXValue(double value)
{
    m_x->setValue(value);
}

void xyzWidget::setYValue(double value)
{
    m_y->setValue(value);
}

void xyzWidget::setZValue(double value)
{
    m_z->setValue(value);
}

void xyzWidget::setLabels(const QString &xLabel, const QString &yLabel, const QString &zLabel)
{
    m_x->setLabel(xLabel);
    m_y->setLabel(yLabel);
    m_z->setLabel(zLabel);
}

void xyzWidget::setXLabel(const QString &label)
{
    m_x->setLabel(label);
}

void xyzWidget::setYLabel(const QString &label)
{
    m_y->setLabel(label);
}

void xyzWidget::setZLabel(const QString &label)
{
    m_z->setLabel(label);
}

void xyzWidget::reset()
{
    const QPointer<xyzWidget> alive(this);
    for (bsDoubleWidget *component : {m_x, m_y, m_z}) {
        component->reset();
        if (!alive)
            return;
    }
}

void xyzWidget::setLayoutHorizontal(bool horizontal)
{
    m_horizontal = horizontal;
    for (bsDoubleWidget *component : {m_x, m_y, m_z})
        layout()->removeWidget(component);
    const auto newLayout = [horizontal]() -> QBoxLayout * {
        if (horizontal)
            return new QHBoxLayout;
        return new QVBoxLayout;
    };
    delete layout();
    setLayout(newLayout());
    delete m_groupBox->layout();
    m_groupBox->setLayout(newLayout());
    for (bsDoubleWidget *component : {m_x, m_y, m_z})
        layout()->addWidget(component);
    // A frame that is switched on goes on holding the components.
    if (!m_groupBox->isHidden())
        showGroupBox(true);
}

void xyzWidget::setXRange(double minimum, double maximum)
{
    m_x->setRange(minimum, maximum);
}

void xyzWidget::setYRange(double minimum, double maximum)
{
    m_y->setRange(minimum, maximum);
}

void xyzWidget::setZRange(double minimum, double maximum)
{
    m_z->setRange(minimum, maximum);
}

void xyzWidget::setXWrapping(bool wrapping)
{
    m_x->setWrapping(wrapping);
}

void xyzWidget::setYWrapping(bool wrapping)
{
    m_y->setWrapping(wrapping);
}

void xyzWidget::setZWrapping(bool wrapping)
{
    m_z->setWrapping(wrapping);
}

void xyzWidget::xyzChanged(double /*value*/)
{
    emit valueChanged(xValue(), yValue(), zValue());
}

bsDoubleWidget *xyzWidget::createComponent(bsDoubleMode mode, double minimum, double maximum,
                                           bool wrapping, const QString &label, const QColor &color)
{
    auto *component = new bsDoubleWidget(this, mode, minimum, maximum, wrapping);
    component->setLabel(label);
    component->setLabelColor(color);
    connect(component, &bsDoubleWidget::valueChanged, this, &xyzWidget::xyzChanged);
    connect(component, &bsDoubleWidget::editingBegin, this, &xyzWidget::xyzEditingBegin);
    connect(component, &bsDoubleWidget::editingFinished, this, &xyzWidget::xyzEditingFinished);
    layout()->addWidget(component);
    return component;
}
