#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

class ControllerState;

/// What a client can ask for that concerns its own connection.
class DataSubscription {
public:
    virtual void connectData(quint16 udpPort) = 0;
    virtual void disconnectData() = 0;

protected:
    ~DataSubscription() = default;
};

/// The text protocol: every request that the controller understands, with what answers it. Takes
/// any bytes as a request.
class CommandTable {
public:
    static constexpr int kMaximumValueLength = 127;
    static constexpr int kMaximumReplyLength = 207;
    static constexpr int kMaximumRequestLength = 1000;

    enum class Verb { Get, Set, Command };

    struct Arguments;
    struct Context;
    struct Reply;
    using Handler = Reply (*)(const Arguments &, const Context &);

    struct Row {
        Verb verb;
        /// Fixed words, then placeholders: TYPE, bNN, mNN, tNN, yes|no, COUNT, CHANNEL, LINE, PORT,
        /// TEXT for the rest of the line; any other word in capitals stands for a number.
        const char *pattern;
        int sinceMajor; ///< first backend version that knows the row
        int sinceMinor;
        Handler handler;
        const char *help;
    };

    static const QVector<Row> &rows();

    /// Carries out one request and gives the line that answers it, without its end: printable,
    /// never longer than kMaximumReplyLength.
    /// @param subscription  of the client; may be null, then data cannot be asked for
    static QByteArray answer(const QByteArray &request, ControllerState *state,
                             DataSubscription *subscription);

    /// The answer to a line longer than kMaximumRequestLength.
    static QByteArray overLongAnswer();

    /// All rows as a document.
    static QString toMarkdown();
};
