#include "ControllerState.h"

#include "NumberText.h"

#include <cmath>

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kBlinkPeriodS = 4.0;
constexpr double kBlinkLostS = 1.0;

/// A generator with a fixed algorithm, so that a seed means the same on every platform.
class SplitMix {
public:
    explicit SplitMix(quint64 seed)
        : m_state(seed)
    {
    }

    double between(double lowest, double highest)
    {
        m_state += Q_UINT64_C(0x9e3779b97f4a7c15);
        quint64 z = m_state;
        z = (z ^ (z >> 30)) * Q_UINT64_C(0xbf58476d1ce4e5b9);
        z = (z ^ (z >> 27)) * Q_UINT64_C(0x94d049bb133111eb);
        z ^= z >> 31;
        return lowest + (highest - lowest) * (static_cast<double>(z >> 11) * 0x1.0p-53);
    }

private:
    quint64 m_state;
};

bool isSameKeyword(const QByteArray &a, const QByteArray &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

/// False for what is no number, too.
bool isInRange(const Vector3 &position)
{
    const auto isNear = [](double coordinate) {
        return std::abs(coordinate) <= ControllerState::kMaximumCoordinateMm;
    };
    return isNear(position.x) && isNear(position.y) && isNear(position.z);
}

} // namespace

ControllerState::ControllerState(const Scenario &scenario, quint32 seed)
    : m_backend(scenario.backend)
    , m_configurationChangeable(scenario.configurationChangeable)
    , m_trackingAvailable(scenario.trackingAvailable)
    , m_measuring(scenario.measuring && scenario.trackingAvailable)
    , m_reference(scenario.reference)
    , m_startReference(scenario.reference)
    , m_multiUserAvailable(scenario.multiUserAvailable)
    , m_multiUser(scenario.multiUser)
    , m_multiUserWithHeadAvailable(scenario.multiUserWithHeadAvailable)
    , m_multiUserWithHead(scenario.multiUserWithHead)
    , m_output6df(scenario.output6df)
    , m_activeOutputs(scenario.activeOutputs)
    , m_omitUntracked(scenario.omitUntracked)
    , m_dataFault(scenario.dataFault)
    , m_types(scenario.types)
    , m_bodies(scenario.bodies)
    , m_headTrack(makeTrack(seed, 0))
{
    for (int i = 0; i < m_bodies.size(); ++i)
        m_tracks.append(makeTrack(seed, static_cast<quint32>(i) + 1));
}

const BodyType *ControllerState::findType(const QByteArray &type) const
{
    for (const BodyType &entry : m_types) {
        if (isSameKeyword(entry.keyword, type))
            return &entry;
    }
    return nullptr;
}

int ControllerState::bodyCount(const QByteArray &type) const
{
    int count = 0;
    for (const ControllerBody &body : m_bodies) {
        if (isSameKeyword(body.type, type))
            ++count;
    }
    return count;
}

int ControllerState::indexOf(const QByteArray &type, int number) const
{
    for (int i = 0; i < m_bodies.size(); ++i) {
        if (isSameKeyword(m_bodies[i].type, type) && --number == 0)
            return i;
    }
    return -1;
}

const ControllerBody *ControllerState::findBody(const QByteArray &type, int number) const
{
    const int index = indexOf(type, number);
    return index < 0 ? nullptr : &m_bodies[index];
}

const ControllerMarker *ControllerState::findMarker(const QByteArray &type, int number,
                                                    int marker) const
{
    const ControllerBody *body = findBody(type, number);
    if (!body || marker < 1 || marker > body->markers.size())
        return nullptr;
    return &body->markers[marker - 1];
}

StateResult ControllerState::changeableMarker(const QByteArray &type, int number, int marker,
                                              ControllerMarker **found)
{
    const int index = indexOf(type, number);
    if (index < 0)
        return StateResult::NoSuchBody;
    ControllerBody &body = m_bodies[index];
    if (marker < 1 || marker > body.markers.size())
        return StateResult::NoSuchMarker;
    if (!m_configurationChangeable)
        return StateResult::NotChangeable;
    *found = &body.markers[marker - 1];
    return StateResult::Done;
}

StateResult ControllerState::setMarkerCount(const QByteArray &type, int number, int count)
{
    const int index = indexOf(type, number);
    if (index < 0)
        return StateResult::NoSuchBody;
    if (count < 0 || count > kMaximumMarkers)
        return StateResult::OutOfRange;
    if (!m_configurationChangeable)
        return StateResult::NotChangeable;
    m_bodies[index].markers.resize(count);
    return StateResult::Done;
}

StateResult ControllerState::setMarker(const QByteArray &type, int number, int marker,
                                       const Vector3 &position)
{
    if (!isInRange(position))
        return StateResult::OutOfRange;
    ControllerMarker *found = nullptr;
    const StateResult result = changeableMarker(type, number, marker, &found);
    if (result == StateResult::Done)
        found->position = position;
    return result;
}

StateResult ControllerState::setEmission(const QByteArray &type, int number, int marker,
                                         const ControllerEmission &emission)
{
    const double directionLength = length(emission.direction);
    const bool isDirection =
        directionLength == 0.0 || std::abs(directionLength - 1.0) <= kUnitLengthTolerance;
    const bool isAngle = emission.angleDeg >= 0.0 && emission.angleDeg <= kMaximumEmissionAngleDeg;
    if (!isDirection || !isAngle)
        return StateResult::OutOfRange;
    ControllerMarker *found = nullptr;
    const StateResult result = changeableMarker(type, number, marker, &found);
    if (result == StateResult::Done)
        found->emission = emission;
    return result;
}

StateResult ControllerState::deleteMarker(const QByteArray &type, int number, int marker)
{
    ControllerMarker *found = nullptr;
    const StateResult result = changeableMarker(type, number, marker, &found);
    if (result == StateResult::Done)
        m_bodies[indexOf(type, number)].markers.remove(marker - 1);
    return result;
}

StateResult ControllerState::transformBody(const QByteArray &type, int number,
                                           const RigidTransform &transform)
{
    const int index = indexOf(type, number);
    if (index < 0)
        return StateResult::NoSuchBody;
    if (!isRotation(transform.rotation, kRotationTolerance))
        return StateResult::NotARotation;
    if (!isInRange(transform.translation))
        return StateResult::OutOfRange;
    if (!m_configurationChangeable)
        return StateResult::NotChangeable;

    QVector<ControllerMarker> markers = m_bodies[index].markers;
    for (ControllerMarker &marker : markers) {
        marker.position = transform.rotation * marker.position + transform.translation;
        if (!isInRange(marker.position))
            return StateResult::OutOfRange;
        marker.emission.direction = transform.rotation * marker.emission.direction;
    }
    m_bodies[index].markers = markers;

    // The pose stays a rotation however many transforms, each printed with a few decimals, come in.
    RigidTransform &redefinition = m_tracks[index].redefinition;
    redefinition.translation =
        transform.rotation * redefinition.translation + transform.translation;
    redefinition.rotation = orthonormalized(transform.rotation * redefinition.rotation);
    return StateResult::Done;
}

void ControllerState::setTrackingAvailable(bool available)
{
    m_trackingAvailable = available;
    m_measuring = m_measuring && available;
}

StateResult ControllerState::setMultiUser(bool on)
{
    if (on && !m_multiUserAvailable)
        return StateResult::NotAvailable;
    m_multiUser = on;
    m_multiUserWithHead = m_multiUserWithHead && on;
    return StateResult::Done;
}

StateResult ControllerState::setMultiUserWithHead(bool on)
{
    if (on && !(m_multiUserWithHeadAvailable && m_multiUser))
        return StateResult::NotAvailable;
    m_multiUserWithHead = on;
    return StateResult::Done;
}

StateResult ControllerState::setReference(const QByteArray &reference)
{
    if (reference != "none" && reference != m_startReference) {
        QByteArray type;
        int number = 0;
        if (!parseBodyName(reference, &type, &number) || indexOf(type, number) < 0)
            return StateResult::NoSuchBody;
    }
    m_reference = reference;
    return StateResult::Done;
}

StateResult ControllerState::startMeasurement()
{
    if (!m_trackingAvailable)
        return StateResult::NotAvailable;
    m_measuring = true;
    return StateResult::Done;
}

StateResult ControllerState::stopMeasurement()
{
    if (!m_trackingAvailable)
        return StateResult::NotAvailable;
    m_measuring = false;
    return StateResult::Done;
}

bool ControllerState::isOutput(const QByteArray &channel, const QByteArray &line)
{
    return channel == kChannel && (line == "6d" || line == "6df" || line == "6df2");
}

bool ControllerState::isOutputActive(const QByteArray &line) const
{
    return m_activeOutputs.contains(line);
}

StateResult ControllerState::setOutputActive(const QByteArray &channel, const QByteArray &line,
                                             bool active)
{
    if (!isOutput(channel, line))
        return StateResult::OutOfRange;
    m_activeOutputs.removeAll(line);
    if (active)
        m_activeOutputs.append(line);
    return StateResult::Done;
}

ControllerState::Track ControllerState::makeTrack(quint32 seed, quint32 index)
{
    SplitMix random((static_cast<quint64>(seed) << 32) | index);
    Track track;
    for (int axis = 0; axis < 6; ++axis) {
        const double largest = axis < 3 ? 120.0 : 15.0; // mm, then degrees
        for (Swing &part : track.swings[axis]) {
            part.amplitude = random.between(0.2, 1.0) * largest;
            part.frequencyHz = random.between(0.05, 0.3);
            part.phase = random.between(0.0, kTwoPi);
        }
    }
    track.blinkPhaseS = random.between(0.0, kBlinkPeriodS);
    return track;
}

RigidTransform ControllerState::swing(const Track &track, const RigidTransform &place,
                                      qint64 timeUs)
{
    const double timeS = static_cast<double>(timeUs) * 1.0e-6;
    double offsets[6] = {};
    for (int axis = 0; axis < 6; ++axis) {
        for (const Swing &part : track.swings[axis])
            offsets[axis] +=
                part.amplitude * std::sin(kTwoPi * part.frequencyHz * timeS + part.phase);
    }
    RigidTransform pose = place;
    pose.translation = pose.translation + Vector3{offsets[0], offsets[1], offsets[2]};
    pose.rotation = pose.rotation * rotationFromAngles({offsets[3], offsets[4], offsets[5]});
    return pose;
}

ControllerState::TrackedBody ControllerState::trackedBody(const QByteArray &type, int number,
                                                          qint64 timeUs) const
{
    TrackedBody result;
    const int index = indexOf(type, number);
    if (index < 0)
        return result;
    const ControllerBody &body = m_bodies[index];
    const Track &track = m_tracks[index];
    // What a body looks like is not known before it is calibrated.
    result.tracked = body.calibrated && !body.markers.isEmpty() && body.motion != Motion::Lost;
    if (body.motion == Motion::Blinking) {
        const double timeS = static_cast<double>(timeUs) * 1.0e-6;
        if (std::fmod(timeS + track.blinkPhaseS, kBlinkPeriodS) < kBlinkLostS)
            result.tracked = false;
    }
    if (!result.tracked)
        return result;
    const RigidTransform pose =
        body.motion == Motion::Still ? body.place : swing(track, body.place, timeUs);
    result.pose = poseAfterRedefinition(pose, track.redefinition);
    return result;
}

ControllerState::TrackedBody ControllerState::trackedHead(qint64 timeUs) const
{
    TrackedBody head;
    head.tracked = true;
    head.pose = swing(m_headTrack, {kIdentity3, {0.0, 0.0, 1700.0}}, timeUs);
    return head;
}

StateResult ControllerState::setMotion(const QByteArray &type, int number, Motion motion)
{
    const int index = indexOf(type, number);
    if (index < 0)
        return StateResult::NoSuchBody;
    m_bodies[index].motion = motion;
    return StateResult::Done;
}
