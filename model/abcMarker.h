#pragma once

#include "MarkerRecord.h"
#include "abcObject.h"

/// A marker of the body. Its position is in the stored frame and is never rewritten.
class abcMarker : public abcObject {
public:
    explicit abcMarker(const MarkerRecord &markerRecord);

    void draw(ObjectPainter &painter, bool small, bool coloured) const override;
    void highlight(ObjectPainter &painter, bool small) const override;
    void pickDraw(ObjectPainter &painter, bool small) const override;

    qint32 id() const { return record.id; }
    const bsVector &position() const { return record.position; }

    MarkerRecord record;
};
