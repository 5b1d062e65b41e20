#pragma once

#include <QElapsedTimer>
#include <QObject>

/// The controller's time. A virtual clock stands still until advance() is called.
class SimulationClock : public QObject {
    Q_OBJECT

public:
    enum class Kind { Real, Virtual };

    explicit SimulationClock(Kind kind, QObject *parent = nullptr);

    bool isVirtual() const { return m_kind == Kind::Virtual; }
    /// Microseconds since the clock was made.
    qint64 nowUs() const;
    /// Moves a virtual clock forward and emits advanced(); what was due is done when this returns.
    /// Does nothing for a real clock or a negative time.
    void advance(qint64 milliseconds);

signals:
    void advanced();

private:
    Kind m_kind;
    QElapsedTimer m_elapsed;
    qint64 m_virtualUs = 0;
};
