#pragma once

#include <QLoggingCategory>

/// Every exchange with the controller, as debug messages. Quiet unless asked for:
/// QT_LOGGING_RULES="quorel2.protocol.debug=true".
Q_DECLARE_LOGGING_CATEGORY(protocolLog)
