#pragma once

#include <model/bsMatrix.h>
#include <model/bsPose.h>
#include <model/bsVector.h>

/// The camera of the 3D view: the first transform of every frame, from the scene (pivot at the
/// origin) into eye coordinates. Knows no OpenGL and no window.
///
/// Edits are relative to a saved pose until store() makes the current pose the new reference. Each
/// of the two modes, offline and online, has its own camera; the one not in use is parked.
class Camera {
public:
    Camera();

    const bsPose &view() const { return m_view; }
    const bsPose &savedView() const { return m_savedView; }
    bsMatrix matrix() const { return m_view.toMatrix(); }

    /// Both modes back to the initial camera: 300 mm in front of the pivot.
    void resetParkedViews();

    void store();
    /// Rx(x) * Ry(y) * Rz(z) * saved orientation, degrees.
    void rotate(double xDeg, double yDeg, double zDeg);
    /// Saved position + (x, y, z).
    void translate(double x, double y, double z);

    /// These store at once.
    void setOrientation(const bsMatrix &rotation);
    void setPosition(const bsVector &position);
    void setView(const bsPose &view);
    void transform(const bsMatrix &matrix);

    bool isOnline() const { return m_online; }
    /// Parks the camera of the mode that is left and takes up the other one's.
    void setOnline(bool online);

private:
    void setViewOrientation(const bsMatrix &rotation);

    bsPose m_view;
    bsPose m_savedView;
    bsPose m_offlineView;
    bsPose m_onlineView;
    bool m_online = false;
};
