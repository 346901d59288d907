#pragma once

#include "Bytes.h"
#include "VolumeFile.h"

#include "VolumeCalcAreaList.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <utility>

/// What the tests of the file of areas share.
namespace volume
{

inline support::VolumeFile::Prism stored(const ptCloud::stPrism &p)
{
    return {1, {p.x1, p.y1, p.z1, p.x2, p.y2, p.z2, p.x3, p.y3, p.z3, p.groundZ}, p.digVolume, p.fillVolume};
}

inline support::VolumeFile::QuadPrism stored(const ptCloud::stQuadPrism &p)
{
    return {1, {p.xMin, p.xMax, p.yMin, p.yMax, p.groundZ, p.topZ}, p.digVolume, p.fillVolume};
}

/// The area as it should lie in a file.
inline support::VolumeFile::Area stored(const QString &name, const ptCloud::VolumeCalcArea &area)
{
    support::VolumeFile::Area result;
    result.name = name;
    result.groundHeightType = area.groundHeightType;
    result.groundHeight = area.groundHeight;
    result.maxHeight = area.maxHeight;
    result.gridSize = area.gridSize;
    for (const ptCloud::pcVec3f &corner : area.boundary)
        result.corners.push_back({corner.x(), corner.y(), corner.z()});
    for (const ptCloud::stPrism &prism : area.prisms)
        result.prisms.push_back(stored(prism));
    for (const ptCloud::stQuadPrism &prism : area.quadPrisms)
        result.quadPrisms.push_back(stored(prism));
    result.dtmCalculated = area.dtmCalculated ? 1 : 0;
    result.gridCalculated = area.gridCalculated ? 1 : 0;
    return result;
}

/// What a list holds, as the bytes of the file that it should be.
inline QByteArray contents(const ptCloud::VolumeCalcAreaList &list)
{
    QMap<QString, const ptCloud::VolumeCalcArea *> areas;
    list.getAreas(areas);
    support::VolumeFile file;
    for (auto it = areas.cbegin(); it != areas.cend(); ++it)
        file.areas.push_back(stored(it.key(), **it));
    return file.bytes();
}

/// An area of which no two fields are alike.
inline support::VolumeFile::Area sampleArea(const QString &name, int corners, int prisms, int quadPrisms)
{
    support::VolumeFile::Area area;
    area.name = name;
    area.groundHeightType = 7;
    area.groundHeight = -1.25F;
    area.maxHeight = 812.7F;
    area.gridSize = 0.3F;
    float next = 0.1F;
    const auto number = [&next] { return static_cast<double>(next += 1.3F); };
    for (int i = 0; i < corners; ++i)
        area.corners.push_back({number(), number(), number()});
    const auto fill = [&number](auto record) {
        for (double &value : record.floats)
            value = number();
        record.dig = number() / 3;
        record.fill = number() / 7;
        return record;
    };
    for (int i = 0; i < prisms; ++i)
        area.prisms.push_back(fill(support::VolumeFile::Prism()));
    for (int i = 0; i < quadPrisms; ++i)
        area.quadPrisms.push_back(fill(support::VolumeFile::QuadPrism()));
    area.dtmCalculated = 1;
    return area;
}

/// Two areas, with everything that an area can hold; their names in key order.
inline support::VolumeFile sampleFile()
{
    support::VolumeFile file;
    file.areas = {sampleArea(QString(QChar(0x00c4)) + QStringLiteral("cker"), 4, 2, 1),
                  sampleArea(QString(QChar(0x5c71)), 3, 1, 2)};
    file.areas[1].dtmCalculated = 0;
    file.areas[1].gridCalculated = 1;
    return file;
}

/// A list that is stored in a directory of its own.
class VolumeListFile : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_list.setFile(QDir(m_dir.path()), QStringLiteral("earth.volume"));
    }

    QString path(const char *name = "earth.volume") const { return m_dir.filePath(QLatin1String(name)); }

    /// Whether the list loads a file of these bytes. Before it holds an area that no file has.
    bool loads(const QByteArray &bytes)
    {
        EXPECT_TRUE(support::writeFile(path(), bytes));
        m_list.addArea(QStringLiteral("earlier"));
        const bool result = m_list.loadFromFile();
        EXPECT_EQ(m_list.getArea(QStringLiteral("earlier")), nullptr);
        EXPECT_EQ(support::readFile(path()), bytes);
        return result;
    }

    /// Expects that the file is broken for the list, which is then empty.
    void expectRefused(const QByteArray &bytes)
    {
        EXPECT_FALSE(loads(bytes));
        EXPECT_TRUE(m_list.isEmpty());
    }

    QTemporaryDir m_dir;
    ptCloud::VolumeCalcAreaList m_list;
};

} // namespace volume
