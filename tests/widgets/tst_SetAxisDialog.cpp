#include "FormChecks.h"

#include <tests/support/TestMain.h>
#include <widgets/SetAxisDialog.h>

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QMetaMethod>
#include <QPushButton>
#include <QScopedPointer>
#include <QWheelEvent>
#include <QtTest>

Q_DECLARE_METATYPE(abcAxis)

namespace {

using AxisPair = QPair<int, int>;

QStringList itemTexts(const QComboBox *box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts += box->itemText(i);
    return texts;
}

} // namespace

class tst_SetAxisDialog : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void formIsAsNamed_data();
    void formIsAsNamed();
    void layoutsAreAsNamed();
    void textsAreTranslatedInTheFormsContext();
    void slotsAreDeclaredInOrder();

    void unchangedItSetsXAndKeepsY();
    void eachChoiceShowsTheThirdAxis_data();
    void eachChoiceShowsTheThirdAxis();
    void theKeyboardChoosesAsWell();
    void choosingAnotherAxisToSetOffersTheLowerOneFirst();
    void anIndexThatIsNoAxisOffersNothing();
    void choosingNoAxisToPreserveChangesNothing();
    void theCalculatedAxisCannotBeChosen();
    void translatedAxesAreStillUnderstood();

    void okAcceptsBeforeItTells();
    void cancelTellsNothing_data();
    void cancelTellsNothing();
    void returnConfirmsFromEveryBox_data();
    void returnConfirmsFromEveryBox();
    void scrollingPastABoxChangesNothing();
    void reopenedItKeepsTheChoice();
    void tabRunsFromTopToBottom();
    void longTextsAreNotClipped();

private:
    QComboBox *box(const char *name) const
    {
        return m_dialog->findChild<QComboBox *>(QLatin1String(name));
    }
    QPushButton *button(const char *name) const
    {
        return m_dialog->findChild<QPushButton *>(QLatin1String(name));
    }
    void show()
    {
        m_dialog->show();
        m_dialog->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.data()));
    }
    void listen()
    {
        connect(m_dialog.data(), &SetAxisDialog::setAxis, this,
                [this](abcAxis axisToSet, abcAxis axisToKeep) {
                    m_pairs += AxisPair(axisToSet, axisToKeep);
                });
    }

    QScopedPointer<SetAxisDialog> m_dialog;
    QList<AxisPair> m_pairs;
};

void tst_SetAxisDialog::init()
{
    m_pairs.clear();
    m_dialog.reset(new SetAxisDialog(nullptr));
    listen();
}

void tst_SetAxisDialog::cleanup()
{
    m_dialog.reset();
}

void tst_SetAxisDialog::formIsAsNamed_data()
{
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("whatsThis");
    const auto row = [](const char *name, const char *className, const char *text,
                        const char *whatsThis) {
        QTest::newRow(name) << QString::fromLatin1(className) << QString::fromLatin1(text)
                            << QString::fromLatin1(whatsThis);
    };
    row("label", "QLabel", "set axis relative to markers:", "");
    row("line", "QFrame", "", "");
    row("label_2", "QLabel", "axis to set:", "");
    row("axisToSetComboBox", "QComboBox", "", "Set this axis as the direction of the two markers");
    row("label_3", "QLabel", "axis to preserve:", "");
    row("axisToPreserveComboBox", "QComboBox", "", "Set this axis to be preserved");
    row("label_4", "QLabel", "axis to calculate:", "");
    row("axisToCalculateComboBox", "QComboBox", "", "Set this axis to be calculated");
    row("pushButton_ok", "QPushButton", "OK", "Accept changes and close the dialog");
    row("pushButton_cancel", "QPushButton", "Cancel", "Close the dialog");
}

void tst_SetAxisDialog::formIsAsNamed()
{
    QFETCH(QString, className);
    QFETCH(QString, text);
    QFETCH(QString, whatsThis);
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("Body Adjustment"));
    QCOMPARE(m_dialog->whatsThis(), QStringLiteral("Set axes dialog"));
    const auto *widget =
        m_dialog->findChild<QWidget *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(widget);
    QCOMPARE(QString::fromLatin1(widget->metaObject()->className()), className);
    QCOMPARE(widget->property("text").toString(), text);
    QCOMPARE(widget->whatsThis(), whatsThis);
}

void tst_SetAxisDialog::layoutsAreAsNamed()
{
    for (const char *name : {"gridLayout_2", "gridLayout"})
        QVERIFY2(m_dialog->findChild<QGridLayout *>(QLatin1String(name)), name);
    for (const char *name : {"horizontalLayout", "horizontalLayout_2"})
        QVERIFY2(m_dialog->findChild<QBoxLayout *>(QLatin1String(name)), name);
    QCOMPARE(m_dialog->layout()->objectName(), QStringLiteral("gridLayout_2"));
}

void tst_SetAxisDialog::textsAreTranslatedInTheFormsContext()
{
    MarkingTranslator translator("SetAxisDialogClass");
    const InstalledTranslator installed(&translator);
    const SetAxisDialog dialog(nullptr);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("*Body Adjustment"));
    QCOMPARE(dialog.findChild<QLabel *>(QStringLiteral("label_4"))->text(),
             QStringLiteral("*axis to calculate:"));
    QCOMPARE(dialog.findChild<QPushButton *>(QStringLiteral("pushButton_ok"))->text(),
             QStringLiteral("*OK"));
}

void tst_SetAxisDialog::slotsAreDeclaredInOrder()
{
    const QMetaObject &meta = SetAxisDialog::staticMetaObject;
    QList<QByteArray> signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        signatures += meta.method(i).methodSignature();
    QCOMPARE(signatures, QList<QByteArray>({"setAxis(abcAxis,abcAxis)", "onAxisToSetChoice(int)",
                                            "onAxisToPreserveChoice(int)", "validateSetAxis()"}));
}

void tst_SetAxisDialog::unchangedItSetsXAndKeepsY()
{
    QCOMPARE(itemTexts(box("axisToSetComboBox")),
             QStringList({QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z")}));
    QCOMPARE(itemTexts(box("axisToPreserveComboBox")),
             QStringList({QStringLiteral("Y"), QStringLiteral("Z")}));
    QCOMPARE(itemTexts(box("axisToCalculateComboBox")),
             QStringList({QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z")}));
    QCOMPARE(box("axisToSetComboBox")->currentText(), QStringLiteral("X"));
    QCOMPARE(box("axisToPreserveComboBox")->currentText(), QStringLiteral("Y"));
    QCOMPARE(box("axisToCalculateComboBox")->currentText(), QStringLiteral("Z"));
    show();
    QTest::mouseClick(button("pushButton_ok"), Qt::LeftButton);
    QCOMPARE(m_pairs, QList<AxisPair>{AxisPair(X, Y)});
}

void tst_SetAxisDialog::eachChoiceShowsTheThirdAxis_data()
{
    QTest::addColumn<int>("axisToSet");
    QTest::addColumn<QStringList>("offered");
    QTest::addColumn<int>("preserveIndex");
    QTest::addColumn<int>("axisToKeep");
    QTest::addColumn<int>("calculated");
    const QStringList yz = {QStringLiteral("Y"), QStringLiteral("Z")};
    const QStringList xz = {QStringLiteral("X"), QStringLiteral("Z")};
    const QStringList xy = {QStringLiteral("X"), QStringLiteral("Y")};
    QTest::newRow("set X, keep Y") << 0 << yz << 0 << 1 << 2;
    QTest::newRow("set X, keep Z") << 0 << yz << 1 << 2 << 1;
    QTest::newRow("set Y, keep X") << 1 << xz << 0 << 0 << 2;
    QTest::newRow("set Y, keep Z") << 1 << xz << 1 << 2 << 0;
    QTest::newRow("set Z, keep X") << 2 << xy << 0 << 0 << 1;
    QTest::newRow("set Z, keep Y") << 2 << xy << 1 << 1 << 0;
}

void tst_SetAxisDialog::eachChoiceShowsTheThirdAxis()
{
    QFETCH(int, axisToSet);
    QFETCH(QStringList, offered);
    QFETCH(int, preserveIndex);
    QFETCH(int, axisToKeep);
    QFETCH(int, calculated);
    // From each of the other starting points.
    for (int before = 0; before < 3; ++before) {
        m_pairs.clear();
        box("axisToSetComboBox")->setCurrentIndex(before);
        box("axisToPreserveComboBox")->setCurrentIndex(1);
        box("axisToSetComboBox")->setCurrentIndex(axisToSet);
        QCOMPARE(itemTexts(box("axisToPreserveComboBox")), offered);
        box("axisToPreserveComboBox")->setCurrentIndex(preserveIndex);
        QCOMPARE(box("axisToCalculateComboBox")->currentIndex(), calculated);
        show();
        QTest::mouseClick(button("pushButton_ok"), Qt::LeftButton);
        QCOMPARE(m_pairs, QList<AxisPair>{AxisPair(axisToSet, axisToKeep)});
    }
}

void tst_SetAxisDialog::theKeyboardChoosesAsWell()
{
    show();
    box("axisToSetComboBox")->setFocus();
    QTest::keyClick(box("axisToSetComboBox"), Qt::Key_Down);
    box("axisToPreserveComboBox")->setFocus();
    QTest::keyClick(box("axisToPreserveComboBox"), Qt::Key_Down);
    QCOMPARE(box("axisToCalculateComboBox")->currentText(), QStringLiteral("X"));
    QTest::keyClick(box("axisToPreserveComboBox"), Qt::Key_Return);
    QCOMPARE(m_pairs, QList<AxisPair>{AxisPair(Y, Z)});
}

void tst_SetAxisDialog::choosingAnotherAxisToSetOffersTheLowerOneFirst()
{
    box("axisToPreserveComboBox")->setCurrentIndex(1);
    box("axisToSetComboBox")->setCurrentIndex(Z);
    QCOMPARE(box("axisToPreserveComboBox")->currentText(), QStringLiteral("X"));
    QCOMPARE(box("axisToCalculateComboBox")->currentText(), QStringLiteral("Y"));
}

void tst_SetAxisDialog::anIndexThatIsNoAxisOffersNothing()
{
    for (const int index : {-1, 3}) {
        m_dialog->onAxisToSetChoice(index);
        QCOMPARE(box("axisToPreserveComboBox")->count(), 0);
        m_dialog->validateSetAxis();
        QCOMPARE(m_pairs, QList<AxisPair>());
    }
    m_dialog->onAxisToSetChoice(X);
    QCOMPARE(itemTexts(box("axisToPreserveComboBox")),
             QStringList({QStringLiteral("Y"), QStringLiteral("Z")}));
    QCOMPARE(box("axisToCalculateComboBox")->currentText(), QStringLiteral("Z"));
    // An axis to preserve does not help while none is chosen that could be set.
    box("axisToSetComboBox")->setCurrentIndex(-1);
    m_dialog->onAxisToSetChoice(X);
    QCOMPARE(box("axisToPreserveComboBox")->currentText(), QStringLiteral("Y"));
    m_dialog->validateSetAxis();
    QCOMPARE(m_pairs, QList<AxisPair>());
}

void tst_SetAxisDialog::choosingNoAxisToPreserveChangesNothing()
{
    m_dialog->onAxisToPreserveChoice(-1);
    m_dialog->onAxisToPreserveChoice(2);
    QCOMPARE(box("axisToCalculateComboBox")->currentText(), QStringLiteral("Z"));
}

void tst_SetAxisDialog::theCalculatedAxisCannotBeChosen()
{
    QVERIFY(!box("axisToCalculateComboBox")->isEnabled());
}

void tst_SetAxisDialog::translatedAxesAreStillUnderstood()
{
    MarkingTranslator translator("SetAxisDialogClass");
    const InstalledTranslator installed(&translator);
    m_dialog.reset(new SetAxisDialog(nullptr));
    listen();
    box("axisToSetComboBox")->setCurrentIndex(Z);
    QCOMPARE(box("axisToPreserveComboBox")->currentText(), QStringLiteral("*X"));
    QCOMPARE(box("axisToCalculateComboBox")->currentIndex(), int(Y));
    m_dialog->validateSetAxis();
    QCOMPARE(m_pairs, QList<AxisPair>{AxisPair(Z, X)});
}

void tst_SetAxisDialog::okAcceptsBeforeItTells()
{
    QStringList order;
    connect(m_dialog.data(), &QDialog::accepted, this,
            [&] { order += QStringLiteral("accepted"); });
    connect(m_dialog.data(), &SetAxisDialog::setAxis, this, [&] {
        order += m_dialog->isVisible() ? QStringLiteral("told while open")
                                       : QStringLiteral("told when closed");
    });
    show();
    QTest::mouseClick(button("pushButton_ok"), Qt::LeftButton);
    QCOMPARE(order, QStringList({QStringLiteral("accepted"), QStringLiteral("told when closed")}));
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
}

void tst_SetAxisDialog::cancelTellsNothing_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"button", "Escape", "close", "Return on the button"})
        QTest::newRow(way) << QString::fromLatin1(way);
}

void tst_SetAxisDialog::cancelTellsNothing()
{
    QFETCH(QString, way);
    show();
    box("axisToSetComboBox")->setCurrentIndex(Z);
    if (way == QLatin1String("button")) {
        QTest::mouseClick(button("pushButton_cancel"), Qt::LeftButton);
    } else if (way == QLatin1String("Escape")) {
        QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Escape);
    } else if (way == QLatin1String("close")) {
        m_dialog->close();
    } else {
        button("pushButton_cancel")->setFocus();
        QTest::keyClick(button("pushButton_cancel"), Qt::Key_Return);
    }
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    QCOMPARE(m_pairs, QList<AxisPair>());
}

void tst_SetAxisDialog::returnConfirmsFromEveryBox_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"axisToSetComboBox", "axisToPreserveComboBox", "pushButton_ok"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void tst_SetAxisDialog::returnConfirmsFromEveryBox()
{
    QFETCH(QString, name);
    show();
    auto *widget = m_dialog->findChild<QWidget *>(name);
    widget->setFocus();
    QTest::keyClick(widget, Qt::Key_Return);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_pairs, QList<AxisPair>{AxisPair(X, Y)});
}

void tst_SetAxisDialog::scrollingPastABoxChangesNothing()
{
    show();
    button("pushButton_cancel")->setFocus();
    for (const char *name : {"axisToSetComboBox", "axisToPreserveComboBox"}) {
        const QPointF local = box(name)->rect().center();
        QWheelEvent event(local, box(name)->mapToGlobal(local.toPoint()), QPoint(), QPoint(0, -120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(box(name), &event);
        QCOMPARE(box(name)->currentIndex(), 0);
    }
}

void tst_SetAxisDialog::reopenedItKeepsTheChoice()
{
    show();
    box("axisToSetComboBox")->setCurrentIndex(Z);
    QTest::mouseClick(button("pushButton_ok"), Qt::LeftButton);
    show();
    QTest::mouseClick(button("pushButton_ok"), Qt::LeftButton);
    QCOMPARE(m_pairs, QList<AxisPair>({AxisPair(Z, X), AxisPair(Z, X)}));
}

void tst_SetAxisDialog::tabRunsFromTopToBottom()
{
    show();
    box("axisToSetComboBox")->setFocus();
    QStringList names;
    for (int i = 0; i < 5; ++i) {
        names += m_dialog->focusWidget()->objectName();
        QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Tab);
    }
    QCOMPARE(
        names,
        QStringList({QStringLiteral("axisToSetComboBox"), QStringLiteral("axisToPreserveComboBox"),
                     QStringLiteral("pushButton_ok"), QStringLiteral("pushButton_cancel"),
                     QStringLiteral("axisToSetComboBox")}));
}

void tst_SetAxisDialog::longTextsAreNotClipped()
{
    LongTexts translator;
    const InstalledTranslator installed(&translator);
    m_dialog.reset(new SetAxisDialog(nullptr));
    show();
    QCOMPARE(clippedTexts(m_dialog.data()), QStringList());
    m_dialog->resize(m_dialog->minimumSizeHint());
    QCoreApplication::processEvents();
    QCOMPARE(clippedTexts(m_dialog.data()), QStringList());
}

QUOREL2_TEST_MAIN(tst_SetAxisDialog)
#include "tst_SetAxisDialog.moc"
