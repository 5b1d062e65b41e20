#include "Camera.h"

#include <model/bsQuaternion.h>

namespace {

// Copying a bsPose passes through its matrix, which loses digits near half a turn and does so again
// at every step of a drag. The camera therefore copies field by field: a stored view stays what is
// shown.
void copyPose(const bsPose &source, bsPose &target)
{
    target.position = source.position;
    target.orientation = source.orientation;
    target.spare = source.spare;
}

void setInitialPose(bsPose &pose)
{
    pose.position.set(0.0, 0.0, -300.0);
    pose.orientation = bsQuaternion();
}

} // namespace

Camera::Camera()
{
    setInitialPose(m_view);
    store();
    resetParkedViews();
}

void Camera::resetParkedViews()
{
    setInitialPose(m_onlineView);
    copyPose(m_onlineView, m_offlineView);
}

void Camera::store()
{
    copyPose(m_view, m_savedView);
}

void Camera::rotate(double xDeg, double yDeg, double zDeg)
{
    m_view.orientation =
        bsQuaternion::product(bsQuaternion::fromEuler(xDeg, yDeg, zDeg), m_savedView.orientation);
}

void Camera::translate(double x, double y, double z)
{
    m_view.position = m_savedView.position + bsVector(x, y, z);
}

void Camera::setOrientation(const bsMatrix &rotation)
{
    setViewOrientation(rotation);
    store();
}

void Camera::setViewOrientation(const bsMatrix &rotation)
{
    m_view.orientation = bsPose::fromMatrix(rotation, 0.0).orientation;
    m_view.orientation.normalize();
}

void Camera::setPosition(const bsVector &position)
{
    m_view.position = position;
    store();
}

void Camera::setView(const bsPose &view)
{
    copyPose(view, m_view);
    store();
}

void Camera::transform(const bsMatrix &matrix)
{
    const bsMatrix product = m_view.toMatrix() * matrix;
    m_view.position = product.column(3);
    setViewOrientation(product);
    store();
}

void Camera::setOnline(bool online)
{
    if (online == m_online)
        return;
    copyPose(m_view, online ? m_offlineView : m_onlineView);
    copyPose(online ? m_onlineView : m_offlineView, m_view);
    store();
    m_online = online;
}
