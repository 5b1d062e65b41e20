#include "BodyWriter.h"
#include "CommandChannel.h"
#include "VersionCheck.h"

#include <model/CoordinateOperations.h>

#include <algorithm>
#include <array>

namespace {

bool isSet(const Emission &emission)
{
    return emission.x != 0.0 || emission.y != 0.0 || emission.z != 0.0 || emission.angleDeg != 0.0;
}

} // namespace

BodyWriter::BodyWriter(CommandChannel *channel, const BackendVersions *versions)
    : m_channel(channel)
    , m_versions(versions)
{
}

bool BodyWriter::writeTransform(const QString &type, int number, const bsMatrix &transform,
                                bool *confirmed)
{
    const std::array<double, 12> numbers = CoordinateOperations::transformNumbers(transform);
    const CommandChannel::Reply reply = m_channel->transformBody(type, number, numbers);
    if (!reply.isOk())
        m_channel->postError("Error: Unable to set body transformation");
    if (confirmed)
        *confirmed = reply.isOk();
    return reply.status == 0;
}

bool BodyWriter::writeMarkers(const QString &type, int number, const QVector<bsVector> &positions,
                              const QVector<Emission> &emissions)
{
    if (!m_channel->setMarkerCount(type, number, positions.size())) {
        m_channel->postError("Error: Unable to set body target_type");
        return false;
    }
    bool allWritten = true;
    const auto report = [this, &allWritten](const char *text) {
        m_channel->postError(text);
        allWritten = false;
    };
    const bool withEmissions = versionAtLeast(m_versions, 1, 12) &&
                               std::any_of(emissions.cbegin(), emissions.cend(), isSet);
    for (int index = 0; index < positions.size(); ++index) {
        const int markerNumber = index + 1;
        if (!m_channel->setMarker(type, number, markerNumber, positions.at(index)))
            report("Error: Unable to set body marker values");
        if (withEmissions && index < emissions.size() &&
            !m_channel->setEmission(type, number, markerNumber, emissions.at(index)))
            report("Error: Unable to set body marker emission");
    }
    return allWritten;
}

bool BodyWriter::canDeleteMarkers() const
{
    return versionAtLeast(m_versions, 1, 17);
}

bool BodyWriter::deleteMarker(const QString &type, int number, int markerIndex)
{
    const CommandChannel::Reply reply = m_channel->deleteMarker(type, number, markerIndex + 1);
    // A failed exchange without a positive reply is told of twice.
    if (reply.status != 0)
        m_channel->postError("Error: Unable to delete marker of body");
    if (!reply.isPositive())
        m_channel->postError("Error: Unable to delete marker of body");
    return reply.isOk();
}
