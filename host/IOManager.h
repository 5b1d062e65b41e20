#pragma once

#include <QMetaType>

class MessageReceiver;
class Requester;

/// The host's command service. The order of the operations is binary interface.
///
/// All exchanges are synchronous and made on the GUI thread. A status of 0 is success. Buffers
/// carry no length: the host writes at most 127 characters and NUL for a value, 207 and NUL for a
/// reply.
class IOManager {
public:
    virtual void reserved0() = 0;
    virtual void reserved1() = 0;
    virtual void reserved2() = 0;
    /// Sends one complete command line and copies the controller's reply line into @p reply.
    virtual int sendCommand(char *reply, const char *format, ...) = 0;
    virtual void reserved4() = 0;
    /// Reads a parameter, named without the words that begin a query; @p value gets its value text.
    virtual int getString(char *value, const char *format, ...) = 0;
    virtual int getInt(int *value, const char *format, ...) = 0;
    virtual void reserved7() = 0;
    virtual void reserved8() = 0;
    virtual int getDoubles(double *values, int count, const char *format, ...) = 0;
    virtual void reserved10() = 0;
    /// Sets a parameter: its name followed by the new value.
    virtual int setParameter(const char *format, ...) = 0;
    /// From now on every data line of that type goes to @p requester, on a thread of the host's.
    virtual void addRequester(const char *lineType, Requester *requester) = 0;
    virtual void removeRequester(const char *lineType, Requester *requester) = 0;
    virtual void reserved14() = 0;
    virtual void reserved15() = 0;
    /// Delivers a text to the named module or message window.
    virtual void postMessage(const char *destination, const char *source, int kind,
                             const char *text) = 0;
    virtual void registerReceiver(const char *module, MessageReceiver *receiver) = 0;
    virtual void unregisterReceiver(const char *module, MessageReceiver *receiver) = 0;

protected:
    ~IOManager() = default;
};

Q_DECLARE_METATYPE(IOManager *)
