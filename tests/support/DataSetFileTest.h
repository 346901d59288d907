#pragma once

#include "BlockFile.h"
#include "Bytes.h"
#include "DebugLog.h"

#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace support
{

struct BlockCounts
{
    quint32 points = 0;
    quint32 triangles = 0;
};

/// A sound file with these columns, and blocks of these counts under the keys 1, 2, 3 ...
inline BlockFile soundFile(std::vector<quint32> columns, const std::vector<BlockCounts> &counts)
{
    BlockFile file;
    file.columns = std::move(columns);
    qint32 key = 0;
    for (const BlockCounts &count : counts) {
        ++key;
        file.blocks.push_back(file.makeBlock(key, count.points, count.triangles, static_cast<quint8>(key)));
    }
    return file;
}

/// Names the cases of a family by their `name`.
struct CaseName
{
    template <typename Info>
    std::string operator()(const Info &info) const
    {
        return info.param.name;
    }
};

/// Where the data of block number `index` of a sound file begins: at its point count.
inline qint64 dataOffset(const BlockFile &file, std::size_t index)
{
    const auto parsed = BlockFile::parse(file.bytes());
    return parsed && index < parsed->blocks.size() ? parsed->blocks[index].recordOffset + 28 : -1;
}

/// The array of a column as it lies in memory; a null byte array where the block lacks the column.
inline QByteArray columnBytes(const ptCloud::stPtCloud_PointArray &block, quint32 column)
{
    const void *const arrays[] = {block.m_position,
                                  block.m_normal,
                                  block.m_triangle,
                                  block.m_color,
                                  block.m_intensity,
                                  block.m_returnNumber,
                                  block.m_numberOfReturns,
                                  block.m_scanDirection,
                                  block.m_edgeOfFlightLine,
                                  block.m_classification,
                                  block.m_scanAngleRank,
                                  block.m_userData,
                                  block.m_pointSourceId,
                                  block.m_gpsTime,
                                  block.m_wavePacketDescriptorIndex,
                                  block.m_byteOffsetToWaveformData,
                                  block.m_waveformPacketSize,
                                  block.m_returnPointWaveformLocation,
                                  block.m_waveformXyzT};
    if (column >= std::size(arrays) || arrays[column] == nullptr)
        return {};
    const quint32 count = BlockFile::countsTriangles(column) ? block.m_triangleCount : block.m_pointCount;
    return QByteArray(static_cast<const char *>(arrays[column]),
                      static_cast<int>(count) * BlockFile::elementSize(column));
}

/// Expects that `block` is what stands in the file's bytes from `offset` on, read run by run in the order of the
/// columns, and that it has no other column. Of a column that is listed twice the last run counts.
inline void expectBlockAt(const QByteArray &bytes, qint64 offset, const std::vector<quint32> &columns,
                          const ptCloud::stPtCloud_PointArray *block)
{
    ASSERT_NE(block, nullptr);
    const auto points = get<quint32>(bytes, offset);
    ASSERT_EQ(block->m_pointCount, points);
    EXPECT_EQ(block->m_blockTag, get<qint32>(bytes, offset + 4));
    ASSERT_EQ(block->m_triangleCount, get<quint32>(bytes, offset + 8));

    int at = static_cast<int>(offset) + 12;
    const auto next = [&](quint32 count, int size) {
        const QByteArray run = bytes.mid(at, static_cast<int>(count) * size);
        at += run.size();
        return run;
    };
    const auto *indices = reinterpret_cast<const char *>(block->m_pointIndices);
    const auto *marks = reinterpret_cast<const char *>(block->m_pointMarks);
    EXPECT_EQ(QByteArray(indices, static_cast<int>(points) * 4), next(points, 4));
    EXPECT_EQ(QByteArray(marks, static_cast<int>(points)), next(points, 1));

    QByteArray runs[19];
    for (const quint32 column : columns)
        runs[column] =
            next(BlockFile::countsTriangles(column) ? block->m_triangleCount : points, BlockFile::elementSize(column));
    for (quint32 column = 0; column < 19; ++column) {
        EXPECT_EQ(columnBytes(*block, column), runs[column]) << "column " << column;
        const bool listed = std::find(columns.begin(), columns.end(), column) != columns.end();
        EXPECT_EQ(columnBytes(*block, column).isNull(), !listed) << "column " << column;
    }
}

/// What a closed object shows, whatever it was before.
inline void expectClosed(ptCloud::PtCloud_DataSetFile &file)
{
    EXPECT_FALSE(file.isOpened());
    EXPECT_EQ(file.getSortType(), ptCloud::EDataSetSort_None);
    EXPECT_TRUE(file.getColumns().isEmpty());
    EXPECT_TRUE(file.getBlockInfos().isEmpty());
    QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    EXPECT_TRUE(blocks.isEmpty());
    EXPECT_EQ(file.readBlock(1), nullptr);
}

/// A data set file object over a path in a directory of its own, with its debug lines collected.
class DataSetFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(m_file.setFile(path()));
    }

    QString path(const char *name = "Points") const { return m_dir.filePath(QLatin1String(name)); }

    /// Puts the bytes where the object looks, into the same file if there is one.
    void write(const QByteArray &bytes) const { ASSERT_TRUE(writeFile(path(), bytes)); }
    void write(const BlockFile &file) const { write(file.bytes()); }

    /// Whether the object opens a file of these bytes.
    template <typename Contents>
    bool opens(const Contents &contents)
    {
        m_file.closeFile();
        write(contents);
        return m_file.openFile();
    }

    QTemporaryDir m_dir;
    DebugLog m_log;
    ptCloud::PtCloud_DataSetFile m_file;
};

} // namespace support
