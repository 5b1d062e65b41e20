#pragma once

#include <QByteArray>

/// Prints a finite number with a fixed number of decimals (at most 20) as printf does in the C
/// locale, whatever the locale is; but what rounds to zero has no sign.
QByteArray numberText(double value, int decimals);

/// Reads a plain decimal number ("-12", "3.5", ".5", "1e3") that is the whole text.
/// @return false, with @p value unchanged, for anything else: blanks, hexadecimal digits, words
///         ("nan"), numbers too large to be finite
bool parseNumber(const QByteArray &text, double *value);

/// Reads a whole number of at most nine digits and no sign.
/// @return false, with @p count unchanged, for anything else
bool parseCount(const QByteArray &text, int *count);

/// Reads the number of a type, a body or a marker: its letter and two or more digits ("b02").
/// @return false, with @p index unchanged, for anything else
bool parseIndex(const QByteArray &text, char letter, int *index);

/// Reads the name of a body ("standard b02"), of a type that there need not be.
/// @return false, with nothing changed, for anything else
bool parseBodyName(const QByteArray &text, QByteArray *type, int *number);
