#include "abcMarker.h"

#include "ObjectPainter.h"

abcMarker::abcMarker(const MarkerRecord &markerRecord)
    : abcObject(MarkerType)
    , record(markerRecord)
{
}

void abcMarker::draw(ObjectPainter &painter, bool small, bool coloured) const
{
    painter.drawMarker(*this, small, coloured);
}

void abcMarker::highlight(ObjectPainter &painter, bool small) const
{
    painter.highlightMarker(*this, small);
}

void abcMarker::pickDraw(ObjectPainter &painter, bool small) const
{
    painter.pickDrawMarker(*this, small);
}
