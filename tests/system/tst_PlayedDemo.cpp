#include "ControllerProcess.h"

#include <tests/support/TestMain.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <Eigen/Geometry>

#include <cstdlib>
#include <functional>
#include <memory>

namespace {

using Position = std::array<double, 3>;

constexpr int kLimitMs = 240000;
/// The bodies that the demonstration adjusts in the built-in scenario: the first one, and one that
/// stands askew in the room.
const char kFirst[] = "standard b01";
const char kSecond[] = "standard b09";

const QStringList kPictures = {"01-main-window.png",
                               "02-menu.png",
                               "03-dialog.png",
                               "04-body-list.png",
                               "05-body-chosen.png",
                               "06-origin-to-cog.png",
                               "07-turn-typed.png",
                               "08-turned.png",
                               "09-applied.png",
                               "10-closed.png",
                               "11-second-menu.png",
                               "12-second-dialog.png",
                               "13-still-body-list.png",
                               "14-still-body-chosen.png",
                               "15-view-reset.png",
                               "16-first-marker-picked.png",
                               "17-second-marker-picked.png",
                               "18-set-axis-dialog.png",
                               "19-axis-list.png",
                               "20-axis-chosen.png",
                               "21-axis-set.png",
                               "22-axis-undone.png",
                               "23-axis-redone.png",
                               "24-view-menu.png",
                               "25-line-added.png",
                               "26-view-menu-again.png",
                               "27-data-view.png",
                               "28-table-menu.png",
                               "29-graphic-view.png",
                               "30-moving-body-list.png",
                               "31-apply-question.png",
                               "32-moving-body-shown.png",
                               "33-online.png",
                               "34-online-followed.png",
                               "35-still-body-list-again.png",
                               "36-still-body-online.png",
                               "37-axes-to-room.png",
                               "38-applied-again.png",
                               "39-closed-again.png"};

Eigen::Vector3d toEigen(const Position &p)
{
    return {p[0], p[1], p[2]};
}

double largestDifference(const QVector<Position> &held, const QVector<Eigen::Vector3d> &wanted)
{
    if (held.size() != wanted.size())
        return std::numeric_limits<double>::infinity();
    double largest = 0.0;
    for (int i = 0; i < held.size(); ++i)
        largest = std::max(largest, (toEigen(held[i]) - wanted[i]).cwiseAbs().maxCoeff());
    return largest;
}

/// What a transform command does to a point.
struct Transform {
    explicit Transform(const QByteArray &line)
    {
        const QList<QByteArray> words = line.split(' ');
        for (int i = 0; i < 3; ++i)
            translation[i] = words.value(words.size() - 12 + i).toDouble();
        for (int i = 0; i < 9; ++i)
            rotation(i % 3, i / 3) = words.value(words.size() - 9 + i).toDouble();
    }
    Eigen::Matrix3d rotation;
    Eigen::Vector3d translation;
};

/// The share of the pixels that differ visibly; 1 for pictures of different size.
double changedShare(const QImage &a, const QImage &b)
{
    if (a.size() != b.size() || a.isNull())
        return 1.0;
    int changed = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QColor p = a.pixelColor(x, y);
            const QColor q = b.pixelColor(x, y);
            if (std::abs(p.red() - q.red()) + std::abs(p.green() - q.green()) +
                    std::abs(p.blue() - q.blue()) >
                40)
                ++changed;
        }
    }
    return double(changed) / (double(a.width()) * a.height());
}

/// How many pixels have that colour in the second picture and another one in the first.
int newPixels(const QImage &before, const QImage &after, QRgb colour)
{
    int count = 0;
    for (int y = 0; y < after.height(); ++y) {
        for (int x = 0; x < after.width(); ++x) {
            if (after.pixel(x, y) == colour && before.pixel(x, y) != colour)
                ++count;
        }
    }
    return count;
}

double blackShare(const QImage &image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) == qRgb(0, 0, 0) ? 1 : 0;
    }
    return double(count) / (double(image.width()) * image.height());
}

/// Plays the demonstration in a process of its own.
struct Played {
    explicit Played(const QStringList &arguments)
    {
        QProcess host;
        host.setProcessChannelMode(QProcess::MergedChannels);
        host.start(QStringLiteral(QUOREL2_BUILD_DIR "/bin/quorel2-host"),
                   QStringList{"--plugin", QUOREL2_BUILD_DIR "/plugins/libBodyAdjustmentModule.so",
                               "--demo", folder.filePath("out")} +
                       arguments);
        const bool ended = host.waitForFinished(kLimitMs);
        output = host.readAll();
        if (ended && host.exitStatus() == QProcess::NormalExit)
            exitCode = host.exitCode();
    }

    QByteArray file(const QString &name) const
    {
        QFile opened(folder.filePath("out/" + name));
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
    }
    QImage picture(int number) const
    {
        return QImage(folder.filePath("out/" + kPictures.at(number - 1)))
            .convertToFormat(QImage::Format_RGB32);
    }
    QStringList pictures() const
    {
        return QDir(folder.filePath("out")).entryList({"*.png"}, QDir::Files, QDir::Name);
    }
    QList<QByteArray> transforms() const
    {
        QList<QByteArray> result;
        for (const QByteArray &line : file("transcript.txt").split('\n')) {
            if (line.startsWith("> quorel2 body transform "))
                result.append(line.mid(2));
        }
        return result;
    }

    QTemporaryDir folder;
    QByteArray output;
    int exitCode = -1;
};

} // namespace

class TestPlayedDemo : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Played> m_played; ///< on the embedded controller

private slots:
    void initTestCase()
    {
        m_played = std::make_unique<Played>(QStringList());
        QVERIFY2(m_played->exitCode == 0, m_played->output.constData());
    }

    void everyStepLeavesItsPicture()
    {
        QCOMPARE(m_played->pictures(), kPictures);
        for (int number = 1; number <= kPictures.size(); ++number) {
            const QImage picture = m_played->picture(number);
            QVERIFY2(picture.width() > 300 && picture.height() > 200,
                     qPrintable(kPictures.at(number - 1)));
        }
        // It says so when it cannot see the view.
        QVERIFY2(!m_played->output.contains("shows nothing"), m_played->output.constData());
    }

    void thePickedMarkersAreOutlined()
    {
        QVERIFY(newPixels(m_played->picture(15), m_played->picture(16), qRgb(255, 255, 255)) > 50);
        QVERIFY(newPixels(m_played->picture(16), m_played->picture(17), qRgb(128, 128, 128)) > 50);
    }

    void undoAndRedoAreSeen()
    {
        const QImage before = m_played->picture(17);
        const QImage set = m_played->picture(21);
        QVERIFY(changedShare(before, set) > 0.02);
        // But for the buttons, the pictures are the same.
        QVERIFY(changedShare(before, m_played->picture(22)) < 0.005);
        QVERIFY(changedShare(set, m_played->picture(23)) < 0.005);
    }

    void theLineIsSeen()
    {
        const double share = changedShare(m_played->picture(23), m_played->picture(25));
        QVERIFY2(share > 0.002 && share < 0.05, qPrintable(QString::number(share)));
    }

    void theDataViewTakesThePlaceOfTheView()
    {
        QVERIFY(blackShare(m_played->picture(25)) > 0.2);
        QVERIFY(blackShare(m_played->picture(27)) < 0.05);
        QVERIFY(changedShare(m_played->picture(25), m_played->picture(29)) < 0.001);
    }

    void theViewFollowsTheMovingBody()
    {
        QVERIFY(changedShare(m_played->picture(32), m_played->picture(33)) > 0.01);
        QVERIFY(changedShare(m_played->picture(33), m_played->picture(34)) > 0.01);
    }

    void theAxesTurnToTheRoom()
    {
        QVERIFY(changedShare(m_played->picture(36), m_played->picture(37)) > 0.01);
        // Shown as it is tracked, the body stays where it is when its definition changes.
        QVERIFY(changedShare(m_played->picture(37), m_played->picture(38)) < 0.005);
    }

    void everyExchangeIsInTheTranscript()
    {
        const QList<QByteArray> lines = m_played->file("transcript.txt").split('\n');
        QVERIFY(lines.size() > 300);
        for (const QByteArray &line : lines)
            QVERIFY2(line.isEmpty() || line.startsWith("> ") || line.startsWith("< "),
                     line.constData());
    }

    void eachAdjustmentIsWritten()
    {
        const QList<QByteArray> transforms = m_played->transforms();
        QCOMPARE(transforms.size(), 3);
        const QRegularExpression format("^quorel2 body transform standard b0\\d"
                                        "( -?\\d+\\.\\d{3}){3}( -?\\d\\.\\d{8}){9}$");
        for (const QByteArray &transform : transforms)
            QVERIFY2(format.match(QString::fromLatin1(transform)).hasMatch(),
                     transform.constData());
        QVERIFY(transforms[0].contains(" standard b01 "));
        QVERIFY(transforms[0].contains(" 0.86602540 -0.50000000 "));
        QVERIFY(transforms[1].contains(" standard b09 "));
        QVERIFY(transforms[2].contains(" standard b09 "));
    }

    void theControllerHoldsWhatItShould()
    {
        // On a controller that can be asked before and afterwards.
        ControllerProcess controller;
        QVERIFY(controller.start());
        const QVector<Position> first = controller.markers(kFirst);
        const QVector<Position> second = controller.markers(kSecond);
        QVERIFY(first.size() >= 4 && second.size() >= 4);
        const Played played({"--controller", controller.address()});
        QVERIFY2(played.exitCode == 0, played.output.constData());

        Eigen::Vector3d centre = Eigen::Vector3d::Zero();
        for (const Position &p : first)
            centre += toEigen(p) / first.size();
        const double degrees = EIGEN_PI / 180.0;
        const Eigen::AngleAxisd turn(30.0 * degrees, Eigen::Vector3d::UnitZ());
        QVector<Eigen::Vector3d> wanted;
        for (const Position &p : first)
            wanted.append(turn.inverse() * (toEigen(p) - centre));
        QVERIFY(largestDifference(controller.markers(kFirst), wanted) < 0.002);

        // The axis in between: z from one marker to another, x as near as can be to where it was.
        const QList<QByteArray> transforms = played.transforms();
        QCOMPARE(transforms.size(), 3);
        const Transform axis(transforms[1]);
        QVERIFY(axis.translation.norm() < 1e-9);
        int pairs = 0;
        for (const Position &from : second) {
            for (const Position &to : second) {
                const Eigen::Vector3d along = axis.rotation * (toEigen(to) - toEigen(from));
                if (along.z() > 1.0 && along.head<2>().norm() < 1e-4)
                    ++pairs;
            }
        }
        QCOMPARE(pairs, 1);
        const Eigen::Vector3d x = axis.rotation * Eigen::Vector3d::UnitX();
        QVERIFY(x.x() > 0.1 && std::abs(x.y()) < 1e-6);

        // In the end the body has the room's axes: its markers are turned as it stands there.
        const Eigen::Matrix3d place = (Eigen::AngleAxisd(35.0 * degrees, Eigen::Vector3d::UnitX()) *
                                       Eigen::AngleAxisd(40.0 * degrees, Eigen::Vector3d::UnitY()) *
                                       Eigen::AngleAxisd(-25.0 * degrees, Eigen::Vector3d::UnitZ()))
                                          .toRotationMatrix();
        wanted.clear();
        for (const Position &p : second)
            wanted.append(place * toEigen(p));
        QVERIFY(largestDifference(controller.markers(kSecond), wanted) < 0.002);
    }

    void whatThereIsNoBodyForIsLeftOut_data()
    {
        QTest::addColumn<int>("bodies");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("told");
        QTest::addColumn<int>("transforms");
        QTest::newRow("no body") << 0 << 1 << QByteArray("The list of bodies is empty.") << 0;
        QTest::newRow("one body") << 1 << 0 << QByteArray("The second adjustment was left out")
                                  << 1;
        QTest::newRow("none that moves")
            << 2 << 0 << QByteArray("Following a moving body was left out") << 3;
    }

    void whatThereIsNoBodyForIsLeftOut()
    {
        QFETCH(int, bodies);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, told);
        QFETCH(int, transforms);
        QList<QByteArray> texts;
        for (int i = 0; i < bodies; ++i)
            texts.append(R"({"type": "standard", "targetType": "tt_std", "motion": "still",
                             "markers": [[0, 0, 0], [80, 60, 0], [-80, 30, 5], [10, -70, 15]]})");
        QTemporaryDir folder;
        QFile scenario(folder.filePath("still.json"));
        QVERIFY(scenario.open(QIODevice::WriteOnly));
        scenario.write("{\"extends\": \"default\", \"bodies\": [" + texts.join(",") + "]}");
        scenario.close();
        const Played played({"--scenario", scenario.fileName()});
        QVERIFY2(played.exitCode == exitCode, played.output.constData());
        QVERIFY2(played.output.contains(told), played.output.constData());
        QCOMPARE(played.output.count("holds the expected definition"), bodies);
        QCOMPARE(played.transforms().size(), transforms);
    }

    void aRefusedTransformEndsItWithOne_data()
    {
        QTest::addColumn<int>("transform");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("of the first body")
            << 0 << QByteArray("does not hold the expected definition of standard body 1");
        QTest::newRow("of the axis")
            << 1 << QByteArray("does not hold the expected definition of standard body 9");
        QTest::newRow("of the alignment with the room")
            << 2 << QByteArray("The controller reports the body's rotation 0.");
    }

    void aRefusedTransformEndsItWithOne()
    {
        QFETCH(int, transform);
        QFETCH(QByteArray, told);
        // The bodies stand as they did, so the command will be the same.
        const QList<QByteArray> transforms = m_played->transforms();
        QCOMPARE(transforms.size(), 3);
        QTemporaryDir folder;
        QFile scenario(folder.filePath("refusing.json"));
        QVERIFY(scenario.open(QIODevice::WriteOnly));
        scenario.write("{\"extends\": \"default\", \"faults\": {\"requests\": [{\"request\": \"" +
                       transforms[transform] + "\", \"kind\": \"error\"}]}}");
        scenario.close();
        const Played played({"--scenario", scenario.fileName()});
        QCOMPARE(played.exitCode, 1);
        QVERIFY2(played.output.contains(told), played.output.constData());
        QVERIFY(played.pictures().contains("failed.png"));
    }
};

QUOREL2_TEST_MAIN(TestPlayedDemo)
#include "tst_PlayedDemo.moc"
