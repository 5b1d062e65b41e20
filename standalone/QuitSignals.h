#pragma once

#include <QObject>

/// Ends the event loop in order when the process is asked to end (SIGINT, SIGTERM, SIGHUP). At most
/// one object may exist.
class QuitSignals : public QObject {
    Q_OBJECT

public:
    explicit QuitSignals(QObject *parent = nullptr);
    ~QuitSignals() override;

private:
    void onSignal();
};
