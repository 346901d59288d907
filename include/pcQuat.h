#pragma once

#include "pcVec.h"

namespace ptCloud
{

template <typename S>
class pcMatrix;

using pcMatrixf = pcMatrix<float>;
using pcMatrixd = pcMatrix<double>;

/// A quaternion (x, y, z, w) as a rotation in space: the vector part, then the scalar part.
///
/// A rotation by the angle a about the unit axis n is (n sin(a/2), cos(a/2)); q and -q are the same rotation. The
/// product reads like the product of the matrices (see pcMatrix.h): in `a * b` the left factor applies first, which is
/// the reverse of the textbook's order. Angles are radians, counter-clockwise when the axis points at the viewer.
///
/// There is no float quaternion. Arithmetic runs in double precision, comparison is exact, nothing is normalised behind
/// the caller's back. No operation fails, allocates or throws, and none looks at a zero divisor: the inverse of the
/// zero quaternion is not finite.
class POINTS_CLOUD_EXPORT pcQuatd
{
public:
    /// The identity, (0, 0, 0, 1).
    pcQuatd() = default;
    pcQuatd(double x, double y, double z, double w) : m_v{x, y, z, w} {}
    pcQuatd(const pcVec4d &v) : m_v{v.x(), v.y(), v.z(), v.w()} {}
    pcQuatd(const pcVec4f &v) : m_v{v.x(), v.y(), v.z(), v.w()} {}
    /// As `makeRotate` of the same arguments.
    pcQuatd(double angle, const pcVec3d &axis) { makeRotate(angle, axis); }
    pcQuatd(double angle, const pcVec3f &axis) { makeRotate(angle, axis); }
    pcQuatd(double angle1, const pcVec3d &axis1, double angle2, const pcVec3d &axis2, double angle3,
            const pcVec3d &axis3)
    {
        makeRotate(angle1, axis1, angle2, axis2, angle3, axis3);
    }
    pcQuatd(double angle1, const pcVec3f &axis1, double angle2, const pcVec3f &axis2, double angle3,
            const pcVec3f &axis3)
    {
        makeRotate(angle1, axis1, angle2, axis2, angle3, axis3);
    }

    double &x() { return m_v[0]; }
    double &y() { return m_v[1]; }
    double &z() { return m_v[2]; }
    double &w() { return m_v[3]; }
    double x() const { return m_v[0]; }
    double y() const { return m_v[1]; }
    double z() const { return m_v[2]; }
    double w() const { return m_v[3]; }
    /// Component in storage order; the index is not checked.
    double &operator[](int i) { return m_v[i]; }
    double operator[](int i) const { return m_v[i]; }

    /// (x, y, z)
    pcVec3d asVec3() const { return {m_v[0], m_v[1], m_v[2]}; }
    pcVec4d asVec4() const { return {m_v[0], m_v[1], m_v[2], m_v[3]}; }

    void set(double x, double y, double z, double w) { *this = pcQuatd(x, y, z, w); }
    void set(const pcVec4d &v) { *this = pcQuatd(v); }
    void set(const pcVec4f &v) { *this = pcQuatd(v); }
    /// The rotation of a matrix, as its `getRotate`.
    void set(const pcMatrixd &matrix);
    void set(const pcMatrixf &matrix);
    /// Makes the matrix the identity with this rotation, as its `setRotate`.
    void get(pcMatrixd &matrix) const;
    void get(pcMatrixf &matrix) const;

    /// Over all four components.
    double length() const;
    /// Sum of the four squares.
    double length2() const;
    /// (-x, -y, -z, w): the inverse of a rotation of length 1.
    pcQuatd conj() const { return {-m_v[0], -m_v[1], -m_v[2], m_v[3]}; }
    /// `conj` times 1 / `length2`.
    pcQuatd inverse() const { return conj() * (1.0 / length2()); }
    /// Whether this is exactly (0, 0, 0, 1).
    bool zeroRotation() const { return *this == pcQuatd(); }

    bool operator==(const pcQuatd &q) const { return asVec4() == q.asVec4(); }
    bool operator!=(const pcQuatd &q) const { return !(*this == q); }
    /// Lexicographic in storage order, as on the vectors.
    bool operator<(const pcQuatd &q) const { return asVec4() < q.asVec4(); }

    pcQuatd operator+(const pcQuatd &q) const { return asVec4() + q.asVec4(); }
    pcQuatd operator-(const pcQuatd &q) const { return asVec4() - q.asVec4(); }
    pcQuatd &operator+=(const pcQuatd &q) { return *this = *this + q; }
    pcQuatd &operator-=(const pcQuatd &q) { return *this = *this - q; }
    pcQuatd operator-() const { return -asVec4(); }

    pcQuatd operator*(double s) const { return asVec4() * s; }
    pcQuatd &operator*=(double s) { return *this = *this * s; }
    /// Unlike on the vectors, one reciprocal 1 / s is taken and every component is multiplied by it.
    pcQuatd operator/(double s) const { return *this * (1.0 / s); }
    pcQuatd &operator/=(double s) { return *this = *this / s; }

    /// The rotation that applies this one first and `q` after it.
    pcQuatd operator*(const pcQuatd &q) const;
    pcQuatd &operator*=(const pcQuatd &q) { return *this = *this * q; }
    /// This times the inverse of `q`.
    pcQuatd operator/(const pcQuatd &q) const { return *this * q.inverse(); }
    pcQuatd &operator/=(const pcQuatd &q) { return *this = *this / q; }

    /// The vector rotated. This must have length 1; the formula is that of Euler and Rodrigues.
    pcVec3d operator*(const pcVec3d &v) const;
    /// Calculates in double precision and rounds the result.
    pcVec3f operator*(const pcVec3f &v) const;

    /// Rotation by an angle about an axis of any length; about one shorter than 1e-7 it is the identity.
    void makeRotate(double angle, double x, double y, double z);
    void makeRotate(double angle, const pcVec3d &axis);
    void makeRotate(double angle, const pcVec3f &axis);
    /// Three rotations, one after the other.
    void makeRotate(double angle1, const pcVec3d &axis1, double angle2, const pcVec3d &axis2, double angle3,
                    const pcVec3d &axis3);
    void makeRotate(double angle1, const pcVec3f &axis1, double angle2, const pcVec3f &axis2, double angle3,
                    const pcVec3f &axis3);
    /// The shortest rotation that takes one direction to another, by half-angle identities instead of trigonometry.
    ///
    /// Directions need no length of 1, but a length: for a zero vector the result is not finite. Between opposite
    /// directions it is half a turn about an axis at right angles to `from`.
    void makeRotate(const pcVec3d &from, const pcVec3d &to);
    void makeRotate(const pcVec3f &from, const pcVec3f &to);
    /// The same by way of the angle: slower, and less exact for directions that are nearly parallel or opposite.
    /// The axis between opposite directions may be another.
    void makeRotate_original(const pcVec3d &from, const pcVec3d &to);

    /// Angle, 0 to two pi, and unit axis of the rotation. Where there is no vector part the axis is (0, 0, 1).
    void getRotate(double &angle, double &x, double &y, double &z) const;
    void getRotate(double &angle, pcVec3d &axis) const;
    void getRotate(double &angle, pcVec3f &axis) const;

    /// Becomes the rotation on the way from `from` (`t` = 0) to `to` (`t` = 1), along the shorter arc at a steady
    /// speed.
    ///
    /// Both must have length 1; the result is not normalised. Nearly equal rotations are blended linearly, because the
    /// sine that the weights are divided by goes to 0. After K. Shoemake, "Animating Rotation with Quaternion Curves",
    /// SIGGRAPH 1985.
    void slerp(double t, const pcQuatd &from, const pcQuatd &to);

private:
    double m_v[4] = {0.0, 0.0, 0.0, 1.0};
};

static_assert(sizeof(pcQuatd) == 32 && std::is_trivially_copyable_v<pcQuatd>, "quaternions are bare components");

} // namespace ptCloud
