#include "VolumesSeeds.h"

#include "BlockFile.h"
#include "Bytes.h"
#include "VolumeFile.h"

namespace fuzz
{

namespace
{

using support::BlockFile;
using support::VolumeFile;

constexpr quint32 side = 5; ///< points along a side of the hill

QByteArray hill()
{
    QByteArray positions;
    for (quint32 y = 0; y < side; ++y) {
        for (quint32 x = 0; x < side; ++x) {
            const float height = 10.0F + static_cast<float>(x * (side - x)) / 4.0F - static_cast<float>(y) / 8.0F;
            for (const float coordinate : {2.0F * static_cast<float>(x), 2.0F * static_cast<float>(y), height})
                support::put(positions, coordinate);
        }
    }
    return positions;
}

/// Two triangles for each square between the points.
QByteArray triangles()
{
    QByteArray corners;
    for (quint32 y = 0; y + 1 < side; ++y) {
        for (quint32 x = 0; x + 1 < side; ++x) {
            const quint32 at = y * side + x;
            for (const quint32 corner : {at, at + 1, at + side, at + 1, at + side + 1, at + side})
                support::put(corners, corner);
        }
    }
    return corners;
}

QByteArray hillFile(std::vector<quint32> columns, quint32 triangleCount)
{
    BlockFile file;
    file.columns = std::move(columns);
    BlockFile::Block block = file.makeBlock(1, side * side, triangleCount);
    const float box[] = {0.0F, 0.0F, 0.0F, 8.0F, 8.0F, 100.0F};
    std::copy(std::begin(box), std::end(box), std::begin(block.box));
    block.columns = {hill()};
    if (triangleCount != 0)
        block.columns.push_back(triangles());
    file.blocks = {block};
    return file.bytes();
}

VolumeFile::Area area(const QString &name, double size, double height)
{
    VolumeFile::Area area;
    area.name = name;
    area.groundHeightType = 1;
    area.groundHeight = height;
    area.gridSize = 0.5;
    area.corners = {{0.25, 0.25, height}, {size, 0.25, height}, {size, size, height}, {0.25, size, height + 1}};
    return area;
}

VolumeFile::Area areaWithResults()
{
    VolumeFile::Area result = area(QStringLiteral("pit"), 6, 11);
    VolumeFile::Prism prism;
    prism.floats = {1, 1, 12, 2, 1, 13, 1, 2, 14, 11};
    prism.dig = 1.0;
    VolumeFile::QuadPrism quadPrism;
    quadPrism.floats = {1, 1.5, 1, 1.5, 11, 12};
    quadPrism.dig = 0.25;
    result.prisms = {prism};
    result.quadPrisms = {quadPrism, quadPrism};
    result.dtmCalculated = 1;
    result.gridCalculated = 1;
    return result;
}

} // namespace

QByteArray volumesMesh()
{
    return hillFile({0, 2}, 2 * (side - 1) * (side - 1));
}

QByteArray volumesPoints()
{
    return hillFile({0}, 0);
}

std::vector<Seed> volumesSeeds()
{
    VolumeFile none;
    VolumeFile one;
    one.areas = {area(QStringLiteral("A"), 4, 12)};
    VolumeFile average = one;
    average.areas.front().groundHeightType = 0;
    VolumeFile several;
    several.areas = {area(QStringLiteral("dump"), 7, 13), areaWithResults(), area(QString(), 2, 99)};
    VolumeFile old = several;
    old.version = 1;
    old.trailer = {QStringLiteral("one"), QString(), QStringLiteral("three"), QStringLiteral("four")};
    VolumeFile star = one;
    star.areas.front().corners = {{0, 0, 1}, {8, 8, 1}, {0, 8, 1}, {8, 0, 1}, {4, 8.5, 1}};
    return {{"none", none.bytes()},       {"oneArea", one.bytes()},    {"averageGround", average.bytes()},
            {"several", several.bytes()}, {"oldVersion", old.bytes()}, {"crossingSides", star.bytes()}};
}

} // namespace fuzz
