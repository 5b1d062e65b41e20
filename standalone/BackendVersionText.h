#pragma once

#include <host/BackendVersions.h>

#include <QByteArray>
#include <QString>

/// The version of a controller backend that is not known: no feature may be taken for granted.
BackendVersions unknownBackendVersion();

/// Reads a version such as 1.17 or 1.17.3; without a third number the patch level is not known.
/// @return false and nothing written for anything else
bool parseBackendVersion(const QByteArray &text, BackendVersions *version);

/// As parseBackendVersion() reads it; empty for a version that is not known.
QString backendVersionText(const BackendVersions &version);
