#include "BodyAdjustmentMessageReceiver.h"

BodyAdjustmentMessageReceiver::BodyAdjustmentMessageReceiver(QObject *parent)
    : QObject(parent)
{
}

int BodyAdjustmentMessageReceiver::receiveMessage(int /*kind*/, const char *source,
                                                  const char *text)
{
    const QString message = QString::fromLatin1(text);
    if (message.startsWith(QLatin1String("OpenBodyAdjustmentDialog"))) {
        emit OpenBodyAdjustmentDialog(QString::fromLatin1(source),
                                      message.section(QLatin1Char(' '), 1, -1));
    }
    return 0;
}
