#pragma once

#include "Bytes.h"
#include "ContourFile.h"

#include "PtCloud_ContourFile.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <iterator>
#include <map>

/// What the tests of the file of contours share.
namespace contour
{

/// The group as it should lie in a file.
inline support::ContourFile::Group stored(const ptCloud::PtCloud_ContourFile::Group &group)
{
    support::ContourFile::Group result;
    for (auto it = group.cbegin(); it != group.cend(); ++it) {
        support::ContourFile::Height height;
        height.height = it.key();
        for (const QVector<QPointF> &line : it.value()) {
            height.lines.emplace_back();
            for (const QPointF &point : line)
                height.lines.back().points.push_back({point.x(), point.y()});
        }
        result.heights.push_back(height);
    }
    return result;
}

/// What an object holds, as the bytes of the file that it should be.
inline QByteArray contents(const ptCloud::PtCloud_ContourFile &file)
{
    support::ContourFile result;
    result.groups[0] = stored(file.contourGroup1());
    result.groups[1] = stored(file.contourGroup2());
    return result.bytes();
}

/// What a reader keeps of a file: each height once, in ascending order, with all its lines in the order of the file; no
/// height without lines.
inline support::ContourFile kept(support::ContourFile file)
{
    for (support::ContourFile::Group &group : file.groups) {
        std::map<double, std::vector<support::ContourFile::Line>> lines;
        for (const support::ContourFile::Height &height : group.heights) {
            if (!height.lines.empty()) {
                auto &target = lines[height.height];
                target.insert(target.end(), height.lines.begin(), height.lines.end());
            }
        }
        group = {};
        for (const auto &[height, itsLines] : lines)
            group.heights.push_back({height, itsLines, {}});
    }
    return file;
}

inline QByteArray noContours()
{
    return support::ContourFile().bytes();
}

/// Contours that no test file has.
inline void fill(ptCloud::PtCloud_ContourFile &file)
{
    file.contourGroup1()[77.0].append({QPointF(7.0, 7.5)});
    file.contourGroup2()[-77.0].append({QPointF(8.0, 8.5), QPointF(9.0, 9.5)});
}

/// An object over a file in a directory of its own.
class ContourFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_file.setFile(path());
    }

    QString path(const char *name = "dem.contour") const { return m_dir.filePath(QLatin1String(name)); }
    void write(const QByteArray &bytes) const { ASSERT_TRUE(support::writeFile(path(), bytes)); }
    QByteArray written(const char *name = "dem.contour") const { return support::readFile(path(name)); }

    /// Whether the object opens a file of these bytes. Before it holds contours that no file has.
    bool opens(const QByteArray &bytes)
    {
        write(bytes);
        fill(m_file);
        const bool result = m_file.openFile();
        EXPECT_FALSE(m_file.isOpen());
        EXPECT_EQ(m_file.getFilepath(), path());
        return result;
    }
    /// Expects that the object reads a file of these bytes as `file`.
    void expectRead(const QByteArray &bytes, const support::ContourFile &file)
    {
        EXPECT_TRUE(opens(bytes));
        EXPECT_EQ(contents(m_file).toHex(), kept(file).bytes().toHex());
    }

    QTemporaryDir m_dir;
    ptCloud::PtCloud_ContourFile m_file;
};

} // namespace contour
