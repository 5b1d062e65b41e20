#include "Contrast.h"

#include <algorithm>
#include <cmath>

double luminance(QRgb colour)
{
    const auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) +
           0.0722 * linear(qBlue(colour));
}

double contrast(QRgb a, QRgb b)
{
    const double bright = std::max(luminance(a), luminance(b));
    const double dark = std::min(luminance(a), luminance(b));
    return (bright + 0.05) / (dark + 0.05);
}
