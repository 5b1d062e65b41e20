#pragma once

#include "ExpectedDefinition.h"

#include <QElapsedTimer>
#include <QImage>
#include <QObject>
#include <QRect>
#include <QTimer>
#include <QVector>

#include <functional>

class HostCommandService;
class QAction;
class QComboBox;
class QDoubleSpinBox;
class QMenu;
class QMenuBar;

/// Plays an adjustment as a user would, by mouse and keyboard on the visible widgets, and checks
/// that the controller holds what comes of it.
///
/// The dialog runs modally, inside the very click that opens it. So the demonstration is a list of
/// steps that a timer takes one by one: each waits until it can begin, acts, waits for its effect
/// and leaves a picture.
class Demo : public QObject {
    Q_OBJECT

public:
    /// How long a step may wait for what must become true.
    static constexpr int kDefaultLimitMs = 30000;

    /// @param service     not owned, must outlive the demonstration
    /// @param mainWindow  not owned, must outlive the demonstration; it must be shown
    /// @param entry       opens the dialog; it stands in one of the window's menus
    /// @param folder      exists; gets the pictures
    Demo(HostCommandService *service, QWidget *mainWindow, QAction *entry, const QString &folder,
         QObject *parent = nullptr);
    ~Demo() override;

    void setLimitMs(int limitMs) { m_limitMs = limitMs; }
    /// Begins from the event loop.
    void start();

signals:
    /// Comes once.
    /// @param exitCode  0 if the controller holds the expected definition, 1 otherwise
    /// @param report    for the user, lines parted by line ends
    void finished(int exitCode, const QString &report);

private:
    struct Step {
        QString name;                 ///< of the picture; a step without one leaves none
        std::function<bool()> ready;  ///< true when act() can be done; none: at once
        std::function<void()> act;    ///< may run a modal dialog
        std::function<bool()> done;   ///< true when the effect is there; none: at once
        std::function<bool()> finish; ///< after the effect; false ends the demonstration
    };
    enum class Phase { Waiting, Acting, Settling, Picture, Ended };

    // The steps, one function for each kind of action.
    void addOpening();
    void addBodyChoice();
    void addClick(const QString &name, const QString &buttonName,
                  const std::function<bool()> &done);
    void addTurnAboutZ(double angleDeg);
    void addClosing();
    void buildSteps();

    void tick();
    void runAction();
    void enter(Phase phase);
    void nextStep();
    void fail(const QString &reason);
    void end(int exitCode, const QString &report);
    void checkResult();

    bool takePicture();
    QImage grab() const;
    QRect pictureArea() const;
    bool isViewDrawn(const QImage &picture, const QPoint &origin) const;

    QWidget *dialog() const;
    template <typename Widget>
    Widget *inDialog(const char *name) const;
    bool isEnabledInDialog(const char *name) const;
    QDoubleSpinBox *turnField() const;
    QMenu *entryMenu() const;
    int suitableBody(QComboBox *bodies) const;
    bool readDefinition(QVector<ExpectedDefinition::Marker> *markers);
    QString openWindows() const;

    HostCommandService *m_service;
    QWidget *m_mainWindow;
    QAction *m_entry;
    QString m_folder;
    int m_limitMs = kDefaultLimitMs;
    QVector<Step> m_steps;
    int m_step = 0;
    int m_pictures = 0;
    Phase m_phase = Phase::Waiting;
    bool m_acted = false;
    QTimer m_timer;
    QElapsedTimer m_phaseClock;
    QImage m_lastPicture;
    QString m_bodyType;
    int m_bodyNumber = 0;
    int m_bodyIndex = -1;
    ExpectedDefinition m_expected;
    QString m_problem;
};
