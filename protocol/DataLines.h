#pragma once

#include <model/bsMatrix.h>
#include <model/bsVector.h>

#include <QVector>

#include <array>

/// One block of a tracking data line. Its numbers have the precision of a float.
struct DataBlock {
    long id = 0; ///< within the range of an int
    double quality = -1.0;
    long buttons = 0;     ///< "6df": button word; "6df2": number of buttons
    long controllers = 0; ///< "6df2" only
    bsVector position;    ///< millimetres, room frame
    bsMatrix rotation;    ///< body to room; translation 0
};

enum class DataLineType { SixD, SixDf, SixDf2 };

/// Parses a whole data line, its type word included. Numbers are read in the C locale and must be
/// finite; integers may be decimal, octal or hexadecimal as in C. What follows the last block is
/// not looked at. @p line is written to while it is read and is unchanged afterwards.
/// @param blocks  gets the blocks in the order of the line; meaningful only after success
/// @return false for a malformed line
bool parseDataLine(DataLineType type, char *line, QVector<DataBlock> *blocks);

/// The numbers between a pair of brackets, in the order in which they stand there.
struct DataFields {
    std::array<long, 3> integers = {};
    std::array<double, 9> numbers = {};
};

/// Reads fields from @p text by a descriptor with one letter for each: i is an integer, f a number.
/// Fields beyond the descriptor are skipped.
/// @return false for a field that is missing or out of range, for any other letter, and for more
///         letters than DataFields has room for
bool readDataFields(const char *text, const char *descriptor, DataFields *fields);
