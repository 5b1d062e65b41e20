#include <host/BackendVersions.h>
#include <host/IOManager.h>
#include <host/ModuleInterface.h>
#include <tests/support/FakeHost.h>
#include <tests/support/TestMain.h>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QJsonObject>
#include <QLibrary>
#include <QMetaMethod>
#include <QPluginLoader>
#include <QPointer>
#include <QTimer>
#include <QTranslator>
#include <QtTest>

#include <thread>

namespace {

const QString kPlugin = QStringLiteral(QUOREL2_BUILD_DIR "/plugins/libBodyAdjustmentModule.so");

/// Translates every text of the module's context into capitals.
class CapitalTranslator : public QTranslator {
public:
    QString translate(const char *context, const char *text, const char * /*disambiguation*/,
                      int /*n*/) const override
    {
        return qstrcmp(context, "BodyAdjustmentModule") == 0 ? QString::fromUtf8(text).toUpper()
                                                             : QString();
    }
    bool isEmpty() const override { return false; }
};

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

    void operationsStandInTheirSlots()
    {
        // Behind the two destructors: shutdown, cleanup, name, version, menuEntries, property.
        void **table = *reinterpret_cast<void ***>(m_module);
        alignas(QString) unsigned char storage[sizeof(QString)];
        // The result is returned through a hidden first argument, as the ABI has it.
        using RawText = void *(*)(void *, const void *);
        reinterpret_cast<RawText>(table[4])(storage, m_module);
        auto *name = reinterpret_cast<QString *>(storage);
        QCOMPARE(*name, QStringLiteral("GUI Body Adjustment"));
        name->~QString();
        reinterpret_cast<RawText>(table[5])(storage, m_module);
        auto *version = reinterpret_cast<QString *>(storage);
        QCOMPARE(*version, QStringLiteral("v3.1.9"));
        version->~QString();
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

    void shutdownAndCleanupAreSafeWithoutADialog()
    {
        m_module->shutdown();
        m_module->cleanup();
        m_module->cleanup();
        m_module->shutdown();
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
