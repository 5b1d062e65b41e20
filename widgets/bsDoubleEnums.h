#pragma once

#include <QMetaType>

// The numbers are part of the interface: forms hand them over as plain integers. The underlying
// type is fixed so that a number outside the list is a defined value, which every setter ignores.

/// Which of the two controls of a bsDoubleWidget are shown.
enum bsDoubleMode : int {
    SpinBoxOnly = 0,
    WheelOnly = 1,
    SpinBoxAndWheel = 2,
};

/// Side on which the label, or the wheel, stands.
enum bsDoublePosition : int {
    Top = 0,
    Bottom = 1,
    Left = 2,
    Right = 3,
};

/// Direction in which the wheel turns.
enum bsDoubleOrientation : int {
    Horizontal = 0,
    Vertical = 1,
};

Q_DECLARE_METATYPE(bsDoubleMode)
Q_DECLARE_METATYPE(bsDoublePosition)
Q_DECLARE_METATYPE(bsDoubleOrientation)
