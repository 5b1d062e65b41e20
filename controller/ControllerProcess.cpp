#include "ControllerProcess.h"

#include "CommandTable.h"
#include "ControllerServer.h"
#include "ListenAddress.h"
#include "QuitSignals.h"
#include "Scenario.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <cstdio>

namespace {

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
    if (!parser.isSet(QStringLiteral("scenario"))) {
        options->scenario = Scenario::builtIn();
    } else if (parser.value(QStringLiteral("scenario")).isEmpty()) {
        *error = QStringLiteral("--scenario wants the name of a file");
        return false;
    } else if (!Scenario::load(parser.value(QStringLiteral("scenario")), &options->scenario,
                               error)) {
        return false;
    }
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
    // Whoever read what this program prints may go away first.
    std::signal(SIGPIPE, SIG_IGN);
    const QuitSignals quitSignals;
    ControllerServer server(options.scenario, options.seed);
    if (!server.listen(options.address.host, options.address.port))
        return fail(QStringLiteral("cannot listen on %1: %2")
                        .arg(options.address.toText(), server.errorString()));
    print(stdout, QStringLiteral("listening on %1\n")
                      .arg(ListenAddress{server.address(), server.port()}.toText()));
    return QCoreApplication::exec();
}
