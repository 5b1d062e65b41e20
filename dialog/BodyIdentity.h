#pragma once

#include <protocol/BodyListEntry.h>

#include <QString>

/// Which body of the controller is meant.
struct BodyIdentity {
    QString type;       ///< type keyword
    int index = -1;     ///< body number minus one; -1: none
    int listIndex = -1; ///< position in the body list

    bool isValid() const { return index >= 0; }
    int number() const { return index + 1; }
    /// True if both are the same body of the controller; what is none is never the same.
    bool isSame(const BodyIdentity &other) const
    {
        return isValid() && type == other.type && index == other.index;
    }
};

/// A body of the list, or none.
struct ListedBody : BodyIdentity {
    bool isCalibrated = false;
    QString targetType;

    ListedBody() = default;
    ListedBody(const BodyListEntry &entry, int position)
        : BodyIdentity{entry.type, entry.number - 1, position}
        , isCalibrated(entry.calibrated)
        , targetType(entry.targetType)
    {
    }
};
