#include "CentreAdjustment.h"

#include "DemoScene.h"
#include "UserInput.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDoubleSpinBox>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(CentreAdjustment)
};

constexpr double kTurnDeg = 30.0;

} // namespace

QVector<DemoStep> CentreAdjustment::steps()
{
    DemoStep list = openBodyList(QStringLiteral("body-list"));
    const auto open = list.act;
    list.act = [this, open] {
        if (suitableBody().index >= 0 || bodyList()->count() == 0)
            open();
        else
            parts().player->fail(
                Texts::tr("There is no calibrated standard body of target type tt_std in the "
                          "list."));
    };
    DemoStep choose = chooseBody(QStringLiteral("body-chosen"), [this] { return suitableBody(); });
    choose.finish = [this] { return adopt(suitableBody()); };

    const auto canApply = [this] { return parts().scene->isEnabled("apply_button"); };
    DemoStep centre =
        clickButton(QStringLiteral("origin-to-cog"), "set_origin_cog_button", canApply);
    centre.finish = [this] {
        expected().originToCentreOfGravity();
        return QString();
    };
    DemoStep apply =
        clickButton(QStringLiteral("applied"), "apply_button", [canApply] { return !canApply(); });
    apply.finish = [this] {
        expected().apply();
        return QString();
    };
    return {mainWindow(),
            openMenu(QStringLiteral("menu")),
            openDialog(QStringLiteral("dialog")),
            list,
            choose,
            centre,
            typeTurn(kTurnDeg),
            confirmTurn(kTurnDeg),
            apply,
            close(QStringLiteral("closed"))};
}

DemoStep CentreAdjustment::mainWindow()
{
    DemoStep step;
    step.name = QStringLiteral("main-window");
    step.ready = [this] {
        QWidget *main = parts().scene->mainWindow();
        if (!main->windowHandle() || !main->windowHandle()->isExposed())
            return false;
        if (!main->isActiveWindow())
            main->activateWindow();
        return true;
    };
    return step;
}

DemoStep CentreAdjustment::typeTurn(double angleDeg)
{
    DemoStep step;
    step.name = QStringLiteral("turn-typed");
    step.ready = [this] { return turnField() && turnField()->isEnabled(); };
    step.act = [this, angleDeg] {
        QDoubleSpinBox *field = turnField();
        // At the left, where the digits are; the arrows are at the right.
        UserInput::click(field, QPoint(field->width() / 4, field->height() / 2));
        UserInput::pressKey(field, Qt::Key_A, Qt::ControlModifier);
        UserInput::typeText(field, QString::number(angleDeg));
    };
    step.done = [this, angleDeg] { return std::fabs(turnField()->value() - angleDeg) < 1e-6; };
    return step;
}

DemoStep CentreAdjustment::confirmTurn(double angleDeg)
{
    // The field returns to zero when the turn has become part of the body's axes.
    DemoStep step;
    step.name = QStringLiteral("turned");
    step.act = [this] { UserInput::pressKey(turnField(), Qt::Key_Return); };
    step.done = [this] {
        return turnField()->value() == 0.0 && parts().scene->isEnabled("apply_button");
    };
    step.finish = [this, angleDeg] {
        expected().turn(0.0, 0.0, angleDeg);
        return QString();
    };
    return step;
}

DemoBody CentreAdjustment::suitableBody() const
{
    for (const DemoBody &body : listedBodies()) {
        if (body.isSuitable)
            return body;
    }
    return {};
}

QDoubleSpinBox *CentreAdjustment::turnField() const
{
    const auto *group = parts().scene->inDialog<QWidget>("body_ori_xyzWidget");
    if (!group)
        return nullptr;
    QList<QDoubleSpinBox *> fields = group->findChildren<QDoubleSpinBox *>();
    if (fields.size() != 3)
        return nullptr;
    // x, y and z stand one below or beside the other.
    std::sort(fields.begin(), fields.end(), [group](QWidget *a, QWidget *b) {
        const QPoint first = a->mapTo(group, QPoint());
        const QPoint second = b->mapTo(group, QPoint());
        return std::make_pair(first.y(), first.x()) < std::make_pair(second.y(), second.x());
    });
    return fields.at(2);
}
