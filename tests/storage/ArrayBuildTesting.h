#pragma once

#include "DataSetFileTest.h"
#include "PlainArrayBuild.h"
#include "PointArrayTesting.h"
#include "Scarcity.h"

#include "PtCloud_DataSetFile.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

/// Builds data set files from point arrays that are made from plain columns.
class ArrayBuildTest : public support::DataSetFileTest
{
protected:
    using Place = std::array<float, 3>;
    using Corners = std::array<float, 6>;
    using Columns = std::vector<quint32>;
    /// The index of the first point and the number of points, one after the other in their array.
    struct Run
    {
        quint32 first;
        quint32 count;
    };

    static Columns allColumnsButTriangles() { return {0, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}; }

    static QList<ptCloud::EDataSetColumn> listOf(const Columns &columns)
    {
        QList<ptCloud::EDataSetColumn> list;
        for (const quint32 column : columns)
            list.append(static_cast<ptCloud::EDataSetColumn>(column));
        return list;
    }

    /// Points at these places, with the other columns filled by a pattern that depends on `seed`.
    static support::PlainArray plainArray(const std::vector<Place> &places, const Columns &others = {},
                                          unsigned int seed = 1)
    {
        support::PlainArray plain;
        plain.points = static_cast<quint32>(places.size());
        QByteArray &positions = plain.columns[0];
        for (const Place &place : places) {
            for (const float coordinate : place)
                support::put(positions, coordinate);
        }
        for (const quint32 column : others) {
            if (column != 0)
                plain.columns[column] = pattern(column, plain.points, seed);
        }
        return plain;
    }

    /// Points in the first corner of space, as many as wanted, close together.
    static support::PlainArray plainArray(quint32 points, const Columns &others = {}, unsigned int seed = 1)
    {
        std::vector<Place> places;
        for (quint32 i = 0; i < points; ++i)
            places.push_back({static_cast<float>(i), 2.0F * static_cast<float>(i), 10.0F});
        return plainArray(places, others, seed);
    }

    static void addTriangles(support::PlainArray &plain, quint32 triangles)
    {
        plain.triangles = triangles;
        for (quint32 i = 0; i < 3 * triangles; ++i)
            support::put(plain.columns[2], i % plain.points);
    }

    static QByteArray pattern(quint32 column, quint32 elements, unsigned int seed)
    {
        QByteArray bytes(static_cast<int>(elements) * support::BlockFile::elementSize(column), '\0');
        for (int i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(1 + (seed * 41 + column * 13 + static_cast<unsigned int>(i) * 7) % 251);
        return bytes;
    }

    /// The same as an array of the library. Its indices and marks are such as no builder writes.
    ptCloud::stPtCloud_PointArray &make(const support::PlainArray &plain)
    {
        m_arrays.push_back(std::make_unique<ptCloud::stPtCloud_PointArray>());
        ptCloud::stPtCloud_PointArray &array = *m_arrays.back();
        Columns columns;
        for (const auto &[column, bytes] : plain.columns)
            columns.push_back(column);
        EXPECT_TRUE(array.alloc(plain.points, listOf(columns), plain.triangles > 0, plain.triangles));
        array.m_blockTag = plain.tag;
        array.m_triangleCount = plain.triangles;
        for (const points::Array &record : points::pointRecords) {
            if (record.isIn(array))
                record.fill(array, 3);
        }
        for (const auto &[column, bytes] : plain.columns) {
            if (points::columns[column].isIn(array))
                std::memcpy(points::columns[column].of(array), bytes.constData(),
                            static_cast<std::size_t>(bytes.size()));
        }
        return array;
    }
    ptCloud::stPtCloud_PointArray &make(const std::vector<Place> &places, const Columns &others = {})
    {
        return make(plainArray(places, others));
    }

    /// Takes an array away; the array of points frees what it has later on.
    template <typename Element>
    static void drop(Element *&array)
    {
        std::free(array);
        array = nullptr;
    }

    /// The block of these runs of an array, as it stands in a file with these columns. The triangles go with it whole.
    static support::BlockFile::Block blockOf(qint32 key, const Corners &box, const support::PlainArray &source,
                                             const std::vector<Run> &runs, const Columns &columns)
    {
        support::BlockFile::Block block;
        block.key = key;
        std::copy(box.begin(), box.end(), block.box);
        block.tag = source.tag;
        block.triangles = source.triangles;
        for (const Run &run : runs) {
            for (quint32 i = 0; i < run.count; ++i) {
                block.indices.push_back(i);
                block.marks.push_back(0);
            }
            block.points += run.count;
        }
        for (const quint32 column : columns) {
            QByteArray bytes;
            for (const Run &run : runs)
                bytes += source.elements(column, run.first, run.count);
            block.columns.push_back(support::BlockFile::countsTriangles(column) ? source.columns.at(column) : bytes);
        }
        return block;
    }
    /// The block of a whole array.
    static support::BlockFile::Block blockOf(qint32 key, const Corners &box, const support::PlainArray &source,
                                             const Columns &columns)
    {
        return blockOf(key, box, source, {{0, source.points}}, columns);
    }

    static support::BlockFile fileOf(quint32 sort, const Columns &columns,
                                     const std::vector<support::BlockFile::Block> &blocks)
    {
        support::BlockFile file;
        file.sort = sort;
        file.columns = columns;
        file.blocks = blocks;
        return file;
    }

    /// The file that was built, taken apart; no blocks if it does not add up.
    support::BlockFile built() const
    {
        QString reason;
        const auto parsed = support::BlockFile::parse(support::readFile(path()), &reason);
        EXPECT_TRUE(parsed) << reason.toStdString();
        return parsed.value_or(support::BlockFile());
    }

    std::vector<std::vector<quint32>> builtIndices() const
    {
        std::vector<std::vector<quint32>> indices;
        for (const support::BlockFile::Block &block : built().blocks)
            indices.push_back(block.indices);
        return indices;
    }

    /// Expects these very bytes on disk.
    void expectBytes(const QByteArray &expected) const
    {
        const QByteArray bytes = support::readFile(path());
        EXPECT_EQ(bytes.size(), expected.size());
        const auto differing = std::mismatch(bytes.begin(), bytes.end(), expected.begin(), expected.end()).first;
        EXPECT_TRUE(bytes == expected) << "first difference at " << differing - bytes.begin();
    }

    /// Expects that a build succeeded in silence, closed the object and gave this file.
    void expectBuilt(bool result, const support::BlockFile &expected)
    {
        EXPECT_TRUE(result);
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines(), QStringList());
        expectBytes(expected.bytes());
    }

    /// Expects that a build failed with these lines before anything was written, and closed the object.
    void expectFailedEmpty(bool result, const QStringList &lines = {})
    {
        EXPECT_FALSE(result);
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines(), lines);
        EXPECT_TRUE(QFile::exists(path()));
        EXPECT_EQ(support::readFile(path()).size(), 0);
    }

    /// Expects that a build failed in silence once the file had its size and the heads of `planned`: what the heads
    /// promise is there, the blocks are not.
    void expectFailedAtABlock(bool result, const support::BlockFile &planned)
    {
        EXPECT_FALSE(result);
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines(), QStringList());
        const QByteArray expected = planned.bytes();
        const QByteArray bytes = support::readFile(path());
        ASSERT_EQ(bytes.size(), expected.size());
        const int head = 16 + 4 * static_cast<int>(planned.columns.size());
        EXPECT_EQ(bytes.left(head), expected.left(head));
        const auto sound = support::BlockFile::parse(expected);
        ASSERT_TRUE(sound);
        for (const support::BlockFile::Block &block : sound->blocks) {
            const auto at = static_cast<int>(block.recordOffset);
            EXPECT_EQ(bytes.mid(at, 28), expected.mid(at, 28)) << "head of block " << block.key;
        }
    }

    /// Puts something where the builder writes, so that what a failure leaves is the builder's own doing.
    void writeOldContents() const { write(QByteArray("what stood here before")); }

    static QString emptyLine() { return QStringLiteral("makeDataSet_byLasFile: points is empty."); }
    static QString memoryLine() { return QStringLiteral("makeDataSet_byLasFile: reallocBufMems failed."); }

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
    /// An array whose columns are larger than what memory that was freed earlier is kept for.
    static support::PlainArray largeArray()
    {
        support::PlainArray plain;
        plain.points = 3000000;
        plain.columns[0] = QByteArray(static_cast<int>(plain.points) * 12, '\0');
        plain.columns[3] = QByteArray(static_cast<int>(plain.points) * 16, '\0');
        return plain;
    }

    /// What a build answers that can't have as much memory again as the large array has.
    template <typename Build>
    static bool withLittleMemory(const Build &build)
    {
        const support::AddressSpaceLimit limit(rlim_t{30} << 20);
        EXPECT_TRUE(limit.holds());
        return build();
    }
#endif

    std::vector<std::unique_ptr<ptCloud::stPtCloud_PointArray>> m_arrays;
};
