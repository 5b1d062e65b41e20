#pragma once

#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <atomic>

/// The last tracked state of a body. Position in millimetres, room frame.
struct TrackedPose {
    int id = 0;            ///< of the body, 0-based: with a head one less than in the data line
    float quality = -1.0f; ///< -1: not tracked
    int buttons = 0;       ///< vimbar only: button word ("6df") or number of buttons ("6df2")
    bsVector position;
    bsMatrix rotation = bsMatrix::identity(); ///< body to room; translation 0
};

/// Holds the newest pose: written by one thread at a time, read by others without a lock. A reader
/// gets a whole pose, never parts of two. Of the rotation only the rotation block is kept.
class TrackedPoseSlot {
public:
    /// Holds a pose that is not tracked.
    TrackedPoseSlot();
    /// Writers must exclude each other.
    void store(const TrackedPose &pose);
    /// Repeats itself while a writer is at work, which is as long as it takes to copy a pose.
    TrackedPose load() const;

private:
    static constexpr int kNumberCount = 12;
    std::atomic<unsigned> m_sequence{0}; ///< odd while a pose is being written
    std::atomic<int> m_id{0};
    std::atomic<float> m_quality{-1.0f};
    std::atomic<int> m_buttons{0};
    std::atomic<double> m_numbers[kNumberCount]; ///< position, then the rotation column by column
};
