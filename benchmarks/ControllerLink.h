#pragma once

#include <controller/ControllerThread.h>
#include <host/BackendVersions.h>
#include <standalone/ControllerConnection.h>
#include <standalone/DataReceiver.h>
#include <standalone/Exchange.h>
#include <standalone/HostCommandService.h>

#include <QVector>

#include <functional>

class BodyAdjustmentDialog;

/// What the stand-alone host has between the module and its simulated controller, without the
/// host's windows: the controller in a thread of its own, a connection over loopback, the command
/// service.
class ControllerLink {
public:
    /// @param markerCounts  for each a calibrated standard body of so many markers, in this order.
    /// Ends the program if the controller cannot be reached.
    explicit ControllerLink(const QVector<int> &markerCounts);

    ControllerConnection *connection() { return &m_connection; }
    HostCommandService *service() { return &m_service; }
    BackendVersions *versions() { return &m_versions; }
    int exchangeCount() const { return m_exchangeCount; }
    const Exchange &lastExchange() const { return m_lastExchange; }

    /// Opens a dialog, runs @p script in its event loop and closes it by OK. Ends the program if
    /// the dialog had to report an error.
    void runInDialog(const std::function<void(BodyAdjustmentDialog &)> &script);

private:
    ControllerThread m_controller;
    ControllerConnection m_connection;
    DataReceiver m_dataReceiver;
    HostCommandService m_service;
    BackendVersions m_versions;
    int m_exchangeCount = 0;
    Exchange m_lastExchange;
};
