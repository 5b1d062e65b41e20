#include <standalone/ElidedLabel.h>
#include <tests/support/TestMain.h>

#include <QHelpEvent>
#include <QToolTip>
#include <QtTest>

namespace {

const QString kText = QStringLiteral("Simulated controller 127.0.0.1:42200");

/// What the tool tip says when the mouse rests on the label; empty if none comes up.
QString toolTipOf(QWidget *label)
{
    QToolTip::hideText();
    const QPoint place = label->rect().center();
    QHelpEvent event(QEvent::ToolTip, place, label->mapToGlobal(place));
    QApplication::sendEvent(label, &event);
    const QString text = QToolTip::isVisible() ? QToolTip::text() : QString();
    QToolTip::hideText();
    return text;
}

} // namespace

class ElidedLabelTest : public QObject {
    Q_OBJECT

private slots:
    void aTextThatFitsIsShownAsItIs();
    void aTextThatDoesNotFitIsShortened_data();
    void aTextThatDoesNotFitIsShortened();
    void theSmallestWidthDoesNotDependOnTheText();
    void theToolTipTellsTheWholeText();
    void theTextIsNoMarkup();
};

void ElidedLabelTest::aTextThatFitsIsShownAsItIs()
{
    ElidedLabel label(Qt::ElideRight, 5);
    QLabel plain;
    for (QLabel *each : {static_cast<QLabel *>(&label), &plain}) {
        each->setText(kText);
        each->setContentsMargins(8, 0, 8, 0);
        each->resize(each->sizeHint());
    }
    QCOMPARE(label.size(), plain.size());
    QCOMPARE(label.shownText(), kText);
    QCOMPARE(label.grab().toImage(), plain.grab().toImage());
}

void ElidedLabelTest::aTextThatDoesNotFitIsShortened_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("beginning");
    QTest::addColumn<QString>("end");
    const QString dots = QStringLiteral("\u2026");
    QTest::newRow("right") << int(Qt::ElideRight) << QStringLiteral("Simul") << dots;
    QTest::newRow("left") << int(Qt::ElideLeft) << dots << QStringLiteral("42200");
    QTest::newRow("middle") << int(Qt::ElideMiddle) << QStringLiteral("Simul")
                            << QStringLiteral("42200");
}

void ElidedLabelTest::aTextThatDoesNotFitIsShortened()
{
    QFETCH(int, mode);
    QFETCH(QString, beginning);
    QFETCH(QString, end);
    ElidedLabel label(static_cast<Qt::TextElideMode>(mode), 5);
    label.setText(kText);
    label.setContentsMargins(8, 0, 8, 0);
    label.resize(label.sizeHint().width() * 2 / 3, label.sizeHint().height());
    const QString shown = label.shownText();
    QVERIFY2(shown != kText && shown.startsWith(beginning) && shown.endsWith(end),
             qPrintable(shown));
    QCOMPARE(label.text(), kText);
    // It is drawn as a label with the shortened text would be.
    QLabel plain(shown);
    plain.setContentsMargins(8, 0, 8, 0);
    plain.resize(label.size());
    QCOMPARE(label.grab().toImage(), plain.grab().toImage());
}

void ElidedLabelTest::theSmallestWidthDoesNotDependOnTheText()
{
    ElidedLabel label(Qt::ElideRight, 5);
    const int width = label.minimumSizeHint().width();
    QVERIFY(width > 0);
    label.setText(kText);
    QCOMPARE(label.minimumSizeHint().width(), width);
    QVERIFY(label.sizeHint().width() > width);
    label.setContentsMargins(8, 0, 8, 0);
    QCOMPARE(label.minimumSizeHint().width(), width + 16);
    QVERIFY(ElidedLabel(Qt::ElideRight, 10).minimumSizeHint().width() > width);
}

void ElidedLabelTest::theToolTipTellsTheWholeText()
{
    ElidedLabel label(Qt::ElideRight, 5);
    label.setText(kText);
    label.resize(label.sizeHint());
    label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&label));
    QCOMPARE(toolTipOf(&label), QString());
    label.setToolTip(QStringLiteral("Where it is"));
    QCOMPARE(toolTipOf(&label), QStringLiteral("Where it is"));
    label.setMinimumWidth(20);
    label.resize(60, label.height());
    QTRY_COMPARE(label.width(), 60);
    QCOMPARE(toolTipOf(&label), kText + QStringLiteral("\nWhere it is"));
    label.setToolTip(QString());
    QCOMPARE(toolTipOf(&label), kText);
}

void ElidedLabelTest::theTextIsNoMarkup()
{
    ElidedLabel label(Qt::ElideRight, 5);
    label.setText(QStringLiteral("<b>bold</b>"));
    QVERIFY(label.sizeHint().width() >=
            label.fontMetrics().horizontalAdvance(QStringLiteral("<b>bold</b>")));
}

QUOREL2_TEST_MAIN(ElidedLabelTest)
#include "tst_ElidedLabel.moc"
