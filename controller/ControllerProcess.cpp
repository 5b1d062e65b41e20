#include "ControllerProcess.h"

#include "CommandTable.h"
#include "ControllerServer.h"
#include "ListenAddress.h"
#include "Scenario.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>

#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalSockets[2] = {-1, -1};

extern "C" void noteSignal(int)
{
    const char byte = 1;
    // Nothing can be done in a signal handler about a byte that does not fit: others wait already.
    const ssize_t written = ::write(signalSockets[0], &byte, 1);
    static_cast<void>(written);
}

/// Interrupt and termination end the event loop. @return false if the system has no sockets left
bool quitOnSignals(QCoreApplication *application)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalSockets) != 0)
        return false;
    auto *notifier = new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, application);
    QObject::connect(notifier, &QSocketNotifier::activated, application, &QCoreApplication::quit);

    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    // Whoever read what this program prints may go away first.
    std::signal(SIGPIPE, SIG_IGN);
    return true;
}

void print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
    std::fflush(stream);
}

int fail(const QString &text)
{
    print(stderr, QStringLiteral("quorel2-controller: %1\n").arg(text));
    return 1;
}

struct Options {
    ListenAddress address{QHostAddress::LocalHost, ControllerServer::kDefaultPort};
    Scenario scenario;
    quint32 seed = ControllerServer::kDefaultSeed;
};

/// @return false for a mistake; @p error then tells it
bool readOptions(const QCommandLineParser &parser, Options *options, QString *error)
{
    if (!parser.positionalArguments().isEmpty()) {
        *error =
            QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().first());
        return false;
    }
    if (parser.isSet(QStringLiteral("listen")) &&
        !ListenAddress::fromText(parser.value(QStringLiteral("listen")), &options->address)) {
        *error = QStringLiteral("--listen wants a numeric address or localhost, and a port: "
                                "127.0.0.1:%1")
                     .arg(ControllerServer::kDefaultPort);
        return false;
    }
    if (!parser.isSet(QStringLiteral("scenario")))
        options->scenario = Scenario::builtIn();
    else if (!Scenario::load(parser.value(QStringLiteral("scenario")), &options->scenario, error))
        return false;
    const QStringList setups = parser.values(QStringLiteral("setup"));
    for (const QString &setup : setups) {
        if (!options->scenario.applySetup(setup)) {
            *error = QStringLiteral("no setup '%1' for this scenario").arg(setup);
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("seed"))) {
        bool isNumber = false;
        options->seed = parser.value(QStringLiteral("seed")).toUInt(&isNumber);
        if (!isNumber) {
            *error = QStringLiteral("--seed wants a number from 0 to 4294967295");
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("backend")) &&
        !BackendVersion::fromText(parser.value(QStringLiteral("backend")),
                                  &options->scenario.backend)) {
        *error = QStringLiteral("--backend wants a version such as 1.17 or 1.17.2");
        return false;
    }
    return true;
}

} // namespace

int runControllerProcess(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorel2-controller"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUOREL2_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Simulated tracking controller: answers the controller's text protocol over TCP and sends "
        "tracking data lines over UDP."));
    parser.addOption({{QStringLiteral("h"), QStringLiteral("help")},
                      QStringLiteral("Print this help and exit.")});
    parser.addVersionOption();
    parser.addOption(
        {QStringLiteral("listen"),
         QStringLiteral("Listen there, a numeric address or localhost; port 0 is any free one. "
                        "[127.0.0.1:%1]")
             .arg(ControllerServer::kDefaultPort),
         QStringLiteral("HOST:PORT")});
    parser.addOption({QStringLiteral("scenario"),
                      QStringLiteral("Bodies and settings, as JSON. [a built-in scenario]"),
                      QStringLiteral("FILE")});
    parser.addOption({QStringLiteral("setup"),
                      QStringLiteral("Change the scenario; may be repeated. One of: %1.")
                          .arg(Scenario::setupNames().join(QLatin1String(", "))),
                      QStringLiteral("NAME")});
    parser.addOption(
        {QStringLiteral("seed"),
         QStringLiteral("Seed of the bodies' motions. [%1]").arg(ControllerServer::kDefaultSeed),
         QStringLiteral("N")});
    parser.addOption({QStringLiteral("backend"),
                      QStringLiteral("Controller version to play. [the scenario's]"),
                      QStringLiteral("VERSION")});
    parser.addOption(
        {QStringLiteral("commands"), QStringLiteral("Print the list of commands and exit.")});
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        print(stdout, parser.helpText());
        return 0;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        print(stdout, QStringLiteral("quorel2-controller " QUOREL2_VERSION "\n"));
        return 0;
    }
    if (parser.isSet(QStringLiteral("commands"))) {
        print(stdout, CommandTable::toMarkdown());
        return 0;
    }

    Options options;
    QString error;
    if (!readOptions(parser, &options, &error))
        return fail(error);
    if (!quitOnSignals(&application))
        return fail(QStringLiteral("no sockets left"));
    ControllerServer server(options.scenario, options.seed);
    if (!server.listen(options.address.host, options.address.port))
        return fail(QStringLiteral("cannot listen on %1: %2")
                        .arg(options.address.toText(), server.errorString()));
    print(stdout, QStringLiteral("listening on %1\n")
                      .arg(ListenAddress{server.address(), server.port()}.toText()));
    return QCoreApplication::exec();
}
