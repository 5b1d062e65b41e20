#include "TestModule.h"

#include "TestDialog.h"

#include <QApplication>

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

void TestModule::openDialog()
{
    record(QStringLiteral("exec"));
    const QPointer<TestDialog> guard(m_dialog);
    guard->open();
    record(guard ? QStringLiteral("exec returned") : QStringLiteral("exec returned, dialog gone"));
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
    connect(open, &QAction::triggered, this, &TestModule::openDialog);
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
