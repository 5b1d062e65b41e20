#include "TrackedPose.h"

#include <thread>

// The sequence is odd before any part of a pose changes and even again when all of it has. Every
// part is released by the writer and acquired by the reader, so a reader that sees a part of a
// newer pose also sees that the sequence moved, and reads again.

TrackedPoseSlot::TrackedPoseSlot()
{
    store(TrackedPose());
}

void TrackedPoseSlot::store(const TrackedPose &pose)
{
    static_assert(std::atomic<double>::is_always_lock_free);
    const unsigned sequence = m_sequence.load(std::memory_order_relaxed);
    m_sequence.store(sequence + 1, std::memory_order_relaxed);

    m_id.store(pose.id, std::memory_order_release);
    m_quality.store(pose.quality, std::memory_order_release);
    m_buttons.store(pose.buttons, std::memory_order_release);
    m_numbers[0].store(pose.position.x, std::memory_order_release);
    m_numbers[1].store(pose.position.y, std::memory_order_release);
    m_numbers[2].store(pose.position.z, std::memory_order_release);
    for (int index = 0; index < 9; ++index)
        m_numbers[3 + index].store(pose.rotation.element(index % 3, index / 3),
                                   std::memory_order_release);

    m_sequence.store(sequence + 2, std::memory_order_release);
}

TrackedPose TrackedPoseSlot::load() const
{
    for (;;) {
        const unsigned before = m_sequence.load(std::memory_order_acquire);
        TrackedPose pose;
        pose.id = m_id.load(std::memory_order_acquire);
        pose.quality = m_quality.load(std::memory_order_acquire);
        pose.buttons = m_buttons.load(std::memory_order_acquire);
        pose.position.x = m_numbers[0].load(std::memory_order_acquire);
        pose.position.y = m_numbers[1].load(std::memory_order_acquire);
        pose.position.z = m_numbers[2].load(std::memory_order_acquire);
        for (int index = 0; index < 9; ++index)
            pose.rotation.element(index % 3, index / 3) =
                m_numbers[3 + index].load(std::memory_order_acquire);
        const unsigned after = m_sequence.load(std::memory_order_relaxed);
        if (before == after && before % 2 == 0)
            return pose;
        std::this_thread::yield();
    }
}
