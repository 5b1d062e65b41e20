#include "JsonKeys.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <QVector>

namespace {

struct Level {
    bool isObject = false;
    QSet<QString> keys;
};

/// Just behind the quote that ends the string which begins at @p begin.
int endOfString(const QByteArray &json, int begin)
{
    int end = begin + 1;
    while (end < json.size() && json.at(end) != '"')
        end += json.at(end) == '\\' ? 2 : 1;
    return end + 1;
}

} // namespace

RepeatedKey findRepeatedKey(const QByteArray &json)
{
    QVector<Level> levels;
    bool isKeyNext = false;
    for (int i = 0; i < json.size();) {
        const char c = json.at(i);
        if (c == '"') {
            const int end = endOfString(json, i);
            if (isKeyNext) {
                // The same key may be written with escapes and without.
                const QString key = QJsonDocument::fromJson('[' + json.mid(i, end - i) + ']')
                                        .array()
                                        .at(0)
                                        .toString();
                if (levels.last().keys.contains(key))
                    return {i, key};
                levels.last().keys.insert(key);
                isKeyNext = false;
            }
            i = end;
            continue;
        }
        if (c == '{' || c == '[')
            levels.append(Level{c == '{', {}});
        else if ((c == '}' || c == ']') && !levels.isEmpty())
            levels.removeLast();
        if (c == '{' || c == ',')
            isKeyNext = !levels.isEmpty() && levels.last().isObject;
        ++i;
    }
    return {};
}
