#pragma once

#include <QStringList>
#include <QVector>

#include <array>

/// What the controller should hold of a body after an adjustment, worked out apart from the module.
///
/// The body's coordinate system is a frame in the stored coordinates; it is moved and turned step
/// by step, and apply() gives the markers their coordinates in it. Lengths in millimetres, angles
/// in degrees.
class ExpectedDefinition {
public:
    struct Marker {
        std::array<double, 3> position{};
        std::array<double, 4> emission{}; ///< direction and opening angle
    };

    /// How far two readings of a length may differ: it is rounded to three decimals when it is
    /// read, once more in the command, and once more when it is read back.
    static constexpr double kToleranceMm = 0.002;

    explicit ExpectedDefinition(const QVector<Marker> &markers = {});

    /// Puts the origin on the mean of the markers; the axes keep their directions.
    void originToCentreOfGravity();
    /// Turns the axes by Rx(x) Ry(y) Rz(z), about themselves.
    void turn(double xDeg, double yDeg, double zDeg);
    /// Lays an axis of the frame on the direction from one marker to another. The kept axis stays
    /// as near to where it was as that allows, the third completes a right-handed frame; the origin
    /// stays. Axes: 0 to 2 for x, y and z; markers are counted from 0.
    /// @return false and nothing changed where that defines no frame: an axis or a marker that does
    ///         not exist or is named twice, markers in one place, the kept axis along the markers
    bool setAxis(int axisToSet, int axisToKeep, int fromMarker, int toMarker);
    /// Turns the axes parallel to the room's; the origin stays.
    /// @param rotation  of the body (its stored coordinates) in the room, column by column, as a
    ///                  data line rounds it
    /// @return false and nothing changed if that is no rotation
    bool alignWithRoom(const std::array<double, 9> &rotation);
    /// Gives the markers their coordinates in the frame, with the precision of the command that
    /// carries it to the controller. The frame is then the new zero.
    void apply();

    /// As the controller should hold them.
    const QVector<Marker> &markers() const { return m_markers; }
    /// Where the markers lie in the frame.
    QVector<std::array<double, 3>> positionsInFrame() const;

    /// One sentence for each marker that is not as expected; empty when all are.
    static QStringList differences(const QVector<Marker> &expected, const QVector<Marker> &held);

private:
    using Vector = std::array<double, 3>;
    using Matrix = std::array<Vector, 3>; // rows

    void resetFrame();
    Vector axis(int index) const;
    Vector inFrame(const Vector &position) const;

    QVector<Marker> m_markers;
    Matrix m_axes{}; // columns: the frame's axes
    Vector m_origin{};
};
