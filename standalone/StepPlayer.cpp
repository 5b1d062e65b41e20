#include "StepPlayer.h"

#include "DemoScene.h"
#include "Logging.h"
#include "ViewPicture.h"

#include <QApplication>
#include <QDir>
#include <QPointer>

namespace {

constexpr int kPollMs = 20;
/// A picture is taken as it is when it has not come to rest after this time, or when the 3D view
/// has not shown anything until then.
constexpr int kPictureLimitMs = 3000;

} // namespace

StepPlayer::StepPlayer(DemoScene *scene, const QString &folder, QObject *parent)
    : QObject(parent)
    , m_scene(scene)
    , m_folder(folder)
{
    m_timer.setInterval(kPollMs);
    connect(&m_timer, &QTimer::timeout, this, &StepPlayer::tick);
    m_actionTimer.setSingleShot(true);
    connect(&m_actionTimer, &QTimer::timeout, this, &StepPlayer::runAction);
}

void StepPlayer::start()
{
    // A blinking cursor would never let a picture come to rest.
    QApplication::setCursorFlashTime(0);
    enter(Phase::Waiting);
    m_timer.start();
}

void StepPlayer::tick()
{
    // What needs no turn of the event loop follows at once.
    const QPointer<StepPlayer> guard(this);
    while (advance()) {
    }
    // Who hears of the end may delete this.
    if (!guard)
        return;
    if (m_phase != Phase::Ended && m_phaseClock.hasExpired(m_limitMs))
        failLate();
}

bool StepPlayer::advance()
{
    if (m_phase == Phase::Ended)
        return false;
    const DemoStep &step = m_steps.at(m_step);
    switch (m_phase) {
    case Phase::Waiting:
        if (step.leftOut && step.leftOut())
            return nextStep();
        if (!step.ready || step.ready()) {
            m_acted = false;
            m_rounds = 0;
            enter(Phase::Acting);
            // Not from within the timer: it would stand still while a dialog runs that the
            // action opens.
            m_actionTimer.start();
        }
        return false;
    case Phase::Acting: {
        if (!m_acted)
            return false;
        m_rounds = !step.done || step.done() ? m_rounds + 1 : 0;
        if (m_rounds < step.rounds)
            return false;
        const QString problem = step.finish ? step.finish() : QString();
        if (!problem.isEmpty()) {
            fail(problem);
            return false;
        }
        m_lastPicture = QImage();
        enter(Phase::Picture);
        // What came of it is painted first.
        return step.name.isEmpty();
    }
    case Phase::Picture:
        return (step.name.isEmpty() || takePicture()) && nextStep();
    case Phase::Ended:
        break;
    }
    return false;
}

void StepPlayer::runAction()
{
    if (m_phase != Phase::Acting)
        return;
    m_acted = true;
    const DemoStep step = m_steps.at(m_step);
    qCInfo(lcStandalone) << "step" << step.name;
    if (step.act)
        step.act();
}

void StepPlayer::enter(Phase phase)
{
    m_phase = phase;
    m_phaseClock.start();
}

bool StepPlayer::nextStep()
{
    if (++m_step < m_steps.size()) {
        enter(Phase::Waiting);
        return true;
    }
    m_timer.stop();
    enter(Phase::Ended);
    emit ended(QString());
    return false;
}

void StepPlayer::failLate()
{
    const DemoStep &step = m_steps.at(m_step);
    QString problem = tr("Step \"%1\" had no effect within %2 s.");
    if (m_phase == Phase::Waiting)
        problem = tr("Step \"%1\" could not begin within %2 s.");
    else if (m_phase == Phase::Picture)
        problem = tr("The 3D view did not show what comes of step \"%1\" within %2 s.");
    problem = problem.arg(step.name).arg(m_limitMs / 1000);
    const QString hint = step.hint ? step.hint() : QString();
    if (!hint.isEmpty())
        problem += QLatin1Char(' ') + hint;
    fail(problem);
}

void StepPlayer::fail(const QString &problem)
{
    if (m_phase == Phase::Ended)
        return;
    m_timer.stop();
    enter(Phase::Ended);
    const QImage picture = m_scene->grab().image;
    if (!picture.isNull())
        picture.save(QDir(m_folder).filePath(QLatin1String(kFailurePicture)));
    const QString windows = m_scene->openWindows();
    emit ended(windows.isEmpty() ? problem : tr("%1 Open windows: %2.").arg(problem, windows));
}

bool StepPlayer::takePicture()
{
    const DemoStep &step = m_steps.at(m_step);
    const DemoScene::Picture picture = m_scene->grab();
    const bool isDrawn = step.isViewEmpty || !m_scene->view() || ViewPicture::isDrawn(picture.view);
    m_viewSeen = m_viewSeen || (m_scene->view() && isDrawn && !step.isViewEmpty);
    const bool isAtRest =
        step.keepsMoving || (!m_lastPicture.isNull() && picture.image == m_lastPicture);
    // Where the view was never seen, since some window systems show it to nobody, a picture of it
    // proves nothing.
    const bool isShown = !step.shows || (isDrawn ? step.shows(picture.view) : !m_viewSeen);
    m_lastPicture = picture.image;
    const bool isLate = m_phaseClock.hasExpired(kPictureLimitMs);
    if (!isShown || (!(isAtRest && isDrawn) && !isLate))
        return false;
    if (!isDrawn)
        qInfo("The 3D view shows nothing in the picture \"%s\".", qPrintable(step.name));
    m_views.insert(step.name, isDrawn ? picture.view : QImage());
    const QString fileName = QDir(m_folder).filePath(
        QStringLiteral("%1-%2.png").arg(++m_pictures, 2, 10, QLatin1Char('0')).arg(step.name));
    if (!picture.image.save(fileName)) {
        fail(tr("The picture \"%1\" cannot be written.").arg(fileName));
        return false;
    }
    return true;
}
