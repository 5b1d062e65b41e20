#include "ProtocolLog.h"

Q_LOGGING_CATEGORY(protocolLog, "quorel2.protocol", QtWarningMsg)
