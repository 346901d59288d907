#pragma once

#include "DataSetFileTest.h"
#include "PlainMerge.h"

#include "PtCloud_DataSetFile.h"

#include <memory>
#include <vector>

/// Merges data set files whose bytes were written without the library.
class MergeBuildTest : public support::DataSetFileTest
{
protected:
    using Columns = std::vector<quint32>;
    using Keys = std::vector<qint32>;
    using Files = QList<ptCloud::PtCloud_DataSetFile *>;

    /// A file of this sort with blocks under these keys. Counts, tags and contents depend on `seed`.
    static support::BlockFile fileOf(const Columns &columns, const Keys &keys, quint32 sort = 1, quint8 seed = 1)
    {
        support::BlockFile file;
        file.sort = sort;
        file.columns = columns;
        for (const qint32 key : keys) {
            file.blocks.push_back(file.makeBlock(key, seed % 7U + 1U, seed % 3U + 1U, seed));
            file.blocks.back().tag = 100 * seed;
            ++seed;
        }
        return file;
    }

    /// A file on disk with these bytes, and a closed object over it.
    ptCloud::PtCloud_DataSetFile &add(const QByteArray &bytes)
    {
        const QString sourcePath = m_dir.filePath(QStringLiteral("source%1").arg(m_sources.size()));
        EXPECT_TRUE(support::writeFile(sourcePath, bytes));
        m_sources.push_back(std::make_unique<ptCloud::PtCloud_DataSetFile>());
        EXPECT_TRUE(m_sources.back()->setFile(sourcePath));
        return *m_sources.back();
    }
    ptCloud::PtCloud_DataSetFile &add(const support::BlockFile &file) { return add(file.bytes()); }

    Files addAll(const std::vector<support::BlockFile> &plain)
    {
        Files files;
        for (const support::BlockFile &file : plain)
            files.append(&add(file));
        return files;
    }

    /// A merge over older contents, whose leftovers would show.
    bool merge(const Files &files)
    {
        write(oldContents());
        return m_file.makeDataSet_byDataSetFiles(files);
    }
    bool merge(const std::vector<support::BlockFile> &plain) { return merge(addAll(plain)); }

    static QByteArray oldContents() { return QByteArray("what stood here before"); }

    /// The lines of opening these files, in this order.
    static QStringList linesOf(const std::vector<support::BlockFile> &plain)
    {
        QStringList lines;
        for (const support::BlockFile &file : plain) {
            int number = 0;
            for (const support::BlockFile::Block &block : file.blocks)
                lines.append(QStringLiteral("block number= %1    points number= %2").arg(++number).arg(block.points));
        }
        return lines;
    }

    void expectBytes(const QByteArray &expected) const
    {
        const QByteArray bytes = support::readFile(path());
        EXPECT_EQ(bytes.size(), expected.size());
        const auto differing = std::mismatch(bytes.begin(), bytes.end(), expected.begin(), expected.end()).first;
        EXPECT_TRUE(bytes == expected) << "first difference at " << differing - bytes.begin();
    }

    /// Expects that the file on disk holds the planned heads where they belong, and has the planned size.
    void expectHeads(const support::BlockFile &planned) const
    {
        const QByteArray bytes = support::readFile(path());
        const QByteArray expected = planned.bytes();
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

    /// Expects that a source is open, holds what its file held, and reads every block of it.
    static void expectSound(ptCloud::PtCloud_DataSetFile &source, const support::BlockFile &file)
    {
        const QByteArray bytes = file.bytes();
        EXPECT_EQ(support::readFile(source.getFilepath()), bytes);
        EXPECT_TRUE(source.isOpened());
        EXPECT_EQ(static_cast<quint32>(source.getSortType()), file.sort);
        const auto parsed = support::BlockFile::parse(bytes);
        ASSERT_TRUE(parsed);
        for (const support::BlockFile::Block &block : parsed->blocks)
            support::expectBlockAt(bytes, block.recordOffset + 28, file.columns, source.readBlock(block.key));
    }

    /// Merges, and expects this file, nothing but the lines of opening, a closed target and sources that stay open.
    void expectMerges(const std::vector<support::BlockFile> &plain, const support::BlockFile &expected)
    {
        const std::size_t first = m_sources.size();
        EXPECT_TRUE(merge(plain));
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines(), linesOf(plain));
        expectBytes(expected.bytes());
        for (std::size_t i = 0; i < plain.size(); ++i)
            expectSound(*m_sources[first + i], plain[i]);
    }

    /// The block of a file as the merged one has it, with its columns still to be chosen.
    static support::BlockFile::Block moved(const support::BlockFile::Block &source, qint32 key, quint32 firstIndex)
    {
        support::BlockFile::Block block = source;
        block.key = key;
        for (quint32 &index : block.indices)
            index = firstIndex++;
        return block;
    }

    std::vector<std::unique_ptr<ptCloud::PtCloud_DataSetFile>> m_sources;
};
