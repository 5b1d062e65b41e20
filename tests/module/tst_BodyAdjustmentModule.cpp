#include <host/BackendVersions.h>
#include <host/IOManager.h>
#include <host/MessageReceiver.h>
#include <host/ModuleInterface.h>
#include <host/Requester.h>
#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QJsonObject>
#include <QLibrary>
#include <QMetaMethod>
#include <QPluginLoader>
#include <QPointer>
#include <QTimer>
#include <QTranslator>
#include <QtTest>

#include <cstddef>
#include <thread>

// The records that host and module share, as hosts that were built apart have them.
static_assert(sizeof(void *) == 8 && sizeof(QString) == 8, "written for 64 bits");
static_assert(offsetof(MenuEntry, action) == 0, "");
static_assert(offsetof(MenuEntry, position) == 8, "");
static_assert(offsetof(MenuEntry, menuTitle) == 16, "");
static_assert(offsetof(MenuEntry, menuPosition) == 24, "");
static_assert(offsetof(MenuEntry, widget) == 32, "");
static_assert(offsetof(MenuEntry, flag) == 40, "");
static_assert(sizeof(MenuEntry) == 48, "");
static_assert(offsetof(BackendVersions, hostData) == 0, "");
static_assert(offsetof(BackendVersions, major) == 32, "");
static_assert(offsetof(BackendVersions, minor) == 36, "");
static_assert(offsetof(BackendVersions, patch) == 40, "");

namespace {

const QString kPlugin = QStringLiteral(QUOREL2_BUILD_DIR "/plugins/libBodyAdjustmentModule.so");

/// Translates every text of the module's context into capitals, the shortcut into another one.
class CapitalTranslator : public QTranslator {
public:
    QString translate(const char *context, const char *text, const char * /*disambiguation*/,
                      int /*n*/) const override
    {
        if (qstrcmp(context, "BodyAdjustmentModule") != 0)
            return QString();
        if (qstrcmp(text, "Shift+F6") == 0)
            return QStringLiteral("Ctrl+F9");
        return QString::fromUtf8(text).toUpper();
    }
    bool isEmpty() const override { return false; }
};

/// Calls an operation by its place in the table of an interface, as a host does that was built
/// apart. A result that is an object is returned as it is by a member function: through a hidden
/// argument in front of all others.
template <typename Result, typename... Arguments>
Result callSlot(void *interface, int slot, Arguments... arguments)
{
    using Operation = Result (*)(void *, Arguments...);
    void **table = *static_cast<void ***>(interface);
    return reinterpret_cast<Operation>(table[slot])(interface, arguments...);
}

} // namespace

class TestBodyAdjustmentModule : public QObject {
    Q_OBJECT

private:
    QPluginLoader m_loader{kPlugin};
    QObject *m_object = nullptr;
    ModuleInterface *m_module = nullptr;
    std::unique_ptr<FakeHost> m_host;
    std::unique_ptr<QWidget> m_window;

    void configure()
    {
        m_module->setHostProperty("CommandManager", QVariant::fromValue<IOManager *>(m_host.get()));
        m_module->setHostProperty("ModuleParent", QVariant::fromValue(m_window.get()));
        m_module->setHostProperty("BackendVersions",
                                  QVariant::fromValue<BackendVersions *>(&m_host->versions));
        m_module->setHostProperty("ObserverMode", false);
    }
    QDialog *dialog() { return qobject_cast<QDialog *>(m_module->menuEntries().first()->widget); }

private slots:
    void init()
    {
        m_object = m_loader.instance();
        QVERIFY2(m_object, qPrintable(m_loader.errorString()));
        m_module = qobject_cast<ModuleInterface *>(m_object);
        QVERIFY(m_module);
        m_host = std::make_unique<FakeHost>();
        m_window = std::make_unique<QWidget>();
    }

    void cleanup()
    {
        m_module->shutdown();
        m_module->cleanup();
        QVERIFY(m_loader.unload());
        m_window.reset();
        m_host.reset();
    }

    void metadataNamesInterfaceAndClassAndNothingElse()
    {
        const QJsonObject metadata = m_loader.metaData();
        QCOMPARE(metadata.value("IID").toString(),
                 QStringLiteral("org.quorel.Quorel2.BodyAdjustmentModule"));
        QCOMPARE(metadata.value("className").toString(), QStringLiteral("BodyAdjustmentModule"));
        QVERIFY(metadata.value("MetaData").toObject().isEmpty());
    }

    void entryPointsHaveTheirPlainNames()
    {
        QVERIFY(QLibrary::resolve(kPlugin, "qt_plugin_instance"));
        QVERIFY(QLibrary::resolve(kPlugin, "qt_plugin_query_metadata"));
    }

    void theInstanceIsTheSameUntilItIsDestroyed()
    {
        using Instance = QObject *(*)();
        const auto instance =
            reinterpret_cast<Instance>(QLibrary::resolve(kPlugin, "qt_plugin_instance"));
        QVERIFY(instance);
        QCOMPARE(instance(), m_object);
        QCOMPARE(instance(), m_object);
        const QPointer<QObject> kept = m_object;
        delete m_object;
        QVERIFY(!kept);
        m_object = instance();
        QVERIFY(m_object);
        QCOMPARE(instance(), m_object);
        // The loader takes the new one up, so that it goes with the library.
        QCOMPARE(m_loader.instance(), m_object);
        m_module = qobject_cast<ModuleInterface *>(m_object);
        QCOMPARE(m_module->version(), QStringLiteral("v3.1.9"));
        configure();
        QVERIFY(dialog());
    }

    void classHasNothingOfItsOwnInItsMetaObject()
    {
        const QMetaObject *meta = m_object->metaObject();
        QCOMPARE(meta->methodCount(), meta->methodOffset());
        QCOMPARE(meta->propertyCount(), meta->propertyOffset());
        QCOMPARE(QByteArray(meta->superClass()->className()), QByteArray("QObject"));
    }

    void metacastAnswersToThreeNames()
    {
        QCOMPARE(m_object->qt_metacast("BodyAdjustmentModule"), static_cast<void *>(m_object));
        QCOMPARE(m_object->qt_metacast("ModuleInterface"), static_cast<void *>(m_module));
        QCOMPARE(m_object->qt_metacast("org.quorel.quorel2.gui.Module/0.2.0"),
                 static_cast<void *>(m_module));
        QCOMPARE(m_object->qt_metacast("QObject"), static_cast<void *>(m_object));
        QCOMPARE(m_object->qt_metacast("Requester"), nullptr);
    }

    void nameAndVersion()
    {
        QCOMPARE(m_module->name(), QStringLiteral("GUI Body Adjustment"));
        QCOMPARE(m_module->version(), QStringLiteral("v3.1.9"));
    }

    void theModulesOperationsStandInTheirSlots()
    {
        // Behind the two destructors.
        enum { Shutdown = 2, Cleanup, Name, Version, MenuEntries, SetHostProperty };
        configure();
        QWidget otherWindow;
        const QString property = QStringLiteral("ModuleParent");
        const QVariant value = QVariant::fromValue(&otherWindow);
        callSlot<void, const QString &, const QVariant &>(m_module, SetHostProperty, property,
                                                          value);
        QVERIFY(m_host->receivers.isEmpty());
        const auto entries = callSlot<QList<MenuEntry *>>(m_module, MenuEntries);
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries.first()->widget->parentWidget(), &otherWindow);
        QCOMPARE(callSlot<QString>(m_module, Name), QStringLiteral("GUI Body Adjustment"));
        QCOMPARE(callSlot<QString>(m_module, Version), QStringLiteral("v3.1.9"));
        const QPointer<QWidget> box = entries.first()->widget;
        QCOMPARE(m_host->receivers.size(), 1);
        callSlot<void>(m_module, Shutdown);
        QVERIFY(m_host->receivers.isEmpty());
        QVERIFY(box);
        QCOMPARE(entries.first()->widget, box.data());
        callSlot<void>(m_module, Cleanup);
        QVERIFY(!box);
        QCOMPARE(entries.first()->widget, nullptr);
    }

    void theDialogsOperationsStandInTheirSlots()
    {
        m_host->addBody("standard", 1, "Wand", true, "tt_std",
                        {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {30, 40, 50}});
        configure();
        MessageReceiver *receiver = nullptr;
        const QPointer<QDialog> box = dialog();
        QCOMPARE(m_host->receivers.size(), 1);
        receiver = m_host->receivers.first().second;
        bool seen = false;
        QTimer::singleShot(0, this, [&] {
            box->findChild<QComboBox *>("body_name")->setCurrentIndex(0);
            QCOMPARE(m_host->requesters.value("6d").size(), 1);
            Requester *requester = m_host->requesters.value("6d").first();
            const char *type = "6d";
            const char *whole = "6d 1 [0 1.000][1 2 3][1 0 0 0 1 0 0 0 1]";
            const char *cut = "6d 1 [0 1.000][1 2 3]";
            QCOMPARE((callSlot<int>(requester, 0, type, whole)), 0);
            QCOMPARE((callSlot<int>(requester, 0, type, cut)), -1);
            // Whatever is handed to the other two.
            for (const int slot : {1, 2})
                QCOMPARE((callSlot<int>(requester, slot, type, cut)), 0);
            seen = true;
            box->reject();
        });
        m_module->menuEntries().first()->action->trigger();
        QVERIFY(seen);

        const char *source = "Calibration";
        const char *request = "OpenBodyAdjustmentDialog standard|1";
        QTimer close;
        connect(&close, &QTimer::timeout, this, [&] {
            if (box->isVisible())
                box->reject();
        });
        close.start(5);
        QCOMPARE((callSlot<int>(receiver, 0, 5, source, request)), 0);
        QTRY_VERIFY(!m_host->messages.isEmpty());
        QCOMPARE(m_host->messages.size(), 1);
        QCOMPARE(m_host->messages.first().destination, QStringLiteral("Calibration"));
    }

    void theHostsOperationsStandInTheirSlots()
    {
        // As many as the module calls.
        FakeHost host;
        IOManager *manager = &host;
        void **table = *reinterpret_cast<void ***>(manager);
        char text[208] = {};
        int number = 0;
        double numbers[3] = {};
        using Command = int (*)(void *, char *, const char *, ...);
        QCOMPARE(reinterpret_cast<Command>(table[3])(manager, text, "quorel2 %s", "tracking start"),
                 0);
        QCOMPARE(QByteArray(text), QByteArray("quorel2 ok"));
        QCOMPARE(reinterpret_cast<Command>(table[5])(manager, text, "status %s", "active"), 0);
        QCOMPARE(QByteArray(text), QByteArray("mea"));
        host.parameters["value"] = "3 4 5";
        using GetInt = int (*)(void *, int *, const char *, ...);
        QCOMPARE(reinterpret_cast<GetInt>(table[6])(manager, &number, "%s", "value"), 0);
        QCOMPARE(number, 3);
        using GetDoubles = int (*)(void *, double *, int, const char *, ...);
        QCOMPARE(reinterpret_cast<GetDoubles>(table[9])(manager, numbers, 3, "%s", "value"), 0);
        QCOMPARE(numbers[2], 5.0);
        using Set = int (*)(void *, const char *, ...);
        QCOMPARE(reinterpret_cast<Set>(table[11])(manager, "value %d", 7), 0);
        QCOMPARE(host.parameters.value("value"), QStringLiteral("7"));

        const char *type = "6d";
        callSlot<void>(manager, 12, type, static_cast<Requester *>(nullptr));
        callSlot<void>(manager, 13, type, static_cast<Requester *>(nullptr));
        const char *module = "Other";
        const char *source = "Test";
        const char *message = "reopen";
        callSlot<void>(manager, 16, module, source, 1, message);
        callSlot<void>(manager, 17, module, static_cast<MessageReceiver *>(nullptr));
        callSlot<void>(manager, 18, module, static_cast<MessageReceiver *>(nullptr));
        QCOMPARE(host.journal,
                 (QStringList{"quorel2 tracking start", "get status active", "get value",
                              "get value", "set value 7", "add 6d", "remove 6d",
                              "post Other Test 1 reopen", "register Other", "unregister Other"}));
    }

    void oneEntryOneActionOneDialog()
    {
        configure();
        const QList<MenuEntry *> first = m_module->menuEntries();
        const QList<MenuEntry *> second = m_module->menuEntries();
        QCOMPARE(first.size(), 1);
        QCOMPARE(first, second);
        QCOMPARE(m_window->findChildren<QDialog *>(QString(), Qt::FindDirectChildrenOnly).size(),
                 1);
        QCOMPARE(m_object->findChildren<QAction *>().size(), 1);
        const MenuEntry *entry = first.first();
        QCOMPARE(entry->position, 35);
        QCOMPARE(entry->menuTitle, QStringLiteral("&Tracking"));
        QCOMPARE(entry->menuPosition, 300);
        QCOMPARE(entry->flag, 0);
        QVERIFY(entry->widget->inherits("BodyAdjustmentDialog"));
        QCOMPARE(entry->widget->parent(), static_cast<QObject *>(m_window.get()));
        QCOMPARE(entry->action->text(), QStringLiteral("Body &adjustment"));
        QCOMPARE(entry->action->shortcut(), QKeySequence("Shift+F6"));
        QCOMPARE(entry->action->statusTip(), QStringLiteral("Perform the body adjustment"));
        QCOMPARE(entry->action->whatsThis(), QStringLiteral("Adjust the body coordinate system"));
        QCOMPARE(entry->action->parent(), m_object);
    }

    void textsAreTranslatedInTheModulesContext()
    {
        CapitalTranslator translator;
        QApplication::installTranslator(&translator);
        configure();
        QCOMPARE(m_module->name(), QStringLiteral("GUI BODY ADJUSTMENT"));
        QCOMPARE(m_module->menuEntries().first()->action->text(),
                 QStringLiteral("BODY &ADJUSTMENT"));
        QCOMPARE(m_module->menuEntries().first()->menuTitle, QStringLiteral("&TRACKING"));
        const QAction *action = m_module->menuEntries().first()->action;
        QCOMPARE(action->shortcut(), QKeySequence("Ctrl+F9"));
        QCOMPARE(action->statusTip(), QStringLiteral("PERFORM THE BODY ADJUSTMENT"));
        QCOMPARE(action->whatsThis(), QStringLiteral("ADJUST THE BODY COORDINATE SYSTEM"));
        QCOMPARE(m_module->version(), QStringLiteral("v3.1.9"));
        QApplication::removeTranslator(&translator);
    }

    void theActionOpensTheDialog()
    {
        configure();
        bool seen = false;
        QPointer<QDialog> box = dialog();
        QTimer::singleShot(0, this, [&] {
            seen = box->isVisible() && box->isModal();
            box->reject();
        });
        m_module->menuEntries().first()->action->trigger();
        QVERIFY(seen);
        QVERIFY(m_host->transcript.contains("get tracking reference"));
    }

    void theParentMustBeAWidget_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("a widget") << 0 << true;
        QTest::newRow("a widget as QObject*") << 1 << true;
        QTest::newRow("an object that is no widget") << 2 << false;
        QTest::newRow("a text") << 3 << false;
        QTest::newRow("null") << 4 << false;
        QTest::newRow("invalid") << 5 << false;
    }

    void theParentMustBeAWidget()
    {
        QFETCH(int, kind);
        QFETCH(bool, accepted);
        configure();
        QObject plain;
        const QVariant values[] = {
            QVariant::fromValue(m_window.get()),     QVariant::fromValue<QObject *>(m_window.get()),
            QVariant::fromValue<QObject *>(&plain),  QVariant(QStringLiteral("window")),
            QVariant::fromValue<QWidget *>(nullptr), QVariant()};
        m_module->setHostProperty("ModuleParent", values[kind]);
        QCOMPARE(dialog()->parentWidget(), accepted ? m_window.get() : nullptr);
    }

    void servicesOfAnotherTypeAreNone_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("a text") << 0;
        QTest::newRow("a number") << 1;
        QTest::newRow("a pointer without a type") << 2;
        QTest::newRow("the pointer of the other service") << 3;
        QTest::newRow("a widget") << 4;
        QTest::newRow("invalid") << 5;
    }

    void servicesOfAnotherTypeAreNone()
    {
        QFETCH(int, kind);
        const auto value = [&](void *pointer, const QVariant &other) {
            const QVariant values[] = {QVariant(QStringLiteral("service")), QVariant(17),
                                       QVariant::fromValue(pointer),        other,
                                       QVariant::fromValue(m_window.get()), QVariant()};
            return values[kind];
        };
        const auto open = [this] {
            QTimer::singleShot(0, this, [this] { dialog()->reject(); });
            m_module->menuEntries().first()->action->trigger();
        };
        // A backend of which nothing is known is asked for nothing that came with a version.
        configure();
        m_module->setHostProperty(
            "BackendVersions",
            value(&m_host->versions, QVariant::fromValue<IOManager *>(m_host.get())));
        open();
        QVERIFY(m_host->transcript.contains("get tracking reference"));
        QVERIFY(!m_host->transcript.contains("get config is_changeable"));
        QVERIFY(!m_host->transcript.contains("quorel2 get vimbar output_6df"));
        m_module->cleanup();

        // Without a service nobody is asked.
        configure();
        m_module->setHostProperty(
            "CommandManager",
            value(m_host.get(), QVariant::fromValue<BackendVersions *>(&m_host->versions)));
        m_host->clearRecords();
        open();
        QCOMPARE(m_host->journal, QStringList());
        m_module->cleanup();

        configure();
        open();
        QVERIFY(m_host->transcript.contains("get config is_changeable"));
    }

    void unknownPropertiesChangeNothing()
    {
        configure();
        m_module->setHostProperty("commandManager", QVariant());
        m_module->setHostProperty("", QVariant(17));
        m_module->setHostProperty("ModuleParent ", QVariant());
        QCOMPARE(dialog()->parentWidget(), m_window.get());
        QCOMPARE(m_host->receivers.size(), 1);
    }

    void shutdownOnlyDetachesAndCleanupDeletes()
    {
        configure();
        const QPointer<QDialog> box = dialog();
        MenuEntry *entry = m_module->menuEntries().first();
        QCOMPARE(m_host->receivers.size(), 1);
        m_module->shutdown();
        QVERIFY(m_host->receivers.isEmpty());
        QVERIFY(box);
        m_module->cleanup();
        QVERIFY(!box);
        QCOMPARE(entry->widget, nullptr);
        QCOMPARE(m_host->journal.count("unregister BodyAdjustmentModule"), 1);
    }

    void shutdownStopsThePollingOfAnOpenDialog()
    {
        configure();
        const QPointer<QDialog> box = dialog();
        QTimer *polling = nullptr;
        const QList<QTimer *> timers = box->findChildren<QTimer *>();
        for (QTimer *timer : timers) {
            if (timer->interval() == 30)
                polling = timer;
        }
        QVERIFY(polling);
        QVERIFY(!polling->isActive());
        bool wasPolling = false;
        bool isPolling = true;
        bool isOpen = false;
        QTimer::singleShot(0, this, [&] {
            wasPolling = polling->isActive();
            m_module->shutdown();
            isPolling = polling->isActive();
            // Nothing else: the dialog stays up and subscribed until it is closed.
            isOpen = box->isVisible() && !m_host->requesters.value("6d").isEmpty();
            box->reject();
        });
        m_module->menuEntries().first()->action->trigger();
        QVERIFY(wasPolling);
        QVERIFY(!isPolling);
        QVERIFY(isOpen);
    }

    void shutdownAndCleanupAreSafeWithoutADialog()
    {
        configure();
        m_module->shutdown();
        m_module->cleanup();
        m_module->cleanup();
        m_module->shutdown();
        QCOMPARE(m_host->journal, QStringList());
    }

    void afterCleanupTheModuleCanBeInstalledAgain()
    {
        configure();
        dialog();
        m_module->shutdown();
        m_module->cleanup();
        QCOMPARE(m_module->menuEntries().size(), 1);
        QCOMPARE(m_object->findChildren<QAction *>().size(), 1);
        QVERIFY(dialog());
        QCOMPARE(m_host->receivers.size(), 1);
    }

    void theHostsWindowMayGoFirst()
    {
        configure();
        dialog();
        m_window.reset();
        QVERIFY(m_host->receivers.isEmpty());
    }

    void cleanupWhileTheDialogIsOpenIsSafe()
    {
        configure();
        const QPointer<QDialog> box = dialog();
        QTimer::singleShot(0, this, [&] {
            QVERIFY(box->isVisible());
            m_module->shutdown();
            m_module->cleanup();
        });
        m_module->menuEntries().first()->action->trigger();
        QVERIFY(!box);
        QVERIFY(m_host->requesters.value("6d").isEmpty());
    }

    void aRequestFromAnotherThreadOpensTheDialog()
    {
        configure();
        const QPointer<QDialog> box = dialog();
        std::thread other([&] {
            m_host->sendToModule("BodyAdjustmentModule", "Other",
                                 "OpenBodyAdjustmentDialog standard|1");
        });
        other.join();
        QVERIFY(!box->isVisible());
        QTimer::singleShot(50, this, [&] { box->reject(); });
        QTRY_VERIFY(!m_host->messages.isEmpty());
        QCOMPARE(m_host->messages.last().destination, QStringLiteral("Other"));
        QCOMPARE(m_host->messages.last().text, QStringLiteral("reopen"));
    }

    void unloadingWithoutCleanupLeavesNoWindow()
    {
        configure();
        dialog();
        QVERIFY(m_loader.unload());
        QVERIFY(m_window->findChildren<QDialog *>().isEmpty());
        init();
    }
};

QUOREL2_TEST_MAIN(TestBodyAdjustmentModule)
#include "tst_BodyAdjustmentModule.moc"
