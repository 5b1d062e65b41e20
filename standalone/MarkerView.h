#pragma once

#include <QPointF>
#include <QSize>
#include <QVector>

#include <array>

/// Where a user sees a body's markers once "Reset view" was pressed and the body is not shown as it
/// is tracked: the eye is 300 mm in front of the centre of the markers and looks at it along -z,
/// the picture is 45 degrees high, and a marker is a ball of 10 mm.
///
/// Positions in stored coordinates, millimetres; points in the view's own pixels, (0, 0) at the
/// upper left; markers are counted from 0.
class MarkerView {
public:
    using Position = std::array<double, 3>;

    struct Pair {
        int first = -1;
        int second = -1;
        bool isValid() const { return first >= 0; }
    };

    /// @param size  of the view, in its pixels
    MarkerView(const QVector<Position> &markers, const QSize &size);

    /// Where the middle of a marker is seen; only for one that lies in front of the eye.
    QPointF pixelOf(int marker) const;
    /// Of the outline that marks a chosen marker, 1.2 times as wide as its ball.
    double outlineRadiusOf(int marker) const;
    /// The ball and its outline can be seen whole: within the view, and apart from all others.
    bool isInFullView(int marker) const;
    /// Two markers in full view to lay an axis through while x is kept. Of all pairs the one whose
    /// direction is nearest to 45 degrees off x: neither parallel to what is kept nor at right
    /// angles to it, where a wrong axis could pass for the right one.
    /// @return an invalid pair if there is none within 20 degrees of that
    Pair pairForAxis() const;

private:
    Position fromEye(int marker) const;

    QVector<Position> m_markers;
    Position m_centre{};
    QSize m_size;
    double m_focalPixels;
};
