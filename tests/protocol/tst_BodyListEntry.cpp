#include <protocol/BodyListEntry.h>

#include <tests/support/TestMain.h>

#include <QtTest>

class tst_BodyListEntry : public QObject {
    Q_OBJECT

private slots:
    void joinsItsFieldsByBars_data();
    void joinsItsFieldsByBars();
    void readsItsTextBack_data();
    void readsItsTextBack();
    void isEmptyAfterATextOfTooFewFields_data();
    void isEmptyAfterATextOfTooFewFields();
    void showsDescriptionTypeAndNumber_data();
    void showsDescriptionTypeAndNumber();
};

void tst_BodyListEntry::joinsItsFieldsByBars_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("calibrated");
    QTest::addColumn<QString>("targetType");
    QTest::addColumn<QString>("expected");

    QTest::newRow("calibrated") << "standard" << 3 << true << "tt_std"
                                << "standard|3|calibrated|tt_std";
    QTest::newRow("uncalibrated") << "vimbar" << 12 << false << "tt_5dof"
                                  << "vimbar|12|uncalibrated|tt_5dof";
    QTest::newRow("type as the controller spells it") << "Standard" << 1 << true << "tt_std"
                                                      << "Standard|1|calibrated|tt_std";
    QTest::newRow("no target type") << "standard" << 1 << true << ""
                                    << "standard|1|calibrated|";
    QTest::newRow("place markers are plain text") << "%1" << 1 << true << "%2"
                                                  << "%1|1|calibrated|%2";
}

void tst_BodyListEntry::joinsItsFieldsByBars()
{
    QFETCH(QString, type);
    QFETCH(int, number);
    QFETCH(bool, calibrated);
    QFETCH(QString, targetType);
    const BodyListEntry entry{type, number, calibrated, targetType};
    QTEST(entry.toText(), "expected");
}

void tst_BodyListEntry::readsItsTextBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("calibrated");
    QTest::addColumn<QString>("targetType");

    QTest::newRow("calibrated") << "standard|3|calibrated|tt_std"
                                << "standard" << 3 << true << "tt_std";
    QTest::newRow("uncalibrated") << "vimbar|12|uncalibrated|tt_5dof"
                                  << "vimbar" << 12 << false << "tt_5dof";
    QTest::newRow("case of the calibration word counts") << "standard|3|Calibrated|tt_std"
                                                         << "standard" << 3 << false << "tt_std";
    QTest::newRow("calibration word with a blank") << "standard|3|calibrated |tt_std"
                                                   << "standard" << 3 << false << "tt_std";
    QTest::newRow("empty fields") << "|||"
                                  << "" << 0 << false << "";
    QTest::newRow("more fields") << "standard|3|calibrated|tt_std|more"
                                 << "standard" << 3 << true << "tt_std";
    QTest::newRow("number is no number") << "standard|three|calibrated|tt_std"
                                         << "standard" << 0 << true << "tt_std";
    QTest::newRow("number is not decimal") << "standard|0x3|calibrated|tt_std"
                                           << "standard" << 0 << true << "tt_std";
    QTest::newRow("number with a leading zero") << "standard|010|calibrated|tt_std"
                                                << "standard" << 10 << true << "tt_std";
    QTest::newRow("number too large") << "standard|99999999999|calibrated|tt_std"
                                      << "standard" << 0 << true << "tt_std";
    QTest::newRow("negative number") << "standard|-1|calibrated|tt_std"
                                     << "standard" << -1 << true << "tt_std";
}

void tst_BodyListEntry::readsItsTextBack()
{
    QFETCH(QString, text);
    BodyListEntry entry{QStringLiteral("before"), 77, true, QStringLiteral("before")};
    QVERIFY(BodyListEntry::fromText(text, &entry));
    QTEST(entry.type, "type");
    QTEST(entry.number, "number");
    QTEST(entry.calibrated, "calibrated");
    QTEST(entry.targetType, "targetType");
}

void tst_BodyListEntry::isEmptyAfterATextOfTooFewFields_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << "";
    QTest::newRow("one field") << "standard";
    QTest::newRow("two fields") << "standard|3";
    QTest::newRow("three fields") << "standard|3|calibrated";
    QTest::newRow("three empty fields") << "||";
}

void tst_BodyListEntry::isEmptyAfterATextOfTooFewFields()
{
    QFETCH(QString, text);
    BodyListEntry entry{QStringLiteral("before"), 77, true, QStringLiteral("before")};
    QVERIFY(!BodyListEntry::fromText(text, &entry));
    QCOMPARE(entry.type, QString());
    QCOMPARE(entry.number, 0);
    QCOMPARE(entry.calibrated, false);
    QCOMPARE(entry.targetType, QString());
}

void tst_BodyListEntry::showsDescriptionTypeAndNumber_data()
{
    QTest::addColumn<QString>("typeDescription");
    QTest::addColumn<QString>("bodyDescription");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("expected");

    QTest::newRow("with a description") << "Standard body"
                                        << "Wand" << 3 << "Wand (Standard body 03)";
    QTest::newRow("without a description") << "Standard body"
                                           << "" << 3 << "Standard body 03";
    QTest::newRow("only quotes is no description") << "Standard body"
                                                   << "\"\"" << 3 << "Standard body 03";
    QTest::newRow("quotes are removed everywhere")
        << "\"Standard\" body\""
        << "\"Long \"Wand\"\"" << 3 << "Long Wand (Standard body 03)";
    QTest::newRow("single quotes stay") << "Standard body"
                                        << "'Wand'" << 3 << "'Wand' (Standard body 03)";
    QTest::newRow("a blank is a description") << "Standard body"
                                              << " " << 3 << "  (Standard body 03)";
    QTest::newRow("two digits") << "Standard body"
                                << "" << 12 << "Standard body 12";
    QTest::newRow("three digits") << "Standard body"
                                  << "" << 112 << "Standard body 112";
    QTest::newRow("place markers are plain text") << "%1 type"
                                                  << "%2 body" << 3 << "%2 body (%1 type 03)";
    QTest::newRow("no type description") << ""
                                         << "" << 3 << " 03";
}

void tst_BodyListEntry::showsDescriptionTypeAndNumber()
{
    QFETCH(QString, typeDescription);
    QFETCH(QString, bodyDescription);
    QFETCH(int, number);
    QTEST(bodyDisplayText(typeDescription, bodyDescription, number), "expected");
}

QUOREL2_TEST_MAIN(tst_BodyListEntry)
#include "tst_BodyListEntry.moc"
