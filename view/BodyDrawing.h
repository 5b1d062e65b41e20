#pragma once

#include <model/bsVector.h>

class GLObjectPainter;
class abcBody;

/// Drawing in immediate mode into the current OpenGL context, in the frame of the current modelview
/// matrix. Lengths in millimetres.
namespace BodyDrawing {

/// The three coordinate axes, red, green and blue, of the given length. Long axes are dashed lines
/// of @p longAxesFactor times that length to both sides. Leaves lighting on, or off after long
/// axes.
/// @param intensity  brightness of the colours, 0 to 1
void drawAxes(const bsVector &origin, double length, bool longAxes, double longAxesFactor,
              double intensity);

/// A grid in the plane z = 0 in the current colour. Leaves lighting off.
void drawGrid(double extentA, double extentB, double spacingA, double spacingB);

/// A loaded body: its axes and grids in its coordinate system, its markers, emissions and lines in
/// the stored frame. Draws nothing for a body that is not loaded.
void drawBody(const abcBody &body, GLObjectPainter &painter);

} // namespace BodyDrawing
