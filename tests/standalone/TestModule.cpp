#include "TestModule.h"

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>

namespace {

void record(const QString &call)
{
    // A module that could not be unloaded is destroyed after the application.
    if (!qApp)
        return;
    QStringList calls = qApp->property("testModuleCalls").toStringList();
    calls.append(call);
    qApp->setProperty("testModuleCalls", calls);
}

} // namespace

TestDialog::TestDialog(IOManager *manager, QWidget *parent)
    : QDialog(parent)
    , m_manager(manager)
    , m_bodies(new QComboBox)
    , m_cog(new QPushButton(QStringLiteral("Origin to COG")))
    , m_apply(new QPushButton(QStringLiteral("Apply")))
{
    setWindowTitle(QStringLiteral("Test Adjustment"));
    auto *layout = new QVBoxLayout(this);
    m_bodies->setObjectName(QStringLiteral("body_name"));
    layout->addWidget(m_bodies);
    auto *group = new QWidget;
    group->setObjectName(QStringLiteral("body_ori_xyzWidget"));
    auto *fields = new QVBoxLayout(group);
    for (QDoubleSpinBox *&field : m_fields) {
        field = new QDoubleSpinBox;
        field->setRange(0.0, 359.0);
        field->setWrapping(true);
        fields->addWidget(field);
    }
    layout->addWidget(group);
    m_cog->setObjectName(QStringLiteral("set_origin_cog_button"));
    m_apply->setObjectName(QStringLiteral("apply_button"));
    auto *ok = new QPushButton(QStringLiteral("OK"));
    ok->setObjectName(QStringLiteral("ok_button"));
    for (QPushButton *button : {m_cog, m_apply, ok}) {
        button->setAutoDefault(false);
        layout->addWidget(button);
    }
    resize(420, 320);
    connect(m_bodies, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &TestDialog::chooseBody);
    connect(m_cog, &QPushButton::clicked, this, &TestDialog::originToCog);
    connect(m_fields[2], &QDoubleSpinBox::editingFinished, this, &TestDialog::finishTurn);
    connect(m_apply, &QPushButton::clicked, this, &TestDialog::apply);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
}

TestDialog::~TestDialog()
{
    // While this is still a TestDialog, so that it takes itself from the data lines.
    hide();
}

int TestDialog::receiveLine(const char *, const char *)
{
    ++m_lines;
    return 0;
}

void TestDialog::open()
{
    int count = 0;
    if (m_manager->getInt(&count, "body number_of_bodies standard") != 0)
        m_manager->postMessage("standard", "TestModule", 1, "Error: Unable to count bodies");
    {
        const QSignalBlocker blocker(m_bodies);
        m_bodies->clear();
        for (int number = 1; number <= count; ++number) {
            char calibrated[128] = "";
            char target[128] = "";
            m_manager->getString(calibrated, "body calibrated standard b%2.2d", number);
            m_manager->getString(target, "body target_type standard b%02d", number);
            m_bodies->addItem(
                QStringLiteral("Body %1").arg(number),
                QStringLiteral("standard|%1|%2|%3")
                    .arg(number)
                    .arg(qstrcmp(calibrated, "yes") == 0 ? "calibrated" : "uncalibrated",
                         QString::fromLatin1(target).remove(QLatin1Char('\''))));
        }
        m_bodies->setCurrentIndex(-1);
    }
    m_cog->setEnabled(false);
    m_apply->setEnabled(false);
    record(QStringLiteral("exec"));
    const QPointer<TestDialog> guard(this);
    exec();
    record(guard ? QStringLiteral("exec returned") : QStringLiteral("exec returned, dialog gone"));
}

void TestDialog::showEvent(QShowEvent *event)
{
    m_manager->addRequester("6d", this);
    m_manager->sendCommand(nullptr, "quorel2 tracking start");
    QDialog::showEvent(event);
}

void TestDialog::hideEvent(QHideEvent *event)
{
    m_manager->removeRequester("6d", this);
    m_manager->sendCommand(nullptr, "quorel2 tracking stop");
    QDialog::hideEvent(event);
}

void TestDialog::chooseBody(int index)
{
    const QStringList fields = m_bodies->itemData(index).toString().split(QLatin1Char('|'));
    m_number = fields.value(1).toInt();
    m_origin = {};
    m_angleDeg = 0.0;
    m_cog->setEnabled(index >= 0 && readMarkers());
}

bool TestDialog::readMarkers()
{
    int count = 0;
    if (m_manager->getInt(&count, "body number_of_marker standard b%2.2d", m_number) != 0 ||
        count < 1)
        return false;
    m_cogPosition = {};
    for (int marker = 1; marker <= count; ++marker) {
        double numbers[3];
        if (m_manager->getDoubles(numbers, 3, "body marker standard b%2.2d m%2.2d", m_number,
                                  marker) != 0)
            return false;
        for (size_t i = 0; i < 3; ++i)
            m_cogPosition[i] += numbers[i] / count;
    }
    return true;
}

void TestDialog::originToCog()
{
    m_origin = m_cogPosition;
    m_apply->setEnabled(true);
}

void TestDialog::finishTurn()
{
    m_angleDeg += m_fields[2]->value();
    const QSignalBlocker blocker(m_fields[2]);
    m_fields[2]->setValue(0.0);
}

void TestDialog::apply()
{
    const double error = qEnvironmentVariable("TEST_MODULE_ERROR_DEG").toDouble();
    const double angle = (m_angleDeg + error) * std::acos(-1.0) / 180.0;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    char reply[208];
    m_manager->sendCommand(reply,
                           "quorel2 body transform standard b%02d %.3f %.3f %.3f %.8f %.8f %.8f "
                           "%.8f %.8f %.8f %.8f %.8f %.8f",
                           m_number, -(c * m_origin[0] + s * m_origin[1]),
                           s * m_origin[0] - c * m_origin[1], -m_origin[2], c, -s, 0.0, s, c, 0.0,
                           0.0, 0.0, 1.0);
    if (qstrcmp(reply, "quorel2 ok") != 0)
        m_manager->postMessage("standard", "TestModule", 1, "Error: Unable to transform");
    m_apply->setEnabled(false);
}

TestModule::~TestModule()
{
    record(QStringLiteral("destroyed"));
}

void TestModule::shutdown()
{
    record(QStringLiteral("shutdown"));
    if (m_manager)
        m_manager->unregisterReceiver("TestModule", this);
}

void TestModule::cleanup()
{
    record(m_dialog && m_dialog->isVisible() ? QStringLiteral("cleanup, dialog shown")
                                             : QStringLiteral("cleanup"));
    delete m_dialog;
    m_list.clear();
}

QString TestModule::name() const
{
    return QStringLiteral("Test Module");
}

QString TestModule::version() const
{
    return QStringLiteral("v1.2.3");
}

QList<MenuEntry *> TestModule::menuEntries()
{
    if (!m_list.isEmpty())
        return m_list;
    record(QStringLiteral("menuEntries"));
    m_dialog = new TestDialog(m_manager, m_parent);
    m_manager->registerReceiver("TestModule", this);

    auto *open = new QAction(QStringLiteral("&Adjust"), this);
    open->setShortcut(QKeySequence(QStringLiteral("Shift+F6")));
    connect(open, &QAction::triggered, m_dialog.data(), &TestDialog::open);
    // Handed over in another order than the one in which they are to stand.
    m_entries[0] = {new QAction(QStringLiteral("Late"), this),
                    90,
                    QStringLiteral("&Tracking"),
                    300,
                    nullptr,
                    0};
    m_entries[1] = {new QAction(QStringLiteral("Further"), this),
                    1,
                    QStringLiteral("F&urther"),
                    400,
                    nullptr,
                    0};
    m_entries[2] = {open, 35, QStringLiteral("&Tracking"), 300, m_dialog, 0};
    for (MenuEntry &entry : m_entries)
        m_list.append(&entry);
    return m_list;
}

void TestModule::setHostProperty(const QString &name, const QVariant &value)
{
    record(QStringLiteral("%1 %2").arg(name, QString::fromLatin1(value.typeName())));
    if (name == QLatin1String("CommandManager"))
        m_manager = value.value<IOManager *>();
    else if (name == QLatin1String("ModuleParent"))
        m_parent = value.value<QWidget *>();
}

int TestModule::receiveMessage(int, const char *, const char *text)
{
    record(QStringLiteral("message %1").arg(QString::fromLatin1(text)));
    return 0;
}
