#pragma once

#include "PtCloud_DataSetFile.h"

#include <QColor>
#include <QImage>
#include <QList>

#include <vector>

/// Draws a data set file from above: each pixel shows the highest point that falls on it.
class TopView
{
public:
    enum By { Height, Colour, Classification, Intensity, Block };

    /// @param file         open; stays the caller's
    /// @param longestEdge  pixels of the picture's longer edge
    TopView(ptCloud::PtCloud_DataSetFile &file, By by, int longestEdge);

    /// Reads every block and draws it. Null if there is no point with finite coordinates, or a block can't be read.
    QImage draw();

    /// What the picture covers, in position units; known after `draw`.
    const ptCloud::pcBoundingBoxf &bounds() const { return m_bounds; }

private:
    struct Pixel
    {
        float height = 0.0F;
        QRgb color = 0;
        bool isSet = false;
    };

    /// Hands each point with finite coordinates to `take(block, point, key)`; false where a block can't be read.
    template <typename Take>
    bool walkPoints(Take take);

    bool measure();
    bool plot();
    void closeGaps();
    QImage shaded() const;
    QRgb colorOf(const ptCloud::stPtCloud_PointArray &block, unsigned int point, int key) const;
    QRgb withLight(int column, int row) const;
    std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(column);
    }

    ptCloud::PtCloud_DataSetFile &m_file;
    By m_by;
    int m_longestEdge;
    QList<int> m_keys;
    ptCloud::pcBoundingBoxf m_bounds;
    int m_highestIntensity = 1;
    double m_unitsPerPixel = 1.0;
    int m_width = 0;
    int m_height = 0;
    std::vector<Pixel> m_pixels;
};
