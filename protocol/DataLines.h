#pragma once

#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <QVector>

/// One block of a tracking data line.
struct DataBlock {
    long id = 0;
    double quality = -1.0;
    long buttons = 0;     ///< "6df": button word; "6df2": number of buttons
    long controllers = 0; ///< "6df2" only
    bsVector position;    ///< millimetres, room frame
    bsMatrix rotation;    ///< body to room; translation 0
};

enum class DataLineType { SixD, SixDf, SixDf2 };

/// Parses a whole data line, its type word included. Numbers are read in the C locale and must be
/// finite. @p line is written to while it is read and is unchanged afterwards.
/// @param blocks  gets the blocks in the order of the line; meaningful only after success
/// @return false for a malformed line
bool parseDataLine(DataLineType type, char *line, QVector<DataBlock> *blocks);
