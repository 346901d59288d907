// Every operation of quaternions and matrices with its constness and result: a table that the compiler checks.

#include "GeometryTesting.h"

#include "pcMatrix.h"
#include "pcQuat.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

/// Picks the overload of the given type, or doesn't compile.
template <typename Signature>
constexpr bool has(Signature)
{
    return true;
}

// ---- quaternions

using Q = pcQuatd;

static_assert(std::is_default_constructible_v<Q> && std::is_trivially_copyable_v<Q> && std::is_standard_layout_v<Q>);
static_assert(std::is_constructible_v<Q, double, double, double, double>);
static_assert(std::is_convertible_v<const pcVec4d &, Q> && std::is_convertible_v<const pcVec4f &, Q>);

template <typename V>
constexpr bool quaternionTakes()
{
    static_assert(std::is_constructible_v<Q, double, const V &>);
    static_assert(std::is_constructible_v<Q, double, const V &, double, const V &, double, const V &>);
    static_assert(has<void (Q::*)(double, const V &)>(&Q::makeRotate));
    static_assert(has<void (Q::*)(double, const V &, double, const V &, double, const V &)>(&Q::makeRotate));
    static_assert(has<void (Q::*)(const V &, const V &)>(&Q::makeRotate));
    static_assert(has<V (Q::*)(const V &) const>(&Q::operator*));
    static_assert(has<void (Q::*)(double &, V &) const>(&Q::getRotate));
    return true;
}
static_assert(quaternionTakes<pcVec3d>() && quaternionTakes<pcVec3f>());

static_assert(has<double &(Q::*)()>(&Q::x) && has<double (Q::*)() const>(&Q::x));
static_assert(has<double &(Q::*)()>(&Q::y) && has<double (Q::*)() const>(&Q::y));
static_assert(has<double &(Q::*)()>(&Q::z) && has<double (Q::*)() const>(&Q::z));
static_assert(has<double &(Q::*)()>(&Q::w) && has<double (Q::*)() const>(&Q::w));
static_assert(has<double &(Q::*)(int)>(&Q::operator[]) && has<double (Q::*)(int) const>(&Q::operator[]));
static_assert(has<pcVec3d (Q::*)() const>(&Q::asVec3) && has<pcVec4d (Q::*)() const>(&Q::asVec4));
static_assert(has<void (Q::*)(double, double, double, double)>(&Q::set));
static_assert(has<void (Q::*)(const pcVec4d &)>(&Q::set) && has<void (Q::*)(const pcVec4f &)>(&Q::set));
static_assert(has<void (Q::*)(const pcMatrixd &)>(&Q::set) && has<void (Q::*)(const pcMatrixf &)>(&Q::set));
static_assert(has<void (Q::*)(pcMatrixd &) const>(&Q::get) && has<void (Q::*)(pcMatrixf &) const>(&Q::get));
static_assert(has<double (Q::*)() const>(&Q::length) && has<double (Q::*)() const>(&Q::length2));
static_assert(has<Q (Q::*)() const>(&Q::conj) && has<Q (Q::*)() const>(&Q::inverse));
static_assert(has<bool (Q::*)() const>(&Q::zeroRotation));
static_assert(has<bool (Q::*)(const Q &) const>(&Q::operator==) && has<bool (Q::*)(const Q &) const>(&Q::operator!=));
static_assert(has<bool (Q::*)(const Q &) const>(&Q::operator<));
static_assert(has<Q (Q::*)(const Q &) const>(&Q::operator+) && has<Q &(Q::*)(const Q &)>(&Q::operator+=));
static_assert(has<Q (Q::*)(const Q &) const>(&Q::operator-) && has<Q &(Q::*)(const Q &)>(&Q::operator-=));
static_assert(has<Q (Q::*)() const>(&Q::operator-));
static_assert(has<Q (Q::*)(double) const>(&Q::operator*) && has<Q &(Q::*)(double)>(&Q::operator*=));
static_assert(has<Q (Q::*)(double) const>(&Q::operator/) && has<Q &(Q::*)(double)>(&Q::operator/=));
static_assert(has<Q (Q::*)(const Q &) const>(&Q::operator*) && has<Q &(Q::*)(const Q &)>(&Q::operator*=));
static_assert(has<Q (Q::*)(const Q &) const>(&Q::operator/) && has<Q &(Q::*)(const Q &)>(&Q::operator/=));
static_assert(has<void (Q::*)(double, double, double, double)>(&Q::makeRotate));
static_assert(has<void (Q::*)(const pcVec3d &, const pcVec3d &)>(&Q::makeRotate_original));
static_assert(has<void (Q::*)(double &, double &, double &, double &) const>(&Q::getRotate));
static_assert(has<void (Q::*)(double, const Q &, const Q &)>(&Q::slerp));

// ---- matrices

/// What takes vectors of three components in both precisions.
template <typename M, typename V, typename S = std::decay_t<decltype(std::declval<const M &>()(0, 0))>>
constexpr bool matrixTakesVector()
{
    static_assert(has<void (M::*)(const V &)>(&M::setTrans));
    static_assert(has<void (M::*)(const V &)>(&M::makeScale) && has<M (*)(const V &)>(&M::scale));
    static_assert(has<void (M::*)(const V &)>(&M::makeTranslate) && has<M (*)(const V &)>(&M::translate));
    static_assert(has<void (M::*)(const V &, const V &)>(&M::makeRotate));
    static_assert(has<M (*)(const V &, const V &)>(&M::rotate));
    static_assert(has<void (M::*)(S, const V &)>(&M::makeRotate) && has<M (*)(S, const V &)>(&M::rotate));
    static_assert(has<void (M::*)(S, const V &, S, const V &, S, const V &)>(&M::makeRotate));
    static_assert(has<M (*)(S, const V &, S, const V &, S, const V &)>(&M::rotate));
    static_assert(has<V (*)(const M &, const V &)>(&M::transform3x3));
    static_assert(has<V (*)(const V &, const M &)>(&M::transform3x3));
    static_assert(has<void (M::*)(const V &)>(&M::preMultTranslate));
    static_assert(has<void (M::*)(const V &)>(&M::postMultTranslate));
    static_assert(has<void (M::*)(const V &)>(&M::preMultScale) && has<void (M::*)(const V &)>(&M::postMultScale));
    static_assert(has<void (M::*)(V &, V &, V &, S) const>(&M::getLookAt));
    return true;
}

/// What multiplies vectors of three and of four components.
template <typename M, typename V>
constexpr bool matrixMultiplies()
{
    static_assert(has<V (M::*)(const V &) const>(&M::preMult) && has<V (M::*)(const V &) const>(&M::postMult));
    static_assert(has<V (M::*)(const V &) const>(&M::operator*));
    return true;
}

/// What reads limits in both precisions.
template <typename M, typename T>
constexpr bool matrixReads()
{
    static_assert(has<bool (M::*)(T &, T &, T &, T &, T &, T &) const>(&M::getOrtho));
    static_assert(has<bool (M::*)(T &, T &, T &, T &, T &, T &) const>(&M::getFrustum));
    static_assert(has<bool (M::*)(T &, T &, T &, T &) const>(&M::getPerspective));
    return true;
}

template <typename M, typename S>
constexpr bool hasConstructionAndAccess()
{
    static_assert(std::is_default_constructible_v<M> && std::is_trivially_copyable_v<M>);
    static_assert(sizeof(M) == 16 * sizeof(S));
    static_assert(std::is_convertible_v<const pcQuatd &, M>);
    static_assert(std::is_constructible_v<M, const float *> && !std::is_convertible_v<const float *, M>);
    static_assert(std::is_constructible_v<M, const double *> && !std::is_convertible_v<const double *, M>);
    static_assert(std::is_constructible_v<M, S, S, S, S, S, S, S, S, S, S, S, S, S, S, S, S>);
    static_assert(std::is_same_v<decltype(std::declval<M &>() = std::declval<const M &>()), M &>);
    static_assert(has<void (M::*)(const pcMatrixd &)>(&M::set) && has<void (M::*)(const pcMatrixf &)>(&M::set));
    static_assert(has<void (M::*)(const pcQuatd &)>(&M::set));
    static_assert(has<void (M::*)(const double *)>(&M::set) && has<void (M::*)(const float *)>(&M::set));
    static_assert(has<void (M::*)(S, S, S, S, S, S, S, S, S, S, S, S, S, S, S, S)>(&M::set));
    static_assert(has<S &(M::*)(int, int)>(&M::operator()) && has<S (M::*)(int, int) const>(&M::operator()));
    static_assert(has<bool (M::*)() const>(&M::valid) && has<bool (M::*)() const>(&M::isNaN));
    static_assert(has<bool (M::*)() const>(&M::isIdentity) && has<int (M::*)(const M &) const>(&M::compare));
    static_assert(has<bool (M::*)(const M &) const>(&M::operator==));
    static_assert(has<bool (M::*)(const M &) const>(&M::operator!=));
    static_assert(has<bool (M::*)(const M &) const>(&M::operator<));
    static_assert(has<pcVec3d (M::*)() const>(&M::getTrans) && has<pcVec3d (M::*)() const>(&M::getScale));
    static_assert(has<void (M::*)(S, S, S)>(&M::setTrans));
    static_assert(has<void (M::*)(pcQuatd &) const>(&M::get));
    return true;
}
static_assert(hasConstructionAndAccess<pcMatrixf, float>() && hasConstructionAndAccess<pcMatrixd, double>());

template <typename M, typename S>
constexpr bool hasMakers()
{
    using Limits4 = void (M::*)(double, double, double, double);
    using Limits6 = void (M::*)(double, double, double, double, double, double);
    static_assert(has<void (M::*)()>(&M::makeIdentity) && has<M (*)()>(&M::identity));
    static_assert(has<void (M::*)(S, S, S)>(&M::makeScale) && has<M (*)(S, S, S)>(&M::scale));
    static_assert(has<void (M::*)(S, S, S)>(&M::makeTranslate) && has<M (*)(S, S, S)>(&M::translate));
    static_assert(has<void (M::*)(const pcQuatd &)>(&M::makeRotate) && has<M (*)(const pcQuatd &)>(&M::rotate));
    static_assert(has<void (M::*)(S, S, S, S)>(&M::makeRotate) && has<M (*)(S, S, S, S)>(&M::rotate));
    static_assert(has<Limits6>(&M::makeOrtho) && has<Limits4>(&M::makeOrtho2D));
    static_assert(has<Limits6>(&M::makeFrustum) && has<Limits4>(&M::makePerspective));
    static_assert(has<M (*)(double, double, double, double, double, double)>(&M::ortho));
    static_assert(has<M (*)(double, double, double, double)>(&M::ortho2D));
    static_assert(has<M (*)(double, double, double, double, double, double)>(&M::frustum));
    static_assert(has<M (*)(double, double, double, double)>(&M::perspective));
    static_assert(has<void (M::*)(const pcVec3d &, const pcVec3d &, const pcVec3d &)>(&M::makeLookAt));
    static_assert(has<M (*)(const pcVec3d &, const pcVec3d &, const pcVec3d &)>(&M::lookAt));
    static_assert(has<void (M::*)(const pcQuatd &)>(&M::setRotate) && has<pcQuatd (M::*)() const>(&M::getRotate));
    return true;
}
static_assert(hasMakers<pcMatrixf, float>() && hasMakers<pcMatrixd, double>());

template <typename M>
constexpr bool hasProductsAndInverses()
{
    using Taking = void (M::*)(const M &);
    using Trying = bool (M::*)(const M &);
    static_assert(has<void (M::*)(const M &, const M &)>(&M::mult));
    static_assert(has<Taking>(&M::preMult) && has<Taking>(&M::postMult) && has<Taking>(&M::orthoNormalize));
    static_assert(has<M (M::*)(const M &) const>(&M::operator*) && has<M &(M::*)(const M &)>(&M::operator*=));
    static_assert(has<void (M::*)(const pcQuatd &)>(&M::preMultRotate));
    static_assert(has<void (M::*)(const pcQuatd &)>(&M::postMultRotate));
    static_assert(has<Trying>(&M::invert) && has<Trying>(&M::invert_4x3) && has<Trying>(&M::invert_4x4));
    static_assert(has<Trying>(&M::transpose) && has<Trying>(&M::transpose3x3));
    static_assert(has<M (*)(const M &)>(&M::inverse) && has<M (*)(const M &)>(&M::orthoNormal));
    static_assert(matrixTakesVector<M, pcVec3d>() && matrixTakesVector<M, pcVec3f>());
    static_assert(matrixMultiplies<M, pcVec3d>() && matrixMultiplies<M, pcVec3f>());
    static_assert(matrixMultiplies<M, pcVec4d>() && matrixMultiplies<M, pcVec4f>());
    static_assert(matrixReads<M, double>() && matrixReads<M, float>());
    return true;
}
static_assert(hasProductsAndInverses<pcMatrixf>() && hasProductsAndInverses<pcMatrixd>());

// Element by element only the float matrix calculates.
template <typename M>
using TimesScalar = decltype(std::declval<const M &>() * 2.0F);
template <typename M>
using ByScalar = decltype(std::declval<const M &>() / 2.0F);
template <typename M>
using Sum = decltype(std::declval<const M &>() + std::declval<const M &>());
template <typename M>
using TimesScalarInPlace = decltype(std::declval<M &>() *= 2.0F);
template <typename M>
using ByScalarInPlace = decltype(std::declval<M &>() /= 2.0F);
template <typename M>
using SumInPlace = decltype(std::declval<M &>() += std::declval<const M &>());

static_assert(hasAll<pcMatrixf, TimesScalar, ByScalar, Sum, TimesScalarInPlace, ByScalarInPlace, SumInPlace>);
static_assert(hasNone<pcMatrixd, TimesScalar, ByScalar, Sum, TimesScalarInPlace, ByScalarInPlace, SumInPlace>);
static_assert(std::is_same_v<TimesScalar<pcMatrixf>, pcMatrixf>);
static_assert(std::is_same_v<ByScalar<pcMatrixf>, pcMatrixf>);
static_assert(std::is_same_v<Sum<pcMatrixf>, pcMatrixf> && std::is_same_v<SumInPlace<pcMatrixf>, pcMatrixf &>);
static_assert(std::is_same_v<TimesScalarInPlace<pcMatrixf>, pcMatrixf &>);
static_assert(std::is_same_v<ByScalarInPlace<pcMatrixf>, pcMatrixf &>);

} // namespace
