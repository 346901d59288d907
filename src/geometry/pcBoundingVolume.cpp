#include "pcBoundingVolume.h"

#include "IntegerArithmetic.h"

namespace ptCloud
{

pcBoundingBoxi::pcBoundingBoxi()
    : pcBoundingBoxi(2147483647, 2147483647, 2147483647, -2147483647, -2147483647, -2147483647)
{}

pcBoundingBoxi::pcBoundingBoxi(const pcVec3i &min, const pcVec3i &max)
    : pcBoundingBoxi(min.x, min.y, min.z, max.x, max.y, max.z)
{}

pcBoundingBoxi::pcBoundingBoxi(int xmin, int ymin, int zmin, int xmax, int ymax, int zmax)
    : pcBoxBase(xmin, ymin, zmin, xmax, ymax, zmax)
{}

pcVec3i pcBoundingBoxi::center() const
{
    return (corner(0) + corner(7)) * 0.5F;
}

int pcBoundingBoxi::radius() const
{
    return truncToInt(std::sqrt(static_cast<double>(radius2())));
}

int pcBoundingBoxi::radius2() const
{
    return truncToInt(static_cast<double>((corner(7) - corner(0)).length2()) * 0.25);
}

bool pcBoundingBoxi::contains(const pcVec3i &point) const
{
    if (!valid())
        return false;
    for (int i = 0; i < 3; ++i) {
        const int value = detail::component(point, i);
        if (value < m_min[i] || value >= m_max[i])
            return false;
    }
    return true;
}

pcBoundingBoxi pcBoundingBoxi::intersect(const pcBoundingBoxi &box) const
{
    pcBoundingBoxi common(*this);
    common.intersectWith(box);
    return common;
}

} // namespace ptCloud
