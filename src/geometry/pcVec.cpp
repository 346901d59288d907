#include "pcVec.h"

#include "IntegerArithmetic.h"

namespace ptCloud
{

bool pcVec3i::operator<(const pcVec3i &v) const
{
    if (x != v.x)
        return x < v.x;
    if (y != v.y)
        return y < v.y;
    return z < v.z;
}

pcVec3i pcVec3i::operator+(const pcVec3i &v) const
{
    return {wrapAdd(x, v.x), wrapAdd(y, v.y), wrapAdd(z, v.z)};
}

pcVec3i pcVec3i::operator-(const pcVec3i &v) const
{
    return {wrapSub(x, v.x), wrapSub(y, v.y), wrapSub(z, v.z)};
}

pcVec3i pcVec3i::operator-() const
{
    return pcVec3i() - *this;
}

pcVec3i pcVec3i::operator*(float s) const
{
    return {truncToInt(static_cast<float>(x) * s), truncToInt(static_cast<float>(y) * s),
            truncToInt(static_cast<float>(z) * s)};
}

pcVec3i pcVec3i::operator/(float s) const
{
    return {truncToInt(static_cast<float>(x) / s), truncToInt(static_cast<float>(y) / s),
            truncToInt(static_cast<float>(z) / s)};
}

pcVec3i pcVec3i::operator^(const pcVec3i &v) const
{
    return {wrapSub(wrapMul(y, v.z), wrapMul(z, v.y)), wrapSub(wrapMul(z, v.x), wrapMul(x, v.z)),
            wrapSub(wrapMul(x, v.y), wrapMul(y, v.x))};
}

int pcVec3i::length2() const
{
    return wrapAdd(wrapAdd(wrapMul(x, x), wrapMul(y, y)), wrapMul(z, z));
}

int pcVec3i::length() const
{
    return truncToInt(std::sqrt(static_cast<double>(length2())));
}

} // namespace ptCloud
