#pragma once

#include "Camera.h"

#include <QColor>
#include <QImage>

#include <array>
#include <cstddef>
#include <vector>

/// Pixels of which each shows what is nearest to the eye.
class DepthImage
{
public:
    DepthImage(int width, int height);

    int width() const { return m_width; }
    int height() const { return m_height; }
    /// Sets a pixel, to what `color()` gives, if it lies in the picture and nothing nearer is there. Depths grow
    /// towards the eye and are counted in pixels.
    template <typename Color>
    void set(int column, int row, double depth, Color color)
    {
        if (column < 0 || column >= m_width || row < 0 || row >= m_height)
            return;
        Pixel &pixel = m_pixels[index(column, row)];
        if (!pixel.isSet() || static_cast<float>(depth) > pixel.depth)
            pixel = {static_cast<float>(depth), color() | opaque};
    }

    /// Gives a pixel that shows nothing the look of its neighbours, if many of them show something.
    void closeGaps();
    /// Lays light and shade over the colours.
    /// @param strength  0 leaves the colours as they are, 1 leaves black what no light reaches
    /// @param reach     pixels on each side from which the slope is taken
    void light(const Camera &camera, double strength, int reach);
    /// White where nothing was drawn.
    QImage image() const;

private:
    static constexpr QRgb opaque = 0xff000000U;

    struct Pixel
    {
        float depth = 0.0F;
        QRgb color = 0;

        bool isSet() const { return color != 0; }
    };

    std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(column);
    }
    static Pixel filling(const std::array<const Pixel *, 3> &rows);
    ptCloud::pcVec3d normal(int column, int row, int reach) const;

    int m_width;
    int m_height;
    std::vector<Pixel> m_pixels;
};
