#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVector>

#include <functional>

class DemoScene;

/// One thing that a user does, and what comes of it. Everything but the name may be left out.
struct DemoStep {
    QString name;                    ///< of the picture
    std::function<bool()> leftOut;   ///< true when it is to be skipped; asked until ready()
    std::function<bool()> ready;     ///< true when act() can be done
    std::function<void()> act;       ///< may run a modal dialog
    std::function<bool()> done;      ///< true when the effect is there
    int rounds = 1;                  ///< done() must say so as often in a row
    std::function<QString()> finish; ///< after the effect; a sentence ends the demonstration
    /// What the picture of the 3D view must show; asked again and again until it does.
    std::function<bool(const QImage &view)> shows;
    bool keepsMoving = false;      ///< the picture never comes to rest
    bool isViewEmpty = false;      ///< nothing need be drawn in the 3D view
    std::function<QString()> hint; ///< told when the step does not get on
};

/// Plays steps one by one and leaves a picture of each.
///
/// A step may run a modal dialog, inside which the following ones are played. So a timer takes the
/// steps: each waits until it can begin, acts, waits for its effect and then for its picture.
class StepPlayer : public QObject {
    Q_OBJECT

public:
    /// How long a step may wait for what must become true.
    static constexpr int kDefaultLimitMs = 30000;
    /// The picture that a failure leaves.
    static constexpr char kFailurePicture[] = "failed.png";

    /// @param scene   not owned
    /// @param folder  exists; gets the pictures "01-NAME.png"
    StepPlayer(DemoScene *scene, const QString &folder, QObject *parent = nullptr);

    void setLimitMs(int limitMs) { m_limitMs = limitMs; }
    void setSteps(const QVector<DemoStep> &steps) { m_steps = steps; }
    /// Begins from the event loop.
    void start();
    /// Ends with that problem and leaves a picture of it.
    void fail(const QString &problem);
    /// How the 3D view looked in the picture of a step before; null if it could not be seen.
    QImage viewIn(const QString &stepName) const { return m_views.value(stepName); }

signals:
    /// Comes once.
    /// @param problem  empty when all steps were played to their end
    void ended(const QString &problem);

private:
    enum class Phase { Waiting, Acting, Picture, Ended };

    void tick();
    /// @return true if the next phase may follow in the same turn of the event loop
    bool advance();
    void runAction();
    void enter(Phase phase);
    /// @return false after the last one
    bool nextStep();
    void failLate();
    bool takePicture();

    DemoScene *m_scene;
    QString m_folder;
    int m_limitMs = kDefaultLimitMs;
    QVector<DemoStep> m_steps;
    int m_step = 0;
    int m_pictures = 0;
    int m_rounds = 0;
    Phase m_phase = Phase::Waiting;
    bool m_acted = false;
    QTimer m_timer;
    QTimer m_actionTimer;
    QElapsedTimer m_phaseClock;
    QImage m_lastPicture;
    bool m_viewSeen = false;
    QHash<QString, QImage> m_views;
};
