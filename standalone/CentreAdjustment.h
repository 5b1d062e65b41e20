#pragma once

#include "DemoAdjustment.h"

class QDoubleSpinBox;

/// The simple adjustment, with fields and buttons: the origin to the centre of gravity, a turn
/// about z, Apply, OK.
class CentreAdjustment : public DemoAdjustment {
public:
    using DemoAdjustment::DemoAdjustment;

    QVector<DemoStep> steps() override;

private:
    DemoBody suitableBody() const;
    QDoubleSpinBox *turnField() const;
    DemoStep mainWindow();
    DemoStep typeTurn(double angleDeg);
    DemoStep confirmTurn(double angleDeg);
};
