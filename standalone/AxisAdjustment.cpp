#include "AxisAdjustment.h"

#include "BodyReports.h"
#include "DemoScene.h"
#include "UserInput.h"
#include "ViewPicture.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QMenu>
#include <QMessageBox>
#include <QStringList>
#include <QTableWidget>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(AxisAdjustment)
};

enum Axis { X = 0, Z = 2 };

/// The outlines of the first and of the second marker that is chosen.
constexpr int kWhite = 255;
constexpr int kGrey = 128;
/// A body that neither stands still nor moves after so many lines is not waited for any longer.
constexpr int kLinesToGiveUp = 8 * BodyReports::kLinesToTrust;
/// Turned as far as this, a body is seen to have turned.
constexpr double kVisibleTurnDeg = 8.0;
/// Two decimals of the table, three of the controller's.
constexpr double kTableToleranceMm = 0.0065;

QComboBox *axisBox(const DemoScene *scene, const char *name)
{
    const QWidget *dialog = scene->axisDialog();
    return dialog ? dialog->findChild<QComboBox *>(QString::fromLatin1(name)) : nullptr;
}

bool showsAxis(const DemoScene *scene, const char *name, const char *axis)
{
    const QComboBox *box = axisBox(scene, name);
    return box && box->currentText() == QLatin1String(axis);
}

/// The steps, left out where that is false when their turn comes.
QVector<DemoStep> onlyIf(const std::function<bool()> &condition, QVector<DemoStep> steps)
{
    for (DemoStep &step : steps) {
        const std::function<bool()> leftOut = step.leftOut;
        step.leftOut = [condition, leftOut] { return !condition() || (leftOut && leftOut()); };
    }
    return steps;
}

QString rotationText(const std::array<double, 9> &rotation)
{
    QStringList numbers;
    for (const double number : rotation)
        numbers.append(QString::number(number, 'f', 6));
    return numbers.join(QLatin1Char(' '));
}

} // namespace

AxisAdjustment::AxisAdjustment(const DemoParts &parts, const DemoAdjustment *before)
    : DemoAdjustment(parts)
    , m_before(before)
{
}

QVector<DemoStep> AxisAdjustment::steps()
{
    // The still body's changes are still to be applied when the moving one is chosen: the dialog
    // asks for them, so the body is written twice. Being adjusted to the room overrides the axes
    // set before; that these were right is checked in between.
    const auto stands = [this] { return m_still.index >= 0; };
    const auto moves = [this] { return m_moving.index >= 0; };
    const DemoStep cancel = clickButton(QStringLiteral("second-cancelled"), "cancel_button",
                                        [this] { return !parts().scene->dialog(); });
    return findBodies() + onlyIf(std::not_fn(stands), {cancel}) +
           onlyIf(stands, chooseStillBody() + pickMarkers() + setAxis() + undoAndRedo() +
                              addLine() + lookAtNumbers() + onlyIf(moves, followMovingBody()) +
                              onlyIf(std::not_fn(moves), showStillBody()) + adjustToRoom());
}

// --- choosing bodies ----------------------------------------------------------------------------

QVector<DemoStep> AxisAdjustment::findBodies()
{
    DemoStep dialog = openDialog(QStringLiteral("second-dialog"));
    dialog.finish = [this] {
        parts().reports->forget();
        return QString();
    };

    DemoStep list = openBodyList(QStringLiteral("still-body-list"));
    const auto isListed = [this, isOpen = list.ready] {
        return isOpen() && bodyList()->count() > 0 && isJudged();
    };
    list.leftOut = [this, isListed] { return isListed() && stillBody().index < 0; };
    list.ready = [this, isListed] {
        if (bodyList() && bodyList()->count() == 0)
            return true;
        if (!isListed())
            return false;
        m_still = stillBody();
        m_moving = movingBody();
        return m_still.index >= 0;
    };
    list.hint = [this] {
        return parts().reports->lineCount() == 0
                   ? Texts::tr("No data lines come from the controller.")
                   : QString();
    };
    return {openMenu(QStringLiteral("second-menu")), dialog, list};
}

QVector<DemoStep> AxisAdjustment::chooseStillBody()
{
    DemoStep choose = chooseBody(QStringLiteral("still-body-chosen"), [this] { return m_still; });
    choose.finish = [this] {
        QString problem = adopt(m_still);
        if (!problem.isEmpty())
            return problem;
        if (!parts().scene->view())
            return Texts::tr("The dialog shows no 3D view.");
        m_pair = markerView().pairForAxis();
        return m_pair.isValid()
                   ? QString()
                   : Texts::tr("The body has no two markers in full view that suit an axis.");
    };
    return {choose};
}

bool AxisAdjustment::isJudged() const
{
    const BodyReports *reports = parts().reports;
    const QVector<DemoBody> bodies = listedBodies();
    return (stillBody().index >= 0 && movingBody().index >= 0) ||
           reports->lineCount() >= kLinesToGiveUp ||
           std::all_of(bodies.cbegin(), bodies.cend(), [reports](const DemoBody &body) {
               return !body.isSuitable || reports->isJudged(body.number);
           });
}

DemoBody AxisAdjustment::stillBody() const
{
    DemoBody found;
    for (const DemoBody &body : listedBodies()) {
        if (!body.isSuitable || body.number == m_before->bodyNumber() ||
            !parts().reports->standsStill(body.number))
            continue;
        // There is more to see of one that stands askew in the room.
        if (!parts().reports->isAlignedWithRoom(body.number))
            return body;
        if (found.index < 0)
            found = body;
    }
    return found;
}

DemoBody AxisAdjustment::movingBody() const
{
    for (const DemoBody &body : listedBodies()) {
        if (body.isSuitable && parts().reports->turns(body.number))
            return body;
    }
    return {};
}

// --- in the 3D view -----------------------------------------------------------------------------

QVector<DemoStep> AxisAdjustment::pickMarkers()
{
    // A user sees where the markers are. Here they are where the camera shows them, which everyone
    // knows once the view is reset; whether the right ones were hit is seen by their outlines, and
    // again by the definition that comes of them.
    return {clickButton(QStringLiteral("view-reset"), "reset_view_button", {}),
            pick(QStringLiteral("first-marker-picked"), &MarkerView::Pair::first,
                 "set_origin_button", QStringLiteral("view-reset"), kWhite),
            pick(QStringLiteral("second-marker-picked"), &MarkerView::Pair::second,
                 "set_axis_button", QStringLiteral("first-marker-picked"), kGrey)};
}

DemoStep AxisAdjustment::pick(const QString &name, int MarkerView::Pair::*marker,
                              const char *button, const QString &before, int grey)
{
    DemoStep step;
    step.name = name;
    step.act = [this, marker] {
        UserInput::click(parts().scene->view(), markerView().pixelOf(m_pair.*marker).toPoint());
    };
    step.done = [this, button] { return parts().scene->isEnabled(button); };
    step.shows = [this, marker, before, grey](const QImage &view) {
        const MarkerView markers = markerView();
        return ViewPicture::isOutlineNew(parts().player->viewIn(before), view,
                                         markers.pixelOf(m_pair.*marker),
                                         markers.outlineRadiusOf(m_pair.*marker), grey);
    };
    return step;
}

MarkerView AxisAdjustment::markerView() const
{
    QVector<MarkerView::Position> positions;
    for (const ExpectedDefinition::Marker &marker : expected().markers())
        positions.append(marker.position);
    const QWidget *view = parts().scene->view();
    return MarkerView(positions, view ? view->size() : QSize(1, 1));
}

QVector<DemoStep> AxisAdjustment::setAxis()
{
    const DemoScene *scene = parts().scene;
    DemoStep open = clickButton(QStringLiteral("set-axis-dialog"), "set_axis_button", [scene] {
        const QWidget *dialog = scene->axisDialog();
        return dialog && dialog->windowHandle() && dialog->windowHandle()->isExposed();
    });

    DemoStep list;
    list.name = QStringLiteral("axis-list");
    list.act = [scene] { UserInput::click(axisBox(scene, "axisToSetComboBox")); };
    list.done = [scene] { return axisBox(scene, "axisToSetComboBox")->view()->isVisible(); };

    // The other two boxes follow: x to be kept, y to be calculated.
    DemoStep choose;
    choose.name = QStringLiteral("axis-chosen");
    choose.act = [scene] {
        QAbstractItemView *axes = axisBox(scene, "axisToSetComboBox")->view();
        UserInput::click(axes->viewport(), placeInList(axes, Z));
    };
    choose.done = [scene] {
        const QComboBox *box = axisBox(scene, "axisToSetComboBox");
        return box && !box->view()->isVisible() && showsAxis(scene, "axisToSetComboBox", "Z") &&
               showsAxis(scene, "axisToPreserveComboBox", "X") &&
               showsAxis(scene, "axisToCalculateComboBox", "Y");
    };

    DemoStep confirm;
    confirm.name = QStringLiteral("axis-set");
    confirm.act = [scene] {
        UserInput::click(
            scene->axisDialog()->findChild<QAbstractButton *>(QStringLiteral("pushButton_ok")));
    };
    confirm.done = [scene] {
        return !scene->axisDialog() && scene->isEnabled("undo_button") &&
               scene->isEnabled("apply_button");
    };
    confirm.finish = [this] {
        return expected().setAxis(Z, X, m_pair.first, m_pair.second)
                   ? QString()
                   : Texts::tr("The two markers define no axis.");
    };
    confirm.shows = [this](const QImage &view) {
        return ViewPicture::isDifferent(
            parts().player->viewIn(QStringLiteral("second-marker-picked")), view);
    };
    return {open, list, choose, confirm};
}

QVector<DemoStep> AxisAdjustment::undoAndRedo()
{
    const DemoScene *scene = parts().scene;
    DemoStep undo = clickButton(QStringLiteral("axis-undone"), "undo_button", [scene] {
        return scene->isEnabled("redo_button") && !scene->isEnabled("undo_button") &&
               !scene->isEnabled("apply_button");
    });
    undo.shows = [this](const QImage &view) {
        return ViewPicture::isSame(parts().player->viewIn(QStringLiteral("second-marker-picked")),
                                   view);
    };
    DemoStep redo = clickButton(QStringLiteral("axis-redone"), "redo_button", [scene] {
        return !scene->isEnabled("redo_button") && scene->isEnabled("undo_button") &&
               scene->isEnabled("apply_button");
    });
    redo.shows = [this](const QImage &view) {
        return ViewPicture::isSame(parts().player->viewIn(QStringLiteral("axis-set")), view);
    };
    return {undo, redo};
}

QVector<DemoStep> AxisAdjustment::addLine()
{
    const DemoScene *scene = parts().scene;
    DemoStep add = chooseFromMenu(QStringLiteral("line-added"),
                                  QStringLiteral("Add line between markers"), {});
    add.shows = [this](const QImage &view) {
        const MarkerView markers = markerView();
        return ViewPicture::changedAlong(parts().player->viewIn(QStringLiteral("axis-redone")),
                                         view, markers.pixelOf(m_pair.first),
                                         markers.pixelOf(m_pair.second)) > 0.5;
    };
    return {openContextMenu(QStringLiteral("view-menu"), [scene] { return scene->view(); }), add};
}

QVector<DemoStep> AxisAdjustment::lookAtNumbers()
{
    const DemoScene *scene = parts().scene;
    DemoStep numbers = chooseFromMenu(QStringLiteral("data-view"), QStringLiteral("Data view"),
                                      [scene] { return scene->table() && !scene->view(); });
    numbers.finish = [this] { return compareTable(); };
    DemoStep back = chooseFromMenu(QStringLiteral("graphic-view"), QStringLiteral("Graphic view"),
                                   [scene] { return scene->view() && !scene->table(); });
    back.shows = [this](const QImage &view) {
        return ViewPicture::isSame(parts().player->viewIn(QStringLiteral("line-added")), view);
    };
    return {openContextMenu(QStringLiteral("view-menu-again"), [scene] { return scene->view(); }),
            numbers,
            openContextMenu(QStringLiteral("table-menu"),
                            [scene] { return scene->table()->viewport(); }),
            back};
}

QString AxisAdjustment::compareTable() const
{
    const QTableWidget *table = parts().scene->table();
    const QVector<std::array<double, 3>> positions = expected().positionsInFrame();
    if (table->rowCount() != positions.size())
        return Texts::tr("The data view shows %1 markers instead of %2.")
            .arg(table->rowCount())
            .arg(positions.size());
    for (int row = 0; row < positions.size(); ++row) {
        for (int axis = 0; axis < 3; ++axis) {
            const QTableWidgetItem *item = table->item(row, axis + 1);
            const double wanted = positions.at(row)[static_cast<size_t>(axis)];
            bool isNumber = false;
            const double found = item ? item->text().toDouble(&isNumber) : 0.0;
            if (!isNumber || std::fabs(found - wanted) > kTableToleranceMm)
                return Texts::tr("The data view shows \"%1\" instead of %2 for marker %3.")
                    .arg(item ? item->text() : QString())
                    .arg(wanted, 0, 'f', 2)
                    .arg(row + 1);
        }
    }
    return QString();
}

DemoStep AxisAdjustment::openContextMenu(const QString &name,
                                         const std::function<QWidget *()> &where)
{
    // The press opens the menu and returns when it has closed; the button is released while it is
    // open.
    DemoStep step;
    step.name = name;
    step.act = [this, where] {
        QWidget *widget = where();
        const QPoint place(widget->width() * 3 / 4, widget->height() / 4);
        m_menuPlace = widget->mapToGlobal(place);
        UserInput::press(widget, place, Qt::RightButton);
    };
    step.done = [this] { return parts().scene->openMenu() != nullptr; };
    step.finish = [this] {
        QMenu *menu = parts().scene->openMenu();
        UserInput::release(menu, menu->mapFromGlobal(m_menuPlace), Qt::RightButton);
        return QString();
    };
    return step;
}

DemoStep AxisAdjustment::chooseFromMenu(const QString &name, const QString &text,
                                        const std::function<bool()> &done)
{
    DemoStep step;
    step.name = name;
    step.act = [this, text] {
        QMenu *menu = parts().scene->openMenu();
        if (menu) {
            for (QAction *action : menu->actions()) {
                if (action->text() == text && action->isEnabled()) {
                    UserInput::click(menu, menu->actionGeometry(action).center());
                    return;
                }
            }
        }
        parts().player->fail(Texts::tr("The menu does not offer \"%1\".").arg(text));
    };
    step.done = [this, done] { return !parts().scene->openMenu() && (!done || done()); };
    return step;
}

// --- as it is tracked ---------------------------------------------------------------------------

QVector<DemoStep> AxisAdjustment::followMovingBody()
{
    const DemoScene *scene = parts().scene;
    // Pointed at in the open list, a body is shown; the dialog asks first what is to become of the
    // changes of the one before.
    DemoStep point;
    point.name = QStringLiteral("apply-question");
    point.act = [this] {
        QAbstractItemView *bodies = bodyList()->view();
        UserInput::moveMouse(bodies->viewport(), placeInList(bodies, m_moving.index));
    };
    point.done = [scene] {
        const QMessageBox *box = scene->messageBox();
        return box && box->button(QMessageBox::Yes) && box->windowHandle()->isExposed();
    };

    DemoStep answer;
    answer.name = QStringLiteral("moving-body-shown");
    answer.act = [scene] { UserInput::click(scene->messageBox()->button(QMessageBox::Yes)); };
    answer.done = [this, scene] {
        return !scene->messageBox() && !bodyList()->view()->isVisible() &&
               bodyList()->currentIndex() == m_moving.index &&
               scene->isEnabled("set_origin_cog_button");
    };
    answer.finish = [this] {
        expected().apply();
        QString report;
        return check(&report) ? QString() : report;
    };

    DemoStep online = goOnline(QStringLiteral("online"));
    online.keepsMoving = true;
    online.finish = [this] {
        return parts().reports->newestRotation(m_moving.number, &m_rotation)
                   ? QString()
                   : Texts::tr("The moving body is not tracked any more.");
    };
    online.shows = [this](const QImage &view) {
        return ViewPicture::isDifferent(parts().player->viewIn(QStringLiteral("moving-body-shown")),
                                        view);
    };

    DemoStep followed;
    followed.name = QStringLiteral("online-followed");
    followed.keepsMoving = true;
    followed.ready = [this] {
        Rotation rotation{};
        return parts().reports->newestRotation(m_moving.number, &rotation) &&
               angleBetweenDeg(rotation, m_rotation) >= kVisibleTurnDeg;
    };
    followed.shows = [this](const QImage &view) {
        return ViewPicture::isDifferent(parts().player->viewIn(QStringLiteral("online")), view);
    };
    DemoStep list = openBodyList(QStringLiteral("still-body-list-again"));
    list.keepsMoving = true;
    DemoStep choose = chooseBody(QStringLiteral("still-body-online"), [this] { return m_still; });
    awaitStillBody(&choose);
    return {openBodyList(QStringLiteral("moving-body-list")),
            point,
            answer,
            online,
            followed,
            list,
            choose};
}

QVector<DemoStep> AxisAdjustment::showStillBody()
{
    DemoStep apply = clickButton(QStringLiteral("axis-applied"), "apply_button",
                                 [this] { return !parts().scene->isEnabled("apply_button"); });
    apply.finish = [this] {
        // What was reported before is of the body as it was defined before.
        parts().reports->forget();
        expected().apply();
        QString report;
        return check(&report) ? QString() : report;
    };
    DemoStep online = goOnline(QStringLiteral("still-body-online"));
    awaitStillBody(&online);
    return {apply, online};
}

DemoStep AxisAdjustment::goOnline(const QString &name)
{
    const DemoScene *scene = parts().scene;
    DemoStep online;
    online.name = name;
    online.ready = [scene] { return scene->isEnabled("online_checkbox"); };
    online.act = [scene] {
        auto *box = scene->inDialog<QCheckBox>("online_checkbox");
        // At the left, where the box and its text are.
        UserInput::click(box, QPoint(box->height() / 2, box->height() / 2));
    };
    online.done = [scene] {
        return scene->inDialog<QCheckBox>("online_checkbox")->isChecked() &&
               scene->isEnabled("adjust_axes_to_room_button");
    };
    return online;
}

void AxisAdjustment::awaitStillBody(DemoStep *step)
{
    step->done = [this, isDone = step->done] {
        return isDone() && parts().scene->isEnabled("adjust_axes_to_room_button") &&
               parts().reports->newestRotation(m_still.number, &m_rotation);
    };
    // The button tells that the body is tracked; the view takes over where it is with the next
    // tick of the dialog's own clock, which is due before a few of these.
    step->rounds = 5;
    step->finish = [this] {
        return parts().reports->isAlignedWithRoom(m_still.number)
                   ? Texts::tr("The body's axes are parallel to the room's before they were "
                               "adjusted.")
                   : QString();
    };
}

QVector<DemoStep> AxisAdjustment::adjustToRoom()
{
    const DemoScene *scene = parts().scene;
    DemoStep adjust =
        clickButton(QStringLiteral("axes-to-room"), "adjust_axes_to_room_button", [scene] {
            return scene->isEnabled("undo_button") && scene->isEnabled("apply_button");
        });
    adjust.finish = [this] {
        return expected().alignWithRoom(m_rotation)
                   ? QString()
                   : Texts::tr("The controller reports no rotation: %1.")
                         .arg(rotationText(m_rotation));
    };
    adjust.shows = [this](const QImage &view) {
        return ViewPicture::isDifferent(parts().player->viewIn(QStringLiteral("still-body-online")),
                                        view);
    };
    return {adjust, applyAlignment(), close(QStringLiteral("closed-again"))};
}

DemoStep AxisAdjustment::applyAlignment()
{
    // Before this, the lines showed the body turned against the room: the first that shows it
    // parallel has come of it.
    DemoStep apply = clickButton(QStringLiteral("applied-again"), "apply_button", [this] {
        return !parts().scene->isEnabled("apply_button") &&
               parts().reports->isAlignedWithRoom(m_still.number);
    });
    apply.finish = [this] {
        expected().apply();
        parts().reports->newestRotation(m_still.number, &m_rotation);
        return QString();
    };
    apply.hint = [this] {
        Rotation rotation{};
        return parts().reports->newestRotation(m_still.number, &rotation)
                   ? Texts::tr("The controller reports the body's rotation %1.")
                         .arg(rotationText(rotation))
                   : Texts::tr("The controller does not report the body.");
    };
    return apply;
}

QString AxisAdjustment::alignmentReport() const
{
    return Texts::tr("The controller reports its axes parallel to the room's: %1.")
        .arg(rotationText(m_rotation));
}

QString AxisAdjustment::leftOutReport() const
{
    if (m_still.index < 0)
        return Texts::tr("The second adjustment was left out: there is no further calibrated "
                         "standard body of target type tt_std that stands still.");
    return m_moving.index < 0 ? Texts::tr("Following a moving body was left out: there is no "
                                          "calibrated standard body of target type tt_std that "
                                          "moves.")
                              : QString();
}
