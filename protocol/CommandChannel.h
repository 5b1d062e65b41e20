#pragma once

#include <QByteArray>
#include <QString>

#include <array>

class IOManager;
class MessageReceiver;
class Requester;

/// The one way from the module to the controller and to the host's message windows.
///
/// Wraps the host's command service (not owned, must outlive the channel). While the host formats
/// or parses, the calling thread is in the C locale, whatever the process's locale is. A status of 0
/// is success. All calls belong on the GUI thread.
class CommandChannel {
public:
    explicit CommandChannel(IOManager *manager);

    /// The host's service, for the calls that carry formatted arguments.
    IOManager *manager() const { return m_manager; }

    /// A reply of a full command.
    struct Reply {
        int status = -1;
        QByteArray text;
        bool isOk() const { return status == 0 && text == "quorel2 ok"; }
    };

    /// Full command lines; see CommandChannel.cpp for the formats.
    Reply sendLine(const char *line);
    Reply deleteMarker(const QString &type, int number, int markerNumber);
    Reply transformBody(const QString &type, int number, const std::array<double, 12> &numbers);

    /// Parameter reads. On failure false is returned and @p value is left alone.
    bool readText(const char *parameter, QString *value);
    bool readTextNumbered(const char *format, int number, QString *value);
    bool readTextOfType(const char *format, const QString &type, QString *value);
    bool readTextOfBody(const char *format, const QString &type, int number, QString *value);
    bool readInt(const char *parameter, int *value);
    bool readIntOfType(const char *format, const QString &type, int *value);
    bool readIntOfBody(const char *format, const QString &type, int number, int *value);
    /// @param count  3 or 4 numbers; a number that is not finite counts as a failed read
    bool readMarkerNumbers(const char *format, const QString &type, int number, int marker,
                           double *values, int count);

    /// Parameter writes; true for status 0.
    bool setLine(const char *line);
    bool setWithTexts(const char *format, const QString &first, const QString &second);
    bool setWithText(const char *format, const QString &text);
    bool setMarkerCount(const QString &type, int number, int count);
    bool setMarker(const QString &type, int number, int marker, double x, double y, double z);
    bool setEmission(const QString &type, int number, int marker, double x, double y, double z,
                     double angleDeg);

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
