// A host with a whole life: loads the plug-in, opens and closes the dialog many times, opens it
// once more and ends while it is open. What goes wrong on the way shows in how the process ends.
// With the end "late" the dialog is closed, and the library is unloaded after the application's
// end.

#include <host/BackendVersions.h>
#include <host/IOManager.h>
#include <host/ModuleInterface.h>
#include <tests/support/FakeHost.h>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QMessageBox>
#include <QPluginLoader>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

int countOf(const QObject *object)
{
    return object->findChildren<QObject *>().size();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: life_host PLUGIN TIMES END\n");
        return 2;
    }
    auto application = std::make_unique<QApplication>(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const int times = QByteArray(argv[2]).toInt();
    const QByteArray end = argv[3];

    FakeHost host;
    host.addBody("standard", 1, "Wand", true, "tt_std",
                 {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {30, 40, 50}});
    host.addBody("standard", 2, "Raw", false, "tt_std", {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}});
    auto window = std::make_unique<QWidget>();
    QPluginLoader loader(QString::fromLocal8Bit(argv[1]));
    auto *module = qobject_cast<ModuleInterface *>(loader.instance());
    if (!module) {
        std::fprintf(stderr, "%s\n", qPrintable(loader.errorString()));
        return 2;
    }
    module->setHostProperty("CommandManager", QVariant::fromValue<IOManager *>(&host));
    // A window would take its child, the dialog, with it in time.
    if (end != "late")
        module->setHostProperty("ModuleParent", QVariant::fromValue(window.get()));
    module->setHostProperty("BackendVersions",
                            QVariant::fromValue<BackendVersions *>(&host.versions));
    QAction *action = module->menuEntries().first()->action;
    auto *dialog = qobject_cast<QDialog *>(module->menuEntries().first()->widget);

    // Whatever the dialog asks on its way out.
    QTimer answers;
    QObject::connect(&answers, &QTimer::timeout, [] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (box && box->button(QMessageBox::Yes))
            box->button(QMessageBox::Yes)->click();
    });
    answers.start(0);

    int opened = 0;
    int children = 0;
    const auto open = [&](const std::function<void()> &script) {
        QTimer::singleShot(0, dialog, [&] {
            if (dialog->isVisible())
                ++opened;
            script();
        });
        action->trigger();
    };
    const auto edit = [dialog] {
        auto *list = dialog->findChild<QComboBox *>("body_name");
        list->setCurrentIndex(1);
        list->setCurrentIndex(0);
        dialog->findChild<QWidget *>("body_pos_xyzWidget")
            ->findChildren<QDoubleSpinBox *>()
            .first()
            ->setValue(1.0);
    };
    for (int i = 0; i < times; ++i) {
        open([&] {
            if (i % 2 == 0)
                edit();
            if (i % 3 == 0)
                dialog->findChild<QPushButton *>("ok_button")->click();
            else if (i % 3 == 1)
                dialog->reject();
            else
                dialog->close();
        });
        if (i == 0)
            children = countOf(dialog);
    }
    std::printf("opened %d, grown by %d\n", opened, countOf(dialog) - children);
    std::fflush(stdout);

    if (end == "late") {
        answers.stop();
        module->shutdown();
        window.reset();
        application.reset();
        std::printf(loader.unload() ? "unloaded late\n" : "not unloaded\n");
        return 0;
    }

    bool ended = false;
    open([&] {
        edit();
        // In the middle of its work: polling, and painting where there is a display.
        ended = QTest::qWaitForWindowExposed(dialog, 30000);
        QTest::qWait(100);
        if (end == "quit") {
            QApplication::quit();
        } else if (end == "exit") {
            std::printf(ended ? "ended open\n" : "not shown\n");
            std::exit(0);
        } else if (end == "cleanup") {
            module->shutdown();
            module->cleanup();
        } else if (end == "window") {
            window.reset();
        } else {
            ended = false;
            dialog->reject();
        }
    });
    if (end == "window") {
        module->shutdown();
        module->cleanup();
    }
    if (ended)
        std::printf("ended open\n");
    return 0;
}
