#include "ViewMenus.h"

#include "BodyAdjustmentDialog.h"

#include <view/GLCanvas.h>
#include <widgets/BodyTable.h>

#include <QAction>
#include <QMenu>
#include <QShortcut>

namespace {

/// The keys that open context menus elsewhere do so here too; the widgets themselves only know the
/// right mouse button.
void openByKeys(QWidget *widget, QMenu *menu)
{
    for (const QKeySequence &keys :
         {QKeySequence(Qt::Key_Menu), QKeySequence(Qt::SHIFT + Qt::Key_F10)}) {
        auto *shortcut =
            new QShortcut(keys, widget, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        QObject::connect(shortcut, &QShortcut::activated, menu, [widget, menu] {
            menu->popup(widget->mapToGlobal(widget->rect().center()));
        });
    }
}

} // namespace

void createViewMenus(BodyAdjustmentDialog *dialog, GLCanvas *canvas, BodyTable *table,
                     const DisplayFlags &flags)
{
    auto *canvasMenu = new QMenu(canvas);
    const auto addCommand = [dialog, canvasMenu](const QString &text) {
        auto *action = new QAction(text, dialog);
        canvasMenu->addAction(action);
        return action;
    };
    const auto addToggle = [dialog, addCommand](const QString &text, bool checked,
                                                void (BodyAdjustmentDialog::*slot)()) {
        QAction *action = addCommand(text);
        action->setCheckable(true);
        action->setChecked(checked);
        QObject::connect(action, &QAction::triggered, dialog, slot);
        return action;
    };

    addToggle(QStringLiteral("Small markers"), flags.smallMarkers,
              &BodyAdjustmentDialog::toggled_small_markers);
    addToggle(QStringLiteral("Colored markers"), flags.colouredMarkers,
              &BodyAdjustmentDialog::toggled_colored_markers);
    addToggle(QStringLiteral("Emissions"), flags.markerEmissions,
              &BodyAdjustmentDialog::toggled_marker_emissions);
    addToggle(QStringLiteral("Long axes"), flags.longAxes,
              &BodyAdjustmentDialog::toggled_long_axes);
    addToggle(QStringLiteral("Show COG"), flags.showCog, &BodyAdjustmentDialog::toggled_show_COG);
    canvasMenu->addSeparator();
    addToggle(QStringLiteral("Show XY plane"), flags.showXy,
              &BodyAdjustmentDialog::toggled_show_XY);
    addToggle(QStringLiteral("Show YZ plane"), flags.showYz,
              &BodyAdjustmentDialog::toggled_show_YZ);
    addToggle(QStringLiteral("Show XZ plane"), flags.showXz,
              &BodyAdjustmentDialog::toggled_show_XZ);
    canvasMenu->addSeparator();
    QAction *roomAction =
        addToggle(QStringLiteral("Show room orientation"), flags.showRoomOrientation,
                  &BodyAdjustmentDialog::toggled_show_room_ori);
    roomAction->setEnabled(false);
    QObject::connect(canvas, &GLCanvas::is_online, roomAction, &QAction::setEnabled);
    canvasMenu->addSeparator();
    QAction *addLineAction = addCommand(QStringLiteral("Add line between markers"));
    addLineAction->setEnabled(false);
    QObject::connect(canvas, &GLCanvas::canIntroduceLine, addLineAction, &QAction::setEnabled);
    QObject::connect(addLineAction, &QAction::triggered, canvas, &GLCanvas::introduceLine);
    QAction *deleteLineAction = addCommand(QStringLiteral("Delete line between markers"));
    deleteLineAction->setEnabled(false);
    QObject::connect(canvas, &GLCanvas::canDeleteLine, deleteLineAction, &QAction::setEnabled);
    QObject::connect(deleteLineAction, &QAction::triggered, canvas, &GLCanvas::deleteLine);
    canvasMenu->addSeparator();
    QObject::connect(addCommand(QStringLiteral("Data view")), &QAction::triggered, dialog,
                     &BodyAdjustmentDialog::toggled_switch_view);
    // Opened by keys, it takes the release of a button that is down.
    QObject::connect(canvasMenu, &QMenu::aboutToShow, canvas, &GLCanvas::endMouseDrag);
    canvas->setContextMenu(canvasMenu);
    openByKeys(canvas, canvasMenu);

    auto *tableMenu = new QMenu(table);
    auto *graphicViewAction = new QAction(QStringLiteral("Graphic view"), dialog);
    QObject::connect(graphicViewAction, &QAction::triggered, dialog,
                     &BodyAdjustmentDialog::toggled_switch_view);
    tableMenu->addAction(graphicViewAction);
    table->setContextMenu(tableMenu);
    openByKeys(table, tableMenu);
}

void handOverDisplayFlags(GLCanvas *canvas, const DisplayFlags &flags)
{
    canvas->showSmallMarkers(flags.smallMarkers);
    canvas->showColoredMarkers(flags.colouredMarkers);
    canvas->showLongAxes(flags.longAxes);
    canvas->showCOG(flags.showCog);
    canvas->showXYGrid(flags.showXy);
    canvas->showYZGrid(flags.showYz);
    canvas->showXZGrid(flags.showXz);
    canvas->setRoomAxesVisible(flags.showRoomOrientation);
    canvas->showMarkerEmissions(flags.markerEmissions);
}
