#include "CommandTable.h"

#include "ControllerState.h"
#include "NumberText.h"

#include <QTextStream>

#include <algorithm>

struct CommandTable::Arguments {
    QByteArray type;
    int bodyNumber = 0;
    int markerNumber = 0;
    int typeNumber = 0;
    int count = 0;
    bool yes = false;
    quint16 port = 0;
    QByteArray channel;
    QByteArray line;
    QByteArray text;
    QVector<double> numbers;
};

struct CommandTable::Context {
    ControllerState *state;
    DataSubscription *subscription;
};

struct CommandTable::Reply {
    const char *reason = nullptr; // null: done
    QByteArray value;             // of a parameter read
};

namespace {

using Verb = CommandTable::Verb;
using Arguments = CommandTable::Arguments;
using Context = CommandTable::Context;
using Reply = CommandTable::Reply;
using Row = CommandTable::Row;

constexpr const char *kWrongCount = "wrong number of arguments";
constexpr const char *kOutOfRange = "value out of range";

Reply failure(const char *reason)
{
    return {reason, {}};
}

Reply value(const QByteArray &text)
{
    return {nullptr, text};
}

Reply yesOrNo(bool yes)
{
    return value(yes ? "yes" : "no");
}

Reply number(int n)
{
    return value(QByteArray::number(n));
}

Reply numbers(const Vector3 &v)
{
    return value(numberText(v.x, 3) + ' ' + numberText(v.y, 3) + ' ' + numberText(v.z, 3));
}

Reply done(StateResult result)
{
    switch (result) {
    case StateResult::Done:
        return {};
    case StateResult::NoSuchType:
        return failure("no such type");
    case StateResult::NoSuchBody:
        return failure("no such body");
    case StateResult::NoSuchMarker:
        return failure("no such marker");
    case StateResult::NotChangeable:
        return failure("configuration is not changeable");
    case StateResult::NotAvailable:
        return failure("not available");
    case StateResult::NotARotation:
        return failure("not a rotation matrix");
    case StateResult::OutOfRange:
        return failure(kOutOfRange);
    }
    return failure("internal error");
}

using BodyReader = Reply (*)(const ControllerBody &);

template <BodyReader read>
Reply ofBody(const Arguments &arguments, const Context &context)
{
    const ControllerBody *body = context.state->findBody(arguments.type, arguments.bodyNumber);
    return body ? read(*body) : done(StateResult::NoSuchBody);
}

using MarkerReader = Reply (*)(const ControllerMarker &);

template <MarkerReader read>
Reply ofMarker(const Arguments &arguments, const Context &context)
{
    if (!context.state->findBody(arguments.type, arguments.bodyNumber))
        return done(StateResult::NoSuchBody);
    const ControllerMarker *marker =
        context.state->findMarker(arguments.type, arguments.bodyNumber, arguments.markerNumber);
    return marker ? read(*marker) : done(StateResult::NoSuchMarker);
}

using FlagReader = bool (ControllerState::*)() const;

template <FlagReader read>
Reply ofFlag(const Arguments &, const Context &context)
{
    return yesOrNo((context.state->*read)());
}

// --- what can be read

Reply getVersion(const Arguments &, const Context &context)
{
    return value(context.state->backend().toText());
}

Reply getStatusActive(const Arguments &, const Context &context)
{
    return value(context.state->isMeasuring() ? "mea" : "idle");
}

Reply getReference(const Arguments &, const Context &context)
{
    return value(context.state->reference());
}

Reply getOutputActive(const Arguments &arguments, const Context &context)
{
    if (!ControllerState::isOutput(arguments.channel, arguments.line))
        return failure(kOutOfRange);
    return yesOrNo(context.state->isOutputActive(arguments.line));
}

Reply getDeviceCount(const Arguments &, const Context &context)
{
    return number(context.state->bodyCount("vimbar"));
}

Reply getTypeCount(const Arguments &, const Context &context)
{
    return number(context.state->types().size());
}

Reply getType(const Arguments &arguments, const Context &context)
{
    const QVector<BodyType> &types = context.state->types();
    if (arguments.typeNumber < 1 || arguments.typeNumber > types.size())
        return done(StateResult::NoSuchType);
    return value(types[arguments.typeNumber - 1].keyword);
}

Reply getTypeDescription(const Arguments &arguments, const Context &context)
{
    return value('"' + context.state->findType(arguments.type)->description + '"');
}

Reply getBodyCount(const Arguments &arguments, const Context &context)
{
    return number(context.state->bodyCount(arguments.type));
}

Reply calibrated(const ControllerBody &body)
{
    return yesOrNo(body.calibrated);
}

Reply targetType(const ControllerBody &body)
{
    return value('\'' + body.targetType + '\'');
}

Reply description(const ControllerBody &body)
{
    return value('"' + body.description + '"');
}

Reply markerCount(const ControllerBody &body)
{
    return number(body.markers.size());
}

Reply markerPosition(const ControllerMarker &marker)
{
    return numbers(marker.position);
}

Reply markerEmission(const ControllerMarker &marker)
{
    Reply reply = numbers(marker.emission.direction);
    reply.value += ' ' + numberText(marker.emission.angleDeg, 3);
    return reply;
}

// --- what can be set

Reply setReference(const Arguments &arguments, const Context &context)
{
    return done(context.state->setReference(arguments.text));
}

Reply setMultiUser(const Arguments &arguments, const Context &context)
{
    return done(context.state->setMultiUser(arguments.yes));
}

Reply setMultiUserWithHead(const Arguments &arguments, const Context &context)
{
    return done(context.state->setMultiUserWithHead(arguments.yes));
}

Reply setOutputActive(const Arguments &arguments, const Context &context)
{
    return done(context.state->setOutputActive(arguments.channel, arguments.line, arguments.yes));
}

Reply setMarkerCount(const Arguments &arguments, const Context &context)
{
    return done(
        context.state->setMarkerCount(arguments.type, arguments.bodyNumber, arguments.count));
}

Reply setMarker(const Arguments &arguments, const Context &context)
{
    const QVector<double> &n = arguments.numbers;
    return done(context.state->setMarker(arguments.type, arguments.bodyNumber,
                                         arguments.markerNumber, {n[0], n[1], n[2]}));
}

Reply setEmission(const Arguments &arguments, const Context &context)
{
    const QVector<double> &n = arguments.numbers;
    return done(context.state->setEmission(arguments.type, arguments.bodyNumber,
                                           arguments.markerNumber, {{n[0], n[1], n[2]}, n[3]}));
}

// --- commands

Reply startTracking(const Arguments &, const Context &context)
{
    return done(context.state->startMeasurement());
}

Reply stopTracking(const Arguments &, const Context &context)
{
    return done(context.state->stopMeasurement());
}

Reply transformBody(const Arguments &arguments, const Context &context)
{
    const QVector<double> &n = arguments.numbers;
    RigidTransform transform;
    transform.translation = {n[0], n[1], n[2]};
    std::copy(n.begin() + 3, n.end(), transform.rotation.begin());
    return done(context.state->transformBody(arguments.type, arguments.bodyNumber, transform));
}

Reply deleteMarker(const Arguments &arguments, const Context &context)
{
    return done(
        context.state->deleteMarker(arguments.type, arguments.bodyNumber, arguments.markerNumber));
}

Reply connectData(const Arguments &arguments, const Context &context)
{
    if (!context.subscription)
        return done(StateResult::NotAvailable);
    context.subscription->connectData(arguments.port);
    return {};
}

Reply disconnectData(const Arguments &, const Context &context)
{
    if (!context.subscription)
        return done(StateResult::NotAvailable);
    context.subscription->disconnectData();
    return {};
}

// --- reading a request

QList<QByteArray> wordsOf(const QByteArray &text)
{
    QList<QByteArray> words = text.split(' ');
    words.removeAll(QByteArray());
    return words;
}

/// Fixed words are the only ones in small letters throughout.
bool isFixedWord(const QByteArray &word)
{
    return word != "yes|no" && word == word.toLower();
}

struct Pattern {
    const Row *row;
    QList<QByteArray> fixedWords;
    QList<QByteArray> placeholders;
};

QVector<Pattern> readPatterns()
{
    QVector<Pattern> patterns;
    for (const Row &row : CommandTable::rows()) {
        Pattern pattern{&row, {}, {}};
        for (const QByteArray &word : wordsOf(row.pattern))
            (isFixedWord(word) ? pattern.fixedWords : pattern.placeholders).append(word);
        patterns.append(pattern);
    }
    return patterns;
}

bool parseYesOrNo(const QByteArray &text, bool *yes)
{
    *yes = text == "yes";
    return *yes || text == "no";
}

/// @return null, or what is wrong
const char *parseArgument(const QByteArray &placeholder, const QByteArray &word,
                          const ControllerState &state, Arguments *arguments)
{
    const auto unless = [](bool good, const char *reason) { return good ? nullptr : reason; };
    if (placeholder == "TYPE") {
        arguments->type = word;
        return unless(state.findType(word) != nullptr, "no such type");
    }
    if (placeholder == "bNN")
        return unless(parseIndex(word, 'b', &arguments->bodyNumber), "bad body number");
    if (placeholder == "mNN")
        return unless(parseIndex(word, 'm', &arguments->markerNumber), "bad marker number");
    if (placeholder == "tNN")
        return unless(parseIndex(word, 't', &arguments->typeNumber), "bad type number");
    if (placeholder == "yes|no")
        return unless(parseYesOrNo(word, &arguments->yes), "yes or no expected");
    if (placeholder == "COUNT")
        return unless(parseCount(word, &arguments->count), "count expected");
    if (placeholder == "PORT") {
        int port = 0;
        const bool isPort = parseCount(word, &port) && port >= 1 && port <= 65535;
        arguments->port = static_cast<quint16>(port);
        return unless(isPort, "bad port number");
    }
    if (placeholder == "CHANNEL") {
        arguments->channel = word;
        return nullptr;
    }
    if (placeholder == "LINE") {
        arguments->line = word;
        return nullptr;
    }
    double number = 0.0;
    const bool isNumber = parseNumber(word, &number);
    arguments->numbers.append(number);
    return unless(isNumber, "number expected");
}

const char *parseArguments(const QList<QByteArray> &placeholders, const QList<QByteArray> &words,
                           const ControllerState &state, Arguments *arguments)
{
    if (placeholders == QList<QByteArray>{"TEXT"}) {
        arguments->text = words.join(' ');
        return words.isEmpty() ? kWrongCount : nullptr;
    }
    if (words.size() != placeholders.size())
        return kWrongCount;
    for (int i = 0; i < words.size(); ++i) {
        if (const char *reason = parseArgument(placeholders[i], words[i], state, arguments))
            return reason;
    }
    return nullptr;
}

QByteArray errorLine(const char *reason)
{
    return QByteArray("quorel2 err ") + reason;
}

bool isPrintable(const QByteArray &text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

Verb takeVerb(QList<QByteArray> *words)
{
    if (words->isEmpty() || (words->first() != "get" && words->first() != "set"))
        return Verb::Command;
    return words->takeFirst() == "get" ? Verb::Get : Verb::Set;
}

const char *unknownReason(Verb verb, bool knownOtherwise)
{
    switch (verb) {
    case Verb::Get:
        return knownOtherwise ? "parameter cannot be read" : "unknown parameter";
    case Verb::Set:
        return knownOtherwise ? "parameter cannot be set" : "unknown parameter";
    case Verb::Command:
        break;
    }
    return "unknown command";
}

} // namespace

const QVector<CommandTable::Row> &CommandTable::rows()
{
    using S = ControllerState;
    static const QVector<Row> table = {
        {Verb::Get, "backend version", 0, 0, getVersion,
         "Version of the controller: major and minor number, and the patch level where it is "
         "known."},
        {Verb::Get, "config is_changeable", 1, 9, ofFlag<&S::isConfigurationChangeable>,
         "\"no\" while body definitions are locked."},
        {Verb::Get, "status active", 0, 0, getStatusActive,
         "\"mea\" while measurement runs, otherwise \"idle\"."},
        {Verb::Get, "tracking available", 0, 17, ofFlag<&S::isTrackingAvailable>,
         "\"no\" when measurement cannot be started."},
        {Verb::Get, "tracking reference", 0, 0, getReference, "The reference target, or \"none\"."},
        {Verb::Get, "output active CHANNEL LINE", 0, 0, getOutputActive,
         "Whether a data line is sent while measurement runs. The channel is \"chmon\", the lines "
         "are \"6d\", \"6df\" and \"6df2\"."},
        {Verb::Get, "vimbar number_of_devices", 0, 0, getDeviceCount, "Number of vimbar devices."},
        {Verb::Get, "vimbar multiuser_available", 0, 0, ofFlag<&S::isMultiUserAvailable>,
         "Whether multi-user operation can be switched on."},
        {Verb::Get, "vimbar multiuser", 0, 0, ofFlag<&S::isMultiUser>,
         "Whether multi-user operation is on."},
        {Verb::Get, "vimbar multiuser_with_head_available", 0, 0,
         ofFlag<&S::isMultiUserWithHeadAvailable>,
         "Whether multi-user operation with head can be switched on."},
        {Verb::Get, "vimbar multiuser_with_head", 0, 0, ofFlag<&S::isMultiUserWithHead>,
         "Whether multi-user operation with head is on."},
        {Verb::Get, "vimbar output_6df", 0, 6, ofFlag<&S::isOutput6df>,
         "\"yes\" when the controller prefers line \"6df\" to \"6df2\"."},
        {Verb::Get, "body number_of_types", 0, 0, getTypeCount, "Number of body types."},
        {Verb::Get, "body type tNN", 0, 0, getType, "Keyword of a body type."},
        {Verb::Get, "body type_desc TYPE", 0, 0, getTypeDescription,
         "Description of a body type, in double quotes."},
        {Verb::Get, "body number_of_bodies TYPE", 0, 0, getBodyCount,
         "Number of bodies of a type."},
        {Verb::Get, "body calibrated TYPE bNN", 0, 0, ofBody<calibrated>,
         "Whether a body is calibrated."},
        {Verb::Get, "body target_type TYPE bNN", 1, 12, ofBody<targetType>,
         "Target type of a body, in single quotes."},
        {Verb::Get, "body desc TYPE bNN", 0, 0, ofBody<description>,
         "Description of a body, in double quotes."},
        {Verb::Get, "body number_of_marker TYPE bNN", 0, 0, ofBody<markerCount>,
         "Number of markers of a body."},
        {Verb::Get, "body marker TYPE bNN mNN", 0, 0, ofMarker<markerPosition>,
         "Position of a marker in body coordinates: x, y, z in mm."},
        {Verb::Get, "body marker_emission TYPE bNN mNN", 0, 0, ofMarker<markerEmission>,
         "Emission of a marker: x, y, z of the unit direction in body coordinates and the opening "
         "angle in degrees; all zero when nothing is known."},

        {Verb::Set, "tracking reference TEXT", 0, 0, setReference,
         "Chooses the reference target: \"none\", a body (\"standard b02\"), or the one that the "
         "controller started with."},
        {Verb::Set, "output active CHANNEL LINE yes|no", 0, 0, setOutputActive,
         "Sends a data line while measurement runs, or no longer."},
        {Verb::Set, "vimbar multiuser yes|no", 0, 0, setMultiUser,
         "Switches multi-user operation on, or off together with \"with head\"."},
        {Verb::Set, "vimbar multiuser_with_head yes|no", 0, 0, setMultiUserWithHead,
         "Switches \"with head\" on, while multi-user operation is on, or off."},
        {Verb::Set, "body number_of_marker TYPE bNN COUNT", 0, 0, setMarkerCount,
         "Changes the number of markers. New ones lie in the origin; surplus ones are dropped from "
         "the end."},
        {Verb::Set, "body marker TYPE bNN mNN X Y Z", 0, 0, setMarker, "Moves a marker."},
        {Verb::Set, "body marker_emission TYPE bNN mNN X Y Z ANGLE", 1, 12, setEmission,
         "Sets a marker's emission: a unit direction, or zeros, and an angle from 0 to 180 "
         "degrees."},

        {Verb::Command, "tracking start", 0, 0, startTracking, "Starts measurement."},
        {Verb::Command, "tracking stop", 0, 0, stopTracking, "Stops measurement."},
        {Verb::Command, "body transform TYPE bNN X Y Z R00 R10 R20 R01 R11 R21 R02 R12 R22", 0, 0,
         transformBody,
         "Redefines a body's coordinates: every marker p becomes R p + (X, Y, Z), emissions turn "
         "with R. R is given column by column."},
        {Verb::Command, "body delete_marker TYPE bNN mNN", 1, 17, deleteMarker,
         "Deletes a marker; those behind it move up by one number."},
        {Verb::Command, "data connect PORT", 0, 0, connectData,
         "From now on sends the data lines to this UDP port of the client, until the connection "
         "ends."},
        {Verb::Command, "data disconnect", 0, 0, disconnectData, "Sends them no longer."},
    };
    return table;
}

QByteArray CommandTable::answer(const QByteArray &request, ControllerState *state,
                                DataSubscription *subscription)
{
    static const QVector<Pattern> patterns = readPatterns();

    if (!isPrintable(request))
        return errorLine("invalid character");
    QList<QByteArray> words = wordsOf(request);
    if (words.isEmpty() || words.takeFirst() != "quorel2")
        return errorLine("unknown command");
    const Verb verb = takeVerb(&words);

    bool knownOtherwise = false;
    for (const Pattern &pattern : patterns) {
        const Row &row = *pattern.row;
        if (words.mid(0, pattern.fixedWords.size()) != pattern.fixedWords ||
            !state->backend().isAtLeast(row.sinceMajor, row.sinceMinor))
            continue;
        if (row.verb != verb) {
            knownOtherwise = true;
            continue;
        }
        Arguments arguments;
        const char *mistake = parseArguments(
            pattern.placeholders, words.mid(pattern.fixedWords.size()), *state, &arguments);
        if (mistake)
            return errorLine(mistake);
        const Reply reply = row.handler(arguments, {state, subscription});
        if (reply.reason)
            return errorLine(reply.reason);
        if (verb != Verb::Get)
            return "quorel2 ok";
        const QByteArray line = "quorel2 set " + words.join(' ') + ' ' + reply.value;
        const bool fits =
            reply.value.size() <= kMaximumValueLength && line.size() <= kMaximumReplyLength;
        return fits ? line : errorLine("reply too long");
    }
    return errorLine(unknownReason(verb, knownOtherwise));
}

QByteArray CommandTable::overLongAnswer()
{
    return errorLine("line too long");
}

QString CommandTable::toMarkdown()
{
    QString text;
    QTextStream stream(&text);
    stream
        << "# Commands of the simulated controller\n\n"
        << "This list is printed by `quorel2-controller --commands`.\n\n"
        << "Each request is one line of printable ASCII, at most " << kMaximumRequestLength
        << " characters, ended by `\\n` (a `\\r` before it is tolerated), and is answered by one "
           "line: a read by `quorel2 set`, the parameter and its value, everything else by "
           "`quorel2 ok`; what cannot be done by `quorel2 err` and a reason. A value has at most "
        << kMaximumValueLength << " characters, a reply at most " << kMaximumReplyLength << ".\n\n"
        << "`TYPE` is the keyword of a body type. `bNN`, `mNN` and `tNN` are the numbers of a "
           "body, a marker and a type, from 1, with two or more digits. Numbers have a decimal "
           "point; lengths are millimetres, angles degrees. The last column names the first "
           "backend version that knows the line.\n";
    struct Section {
        Verb verb;
        const char *title;
        const char *prefix;
    };
    const Section sections[] = {
        {Verb::Get, "Reading parameters", "quorel2 get "},
        {Verb::Set, "Setting parameters", "quorel2 set "},
        {Verb::Command, "Commands", "quorel2 "},
    };
    for (const Section &section : sections) {
        stream << "\n## " << section.title
               << "\n\n| request | meaning | since |\n| --- | --- | --- |\n";
        for (const Row &row : rows()) {
            if (row.verb != section.verb)
                continue;
            // A vertical bar would end the cell.
            const QString pattern =
                QString::fromLatin1(row.pattern).replace(QLatin1Char('|'), QLatin1String("\\|"));
            stream << "| `" << section.prefix << pattern << "` | " << row.help << " | ";
            if (row.sinceMajor > 0 || row.sinceMinor > 0)
                stream << row.sinceMajor << '.' << row.sinceMinor;
            stream << " |\n";
        }
    }
    stream
        << "\n## Data lines\n\n"
        << "While measurement runs, each active output goes out 60 times a second as one UDP "
           "datagram to every client that asked for data.\n\n"
        << "| line | form |\n| --- | --- |\n"
        << "| 6d, standard bodies | `6d N [id qu][x y z rx ry rz][b0 ... b8] ...` |\n"
        << "| 6df, vimbars | `6df N [id qu bt][x y z rx ry rz][b0 ... b8] ...` |\n"
        << "| 6df2, vimbars | `6df2 N N [id qu nbt nct][x y z][b0 ... b8][bt ... ct ...] ...` "
           "|\n\n"
        << "`N` is the number of blocks. `id` is the body's number less one; in multi-user "
           "operation with head, id 0 of line 6d is the head and a body's id is its number. `qu` "
           "is 1.000, or -1.000 and all numbers zero for a body that is not tracked. x, y, z are "
           "millimetres in the room; rx, ry, rz are degrees, the rotation being Rx Ry Rz; b0 to "
           "b8 are the same rotation column by column. `bt` are buttons, `ct` controllers, "
           "`nbt` and `nct` their numbers.\n\n"
        << "A pose follows `quorel2 body transform` and nothing else: it is that of the body's "
           "coordinates, which a transform redefines in the room. Markers that `quorel2 set body "
           "marker` moves one by one leave it as it was, also if all of them are moved as a "
           "transform would.\n";
    stream.flush();
    return text;
}
