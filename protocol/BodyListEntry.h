#pragma once

#include <QLatin1String>
#include <QString>

/// The target type of a body whose markers can be seen from everywhere; also of every body of a
/// controller that knows no others.
inline const QLatin1String kStandardTarget("tt_std");

/// The controller may spell type keywords in any case.
bool isStandardType(const QString &type);
bool isVimbarType(const QString &type);

/// What the body list keeps of each body.
struct BodyListEntry {
    QString type;   ///< type keyword as the controller spells it
    int number = 0; ///< 1-based
    bool calibrated = false;
    QString targetType;

    /// The four fields joined by vertical bars, for example standard|3|calibrated|tt_std.
    QString toText() const;
    /// Reads the text back.
    /// @return false for fewer than four fields; @p entry is then empty with number 0
    static bool fromText(const QString &text, BodyListEntry *entry);
};

/// What the body list shows of a body. Double quotes are removed from both descriptions.
QString bodyDisplayText(const QString &typeDescription, const QString &bodyDescription, int number);
