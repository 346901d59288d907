#pragma once

#include "GeometryTesting.h"

#include "pcMatrix.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <random>

/// What the tests of quaternions and matrices share: random values, and Eigen as the independent account of them.
///
/// Eigen is column-major and multiplies columns from the right; its matrices here are row-major, so that the sixteen
/// values stand alike, and products of row vectors are written with `transpose`.
namespace geometry
{

using Matrix4 = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;
using Block3 = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

constexpr double pi = 3.141592653589793;

template <typename M>
using ElementOf = std::decay_t<decltype(std::declval<const M &>()(0, 0))>;

/// How far a result may be from that of another order of operations, relative to the numbers that went in.
template <typename S>
constexpr double tolerance = 64.0 * static_cast<double>(std::numeric_limits<S>::epsilon());

template <typename S>
std::vector<S> elements(const ptCloud::pcMatrix<S> &m)
{
    return stored<S>(m);
}

template <typename S>
Matrix4 eigen(const ptCloud::pcMatrix<S> &m)
{
    Matrix4 result;
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col)
            result(row, col) = m(row, col);
    }
    return result;
}

template <typename S>
Eigen::Vector3d eigen(const ptCloud::pcVec3<S> &v)
{
    return {v.x(), v.y(), v.z()};
}

template <typename S>
Eigen::Vector4d eigen(const ptCloud::pcVec4<S> &v)
{
    return {v.x(), v.y(), v.z(), v.w()};
}

inline Eigen::Quaterniond eigen(const ptCloud::pcQuatd &q)
{
    return {q.w(), q.x(), q.y(), q.z()};
}

/// Expects two matrices or vectors of Eigen to differ by no more than `allowed` in any element.
template <typename A, typename B>
void expectNear(const A &actual, const B &wanted, double allowed)
{
    EXPECT_LE((actual - wanted).cwiseAbs().maxCoeff(), allowed) << "actual\n" << actual << "\nwanted\n" << wanted;
}

inline void expectNear(const ptCloud::pcQuatd &actual, const ptCloud::pcQuatd &wanted, double allowed)
{
    expectNear(eigen(actual.asVec4()), eigen(wanted.asVec4()), allowed);
}

/// Random values from a fixed seed, so that a failure can be looked at again.
class Random
{
public:
    double number(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_engine); }

    template <typename V>
    V vector(double range)
    {
        using S = ScalarOf<V>;
        std::array<S, 4> values;
        for (S &value : values)
            value = static_cast<S>(number(-range, range));
        return make<V>(values);
    }

    ptCloud::pcVec3d direction()
    {
        ptCloud::pcVec3d v;
        do
            v = vector<ptCloud::pcVec3d>(1.0);
        while (v.length() < 0.1);
        v.normalize();
        return v;
    }

    ptCloud::pcQuatd rotation() { return {number(-pi, pi), direction()}; }

    template <typename S>
    ptCloud::pcMatrix<S> matrix(double range)
    {
        ptCloud::pcMatrix<S> m;
        for (int i = 0; i < 16; ++i)
            m(i / 4, i % 4) = static_cast<S>(number(-range, range));
        return m;
    }

    /// A matrix whose inverse loses no more than a few digits.
    template <typename S>
    ptCloud::pcMatrix<S> wellConditioned(bool affine)
    {
        for (;;) {
            ptCloud::pcMatrix<S> m = matrix<S>(2.0);
            if (affine) {
                for (int row = 0; row < 4; ++row)
                    m(row, 3) = row == 3 ? S(1) : S(0);
            }
            const Eigen::VectorXd sizes = eigen(m).jacobiSvd().singularValues();
            if (sizes(3) > 0.05 * sizes(0))
                return m;
        }
    }

private:
    std::mt19937 m_engine{20240917};
};

/// The numbers 1 to 16 in storage order.
template <typename S>
ptCloud::pcMatrix<S> counted()
{
    return {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
}

} // namespace geometry
