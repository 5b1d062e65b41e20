#pragma once

#include <QByteArray>

/// Prints a finite number with a fixed number of decimals (at most 20) as printf does in the C
/// locale, whatever the locale is; but what rounds to zero has no sign.
QByteArray numberText(double value, int decimals);

/// Reads a plain decimal number ("-12", "3.5", ".5", "1e3") that is the whole text.
/// @return false, with @p value unchanged, for anything else: blanks, hexadecimal digits, words
/// such
///         as "nan", numbers too large to be finite
bool parseNumber(const QByteArray &text, double *value);
