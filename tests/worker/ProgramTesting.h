#pragma once

#include "WorkerTesting.h"

#include <gtest/gtest.h>

#include <limits>

namespace support
{

using namespace ptCloud;

inline QList<EDataSetColumn> allPointColumns()
{
    QList<EDataSetColumn> columns;
    for (int column = 0; column <= 18; ++column) {
        if (column != EDataSetColumn_Triangle)
            columns.append(static_cast<EDataSetColumn>(column));
    }
    return columns;
}

/// Values by which each point can be told from the others, in all columns but the position.
inline void number(stPtCloud_PointArray &array)
{
    for (unsigned int i = 0; i < array.m_pointCount; ++i) {
        const auto byte = static_cast<unsigned char>(i);
        const auto real = static_cast<float>(i);
        array.m_normal[i].set(0, 0, 1);
        array.m_color[i] = pcVec4f(real / 100000, 0.25F, 0.5F, 1);
        array.m_intensity[i] = static_cast<unsigned short>(i);
        for (unsigned char *column :
             {array.m_returnNumber, array.m_numberOfReturns, array.m_scanDirection, array.m_edgeOfFlightLine,
              array.m_classification, array.m_scanAngleRank, array.m_userData, array.m_wavePacketDescriptorIndex})
            column[i] = byte;
        array.m_pointSourceId[i] = static_cast<unsigned short>(i * 3);
        array.m_gpsTime[i] = i;
        array.m_byteOffsetToWaveformData[i] = std::numeric_limits<quint64>::max() - i;
        array.m_waveformPacketSize[i] = i * 7;
        array.m_returnPointWaveformLocation[i] = real / 3;
        array.m_waveformXyzT[i].set(real, real * 2, real * 3);
    }
}

/// Expects that a point of a result is the point of the source that its time of GPS tells, in every column; in every
/// other than the class if that was given anew.
inline void expectPoint(const stPtCloud_PointArray &result, unsigned int index, const stPtCloud_PointArray &source,
                        bool isClassified = false)
{
    QMap<EDataSetColumn, QVariant> found;
    QMap<EDataSetColumn, QVariant> wanted;
    ASSERT_TRUE(result.getPeace(index, found));
    ASSERT_TRUE(source.getPeace(static_cast<unsigned int>(result.m_gpsTime[index]), wanted));
    if (isClassified)
        wanted[EDataSetColumn_Classification] = found[EDataSetColumn_Classification];
    EXPECT_EQ(found, wanted) << index;
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

inline void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

/// A result, with its file.
struct Result
{
    PtCloud_DataSetFile file;
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;

    explicit Result(const QString &path)
    {
        EXPECT_TRUE(file.setFile(path) && file.openFile());
        file.getBlocks(blocks);
    }
    unsigned int pointCount() const
    {
        unsigned int count = 0;
        for (const auto &block : blocks)
            count += std::get<0>(block);
        return count;
    }
};

class WorkerProgram : public ::testing::Test
{
protected:
    QString source() const { return m_worker.path("source"); }
    QString result() const { return m_worker.path("result"); }
    WorkerDirectory::End run(const QByteArray &function) { return m_worker.run(function + m_worker.paths()); }

    void expectEnd(const QByteArray &function, int code, const char *message)
    {
        const WorkerDirectory::End end = run(function);
        EXPECT_TRUE(end.isNormal);
        EXPECT_EQ(end.code, code) << end.errors.constData();
        EXPECT_TRUE(end.lastLine().contains(message)) << end.errors.constData();
        expectNoResult();
    }
    void expectNoResult() const
    {
        EXPECT_FALSE(QFile::exists(result()));
        EXPECT_FALSE(QFile::exists(m_worker.path("result.part")));
    }

    WorkerDirectory m_worker;
};

} // namespace support
