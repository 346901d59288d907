#include "stPrism.h"

#include <cmath>
#include <utility>

// Expressions stand in the order in which they are evaluated: figures that were stored once have to come out again to
// the last bit.

namespace ptCloud
{

namespace
{

struct Point
{
    double x;
    double y;
};

struct Vertex : Point
{
    double z;
};

struct Triangle
{
    Vertex v1;
    Vertex v2;
    Vertex v3;
};

double area(const Point &p, const Point &q, const Point &r)
{
    return std::abs(p.x * q.y + q.x * r.y + r.x * p.y - p.x * r.y - q.x * p.y - r.x * q.y) * 0.5;
}

double area(const Triangle &t)
{
    return area(t.v1, t.v2, t.v3);
}

Point interpolate(const Vertex &low, const Vertex &high, double height)
{
    return {low.x + (high.x - low.x) * (height - low.z) / (high.z - low.z),
            low.y + (high.y - low.y) * (height - low.z) / (high.z - low.z)};
}

Point cutOnRisingLine(const Vertex &low, const Vertex &high, double height)
{
    if (low.z >= height)
        return low;
    if (height >= high.z)
        return high;
    return interpolate(low, high, height);
}

Point cutOnLine(const Vertex &a, const Vertex &b, double height)
{
    if (a.z < b.z)
        return cutOnRisingLine(a, b, height);
    if (a.z > b.z)
        return cutOnRisingLine(b, a, height);
    return a;
}

bool allLevel(const Triangle &t)
{
    return t.v1.z == t.v2.z && t.v2.z == t.v3.z;
}

bool twoLevel(const Triangle &t)
{
    return t.v1.z == t.v2.z || t.v1.z == t.v3.z || t.v2.z == t.v3.z;
}

struct PairAndSingle
{
    Point q1;
    Point q2;
    double p; ///< height of the pair
    Vertex single;
    double s; ///< height of the single vertex
};

PairAndSingle splitPair(const Triangle &t)
{
    if (t.v1.z == t.v2.z)
        return {t.v1, t.v2, t.v1.z, t.v3, t.v3.z};
    if (t.v1.z == t.v3.z)
        return {t.v1, t.v3, t.v1.z, t.v2, t.v2.z};
    return {t.v2, t.v3, t.v2.z, t.v1, t.v1.z};
}

struct Sorted
{
    Vertex top;
    Vertex middle;
    Vertex low;
};

Sorted sortByHeight(const Triangle &t)
{
    Sorted sorted{t.v3, t.v1, t.v2};
    if (t.v1.z > t.v2.z && t.v1.z > t.v3.z)
        sorted = {t.v1, t.v2, t.v3};
    else if (t.v2.z > t.v1.z && t.v2.z > t.v3.z)
        sorted = {t.v2, t.v1, t.v3};
    if (sorted.low.z > sorted.middle.z)
        std::swap(sorted.middle, sorted.low);
    return sorted;
}

/// Between the triangle and the plane through its lowest vertex.
double volumeOverLowest(const Triangle &t)
{
    if (allLevel(t))
        return 0.0;
    if (twoLevel(t)) {
        const PairAndSingle split = splitPair(t);
        if (split.s > split.p)
            return std::abs(area(t) * (split.s - split.p)) / 3.0;
        return area(t) * (split.p - split.s) * 0.6666666666666666;
    }
    const auto [top, middle, low] = sortByHeight(t);
    const Point cut = cutOnLine(top, low, middle.z);
    return area(top, middle, cut) * (top.z - middle.z) / 3 + area(top, middle, low) * (middle.z - low.z)
           - area(middle, cut, low) * (middle.z - low.z) / 3;
}

/// Between the triangle and the plane through its highest vertex.
double volumeUnderHighest(const Triangle &t)
{
    if (allLevel(t))
        return 0.0;
    if (twoLevel(t)) {
        const PairAndSingle split = splitPair(t);
        if (split.s > split.p)
            return area(t) * (split.s - split.p) * 0.6666666666666666;
        return std::abs(area(t) * (split.p - split.s)) / 3.0;
    }
    const auto [top, middle, low] = sortByHeight(t);
    return area(top, middle, low) * (top.z - low.z) - volumeOverLowest(t);
}

struct Volumes
{
    double dig = 0;
    double fill = 0;
};

Volumes volumesOfLevel(double z, double h, double planeArea)
{
    if (z == h)
        return {};
    if (z > h)
        return {(z - h) * planeArea, 0};
    return {0, (h - z) * planeArea};
}

Volumes volumesOfTwoLevel(const Triangle &t, double h, double planeArea)
{
    const auto [q1, q2, p, single, s] = splitPair(t);
    if (p >= h && s >= h)
        return {volumeOverLowest(t) + ((s < p ? s : p) - h) * planeArea, 0};
    if (h >= p && h >= s)
        return {0, volumeUnderHighest(t) + (h - (s > p ? s : p)) * planeArea};

    const Point c1 = cutOnLine(single, Vertex{q1, p}, h);
    const Point c2 = cutOnLine(single, Vertex{q2, p}, h);
    const double small = area(single, c1, c2);
    const double full = area(q1, q2, single);
    if (s > p) {
        const double dig = std::abs(s - h) * small / 3;
        return {dig, std::abs(h - p) * full - (std::abs(s - p) * full / 3 - dig)};
    }
    const double fill = std::abs(h - s) * small / 3;
    return {std::abs(p - h) * full - (std::abs(p - s) * full / 3 - fill), fill};
}

Volumes volumesOfTwoAbove(const Sorted &sorted, double h)
{
    const auto &[top, middle, low] = sorted;
    const Point c1 = cutOnLine(top, low, middle.z);
    const Point c2 = cutOnLine(middle, low, h);
    const Point c3 = cutOnLine(top, low, h);
    const double below = area(low, c2, c3) * (h - low.z) / 3;
    return {area(top, middle, low) * (middle.z - h) - (area(middle, low, c1) * (middle.z - low.z) / 3 - below),
            area(top, middle, c1) * (top.z - middle.z) / 3};
}

Volumes volumesOfOneAbove(const Sorted &sorted, double h)
{
    const auto &[top, middle, low] = sorted;
    const Point c1 = cutOnLine(top, middle, h);
    const Point c2 = cutOnLine(top, low, h);
    const Point c3 = cutOnLine(top, low, middle.z);
    const double dig = area(top, c1, c2) * (top.z - h) / 3;
    return {dig, area(top, middle, low) * (h - middle.z) - (area(top, middle, c3) * (top.z - middle.z) / 3 - dig)
                     + area(middle, low, c3) * (h - middle.z) / 3};
}

Volumes volumesOfAllDifferent(const Triangle &t, double h, double planeArea)
{
    const Sorted sorted = sortByHeight(t);
    if (t.v1.z >= h && t.v2.z >= h && t.v3.z >= h)
        return {volumeOverLowest(t) + std::abs((sorted.low.z - h) * planeArea), 0};
    if (t.v1.z <= h && t.v2.z <= h && t.v3.z <= h)
        return {0, volumeUnderHighest(t) + std::abs((h - sorted.top.z) * planeArea)};
    const int above = (t.v1.z > h ? 1 : 0) + (t.v2.z > h ? 1 : 0) + (t.v3.z > h ? 1 : 0);
    return above >= 2 ? volumesOfTwoAbove(sorted, h) : volumesOfOneAbove(sorted, h);
}

Volumes volumes(const Triangle &t, double h)
{
    const double planeArea = area(t);
    if (!(planeArea > 0))
        return {};
    if (allLevel(t))
        return volumesOfLevel(t.v1.z, h, planeArea);
    if (twoLevel(t))
        return volumesOfTwoLevel(t, h, planeArea);
    return volumesOfAllDifferent(t, h, planeArea);
}

} // namespace

double stPrism::planeTriangleArea(double x1, double y1, double x2, double y2, double x3, double y3)
{
    return area({x1, y1}, {x2, y2}, {x3, y3});
}

double stPrism::trianglePrismVolume(double x1, double y1, double x2, double y2, double x3, double y3, double height)
{
    return std::abs(planeTriangleArea(x1, y1, x2, y2, x3, y3) * height);
}

double stPrism::trianglePyramidVolume(double x1, double y1, double x2, double y2, double x3, double y3, double height)
{
    return std::abs(planeTriangleArea(x1, y1, x2, y2, x3, y3) * height) / 3.0;
}

double stPrism::threeDTriangleProjectionVolume(double x1, double y1, double z1, double x2, double y2, double z2,
                                               double x3, double y3, double z3)
{
    return volumeOverLowest({{{x1, y1}, z1}, {{x2, y2}, z2}, {{x3, y3}, z3}});
}

double stPrism::threeDTriangleProjectionVolume_reverse(double x1, double y1, double z1, double x2, double y2, double z2,
                                                       double x3, double y3, double z3)
{
    return volumeUnderHighest({{{x1, y1}, z1}, {{x2, y2}, z2}, {{x3, y3}, z3}});
}

void stPrism::posCutOnLine(double xa, double ya, double za, double xb, double yb, double zb, double height, double &x,
                           double &y)
{
    const Point cut = cutOnLine({{xa, ya}, za}, {{xb, yb}, zb}, height);
    x = cut.x;
    y = cut.y;
}

void stPrism::splitHorLineAndSinglePos(double x1, double y1, double z1, double x2, double y2, double z2, double x3,
                                       double y3, double z3, double &ax, double &ay, double &bx, double &by, double &z,
                                       double &sx, double &sy, double &sz)
{
    const PairAndSingle split = splitPair({{{x1, y1}, z1}, {{x2, y2}, z2}, {{x3, y3}, z3}});
    ax = split.q1.x;
    ay = split.q1.y;
    bx = split.q2.x;
    by = split.q2.y;
    z = split.p;
    sx = split.single.x;
    sy = split.single.y;
    sz = split.s;
}

void stPrism::splitTopBottomPos(double x1, double y1, double z1, double x2, double y2, double z2, double x3, double y3,
                                double z3, double &tx, double &ty, double &tz, double &mx, double &my, double &mz,
                                double &lx, double &ly, double &lz)
{
    const auto [top, middle, low] = sortByHeight({{{x1, y1}, z1}, {{x2, y2}, z2}, {{x3, y3}, z3}});
    tx = top.x;
    ty = top.y;
    tz = top.z;
    mx = middle.x;
    my = middle.y;
    mz = middle.z;
    lx = low.x;
    ly = low.y;
    lz = low.z;
}

void stPrism::trianglePrismVolume(double x1, double y1, double x2, double y2, double x3, double y3, double groundZ,
                                  double z1, double z2, double z3, double &dig, double &fill)
{
    const Volumes result = volumes({{{x1, y1}, z1}, {{x2, y2}, z2}, {{x3, y3}, z3}}, groundZ);
    dig = result.dig;
    fill = result.fill;
}

} // namespace ptCloud
