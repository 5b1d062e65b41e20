#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/HelpDialog.h>

#include <QApplication>
#include <QPointer>
#include <QPushButton>
#include <QtTest>

class TestDialogHelp : public DialogTest {
    Q_OBJECT

private:
    static HelpDialog *openHelp()
    {
        return qobject_cast<HelpDialog *>(QApplication::activeModalWidget());
    }

private slots:
    void theHelpIsOpenAboveTheDialogUntilItIsClosed_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::addColumn<int>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::newRow("button, Alt+X")
            << false << int(Qt::Key_X) << Qt::KeyboardModifiers(Qt::AltModifier);
        QTest::newRow("button, Escape")
            << false << int(Qt::Key_Escape) << Qt::KeyboardModifiers(Qt::NoModifier);
        QTest::newRow("Alt+H, Alt+X")
            << true << int(Qt::Key_X) << Qt::KeyboardModifiers(Qt::AltModifier);
    }

    void theHelpIsOpenAboveTheDialogUntilItIsClosed()
    {
        QFETCH(bool, byKey);
        QFETCH(int, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().clearRecords();
            QPointer<HelpDialog> help;
            bool wasShown = false;
            whenModal<HelpDialog>([&](HelpDialog *opened) {
                help = opened;
                wasShown = true;
                QCOMPARE(opened->parentWidget(), static_cast<QWidget *>(dialog()));
                QVERIFY(opened->isModal());
                QCOMPARE(opened->size(), QSize(768, 350));
                QCOMPARE(opened->windowTitle(), QStringLiteral("Body Adjustment Help"));
                QVERIFY(dialog()->isVisible());
                // A slow window manager may give the focus away once more.
                bool closed = false;
                for (int attempt = 0; attempt < 5 && !closed; ++attempt) {
                    if (QTest::qWaitForWindowActive(opened))
                        QTest::keyClick(opened->windowHandle(), Qt::Key(key), modifiers);
                    closed = QTest::qWaitFor([&] { return !help || !help->isVisible(); }, 1000);
                    if (!closed)
                        opened->activateWindow();
                }
                if (!closed)
                    help->close();
                QVERIFY(closed);
            });
            if (byKey) {
                QTest::keyClick(dialog()->windowHandle(), Qt::Key_H, Qt::AltModifier);
                QTRY_VERIFY(wasShown);
            } else {
                fixture().click("help_button");
            }
            QVERIFY(wasShown);
            QTRY_VERIFY(!help);
            QVERIFY(dialog()->isVisible());
            QCOMPARE(canvas()->body().undoCount(), 1);
            QVERIFY(fixture().isEnabled("apply_button"));
            QVERIFY(host().transcript.isEmpty());
        });
    }

    void theHelpCanBeOpenedAgain()
    {
        fixture().session([&] {
            int opened = 0;
            for (int i = 0; i < 3; ++i) {
                whenModal<HelpDialog>([&](HelpDialog *help) {
                    ++opened;
                    help->close();
                });
                fixture().click("help_button");
                QVERIFY(!openHelp());
            }
            QCOMPARE(opened, 3);
            // Nothing is left of them.
            QVERIFY(dialog()->findChildren<HelpDialog *>().isEmpty());
        });
    }

    void theBodyIsFollowedWhileTheHelpIsOpen()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            goOnline();
            whenModal<HelpDialog>([&](HelpDialog *help) {
                QCOMPARE(host().deliver("6d", "6d 1 [1 1.000][1 2 3][0 1 0 -1 0 0 0 0 1]"), 0);
                QTRY_VERIFY(canvas()->isTracked());
                help->close();
            });
            fixture().click("help_button");
            QVERIFY(canvas()->isTracked());
        });
    }
};

QUOREL2_TEST_MAIN(TestDialogHelp)
#include "tst_DialogHelp.moc"
