#pragma once

#include "DataSetFileTest.h"
#include "SameBytes.h"

#include "PtCloud_DataSetMemory.h"
#include "stPtCloud_PointArray.h"

#include <memory>
#include <vector>

/// Data sets in memory, taken from files that are written byte by byte.
class DataSetMemoryTest : public support::DataSetFileTest
{
protected:
    using Memory = ptCloud::PtCloud_DataSetMemory;
    using Entry = std::tuple<ptCloud::pcBoundingBoxf, ptCloud::stPtCloud_PointArray *>;

    /// Takes the blocks of a file of these bytes.
    bool take(Memory &memory, const support::BlockFile &file)
    {
        m_file.closeFile();
        write(file);
        return memory.makeFromFile(&m_file);
    }

    /// Three blocks that differ in everything, under the keys 1, 2 and 3.
    static support::BlockFile sample(quint32 sort = 1)
    {
        support::BlockFile file = support::soundFile({0, 3, 4, 13}, {{4}, {1}, {7}});
        file.sort = sort;
        file.blocks[1].tag = 42;
        return file;
    }

    /// A file with one block under each of these keys, as a later one that replaces some.
    static support::BlockFile fileWithKeys(const std::vector<qint32> &keys, quint8 seed)
    {
        support::BlockFile file;
        file.columns = {0, 4};
        for (const qint32 key : keys) {
            file.blocks.push_back(file.makeBlock(key, seed, 0, seed));
            file.blocks.back().box[0] = static_cast<float>(seed);
        }
        return file;
    }

    static ptCloud::stPtCloud_PointArray *&arrayAt(Memory &memory, int key)
    {
        return std::get<1>((*memory.getAllBlocksPtr())[key]);
    }
    static std::vector<int> keysOf(Memory &memory)
    {
        const QList<int> keys = memory.getAllBlocksPtr()->keys();
        return {keys.begin(), keys.end()};
    }

    static ptCloud::pcBoundingBoxf boxOf(const support::BlockFile::Block &block)
    {
        return {block.box[0], block.box[1], block.box[2], block.box[3], block.box[4], block.box[5]};
    }

    /// Expects that the object has these blocks and no others.
    static void expectBlocks(Memory &memory, const support::BlockFile &file)
    {
        const auto parsed = support::BlockFile::parse(file.bytes());
        ASSERT_TRUE(parsed);
        EXPECT_EQ(memory.getSortType(), static_cast<ptCloud::EDataSetSort>(file.sort));
        QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks;
        memory.getBlocks(blocks);
        EXPECT_EQ(blocks.size(), static_cast<int>(file.blocks.size()));
        EXPECT_EQ(memory.getAllBlocksPtr()->size(), static_cast<int>(file.blocks.size()));
        for (const support::BlockFile::Block &block : parsed->blocks) {
            ASSERT_TRUE(blocks.contains(block.key)) << block.key;
            EXPECT_EQ(std::get<0>(blocks[block.key]), block.points);
            EXPECT_EQ(std::get<1>(blocks[block.key]), boxOf(block));
            EXPECT_EQ(std::get<0>((*memory.getAllBlocksPtr())[block.key]), boxOf(block));
            EXPECT_EQ(memory.readBlock(block.key), arrayAt(memory, block.key));
            support::expectBlockAt(file.bytes(), block.recordOffset + 28, file.columns, memory.readBlock(block.key));
        }
    }

    /// Expects an object as it is at first: no blocks, no sort, no columns.
    void expectEmpty(Memory &memory)
    {
        EXPECT_TRUE(memory.getAllBlocksPtr()->isEmpty());
        EXPECT_EQ(memory.getSortType(), ptCloud::EDataSetSort_None);
        EXPECT_EQ(memory.readBlock(1), nullptr);
    }

    /// What the object writes into a new file; no bytes where it refuses.
    QByteArray saved(Memory &memory)
    {
        ptCloud::PtCloud_DataSetFile file;
        EXPECT_TRUE(file.setFile(path("saved")));
        const bool done = memory.saveToFile(&file);
        support::expectClosed(file);
        return done ? support::readFile(path("saved")) : QByteArray();
    }

    /// The same file with the points numbered and unmarked, as a save leaves them.
    static support::BlockFile renumbered(support::BlockFile file)
    {
        for (support::BlockFile::Block &block : file.blocks) {
            for (quint32 i = 0; i < block.points; ++i) {
                block.indices[i] = i;
                block.marks[i] = 0;
            }
        }
        return file;
    }

    /// An array of points of its own, as a host makes it.
    static ptCloud::stPtCloud_PointArray *newArray(unsigned int points, int tag)
    {
        auto array = std::make_unique<ptCloud::stPtCloud_PointArray>();
        EXPECT_TRUE(
            array->alloc(points, {ptCloud::EDataSetColumn_Position, ptCloud::EDataSetColumn_Intensity}, false, 0));
        array->m_blockTag = tag;
        return array.release();
    }
};
