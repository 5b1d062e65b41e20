#pragma once

#include <QRgb>

/// Relative luminance of an opaque colour (sRGB), from 0 to 1.
double luminance(QRgb colour);

/// How well two colours are told apart, from 1 to 21; small texts need 4.5, symbols 3.
double contrast(QRgb a, QRgb b);
