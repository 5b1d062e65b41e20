#pragma once

#include <QLoggingCategory>

/// Quiet by default; QT_LOGGING_RULES="quorel2.standalone.debug=true" shows every line.
Q_DECLARE_LOGGING_CATEGORY(lcStandalone)
