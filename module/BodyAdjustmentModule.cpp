#include "BodyAdjustmentModule.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <host/BackendVersions.h>
#include <host/IOManager.h>

#include <QAction>
#include <QCoreApplication>
#include <QKeySequence>
#include <QMetaType>

namespace {

constexpr int kPositionInMenu = 35;
constexpr int kPositionOfMenu = 300;

/// The object behind a variant of any type that points to a QObject, if it is a widget.
QWidget *widgetFrom(const QVariant &value)
{
    static const int s_widgetType = qRegisterMetaType<QWidget *>("QWidget*");
    Q_UNUSED(s_widgetType)
    QObject *object = nullptr;
    if (QMetaType::typeFlags(value.userType()) & QMetaType::PointerToQObject)
        object = *static_cast<QObject *const *>(value.constData());
    else
        object = value.value<QWidget *>();
    return object && object->isWidgetType() ? static_cast<QWidget *>(object) : nullptr;
}

/// @param typeName  by which the host knows the type of the pointer
template <typename Object>
Object *objectFrom(const QVariant &value, const char *typeName)
{
    static const int s_type = qRegisterMetaType<Object *>(typeName);
    Q_UNUSED(s_type)
    return value.value<Object *>();
}

} // namespace

BodyAdjustmentModule::BodyAdjustmentModule()
    : m_entry{nullptr, 0, QString(), 0, nullptr, 0}
{
}

BodyAdjustmentModule::~BodyAdjustmentModule()
{
    // A host may unload the module without cleanup(); no window may outlive its code. Without an
    // application there are no windows any more.
    if (QCoreApplication::instance())
        BodyAdjustmentModule::cleanup();
}

BodyAdjustmentDialog *BodyAdjustmentModule::dialog() const
{
    return static_cast<BodyAdjustmentDialog *>(m_entry.widget);
}

void BodyAdjustmentModule::shutdown()
{
    if (m_entry.widget)
        dialog()->detachFromHost();
}

void BodyAdjustmentModule::cleanup()
{
    delete dialog();
    m_entry.widget = nullptr;
    m_entries.clear();
}

QString BodyAdjustmentModule::name() const
{
    return tr("GUI Body Adjustment");
}

QString BodyAdjustmentModule::version() const
{
    return QStringLiteral("v" QUOREL2_VERSION);
}

QList<MenuEntry *> BodyAdjustmentModule::menuEntries()
{
    if (!m_entries.isEmpty())
        return m_entries;

    auto *newDialog = new BodyAdjustmentDialog(m_commandManager, m_parentWidget, m_backendVersions);
    m_entry.widget = newDialog;
    // The host's window may take its child, the dialog, with it.
    connect(newDialog, &QObject::destroyed, this, [this] { m_entry.widget = nullptr; });
    m_entry.menuTitle = tr("&Tracking");
    m_entry.menuPosition = kPositionOfMenu;
    m_entry.position = kPositionInMenu;
    m_entry.flag = 0;

    delete m_entry.action;
    auto *action = new QAction(tr("Body &adjustment"), this);
    action->setShortcut(QKeySequence(tr("Shift+F6")));
    action->setStatusTip(tr("Perform the body adjustment"));
    action->setWhatsThis(tr("Adjust the body coordinate system"));
    connect(action, &QAction::triggered, newDialog, &BodyAdjustmentDialog::update_and_exec);
    m_entry.action = action;
    m_entries.append(&m_entry);
    return m_entries;
}

void BodyAdjustmentModule::setHostProperty(const QString &name, const QVariant &value)
{
    if (name == QLatin1String("CommandManager"))
        m_commandManager = objectFrom<IOManager>(value, "IOManager*");
    else if (name == QLatin1String("ModuleParent"))
        m_parentWidget = widgetFrom(value);
    else if (name == QLatin1String("BackendVersions"))
        m_backendVersions = objectFrom<BackendVersions>(value, "BackendVersions*");
    else if (name == QLatin1String("ObserverMode"))
        m_observerMode = value.toBool();
}
