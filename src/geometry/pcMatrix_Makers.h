#pragma once

// Matrices of scales, translations and rotations, and the way back from a matrix to a rotation. Included by
// pcMatrix.cpp alone.

#include "pcMatrix.h"

#include <cmath>
#include <limits>

namespace ptCloud
{

namespace detail
{

/// A new matrix, as `make` leaves it.
template <typename S, typename Make>
pcMatrix<S> made(Make make)
{
    pcMatrix<S> m;
    make(m);
    return m;
}

} // namespace detail

template <typename S>
pcMatrix<S> pcMatrix<S>::scale(const pcVec3d &v)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeScale(v); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::scale(const pcVec3f &v)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeScale(v); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::scale(S x, S y, S z)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeScale(x, y, z); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::translate(const pcVec3d &v)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeTranslate(v); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::translate(const pcVec3f &v)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeTranslate(v); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::translate(S x, S y, S z)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeTranslate(x, y, z); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(const pcQuatd &q)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(q); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(const pcVec3d &from, const pcVec3d &to)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(from, to); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(const pcVec3f &from, const pcVec3f &to)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(from, to); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(S angle, const pcVec3d &axis)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(angle, axis); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(S angle, const pcVec3f &axis)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(angle, axis); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(S angle, S x, S y, S z)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(angle, x, y, z); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(S angle1, const pcVec3d &axis1, S angle2, const pcVec3d &axis2, S angle3,
                                const pcVec3d &axis3)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(angle1, axis1, angle2, axis2, angle3, axis3); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::rotate(S angle1, const pcVec3f &axis1, S angle2, const pcVec3f &axis2, S angle3,
                                const pcVec3f &axis3)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeRotate(angle1, axis1, angle2, axis2, angle3, axis3); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::orthoNormal(const pcMatrix &m)
{
    return detail::made<S>([&](pcMatrix &result) { result.orthoNormalize(m); });
}

template <typename S>
void pcMatrix<S>::makeScale(const pcVec3d &v)
{
    makeScale(static_cast<S>(v.x()), static_cast<S>(v.y()), static_cast<S>(v.z()));
}

template <typename S>
void pcMatrix<S>::makeScale(const pcVec3f &v)
{
    makeScale(v.x(), v.y(), v.z());
}

template <typename S>
void pcMatrix<S>::makeScale(S x, S y, S z)
{
    makeIdentity();
    m_m[0] = x;
    m_m[5] = y;
    m_m[10] = z;
}

template <typename S>
void pcMatrix<S>::makeTranslate(const pcVec3d &v)
{
    makeIdentity();
    setTrans(v);
}

template <typename S>
void pcMatrix<S>::makeTranslate(const pcVec3f &v)
{
    makeIdentity();
    setTrans(v);
}

template <typename S>
void pcMatrix<S>::makeTranslate(S x, S y, S z)
{
    makeIdentity();
    setTrans(x, y, z);
}

template <typename S>
void pcMatrix<S>::makeRotate(const pcQuatd &q)
{
    makeIdentity();
    setRotate(q);
}

template <typename S>
void pcMatrix<S>::makeRotate(const pcVec3d &from, const pcVec3d &to)
{
    pcQuatd q;
    q.makeRotate(from, to);
    makeRotate(q);
}

template <typename S>
void pcMatrix<S>::makeRotate(const pcVec3f &from, const pcVec3f &to)
{
    makeRotate(pcVec3d(from), pcVec3d(to));
}

template <typename S>
void pcMatrix<S>::makeRotate(S angle, const pcVec3d &axis)
{
    makeRotate(pcQuatd(angle, axis));
}

template <typename S>
void pcMatrix<S>::makeRotate(S angle, const pcVec3f &axis)
{
    makeRotate(pcQuatd(angle, axis));
}

template <typename S>
void pcMatrix<S>::makeRotate(S angle, S x, S y, S z)
{
    pcQuatd q;
    q.makeRotate(angle, x, y, z);
    makeRotate(q);
}

template <typename S>
void pcMatrix<S>::makeRotate(S angle1, const pcVec3d &axis1, S angle2, const pcVec3d &axis2, S angle3,
                             const pcVec3d &axis3)
{
    makeRotate(pcQuatd(angle1, axis1, angle2, axis2, angle3, axis3));
}

template <typename S>
void pcMatrix<S>::makeRotate(S angle1, const pcVec3f &axis1, S angle2, const pcVec3f &axis2, S angle3,
                             const pcVec3f &axis3)
{
    makeRotate(pcQuatd(angle1, axis1, angle2, axis2, angle3, axis3));
}

template <typename S>
void pcMatrix<S>::setRotate(const pcQuatd &q)
{
    double block[9] = {};
    const double length2 = q.length2();
    if (!(std::abs(length2) <= std::numeric_limits<double>::min())) {
        const double s = length2 == 1.0 ? 2.0 : 2.0 / length2;
        const double xs = q.x() * s;
        const double ys = q.y() * s;
        const double zs = q.z() * s;
        block[0] = 1.0 - (q.z() * zs + q.y() * ys);
        block[1] = q.w() * zs + q.x() * ys;
        block[2] = q.x() * zs - q.w() * ys;
        block[3] = q.x() * ys - q.w() * zs;
        block[4] = 1.0 - (q.z() * zs + q.x() * xs);
        block[5] = q.w() * xs + q.y() * zs;
        block[6] = q.w() * ys + q.x() * zs;
        block[7] = q.y() * zs - q.w() * xs;
        block[8] = 1.0 - (q.y() * ys + q.x() * xs);
    }
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col)
            m_m[row * 4 + col] = static_cast<S>(block[row * 3 + col]);
    }
}

template <typename S>
pcQuatd pcMatrix<S>::getRotate() const
{
    const S *m = m_m;
    // Four times the square of w, x, y and z.
    const S t[4] = {S(1) + m[0] + m[5] + m[10], S(1) + m[0] - m[5] - m[10], S(1) - m[0] + m[5] - m[10],
                    S(1) - m[0] - m[5] + m[10]};
    int largest = 0;
    for (int i = 1; i < 4; ++i) {
        if (t[i] > t[largest])
            largest = i;
    }
    const auto quaternion = [&]() -> pcQuatd {
        switch (largest) {
        case 0:
            return {m[6] - m[9], m[8] - m[2], m[1] - m[4], t[0]};
        case 1:
            return {t[1], m[4] + m[1], m[8] + m[2], m[6] - m[9]};
        case 2:
            return {m[4] + m[1], t[2], m[9] + m[6], m[8] - m[2]};
        default:
            return {m[8] + m[2], m[9] + m[6], t[3], m[1] - m[4]};
        }
    };
    return quaternion() * std::sqrt(S(0.25) / t[largest]);
}

} // namespace ptCloud
