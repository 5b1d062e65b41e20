#include "DialogFixture.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <view/GLCanvas.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QWindow>
#include <QtTest>

namespace {

constexpr int kAnswerIntervalMs = 5;

} // namespace

void SeenBoxes::clear()
{
    m_boxes.clear();
    m_overlooked.clear();
}

void SeenBoxes::append(const SeenBox &box, bool announced)
{
    m_boxes.append(box);
    if (!announced)
        m_overlooked.append(box.text);
}

const QVector<SeenBox> &SeenBoxes::boxes() const
{
    m_overlooked.clear();
    return m_boxes;
}

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

    m_answerTimer = new QTimer(this);
    connect(m_answerTimer, &QTimer::timeout, this, &DialogFixture::answerOpenBox);
    m_answerTimer->start(kAnswerIntervalMs);
}

DialogFixture::~DialogFixture()
{
    failOnUnusedAnswers();
    const QStringList overlooked = boxes.overlooked();
    if (!overlooked.isEmpty() && !QTest::currentTestFailed())
        QTest::qFail(qPrintable(QStringLiteral("Message boxes that the test did not look at: ") +
                                overlooked.join(QStringLiteral("; "))),
                     __FILE__, __LINE__);
}

void DialogFixture::failOnUnusedAnswers()
{
    if (!answers.isEmpty() && !QTest::currentTestFailed())
        QTest::qFail("A message box that the test has an answer for did not come.", __FILE__,
                     __LINE__);
}

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
    const SeenBox seen = {box->icon(), box->windowTitle(), box->text(), box->standardButtons(),
                          defaultButton};
    boxes.append(seen, !answers.isEmpty() || answerTo);
    QMessageBox::StandardButton answer = QMessageBox::NoButton;
    if (!answers.isEmpty())
        answer = answers.takeFirst();
    else if (answerTo)
        answer = answerTo(seen);
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
    failOnUnusedAnswers();
    answers.clear();
    if (guard && guard->isVisible()) {
        answers.append(QMessageBox::Yes);
        guard->reject();
        answers.clear();
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

int DialogFixture::quickSession(const std::function<void()> &script)
{
    int result = -1;
    quickly(script, [this, &result] { result = dialog->update_and_exec(); });
    return result;
}

void DialogFixture::quickRequestedSession(const QString &sender, const QString &body,
                                          const std::function<void()> &script)
{
    quickly(script,
            [this, sender, body] { dialog->onReceiveOpenBodyAdjustmentDialog(sender, body); });
}

void DialogFixture::quickly(const std::function<void()> &script, const std::function<void()> &open)
{
    if (!dialog)
        makeDialog();
    m_answerTimer->setInterval(0);
    const QPointer<BodyAdjustmentDialog> guard(dialog.get());
    QTimer untilUp;
    connect(&untilUp, &QTimer::timeout, this, [&] {
        // A body chosen by the request may show a box before the dialog.
        if (!guard->isVisible() || QApplication::activeModalWidget() != guard)
            return;
        untilUp.stop();
        if (script)
            script();
        if (guard && guard->isVisible()) {
            answers = {QMessageBox::Yes};
            guard->reject();
            answers.clear();
        }
    });
    untilUp.start(0);
    open();
    m_answerTimer->setInterval(kAnswerIntervalMs);
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

bool DialogFixture::isItselfEnabled(const char *name) const
{
    auto *widget = child<QWidget>(name);
    return widget->isEnabledTo(widget->parentWidget());
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
    // After a message box the window manager may take its time to give the focus back.
    if (!dialog->isActiveWindow()) {
        dialog->activateWindow();
        if (!QTest::qWaitForWindowActive(dialog.get(), 2000))
            QApplication::setActiveWindow(dialog.get());
    }
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

void DialogFixture::changeValue(const char *group, int component, double by)
{
    auto *widget = child<xyzWidget>(group);
    QVERIFY2(widget->isEnabled(), group);
    widget->findChildren<bsDoubleWidget *>().at(component)->adjustValue(by);
    widget->finishEditing();
}

void DialogFixture::selectMarker(int index)
{
    canvas()->select(canvas()->body().markers().at(index));
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

void DialogFixture::takeFromMenu(QWidget *where, const QString &entry)
{
    bool taken = false;
    QTimer timer;
    connect(&timer, &QTimer::timeout, &timer, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu || !menu->isVisible())
            return;
        timer.stop();
        for (QAction *action : menu->actions()) {
            if (action->text() == entry) {
                menu->setActiveAction(action);
                taken = true;
            }
        }
        QTest::keyClick(menu, taken ? Qt::Key_Return : Qt::Key_Escape);
    });
    timer.start(5);
    QTest::mouseClick(where, Qt::RightButton);
    QVERIFY2(taken, qPrintable(entry));
}

QStringList DialogFixture::tableRows() const
{
    auto *table = child<QTableWidget>("tableWidget_data");
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < table->columnCount(); ++column)
            cells.append(table->item(row, column)->text());
        rows.append(cells.join(QLatin1Char(' ')));
    }
    return rows;
}
