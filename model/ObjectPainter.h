#pragma once

class abcMarker;
class abcLine;

/// How a body's objects are drawn. The model decides what is drawn; an implementation knows how.
class ObjectPainter {
public:
    virtual ~ObjectPainter() = default;
    virtual void drawMarker(const abcMarker &marker, bool small, bool coloured) = 0;
    virtual void highlightMarker(const abcMarker &marker, bool small) = 0;
    virtual void pickDrawMarker(const abcMarker &marker, bool small) = 0;
    virtual void drawLine(const abcLine &line, bool small) = 0;
    virtual void highlightLine(const abcLine &line, bool small) = 0;
    virtual void pickDrawLine(const abcLine &line, bool small) = 0;
};
