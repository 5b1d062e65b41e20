#include "DemoAdjustment.h"

#include "DemoScene.h"
#include "HostCommandService.h"
#include "ReplyValues.h"
#include "UserInput.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>
#include <QWindow>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(DemoAdjustment)
};

QMenu *menuOf(QAction *entry)
{
    for (QWidget *widget : entry->associatedWidgets()) {
        if (auto *menu = qobject_cast<QMenu *>(widget))
            return menu;
    }
    return nullptr;
}

} // namespace

DemoAdjustment::DemoAdjustment(const DemoParts &parts)
    : m_parts(parts)
{
}

DemoAdjustment::~DemoAdjustment() = default;

bool DemoAdjustment::check(QString *report)
{
    QVector<ExpectedDefinition::Marker> held;
    *report = readDefinition(&held);
    if (!report->isEmpty())
        return false;
    const QStringList differences = ExpectedDefinition::differences(m_expected.markers(), held);
    const QString name = Texts::tr("%1 body %2").arg(m_body.type).arg(m_body.number);
    if (differences.isEmpty()) {
        *report = Texts::tr("The controller holds the expected definition of %1 (%2 markers).")
                      .arg(name)
                      .arg(held.size());
        return true;
    }
    *report = Texts::tr("The controller does not hold the expected definition of %1:\n  %2")
                  .arg(name, differences.join(QStringLiteral("\n  ")));
    return false;
}

QString DemoAdjustment::adopt(const DemoBody &body)
{
    m_body = body;
    QVector<ExpectedDefinition::Marker> markers;
    QString problem = readDefinition(&markers);
    m_expected = ExpectedDefinition(markers);
    return problem;
}

QString DemoAdjustment::readDefinition(QVector<ExpectedDefinition::Marker> *markers) const
{
    const QByteArray body =
        m_body.type.toLatin1() + " b" + QByteArray::number(m_body.number).rightJustified(2, '0');
    QString problem;
    ExchangeStatus status = ExchangeStatus::Done;
    const auto read = [&](const QByteArray &parameter, double *numbers, int count) {
        QByteArray value;
        status = m_parts.service->query(parameter, &value).status;
        if (status == ExchangeStatus::Done && parseDoubles(value, numbers, count))
            return true;
        problem =
            Texts::tr("The controller does not tell \"%1\".").arg(QString::fromLatin1(parameter));
        return false;
    };
    double count = 0.0;
    if (!read("body number_of_marker " + body, &count, 1))
        return problem;
    markers->clear();
    for (int i = 1; i <= qRound(count); ++i) {
        const QByteArray marker = body + " m" + QByteArray::number(i).rightJustified(2, '0');
        ExpectedDefinition::Marker definition;
        if (!read("body marker " + marker, definition.position.data(), 3))
            return problem;
        // An older controller knows of no emissions.
        if (!read("body marker_emission " + marker, definition.emission.data(), 4) &&
            status != ExchangeStatus::Refused)
            return problem;
        markers->append(definition);
    }
    return QString();
}

// --- steps --------------------------------------------------------------------------------------

DemoStep DemoAdjustment::openMenu(const QString &name)
{
    DemoStep step;
    step.name = name;
    step.ready = [this] { return menuOf(m_parts.entry) != nullptr; };
    step.act = [this] {
        auto *bar = m_parts.scene->mainWindow()->findChild<QMenuBar *>();
        UserInput::click(bar, bar->actionGeometry(menuOf(m_parts.entry)->menuAction()).center());
    };
    step.done = [this] { return menuOf(m_parts.entry)->isVisible(); };
    return step;
}

DemoStep DemoAdjustment::openDialog(const QString &name)
{
    DemoStep step;
    step.name = name;
    step.isViewEmpty = true;
    step.act = [this] {
        QMenu *menu = menuOf(m_parts.entry);
        UserInput::click(menu, menu->actionGeometry(m_parts.entry).center());
    };
    step.done = [this] {
        const QWidget *dialog = m_parts.scene->dialog();
        return dialog && dialog->windowHandle()->isExposed();
    };
    return step;
}

DemoStep DemoAdjustment::openBodyList(const QString &name)
{
    DemoStep step;
    step.name = name;
    step.isViewEmpty = true;
    // The dialog fills its list before it is shown.
    step.ready = [this] {
        return bodyList() && (bodyList()->isEnabled() || bodyList()->count() == 0);
    };
    step.act = [this] {
        if (bodyList()->count() > 0)
            UserInput::click(bodyList());
        else
            m_parts.player->fail(Texts::tr("The list of bodies is empty."));
    };
    step.done = [this] { return bodyList()->view()->isVisible(); };
    return step;
}

DemoStep DemoAdjustment::chooseBody(const QString &name, const std::function<DemoBody()> &body)
{
    DemoStep step;
    step.name = name;
    step.act = [this, body] {
        QAbstractItemView *list = bodyList()->view();
        UserInput::click(list->viewport(), placeInList(list, body().index));
    };
    step.done = [this, body] {
        return !bodyList()->view()->isVisible() && bodyList()->currentIndex() == body().index &&
               m_parts.scene->isEnabled("set_origin_cog_button");
    };
    return step;
}

DemoStep DemoAdjustment::clickButton(const QString &name, const char *button,
                                     const std::function<bool()> &done)
{
    DemoStep step;
    step.name = name;
    step.ready = [this, button] { return m_parts.scene->isEnabled(button); };
    step.act = [this, button] {
        UserInput::click(m_parts.scene->inDialog<QAbstractButton>(button));
    };
    step.done = done;
    return step;
}

DemoStep DemoAdjustment::close(const QString &name)
{
    DemoStep step = clickButton(name, "ok_button", [this] {
        return !m_parts.scene->dialog() && !QApplication::activeModalWidget();
    });
    step.finish = [this] {
        QString report;
        return check(&report) ? QString() : report;
    };
    return step;
}

QComboBox *DemoAdjustment::bodyList() const
{
    return m_parts.scene->inDialog<QComboBox>("body_name");
}

QPoint DemoAdjustment::placeInList(QAbstractItemView *list, int row)
{
    const QModelIndex item = list->model()->index(row, 0);
    list->scrollTo(item);
    // An entry may be wider than what is seen of it. Its text is at the left; the middle is where a
    // click opened the list, whose second half it could be taken for.
    const QRect seen = list->visualRect(item).intersected(list->viewport()->rect());
    return {seen.left() + seen.width() / 4, seen.center().y()};
}

QVector<DemoBody> DemoAdjustment::listedBodies() const
{
    QVector<DemoBody> result;
    const QComboBox *list = bodyList();
    for (int i = 0; list && i < list->count(); ++i) {
        const QStringList fields = list->itemData(i).toString().split(QLatin1Char('|'));
        DemoBody body;
        body.index = i;
        body.type = fields.value(0);
        body.number = fields.value(1).toInt();
        body.isSuitable = fields.size() == 4 && body.type.toLower() == QLatin1String("standard") &&
                          fields.at(2) == QLatin1String("calibrated") &&
                          fields.at(3) == QLatin1String("tt_std");
        result.append(body);
    }
    return result;
}
