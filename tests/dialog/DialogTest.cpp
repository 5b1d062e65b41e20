#include "DialogTest.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QtTest>

QDoubleSpinBox *DialogTest::spinBox(const char *group, int component)
{
    return fixture().child<QWidget>(group)->findChildren<QDoubleSpinBox *>().at(component);
}

void DialogTest::press(const char *button)
{
    auto *widget = fixture().child<QAbstractButton>(button);
    QVERIFY2(widget->isEnabled(), button);
    widget->click();
}

void DialogTest::goOnline()
{
    fixture().child<QCheckBox>("online_checkbox")->click();
}
