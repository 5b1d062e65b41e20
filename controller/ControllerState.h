#pragma once

#include "Scenario.h"

#include <QByteArray>
#include <QVector>

/// What became of a request to the state.
enum class StateResult {
    Done,
    NoSuchType,
    NoSuchBody,
    NoSuchMarker,
    NotChangeable, ///< the configuration is locked
    NotAvailable,
    NotARotation,
    OutOfRange,
};

/// What the controller knows and does: bodies, settings, measurement, where the bodies are. Knows
/// nothing of texts or connections. The same scenario and seed give the same poses at the same
/// times.
class ControllerState {
public:
    static constexpr int kMaximumMarkers = 200;
    static constexpr int kMaximumBodies = 200;
    static constexpr double kMaximumCoordinateMm = 1.0e6;
    static constexpr double kRotationTolerance = 1.0e-3;
    /// Of an emission's direction, which comes with three decimals of three components.
    static constexpr double kUnitLengthTolerance = 1.0e-2;
    static constexpr double kMaximumEmissionAngleDeg = 180.0;
    /// The one output channel.
    static constexpr char kChannel[] = "chmon";

    /// @param scenario  as Scenario::fromJson() or builtIn() gives it
    ControllerState(const Scenario &scenario, quint32 seed);

    const BackendVersion &backend() const { return m_backend; }
    void setBackend(const BackendVersion &version) { m_backend = version; }

    // Bodies. Types are found without regard to case; numbers are 1-based.
    const QVector<BodyType> &types() const { return m_types; }
    const BodyType *findType(const QByteArray &type) const;
    int bodyCount(const QByteArray &type) const;
    /// Null if there is no such body. The pointer is good until the next change of the state.
    const ControllerBody *findBody(const QByteArray &type, int number) const;
    /// Null if there is no such body or marker.
    const ControllerMarker *findMarker(const QByteArray &type, int number, int marker) const;

    // Definitions; refused while the configuration is locked, accepted whether or not measurement
    // runs.
    /// New markers lie in the origin and have no emission; surplus ones are dropped from the end.
    StateResult setMarkerCount(const QByteArray &type, int number, int count);
    StateResult setMarker(const QByteArray &type, int number, int marker, const Vector3 &position);
    /// The direction must be zero or, as far as three decimals can say, of unit length.
    StateResult setEmission(const QByteArray &type, int number, int marker,
                            const ControllerEmission &emission);
    /// The markers behind it move up by one number.
    StateResult deleteMarker(const QByteArray &type, int number, int marker);
    /// Redefines the body's coordinates by p' = R p + t. Emissions turn with R; the tracked pose
    /// changes so that every marker stays where it is in the room.
    StateResult transformBody(const QByteArray &type, int number, const RigidTransform &transform);

    // Settings.
    bool isConfigurationChangeable() const { return m_configurationChangeable; }
    void setConfigurationChangeable(bool changeable) { m_configurationChangeable = changeable; }
    bool isTrackingAvailable() const { return m_trackingAvailable; }
    /// Ends a running measurement when tracking is no longer available.
    void setTrackingAvailable(bool available);
    bool isMultiUserAvailable() const { return m_multiUserAvailable; }
    bool isMultiUser() const { return m_multiUser; }
    /// Switching multi-user off switches "with head" off too.
    StateResult setMultiUser(bool on);
    bool isMultiUserWithHeadAvailable() const { return m_multiUserWithHeadAvailable; }
    bool isMultiUserWithHead() const { return m_multiUserWithHead; }
    /// Can be switched on only while multi-user is on.
    StateResult setMultiUserWithHead(bool on);
    bool isOutput6df() const { return m_output6df; }
    const QByteArray &reference() const { return m_reference; }
    /// "none", a body ("standard b02"), or the reference that the scenario started with.
    StateResult setReference(const QByteArray &reference);

    // Measurement and its outputs.
    bool isMeasuring() const { return m_measuring; }
    StateResult startMeasurement();
    StateResult stopMeasurement();
    /// The lines of the one channel are "6d", "6df" and "6df2".
    static bool isOutput(const QByteArray &channel, const QByteArray &line);
    bool isOutputActive(const QByteArray &line) const;
    StateResult setOutputActive(const QByteArray &channel, const QByteArray &line, bool active);
    bool omitsUntracked() const { return m_omitUntracked; }

    DataFault dataFault() const { return m_dataFault; }
    void setDataFault(DataFault fault) { m_dataFault = fault; }

    // Tracking.
    struct TrackedBody {
        bool tracked = false;
        RigidTransform pose; ///< body to room; identity when not tracked
    };
    /// @param timeUs  the controller's time in microseconds
    TrackedBody trackedBody(const QByteArray &type, int number, qint64 timeUs) const;
    /// The head of the multi-user operation.
    TrackedBody trackedHead(qint64 timeUs) const;
    /// For tests: makes a body behave otherwise.
    StateResult setMotion(const QByteArray &type, int number, Motion motion);

private:
    struct Swing { // one of the sines that make up a motion
        double amplitude;
        double frequencyHz;
        double phase;
    };
    struct Track {
        Swing swings[6][2]; // x, y, z in mm, then three angles in degrees
        double blinkPhaseS;
        RigidTransform redefinition; // of the body's coordinates since the start
    };

    int indexOf(const QByteArray &type, int number) const;
    StateResult changeableMarker(const QByteArray &type, int number, int marker,
                                 ControllerMarker **found);
    static Track makeTrack(quint32 seed, quint32 index);
    static RigidTransform swing(const Track &track, const RigidTransform &place, qint64 timeUs);

    BackendVersion m_backend;
    bool m_configurationChangeable;
    bool m_trackingAvailable;
    bool m_measuring;
    QByteArray m_reference;
    QByteArray m_startReference;
    bool m_multiUserAvailable;
    bool m_multiUser;
    bool m_multiUserWithHeadAvailable;
    bool m_multiUserWithHead;
    bool m_output6df;
    QVector<QByteArray> m_activeOutputs;
    bool m_omitUntracked;
    DataFault m_dataFault;
    QVector<BodyType> m_types;
    QVector<ControllerBody> m_bodies;
    QVector<Track> m_tracks; // as m_bodies
    Track m_headTrack;
};
