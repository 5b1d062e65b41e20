#pragma once

#include <host/MessageReceiver.h>

#include <QObject>
#include <QString>

/// Takes the messages that other modules address to this one and passes the requests to open the
/// dialog on as a signal.
class BodyAdjustmentMessageReceiver : public QObject, public MessageReceiver {
    Q_OBJECT

public:
    explicit BodyAdjustmentMessageReceiver(QObject *parent);

    /// May be called on any thread; always returns 0.
    int receiveMessage(int kind, const char *source, const char *text) override;

signals:
    /// @param src  name of the requesting module
    /// @param msg  the requested body as type keyword, vertical bar and number; may be empty
    void OpenBodyAdjustmentDialog(QString src, QString msg);
};
