#pragma once

#include <QByteArray>
#include <QVector>

class ControllerState;

/// Prints the tracking data lines. Positions and angles have three decimals, rotations six; the
/// matrix is printed column by column.
namespace DataLineWriter {

/// All lines that are active, ready to be sent; none while measurement does not run.
/// @param timeUs  the controller's time in microseconds
QVector<QByteArray> activeLines(const ControllerState &state, qint64 timeUs);

/// "6d N [id qu][x y z rx ry rz][b0 ... b8] " with one block for each standard body. Ids are
/// 0-based; in multi-user operation with head, id 0 is the head and the bodies' ids are 1-based.
QByteArray bodyLine(const ControllerState &state, qint64 timeUs);

/// "6df N [id qu bt][x y z rx ry rz][b0 ... b8] " with one block for each vimbar.
QByteArray vimbarLine(const ControllerState &state, qint64 timeUs);

/// "6df2 N N [id qu nbt nct][x y z][b0 ... b8][bt ... ct ...] "; no vimbar is ever left out, since
/// its place in the line is its number.
QByteArray vimbarLine2(const ControllerState &state, qint64 timeUs);

} // namespace DataLineWriter
