#include "DataSetFileTest.h"

#include "IDataSetReader.h"
#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

using namespace ptCloud;

namespace
{

using Blocks = QMap<int, std::tuple<unsigned int, pcBoundingBoxf>>;

static_assert(std::is_abstract_v<IDataSetReader>);
static_assert(std::has_virtual_destructor_v<IDataSetReader>);
static_assert(std::is_base_of_v<IDataSetReader, PtCloud_DataSetFile>);
static_assert(std::is_same_v<decltype(&IDataSetReader::getBlocks), void (IDataSetReader::*)(Blocks &) const>);
static_assert(
    std::is_same_v<decltype(&IDataSetReader::readBlock), const stPtCloud_PointArray *(IDataSetReader::*)(int)>);
static_assert(std::is_same_v<decltype(&IDataSetReader::openFile), bool (IDataSetReader::*)()>);
static_assert(std::is_same_v<decltype(&IDataSetReader::closeFile), void (IDataSetReader::*)()>);
static_assert(std::is_same_v<decltype(&IDataSetReader::getSortType), EDataSetSort (IDataSetReader::*)()>);
static_assert(std::is_same_v<decltype(&IDataSetReader::getDataSetType), EDataSetType (IDataSetReader::*)()>);
static_assert(std::is_same_v<std::underlying_type_t<EDataSetSort>, int>);
static_assert(std::is_same_v<std::underlying_type_t<EDataSetType>, int>);

/// A reader of a host's own, with one empty block.
class HostReader : public IDataSetReader
{
public:
    explicit HostReader(bool &destroyed) : m_destroyed(destroyed) {}
    ~HostReader() override { m_destroyed = true; }

    void getBlocks(Blocks &blocks) const override { blocks[4] = {0U, pcBoundingBoxf(0, 0, 0, 1, 1, 1)}; }
    const stPtCloud_PointArray *readBlock(int key) override { return m_open && key == 4 ? &m_block : nullptr; }
    bool openFile() override { return m_open = true; }
    void closeFile() override { m_open = false; }
    EDataSetSort getSortType() override { return EDataSetSort_ByArray; }
    EDataSetType getDataSetType() override { return EDataSetType_Memory; }

private:
    bool &m_destroyed;
    bool m_open = false;
    stPtCloud_PointArray m_block;
};

/// Walks a data set as a host does that knows only the interface.
unsigned int pointsOf(IDataSetReader &reader)
{
    unsigned int points = 0;
    Blocks blocks;
    reader.getBlocks(blocks);
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        const stPtCloud_PointArray *block = reader.readBlock(it.key());
        EXPECT_NE(block, nullptr);
        if (block == nullptr)
            continue;
        EXPECT_EQ(block->m_pointCount, std::get<0>(*it));
        points += block->m_pointCount;
    }
    return points;
}

using IDataSetReaderTest = support::DataSetFileTest;

} // namespace

TEST(IDataSetReader, NumbersOfSortsAndTypesAreFixed)
{
    EXPECT_EQ(int(EDataSetSort_None), 0);
    EXPECT_EQ(int(EDataSetSort_ByBox), 1);
    EXPECT_EQ(int(EDataSetSort_ByArray), 2);
    EXPECT_EQ(int(EDataSetType_File), 0);
    EXPECT_EQ(int(EDataSetType_Memory), 1);
}

TEST(IDataSetReader, DestructionThroughTheInterfaceReachesTheReader)
{
    bool destroyed = false;
    std::unique_ptr<IDataSetReader> reader = std::make_unique<HostReader>(destroyed);
    EXPECT_FALSE(destroyed);
    reader.reset();
    EXPECT_TRUE(destroyed);
}

TEST(IDataSetReader, TakesAReaderOfTheHost)
{
    bool destroyed = false;
    HostReader own(destroyed);
    IDataSetReader &reader = own;
    EXPECT_EQ(reader.readBlock(4), nullptr);
    ASSERT_TRUE(reader.openFile());
    EXPECT_EQ(pointsOf(reader), 0U);
    EXPECT_EQ(reader.getSortType(), EDataSetSort_ByArray);
    EXPECT_EQ(reader.getDataSetType(), EDataSetType_Memory);
    reader.closeFile();
    EXPECT_EQ(reader.readBlock(4), nullptr);
}

#if defined(__x86_64__) && defined(__GNUC__)
// Closed callers were compiled against this table: two entries of the destructor, then six operations.
TEST(IDataSetReader, VirtualOperationsStandInTheirOrder)
{
    const auto slot = [](auto operation) {
        std::uintptr_t word = 0;
        std::memcpy(&word, &operation, sizeof word);
        return (word - 1) / sizeof(void *); // a pointer to a virtual operation holds 1 + its offset in the table
    };
    EXPECT_EQ(slot(&IDataSetReader::getBlocks), 2U);
    EXPECT_EQ(slot(&IDataSetReader::readBlock), 3U);
    EXPECT_EQ(slot(&IDataSetReader::openFile), 4U);
    EXPECT_EQ(slot(&IDataSetReader::closeFile), 5U);
    EXPECT_EQ(slot(&IDataSetReader::getSortType), 6U);
    EXPECT_EQ(slot(&IDataSetReader::getDataSetType), 7U);
}
#endif

TEST_F(IDataSetReaderTest, AFileIsOfTypeFileOpenOrClosed)
{
    IDataSetReader &reader = m_file;
    EXPECT_EQ(reader.getDataSetType(), EDataSetType_File);
    ASSERT_TRUE(opens(support::soundFile({0}, {{2}})));
    EXPECT_EQ(reader.getDataSetType(), EDataSetType_File);
}

TEST_F(IDataSetReaderTest, AFileIsReadThroughTheInterface)
{
    support::BlockFile contents = support::soundFile({0, 4}, {{3}, {0}, {5}});
    contents.sort = 2;
    write(contents);

    auto file = std::make_unique<PtCloud_DataSetFile>();
    ASSERT_TRUE(file->setFile(path()));
    const std::unique_ptr<IDataSetReader> reader = std::move(file);
    EXPECT_EQ(reader->getSortType(), EDataSetSort_None);
    ASSERT_TRUE(reader->openFile());
    EXPECT_EQ(reader->getSortType(), EDataSetSort_ByArray);
    EXPECT_EQ(pointsOf(*reader), 8U);
    reader->closeFile();
    EXPECT_EQ(reader->getSortType(), EDataSetSort_None);
    EXPECT_EQ(reader->readBlock(1), nullptr);
}

TEST_F(IDataSetReaderTest, BlocksAreAddedToTheCallersMap)
{
    support::BlockFile contents = support::soundFile({0}, {{3}, {5}});
    ASSERT_TRUE(opens(contents));
    const pcBoundingBoxf own(7, 7, 7, 8, 8, 8);
    Blocks blocks;
    blocks[7] = {77U, own};
    blocks[1] = {99U, own};
    const IDataSetReader &reader = m_file;
    reader.getBlocks(blocks);

    ASSERT_EQ(blocks.keys(), (QList<int>{1, 2, 7}));
    EXPECT_EQ(std::get<0>(blocks[7]), 77U);
    EXPECT_TRUE(std::get<1>(blocks[7]) == own);
    EXPECT_EQ(std::get<0>(blocks[1]), 3U);
    EXPECT_TRUE(std::get<1>(blocks[1]) == pcBoundingBoxf(1.0F, 1.5F, 2.0F, 2.5F, 3.0F, 3.5F));
    EXPECT_EQ(std::get<0>(blocks[2]), 5U);
}

TEST_F(IDataSetReaderTest, AClosedFileAddsNoBlocks)
{
    Blocks blocks;
    blocks[7] = {77U, pcBoundingBoxf()};
    ASSERT_TRUE(opens(support::soundFile({0}, {{3}})));
    m_file.closeFile();
    static_cast<const IDataSetReader &>(m_file).getBlocks(blocks);
    EXPECT_EQ(blocks.keys(), QList<int>{7});
}
