#pragma once

#include <QByteArray>

/// Reading the numbers of a controller's value: C locale, nothing but the numbers, all finite.
/// Blanks around and between them are allowed.
/// @return false and nothing written for anything else
bool parseInt(const QByteArray &text, int *value);
/// @param count  how many numbers the text must hold, no more and no fewer
bool parseDoubles(const QByteArray &text, double *values, int count);

/// Takes the value out of the reply to a query.
/// @param parameter  as it was asked for, without the words that begin a query
/// @return false and nothing written if this is not the answer to that query
bool valueOfReply(const QByteArray &reply, const QByteArray &parameter, QByteArray *value);
