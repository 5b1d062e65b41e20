#pragma once

#include <QByteArray>
#include <QString>

/// Version that the controller claims to be.
struct BackendVersion {
    int major = 1;
    int minor = 17;
    int patch = -1; ///< -1: not told

    bool isAtLeast(int otherMajor, int otherMinor) const;
    /// "1.17", or "1.17.2" where the patch level is known.
    QByteArray toText() const;
    /// @return false, with @p version unchanged, for anything but two or three numbers below 10000
    ///         joined by dots
    static bool fromText(const QString &text, BackendVersion *version);
};
