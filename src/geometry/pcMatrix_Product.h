#pragma once

// Products of a matrix with matrices and vectors. Every sum runs from left to right as written, so that the same bits
// come out everywhere. Included by pcMatrix.cpp alone.

#include "pcMatrix.h"

#include <algorithm>
#include <iterator>

namespace ptCloud
{

namespace detail
{

/// result = a x b; `result` is neither of the two.
template <typename S>
inline void multiply(const S *a, const S *b, S *result)
{
    for (int row = 0; row < 16; row += 4) {
        for (int col = 0; col < 4; ++col) {
            result[row + col] =
                a[row] * b[col] + a[row + 1] * b[4 + col] + a[row + 2] * b[8 + col] + a[row + 3] * b[12 + col];
        }
    }
}

} // namespace detail

template <typename S>
void pcMatrix<S>::mult(const pcMatrix &a, const pcMatrix &b)
{
    S result[16]; // either factor may be this matrix
    detail::multiply(a.m_m, b.m_m, result);
    std::copy(std::begin(result), std::end(result), m_m);
}

template <typename S>
pcMatrix<S> pcMatrix<S>::operator*(const pcMatrix &m) const
{
    pcMatrix result;
    detail::multiply(m_m, m.m_m, result.m_m);
    return result;
}

template <typename S>
template <typename V>
V pcMatrix<S>::rowTimes(const V &v) const
{
    using T = std::decay_t<decltype(v.x())>;
    const auto column = [&](int col, auto fourth) {
        return v.x() * m_m[col] + v.y() * m_m[4 + col] + v.z() * m_m[8 + col] + fourth * m_m[12 + col];
    };
    if constexpr (std::is_same_v<V, pcVec4<T>>) {
        return {static_cast<T>(column(0, v.w())), static_cast<T>(column(1, v.w())), static_cast<T>(column(2, v.w())),
                static_cast<T>(column(3, v.w()))};
    } else {
        const auto d = S(1) / column(3, T(1));
        return {static_cast<T>(column(0, T(1)) * d), static_cast<T>(column(1, T(1)) * d),
                static_cast<T>(column(2, T(1)) * d)};
    }
}

template <typename S>
template <typename V>
V pcMatrix<S>::timesColumn(const V &v) const
{
    using T = std::decay_t<decltype(v.x())>;
    const auto row = [&](int index, auto fourth) {
        const S *m = m_m + index * 4;
        return v.x() * m[0] + v.y() * m[1] + v.z() * m[2] + fourth * m[3];
    };
    if constexpr (std::is_same_v<V, pcVec4<T>>) {
        return {static_cast<T>(row(0, v.w())), static_cast<T>(row(1, v.w())), static_cast<T>(row(2, v.w())),
                static_cast<T>(row(3, v.w()))};
    } else {
        const auto d = S(1) / row(3, T(1));
        return {static_cast<T>(row(0, T(1)) * d), static_cast<T>(row(1, T(1)) * d), static_cast<T>(row(2, T(1)) * d)};
    }
}

template <typename S>
pcVec3d pcMatrix<S>::preMult(const pcVec3d &v) const
{
    return rowTimes(v);
}

template <typename S>
pcVec3f pcMatrix<S>::preMult(const pcVec3f &v) const
{
    return rowTimes(v);
}

template <typename S>
pcVec4d pcMatrix<S>::preMult(const pcVec4d &v) const
{
    return rowTimes(v);
}

template <typename S>
pcVec4f pcMatrix<S>::preMult(const pcVec4f &v) const
{
    return rowTimes(v);
}

template <typename S>
pcVec3d pcMatrix<S>::postMult(const pcVec3d &v) const
{
    return timesColumn(v);
}

template <typename S>
pcVec3f pcMatrix<S>::postMult(const pcVec3f &v) const
{
    return timesColumn(v);
}

template <typename S>
pcVec4d pcMatrix<S>::postMult(const pcVec4d &v) const
{
    return timesColumn(v);
}

template <typename S>
pcVec4f pcMatrix<S>::postMult(const pcVec4f &v) const
{
    return timesColumn(v);
}

namespace detail
{

/// The upper 3x3 block times the vector as a column, or the vector as a row times the block.
template <typename S, typename T>
pcVec3<T> multiplyBlock(const pcMatrix<S> &m, const pcVec3<T> &v, bool asColumn)
{
    const auto line = [&](int i) {
        return asColumn ? v.x() * m(i, 0) + v.y() * m(i, 1) + v.z() * m(i, 2)
                        : v.x() * m(0, i) + v.y() * m(1, i) + v.z() * m(2, i);
    };
    return {static_cast<T>(line(0)), static_cast<T>(line(1)), static_cast<T>(line(2))};
}

} // namespace detail

template <typename S>
pcVec3d pcMatrix<S>::transform3x3(const pcMatrix &m, const pcVec3d &v)
{
    return detail::multiplyBlock(m, v, true);
}

template <typename S>
pcVec3f pcMatrix<S>::transform3x3(const pcMatrix &m, const pcVec3f &v)
{
    return detail::multiplyBlock(m, v, true);
}

template <typename S>
pcVec3d pcMatrix<S>::transform3x3(const pcVec3d &v, const pcMatrix &m)
{
    return detail::multiplyBlock(m, v, false);
}

template <typename S>
pcVec3f pcMatrix<S>::transform3x3(const pcVec3f &v, const pcMatrix &m)
{
    return detail::multiplyBlock(m, v, false);
}

// Axes without a shift are passed over and not multiplied by 0, so that what is not finite there stays out.
template <typename S>
template <typename T>
void pcMatrix<S>::translateBefore(const pcVec3<T> &v)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (v[axis] == T(0))
            continue;
        for (int col = 0; col < 4; ++col)
            m_m[12 + col] = static_cast<S>(m_m[12 + col] + v[axis] * m_m[axis * 4 + col]);
    }
}

template <typename S>
template <typename T>
void pcMatrix<S>::translateBehind(const pcVec3<T> &v)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (v[axis] == T(0))
            continue;
        for (int row = 0; row < 4; ++row)
            m_m[row * 4 + axis] = static_cast<S>(m_m[row * 4 + axis] + v[axis] * m_m[row * 4 + 3]);
    }
}

template <typename S>
template <typename T>
void pcMatrix<S>::scaleBefore(const pcVec3<T> &v)
{
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 4; ++col)
            m_m[row * 4 + col] = static_cast<S>(m_m[row * 4 + col] * v[row]);
    }
}

template <typename S>
template <typename T>
void pcMatrix<S>::scaleBehind(const pcVec3<T> &v)
{
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 3; ++col)
            m_m[row * 4 + col] = static_cast<S>(m_m[row * 4 + col] * v[col]);
    }
}

template <typename S>
void pcMatrix<S>::preMultTranslate(const pcVec3d &v)
{
    translateBefore(v);
}

template <typename S>
void pcMatrix<S>::preMultTranslate(const pcVec3f &v)
{
    translateBefore(v);
}

template <typename S>
void pcMatrix<S>::postMultTranslate(const pcVec3d &v)
{
    translateBehind(v);
}

template <typename S>
void pcMatrix<S>::postMultTranslate(const pcVec3f &v)
{
    translateBehind(v);
}

template <typename S>
void pcMatrix<S>::preMultScale(const pcVec3d &v)
{
    scaleBefore(v);
}

template <typename S>
void pcMatrix<S>::preMultScale(const pcVec3f &v)
{
    scaleBefore(v);
}

template <typename S>
void pcMatrix<S>::postMultScale(const pcVec3d &v)
{
    scaleBehind(v);
}

template <typename S>
void pcMatrix<S>::postMultScale(const pcVec3f &v)
{
    scaleBehind(v);
}

template <typename S>
void pcMatrix<S>::preMultRotate(const pcQuatd &q)
{
    if (!q.zeroRotation())
        preMult(rotate(q));
}

template <typename S>
void pcMatrix<S>::postMultRotate(const pcQuatd &q)
{
    if (!q.zeroRotation())
        postMult(rotate(q));
}

} // namespace ptCloud
