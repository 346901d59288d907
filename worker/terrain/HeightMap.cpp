#include "HeightMap.h"

#include "Failure.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace ptCloud;

namespace
{

struct Place
{
    double x;
    double y;
};

/// Fills the pixels whose centres lie in triangles.
class Painter
{
public:
    Painter(const GroundModel &ground, HeightMap &map) : m_ground(ground), m_map(map)
    {
        const double range = map.highestHeight - map.lowestHeight;
        m_greyPerMetre = range > 0 ? 65534 / range : 0;
    }

    void paint(const std::array<std::uint32_t, 3> &corners)
    {
        const auto [left, right] = std::minmax({x(corners[0]), x(corners[1]), x(corners[2])});
        const auto [bottom, top] = std::minmax({y(corners[0]), y(corners[1]), y(corners[2])});
        // The centre of pixel i lies at i + 1/2.
        const int firstColumn = std::max(0, static_cast<int>(std::ceil((left - m_map.left) / m_map.pixelSize - 0.5)));
        const int lastColumn = std::min(m_map.image.width() - 1,
                                        static_cast<int>(std::floor((right - m_map.left) / m_map.pixelSize - 0.5)));
        const int firstRow = std::max(0, static_cast<int>(std::ceil((m_map.top - top) / m_map.pixelSize - 0.5)));
        const int lastRow = std::min(m_map.image.height() - 1,
                                     static_cast<int>(std::floor((m_map.top - bottom) / m_map.pixelSize - 0.5)));
        for (int row = firstRow; row <= lastRow; ++row) {
            auto *const line = reinterpret_cast<quint16 *>(m_map.image.scanLine(row));
            const double centreY = m_map.top - (row + 0.5) * m_map.pixelSize;
            for (int column = firstColumn; column <= lastColumn; ++column)
                paintPixel(corners, {m_map.left + (column + 0.5) * m_map.pixelSize, centreY}, line[column]);
        }
    }

private:
    double x(std::uint32_t corner) const { return m_ground.x(corner); }
    double y(std::uint32_t corner) const { return m_ground.y(corner); }

    void paintPixel(const std::array<std::uint32_t, 3> &corners, const Place &p, quint16 &pixel) const
    {
        const auto &[a, b, c] = corners;
        const double weightA = turn(b, c, p);
        const double weightB = turn(c, a, p);
        const double weightC = turn(a, b, p);
        if (weightA < 0 || weightB < 0 || weightC < 0)
            return;
        const double height =
            (weightA * m_ground.heights[a] + weightB * m_ground.heights[b] + weightC * m_ground.heights[c])
            / (weightA + weightB + weightC);
        const double grey = 1 + (height - m_map.lowestHeight) * m_greyPerMetre;
        pixel = static_cast<quint16>(std::clamp(std::round(grey), 1.0, 65535.0));
    }

    /// Twice the area of from, to, p. An edge gives both of its triangles the same number but for the sign, so that no
    /// centre on it falls between them.
    double turn(std::uint32_t from, std::uint32_t to, const Place &p) const
    {
        if (from > to)
            return -turn(to, from, p);
        return (x(to) - x(from)) * (p.y - y(from)) - (y(to) - y(from)) * (p.x - x(from));
    }

    const GroundModel &m_ground;
    HeightMap &m_map;
    double m_greyPerMetre;
};

} // namespace

QJsonObject HeightMap::description(const pcVec3d &origin) const
{
    return {{QStringLiteral("left"), origin.x() + left},
            {QStringLiteral("top"), origin.y() + top},
            {QStringLiteral("pixelSize"), pixelSize},
            {QStringLiteral("width"), image.width()},
            {QStringLiteral("height"), image.height()},
            {QStringLiteral("heightOfGrey1"), origin.z() + lowestHeight},
            {QStringLiteral("heightOfGrey65535"), origin.z() + highestHeight},
            {QStringLiteral("greyOfNoData"), 0}};
}

HeightMap makeHeightMap(const GroundModel &ground, int largePixels, Progress &progress)
{
    progress.stage(QStringLiteral("drawing the height map"), 0, 1);
    const auto byY = [](const PlanPoint &a, const PlanPoint &b) { return a.y < b.y; };
    const auto [lowest, highest] = std::minmax_element(ground.places.begin(), ground.places.end(), byY);
    const double left = ground.places.front().x / 1000.0;
    const double width = ground.places.back().x / 1000.0 - left;
    const double height = (static_cast<double>(highest->y) - lowest->y) / 1000.0;
    const double pixelSize = std::max(width, height) / largePixels;
    const auto pixels = [&](double extent) {
        return std::clamp(static_cast<int>(std::ceil(extent / pixelSize - 1e-9)), 1, largePixels);
    };
    HeightMap map{QImage(pixels(width), pixels(height), QImage::Format_Grayscale16),
                  left,
                  highest->y / 1000.0,
                  pixelSize,
                  ground.lowest(),
                  ground.highest()};
    if (map.image.isNull())
        throw Failure(ExitCode::Memory,
                      QStringLiteral("largePixels %1: no memory for such a picture").arg(largePixels));
    map.image.fill(0);
    Painter painter(ground, map);
    const std::size_t count = ground.mesh.triangles.size();
    for (std::size_t t = 0; t < count; ++t) {
        painter.paint(ground.mesh.triangles[t]);
        if (t % 65536 == 0)
            progress.show(static_cast<double>(t) / static_cast<double>(count));
    }
    return map;
}
