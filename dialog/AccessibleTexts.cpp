#include "AccessibleTexts.h"

#include <widgets/xyzWidget.h>

#include <QTextDocumentFragment>
#include <QWidget>

namespace {

QString explanationOf(const QWidget *control)
{
    for (const QWidget *widget = control; widget; widget = widget->parentWidget()) {
        // What stands around a control explains it only if it is nothing but a group.
        if (widget == control || qobject_cast<const xyzWidget *>(widget)) {
            if (!widget->whatsThis().isEmpty())
                return QTextDocumentFragment::fromHtml(widget->whatsThis()).toPlainText();
        }
    }
    return QString();
}

} // namespace

void describeControls(QWidget *window)
{
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        if (widget->focusPolicy() == Qt::NoFocus)
            continue;
        const QString explanation = explanationOf(widget);
        if (!explanation.isEmpty())
            widget->setAccessibleDescription(explanation);
    }
}
