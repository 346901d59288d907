// Vectors, colours, boxes and spheres.

#include "interface.h"

#include <points_cloud.h>

using namespace ptCloud;

namespace names
{

/// What all five classes of vectors have; scalars multiply and divide as Factor.
template <typename V, typename S, typename Factor>
void anyVector()
{
    static_assert(!std::is_polymorphic_v<V>);
    constructs<V>();
    copiesAndMoves<V>();
    has<V &(V::*)(const V &)>(&V::operator=);
    has<V &(V::*)(V &&)>(&V::operator=);
    has<bool (V::*)(const V &) const>(&V::operator==);
    has<bool (V::*)(const V &) const>(&V::operator!=);
    has<bool (V::*)(const V &) const>(&V::operator<);
    has<V (V::*)(const V &) const>(&V::operator+);
    has<V (V::*)(const V &) const>(&V::operator-);
    has<V &(V::*)(const V &)>(&V::operator+=);
    has<V &(V::*)(const V &)>(&V::operator-=);
    has<V (V::*)() const>(&V::operator-);
    has<V (V::*)(Factor) const>(&V::operator*);
    has<V &(V::*)(Factor)>(&V::operator*=);
    has<V (V::*)(Factor) const>(&V::operator/);
    has<V &(V::*)(Factor)>(&V::operator/=);
    has<S (V::*)() const>(&V::length2);
    has<S (V::*)() const>(&V::length);
}

template <typename V, typename S, typename Index>
void floatingVector()
{
    anyVector<V, S, S>();
    has<S &(V::*)()>(&V::x);
    has<S (V::*)() const>(&V::x);
    has<S &(V::*)()>(&V::y);
    has<S (V::*)() const>(&V::y);
    has<S &(V::*)()>(&V::z);
    has<S (V::*)() const>(&V::z);
    has<S &(V::*)(Index)>(&V::operator[]);
    has<S (V::*)(Index) const>(&V::operator[]);
    has<S (V::*)(const V &) const>(&V::operator*);
    has<S (V::*)()>(&V::normalize);
    has<bool (V::*)() const>(&V::isNaN);
    has<bool (V::*)() const>(&V::valid);
}

template <typename V, typename S>
void spaceVector()
{
    static_assert(sizeof(V) == 3 * sizeof(S));
    floatingVector<V, S, int>();
    constructs<V, S, S, S>();
    has<void (V::*)(S, S, S)>(&V::set);
    has<void (V::*)(const V &)>(&V::set);
    has<V (V::*)(const V &) const>(&V::operator^);
}

template <typename V, typename Space, typename S>
void colour()
{
    static_assert(sizeof(V) == 4 * sizeof(S));
    floatingVector<V, S, unsigned int>();
    constructs<V, S, S, S, S>();
    constructs<V, const Space &, S>();
    has<void (V::*)(S, S, S, S)>(&V::set);
    has<S &(V::*)()>(&V::w);
    has<S (V::*)() const>(&V::w);
    has<S &(V::*)()>(&V::r);
    has<S (V::*)() const>(&V::r);
    has<S &(V::*)()>(&V::g);
    has<S (V::*)() const>(&V::g);
    has<S &(V::*)()>(&V::b);
    has<S (V::*)() const>(&V::b);
    has<S &(V::*)()>(&V::a);
    has<S (V::*)() const>(&V::a);
    has<S (V::*)(S, S, S) const>(&V::clampTo);
    has<unsigned int (V::*)() const>(&V::asABGR);
    has<unsigned int (V::*)() const>(&V::asRGBA);
}

void vectors()
{
    spaceVector<pcVec3f, float>();
    spaceVector<pcVec3d, double>();
    constructs<pcVec3d, const pcVec3f &>();
    has<pcVec3f (pcVec3d::*)() const>(&pcVec3d::operator pcVec3f);

    static_assert(sizeof(pcVec3i) == 3 * sizeof(int));
    anyVector<pcVec3i, int, float>();
    constructs<pcVec3i, int, int, int>();
    Fields<pcVec3i>().has<int>(&pcVec3i::x).has<int>(&pcVec3i::y).has<int>(&pcVec3i::z);
    has<pcVec3i (pcVec3i::*)(const pcVec3i &) const>(&pcVec3i::operator^);

    colour<pcVec4f, pcVec3f, float>();
    colour<pcVec4d, pcVec3d, double>();
    constructs<pcVec4d, const pcVec4f &>();
    has<pcVec4f (pcVec4d::*)() const>(&pcVec4d::operator pcVec4f);
}

template <typename Box, typename V, typename S>
void anyBox()
{
    static_assert(sizeof(Box) == 6 * sizeof(S) && !std::is_polymorphic_v<Box>);
    constructs<Box>();
    constructs<Box, const V &, const V &>();
    constructs<Box, S, S, S, S, S, S>();
    copiesAndMoves<Box>();
    has<V (Box::*)() const>(&Box::center);
    has<S (Box::*)() const>(&Box::radius);
    has<S (Box::*)() const>(&Box::radius2);
    has<V (Box::*)(unsigned int) const>(&Box::corner);
    has<bool (Box::*)() const>(&Box::valid);
    has<bool (Box::*)(const V &) const>(&Box::contains);
    has<void (Box::*)(const V &)>(&Box::expandBy);
    has<void (Box::*)(const Box &)>(&Box::expandBy);
    has<void (Box::*)(S, S, S)>(&Box::expandBy);
    has<Box (Box::*)(const Box &) const>(&Box::intersect);
    has<bool (Box::*)(const Box &) const>(&Box::intersects);
    has<bool (Box::*)(const Box &) const>(&Box::operator==);
    has<bool (Box::*)(const Box &) const>(&Box::operator!=);
}

template <typename Box, typename V, typename S>
void floatingBox()
{
    anyBox<Box, V, S>();
    has<void (Box::*)()>(&Box::init);
    has<void (Box::*)(const V &, const V &)>(&Box::set);
    has<void (Box::*)(S, S, S, S, S, S)>(&Box::set);
    has<S &(Box::*)()>(&Box::xMin);
    has<S (Box::*)() const>(&Box::xMin);
    has<S &(Box::*)()>(&Box::yMin);
    has<S (Box::*)() const>(&Box::yMin);
    has<S &(Box::*)()>(&Box::zMin);
    has<S (Box::*)() const>(&Box::zMin);
    has<S &(Box::*)()>(&Box::xMax);
    has<S (Box::*)() const>(&Box::xMax);
    has<S &(Box::*)()>(&Box::yMax);
    has<S (Box::*)() const>(&Box::yMax);
    has<S &(Box::*)()>(&Box::zMax);
    has<S (Box::*)() const>(&Box::zMax);
    has<bool (Box::*)(const V &, S) const>(&Box::contains);
}

template <typename Sphere, typename Box, typename V, typename S>
void sphere()
{
    static_assert(sizeof(Sphere) == 4 * sizeof(S) && !std::is_polymorphic_v<Sphere>);
    constructs<Sphere>();
    constructs<Sphere, const V &, S>();
    copiesAndMoves<Sphere>();
    has<void (Sphere::*)()>(&Sphere::init);
    has<void (Sphere::*)(const V &, float)>(&Sphere::set);
    has<V &(Sphere::*)()>(&Sphere::center);
    has<const V &(Sphere::*)() const>(&Sphere::center);
    has<S &(Sphere::*)()>(&Sphere::radius);
    has<S (Sphere::*)() const>(&Sphere::radius);
    has<S (Sphere::*)() const>(&Sphere::radius2);
    has<bool (Sphere::*)() const>(&Sphere::valid);
    has<bool (Sphere::*)(const V &) const>(&Sphere::contains);
    has<void (Sphere::*)(const V &)>(&Sphere::expandBy);
    has<void (Sphere::*)(const Box &)>(&Sphere::expandBy);
    has<void (Sphere::*)(const Sphere &)>(&Sphere::expandBy);
    has<void (Sphere::*)(const V &)>(&Sphere::expandRadiusBy);
    has<void (Sphere::*)(const Box &)>(&Sphere::expandRadiusBy);
    has<void (Sphere::*)(const Sphere &)>(&Sphere::expandRadiusBy);
    has<bool (Sphere::*)(const Sphere &) const>(&Sphere::intersects);
    has<bool (Sphere::*)(const Sphere &) const>(&Sphere::operator==);
    has<bool (Sphere::*)(const Sphere &) const>(&Sphere::operator!=);
}

void boundingVolumes()
{
    floatingBox<pcBoundingBoxf, pcVec3f, float>();
    floatingBox<pcBoundingBoxd, pcVec3d, double>();
    anyBox<pcBoundingBoxi, pcVec3i, int>();
    has<bool (pcBoundingBoxi::*)(const pcBoundingBoxi &) const>(&pcBoundingBoxi::operator<);
    sphere<pcBoundingSpheref, pcBoundingBoxf, pcVec3f, float>();
    sphere<pcBoundingSphered, pcBoundingBoxd, pcVec3d, double>();
    has<bool (pcBoundingSpheref::*)(const pcBoundingBoxf &) const>(&pcBoundingSpheref::intersects);
}

} // namespace names
