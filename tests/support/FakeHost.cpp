#include "FakeHost.h"

#include <host/MessageReceiver.h>
#include <host/Requester.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// What the host promises never to exceed.
constexpr int kLongestValue = 127;
constexpr int kLongestReply = 207;

constexpr int kRefused = 1;

QByteArray formatted(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    QByteArray text(length + 1, '\0');
    std::vsnprintf(text.data(), static_cast<std::size_t>(text.size()), format, again);
    va_end(again);
    text.chop(1);
    return text;
}

int writeText(char *buffer, const FakeHost::Answer &answer, int longest)
{
    if (!answer.terminated) {
        std::memcpy(buffer, answer.text.constData(), static_cast<std::size_t>(answer.text.size()));
        return answer.status;
    }
    if (answer.text.size() > longest)
        return kRefused;
    if (answer.status == 0 || !answer.text.isEmpty())
        std::memcpy(buffer, answer.text.constData(),
                    static_cast<std::size_t>(answer.text.size()) + 1);
    return answer.status;
}

QString bodyId(const QString &type, int number)
{
    return type + QStringLiteral(" b%1").arg(number, 2, 10, QLatin1Char('0'));
}

QString markerId(const QString &body, int number)
{
    return body + QStringLiteral(" m%1").arg(number, 2, 10, QLatin1Char('0'));
}

QString countKey(const QString &body)
{
    return QStringLiteral("body number_of_marker ") + body;
}

QString positionKey(const QString &body, int marker)
{
    return QStringLiteral("body marker ") + markerId(body, marker);
}

QString emissionKey(const QString &body, int marker)
{
    return QStringLiteral("body marker_emission ") + markerId(body, marker);
}

QString numbersText(const QVector<double> &numbers)
{
    QStringList texts;
    for (const double number : numbers)
        texts += QString::number(number, 'f', 6);
    return texts.join(QLatin1Char(' '));
}

// Strict, and the same in every locale: what a controller takes.
std::optional<QVector<double>> numbersFrom(const QStringList &texts, int count)
{
    QVector<double> numbers;
    for (const QString &text : texts) {
        bool isNumber = false;
        numbers += text.toDouble(&isNumber);
        if (!isNumber)
            return std::nullopt;
    }
    if (numbers.size() != count)
        return std::nullopt;
    return numbers;
}

} // namespace

FakeHost::FakeHost()
{
    parameters = {
        {QStringLiteral("config is_changeable"), QStringLiteral("yes")},
        {QStringLiteral("tracking available"), QStringLiteral("yes")},
        {QStringLiteral("tracking reference"), QStringLiteral("none")},
        {QStringLiteral("status active"), QStringLiteral("idle")},
        {QStringLiteral("vimbar output_6df"), QStringLiteral("no")},
        {QStringLiteral("vimbar multiuser_available"), QStringLiteral("no")},
        {QStringLiteral("vimbar multiuser"), QStringLiteral("no")},
        {QStringLiteral("vimbar multiuser_with_head_available"), QStringLiteral("no")},
        {QStringLiteral("vimbar multiuser_with_head"), QStringLiteral("no")},
        {QStringLiteral("vimbar number_of_devices"), QStringLiteral("0")},
        {QStringLiteral("output active chmon 6d"), QStringLiteral("yes")},
        {QStringLiteral("output active chmon 6df"), QStringLiteral("no")},
        {QStringLiteral("output active chmon 6df2"), QStringLiteral("no")},
        {QStringLiteral("body number_of_types"), QStringLiteral("0")},
        {QStringLiteral("body number_of_bodies standard"), QStringLiteral("0")},
        {QStringLiteral("body number_of_bodies vimbar"), QStringLiteral("0")},
    };
}

QStringList FakeHost::errors() const
{
    QStringList texts;
    for (const Message &message : messages) {
        if (message.destination == QLatin1String("standard") &&
            message.source == QLatin1String("QUOREL4") && message.kind == 1)
            texts += message.text;
    }
    return texts;
}

QStringList FakeHost::takeJournal()
{
    const QStringList taken = journal;
    clearRecords();
    return taken;
}

void FakeHost::clearRecords()
{
    transcript.clear();
    outcomes.clear();
    journal.clear();
    messages.clear();
    m_exchangeCount = 0;
}

void FakeHost::setVersion(int major, int minor, int patch)
{
    versions.major = major;
    versions.minor = minor;
    versions.patch = patch;
}

void FakeHost::addType(const QString &type, const QString &description)
{
    const QString descriptionKey = QStringLiteral("body type_desc ") + type;
    if (!parameters.contains(descriptionKey)) {
        const QString typeCountKey = QStringLiteral("body number_of_types");
        const int number = parameters.value(typeCountKey).toInt() + 1;
        parameters[typeCountKey] = QString::number(number);
        parameters[QStringLiteral("body type t%1").arg(number, 2, 10, QLatin1Char('0'))] = type;
        parameters[QStringLiteral("body number_of_bodies ") + type] = QStringLiteral("0");
    }
    parameters[descriptionKey] = description;
}

void FakeHost::addBody(const QString &type, int number, const QString &description, bool calibrated,
                       const QString &targetType, const QVector<bsVector> &markerPositions,
                       const QVector<Emission> &emissionRecords)
{
    const bool isVimbar = type.toLower() == QLatin1String("vimbar");
    if (!parameters.contains(QStringLiteral("body type_desc ") + type))
        addType(type, isVimbar ? QStringLiteral("Vimbar") : QStringLiteral("Standard body"));

    const QString bodyCountKey = QStringLiteral("body number_of_bodies ") + type;
    if (parameters.value(bodyCountKey).toInt() < number)
        parameters[bodyCountKey] = QString::number(number);
    if (isVimbar)
        parameters[QStringLiteral("vimbar number_of_devices")] = parameters.value(bodyCountKey);

    const QString body = bodyId(type, number);
    parameters[QStringLiteral("body desc ") + body] = description;
    parameters[QStringLiteral("body calibrated ") + body] =
        calibrated ? QStringLiteral("yes") : QStringLiteral("no");
    parameters[QStringLiteral("body target_type ") + body] = targetType;
    storeMarkers(body, markerPositions, emissionRecords);
}

QVector<bsVector> FakeHost::markers(const QString &type, int number) const
{
    const QString body = bodyId(type, number);
    QVector<bsVector> positions;
    for (int marker = 1; marker <= parameters.value(countKey(body)).toInt(); ++marker) {
        const QVector<double> numbers = numbersOf(positionKey(body, marker));
        positions += bsVector(numbers.value(0), numbers.value(1), numbers.value(2));
    }
    return positions;
}

QVector<Emission> FakeHost::emissions(const QString &type, int number) const
{
    const QString body = bodyId(type, number);
    QVector<Emission> records;
    for (int marker = 1; marker <= parameters.value(countKey(body)).toInt(); ++marker) {
        const QVector<double> numbers = numbersOf(emissionKey(body, marker));
        records += Emission{numbers.value(0), numbers.value(1), numbers.value(2), numbers.value(3)};
    }
    return records;
}

void FakeHost::answerExchange(int number, const Answer &answer)
{
    m_answersByNumber[number] = answer;
}

void FakeHost::failExchange(int number, int status)
{
    Answer answer;
    answer.status = status;
    answerExchange(number, answer);
}

void FakeHost::answerLine(const QString &line, const Answer &answer)
{
    m_answersByLine[line] = answer;
}

void FakeHost::failLine(const QString &line, int status)
{
    Answer answer;
    answer.status = status;
    answerLine(line, answer);
}

void FakeHost::clearFaults()
{
    hook = nullptr;
    m_answersByNumber.clear();
    m_answersByLine.clear();
}

int FakeHost::deliver(const QByteArray &lineType, const QByteArray &line)
{
    const std::lock_guard<std::recursive_mutex> lock(m_requesterMutex);
    const QVector<Requester *> subscribed = requesters.value(QString::fromLatin1(lineType));
    int result = 0;
    for (Requester *requester : subscribed)
        result = requester->receiveLine(lineType.constData(), line.constData());
    return result;
}

int FakeHost::sendToModule(const QByteArray &module, const QByteArray &source,
                           const QByteArray &text, int kind)
{
    const auto registered = receivers;
    int result = -1;
    for (const auto &receiver : registered) {
        if (receiver.first == QString::fromLatin1(module))
            result = receiver.second->receiveMessage(kind, source.constData(), text.constData());
    }
    return result;
}

void FakeHost::reserved0() {}
void FakeHost::reserved1() {}
void FakeHost::reserved2() {}
void FakeHost::reserved4() {}
void FakeHost::reserved7() {}
void FakeHost::reserved8() {}
void FakeHost::reserved10() {}
void FakeHost::reserved14() {}
void FakeHost::reserved15() {}

int FakeHost::sendCommand(char *reply, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = exchange(Operation::Command, format, arguments);
    va_end(arguments);
    return ended(writeText(reply, answer, kLongestReply));
}

int FakeHost::getString(char *value, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = exchange(Operation::GetString, format, arguments);
    va_end(arguments);
    return ended(writeText(value, answer, kLongestValue));
}

int FakeHost::getInt(int *value, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = exchange(Operation::GetInt, format, arguments);
    va_end(arguments);
    if (answer.status != 0)
        return answer.status;
    char *end = nullptr;
    *value = static_cast<int>(std::strtol(answer.text.constData(), &end, 10));
    return ended(end == answer.text.constData() ? kRefused : 0);
}

int FakeHost::getDoubles(double *values, int count, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = exchange(Operation::GetDoubles, format, arguments);
    va_end(arguments);
    if (answer.status != 0)
        return answer.status;
    const char *cursor = answer.text.constData();
    for (int index = 0; index < count; ++index) {
        char *end = nullptr;
        const double value = std::strtod(cursor, &end);
        if (end == cursor)
            return ended(kRefused);
        values[index] = value;
        cursor = end;
    }
    return 0;
}

int FakeHost::setParameter(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer answer = exchange(Operation::Set, format, arguments);
    va_end(arguments);
    return answer.status;
}

void FakeHost::addRequester(const char *lineType, Requester *requester)
{
    const std::lock_guard<std::recursive_mutex> lock(m_requesterMutex);
    journal += QStringLiteral("add ") + QLatin1String(lineType);
    requesters[QLatin1String(lineType)] += requester;
}

void FakeHost::removeRequester(const char *lineType, Requester *requester)
{
    const std::lock_guard<std::recursive_mutex> lock(m_requesterMutex);
    journal += QStringLiteral("remove ") + QLatin1String(lineType);
    const QString type = QLatin1String(lineType);
    requesters[type].removeOne(requester);
    if (requesters.value(type).isEmpty())
        requesters.remove(type);
}

void FakeHost::postMessage(const char *destination, const char *source, int kind, const char *text)
{
    messages += Message{QString::fromLatin1(destination), QString::fromLatin1(source), kind,
                        QString::fromLatin1(text)};
    const Message &message = messages.constLast();
    journal += QStringLiteral("post %1 %2 %3 ")
                   .arg(message.destination, message.source, QString::number(kind)) +
               message.text;
}

void FakeHost::registerReceiver(const char *module, MessageReceiver *receiver)
{
    journal += QStringLiteral("register ") + QLatin1String(module);
    receivers += qMakePair(QString::fromLatin1(module), receiver);
}

void FakeHost::unregisterReceiver(const char *module, MessageReceiver *receiver)
{
    journal += QStringLiteral("unregister ") + QLatin1String(module);
    receivers.removeOne(qMakePair(QString::fromLatin1(module), receiver));
}

FakeHost::Answer FakeHost::exchange(Operation operation, const char *format, va_list arguments)
{
    const QString text = QString::fromLatin1(formatted(format, arguments));
    QString line = text;
    if (operation == Operation::Set)
        line.prepend(QStringLiteral("set "));
    else if (operation != Operation::Command)
        line.prepend(QStringLiteral("get "));
    transcript += line;
    journal += line;

    const Exchange current{operation, ++m_exchangeCount, line, format};
    const std::optional<Answer> planned = plannedAnswer(current);
    const Answer answer = planned ? *planned : answerOfController(operation, text);
    outcomes += Outcome{answer.status, answer.text};
    return answer;
}

FakeHost::Answer FakeHost::answerOfController(Operation operation, const QString &text)
{
    Answer answer;
    switch (operation) {
    case Operation::Command:
        answer.text = execute(text);
        break;
    case Operation::Set:
        answer.status = write(text);
        break;
    case Operation::GetString:
    case Operation::GetInt:
    case Operation::GetDoubles:
        answer = answerRead(text);
        break;
    }
    return answer;
}

/// The host's own part of the last exchange is done.
int FakeHost::ended(int status)
{
    outcomes.last().status = status;
    return status;
}

std::optional<FakeHost::Answer> FakeHost::plannedAnswer(const Exchange &exchange) const
{
    if (hook) {
        std::optional<Answer> answer = hook(exchange);
        if (answer)
            return answer;
    }
    if (m_answersByNumber.contains(exchange.number))
        return m_answersByNumber.value(exchange.number);
    if (m_answersByLine.contains(exchange.line))
        return m_answersByLine.value(exchange.line);
    return std::nullopt;
}

FakeHost::Answer FakeHost::answerRead(const QString &parameter) const
{
    Answer answer;
    if (parameters.contains(parameter))
        answer.text = parameters.value(parameter).toLatin1();
    else
        answer.status = kRefused;
    return answer;
}

// A name may itself hold blanks: the longest one known that the line begins with is meant.
int FakeHost::write(const QString &nameAndValue)
{
    QString name;
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        if (entry.key().size() > name.size() &&
            nameAndValue.startsWith(entry.key() + QLatin1Char(' ')))
            name = entry.key();
    }
    if (name.isEmpty())
        return kRefused;
    const QString value = nameAndValue.mid(name.size() + 1);
    const QStringList words = value.split(QLatin1Char(' '), Qt::KeepEmptyParts);

    if (name.startsWith(QLatin1String("body number_of_marker "))) {
        bool isNumber = false;
        const int count = value.toInt(&isNumber);
        if (!isNumber || count < 0)
            return kRefused;
        resizeMarkers(name.section(QLatin1Char(' '), 2), count);
        return 0;
    }
    if (name.startsWith(QLatin1String("body marker ")) && !numbersFrom(words, 3))
        return kRefused;
    if (name.startsWith(QLatin1String("body marker_emission ")) && !numbersFrom(words, 4))
        return kRefused;
    parameters[name] = value;
    return 0;
}

QByteArray FakeHost::execute(const QString &line)
{
    QByteArray done = "quorel2 ok";
    const QString get = QStringLiteral("quorel2 get ");
    const QString set = QStringLiteral("quorel2 set ");
    if (line.startsWith(get)) {
        const QString name = line.mid(get.size());
        if (parameters.contains(name))
            return (set + name + QLatin1Char(' ') + parameters.value(name)).toLatin1();
        return "quorel2 err unknown parameter";
    }
    if (line.startsWith(set))
        return write(line.mid(set.size())) == 0 ? done : "quorel2 err refused";
    if (line == QLatin1String("quorel2 tracking start") ||
        line == QLatin1String("quorel2 tracking stop")) {
        parameters[QStringLiteral("status active")] =
            line.endsWith(QLatin1String("start")) ? QStringLiteral("mea") : QStringLiteral("idle");
        return done;
    }

    const QStringList words = line.split(QLatin1Char(' '), Qt::KeepEmptyParts);
    const QString body = QStringList(words.mid(3, 2)).join(QLatin1Char(' '));
    if (line.startsWith(QLatin1String("quorel2 body transform ")))
        return transform(body, words.mid(5)) ? done : "quorel2 err bad transform";
    if (line.startsWith(QLatin1String("quorel2 body delete_marker ")))
        return deleteMarker(body, words.value(5)) ? done : "quorel2 err bad marker";
    return "quorel2 err unknown command";
}

bool FakeHost::transform(const QString &body, const QStringList &texts)
{
    const std::optional<QVector<double>> given = numbersFrom(texts, 12);
    if (!given || !parameters.contains(countKey(body)))
        return false;
    const double *translation = given->constData();
    const double *rotation = given->constData() + 3; // column by column
    const auto turned = [rotation](const QVector<double> &v, int row) {
        return rotation[row] * v.value(0) + rotation[row + 3] * v.value(1) +
               rotation[row + 6] * v.value(2);
    };
    for (int marker = 1; marker <= parameters.value(countKey(body)).toInt(); ++marker) {
        const QVector<double> p = numbersOf(positionKey(body, marker));
        parameters[positionKey(body, marker)] =
            numbersText({turned(p, 0) + translation[0], turned(p, 1) + translation[1],
                         turned(p, 2) + translation[2]});
        const QVector<double> e = numbersOf(emissionKey(body, marker));
        parameters[emissionKey(body, marker)] =
            numbersText({turned(e, 0), turned(e, 1), turned(e, 2), e.value(3)});
    }
    return true;
}

bool FakeHost::deleteMarker(const QString &body, const QString &marker)
{
    const int count = parameters.value(countKey(body)).toInt();
    const int number = marker.mid(1).toInt();
    if (!marker.startsWith(QLatin1Char('m')) || number < 1 || number > count)
        return false;
    for (int next = number; next < count; ++next) {
        parameters[positionKey(body, next)] = parameters.value(positionKey(body, next + 1));
        parameters[emissionKey(body, next)] = parameters.value(emissionKey(body, next + 1));
    }
    resizeMarkers(body, count - 1);
    return true;
}

void FakeHost::storeMarkers(const QString &body, const QVector<bsVector> &positions,
                            const QVector<Emission> &emissionRecords)
{
    resizeMarkers(body, positions.size());
    for (int index = 0; index < positions.size(); ++index) {
        const bsVector &p = positions.at(index);
        const Emission e = emissionRecords.value(index);
        parameters[positionKey(body, index + 1)] = numbersText({p.x, p.y, p.z});
        parameters[emissionKey(body, index + 1)] = numbersText({e.x, e.y, e.z, e.angleDeg});
    }
}

void FakeHost::resizeMarkers(const QString &body, int count)
{
    const int before = parameters.value(countKey(body)).toInt();
    for (int marker = count + 1; marker <= before; ++marker) {
        parameters.remove(positionKey(body, marker));
        parameters.remove(emissionKey(body, marker));
    }
    for (int marker = before + 1; marker <= count; ++marker) {
        parameters[positionKey(body, marker)] = numbersText({0.0, 0.0, 0.0});
        parameters[emissionKey(body, marker)] = numbersText({0.0, 0.0, 0.0, 0.0});
    }
    parameters[countKey(body)] = QString::number(count);
}

QVector<double> FakeHost::numbersOf(const QString &parameter) const
{
    QVector<double> numbers;
    const QStringList texts = parameters.value(parameter).split(QLatin1Char(' '));
    for (const QString &text : texts)
        numbers += text.toDouble();
    return numbers;
}
