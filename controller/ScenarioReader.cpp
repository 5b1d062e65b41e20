#include "ScenarioReader.h"

#include "CommandTable.h"
#include "ControllerState.h"
#include "JsonKeys.h"
#include "NumberText.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMaximumTypes = 20;
constexpr int kMaximumFaults = 1000;
constexpr int kMaximumKeywordLength = 32;
constexpr int kQuotes = 2; // around descriptions
constexpr double kLargestAngleDeg = 360.0;

QString member(const QString &place, const char *name)
{
    const QString key = QString::fromLatin1(name);
    return place.isEmpty() ? key : place + QLatin1Char('.') + key;
}

QString item(const QString &place, int index)
{
    return place + QLatin1Char('[') + QString::number(index) + QLatin1Char(']');
}

bool isPrintable(const QString &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c >= QLatin1Char(' ') && c <= QLatin1Char('~'); });
}

bool isWord(const QString &text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) {
        return c == QLatin1Char('_') || (c.unicode() < 128 && c.isLetterOrNumber());
    });
}

QString textError(const QByteArray &text, int offset, const QString &what)
{
    const QByteArray before = text.left(offset);
    const int line = before.count('\n') + 1;
    const int column = before.size() - (before.lastIndexOf('\n') + 1) + 1;
    return QStringLiteral("line %1, column %2: %3").arg(line).arg(column).arg(what);
}

bool readNumbers(const QJsonValue &value, int count, QVector<double> *numbers)
{
    const QJsonArray list = value.toArray();
    if (!value.isArray() || list.size() != count)
        return false;
    for (const QJsonValue &number : list) {
        if (!number.isDouble() || !std::isfinite(number.toDouble()))
            return false;
        numbers->append(number.toDouble());
    }
    return true;
}

} // namespace

bool ScenarioReader::read(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError) {
        m_error = textError(json, error.offset, error.errorString());
        return false;
    }
    const RepeatedKey repeated = findRepeatedKey(json);
    if (repeated.offset >= 0) {
        m_error = textError(json, repeated.offset,
                            QStringLiteral("key \"%1\" for the second time").arg(repeated.key));
        return false;
    }
    if (!document.isObject()) {
        m_error = QStringLiteral("line 1, column 1: object expected");
        return false;
    }
    return readRoot(document.object());
}

bool ScenarioReader::fail(const QString &place, const char *what)
{
    m_error = place + QLatin1String(": ") + QString::fromLatin1(what);
    return false;
}

bool ScenarioReader::readObject(const QJsonValue &value, const QString &place,
                                const QVector<Key> &keys)
{
    if (!value.isObject())
        return fail(place, "object expected");
    const QJsonObject object = value.toObject();
    const QStringList names = object.keys();
    for (const QString &name : names) {
        const bool known = std::any_of(keys.begin(), keys.end(), [&name](const Key &key) {
            return name == QLatin1String(key.name);
        });
        if (!known)
            return fail(member(place, name.toLatin1().constData()), "unknown key");
    }
    for (const Key &key : keys) {
        const QJsonValue entry = object.value(QLatin1String(key.name));
        if (entry.isUndefined()) {
            if (key.required)
                return fail(member(place, key.name), "missing");
        } else if (!key.read(entry, member(place, key.name))) {
            return false;
        }
    }
    return true;
}

bool ScenarioReader::readList(const QJsonValue &value, const QString &place, int maximumCount,
                              const ValueReader &readItem)
{
    if (!value.isArray())
        return fail(place, "list expected");
    const QJsonArray list = value.toArray();
    if (list.size() > maximumCount)
        return fail(place, "too many entries");
    for (int i = 0; i < list.size(); ++i) {
        if (!readItem(list.at(i), item(place, i)))
            return false;
    }
    return true;
}

ScenarioReader::ValueReader ScenarioReader::flag(bool *target)
{
    return [this, target](const QJsonValue &value, const QString &place) {
        if (!value.isBool())
            return fail(place, "true or false expected");
        *target = value.toBool();
        return true;
    };
}

ScenarioReader::ValueReader ScenarioReader::text(QByteArray *target, int maximumLength)
{
    return [this, target, maximumLength](const QJsonValue &value, const QString &place) {
        if (!value.isString())
            return fail(place, "text expected");
        const QString string = value.toString();
        if (!isPrintable(string) || string.contains(QLatin1Char('"')))
            return fail(place, "printable ASCII without double quotes expected");
        if (string.size() > maximumLength)
            return fail(place, "text too long");
        *target = string.toLatin1();
        return true;
    };
}

ScenarioReader::ValueReader ScenarioReader::word(QByteArray *target)
{
    return [this, target](const QJsonValue &value, const QString &place) {
        const QString string = value.toString();
        if (!value.isString() || !isWord(string) || string.size() > kMaximumKeywordLength)
            return fail(place, "word of at most 32 letters, digits and underscores expected");
        *target = string.toLatin1();
        return true;
    };
}

ScenarioReader::ValueReader ScenarioReader::wholeNumber(int *target, int lowest, int highest)
{
    return [this, target, lowest, highest](const QJsonValue &value, const QString &place) {
        const double number = value.toDouble();
        if (!value.isDouble() || number != std::floor(number))
            return fail(place, "whole number expected");
        if (number < lowest || number > highest)
            return fail(place, "number out of range");
        *target = static_cast<int>(number);
        return true;
    };
}

ScenarioReader::ValueReader ScenarioReader::vector(Vector3 *target, double largest)
{
    return [this, target, largest](const QJsonValue &value, const QString &place) {
        QVector<double> numbers;
        if (!readNumbers(value, 3, &numbers))
            return fail(place, "three numbers expected");
        if (std::any_of(numbers.begin(), numbers.end(),
                        [largest](double number) { return std::abs(number) > largest; }))
            return fail(place, "number out of range");
        *target = {numbers[0], numbers[1], numbers[2]};
        return true;
    };
}

template <typename Enum>
ScenarioReader::ValueReader
ScenarioReader::choice(Enum *target, const QVector<QPair<const char *, Enum>> &choices)
{
    return [this, target, choices](const QJsonValue &value, const QString &place) {
        QByteArray names;
        for (const QPair<const char *, Enum> &entry : choices) {
            if (value.isString() && value.toString() == QLatin1String(entry.first)) {
                *target = entry.second;
                return true;
            }
            names += (names.isEmpty() ? "" : ", ") + QByteArray(entry.first);
        }
        return fail(place, ("one of " + names + " expected").constData());
    };
}

bool ScenarioReader::readRoot(const QJsonObject &root)
{
    // What a scenario extends comes first, what it is set up as last, in whatever order they are
    // written.
    const auto extends = [this](const QJsonValue &value, const QString &place) {
        if (value.toString() != QLatin1String("default"))
            return fail(place, "\"default\" expected");
        m_scenario = Scenario::builtIn();
        return true;
    };
    const auto object = [this](const QVector<Key> &keys) -> ValueReader {
        return [this, keys](const QJsonValue &value, const QString &place) {
            return readObject(value, place, keys);
        };
    };
    const auto list = [this](int maximumCount, bool (ScenarioReader::*readItem)(const QJsonValue &,
                                                                                const QString &)) {
        return [this, maximumCount, readItem](const QJsonValue &value, const QString &place) {
            return readList(value, place, maximumCount,
                            [this, readItem](const QJsonValue &entry, const QString &entryPlace) {
                                return (this->*readItem)(entry, entryPlace);
                            });
        };
    };
    const auto cleared = [](auto *target, const ValueReader &reader) -> ValueReader {
        return [target, reader](const QJsonValue &value, const QString &place) {
            target->clear();
            return reader(value, place);
        };
    };

    Scenario &s = m_scenario;
    s.types = {{"standard", "Standard body"}, {"vimbar", "Vimbar"}};
    const QVector<Key> keys = {
        {"extends", false, extends},
        {"backend", false,
         [this](const QJsonValue &value, const QString &place) {
             return readBackend(value, place);
         }},
        {"configuration", false, object({{"changeable", false, flag(&s.configurationChangeable)}})},
        {"tracking", false,
         object({{"available", false, flag(&s.trackingAvailable)},
                 {"measuring", false, flag(&s.measuring)},
                 {"reference", false, text(&s.reference, CommandTable::kMaximumValueLength)}})},
        {"vimbar", false,
         object({{"multiUserAvailable", false, flag(&s.multiUserAvailable)},
                 {"multiUser", false, flag(&s.multiUser)},
                 {"multiUserWithHeadAvailable", false, flag(&s.multiUserWithHeadAvailable)},
                 {"multiUserWithHead", false, flag(&s.multiUserWithHead)},
                 {"output6df", false, flag(&s.output6df)}})},
        {"output", false,
         object({{"active", false,
                  cleared(&s.activeOutputs, list(3, &ScenarioReader::readActiveOutput))},
                 {"omitUntracked", false, flag(&s.omitUntracked)}})},
        {"types", false, cleared(&s.types, list(kMaximumTypes, &ScenarioReader::readType))},
        {"bodies", false,
         cleared(&s.bodies, list(ControllerState::kMaximumBodies, &ScenarioReader::readBody))},
        {"faults", false,
         object(
             {{"replies", false,
               cleared(&s.numberedFaults, list(kMaximumFaults, &ScenarioReader::readReplyFault))},
              {"requests", false,
               cleared(&s.requestFaults, list(kMaximumFaults, &ScenarioReader::readRequestFault))},
              {"dataLines", false,
               choice<DataFault>(&s.dataFault, {{"none", DataFault::None},
                                                {"silent", DataFault::Silent},
                                                {"cut", DataFault::Cut}})}})},
        {"setups", false, list(kMaximumFaults, &ScenarioReader::readSetup)},
    };
    return readObject(root, QString(), keys) && checkWhole();
}

bool ScenarioReader::readBackend(const QJsonValue &value, const QString &place)
{
    return BackendVersion::fromText(value.toString(), &m_scenario.backend) ||
           fail(place, "version such as \"1.17\" or \"1.17.2\" expected");
}

bool ScenarioReader::readType(const QJsonValue &value, const QString &place)
{
    BodyType type;
    const int longest = CommandTable::kMaximumValueLength - kQuotes;
    if (!readObject(value, place,
                    {{"keyword", true, word(&type.keyword)},
                     {"description", true, text(&type.description, longest)}}))
        return false;
    for (const BodyType &other : qAsConst(m_scenario.types)) {
        if (other.keyword.compare(type.keyword, Qt::CaseInsensitive) == 0)
            return fail(member(place, "keyword"), "there is such a type already");
    }
    m_scenario.types.append(type);
    return true;
}

bool ScenarioReader::readBody(const QJsonValue &value, const QString &place)
{
    ControllerBody body;
    Vector3 anglesDeg;
    const auto readMarkers = [this, &body](const QJsonValue &list, const QString &listPlace) {
        return readList(list, listPlace, ControllerState::kMaximumMarkers,
                        [this, &body](const QJsonValue &entry, const QString &entryPlace) {
                            ControllerMarker marker;
                            if (!vector(&marker.position,
                                        ControllerState::kMaximumCoordinateMm)(entry, entryPlace))
                                return false;
                            body.markers.append(marker);
                            return true;
                        });
    };
    // Listed behind the markers, so they are there already.
    const auto readEmissions = [this, &body](const QJsonValue &list, const QString &listPlace) {
        if (!list.isArray() || list.toArray().size() != body.markers.size())
            return fail(listPlace, "list of as many emissions as markers expected");
        int index = 0;
        return readList(list, listPlace, ControllerState::kMaximumMarkers,
                        [this, &body, &index](const QJsonValue &entry, const QString &entryPlace) {
                            return readEmission(entry, entryPlace, &body.markers[index++].emission);
                        });
    };
    const int longest = CommandTable::kMaximumValueLength - kQuotes;
    const QVector<Key> keys = {
        {"type", true, word(&body.type)},
        {"description", false, text(&body.description, longest)},
        {"calibrated", false, flag(&body.calibrated)},
        {"targetType", false, word(&body.targetType)},
        {"motion", false,
         choice<Motion>(&body.motion, {{"moving", Motion::Moving},
                                       {"still", Motion::Still},
                                       {"lost", Motion::Lost},
                                       {"blinking", Motion::Blinking}})},
        {"position", false, vector(&body.place.translation, ControllerState::kMaximumCoordinateMm)},
        {"anglesDeg", false, vector(&anglesDeg, kLargestAngleDeg)},
        {"markers", true, readMarkers},
        {"emissions", false, readEmissions},
    };
    if (!readObject(value, place, keys))
        return false;
    body.place.rotation = rotationFromAngles(anglesDeg);
    m_scenario.bodies.append(body);
    return true;
}

bool ScenarioReader::readEmission(const QJsonValue &value, const QString &place,
                                  ControllerEmission *emission)
{
    QVector<double> numbers;
    if (!readNumbers(value, 4, &numbers))
        return fail(place, "four numbers expected");
    Vector3 direction = {numbers[0], numbers[1], numbers[2]};
    const double directionLength = length(direction);
    if (directionLength > 0.0) {
        if (std::abs(directionLength - 1.0) > ControllerState::kUnitLengthTolerance)
            return fail(place, "direction of length 1, or zeros, expected");
        direction = {direction.x / directionLength, direction.y / directionLength,
                     direction.z / directionLength};
    }
    if (numbers[3] < 0.0 || numbers[3] > ControllerState::kMaximumEmissionAngleDeg)
        return fail(place, "angle from 0 to 180 expected");
    *emission = {direction, numbers[3]};
    return true;
}

bool ScenarioReader::readActiveOutput(const QJsonValue &value, const QString &place)
{
    const QByteArray line = value.toString().toLatin1();
    if (!ControllerState::isOutput(ControllerState::kChannel, line))
        return fail(place, "one of 6d, 6df, 6df2 expected");
    if (!m_scenario.activeOutputs.contains(line))
        m_scenario.activeOutputs.append(line);
    return true;
}

ScenarioReader::ValueReader ScenarioReader::faultKind(FaultPlan::Fault *fault)
{
    using Kind = FaultPlan::Kind;
    return choice<Kind>(&fault->kind, {{"error", Kind::Error},
                                       {"garbage", Kind::Garbage},
                                       {"silence", Kind::Silence},
                                       {"delay", Kind::Delay},
                                       {"overLong", Kind::OverLong},
                                       {"disconnect", Kind::Disconnect}});
}

bool ScenarioReader::readReplyFault(const QJsonValue &value, const QString &place)
{
    Scenario::NumberedFault entry;
    const QVector<Key> keys = {{"reply", true, wholeNumber(&entry.reply, 1, 1000000)},
                               {"kind", true, faultKind(&entry.fault)},
                               {"delayMs", false, wholeNumber(&entry.fault.delayMs, 0, 600000)}};
    if (!readObject(value, place, keys))
        return false;
    m_scenario.numberedFaults.append(entry);
    return true;
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the list of keys owns its readers

bool ScenarioReader::readRequestFault(const QJsonValue &value, const QString &place)
{
    Scenario::RequestFault entry;
    const QVector<Key> keys = {
        {"request", true, text(&entry.request, CommandTable::kMaximumRequestLength)},
        {"kind", true, faultKind(&entry.fault)},
        {"delayMs", false, wholeNumber(&entry.fault.delayMs, 0, 600000)},
        {"times", false, wholeNumber(&entry.times, -1, 1000000)}};
    if (!readObject(value, place, keys))
        return false;
    m_scenario.requestFaults.append(entry);
    return true;
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the list of keys owns its readers

bool ScenarioReader::readSetup(const QJsonValue &value, const QString &place)
{
    return m_scenario.applySetup(value.toString()) ||
           fail(place, "no such setup, or one that does not fit this scenario");
}

bool ScenarioReader::checkWhole()
{
    const Scenario &s = m_scenario;
    for (int i = 0; i < s.bodies.size(); ++i) {
        const bool known =
            std::any_of(s.types.begin(), s.types.end(), [&s, i](const BodyType &type) {
                return type.keyword.compare(s.bodies[i].type, Qt::CaseInsensitive) == 0;
            });
        if (!known)
            return fail(item(QStringLiteral("bodies"), i) + QLatin1String(".type"),
                        "there is no such type");
    }
    if (s.reference.trimmed().isEmpty() || s.reference != s.reference.simplified())
        return fail(QStringLiteral("tracking.reference"),
                    "words joined by single blanks, or \"none\", expected");
    static const QRegularExpression anyBody(QStringLiteral("\\A\\S+ b[0-9]+\\z"));
    QByteArray type;
    int number = 0;
    if (anyBody.match(QString::fromLatin1(s.reference)).hasMatch()) {
        if (!parseBodyName(s.reference, &type, &number))
            return fail(QStringLiteral("tracking.reference"),
                        "the number of a body has two to nine digits: \"b02\"");
    }
    if (parseBodyName(s.reference, &type, &number)) {
        const auto count =
            std::count_if(s.bodies.begin(), s.bodies.end(), [&type](const ControllerBody &body) {
                return body.type.compare(type, Qt::CaseInsensitive) == 0;
            });
        if (number < 1 || number > count)
            return fail(QStringLiteral("tracking.reference"), "there is no such body");
    }
    if (s.measuring && !s.trackingAvailable)
        return fail(QStringLiteral("tracking.measuring"), "tracking is not available");
    if (s.multiUser && !s.multiUserAvailable)
        return fail(QStringLiteral("vimbar.multiUser"), "multi-user is not available");
    if (s.multiUserWithHead && !(s.multiUser && s.multiUserWithHeadAvailable))
        return fail(QStringLiteral("vimbar.multiUserWithHead"),
                    "multi-user must be on and \"with head\" available");
    return true;
}
