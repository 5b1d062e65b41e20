#include "DialogTest.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QTimer>

QByteArray bodyLine(int id, const QByteArray &quality)
{
    return "6d 1 [" + QByteArray::number(id) + " " + quality + "]" + kPlace;
}

QStringList withPlainZeros(QStringList commands)
{
    return commands.replaceInStrings(" -0.000", " 0.000");
}

bsMatrix transformOf(const QString &command)
{
    const QStringList words = command.split(QLatin1Char(' '));
    bsMatrix transform = bsMatrix::identity();
    for (int i = 0; i < 3; ++i)
        transform.element(i, 3) = words.at(5 + i).toDouble();
    for (int i = 0; i < 9; ++i)
        transform.element(i % 3, i / 3) = words.at(8 + i).toDouble();
    return transform;
}

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

void DialogTest::runWhen(const std::function<bool()> &condition,
                         const std::function<void()> &script)
{
    auto *timer = new QTimer(&fixture());
    connect(timer, &QTimer::timeout, this, [timer, condition, script] {
        if (!condition())
            return;
        timer->stop();
        timer->deleteLater();
        script();
    });
    timer->start(1);
}
