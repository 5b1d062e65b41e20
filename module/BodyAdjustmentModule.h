#pragma once

#include <host/ModuleInterface.h>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>

class BodyAdjustmentDialog;
class IOManager;
struct BackendVersions;

/// The plug-in: adds the body adjustment to the host's menu.
///
/// The host hands over its services before it first asks for the menu entries, since the dialog
/// that is then created keeps them.
class BodyAdjustmentModule : public QObject, public ModuleInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.quorel.Quorel2.BodyAdjustmentModule")
    Q_INTERFACES(ModuleInterface)

public:
    BodyAdjustmentModule();
    ~BodyAdjustmentModule() override;

    void shutdown() override;
    void cleanup() override;
    QString name() const override;
    QString version() const override;
    QList<MenuEntry *> menuEntries() override;
    void setHostProperty(const QString &name, const QVariant &value) override;

private:
    Q_DISABLE_COPY(BodyAdjustmentModule)

    BodyAdjustmentDialog *dialog() const;

    QPointer<QWidget> m_parentWidget;
    QList<MenuEntry *> m_entries;
    MenuEntry m_entry;
    IOManager *m_commandManager = nullptr;
    BackendVersions *m_backendVersions = nullptr;
    bool m_observerMode = false;
};
