#include "SetAxisDialog.h"

#include "UnfocusedWheelFilter.h"
#include "ui_SetAxisDialogClass.h"

#include <QEvent>
#include <QSignalBlocker>

SetAxisDialog::SetAxisDialog(QWidget *parent)
    : QDialog(parent)
    , m_form(std::make_unique<Ui::SetAxisDialogClass>())
{
    m_form->setupUi(this);
    m_form->axisToSetComboBox->setCurrentIndex(X);
    m_form->axisToPreserveComboBox->setCurrentIndex(Y);
    m_form->axisToCalculateComboBox->setCurrentIndex(Z);
    m_form->axisToPreserveComboBox->removeItem(X);
    m_form->axisToCalculateComboBox->setEnabled(false);
    UnfocusedWheelFilter::install(m_form->axisToSetComboBox);
    UnfocusedWheelFilter::install(m_form->axisToPreserveComboBox);

    // Accepted first: whoever hears of the axes finds the dialog closed.
    connect(m_form->pushButton_ok, &QPushButton::clicked, this, &SetAxisDialog::accept);
    connect(m_form->pushButton_ok, &QPushButton::clicked, this, &SetAxisDialog::validateSetAxis);
    connect(m_form->pushButton_cancel, &QPushButton::clicked, this, &SetAxisDialog::reject);
    connect(m_form->axisToSetComboBox, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &SetAxisDialog::onAxisToSetChoice);
    connect(m_form->axisToPreserveComboBox, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &SetAxisDialog::onAxisToPreserveChoice);
}

SetAxisDialog::~SetAxisDialog() = default;

void SetAxisDialog::onAxisToSetChoice(int index)
{
    QComboBox *preserve = m_form->axisToPreserveComboBox;
    preserve->clear();
    if (index < X || index > Z)
        return;
    for (int axis = X; axis <= Z; ++axis) {
        if (axis != index)
            preserve->addItem(m_form->axisToSetComboBox->itemText(axis));
    }
    preserve->setCurrentIndex(0);
}

void SetAxisDialog::onAxisToPreserveChoice(int index)
{
    const int preserved = axisToPreserve(index);
    if (preserved < 0)
        return;
    const int set = m_form->axisToSetComboBox->currentIndex();
    m_form->axisToCalculateComboBox->setCurrentIndex(X + Y + Z - preserved - set);
}

void SetAxisDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

/// The form knows the list of axes to preserve only as it was before one of them was taken out.
void SetAxisDialog::retranslate()
{
    QComboBox *preserve = m_form->axisToPreserveComboBox;
    const QSignalBlocker blocker(preserve);
    const int chosen = preserve->currentIndex();
    m_form->retranslateUi(this);
    onAxisToSetChoice(m_form->axisToSetComboBox->currentIndex());
    preserve->setCurrentIndex(chosen);
}

void SetAxisDialog::validateSetAxis()
{
    const int set = m_form->axisToSetComboBox->currentIndex();
    const int keep = axisToPreserve(m_form->axisToPreserveComboBox->currentIndex());
    if (set < 0 || keep < 0)
        return;
    emit setAxis(static_cast<abcAxis>(set), static_cast<abcAxis>(keep));
}

int SetAxisDialog::axisToPreserve(int index) const
{
    const QString text = m_form->axisToPreserveComboBox->itemText(index);
    return text.isEmpty() ? -1 : m_form->axisToSetComboBox->findText(text);
}
