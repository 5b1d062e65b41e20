#pragma once

#include <QObject>

/// Ends the event loop in order when the process is asked to end (SIGINT, SIGTERM, SIGHUP). At most
/// one object may exist.
///
/// Ends only loops that run at that time: whoever begins one asks isRequested() first.
class QuitSignals : public QObject {
    Q_OBJECT

public:
    explicit QuitSignals(QObject *parent = nullptr);
    ~QuitSignals() override;

    /// True from the event loop's turn on that heard of the signal.
    bool isRequested() const { return m_requested; }

private:
    void onSignal();

    bool m_requested = false;
};
