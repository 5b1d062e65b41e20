#pragma once

#include <model/Emission.h>
#include <model/bsVector.h>

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>

class IOManager;
class MessageReceiver;
class Requester;

/// The one way from the module to the controller and to the host's message windows.
///
/// Wraps the host's command service (not owned, must outlive the channel). While the host formats
/// or parses, the calling thread is in the C locale, whatever the process's locale is. Texts are
/// Latin-1 on the wire, so every byte survives the way in and out. Body, type and marker numbers
/// count from 1. Lengths are millimetres in the stored frame of the body. All calls belong on the
/// GUI thread. Nothing here reports a failure: callers post the text that fits.
///
/// Without a service every exchange fails and every message is dropped.
class CommandChannel {
public:
    explicit CommandChannel(IOManager *manager);

    /// A reply of a full command.
    struct Reply {
        int status = -1; ///< 0 is success
        QByteArray text;
        /// Compares the whole reply, whatever the status.
        bool isPositive() const { return text == "quorel2 ok"; }
        bool isOk() const { return status == 0 && isPositive(); }
    };

    /// Full commands.
    Reply startTracking();
    Reply stopTracking();
    Reply askVimbarOutputForm();
    Reply deleteMarker(const QString &type, int number, int markerNumber);
    /// @param numbers  translation x y z, then the rotation column by column, each top to bottom
    Reply transformBody(const QString &type, int number, const std::array<double, 12> &numbers);

    /// Parameter reads; empty for a failed exchange. Texts are the whole value, untrimmed.
    std::optional<QString> readConfigurationChangeable();
    std::optional<QString> readTrackingAvailable();
    std::optional<QString> readMeasurementState();
    std::optional<QString> readReference();
    std::optional<QString> readMultiUserAvailable();
    std::optional<QString> readMultiUser();
    std::optional<QString> readMultiUserWithHeadAvailable();
    std::optional<QString> readMultiUserWithHead();

    std::optional<int> readDeviceCount();
    std::optional<int> readTypeCount();
    std::optional<QString> readBodyType(int typeNumber);
    std::optional<int> readBodyCount(const QString &type);
    std::optional<int> readStandardBodyCount();
    std::optional<int> readVimbarCount();
    std::optional<QString> readTypeDescription(const QString &type);
    std::optional<QString> readCalibration(const QString &type, int number);
    std::optional<QString> readTargetType(const QString &type, int number);
    std::optional<QString> readDescription(const QString &type, int number);

    std::optional<int> readMarkerCount(const QString &type, int number);
    /// A value with a number that is not finite, or with too few numbers, counts as failed.
    std::optional<bsVector> readMarker(const QString &type, int number, int markerNumber);
    std::optional<Emission> readEmission(const QString &type, int number, int markerNumber);

    /// Parameter writes; true for status 0.
    bool activateOutput(const char *lineType);
    bool setMultiUser(bool on);
    bool setMultiUserWithHead(bool on);
    bool unsetReference();
    bool setReference(const QString &reference);
    bool setMarkerCount(const QString &type, int number, int count);
    bool setMarker(const QString &type, int number, int markerNumber, const bsVector &position);
    bool setEmission(const QString &type, int number, int markerNumber, const Emission &emission);

    /// After removeRequester() the requester gets no more lines.
    void addRequester(const char *lineType, Requester *requester);
    void removeRequester(const char *lineType, Requester *requester);
    void registerReceiver(const char *module, MessageReceiver *receiver);
    void unregisterReceiver(const char *module, MessageReceiver *receiver);

    /// Posts one of the fixed error texts to the host's standard message window.
    void postError(const char *text);
    /// Posts a message to another module.
    void postMessage(const QString &destination, const char *text);

private:
    IOManager *m_manager;
};
