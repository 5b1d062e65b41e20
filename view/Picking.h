#pragma once

#include <QtGlobal>

#include <optional>

/// Reading what OpenGL's selection mode found.
namespace Picking {

/// The names under which an object was drawn.
struct Hit {
    quint32 kind;  ///< first name: the object's type
    quint32 index; ///< second name: place in the body's list of that type
};

/// The hit nearest to the camera; the first one of equally near hits. Each record holds the number
/// of names, the minimum and the maximum depth, then the names.
/// @param size  number of words in @p buffer; a record that does not fit into it ends the reading
/// @param hitCount  number of records; negative after an overflow, which counts as no hit
/// @return nothing without a hit, or if the nearest one carries fewer than two names
std::optional<Hit> readNearestHit(const quint32 *buffer, int size, int hitCount);

} // namespace Picking
