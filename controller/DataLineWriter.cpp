#include "DataLineWriter.h"

#include "ControllerState.h"
#include "NumberText.h"

namespace {

constexpr int kButtonCount = 4;
constexpr int kAxisCount = 2;

QByteArray joined(std::initializer_list<double> numbers, int decimals)
{
    QByteArray text;
    for (double number : numbers) {
        if (!text.isEmpty())
            text += ' ';
        text += numberText(number, decimals);
    }
    return text;
}

QByteArray matrixText(const Matrix3 &m)
{
    return joined({m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]}, 6);
}

QByteArray headText(int id, bool tracked)
{
    return QByteArray::number(id) + (tracked ? " 1.000" : " -1.000");
}

/// The second and third bracket of "6d" and "6df"; zeros for a body that is not tracked.
QByteArray poseText(const ControllerState::TrackedBody &body)
{
    if (!body.tracked)
        return '[' + joined({0, 0, 0, 0, 0, 0}, 3) + "][" + matrixText(Matrix3{}) + ']';
    const Vector3 &position = body.pose.translation;
    const Vector3 angles = anglesFromRotation(body.pose.rotation);
    return '[' + joined({position.x, position.y, position.z, angles.x, angles.y, angles.z}, 3) +
           "][" + matrixText(body.pose.rotation) + ']';
}

QByteArray lineOf(const char *type, int count, const QByteArray &blocks)
{
    return QByteArray(type) + ' ' + QByteArray::number(count) + ' ' + blocks;
}

/// What is left of a line that breaks off inside its last block.
QByteArray cut(const QByteArray &line)
{
    const int lastOpening = line.lastIndexOf('[');
    return line.left(lastOpening < 0 ? line.size() / 2 : lastOpening + 2);
}

} // namespace

namespace DataLineWriter {

QByteArray bodyLine(const ControllerState &state, qint64 timeUs)
{
    QByteArray blocks;
    int count = 0;
    const auto append = [&](int id, const ControllerState::TrackedBody &body) {
        if (!body.tracked && state.omitsUntracked())
            return;
        blocks += '[' + headText(id, body.tracked) + ']' + poseText(body) + ' ';
        ++count;
    };
    const bool withHead = state.isMultiUser() && state.isMultiUserWithHead();
    if (withHead)
        append(0, state.trackedHead(timeUs));
    const int bodyCount = state.bodyCount("standard");
    for (int number = 1; number <= bodyCount; ++number)
        append(withHead ? number : number - 1, state.trackedBody("standard", number, timeUs));
    return lineOf("6d", count, blocks);
}

QByteArray vimbarLine(const ControllerState &state, qint64 timeUs)
{
    QByteArray blocks;
    int count = 0;
    const int deviceCount = state.bodyCount("vimbar");
    for (int number = 1; number <= deviceCount; ++number) {
        const ControllerState::TrackedBody body = state.trackedBody("vimbar", number, timeUs);
        if (!body.tracked && state.omitsUntracked())
            continue;
        blocks += '[' + headText(number - 1, body.tracked) + " 0]" + poseText(body) + ' ';
        ++count;
    }
    return lineOf("6df", count, blocks);
}

QByteArray vimbarLine2(const ControllerState &state, qint64 timeUs)
{
    const int deviceCount = state.bodyCount("vimbar");
    QByteArray blocks;
    for (int number = 1; number <= deviceCount; ++number) {
        const ControllerState::TrackedBody body = state.trackedBody("vimbar", number, timeUs);
        const Vector3 &position = body.pose.translation;
        blocks += '[' + headText(number - 1, body.tracked) + ' ' +
                  QByteArray::number(kButtonCount) + ' ' + QByteArray::number(kAxisCount) + "][" +
                  joined({position.x, position.y, position.z}, 3) + "][" +
                  matrixText(body.tracked ? body.pose.rotation : Matrix3{}) +
                  "][0 0 0 0 0.00 0.00] ";
    }
    return lineOf("6df2", deviceCount, QByteArray::number(deviceCount) + ' ' + blocks);
}

QVector<QByteArray> activeLines(const ControllerState &state, qint64 timeUs)
{
    QVector<QByteArray> lines;
    if (!state.isMeasuring() || state.dataFault() == DataFault::Silent)
        return lines;
    if (state.isOutputActive("6d"))
        lines.append(bodyLine(state, timeUs));
    if (state.isOutputActive("6df"))
        lines.append(vimbarLine(state, timeUs));
    if (state.isOutputActive("6df2"))
        lines.append(vimbarLine2(state, timeUs));
    if (state.dataFault() == DataFault::Cut) {
        for (QByteArray &line : lines)
            line = cut(line);
    }
    return lines;
}

} // namespace DataLineWriter
