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
    /// @return true when the controller's configuration may not be changed; false if it does not
    /// tell
    bool readConfigurationLocked();
    /// Reads and remembers whether tracking is available: it is, unless the controller denies it.
    bool readTrackingAvailable();
    /// Remembers the multi-user state for restoreMultiUser().
    void switchOffMultiUser();
    /// Remembers the reference target for restoreReference(). After a failed read the one
    /// remembered before stays.
    void saveAndUnsetReference();

    /// Steps of closing. The multi-user state is forgotten afterwards, the reference target is
    /// kept.
    void restoreMultiUser();
    /// Only a reference of two words is restored, exactly as it was read.
    void restoreReference();

    /// Subscribes to the body line and to the vimbar line in use, and activates the latter.
    void subscribe(Requester *requester);
    /// Undoes the subscription, for the lines chosen by it.
    void unsubscribe(Requester *requester);

    /// Sends the start command (not checked), if tracking is available.
    void startTracking();
    void stopTracking();
    /// Starts tracking and reads the state back.
    void startMeasurement();
    /// Stops tracking if the controller says that it measures; a failed read is not posted.
    void stopMeasurement();

    bool isTrackingAvailable() const { return m_trackingAvailable; }
    bool isMeasurementRunning() const { return m_measurementRunning; }

private:
    const char *vimbarLine() const;

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
