#pragma once

#include <model/bsMatrix.h>
#include <model/bsQuaternion.h>
#include <model/bsVector.h>

#include <Eigen/Dense>

#include <cmath>
#include <random>

/// The geometry once more, computed by Eigen, to compare the project's own against.
namespace Oracle {

inline Eigen::Vector3d vector(const bsVector &v)
{
    return Eigen::Vector3d(v.x, v.y, v.z);
}

inline bsVector vector(const Eigen::Vector3d &v)
{
    return bsVector(v.x(), v.y(), v.z());
}

/// Reads the elements in storage order, which is Eigen's own.
inline Eigen::Matrix4d matrix(const bsMatrix &m)
{
    return Eigen::Map<const Eigen::Matrix4d>(m.m);
}

inline bsMatrix matrix(const Eigen::Matrix4d &m)
{
    bsMatrix result;
    Eigen::Map<Eigen::Matrix4d>(result.m) = m;
    return result;
}

inline Eigen::Matrix3d rotation(const bsMatrix &m)
{
    return matrix(m).topLeftCorner<3, 3>();
}

inline Eigen::Quaterniond quaternion(const bsQuaternion &q)
{
    return Eigen::Quaterniond(q.w, q.x, q.y, q.z);
}

inline Eigen::Matrix4d rigid(const Eigen::Matrix3d &rotationBlock,
                             const Eigen::Vector3d &translation)
{
    Eigen::Matrix4d result = Eigen::Matrix4d::Identity();
    result.topLeftCorner<3, 3>() = rotationBlock;
    result.topRightCorner<3, 1>() = translation;
    return result;
}

inline Eigen::Matrix3d rotation(const Eigen::Matrix4d &m)
{
    return m.topLeftCorner<3, 3>();
}

inline Eigen::Vector3d translation(const Eigen::Matrix4d &m)
{
    return m.topRightCorner<3, 1>();
}

inline Eigen::Matrix3d turn(double angleDeg, const Eigen::Vector3d &axis)
{
    return Eigen::AngleAxisd(angleDeg * std::acos(-1.0) / 180.0, axis.normalized())
        .toRotationMatrix();
}

/// Rx(x) * Ry(y) * Rz(z)
inline Eigen::Matrix3d euler(double xDeg, double yDeg, double zDeg)
{
    return turn(xDeg, Eigen::Vector3d::UnitX()) * turn(yDeg, Eigen::Vector3d::UnitY()) *
           turn(zDeg, Eigen::Vector3d::UnitZ());
}

inline double distance(const bsMatrix &a, const Eigen::Matrix4d &b)
{
    return (matrix(a) - b).cwiseAbs().maxCoeff();
}

inline double distance(const bsVector &a, const Eigen::Vector3d &b)
{
    return (vector(a) - b).cwiseAbs().maxCoeff();
}

/// How far the rotation block is from one with orthonormal, right-handed columns.
inline double rotationError(const bsMatrix &m)
{
    const Eigen::Matrix3d r = rotation(m);
    const double skew = (r.transpose() * r - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff();
    return std::max(skew, std::fabs(r.determinant() - 1.0));
}

class Random {
public:
    explicit Random(unsigned seed)
        : m_engine(seed)
    {
    }

    double number(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(m_engine);
    }
    int integer(int low, int high)
    {
        return std::uniform_int_distribution<int>(low, high)(m_engine);
    }
    Eigen::Vector3d vector(double extent)
    {
        const double x = number(-extent, extent);
        const double y = number(-extent, extent);
        const double z = number(-extent, extent);
        return Eigen::Vector3d(x, y, z);
    }
    Eigen::Matrix3d rotation()
    {
        std::normal_distribution<double> normal;
        Eigen::Vector4d components;
        do {
            for (int index = 0; index < 4; ++index)
                components[index] = normal(m_engine);
        } while (components.norm() < 1e-3);
        return Eigen::Quaterniond(components).normalized().toRotationMatrix();
    }
    Eigen::Matrix4d rigid(double extent)
    {
        const Eigen::Matrix3d block = rotation();
        return Oracle::rigid(block, vector(extent));
    }

private:
    std::mt19937 m_engine;
};

} // namespace Oracle
