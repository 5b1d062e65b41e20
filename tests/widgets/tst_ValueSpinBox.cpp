#include <tests/support/TestMain.h>
#include <widgets/ValueSpinBox.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScopedPointer>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest>

namespace {

/// Counts the turns of the mouse wheel that reach it.
class ScrollCounter : public QWidget {
public:
    int turns = 0;

protected:
    void wheelEvent(QWheelEvent *event) override
    {
        ++turns;
        event->accept();
    }
};

/// Turns the mouse wheel over the middle of @p widget; the event takes its way through the window.
void scroll(QWidget *widget, int delta)
{
    const QPoint global = widget->mapToGlobal(widget->rect().center());
    QWindow *window = widget->window()->windowHandle();
    QWheelEvent event(window->mapFromGlobal(global), global, QPoint(), QPoint(0, delta),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    // Only what comes from the window system goes on to the parent of a widget that ignores it.
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(window, &event);
}

const QStringList localeNames = {QStringLiteral("C"), QStringLiteral("en_US"),
                                 QStringLiteral("de_DE"), QStringLiteral("fr_FR"),
                                 QStringLiteral("de_CH")};

} // namespace

class tst_ValueSpinBox : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void commaAndPointBothMeanTheDecimalSeparator_data();
    void commaAndPointBothMeanTheDecimalSeparator();
    void anyTypedNumberIsReadUnderAnyLocale();
    void digitGroupsAreRefused_data();
    void digitGroupsAreRefused();
    void aThirdDecimalIsNotTakenForADigitGroup_data();
    void aThirdDecimalIsNotTakenForADigitGroup();
    void valuesAreShownWithoutDigitGroups_data();
    void valuesAreShownWithoutDigitGroups();
    void digitsOfOtherScriptsAreRead();
    void zeroHasNoSign();
    void textIsJudgedByRangeAndDecimals_data();
    void textIsJudgedByRangeAndDecimals();
    void suffixAndPrefixStay();
    void textThatIsNoNumberMeansTheLastValue();
    void aNewLocaleRewritesTheText();
    void incompleteTextGoesBackToTheLastValue_data();
    void incompleteTextGoesBackToTheLastValue();
    void theMouseWheelNeedsTheFocus();
    void undoKeysReachTheWindow_data();
    void undoKeysReachTheWindow();
    void undoKeysStayWithHalfTypedText();
    void undoKeysWithoutAShortcutGoOnToTheParent();
    void otherZsAreNoUndoKeys();
    void returnFinishesTheEditOnly_data();
    void returnFinishesTheEditOnly();
    void returnInAnUntouchedFieldAnnouncesNoValue();
    void theFirstFocusLossEndsTheTyping();
    void escapeReachesTheDialog();
    void confirmTextTakesTheTypedValue();
    void deletionInsideEditingFinishedIsSafe_data();
    void deletionInsideEditingFinishedIsSafe();
    void deletionInsideTheConfirmedChangeIsSafe_data();
    void deletionInsideTheConfirmedChangeIsSafe();

private:
    void build();
    void showActive(QWidget *window);

    QScopedPointer<QDialog> m_dialog;
    ValueSpinBox *m_spinBox = nullptr;
    QPushButton *m_button = nullptr;
    QStringList m_emitted;
};

void tst_ValueSpinBox::init()
{
    QLocale::setDefault(QLocale::c());
    m_emitted.clear();
    build();
}

void tst_ValueSpinBox::build()
{
    m_dialog.reset(new QDialog);
    auto *layout = new QVBoxLayout(m_dialog.data());
    m_spinBox = new ValueSpinBox(m_dialog.data());
    m_spinBox->setRange(-999.99, 999.99);
    m_button = new QPushButton(QStringLiteral("Default"), m_dialog.data());
    m_button->setDefault(true);
    layout->addWidget(m_spinBox);
    layout->addWidget(m_button);
    m_dialog->move(100, 100);
}

void tst_ValueSpinBox::cleanup()
{
    m_dialog.reset();
    QLocale::setDefault(QLocale::c());
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void tst_ValueSpinBox::showActive(QWidget *window)
{
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    // There may be no window manager that would do it.
    QApplication::setActiveWindow(window);
    QTRY_VERIFY(window->isActiveWindow());
    m_spinBox->setFocus();
    QTRY_VERIFY(m_spinBox->hasFocus());
    m_spinBox->selectAll();
}

void tst_ValueSpinBox::commaAndPointBothMeanTheDecimalSeparator_data()
{
    QTest::addColumn<QString>("localeName");
    QTest::addColumn<bool>("asDefault");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("shown");

    for (const QString &name : localeNames) {
        const bool comma = name == QLatin1String("de_DE") || name == QLatin1String("fr_FR");
        for (const bool asDefault : {true, false}) {
            const auto row = [&](const char *typed, double value, QString shown) {
                if (comma)
                    shown.replace(QLatin1Char('.'), QLatin1Char(','));
                QTest::addRow("%s typed under %s as the %s locale", typed, qPrintable(name),
                              asDefault ? "default" : "widget's")
                    << name << asDefault << QString::fromLatin1(typed) << value << shown;
            };
            row("12.3", 12.3, QStringLiteral("12.30"));
            row("12,3", 12.3, QStringLiteral("12.30"));
            row("-0,05", -0.05, QStringLiteral("-0.05"));
            row("-0.05", -0.05, QStringLiteral("-0.05"));
            row(",5", 0.5, QStringLiteral("0.50"));
            row("999.99", 999.99, QStringLiteral("999.99"));
            row("999,99", 999.99, QStringLiteral("999.99"));
            row("7,", 7.0, QStringLiteral("7.00"));
        }
    }
}

void tst_ValueSpinBox::commaAndPointBothMeanTheDecimalSeparator()
{
    QFETCH(QString, localeName);
    QFETCH(bool, asDefault);
    QFETCH(QString, typed);
    QFETCH(double, value);
    QFETCH(QString, shown);

    if (asDefault) {
        QLocale::setDefault(QLocale(localeName));
        build();
    } else {
        m_spinBox->setLocale(QLocale(localeName));
    }
    showActive(m_dialog.data());

    QTest::keyClicks(m_spinBox, typed);
    QCOMPARE(m_spinBox->text(), typed);
    QCOMPARE(m_spinBox->value(), value);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(m_spinBox->value(), value);
    QCOMPARE(m_spinBox->text(), shown);
}

void tst_ValueSpinBox::anyTypedNumberIsReadUnderAnyLocale()
{
    QRandomGenerator random(testSeed());
    showActive(m_dialog.data());
    for (int round = 0; round < 200; ++round) {
        m_spinBox->setLocale(QLocale(localeNames.at(random.bounded(localeNames.size()))));
        const int whole = random.bounded(1000);
        const int hundredths = random.bounded(100);
        const bool negative = random.bounded(2) == 1;
        const QString typed = QStringLiteral("%1%2%3%4")
                                  .arg(negative ? QStringLiteral("-") : QString())
                                  .arg(whole)
                                  .arg(QLatin1Char(random.bounded(2) == 1 ? ',' : '.'))
                                  .arg(hundredths, 2, 10, QLatin1Char('0'));
        m_spinBox->setValue(0.0);
        m_spinBox->selectAll();
        QTest::keyClicks(m_spinBox, typed);
        QTest::keyClick(m_spinBox, Qt::Key_Return);
        const double expected = (negative ? -1 : 1) * (whole * 100 + hundredths) / 100.0;
        QVERIFY2(qAbs(m_spinBox->value() - expected) < 1e-9,
                 qPrintable(QStringLiteral("%1 under %2 became %3")
                                .arg(typed, m_spinBox->locale().name())
                                .arg(m_spinBox->value())));
    }
}

void tst_ValueSpinBox::digitGroupsAreRefused_data()
{
    QTest::addColumn<QString>("localeName");
    QTest::addColumn<QString>("pasted");
    const QStringList texts = {
        QStringLiteral("1,234.5"),    QStringLiteral("1.234,5"),    QStringLiteral("1 234"),
        QStringLiteral("1'234"),      QStringLiteral("1\u2019234"), QStringLiteral("1\u202F234"),
        QStringLiteral("1\u00A0234"), QStringLiteral("1,234"),      QStringLiteral("1.234"),
        QStringLiteral("1,2,3"),      QStringLiteral("1e3"),        QStringLiteral("nan"),
        QStringLiteral("inf"),        QStringLiteral("0x10")};
    for (const QString &name : localeNames) {
        for (const QString &text : texts)
            QTest::addRow("%s pasted under %s", qPrintable(text), qPrintable(name)) << name << text;
    }
}

void tst_ValueSpinBox::digitGroupsAreRefused()
{
    QFETCH(QString, localeName);
    QFETCH(QString, pasted);
    m_spinBox->setRange(-99999.0, 99999.0);
    m_spinBox->setLocale(QLocale(localeName));
    m_spinBox->setValue(7.0);
    showActive(m_dialog.data());
    const QString before = m_spinBox->text();
    QSignalSpy changes(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged));

    QApplication::clipboard()->setText(pasted);
    QTest::keyClick(m_spinBox, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(m_spinBox->text(), before);
    QCOMPARE(m_spinBox->value(), 7.0);
    QCOMPARE(changes.size(), 0);
}

void tst_ValueSpinBox::aThirdDecimalIsNotTakenForADigitGroup_data()
{
    QTest::addColumn<QString>("localeName");
    for (const QString &name : localeNames)
        QTest::newRow(qPrintable(name)) << name;
}

void tst_ValueSpinBox::aThirdDecimalIsNotTakenForADigitGroup()
{
    QFETCH(QString, localeName);
    m_spinBox->setRange(0.0, 99999.0);
    m_spinBox->setLocale(QLocale(localeName));
    showActive(m_dialog.data());
    for (const QString &typed : {QStringLiteral("1.234"), QStringLiteral("1,234")}) {
        m_spinBox->selectAll();
        QTest::keyClicks(m_spinBox, typed);
        QTest::keyClick(m_spinBox, Qt::Key_Return);
        QCOMPARE(m_spinBox->value(), 1.23);
    }
}

void tst_ValueSpinBox::valuesAreShownWithoutDigitGroups_data()
{
    QTest::addColumn<QString>("localeName");
    QTest::addColumn<QString>("shown");
    QTest::newRow("C") << "C"
                       << "1234567.50";
    QTest::newRow("en_US") << "en_US"
                           << "1234567.50";
    QTest::newRow("de_DE") << "de_DE"
                           << "1234567,50";
    QTest::newRow("fr_FR") << "fr_FR"
                           << "1234567,50";
    QTest::newRow("de_CH") << "de_CH"
                           << "1234567.50";
}

void tst_ValueSpinBox::valuesAreShownWithoutDigitGroups()
{
    QFETCH(QString, localeName);
    QFETCH(QString, shown);
    m_spinBox->setRange(0.0, 1e7);
    m_spinBox->setGroupSeparatorShown(true);
    m_spinBox->setLocale(QLocale(localeName));
    m_spinBox->setValue(1234567.5);
    QCOMPARE(m_spinBox->text(), shown);
    // What is shown can be read again.
    m_spinBox->setValue(0.0);
    showActive(m_dialog.data());
    QTest::keyClicks(m_spinBox, shown);
    QCOMPARE(m_spinBox->value(), 1234567.5);
}

void tst_ValueSpinBox::digitsOfOtherScriptsAreRead()
{
    const auto read = [this](QString text) {
        int position = 0;
        return m_spinBox->validate(text, position) == QValidator::Acceptable
                   ? m_spinBox->valueFromText(text)
                   : qQNaN();
    };
    // Eastern Arabic digits and separator, and the typographic minus sign.
    QCOMPARE(read(QStringLiteral("\u0661\u0662\u066B\u0665")), 12.5);
    QCOMPARE(read(QStringLiteral("\u221212.5")), -12.5);
    for (const char *name : {"ar_EG", "fa_IR", "sv_SE", "nb_NO"}) {
        m_spinBox->setLocale(QLocale(QString::fromLatin1(name)));
        QVERIFY2(read(m_spinBox->textFromValue(-12.5)) == -12.5,
                 qPrintable(m_spinBox->textFromValue(-12.5)));
    }
}

void tst_ValueSpinBox::zeroHasNoSign()
{
    QCOMPARE(m_spinBox->textFromValue(-0.0), QStringLiteral("0.00"));
    m_spinBox->setValue(1.0);
    m_spinBox->setValue(-0.001);
    QCOMPARE(m_spinBox->text(), QStringLiteral("0.00"));
}

void tst_ValueSpinBox::textIsJudgedByRangeAndDecimals_data()
{
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("maximum");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("state");
    const int invalid = QValidator::Invalid;
    const int intermediate = QValidator::Intermediate;
    const int acceptable = QValidator::Acceptable;

    QTest::newRow("nothing yet") << -10.0 << 10.0 << 2 << "" << intermediate;
    QTest::newRow("a sign only") << -10.0 << 10.0 << 2 << "-" << intermediate;
    QTest::newRow("a separator only") << -10.0 << 10.0 << 2 << "," << intermediate;
    QTest::newRow("sign and separator") << -10.0 << 10.0 << 2 << "-." << intermediate;
    QTest::newRow("a number") << -10.0 << 10.0 << 2 << "-9.99" << acceptable;
    QTest::newRow("decimals only") << -10.0 << 10.0 << 2 << "-.5" << acceptable;
    QTest::newRow("no decimals yet") << -10.0 << 10.0 << 2 << "5," << acceptable;
    QTest::newRow("with a plus sign") << -10.0 << 10.0 << 2 << "+9,5" << acceptable;
    QTest::newRow("blanks around it") << -10.0 << 10.0 << 2 << " 5 " << acceptable;
    QTest::newRow("a blank inside") << -10.0 << 10.0 << 2 << "5 5" << invalid;
    QTest::newRow("two signs") << -10.0 << 10.0 << 2 << "--5" << invalid;
    QTest::newRow("sign behind") << -10.0 << 10.0 << 2 << "5-" << invalid;
    QTest::newRow("two separators") << -10.0 << 10.0 << 2 << "1.2," << invalid;
    QTest::newRow("a letter") << -10.0 << 10.0 << 2 << "5a" << invalid;
    QTest::newRow("a line break") << -10.0 << 10.0 << 2 << "5\n5" << invalid;
    QTest::newRow("too many decimals") << -10.0 << 10.0 << 2 << "1.234" << invalid;
    QTest::newRow("separator without decimals") << -10.0 << 10.0 << 0 << "5." << invalid;
    QTest::newRow("above the range") << -10.0 << 10.0 << 2 << "10.01" << invalid;
    QTest::newRow("below the range") << -10.0 << 10.0 << 2 << "-10.01" << invalid;
    QTest::newRow("upper end") << -10.0 << 10.0 << 2 << "10" << acceptable;
    QTest::newRow("lower end") << -10.0 << 10.0 << 2 << "-10,00" << acceptable;
    QTest::newRow("minus where all is positive") << 0.0 << 10.0 << 2 << "-" << invalid;
    QTest::newRow("plus where all is negative") << -10.0 << -1.0 << 2 << "+" << invalid;
    QTest::newRow("may still grow into the range") << 10.0 << 99.0 << 2 << "1" << intermediate;
    QTest::newRow("may still fall into the range") << -99.0 << -10.0 << 2 << "-1" << intermediate;
    QTest::newRow("too long for a number")
        << -10.0 << 10.0 << 2 << QString(400, QLatin1Char('9')) << invalid;
}

void tst_ValueSpinBox::textIsJudgedByRangeAndDecimals()
{
    QFETCH(double, minimum);
    QFETCH(double, maximum);
    QFETCH(int, decimals);
    QFETCH(QString, text);
    QFETCH(int, state);
    m_spinBox->setDecimals(decimals);
    m_spinBox->setRange(minimum, maximum);
    for (const QString &name : localeNames) {
        m_spinBox->setLocale(QLocale(name));
        QString judged = text;
        int position = 0;
        QCOMPARE(int(m_spinBox->validate(judged, position)), state);
        QCOMPARE(judged, text);
    }
}

void tst_ValueSpinBox::suffixAndPrefixStay()
{
    m_spinBox->setLocale(QLocale(QStringLiteral("de_DE")));
    m_spinBox->setPrefix(QStringLiteral("d. "));
    m_spinBox->setSuffix(QStringLiteral(" mm."));
    m_spinBox->setValue(1.5);
    QCOMPARE(m_spinBox->text(), QStringLiteral("d. 1,50 mm."));
    showActive(m_dialog.data());
    // Selecting all leaves the suffix out.
    QTest::keyClicks(m_spinBox, QStringLiteral("2.25"));
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(m_spinBox->value(), 2.25);
    QCOMPARE(m_spinBox->text(), QStringLiteral("d. 2,25 mm."));
    // Neither is asked for: a pasted text may be the number alone.
    for (const char *text : {"3.5", "d. 3.5", "3.5 mm.", "d. 3.5 mm."}) {
        QString judged = QString::fromLatin1(text);
        int position = 0;
        QCOMPARE(int(m_spinBox->validate(judged, position)), int(QValidator::Acceptable));
        QCOMPARE(m_spinBox->valueFromText(judged), 3.5);
    }
}

void tst_ValueSpinBox::textThatIsNoNumberMeansTheLastValue()
{
    m_spinBox->setValue(5.25);
    for (const char *text : {"", "-", ".", "5 5", "nothing", "nan", "inf"})
        QCOMPARE(m_spinBox->valueFromText(QString::fromLatin1(text)), 5.25);
}

void tst_ValueSpinBox::aNewLocaleRewritesTheText()
{
    m_spinBox->setValue(1.5);
    QSignalSpy changes(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    QCOMPARE(m_spinBox->text(), QStringLiteral("1.50"));
    m_spinBox->setLocale(QLocale(QStringLiteral("de_DE")));
    QCOMPARE(m_spinBox->text(), QStringLiteral("1,50"));
    m_spinBox->setLocale(QLocale(QStringLiteral("de_CH")));
    QCOMPARE(m_spinBox->text(), QStringLiteral("1.50"));
    QCOMPARE(changes.size(), 0);
}

void tst_ValueSpinBox::incompleteTextGoesBackToTheLastValue_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("a sign") << "-";
    QTest::newRow("a point") << ".";
    QTest::newRow("a comma") << ",";
    QTest::newRow("a sign and a point") << "-.";
}

void tst_ValueSpinBox::incompleteTextGoesBackToTheLastValue()
{
    QFETCH(QString, typed);
    m_spinBox->setLocale(QLocale(QStringLiteral("de_DE")));
    m_spinBox->setValue(5.25);
    QSignalSpy changes(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    showActive(m_dialog.data());
    QTest::keyClicks(m_spinBox, typed);
    QCOMPARE(m_spinBox->text(), typed);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(m_spinBox->text(), QStringLiteral("5,25"));
    QCOMPARE(m_spinBox->value(), 5.25);

    m_spinBox->selectAll();
    QTest::keyClick(m_spinBox, Qt::Key_Delete);
    QCOMPARE(m_spinBox->text(), QString());
    m_button->setFocus();
    QCOMPARE(m_spinBox->text(), QStringLiteral("5,25"));
    QCOMPARE(changes.size(), 0);
}

void tst_ValueSpinBox::theMouseWheelNeedsTheFocus()
{
    ScrollCounter area;
    auto *layout = new QVBoxLayout(&area);
    m_spinBox->setParent(&area);
    layout->addWidget(m_spinBox);
    auto *other = new QPushButton(&area);
    layout->addWidget(other);
    area.move(100, 100);
    showActive(&area);
    m_spinBox->setValue(5.0);

    other->setFocus();
    QVERIFY(other->hasFocus());
    scroll(m_spinBox, 120);
    QCOMPARE(m_spinBox->value(), 5.0);
    QVERIFY(!m_spinBox->hasFocus());
    QCOMPARE(area.turns, 1);

    m_spinBox->setFocus();
    scroll(m_spinBox, 120);
    QCOMPARE(m_spinBox->value(), 6.0);
    scroll(m_spinBox, -240);
    QCOMPARE(m_spinBox->value(), 4.0);
    QCOMPARE(area.turns, 1);
}

void tst_ValueSpinBox::undoKeysReachTheWindow_data()
{
    QTest::addColumn<bool>("afterTyping");
    QTest::newRow("untouched field") << false;
    QTest::newRow("typed in full and confirmed") << true;
}

void tst_ValueSpinBox::undoKeysReachTheWindow()
{
    QFETCH(bool, afterTyping);
    QAction undo(m_dialog.data());
    undo.setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    QAction redo(m_dialog.data());
    redo.setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+Z")));
    m_dialog->addAction(&undo);
    m_dialog->addAction(&redo);
    QSignalSpy undone(&undo, &QAction::triggered);
    QSignalSpy redone(&redo, &QAction::triggered);
    showActive(m_dialog.data());
    if (afterTyping) {
        // The text is the one that is shown afterwards, so it is not written again.
        QTest::keyClicks(m_spinBox, QStringLiteral("12.00"));
        QTest::keyClick(m_spinBox, Qt::Key_Return);
    }
    const double value = m_spinBox->value();

    QTest::keyClick(m_spinBox, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(undone.size(), 1);
    QCOMPARE(redone.size(), 0);
    QTest::keyClick(m_spinBox, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(undone.size(), 1);
    QCOMPARE(redone.size(), 1);
    QCOMPARE(m_spinBox->value(), value);
    QVERIFY(m_spinBox->hasFocus());
}

void tst_ValueSpinBox::undoKeysStayWithHalfTypedText()
{
    QAction undo(m_dialog.data());
    undo.setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    m_dialog->addAction(&undo);
    QSignalSpy undone(&undo, &QAction::triggered);
    showActive(m_dialog.data());
    QVERIFY(!m_spinBox->hasUnconfirmedText());

    QTest::keyClicks(m_spinBox, QStringLiteral("12"));
    QVERIFY(m_spinBox->hasUnconfirmedText());
    QCOMPARE(m_spinBox->value(), 12.0);
    QTest::keyClick(m_spinBox, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(undone.size(), 0);
    QCOMPARE(m_spinBox->text(), QStringLiteral("0.00"));
    QCOMPARE(m_spinBox->value(), 0.0);

    // The text is as it was: the next one is the window's.
    QVERIFY(!m_spinBox->hasUnconfirmedText());
    QTest::keyClick(m_spinBox, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(undone.size(), 1);
}

void tst_ValueSpinBox::undoKeysWithoutAShortcutGoOnToTheParent()
{
    showActive(m_dialog.data());
    QTest::keyClicks(m_spinBox, QStringLiteral("12.00"));
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QTest::keyClick(m_spinBox, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(m_spinBox->value(), 12.0);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier);
    QApplication::sendEvent(m_spinBox, &key);
    QVERIFY(!key.isAccepted());
}

void tst_ValueSpinBox::otherZsAreNoUndoKeys()
{
    // What could be typed is not left to the window, whether or not the field can use it.
    QAction action(m_dialog.data());
    action.setShortcut(QKeySequence(Qt::Key_Z));
    m_dialog->addAction(&action);
    QSignalSpy triggered(&action, &QAction::triggered);
    showActive(m_dialog.data());
    QTest::keyClick(m_spinBox, Qt::Key_Z);
    QCOMPARE(triggered.size(), 0);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Z, Qt::NoModifier, QStringLiteral("z"));
    QApplication::sendEvent(m_spinBox, &key);
    QVERIFY(key.isAccepted());
    QCOMPARE(m_spinBox->text(), QStringLiteral("0.00"));
}

void tst_ValueSpinBox::returnFinishesTheEditOnly_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter of the keypad") << int(Qt::Key_Enter);
}

void tst_ValueSpinBox::returnFinishesTheEditOnly()
{
    QFETCH(int, key);
    showActive(m_dialog.data());
    connect(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            [this](double value) { m_emitted << QStringLiteral("value %1").arg(value); });
    connect(m_spinBox, &QDoubleSpinBox::editingFinished, this,
            [this] { m_emitted << QStringLiteral("finished"); });
    QSignalSpy clicked(m_button, &QPushButton::clicked);
    QSignalSpy closed(m_dialog.data(), &QDialog::finished);

    QTest::keyClicks(m_spinBox, QStringLiteral("3,5"));
    QTest::keyClick(m_spinBox, Qt::Key(key),
                    key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier);
    QCOMPARE(m_emitted, QStringList({QStringLiteral("value 3"), QStringLiteral("value 3.5"),
                                     QStringLiteral("finished")}));
    QCOMPARE(m_spinBox->text(), QStringLiteral("3.50"));
    QVERIFY(!m_spinBox->hasUnconfirmedText());
    QCOMPARE(clicked.size(), 0);
    QCOMPARE(closed.size(), 0);
    QVERIFY(m_dialog->isVisible());
    // The default button does hear the key where no field takes it.
    QTest::keyClick(m_dialog.data(), Qt::Key(key));
    QCOMPARE(clicked.size(), 1);
}

void tst_ValueSpinBox::returnInAnUntouchedFieldAnnouncesNoValue()
{
    showActive(m_dialog.data());
    QSignalSpy changes(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    QSignalSpy finished(m_spinBox, &QDoubleSpinBox::editingFinished);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(changes.size(), 0);
    QCOMPARE(finished.size(), 1);
}

void tst_ValueSpinBox::theFirstFocusLossEndsTheTyping()
{
    showActive(m_dialog.data());
    QTest::keyClicks(m_spinBox, QStringLiteral("4.00"));
    QVERIFY(m_spinBox->hasUnconfirmedText());
    m_button->setFocus();
    QVERIFY(!m_spinBox->hasUnconfirmedText());
    QCOMPARE(m_spinBox->value(), 4.0);
}

void tst_ValueSpinBox::escapeReachesTheDialog()
{
    showActive(m_dialog.data());
    QSignalSpy rejected(m_dialog.data(), &QDialog::rejected);
    QTest::keyClick(m_spinBox, Qt::Key_Escape);
    QCOMPARE(rejected.size(), 1);
}

void tst_ValueSpinBox::confirmTextTakesTheTypedValue()
{
    showActive(m_dialog.data());
    QSignalSpy finished(m_spinBox, &QDoubleSpinBox::editingFinished);
    QTest::keyClicks(m_spinBox, QStringLiteral("8,5"));
    QSignalSpy changes(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    m_spinBox->confirmText();
    QCOMPARE(m_spinBox->text(), QStringLiteral("8.50"));
    QCOMPARE(m_spinBox->value(), 8.5);
    QVERIFY(!m_spinBox->hasUnconfirmedText());
    QCOMPARE(changes.size(), 0);
    QCOMPARE(finished.size(), 0);
}

void tst_ValueSpinBox::deletionInsideEditingFinishedIsSafe_data()
{
    QTest::addColumn<bool>("byReturn");
    QTest::newRow("Return") << true;
    QTest::newRow("focus loss") << false;
}

void tst_ValueSpinBox::deletionInsideEditingFinishedIsSafe()
{
    QFETCH(bool, byReturn);
    showActive(m_dialog.data());
    const QPointer<ValueSpinBox> alive(m_spinBox);
    connect(m_spinBox, &QDoubleSpinBox::editingFinished, m_dialog.data(),
            [this] { delete m_spinBox; });
    QTest::keyClicks(m_spinBox, QStringLiteral("1"));
    if (byReturn) {
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(m_spinBox, &key);
    } else {
        m_button->setFocus();
    }
    QVERIFY(alive.isNull());
    QVERIFY(m_dialog->isVisible());
}

void tst_ValueSpinBox::deletionInsideTheConfirmedChangeIsSafe_data()
{
    QTest::addColumn<bool>("byReturn");
    QTest::newRow("Return") << true;
    QTest::newRow("confirmText") << false;
}

void tst_ValueSpinBox::deletionInsideTheConfirmedChangeIsSafe()
{
    QFETCH(bool, byReturn);
    // So that typing alone changes nothing.
    m_spinBox->setKeyboardTracking(false);
    showActive(m_dialog.data());
    const QPointer<ValueSpinBox> alive(m_spinBox);
    int finished = 0;
    connect(m_spinBox, &QDoubleSpinBox::editingFinished, this, [&] { ++finished; });
    connect(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged), m_dialog.data(),
            [this] { delete m_spinBox; });
    QTest::keyClicks(m_spinBox, QStringLiteral("1"));
    QVERIFY(alive);
    if (byReturn) {
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(m_spinBox, &key);
    } else {
        m_spinBox->confirmText();
    }
    QVERIFY(alive.isNull());
    QCOMPARE(finished, 0);
}

QUOREL2_TEST_MAIN(tst_ValueSpinBox)
#include "tst_ValueSpinBox.moc"
