#include <protocol/TrackedPose.h>

#include <tests/support/TestMain.h>

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

// Every part of the pose tells the same number.
TrackedPose poseOfOneNumber(int number)
{
    TrackedPose pose;
    pose.id = number;
    pose.quality = static_cast<float>(number);
    pose.buttons = number;
    pose.position.set(number, number, number);
    for (int column = 0; column < 3; ++column) {
        for (int row = 0; row < 3; ++row)
            pose.rotation.element(row, column) = number;
    }
    return pose;
}

bool isOfOneNumber(const TrackedPose &pose)
{
    const int number = pose.id;
    bool same = pose.quality == static_cast<float>(number) && pose.buttons == number &&
                pose.position.x == number && pose.position.y == number && pose.position.z == number;
    for (int column = 0; column < 3; ++column) {
        for (int row = 0; row < 3; ++row)
            same = same && pose.rotation.element(row, column) == number;
    }
    return same;
}

} // namespace

class tst_TrackedPose : public QObject {
    Q_OBJECT

private slots:
    void aNewPoseIsNotTracked();
    void aNewSlotHoldsAPoseThatIsNotTracked();
    void everyFieldComesBack();
    void theNewestPoseWins();
    void readersNeverGetPartsOfTwoPoses();
};

void tst_TrackedPose::aNewPoseIsNotTracked()
{
    const TrackedPose pose;
    QCOMPARE(pose.quality, -1.0f);
    QCOMPARE(pose.position.length(), 0.0);
    QVERIFY(!differs(pose.rotation, bsMatrix::identity()));
}

void tst_TrackedPose::aNewSlotHoldsAPoseThatIsNotTracked()
{
    const TrackedPoseSlot slot;
    const TrackedPose pose = slot.load();
    QCOMPARE(pose.id, 0);
    QCOMPARE(pose.quality, -1.0f);
    QCOMPARE(pose.buttons, 0);
    QCOMPARE(pose.position.length(), 0.0);
    QVERIFY(!differs(pose.rotation, bsMatrix::identity()));
}

void tst_TrackedPose::everyFieldComesBack()
{
    TrackedPose stored;
    stored.id = 4;
    stored.quality = 0.75f;
    stored.buttons = -7;
    stored.position.set(1.5, -2.25, 1e6);
    for (int index = 0; index < 9; ++index)
        stored.rotation.element(index % 3, index / 3) = 10.0 + index;

    TrackedPoseSlot slot;
    slot.store(stored);
    const TrackedPose loaded = slot.load();
    QCOMPARE(loaded.id, 4);
    QCOMPARE(loaded.quality, 0.75f);
    QCOMPARE(loaded.buttons, -7);
    QCOMPARE(loaded.position.x, 1.5);
    QCOMPARE(loaded.position.y, -2.25);
    QCOMPARE(loaded.position.z, 1e6);
    for (int index = 0; index < 16; ++index)
        QCOMPARE(loaded.rotation.m[index], stored.rotation.m[index]);
}

void tst_TrackedPose::theNewestPoseWins()
{
    TrackedPoseSlot slot;
    for (int number = 1; number <= 100; ++number)
        slot.store(poseOfOneNumber(number));
    QCOMPARE(slot.load().id, 100);
    QCOMPARE(slot.load().id, 100);
}

void tst_TrackedPose::readersNeverGetPartsOfTwoPoses()
{
    constexpr int kPoses = 200000;
    constexpr int kReaders = 2;
    TrackedPoseSlot slot;
    slot.store(poseOfOneNumber(0));

    std::atomic<bool> finished{false};
    std::atomic<int> torn{0};
    std::atomic<int> backwards{0};
    std::atomic<int> distinct{0};
    std::atomic<int> ready{0};
    std::vector<std::thread> readers;
    for (int reader = 0; reader < kReaders; ++reader) {
        readers.emplace_back([&] {
            int last = 0;
            ++ready;
            bool lastRound = false;
            while (!lastRound) {
                lastRound = finished;
                const TrackedPose pose = slot.load();
                if (!isOfOneNumber(pose))
                    ++torn;
                if (pose.id < last)
                    ++backwards;
                if (pose.id != last)
                    ++distinct;
                last = pose.id;
            }
            if (last != kPoses)
                ++backwards;
        });
    }
    while (ready < kReaders)
        std::this_thread::yield();
    for (int number = 1; number <= kPoses; ++number)
        slot.store(poseOfOneNumber(number));
    finished = true;
    for (std::thread &reader : readers)
        reader.join();

    QCOMPARE(torn.load(), 0);
    QCOMPARE(backwards.load(), 0);
    QVERIFY(distinct.load() > 0);
}

QUOREL2_TEST_MAIN(tst_TrackedPose)
#include "tst_TrackedPose.moc"
