#pragma once

#include <host/BackendVersions.h>
#include <host/IOManager.h>
#include <host/MessageReceiver.h>
#include <host/ModuleInterface.h>
#include <host/Requester.h>

#include <QDialog>
#include <QPointer>

#include <array>
#include <atomic>

class QComboBox;
class QDoubleSpinBox;
class QPushButton;

/// A body adjustment as small as it can be, with the widget names of the real one.
///
/// The environment variable TEST_MODULE_ERROR_DEG makes it turn a body by so much too far.
class TestDialog : public QDialog, public Requester {
    Q_OBJECT

public:
    TestDialog(IOManager *manager, QWidget *parent);
    ~TestDialog() override;

    int receiveLine(const char *lineType, const char *line) override;
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }

public slots:
    void open() override;

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void chooseBody(int index);
    void originToCog();
    void finishTurn();
    void apply();
    bool readMarkers();

    IOManager *m_manager;
    QComboBox *m_bodies;
    QDoubleSpinBox *m_fields[3];
    QPushButton *m_cog;
    QPushButton *m_apply;
    int m_number = 0;
    std::array<double, 3> m_cogPosition{};
    std::array<double, 3> m_origin{};
    double m_angleDeg = 0.0;
    std::atomic<int> m_lines{0};
};

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
    IOManager *m_manager = nullptr;
    QWidget *m_parent = nullptr;
    QPointer<TestDialog> m_dialog;
    MenuEntry m_entries[3] = {};
    QList<MenuEntry *> m_list;
};
