#pragma once

#include <host/Requester.h>

#include <QByteArray>
#include <QVector>

#include <array>
#include <map>
#include <mutex>

/// What a data line tells of one body.
struct BodyReport {
    int number = 0;                   ///< from 1; the line counts from 0
    bool tracked = false;             ///< the rest is of no meaning where it is false
    std::array<double, 3> position{}; ///< of the body's origin in the room, millimetres
    std::array<double, 9> rotation{}; ///< from the body into the room, column by column
};

/// Reads "6d N [id qu][x y z rx ry rz][b0 ... b8] " with one block for each body.
/// @return false and nothing written if it is no such line
bool parseBodyLine(const QByteArray &line, QVector<BodyReport> *reports);

/// The angle by which two rotations differ, 0 to 180 degrees.
double angleBetweenDeg(const std::array<double, 9> &a, const std::array<double, 9> &b);

/// Watches the standard bodies in the data lines as they come. The lines may come on any thread;
/// the questions may be asked on any other.
class BodyReports : public Requester {
public:
    /// A line prints a rotation with six decimals. Worked out from a line, a rotation can come back
    /// off by one in the last of them.
    static constexpr double kLastDigit = 1e-6;
    /// As many lines must say so before a body counts as standing still or as moving.
    static constexpr int kLinesToTrust = 40;
    /// A body that turns less than this does not count as moving.
    static constexpr double kTurnDeg = 2.0;

    int receiveLine(const char *lineType, const char *line) override;
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }

    /// Begins anew, as if no line had come yet.
    void forget();
    /// How many lines have come; malformed ones do not count.
    int lineCount() const;
    /// @return false and nothing written if the newest line does not show the body as tracked
    bool newestRotation(int number, std::array<double, 9> *rotation) const;
    /// Every line shows the body as tracked, and in the same place.
    bool standsStill(int number) const;
    /// Every line shows the body as tracked, and it has turned since the first.
    bool turns(int number) const;
    /// More lines will not tell whether the body stands still or turns: it does one of them, or it
    /// was lost and counts as neither.
    bool isJudged(int number) const;
    /// The newest line shows the body's axes parallel to the room's, as far as its digits go.
    bool isAlignedWithRoom(int number) const;

private:
    struct History {
        BodyReport first;
        BodyReport newest;
        int linesTracked = 0;
        bool moved = false;
        double turnDeg = 0.0;
    };
    const History *historyOf(int number) const;
    bool isTrackedThroughout(int number) const;

    mutable std::mutex m_mutex; ///< guards the two below
    std::map<int, History> m_bodies;
    int m_lines = 0;
};
