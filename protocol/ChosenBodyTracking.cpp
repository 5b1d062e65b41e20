#include "ChosenBodyTracking.h"
#include "BodyListEntry.h"

#include <mutex>

void ChosenBodyTracking::choose(const QString &type, int index)
{
    const std::lock_guard<DataMutex> lock(m_mutex);
    m_isStandard = isStandardType(type);
    m_isVimbar = isVimbarType(type);
    m_index = index;
}

void ChosenBodyTracking::setMultiUserWithHead(bool on)
{
    const std::lock_guard<DataMutex> lock(m_mutex);
    m_multiUserWithHead = on;
}

void ChosenBodyTracking::forget()
{
    const std::lock_guard<DataMutex> lock(m_mutex);
    for (TrackedPoseSlot *slot : {&m_standardPose, &m_vimbarPose}) {
        TrackedPose pose = slot->load();
        pose.quality = -1.0F;
        slot->store(pose);
    }
}

bool ChosenBodyTracking::receive(const char *lineType, const char *line, Outcome *outcome)
{
    *outcome = Outcome::NothingToTell;
    if (!m_mutex.try_lock())
        return true;
    const std::lock_guard<DataMutex> lock(m_mutex, std::adopt_lock);
    DataLineType type = DataLineType::SixD;
    if (!isWanted(lineType, &type))
        return true;
    m_lineBuffer = line;
    if (!parseDataLine(type, m_lineBuffer.data(), &m_blocks))
        return false;
    *outcome = keepPose(type);
    return true;
}

bool ChosenBodyTracking::isWanted(const char *lineType, DataLineType *type) const
{
    if (qstrcmp(lineType, "6d") == 0 && m_isStandard)
        *type = DataLineType::SixD;
    else if (qstrcmp(lineType, "6df") == 0 && m_isVimbar)
        *type = DataLineType::SixDf;
    else if (qstrcmp(lineType, "6df2") == 0 && m_isVimbar)
        *type = DataLineType::SixDf2;
    else
        return false;
    return true;
}

ChosenBodyTracking::Outcome ChosenBodyTracking::keepPose(DataLineType type)
{
    const bool ofStandardBodies = type == DataLineType::SixD;
    Outcome outcome = ofStandardBodies ? Outcome::NotTracked : Outcome::NothingToTell;
    for (int i = 0; i < m_blocks.size(); ++i) {
        const DataBlock &block = m_blocks.at(i);
        const long id = ofStandardBodies && m_multiUserWithHead ? block.id - 1 : block.id;
        // "6df2" lines are ordered by device, whatever the ids in them.
        if ((type == DataLineType::SixDf2 ? i : id) != m_index)
            continue;
        TrackedPoseSlot &slot = ofStandardBodies ? m_standardPose : m_vimbarPose;
        TrackedPose pose;
        if (block.quality != -1.0) {
            outcome = Outcome::Tracked;
            pose.id = static_cast<int>(id);
            pose.quality = static_cast<float>(block.quality);
            pose.buttons = static_cast<int>(block.buttons);
            pose.position = block.position;
            pose.rotation = block.rotation;
        } else {
            outcome = Outcome::NotTracked;
            if (!ofStandardBodies) {
                // A lost vimbar keeps its last place, but counts as lost.
                pose = slot.load();
                pose.quality = -1.0F;
            }
        }
        slot.store(pose);
    }
    return outcome;
}
