#include <standalone/UserInput.h>
#include <tests/support/TestMain.h>

#include <QDialog>
#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

class UserInputTest : public QObject {
    Q_OBJECT

private slots:
    void aClickPressesTheButtonUnderIt();
    void aClickOnACoveredButtonReachesWhatCoversIt();
    void aDisabledButtonStaysUnpressed();
    void aModalWindowKeepsClicksFromOthers();
    void clicksAreNeverDoubleClicks();
    void aRightPressOpensAMenuAndItsReleaseComesToTheMenu();
    void textGoesWhereTheFocusIs();
    void selectAllAndTypeReplacesTheText();
    void returnEndsAnEdit();
    void aClosedWindowTakesTheRestSilently();
};

void UserInputTest::aClickPressesTheButtonUnderIt()
{
    QWidget window;
    QHBoxLayout layout(&window);
    QPushButton left(QStringLiteral("left"));
    QPushButton right(QStringLiteral("right"));
    layout.addWidget(&left);
    layout.addWidget(&right);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy leftClicked(&left, &QPushButton::clicked);
    QSignalSpy rightClicked(&right, &QPushButton::clicked);
    UserInput::click(&right);
    QCOMPARE(leftClicked.size(), 0);
    QCOMPARE(rightClicked.size(), 1);
    left.setParent(nullptr);
    right.setParent(nullptr);
}

void UserInputTest::aClickOnACoveredButtonReachesWhatCoversIt()
{
    QWidget window;
    window.resize(200, 100);
    QPushButton below(QStringLiteral("below"), &window);
    below.setGeometry(20, 20, 100, 40);
    QPushButton above(QStringLiteral("above"), &window);
    above.setGeometry(10, 10, 150, 70);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy belowClicked(&below, &QPushButton::clicked);
    QSignalSpy aboveClicked(&above, &QPushButton::clicked);
    UserInput::click(&below);
    QCOMPARE(belowClicked.size(), 0);
    QCOMPARE(aboveClicked.size(), 1);
}

void UserInputTest::aDisabledButtonStaysUnpressed()
{
    QWidget window;
    QPushButton button(QStringLiteral("off"), &window);
    button.setEnabled(false);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy clicked(&button, &QPushButton::clicked);
    UserInput::click(&button);
    QCOMPARE(clicked.size(), 0);
}

void UserInputTest::aModalWindowKeepsClicksFromOthers()
{
    QWidget window;
    QPushButton button(QStringLiteral("behind"), &window);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QDialog dialog(&window);
    dialog.setModal(true);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QSignalSpy clicked(&button, &QPushButton::clicked);
    UserInput::click(&button);
    QCOMPARE(clicked.size(), 0);
    dialog.close();
    UserInput::click(&button);
    QCOMPARE(clicked.size(), 1);
}

void UserInputTest::clicksAreNeverDoubleClicks()
{
    QLineEdit edit(QStringLiteral("word word"));
    edit.show();
    QVERIFY(QTest::qWaitForWindowExposed(&edit));
    UserInput::click(&edit);
    UserInput::click(&edit);
    QVERIFY(!edit.hasSelectedText());
}

void UserInputTest::aRightPressOpensAMenuAndItsReleaseComesToTheMenu()
{
    class Surface : public QWidget {
    public:
        QMenu menu;
        QAction *entry = menu.addAction(QStringLiteral("entry"));
        QAction *chosen = nullptr;
        int released = 0;

    protected:
        void mousePressEvent(QMouseEvent *event) override
        {
            if (event->button() == Qt::RightButton)
                chosen = menu.exec(event->globalPos());
        }
        void mouseReleaseEvent(QMouseEvent *) override { ++released; }
    };
    Surface surface;
    surface.resize(200, 150);
    surface.show();
    QVERIFY(QTest::qWaitForWindowExposed(&surface));
    QTimer::singleShot(0, &surface, [&] {
        QVERIFY(QTest::qWaitForWindowExposed(&surface.menu));
        UserInput::release(&surface.menu,
                           surface.menu.mapFromGlobal(surface.mapToGlobal(QPoint(30, 40))),
                           Qt::RightButton);
        QVERIFY(surface.menu.isVisible());
        UserInput::click(&surface.menu, surface.menu.actionGeometry(surface.entry).center());
    });
    UserInput::press(&surface, QPoint(30, 40), Qt::RightButton);
    QCOMPARE(surface.chosen, surface.entry);
    QCOMPARE(surface.released, 0);
}

void UserInputTest::textGoesWhereTheFocusIs()
{
    QWidget window;
    QHBoxLayout layout(&window);
    auto *first = new QLineEdit;
    auto *second = new QLineEdit;
    layout.addWidget(first);
    layout.addWidget(second);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    UserInput::click(second);
    QVERIFY(second->hasFocus());
    UserInput::typeText(&window, QStringLiteral("ab C-1.5"));
    QCOMPARE(first->text(), QString());
    QCOMPARE(second->text(), QStringLiteral("ab C-1.5"));
}

void UserInputTest::selectAllAndTypeReplacesTheText()
{
    QDoubleSpinBox field;
    field.setValue(12.5);
    field.show();
    field.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&field));
    UserInput::click(&field, QPoint(field.width() / 4, field.height() / 2));
    UserInput::pressKey(&field, Qt::Key_A, Qt::ControlModifier);
    UserInput::typeText(&field, QStringLiteral("30"));
    QCOMPARE(field.value(), 30.0);
}

void UserInputTest::returnEndsAnEdit()
{
    QDoubleSpinBox field;
    field.show();
    field.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&field));
    UserInput::click(&field, QPoint(field.width() / 4, field.height() / 2));
    QSignalSpy finished(&field, &QAbstractSpinBox::editingFinished);
    UserInput::pressKey(&field, Qt::Key_Return);
    QCOMPARE(finished.size(), 1);
}

void UserInputTest::aClosedWindowTakesTheRestSilently()
{
    auto *window = new QWidget;
    auto *button = new QPushButton(QStringLiteral("close"), window);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    connect(button, &QPushButton::pressed, window, [window] { delete window; });
    const QPointer<QWidget> guard(window);
    UserInput::click(button);
    QVERIFY(!guard);
    QWidget never;
    UserInput::click(&never);
    UserInput::pressKey(&never, Qt::Key_A);
    UserInput::typeText(&never, QStringLiteral("a"));
}

QUOREL2_TEST_MAIN(UserInputTest)
#include "tst_UserInput.moc"
