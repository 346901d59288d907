#pragma once

// Projections and views, made and read. Included by pcMatrix.cpp alone.

#include "pcMatrix.h"

#include "pcMatrix_Makers.h"

#include <cmath>
#include <limits>

namespace ptCloud
{

namespace detail
{

constexpr double pi = 3.141592653589793;

} // namespace detail

template <typename S>
pcMatrix<S> pcMatrix<S>::ortho(double left, double right, double bottom, double top, double zNear, double zFar)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeOrtho(left, right, bottom, top, zNear, zFar); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::ortho2D(double left, double right, double bottom, double top)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeOrtho2D(left, right, bottom, top); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::frustum(double left, double right, double bottom, double top, double zNear, double zFar)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeFrustum(left, right, bottom, top, zNear, zFar); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::perspective(double fovy, double aspectRatio, double zNear, double zFar)
{
    return detail::made<S>([&](pcMatrix &m) { m.makePerspective(fovy, aspectRatio, zNear, zFar); });
}

template <typename S>
pcMatrix<S> pcMatrix<S>::lookAt(const pcVec3d &eye, const pcVec3d &center, const pcVec3d &up)
{
    return detail::made<S>([&](pcMatrix &m) { m.makeLookAt(eye, center, up); });
}

template <typename S>
void pcMatrix<S>::makeOrtho(double left, double right, double bottom, double top, double zNear, double zFar)
{
    const double rows[16] = {2.0 / (right - left),
                             0.0,
                             0.0,
                             0.0,
                             0.0,
                             2.0 / (top - bottom),
                             0.0,
                             0.0,
                             0.0,
                             0.0,
                             -2.0 / (zFar - zNear),
                             0.0,
                             -(left + right) / (right - left),
                             -(top + bottom) / (top - bottom),
                             -(zNear + zFar) / (zFar - zNear),
                             1.0};
    set(rows);
}

template <typename S>
void pcMatrix<S>::makeOrtho2D(double left, double right, double bottom, double top)
{
    makeOrtho(left, right, bottom, top, -1.0, 1.0);
}

template <typename S>
void pcMatrix<S>::makeFrustum(double left, double right, double bottom, double top, double zNear, double zFar)
{
    const double a = (left + right) / (right - left);
    const double b = (top + bottom) / (top - bottom);
    const bool endless = std::abs(zFar) > std::numeric_limits<double>::max();
    const double c = endless ? -1.0 : -(zNear + zFar) / (zFar - zNear);
    const double d = endless ? -2.0 * zNear : -2.0 * zFar * zNear / (zFar - zNear);
    const double x = 2.0 * zNear / (right - left);
    const double y = 2.0 * zNear / (top - bottom);
    const double rows[16] = {x,   0.0, 0.0, 0.0,  //
                             0.0, y,   0.0, 0.0,  //
                             a,   b,   c,   -1.0, //
                             0.0, 0.0, d,   0.0};
    set(rows);
}

template <typename S>
void pcMatrix<S>::makePerspective(double fovy, double aspectRatio, double zNear, double zFar)
{
    const double t = std::tan(fovy * 0.5 * detail::pi / 180.0);
    const double right = t * aspectRatio * zNear;
    const double top = t * zNear;
    makeFrustum(-right, right, -top, top, zNear, zFar);
}

template <typename S>
void pcMatrix<S>::makeLookAt(const pcVec3d &eye, const pcVec3d &center, const pcVec3d &up)
{
    pcVec3d front = center - eye;
    front.normalize();
    pcVec3d side = front ^ up;
    side.normalize();
    pcVec3d above = side ^ front;
    above.normalize();
    const double rows[16] = {side.x(), above.x(), -front.x(), 0.0, //
                             side.y(), above.y(), -front.y(), 0.0, //
                             side.z(), above.z(), -front.z(), 0.0, //
                             0.0,      0.0,       0.0,        1.0};
    set(rows);
    preMultTranslate(-eye);
}

template <typename S>
template <typename T>
bool pcMatrix<S>::readOrtho(T &left, T &right, T &bottom, T &top, T &zNear, T &zFar) const
{
    const S *m = m_m;
    if (m[3] != S(0) || m[7] != S(0) || m[11] != S(0) || m[15] != S(1))
        return false;
    zNear = static_cast<T>((m[14] + S(1)) / m[10]);
    zFar = static_cast<T>((m[14] - S(1)) / m[10]);
    left = static_cast<T>(-(m[12] + S(1)) / m[0]);
    right = static_cast<T>((S(1) - m[12]) / m[0]);
    bottom = static_cast<T>(-(m[13] + S(1)) / m[5]);
    top = static_cast<T>((S(1) - m[13]) / m[5]);
    return true;
}

template <typename S>
template <typename T>
bool pcMatrix<S>::readFrustum(T &left, T &right, T &bottom, T &top, T &zNear, T &zFar) const
{
    const S *m = m_m;
    if (m[3] != S(0) || m[7] != S(0) || m[11] != S(-1) || m[15] != S(0))
        return false;
    const S nearest = m[14] / (m[10] - S(1));
    zNear = static_cast<T>(nearest);
    zFar = static_cast<T>(m[14] / (m[10] + S(1)));
    left = static_cast<T>((m[8] - S(1)) * nearest / m[0]);
    right = static_cast<T>((m[8] + S(1)) * nearest / m[0]);
    top = static_cast<T>((m[9] + S(1)) * nearest / m[5]);
    bottom = static_cast<T>((m[9] - S(1)) * nearest / m[5]);
    return true;
}

template <typename S>
template <typename T>
bool pcMatrix<S>::readPerspective(T &fovy, T &aspectRatio, T &zNear, T &zFar) const
{
    double left = 0.0;
    double right = 0.0;
    double bottom = 0.0;
    double top = 0.0;
    double nearest = 0.0;
    double farthest = 0.0;
    const bool found = readFrustum(left, right, bottom, top, nearest, farthest);
    zNear = static_cast<T>(nearest);
    zFar = static_cast<T>(farthest);
    if (found) {
        fovy = static_cast<T>((std::atan(top / nearest) - std::atan(bottom / nearest)) * 180.0 / detail::pi);
        aspectRatio = static_cast<T>((right - left) / (top - bottom));
    }
    return found;
}

template <typename S>
template <typename T>
void pcMatrix<S>::readLookAt(pcVec3<T> &eye, pcVec3<T> &center, pcVec3<T> &up, S lookDistance) const
{
    eye = inverse(*this).preMult(pcVec3<T>());
    up.set(static_cast<T>(m_m[1]), static_cast<T>(m_m[5]), static_cast<T>(m_m[9]));
    pcVec3<T> look(static_cast<T>(-m_m[2]), static_cast<T>(-m_m[6]), static_cast<T>(-m_m[10]));
    look.normalize();
    center = eye + look * static_cast<T>(lookDistance);
}

template <typename S>
bool pcMatrix<S>::getOrtho(double &left, double &right, double &bottom, double &top, double &zNear, double &zFar) const
{
    return readOrtho(left, right, bottom, top, zNear, zFar);
}

template <typename S>
bool pcMatrix<S>::getOrtho(float &left, float &right, float &bottom, float &top, float &zNear, float &zFar) const
{
    return readOrtho(left, right, bottom, top, zNear, zFar);
}

template <typename S>
bool pcMatrix<S>::getFrustum(double &left, double &right, double &bottom, double &top, double &zNear,
                             double &zFar) const
{
    return readFrustum(left, right, bottom, top, zNear, zFar);
}

template <typename S>
bool pcMatrix<S>::getFrustum(float &left, float &right, float &bottom, float &top, float &zNear, float &zFar) const
{
    return readFrustum(left, right, bottom, top, zNear, zFar);
}

template <typename S>
bool pcMatrix<S>::getPerspective(double &fovy, double &aspectRatio, double &zNear, double &zFar) const
{
    return readPerspective(fovy, aspectRatio, zNear, zFar);
}

template <typename S>
bool pcMatrix<S>::getPerspective(float &fovy, float &aspectRatio, float &zNear, float &zFar) const
{
    return readPerspective(fovy, aspectRatio, zNear, zFar);
}

template <typename S>
void pcMatrix<S>::getLookAt(pcVec3d &eye, pcVec3d &center, pcVec3d &up, S lookDistance) const
{
    readLookAt(eye, center, up, lookDistance);
}

template <typename S>
void pcMatrix<S>::getLookAt(pcVec3f &eye, pcVec3f &center, pcVec3f &up, S lookDistance) const
{
    readLookAt(eye, center, up, lookDistance);
}

} // namespace ptCloud
