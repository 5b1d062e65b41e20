#include "TrackingSession.h"
#include "BodyCatalogue.h"
#include "CommandChannel.h"
#include "VersionCheck.h"

#include <QStringList>

namespace {

const char kBodyLine[] = "6d";
const QLatin1String kNoReference("none");
const QLatin1String kMeasuring("mea");

bool isNo(const std::optional<QString> &value)
{
    return value && *value == QLatin1String("no");
}

} // namespace

TrackingSession::TrackingSession(CommandChannel *channel, BodyCatalogue *catalogue,
                                 const BackendVersions *versions)
    : m_channel(channel)
    , m_catalogue(catalogue)
    , m_versions(versions)
{
}

bool TrackingSession::readConfigurationLocked()
{
    return versionAtLeast(m_versions, 1, 9) && isNo(m_channel->readConfigurationChangeable());
}

bool TrackingSession::readTrackingAvailable()
{
    m_trackingAvailable =
        !(versionAtLeast(m_versions, 0, 17) && isNo(m_channel->readTrackingAvailable()));
    return m_trackingAvailable;
}

void TrackingSession::switchOffMultiUser()
{
    m_multiUserWasOn = m_catalogue->isMultiUserOn();
    m_multiUserWithHeadWasOn = m_catalogue->isMultiUserWithHeadOn();
    if (!m_multiUserWasOn)
        return;
    if (m_multiUserWithHeadWasOn && !m_channel->setMultiUserWithHead(false))
        m_channel->postError("Error: Unable to deactivate multi user Vimbar with head");
    if (!m_channel->setMultiUser(false))
        m_channel->postError("Error: Unable to deactivate multi user Vimbar");
}

void TrackingSession::saveAndUnsetReference()
{
    const std::optional<QString> reference = m_channel->readReference();
    if (!reference) {
        m_channel->postError("Error: Unable to get info reference target");
        return;
    }
    m_savedReference = *reference == kNoReference ? QString() : *reference;
    if (!m_savedReference.isEmpty() && !m_channel->unsetReference())
        m_channel->postError("Error: Unable to unset reference target");
}

void TrackingSession::restoreMultiUser()
{
    if (m_multiUserWasOn) {
        if (!m_channel->setMultiUser(true))
            m_channel->postError("Error: Unable to activate multi user Vimbar");
        if (m_multiUserWithHeadWasOn && !m_channel->setMultiUserWithHead(true))
            m_channel->postError("Error: Unable to activate multi user Vimbar with head");
    }
    m_multiUserWasOn = false;
    m_multiUserWithHeadWasOn = false;
}

void TrackingSession::restoreReference()
{
    // The text stays saved: the next opening replaces it, unless it cannot read a new one.
    if (m_savedReference.split(QLatin1Char(' '), Qt::KeepEmptyParts).size() != 2)
        return;
    if (!m_channel->setReference(m_savedReference))
        m_channel->postError("Error: Unable to restore reference target");
}

void TrackingSession::subscribe(Requester *requester)
{
    m_channel->addRequester(kBodyLine, requester);
    m_vimbarLineIs6df = false;
    if (versionAtLeast(m_versions, 0, 6)) {
        const CommandChannel::Reply reply = m_channel->askVimbarOutputForm();
        m_vimbarLineIs6df = reply.status == 0 && reply.text == "quorel2 set vimbar output_6df yes";
    }
    m_channel->addRequester(vimbarLine(), requester);
    m_channel->activateOutput(vimbarLine());
}

void TrackingSession::unsubscribe(Requester *requester)
{
    m_channel->removeRequester(kBodyLine, requester);
    m_channel->removeRequester(vimbarLine(), requester);
}

const char *TrackingSession::vimbarLine() const
{
    return m_vimbarLineIs6df ? "6df" : "6df2";
}

void TrackingSession::startTracking()
{
    if (m_trackingAvailable)
        m_channel->startTracking();
}

void TrackingSession::stopTracking()
{
    if (m_trackingAvailable)
        m_channel->stopTracking();
}

void TrackingSession::startMeasurement()
{
    startTracking();
    const std::optional<QString> state = m_channel->readMeasurementState();
    if (!state) {
        m_channel->postError("Error: Unable to check mea status");
        return;
    }
    if (*state == kMeasuring)
        m_measurementRunning = true;
}

void TrackingSession::stopMeasurement()
{
    if (m_channel->readMeasurementState() != kMeasuring)
        return;
    stopTracking();
    m_measurementRunning = false;
}
