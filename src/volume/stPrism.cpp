#include "stPrism.h"

#include <QDataStream>

#include <cmath>
#include <cstddef>

namespace ptCloud
{

namespace
{

constexpr qint32 recordVersion = 1;

double zeroForNaN(double value)
{
    return std::isnan(value) ? 0.0 : value;
}

// The floats of a record in stored order. Reading and writing walk the same list, so that they can't part.

constexpr float stPrism::*prismFloats[] = {&stPrism::x1, &stPrism::y1, &stPrism::z1, &stPrism::x2, &stPrism::y2,
                                           &stPrism::z2, &stPrism::x3, &stPrism::y3, &stPrism::z3, &stPrism::groundZ};

constexpr float stQuadPrism::*quadPrismFloats[] = {&stQuadPrism::xMin, &stQuadPrism::xMax,    &stQuadPrism::yMin,
                                                   &stQuadPrism::yMax, &stQuadPrism::groundZ, &stQuadPrism::topZ};

template <typename Prism, std::size_t N>
bool loadRecord(Prism &prism, float Prism::*const (&floats)[N], QDataStream &stream)
{
    prism.clear();
    qint32 version = 0;
    stream >> version;
    if (version != recordVersion)
        return false;
    for (float Prism::*field : floats)
        stream >> prism.*field;
    stream >> prism.digVolume >> prism.fillVolume;
    return true;
}

template <typename Prism, std::size_t N>
void saveRecord(const Prism &prism, float Prism::*const (&floats)[N], QDataStream &stream)
{
    stream << recordVersion;
    for (float Prism::*field : floats)
        stream << prism.*field;
    stream << prism.digVolume << prism.fillVolume;
}

} // namespace

void stPrism::calcVolume()
{
    double dig = 0;
    double fill = 0;
    trianglePrismVolume(x1, y1, x2, y2, x3, y3, groundZ, z1, z2, z3, dig, fill);
    digVolume = zeroForNaN(dig);
    fillVolume = zeroForNaN(fill);
}

void stPrism::clear()
{
    *this = stPrism();
}

bool stPrism::load(QDataStream &stream)
{
    return loadRecord(*this, prismFloats, stream);
}

void stPrism::save(QDataStream &stream) const
{
    saveRecord(*this, prismFloats, stream);
}

void stQuadPrism::calcVolume()
{
    digVolume = 0;
    fillVolume = 0;
    const float area = (yMax - yMin) * (xMax - xMin);
    if (topZ > groundZ)
        digVolume = static_cast<double>(topZ - groundZ) * static_cast<double>(area);
    else
        fillVolume = static_cast<double>(groundZ - topZ) * static_cast<double>(area);
}

void stQuadPrism::clear()
{
    *this = stQuadPrism();
}

bool stQuadPrism::load(QDataStream &stream)
{
    return loadRecord(*this, quadPrismFloats, stream);
}

void stQuadPrism::save(QDataStream &stream) const
{
    saveRecord(*this, quadPrismFloats, stream);
}

} // namespace ptCloud
