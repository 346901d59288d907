#include "pcQuat.h"

#include "pcMatrix.h"

#include <cmath>

namespace ptCloud
{

namespace
{

/// Whether a squared length is so near to 1 that the vector is taken for a unit vector.
bool isUnit(double length2)
{
    return !(length2 < 0.9999999 || length2 > 1.0000001);
}

/// An axis at right angles to a unit vector, made from two of its components so that the root is well away from 0.
pcVec3d perpendicularTo(const pcVec3d &v)
{
    if (std::abs(v.x()) < 0.6) {
        const double n = std::sqrt(1.0 - v.x() * v.x());
        return {0.0, v.z() / n, -v.y() / n};
    }
    if (std::abs(v.y()) < 0.6) {
        const double n = std::sqrt(1.0 - v.y() * v.y());
        return {-v.z() / n, 0.0, v.x() / n};
    }
    const double n = std::sqrt(1.0 - v.z() * v.z());
    return {v.y() / n, -v.x() / n, 0.0};
}

/// A coordinate axis that is far from parallel to the vector.
pcVec3d axisAwayFrom(const pcVec3d &v)
{
    const double x = std::abs(v.x());
    const double y = std::abs(v.y());
    const double z = std::abs(v.z());
    if (y > x)
        return z > x ? pcVec3d(1.0, 0.0, 0.0) : pcVec3d(0.0, 0.0, 1.0);
    return z > y ? pcVec3d(0.0, 1.0, 0.0) : pcVec3d(0.0, 0.0, 1.0);
}

} // namespace

void pcQuatd::set(const pcMatrixd &matrix)
{
    *this = matrix.getRotate();
}

void pcQuatd::set(const pcMatrixf &matrix)
{
    *this = matrix.getRotate();
}

void pcQuatd::get(pcMatrixd &matrix) const
{
    matrix.makeRotate(*this);
}

void pcQuatd::get(pcMatrixf &matrix) const
{
    matrix.makeRotate(*this);
}

double pcQuatd::length() const
{
    return asVec4().length();
}

double pcQuatd::length2() const
{
    return asVec4().length2();
}

pcQuatd pcQuatd::operator*(const pcQuatd &q) const
{
    return {
        x() * q.w() + q.x() * w() + z() * q.y() - y() * q.z(), y() * q.w() - z() * q.x() + q.y() * w() + q.z() * x(),
        z() * q.w() + y() * q.x() - x() * q.y() + q.z() * w(), w() * q.w() - x() * q.x() - y() * q.y() - z() * q.z()};
}

pcVec3d pcQuatd::operator*(const pcVec3d &v) const
{
    const pcVec3d q = asVec3();
    const pcVec3d u = q ^ v;
    const pcVec3d t = q ^ u;
    return v + u * (2.0 * w()) + t * 2.0;
}

pcVec3f pcQuatd::operator*(const pcVec3f &v) const
{
    return *this * pcVec3d(v);
}

void pcQuatd::makeRotate(double angle, double x, double y, double z)
{
    const double length = pcVec3d(x, y, z).length();
    if (length < 1e-7) {
        *this = pcQuatd();
        return;
    }
    const double s = std::sin(angle * 0.5);
    const double reciprocal = 1.0 / length;
    set(x * s * reciprocal, y * s * reciprocal, z * s * reciprocal, std::cos(angle * 0.5));
}

void pcQuatd::makeRotate(double angle, const pcVec3d &axis)
{
    makeRotate(angle, axis.x(), axis.y(), axis.z());
}

void pcQuatd::makeRotate(double angle, const pcVec3f &axis)
{
    makeRotate(angle, axis.x(), axis.y(), axis.z());
}

void pcQuatd::makeRotate(double angle1, const pcVec3d &axis1, double angle2, const pcVec3d &axis2, double angle3,
                         const pcVec3d &axis3)
{
    *this = pcQuatd(angle1, axis1) * pcQuatd(angle2, axis2) * pcQuatd(angle3, axis3);
}

void pcQuatd::makeRotate(double angle1, const pcVec3f &axis1, double angle2, const pcVec3f &axis2, double angle3,
                         const pcVec3f &axis3)
{
    makeRotate(angle1, pcVec3d(axis1), angle2, pcVec3d(axis2), angle3, pcVec3d(axis3));
}

void pcQuatd::makeRotate(const pcVec3d &from, const pcVec3d &to)
{
    pcVec3d source = from;
    pcVec3d target = to;
    const double source2 = from.length2();
    const double target2 = to.length2();
    double length = 1.0;
    if (!isUnit(source2)) {
        length = std::sqrt(source2);
        source /= length;
    }
    if (!isUnit(target2)) {
        if (!(std::abs(target2 - source2) < 1e-7)) // vectors of one length share its root
            length = std::sqrt(target2);
        target /= length;
    }

    const double d = source * target + 1.0;
    if (d >= 1e-7) {
        const double s = std::sqrt(d * 0.5);
        *this = pcVec4d(source ^ (target / (s + s)), s);
    } else {
        *this = pcVec4d(perpendicularTo(source), 0.0);
    }
}

void pcQuatd::makeRotate(const pcVec3f &from, const pcVec3f &to)
{
    makeRotate(pcVec3d(from), pcVec3d(to));
}

void pcQuatd::makeRotate_original(const pcVec3d &from, const pcVec3d &to)
{
    const double c = (from * to) / (to.length() * from.length());
    if (std::abs(c - 1.0) < 1e-7) {
        makeRotate(0.0, 0.0, 0.0, 1.0);
    } else if (std::abs(c + 1.0) < 1e-7) {
        pcVec3d axis = from ^ axisAwayFrom(from);
        axis.normalize();
        *this = pcVec4d(axis, 0.0);
    } else {
        makeRotate(std::acos(c), from ^ to);
    }
}

void pcQuatd::getRotate(double &angle, double &x, double &y, double &z) const
{
    pcVec3d axis;
    getRotate(angle, axis);
    x = axis.x();
    y = axis.y();
    z = axis.z();
}

void pcQuatd::getRotate(double &angle, pcVec3d &axis) const
{
    const double s = asVec3().length();
    angle = 2.0 * std::atan2(s, w());
    axis = s == 0.0 ? pcVec3d(0.0, 0.0, 1.0) : asVec3() / s;
}

void pcQuatd::getRotate(double &angle, pcVec3f &axis) const
{
    pcVec3d precise;
    getRotate(angle, precise);
    axis = precise;
}

void pcQuatd::slerp(double t, const pcQuatd &from, const pcQuatd &to)
{
    double c = from.asVec4() * to.asVec4();
    pcQuatd target = to;
    if (c < 0.0) {
        c = -c;
        target = -target;
    }
    double a = 1.0 - t;
    double b = t;
    if (1.0 - c > 1e-5) {
        const double omega = std::acos(c);
        const double sinOmega = std::sin(omega);
        a = std::sin((1.0 - t) * omega) / sinOmega;
        b = std::sin(t * omega) / sinOmega;
    }
    *this = from * a + target * b;
}

} // namespace ptCloud
