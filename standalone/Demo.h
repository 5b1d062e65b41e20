#pragma once

#include "AxisAdjustment.h"
#include "BodyReports.h"
#include "CentreAdjustment.h"
#include "DemoScene.h"
#include "StepPlayer.h"

#include <QObject>

class HostCommandService;
class QAction;
class QWidget;

/// Plays two adjustments as a user would, by mouse and keyboard on the visible widgets, and checks
/// that the controller holds and reports what comes of them. The second one, or a part of it, is
/// left out where the controller has no body for it.
class Demo : public QObject {
    Q_OBJECT

public:
    /// @param service     not owned, must outlive the demonstration
    /// @param mainWindow  not owned, must outlive the demonstration; it must be shown
    /// @param entry       opens the dialog; it stands in one of the window's menus
    /// @param folder      exists; gets the pictures
    Demo(HostCommandService *service, QWidget *mainWindow, QAction *entry, const QString &folder,
         QObject *parent = nullptr);
    ~Demo() override;

    void setLimitMs(int limitMs) { m_player.setLimitMs(limitMs); }
    /// Begins from the event loop.
    void start();

signals:
    /// Comes once.
    /// @param exitCode  0 if the controller holds the expected definition of every body that was
    ///                  adjusted, 1 otherwise
    /// @param report    for the user, lines parted by line ends
    void finished(int exitCode, const QString &report);

private:
    DemoParts parts(QAction *entry);
    void end(const QString &problem);

    HostCommandService *m_service;
    DemoScene m_scene;
    StepPlayer m_player;
    BodyReports m_reports;
    CentreAdjustment m_first;
    AxisAdjustment m_second;
};
