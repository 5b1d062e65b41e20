#include "Demo.h"

#include "HostCommandService.h"

namespace {
const char kBodyLines[] = "6d";
}

Demo::Demo(HostCommandService *service, QWidget *mainWindow, QAction *entry, const QString &folder,
           QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_scene(mainWindow)
    , m_player(&m_scene, folder)
    , m_first(parts(entry))
    , m_second(parts(entry), &m_first)
{
    m_service->addRequester(kBodyLines, &m_reports);
    m_player.setSteps(m_first.steps() + m_second.steps());
    connect(&m_player, &StepPlayer::ended, this, &Demo::end);
}

Demo::~Demo()
{
    m_service->removeRequester(kBodyLines, &m_reports);
}

void Demo::start()
{
    m_player.start();
}

DemoParts Demo::parts(QAction *entry)
{
    return {m_service, &m_scene, &m_player, &m_reports, entry};
}

void Demo::end(const QString &problem)
{
    if (!problem.isEmpty()) {
        emit finished(1, tr("The demonstration failed: %1").arg(problem));
        return;
    }
    // The second adjustment must have left the body of the first as it was.
    QString first;
    QString second;
    const bool isFirstRight = m_first.check(&first);
    const bool isSecondPlayed = m_second.bodyNumber() > 0;
    const bool isSecondRight = !isSecondPlayed || m_second.check(&second);
    QStringList report{first};
    if (isSecondPlayed)
        report += {second, m_second.alignmentReport()};
    if (!m_second.leftOutReport().isEmpty())
        report += m_second.leftOutReport();
    emit finished(isFirstRight && isSecondRight ? 0 : 1, report.join(QLatin1Char('\n')));
}
