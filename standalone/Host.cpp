#include "Host.h"

#include "BackendVersionText.h"
#include "Demo.h"
#include "MainWindow.h"
#include "StepPlayer.h"

#include <controller/ControllerThread.h>
#include <controller/Scenario.h>

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>

#include <cstdio>

namespace {

/// A single one may be an accident, in particular while the controller starts.
constexpr int kMostTimeOuts = 2;
constexpr int kRateIntervalMs = 250;

void printLine(const QString &text)
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

} // namespace

Host::Host(const HostOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_versions(unknownBackendVersion())
    , m_service(&m_connection, &m_dataReceiver)
{
}

Host::~Host()
{
    end();
}

bool Host::start(QString *error)
{
    if (!openFolder(error) || !loadModule(error) || !startController(error))
        return false;
    m_window = std::make_unique<MainWindow>();
    connectParts();
    const bool answers = waitForController() && greetController();
    if (!answers && !m_options.demoFolder.isEmpty()) {
        *error = tr("The controller at %1:%2 cannot be reached: %3.")
                     .arg(m_connection.host())
                     .arg(m_connection.port())
                     .arg(m_connection.lastError().isEmpty() ? tr("it does not answer")
                                                             : m_connection.lastError());
        return false;
    }
    // Only from here on, since the first greeting is made above. Queued, because the state may
    // change in the middle of an exchange.
    connect(&m_connection, &ControllerConnection::stateChanged, this, &Host::onStateChanged,
            Qt::QueuedConnection);
    onStateChanged();

    m_plugin.handOver(&m_service, m_window.get(), &m_versions, false);
    const QList<MenuEntry *> entries = m_plugin.sortedEntries();
    m_window->installEntries(entries);
    m_window->setModuleInfo(m_plugin.moduleName(), m_plugin.moduleVersion(), m_plugin.fileName());
    m_window->show();

    m_rateTimer.setInterval(kRateIntervalMs);
    connect(&m_rateTimer, &QTimer::timeout, this, &Host::updateDataRate);
    m_rateTimer.start();

    if (!m_options.demoFolder.isEmpty()) {
        if (entries.isEmpty()) {
            *error = tr("The module has no menu entry to demonstrate.");
            return false;
        }
        m_demo = std::make_unique<Demo>(&m_service, m_window.get(), entries.constFirst()->action,
                                        m_options.demoFolder);
        connect(m_demo.get(), &Demo::finished, this, [](int exitCode, const QString &report) {
            printLine(report);
            QCoreApplication::exit(exitCode);
        });
        m_demo->start();
    }
    return true;
}

bool Host::openFolder(QString *error)
{
    if (m_options.demoFolder.isEmpty())
        return true;
    const QDir folder(m_options.demoFolder);
    if (!folder.mkpath(QStringLiteral("."))) {
        *error = tr("The folder \"%1\" cannot be created.").arg(m_options.demoFolder);
        return false;
    }
    // Of an earlier run; it would be taken for this one's.
    QFile::remove(folder.filePath(QLatin1String(StepPlayer::kFailurePicture)));
    QString reason;
    if (!m_transcript.open(folder.filePath(QStringLiteral("transcript.txt")), &reason)) {
        *error =
            tr("The transcript cannot be written in \"%1\": %2.").arg(m_options.demoFolder, reason);
        return false;
    }
    return true;
}

bool Host::loadModule(QString *error)
{
    const QString fileName = m_options.pluginFile.isEmpty()
                                 ? PluginHost::defaultFile(QCoreApplication::applicationDirPath())
                                 : m_options.pluginFile;
    if (!m_plugin.load(fileName, error))
        return false;
    printLine(tr("Module %1").arg(m_plugin.fileName()));
    printLine(tr("  IID        %1").arg(m_plugin.interfaceId()));
    printLine(tr("  class name %1").arg(m_plugin.className()));
    printLine(tr("  name       %1").arg(m_plugin.moduleName()));
    printLine(tr("  version    %1").arg(m_plugin.moduleVersion()));
    return true;
}

bool Host::startController(QString *error)
{
    m_connection.setTimeoutMs(m_options.timeoutMs);
    m_connection.setTrialParameter("status active");
    if (m_options.backendVersion) {
        m_versions.major = m_options.backendVersion->major;
        m_versions.minor = m_options.backendVersion->minor;
        m_versions.patch = m_options.backendVersion->patch;
    }

    QString host = m_options.controllerHost;
    quint16 port = m_options.controllerPort;
    if (host.isEmpty()) {
        Scenario scenario = Scenario::builtIn();
        QString reason;
        if (!m_options.scenarioFile.isEmpty() &&
            !Scenario::load(m_options.scenarioFile, &scenario, &reason)) {
            *error = tr("The scenario cannot be used: %1").arg(reason);
            return false;
        }
        scenario.backend = m_options.backendVersion.value_or(scenario.backend);
        m_controller = std::make_unique<ControllerThread>(scenario, m_options.seed);
        if (!m_controller->start()) {
            *error = tr("The simulated controller cannot be started: %1.")
                         .arg(m_controller->errorString());
            return false;
        }
        host = m_controller->address().toString();
        port = m_controller->port();
    }
    m_connection.open(host, port);
    return true;
}

bool Host::waitForController()
{
    // With an event loop, for which a host name may need to be looked up; nothing else is there yet
    // that could happen in it.
    QEventLoop loop;
    QTimer::singleShot(m_options.timeoutMs, &loop, &QEventLoop::quit);
    connect(&m_connection, &ControllerConnection::stateChanged, &loop, &QEventLoop::quit);
    if (m_connection.state() == ControllerConnection::ConnectingState)
        loop.exec();
    return m_connection.state() == ControllerConnection::ConnectedState;
}

void Host::connectParts()
{
    const QString address =
        QStringLiteral("%1:%2").arg(m_connection.host()).arg(m_connection.port());
    m_window->setController(m_controller ? tr("Simulated controller") : tr("Controller"), address);
    printLine(m_controller ? tr("Simulated controller at %1").arg(address)
                           : tr("Controller at %1").arg(address));
    const auto show = [this](const Exchange &exchange) {
        m_transcript.add(exchange);
        m_window->addExchange(exchange);
    };
    connect(&m_service, &HostCommandService::exchanged, m_window.get(), show);
    connect(&m_connection, &ControllerConnection::tried, m_window.get(), show);
    connect(&m_connection, &ControllerConnection::unaskedLine, m_window.get(),
            [this](const QByteArray &line) {
                m_transcript.addUnasked(line);
                m_window->addUnasked(QDateTime::currentDateTime(), line);
            });
    connect(&m_service, &HostCommandService::messagePosted, m_window.get(),
            [this](const QDateTime &time, const QString &source, int, const QString &text) {
                m_window->addMessage(time, source, text);
            });
    connect(&m_service, &HostCommandService::messageUndelivered, m_window.get(),
            &MainWindow::addUndelivered);
    connect(m_window.get(), &MainWindow::closed, this, [] { QCoreApplication::quit(); });
}

bool Host::greetController()
{
    m_greeted = m_connection.connectCount();
    m_dataSource = m_connection.peerAddress();
    QString reason;
    if (!m_dataReceiver.start(m_connection.localAddress(), m_dataSource, &reason)) {
        m_window->addMessage(QDateTime::currentDateTime(), tr("Host"),
                             tr("Error: No data lines can be received: %1").arg(reason));
    } else if (m_dataTimeOuts < kMostTimeOuts) {
        const Exchange exchange =
            m_service.command("quorel2 data connect " + QByteArray::number(m_dataReceiver.port()));
        m_dataTimeOuts = exchange.status == ExchangeStatus::TimedOut ? m_dataTimeOuts + 1 : 0;
        if (m_dataTimeOuts == kMostTimeOuts)
            m_window->addMessage(QDateTime::currentDateTime(), tr("Host"),
                                 tr("Error: The controller does not answer the request for data "
                                    "lines. There will be none."));
        // What does not answer this would cost another time limit with the next question.
        if (!exchange.replied)
            return false;
    }
    if (!m_options.backendVersion && m_asksVersion) {
        // An older controller does not know the question; the module then does without whatever
        // depends on the version.
        QByteArray text;
        const ExchangeStatus status = m_service.query("backend version", &text).status;
        if (status == ExchangeStatus::Done)
            parseBackendVersion(text, &m_versions);
        else if (status == ExchangeStatus::Refused)
            m_versions = unknownBackendVersion();
        // An unexpected reply costs the connection, and would cost the next one too.
        if (status == ExchangeStatus::UnexpectedReply ||
            (status == ExchangeStatus::TimedOut && ++m_versionTimeOuts == kMostTimeOuts))
            m_asksVersion = false;
    }
    m_window->setBackendVersion(backendVersionText(m_versions));
    return true;
}

void Host::onStateChanged()
{
    // The signal comes late, perhaps after a further change, so the state is what counts.
    const ControllerConnection::State state = m_connection.state();
    m_window->setConnectionState(state, m_connection.lastError());
    const QDateTime now = QDateTime::currentDateTime();
    if (state == ControllerConnection::ConnectedState && m_connection.connectCount() != m_greeted) {
        if (greetController()) {
            m_lossReported = false;
            m_window->addMessage(now, tr("Host"), tr("Connected to the controller."));
        }
    } else if (state == ControllerConnection::DisconnectedState && !m_lossReported) {
        m_lossReported = true;
        m_window->addMessage(now, tr("Host"),
                             tr("Error: No connection to the controller (%1). It is being tried "
                                "again.")
                                 .arg(m_connection.lastError()));
    }
}

void Host::updateDataRate()
{
    m_window->setDataRate(m_dataReceiver.linesPerSecond(), m_dataReceiver.droppedDatagrams());
    reportDroppedData();
}

void Host::reportDroppedData()
{
    const QHostAddress sender = m_dataReceiver.droppedSender();
    if (sender.isNull() || sender == m_reportedSender)
        return;
    m_reportedSender = sender;
    m_window->addMessage(QDateTime::currentDateTime(), tr("Host"),
                         tr("Error: Data lines from %1 are dropped, since the controller is at %2.")
                             .arg(sender.toString(), m_dataSource.toString()));
}

void Host::end()
{
    m_rateTimer.stop();
    m_demo.reset();
    // The module may still talk to the controller while it ends.
    m_plugin.end();
    m_connection.disconnect(this);
    m_dataReceiver.stop();
    m_connection.close();
    m_controller.reset();
    m_window.reset();
}
