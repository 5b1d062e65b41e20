#pragma once

#include <model/ObjectPainter.h>

/// Draws a body's objects in immediate mode into the current OpenGL context, in the frame of the
/// current modelview matrix (stored coordinates of the body). Works in selection mode too.
class GLObjectPainter : public ObjectPainter {
public:
    void drawMarker(const abcMarker &marker, bool small, bool coloured) override;
    /// In the current colour.
    void highlightMarker(const abcMarker &marker, bool small) override;
    void pickDrawMarker(const abcMarker &marker, bool small) override;
    void drawLine(const abcLine &line, bool small) override;
    /// In the current colour.
    void highlightLine(const abcLine &line, bool small) override;
    void pickDrawLine(const abcLine &line, bool small) override;

    /// The arrow along the marker's emission direction and the cone into which it emits. Nothing
    /// for a marker whose direction is not known.
    void drawEmission(const abcMarker &marker, bool small);
};
