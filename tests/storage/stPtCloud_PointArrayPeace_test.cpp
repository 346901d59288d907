#include "PointArrayTesting.h"

#include <gtest/gtest.h>

#include <limits>

using namespace points;
using namespace ptCloud;

namespace
{

using Values = QMap<EDataSetColumn, QVariant>;

static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::getPeace),
                             bool (stPtCloud_PointArray::*)(unsigned int, Values &) const>);

/// Three points whose values reach the ends of their types.
class PointArrayPeace : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_block.alloc(3, allColumns(), true, 1));
        for (const Array &array : allArrays())
            array.fill(m_block, 9);
        m_block.m_position[1] = pcVec3f(0.1F, -2.5F, 1e30F);
        m_block.m_normal[1] = pcVec3f(0, 0.6F, -0.8F);
        m_block.m_color[1] = pcVec4f(0.1F, 0.2F, 0.3F, 1);
        m_block.m_intensity[1] = 65535;
        setBytes(255);
        m_block.m_pointSourceId[1] = 40000;
        m_block.m_gpsTime[1] = 0.1;
        m_block.m_byteOffsetToWaveformData[1] = std::numeric_limits<quint64>::max();
        m_block.m_waveformPacketSize[1] = 0xFFFFFFFF;
        m_block.m_returnPointWaveformLocation[1] = 0.1F;
        m_block.m_waveformXyzT[1] = pcVec3f(7, 8, 9);
    }

    /// Gives each column of bytes a value of its own, downwards from `value`.
    void setBytes(unsigned char value)
    {
        for (unsigned char *array : {m_block.m_returnNumber, m_block.m_numberOfReturns, m_block.m_scanDirection,
                                     m_block.m_edgeOfFlightLine, m_block.m_classification, m_block.m_scanAngleRank,
                                     m_block.m_userData, m_block.m_wavePacketDescriptorIndex})
            array[1] = value--;
    }

    static QVariantList floats(std::initializer_list<float> values)
    {
        QVariantList list;
        for (const float value : values)
            list.append(QVariant(value));
        return list;
    }

    stPtCloud_PointArray m_block;
};

QList<int> typesIn(const QVariant &value)
{
    QList<int> types;
    for (const QVariant &item : value.toList())
        types.append(item.userType());
    return types;
}

TEST_F(PointArrayPeace, GivesEveryColumnButTheTriangles)
{
    QList<EDataSetColumn> expected = allColumns();
    expected.removeOne(EDataSetColumn_Triangle);
    Values values;
    ASSERT_TRUE(m_block.getPeace(1, values));
    EXPECT_EQ(values.keys(), expected);
}

TEST_F(PointArrayPeace, GivesVectorsAsListsOfFloats)
{
    Values values;
    ASSERT_TRUE(m_block.getPeace(1, values));
    EXPECT_EQ(values[EDataSetColumn_Position].toList(), floats({0.1F, -2.5F, 1e30F}));
    EXPECT_EQ(values[EDataSetColumn_Normal].toList(), floats({0, 0.6F, -0.8F}));
    EXPECT_EQ(values[EDataSetColumn_WaveformXyzT].toList(), floats({7, 8, 9}));
    EXPECT_EQ(values[EDataSetColumn_Color].toList(), floats({0.1F, 0.2F, 0.3F, 1}));
    for (const EDataSetColumn column :
         {EDataSetColumn_Position, EDataSetColumn_Normal, EDataSetColumn_WaveformXyzT, EDataSetColumn_Color}) {
        const int count = column == EDataSetColumn_Color ? 4 : 3;
        EXPECT_EQ(values[column].userType(), static_cast<int>(QMetaType::QVariantList)) << column;
        EXPECT_EQ(typesIn(values[column]), QVector<int>(count, QMetaType::Float).toList()) << column;
    }
}

TEST_F(PointArrayPeace, GivesSmallIntegersAsInt)
{
    Values values;
    ASSERT_TRUE(m_block.getPeace(1, values));
    const std::pair<EDataSetColumn, int> expected[] = {
        {EDataSetColumn_Intensity, 65535},      {EDataSetColumn_ReturnNumber, 255},
        {EDataSetColumn_NumberOfReturns, 254},  {EDataSetColumn_ScanDirection, 253},
        {EDataSetColumn_EdgeOfFlightLine, 252}, {EDataSetColumn_Classification, 251},
        {EDataSetColumn_ScanAngleRank, 250},    {EDataSetColumn_UserData, 249},
        {EDataSetColumn_PointSourceId, 40000},  {EDataSetColumn_WavePacketDescriptorIndex, 248},
    };
    for (const auto &[column, value] : expected) {
        EXPECT_EQ(values[column].userType(), static_cast<int>(QMetaType::Int)) << column;
        EXPECT_EQ(values[column].toInt(), value) << column;
    }
}

TEST_F(PointArrayPeace, GivesWideValuesInTheirOwnType)
{
    Values values;
    ASSERT_TRUE(m_block.getPeace(1, values));
    EXPECT_EQ(values[EDataSetColumn_GpsTime].userType(), static_cast<int>(QMetaType::Double));
    EXPECT_EQ(values[EDataSetColumn_GpsTime].toDouble(), 0.1);
    EXPECT_EQ(values[EDataSetColumn_ByteOffsetToWaveformData].userType(), static_cast<int>(QMetaType::ULongLong));
    EXPECT_EQ(values[EDataSetColumn_ByteOffsetToWaveformData].toULongLong(), std::numeric_limits<quint64>::max());
    EXPECT_EQ(values[EDataSetColumn_WaveformPacketSize].userType(), static_cast<int>(QMetaType::UInt));
    EXPECT_EQ(values[EDataSetColumn_WaveformPacketSize].toUInt(), 0xFFFFFFFFU);
    EXPECT_EQ(values[EDataSetColumn_ReturnPointWaveformLocation].userType(), static_cast<int>(QMetaType::Float));
    EXPECT_EQ(values[EDataSetColumn_ReturnPointWaveformLocation].toFloat(), 0.1F);
}

TEST_F(PointArrayPeace, GivesThePointThatIsAskedFor)
{
    for (unsigned int i = 0; i < 3; ++i)
        m_block.m_gpsTime[i] = 10.0 * i;
    for (unsigned int i = 0; i < 3; ++i) {
        Values values;
        ASSERT_TRUE(m_block.getPeace(i, values));
        EXPECT_EQ(values[EDataSetColumn_GpsTime].toDouble(), 10.0 * i);
        EXPECT_EQ(values[EDataSetColumn_WaveformPacketSize].toUInt(), m_block.m_waveformPacketSize[i]);
    }
}

TEST_F(PointArrayPeace, ReplacesEntriesAndLeavesOthers)
{
    Values values;
    values[EDataSetColumn_GpsTime] = QStringLiteral("old");
    values[EDataSetColumn_Triangle] = QStringLiteral("a host's own");
    values[column(99)] = 5;
    ASSERT_TRUE(m_block.getPeace(1, values));
    EXPECT_EQ(values[EDataSetColumn_GpsTime], QVariant(0.1));
    EXPECT_EQ(values[EDataSetColumn_Triangle], QVariant(QStringLiteral("a host's own")));
    EXPECT_EQ(values[column(99)], QVariant(5));
    EXPECT_EQ(values.size(), 20);
}

TEST_F(PointArrayPeace, GivesZerosForAnIndexEqualToTheCount)
{
    Values values;
    ASSERT_TRUE(m_block.getPeace(3, values));
    EXPECT_EQ(values.size(), 18);
    EXPECT_EQ(values[EDataSetColumn_Position].toList(), floats({0, 0, 0}));
    EXPECT_EQ(values[EDataSetColumn_Color].toList(), floats({0, 0, 0, 0}));
    Values types;
    ASSERT_TRUE(m_block.getPeace(1, types));
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        EXPECT_EQ(it->userType(), types[it.key()].userType()) << it.key();
        EXPECT_EQ(it->toDouble(), 0.0) << it.key();
    }
}

TEST_F(PointArrayPeace, RefusesAnIndexAboveTheCount)
{
    for (const unsigned int index : {4U, 100U, 0xFFFFFFFFU}) {
        Values values;
        EXPECT_FALSE(m_block.getPeace(index, values)) << index;
        EXPECT_TRUE(values.isEmpty()) << index;
    }
}

TEST(PointArrayPeaceOfFewColumns, NeedsPositions)
{
    QList<EDataSetColumn> list = allColumns();
    list.removeOne(EDataSetColumn_Position);
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(3, list, true, 1));
    Values values;
    EXPECT_FALSE(block.getPeace(0, values));
    EXPECT_TRUE(values.isEmpty());
    EXPECT_FALSE(stPtCloud_PointArray().getPeace(0, values));
    EXPECT_TRUE(values.isEmpty());
}

TEST(PointArrayPeaceOfFewColumns, GivesOneEntryWhereNothingButPositionsIsThere)
{
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(3, {EDataSetColumn_Position}, false, 0));
    block.m_position[2] = pcVec3f(1, 2, 3);
    Values values;
    ASSERT_TRUE(block.getPeace(2, values));
    EXPECT_EQ(values.keys(), QList<EDataSetColumn>{EDataSetColumn_Position});
    EXPECT_EQ(values.first().toList(), (QVariantList{1.0F, 2.0F, 3.0F}));
}

} // namespace
