#pragma once

#include <QColor>

class ObjectPainter;

/// Anything that the view draws and picks.
class abcObject {
public:
    enum Type : quint32 { MarkerType = 1, LineType = 2 };

    virtual ~abcObject();
    virtual void draw(ObjectPainter &painter, bool small, bool coloured) const = 0;
    virtual void highlight(ObjectPainter &painter, bool small) const = 0;
    virtual void pickDraw(ObjectPainter &painter, bool small) const = 0;

    /// Tells the kind of object; code that holds an abcObject asks this.
    quint32 type() const { return m_type; }

    QColor colour = QColor(255, 255, 255, 255);

protected:
    explicit abcObject(quint32 objectType);

private:
    Q_DISABLE_COPY(abcObject)
    quint32 m_type;
};
