#pragma once

#include "points_cloud_global.h"

#include <cmath>
#include <type_traits>

namespace ptCloud
{

/// A vector of three floating-point components: a position, a direction or an extent.
///
/// The components are stored as x, y, z with nothing else in the object, so an array of vectors is an array of
/// scalars. Arithmetic runs in the scalar `S`; comparison is exact. No operation fails, allocates or throws, and none
/// looks at a zero divisor or at the bounds of a subscript. Use the names `pcVec3f` and `pcVec3d`.
template <typename S>
class pcVec3
{
    static_assert(std::is_floating_point_v<S>, "integer vectors have rules of their own: see pcVec3i");

public:
    /// (0, 0, 0)
    pcVec3() = default;
    pcVec3(S x, S y, S z) : m_v{x, y, z} {}

    /// Widens each component (`pcVec3d` from `pcVec3f`).
    template <typename T, std::enable_if_t<std::is_same_v<T, float> && std::is_same_v<S, double>, int> = 0>
    pcVec3(const pcVec3<T> &v) : m_v{v.x(), v.y(), v.z()}
    {}
    /// Narrows each component by ordinary rounding (`pcVec3d` to `pcVec3f`).
    template <typename T, std::enable_if_t<std::is_same_v<T, float> && std::is_same_v<S, double>, int> = 0>
    operator pcVec3<T>() const
    {
        return {static_cast<T>(m_v[0]), static_cast<T>(m_v[1]), static_cast<T>(m_v[2])};
    }

    void set(S x, S y, S z)
    {
        m_v[0] = x;
        m_v[1] = y;
        m_v[2] = z;
    }
    void set(const pcVec3 &v) { *this = v; }

    S &x() { return m_v[0]; }
    S &y() { return m_v[1]; }
    S &z() { return m_v[2]; }
    S x() const { return m_v[0]; }
    S y() const { return m_v[1]; }
    S z() const { return m_v[2]; }
    S &operator[](int i) { return m_v[i]; }
    S operator[](int i) const { return m_v[i]; }

    bool operator==(const pcVec3 &v) const { return m_v[0] == v.m_v[0] && m_v[1] == v.m_v[1] && m_v[2] == v.m_v[2]; }
    bool operator!=(const pcVec3 &v) const { return !(*this == v); }
    /// Lexicographic in storage order. A component that compares neither way (NaN) leaves the decision to the next.
    bool operator<(const pcVec3 &v) const
    {
        for (int i = 0; i < 3; ++i) {
            if (v.m_v[i] > m_v[i])
                return true;
            if (m_v[i] > v.m_v[i])
                return false;
        }
        return false;
    }

    pcVec3 operator+(const pcVec3 &v) const { return pcVec3(*this) += v; }
    pcVec3 operator-(const pcVec3 &v) const { return pcVec3(*this) -= v; }
    pcVec3 &operator+=(const pcVec3 &v)
    {
        for (int i = 0; i < 3; ++i)
            m_v[i] += v.m_v[i];
        return *this;
    }
    pcVec3 &operator-=(const pcVec3 &v)
    {
        for (int i = 0; i < 3; ++i)
            m_v[i] -= v.m_v[i];
        return *this;
    }
    /// Flips the sign bit of each component, so 0 gives negative zero.
    pcVec3 operator-() const { return {-m_v[0], -m_v[1], -m_v[2]}; }

    pcVec3 operator*(S s) const { return pcVec3(*this) *= s; }
    pcVec3 operator/(S s) const { return pcVec3(*this) /= s; }
    pcVec3 &operator*=(S s)
    {
        for (S &c : m_v)
            c *= s;
        return *this;
    }
    /// A true division of each component; no reciprocal is taken.
    pcVec3 &operator/=(S s)
    {
        for (S &c : m_v)
            c /= s;
        return *this;
    }

    /// Dot product.
    S operator*(const pcVec3 &v) const { return m_v[0] * v.m_v[0] + m_v[1] * v.m_v[1] + m_v[2] * v.m_v[2]; }
    /// Cross product, right-handed: x ^ y = z.
    pcVec3 operator^(const pcVec3 &v) const
    {
        return {m_v[1] * v.m_v[2] - m_v[2] * v.m_v[1], m_v[2] * v.m_v[0] - m_v[0] * v.m_v[2],
                m_v[0] * v.m_v[1] - m_v[1] * v.m_v[0]};
    }

    /// Sum of the squares.
    S length2() const { return *this * *this; }
    S length() const { return std::sqrt(length2()); }
    /// Scales to length 1 and returns the length before. A vector whose length is 0 or NaN stays as it is.
    S normalize()
    {
        const S l = length();
        if (l > S(0))
            *this *= S(1) / l;
        return l;
    }

    /// Whether any component is a NaN.
    bool isNaN() const { return std::isnan(m_v[0]) || std::isnan(m_v[1]) || std::isnan(m_v[2]); }
    /// The negation of `isNaN`; infinities are valid.
    bool valid() const { return !isNaN(); }

private:
    S m_v[3] = {};
};

/// A vector of four floating-point components: a colour (r, g, b, a with full intensity at 1.0) or a homogeneous
/// coordinate.
///
/// `r`, `g`, `b`, `a` are other names for the storage of `x`, `y`, `z`, `w`. What `pcVec3` says of storage, arithmetic
/// and errors holds here too; products and lengths have four terms. Use the names `pcVec4f` and `pcVec4d`.
template <typename S>
class pcVec4
{
    static_assert(std::is_floating_point_v<S>, "colours are floating-point");

public:
    /// (0, 0, 0, 0)
    pcVec4() = default;
    pcVec4(S x, S y, S z, S w) : m_v{x, y, z, w} {}
    pcVec4(const pcVec3<S> &v, S w) : m_v{v.x(), v.y(), v.z(), w} {}

    /// Widens each component (`pcVec4d` from `pcVec4f`).
    template <typename T, std::enable_if_t<std::is_same_v<T, float> && std::is_same_v<S, double>, int> = 0>
    pcVec4(const pcVec4<T> &v) : m_v{v.x(), v.y(), v.z(), v.w()}
    {}
    /// Narrows each component by ordinary rounding (`pcVec4d` to `pcVec4f`).
    template <typename T, std::enable_if_t<std::is_same_v<T, float> && std::is_same_v<S, double>, int> = 0>
    operator pcVec4<T>() const
    {
        return {static_cast<T>(m_v[0]), static_cast<T>(m_v[1]), static_cast<T>(m_v[2]), static_cast<T>(m_v[3])};
    }

    void set(S x, S y, S z, S w)
    {
        m_v[0] = x;
        m_v[1] = y;
        m_v[2] = z;
        m_v[3] = w;
    }

    S &x() { return m_v[0]; }
    S &y() { return m_v[1]; }
    S &z() { return m_v[2]; }
    S &w() { return m_v[3]; }
    S x() const { return m_v[0]; }
    S y() const { return m_v[1]; }
    S z() const { return m_v[2]; }
    S w() const { return m_v[3]; }
    S &r() { return m_v[0]; }
    S &g() { return m_v[1]; }
    S &b() { return m_v[2]; }
    S &a() { return m_v[3]; }
    S r() const { return m_v[0]; }
    S g() const { return m_v[1]; }
    S b() const { return m_v[2]; }
    S a() const { return m_v[3]; }
    S &operator[](unsigned int i) { return m_v[i]; }
    S operator[](unsigned int i) const { return m_v[i]; }

    bool operator==(const pcVec4 &v) const
    {
        return m_v[0] == v.m_v[0] && m_v[1] == v.m_v[1] && m_v[2] == v.m_v[2] && m_v[3] == v.m_v[3];
    }
    bool operator!=(const pcVec4 &v) const { return !(*this == v); }
    /// Lexicographic in storage order, as on `pcVec3`.
    bool operator<(const pcVec4 &v) const
    {
        for (int i = 0; i < 4; ++i) {
            if (v.m_v[i] > m_v[i])
                return true;
            if (m_v[i] > v.m_v[i])
                return false;
        }
        return false;
    }

    pcVec4 operator+(const pcVec4 &v) const { return pcVec4(*this) += v; }
    pcVec4 operator-(const pcVec4 &v) const { return pcVec4(*this) -= v; }
    pcVec4 &operator+=(const pcVec4 &v)
    {
        for (int i = 0; i < 4; ++i)
            m_v[i] += v.m_v[i];
        return *this;
    }
    pcVec4 &operator-=(const pcVec4 &v)
    {
        for (int i = 0; i < 4; ++i)
            m_v[i] -= v.m_v[i];
        return *this;
    }
    /// Flips the sign bit of each component.
    pcVec4 operator-() const { return {-m_v[0], -m_v[1], -m_v[2], -m_v[3]}; }

    pcVec4 operator*(S s) const { return pcVec4(*this) *= s; }
    pcVec4 operator/(S s) const { return pcVec4(*this) /= s; }
    pcVec4 &operator*=(S s)
    {
        for (S &c : m_v)
            c *= s;
        return *this;
    }
    /// A true division of each component; no reciprocal is taken.
    pcVec4 &operator/=(S s)
    {
        for (S &c : m_v)
            c /= s;
        return *this;
    }

    /// Dot product, four terms.
    S operator*(const pcVec4 &v) const
    {
        return m_v[0] * v.m_v[0] + m_v[1] * v.m_v[1] + m_v[2] * v.m_v[2] + m_v[3] * v.m_v[3];
    }

    /// Sum of the four squares.
    S length2() const { return *this * *this; }
    S length() const { return std::sqrt(length2()); }
    /// Scales to length 1 and returns the length before. A vector whose length is 0 or NaN stays as it is.
    S normalize()
    {
        const S l = length();
        if (l > S(0))
            *this *= S(1) / l;
        return l;
    }

    /// Whether any component is a NaN.
    bool isNaN() const { return std::isnan(m_v[0]) || std::isnan(m_v[1]) || std::isnan(m_v[2]) || std::isnan(m_v[3]); }
    /// The negation of `isNaN`; infinities are valid.
    bool valid() const { return !isNaN(); }

    /// `value` held to `low`..`high`, `low` winning where the two cross. The object itself takes no part.
    S clampTo(S value, S low, S high) const { return low > value ? low : (high < value ? high : value); }

    /// The colour as 0xRRGGBBAA: the name tells the byte order in memory on a little-endian machine, low byte first.
    /// A channel is c x 255 truncated, held to 0..255; one that is not a number packs as 255.
    unsigned int asABGR() const { return pack(m_v[0], m_v[1], m_v[2], m_v[3]); }
    /// The colour as 0xAABBGGRR; see `asABGR`.
    unsigned int asRGBA() const { return pack(m_v[3], m_v[2], m_v[1], m_v[0]); }

private:
    static unsigned int channel(S c)
    {
        const S t = c * S(255);
        if (S(0) > t)
            return 0;
        return t < S(255) ? static_cast<unsigned int>(t) : 255U;
    }
    static unsigned int pack(S high, S second, S third, S low)
    {
        return channel(high) << 24U | channel(second) << 16U | channel(third) << 8U | channel(low);
    }

    S m_v[4] = {};
};

/// A vector of three 32-bit integers. Sums and products wrap around, conversions to `int` truncate toward zero, and a
/// value that `int` can't hold (NaN and infinities included) becomes the smallest `int`.
struct POINTS_CLOUD_EXPORT pcVec3i
{
    int x = 0;
    int y = 0;
    int z = 0;

    /// (0, 0, 0)
    pcVec3i() = default;
    pcVec3i(int xValue, int yValue, int zValue) : x(xValue), y(yValue), z(zValue) {}

    bool operator==(const pcVec3i &v) const { return x == v.x && y == v.y && z == v.z; }
    bool operator!=(const pcVec3i &v) const { return !(*this == v); }
    /// Lexicographic in the order x, y, z.
    bool operator<(const pcVec3i &v) const;

    pcVec3i operator+(const pcVec3i &v) const;
    pcVec3i operator-(const pcVec3i &v) const;
    pcVec3i &operator+=(const pcVec3i &v) { return *this = *this + v; }
    pcVec3i &operator-=(const pcVec3i &v) { return *this = *this - v; }
    pcVec3i operator-() const;

    /// Each component is converted to `float`, multiplied there and truncated: above 2^24 precision is lost on purpose.
    pcVec3i operator*(float s) const;
    /// Each component is converted to `float`, divided there and truncated.
    pcVec3i operator/(float s) const;
    pcVec3i &operator*=(float s) { return *this = *this * s; }
    pcVec3i &operator/=(float s) { return *this = *this / s; }

    /// Cross product.
    pcVec3i operator^(const pcVec3i &v) const;

    /// Sum of the squares, wrapped to 32 bits.
    int length2() const;
    /// Square root of `length2`, truncated.
    int length() const;
};

using pcVec3f = pcVec3<float>;
using pcVec3d = pcVec3<double>;
using pcVec4f = pcVec4<float>;
using pcVec4d = pcVec4<double>;

static_assert(sizeof(pcVec3f) == 12 && sizeof(pcVec3d) == 24 && sizeof(pcVec3i) == 12, "vectors are bare components");
static_assert(sizeof(pcVec4f) == 16 && sizeof(pcVec4d) == 32, "vectors are bare components");
static_assert(std::is_trivially_copyable_v<pcVec3f> && std::is_trivially_copyable_v<pcVec4f>, "blocks are copied raw");

} // namespace ptCloud
