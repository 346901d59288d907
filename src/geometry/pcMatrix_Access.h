#pragma once

// Elements of a matrix, comparison, and what is read from it element by element. Included by pcMatrix.cpp alone.

#include "pcMatrix.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace ptCloud
{

template <typename S>
template <typename T>
void pcMatrix<S>::assign(const T *values)
{
    for (int i = 0; i < 16; ++i)
        m_m[i] = static_cast<S>(values[i]);
}

template <typename S>
void pcMatrix<S>::set(const pcMatrix<float> &m)
{
    assign(&m.m_m[0]);
}

template <typename S>
void pcMatrix<S>::set(const pcMatrix<double> &m)
{
    assign(&m.m_m[0]);
}

template <typename S>
void pcMatrix<S>::set(const float *values)
{
    assign(values);
}

template <typename S>
void pcMatrix<S>::set(const double *values)
{
    assign(values);
}

template <typename S>
bool pcMatrix<S>::isNaN() const
{
    return std::any_of(std::begin(m_m), std::end(m_m), [](S element) { return std::isnan(element); });
}

template <typename S>
bool pcMatrix<S>::isIdentity() const
{
    const pcMatrix unit;
    return std::equal(std::begin(m_m), std::end(m_m), std::begin(unit.m_m)); // not `compare`, which passes over NaN
}

template <typename S>
int pcMatrix<S>::compare(const pcMatrix &m) const
{
    for (int i = 0; i < 16; ++i) {
        if (m.m_m[i] > m_m[i])
            return -1;
        if (m_m[i] > m.m_m[i])
            return 1;
    }
    return 0;
}

template <typename S>
void pcMatrix<S>::setTrans(const pcVec3d &v)
{
    setTrans(static_cast<S>(v.x()), static_cast<S>(v.y()), static_cast<S>(v.z()));
}

template <typename S>
void pcMatrix<S>::setTrans(const pcVec3f &v)
{
    setTrans(v.x(), v.y(), v.z());
}

template <typename S>
void pcMatrix<S>::setTrans(S x, S y, S z)
{
    m_m[12] = x;
    m_m[13] = y;
    m_m[14] = z;
}

template <typename S>
pcVec3d pcMatrix<S>::getScale() const
{
    pcVec3d scale;
    for (int col = 0; col < 3; ++col)
        scale[col] = pcVec3d(m_m[col], m_m[4 + col], m_m[8 + col]).length();
    return scale;
}

template <typename S>
void pcMatrix<S>::orthoNormalize(const pcMatrix &m)
{
    *this = m;
    for (int col = 0; col < 3; ++col) {
        const double length2 = pcVec3d(m_m[col], m_m[4 + col], m_m[8 + col]).length2();
        if (std::abs(1.0 - length2) <= 1e-6 || std::abs(length2) <= 1e-6)
            continue;
        const double length = std::sqrt(length2);
        for (int row = 0; row < 3; ++row)
            m_m[row * 4 + col] = static_cast<S>(m_m[row * 4 + col] / length);
    }
}

template <typename S>
bool pcMatrix<S>::transpose(const pcMatrix &m)
{
    const pcMatrix source(m);
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col)
            m_m[row * 4 + col] = source(col, row);
    }
    return true;
}

template <typename S>
bool pcMatrix<S>::transpose3x3(const pcMatrix &m)
{
    const pcMatrix source(m);
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col)
            m_m[row * 4 + col] = source(col, row);
    }
    return true;
}

} // namespace ptCloud
