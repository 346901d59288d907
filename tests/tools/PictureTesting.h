#pragma once

#include "ExportTesting.h"

#include <QImage>

#include <cmath>
#include <set>

namespace support
{

/// Positions one behind the other, as a column run holds them.
struct Spot
{
    float x;
    float y;
    float z;
};
inline QByteArray positions(const std::vector<Spot> &spots)
{
    QByteArray bytes;
    for (const Spot &spot : spots)
        bytes += run<float>({spot.x, spot.y, spot.z});
    return bytes;
}

/// The corners of a square of 10 x 10 units on the ground: north-west, north-east, south-west, south-east.
inline const std::vector<Spot> squareCorners = {{0, 10, 0}, {10, 10, 0}, {0, 0, 0}, {10, 0, 0}};

/// Colours as a column run holds them.
inline QByteArray colours(const std::vector<QColor> &all)
{
    QByteArray bytes;
    for (const QColor &color : all)
        bytes += run<float>({static_cast<float>(color.redF()), static_cast<float>(color.greenF()),
                             static_cast<float>(color.blueF()), 1.0F});
    return bytes;
}

/// A picture of a data set file as the host draws it, 101 pixels at its longer edge where nothing else is told: ten for
/// each unit of the square.
class PictureTest : public ::testing::Test
{
protected:
    static constexpr int margin = 16;
    static constexpr int edge = 101;

    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path(const char *name) const { return m_dir.filePath(QString::fromUtf8(name)); }
    QString picture() const { return path("picture.png"); }

    void write(const std::vector<quint32> &columns, const std::vector<BlockFile::Block> &blocks) const
    {
        BlockFile file;
        file.columns = columns;
        file.blocks = blocks;
        ASSERT_TRUE(writeFile(path("scene"), file.bytes()));
    }
    void writePoints(const std::vector<Spot> &spots) const { write({0}, {blockOf(1, {positions(spots)})}); }
    void writePoints(const std::vector<Spot> &spots, quint32 column, const QByteArray &values) const
    {
        write({0, column}, {blockOf(1, {positions(spots), values})});
    }
    void writeMesh(const std::vector<Spot> &corners, std::initializer_list<quint32> triangles) const
    {
        write({0, 2},
              {blockOf(1, {positions(corners), run<quint32>(triangles)}, static_cast<quint32>(triangles.size() / 3))});
    }

    /// Runs the host with options as on a command line.
    PtcloudRun command(const char *options) const
    {
        QStringList arguments{QStringLiteral("picture"), path("scene"), picture(), QStringLiteral("--json")};
        QStringList more = QString::fromUtf8(options).split(QLatin1Char(' '));
        more.removeAll(QString());
        if (!more.contains(QStringLiteral("--size")))
            more << QStringLiteral("--size") << QString::number(edge);
        return PtcloudRun(arguments + more);
    }
    /// The sheet that the host draws.
    QImage sheet(const char *options = "") const
    {
        const PtcloudRun run = command(options);
        EXPECT_EQ(run.exitCode, 0) << run.errors.constData();
        QImage image(picture());
        EXPECT_FALSE(image.isNull());
        return image;
    }
    /// The drawing on it, without its margins; of this width and height.
    QImage drawing(const char *options = "", int width = edge, int height = edge) const
    {
        return sheet(options).copy(margin, margin, width, height);
    }
    /// The colours of what stands on the right of a drawing.
    static std::set<QRgb> legendColours(const QImage &sheet)
    {
        std::set<QRgb> found;
        for (int y = 0; y < margin + edge; ++y) {
            for (int x = margin + edge + 1; x < sheet.width(); ++x)
                found.insert(sheet.pixel(x, y));
        }
        return found;
    }
    void expectRefusal(const char *options, const char *why) const
    {
        const PtcloudRun run = command(options);
        EXPECT_EQ(run.exitCode, 1);
        ASSERT_EQ(run.errorLines().size(), 1) << run.errors.constData();
        EXPECT_TRUE(run.errorLines().first().contains(why)) << run.errors.constData();
        EXPECT_FALSE(QFile::exists(picture()));
    }

    static constexpr QRgb white = 0xffffffff;

    QTemporaryDir m_dir;
};

} // namespace support
