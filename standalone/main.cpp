#include "Host.h"
#include "HostOptions.h"
#include "QuitSignals.h"

#include <QApplication>

#include <cstdio>

namespace {

int failWith(const QString &sentence)
{
    std::fprintf(stderr, "quorel2-host: %s\n", qPrintable(sentence));
    return 1;
}

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("quorel2-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUOREL2_VERSION));

    // Before there is any object that needs a display.
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    HostOptions options;
    QString error;
    if (!HostOptions::parse(arguments, &options, &error))
        return failWith(error + QCoreApplication::translate("main", " See quorel2-host --help."));
    if (options.showHelp) {
        std::printf("%s", qPrintable(HostOptions::helpText()));
        return 0;
    }
    if (options.showVersion) {
        std::printf("quorel2-host %s\n", QUOREL2_VERSION);
        return 0;
    }
    if (!hasDisplay())
        return failWith(QCoreApplication::translate(
            "main", "There is no display. Run it in a desktop session or under a virtual one: "
                    "xvfb-run -a quorel2-host"));

    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // The options are the program's own; some mean something else to QApplication.
    argc = 1;
    QApplication application(argc, argv);
    // The main window decides when the program ends.
    QApplication::setQuitOnLastWindowClosed(false);
    const QuitSignals quitSignals;

    Host host(options);
    const bool started = host.start(&error);
    int exitCode = 0;
    // The start waits in a loop of its own, which is the one that a signal has then ended.
    if (!quitSignals.isRequested())
        exitCode = started ? QApplication::exec() : failWith(error);
    host.end();
    return exitCode;
}
