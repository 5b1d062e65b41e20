#include "DialogFixture.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <view/GLCanvas.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QWindow>
#include <QtTest>

DialogFixture::DialogFixture()
{
    const QVector<bsVector> four = {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {30, 40, 50}};
    host.addType("standard", "Standard body");
    host.addType("vimbar", "Vimbar");
    host.addBody(
        "standard", 1, "Wand", true, "tt_std",
        {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {30, 40, 50}, {-60, 20, 10}, {20, -70, 30}},
        {{0, 0, 1, 60}, {0, 1, 0, 60}, {1, 0, 0, 60}, {0, 0, 1, 60}, {0, 0, 1, 60}, {0, 0, 1, 60}});
    host.addBody("standard", 2, "", true, "tt_std", four);
    host.addBody("standard", 3, "Pen", true, "tt_5dof", four);
    host.addBody("standard", 4, "Tube", true, "tt_6dof_cyl", four);
    host.addBody("standard", 5, "Raw", false, "tt_std", four);
    host.addBody("vimbar", 1, "Probe", true, "tt_std", four);
    host.addBody("vimbar", 2, "Spare probe", true, "tt_std",
                 {{0, 0, 0}, {80, 0, 0}, {0, 50, 0}, {20, 30, 40}, {-30, 10, 5}});
    parentWindow.setWindowTitle(QStringLiteral("Host"));

    auto *timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &DialogFixture::answerOpenBox);
    timer->start(5);
}

DialogFixture::~DialogFixture() = default;

void DialogFixture::makeDialog()
{
    dialog = std::make_unique<BodyAdjustmentDialog>(&host, &parentWindow, &host.versions);
}

void DialogFixture::answerOpenBox()
{
    if (leaveBoxesOpen)
        return;
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box || !box->isVisible() || box->property("answered").toBool())
        return;
    box->setProperty("answered", true);
    const auto defaultButton =
        box->defaultButton() ? box->standardButton(box->defaultButton()) : QMessageBox::NoButton;
    boxes.append(
        {box->icon(), box->windowTitle(), box->text(), box->standardButtons(), defaultButton});
    const QMessageBox::StandardButton answer =
        answers.isEmpty() ? QMessageBox::NoButton : answers.takeFirst();
    if (QAbstractButton *button = box->button(answer))
        button->click();
    else
        box->reject();
}

void DialogFixture::runScript(const std::function<void()> &script)
{
    const QPointer<BodyAdjustmentDialog> guard(dialog.get());
    const bool exposed = QTest::qWaitForWindowExposed(dialog.get());
    dialog->activateWindow();
    // A window manager that is still busy with the last closing may leave the focus elsewhere.
    if (exposed && !QTest::qWaitForWindowActive(dialog.get(), 2000))
        QApplication::setActiveWindow(dialog.get());
    if (exposed)
        script();
    else
        QTest::qFail("The dialog was not shown.", __FILE__, __LINE__);
    if (guard && guard->isVisible()) {
        answers.clear();
        answers.append(QMessageBox::Yes);
        guard->reject();
    }
}

void DialogFixture::waitUntilGone()
{
    const QWindow *window = dialog->windowHandle();
    if (!window)
        return;
    // Shown again before the window system has taken it away, it might get neither the focus nor
    // an expose event.
    const bool gone = QTest::qWaitFor(
        [window] { return !window->isExposed() && QGuiApplication::focusWindow() != window; });
    if (!gone)
        QTest::qFail("The dialog did not go away.", __FILE__, __LINE__);
    // A window manager that hears of the end only now would take the new window for the old one.
    QTest::qWait(50);
}

int DialogFixture::session(const std::function<void()> &script)
{
    if (!dialog)
        makeDialog();
    waitUntilGone();
    QTimer::singleShot(0, this, [this, script] { runScript(script); });
    return dialog->update_and_exec();
}

void DialogFixture::requestedSession(const QByteArray &request, const std::function<void()> &script)
{
    if (!dialog)
        makeDialog();
    waitUntilGone();
    host.sendToModule("BodyAdjustmentModule", "Calibration", "OpenBodyAdjustmentDialog" + request);
    bool done = false;
    const QPointer<BodyAdjustmentDialog> guard(dialog.get());
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        if (!dialog->isVisible() || done)
            return;
        done = true;
        runScript(script);
    });
    timer.start(1);
    QTRY_VERIFY(done && (!guard || !guard->isVisible()));
}

void DialogFixture::choose(int listPosition)
{
    child<QComboBox>("body_name")->setCurrentIndex(listPosition);
}

void DialogFixture::openList()
{
    auto *list = child<QComboBox>("body_name");
    list->setFocus();
    list->showPopup();
    QTRY_VERIFY(list->view()->isVisible());
    QVERIFY(QTest::qWaitForWindowExposed(list->view()->window()));
}

GLCanvas *DialogFixture::canvas() const
{
    return dialog->findChild<GLCanvas *>();
}

QWidget *DialogFixture::childNamed(const char *name, const QMetaObject &type) const
{
    const QString wanted = QString::fromLatin1(name);
    QStringList names;
    const QList<QWidget *> children = dialog->findChildren<QWidget *>();
    for (QWidget *widget : children) {
        if (widget->objectName() == wanted && type.cast(widget))
            return widget;
        names.append(widget->objectName());
    }
    qFatal("There is no %s; there are: %s", name, qPrintable(names.join(QLatin1Char(' '))));
    return nullptr;
}

bool DialogFixture::isEnabled(const char *name) const
{
    return child<QWidget>(name)->isEnabled();
}

QStringList DialogFixture::enabledControls() const
{
    QStringList enabled;
    for (const char *name : {"body_name",
                             "body_pos_xyzWidget",
                             "body_ori_xyzWidget",
                             "set_origin_button",
                             "set_origin_cog_button",
                             "set_axis_button",
                             "adjust_axes_to_room_button",
                             "pushButton_deleteMarker",
                             "pushButton_due_to_body",
                             "pushButton_due_to_room",
                             "pushButton_due_to_room_0",
                             "pos_xyzWidget",
                             "ori_xyzWidget",
                             "reset_view_button",
                             "online_checkbox",
                             "undo_button",
                             "redo_button",
                             "help_button",
                             "ok_button",
                             "apply_button",
                             "cancel_button"}) {
        if (isEnabled(name))
            enabled.append(QString::fromLatin1(name));
    }
    return enabled;
}

void DialogFixture::typeValue(const char *group, int component, const QString &text)
{
    const QList<bsDoubleWidget *> components =
        child<QWidget>(group)->findChildren<bsDoubleWidget *>();
    QCOMPARE(components.size(), 3);
    auto *spinBox = components.at(component)->findChild<QDoubleSpinBox *>();
    QTest::mouseClick(spinBox, Qt::LeftButton, Qt::NoModifier, QPoint(10, spinBox->height() / 2));
    QTRY_VERIFY(spinBox->hasFocus());
    spinBox->selectAll();
    QTest::keyClicks(spinBox, text);
}

void DialogFixture::click(const char *button)
{
    auto *widget = child<QWidget>(button);
    QVERIFY2(widget->isEnabled(), button);
    QTest::mouseClick(widget, Qt::LeftButton);
}

QAction *DialogFixture::menuAction(const QString &text) const
{
    const QList<QAction *> actions = dialog->findChildren<QAction *>();
    for (QAction *action : actions) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}
