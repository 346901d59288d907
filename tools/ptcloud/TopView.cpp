#include "TopView.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace ptCloud;

namespace
{

constexpr QRgb background = 0xffffffff;

struct Stop
{
    float red;
    float green;
    float blue;
};

QRgb mixed(const Stop &a, const Stop &b, float t)
{
    const auto channel = [t](float from, float to) { return static_cast<int>(255.0F * (from + (to - from) * t)); };
    return qRgb(channel(a.red, b.red), channel(a.green, b.green), channel(a.blue, b.blue));
}

/// Low to high: blue, green, yellow, red, each as bright as its neighbours.
QRgb heightColor(float share)
{
    constexpr std::array<Stop, 5> stops = {{{0.20F, 0.30F, 0.65F},
                                            {0.20F, 0.60F, 0.60F},
                                            {0.45F, 0.75F, 0.35F},
                                            {0.95F, 0.85F, 0.35F},
                                            {0.85F, 0.35F, 0.25F}}};
    const float at = std::clamp(share, 0.0F, 1.0F) * (stops.size() - 1);
    const auto first = std::min(static_cast<std::size_t>(at), stops.size() - 2);
    return mixed(stops[first], stops[first + 1], at - static_cast<float>(first));
}

QRgb classColor(unsigned char classification)
{
    switch (classification) {
    case 2:
        return qRgb(170, 130, 85); // ground
    case 3:
    case 4:
    case 5:
        return qRgb(60, 140, 60); // vegetation
    case 6:
        return qRgb(200, 70, 60); // building
    case 9:
        return qRgb(60, 110, 200); // water
    default:
        return qRgb(140, 140, 140);
    }
}

QRgb blockColor(int key)
{
    // A step of the golden angle keeps neighbouring keys apart in hue.
    const double hue = std::fmod(key * 137.50776405, 360.0);
    return QColor::fromHsv(static_cast<int>(std::abs(hue)), 150, 225).rgb();
}

bool isFinite(const pcVec3f &position)
{
    return std::isfinite(position.x()) && std::isfinite(position.y()) && std::isfinite(position.z());
}

} // namespace

TopView::TopView(PtCloud_DataSetFile &file, By by, int longestEdge) : m_file(file), m_by(by), m_longestEdge(longestEdge)
{
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    m_keys = blocks.keys();
}

QImage TopView::draw()
{
    if (!measure() || !m_bounds.valid() || !plot())
        return {};
    for (int round = 0; round < 3; ++round)
        closeGaps();
    return shaded();
}

template <typename Take>
bool TopView::walkPoints(Take take)
{
    for (const int key : qAsConst(m_keys)) {
        const stPtCloud_PointArray *block = m_file.readBlock(key);
        if (block == nullptr)
            return false;
        for (unsigned int i = 0; i < block->m_pointCount; ++i) {
            if (isFinite(block->m_position[i]))
                take(*block, i, key);
        }
    }
    return true;
}

bool TopView::measure()
{
    const bool done = walkPoints([this](const stPtCloud_PointArray &block, unsigned int point, int) {
        m_bounds.expandBy(block.m_position[point]);
        if (block.m_intensity != nullptr)
            m_highestIntensity = std::max<int>(m_highestIntensity, block.m_intensity[point]);
    });
    const double width = static_cast<double>(m_bounds.xMax()) - static_cast<double>(m_bounds.xMin());
    const double height = static_cast<double>(m_bounds.yMax()) - static_cast<double>(m_bounds.yMin());
    const double longest = std::max(width, height);
    m_unitsPerPixel = longest > 0.0 ? longest / (m_longestEdge - 1) : 1.0;
    m_width = std::clamp(static_cast<int>(width / m_unitsPerPixel) + 1, 1, m_longestEdge);
    m_height = std::clamp(static_cast<int>(height / m_unitsPerPixel) + 1, 1, m_longestEdge);
    return done;
}

bool TopView::plot()
{
    m_pixels.assign(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height), {});
    return walkPoints([this](const stPtCloud_PointArray &block, unsigned int point, int key) {
        const pcVec3f &position = block.m_position[point];
        const double right = static_cast<double>(position.x()) - static_cast<double>(m_bounds.xMin());
        const double down = static_cast<double>(m_bounds.yMax()) - static_cast<double>(position.y());
        const int column = std::min(static_cast<int>(right / m_unitsPerPixel), m_width - 1);
        const int row = std::min(static_cast<int>(down / m_unitsPerPixel), m_height - 1);
        Pixel &pixel = m_pixels[index(column, row)];
        if (!pixel.isSet || position.z() > pixel.height)
            pixel = {position.z(), colorOf(block, point, key), true};
    });
}

/// Gives a pixel without a point the look of its neighbours, if most of them have one.
void TopView::closeGaps()
{
    const std::vector<Pixel> before = m_pixels;
    for (int row = 1; row + 1 < m_height; ++row) {
        for (int column = 1; column + 1 < m_width; ++column) {
            if (before[index(column, row)].isSet)
                continue;
            int count = 0;
            const Pixel *highest = nullptr;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const Pixel &neighbour = before[index(column + dx, row + dy)];
                    count += neighbour.isSet ? 1 : 0;
                    if (neighbour.isSet && (highest == nullptr || neighbour.height > highest->height))
                        highest = &neighbour;
                }
            }
            if (count >= 4)
                m_pixels[index(column, row)] = *highest;
        }
    }
}

QImage TopView::shaded() const
{
    QImage image(m_width, m_height, QImage::Format_RGB32);
    image.fill(background);
    for (int row = 0; row < m_height; ++row) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (int column = 0; column < m_width; ++column) {
            const Pixel &pixel = m_pixels[index(column, row)];
            if (pixel.isSet)
                line[column] = m_by == Height ? withLight(column, row) : pixel.color;
        }
    }
    return image;
}

/// The pixel's colour under a light from the upper left, so that the height of small things shows too.
QRgb TopView::withLight(int column, int row) const
{
    const Pixel &pixel = m_pixels[index(column, row)];
    const Pixel &towardsLight = m_pixels[index(std::max(column - 1, 0), std::max(row - 1, 0))];
    const float rise = towardsLight.isSet ? (pixel.height - towardsLight.height) : 0.0F;
    const float light = std::clamp(1.0F + 0.35F * rise / static_cast<float>(m_unitsPerPixel), 0.6F, 1.25F);
    const auto channel = [light](int value) {
        return std::min(static_cast<int>(static_cast<float>(value) * light), 255);
    };
    return qRgb(channel(qRed(pixel.color)), channel(qGreen(pixel.color)), channel(qBlue(pixel.color)));
}

QRgb TopView::colorOf(const stPtCloud_PointArray &block, unsigned int point, int key) const
{
    switch (m_by) {
    case Height:
        break;
    case Colour:
        return 0xff000000U | (block.m_color[point].asABGR() >> 8U);
    case Classification:
        return classColor(block.m_classification[point]);
    case Intensity: {
        const int grey = block.m_intensity[point] * 255 / m_highestIntensity;
        return qRgb(grey, grey, grey);
    }
    case Block:
        return blockColor(key);
    }
    const float range = m_bounds.zMax() - m_bounds.zMin();
    return heightColor(range > 0.0F ? (block.m_position[point].z() - m_bounds.zMin()) / range : 0.0F);
}
