#pragma once

#include <QByteArray>
#include <QString>

/// A key that an object holds twice, of which Qt's reader silently takes one.
struct RepeatedKey {
    int offset = -1; ///< of the second one's quote, in bytes; -1: there is none
    QString key;
};

/// @param json  a text that Qt's reader takes
/// @return the first key that stands in its object for the second time
RepeatedKey findRepeatedKey(const QByteArray &json);
