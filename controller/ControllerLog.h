#pragma once

#include <QLoggingCategory>

/// "quorel2.controller": connections, requests and replies at debug level; quiet by default.
Q_DECLARE_LOGGING_CATEGORY(controllerLog)
