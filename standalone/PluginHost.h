#pragma once

#include <host/BackendVersions.h>
#include <host/ModuleInterface.h>

#include <QList>
#include <QPluginLoader>
#include <QString>
#include <QStringList>

class IOManager;
class QWidget;

/// Loads one module and takes it through its life: loaded, given the host's objects, installed in
/// the menus, shut down, cleaned up.
class PluginHost {
public:
    PluginHost();
    /// Ends the module if end() was not called.
    ~PluginHost();
    PluginHost(const PluginHost &) = delete;
    PluginHost &operator=(const PluginHost &) = delete;

    /// Where the module is looked for when no file is named, the best place first.
    static QStringList defaultFiles(const QString &programFolder);
    /// The first of the default files that exists, or the first of all if none does.
    static QString defaultFile(const QString &programFolder);

    /// @return false and @p error set, in a sentence for the user, if the file holds no module
    bool load(const QString &fileName, QString *error);
    bool isLoaded() const { return m_module != nullptr; }

    QString fileName() const { return m_loader.fileName(); }
    /// From the metadata, known from load() on.
    QString interfaceId() const { return m_interfaceId; }
    QString className() const { return m_className; }
    QString moduleName() const { return m_moduleName; }
    QString moduleVersion() const { return m_moduleVersion; }

    /// Hands over the four objects that a module gets before its menu entries are asked for. All
    /// must outlive end().
    void handOver(IOManager *commandManager, QWidget *moduleParent, BackendVersions *versions,
                  bool observerMode);
    /// The module's entries, by the place of their menu and then by their place in it.
    QList<MenuEntry *> sortedEntries();

    /// Shuts the module down, cleans it up and, if nothing of it is running any more, unloads it.
    /// A second call does nothing.
    void end();

private:
    QPluginLoader m_loader;
    ModuleInterface *m_module = nullptr;
    QString m_interfaceId;
    QString m_className;
    QString m_moduleName;
    QString m_moduleVersion;
};
