#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QDoubleSpinBox>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QRegularExpression>
#include <QtTest>

#include <Eigen/Dense>

#include <random>

Q_DECLARE_METATYPE(Emission)

namespace {

const char *const kComponents[] = {"ex", "ey", "ez"};

} // namespace

/// The tab is taken out of the form; its fields still work.
class TestEmissionTab : public DialogTest {
    Q_OBJECT

private:
    QDoubleSpinBox *field(const char *component)
    {
        const QByteArray name = QByteArray("doubleSpinBox_") + component;
        return fixture().child<QDoubleSpinBox>(name.constData());
    }
    QStringList labels()
    {
        QStringList texts;
        for (const char *component : kComponents) {
            const QByteArray name = QByteArray("label_") + component;
            texts.append(fixture().child<QLabel>(name.constData())->text());
        }
        return texts;
    }
    /// What all markers emit; fails the test if they differ.
    Emission emission()
    {
        const QList<MarkerRecord> records = canvas()->markerRecords();
        for (const MarkerRecord &record : records) {
            const Emission &first = records.first().emission;
            const bool same = record.emission.x == first.x && record.emission.y == first.y &&
                              record.emission.z == first.z &&
                              record.emission.angleDeg == first.angleDeg;
            if (!same)
                QTest::qFail("The markers emit in different directions.", __FILE__, __LINE__);
        }
        return records.isEmpty() ? Emission() : records.first().emission;
    }
    Eigen::Vector3d direction()
    {
        const Emission e = emission();
        return Eigen::Vector3d(e.x, e.y, e.z);
    }

private slots:
    void initTestCase() { dropWindowlessWarnings(); }

    void eachFieldAloneReachesTheMarkersAtOnce_data()
    {
        QTest::addColumn<QByteArray>("component");
        QTest::addColumn<QStringList>("expectedLabels");
        QTest::addColumn<Emission>("expected");
        QTest::newRow("x") << QByteArray("ex") << QStringList{"1.000", "0.000", "0.000"}
                           << Emission{1, 0, 0, 0};
        QTest::newRow("y") << QByteArray("ey") << QStringList{"0.000", "1.000", "0.000"}
                           << Emission{0, 1, 0, 0};
        QTest::newRow("z") << QByteArray("ez") << QStringList{"0.000", "0.000", "1.000"}
                           << Emission{0, 0, 1, 0};
        QTest::newRow("angle") << QByteArray("alpha") << QStringList{"0.000", "0.000", "0.000"}
                               << Emission{0, 0, 0, 2.5};
    }

    void eachFieldAloneReachesTheMarkersAtOnce()
    {
        QFETCH(QByteArray, component);
        QFETCH(QStringList, expectedLabels);
        QFETCH(Emission, expected);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(labels(), (QStringList{"1.00", "1.00", "1.00"}));
            field(component.constData())->setValue(2.5);
            QCOMPARE(labels(), expectedLabels);
            const Emission e = emission();
            QCOMPARE(e.x, expected.x);
            QCOMPARE(e.y, expected.y);
            QCOMPARE(e.z, expected.z);
            QCOMPARE(e.angleDeg, expected.angleDeg);
            QCOMPARE(canvas()->body().markerCount(), 6);
        });
    }

    void theSlotsTakeTheFieldsAndNotTheirArgument()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            field("ey")->setValue(4.0);
            field("alpha")->setValue(33.25);
            const QVector<void (BodyAdjustmentDialog::*)(double)> slotsOfTheFields = {
                &BodyAdjustmentDialog::on_doubleSpinBox_ex_valueChanged,
                &BodyAdjustmentDialog::on_doubleSpinBox_ey_valueChanged,
                &BodyAdjustmentDialog::on_doubleSpinBox_ez_valueChanged,
                &BodyAdjustmentDialog::on_doubleSpinBox_alpha_valueChanged};
            for (const auto slot : slotsOfTheFields) {
                canvas()->setAllEmissions(0.0, 0.0, 0.0, 0.0);
                (dialog()->*slot)(99.0);
                QCOMPARE(direction(), Eigen::Vector3d(0, 1, 0));
                QCOMPARE(emission().angleDeg, 33.25);
                QCOMPARE(labels(), (QStringList{"0.000", "1.000", "0.000"}));
            }
        });
    }

    void theDirectionIsNormalisedAndShownWithThreeDecimals()
    {
        std::mt19937 random(testSeed());
        std::uniform_real_distribution<double> number(-1000.0, 1000.0);
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            for (int i = 0; i < 100; ++i) {
                const double scale = i % 2 ? 1.0 : 0.001;
                for (const char *component : kComponents)
                    field(component)->setValue(number(random) * scale);
                const Eigen::Vector3d given(field("ex")->value(), field("ey")->value(),
                                            field("ez")->value());
                const Eigen::Vector3d expected = given.normalized();
                QVERIFY((direction() - expected).norm() < 1e-12);
                QCOMPARE(labels(), (QStringList{QString::number(expected.x(), 'f', 3),
                                                QString::number(expected.y(), 'f', 3),
                                                QString::number(expected.z(), 'f', 3)}));
            }
        });
    }

    void theLabelsHaveAPointInEveryLanguage()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            for (const char *component : kComponents)
                field(component)->setValue(1.0);
            QCOMPARE(labels(), (QStringList{"0.577", "0.577", "0.577"}));
        });
        QLocale::setDefault(before);
    }

    void withoutABodyThereIsOnlyTheTextOfTheLabels()
    {
        fixture().quickSession([&] {
            host().clearRecords();
            field("ex")->setValue(3.0);
            field("ez")->setValue(4.0);
            QCOMPARE(labels(), (QStringList{"0.600", "0.000", "0.800"}));
            QVERIFY(!canvas()->isBodyLoaded());
            QVERIFY(host().transcript.isEmpty());
            // A body comes with its own emissions.
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(canvas()->markerRecords().at(1).emission.y, 1.0);
            QCOMPARE(canvas()->markerRecords().at(2).emission.x, 1.0);
        });
    }

    void whatIsWrittenBackIsWhatWasRead()
    {
        fixture().quickSession([&] {
            fixture().choose(DialogFixture::Wand);
            field("ex")->setValue(1.0);
            field("alpha")->setValue(12.0);
            host().clearRecords();

            // Turned on the controller, and not read again.
            auto *turn = fixture().child<xyzWidget>("body_ori_xyzWidget");
            turn->findChildren<bsDoubleWidget *>().at(2)->adjustValue(90.0);
            turn->finishEditing();
            host().failLine("get body number_of_marker standard b01");
            fixture().child<QPushButton>("apply_button")->click();
            host().clearFaults();
            // The view goes on with what was set, turned too.
            QVERIFY((direction() - Eigen::Vector3d(0, -1, 0)).norm() < 1e-9);
            QCOMPARE(emission().angleDeg, 12.0);

            canvas()->select(canvas()->body().markers().at(5));
            fixture().answers = {QMessageBox::Ok};
            fixture().child<QPushButton>("pushButton_deleteMarker")->click();
            fixture().child<QPushButton>("undo_button")->click();
            QStringList written = host().transcript.filter("set body marker_emission");
            written.replaceInStrings("-0.000", "0.000");
            QCOMPARE(written.size(), 6);
            QCOMPARE(written.at(0), QStringLiteral("set body marker_emission standard b01 m01 "
                                                   "0.000 0.000 1.000 60.000"));
            QCOMPARE(written.at(1), QStringLiteral("set body marker_emission standard b01 m02 "
                                                   "1.000 0.000 0.000 60.000"));
            QCOMPARE(written.at(2), QStringLiteral("set body marker_emission standard b01 m03 "
                                                   "0.000 -1.000 0.000 60.000"));
        });
        QCOMPARE(host().emissions("standard", 1).at(1).angleDeg, 60.0);
    }
};

QUOREL2_TEST_MAIN(TestEmissionTab)
#include "tst_EmissionTab.moc"
