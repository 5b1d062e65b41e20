#include "MessageBoxes.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QPointer>

namespace {

/// A box takes its width from its text: a short question would leave its title no room beside the
/// buttons of the window frame.
void keepTitleReadable(QMessageBox *box)
{
    auto *layout = qobject_cast<QGridLayout *>(box->layout());
    if (!layout)
        return;
    constexpr int kFrameButtonsEm = 10;
    const QFontMetrics metrics = box->fontMetrics();
    const int width =
        metrics.horizontalAdvance(box->windowTitle()) + kFrameButtonsEm * metrics.height();
    layout->addItem(new QSpacerItem(width, 0), layout->rowCount(), 0, 1, layout->columnCount());
}

} // namespace

QMessageBox::StandardButton runMessageBox(QWidget *parent, QMessageBox::Icon icon,
                                          const QString &title, const QString &text,
                                          QMessageBox::StandardButtons buttons,
                                          QMessageBox::StandardButton defaultButton)
{
    const QPointer<QMessageBox> box(new QMessageBox(icon, title, text, buttons, parent));
    box->setDefaultButton(defaultButton);
    keepTitleReadable(box.data());
    const int result = box->exec();
    if (!box)
        return QMessageBox::NoButton;
    delete box.data();
    return static_cast<QMessageBox::StandardButton>(result);
}
