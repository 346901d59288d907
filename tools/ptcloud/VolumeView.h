#pragma once

#include "MapPicture.h"

#include "VolumeCalcAreaList.h"

#include <QColor>
#include <QImage>

/// Draws calculated areas from above: what is to dig in red, what to fill in blue, the stronger the higher, with the
/// boundaries and a scale bar.
class VolumeView
{
public:
    VolumeView(const ptCloud::VolumeCalcAreaList &list, int longestEdge);

    /// Null if no area has an extent.
    QImage draw();

    /// The heights above and below the ground that have the full colour; known after `draw`.
    double highestDig() const { return m_highestDig; }
    double deepestFill() const { return m_deepestFill; }
    /// Length of the scale bar, in position units; known after `draw`.
    double scaleBar() const { return m_scaleBar; }

private:
    void measureHeights();
    QColor colorOf(double height) const;
    void drawCells(MapPicture &map, const ptCloud::VolumeCalcArea &area) const;
    void drawTriangles(MapPicture &map, const ptCloud::VolumeCalcArea &area) const;
    static void drawBoundary(MapPicture &map, const ptCloud::VolumeCalcArea &area);

    QMap<QString, const ptCloud::VolumeCalcArea *> m_areas;
    int m_longestEdge;
    double m_highestDig = 0;
    double m_deepestFill = 0;
    double m_scaleBar = 0;
};
