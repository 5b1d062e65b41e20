#include "Host.h"
#include "HostOptions.h"

#include <controller/QuitSignals.h>

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace {

int failWith(const QString &sentence)
{
    std::fprintf(stderr, "quorel2-host: %s\n", qPrintable(sentence));
    return 1;
}

/// What the environment says of the display, as VARIABLE=VALUE; empty without any word of one.
QStringList namedDisplays()
{
    QStringList names;
    for (const char *variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            names.append(QString::fromLatin1(variable) + QLatin1Char('=') +
                         qEnvironmentVariable(variable));
    }
    return names;
}

int failWithoutDisplay()
{
    const QStringList names = namedDisplays();
    return failWith(
        (names.isEmpty()
             ? QCoreApplication::translate("main", "There is no display.")
             : QCoreApplication::translate("main", "The display cannot be reached (%1).")
                   .arg(names.join(QStringLiteral(", ")))) +
        QCoreApplication::translate("main", " Run it in a desktop session or under a virtual one: "
                                            "xvfb-run -a quorel2-host"));
}

/// Stands in for the message handler while the application object is made: without a display that
/// can be reached, Qt says so in many words and ends the program by abort().
class StartMessages {
public:
    StartMessages() { qInstallMessageHandler(hold); }
    /// Lets out what was held back.
    ~StartMessages()
    {
        qInstallMessageHandler(nullptr);
        for (const QString &message : qAsConst(held()))
            std::fprintf(stderr, "%s\n", qPrintable(message));
        held().clear();
    }
    StartMessages(const StartMessages &) = delete;
    StartMessages &operator=(const StartMessages &) = delete;

private:
    static QStringList &held()
    {
        static QStringList messages;
        return messages;
    }

    static void hold(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (type == QtFatalMsg)
            std::_Exit(failWithoutDisplay());
        // Some platforms start threads of their own.
        static std::mutex mutex;
        const std::lock_guard<std::mutex> lock(mutex);
        held().append(qFormatLogMessage(type, context, text));
    }
};

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
    if (namedDisplays().isEmpty())
        return failWithoutDisplay();

    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // The options are the program's own; some mean something else to QApplication.
    argc = 1;
    auto startMessages = std::make_unique<StartMessages>();
    const QApplication application(argc, argv);
    startMessages.reset();
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
