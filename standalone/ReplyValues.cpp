#include "ReplyValues.h"

#include <QList>
#include <QVector>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

QVector<QByteArray> words(const QByteArray &text)
{
    QVector<QByteArray> result;
    for (const QByteArray &word : text.split(' ')) {
        if (!word.isEmpty())
            result.append(word);
    }
    return result;
}

// from_chars() knows no locale, no blanks and no hexadecimal notation, and it tells overflow.
template <typename Number>
bool parseWhole(const QByteArray &word, Number *number)
{
    const char *end = word.constData() + word.size();
    const std::from_chars_result result = std::from_chars(word.constData(), end, *number);
    return result.ec == std::errc() && result.ptr == end;
}

} // namespace

bool parseInt(const QByteArray &text, int *value)
{
    const QVector<QByteArray> parts = words(text);
    int number = 0;
    if (parts.size() != 1 || !parseWhole(parts.first(), &number))
        return false;
    *value = number;
    return true;
}

bool parseDoubles(const QByteArray &text, double *values, int count)
{
    const QVector<QByteArray> parts = words(text);
    if (parts.size() != count)
        return false;
    QVector<double> numbers(count);
    for (int i = 0; i < count; ++i) {
        if (!parseWhole(parts.at(i), &numbers[i]) || !std::isfinite(numbers.at(i)))
            return false;
    }
    std::copy(numbers.cbegin(), numbers.cend(), values);
    return true;
}

bool valueOfReply(const QByteArray &reply, const QByteArray &parameter, QByteArray *value)
{
    const QByteArray head = "quorel2 set " + parameter;
    if (!reply.startsWith(head))
        return false;
    // An empty value may come without the blank in front of it.
    if (reply.size() == head.size()) {
        value->clear();
        return true;
    }
    if (reply.at(head.size()) != ' ')
        return false;
    *value = reply.mid(head.size() + 1);
    return true;
}
