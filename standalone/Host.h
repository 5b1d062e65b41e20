#pragma once

#include "ControllerConnection.h"
#include "DataReceiver.h"
#include "HostCommandService.h"
#include "HostOptions.h"
#include "PluginHost.h"
#include "Transcript.h"

#include <host/BackendVersions.h>

#include <QObject>
#include <QTimer>

#include <memory>

class ControllerThread;
class Demo;
class MainWindow;

/// The program: the controller or the connection to one, the module, the window.
class Host : public QObject {
    Q_OBJECT

public:
    explicit Host(const HostOptions &options, QObject *parent = nullptr);
    /// Ends everything in order, if end() was not called.
    ~Host() override;

    /// Brings everything up. A controller that cannot be reached is no error: it is tried again and
    /// again.
    /// @return false and @p error set, in a sentence for the user, if the program cannot work
    bool start(QString *error);
    /// Ends the module first, then the connection, then the simulated controller. To be called when
    /// the event loop has ended.
    void end();

    MainWindow *window() const { return m_window.get(); }

private:
    bool startController(QString *error);
    bool loadModule(QString *error);
    bool openFolder(QString *error);
    bool waitForController();
    void connectParts();
    /// Asks for the data lines and for the controller's version, after each connect.
    /// @return false if the controller answers nothing
    bool greetController();
    void onStateChanged();
    void updateDataRate();
    void reportDroppedData();

    HostOptions m_options;
    BackendVersions m_versions;
    std::unique_ptr<ControllerThread> m_controller;
    ControllerConnection m_connection;
    DataReceiver m_dataReceiver;
    HostCommandService m_service;
    Transcript m_transcript;
    PluginHost m_plugin;
    std::unique_ptr<MainWindow> m_window;
    std::unique_ptr<Demo> m_demo;
    QTimer m_rateTimer;
    QHostAddress m_dataSource;     ///< from which data lines are taken
    QHostAddress m_reportedSender; ///< of data lines that were dropped
    int m_greeted = 0;             ///< the connection, by its count, that was greeted last
    bool m_lossReported = false;
    int m_dataTimeOuts = 0; ///< in sequence, of the request for data lines
    int m_versionTimeOuts = 0;
    bool m_asksVersion = true;
};
