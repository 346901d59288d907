#include "DataSetMemoryTesting.h"
#include "EditingTesting.h"
#include "PlainEditing.h"
#include "Scarcity.h"

#include <limits>
#include <random>

using support::BlockFile;

namespace
{

using ptCloud::PtCloud_DataSetMemory;

static_assert(std::is_base_of_v<ptCloud::IDataSetReader, PtCloud_DataSetMemory>);
static_assert(
    std::is_default_constructible_v<
        PtCloud_DataSetMemory> && std::is_copy_constructible_v<PtCloud_DataSetMemory> && std::is_copy_assignable_v<PtCloud_DataSetMemory>);
static_assert(std::has_virtual_destructor_v<PtCloud_DataSetMemory> && !std::is_final_v<PtCloud_DataSetMemory>);
using FromOrToFile = bool (PtCloud_DataSetMemory::*)(ptCloud::PtCloud_DataSetFile *);
static_assert(std::is_same_v<decltype(&PtCloud_DataSetMemory::makeFromFile), FromOrToFile>);
static_assert(std::is_same_v<decltype(&PtCloud_DataSetMemory::saveToFile), FromOrToFile>);
static_assert(std::is_same_v<decltype(std::declval<PtCloud_DataSetMemory &>().getAllBlocksPtr()),
                             QMap<int, std::tuple<ptCloud::pcBoundingBoxf, ptCloud::stPtCloud_PointArray *>> *>);

class DataSetMemory : public DataSetMemoryTest
{
protected:
    Memory m_memory;
};

TEST_F(DataSetMemory, HasNothingAtFirst)
{
    expectEmpty(m_memory);
    EXPECT_EQ(m_memory.getDataSetType(), ptCloud::EDataSetType_Memory);
    QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks;
    m_memory.getBlocks(blocks);
    EXPECT_TRUE(blocks.isEmpty());
    for (const int key : {0, 1, -1, std::numeric_limits<int>::max()})
        EXPECT_EQ(m_memory.readBlock(key), nullptr);
    EXPECT_TRUE(m_memory.getAllBlocksPtr()->isEmpty()) << "asking for a block makes none";
}

TEST_F(DataSetMemory, IsAlwaysOpen)
{
    ptCloud::IDataSetReader &reader = m_memory;
    EXPECT_TRUE(reader.openFile());
    reader.closeFile();
    expectEmpty(m_memory);
    ASSERT_TRUE(take(m_memory, sample(2)));
    const ptCloud::stPtCloud_PointArray *first = reader.readBlock(1);
    EXPECT_TRUE(reader.openFile());
    reader.closeFile();
    reader.closeFile();
    EXPECT_TRUE(reader.openFile());
    EXPECT_EQ(reader.readBlock(1), first);
    EXPECT_EQ(reader.getSortType(), ptCloud::EDataSetSort_ByArray);
    EXPECT_EQ(reader.getDataSetType(), ptCloud::EDataSetType_Memory);
    expectBlocks(m_memory, sample(2));
}

// A sanitizer keeps what was freed for a while, and looks for leaks itself.
#ifndef SUPPORT_HAS_SANITIZER
TEST_F(DataSetMemory, GivesItsMemoryBackWhenItGoes)
{
    BlockFile large;
    large.columns = {0};
    large.blocks = {large.makeBlock(1, 600000)};
    ASSERT_TRUE(take(m_memory, large));
    const qint64 before = support::peakMemory();
    for (int i = 0; i < 40; ++i) {
        Memory memory;
        ASSERT_TRUE(memory.makeFromFile(&m_file));
    }
    EXPECT_LT(support::peakMemory() - before, 100LL << 20) << "of ten megabytes each time";
}
#endif

TEST_F(DataSetMemory, TakesEveryBlockOfAFileWhichStaysOpen)
{
    ASSERT_TRUE(take(m_memory, sample()));
    EXPECT_TRUE(m_file.isOpened());
    EXPECT_EQ(m_file.getBlockInfos().size(), 3);
    expectBlocks(m_memory, sample());
    EXPECT_EQ(m_memory.readBlock(4), nullptr);
    EXPECT_EQ(m_memory.readBlock(0), nullptr);
    m_file.closeFile();
    ASSERT_TRUE(support::writeFile(path(), "gone"));
    expectBlocks(m_memory, sample());
}

TEST_F(DataSetMemory, TakesEveryColumnWithTrianglesAndAnyKeys)
{
    BlockFile file = support::soundFile({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18},
                                        {{5, 3}, {3, 1}, {9, 4}});
    file.blocks[0].key = std::numeric_limits<int>::min();
    file.blocks[1].key = 0;
    file.blocks[2].key = std::numeric_limits<int>::max();
    ASSERT_TRUE(take(m_memory, file));
    expectBlocks(m_memory, file);
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(file).bytes()));
}

TEST_F(DataSetMemory, GivesEachBlockArraysOfItsOwn)
{
    ASSERT_TRUE(take(m_memory, sample()));
    const ptCloud::stPtCloud_PointArray *first = m_memory.readBlock(1);
    const ptCloud::stPtCloud_PointArray *third = m_memory.readBlock(3);
    EXPECT_NE(first, third);
    EXPECT_NE(first, m_file.readBlock(1)) << "nor those of the file";
    EXPECT_NE(first->m_position, m_file.readBlock(1)->m_position);
    arrayAt(m_memory, 3)->m_position[0].set(1, 2, 3);
    EXPECT_NE(first->m_position[0], ptCloud::pcVec3f(1, 2, 3));
}

TEST_F(DataSetMemory, EntersItsBlocksIntoAMapThatHoldsOthers)
{
    ASSERT_TRUE(take(m_memory, sample()));
    const ptCloud::pcBoundingBoxf other(9, 9, 9, 10, 10, 10);
    QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks{{2, {77, other}}, {8, {88, other}}};
    m_memory.getBlocks(blocks);
    EXPECT_EQ(blocks.keys(), (QList<int>{1, 2, 3, 8}));
    EXPECT_EQ(blocks[2], std::make_tuple(1U, boxOf(sample().blocks[1])));
    EXPECT_EQ(blocks[8], std::make_tuple(88U, other));
}

TEST_F(DataSetMemory, TellsCountsAsTheyAreNow)
{
    ASSERT_TRUE(take(m_memory, sample()));
    ASSERT_TRUE(arrayAt(m_memory, 3)->removePointsByIndies({0, 2}));
    ASSERT_TRUE(arrayAt(m_memory, 2)->removePointsByIndies({0}));
    QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks;
    m_memory.getBlocks(blocks);
    EXPECT_EQ(std::get<0>(blocks[1]), 4U);
    EXPECT_EQ(std::get<0>(blocks[2]), 0U);
    EXPECT_EQ(std::get<0>(blocks[3]), 5U);
    EXPECT_EQ(std::get<1>(blocks[3]), boxOf(sample().blocks[2])) << "the box is not fitted anew";
}

TEST_F(DataSetMemory, TakesAFileThatIsOpenAlreadyAsItWasOpened)
{
    write(sample());
    ASSERT_TRUE(m_file.openFile());
    ASSERT_NE(m_file.readBlock(3), nullptr);
    ASSERT_TRUE(m_memory.makeFromFile(&m_file));
    expectBlocks(m_memory, sample());
}

TEST_F(DataSetMemory, RefusesNoFileAndFilesThatDoNotOpen)
{
    BlockFile wrong = sample();
    wrong.formatWord = 2;
    ptCloud::PtCloud_DataSetFile nowhere;
    ptCloud::PtCloud_DataSetFile missing;
    ASSERT_TRUE(missing.setFile(path("missing")));
    for (const bool filled : {false, true}) {
        SCOPED_TRACE(filled);
        if (filled) {
            ASSERT_TRUE(take(m_memory, sample(2)));
        }
        EXPECT_FALSE(m_memory.makeFromFile(nullptr));
        EXPECT_FALSE(m_memory.makeFromFile(&nowhere));
        EXPECT_FALSE(m_memory.makeFromFile(&missing));
        EXPECT_FALSE(take(m_memory, wrong));
        if (filled)
            expectBlocks(m_memory, sample(2));
        else
            expectEmpty(m_memory);
    }
    EXPECT_FALSE(QFile::exists(path("missing")));
}

TEST_F(DataSetMemory, TakesAFileWithoutBlocksAndChangesNothing)
{
    BlockFile none = support::soundFile({0, 9}, {});
    none.sort = 1;
    EXPECT_TRUE(take(m_memory, none));
    expectEmpty(m_memory);
    ASSERT_TRUE(take(m_memory, sample(2)));
    EXPECT_TRUE(take(m_memory, none));
    EXPECT_TRUE(m_file.isOpened());
    expectBlocks(m_memory, sample(2));
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(sample(2)).bytes())) << "the columns stay, too";
}

TEST_F(DataSetMemory, TakesASecondFileBesideTheFirst)
{
    ASSERT_TRUE(take(m_memory, fileWithKeys({1, 2, 5}, 3)));
    const ptCloud::stPtCloud_PointArray *replaced = m_memory.readBlock(2);
    const ptCloud::stPtCloud_PointArray *kept = m_memory.readBlock(5);
    BlockFile second = fileWithKeys({0, 2, 7}, 8);
    second.sort = 2;
    second.columns = {4, 0};
    for (BlockFile::Block &block : second.blocks)
        std::swap(block.columns[0], block.columns[1]);
    ASSERT_TRUE(take(m_memory, second));
    EXPECT_EQ(keysOf(m_memory), (std::vector<int>{0, 1, 2, 5, 7}));
    EXPECT_EQ(m_memory.readBlock(5), kept);
    EXPECT_NE(m_memory.readBlock(2), replaced);
    EXPECT_EQ(replaced->m_pointCount, 3U) << "a host may still look at it";
    EXPECT_EQ(support::columnBytes(*replaced, 0), fileWithKeys({2}, 3).blocks[0].columns[0]);

    BlockFile both = second;
    for (const BlockFile::Block &block : fileWithKeys({1, 5}, 3).blocks) {
        both.blocks.push_back(block);
        std::swap(both.blocks.back().columns[0], both.blocks.back().columns[1]);
    }
    std::sort(both.blocks.begin(), both.blocks.end(),
              [](const BlockFile::Block &a, const BlockFile::Block &b) { return a.key < b.key; });
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(both).bytes())) << "with its sort and columns";
}

TEST_F(DataSetMemory, LosesEverythingWhereABlockCanNotBeRead)
{
    for (const std::size_t broken : {0U, 1U, 2U}) {
        SCOPED_TRACE(broken);
        ASSERT_TRUE(take(m_memory, fileWithKeys({1, 2, 9}, 4)));
        m_file.closeFile();
        write(sample(2));
        ASSERT_TRUE(m_file.openFile());
        const QByteArray bytes = sample(2).bytes();
        write(bytes.left(static_cast<int>(support::dataOffset(sample(2), broken)) + 20));
        EXPECT_FALSE(m_memory.makeFromFile(&m_file));
        EXPECT_TRUE(m_file.isOpened());
        expectEmpty(m_memory);
        EXPECT_EQ(saved(m_memory), QByteArray());
    }
    EXPECT_TRUE(take(m_memory, sample()));
    expectBlocks(m_memory, sample());
}

TEST_F(DataSetMemory, LosesEverythingWhereNoBlockHasTheTrianglesThatAreListed)
{
    ASSERT_TRUE(take(m_memory, sample()));
    EXPECT_FALSE(take(m_memory, support::soundFile({0, 2}, {{3, 0}, {2, 0}})));
    expectEmpty(m_memory);
}

TEST_F(DataSetMemory, HasNoColumnsLeftAfterAFailure)
{
    ASSERT_TRUE(take(m_memory, sample()));
    ASSERT_FALSE(take(m_memory, support::soundFile({0, 2}, {{3, 0}})));
    (*m_memory.getAllBlocksPtr())[1] = Entry(boxOf(sample().blocks[0]), newArray(2, 5));
    EXPECT_EQ(saved(m_memory), QByteArray());
    EXPECT_TRUE(QFile::exists(path("saved")));
    EXPECT_EQ(support::readFile(path("saved")).size(), 0);
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(DataSetMemory, LosesEverythingWhereMemoryIsShort)
{
    BlockFile file = sample();
    file.columns = {0, 3};
    file.blocks = {file.makeBlock(1, 2), file.makeBlock(2, 3000000)};
    write(file);
    ASSERT_TRUE(m_file.openFile());
    file = BlockFile();
    {
        const support::AddressSpaceLimit limit(rlim_t{30} << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(m_memory.makeFromFile(&m_file));
    }
    expectEmpty(m_memory);
    EXPECT_TRUE(m_memory.makeFromFile(&m_file));
    EXPECT_EQ(keysOf(m_memory), (std::vector<int>{1, 2}));
}
#endif

TEST_F(DataSetMemory, SavesWhatItTookWithThePointsNumberedAnewAndUnmarked)
{
    ASSERT_TRUE(take(m_memory, sample(2)));
    arrayAt(m_memory, 1)->m_pointIndices[2] = 99;
    ASSERT_TRUE(arrayAt(m_memory, 1)->markPoint(3, true));
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(sample(2)).bytes()));
    expectBlocks(m_memory, renumbered(sample(2)));
}

TEST_F(DataSetMemory, SavesNothingNowhere)
{
    EXPECT_FALSE(m_memory.saveToFile(nullptr));
    ASSERT_TRUE(take(m_memory, sample()));
    EXPECT_FALSE(m_memory.saveToFile(nullptr));
    expectBlocks(m_memory, sample());
    ptCloud::PtCloud_DataSetFile nowhere;
    EXPECT_FALSE(m_memory.saveToFile(&nowhere));
    expectBlocks(m_memory, sample());
}

TEST_F(DataSetMemory, EmptiesTheFileWhereItHasNoBlocks)
{
    ASSERT_TRUE(support::writeFile(path("saved"), "what stood here before"));
    EXPECT_EQ(saved(m_memory), QByteArray());
    EXPECT_TRUE(QFile::exists(path("saved")));
    EXPECT_EQ(support::readFile(path("saved")).size(), 0);
}

TEST_F(DataSetMemory, SavesIntoTheFileThatItCameFrom)
{
    ASSERT_TRUE(take(m_memory, sample()));
    ASSERT_TRUE(m_file.isOpened());
    EXPECT_TRUE(m_memory.saveToFile(&m_file));
    support::expectClosed(m_file);
    EXPECT_TRUE(support::sameBytes(support::readFile(path()), renumbered(sample()).bytes()));
    PtCloud_DataSetMemory again;
    ASSERT_TRUE(again.makeFromFile(&m_file));
    expectBlocks(again, renumbered(sample()));
}

TEST_F(DataSetMemory, DoesNotSaveABlockThatLacksAColumnOfTheFirstFile)
{
    ASSERT_TRUE(take(m_memory, sample()));
    (*m_memory.getAllBlocksPtr())[7] = Entry(boxOf(sample().blocks[0]), newArray(2, 5));
    EXPECT_EQ(saved(m_memory), QByteArray());
    EXPECT_EQ(keysOf(m_memory), (std::vector<int>{1, 2, 3, 7}));
    delete std::get<1>(m_memory.getAllBlocksPtr()->take(7));
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(sample()).bytes()));
}

TEST_F(DataSetMemory, SavesBlocksThatAHostPutInReplacedAndTookOut)
{
    ASSERT_TRUE(take(m_memory, fileWithKeys({1, 2, 3}, 4)));
    auto &blocks = *m_memory.getAllBlocksPtr();
    const ptCloud::pcBoundingBoxf box(-1, -2, -3, 4, 5, 6);
    blocks[-9] = Entry(box, newArray(3, 17));
    delete std::get<1>(blocks[2]);
    blocks[2] = Entry(box, newArray(1, 18));
    std::get<0>(blocks[3]) = box;
    delete std::get<1>(blocks.take(1));
    EXPECT_NE(m_memory.readBlock(-9), nullptr);
    EXPECT_EQ(m_memory.readBlock(1), nullptr);

    BlockFile expected = fileWithKeys({-9, 2, 3}, 4);
    for (std::size_t i = 0; i < 3; ++i) {
        BlockFile::Block &block = expected.blocks[i];
        if (i < 2) {
            block = expected.makeBlock(block.key, i == 0 ? 3 : 1);
            block.tag = 17 + static_cast<int>(i);
            for (QByteArray &run : block.columns)
                run.fill('\0');
        }
        const float corners[] = {-1, -2, -3, 4, 5, 6};
        std::copy(std::begin(corners), std::end(corners), block.box);
    }
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(expected).bytes()));
}

TEST_F(DataSetMemory, IsSafeWithANullArrayInItsMap)
{
    ASSERT_TRUE(take(m_memory, sample()));
    (*m_memory.getAllBlocksPtr())[5] = Entry(ptCloud::pcBoundingBoxf(), nullptr);
    EXPECT_EQ(m_memory.readBlock(5), nullptr);
    QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks;
    m_memory.getBlocks(blocks);
    EXPECT_EQ(std::get<0>(blocks[1]), 4U);
    EXPECT_EQ(std::get<0>(blocks.value(5)), 0U);
    EXPECT_EQ(saved(m_memory), QByteArray());
    const PtCloud_DataSetMemory copy(m_memory);
    m_memory.getAllBlocksPtr()->remove(5);
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(sample()).bytes()));
}

TEST_F(DataSetMemory, SavesABlockThatLostItsPointsAndReadsItBack)
{
    ASSERT_TRUE(take(m_memory, sample()));
    arrayAt(m_memory, 3)->removeOutterByBox(ptCloud::pcBoundingBoxf());
    BlockFile expected = sample();
    const BlockFile::Block whole = expected.blocks[2];
    expected.blocks[2] = expected.makeBlock(3, 0);
    std::copy(std::begin(whole.box), std::end(whole.box), expected.blocks[2].box);
    EXPECT_TRUE(support::sameBytes(saved(m_memory), renumbered(expected).bytes()));

    ptCloud::PtCloud_DataSetFile file;
    ASSERT_TRUE(file.setFile(path("saved")));
    PtCloud_DataSetMemory again;
    ASSERT_TRUE(again.makeFromFile(&file));
    EXPECT_EQ(keysOf(again), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(again.readBlock(3)->m_pointCount, 0U);
    EXPECT_EQ(again.readBlock(1)->m_pointCount, 4U);
}

/// A block of a file with columns 0, 2 and 4, to be cut by the plain rules.
support::PlainBlock plainOf(const BlockFile::Block &block)
{
    support::PlainBlock plain;
    plain.points = block.points;
    plain.triangles = block.triangles;
    plain.columns = {{0, block.columns[0]}, {2, block.columns[1]}, {4, block.columns[2]}};
    plain.indices.emplace(static_cast<int>(4 * block.points), '\0');
    return plain;
}

void put(BlockFile::Block &block, const support::PlainBlock &plain)
{
    block.points = plain.points;
    block.triangles = plain.triangles;
    block.indices.resize(plain.points);
    block.marks.resize(plain.points);
    block.columns = {plain.columns.at(0), plain.columns.at(2), plain.columns.at(4)};
}

class DataSetMemoryEditing : public DataSetMemoryTest, public ::testing::WithParamInterface<quint32>
{
protected:
    /// Two meshes of points between 0 and 10.
    BlockFile drawFile()
    {
        BlockFile file;
        file.columns = {0, 2, 4};
        for (const qint32 key : {3, 4}) {
            BlockFile::Block block = file.makeBlock(key, 50, 90, static_cast<quint8>(key));
            for (int i = 0; i < 150; ++i)
                support::putAt(block.columns[0], 4 * i, static_cast<float>(m_random() % 11));
            for (int i = 0; i < 270; ++i)
                support::putAt(block.columns[1], 4 * i, static_cast<quint32>(m_random() % 50));
            file.blocks.push_back(block);
        }
        return file;
    }

    std::mt19937 m_random{GetParam()};
};

TEST_P(DataSetMemoryEditing, IsOnDiskOnceSavedAndComesBack)
{
    std::printf("seed %u\n", GetParam());
    BlockFile file = drawFile();
    Memory memory;
    ASSERT_TRUE(take(memory, file));
    for (BlockFile::Block &block : file.blocks) {
        const std::set<unsigned int> removed = {0, 7, 8, 30};
        ASSERT_TRUE(arrayAt(memory, block.key)->removePointsByIndies(removed));
        arrayAt(memory, block.key)->removeInnerByBox(ptCloud::pcBoundingBoxf(2, 2, 0, 7, 8, 10));
        arrayAt(memory, block.key)->removeOutterBySphere(ptCloud::pcBoundingSpheref({5, 5, 5}, 6));
        arrayAt(memory, block.key)->markPoints({0, 1});
        support::PlainBlock plain = plainOf(block);
        support::removePlainly(plain, removed);
        support::removeByBoxPlainly(plain, {2, 2, 0, 7, 8, 10}, true);
        support::removeBySpherePlainly(plain, {5, 5, 5, 6}, false);
        put(block, plain);
        EXPECT_GT(block.points, 0U);
    }
    const BlockFile expected = renumbered(file);
    EXPECT_TRUE(support::sameBytes(saved(memory), expected.bytes()));

    ptCloud::PtCloud_DataSetFile savedFile;
    ASSERT_TRUE(savedFile.setFile(path("saved")));
    Memory again;
    EXPECT_TRUE(again.makeFromFile(&savedFile));
    expectBlocks(again, expected);
}

INSTANTIATE_TEST_SUITE_P(Seeds, DataSetMemoryEditing, ::testing::Range(1U, 21U));

} // namespace
