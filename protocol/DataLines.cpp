#include "DataLines.h"
#include "CLocaleScope.h"

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

// Reads an integer and moves on behind it.
bool readInteger(char **cursor, long *value)
{
    char *end = nullptr;
    errno = 0;
    *value = std::strtol(*cursor, &end, 0);
    if (end == *cursor || errno == ERANGE)
        return false;
    *cursor = end;
    return true;
}

// Reads a number, rounded to a float as the controller means it, and moves on behind it.
bool readNumber(char **cursor, double *value)
{
    char *end = nullptr;
    const double number = strtod_l(*cursor, &end, cLocale());
    // What is not representable as a float must not become infinite by the rounding.
    if (end == *cursor || !(std::fabs(number) <= static_cast<double>(FLT_MAX)))
        return false;
    *value = static_cast<double>(static_cast<float>(number));
    *cursor = end;
    return true;
}

// Cuts the line at the closing bracket of the next pair, for as long as it lives.
class BracketPair {
public:
    explicit BracketPair(char *from)
        : m_text(std::strchr(from, '['))
    {
        if (!m_text)
            return;
        ++m_text;
        m_close = std::strchr(m_text, ']');
        if (m_close)
            *m_close = '\0';
    }
    ~BracketPair()
    {
        if (m_close)
            *m_close = ']';
    }
    BracketPair(const BracketPair &) = delete;
    BracketPair &operator=(const BracketPair &) = delete;

    bool isFound() const { return m_close != nullptr; }
    const char *text() const { return m_text; }
    char *behind() const { return m_close + 1; }

private:
    char *m_text;
    char *m_close = nullptr;
};

bool readBracket(char **cursor, const char *descriptor, DataFields *fields)
{
    const BracketPair pair(*cursor);
    if (!pair.isFound() || !readDataFields(pair.text(), descriptor, fields))
        return false;
    *cursor = pair.behind();
    return true;
}

struct LineFormat {
    std::size_t countOffset; // behind the type word and its blank
    int countFields;         // the last one is the number of blocks
    const char *head;        // descriptor of a block's first bracket
    bool hasTail;            // a fourth bracket that is not read
};

LineFormat formatOf(DataLineType type)
{
    switch (type) {
    case DataLineType::SixD:
        return {3, 1, "if", false};
    case DataLineType::SixDf:
        return {4, 1, "ifi", false};
    case DataLineType::SixDf2:
        break;
    }
    return {5, 2, "ifii", true};
}

bool readBlock(const LineFormat &format, char **cursor, DataBlock *block)
{
    DataFields head;
    DataFields position;
    DataFields rotation;
    DataFields tail;
    if (!readBracket(cursor, format.head, &head) || !readBracket(cursor, "fff", &position) ||
        !readBracket(cursor, "fffffffff", &rotation) ||
        (format.hasTail && !readBracket(cursor, "", &tail)))
        return false;
    // Ids are compared and stored as int; a longer one must not wrap round to a body's.
    if (head.integers[0] < INT_MIN || head.integers[0] > INT_MAX)
        return false;

    block->id = head.integers[0];
    block->quality = head.numbers[0];
    block->buttons = head.integers[1];
    block->controllers = head.integers[2];
    block->position.x = position.numbers[0];
    block->position.y = position.numbers[1];
    block->position.z = position.numbers[2];
    block->rotation.m[15] = 1.0;
    for (int column = 0; column < 3; ++column) {
        for (int row = 0; row < 3; ++row)
            block->rotation.element(row, column) = rotation.numbers[row + 3 * column];
    }
    return true;
}

} // namespace

bool readDataFields(const char *text, const char *descriptor, DataFields *fields)
{
    // strtol() and strtod() want it so; nothing is written through it.
    char *cursor = const_cast<char *>(text);
    std::size_t integerCount = 0;
    std::size_t numberCount = 0;
    for (; *descriptor != '\0'; ++descriptor) {
        if (*descriptor == 'i') {
            if (integerCount == fields->integers.size() ||
                !readInteger(&cursor, &fields->integers[integerCount]))
                return false;
            ++integerCount;
        } else if (*descriptor == 'f') {
            if (numberCount == fields->numbers.size() ||
                !readNumber(&cursor, &fields->numbers[numberCount]))
                return false;
            ++numberCount;
        } else {
            return false;
        }
    }
    return true;
}

bool parseDataLine(DataLineType type, char *line, QVector<DataBlock> *blocks)
{
    blocks->clear();
    const LineFormat format = formatOf(type);
    if (std::strlen(line) < format.countOffset)
        return false;
    char *cursor = line + format.countOffset;
    long count = 0;
    for (int field = 0; field < format.countFields; ++field) {
        if (!readInteger(&cursor, &count))
            return false;
    }
    // The count is not trusted: the blocks grow with what the line holds.
    for (long index = 0; index < count; ++index) {
        DataBlock block;
        if (!readBlock(format, &cursor, &block))
            return false;
        blocks->append(block);
    }
    return true;
}
