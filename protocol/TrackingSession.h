#pragma once

#include <QString>

class BodyCatalogue;
class CommandChannel;
class Requester;
struct BackendVersions;

/// Brings the controller into the state in which bodies can be adjusted, and back. What is to be
/// restored is remembered here. Failures are posted and the sequence goes on.
class TrackingSession {
public:
    /// No argument is owned; all must outlive the session.
    TrackingSession(CommandChannel *channel, BodyCatalogue *catalogue,
                    const BackendVersions *versions);

    /// Steps of opening, in the order in which they are called.
    bool readConfigurationLocked();
    /// Reads and remembers whether tracking is available.
    bool readTrackingAvailable();
    void switchOffMultiUser();
    void saveAndUnsetReference();

    /// Steps of closing.
    void restoreMultiUser();
    void restoreReference();

    /// Subscribes to the body line and to the vimbar line in use, and activates the latter.
    void subscribe(Requester *requester);
    void unsubscribe(Requester *requester);

    /// Sends the start command (not checked), if tracking is available.
    void startTracking();
    void stopTracking();
    /// Starts tracking and reads the state back.
    void startMeasurement();
    void stopMeasurement();

    bool isTrackingAvailable() const { return m_trackingAvailable; }
    bool isMeasurementRunning() const { return m_measurementRunning; }

private:
    CommandChannel *m_channel;
    BodyCatalogue *m_catalogue;
    const BackendVersions *m_versions;
    bool m_trackingAvailable = false;
    bool m_measurementRunning = false;
    bool m_vimbarLineIs6df = false;
    bool m_multiUserWasOn = false;
    bool m_multiUserWithHeadWasOn = false;
    QString m_savedReference;
};
