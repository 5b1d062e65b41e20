#include "Logging.h"

Q_LOGGING_CATEGORY(lcStandalone, "quorel2.standalone", QtWarningMsg)
