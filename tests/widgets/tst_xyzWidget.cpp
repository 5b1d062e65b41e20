#include <tests/support/TestMain.h>
#include <widgets/ValueSpinBox.h>
#include <widgets/xyzWidget.h>

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QLocale>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QPushButton>
#include <QScopedPointer>
#include <QStyle>
#include <QVBoxLayout>
#include <QWindow>
#include <QtTest>

#include <qwt_wheel.h>

namespace {

constexpr int componentCount = 3;

QMargins styleMargins(const QWidget *widget)
{
    const QStyle *style = widget->style();
    return {style->pixelMetric(QStyle::PM_LayoutLeftMargin, nullptr, widget),
            style->pixelMetric(QStyle::PM_LayoutTopMargin, nullptr, widget),
            style->pixelMetric(QStyle::PM_LayoutRightMargin, nullptr, widget),
            style->pixelMetric(QStyle::PM_LayoutBottomMargin, nullptr, widget)};
}

} // namespace

class tst_xyzWidget : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void signalsSlotsAndPropertiesStandInOrder();
    void aParentAloneGivesThreeWheels();
    void constructorArgumentsReachAllComponents();
    void labelsAreColouredByAxis();
    void labelsAreSetOneByOneAndTogether();
    void valuesLabelsAndTitleAreProperties();
    void settingsReachAllComponents();
    void rangesAndWrappingReachTheirComponent();

    void setValuesTwiceEmitsOnce();
    void setValuesIgnoresTinyChanges();
    void setValuesTellsWhatTheFieldsHold();
    void setValuesOpensNoGesture();
    void setValuesKeepsAnOuterSignalBlock();
    void adjustValuesAddsToAllThree();
    void oneComponentIsPassedOnAsATriple();
    void resetGoesThroughXYZ();

    void typingIsPassedOnAndStoredAtReturn();
    void typingIsPassedOnAndStoredAtFocusLoss();
    void goingThroughTheFieldsByTabStoresEachEdit();
    void draggingAWheelIsPassedOn();
    void rotationWrapsAtAFullTurn();
    void finishEditingCountsTheOpenEdit();
    void deletionInsideEditingFinishedIsSafe();
    void deletionInsideAResetIsSafe();

    void layoutChangesDirectionAndMargins_data();
    void layoutChangesDirectionAndMargins();
    void horizontalIsAProperty();
    void groupBoxTakesTheComponentsAndGivesThemBack();
    void groupBoxStaysWithANewLayout();
    void labelsAreAlignedAndNothingIsClipped_data();
    void labelsAreAlignedAndNothingIsClipped();

private:
    void build(bsDoubleMode mode, double minimum, double maximum, bool wrapping);
    void adopt(xyzWidget *widget);
    void storeAsTheDialogDoes();
    void show();
    void type(int component, const QString &text);
    QStringList takeEmitted();

    QScopedPointer<QWidget> m_window;
    xyzWidget *m_widget = nullptr;
    QList<bsDoubleWidget *> m_components;
    QList<ValueSpinBox *> m_fields;
    QList<QwtWheel *> m_wheels;
    QPushButton *m_other = nullptr;
    QStringList m_emitted;
};

void tst_xyzWidget::init()
{
    QLocale::setDefault(QLocale::c());
}

void tst_xyzWidget::cleanup()
{
    m_window.reset();
    m_emitted.clear();
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void tst_xyzWidget::build(bsDoubleMode mode, double minimum, double maximum, bool wrapping)
{
    m_window.reset(new QWidget);
    adopt(new xyzWidget(m_window.data(), mode, minimum, maximum, wrapping));
}

void tst_xyzWidget::adopt(xyzWidget *widget)
{
    m_widget = widget;
    auto *layout = new QVBoxLayout(m_window.data());
    m_other = new QPushButton(QStringLiteral("Other"), m_window.data());
    layout->addWidget(m_widget);
    layout->addStretch();
    layout->addWidget(m_other);
    m_window->move(100, 100);

    m_components = m_widget->findChildren<bsDoubleWidget *>();
    QCOMPARE(m_components.size(), componentCount);
    m_fields.clear();
    m_wheels.clear();
    for (const bsDoubleWidget *component : qAsConst(m_components)) {
        m_fields << component->findChild<ValueSpinBox *>();
        m_wheels << component->findChild<QwtWheel *>();
    }
    connect(m_widget, &xyzWidget::xyzEditingBegin, this,
            [this] { m_emitted << QStringLiteral("begin"); });
    connect(m_widget, &xyzWidget::valueChanged, this, [this](double x, double y, double z) {
        m_emitted << QStringLiteral("%1 %2 %3").arg(x).arg(y).arg(z);
    });
    connect(m_widget, &xyzWidget::xyzEditingFinished, this,
            [this] { m_emitted << QStringLiteral("finished"); });
}

/// The end of an edit is stored, and whoever stores it has the widget return to zero.
void tst_xyzWidget::storeAsTheDialogDoes()
{
    connect(m_widget, &xyzWidget::xyzEditingFinished, m_widget, &xyzWidget::reset);
}

void tst_xyzWidget::show()
{
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.data()));
    // There may be no window manager that would do it.
    QApplication::setActiveWindow(m_window.data());
    QTRY_VERIFY(m_window->isActiveWindow());
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
}

void tst_xyzWidget::type(int component, const QString &text)
{
    ValueSpinBox *field = m_fields.at(component);
    field->setFocus();
    QVERIFY(field->hasFocus());
    field->selectAll();
    QTest::keyClicks(field, text);
}

QStringList tst_xyzWidget::takeEmitted()
{
    QStringList emitted;
    emitted.swap(m_emitted);
    return emitted;
}

void tst_xyzWidget::signalsSlotsAndPropertiesStandInOrder()
{
    const QMetaObject &meta = xyzWidget::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        methods << (method.methodType() == QMetaMethod::Signal ? QStringLiteral("signal ")
                                                               : QStringLiteral("slot ")) +
                       QString::fromLatin1(method.methodSignature());
    }
    QCOMPARE(methods, QStringList({
                          QStringLiteral("signal valueChanged(double,double,double)"),
                          QStringLiteral("signal xyzEditingBegin()"),
                          QStringLiteral("signal xyzEditingFinished()"),
                          QStringLiteral("slot setValues(double,double,double)"),
                          QStringLiteral("slot adjustValues(double,double,double)"),
                          QStringLiteral("slot setXValue(double)"),
                          QStringLiteral("slot setYValue(double)"),
                          QStringLiteral("slot setZValue(double)"),
                          QStringLiteral("slot setLabels(QString,QString,QString)"),
                          QStringLiteral("slot setXLabel(QString)"),
                          QStringLiteral("slot setYLabel(QString)"),
                          QStringLiteral("slot setZLabel(QString)"),
                          QStringLiteral("slot reset()"),
                          QStringLiteral("slot setLayoutHorizontal(bool)"),
                          QStringLiteral("slot setXRange(double,double)"),
                          QStringLiteral("slot setYRange(double,double)"),
                          QStringLiteral("slot setZRange(double,double)"),
                          QStringLiteral("slot setXWrapping(bool)"),
                          QStringLiteral("slot setYWrapping(bool)"),
                          QStringLiteral("slot setZWrapping(bool)"),
                          QStringLiteral("slot xyzChanged(double)"),
                      }));

    QStringList properties;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
        properties << QString::fromLatin1(meta.property(i).typeName()) + QLatin1Char(' ') +
                          QString::fromLatin1(meta.property(i).name());
    QCOMPARE(
        properties,
        QStringList({QStringLiteral("double xValue"), QStringLiteral("double yValue"),
                     QStringLiteral("double zValue"), QStringLiteral("QString xLabel"),
                     QStringLiteral("QString yLabel"), QStringLiteral("QString zLabel"),
                     QStringLiteral("QString groupTitle"), QStringLiteral("bool horizontal")}));
    QCOMPARE(meta.superClass(), &QWidget::staticMetaObject);
}

void tst_xyzWidget::aParentAloneGivesThreeWheels()
{
    m_window.reset(new QWidget);
    adopt(new xyzWidget(m_window.data()));
    QCOMPARE(m_widget->sizePolicy(), QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred));
    auto *layout = qobject_cast<QHBoxLayout *>(m_widget->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layout->count(), componentCount);
    for (int i = 0; i < componentCount; ++i) {
        QCOMPARE(layout->itemAt(i)->widget(), m_components.at(i));
        QVERIFY(m_fields.at(i)->isHidden());
        QVERIFY(!m_wheels.at(i)->isHidden());
        QCOMPARE(m_fields.at(i)->minimum(), 0.0);
        QCOMPARE(m_fields.at(i)->maximum(), 100.0);
        QCOMPARE(m_fields.at(i)->wrapping(), false);
    }
    const auto *groupBox = m_widget->findChild<QGroupBox *>();
    QVERIFY(groupBox);
    QVERIFY(groupBox->isHidden());
    QCOMPARE(groupBox->sizePolicy().horizontalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(groupBox->sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
    QVERIFY(qobject_cast<QHBoxLayout *>(groupBox->layout()));
    QVERIFY(m_widget->isHorizontal());
    QCOMPARE(m_widget->xLabel(), QStringLiteral("X :"));
    QCOMPARE(m_widget->yLabel(), QStringLiteral("Y :"));
    QCOMPARE(m_widget->zLabel(), QStringLiteral("Z :"));
}

void tst_xyzWidget::constructorArgumentsReachAllComponents()
{
    build(SpinBoxAndWheel, -180.0, 180.0, true);
    for (int i = 0; i < componentCount; ++i) {
        QVERIFY(!m_fields.at(i)->isHidden());
        QVERIFY(!m_wheels.at(i)->isHidden());
        QCOMPARE(m_fields.at(i)->minimum(), -180.0);
        QCOMPARE(m_fields.at(i)->maximum(), 179.0);
        QCOMPARE(m_fields.at(i)->wrapping(), true);
    }
}

void tst_xyzWidget::labelsAreColouredByAxis()
{
    build(SpinBoxOnly, 0, 100, false);
    const QVector<QColor> colours = {QColor(200, 0, 0), QColor(0, 200, 0), QColor(0, 0, 200)};
    for (int i = 0; i < componentCount; ++i) {
        const auto *label = m_components.at(i)->findChild<QLabel *>();
        for (const QPalette::ColorGroup group :
             {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            QCOMPARE(label->palette().color(group, label->foregroundRole()), colours.at(i));
    }
}

void tst_xyzWidget::labelsAreSetOneByOneAndTogether()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setLabels(QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"));
    QCOMPARE(m_components.at(0)->label(), QStringLiteral("a"));
    QCOMPARE(m_components.at(1)->label(), QStringLiteral("b"));
    QCOMPARE(m_components.at(2)->label(), QStringLiteral("c"));
    m_widget->setXLabel(QStringLiteral("x [mm]"));
    m_widget->setYLabel(QStringLiteral("y [mm]"));
    m_widget->setZLabel(QStringLiteral("z [mm]"));
    QCOMPARE(m_widget->xLabel(), QStringLiteral("x [mm]"));
    QCOMPARE(m_widget->yLabel(), QStringLiteral("y [mm]"));
    QCOMPARE(m_widget->zLabel(), QStringLiteral("z [mm]"));
    QCOMPARE(m_fields.at(2)->accessibleName(), QStringLiteral("z [mm]"));
    QCOMPARE(m_wheels.at(0)->accessibleName(), QStringLiteral("x [mm]"));
}

void tst_xyzWidget::valuesLabelsAndTitleAreProperties()
{
    build(SpinBoxOnly, 0, 100, false);
    QVERIFY(m_widget->setProperty("xValue", 1.0));
    QVERIFY(m_widget->setProperty("yValue", 2.0));
    QVERIFY(m_widget->setProperty("zValue", 3.0));
    QCOMPARE(m_widget->xValue(), 1.0);
    QCOMPARE(m_widget->yValue(), 2.0);
    QCOMPARE(m_widget->zValue(), 3.0);
    QVERIFY(m_widget->setProperty("xLabel", QStringLiteral("p")));
    QVERIFY(m_widget->setProperty("yLabel", QStringLiteral("q")));
    QVERIFY(m_widget->setProperty("zLabel", QStringLiteral("r")));
    QCOMPARE(m_widget->xLabel() + m_widget->yLabel() + m_widget->zLabel(), QStringLiteral("pqr"));
    QVERIFY(m_widget->setProperty("groupTitle", QStringLiteral("Body")));
    QCOMPARE(m_widget->groupTitle(), QStringLiteral("Body"));
    QCOMPARE(m_widget->findChild<QGroupBox *>()->title(), QStringLiteral("Body"));
}

void tst_xyzWidget::settingsReachAllComponents()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setSuffix(QStringLiteral(" mm"));
    m_widget->setStep(0.5);
    m_widget->setMode(WheelOnly);
    for (int i = 0; i < componentCount; ++i) {
        QCOMPARE(m_fields.at(i)->suffix(), QStringLiteral(" mm"));
        QCOMPARE(m_fields.at(i)->singleStep(), 0.5);
        QVERIFY(m_fields.at(i)->isHidden());
        QVERIFY(!m_wheels.at(i)->isHidden());
    }
}

void tst_xyzWidget::rangesAndWrappingReachTheirComponent()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setXRange(-1.0, 1.0);
    m_widget->setYRange(-2.0, 2.0);
    m_widget->setZRange(-3.0, 3.0);
    m_widget->setYWrapping(true);
    QCOMPARE(m_fields.at(0)->minimum(), -1.0);
    QCOMPARE(m_fields.at(0)->maximum(), 1.0);
    QCOMPARE(m_fields.at(1)->minimum(), -2.0);
    QCOMPARE(m_fields.at(1)->maximum(), 1.0);
    QCOMPARE(m_fields.at(2)->minimum(), -3.0);
    QCOMPARE(m_fields.at(2)->maximum(), 3.0);
    QVERIFY(!m_fields.at(0)->wrapping() && m_fields.at(1)->wrapping() &&
            !m_fields.at(2)->wrapping());
    m_widget->setXWrapping(true);
    m_widget->setZWrapping(true);
    QVERIFY(m_fields.at(0)->wrapping() && m_fields.at(2)->wrapping());
}

void tst_xyzWidget::setValuesTwiceEmitsOnce()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValues(1.0, 2.0, 3.0);
    m_widget->setValues(1.0, 2.0, 3.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("1 2 3")}));
    m_widget->setValues(1.0, 2.0, 4.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("1 2 4")}));
}

void tst_xyzWidget::setValuesIgnoresTinyChanges()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValues(1.0, 2.0, 3.0);
    takeEmitted();
    m_widget->setValues(1.000009, 1.999991, 3.0);
    QCOMPARE(takeEmitted(), QStringList());
    m_widget->adjustValues(0.000001, 0.0, -0.000001);
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_xyzWidget::setValuesTellsWhatTheFieldsHold()
{
    build(SpinBoxOnly, 0, 360, true);
    // A value beyond the end of a wrapping range goes to its other end.
    m_widget->setValues(0.0, 0.0, 400.0);
    QCOMPARE(m_widget->zValue(), m_fields.at(2)->value());
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("0 0 0")}));

    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValues(1.239, 500.0, -5.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("1.24 100 0")}));
}

void tst_xyzWidget::setValuesOpensNoGesture()
{
    build(SpinBoxOnly, 0, 100, false);
    show();
    m_widget->setValues(1.0, 2.0, 3.0);
    m_widget->adjustValues(1.0, 0.0, 0.0);
    m_widget->setXValue(5.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("1 2 3"), QStringLiteral("2 2 3"),
                                         QStringLiteral("5 2 3")}));
    QVERIFY(!m_widget->isEditing());
    QVERIFY(m_other->hasFocus());
}

void tst_xyzWidget::setValuesKeepsAnOuterSignalBlock()
{
    build(SpinBoxOnly, 0, 100, false);
    m_components.at(1)->blockSignals(true);
    m_widget->setValues(1.0, 2.0, 3.0);
    QVERIFY(m_components.at(1)->signalsBlocked());
    QVERIFY(!m_components.at(0)->signalsBlocked());
}

void tst_xyzWidget::adjustValuesAddsToAllThree()
{
    build(SpinBoxOnly, -100, 100, false);
    m_widget->setValues(1.0, 2.0, 3.0);
    m_widget->adjustValues(0.5, -4.0, 0.25);
    QCOMPARE(m_widget->xValue(), 1.5);
    QCOMPARE(m_widget->yValue(), -2.0);
    QCOMPARE(m_widget->zValue(), 3.25);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("1 2 3"), QStringLiteral("1.5 -2 3.25")}));
}

void tst_xyzWidget::oneComponentIsPassedOnAsATriple()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setValues(0.0, 2.0, 3.0);
    takeEmitted();
    m_widget->setXValue(5.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("5 2 3")}));
    m_widget->setYValue(6.0);
    m_widget->setZValue(7.0);
    m_widget->setZValue(7.000001);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("5 6 3"), QStringLiteral("5 6 7")}));
    // The triple holds what the field holds, not what was asked of it.
    m_widget->setYValue(500.0);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("5 100 7")}));
}

void tst_xyzWidget::resetGoesThroughXYZ()
{
    build(SpinBoxOnly, 0, 100, false);
    show();
    m_widget->setValues(1.0, 2.0, 3.0);
    takeEmitted();
    m_widget->reset();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("0 2 3"), QStringLiteral("0 0 3"),
                                         QStringLiteral("0 0 0")}));
    QVERIFY(!m_widget->isEditing());
    QVERIFY(m_other->hasFocus());
    m_widget->reset();
    QCOMPARE(takeEmitted(), QStringList());
}

void tst_xyzWidget::typingIsPassedOnAndStoredAtReturn()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    storeAsTheDialogDoes();
    show();
    type(1, QStringLiteral("-12,5"));
    QVERIFY(m_widget->isEditing());
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("0 -1 0"),
                                         QStringLiteral("0 -12 0"), QStringLiteral("0 -12.5 0")}));
    QTest::keyClick(m_fields.at(1), Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished"), QStringLiteral("0 0 0")}));
    for (const ValueSpinBox *field : qAsConst(m_fields))
        QCOMPARE(field->text(), QStringLiteral("0.00"));
    QVERIFY(!m_widget->isEditing());
}

void tst_xyzWidget::typingIsPassedOnAndStoredAtFocusLoss()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    storeAsTheDialogDoes();
    show();
    type(1, QStringLiteral("7"));
    m_other->setFocus();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("0 7 0"),
                                         QStringLiteral("finished"), QStringLiteral("0 0 0")}));
    QCOMPARE(m_fields.at(1)->text(), QStringLiteral("0.00"));
    QVERIFY(m_other->hasFocus());
}

void tst_xyzWidget::goingThroughTheFieldsByTabStoresEachEdit()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    storeAsTheDialogDoes();
    show();
    type(0, QStringLiteral("1"));
    QTest::keyClick(m_fields.at(0), Qt::Key_Tab);
    QVERIFY(m_fields.at(1)->hasFocus());
    QTest::keyClicks(m_fields.at(1), QStringLiteral("2"));
    QTest::keyClick(m_fields.at(1), Qt::Key_Tab);
    QVERIFY(m_fields.at(2)->hasFocus());
    QTest::keyClicks(m_fields.at(2), QStringLiteral("3"));
    QTest::keyClick(m_fields.at(2), Qt::Key_Tab);
    QVERIFY(m_other->hasFocus());
    QCOMPARE(takeEmitted(),
             QStringList(
                 {QStringLiteral("begin"), QStringLiteral("1 0 0"), QStringLiteral("finished"),
                  QStringLiteral("0 0 0"), QStringLiteral("begin"), QStringLiteral("0 2 0"),
                  QStringLiteral("finished"), QStringLiteral("0 0 0"), QStringLiteral("begin"),
                  QStringLiteral("0 0 3"), QStringLiteral("finished"), QStringLiteral("0 0 0")}));
}

void tst_xyzWidget::draggingAWheelIsPassedOn()
{
    build(WheelOnly, -999.99, 999.99, false);
    storeAsTheDialogDoes();
    // One pixel is a tenth of a unit: 17.5 units are visible on 175 pixels inside a border of 2.
    for (QwtWheel *wheel : qAsConst(m_wheels))
        wheel->setFixedWidth(179);
    show();
    QwtWheel *wheel = m_wheels.at(2);
    const auto at = [&](int x) {
        return wheel->mapTo(m_window.data(), QPoint(x, wheel->height() / 2));
    };
    QWindow *window = m_window->windowHandle();
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, at(50));
    QTest::mouseMove(window, at(60));
    QTest::mouseMove(window, at(80));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, at(80));
    QCOMPARE(takeEmitted(),
             QStringList({QStringLiteral("begin"), QStringLiteral("0 0 1"), QStringLiteral("0 0 3"),
                          QStringLiteral("finished"), QStringLiteral("0 0 0")}));
    QCOMPARE(wheel->value(), 0.0);
}

void tst_xyzWidget::rotationWrapsAtAFullTurn()
{
    m_window.reset(new QWidget);
    adopt(new xyzWidget(m_window.data()));
    // As the dialog sets it up for angles; the order of the two calls makes no difference.
    m_widget->setMode(SpinBoxOnly);
    m_widget->setXRange(0.0, 360.0);
    m_widget->setXWrapping(true);
    m_widget->setYWrapping(true);
    m_widget->setYRange(0.0, 360.0);
    QCOMPARE(m_fields.at(0)->maximum(), 359.0);
    QCOMPARE(m_fields.at(1)->maximum(), 359.0);
    show();
    m_fields.at(0)->setFocus();
    QTest::keyClick(m_fields.at(0), Qt::Key_Down);
    QTest::keyClick(m_fields.at(0), Qt::Key_Up);
    QTest::keyClick(m_fields.at(0), Qt::Key_Return);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("359 0 0"),
                                         QStringLiteral("0 0 0"), QStringLiteral("finished")}));
}

void tst_xyzWidget::finishEditingCountsTheOpenEdit()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    m_widget->finishEditing();
    QCOMPARE(takeEmitted(), QStringList());
    type(2, QStringLiteral("4,5"));
    takeEmitted();
    m_widget->finishEditing();
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("finished")}));
    QCOMPARE(m_widget->zValue(), 4.5);
    QVERIFY(!m_widget->isEditing());
}

void tst_xyzWidget::deletionInsideEditingFinishedIsSafe()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    show();
    connect(m_widget, &xyzWidget::xyzEditingFinished, m_window.data(), [this] { delete m_widget; });
    type(0, QStringLiteral("1"));
    m_widget->finishEditing();
    QCOMPARE(m_window->findChild<xyzWidget *>(), nullptr);
}

void tst_xyzWidget::deletionInsideAResetIsSafe()
{
    build(SpinBoxOnly, -999.99, 999.99, false);
    m_widget->setValues(1.0, 2.0, 3.0);
    takeEmitted();
    connect(m_widget, &xyzWidget::valueChanged, m_window.data(), [this] { delete m_widget; });
    m_widget->reset();
    QCOMPARE(m_window->findChild<xyzWidget *>(), nullptr);
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("0 2 3")}));
}

void tst_xyzWidget::layoutChangesDirectionAndMargins_data()
{
    QTest::addColumn<bool>("horizontal");
    QTest::newRow("side by side") << true;
    QTest::newRow("one above the other") << false;
}

void tst_xyzWidget::layoutChangesDirectionAndMargins()
{
    QFETCH(bool, horizontal);
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setLayoutHorizontal(!horizontal);
    m_widget->setLayoutHorizontal(horizontal);
    QCOMPARE(m_widget->isHorizontal(), horizontal);
    const QLayout *layout = m_widget->layout();
    const QLayout *grouped = m_widget->findChild<QGroupBox *>()->layout();
    for (const QLayout *each : {layout, grouped}) {
        QCOMPARE(qobject_cast<const QHBoxLayout *>(each) != nullptr, horizontal);
        QCOMPARE(qobject_cast<const QVBoxLayout *>(each) != nullptr, !horizontal);
    }
    QVERIFY(styleMargins(m_widget).left() > 0);
    QCOMPARE(layout->contentsMargins(), styleMargins(m_widget));
    QCOMPARE(layout->count(), componentCount);
    for (int i = 0; i < componentCount; ++i)
        QCOMPARE(layout->itemAt(i)->widget(), m_components.at(i));

    show();
    for (int i = 1; i < componentCount; ++i) {
        const QRect before = m_components.at(i - 1)->geometry();
        const QRect after = m_components.at(i)->geometry();
        if (horizontal)
            QVERIFY(after.left() > before.right());
        else
            QVERIFY(after.top() > before.bottom());
    }
    // Also while it is shown.
    m_widget->setLayoutHorizontal(!horizontal);
    m_widget->setLayoutHorizontal(horizontal);
    for (const bsDoubleWidget *component : qAsConst(m_components))
        QVERIFY(component->isVisible());
}

void tst_xyzWidget::horizontalIsAProperty()
{
    build(SpinBoxOnly, 0, 100, false);
    QCOMPARE(m_widget->property("horizontal").toBool(), true);
    QVERIFY(m_widget->setProperty("horizontal", QVariant(false)));
    QCOMPARE(m_widget->property("horizontal").toBool(), false);
    QVERIFY(qobject_cast<QVBoxLayout *>(m_widget->layout()));
}

void tst_xyzWidget::groupBoxTakesTheComponentsAndGivesThemBack()
{
    build(SpinBoxOnly, 0, 100, false);
    m_widget->setGroupTitle(QStringLiteral("Position"));
    auto *groupBox = m_widget->findChild<QGroupBox *>();
    show();
    for (int round = 0; round < 2; ++round) {
        m_widget->showGroupBox(true);
        m_widget->showGroupBox(true);
        QCOMPARE(m_widget->layout()->count(), 1);
        QCOMPARE(m_widget->layout()->itemAt(0)->widget(), groupBox);
        QTRY_VERIFY(groupBox->isVisible());
        for (int i = 0; i < componentCount; ++i) {
            QCOMPARE(groupBox->layout()->itemAt(i)->widget(), m_components.at(i));
            QCOMPARE(m_components.at(i)->parentWidget(), groupBox);
            QTRY_VERIFY(m_components.at(i)->isVisible());
        }
        m_widget->showGroupBox(false);
        m_widget->showGroupBox(false);
        QVERIFY(groupBox->isHidden());
        QCOMPARE(groupBox->layout()->count(), 0);
        QCOMPARE(m_widget->layout()->count(), componentCount);
        for (int i = 0; i < componentCount; ++i) {
            QCOMPARE(m_widget->layout()->itemAt(i)->widget(), m_components.at(i));
            QCOMPARE(m_components.at(i)->parentWidget(), m_widget);
            QTRY_VERIFY(m_components.at(i)->isVisible());
        }
    }
    type(0, QStringLiteral("1"));
    QCOMPARE(takeEmitted(), QStringList({QStringLiteral("begin"), QStringLiteral("1 0 0")}));
}

void tst_xyzWidget::groupBoxStaysWithANewLayout()
{
    build(SpinBoxOnly, 0, 100, false);
    auto *groupBox = m_widget->findChild<QGroupBox *>();
    m_widget->showGroupBox(true);
    m_widget->setLayoutHorizontal(false);
    QCOMPARE(m_widget->layout()->count(), 1);
    QCOMPARE(m_widget->layout()->itemAt(0)->widget(), groupBox);
    QVERIFY(qobject_cast<QVBoxLayout *>(groupBox->layout()));
    QCOMPARE(groupBox->layout()->count(), componentCount);
    show();
    for (const bsDoubleWidget *component : qAsConst(m_components))
        QTRY_VERIFY(component->isVisible());
}

void tst_xyzWidget::labelsAreAlignedAndNothingIsClipped_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("horizontal");
    for (const bool horizontal : {true, false}) {
        const char *direction = horizontal ? "side by side" : "one above the other";
        QTest::addRow("fields %s", direction) << int(SpinBoxOnly) << horizontal;
        QTest::addRow("wheels %s", direction) << int(WheelOnly) << horizontal;
        QTest::addRow("both %s", direction) << int(SpinBoxAndWheel) << horizontal;
    }
}

void tst_xyzWidget::labelsAreAlignedAndNothingIsClipped()
{
    QFETCH(int, mode);
    QFETCH(bool, horizontal);
    build(bsDoubleMode(mode), -999.99, 999.99, false);
    m_widget->setLabels(QStringLiteral("x [mm]"), QStringLiteral("y [mm]"),
                        QStringLiteral("z [mm]"));
    m_widget->setLayoutHorizontal(horizontal);
    m_widget->setValues(-999.99, -999.99, -999.99);
    show();
    // The directory is given by whoever wants to look at the pictures.
    const QString pictures = qEnvironmentVariable("QUOREL2_PICTURES");
    if (!pictures.isEmpty())
        QVERIFY(m_window->grab().save(
            QStringLiteral("%1/xyz-%2-%3.png")
                .arg(pictures)
                .arg(mode)
                .arg(horizontal ? QLatin1String("horizontal") : QLatin1String("vertical"))));
    for (int i = 0; i < componentCount; ++i) {
        const auto *label = m_components.at(i)->findChild<QLabel *>();
        const QList<const QWidget *> parts = {label, m_fields.at(i), m_wheels.at(i)};
        for (const QWidget *part : parts) {
            if (!part->isVisible())
                continue;
            QVERIFY(part->width() >= part->minimumSizeHint().width());
            QVERIFY(part->height() >= part->minimumSizeHint().height());
            QVERIFY(m_components.at(i)->rect().contains(part->geometry()));
        }
        QVERIFY(label->width() >= label->sizeHint().width());
        QVERIFY(m_widget->rect().contains(m_components.at(i)->geometry()));
        const auto *first = m_components.at(0)->findChild<QLabel *>();
        const QPoint corner = label->mapTo(m_widget, QPoint(0, 0));
        const QPoint firstCorner = first->mapTo(m_widget, QPoint(0, 0));
        QCOMPARE(horizontal ? corner.y() : corner.x(),
                 horizontal ? firstCorner.y() : firstCorner.x());
    }
}

QUOREL2_TEST_MAIN(tst_xyzWidget)
#include "tst_xyzWidget.moc"
