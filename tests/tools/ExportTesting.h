#pragma once

#include "BlockFile.h"
#include "Bytes.h"
#include "PtcloudRun.h"
#include "SameBytes.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <vector>

namespace support
{

/// Values one behind the other, as a column run holds them.
template <typename T>
QByteArray run(std::initializer_list<T> values)
{
    QByteArray bytes;
    for (const T value : values)
        put(bytes, value);
    return bytes;
}

using Box = std::array<float, 6>;
constexpr Box everywhere{-1e9F, -1e9F, -1e9F, 1e9F, 1e9F, 1e9F};

/// A block with these runs, in the order of the file's columns; the first holds the positions.
inline BlockFile::Block blockOf(qint32 key, const std::vector<QByteArray> &runs, quint32 triangles = 0,
                                const Box &box = everywhere)
{
    const auto points = static_cast<quint32>(runs.front().size() / 12);
    BlockFile::Block block = BlockFile().makeBlock(key, points, triangles);
    block.columns = runs;
    std::copy(box.begin(), box.end(), block.box);
    return block;
}

/// A data set file `points` and what is exported from it.
class ExportTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path(const char *name) const { return m_dir.filePath(QString::fromUtf8(name)); }
    QString source() const { return path("points"); }

    void write(const BlockFile &file) const { ASSERT_TRUE(writeFile(source(), file.bytes())); }
    /// A file of positions alone, in one block.
    void writePositions(const QByteArray &positions) const
    {
        BlockFile file;
        file.columns = {0};
        file.blocks = {blockOf(1, {positions})};
        write(file);
    }

    PtcloudRun exportTo(const char *out, const QStringList &more = {}) const
    {
        return PtcloudRun(QStringList{QStringLiteral("export"), source(), path(out)} + more);
    }
    /// What a command that must succeed makes.
    QByteArray exported(const char *out, const QStringList &more = {}) const
    {
        const PtcloudRun done = exportTo(out, more);
        EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
        return readFile(path(out));
    }

    /// Expects a failure of one line and nothing written.
    void expectRefused(const char *out, const QStringList &more, const char *why) const
    {
        const PtcloudRun done = exportTo(out, more);
        EXPECT_EQ(done.exitCode, 1) << why;
        ASSERT_EQ(done.errorLines().size(), 1) << why << ": " << done.errors.constData();
        EXPECT_TRUE(done.errorLines().first().contains(why)) << done.errors.constData();
        EXPECT_FALSE(QFile::exists(path(out))) << why;
    }

    static QStringList box(const char *numbers) { return {QStringLiteral("--box=") + QLatin1String(numbers)}; }
    static QStringList columns(const char *numbers) { return {QStringLiteral("--columns"), QLatin1String(numbers)}; }

    QTemporaryDir m_dir;
};

} // namespace support
