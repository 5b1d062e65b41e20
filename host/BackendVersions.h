#pragma once

#include <QMetaType>
#include <QtGlobal>

/// Version of the controller backend, as the host knows it.
struct BackendVersions {
    void *hostData[4]; ///< further host data, not read by the module
    qint32 major;
    qint32 minor;
    qint32 patch; ///< -1: not known
};

Q_DECLARE_METATYPE(BackendVersions *)
