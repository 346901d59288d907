#include "VolumeCalcArea.h"

#include <QDataStream>

namespace ptCloud
{

namespace
{

constexpr qint32 areaVersion = 1;

/// Corners that a file may announce beyond its end: they read as zeros. More is no drawing but a broken file.
constexpr qint32 mostMissingCorners = 1000000;

template <typename Prism>
double sum(bool calculated, const QList<Prism> &prisms, double Prism::*volume)
{
    double total = 0.0;
    if (calculated) {
        for (const Prism &prism : prisms)
            total += prism.*volume;
    }
    return total;
}

bool loadCorners(QDataStream &stream, QList<pcVec3f> &corners)
{
    qint32 count = 0;
    stream >> count;
    while (corners.size() < count && !stream.atEnd()) {
        float x = 0;
        float y = 0;
        float z = 0;
        stream >> x >> y >> z;
        corners.append({x, y, z});
    }
    if (count - corners.size() > mostMissingCorners)
        return false;
    while (corners.size() < count)
        corners.append(pcVec3f());
    return true;
}

template <typename Prism>
bool loadPrisms(QDataStream &stream, QList<Prism> &prisms)
{
    qint32 count = 0;
    stream >> count;
    for (qint32 i = 0; i < count; ++i) {
        Prism prism;
        if (!prism.load(stream))
            return false;
        prisms.append(prism);
    }
    return true;
}

template <typename Prism>
void savePrisms(QDataStream &stream, const QList<Prism> &prisms)
{
    stream << qint32(prisms.size());
    for (const Prism &prism : prisms)
        prism.save(stream);
}

} // namespace

double VolumeCalcArea::getDigVolume_dtm() const
{
    return sum(dtmCalculated, prisms, &stPrism::digVolume);
}

double VolumeCalcArea::getFillVolume_dtm() const
{
    return sum(dtmCalculated, prisms, &stPrism::fillVolume);
}

double VolumeCalcArea::getDigVolume_grid() const
{
    return sum(gridCalculated, quadPrisms, &stQuadPrism::digVolume);
}

double VolumeCalcArea::getFillVolume_grid() const
{
    return sum(gridCalculated, quadPrisms, &stQuadPrism::fillVolume);
}

float VolumeCalcArea::getGroundHeightBoundaryAvg() const
{
    if (boundary.isEmpty())
        return 0.0F;
    double total = 0.0;
    for (const pcVec3f &corner : boundary)
        total += static_cast<double>(corner.z());
    return static_cast<float>(total / boundary.size());
}

float VolumeCalcArea::groundHeightInUse() const
{
    return groundHeightType == 0 ? getGroundHeightBoundaryAvg() : groundHeight;
}

void VolumeCalcArea::clear()
{
    *this = VolumeCalcArea();
}

bool VolumeCalcArea::load(QDataStream &stream)
{
    clear();
    qint32 version = 0;
    stream >> version;
    if (version != areaVersion)
        return false;
    stream >> groundHeightType >> groundHeight;
    if (!loadCorners(stream, boundary))
        return false;
    stream >> maxHeight >> gridSize;
    if (!loadPrisms(stream, prisms) || !loadPrisms(stream, quadPrisms))
        return false;
    stream >> dtmCalculated >> gridCalculated;
    return true;
}

void VolumeCalcArea::save(QDataStream &stream) const
{
    stream << areaVersion << qint32(groundHeightType) << groundHeight << qint32(boundary.size());
    for (const pcVec3f &corner : boundary)
        stream << corner.x() << corner.y() << corner.z();
    stream << maxHeight << gridSize;
    savePrisms(stream, prisms);
    savePrisms(stream, quadPrisms);
    stream << dtmCalculated << gridCalculated;
}

} // namespace ptCloud
