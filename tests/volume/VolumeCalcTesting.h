#pragma once

#include "BlockFile.h"
#include "Bytes.h"
#include "DebugLog.h"
#include "PlainVolume.h"

#include "PtCloud_DataSetFile.h"
#include "VolumeCalcAreaList.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cstring>

namespace support
{

/// One area, calculated by the library from files that the test makes.
class VolumeCalcTest : public ::testing::Test
{
protected:
    static QByteArray raw(const std::vector<plain::Point> &points)
    {
        return QByteArray(reinterpret_cast<const char *>(points.data()),
                          static_cast<int>(points.size() * sizeof(plain::Point)));
    }

    void writeBlocks(const std::vector<plain::Block> &blocks) const
    {
        BlockFile file;
        file.columns = {0};
        qint32 key = 0;
        for (const plain::Block &block : blocks) {
            BlockFile::Block stored = file.makeBlock(++key, static_cast<quint32>(block.points.size()));
            const auto &[xMin, yMin, xMax, yMax] = block.rectangle;
            const float box[6] = {xMin, yMin, -1000, xMax, yMax, 1000};
            std::memcpy(stored.box, box, sizeof box);
            stored.columns = {raw(block.points)};
            file.blocks.push_back(stored);
        }
        ASSERT_TRUE(writeFile(m_dir.filePath(QStringLiteral("points")), file.bytes()));
    }

    void writeMesh(const std::vector<plain::Point> &points, const std::vector<plain::Triangle> &triangles,
                   int copies = 1) const
    {
        BlockFile file;
        file.columns = {0, 2};
        for (int key = 1; key <= copies; ++key) {
            BlockFile::Block stored =
                file.makeBlock(key, static_cast<quint32>(points.size()), static_cast<quint32>(triangles.size()));
            stored.columns = {raw(points), QByteArray(reinterpret_cast<const char *>(triangles.data()),
                                                      static_cast<int>(triangles.size() * sizeof(plain::Triangle)))};
            file.blocks.push_back(stored);
        }
        ASSERT_TRUE(writeFile(m_dir.filePath(QStringLiteral("mesh")), file.bytes()));
    }

    void setArea(const plain::Area &area)
    {
        m_list.clear();
        m_area = m_list.addArea(QStringLiteral("area"));
        m_area->groundHeightType = area.groundHeightType;
        m_area->groundHeight = area.groundHeight;
        m_area->maxHeight = area.maxHeight;
        m_area->gridSize = area.gridSize;
        for (const plain::Point &corner : area.boundary)
            m_area->boundary.append(ptCloud::pcVec3f(corner.x, corner.y, corner.z));
    }

    /// Calculates from the file that was written last; whether the area took a result.
    bool calcGrid()
    {
        run(QStringLiteral("points"), ptCloud::VolumeCalc_GRID);
        return m_area->gridCalculated;
    }
    bool calcDtm()
    {
        run(QStringLiteral("mesh"), ptCloud::VolumeCalc_DTM);
        return m_area->dtmCalculated;
    }

    void expectGridAsPlain(const plain::Area &area, const std::vector<plain::Block> &blocks)
    {
        std::vector<plain::Cell> cells;
        const bool done = plain::calcGrid(area, blocks, cells);
        writeBlocks(blocks);
        setArea(area);
        ASSERT_EQ(calcGrid(), done);
        ASSERT_EQ(m_area->quadPrisms.size(), static_cast<int>(cells.size()));
        int index = 0;
        for (const plain::Cell &cell : cells) {
            ptCloud::stQuadPrism expected;
            expected.xMin = cell.xMin;
            expected.xMax = cell.xMax;
            expected.yMin = cell.yMin;
            expected.yMax = cell.yMax;
            expected.groundZ = cell.ground;
            expected.topZ = cell.top;
            expected.calcVolume();
            ASSERT_EQ(std::memcmp(&expected, &m_area->quadPrisms.at(index), sizeof expected), 0) << "record " << index;
            ++index;
        }
    }

    void expectDtmAsPlain(const plain::Area &area, const std::vector<plain::Point> &points,
                          const std::vector<plain::Triangle> &triangles)
    {
        std::vector<plain::Prism> prisms;
        const bool done = plain::calcDtm(area, points, triangles, prisms);
        writeMesh(points, triangles);
        setArea(area);
        ASSERT_EQ(calcDtm(), done);
        ASSERT_EQ(m_area->prisms.size(), static_cast<int>(prisms.size()));
        int index = 0;
        for (const plain::Prism &prism : prisms) {
            ptCloud::stPrism expected;
            std::memcpy(static_cast<void *>(&expected), &prism, sizeof prism);
            expected.calcVolume();
            ASSERT_EQ(std::memcmp(&expected, &m_area->prisms.at(index), sizeof expected), 0) << "record " << index;
            ++index;
        }
    }

    QTemporaryDir m_dir;
    DebugLog m_log;
    ptCloud::PtCloud_DataSetFile m_file;
    ptCloud::VolumeCalcAreaList m_list;
    ptCloud::VolumeCalcArea *m_area = nullptr;

private:
    void run(const QString &name, ptCloud::EVolumeCalcFunction function)
    {
        ASSERT_TRUE(m_file.setFile(m_dir.filePath(name)));
        m_list.setFile(QDir(m_dir.path()), QStringLiteral("earth.volume"));
        m_list.setDTMFile(&m_file);
        m_list.setGridFile(&m_file);
        ASSERT_TRUE(m_list.doCalc(function));
    }
};

/// A square of the given corner and side, with the ground at a fixed height.
inline plain::Area square(float low, float side, float ground, float gridSize)
{
    plain::Area area;
    area.groundHeightType = 1;
    area.groundHeight = ground;
    area.gridSize = gridSize;
    area.boundary = {{low, low, 0}, {low + side, low, 0}, {low + side, low + side, 0}, {low, low + side, 0}};
    return area;
}

} // namespace support
