#pragma once

#include <controller/BackendVersion.h>
#include <controller/ControllerServer.h>

#include <QString>
#include <QStringList>

#include <optional>

/// What the command line asks for.
struct HostOptions {
    bool showHelp = false;
    bool showVersion = false;
    QString controllerHost; ///< empty: a simulated controller in this process
    quint16 controllerPort = 0;
    QString scenarioFile; ///< empty: the built-in scenario
    quint32 seed = ControllerServer::kDefaultSeed;
    QString pluginFile; ///< empty: the one beside the program
    QString demoFolder; ///< empty: no demonstration
    int timeoutMs = 2000;
    std::optional<BackendVersion> backendVersion; ///< none: as the controller tells

    /// @param arguments  the program's name first
    /// @return false and @p error set, in a sentence for the user, if they make no sense
    static bool parse(const QStringList &arguments, HostOptions *options, QString *error);
    /// Needs no application object.
    static QString helpText();
};

/// Splits HOST:PORT; an IPv6 address stands in square brackets.
/// @return false and nothing written if it is not of that form
bool splitAddress(const QString &text, QString *host, quint16 *port);
