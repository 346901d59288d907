#pragma once

#include "pcVec.h"

#include <limits>

namespace ptCloud
{

namespace detail
{

template <typename S>
S component(const pcVec3<S> &v, int axis)
{
    return v[axis];
}
inline int component(const pcVec3i &v, int axis)
{
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

} // namespace detail

/// What all boxes share: a minimum and a maximum corner, stored in this order with nothing else in the object.
///
/// An invalid box (any maximum below its minimum, or a NaN) is an ordinary state, tested with `valid`; the default box
/// is invalid and turns into a box of one point with the first `expandBy`. `Box` is the box itself, `V` the vector,
/// `S` its scalar.
template <typename Box, typename V, typename S>
class pcBoxBase
{
public:
    /// Maximum not below minimum on all three axes. A box of one point is valid; a NaN makes the box invalid.
    bool valid() const { return m_max[0] >= m_min[0] && m_max[1] >= m_min[1] && m_max[2] >= m_min[2]; }

    /// Corner `pos` of the eight: bit 0 selects the maximum of x, bit 1 of y, bit 2 of z; higher bits are ignored.
    V corner(unsigned int pos) const
    {
        return {(pos & 1U) != 0 ? m_max[0] : m_min[0], (pos & 2U) != 0 ? m_max[1] : m_min[1],
                (pos & 4U) != 0 ? m_max[2] : m_min[2]};
    }

    /// Widens the box to hold the point. A NaN coordinate changes nothing.
    void expandBy(S x, S y, S z) { expandBy(V(x, y, z)); }
    void expandBy(const V &point)
    {
        for (int i = 0; i < 3; ++i)
            widen(i, detail::component(point, i), detail::component(point, i));
    }
    /// Widens the box to hold another one; an invalid one is ignored.
    void expandBy(const Box &box)
    {
        if (!box.valid())
            return;
        for (int i = 0; i < 3; ++i)
            widen(i, sameAs(box).m_min[i], sameAs(box).m_max[i]);
    }

    /// Whether the two share a point; touching counts. Validity is not looked at.
    bool intersects(const Box &box) const
    {
        for (int i = 0; i < 3; ++i) {
            const S low = m_min[i] > sameAs(box).m_min[i] ? m_min[i] : sameAs(box).m_min[i];
            const S high = m_max[i] < sameAs(box).m_max[i] ? m_max[i] : sameAs(box).m_max[i];
            if (!(high >= low))
                return false;
        }
        return true;
    }

    /// Exact comparison of all six values.
    bool operator==(const Box &box) const
    {
        for (int i = 0; i < 3; ++i) {
            if (!(m_min[i] == sameAs(box).m_min[i] && m_max[i] == sameAs(box).m_max[i]))
                return false;
        }
        return true;
    }
    bool operator!=(const Box &box) const { return !(*this == box); }

protected:
    pcBoxBase(S xmin, S ymin, S zmin, S xmax, S ymax, S zmax) : m_min{xmin, ymin, zmin}, m_max{xmax, ymax, zmax} {}

    /// Larger of the minima, smaller of the maxima, with no test of validity.
    void intersectWith(const Box &box)
    {
        for (int i = 0; i < 3; ++i) {
            if (sameAs(box).m_min[i] > m_min[i])
                m_min[i] = sameAs(box).m_min[i];
            if (sameAs(box).m_max[i] < m_max[i])
                m_max[i] = sameAs(box).m_max[i];
        }
    }

    S m_min[3];
    S m_max[3];

private:
    /// The corners of another box are within reach through this class only.
    static const pcBoxBase &sameAs(const Box &box) { return box; }

    // Both tests always run: on an invalid box one value has to move both ends.
    void widen(int axis, S low, S high)
    {
        if (m_min[axis] > low)
            m_min[axis] = low;
        if (high > m_max[axis])
            m_max[axis] = high;
    }
};

/// An axis-aligned box of floating-point coordinates, closed on all sides. Use the names `pcBoundingBoxf` (the box of a
/// block) and `pcBoundingBoxd`.
template <typename S>
class pcBoundingBox : public pcBoxBase<pcBoundingBox<S>, pcVec3<S>, S>
{
    using Base = pcBoxBase<pcBoundingBox<S>, pcVec3<S>, S>;
    using Base::m_max;
    using Base::m_min;

public:
    /// The invalid box: minimum the largest finite value, maximum its negative.
    pcBoundingBox() : Base(largest, largest, largest, -largest, -largest, -largest) {}
    pcBoundingBox(const pcVec3<S> &min, const pcVec3<S> &max)
        : Base(min.x(), min.y(), min.z(), max.x(), max.y(), max.z())
    {}
    pcBoundingBox(S xmin, S ymin, S zmin, S xmax, S ymax, S zmax) : Base(xmin, ymin, zmin, xmax, ymax, zmax) {}

    /// Back to the invalid box of the default constructor.
    void init() { *this = pcBoundingBox(); }
    void set(const pcVec3<S> &min, const pcVec3<S> &max) { *this = pcBoundingBox(min, max); }
    void set(S xmin, S ymin, S zmin, S xmax, S ymax, S zmax)
    {
        *this = pcBoundingBox(xmin, ymin, zmin, xmax, ymax, zmax);
    }

    S &xMin() { return m_min[0]; }
    S &yMin() { return m_min[1]; }
    S &zMin() { return m_min[2]; }
    S &xMax() { return m_max[0]; }
    S &yMax() { return m_max[1]; }
    S &zMax() { return m_max[2]; }
    S xMin() const { return m_min[0]; }
    S yMin() const { return m_min[1]; }
    S zMin() const { return m_min[2]; }
    S xMax() const { return m_max[0]; }
    S yMax() const { return m_max[1]; }
    S zMax() const { return m_max[2]; }

    pcVec3<S> center() const { return (this->corner(0) + this->corner(7)) * S(0.5); }
    /// Half the diagonal.
    S radius() const { return std::sqrt(radius2()); }
    /// A quarter of the squared diagonal.
    S radius2() const { return (this->corner(7) - this->corner(0)).length2() * S(0.25); }

    /// Whether the point lies inside or on a face; never in an invalid box.
    bool contains(const pcVec3<S> &p) const
    {
        if (!this->valid())
            return false;
        for (int i = 0; i < 3; ++i) {
            if (!(m_min[i] <= p[i] && p[i] <= m_max[i]))
                return false;
        }
        return true;
    }
    /// The same with each face moved outward by `epsilon`.
    bool contains(const pcVec3<S> &p, S epsilon) const
    {
        if (!this->valid())
            return false;
        for (int i = 0; i < 3; ++i) {
            if (!(p[i] + epsilon >= m_min[i] && m_max[i] >= p[i] - epsilon))
                return false;
        }
        return true;
    }

    /// The common part, without a test of validity: two disjoint boxes give an invalid one.
    pcBoundingBox intersect(const pcBoundingBox &box) const
    {
        pcBoundingBox common(*this);
        common.intersectWith(box);
        return common;
    }

private:
    static constexpr S largest = std::numeric_limits<S>::max();
};

/// An axis-aligned box of integer coordinates, half-open: the minimum faces belong to it, the maximum faces do not.
/// Sums and squares wrap around in 32 bits.
class POINTS_CLOUD_EXPORT pcBoundingBoxi : public pcBoxBase<pcBoundingBoxi, pcVec3i, int>
{
public:
    /// The invalid box: minimum 2147483647, maximum -2147483647 (not the smallest `int`).
    pcBoundingBoxi();
    pcBoundingBoxi(const pcVec3i &min, const pcVec3i &max);
    pcBoundingBoxi(int xmin, int ymin, int zmin, int xmax, int ymax, int zmax);

    /// Sum of the corners, halved in `float` and truncated.
    pcVec3i center() const;
    /// Square root of `radius2`, truncated.
    int radius() const;
    /// A quarter of the squared diagonal, truncated.
    int radius2() const;

    /// Whether minimum <= point < maximum on each axis; never in an invalid box.
    bool contains(const pcVec3i &point) const;

    /// The common part, without a test of validity.
    pcBoundingBoxi intersect(const pcBoundingBoxi &box) const;

    /// Lexicographic order of the minimum corners; the maximum corners take no part.
    bool operator<(const pcBoundingBoxi &box) const { return corner(0) < box.corner(0); }
};

/// A sphere: centre, then radius. A negative or NaN radius is the invalid state (the default is -1); a radius of 0 is
/// valid and holds the centre alone. Use the names `pcBoundingSpheref` and `pcBoundingSphered`.
template <typename S>
class pcBoundingSphere
{
    using Vec = pcVec3<S>;
    using Box = pcBoundingBox<S>;

public:
    pcBoundingSphere() = default;
    pcBoundingSphere(const Vec &center, S radius) : m_center(center), m_radius(radius) {}

    /// Back to the invalid sphere of the default constructor.
    void init() { *this = pcBoundingSphere(); }
    /// The radius passes through `float` in both precisions.
    void set(const Vec &center, float radius) { *this = pcBoundingSphere(center, static_cast<S>(radius)); }

    Vec &center() { return m_center; }
    const Vec &center() const { return m_center; }
    S &radius() { return m_radius; }
    S radius() const { return m_radius; }
    S radius2() const { return m_radius * m_radius; }

    bool valid() const { return m_radius >= S(0); }
    /// Whether the point lies inside or on the sphere; never in an invalid one.
    bool contains(const Vec &point) const { return valid() && radius2() >= (point - m_center).length2(); }

    /// Whether two valid spheres share a point; touching counts.
    bool intersects(const pcBoundingSphere &sphere) const
    {
        if (!valid() || !sphere.valid())
            return false;
        const S reach = m_radius + sphere.m_radius;
        return reach * reach >= (m_center - sphere.m_center).length2();
    }
    /// Whether one of the box's corners lies within the radius (`pcBoundingSpheref` only). That is the whole test: a
    /// box around the sphere, or crossing it between its corners, does not count. Validity is not looked at.
    template <typename T, std::enable_if_t<std::is_same_v<T, S> && std::is_same_v<T, float>, int> = 0>
    bool intersects(const pcBoundingBox<T> &box) const
    {
        for (unsigned int i : {0U, 2U, 3U, 1U, 6U, 4U, 5U, 7U}) {
            if (m_radius >= (box.corner(i) - m_center).length())
                return true;
        }
        return false;
    }

    /// Moves and grows the sphere as little as possible to hold the point.
    void expandBy(const Vec &point)
    {
        if (!valid()) {
            *this = pcBoundingSphere(point, S(0));
            return;
        }
        const Vec d = point - m_center;
        const S l = d.length();
        if (l > m_radius) {
            const S h = (l - m_radius) * S(0.5);
            m_radius += h;
            m_center += d * (h / l);
        }
    }
    /// Becomes the smallest sphere around both; an invalid argument is ignored.
    void expandBy(const pcBoundingSphere &sphere)
    {
        if (!sphere.valid())
            return;
        if (!valid()) {
            *this = sphere;
            return;
        }
        const Vec d = sphere.m_center - m_center;
        const S l = d.length();
        // Of two concentric spheres one of these two tests always holds, so nothing is divided by a distance of 0.
        if (m_radius >= sphere.m_radius + l)
            return;
        if (sphere.m_radius >= m_radius + l) {
            *this = sphere;
            return;
        }
        const S grown = (m_radius + l + sphere.m_radius) * S(0.5);
        m_center += d * ((grown - m_radius) / l);
        m_radius = grown;
    }
    /// Encloses the box and the sphere's points opposite its corners; not the smallest such sphere. An invalid box is
    /// ignored.
    void expandBy(const Box &box)
    {
        if (!box.valid())
            return;
        Box grown(box);
        if (valid()) {
            for (unsigned int i = 0; i < 8; ++i) {
                Vec d = box.corner(i) - m_center;
                d.normalize();
                grown.expandBy(m_center - d * m_radius);
            }
        }
        *this = pcBoundingSphere(grown.center(), grown.radius());
    }

    /// Grows the radius to hold the point; the centre stays.
    void expandRadiusBy(const Vec &point)
    {
        if (!valid()) {
            expandBy(point);
            return;
        }
        growTo((point - m_center).length());
    }
    void expandRadiusBy(const pcBoundingSphere &sphere)
    {
        if (!sphere.valid())
            return;
        if (!valid()) {
            *this = sphere;
            return;
        }
        growTo((sphere.m_center - m_center).length() + sphere.m_radius);
    }
    void expandRadiusBy(const Box &box)
    {
        if (!box.valid())
            return;
        if (!valid()) {
            *this = pcBoundingSphere(box.center(), box.radius());
            return;
        }
        for (unsigned int i = 0; i < 8; ++i)
            expandRadiusBy(box.corner(i));
    }

    /// Exact comparison of centre and radius.
    bool operator==(const pcBoundingSphere &s) const { return m_center == s.m_center && m_radius == s.m_radius; }
    bool operator!=(const pcBoundingSphere &s) const { return !(*this == s); }

private:
    void growTo(S radius)
    {
        if (radius > m_radius)
            m_radius = radius;
    }

    Vec m_center;
    S m_radius = S(-1);
};

using pcBoundingBoxf = pcBoundingBox<float>;
using pcBoundingBoxd = pcBoundingBox<double>;
using pcBoundingSpheref = pcBoundingSphere<float>;
using pcBoundingSphered = pcBoundingSphere<double>;

static_assert(sizeof(pcBoundingBoxf) == 24 && sizeof(pcBoundingBoxd) == 48 && sizeof(pcBoundingBoxi) == 24,
              "boxes are two bare corners");
static_assert(sizeof(pcBoundingSpheref) == 16 && sizeof(pcBoundingSphered) == 32, "spheres are bare values");

} // namespace ptCloud
