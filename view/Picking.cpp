#include "Picking.h"

#include <limits>

namespace Picking {

std::optional<Hit> readNearestHit(const quint32 *buffer, int size, int hitCount)
{
    constexpr int kHeaderWords = 3;

    std::optional<Hit> nearest;
    quint32 nearestDepth = std::numeric_limits<quint32>::max();
    int offset = 0;
    for (int i = 0; i < hitCount && size - offset >= kHeaderWords; ++i) {
        const quint32 nameCount = buffer[offset];
        const quint32 minimumDepth = buffer[offset + 1];
        const quint32 wordsLeft = static_cast<quint32>(size - offset - kHeaderWords);
        if (nameCount > wordsLeft)
            break;
        const quint32 *names = buffer + offset + kHeaderWords;
        if (minimumDepth < nearestDepth) {
            nearestDepth = minimumDepth;
            nearest = nameCount < 2 ? std::optional<Hit>() : Hit{names[0], names[1]};
        }
        offset += kHeaderWords + static_cast<int>(nameCount);
    }
    return nearest;
}

} // namespace Picking
