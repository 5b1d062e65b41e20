#include "HelpDialog.h"

#include "SharpPictures.h"
#include "WidgetResources.h"
#include "ui_HelpDialog.h"

#include <QEvent>

HelpDialog::HelpDialog(QWidget *parent)
    : QDialog(parent, Qt::WindowTitleHint | Qt::WindowSystemMenuHint)
    , m_form(std::make_unique<Ui::HelpDialog>())
{
    initWidgetResources();
    m_form->setupUi(this);
    for (QLabel *picture : {m_form->label_5, m_form->label_3, m_form->label_7})
        m_form->gridLayout->setAlignment(picture, Qt::AlignCenter);
    showSharpPicture(m_form->label_5, QStringLiteral(":/panning.png"));
    showSharpPicture(m_form->label_3, QStringLiteral(":/rotation.png"));
    showSharpPicture(m_form->label_7, QStringLiteral(":/zooming.png"));
    connect(m_form->exit_button, &QPushButton::clicked, this, &HelpDialog::close);
}

HelpDialog::~HelpDialog() = default;

void HelpDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        m_form->retranslateUi(this);
    QDialog::changeEvent(event);
}
