#include "HelpDialog.h"

#include "WidgetResources.h"
#include "ui_HelpDialog.h"

HelpDialog::HelpDialog(QWidget *parent)
    : QDialog(parent, Qt::WindowTitleHint | Qt::WindowSystemMenuHint)
{
    initWidgetResources();
    Ui::HelpDialog form;
    form.setupUi(this);
    for (QLabel *picture : {form.label_5, form.label_3, form.label_7})
        form.gridLayout->setAlignment(picture, Qt::AlignCenter);
    showSharpPicture(form.label_5, QStringLiteral(":/panning.png"));
    showSharpPicture(form.label_3, QStringLiteral(":/rotation.png"));
    showSharpPicture(form.label_7, QStringLiteral(":/zooming.png"));
    connect(form.exit_button, &QPushButton::clicked, this, &HelpDialog::close);
}
