#include "EditingTesting.h"

#include <QSet>

#include <limits>
#include <vector>

using ptCloud::stPtCloud_PointArray;

namespace
{

using Marks = std::vector<unsigned char>;

static_assert(
    std::is_same_v<decltype(&stPtCloud_PointArray::markPoint), bool (stPtCloud_PointArray::*)(unsigned int, bool)>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::markPoints),
                             void (stPtCloud_PointArray::*)(const QSet<unsigned int> &)>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::removeAllMarks),
                             void (stPtCloud_PointArray::*)(QSet<unsigned int> &)>);

constexpr unsigned int largestIndex = std::numeric_limits<unsigned int>::max();

class PointArrayMarks : public ::testing::Test
{
protected:
    /// Points with these marks and not a byte more, beside every column.
    void points(const Marks &marks)
    {
        m_plain.points = static_cast<quint32>(marks.size());
        m_plain.tag = 3;
        m_plain.indices = QByteArray(4 * static_cast<int>(marks.size()), '\x11');
        m_plain.marks = QByteArray(reinterpret_cast<const char *>(marks.data()), static_cast<int>(marks.size()));
        m_plain.triangles = 1;
        for (quint32 column = 0; column < points::columns.size(); ++column) {
            const auto count = static_cast<int>(points::columns[column].triangles ? 1 : marks.size());
            m_plain.columns[column] =
                QByteArray(count * static_cast<int>(points::columns[column].elementBytes), '\x22');
        }
        points::fillFrom(m_block, m_plain);
    }

    /// Expects these marks, and all else as it was.
    void expectMarks(const Marks &marks)
    {
        m_plain.marks = QByteArray(reinterpret_cast<const char *>(marks.data()), static_cast<int>(marks.size()));
        points::expectHolds(m_block, m_plain);
    }

    support::PlainBlock m_plain;
    stPtCloud_PointArray m_block;
};

TEST_F(PointArrayMarks, OfOnePointAreSetAndTakenAway)
{
    points({0, 0, 0});
    EXPECT_TRUE(m_block.markPoint(1, true));
    expectMarks({0, 1, 0});
    EXPECT_TRUE(m_block.markPoint(2, true));
    expectMarks({0, 1, 1});
    EXPECT_TRUE(m_block.markPoint(1, false));
    expectMarks({0, 0, 1});
    EXPECT_TRUE(m_block.markPoint(0, false));
    expectMarks({0, 0, 1});
}

TEST_F(PointArrayMarks, BecomeZeroOrOneWhateverTheyWere)
{
    points({7, 255, 128});
    EXPECT_TRUE(m_block.markPoint(0, true));
    EXPECT_TRUE(m_block.markPoint(1, false));
    expectMarks({1, 0, 128});
    m_block.markPoints({2});
    expectMarks({1, 0, 1});
}

TEST_F(PointArrayMarks, BehindTheLastPointAreGrantedButNotKept)
{
    points({0, 1, 0});
    for (const bool marked : {true, false}) {
        EXPECT_TRUE(m_block.markPoint(3, marked));
        EXPECT_FALSE(m_block.markPoint(4, marked));
        EXPECT_FALSE(m_block.markPoint(largestIndex, marked));
    }
    expectMarks({0, 1, 0});
}

TEST_F(PointArrayMarks, BehindTheLastPointLeaveWhatARemovalLeftThere)
{
    points({0, 0, 5, 7});
    ASSERT_TRUE(m_block.removePointsByIndies({0}));
    const Marks before = points::pointRecords[1].bytes(m_block, 0, 4);
    EXPECT_TRUE(m_block.markPoint(3, true));
    EXPECT_FALSE(m_block.markPoint(4, true));
    m_block.markPoints({3, 4});
    EXPECT_EQ(points::pointRecords[1].bytes(m_block, 0, 4), before);
}

TEST_F(PointArrayMarks, OfManyPointsPassOverWhatIsNoPoint)
{
    points({0, 0, 9, 0});
    m_block.markPoints({0, 3, 4, 5, 1000000, largestIndex});
    expectMarks({1, 0, 9, 1});
    m_block.markPoints({4, largestIndex});
    expectMarks({1, 0, 9, 1});
    m_block.markPoints({});
    expectMarks({1, 0, 9, 1});
    m_block.markPoints({0, 1, 2, 3});
    expectMarks({1, 1, 1, 1});
}

TEST_F(PointArrayMarks, AreAllTakenAwayAndTold)
{
    points({0, 1, 0, 1});
    QSet<unsigned int> marked;
    m_block.removeAllMarks(marked);
    EXPECT_EQ(marked, (QSet<unsigned int>{1, 3}));
    expectMarks({0, 0, 0, 0});
    m_block.removeAllMarks(marked);
    EXPECT_EQ(marked, (QSet<unsigned int>{1, 3})) << "what the set held stays";
    expectMarks({0, 0, 0, 0});
}

TEST_F(PointArrayMarks, OfAnyValueAreTakenAwayAndJoinWhatTheSetHolds)
{
    points({255, 0, 2, 128});
    QSet<unsigned int> marked{1, 2, 77};
    m_block.removeAllMarks(marked);
    EXPECT_EQ(marked, (QSet<unsigned int>{0, 1, 2, 3, 77}));
    expectMarks({0, 0, 0, 0});
}

TEST_F(PointArrayMarks, ThatWereSetTogetherComeBackTogether)
{
    constexpr unsigned int count = 1000;
    points(Marks(count));
    QSet<unsigned int> wanted;
    for (unsigned int i = 0; i < count; i += 7)
        wanted.insert(i);
    m_block.markPoints(wanted);
    QSet<unsigned int> marked;
    m_block.removeAllMarks(marked);
    EXPECT_EQ(marked, wanted);
    expectMarks(Marks(count));
}

TEST_F(PointArrayMarks, AreNeitherSetNorFoundWithoutTheirArray)
{
    m_plain.points = 2;
    m_plain.indices = QByteArray(8, '\x11');
    m_plain.columns[0] = QByteArray(24, '\x22');
    points::fillFrom(m_block, m_plain);
    for (const unsigned int index : {0U, 1U, 2U, 3U})
        EXPECT_FALSE(m_block.markPoint(index, true)) << index;
    m_block.markPoints({0, 1, 2});
    QSet<unsigned int> marked{5};
    m_block.removeAllMarks(marked);
    EXPECT_EQ(marked, QSet<unsigned int>{5});
    points::expectHolds(m_block, m_plain);
}

TEST_F(PointArrayMarks, AreNoneInANewBlock)
{
    EXPECT_FALSE(m_block.markPoint(0, true));
    m_block.markPoints({0});
    QSet<unsigned int> marked{5};
    m_block.removeAllMarks(marked);
    EXPECT_EQ(marked, QSet<unsigned int>{5});
    EXPECT_TRUE(points::isNew(m_block));
}

TEST_F(PointArrayMarks, OfABlockThatLostItsPointsAreLeftAlone)
{
    points({1, 1});
    ASSERT_TRUE(m_block.removePointsByIndies({0, 1}));
    QSet<unsigned int> marked;
    m_block.removeAllMarks(marked);
    EXPECT_TRUE(marked.isEmpty());
    m_block.markPoints({0, 1});
    EXPECT_TRUE(m_block.markPoint(0, false)) << "the index is the count";
    EXPECT_FALSE(m_block.markPoint(1, false));
    EXPECT_EQ(points::pointRecords[1].bytes(m_block, 0, 2), (Marks{1, 1}));
}

} // namespace
