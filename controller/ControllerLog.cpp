#include "ControllerLog.h"

Q_LOGGING_CATEGORY(controllerLog, "quorel2.controller", QtWarningMsg)
