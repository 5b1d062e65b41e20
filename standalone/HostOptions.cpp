#include "HostOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QCoreApplication>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(HostOptions)
};

constexpr int kLongestTimeoutMs = 600000;

} // namespace

bool splitAddress(const QString &text, QString *host, quint16 *port)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    QString name = text.left(colon);
    if (colon < 1)
        return false;
    const bool bracketed = name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']'));
    if (bracketed)
        name = name.mid(1, name.size() - 2);
    else if (name.contains(QLatin1Char(':')))
        return false;
    bool isNumber = false;
    const quint16 number = text.midRef(colon + 1).toUShort(&isNumber);
    if (name.trimmed().isEmpty() || !isNumber || number == 0)
        return false;
    *host = name;
    *port = number;
    return true;
}

bool HostOptions::parse(const QStringList &arguments, HostOptions *options, QString *error)
{
    const auto withValue = [](const char *name) {
        return QCommandLineOption(QString::fromLatin1(name), QString(), QStringLiteral("value"));
    };
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")});
    const QCommandLineOption controller = withValue("controller");
    const QCommandLineOption scenario = withValue("scenario");
    const QCommandLineOption seed = withValue("seed");
    const QCommandLineOption plugin = withValue("plugin");
    const QCommandLineOption demo = withValue("demo");
    const QCommandLineOption timeout = withValue("timeout");
    const QCommandLineOption backend(
        QStringList{QStringLiteral("backend"), QStringLiteral("backend-version")}, QString(),
        QStringLiteral("value"));

    QCommandLineParser parser;
    parser.addOptions({help, version, controller, scenario, seed, plugin, demo, timeout, backend});
    HostOptions result;
    const bool parsed = parser.parse(arguments);
    result.showHelp = parser.isSet(help);
    result.showVersion = parser.isSet(version);
    if (result.showHelp || result.showVersion) {
        *options = result;
        return true;
    }
    if (!parsed) {
        *error = parser.errorText();
        if (!error->endsWith(QLatin1Char('.')))
            *error += QLatin1Char('.');
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *error = Texts::tr("What does \"%1\" mean? The program takes options only.")
                     .arg(parser.positionalArguments().constFirst());
        return false;
    }
    for (const QCommandLineOption *option :
         {&controller, &scenario, &seed, &plugin, &demo, &timeout, &backend}) {
        if (parser.isSet(*option) && parser.value(*option).isEmpty()) {
            *error = Texts::tr("The option --%1 needs a value.").arg(option->names().constFirst());
            return false;
        }
    }

    if (parser.isSet(controller)) {
        if (!splitAddress(parser.value(controller), &result.controllerHost,
                          &result.controllerPort)) {
            *error = Texts::tr("The controller's address \"%1\" is not of the form HOST:PORT.")
                         .arg(parser.value(controller));
            return false;
        }
        if (parser.isSet(scenario) || parser.isSet(seed)) {
            *error = Texts::tr("--scenario and --seed choose the bodies of the simulated "
                               "controller; they cannot be combined with --controller.");
            return false;
        }
    }
    result.scenarioFile = parser.value(scenario);
    if (parser.isSet(seed)) {
        bool isNumber = false;
        result.seed = parser.value(seed).toUInt(&isNumber);
        if (!isNumber) {
            *error = Texts::tr("The seed \"%1\" is not a whole number from 0 to 4294967295.")
                         .arg(parser.value(seed));
            return false;
        }
    }
    result.pluginFile = parser.value(plugin);
    result.demoFolder = parser.value(demo);
    if (parser.isSet(timeout)) {
        bool isNumber = false;
        result.timeoutMs = parser.value(timeout).toInt(&isNumber);
        if (!isNumber || result.timeoutMs < 1 || result.timeoutMs > kLongestTimeoutMs) {
            *error = Texts::tr("The time limit \"%1\" is not a whole number of milliseconds from "
                               "1 to %2.")
                         .arg(parser.value(timeout))
                         .arg(kLongestTimeoutMs);
            return false;
        }
    }
    if (parser.isSet(backend)) {
        BackendVersion played;
        if (!BackendVersion::fromText(parser.value(backend), &played)) {
            *error = Texts::tr("The backend version \"%1\" is not of the form 1.17 or 1.17.3, with "
                               "numbers below 10000.")
                         .arg(parser.value(backend));
            return false;
        }
        result.backendVersion = played;
    }
    *options = result;
    return true;
}

QString HostOptions::helpText()
{
    return Texts::tr(
        "Usage: quorel2-host [options]\n"
        "\n"
        "Loads the body adjustment module and connects it to a tracking controller.\n"
        "Without options it talks to a simulated controller that it starts itself.\n"
        "\n"
        "Controller:\n"
        "  --controller HOST:PORT   talk to this controller instead of a simulated one\n"
        "  --scenario FILE          simulate the bodies described in FILE (JSON)\n"
        "  --seed N                 seed of the simulated movements\n"
        "  --backend V              work as with a controller of version V (1.17, say)\n"
        "  --timeout MS             time limit of one exchange in milliseconds (2000)\n"
        "\n"
        "Program:\n"
        "  --plugin FILE            load the module from FILE\n"
        "  --demo DIR               play two adjustments and end, leave pictures and the\n"
        "                           transcript in DIR; exit code 0 if the controller\n"
        "                           holds the results\n"
        "  -h, --help               show this text and end\n"
        "  -v, --version            show the version and end\n");
}
