#pragma once

#include <host/BackendVersions.h>
#include <host/IOManager.h>
#include <host/MessageReceiver.h>
#include <host/ModuleInterface.h>

#include <QList>
#include <QPointer>

class TestDialog;

/// Records what the host does with it in the application's property "testModuleCalls".
class TestModule : public QObject, public ModuleInterface, public MessageReceiver {
    Q_OBJECT
    Q_INTERFACES(ModuleInterface)
    Q_PLUGIN_METADATA(IID "org.quorel.Quorel2.TestModule")

public:
    ~TestModule() override;

    void shutdown() override;
    void cleanup() override;
    QString name() const override;
    QString version() const override;
    QList<MenuEntry *> menuEntries() override;
    void setHostProperty(const QString &name, const QVariant &value) override;
    int receiveMessage(int kind, const char *source, const char *text) override;

private:
    void openDialog();

    IOManager *m_manager = nullptr;
    QWidget *m_parent = nullptr;
    QPointer<TestDialog> m_dialog;
    MenuEntry m_entries[3] = {};
    QList<MenuEntry *> m_list;
};
