#include "Demo.h"

#include "HostCommandService.h"
#include "Logging.h"
#include "ReplyValues.h"
#include "UserInput.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPixmap>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <set>

namespace {

constexpr int kPollMs = 20;
/// A picture is taken as it is when it has not come to rest after this time, or when the 3D view
/// has not shown anything until then.
constexpr int kPictureLimitMs = 3000;

} // namespace

Demo::Demo(HostCommandService *service, QWidget *mainWindow, QAction *entry, const QString &folder,
           QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_mainWindow(mainWindow)
    , m_entry(entry)
    , m_folder(folder)
{
    m_timer.setInterval(kPollMs);
    connect(&m_timer, &QTimer::timeout, this, &Demo::tick);
    buildSteps();
}

Demo::~Demo() = default;

void Demo::start()
{
    // A blinking cursor would never let a picture come to rest.
    QApplication::setCursorFlashTime(0);
    enter(Phase::Waiting);
    m_timer.start();
}

void Demo::buildSteps()
{
    addOpening();
    addBodyChoice();

    addClick(QStringLiteral("origin-to-cog"), QStringLiteral("set_origin_cog_button"),
             [this] { return isEnabledInDialog("apply_button"); });
    m_steps.last().finish = [this] {
        m_expected.originToCentreOfGravity();
        return true;
    };
    addTurnAboutZ(30.0);
    addClick(QStringLiteral("applied"), QStringLiteral("apply_button"),
             [this] { return !isEnabledInDialog("apply_button"); });
    m_steps.last().finish = [this] {
        m_expected.apply();
        return true;
    };
    addClosing();
}

void Demo::addOpening()
{
    Step shown;
    shown.name = QStringLiteral("main-window");
    shown.ready = [this] {
        const QWindow *window = m_mainWindow->windowHandle();
        if (!window || !window->isExposed())
            return false;
        if (!m_mainWindow->isActiveWindow())
            m_mainWindow->activateWindow();
        return true;
    };
    m_steps.append(shown);

    Step menu;
    menu.name = QStringLiteral("menu");
    menu.ready = [this] { return entryMenu() != nullptr; };
    menu.act = [this] {
        auto *bar = m_mainWindow->findChild<QMenuBar *>();
        UserInput::click(bar, bar->actionGeometry(entryMenu()->menuAction()).center());
    };
    menu.done = [this] { return entryMenu()->isVisible(); };
    m_steps.append(menu);

    Step open;
    open.name = QStringLiteral("dialog");
    open.act = [this] {
        UserInput::click(entryMenu(), entryMenu()->actionGeometry(m_entry).center());
    };
    open.done = [this] { return dialog() != nullptr && dialog()->windowHandle()->isExposed(); };
    m_steps.append(open);
}

void Demo::addBodyChoice()
{
    Step list;
    list.name = QStringLiteral("body-list");
    list.ready = [this] {
        const auto *bodies = inDialog<QComboBox>("body_name");
        return bodies && bodies->isEnabled() && bodies->count() > 0;
    };
    list.act = [this] {
        auto *bodies = inDialog<QComboBox>("body_name");
        m_bodyIndex = suitableBody(bodies);
        if (m_bodyIndex < 0)
            fail(tr("There is no calibrated standard body of target type tt_std in the list."));
        else
            UserInput::click(bodies);
    };
    list.done = [this] { return inDialog<QComboBox>("body_name")->view()->isVisible(); };
    m_steps.append(list);

    Step choose;
    choose.name = QStringLiteral("body-chosen");
    choose.act = [this] {
        QAbstractItemView *view = inDialog<QComboBox>("body_name")->view();
        const QModelIndex item = view->model()->index(m_bodyIndex, 0);
        view->scrollTo(item);
        UserInput::click(view->viewport(), view->visualRect(item).center());
    };
    choose.done = [this] {
        auto *bodies = inDialog<QComboBox>("body_name");
        return !bodies->view()->isVisible() && bodies->currentIndex() == m_bodyIndex &&
               isEnabledInDialog("set_origin_cog_button");
    };
    choose.finish = [this] {
        const QStringList fields = inDialog<QComboBox>("body_name")
                                       ->itemData(m_bodyIndex)
                                       .toString()
                                       .split(QLatin1Char('|'));
        m_bodyType = fields.value(0);
        m_bodyNumber = fields.value(1).toInt();
        QVector<ExpectedDefinition::Marker> markers;
        if (!readDefinition(&markers))
            return false;
        m_expected = ExpectedDefinition(markers);
        return true;
    };
    m_steps.append(choose);
}

void Demo::addClick(const QString &name, const QString &buttonName,
                    const std::function<bool()> &done)
{
    const QByteArray button = buttonName.toLatin1();
    Step step;
    step.name = name;
    step.ready = [this, button] { return isEnabledInDialog(button); };
    step.act = [this, button] { UserInput::click(inDialog<QAbstractButton>(button)); };
    step.done = done;
    m_steps.append(step);
}

void Demo::addTurnAboutZ(double angleDeg)
{
    Step type;
    type.name = QStringLiteral("turn-typed");
    type.ready = [this] { return turnField() && turnField()->isEnabled(); };
    type.act = [this, angleDeg] {
        QDoubleSpinBox *field = turnField();
        // At the left, where the digits are; the arrows are at the right.
        UserInput::click(field, QPoint(field->width() / 4, field->height() / 2));
        UserInput::pressKey(field, Qt::Key_A, Qt::ControlModifier);
        UserInput::typeText(field, QString::number(angleDeg));
    };
    type.done = [this, angleDeg] { return std::fabs(turnField()->value() - angleDeg) < 1e-6; };
    m_steps.append(type);

    // The field returns to zero when the turn has become part of the body's axes.
    Step confirm;
    confirm.name = QStringLiteral("turned");
    confirm.act = [this] { UserInput::pressKey(turnField(), Qt::Key_Return); };
    confirm.done = [this] {
        return turnField()->value() == 0.0 && isEnabledInDialog("apply_button");
    };
    confirm.finish = [this, angleDeg] {
        m_expected.turn(0.0, 0.0, angleDeg);
        return true;
    };
    m_steps.append(confirm);
}

void Demo::addClosing()
{
    addClick(QStringLiteral("closed"), QStringLiteral("ok_button"),
             [this] { return !dialog() && !QApplication::activeModalWidget(); });
}

void Demo::tick()
{
    if (m_phase == Phase::Ended)
        return;
    const Step &step = m_steps.at(m_step);
    switch (m_phase) {
    case Phase::Waiting:
        if (!step.ready || step.ready()) {
            m_acted = false;
            enter(Phase::Acting);
            // Not from within the timer: it would stand still while a dialog runs that the
            // action opens.
            QMetaObject::invokeMethod(this, &Demo::runAction, Qt::QueuedConnection);
        }
        break;
    case Phase::Acting:
        if (m_acted && (!step.done || step.done()))
            enter(Phase::Settling);
        break;
    case Phase::Settling:
        if (step.finish && !step.finish()) {
            fail(m_problem);
            return;
        }
        m_lastPicture = QImage();
        enter(Phase::Picture);
        break;
    case Phase::Picture:
        if (step.name.isEmpty() || takePicture()) {
            nextStep();
            return;
        }
        break;
    case Phase::Ended:
        return;
    }
    if (m_phase != Phase::Ended && m_phaseClock.hasExpired(m_limitMs)) {
        fail(m_phase == Phase::Waiting ? tr("Step \"%1\" could not begin within %2 s.")
                                             .arg(step.name)
                                             .arg(m_limitMs / 1000)
                                       : tr("Step \"%1\" had no effect within %2 s.")
                                             .arg(step.name)
                                             .arg(m_limitMs / 1000));
    }
}

void Demo::runAction()
{
    if (m_phase != Phase::Acting)
        return;
    m_acted = true;
    const Step step = m_steps.at(m_step);
    qCInfo(lcStandalone) << "step" << step.name;
    if (step.act)
        step.act();
}

void Demo::enter(Phase phase)
{
    m_phase = phase;
    m_phaseClock.start();
}

void Demo::nextStep()
{
    if (++m_step < m_steps.size())
        enter(Phase::Waiting);
    else
        checkResult();
}

void Demo::checkResult()
{
    QVector<ExpectedDefinition::Marker> held;
    if (!readDefinition(&held)) {
        fail(m_problem);
        return;
    }
    const QStringList differences = ExpectedDefinition::differences(m_expected.markers(), held);
    const QString body = tr("%1 body %2").arg(m_bodyType).arg(m_bodyNumber);
    if (differences.isEmpty()) {
        end(0, tr("The controller holds the expected definition of %1 (%2 markers).")
                   .arg(body)
                   .arg(held.size()));
    } else {
        end(1, tr("The controller does not hold the expected definition of %1:\n  %2")
                   .arg(body, differences.join(QStringLiteral("\n  "))));
    }
}

void Demo::fail(const QString &reason)
{
    if (m_phase == Phase::Ended)
        return;
    const QImage picture = grab();
    if (!picture.isNull())
        picture.save(QDir(m_folder).filePath(QStringLiteral("failed.png")));
    end(1, tr("The demonstration failed: %1 %2").arg(reason, openWindows()).trimmed());
}

void Demo::end(int exitCode, const QString &report)
{
    m_timer.stop();
    enter(Phase::Ended);
    emit finished(exitCode, report);
}

// --- what is there ------------------------------------------------------------------------------

QWidget *Demo::dialog() const
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->isModal() &&
            widget->findChild<QWidget *>(QStringLiteral("body_name")))
            return widget;
    }
    return nullptr;
}

template <typename Widget>
Widget *Demo::inDialog(const char *name) const
{
    const QWidget *window = dialog();
    return window ? window->findChild<Widget *>(QString::fromLatin1(name)) : nullptr;
}

bool Demo::isEnabledInDialog(const char *name) const
{
    const auto *widget = inDialog<QWidget>(name);
    return widget && widget->isVisible() && widget->isEnabled();
}

QDoubleSpinBox *Demo::turnField() const
{
    const auto *group = inDialog<QWidget>("body_ori_xyzWidget");
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

QMenu *Demo::entryMenu() const
{
    for (QWidget *widget : m_entry->associatedWidgets()) {
        if (auto *menu = qobject_cast<QMenu *>(widget))
            return menu;
    }
    return nullptr;
}

int Demo::suitableBody(QComboBox *bodies) const
{
    for (int i = 0; i < bodies->count(); ++i) {
        const QStringList fields = bodies->itemData(i).toString().split(QLatin1Char('|'));
        if (fields.size() == 4 && fields.at(0).toLower() == QLatin1String("standard") &&
            fields.at(2) == QLatin1String("calibrated") && fields.at(3) == QLatin1String("tt_std"))
            return i;
    }
    return -1;
}

bool Demo::readDefinition(QVector<ExpectedDefinition::Marker> *markers)
{
    const QByteArray body =
        m_bodyType.toLatin1() + " b" + QByteArray::number(m_bodyNumber).rightJustified(2, '0');
    ExchangeStatus status = ExchangeStatus::Done;
    const auto read = [&](const QByteArray &parameter, double *numbers, int count) {
        QByteArray value;
        status = m_service->query(parameter, &value).status;
        if (status == ExchangeStatus::Done && parseDoubles(value, numbers, count))
            return true;
        m_problem = tr("The controller does not tell \"%1\".").arg(QString::fromLatin1(parameter));
        return false;
    };
    double count = 0.0;
    if (!read("body number_of_marker " + body, &count, 1))
        return false;
    markers->clear();
    for (int i = 1; i <= qRound(count); ++i) {
        const QByteArray marker = body + " m" + QByteArray::number(i).rightJustified(2, '0');
        ExpectedDefinition::Marker definition;
        if (!read("body marker " + marker, definition.position.data(), 3))
            return false;
        // An older controller knows of no emissions.
        if (!read("body marker_emission " + marker, definition.emission.data(), 4) &&
            status != ExchangeStatus::Refused)
            return false;
        markers->append(definition);
    }
    return true;
}

QString Demo::openWindows() const
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
    return texts.isEmpty() ? QString()
                           : tr("Open windows: %1.").arg(texts.join(QStringLiteral(", ")));
}

// --- pictures -----------------------------------------------------------------------------------

QRect Demo::pictureArea() const
{
    // The dialog, or else the main window, with whatever stands open above it.
    const QWidget *main = dialog() ? dialog() : m_mainWindow;
    QRect area = main->frameGeometry();
    for (const QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->windowType() == Qt::Popup)
            area |= widget->frameGeometry();
    }
    return area;
}

QImage Demo::grab() const
{
    QWidget *main = dialog() ? dialog() : m_mainWindow;
    QScreen *screen = main->windowHandle() ? main->windowHandle()->screen() : nullptr;
    if (screen) {
        const QRect area =
            pictureArea().intersected(screen->geometry()).translated(-screen->geometry().topLeft());
        const QPixmap picture =
            screen->grabWindow(0, area.x(), area.y(), area.width(), area.height());
        if (!picture.isNull())
            return picture.toImage();
    }
    // Some window systems show the screen to nobody.
    return main->grab().toImage();
}

bool Demo::isViewDrawn(const QImage &picture, const QPoint &origin) const
{
    const QWidget *window = dialog();
    if (!window || m_bodyIndex < 0)
        return true;
    for (const QWidget *view : window->findChildren<QWidget *>()) {
        if (!view->isVisible() || !(view->inherits("QGLWidget") || view->inherits("QOpenGLWidget")))
            continue;
        const qreal ratio = picture.devicePixelRatio();
        const QRect area =
            QRect(((view->mapToGlobal(QPoint()) - origin) * ratio), view->size() * ratio)
                .adjusted(4, 4, -4, -4)
                .intersected(picture.rect());
        std::set<QRgb> colours;
        for (int y = area.top(); y <= area.bottom(); y += 2) {
            for (int x = area.left(); x <= area.right(); x += 2) {
                colours.insert(picture.pixel(x, y));
                if (colours.size() > 2)
                    return true;
            }
        }
        return false;
    }
    return true;
}

bool Demo::takePicture()
{
    const QImage picture = grab();
    const bool isDrawn = isViewDrawn(picture, pictureArea().topLeft());
    const bool isAtRest = !m_lastPicture.isNull() && picture == m_lastPicture;
    m_lastPicture = picture;
    const bool isLate = m_phaseClock.hasExpired(kPictureLimitMs);
    if (!(isAtRest && isDrawn) && !isLate)
        return false;
    const QString &name = m_steps.at(m_step).name;
    if (!isDrawn)
        qWarning("The 3D view shows nothing in the picture \"%s\".", qPrintable(name));
    const QString fileName = QDir(m_folder).filePath(
        QStringLiteral("%1-%2.png").arg(++m_pictures, 2, 10, QLatin1Char('0')).arg(name));
    if (!picture.save(fileName)) {
        fail(tr("The picture \"%1\" cannot be written.").arg(fileName));
        return false;
    }
    return true;
}
