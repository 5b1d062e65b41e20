#pragma once

#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <atomic>

/// The last tracked state of a body. Position in millimetres, room frame.
struct TrackedPose {
    int id = 0;            ///< 0-based index of the body
    float quality = -1.0f; ///< -1: not tracked
    int buttons = 0;       ///< vimbar only: button word ("6df") or number of buttons ("6df2")
    bsVector position;
    bsMatrix rotation = bsMatrix::identity();
};

/// Holds the newest pose: written by one thread at a time, read by another without a lock. A reader
/// gets a whole pose, never parts of two.
class TrackedPoseSlot {
public:
    TrackedPoseSlot();
    /// Writers must exclude each other.
    void store(const TrackedPose &pose);
    TrackedPose load() const;

private:
    static constexpr int kNumberCount = 12;
    std::atomic<unsigned> m_sequence{0};
    std::atomic<int> m_id{0};
    std::atomic<float> m_quality{-1.0f};
    std::atomic<int> m_buttons{0};
    std::atomic<double> m_numbers[kNumberCount];
};
