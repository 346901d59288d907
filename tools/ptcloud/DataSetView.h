#pragma once

#include "Camera.h"
#include "Colouring.h"
#include "DepthImage.h"

#include "PtCloud_DataSetFile.h"

#include <QImage>
#include <QList>

#include <optional>

/// Draws a data set file: blocks with triangles as surfaces in light and shade, the others as points. Each pixel shows
/// what is nearest to the eye.
///
/// Left out are points with coordinates that no survey has, and triangles with such a corner or one that the block
/// doesn't have. At any time there is one block in memory.
class DataSetView
{
public:
    /// @param file         open; stays the caller's, and so does `colouring`
    /// @param longestEdge  pixels of the picture's longer edge
    DataSetView(ptCloud::PtCloud_DataSetFile &file, Colouring &colouring, const Camera &camera, int longestEdge);

    /// Reads every block twice and draws it. Null if there is nothing to draw. Throws `CommandError` where a block
    /// can't be read.
    QImage draw();

    // What is known after `draw`.

    double unitsPerPixel() const { return m_unitsPerPixel; }
    quint64 leftOutPoints() const { return m_leftOutPoints; }
    quint64 leftOutTriangles() const { return m_leftOutTriangles; }
    /// Where a position lies in the picture.
    QPointF pixelOf(const ptCloud::pcVec3d &position) const;

private:
    template <typename Take>
    void walkBlocks(Take take);
    void measure();
    void measureBlock(const ptCloud::stPtCloud_PointArray &block);
    void setScale();
    void drawPoints(DepthImage &image, const ptCloud::stPtCloud_PointArray &block, int key) const;
    void drawTriangles(DepthImage &image, const ptCloud::stPtCloud_PointArray &block, int key) const;
    void fillTriangle(DepthImage &image, Place &place) const;
    /// Column, row and depth, all in pixels.
    ptCloud::pcVec3d pixelAndDepth(const ptCloud::pcVec3f &position) const;

    ptCloud::PtCloud_DataSetFile &m_file;
    Colouring &m_colouring;
    Camera m_camera;
    int m_longestEdge;
    ptCloud::pcBoundingBoxd m_places; ///< as the camera gives them
    quint64 m_points = 0;             ///< that are drawn as such
    quint64 m_leftOutPoints = 0;
    quint64 m_leftOutTriangles = 0;
    bool m_hasSurfaces = false;
    double m_unitsPerPixel = 1.0;
    int m_width = 0;
    int m_height = 0;
    int m_dot = 1; ///< pixels across a point
};
