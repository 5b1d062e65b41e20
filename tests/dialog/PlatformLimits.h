#pragma once

#include <QString>
#include <QtGlobal>

/// While it lives, what the platform without windows says of its limits is no warning of a test.
class PlatformLimits {
public:
    PlatformLimits() { s_previous = qInstallMessageHandler(handle); }
    ~PlatformLimits() { qInstallMessageHandler(s_previous); }

private:
    Q_DISABLE_COPY(PlatformLimits)

    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (!text.startsWith(QLatin1String("This plugin does not support ")))
            s_previous(type, context, text);
    }

    static inline QtMessageHandler s_previous = nullptr;
};
