#include "PluginHost.h"

#include <host/IOManager.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QThread>

#include <algorithm>
#include <tuple>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(PluginHost)
};

constexpr const char *kModuleFile = "libBodyAdjustmentModule.so";

} // namespace

PluginHost::PluginHost() = default;

PluginHost::~PluginHost()
{
    end();
}

QStringList PluginHost::defaultFiles(const QString &programFolder)
{
    QStringList files;
    for (const char *folder : {"../plugins/", "../lib/quorel2/plugins/", ""}) {
        files.append(QDir::cleanPath(programFolder + QLatin1Char('/') + QLatin1String(folder) +
                                     QLatin1String(kModuleFile)));
    }
    return files;
}

QString PluginHost::defaultFile(const QString &programFolder)
{
    const QStringList files = defaultFiles(programFolder);
    const auto found = std::find_if(files.cbegin(), files.cend(),
                                    [](const QString &file) { return QFileInfo::exists(file); });
    return found == files.cend() ? files.constFirst() : *found;
}

bool PluginHost::load(const QString &fileName, QString *error)
{
    const QFileInfo file(fileName);
    if (!file.exists()) {
        *error = Texts::tr("There is no module \"%1\".").arg(fileName);
        return false;
    }
    m_loader.setFileName(file.absoluteFilePath());
    const QJsonObject metadata = m_loader.metaData();
    if (metadata.isEmpty()) {
        *error = Texts::tr("\"%1\" is not a module of this system.").arg(fileName);
        return false;
    }
    m_interfaceId = metadata.value(QLatin1String("IID")).toString();
    m_className = metadata.value(QLatin1String("className")).toString();
    QObject *instance = m_loader.instance();
    if (!instance) {
        *error = Texts::tr("The module \"%1\" cannot be loaded: %2")
                     .arg(fileName, m_loader.errorString());
        return false;
    }
    m_module = qobject_cast<ModuleInterface *>(instance);
    if (!m_module) {
        m_loader.unload();
        *error = Texts::tr("\"%1\" (%2) does not offer the interface of a module.")
                     .arg(fileName, m_interfaceId);
        return false;
    }
    m_moduleName = m_module->name();
    m_moduleVersion = m_module->version();
    return true;
}

void PluginHost::handOver(IOManager *commandManager, QWidget *moduleParent,
                          BackendVersions *versions, bool observerMode)
{
    // A module finds its objects by the names of their types.
    qRegisterMetaType<IOManager *>("IOManager*");
    qRegisterMetaType<BackendVersions *>("BackendVersions*");
    m_module->setHostProperty(QStringLiteral("CommandManager"),
                              QVariant::fromValue<IOManager *>(commandManager));
    m_module->setHostProperty(QStringLiteral("ModuleParent"),
                              QVariant::fromValue<QWidget *>(moduleParent));
    m_module->setHostProperty(QStringLiteral("BackendVersions"),
                              QVariant::fromValue<BackendVersions *>(versions));
    m_module->setHostProperty(QStringLiteral("ObserverMode"), observerMode);
}

QList<MenuEntry *> PluginHost::sortedEntries()
{
    QList<MenuEntry *> entries = m_module->menuEntries();
    entries.removeAll(nullptr);
    std::stable_sort(entries.begin(), entries.end(), [](const MenuEntry *a, const MenuEntry *b) {
        return std::tie(a->menuPosition, a->position) < std::tie(b->menuPosition, b->position);
    });
    return entries;
}

void PluginHost::end()
{
    if (!m_module)
        return;
    ModuleInterface *module = m_module;
    m_module = nullptr;
    module->shutdown();
    module->cleanup();
    // A call of the module that is still on the stack needs its code: end() may have been reached
    // from within its dialog.
    if (QThread::currentThread()->loopLevel() == 0)
        m_loader.unload();
}
