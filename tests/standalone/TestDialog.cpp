#include "TestDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>

#include <Eigen/Geometry>

namespace {

Eigen::Matrix3d turnAboutZ(double angleDeg)
{
    return Eigen::AngleAxisd(angleDeg * EIGEN_PI / 180.0, Eigen::Vector3d::UnitZ())
        .toRotationMatrix();
}

} // namespace

TestDialog::TestDialog(IOManager *manager, QWidget *parent)
    : QDialog(parent)
    , m_manager(manager)
{
    build();
    m_poll = new QTimer(this);
    m_poll->setInterval(30);
    connect(m_poll, &QTimer::timeout, this, &TestDialog::pollTracking);
}

TestDialog::~TestDialog()
{
    // While this is still a TestDialog, so that it takes itself from the data lines.
    hide();
}

QPushButton *TestDialog::addButton(const char *name, void (TestDialog::*slot)())
{
    auto *button = new QPushButton(QString::fromLatin1(name));
    button->setObjectName(QString::fromLatin1(name));
    button->setAutoDefault(false);
    button->setEnabled(false);
    connect(button, &QPushButton::clicked, this, slot);
    m_buttons[button->objectName()] = button;
    return button;
}

void TestDialog::build()
{
    setWindowTitle(QStringLiteral("Test Adjustment"));
    m_bodies = new QComboBox;
    m_bodies->setObjectName(QStringLiteral("body_name"));
    m_view = new TestView;
    m_table = new QTableWidget(0, 4);
    m_table->viewport()->installEventFilter(this);
    m_pages = new QStackedWidget;
    m_pages->addWidget(m_view);
    m_pages->addWidget(m_table);
    auto *group = new QWidget;
    group->setObjectName(QStringLiteral("body_ori_xyzWidget"));
    auto *fields = new QVBoxLayout(group);
    for (QDoubleSpinBox *&field : m_fields) {
        field = new QDoubleSpinBox;
        field->setRange(0.0, 359.0);
        field->setWrapping(true);
        fields->addWidget(field);
    }
    m_online = new QCheckBox(QStringLiteral("online"));
    m_online->setObjectName(QStringLiteral("online_checkbox"));

    auto *side = new QVBoxLayout;
    side->addWidget(group);
    side->addWidget(m_online);
    side->addWidget(addButton("set_origin_button", &TestDialog::refresh));
    side->addWidget(addButton("set_origin_cog_button", &TestDialog::originToCog));
    side->addWidget(addButton("set_axis_button", &TestDialog::setAxis));
    side->addWidget(addButton("adjust_axes_to_room_button", &TestDialog::adjustToRoom));
    side->addWidget(addButton("reset_view_button", &TestDialog::refresh));
    side->addWidget(addButton("undo_button", &TestDialog::undo));
    side->addWidget(addButton("redo_button", &TestDialog::redo));
    side->addWidget(addButton("apply_button", &TestDialog::apply));
    side->addWidget(addButton("ok_button", &TestDialog::accept));
    side->addWidget(addButton("cancel_button", &TestDialog::reject));
    side->addStretch();
    auto *layout = new QGridLayout(this);
    layout->addWidget(m_bodies, 0, 0);
    layout->addWidget(m_pages, 1, 0);
    layout->addLayout(side, 0, 1, 2, 1);
    layout->setColumnStretch(0, 1);
    resize(760, 560);

    for (auto changed : {QOverload<int>::of(&QComboBox::highlighted),
                         QOverload<int>::of(&QComboBox::currentIndexChanged)})
        connect(m_bodies, changed, this, &TestDialog::chooseBody);
    connect(m_fields[2], &QDoubleSpinBox::editingFinished, this, &TestDialog::finishTurn);
    connect(m_online, &QCheckBox::toggled, this, &TestDialog::pollTracking);
    connect(m_view, &TestView::choiceChanged, this, &TestDialog::refresh);
    connect(m_view, &TestView::menuWanted, this, &TestDialog::openViewMenu);
}

// --- opening and closing ------------------------------------------------------------------------

void TestDialog::open()
{
    readBodyList();
    m_online->setChecked(false);
    m_index = -1;
    m_view->markers.clear();
    refresh();
    exec();
}

void TestDialog::readBodyList()
{
    int count = 0;
    if (m_manager->getInt(&count, "body number_of_bodies standard") != 0)
        m_manager->postMessage("standard", "TestModule", 1, "Error: Unable to count bodies");
    const QSignalBlocker blocker(m_bodies);
    m_bodies->clear();
    for (int number = 1; number <= count; ++number) {
        char calibrated[128] = "";
        char target[128] = "";
        m_manager->getString(calibrated, "body calibrated standard b%2.2d", number);
        m_manager->getString(target, "body target_type standard b%02d", number);
        m_bodies->addItem(QStringLiteral("Body %1").arg(number),
                          QStringLiteral("standard|%1|%2|%3")
                              .arg(number)
                              .arg(qstrcmp(calibrated, "yes") == 0 ? "calibrated" : "uncalibrated",
                                   QString::fromLatin1(target).remove(QLatin1Char('\''))));
    }
    m_bodies->setCurrentIndex(-1);
}

void TestDialog::showEvent(QShowEvent *event)
{
    m_manager->addRequester("6d", this);
    m_manager->sendCommand(nullptr, "quorel2 tracking start");
    m_poll->start();
    QDialog::showEvent(event);
}

void TestDialog::hideEvent(QHideEvent *event)
{
    m_poll->stop();
    m_manager->removeRequester("6d", this);
    m_manager->sendCommand(nullptr, "quorel2 tracking stop");
    QDialog::hideEvent(event);
}

// --- the body -----------------------------------------------------------------------------------

void TestDialog::chooseBody(int index)
{
    if (index < 0 || index == m_index)
        return;
    if (!m_undo.isEmpty()) {
        m_bodies->hidePopup();
        const auto answer = QMessageBox::question(this, QStringLiteral("Test Adjustment"),
                                                  QStringLiteral("Apply the changes?"));
        if (answer == QMessageBox::Yes)
            apply();
    }
    m_index = index;
    const QStringList fields = m_bodies->itemData(index).toString().split(QLatin1Char('|'));
    m_number = fields.value(1).toInt();
    {
        const QSignalBlocker blocker(m_bodies);
        m_bodies->setCurrentIndex(index);
    }
    readMarkers();
}

bool TestDialog::readMarkers()
{
    m_frame = Frame();
    m_undo.clear();
    m_redo.clear();
    m_view->markers.clear();
    m_view->chosen.clear();
    m_view->hasLine = false;
    int count = 0;
    const bool isRead =
        m_manager->getInt(&count, "body number_of_marker standard b%2.2d", m_number) == 0;
    for (int marker = 1; marker <= count; ++marker) {
        double numbers[3] = {};
        m_manager->getDoubles(numbers, 3, "body marker standard b%2.2d m%2.2d", m_number, marker);
        m_view->markers.append(Eigen::Vector3d(numbers[0], numbers[1], numbers[2]));
    }
    refresh();
    return isRead;
}

void TestDialog::refresh()
{
    m_view->axes = m_frame.axes;
    m_view->origin = m_frame.origin;
    m_view->update();
    fillTable();
    const bool isLoaded = !m_view->markers.isEmpty();
    m_buttons["set_origin_button"]->setEnabled(!m_view->chosen.isEmpty());
    m_buttons["set_origin_cog_button"]->setEnabled(isLoaded);
    m_buttons["set_axis_button"]->setEnabled(m_view->chosen.size() == 2);
    m_buttons["reset_view_button"]->setEnabled(true);
    m_buttons["undo_button"]->setEnabled(!m_undo.isEmpty());
    m_buttons["redo_button"]->setEnabled(!m_redo.isEmpty());
    m_buttons["apply_button"]->setEnabled(!m_undo.isEmpty());
    m_buttons["ok_button"]->setEnabled(true);
    m_buttons["cancel_button"]->setEnabled(true);
    m_online->setEnabled(isLoaded);
}

void TestDialog::fillTable()
{
    m_table->setRowCount(m_view->markers.size());
    for (int row = 0; row < m_view->markers.size(); ++row) {
        Eigen::Vector3d position =
            m_frame.axes.transpose() * (m_view->markers[row] - m_frame.origin);
        if (isFaulty("table") && row == 2)
            position.y() += 0.02;
        m_table->setItem(row, 0, new QTableWidgetItem(QString::number(row + 1)));
        for (int axis = 0; axis < 3; ++axis)
            m_table->setItem(row, axis + 1,
                             new QTableWidgetItem(QString::number(position[axis], 'f', 2)));
    }
}

// --- editing ------------------------------------------------------------------------------------

void TestDialog::commit(const Frame &frame)
{
    m_undo.append(m_frame);
    m_redo.clear();
    m_frame = frame;
    refresh();
}

void TestDialog::originToCog()
{
    Frame frame = m_frame;
    frame.origin.setZero();
    for (const Eigen::Vector3d &marker : qAsConst(m_view->markers))
        frame.origin += marker / m_view->markers.size();
    commit(frame);
}

void TestDialog::finishTurn()
{
    const double angle = m_fields[2]->value();
    const QSignalBlocker blocker(m_fields[2]);
    m_fields[2]->setValue(0.0);
    if (angle == 0.0)
        return;
    Frame frame = m_frame;
    frame.axes *= turnAboutZ(angle + qEnvironmentVariable("TEST_MODULE_ERROR_DEG").toDouble());
    commit(frame);
}

void TestDialog::setAxis()
{
    QDialog dialog(this);
    auto *layout = new QFormLayout(&dialog);
    const auto addBox = [&](const char *name, const QString &axis) {
        auto *box = new QComboBox;
        box->setObjectName(QString::fromLatin1(name));
        box->addItems({QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z")});
        box->setCurrentText(axis);
        layout->addRow(box);
        return box;
    };
    QComboBox *set = addBox("axisToSetComboBox", QStringLiteral("X"));
    QComboBox *keep = addBox("axisToPreserveComboBox", QStringLiteral("Y"));
    QComboBox *calculate = addBox("axisToCalculateComboBox", QStringLiteral("Z"));
    connect(set, QOverload<int>::of(&QComboBox::currentIndexChanged), &dialog, [=](int axis) {
        keep->setCurrentIndex(axis == 0 ? 1 : 0);
        calculate->setCurrentIndex(3 - axis - keep->currentIndex());
    });
    auto *ok = new QPushButton(QStringLiteral("OK"));
    ok->setObjectName(QStringLiteral("pushButton_ok"));
    layout->addRow(ok);
    connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
    if (dialog.exec() != QDialog::Accepted)
        return;

    const Eigen::Vector3d from = m_view->markers[m_view->chosen[0]];
    const Eigen::Vector3d to = m_view->markers[m_view->chosen[1]];
    Frame frame = m_frame;
    const Eigen::Vector3d direction = isFaulty("axis") ? from - to : to - from;
    const int i = set->currentIndex();
    const int j = keep->currentIndex();
    frame.axes.col(i) = direction.normalized();
    frame.axes.col(3 - i - j) =
        (j == (i + 1) % 3 ? 1.0 : -1.0) * frame.axes.col(i).cross(m_frame.axes.col(j)).normalized();
    frame.axes.col(j) =
        (j == (i + 1) % 3 ? 1.0 : -1.0) * frame.axes.col(3 - i - j).cross(frame.axes.col(i));
    commit(frame);
}

void TestDialog::adjustToRoom()
{
    Frame frame = m_frame;
    frame.axes = m_view->room.transpose();
    if (isFaulty("room"))
        frame.axes *= turnAboutZ(0.001);
    if (isFaulty("inverse"))
        frame.axes.transposeInPlace();
    commit(frame);
}

void TestDialog::undo()
{
    m_redo.append(m_frame);
    const Frame before = m_undo.takeLast();
    if (!isFaulty("undo"))
        m_frame = before;
    refresh();
}

void TestDialog::redo()
{
    m_undo.append(m_frame);
    m_frame = m_redo.takeLast();
    refresh();
}

void TestDialog::apply()
{
    const Eigen::Matrix3d r = m_frame.axes.transpose();
    const Eigen::Vector3d t = -(r * m_frame.origin);
    m_undo.clear();
    char reply[208] = "quorel2 ok";
    if (!isFaulty("write") || m_number == 1)
        m_manager->sendCommand(reply,
                               "quorel2 body transform standard b%02d %.3f %.3f %.3f %.8f %.8f "
                               "%.8f %.8f %.8f %.8f %.8f %.8f %.8f",
                               m_number, t[0], t[1], t[2], r(0, 0), r(1, 0), r(2, 0), r(0, 1),
                               r(1, 1), r(2, 1), r(0, 2), r(1, 2), r(2, 2));
    if (isFaulty("first") && m_number != 1)
        m_manager->sendCommand(reply,
                               "quorel2 body transform standard b01 0 0 1 1 0 0 0 1 0 0 0 1");
    if (qstrcmp(reply, "quorel2 ok") != 0)
        m_manager->postMessage("standard", "TestModule", 1, "Error: Unable to transform");
    readMarkers();
}

// --- menus --------------------------------------------------------------------------------------

void TestDialog::openViewMenu(const QPoint &place)
{
    QMenu menu;
    QAction *line = menu.addAction(QStringLiteral("Add line between markers"));
    line->setEnabled(m_view->chosen.size() == 2 && !m_view->hasLine);
    QAction *numbers = menu.addAction(QStringLiteral("Data view"));
    const QAction *chosen = menu.exec(place);
    if (chosen == line && !isFaulty("line")) {
        m_view->hasLine = true;
        m_view->update();
    } else if (chosen == numbers) {
        m_pages->setCurrentWidget(m_table);
    }
}

void TestDialog::openTableMenu(const QPoint &place)
{
    QMenu menu;
    QAction *graphic = menu.addAction(QStringLiteral("Graphic view"));
    if (menu.exec(place) == graphic)
        m_pages->setCurrentWidget(m_view);
}

bool TestDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonPress && watched == m_table->viewport()) {
        const auto *press = static_cast<QMouseEvent *>(event);
        if (press->button() == Qt::RightButton) {
            openTableMenu(press->globalPos());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

// --- tracking -----------------------------------------------------------------------------------

int TestDialog::receiveLine(const char *, const char *line)
{
    // Three brackets for each body; the third holds the columns of the rotation.
    const QList<QByteArray> brackets = QByteArray(line).split('[');
    std::map<int, Eigen::Matrix3d> tracked;
    for (int i = 1; i + 2 < brackets.size(); i += 3) {
        const QList<QByteArray> head = brackets[i].split(']').first().split(' ');
        const QList<QByteArray> numbers = brackets[i + 2].split(']').first().split(' ');
        if (head.value(1).toDouble() <= 0.0 || numbers.size() != 9)
            continue;
        Eigen::Matrix3d rotation;
        for (int k = 0; k < 9; ++k)
            rotation(k % 3, k / 3) = numbers[k].toDouble();
        tracked[head[0].toInt() + 1] = rotation;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_tracked = tracked;
    return 0;
}

void TestDialog::pollTracking()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_tracked.find(m_number);
    const bool isShown = m_online->isChecked() && found != m_tracked.end();
    const bool stands = isFaulty("follow") && m_view->room != Eigen::Matrix3d::Identity();
    if (isShown && !stands)
        m_view->room = found->second;
    else if (!m_online->isChecked())
        m_view->room.setIdentity();
    m_buttons["adjust_axes_to_room_button"]->setEnabled(isShown);
    m_view->update();
}
