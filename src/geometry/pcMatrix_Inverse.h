#pragma once

// Inversion of a matrix. Included by pcMatrix.cpp alone.

#include "pcMatrix.h"

#include <cmath>
#include <utility>

namespace ptCloud
{

template <typename S>
bool pcMatrix<S>::invert(const pcMatrix &m)
{
    const bool affine = m.m_m[3] == S(0) && m.m_m[7] == S(0) && m.m_m[11] == S(0) && m.m_m[15] == S(1);
    return affine ? invert_4x3(m) : invert_4x4(m);
}

template <typename S>
pcMatrix<S> pcMatrix<S>::inverse(const pcMatrix &m)
{
    pcMatrix result;
    result.invert(m);
    return result;
}

// In plain scalars: small arrays would be written piece by piece and read back as wide words, which stalls.
template <typename S>
bool pcMatrix<S>::invert_4x3(const pcMatrix &m)
{
    const S m00 = m.m_m[0];
    const S m01 = m.m_m[1];
    const S m02 = m.m_m[2];
    const S m10 = m.m_m[4];
    const S m11 = m.m_m[5];
    const S m12 = m.m_m[6];
    const S m20 = m.m_m[8];
    const S m21 = m.m_m[9];
    const S m22 = m.m_m[10];
    const S cx = m.m_m[3];
    const S cy = m.m_m[7];
    const S cz = m.m_m[11];
    const S tx = m.m_m[12];
    const S ty = m.m_m[13];
    const S tz = m.m_m[14];
    const S w = m.m_m[15];

    const S c00 = m11 * m22 - m12 * m21;
    const S c01 = m02 * m21 - m01 * m22;
    const S c02 = m01 * m12 - m02 * m11;
    const S r = S(1) / (m00 * c00 + m10 * c01 + m20 * c02);
    const S i00 = c00 * r;
    const S i01 = c01 * r;
    const S i02 = c02 * r;
    const S i10 = (m12 * m20 - m10 * m22) * r;
    const S i11 = (m00 * m22 - m02 * m20) * r;
    const S i12 = (m02 * m10 - m00 * m12) * r;
    const S i20 = (m10 * m21 - m11 * m20) * r;
    const S i21 = (m01 * m20 - m00 * m21) * r;
    const S i22 = (m00 * m11 - m01 * m10) * r;
    set(i00, i01, i02, S(0), i10, i11, i12, S(0), i20, i21, i22, S(0), -(tx * i00 + ty * i10 + tz * i20),
        -(tx * i01 + ty * i11 + tz * i21), -(tx * i02 + ty * i12 + tz * i22), S(1));

    if ((w - S(1)) * (w - S(1)) > 1e-6) {
        // The block is inverted as if it stood alone; what column 3 adds is a matrix in front (Schur complement).
        setTrans(S(0), S(0), S(0));
        const pcVec3<S> t(tx, ty, tz);
        const pcVec3<S> p = transform3x3(*this, pcVec3<S>(cx, cy, cz));
        const S s = S(1) / (w - t * p);
        const pcVec3<S> a = t * s;
        preMult({a.x() * p.x() + S(1), a.y() * p.x(), a.z() * p.x(), -p.x() * s, //
                 a.x() * p.y(), a.y() * p.y() + S(1), a.z() * p.y(), -p.y() * s, //
                 a.x() * p.z(), a.y() * p.z(), a.z() * p.z() + S(1), -p.z() * s, //
                 -a.x(), -a.y(), -a.z(), s});
    }
    return true;
}

namespace detail
{

/// Gauss-Jordan elimination in place, with full pivoting: each step takes the largest element of the rows and columns
/// that have not yet been pivoted, the last one of equals.
template <typename S>
class GaussJordan
{
public:
    explicit GaussJordan(pcMatrix<S> &m) : m_m(m) {}

    bool invert()
    {
        for (int step = 0; step < 4; ++step) {
            if (!findPivot(step))
                return false;
            const int row = m_rows[step];
            const int col = m_columns[step];
            ++m_pivots[col];
            if (row != col)
                swapRows(row, col);
            if (m_m(col, col) == S(0))
                return false;
            eliminate(col);
        }
        for (int step = 3; step >= 0; --step) {
            if (m_rows[step] != m_columns[step])
                swapColumns(m_rows[step], m_columns[step]);
        }
        return true;
    }

private:
    /// False where an element that is not a number has led to a second pivot in one column.
    bool findPivot(int step)
    {
        S largest = 0;
        for (int row = 0; row < 4; ++row) {
            if (m_pivots[row] > 1)
                return false;
            if (m_pivots[row] == 1)
                continue;
            for (int col = 0; col < 4; ++col) {
                if (m_pivots[col] == 0 && std::abs(m_m(row, col)) >= largest) {
                    largest = std::abs(m_m(row, col));
                    m_rows[step] = row;
                    m_columns[step] = col;
                }
            }
        }
        return true;
    }

    void eliminate(int pivot)
    {
        const S reciprocal = S(1) / m_m(pivot, pivot);
        m_m(pivot, pivot) = S(1);
        for (int col = 0; col < 4; ++col)
            m_m(pivot, col) *= reciprocal;
        for (int row = 0; row < 4; ++row) {
            if (row == pivot)
                continue;
            const S factor = m_m(row, pivot);
            m_m(row, pivot) = S(0);
            for (int col = 0; col < 4; ++col)
                m_m(row, col) -= factor * m_m(pivot, col);
        }
    }

    void swapRows(int a, int b)
    {
        for (int col = 0; col < 4; ++col)
            std::swap(m_m(a, col), m_m(b, col));
    }

    void swapColumns(int a, int b)
    {
        for (int row = 0; row < 4; ++row)
            std::swap(m_m(row, a), m_m(row, b));
    }

    pcMatrix<S> &m_m;
    int m_rows[4] = {};
    int m_columns[4] = {};
    int m_pivots[4] = {}; ///< for each column, how often it was pivoted
};

} // namespace detail

template <typename S>
bool pcMatrix<S>::invert_4x4(const pcMatrix &m)
{
    *this = m;
    return detail::GaussJordan<S>(*this).invert();
}

} // namespace ptCloud
