#include <tests/support/TestMain.h>
#include <widgets/ValueSpinBox.h>
#include <widgets/bsDoubleWidget.h>

#include <QApplication>
#include <QBoxLayout>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QPointer>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScopedPointer>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest>

#include <qwt_wheel.h>

namespace {

/// With this width of the wheel one pixel of a drag is a tenth of a unit: the visible 175 degrees
/// of 3600 are 17.5 of 360 units, on 175 pixels inside a border of 2.
constexpr int wheelWidth = 179;

QPoint inWindow(const QWidget *widget, QPoint position)
{
    return widget->mapTo(widget->window(), position);
}

void scroll(QWidget *widget, const QPoint &delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    const QPoint position = inWindow(widget, widget->rect().center());
    QWindow *window = widget->window()->windowHandle();
    QWheelEvent event(position, window->mapToGlobal(position), QPoint(), delta, Qt::NoButton,
                      modifiers, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(window, &event);
}

void scroll(QWidget *widget, int delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    scroll(widget, QPoint(0, delta), modifiers);
}

void movePointer(QWidget *window, QPoint position)
{
    QTest::mouseMove(window->windowHandle(), position);
    QApplication::processEvents();
}

QStringList valuesFromTo(int first, int last)
{
    QStringList values;
    const int step = first <= last ? 1 : -1;
    for (int value = first; value != last + step; value += step)
        values << QStringLiteral("value %1").arg(value);
    return values;
}

} // namespace

class tst_bsDoubleWidget : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void signalsSlotsAndPropertiesStandInOrder();
    void enumerationsHaveTheirNumbersAndNames();
    void construction();
    void wheelIsSetUpForRelativeTurns();
    void modeShowsItsControls_data();
    void modeShowsItsControls();
    void unknownModeChangesNothing();
    void labelPosition_data();
    void labelPosition();
    void wheelPosition_data();
    void wheelPosition();
    void unknownPositionsChangeNothing();
    void wheelOrientation();
    void labelSettings();
    void colouredLabelOnADarkGroundStandsOnALightField();
    void spinBoxSettings();
    void controlsAreNamedByTheLabel();

    void wrappingRangeEndsOneBelow();
    void setRangeFollowsTheCurrentWrapping();
    void setStepKeepsAWrappingRangeOneStepBelow();
    void clampingByARangeIsAnnouncedWithoutAGesture();

    void setValueIgnoresTinyChanges();
    void setValueOpensNoGesture();
    void setValueAnnouncesTheRequestedValue();
    void notANumberIsIgnored();
    void valueAndLabelAreProperties();
    void adjustValueIgnoresTinyIncrements();
    void adjustValueIsAnEdit();
    void adjustValueWithoutAVisibleFieldEndsWhenThePointerLeaves();
    void adjustValueAtTheEndOfTheRangeLeavesNothingBehind();
    void adjustValueDuringADragBelongsToIt();

    void periodicJumpCostsOneStep();
    void differencesUpToHalfATurnAreNoJump();
    void fractionsOfAUnitAreNotCarriedOver();
    void oneUnitIsOneStepWhateverItsSize();
    void stepsWrapAndClampAsTheSpinBoxDoes();

    void dragIsOneGesture_data();
    void dragIsOneGesture();
    void pressAndReleaseWithoutATurnIsAGesture();
    void scrollingEndsWhenThePointerLeaves_data();
    void scrollingEndsWhenThePointerLeaves();
    void leavingWithoutAGestureEmitsNothing();
    void scrollThatChangesNothingOpensNoGesture();
    void dragAfterScrollingIsTheSameGesture();
    void touchpadScrollsAddUpToNotches();
    void scrollingSidewaysTurnsTheWheelToo();
    void changeOfScrollDirectionDropsWhatIsLeft();
    void aPageIsTenUnitsForAWholeNotch();
    void homeAndEndDoNotTurnTheWheel();
    void turningByKeysEndsWithTheFocus();
    void turningByKeysMovesTheFocusToAVisibleField();

    void typingIsOneGestureUntilReturn();
    void typingIsOneGestureUntilTheFocusLeaves();
    void steppingByKeysIsOneGesture();
    void returnWithoutAnEditEmitsNothing();
    void focusChangesWithoutAnEditEmitNothing();
    void incompleteTextOpensNoGesture();
    void undoOfHalfTypedTextStaysInTheGesture();
    void mouseWheelOverAFieldWithoutFocusEmitsNothing();

    void resetOutsideAGestureOnlyAnnouncesZero_data();
    void resetOutsideAGestureOnlyAnnouncesZero();
    void resetOfZeroEmitsNothing();
    void resetInsideEditingFinishedBelongsToTheGesture();
    void resetDuringADragEndsTheGesture();
    void resetDuringTypingEndsTheGesture();
    void resetFromAnotherFieldsEndKeepsTheEditThatBegins();

    void finishEditingCountsTypedText();
    void finishEditingEndsADrag();
    void finishEditingWithoutAGestureEmitsNothing();
    void finishEditingDropsIncompleteText();

    void fieldFinishingDuringADragEndsBothOnce();
    void hidingEndsTheGesture();
    void disablingEndsTheGesture_data();
    void disablingEndsTheGesture();
    void nestedLoopInsideEditingFinishedIsSafe();
    void deletionInsideEditingFinishedIsSafe_data();
    void deletionInsideEditingFinishedIsSafe();
    void deletionInsideAChangeIsSafe_data();
    void deletionInsideAChangeIsSafe();
    void deletionInsideEditingBeginIsSafe();
    void gesturesAlwaysComeInPairs();

private:
    void build(bsDoubleMode mode, double minimum, double maximum, bool wrapping);
    void show();
    void focusSpinBox();
    void pressWheel(int x = wheelWidth / 2);
    void dragWheelTo(int x);
    void releaseWheel(int x = wheelWidth / 2);
    void leave();
    QStringList takeEmitted();

    QScopedPointer<QWidget> m_window;
    bsDoubleWidget *m_widget = nullptr;
    ValueSpinBox *m_spinBox = nullptr;
    QwtWheel *m_wheel = nullptr;
    QLabel *m_label = nullptr;
    QPushButton *m_other = nullptr;
    QStringList m_emitted;
};

void tst_bsDoubleWidget::init()
{
    QLocale::setDefault(QLocale::c());
}

void tst_bsDoubleWidget::cleanup()
{
    m_window.reset();
    m_emitted.clear();
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void tst_bsDoubleWidget::build(bsDoubleMode mode, double minimum, double maximum, bool wrapping)
{
    m_window.reset(new QWidget);
    auto *layout = new QVBoxLayout(m_window.data());
    m_widget = new bsDoubleWidget(m_window.data(), mode, minimum, maximum, wrapping);
    m_other = new QPushButton(QStringLiteral("Other"), m_window.data());
    layout->addWidget(m_widget);
    layout->addStretch();
    layout->addWidget(m_other);
    m_spinBox = m_widget->findChild<ValueSpinBox *>();
    m_wheel = m_widget->findChild<QwtWheel *>();
    m_label = m_widget->findChild<QLabel *>();
    QVERIFY(m_spinBox && m_wheel && m_label);
    m_wheel->setFixedWidth(wheelWidth);
    m_window->resize(300, 200);
    m_window->move(100, 100);

    connect(m_widget, &bsDoubleWidget::editingBegin, this,
            [this] { m_emitted << QStringLiteral("begin"); });
    connect(m_widget, &bsDoubleWidget::valueChanged, this,
            [this](double value) { m_emitted << QStringLiteral("value %1").arg(value); });
    connect(m_widget, &bsDoubleWidget::editingFinished, this,
            [this] { m_emitted << QStringLiteral("finished"); });
}

void tst_bsDoubleWidget::show()
{
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.data()));
    // There may be no window manager that would do it.
    QApplication::setActiveWindow(m_window.data());
    QTRY_VERIFY(m_window->isActiveWindow());
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    // Widgets are told that the pointer enters or leaves once one of them has seen it move.
    movePointer(m_window.data(), QPoint(1, 1));
    leave();
}

void tst_bsDoubleWidget::focusSpinBox()
{
    m_spinBox->setFocus();
    QVERIFY(m_spinBox->hasFocus());
    m_spinBox->selectAll();
}

void tst_bsDoubleWidget::pressWheel(int x)
{
    QTest::mousePress(m_window->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                      inWindow(m_wheel, QPoint(x, m_wheel->height() / 2)));
}

void tst_bsDoubleWidget::dragWheelTo(int x)
{
    movePointer(m_window.data(), inWindow(m_wheel, QPoint(x, m_wheel->height() / 2)));
}

void tst_bsDoubleWidget::releaseWheel(int x)
{
    QTest::mouseRelease(m_window->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                        inWindow(m_wheel, QPoint(x, m_wheel->height() / 2)));
}

void tst_bsDoubleWidget::leave()
{
    movePointer(m_window.data(), inWindow(m_other, m_other->rect().center()));
}

QStringList tst_bsDoubleWidget::takeEmitted()
{
    QStringList emitted;
    emitted.swap(m_emitted);
    return emitted;
}

void tst_bsDoubleWidget::signalsSlotsAndPropertiesStandInOrder()
{
    const QMetaObject &meta = bsDoubleWidget::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        methods << (method.methodType() == QMetaMethod::Signal ? QStringLiteral("signal ")
                                                               : QStringLiteral("slot ")) +
                       QString::fromLatin1(method.methodSignature());
    }
    QCOMPARE(methods, QStringList({
                          QStringLiteral("signal valueChanged(double)"),
                          QStringLiteral("signal editingFinished()"),
                          QStringLiteral("signal editingBegin()"),
                          QStringLiteral("slot setRange(double,double)"),
                          QStringLiteral("slot showLabel(bool)"),
                          QStringLiteral("slot setLabel(QString)"),
                          QStringLiteral("slot setLabelFont(QFont)"),
                          QStringLiteral("slot setSuffix(QString)"),
                          QStringLiteral("slot setDecimals(int)"),
                          QStringLiteral("slot setValue(double)"),
                          QStringLiteral("slot adjustValue(double)"),
                          QStringLiteral("slot setMode(bsDoubleMode)"),
                          QStringLiteral("slot setLabelPosition(bsDoublePosition)"),
                          QStringLiteral("slot setWheelPosition(bsDoublePosition)"),
                          QStringLiteral("slot setWheelOrientation(bsDoubleOrientation)"),
                          QStringLiteral("slot reset()"),
                          QStringLiteral("slot languageChange()"),
                          QStringLiteral("slot resetWheel()"),
                          QStringLiteral("slot spinChanged(double)"),
                          QStringLiteral("slot wheelChanged(double)"),
                          QStringLiteral("slot setEditingBegin()"),
                          QStringLiteral("slot setEditingFinished()"),
                          QStringLiteral("slot setMouseEditingBegin()"),
                          QStringLiteral("slot setMouseEditingFinished()"),
                      }));

    QStringList properties;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
        properties << QString::fromLatin1(meta.property(i).typeName()) + QLatin1Char(' ') +
                          QString::fromLatin1(meta.property(i).name());
    QCOMPARE(properties,
             QStringList({QStringLiteral("double value"), QStringLiteral("QString label")}));
    QCOMPARE(meta.superClass(), &QWidget::staticMetaObject);
}

void tst_bsDoubleWidget::enumerationsHaveTheirNumbersAndNames()
{
    QCOMPARE(int(SpinBoxOnly), 0);
    QCOMPARE(int(WheelOnly), 1);
    QCOMPARE(int(SpinBoxAndWheel), 2);
    QCOMPARE(int(Top), 0);
    QCOMPARE(int(Bottom), 1);
    QCOMPARE(int(Left), 2);
    QCOMPARE(int(Right), 3);
    QCOMPARE(int(Horizontal), 0);
    QCOMPARE(int(Vertical), 1);

    build(SpinBoxAndWheel, 0, 100, false);
    for (const char *name : {"bsDoubleMode", "bsDoublePosition", "bsDoubleOrientation"})
        QVERIFY2(QMetaType::type(name) != QMetaType::UnknownType, name);
    // As a form does it that only knows the names.
    QVERIFY(QMetaObject::invokeMethod(m_widget, "setMode", Q_ARG(bsDoubleMode, bsDoubleMode(1))));
    QVERIFY(m_spinBox->isHidden());
}

void tst_bsDoubleWidget::construction()
{
    build(SpinBoxAndWheel, -10.0, 20.0, false);
    QCOMPARE(m_widget->sizePolicy(), QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed));
    auto *mainLayout = qobject_cast<QBoxLayout *>(m_widget->layout());
    QVERIFY(mainLayout);
    QCOMPARE(mainLayout->direction(), QBoxLayout::LeftToRight);
    QCOMPARE(mainLayout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(mainLayout->count(), 2);
    QCOMPARE(mainLayout->itemAt(0)->widget(), m_label);
    auto *valueLayout = qobject_cast<QBoxLayout *>(mainLayout->itemAt(1)->layout());
    QVERIFY(valueLayout);
    QCOMPARE(valueLayout->direction(), QBoxLayout::TopToBottom);
    QCOMPARE(valueLayout->spacing(), 5);
    QCOMPARE(valueLayout->count(), 2);
    QCOMPARE(valueLayout->itemAt(0)->widget(), m_spinBox);
    QCOMPARE(valueLayout->itemAt(1)->widget(), m_wheel);
    QCOMPARE(m_label->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(m_label->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);

    QCOMPARE(m_spinBox->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(m_spinBox->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(m_spinBox->alignment(), Qt::AlignRight);
    QCOMPARE(m_spinBox->minimum(), -10.0);
    QCOMPARE(m_spinBox->maximum(), 20.0);
    QCOMPARE(m_spinBox->wrapping(), false);
    QCOMPARE(m_spinBox->minimumWidth(), 56);
    QCOMPARE(m_spinBox->decimals(), 2);
    QCOMPARE(m_spinBox->singleStep(), 1.0);
    QCOMPARE(m_spinBox->suffix(), QString());
    QCOMPARE(m_widget->value(), 0.0);
    QCOMPARE(m_widget->label(), QString());
    QVERIFY(!m_widget->isEditing());
}

void tst_bsDoubleWidget::wheelIsSetUpForRelativeTurns()
{
    const bsDoubleWidget widget(nullptr, WheelOnly, -10.0, 20.0, false);
    const auto *wheel = widget.findChild<QwtWheel *>();
    QCOMPARE(wheel->minimum(), 0.0);
    QCOMPARE(wheel->maximum(), 360.0);
    QCOMPARE(wheel->singleStep(), 1.0);
    QCOMPARE(wheel->pageStepCount(), 10);
    QCOMPARE(wheel->totalAngle(), 3600.0);
    QCOMPARE(wheel->wrapping(), true);
    QCOMPARE(wheel->tickCount(), 15);
    QCOMPARE(wheel->orientation(), Qt::Horizontal);
    QCOMPARE(wheel->minimumWidth(), 56);
    QCOMPARE(wheel->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(wheel->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    // A wheel that runs on after its release would change the value outside of the gesture.
    QCOMPARE(wheel->mass(), 0.0);
    QCOMPARE(wheel->value(), 0.0);
}

void tst_bsDoubleWidget::modeShowsItsControls_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("spinBoxShown");
    QTest::addColumn<bool>("wheelShown");
    QTest::newRow("SpinBoxOnly") << 0 << true << false;
    QTest::newRow("WheelOnly") << 1 << false << true;
    QTest::newRow("SpinBoxAndWheel") << 2 << true << true;
}

void tst_bsDoubleWidget::modeShowsItsControls()
{
    QFETCH(int, mode);
    QFETCH(bool, spinBoxShown);
    QFETCH(bool, wheelShown);
    build(bsDoubleMode(mode), 0, 100, false);
    QCOMPARE(!m_spinBox->isHidden(), spinBoxShown);
    QCOMPARE(!m_wheel->isHidden(), wheelShown);
    for (const bsDoubleMode other : {SpinBoxOnly, WheelOnly, SpinBoxAndWheel}) {
        m_widget->setMode(other);
        m_widget->setMode(bsDoubleMode(mode));
        QCOMPARE(!m_spinBox->isHidden(), spinBoxShown);
        QCOMPARE(!m_wheel->isHidden(), wheelShown);
    }
}

void tst_bsDoubleWidget::unknownModeChangesNothing()
{
    build(WheelOnly, 0, 100, false);
    for (const int mode : {-1, 3, 99}) {
        m_widget->setMode(bsDoubleMode(mode));
        QVERIFY(m_spinBox->isHidden());
        QVERIFY(!m_wheel->isHidden());
    }
}

void tst_bsDoubleWidget::labelPosition_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("direction");
    QTest::addColumn<int>("alignment");
    QTest::newRow("Top") << 0 << int(QBoxLayout::TopToBottom) << int(Qt::AlignCenter);
    QTest::newRow("Bottom") << 1 << int(QBoxLayout::BottomToTop) << int(Qt::AlignCenter);
    QTest::newRow("Left") << 2 << int(QBoxLayout::LeftToRight) << int(Qt::AlignLeft);
    QTest::newRow("Right") << 3 << int(QBoxLayout::RightToLeft) << int(Qt::AlignLeft);
}

void tst_bsDoubleWidget::labelPosition()
{
    QFETCH(int, position);
    QFETCH(int, direction);
    QFETCH(int, alignment);
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setLabelPosition(bsDoublePosition(position));
    auto *mainLayout = qobject_cast<QBoxLayout *>(m_widget->layout());
    QCOMPARE(int(mainLayout->direction()), direction);
    QCOMPARE(int(mainLayout->itemAt(0)->alignment()), alignment);
}

void tst_bsDoubleWidget::wheelPosition_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("direction");
    QTest::newRow("Top") << 0 << int(QBoxLayout::BottomToTop);
    QTest::newRow("Bottom") << 1 << int(QBoxLayout::TopToBottom);
    QTest::newRow("Left") << 2 << int(QBoxLayout::RightToLeft);
    QTest::newRow("Right") << 3 << int(QBoxLayout::LeftToRight);
}

void tst_bsDoubleWidget::wheelPosition()
{
    QFETCH(int, position);
    QFETCH(int, direction);
    build(SpinBoxAndWheel, 0, 100, false);
    m_widget->setWheelPosition(bsDoublePosition(position));
    const auto *valueLayout = qobject_cast<QBoxLayout *>(m_widget->layout()->itemAt(1)->layout());
    QCOMPARE(int(valueLayout->direction()), direction);

    // The words mean what one sees.
    m_wheel->setFixedWidth(80);
    show();
    const QPoint wheel = m_wheel->geometry().center();
    const QPoint spinBox = m_spinBox->geometry().center();
    const QVector<bool> side = {wheel.y() < spinBox.y(), wheel.y() > spinBox.y(),
                                wheel.x() < spinBox.x(), wheel.x() > spinBox.x()};
    QVERIFY(side.at(position));
}

void tst_bsDoubleWidget::unknownPositionsChangeNothing()
{
    build(SpinBoxAndWheel, 0, 100, false);
    auto *mainLayout = qobject_cast<QBoxLayout *>(m_widget->layout());
    auto *valueLayout = qobject_cast<QBoxLayout *>(mainLayout->itemAt(1)->layout());
    m_widget->setLabelPosition(Bottom);
    m_widget->setWheelPosition(Left);
    m_widget->setWheelOrientation(Vertical);
    for (const int number : {-1, 4, 99}) {
        m_widget->setLabelPosition(bsDoublePosition(number));
        m_widget->setWheelPosition(bsDoublePosition(number));
        m_widget->setWheelOrientation(bsDoubleOrientation(number));
        QCOMPARE(mainLayout->direction(), QBoxLayout::BottomToTop);
        QCOMPARE(int(mainLayout->itemAt(0)->alignment()), int(Qt::AlignCenter));
        QCOMPARE(valueLayout->direction(), QBoxLayout::RightToLeft);
        QCOMPARE(m_wheel->orientation(), Qt::Vertical);
    }
}

void tst_bsDoubleWidget::wheelOrientation()
{
    bsDoubleWidget widget(nullptr, SpinBoxAndWheel, 0, 100, false);
    auto *wheel = widget.findChild<QwtWheel *>();
    const QLayout *valueLayout = widget.layout()->itemAt(1)->layout();

    widget.setWheelOrientation(Vertical);
    QCOMPARE(widget.sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(widget.sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(wheel->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(wheel->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(wheel->minimumWidth(), 0);
    QCOMPARE(wheel->orientation(), Qt::Vertical);
    QCOMPARE(int(valueLayout->itemAt(1)->alignment()), int(Qt::AlignHCenter));

    widget.setWheelOrientation(Horizontal);
    QCOMPARE(widget.sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(widget.sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(wheel->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(wheel->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(wheel->minimumWidth(), 56);
    QCOMPARE(wheel->orientation(), Qt::Horizontal);
    QCOMPARE(int(valueLayout->itemAt(1)->alignment()), 0);
}

void tst_bsDoubleWidget::labelSettings()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setLabel(QStringLiteral("x [mm]"));
    QCOMPARE(m_label->text(), QStringLiteral("x [mm]"));
    QCOMPARE(m_widget->label(), QStringLiteral("x [mm]"));
    m_widget->showLabel(false);
    QVERIFY(m_label->isHidden());
    m_widget->showLabel(true);
    QVERIFY(!m_label->isHidden());
    QFont font = m_label->font();
    font.setPointSize(23);
    font.setBold(true);
    m_widget->setLabelFont(font);
    QCOMPARE(m_label->font().pointSize(), 23);
    QVERIFY(m_label->font().bold());
    m_widget->setLabelColor(QColor(1, 2, 3));
    for (const QPalette::ColorGroup group :
         {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(m_label->palette().color(group, m_label->foregroundRole()), QColor(1, 2, 3));
    m_widget->languageChange();
    QCOMPARE(m_widget->label(), QStringLiteral("x [mm]"));
}

void tst_bsDoubleWidget::colouredLabelOnADarkGroundStandsOnALightField()
{
    build(SpinBoxOnly, 0, 100, false);
    const auto lightPixels = [this](const QColor &ground) {
        QPalette palette = m_window->palette();
        palette.setColor(QPalette::Window, ground);
        m_window->setPalette(palette);
        const QImage image = m_label->grab().toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                count += image.pixelColor(x, y).lightness() > 200;
        }
        return count;
    };
    const QColor dark(40, 40, 40);
    const QColor grey(160, 160, 160);
    m_label->setFixedSize(60, 20);
    m_widget->setLabel(QStringLiteral("X :"));
    m_widget->setLabelColor(QColor(200, 0, 0));
    QVERIFY(lightPixels(dark) > 50);
    QCOMPARE(lightPixels(grey), 0);
    // No label, no field.
    m_widget->setLabel(QString());
    QCOMPARE(lightPixels(dark), 0);
}

void tst_bsDoubleWidget::spinBoxSettings()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setSuffix(QStringLiteral(" mm"));
    m_widget->setDecimals(3);
    m_widget->setStep(0.5);
    m_widget->setValue(1.5);
    QCOMPARE(m_spinBox->text(), QStringLiteral("1.500 mm"));
    QCOMPARE(m_spinBox->singleStep(), 0.5);
    QCOMPARE(m_spinBox->maximum(), 100.0);
}

void tst_bsDoubleWidget::controlsAreNamedByTheLabel()
{
    build(SpinBoxAndWheel, 0, 100, false);
    m_widget->setLabel(QStringLiteral("y [deg]"));
    QCOMPARE(m_spinBox->accessibleName(), QStringLiteral("y [deg]"));
    QCOMPARE(m_wheel->accessibleName(), QStringLiteral("y [deg]"));
}

void tst_bsDoubleWidget::wrappingRangeEndsOneBelow()
{
    build(SpinBoxOnly, 0, 360, true);
    QCOMPARE(m_spinBox->wrapping(), true);
    QCOMPARE(m_spinBox->minimum(), 0.0);
    QCOMPARE(m_spinBox->maximum(), 359.0);
    m_widget->setWrapping(true);
    QCOMPARE(m_spinBox->maximum(), 359.0);
    m_widget->setWrapping(false);
    QCOMPARE(m_spinBox->wrapping(), false);
    QCOMPARE(m_spinBox->maximum(), 360.0);
    m_widget->setWrapping(false);
    QCOMPARE(m_spinBox->maximum(), 360.0);
    // By 1.0 also with another step.
    m_widget->setStep(0.25);
    m_widget->setWrapping(true);
    QCOMPARE(m_spinBox->wrapping(), true);
    QCOMPARE(m_spinBox->maximum(), 359.0);
}

void tst_bsDoubleWidget::setRangeFollowsTheCurrentWrapping()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setRange(-999.99, 999.99);
    QCOMPARE(m_spinBox->minimum(), -999.99);
    QCOMPARE(m_spinBox->maximum(), 999.99);
    m_widget->setWrapping(true);
    m_widget->setStep(0.5);
    m_widget->setRange(-180.0, 180.0);
    QCOMPARE(m_spinBox->minimum(), -180.0);
    QCOMPARE(m_spinBox->maximum(), 179.0);
    // A range wholly above the old one.
    m_widget->setRange(1000.0, 2000.0);
    QCOMPARE(m_spinBox->minimum(), 1000.0);
    QCOMPARE(m_spinBox->maximum(), 1999.0);
}

void tst_bsDoubleWidget::setStepKeepsAWrappingRangeOneStepBelow()
{
    build(SpinBoxOnly, 0, 360, true);
    m_widget->setStep(0.25);
    QCOMPARE(m_spinBox->singleStep(), 0.25);
    QCOMPARE(m_spinBox->maximum(), 359.75);
    m_widget->setStep(10.0);
    QCOMPARE(m_spinBox->maximum(), 350.0);
    m_widget->setWrapping(false);
    QCOMPARE(m_spinBox->maximum(), 351.0);
    m_widget->setStep(5.0);
    QCOMPARE(m_spinBox->maximum(), 351.0);
}

void tst_bsDoubleWidget::clampingByARangeIsAnnouncedWithoutAGesture()
{
    build(SpinBoxOnly, 0, 100, false);
    show();
    m_widget->setValue(50.0);
    takeEmitted();
    m_widget->setRange(0.0, 10.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 10")}));
    QVERIFY(!m_widget->isEditing());
    QVERIFY(m_other->hasFocus());
    // A range that clamps nothing leaves nothing behind.
    m_widget->setRange(0.0, 100.0);
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("7"));
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 7")}));
}

void tst_bsDoubleWidget::setValueIgnoresTinyChanges()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setDecimals(7);
    m_widget->setValue(5.000001);
    QCOMPARE(m_widget->value(), 5.000001);
    takeEmitted();
    m_widget->setValue(5.0);
    QCOMPARE(m_widget->value(), 5.000001);
    m_widget->setValue(5.000010);
    QCOMPARE(m_widget->value(), 5.000001);
    QCOMPARE(takeEmitted(), QStringList());
    m_widget->setValue(5.0000115);
    QCOMPARE(m_widget->value(), 5.0000115);
    QCOMPARE(takeEmitted().size(), 1);
}

void tst_bsDoubleWidget::setValueOpensNoGesture()
{
    build(SpinBoxOnly, 0, 100, false);
    show();
    m_widget->setValue(5.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 5")}));
    m_widget->setValue(5.1);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 5.1")}));
    QVERIFY(!m_widget->isEditing());
    QVERIFY(m_other->hasFocus());
}

void tst_bsDoubleWidget::setValueAnnouncesTheRequestedValue()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValue(500.0);
    QCOMPARE(m_widget->value(), 100.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 500")}));
}

void tst_bsDoubleWidget::notANumberIsIgnored()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValue(7.0);
    takeEmitted();
    m_widget->setValue(qQNaN());
    m_widget->adjustValue(qQNaN());
    QCOMPARE(m_widget->value(), 7.0);
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::valueAndLabelAreProperties()
{
    build(SpinBoxOnly, 0, 100, false);
    QVERIFY(m_widget->setProperty("value", 12.5));
    QVERIFY(m_widget->setProperty("label", QStringLiteral("z")));
    QCOMPARE(m_widget->value(), 12.5);
    QCOMPARE(m_widget->property("value").toDouble(), 12.5);
    QCOMPARE(m_label->text(), QStringLiteral("z"));
    QCOMPARE(m_widget->property("label").toString(), QStringLiteral("z"));
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 12.5")}));
}

void tst_bsDoubleWidget::adjustValueIgnoresTinyIncrements()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setDecimals(7);
    show();
    m_widget->adjustValue(0.000001);
    m_widget->adjustValue(0.00001);
    m_widget->adjustValue(-0.00001);
    QCOMPARE(m_widget->value(), 0.0);
    QCOMPARE(takeEmitted(), QStringList());
    QVERIFY(!m_widget->isEditing());
}

void tst_bsDoubleWidget::adjustValueIsAnEdit()
{
    build(SpinBoxOnly, 0, 100, false);
    show();
    m_widget->adjustValue(2.5);
    m_widget->adjustValue(2.5);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 2.5"),
                                         QStringLiteral("value 5")}));
    QVERIFY(m_spinBox->hasFocus());
    QVERIFY(m_widget->isEditing());
    m_other->setFocus();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QVERIFY(!m_widget->isEditing());
}

void tst_bsDoubleWidget::adjustValueWithoutAVisibleFieldEndsWhenThePointerLeaves()
{
    build(WheelOnly, 0, 100, false);
    show();
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    m_widget->adjustValue(2.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 2")}));
    leave();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::adjustValueAtTheEndOfTheRangeLeavesNothingBehind()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValue(100.0);
    takeEmitted();
    show();
    m_widget->adjustValue(5.0);
    QCOMPARE(takeEmitted(), QStringList());
    QVERIFY(!m_widget->isEditing());
    // What is typed afterwards is not ended by the pointer.
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("8"));
    QEvent leaving(QEvent::Leave);
    QApplication::sendEvent(m_widget, &leaving);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 8")}));
    QVERIFY(m_widget->isEditing());
}

void tst_bsDoubleWidget::adjustValueDuringADragBelongsToIt()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    pressWheel(90);
    dragWheelTo(100);
    m_widget->adjustValue(5.0);
    QEvent leaving(QEvent::Leave);
    QApplication::sendEvent(m_widget, &leaving);
    QVERIFY(m_widget->isEditing());
    dragWheelTo(110);
    releaseWheel(110);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 6"), QStringLiteral("value 7"),
                                         QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::periodicJumpCostsOneStep()
{
    build(WheelOnly, -999.99, 999.99, false);
    // 0 to 359 is a jump: from 361 by two units down.
    m_wheel->setValue(359.0);
    QCOMPARE(m_widget->value(), -2.0);
    // 359 to 1 is a jump: from -2 by three units up.
    m_wheel->setValue(1.0);
    QCOMPARE(m_widget->value(), 1.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value -2"),
                                         QStringLiteral("value 1")}));
}

void tst_bsDoubleWidget::differencesUpToHalfATurnAreNoJump()
{
    build(WheelOnly, -999.99, 999.99, false);
    m_wheel->setValue(180.0);
    QCOMPARE(m_widget->value(), 180.0);
    m_wheel->setValue(0.0);
    QCOMPARE(m_widget->value(), 0.0);
    // From 361 by 180 down.
    m_wheel->setValue(181.0);
    QCOMPARE(m_widget->value(), -180.0);
    // From 181 - 361 = -180 by 180 up.
    m_wheel->setValue(0.0);
    QCOMPARE(m_widget->value(), 0.0);
    // From 361 by 180.5 down: a jump, but not at the same time one back.
    m_wheel->setValue(180.5);
    QCOMPARE(m_widget->value(), -180.0);
}

void tst_bsDoubleWidget::fractionsOfAUnitAreNotCarriedOver()
{
    build(WheelOnly, -999.99, 999.99, false);
    m_wheel->setValue(0.9);
    QCOMPARE(m_widget->value(), 0.0);
    QCOMPARE(takeEmitted(), QStringList());
    m_wheel->setValue(1.5);
    QCOMPARE(m_widget->value(), 0.0);
    m_wheel->setValue(4.25);
    QCOMPARE(m_widget->value(), 2.0);
    m_wheel->setValue(2.5);
    QCOMPARE(m_widget->value(), 1.0);
}

void tst_bsDoubleWidget::oneUnitIsOneStepWhateverItsSize()
{
    build(WheelOnly, -999.99, 999.99, false);
    m_widget->setStep(0.25);
    m_wheel->setValue(3.0);
    QCOMPARE(m_widget->value(), 0.75);
    m_widget->setStep(100.0);
    m_wheel->setValue(1.0);
    QCOMPARE(m_widget->value(), -199.25);
}

void tst_bsDoubleWidget::stepsWrapAndClampAsTheSpinBoxDoes()
{
    build(WheelOnly, 0, 360, true);
    m_widget->setValue(358.0);
    takeEmitted();
    m_wheel->setValue(1.0);
    QCOMPARE(m_widget->value(), 359.0);
    m_wheel->setValue(2.0);
    QCOMPARE(m_widget->value(), 0.0);

    build(WheelOnly, 0, 100, false);
    m_widget->setValue(99.0);
    takeEmitted();
    m_wheel->setValue(7.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 100")}));
    m_wheel->setValue(8.0);
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::dragIsOneGesture_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("wheel alone") << int(WheelOnly);
    QTest::newRow("wheel below its spin box") << int(SpinBoxAndWheel);
}

void tst_bsDoubleWidget::dragIsOneGesture()
{
    QFETCH(int, mode);
    build(bsDoubleMode(mode), -999.99, 999.99, false);
    show();
    QCOMPARE(m_wheel->width(), wheelWidth);
    pressWheel(90);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin")}));
    QVERIFY(m_widget->isEditing());
    // Ten pixels a unit.
    for (int x = 90; x <= 140; ++x)
        dragWheelTo(x);
    QCOMPARE(takeEmitted(), valuesFromTo(1, 5));
    for (int x = 140; x >= 120; --x)
        dragWheelTo(x);
    QCOMPARE(takeEmitted(), valuesFromTo(4, 3));
    QCOMPARE(m_wheel->value(), 3.0);
    QCOMPARE(m_spinBox->hasFocus(), mode == SpinBoxAndWheel);
    // A button that is held keeps the gesture open wherever the pointer goes.
    QEvent leaving(QEvent::Leave);
    QApplication::sendEvent(m_widget, &leaving);
    QCOMPARE(takeEmitted(), QStringList());

    releaseWheel(120);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QCOMPARE(m_wheel->value(), 0.0);
    QCOMPARE(m_widget->value(), 3.0);
    QVERIFY(!m_spinBox->hasFocus());
    QVERIFY(!m_widget->isEditing());
    leave();
    QCOMPARE(takeEmitted(), QStringList());

    // The next drag goes on from the value, not from the wheel's old place.
    pressWheel(90);
    dragWheelTo(100);
    releaseWheel(100);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 4"),
                                         QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::pressAndReleaseWithoutATurnIsAGesture()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    pressWheel();
    releaseWheel();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::scrollingEndsWhenThePointerLeaves_data()
{
    dragIsOneGesture_data();
}

void tst_bsDoubleWidget::scrollingEndsWhenThePointerLeaves()
{
    QFETCH(int, mode);
    build(bsDoubleMode(mode), -999.99, 999.99, false);
    m_widget->setLabel(QStringLiteral("A long label"));
    show();
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    QVERIFY(m_widget->underMouse());
    QCOMPARE(takeEmitted(), QStringList());
    scroll(m_wheel, 120);
    scroll(m_wheel, 240);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 3")}));
    // To another child is not out of the widget.
    movePointer(m_window.data(), inWindow(m_label, m_label->rect().center()));
    QCOMPARE(takeEmitted(), QStringList());
    leave();
    QVERIFY(!m_widget->underMouse());
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QCOMPARE(m_wheel->value(), 0.0);
    QCOMPARE(m_widget->value(), 3.0);

    // Nothing of it is left for the next visit.
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    leave();
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::leavingWithoutAGestureEmitsNothing()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    leave();
    QCOMPARE(takeEmitted(), QStringList());
    QEvent event(QEvent::Leave);
    event.ignore();
    QApplication::sendEvent(m_widget, &event);
    QVERIFY(event.isAccepted());

    // Leaving does not end typing, also not after an earlier scrolling was ended by Return.
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    scroll(m_wheel, 120);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("8"));
    takeEmitted();
    leave();
    QCOMPARE(takeEmitted(), QStringList());
    QVERIFY(m_widget->isEditing());
}

void tst_bsDoubleWidget::scrollThatChangesNothingOpensNoGesture()
{
    build(WheelOnly, 0, 100, false);
    show();
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    scroll(m_wheel, -120);
    QCOMPARE(takeEmitted(), QStringList());
    leave();
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::dragAfterScrollingIsTheSameGesture()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    movePointer(m_window.data(), inWindow(m_wheel, QPoint(90, 5)));
    scroll(m_wheel, 120);
    pressWheel(90);
    dragWheelTo(100);
    QEvent leaving(QEvent::Leave);
    QApplication::sendEvent(m_widget, &leaving);
    QVERIFY(m_widget->isEditing());
    releaseWheel(100);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 2"), QStringLiteral("finished")}));
    leave();
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::touchpadScrollsAddUpToNotches()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    movePointer(m_window.data(), inWindow(m_wheel, m_wheel->rect().center()));
    for (int i = 0; i < 7; ++i)
        scroll(m_wheel, 15);
    QCOMPARE(takeEmitted(), QStringList());
    for (int i = 7; i < 16; ++i)
        scroll(m_wheel, 15);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 2")}));
    // More than one notch at once, and the rest of it.
    scroll(m_wheel, 300);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 4")}));
    scroll(m_wheel, 60);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 5")}));
    leave();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::scrollingSidewaysTurnsTheWheelToo()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    scroll(m_wheel, QPoint(480, 0));
    QCOMPARE(m_widget->value(), 4.0);
    scroll(m_wheel, QPoint(-120, 0));
    QCOMPARE(m_widget->value(), 3.0);
    // Of a slanting scroll the larger part counts, and only that.
    scroll(m_wheel, QPoint(-240, 120));
    QCOMPARE(m_widget->value(), 1.0);
    scroll(m_wheel, QPoint(-120, 360));
    QCOMPARE(m_widget->value(), 4.0);
}

void tst_bsDoubleWidget::changeOfScrollDirectionDropsWhatIsLeft()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    m_wheel->setValue(10.0);
    takeEmitted();
    scroll(m_wheel, 105);
    scroll(m_wheel, -105);
    QCOMPARE(takeEmitted(), QStringList());
    scroll(m_wheel, -15);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 9")}));
    scroll(m_wheel, 15);
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::aPageIsTenUnitsForAWholeNotch()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    for (int i = 0; i < 8; ++i)
        scroll(m_wheel, 15, Qt::ControlModifier);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 10")}));
}

void tst_bsDoubleWidget::homeAndEndDoNotTurnTheWheel()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    m_wheel->setFocus();
    QVERIFY(m_wheel->hasFocus());
    QTest::keyClick(m_wheel, Qt::Key_Right);
    takeEmitted();
    const double wheelValue = m_wheel->value();
    for (const int key : {int(Qt::Key_Home), int(Qt::Key_End)}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(m_wheel, &event);
        QVERIFY(!event.isAccepted());
        QCOMPARE(m_wheel->value(), wheelValue);
    }
    QCOMPARE(takeEmitted(), QStringList());
    QCOMPARE(m_widget->value(), 1.0);
}

void tst_bsDoubleWidget::turningByKeysEndsWithTheFocus()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    m_wheel->setFocus();
    QTest::keyClick(m_wheel, Qt::Key_Right);
    QTest::keyClick(m_wheel, Qt::Key_Up);
    QTest::keyClick(m_wheel, Qt::Key_PageUp);
    QTest::keyClick(m_wheel, Qt::Key_Left);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 2"), QStringLiteral("value 12"),
                                         QStringLiteral("value 11")}));
    QVERIFY(m_wheel->hasFocus());
    // The pointer was never over the widget.
    QTest::keyClick(m_wheel, Qt::Key_Tab);
    QVERIFY(!m_wheel->hasFocus());
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QCOMPARE(m_wheel->value(), 0.0);
    QCOMPARE(m_widget->value(), 11.0);
}

void tst_bsDoubleWidget::turningByKeysMovesTheFocusToAVisibleField()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    m_wheel->setFocus();
    QTest::keyClick(m_wheel, Qt::Key_Up);
    QVERIFY(m_spinBox->hasFocus());
    QTest::keyClick(m_spinBox, Qt::Key_Up);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 2")}));
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QCOMPARE(m_wheel->value(), 0.0);
}

void tst_bsDoubleWidget::typingIsOneGestureUntilReturn()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    focusSpinBox();
    QCOMPARE(takeEmitted(), QStringList());
    QTest::keyClicks(m_spinBox, QStringLiteral("12,5"));
    QCOMPARE(takeEmitted(),
             QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                          QStringLiteral("value 12"), QStringLiteral("value 12.5")}));
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QVERIFY(!m_spinBox->hasFocus());
    QVERIFY(!m_widget->isEditing());
    m_other->setFocus();
    QCOMPARE(takeEmitted(), QStringList());
    QCOMPARE(m_spinBox->text(), QStringLiteral("12.50"));
}

void tst_bsDoubleWidget::typingIsOneGestureUntilTheFocusLeaves()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("-3"));
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value -3")}));
    QTest::keyClick(m_spinBox, Qt::Key_Tab);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QVERIFY(m_other->hasFocus());
    // Another window takes the focus.
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("4"));
    takeEmitted();
    QApplication::setActiveWindow(nullptr);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::steppingByKeysIsOneGesture()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    focusSpinBox();
    QTest::keyClick(m_spinBox, Qt::Key_Up);
    QTest::keyClick(m_spinBox, Qt::Key_Up);
    QTest::keyClick(m_spinBox, Qt::Key_PageDown);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("value 2"), QStringLiteral("value -8"),
                                         QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::returnWithoutAnEditEmitsNothing()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    m_widget->setValue(4.0);
    takeEmitted();
    show();
    focusSpinBox();
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QTest::keyClick(m_spinBox, Qt::Key_Enter, Qt::KeypadModifier);
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::focusChangesWithoutAnEditEmitNothing()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    for (int i = 0; i < 3; ++i) {
        m_spinBox->setFocus();
        m_wheel->setFocus();
        m_other->setFocus();
    }
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::incompleteTextOpensNoGesture()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    m_widget->setValue(4.0);
    takeEmitted();
    show();
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("-"));
    m_other->setFocus();
    QCOMPARE(takeEmitted(), QStringList());
    QCOMPARE(m_spinBox->text(), QStringLiteral("4.00"));
}

void tst_bsDoubleWidget::undoOfHalfTypedTextStaysInTheGesture()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("7"));
    QTest::keyClick(m_spinBox, Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 7"),
                                         QStringLiteral("value 0"), QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::mouseWheelOverAFieldWithoutFocusEmitsNothing()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    movePointer(m_window.data(), inWindow(m_spinBox, m_spinBox->rect().center()));
    scroll(m_spinBox, 120);
    QCOMPARE(takeEmitted(), QStringList());
    QVERIFY(m_other->hasFocus());
    // The thumb wheel needs no focus.
    scroll(m_wheel, 120);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1")}));
}

void tst_bsDoubleWidget::resetOutsideAGestureOnlyAnnouncesZero_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("spin box alone") << int(SpinBoxOnly);
    QTest::newRow("wheel alone") << int(WheelOnly);
    QTest::newRow("both") << int(SpinBoxAndWheel);
}

void tst_bsDoubleWidget::resetOutsideAGestureOnlyAnnouncesZero()
{
    QFETCH(int, mode);
    build(bsDoubleMode(mode), -999.99, 999.99, false);
    show();
    m_widget->setValue(7.0);
    takeEmitted();
    QSignalSpy spinBoxChanges(m_spinBox, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
    m_widget->reset();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 0")}));
    QCOMPARE(spinBoxChanges.size(), 1);
    QCOMPARE(m_widget->value(), 0.0);
    QVERIFY(!m_widget->isEditing());
    QVERIFY(m_other->hasFocus());
    leave();
    m_spinBox->setFocus();
    m_other->setFocus();
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::resetOfZeroEmitsNothing()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    m_widget->reset();
    QCOMPARE(takeEmitted(), QStringList());
    // The next change is the user's again.
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("1"));
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1")}));
}

void tst_bsDoubleWidget::resetInsideEditingFinishedBelongsToTheGesture()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    connect(m_widget, &bsDoubleWidget::editingFinished, m_widget, &bsDoubleWidget::reset);
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("5"));
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    const QStringList expected = {QStringLiteral("begin"), QStringLiteral("value 5"),
                                  QStringLiteral("finished"), QStringLiteral("value 0")};
    QCOMPARE(takeEmitted(), expected);
    QVERIFY(!m_spinBox->hasFocus());
    QCOMPARE(m_spinBox->text(), QStringLiteral("0.00"));
    QVERIFY(!m_widget->isEditing());

    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("5"));
    m_other->setFocus();
    QCOMPARE(takeEmitted(), expected);
    QVERIFY(m_other->hasFocus());

    pressWheel(90);
    dragWheelTo(140);
    releaseWheel(140);
    QCOMPARE(takeEmitted(), expected);
    QCOMPARE(m_wheel->value(), 0.0);
}

void tst_bsDoubleWidget::resetDuringADragEndsTheGesture()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    QSignalSpy released(m_wheel, &QwtWheel::wheelReleased);
    pressWheel(90);
    dragWheelTo(120);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 3")}));
    m_widget->reset();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 0"), QStringLiteral("finished")}));
    QVERIFY(!m_widget->isEditing());
    QCOMPARE(m_wheel->value(), 0.0);
    // The wheel has forgotten the drag, as the library does whenever it is written to.
    dragWheelTo(150);
    releaseWheel(150);
    QCOMPARE(released.size(), 0);
    QCOMPARE(takeEmitted(), QStringList());

    // Neither is the mouse taken to be down any more: scrolling ends with the pointer's leaving.
    scroll(m_wheel, 120);
    leave();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::resetDuringTypingEndsTheGesture()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("6"));
    takeEmitted();
    m_widget->reset();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 0"), QStringLiteral("finished")}));
    QVERIFY(!m_widget->isEditing());
}

void tst_bsDoubleWidget::resetFromAnotherFieldsEndKeepsTheEditThatBegins()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    auto *neighbour = new bsDoubleWidget(m_window.data(), SpinBoxOnly, -10.0, 10.0, false);
    m_window->layout()->addWidget(neighbour);
    auto *neighbourField = neighbour->findChild<ValueSpinBox *>();
    // As with components of one vector: the end of any of them resets all.
    connect(neighbour, &bsDoubleWidget::editingFinished, this,
            [this] { m_emitted << QStringLiteral("neighbour finished"); });
    connect(neighbour, &bsDoubleWidget::editingFinished, m_widget, &bsDoubleWidget::reset);
    connect(neighbour, &bsDoubleWidget::editingFinished, neighbour, &bsDoubleWidget::reset);
    show();

    neighbourField->setFocus();
    neighbourField->selectAll();
    QTest::keyClicks(neighbourField, QStringLiteral("3"));
    scroll(m_wheel, 120);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("neighbour finished"),
                                         QStringLiteral("begin"), QStringLiteral("value 1")}));
    QCOMPARE(m_widget->value(), 1.0);
    QCOMPARE(neighbour->value(), 0.0);
    QVERIFY(!neighbour->isEditing());
    scroll(m_wheel, 120);
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("value 2"), QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::finishEditingCountsTypedText()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("2,5"));
    takeEmitted();
    m_widget->finishEditing();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QCOMPARE(m_widget->value(), 2.5);
    QCOMPARE(m_spinBox->text(), QStringLiteral("2.50"));
    QVERIFY(!m_widget->isEditing());
    m_widget->finishEditing();
    m_other->setFocus();
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::finishEditingEndsADrag()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    pressWheel(90);
    dragWheelTo(110);
    m_widget->finishEditing();
    dragWheelTo(140);
    releaseWheel(140);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 2"),
                                         QStringLiteral("finished")}));
    QCOMPARE(m_widget->value(), 2.0);
}

void tst_bsDoubleWidget::finishEditingWithoutAGestureEmitsNothing()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    m_widget->setValue(1.25);
    show();
    takeEmitted();
    m_widget->finishEditing();
    focusSpinBox();
    m_widget->finishEditing();
    QCOMPARE(takeEmitted(), QStringList());
    QVERIFY(m_spinBox->hasFocus());
}

void tst_bsDoubleWidget::finishEditingDropsIncompleteText()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    m_widget->setValue(1.25);
    show();
    takeEmitted();
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("-"));
    m_widget->finishEditing();
    QCOMPARE(m_spinBox->text(), QStringLiteral("1.25"));
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::fieldFinishingDuringADragEndsBothOnce()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    pressWheel(90);
    dragWheelTo(100);
    QVERIFY(m_spinBox->hasFocus());
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1"),
                                         QStringLiteral("finished")}));
    dragWheelTo(130);
    releaseWheel(130);
    QCOMPARE(takeEmitted(), QStringList());
    scroll(m_wheel, 120);
    leave();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 2"),
                                         QStringLiteral("finished")}));
}

void tst_bsDoubleWidget::hidingEndsTheGesture()
{
    build(WheelOnly, -999.99, 999.99, false);
    show();
    scroll(m_wheel, 120);
    takeEmitted();
    m_window->hide();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QVERIFY(!m_widget->isEditing());
}

void tst_bsDoubleWidget::disablingEndsTheGesture_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("byScrolling");
    QTest::newRow("dragging the wheel") << int(WheelOnly) << false;
    QTest::newRow("scrolling the wheel") << int(WheelOnly) << true;
    QTest::newRow("typing") << int(SpinBoxOnly) << false;
}

void tst_bsDoubleWidget::disablingEndsTheGesture()
{
    QFETCH(int, mode);
    QFETCH(bool, byScrolling);
    build(bsDoubleMode(mode), -999.99, 999.99, false);
    show();
    if (byScrolling) {
        scroll(m_wheel, 120);
    } else if (mode == WheelOnly) {
        pressWheel(90);
        dragWheelTo(100);
    } else {
        focusSpinBox();
        QTest::keyClicks(m_spinBox, QStringLiteral("1"));
    }
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 1")}));
    m_widget->setEnabled(false);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QVERIFY(!m_widget->isEditing());
    if (mode == WheelOnly && !byScrolling)
        releaseWheel(100);
    m_widget->setEnabled(true);
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_bsDoubleWidget::nestedLoopInsideEditingFinishedIsSafe()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    connect(m_widget, &bsDoubleWidget::editingFinished, m_window.data(), [this] {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [this, &loop] {
            m_other->setFocus();
            m_spinBox->setFocus();
            m_other->setFocus();
            loop.quit();
        });
        loop.exec();
    });
    focusSpinBox();
    QTest::keyClicks(m_spinBox, QStringLiteral("5"));
    QTest::keyClick(m_spinBox, Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("value 5"),
                                         QStringLiteral("finished")}));
    QVERIFY(!m_widget->isEditing());
}

void tst_bsDoubleWidget::deletionInsideEditingFinishedIsSafe_data()
{
    QTest::addColumn<QString>("end");
    for (const char *end : {"Return", "focus loss", "release", "leave", "reset", "finishEditing",
                            "focus loss of the wheel"})
        QTest::newRow(end) << QString::fromLatin1(end);
}

void tst_bsDoubleWidget::deletionInsideEditingFinishedIsSafe()
{
    QFETCH(QString, end);
    build(end.contains(QLatin1String("wheel")) ? WheelOnly : SpinBoxAndWheel, -999.99, 999.99,
          false);
    show();
    const QPointer<bsDoubleWidget> alive(m_widget);
    connect(m_widget, &bsDoubleWidget::editingFinished, m_window.data(),
            [this] { delete m_widget; });
    if (end == QLatin1String("release")) {
        pressWheel(90);
        dragWheelTo(100);
        QTest::mouseRelease(m_window->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                            inWindow(m_wheel, QPoint(100, 5)));
    } else if (end == QLatin1String("leave")) {
        // Not through the window: the library itself goes on with the widget that it told.
        scroll(m_wheel, 120);
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(m_widget, &event);
    } else if (end == QLatin1String("focus loss of the wheel")) {
        m_wheel->setFocus();
        QTest::keyClick(m_wheel, Qt::Key_Up);
        m_other->setFocus();
    } else {
        focusSpinBox();
        QTest::keyClicks(m_spinBox, QStringLiteral("5"));
        if (end == QLatin1String("Return")) {
            QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
            QApplication::sendEvent(m_spinBox, &key);
        } else if (end == QLatin1String("reset")) {
            m_widget->reset();
        } else if (end == QLatin1String("finishEditing")) {
            m_widget->finishEditing();
        } else {
            m_other->setFocus();
        }
    }
    QVERIFY(alive.isNull());
    QCOMPARE(m_emitted.count(QStringLiteral("finished")), 1);
}

void tst_bsDoubleWidget::deletionInsideAChangeIsSafe_data()
{
    QTest::addColumn<QString>("call");
    for (const char *call : {"adjustValue", "reset", "finishEditing"})
        QTest::newRow(call) << QString::fromLatin1(call);
}

void tst_bsDoubleWidget::deletionInsideAChangeIsSafe()
{
    QFETCH(QString, call);
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    m_widget->setValue(7.0);
    takeEmitted();
    const QPointer<bsDoubleWidget> alive(m_widget);
    connect(m_widget, &bsDoubleWidget::valueChanged, m_window.data(), [this] { delete m_widget; });
    QStringList expected = {QStringLiteral("value 0")};
    if (call == QLatin1String("adjustValue")) {
        expected = QStringList({QStringLiteral("begin"), QStringLiteral("value 8")});
        m_widget->adjustValue(1.0);
    } else if (call == QLatin1String("reset")) {
        m_widget->reset();
    } else {
        // A field that tells of its text only when it is confirmed.
        expected = QStringList({QStringLiteral("begin"), QStringLiteral("value 3")});
        m_spinBox->setKeyboardTracking(false);
        focusSpinBox();
        QTest::keyClicks(m_spinBox, QStringLiteral("3"));
        QVERIFY(alive);
        m_widget->finishEditing();
    }
    QVERIFY(alive.isNull());
    QCOMPARE(takeEmitted(), expected);
}

void tst_bsDoubleWidget::deletionInsideEditingBeginIsSafe()
{
    build(SpinBoxAndWheel, -999.99, 999.99, false);
    show();
    const QPointer<bsDoubleWidget> alive(m_widget);
    connect(m_widget, &bsDoubleWidget::editingBegin, m_window.data(), [this] { delete m_widget; });
    m_widget->adjustValue(1.0);
    QVERIFY(alive.isNull());
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin")}));
}

/// Whatever a user and the program do in whatever order: begin and end take turns, and what the
/// user changes lies between them.
void tst_bsDoubleWidget::gesturesAlwaysComeInPairs()
{
    QRandomGenerator random(testSeed());
    for (const bsDoubleMode mode : {SpinBoxOnly, WheelOnly, SpinBoxAndWheel}) {
        build(mode, -999.99, 999.99, false);
        show();
        bool open = false;
        QStringList faults;
        QString action;
        bool userActs = false;
        QObject context;
        connect(m_widget, &bsDoubleWidget::editingBegin, &context, [&] {
            if (open)
                faults << QStringLiteral("second begin by ") + action;
            open = true;
        });
        connect(m_widget, &bsDoubleWidget::editingFinished, &context, [&] {
            if (!open)
                faults << QStringLiteral("end without begin by ") + action;
            open = false;
        });
        connect(m_widget, &bsDoubleWidget::valueChanged, &context, [&] {
            if (userActs && !open)
                faults << QStringLiteral("change outside a gesture by ") + action;
        });
        const auto user = [&](const QString &name, const std::function<void()> &act) {
            action = name;
            userActs = true;
            act();
            userActs = false;
        };
        const auto program = [&](const QString &name, const std::function<void()> &act) {
            action = name;
            act();
        };
        const bool hasWheel = mode != SpinBoxOnly;
        const bool hasField = mode != WheelOnly;
        for (int round = 0; round < 300; ++round) {
            const int x = 10 + random.bounded(150);
            switch (random.bounded(13)) {
            case 0:
                if (hasWheel)
                    user(QStringLiteral("press"), [&] { pressWheel(x); });
                break;
            case 1:
                if (hasWheel)
                    user(QStringLiteral("drag"), [&] { dragWheelTo(x); });
                break;
            case 2:
                if (hasWheel)
                    user(QStringLiteral("release"), [&] { releaseWheel(x); });
                break;
            case 3:
                if (hasWheel)
                    user(QStringLiteral("scroll"), [&] { scroll(m_wheel, 15 * (x - 80)); });
                break;
            case 4:
                user(QStringLiteral("leave"), [&] { leave(); });
                break;
            case 5:
                if (hasField)
                    user(QStringLiteral("typing"), [&] {
                        m_spinBox->setFocus();
                        QTest::keyClicks(m_spinBox, QString::number(random.bounded(100)));
                    });
                break;
            case 6:
                if (hasField)
                    user(QStringLiteral("Return"),
                         [&] { QTest::keyClick(m_spinBox, Qt::Key_Return); });
                break;
            case 7:
                user(QStringLiteral("other focus"), [&] { m_other->setFocus(); });
                break;
            case 8:
                program(QStringLiteral("reset"), [&] { m_widget->reset(); });
                break;
            case 9:
                program(QStringLiteral("setValue"), [&] { m_widget->setValue(x); });
                break;
            case 10:
                program(QStringLiteral("finishEditing"), [&] { m_widget->finishEditing(); });
                break;
            case 11:
                program(QStringLiteral("disabling"), [&] {
                    m_widget->setEnabled(false);
                    m_widget->setEnabled(true);
                });
                break;
            default:
                if (hasWheel)
                    user(QStringLiteral("wheel keys"), [&] {
                        m_wheel->setFocus();
                        QTest::keyClick(m_wheel, x % 2 ? Qt::Key_Up : Qt::Key_PageDown);
                    });
                break;
            }
            QVERIFY2(faults.isEmpty(), qPrintable(faults.join(QLatin1Char('\n'))));
            QCOMPARE(m_widget->isEditing(), open);
        }
        releaseWheel();
        m_window->hide();
        QVERIFY2(!open, "left open");
        QCOMPARE(m_wheel->value(), 0.0);
    }
}

QUOREL2_TEST_MAIN(tst_bsDoubleWidget)
#include "tst_bsDoubleWidget.moc"
