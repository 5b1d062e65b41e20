#pragma once

#include "DataLines.h"
#include "DataMutex.h"
#include "TrackedPose.h"

#include <QByteArray>
#include <QString>
#include <QVector>

/// Follows the chosen body through the tracking data lines.
///
/// receive() may run on any thread, the rest belongs to one thread. The poses are read without a
/// lock, at any time.
class ChosenBodyTracking {
public:
    /// What a data line told of the chosen body.
    enum class Outcome { NothingToTell, Tracked, NotTracked };

    /// @param type   type keyword, in any case; of any other type no line is read
    /// @param index  body number minus one; -1: none
    void choose(const QString &type, int index);
    /// With head, the controller counts the bodies of "6d" lines from 1.
    void setMultiUserWithHead(bool on);
    /// Both bodies count as not tracked until the next line comes.
    void forget();

    /// Reads a line of the type that belongs to the chosen body and keeps the pose; other types are
    /// ignored. Never waits: a line that comes while another one is read is dropped.
    /// @param outcome  gets what the line told; must not be null
    /// @return false for a malformed line, which changes nothing
    bool receive(const char *lineType, const char *line, Outcome *outcome);

    TrackedPose standardPose() const { return m_standardPose.load(); }
    TrackedPose vimbarPose() const { return m_vimbarPose.load(); }

private:
    bool isWanted(const char *lineType, DataLineType *type) const;
    Outcome keepPose(DataLineType type);

    DataMutex m_mutex; ///< guards everything here, but for reading the poses
    bool m_isStandard = false;
    bool m_isVimbar = false;
    int m_index = -1;
    bool m_multiUserWithHead = false;
    QByteArray m_lineBuffer;
    QVector<DataBlock> m_blocks;
    TrackedPoseSlot m_standardPose;
    TrackedPoseSlot m_vimbarPose;
};
