#pragma once

#include "DemoAdjustment.h"
#include "MarkerView.h"

#include <QPoint>

#include <array>
#include <functional>

class QWidget;

/// The adjustment by hand in the 3D view, of a body that stands still: two markers picked by mouse,
/// an axis laid through them, undone and redone, a line between them, the numbers in the data view;
/// then a look at a body that moves, followed as it is tracked; and the axes of the still body
/// adjusted to the room, after which its reports must show them parallel to the room's.
///
/// What the controller has no body for is left out.
class AxisAdjustment : public DemoAdjustment {
public:
    /// @param before  adjusts another body than this one; not owned
    AxisAdjustment(const DemoParts &parts, const DemoAdjustment *before);

    QVector<DemoStep> steps() override;
    /// How the controller reported the body after Apply, in a sentence for the user.
    QString alignmentReport() const;
    /// What was left out and why, in a sentence for the user; empty if all was played.
    QString leftOutReport() const;

private:
    using Rotation = std::array<double, 9>;

    QVector<DemoStep> findBodies();
    QVector<DemoStep> chooseStillBody();
    QVector<DemoStep> pickMarkers();
    QVector<DemoStep> setAxis();
    QVector<DemoStep> undoAndRedo();
    QVector<DemoStep> addLine();
    QVector<DemoStep> lookAtNumbers();
    QVector<DemoStep> followMovingBody();
    /// Instead of it, where no body moves.
    QVector<DemoStep> showStillBody();
    QVector<DemoStep> adjustToRoom();

    /// @param button  what can be used once the marker is chosen
    /// @param before  the step before
    /// @param grey    of the outline that marks it
    DemoStep pick(const QString &name, int MarkerView::Pair::*marker, const char *button,
                  const QString &before, int grey);
    DemoStep openContextMenu(const QString &name, const std::function<QWidget *()> &where);
    DemoStep chooseFromMenu(const QString &name, const QString &text,
                            const std::function<bool()> &done);
    DemoStep goOnline(const QString &name);
    /// The still body is chosen and shown as it is tracked once the step is done.
    void awaitStillBody(DemoStep *step);
    DemoStep applyAlignment();

    bool isJudged() const;
    DemoBody stillBody() const;
    DemoBody movingBody() const;
    MarkerView markerView() const;
    QString compareTable() const;

    const DemoAdjustment *m_before;
    DemoBody m_still;
    DemoBody m_moving;
    MarkerView::Pair m_pair;
    QPoint m_menuPlace;
    Rotation m_rotation{};
};
