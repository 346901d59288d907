#include "PointArrayTesting.h"

#include "DebugLog.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#ifdef Q_OS_LINUX
#include <sys/mman.h>
#endif

using namespace points;
using namespace ptCloud;

namespace
{

static_assert(!std::is_copy_constructible_v<stPtCloud_PointArray>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::operator=),
                             stPtCloud_PointArray &(stPtCloud_PointArray::*)(const stPtCloud_PointArray &)>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::copy_noTriangle),
                             void (stPtCloud_PointArray::*)(const stPtCloud_PointArray &, unsigned int, unsigned int,
                                                            unsigned int)>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::makeCopy),
                             bool (stPtCloud_PointArray::*)(stPtCloud_PointArray *&) const>);

/// A block with every column, filled.
void makeFull(stPtCloud_PointArray &block, unsigned int points, unsigned int triangles, unsigned int seed)
{
    ASSERT_TRUE(block.alloc(points, allColumns(), true, triangles));
    fillAll(block, seed);
}

std::vector<std::vector<unsigned char>> contents(const stPtCloud_PointArray &block)
{
    std::vector<std::vector<unsigned char>> all;
    for (const Array &array : allArrays())
        all.push_back(array.isIn(block) ? array.bytes(block) : std::vector<unsigned char>());
    return all;
}

std::vector<void *> pointers(const stPtCloud_PointArray &block)
{
    std::vector<void *> all;
    for (const Array &array : allArrays())
        all.push_back(array.of(block));
    return all;
}

std::array<qint64, 3> scalars(const stPtCloud_PointArray &block)
{
    return {block.m_pointCount, block.m_blockTag, block.m_triangleCount};
}

TEST(PointArrayAssignment, SharesEveryArray)
{
    stPtCloud_PointArray source;
    makeFull(source, 10, 4, 0);
    source.m_blockTag = 42;
    const auto before = contents(source);

    stPtCloud_PointArray target;
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(scalars(target), (std::array<qint64, 3>{10, 42, 4}));
    EXPECT_EQ(pointers(target), pointers(source));
    EXPECT_EQ(contents(target), before);
    detach(source);
    EXPECT_TRUE(isNew(source));
}

TEST(PointArrayAssignment, ReleasesNothingInTheTarget)
{
    stPtCloud_PointArray target;
    makeFull(target, 3, 2, 0);
    const auto before = contents(target);
    stPtCloud_PointArray owner;
    owner = target;
    detach(target);
    // Would be a use after release, had the assignment released what the target named.
    EXPECT_EQ(contents(owner), before);

    stPtCloud_PointArray small;
    makeFull(small, 1, 1, 9);
    target = owner;
    target = small;
    EXPECT_EQ(pointers(target), pointers(small));
    EXPECT_EQ(contents(owner), before);
    detach(target);
}

TEST(PointArrayAssignment, ToItselfChangesNothing)
{
    stPtCloud_PointArray block;
    makeFull(block, 3, 2, 0);
    const auto before = contents(block);
    const auto arrays = pointers(block);
    const stPtCloud_PointArray &same = block;
    block = same;
    EXPECT_EQ(pointers(block), arrays);
    EXPECT_EQ(contents(block), before);
}

TEST(PointArrayRangeCopy, CopiesTheRangeOfEveryArrayButTheTriangles)
{
    stPtCloud_PointArray source;
    makeFull(source, 10, 4, 0);
    stPtCloud_PointArray target;
    makeFull(target, 20, 4, 3);
    stPtCloud_PointArray *untouched = nullptr;
    ASSERT_TRUE(target.makeCopy(untouched));
    const std::unique_ptr<stPtCloud_PointArray> before(untouched);

    target.copy_noTriangle(source, 2, 11, 7);
    for (const Array &array : arraysOfPoints()) {
        EXPECT_EQ(array.bytes(target, 0, 11), array.bytes(*before, 0, 11));
        EXPECT_EQ(array.bytes(target, 11, 7), array.bytes(source, 2, 7));
        EXPECT_EQ(array.bytes(target, 18, 2), array.bytes(*before, 18, 2));
    }
    const Array &triangles = columns[EDataSetColumn_Triangle];
    EXPECT_EQ(triangles.bytes(target), triangles.bytes(*before));
}

TEST(PointArrayRangeCopy, OfNothingTouchesNothing)
{
    stPtCloud_PointArray source;
    makeFull(source, 3, 2, 0);
    stPtCloud_PointArray target;
    makeFull(target, 3, 2, 3);
    const auto before = contents(target);
    target.copy_noTriangle(source, 0, 0, 0);
    target.copy_noTriangle(source, 0xFFFFFFFF, 0xFFFFFFFF, 0);
    EXPECT_EQ(contents(target), before);
}

TEST(PointArrayRangeCopy, PassesOverAColumnThatOneSideLacks)
{
    for (const EDataSetColumn value : allColumns()) {
        const Array &array = columns[static_cast<std::size_t>(value)];
        if (array.triangles)
            continue;
        QList<EDataSetColumn> others = allColumns();
        others.removeOne(value);
        stPtCloud_PointArray full;
        makeFull(full, 5, 2, 0);
        stPtCloud_PointArray lacking;
        ASSERT_TRUE(lacking.alloc(5, others, false, 0));
        fillAll(lacking, 3);

        const auto before = array.bytes(full);
        full.copy_noTriangle(lacking, 0, 0, 5);
        EXPECT_EQ(array.bytes(full), before) << value;
        EXPECT_EQ(pointRecords[0].bytes(full), pointRecords[0].bytes(lacking));

        fillAll(full, 7);
        lacking.copy_noTriangle(full, 0, 0, 5);
        EXPECT_FALSE(array.isIn(lacking)) << value;
        EXPECT_EQ(pointRecords[0].bytes(full), pointRecords[0].bytes(lacking));
    }
}

TEST(PointArrayRangeCopy, PassesOverIndicesAndMarksThatOneSideLacks)
{
    stPtCloud_PointArray full;
    makeFull(full, 5, 2, 0);
    const auto before = contents(full);
    stPtCloud_PointArray empty;
    full.copy_noTriangle(empty, 0, 0, 5);
    EXPECT_EQ(contents(full), before);
    empty.copy_noTriangle(full, 0, 0, 5);
    EXPECT_TRUE(isNew(empty));
}

TEST(PointArrayRangeCopy, LooksAtNoCountAndChangesNone)
{
    stPtCloud_PointArray source;
    makeFull(source, 5, 2, 0);
    source.m_blockTag = 8;
    stPtCloud_PointArray target;
    makeFull(target, 5, 3, 3);
    source.m_pointCount = 0;
    target.m_pointCount = 0;
    target.copy_noTriangle(source, 0, 0, 5);
    EXPECT_EQ(scalars(target), (std::array<qint64, 3>{0, -1, 3}));
    for (const Array &array : arraysOfPoints())
        EXPECT_EQ(array.bytes(target, 0, 5), array.bytes(source, 0, 5));
}

TEST(PointArrayRangeCopy, MovesOverlappingRanges)
{
    const std::pair<unsigned int, unsigned int> moves[] = {{0, 3}, {3, 0}, {4, 4}}; // from, to
    for (const auto &[from, to] : moves) {
        stPtCloud_PointArray block;
        makeFull(block, 20, 2, 0);
        stPtCloud_PointArray *copy = nullptr;
        ASSERT_TRUE(block.makeCopy(copy));
        const std::unique_ptr<stPtCloud_PointArray> before(copy);
        block.copy_noTriangle(block, from, to, 15);
        for (const Array &array : arraysOfPoints())
            EXPECT_EQ(array.bytes(block, to, 15), array.bytes(*before, from, 15)) << from << " to " << to;
    }
}

#ifdef Q_OS_LINUX
TEST(PointArrayRangeCopy, ReachesColorsBehindFourGigabytes)
{
    // Address space without memory behind it, but for the pages that are written.
    const unsigned int far = 1U << 28;
    const std::size_t bytes = (std::size_t{far} + 1) * sizeof(pcVec4f);
    void *const memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    {
        stPtCloud_PointArray large;
        large.m_color = static_cast<pcVec4f *>(memory);
        large.m_color[far] = pcVec4f(1, 2, 3, 4);
        stPtCloud_PointArray small;
        ASSERT_TRUE(small.alloc(2, {EDataSetColumn_Color}, false, 0));

        small.copy_noTriangle(large, far, 1, 1);
        EXPECT_EQ(small.m_color[1], pcVec4f(1, 2, 3, 4));
        small.m_color[0] = pcVec4f(5, 6, 7, 8);
        large.copy_noTriangle(small, 0, far, 1);
        EXPECT_EQ(large.m_color[far], pcVec4f(5, 6, 7, 8));
        EXPECT_EQ(large.m_color[0], pcVec4f());
        detach(large);
    }
    munmap(memory, bytes);
}
#endif

TEST(PointArrayFullCopy, OfAnEmptyArrayIsANewEmptyArray)
{
    const stPtCloud_PointArray empty;
    stPtCloud_PointArray placeholder;
    stPtCloud_PointArray *copy = &placeholder;
    ASSERT_TRUE(empty.makeCopy(copy));
    ASSERT_NE(copy, &placeholder);
    ASSERT_NE(copy, nullptr);
    const std::unique_ptr<stPtCloud_PointArray> owner(copy);
    EXPECT_NE(copy, &empty);
    EXPECT_TRUE(isNew(*copy));
}

TEST(PointArrayFullCopy, HasTheSameContentsInArraysOfItsOwn)
{
    stPtCloud_PointArray *copy = nullptr;
    std::vector<std::vector<unsigned char>> before;
    {
        stPtCloud_PointArray source;
        makeFull(source, 100, 60, 0);
        source.m_blockTag = 42;
        before = contents(source);
        ASSERT_TRUE(source.makeCopy(copy));
        for (const Array &array : allArrays())
            EXPECT_NE(array.of(*copy), array.of(source));
        fillAll(source, 3);
    }
    // The source is gone.
    const std::unique_ptr<stPtCloud_PointArray> owner(copy);
    EXPECT_EQ(scalars(*copy), (std::array<qint64, 3>{100, 42, 60}));
    EXPECT_EQ(contents(*copy), before);
    fillAll(*copy, 7);
}

TEST(PointArrayFullCopy, HasTheColumnsOfTheSourceAlone)
{
    for (const EDataSetColumn column : allColumns()) {
        stPtCloud_PointArray source;
        ASSERT_TRUE(source.alloc(3, {column}, true, 2));
        fillAll(source);
        stPtCloud_PointArray *copy = nullptr;
        ASSERT_TRUE(source.makeCopy(copy));
        const std::unique_ptr<stPtCloud_PointArray> owner(copy);
        EXPECT_EQ(columnsIn(*copy), QList<EDataSetColumn>{column});
        EXPECT_EQ(contents(*copy), contents(source)) << column;
    }
}

TEST(PointArrayFullCopy, KeepsATriangleCountThatHasNoArray)
{
    stPtCloud_PointArray source;
    ASSERT_TRUE(source.alloc(3, {EDataSetColumn_Position}, false, 0));
    fillAll(source);
    source.m_triangleCount = 5;
    stPtCloud_PointArray *copy = nullptr;
    ASSERT_TRUE(source.makeCopy(copy));
    const std::unique_ptr<stPtCloud_PointArray> owner(copy);
    EXPECT_EQ(copy->m_triangleCount, 5U);
    EXPECT_EQ(copy->m_triangle, nullptr);
    EXPECT_EQ(columns[EDataSetColumn_Position].bytes(*copy), columns[EDataSetColumn_Position].bytes(source));
}

TEST(PointArrayFullCopy, KeepsTheColumnsOfABlockThatHasLostItsPoints)
{
    stPtCloud_PointArray source;
    makeFull(source, 3, 2, 0);
    source.m_pointCount = 0;
    source.m_triangleCount = 0;
    stPtCloud_PointArray *copy = nullptr;
    ASSERT_TRUE(source.makeCopy(copy));
    const std::unique_ptr<stPtCloud_PointArray> owner(copy);
    EXPECT_EQ(copy->m_pointCount, 0U);
    EXPECT_EQ(columnsIn(*copy), allColumns());
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST(PointArrayFullCopy, GivesNullWhereMemoryIsShort)
{
    // 50 MB for indices and marks, 10 MB for the first column and 160 MB for the second.
    stPtCloud_PointArray source;
    ASSERT_TRUE(source.alloc(10000000, {EDataSetColumn_Classification, EDataSetColumn_Color}, false, 0));
    const support::DebugLog log;
    const support::AddressSpaceLimit limit(rlim_t{128} << 20);
    ASSERT_TRUE(limit.holds());
    // What one attempt kept would be missing in the next.
    for (int round = 0; round < 5; ++round) {
        stPtCloud_PointArray placeholder;
        stPtCloud_PointArray *copy = &placeholder;
        EXPECT_FALSE(source.makeCopy(copy));
        EXPECT_EQ(copy, nullptr);
    }
    stPtCloud_PointArray other;
    EXPECT_TRUE(other.alloc(10000000, {EDataSetColumn_Classification}, false, 0));
    EXPECT_EQ(log.lines(), QStringList());
}
#endif

} // namespace
