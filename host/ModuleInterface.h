#pragma once

#include <QAction>
#include <QList>
#include <QString>
#include <QVariant>
#include <QWidget>
#include <QtPlugin>

/// One entry of the host's menus, as a module hands it over. The module owns the record and
/// everything that it points to.
struct MenuEntry {
    QAction *action;
    int position;      ///< place in the menu
    QString menuTitle; ///< menu in which the entry stands
    int menuPosition;  ///< place of that menu in the menu bar
    QWidget *widget;   ///< window that the entry opens
    int flag;
};

/// What the host drives a module through. The order of the operations is binary interface.
class ModuleInterface {
public:
    virtual ~ModuleInterface() = default;
    /// Detaches the module from the host's message routing; its windows still exist afterwards.
    virtual void shutdown() = 0;
    /// Deletes the module's windows.
    virtual void cleanup() = 0;
    virtual QString name() const = 0;
    virtual QString version() const = 0;
    /// @return entries owned by the module, valid until cleanup()
    virtual QList<MenuEntry *> menuEntries() = 0;
    /// Hands over one host object by name. Unknown names are ignored.
    virtual void setHostProperty(const QString &name, const QVariant &value) = 0;
};

Q_DECLARE_INTERFACE(ModuleInterface, "org.quorel.quorel2.gui.Module/0.2.0")
