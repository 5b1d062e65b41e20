#include <dialog/AppliedTransforms.h>
#include <model/bsPose.h>
#include <tests/model/GeometryOracle.h>
#include <tests/support/TestMain.h>

#include <QtTest>

#include <Eigen/Geometry>

#include <random>

namespace {

class RandomTransforms {
public:
    explicit RandomTransforms(quint32 seed)
        : m_engine(seed)
    {
    }
    Eigen::Isometry3d next()
    {
        Eigen::Isometry3d transform = Eigen::Isometry3d::Identity();
        transform.translate(
            Eigen::Vector3d(m_length(m_engine), m_length(m_engine), m_length(m_engine)));
        const Eigen::Vector3d axis(m_length(m_engine), m_length(m_engine), m_length(m_engine));
        transform.rotate(Eigen::AngleAxisd(m_length(m_engine) / 100.0, axis.normalized()));
        return transform;
    }
    int below(int limit) { return int(m_engine() % unsigned(limit)); }

private:
    std::mt19937 m_engine;
    std::uniform_real_distribution<double> m_length{-300.0, 300.0};
};

} // namespace

class TestAppliedTransforms : public QObject {
    Q_OBJECT

private slots:
    void nothingIsChangedAtFirst()
    {
        AppliedTransforms applied;
        applied.reset(4);
        QVERIFY(!applied.hasChanges());
        QCOMPARE(applied.listSize(), 4);
        QVERIFY(!applied.isChanged(0));
        QVERIFY(!applied.isChanged(-1));
        QVERIFY(!applied.isChanged(4));
        QVERIFY(!differs(applied.discardTransform(1), bsMatrix::identity()));
    }

    void whatIsNoBodyIsNotKept()
    {
        RandomTransforms random(testSeed());
        AppliedTransforms applied;
        applied.reset(2);
        applied.add(0, 1, Oracle::matrix(random.next().matrix()), true);
        applied.add(1, -1, Oracle::matrix(random.next().matrix()), true);
        QVERIFY(!applied.hasChanges());
        QCOMPARE(applied.listSize(), 2);
        for (const int number : {-1, 0, 1, 2, 3}) {
            QVERIFY(!differs(applied.discardTransform(number), bsMatrix::identity()));
            QVERIFY(!differs(applied.correctionAfterDiscard(number, 0), bsMatrix::identity()));
        }
        // A body that was not written needs no correction, whatever its number shares.
        applied.add(1, 0, Oracle::matrix(random.next().matrix()), true);
        QVERIFY(differs(applied.discardTransform(1), bsMatrix::identity()));
        QVERIFY(!differs(applied.correctionAfterDiscard(1, 1), bsMatrix::identity()));
    }

    void discardIsTheInverseOfTheProductInTheOrderOfWriting()
    {
        RandomTransforms random(testSeed());
        const Eigen::Isometry3d first = random.next();
        const Eigen::Isometry3d second = random.next();
        AppliedTransforms applied;
        applied.reset(3);
        applied.add(2, 1, Oracle::matrix(first.matrix()), true);
        applied.add(2, 1, Oracle::matrix(second.matrix()), true);
        QVERIFY(applied.isChanged(1));
        QVERIFY(!applied.isChanged(0));
        const Eigen::Matrix4d expected = (first * second).inverse().matrix();
        QVERIFY(Oracle::matrix(applied.discardTransform(2)).isApprox(expected, 1e-9));
    }

    void oneChangeNeedsNoCorrection()
    {
        RandomTransforms random(testSeed());
        AppliedTransforms applied;
        applied.reset(3);
        applied.add(3, 0, Oracle::matrix(random.next().matrix()), true);
        QVERIFY(!differs(applied.correctionAfterDiscard(3, 0), bsMatrix::identity()));
    }

    void discardAndCorrectionRestoreEveryBody()
    {
        RandomTransforms random(testSeed());
        for (int round = 0; round < 500; ++round) {
            // Bodies 0 and 1 of the list share number 1, as a standard body and a vimbar do.
            const int numbers[] = {1, 1, 2};
            Eigen::Isometry3d state[3];
            for (Eigen::Isometry3d &transform : state)
                transform = Eigen::Isometry3d::Identity();
            AppliedTransforms applied;
            applied.reset(3);
            const int writes = 1 + random.below(6);
            for (int i = 0; i < writes; ++i) {
                const int body = random.below(3);
                const Eigen::Isometry3d transform = random.next();
                applied.add(numbers[body], body, Oracle::matrix(transform.matrix()), true);
                state[body] = transform * state[body];
            }
            for (int body = 0; body < 3; ++body) {
                if (!applied.isChanged(body))
                    continue;
                const Eigen::Matrix4d restored =
                    Oracle::matrix(applied.correctionAfterDiscard(numbers[body], body)) *
                    Oracle::matrix(applied.discardTransform(numbers[body])) * state[body].matrix();
                QVERIFY(restored.isApprox(Eigen::Matrix4d::Identity(), 1e-8));
            }
        }
    }

    void whatTheControllerRefusedIsNotTakenBack()
    {
        RandomTransforms random(testSeed());
        const Eigen::Isometry3d refused = random.next();
        const Eigen::Isometry3d taken = random.next();
        AppliedTransforms applied;
        applied.reset(1);
        applied.add(1, 0, Oracle::matrix(refused.matrix()), false);
        applied.add(1, 0, Oracle::matrix(taken.matrix()), true);
        const Eigen::Matrix4d discard = Oracle::matrix(applied.discardTransform(1));
        QVERIFY(discard.isApprox((refused * taken).inverse().matrix(), 1e-9));
        const Eigen::Matrix4d identity = Eigen::Matrix4d::Identity();
        QVERIFY((Oracle::matrix(applied.correctionAfterDiscard(1, 0)) * discard * taken.matrix())
                    .isApprox(identity, 1e-8));
    }

    void aBodyBeyondTheCountsIsKeptToo()
    {
        AppliedTransforms applied;
        applied.reset(1);
        bsMatrix transform = bsMatrix::identity();
        transform.setColumn(3, bsVector(1.0, 2.0, 3.0), 1.0);
        applied.add(7, 5, transform, true);
        QVERIFY(applied.isChanged(5));
        QCOMPARE(applied.discardTransform(7).column(3).z, -3.0);
        applied.add(0, 0, transform, true);
        QVERIFY(!applied.isChanged(0));
    }
};

QUOREL2_TEST_MAIN(TestAppliedTransforms)
#include "tst_AppliedTransforms.moc"
