#pragma once

#include <QByteArray>
#include <QVector>

/// Spoils replies on purpose, so that a client's handling of trouble can be tried.
class FaultPlan {
public:
    enum class Kind {
        None,
        Error,      ///< "quorel2 err ..." instead of doing what was asked
        Garbage,    ///< done, but the reply is a line of nonsense
        Silence,    ///< done, but not answered
        Delay,      ///< done at once, answered late
        OverLong,   ///< done, but the reply is a line of some thousand characters
        Disconnect, ///< done, but the connection is closed instead of an answer
    };
    struct Fault {
        Kind kind = Kind::None;
        int delayMs = 0; ///< for Kind::Delay, by the controller's clock
    };

    /// Spoils one reply, counted over all clients from now on: 1 is the next.
    void spoilReply(int number, const Fault &fault);
    /// Spoils the replies to the next @p times requests that begin with @p prefix, for example
    /// "quorel2 body transform". -1: all of them.
    void spoilRequests(const QByteArray &prefix, const Fault &fault, int times = 1);
    /// Forgets all faults.
    void clear();

    /// Counts one request and tells what is to happen to its reply.
    Fault take(const QByteArray &request);

private:
    struct ByNumber {
        int remaining;
        Fault fault;
    };
    struct ByPrefix {
        QByteArray prefix;
        int times;
        Fault fault;
    };
    QVector<ByNumber> m_byNumber;
    QVector<ByPrefix> m_byPrefix;
};
