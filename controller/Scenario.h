#pragma once

#include "BackendVersion.h"
#include "FaultPlan.h"
#include "RigidMath.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// How a simulated body behaves in the room.
enum class Motion {
    Moving,   ///< swings smoothly about its place
    Still,    ///< stays where it was put
    Lost,     ///< is never tracked
    Blinking, ///< swings, and is lost for a while again and again
};

/// What becomes of the data lines.
enum class DataFault {
    None,
    Silent, ///< nothing is sent
    Cut,    ///< every line ends in the middle of its last block
};

struct ControllerEmission {
    Vector3 direction; ///< unit vector in body coordinates; zero: not known
    double angleDeg = 0.0;
};

struct ControllerMarker {
    Vector3 position; ///< millimetres, body coordinates
    ControllerEmission emission;
};

struct ControllerBody {
    QByteArray type; ///< keyword, spelled as in the list of types
    QByteArray description;
    QByteArray targetType = "tt_std";
    bool calibrated = true;
    Motion motion = Motion::Moving;
    RigidTransform place; ///< body to room at the start; the middle of a motion
    QVector<ControllerMarker> markers;
};

struct BodyType {
    QByteArray keyword;
    QByteArray description;
};

/// Everything that a simulated controller starts with: its bodies, its settings, its faults.
///
/// Read from JSON; docs/scenario.md describes its format.
/// Every text and number is checked so that the controller can print it within the lengths of its
/// protocol.
struct Scenario {
    struct NumberedFault {
        int reply = 0; ///< 1: the first reply of all
        FaultPlan::Fault fault;
    };
    struct RequestFault {
        QByteArray request; ///< beginning of the request line
        FaultPlan::Fault fault;
        int times = 1; ///< -1: always
    };

    BackendVersion backend;
    bool configurationChangeable = true;
    bool trackingAvailable = true;
    bool measuring = false;
    QByteArray reference = "none";
    bool multiUserAvailable = true;
    bool multiUser = false;
    bool multiUserWithHeadAvailable = true;
    bool multiUserWithHead = false;
    bool output6df = false;
    QVector<QByteArray> activeOutputs = {"6d"}; ///< of "6d", "6df" and "6df2"
    bool omitUntracked = false;                 ///< "6d" and "6df" leave out what is not tracked
    QVector<BodyType> types;
    QVector<ControllerBody> bodies; ///< numbered from 1 in this order within each type
    QVector<NumberedFault> numberedFaults;
    QVector<RequestFault> requestFaults;
    DataFault dataFault = DataFault::None;

    /// The scenario used when none is named.
    static Scenario builtIn();
    /// Reads a scenario.
    /// @param error  gets the place and the nature of the first mistake, for example
    ///               "bodies[2].markers[0]: three numbers expected" or "line 3, column 7: ..."
    /// @return false for a mistake, with @p scenario unchanged
    static bool fromJson(const QByteArray &text, Scenario *scenario, QString *error);
    /// As fromJson(); the error begins with the name of the file.
    static bool load(const QString &fileName, Scenario *scenario, QString *error);

    /// Starting states and faults by name, in the order in which help lists them.
    static QStringList setupNames();
    /// Changes the scenario as the named setup says.
    /// @return false, and nothing changed, for an unknown name or one that needs what the scenario
    ///         lacks (a body to be lost, say)
    bool applySetup(const QString &name);
};
