// What it costs to read the tracking data lines, which come sixty times a second on a thread of the
// host's.

#include "Comparison.h"

#include <controller/ControllerState.h>
#include <controller/DataLineWriter.h>
#include <controller/Scenario.h>
#include <protocol/ChosenBodyTracking.h>
#include <protocol/DataLines.h>

#include <QString>
#include <QVector>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 2000;
constexpr double kLinesPerSecond = 60.0;
constexpr int kDifferentLines = 60; ///< one second of a measurement
constexpr int kMarkers = 4;
constexpr quint32 kSeed = 1;

using Outcome = ChosenBodyTracking::Outcome;
using Lines = QVector<QByteArray>;

struct LineKind {
    const char *word;
    DataLineType type;
    const char *bodyType;
    QByteArray (*write)(const ControllerState &state, qint64 timeUs);
};

const LineKind kKinds[] = {
    {"6d", DataLineType::SixD, "standard", DataLineWriter::bodyLine},
    {"6df", DataLineType::SixDf, "vimbar", DataLineWriter::vimbarLine},
    {"6df2", DataLineType::SixDf2, "vimbar", DataLineWriter::vimbarLine2},
};

/// As the controller sends them while all the bodies move in its sight.
Lines linesOf(const LineKind &kind, int bodyCount)
{
    Scenario scenario;
    scenario.types = {{kind.bodyType, "Body"}};
    for (int i = 0; i < bodyCount; ++i) {
        ControllerBody body;
        body.type = kind.bodyType;
        body.markers.resize(kMarkers); // without markers it is not tracked
        body.place.translation = {20.0 * i, -10.0 * i, 1000.0};
        scenario.bodies.append(body);
    }
    scenario.measuring = true;
    const ControllerState state(scenario, kSeed);
    Lines lines;
    for (int i = 0; i < kDifferentLines; ++i)
        lines.append(kind.write(state, qRound64(1.0e6 * i / kLinesPerSecond)));
    return lines;
}

template <typename Change>
Lines changed(Lines lines, const Change &change)
{
    for (QByteArray &line : lines)
        change(line);
    return lines;
}

Lines cutInLastBlock(const Lines &lines)
{
    return changed(lines, [](QByteArray &line) { line.truncate(line.lastIndexOf('[') + 2); });
}

Lines withoutNumberInFirstBlock(const Lines &lines)
{
    return changed(lines, [](QByteArray &line) { line.insert(line.indexOf('[') + 1, '?'); });
}

Lines withHugeCount(const Lines &lines)
{
    return changed(lines, [](QByteArray &line) {
        const int count = line.lastIndexOf(' ', line.indexOf('[') - 2) + 1;
        line.insert(count, "20000");
    });
}

/// What the dialog does with a line: the last body of the line is the chosen one.
std::function<void()> reading(const LineKind &kind, const Lines &lines, int bodyCount,
                              bool wellFormed)
{
    const auto tracking = std::make_shared<ChosenBodyTracking>();
    tracking->choose(QString::fromLatin1(kind.bodyType), bodyCount - 1);
    const Outcome expected = wellFormed ? Outcome::Tracked : Outcome::NothingToTell;
    const char *word = kind.word;
    return [tracking, lines, word, wellFormed, expected, next = 0]() mutable {
        next = (next + 1) % lines.size();
        Outcome outcome = Outcome::NothingToTell;
        const bool read = tracking->receive(word, lines.at(next).constData(), &outcome);
        require(read == wellFormed && outcome == expected, "a line was read wrongly");
    };
}

/// Nothing but the parsing, for the part that it has in the whole.
std::function<void()> parsing(const LineKind &kind, const Lines &lines, int bodyCount)
{
    const DataLineType type = kind.type;
    // The parser wants a line that it may write to.
    return
        [type, bodyCount, own = Lines(lines), blocks = QVector<DataBlock>(), next = 0]() mutable {
            next = (next + 1) % own.size();
            const bool parsed = parseDataLine(type, own[next].data(), &blocks);
            require(parsed && blocks.size() == bodyCount, "a line was parsed wrongly");
        };
}

void measureKind(const LineKind &kind)
{
    Comparison comparison;
    const std::string word = std::string("\"") + kind.word + "\"";
    struct Row {
        int bodyCount;
        int bytes;
        int work;
    };
    std::vector<Row> rows;
    for (const int bodyCount : {1, 20, 70}) {
        const Lines lines = linesOf(kind, bodyCount);
        rows.push_back({bodyCount, lines.first().size(),
                        comparison.add(word + ", bodies: " + std::to_string(bodyCount),
                                       reading(kind, lines, bodyCount, true))});
    }
    const Row full = rows.back();
    const Lines lines = linesOf(kind, full.bodyCount);
    const int parsed = comparison.add("parsed only", parsing(kind, lines, full.bodyCount));
    const auto addMalformed = [&](const char *name, const Lines &malformed) {
        return comparison.add(name, reading(kind, malformed, full.bodyCount, false));
    };
    const int cut = addMalformed("cut in the last block", cutInLastBlock(lines));
    const int huge = addMalformed("a count far too high", withHugeCount(lines));
    const int early = addMalformed("no number at the beginning", withoutNumberInFirstBlock(lines));
    comparison.measure(kRounds);

    std::printf("\n%-18s %7s %9s %9s %10s %10s %11s %10s\n", "line", "bytes", "ratio", "per body",
                "median us", "95 % us", "lines/s", "core %");
    for (const Row &row : rows) {
        const double ratio = comparison.ratio(row.work, rows.front().work);
        const double us = comparison.medianUs(row.work);
        std::printf("%-18s %7d %9.2f %9.2f %10.2f %10.2f %11.0f %10.4f\n",
                    comparison.name(row.work).c_str(), row.bytes, ratio, ratio / row.bodyCount, us,
                    comparison.percentile95Us(row.work), 1.0e6 / us,
                    100.0 * kLinesPerSecond * us / 1.0e6);
    }
    std::printf("  of %d bodies, against the well-formed line:", full.bodyCount);
    for (const int work : {parsed, cut, huge, early}) {
        std::printf("%s %s %.3f", work == parsed ? "" : ",", comparison.name(work).c_str(),
                    comparison.ratio(work, full.work));
    }
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

int main()
{
    useCLocale();
    std::printf(
        "Reading data lines. Ratio: against the line of one body. Core: share of one core at "
        "%.0f lines/s.\n",
        kLinesPerSecond);
    for (const LineKind &kind : kKinds)
        measureKind(kind);
    return 0;
}
