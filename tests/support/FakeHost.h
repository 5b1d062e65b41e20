#pragma once

#include <host/BackendVersions.h>
#include <host/IOManager.h>
#include <model/Emission.h>
#include <model/bsVector.h>

#include <QByteArray>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdarg>
#include <functional>
#include <mutex>
#include <optional>

/// A host with a small controller behind it, all in the calling thread.
///
/// It formats and parses with plain vsnprintf(), strtol() and strtod() in the locale that the
/// calling thread happens to have: a module that lets a decimal comma through is found out.
///
/// The controller is the table of parameters. A freshly made one is idle, may be configured,
/// tracks, has no multi-user mode, no reference target and no bodies; addBody() fills in everything
/// that belongs to a body. Marker writes, marker deletions and transforms really change the table.
class FakeHost : public IOManager {
public:
    enum class Operation { Command, GetString, GetInt, GetDoubles, Set };

    struct Exchange {
        Operation operation;
        int number;        ///< counted from 1, all operations together
        QString line;      ///< as in the transcript
        QByteArray format; ///< as the module passed it
    };

    struct Answer {
        int status = 0;
        QByteArray text;        ///< reply line or value; left out of the buffer if empty and failed
        bool terminated = true; ///< false: exactly these bytes, unbounded, and no NUL
    };

    /// How an exchange ended for the module.
    struct Outcome {
        int status;
        QByteArray text; ///< the whole reply or value, also where no number could be read from it
    };

    struct Message {
        QString destination;
        QString source;
        int kind;
        QString text;
    };

    FakeHost();

    // What happened.

    /// "get PARAMETER", "set PARAMETER VALUE", or the full command line; in order.
    QStringList transcript;
    /// In the order of the transcript.
    QVector<Outcome> outcomes;
    /// The transcript with "add TYPE", "remove TYPE" for subscriptions, "register MODULE",
    /// "unregister MODULE" and "post DESTINATION SOURCE KIND TEXT" between its lines.
    QStringList journal;
    QVector<Message> messages;
    QVector<QPair<QString, MessageReceiver *>> receivers;
    QMap<QString, QVector<Requester *>> requesters;

    /// The texts posted to the standard message window by "QUOREL4" with kind 1.
    QStringList errors() const;
    /// The journal, which then begins anew, as clearRecords() does.
    QStringList takeJournal();
    /// Forgets transcript, outcomes, journal and messages; the count of exchanges begins anew.
    void clearRecords();
    int exchangeCount() const { return m_exchangeCount; }

    // What the controller holds.

    QMap<QString, QString> parameters;
    BackendVersions versions = {{}, 1, 17, -1};

    void setVersion(int major, int minor, int patch = -1);
    /// Adds a body type behind those that there are, or changes its description.
    void addType(const QString &type, const QString &description);
    /// Adds or replaces a body, and its type if that is new. Bodies of a type are numbered from 1
    /// without gaps. Missing emissions are zero.
    void addBody(const QString &type, int number, const QString &description, bool calibrated,
                 const QString &targetType, const QVector<bsVector> &markers,
                 const QVector<Emission> &emissions = {});
    QVector<bsVector> markers(const QString &type, int number) const;
    QVector<Emission> emissions(const QString &type, int number) const;

    // What goes wrong.

    /// Asked first; an answer given here is passed on and the controller does not hear of the line.
    std::function<std::optional<Answer>(const Exchange &)> hook;
    /// Answers the exchange of that number, counted from 1.
    void answerExchange(int number, const Answer &answer);
    void failExchange(int number, int status = 1);
    /// Answers every exchange with that line of the transcript.
    void answerLine(const QString &line, const Answer &answer);
    void failLine(const QString &line, int status = 1);
    void clearFaults();

    // What the host does by itself.

    /// Hands a data line to its requesters, on the calling thread.
    /// @return the last requester's result; 0 without a requester
    int deliver(const QByteArray &lineType, const QByteArray &line);
    /// Hands a message to the module's receivers, on the calling thread.
    /// @return the last receiver's result; -1 without a receiver
    int sendToModule(const QByteArray &module, const QByteArray &source, const QByteArray &text,
                     int kind = 1);

    // The host's interface.

    void reserved0() override;
    void reserved1() override;
    void reserved2() override;
    int sendCommand(char *reply, const char *format, ...) override;
    void reserved4() override;
    int getString(char *value, const char *format, ...) override;
    int getInt(int *value, const char *format, ...) override;
    void reserved7() override;
    void reserved8() override;
    int getDoubles(double *values, int count, const char *format, ...) override;
    void reserved10() override;
    int setParameter(const char *format, ...) override;
    void addRequester(const char *lineType, Requester *requester) override;
    void removeRequester(const char *lineType, Requester *requester) override;
    void reserved14() override;
    void reserved15() override;
    void postMessage(const char *destination, const char *source, int kind,
                     const char *text) override;
    void registerReceiver(const char *module, MessageReceiver *receiver) override;
    void unregisterReceiver(const char *module, MessageReceiver *receiver) override;

private:
    Answer exchange(Operation operation, const char *format, va_list arguments);
    Answer answerOfController(Operation operation, const QString &text);
    int ended(int status);
    std::optional<Answer> plannedAnswer(const Exchange &exchange) const;
    Answer answerRead(const QString &parameter) const;
    int write(const QString &nameAndValue);
    QByteArray execute(const QString &line);
    bool transform(const QString &body, const QStringList &numbers);
    bool deleteMarker(const QString &body, const QString &marker);
    void storeMarkers(const QString &body, const QVector<bsVector> &positions,
                      const QVector<Emission> &emissionRecords);
    void resizeMarkers(const QString &body, int count);
    QVector<double> numbersOf(const QString &parameter) const;

    int m_exchangeCount = 0;
    QMap<int, Answer> m_answersByNumber;
    QMap<QString, Answer> m_answersByLine;
    // A delivery may unsubscribe from inside; after a removal no delivery is running.
    std::recursive_mutex m_requesterMutex;
};
