#include "NumberText.h"

#include <QList>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace {

/// @return the position behind the digits that begin at @p position
int skipDigits(const QByteArray &text, int position)
{
    while (position < text.size() && text.at(position) >= '0' && text.at(position) <= '9')
        ++position;
    return position;
}

int skipSign(const QByteArray &text, int position)
{
    const bool isSign =
        position < text.size() && (text.at(position) == '-' || text.at(position) == '+');
    return isSign ? position + 1 : position;
}

bool isPlainNumber(const QByteArray &text)
{
    const int first = skipSign(text, 0);
    int position = skipDigits(text, first);
    int digits = position - first;
    if (position < text.size() && text.at(position) == '.') {
        const int end = skipDigits(text, position + 1);
        digits += end - position - 1;
        position = end;
    }
    if (digits == 0)
        return false;
    if (position < text.size() && (text.at(position) == 'e' || text.at(position) == 'E')) {
        const int firstOfExponent = skipSign(text, position + 1);
        position = skipDigits(text, firstOfExponent);
        if (position == firstOfExponent)
            return false;
    }
    return position == text.size();
}

} // namespace

QByteArray numberText(double value, int decimals)
{
    char digits[400]; // room for the largest number
    const std::to_chars_result end = std::to_chars(std::begin(digits), std::end(digits), value,
                                                   std::chars_format::fixed, decimals);
    QByteArray text(digits, static_cast<int>(end.ptr - digits));
    if (text.startsWith('-') && text.count('0') + text.count('.') == text.size() - 1)
        text.remove(0, 1);
    return text;
}

bool parseNumber(const QByteArray &text, double *value)
{
    if (!isPlainNumber(text))
        return false;
    bool isNumber = false; // false for an overflow
    const double number = text.toDouble(&isNumber);
    if (!isNumber)
        return false;
    *value = number;
    return true;
}

bool parseCount(const QByteArray &text, int *count)
{
    const bool isCount =
        !text.isEmpty() && text.size() <= 9 &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (isCount)
        *count = text.toInt();
    return isCount;
}

bool parseIndex(const QByteArray &text, char letter, int *index)
{
    return text.size() >= 3 && text.at(0) == letter && parseCount(text.mid(1), index);
}

bool parseBodyName(const QByteArray &text, QByteArray *type, int *number)
{
    const QList<QByteArray> words = text.split(' ');
    if (words.size() != 2 || words[0].isEmpty() || !parseIndex(words[1], 'b', number))
        return false;
    *type = words[0];
    return true;
}
