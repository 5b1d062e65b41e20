#include "BodyCatalogue.h"
#include "CommandChannel.h"
#include "VersionCheck.h"

namespace {

/// Counts that are assumed when the controller does not tell them.
constexpr int kAssumedStandardBodies = 50;
constexpr int kAssumedVimbars = 20;

bool isYes(const std::optional<QString> &value)
{
    return value && *value == QLatin1String("yes");
}

QString cleanTargetType(QString value)
{
    return value.remove(QLatin1Char('\'')).trimmed();
}

} // namespace

BodyCatalogue::BodyCatalogue(CommandChannel *channel, const BackendVersions *versions)
    : m_channel(channel)
    , m_versions(versions)
{
}

bool BodyCatalogue::isMultiUserOn()
{
    return isYes(m_channel->readMultiUserAvailable()) && isYes(m_channel->readMultiUser());
}

bool BodyCatalogue::isMultiUserWithHeadOn()
{
    return isYes(m_channel->readMultiUserWithHeadAvailable()) &&
           isYes(m_channel->readMultiUserWithHead());
}

BodyCatalogue::List BodyCatalogue::readBodyList()
{
    List list;
    list.multiUserWarning = areVimbarsLeftOut();

    const std::optional<int> typeCount = m_channel->readTypeCount();
    if (!typeCount) {
        m_channel->postError("Error: Unable to get number of types for body");
        return list;
    }
    for (int typeNumber = 1; typeNumber <= *typeCount; ++typeNumber) {
        const std::optional<QString> type = m_channel->readBodyType(typeNumber);
        if (!type) {
            m_channel->postError("Error: Unable to check body type");
            return list;
        }
        const bool taken = isStandardType(*type) || (isVimbarType(*type) && !list.multiUserWarning);
        if (taken && !readBodiesOfType(*type, &list.items))
            return list;
    }
    list.complete = true;
    return list;
}

bool BodyCatalogue::areVimbarsLeftOut()
{
    if (!isMultiUserOn())
        return false;
    const std::optional<int> devices = m_channel->readDeviceCount();
    if (!devices) {
        m_channel->postError("Error: Unable to get number of vimbars");
        return false;
    }
    return *devices != 0;
}

bool BodyCatalogue::readBodiesOfType(const QString &type, QVector<Item> *items)
{
    const std::optional<int> count = m_channel->readBodyCount(type);
    if (!count) {
        m_channel->postError("Error: Unable to check number of bodies for body");
        return false;
    }
    for (int number = 1; number <= *count; ++number) {
        const std::optional<Item> item = readBody(type, number);
        if (!item)
            return false;
        items->append(*item);
    }
    return true;
}

std::optional<BodyCatalogue::Item> BodyCatalogue::readBody(const QString &type, int number)
{
    const std::optional<QString> typeDescription = m_channel->readTypeDescription(type);
    if (!typeDescription) {
        m_channel->postError("Error: Unable to check body type description");
        return std::nullopt;
    }

    Item item;
    item.entry.type = type;
    item.entry.number = number;
    const std::optional<QString> calibration = m_channel->readCalibration(type, number);
    if (!calibration)
        m_channel->postError("Error: Unable to check body cali info");
    item.entry.calibrated = isYes(calibration);

    if (versionAtLeast(m_versions, 1, 12)) {
        const std::optional<QString> targetType = m_channel->readTargetType(type, number);
        if (!targetType) {
            m_channel->postError("Error: Unable to check body target_type");
            return std::nullopt;
        }
        item.entry.targetType = cleanTargetType(*targetType);
    } else {
        item.entry.targetType = kStandardTarget;
    }

    const std::optional<QString> description = m_channel->readDescription(type, number);
    if (!description) {
        m_channel->postError("Error: Unable to check body description");
        return std::nullopt;
    }
    item.displayText = bodyDisplayText(*typeDescription, *description, number);
    return item;
}

int BodyCatalogue::readStandardBodyCount()
{
    return m_channel->readStandardBodyCount().value_or(kAssumedStandardBodies);
}

int BodyCatalogue::readVimbarCount()
{
    return m_channel->readVimbarCount().value_or(kAssumedVimbars);
}

bool BodyCatalogue::loadMarkers(const QString &type, int number, QVector<bsVector> *positions,
                                QVector<Emission> *emissions)
{
    const std::optional<int> count = m_channel->readMarkerCount(type, number);
    if (!count) {
        m_channel->postError("Error: Unable to check body marker info");
        return false;
    }
    if (*count < 1)
        return false;

    positions->clear();
    emissions->clear();
    for (int marker = 1; marker <= *count; ++marker) {
        const std::optional<bsVector> position = m_channel->readMarker(type, number, marker);
        if (!position) {
            m_channel->postError("Error: Unable to check body marker info");
            return false;
        }
        const std::optional<Emission> emission = m_channel->readEmission(type, number, marker);
        if (!emission) {
            m_channel->postError("Error: Unable to check body marker emission info");
            return false;
        }
        positions->append(*position);
        emissions->append(*emission);
    }
    return true;
}
