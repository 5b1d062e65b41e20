#pragma once

#include "abcObject.h"
#include "bsPose.h"

class abcMarker;

/// A line that the user drew between two markers of the same body. The markers are not owned.
class abcLine : public abcObject {
public:
    abcLine(const abcMarker *first, const abcMarker *second);

    /// A line has one colour of its own; @p coloured changes nothing.
    void draw(ObjectPainter &painter, bool small, bool coloured) const override;
    void highlight(ObjectPainter &painter, bool small) const override;
    void pickDraw(ObjectPainter &painter, bool small) const override;

    const abcMarker *firstMarker() const { return m_first; }
    const abcMarker *secondMarker() const { return m_second; }

    bsPose pose; ///< identity; nothing sets another value
    double width = 6.0;
    double smallWidth = 1.5;

private:
    const abcMarker *m_first;
    const abcMarker *m_second;
};
