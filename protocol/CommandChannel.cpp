#include "CommandChannel.h"
#include "CLocaleScope.h"
#include "ProtocolLog.h"

#include <host/IOManager.h>

#include <QDebug>
#include <QVector>

#include <cmath>
#include <limits>

namespace {

// The host is told no buffer length. By its own promise it stays within 128 bytes for a value and
// 208 for a reply; most buffers leave it room to spare.
constexpr int kShortBuffer = 128;
constexpr int kBuffer = 1024;

constexpr int kNoService = -1;

template <int size>
class AnswerBuffer {
public:
    char *data() { return m_bytes; }

    /// Ends the text even if the host filled the buffer to the brim.
    const char *text()
    {
        m_bytes[size - 1] = '\0';
        return m_bytes;
    }

private:
    char m_bytes[size] = {};
};

// Shows the format and what fills it in, so that the log itself formats nothing.
template <typename Answer, typename... Arguments>
void logExchange(const char *operation, int status, const Answer &answer, const char *format,
                 Arguments... arguments)
{
    if (!protocolLog().isDebugEnabled())
        return;
    QDebug stream = QMessageLogger().debug(protocolLog());
    stream << operation << format;
    (stream << ... << arguments) << "-> status" << status << answer;
}

template <typename... Arguments>
CommandChannel::Reply send(IOManager *manager, const char *format, Arguments... arguments)
{
    CommandChannel::Reply reply;
    if (!manager)
        return reply;
    AnswerBuffer<kBuffer> buffer;
    {
        const CLocaleScope numbersWithPoints;
        reply.status = manager->sendCommand(buffer.data(), format, arguments...);
    }
    reply.text = buffer.text();
    logExchange("send", reply.status, reply.text, format, arguments...);
    return reply;
}

template <int size = kBuffer, typename... Arguments>
std::optional<QString> readText(IOManager *manager, const char *format, Arguments... arguments)
{
    if (!manager)
        return std::nullopt;
    AnswerBuffer<size> buffer;
    int status = kNoService;
    {
        const CLocaleScope numbersWithPoints;
        status = manager->getString(buffer.data(), format, arguments...);
    }
    const QString value = QString::fromLatin1(buffer.text());
    logExchange("get text", status, value, format, arguments...);
    if (status != 0)
        return std::nullopt;
    return value;
}

template <typename... Arguments>
std::optional<int> readInt(IOManager *manager, const char *format, Arguments... arguments)
{
    if (!manager)
        return std::nullopt;
    int value = 0;
    int status = kNoService;
    {
        const CLocaleScope numbersWithPoints;
        status = manager->getInt(&value, format, arguments...);
    }
    logExchange("get integer", status, value, format, arguments...);
    if (status != 0)
        return std::nullopt;
    return value;
}

template <std::size_t count, typename... Arguments>
std::optional<std::array<double, count>> readNumbers(IOManager *manager, const char *format,
                                                     Arguments... arguments)
{
    if (!manager)
        return std::nullopt;
    std::array<double, count> values;
    // A number that the host leaves out without a word is then missed below.
    values.fill(std::numeric_limits<double>::quiet_NaN());
    int status = kNoService;
    {
        const CLocaleScope numbersWithPoints;
        status = manager->getDoubles(values.data(), static_cast<int>(count), format, arguments...);
    }
    logExchange("get numbers", status, QVector<double>(values.begin(), values.end()), format,
                arguments...);
    if (status != 0)
        return std::nullopt;
    for (const double value : values) {
        if (!std::isfinite(value))
            return std::nullopt;
    }
    return values;
}

template <typename... Arguments>
bool set(IOManager *manager, const char *format, Arguments... arguments)
{
    if (!manager)
        return false;
    int status = kNoService;
    {
        const CLocaleScope numbersWithPoints;
        status = manager->setParameter(format, arguments...);
    }
    logExchange("set", status, "", format, arguments...);
    return status == 0;
}

} // namespace

CommandChannel::CommandChannel(IOManager *manager)
    : m_manager(manager)
{
}

CommandChannel::Reply CommandChannel::startTracking()
{
    return send(m_manager, "quorel2 tracking start");
}

CommandChannel::Reply CommandChannel::stopTracking()
{
    return send(m_manager, "quorel2 tracking stop");
}

CommandChannel::Reply CommandChannel::askVimbarOutputForm()
{
    return send(m_manager, "quorel2 get vimbar output_6df");
}

CommandChannel::Reply CommandChannel::deleteMarker(const QString &type, int number,
                                                   int markerNumber)
{
    const QByteArray keyword = type.toLatin1();
    return send(m_manager, "quorel2 body delete_marker %s b%02d m%02d", keyword.constData(), number,
                markerNumber);
}

CommandChannel::Reply CommandChannel::transformBody(const QString &type, int number,
                                                    const std::array<double, 12> &numbers)
{
    const QByteArray keyword = type.toLatin1();
    return send(m_manager,
                "quorel2 body transform %s b%02d %.3f %.3f %.3f %.8f %.8f %.8f %.8f %.8f %.8f "
                "%.8f %.8f %.8f",
                keyword.constData(), number, numbers[0], numbers[1], numbers[2], numbers[3],
                numbers[4], numbers[5], numbers[6], numbers[7], numbers[8], numbers[9], numbers[10],
                numbers[11]);
}

std::optional<QString> CommandChannel::readConfigurationChangeable()
{
    return readText<kShortBuffer>(m_manager, "config is_changeable");
}

std::optional<QString> CommandChannel::readTrackingAvailable()
{
    return readText<kShortBuffer>(m_manager, "tracking available");
}

std::optional<QString> CommandChannel::readMeasurementState()
{
    return readText(m_manager, "status active");
}

std::optional<QString> CommandChannel::readReference()
{
    return readText(m_manager, "tracking reference");
}

std::optional<QString> CommandChannel::readMultiUserAvailable()
{
    return readText(m_manager, "vimbar multiuser_available");
}

std::optional<QString> CommandChannel::readMultiUser()
{
    return readText(m_manager, "vimbar multiuser");
}

std::optional<QString> CommandChannel::readMultiUserWithHeadAvailable()
{
    return readText(m_manager, "vimbar multiuser_with_head_available");
}

std::optional<QString> CommandChannel::readMultiUserWithHead()
{
    return readText(m_manager, "vimbar multiuser_with_head");
}

std::optional<int> CommandChannel::readDeviceCount()
{
    return readInt(m_manager, "vimbar number_of_devices");
}

std::optional<int> CommandChannel::readTypeCount()
{
    return readInt(m_manager, "body number_of_types");
}

std::optional<QString> CommandChannel::readBodyType(int typeNumber)
{
    return readText(m_manager, "body type t%2.2d", typeNumber);
}

std::optional<int> CommandChannel::readBodyCount(const QString &type)
{
    const QByteArray keyword = type.toLatin1();
    return readInt(m_manager, "body number_of_bodies %s", keyword.constData());
}

std::optional<int> CommandChannel::readStandardBodyCount()
{
    return readInt(m_manager, "body number_of_bodies standard");
}

std::optional<int> CommandChannel::readVimbarCount()
{
    return readInt(m_manager, "body number_of_bodies vimbar");
}

std::optional<QString> CommandChannel::readTypeDescription(const QString &type)
{
    const QByteArray keyword = type.toLatin1();
    return readText(m_manager, "body type_desc %s", keyword.constData());
}

std::optional<QString> CommandChannel::readCalibration(const QString &type, int number)
{
    const QByteArray keyword = type.toLatin1();
    return readText(m_manager, "body calibrated %s b%2.2d", keyword.constData(), number);
}

std::optional<QString> CommandChannel::readTargetType(const QString &type, int number)
{
    const QByteArray keyword = type.toLatin1();
    return readText(m_manager, "body target_type %s b%02d", keyword.constData(), number);
}

std::optional<QString> CommandChannel::readDescription(const QString &type, int number)
{
    const QByteArray keyword = type.toLatin1();
    return readText(m_manager, "body desc %s b%2.2d", keyword.constData(), number);
}

std::optional<int> CommandChannel::readMarkerCount(const QString &type, int number)
{
    const QByteArray keyword = type.toLatin1();
    return readInt(m_manager, "body number_of_marker %s b%2.2d", keyword.constData(), number);
}

std::optional<bsVector> CommandChannel::readMarker(const QString &type, int number,
                                                   int markerNumber)
{
    const QByteArray keyword = type.toLatin1();
    const auto values = readNumbers<3>(m_manager, "body marker %s b%2.2d m%2.2d",
                                       keyword.constData(), number, markerNumber);
    if (!values)
        return std::nullopt;
    return bsVector((*values)[0], (*values)[1], (*values)[2]);
}

std::optional<Emission> CommandChannel::readEmission(const QString &type, int number,
                                                     int markerNumber)
{
    const QByteArray keyword = type.toLatin1();
    const auto values = readNumbers<4>(m_manager, "body marker_emission %s b%2.2d m%2.2d",
                                       keyword.constData(), number, markerNumber);
    if (!values)
        return std::nullopt;
    return Emission{(*values)[0], (*values)[1], (*values)[2], (*values)[3]};
}

bool CommandChannel::activateOutput(const char *lineType)
{
    return set(m_manager, "output active %s %s yes", "chmon", lineType);
}

bool CommandChannel::setMultiUser(bool on)
{
    return set(m_manager, on ? "vimbar multiuser yes" : "vimbar multiuser no");
}

bool CommandChannel::setMultiUserWithHead(bool on)
{
    return set(m_manager, on ? "vimbar multiuser_with_head yes" : "vimbar multiuser_with_head no");
}

bool CommandChannel::unsetReference()
{
    return set(m_manager, "tracking reference none");
}

bool CommandChannel::setReference(const QString &reference)
{
    const QByteArray text = reference.toLatin1();
    return set(m_manager, "tracking reference %s", text.constData());
}

bool CommandChannel::setMarkerCount(const QString &type, int number, int count)
{
    const QByteArray keyword = type.toLatin1();
    return set(m_manager, "body number_of_marker %s b%2.2d %d", keyword.constData(), number, count);
}

bool CommandChannel::setMarker(const QString &type, int number, int markerNumber,
                               const bsVector &position)
{
    const QByteArray keyword = type.toLatin1();
    return set(m_manager, "body marker %s b%2.2d m%2.2d %.3f %.3f %.3f", keyword.constData(),
               number, markerNumber, position.x, position.y, position.z);
}

bool CommandChannel::setEmission(const QString &type, int number, int markerNumber,
                                 const Emission &emission)
{
    const QByteArray keyword = type.toLatin1();
    return set(m_manager, "body marker_emission %s b%2.2d m%2.2d %.3f %.3f %.3f %.3f",
               keyword.constData(), number, markerNumber, emission.x, emission.y, emission.z,
               emission.angleDeg);
}

void CommandChannel::addRequester(const char *lineType, Requester *requester)
{
    if (m_manager)
        m_manager->addRequester(lineType, requester);
}

void CommandChannel::removeRequester(const char *lineType, Requester *requester)
{
    if (m_manager)
        m_manager->removeRequester(lineType, requester);
}

void CommandChannel::registerReceiver(const char *module, MessageReceiver *receiver)
{
    if (m_manager)
        m_manager->registerReceiver(module, receiver);
}

void CommandChannel::unregisterReceiver(const char *module, MessageReceiver *receiver)
{
    if (m_manager)
        m_manager->unregisterReceiver(module, receiver);
}

void CommandChannel::postError(const char *text)
{
    qCDebug(protocolLog) << "error" << text;
    if (m_manager)
        m_manager->postMessage("standard", "QUOREL4", 1, text);
}

void CommandChannel::postMessage(const QString &destination, const char *text)
{
    if (m_manager)
        m_manager->postMessage(destination.toLatin1().constData(), "BodyAdjustmentModule", 1, text);
}
