// Quaternions and matrices.

#include "interface.h"

#include <points_cloud.h>

#include <functional>

using namespace ptCloud;

namespace names
{

using D = double;
using Q = pcQuatd;

/// The ways to give a rotation about one axis and about three in a row, in a vector class.
template <typename V>
void quaternionWith()
{
    constructs<Q, D, const V &>();
    constructs<Q, D, const V &, D, const V &, D, const V &>();
    has<V (Q::*)(const V &) const>(&Q::operator*);
    has<void (Q::*)(D, const V &)>(&Q::makeRotate);
    has<void (Q::*)(D, const V &, D, const V &, D, const V &)>(&Q::makeRotate);
    has<void (Q::*)(const V &, const V &)>(&Q::makeRotate);
    has<void (Q::*)(D &, V &) const>(&Q::getRotate);
}

static void quaternionAccess()
{
    constructs<Q>();
    constructs<Q, D, D, D, D>();
    constructs<Q, const pcVec4d &>();
    constructs<Q, const pcVec4f &>();
    copiesAndMoves<Q>();
    has<D &(Q::*)()>(&Q::x);
    has<D (Q::*)() const>(&Q::x);
    has<D &(Q::*)()>(&Q::y);
    has<D (Q::*)() const>(&Q::y);
    has<D &(Q::*)()>(&Q::z);
    has<D (Q::*)() const>(&Q::z);
    has<D &(Q::*)()>(&Q::w);
    has<D (Q::*)() const>(&Q::w);
    has<D &(Q::*)(int)>(&Q::operator[]);
    has<D (Q::*)(int) const>(&Q::operator[]);
    has<pcVec3d (Q::*)() const>(&Q::asVec3);
    has<pcVec4d (Q::*)() const>(&Q::asVec4);
    has<void (Q::*)(D, D, D, D)>(&Q::set);
    has<void (Q::*)(const pcVec4d &)>(&Q::set);
    has<void (Q::*)(const pcVec4f &)>(&Q::set);
    has<void (Q::*)(const pcMatrixd &)>(&Q::set);
    has<void (Q::*)(const pcMatrixf &)>(&Q::set);
    has<void (Q::*)(pcMatrixd &) const>(&Q::get);
    has<void (Q::*)(pcMatrixf &) const>(&Q::get);
}

static void quaternionArithmetic()
{
    has<D (Q::*)() const>(&Q::length);
    has<D (Q::*)() const>(&Q::length2);
    has<Q (Q::*)() const>(&Q::conj);
    has<Q (Q::*)() const>(&Q::inverse);
    has<bool (Q::*)() const>(&Q::zeroRotation);
    has<bool (Q::*)(const Q &) const>(&Q::operator==);
    has<bool (Q::*)(const Q &) const>(&Q::operator!=);
    has<bool (Q::*)(const Q &) const>(&Q::operator<);
    has<Q (Q::*)(const Q &) const>(&Q::operator+);
    has<Q (Q::*)(const Q &) const>(&Q::operator-);
    has<Q &(Q::*)(const Q &)>(&Q::operator+=);
    has<Q &(Q::*)(const Q &)>(&Q::operator-=);
    has<Q (Q::*)() const>(&Q::operator-);
    has<Q (Q::*)(D) const>(&Q::operator*);
    has<Q &(Q::*)(D)>(&Q::operator*=);
    has<Q (Q::*)(D) const>(&Q::operator/);
    has<Q &(Q::*)(D)>(&Q::operator/=);
    has<Q (Q::*)(const Q &) const>(&Q::operator*);
    has<Q &(Q::*)(const Q &)>(&Q::operator*=);
    has<Q (Q::*)(const Q &) const>(&Q::operator/);
    has<Q &(Q::*)(const Q &)>(&Q::operator/=);
}

void quaternions()
{
    static_assert(sizeof(Q) == 4 * sizeof(D) && !std::is_polymorphic_v<Q>);
    quaternionAccess();
    quaternionArithmetic();
    quaternionWith<pcVec3d>();
    quaternionWith<pcVec3f>();
    has<void (Q::*)(D, D, D, D)>(&Q::makeRotate);
    has<void (Q::*)(const pcVec3d &, const pcVec3d &)>(&Q::makeRotate_original);
    has<void (Q::*)(D &, D &, D &, D &) const>(&Q::getRotate);
    has<void (Q::*)(D, const Q &, const Q &)>(&Q::slerp);
}

template <typename M, typename S>
void access()
{
    constructs<M>();
    constructs<M, const Q &>();
    constructs<M, const float *>();
    constructs<M, const double *>();
    static_assert(!std::is_convertible_v<const float *, M> && !std::is_convertible_v<const double *, M>);
    constructs<M, S, S, S, S, S, S, S, S, S, S, S, S, S, S, S, S>();
    copiesAndMoves<M>();
    has<void (M::*)(const pcMatrixd &)>(&M::set);
    has<void (M::*)(const pcMatrixf &)>(&M::set);
    has<void (M::*)(const Q &)>(&M::set);
    has<void (M::*)(const double *)>(&M::set);
    has<void (M::*)(const float *)>(&M::set);
    has<void (M::*)(S, S, S, S, S, S, S, S, S, S, S, S, S, S, S, S)>(&M::set);
    has<M &(M::*)(const M &)>(&M::operator=);
    has<S &(M::*)(int, int)>(&M::operator());
    has<S (M::*)(int, int) const>(&M::operator());
    has<bool (M::*)() const>(&M::valid);
    has<bool (M::*)() const>(&M::isNaN);
    has<bool (M::*)() const>(&M::isIdentity);
    has<int (M::*)(const M &) const>(&M::compare);
    has<bool (M::*)(const M &) const>(&M::operator==);
    has<bool (M::*)(const M &) const>(&M::operator!=);
    has<bool (M::*)(const M &) const>(&M::operator<);
    has<pcVec3d (M::*)() const>(&M::getTrans);
    has<void (M::*)(S, S, S)>(&M::setTrans);
    has<pcVec3d (M::*)() const>(&M::getScale);
    has<void (M::*)(Q &) const>(&M::get);
}

/// What takes vectors of either precision.
template <typename M, typename S, typename V>
void withVectors()
{
    has<void (M::*)(const V &)>(&M::setTrans);
    has<M (*)(const V &)>(&M::scale);
    has<M (*)(const V &)>(&M::translate);
    has<M (*)(const V &, const V &)>(&M::rotate);
    has<M (*)(S, const V &)>(&M::rotate);
    has<M (*)(S, const V &, S, const V &, S, const V &)>(&M::rotate);
    has<V (*)(const M &, const V &)>(&M::transform3x3);
    has<V (*)(const V &, const M &)>(&M::transform3x3);
    has<void (M::*)(const V &)>(&M::makeScale);
    has<void (M::*)(const V &)>(&M::makeTranslate);
    has<void (M::*)(const V &, const V &)>(&M::makeRotate);
    has<void (M::*)(S, const V &)>(&M::makeRotate);
    has<void (M::*)(S, const V &, S, const V &, S, const V &)>(&M::makeRotate);
    has<void (M::*)(const V &)>(&M::preMultTranslate);
    has<void (M::*)(const V &)>(&M::postMultTranslate);
    has<void (M::*)(const V &)>(&M::preMultScale);
    has<void (M::*)(const V &)>(&M::postMultScale);
    has<void (M::*)(V &, V &, V &, S) const>(&M::getLookAt);
}

/// What makes a new matrix or this one out of scalars and quaternions.
template <typename M, typename S>
void making()
{
    using V = pcVec3d;

    has<M (*)()>(&M::identity);
    has<M (*)(S, S, S)>(&M::scale);
    has<M (*)(S, S, S)>(&M::translate);
    has<M (*)(const Q &)>(&M::rotate);
    has<M (*)(S, S, S, S)>(&M::rotate);
    has<M (*)(const M &)>(&M::inverse);
    has<M (*)(const M &)>(&M::orthoNormal);
    has<M (*)(D, D, D, D, D, D)>(&M::ortho);
    has<M (*)(D, D, D, D)>(&M::ortho2D);
    has<M (*)(D, D, D, D, D, D)>(&M::frustum);
    has<M (*)(D, D, D, D)>(&M::perspective);
    has<M (*)(const V &, const V &, const V &)>(&M::lookAt);
    has<void (M::*)()>(&M::makeIdentity);
    has<void (M::*)(S, S, S)>(&M::makeScale);
    has<void (M::*)(S, S, S)>(&M::makeTranslate);
    has<void (M::*)(const Q &)>(&M::makeRotate);
    has<void (M::*)(S, S, S, S)>(&M::makeRotate);
    has<void (M::*)(D, D, D, D, D, D)>(&M::makeOrtho);
    has<void (M::*)(D, D, D, D)>(&M::makeOrtho2D);
    has<void (M::*)(D, D, D, D, D, D)>(&M::makeFrustum);
    has<void (M::*)(D, D, D, D)>(&M::makePerspective);
    has<void (M::*)(const V &, const V &, const V &)>(&M::makeLookAt);
}

template <typename M, typename V>
void productsWith()
{
    has<V (M::*)(const V &) const>(&M::preMult);
    has<V (M::*)(const V &) const>(&M::postMult);
    has<V (M::*)(const V &) const>(&M::operator*);
}

template <typename M>
void products()
{
    has<void (M::*)(const M &, const M &)>(&M::mult);
    has<void (M::*)(const M &)>(&M::preMult);
    has<void (M::*)(const M &)>(&M::postMult);
    has<M (M::*)(const M &) const>(&M::operator*);
    has<M &(M::*)(const M &)>(&M::operator*=);
    productsWith<M, pcVec3d>();
    productsWith<M, pcVec3f>();
    productsWith<M, pcVec4d>();
    productsWith<M, pcVec4f>();
    has<void (M::*)(const Q &)>(&M::preMultRotate);
    has<void (M::*)(const Q &)>(&M::postMultRotate);
}

template <typename M, typename Out>
void decompositions()
{
    has<bool (M::*)(Out, Out, Out, Out, Out, Out) const>(&M::getFrustum);
    has<bool (M::*)(Out, Out, Out, Out, Out, Out) const>(&M::getOrtho);
    has<bool (M::*)(Out, Out, Out, Out) const>(&M::getPerspective);
}

template <typename M, typename S>
void matrix()
{
    static_assert(sizeof(M) == 16 * sizeof(S) && !std::is_polymorphic_v<M>);
    access<M, S>();
    making<M, S>();
    withVectors<M, S, pcVec3d>();
    withVectors<M, S, pcVec3f>();
    products<M>();
    decompositions<M, double &>();
    decompositions<M, float &>();
    has<bool (M::*)(const M &)>(&M::invert);
    has<bool (M::*)(const M &)>(&M::invert_4x3);
    has<bool (M::*)(const M &)>(&M::invert_4x4);
    has<void (M::*)(const Q &)>(&M::setRotate);
    has<Q (M::*)() const>(&M::getRotate);
    has<void (M::*)(const M &)>(&M::orthoNormalize);
    has<bool (M::*)(const M &)>(&M::transpose);
    has<bool (M::*)(const M &)>(&M::transpose3x3);
}

/// Whether the class can be scaled and added up element by element.
template <typename M, typename S>
constexpr bool countsElements =
    std::is_invocable_v<std::plus<>, M,
                        M> || std::is_invocable_v<std::multiplies<>, M, S> || std::is_invocable_v<std::divides<>, M, S>;

void matrices()
{
    using F = pcMatrixf;

    matrix<pcMatrixd, double>();
    matrix<pcMatrixf, float>();
    has<F (F::*)(float) const>(&F::operator*);
    has<F (F::*)(float) const>(&F::operator/);
    has<F (F::*)(const F &) const>(&F::operator+);
    has<F &(F::*)(float)>(&F::operator*=);
    has<F &(F::*)(float)>(&F::operator/=);
    has<F &(F::*)(const F &)>(&F::operator+=);
    static_assert(countsElements<pcMatrixf, float> && !countsElements<pcMatrixd, double>);
}

} // namespace names
