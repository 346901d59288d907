#include "DepthImage.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace ptCloud;

namespace
{

constexpr QRgb background = 0xffffffff;

QRgb lit(QRgb color, double factor)
{
    const auto channel = [factor](int value) {
        return static_cast<int>(std::lround(std::clamp(value * factor, 0.0, 255.0)));
    };
    return qRgb(channel(qRed(color)), channel(qGreen(color)), channel(qBlue(color)));
}

} // namespace

DepthImage::DepthImage(int width, int height)
    : m_width(width), m_height(height), m_pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
{}

void DepthImage::closeGaps()
{
    // A pixel counts as it was before this round: the rows above and here are copies, the one below is still to come.
    const auto row = [this](int number) { return m_pixels.begin() + static_cast<std::ptrdiff_t>(index(0, number)); };
    std::vector<Pixel> above;
    std::vector<Pixel> here(row(0), row(0) + m_width);
    for (int y = 1; y + 1 < m_height; ++y) {
        above.swap(here);
        here.assign(row(y), row(y) + m_width);
        const Pixel *const below = &m_pixels[index(0, y + 1)];
        for (int x = 1; x + 1 < m_width; ++x) {
            if (!here[static_cast<std::size_t>(x)].isSet())
                m_pixels[index(x, y)] = filling(
                    {&above[static_cast<std::size_t>(x - 1)], &here[static_cast<std::size_t>(x - 1)], below + x - 1});
        }
    }
}

/// The look of the neighbour nearest to the eye, in the middle of all their depths; nothing if there are few.
DepthImage::Pixel DepthImage::filling(const std::array<const Pixel *, 3> &rows)
{
    constexpr int enough = 4;
    int count = 0;
    float depths = 0.0F;
    Pixel filling;
    for (const Pixel *const row : rows) {
        for (const Pixel *neighbour = row; neighbour != row + 3; ++neighbour) {
            if (!neighbour->isSet())
                continue;
            ++count;
            depths += neighbour->depth;
            if (!filling.isSet() || neighbour->depth > filling.depth)
                filling = *neighbour;
        }
    }
    filling.depth = depths / static_cast<float>(std::max(count, 1));
    return count >= enough ? filling : Pixel();
}

void DepthImage::light(const Camera &camera, double strength, int reach)
{
    const double levelBrightness = camera.brightness(camera.place({0, 0, 1}));
    for (int row = 0; row < m_height; ++row) {
        for (int column = 0; column < m_width; ++column) {
            Pixel &pixel = m_pixels[index(column, row)];
            if (!pixel.isSet())
                continue;
            const double brightness = camera.brightness(normal(column, row, reach));
            pixel.color = lit(pixel.color, 1.0 + strength * (brightness / levelBrightness - 1.0));
        }
    }
}

/// Of the plane that lies best among the depths around a pixel.
pcVec3d DepthImage::normal(int column, int row, int reach) const
{
    const auto middle = static_cast<double>(m_pixels[index(column, row)].depth);
    double count = 0;
    double x = 0;
    double y = 0;
    double z = 0;
    double xx = 0;
    double xy = 0;
    double yy = 0;
    double xz = 0;
    double yz = 0;
    for (int j = std::max(row - reach, 0); j <= std::min(row + reach, m_height - 1); ++j) {
        for (int i = std::max(column - reach, 0); i <= std::min(column + reach, m_width - 1); ++i) {
            const Pixel &pixel = m_pixels[index(i, j)];
            if (!pixel.isSet())
                continue;
            const double dx = i - column;
            const double dy = row - j;
            const double dz = static_cast<double>(pixel.depth) - middle;
            ++count;
            x += dx;
            y += dy;
            z += dz;
            xx += dx * dx;
            xy += dx * dy;
            yy += dy * dy;
            xz += dx * dz;
            yz += dy * dz;
        }
    }
    xx -= x * x / count;
    xy -= x * y / count;
    yy -= y * y / count;
    xz -= x * z / count;
    yz -= y * z / count;
    const double determinant = xx * yy - xy * xy;
    if (determinant < 1e-9)
        return {0, 0, 1};
    return {-(xz * yy - yz * xy) / determinant, -(yz * xx - xz * xy) / determinant, 1};
}

QImage DepthImage::image() const
{
    QImage image(m_width, m_height, QImage::Format_RGB32);
    if (image.isNull())
        return {};
    for (int row = 0; row < m_height; ++row) {
        auto *const line = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (int column = 0; column < m_width; ++column) {
            const Pixel &pixel = m_pixels[index(column, row)];
            line[column] = pixel.isSet() ? pixel.color : background;
        }
    }
    return image;
}
