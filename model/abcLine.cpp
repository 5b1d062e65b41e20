#include "abcLine.h"

#include "ObjectPainter.h"

#include <QtGlobal>

abcLine::abcLine(const abcMarker *first, const abcMarker *second)
    : abcObject(LineType)
    , m_first(first)
    , m_second(second)
{
    colour = QColor(100, 100, 100, 255);
}

void abcLine::draw(ObjectPainter &painter, bool small, bool coloured) const
{
    Q_UNUSED(coloured)
    painter.drawLine(*this, small);
}

void abcLine::highlight(ObjectPainter &painter, bool small) const
{
    painter.highlightLine(*this, small);
}

void abcLine::pickDraw(ObjectPainter &painter, bool small) const
{
    painter.pickDrawLine(*this, small);
}
