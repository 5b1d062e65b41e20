#include "DemoScene.h"

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPixmap>
#include <QScreen>
#include <QTableWidget>
#include <QWindow>

namespace {

QWidget *modalWindowWith(const char *child)
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->isModal() &&
            widget->findChild<QWidget *>(QString::fromLatin1(child)))
            return widget;
    }
    return nullptr;
}

} // namespace

DemoScene::DemoScene(QWidget *mainWindow)
    : m_mainWindow(mainWindow)
{
}

QWidget *DemoScene::dialog() const
{
    return modalWindowWith("body_name");
}

QWidget *DemoScene::axisDialog() const
{
    // Also a child of the adjustment dialog, which is open beneath it.
    QWidget *active = QApplication::activeModalWidget();
    return active && active != dialog() &&
                   active->findChild<QWidget *>(QStringLiteral("axisToSetComboBox"))
               ? active
               : nullptr;
}

QMessageBox *DemoScene::messageBox() const
{
    return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
}

QMenu *DemoScene::openMenu() const
{
    return qobject_cast<QMenu *>(QApplication::activePopupWidget());
}

QWidget *DemoScene::view() const
{
    const QWidget *window = dialog();
    if (!window)
        return nullptr;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->isVisible() &&
            (widget->inherits("QGLWidget") || widget->inherits("QOpenGLWidget")))
            return widget;
    }
    return nullptr;
}

QTableWidget *DemoScene::table() const
{
    const QWidget *window = dialog();
    if (!window)
        return nullptr;
    for (auto *table : window->findChildren<QTableWidget *>()) {
        // The number of the marker and three coordinates; a table of emissions has more columns.
        if (table->isVisible() && table->columnCount() == 4)
            return table;
    }
    return nullptr;
}

bool DemoScene::isEnabled(const char *name) const
{
    const auto *widget = inDialog<QWidget>(name);
    return widget && widget->isVisible() && widget->isEnabled();
}

QString DemoScene::openWindows() const
{
    QStringList texts;
    for (const QWidget *widget : QApplication::topLevelWidgets()) {
        if (!widget->isVisible() || widget == m_mainWindow)
            continue;
        QString text = QLatin1Char('"') + widget->windowTitle() + QLatin1Char('"');
        if (const auto *box = qobject_cast<const QMessageBox *>(widget))
            text += QStringLiteral(" (%1)").arg(box->text());
        texts.append(text);
    }
    return texts.join(QStringLiteral(", "));
}

QWidget *DemoScene::front() const
{
    QWidget *window = dialog();
    return window ? window : m_mainWindow;
}

QRect DemoScene::area() const
{
    // The dialog, or else the main window, with whatever stands open above it.
    QRect area = front()->frameGeometry();
    for (const QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget != m_mainWindow)
            area |= widget->frameGeometry();
    }
    return area;
}

DemoScene::Picture DemoScene::grab() const
{
    Picture result;
    const QWindow *window = front()->windowHandle();
    QScreen *screen = window ? window->screen() : nullptr;
    const QRect shown = screen ? area().intersected(screen->geometry()) : QRect();
    if (screen) {
        const QPoint corner = shown.topLeft() - screen->geometry().topLeft();
        result.image =
            screen->grabWindow(0, corner.x(), corner.y(), shown.width(), shown.height()).toImage();
    }
    if (result.image.isNull()) {
        // Some window systems show the screen to nobody.
        result.image = front()->grab().toImage();
        return result;
    }
    if (const QWidget *viewWidget = view()) {
        const qreal ratio = result.image.devicePixelRatio();
        const QPointF corner = viewWidget->mapToGlobal(QPoint()) - shown.topLeft();
        const QRect part(QPointF(corner * ratio).toPoint(),
                         (QSizeF(viewWidget->size()) * ratio).toSize());
        // Of a window larger than the screen, what is not seen of the view stays black.
        if (result.image.rect().intersects(part)) {
            result.view = result.image.copy(part).convertToFormat(QImage::Format_RGB32);
            result.view.setDevicePixelRatio(ratio);
        }
    }
    return result;
}
