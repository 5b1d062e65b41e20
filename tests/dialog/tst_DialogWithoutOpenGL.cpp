#include "DialogFixture.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>

namespace {

QtMessageHandler s_testHandler = nullptr;

/// Passes on what is not about the limits of the platform without windows.
void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!text.startsWith(QLatin1String("This plugin does not support ")))
        s_testHandler(type, context, text);
}

} // namespace

class TestDialogWithoutOpenGL : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { s_testHandler = qInstallMessageHandler(handleMessage); }
    void cleanupTestCase() { qInstallMessageHandler(s_testHandler); }

    void theDialogSaysSoAndEverythingElseWorks()
    {
        DialogFixture fixture;
        fixture.makeDialog();
        QVERIFY(!fixture.canvas()->isValid());
        QTimer::singleShot(0, this, [&] {
            QVERIFY(fixture.child<QLabel>("error_label")->text().contains("OpenGL"));
            QVERIFY(fixture.child<QLabel>("error_label")->isVisible());
            fixture.choose(DialogFixture::Wand);
            QCOMPARE(fixture.child<QTableWidget>("tableWidget_data")->rowCount(), 6);
            auto *box = fixture.child<QWidget>("body_pos_xyzWidget")
                            ->findChildren<QDoubleSpinBox *>()
                            .first();
            box->setFocus();
            box->selectAll();
            QTest::keyClicks(box, "10\r");
            QCOMPARE(fixture.canvas()->body().undoCount(), 1);
            QTest::mouseClick(fixture.canvas(), Qt::LeftButton);
            fixture.dialog->toggled_show_COG();
            fixture.child<QPushButton>("apply_button")->click();
            QCOMPARE(fixture.host.transcript.filter("body transform").size(), 1);
            fixture.child<QPushButton>("ok_button")->click();
        });
        fixture.dialog->update_and_exec();
    }
};

QUOREL2_TEST_MAIN(TestDialogWithoutOpenGL)
#include "tst_DialogWithoutOpenGL.moc"
