#include "DataSetView.h"

#include "Console.h"

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

/// Surfaces without any shade look like cut paper.
constexpr double leastLightOnSurfaces = 0.75;

bool isDrawable(const pcVec3f &position)
{
    constexpr float farthest = 1e9F; // no survey reaches there, in whatever unit
    // Written so that what is not a number fails.
    return std::abs(position.x()) <= farthest && std::abs(position.y()) <= farthest
           && std::abs(position.z()) <= farthest;
}

bool isDrawable(const stPtCloud_PointArray &block, const stTriangle &triangle)
{
    const auto isSound = [&block](unsigned int corner) {
        return corner < block.m_pointCount && isDrawable(block.m_position[corner]);
    };
    return isSound(triangle.a) && isSound(triangle.b) && isSound(triangle.c);
}

bool isSurface(const stPtCloud_PointArray &block)
{
    return block.m_triangle != nullptr && block.m_triangleCount > 0;
}

/// Twice the surface of a triangle in the picture; below 0 where its corners go round to the left.
double turn(const pcVec3d &a, const pcVec3d &b, double x, double y)
{
    return (b.x() - a.x()) * (y - a.y()) - (b.y() - a.y()) * (x - a.x());
}

} // namespace

DataSetView::DataSetView(PtCloud_DataSetFile &file, Colouring &colouring, const Camera &camera, int longestEdge)
    : m_file(file), m_colouring(colouring), m_camera(camera), m_longestEdge(longestEdge)
{}

QImage DataSetView::draw()
{
    measure();
    if (!m_places.valid())
        return {};
    setScale();
    DepthImage image(m_width, m_height);
    walkBlocks([&](const stPtCloud_PointArray &block, int key) {
        if (isSurface(block))
            drawTriangles(image, block, key);
        else
            drawPoints(image, block, key);
    });
    // A hole in a surface is to be seen; one between points means nothing.
    constexpr int rounds = 3;
    for (int round = 0; round < rounds && !m_hasSurfaces; ++round)
        image.closeGaps();
    const double light = std::max(m_colouring.lightOnPoints(), m_hasSurfaces ? leastLightOnSurfaces : 0.0);
    if (light > 0)
        image.light(m_camera, light, m_dot + 1);
    return image.image();
}

QPointF DataSetView::pixelOf(const pcVec3d &position) const
{
    const pcVec3d place = m_camera.place(position);
    return {(place.x() - m_places.xMin()) / m_unitsPerPixel, (m_places.yMax() - place.y()) / m_unitsPerPixel};
}

template <typename Take>
void DataSetView::walkBlocks(Take take)
{
    const QList<int> keys = m_file.getBlockInfos().keys();
    for (const int key : keys) {
        const stPtCloud_PointArray *const block = m_file.readBlock(key);
        if (block == nullptr)
            throw CommandError(
                QStringLiteral("block %1 of %2 can't be read").arg(key).arg(quoted(m_file.getFilepath())));
        take(*block, key);
    }
}

void DataSetView::measure()
{
    walkBlocks([this](const stPtCloud_PointArray &block, int) { measureBlock(block); });
    m_colouring.settle();
}

void DataSetView::measureBlock(const stPtCloud_PointArray &block)
{
    const auto see = [&](unsigned int point) {
        m_places.expandBy(m_camera.place(block.m_position[point]));
        m_colouring.see(block, point);
    };
    if (!isSurface(block)) {
        for (unsigned int i = 0; i < block.m_pointCount; ++i) {
            if (isDrawable(block.m_position[i])) {
                see(i);
                ++m_points;
            } else {
                ++m_leftOutPoints;
            }
        }
        return;
    }
    for (unsigned int i = 0; i < block.m_triangleCount; ++i) {
        const stTriangle &triangle = block.m_triangle[i];
        if (isDrawable(block, triangle)) {
            for (const unsigned int corner : {triangle.a, triangle.b, triangle.c})
                see(corner);
            m_hasSurfaces = true;
        } else {
            ++m_leftOutTriangles;
        }
    }
}

void DataSetView::setScale()
{
    const double width = m_places.xMax() - m_places.xMin();
    const double height = m_places.yMax() - m_places.yMin();
    const double longest = std::max(width, height);
    m_unitsPerPixel = longest > 0.0 ? longest / (m_longestEdge - 1) : 1.0;
    m_width = std::clamp(static_cast<int>(width / m_unitsPerPixel) + 1, 1, m_longestEdge);
    m_height = std::clamp(static_cast<int>(height / m_unitsPerPixel) + 1, 1, m_longestEdge);
    if (m_points > 0) {
        // So wide that points which are spread at random over the ground leave little open between them, even where
        // they lie on a slope towards the eye.
        constexpr double overlap = 2;
        constexpr double widest = 7;
        const double pixels = static_cast<double>(m_width) * m_height / m_camera.foreshortening();
        const double spacing = std::sqrt(pixels / static_cast<double>(m_points));
        m_dot = static_cast<int>(std::lround(std::clamp(overlap * spacing, 1.0, widest)));
    }
}

pcVec3d DataSetView::pixelAndDepth(const pcVec3f &position) const
{
    const QPointF pixel = pixelOf(position);
    return {pixel.x(), pixel.y(), (m_camera.place(position).z() - m_places.zMin()) / m_unitsPerPixel};
}

void DataSetView::drawPoints(DepthImage &image, const stPtCloud_PointArray &block, int key) const
{
    for (unsigned int i = 0; i < block.m_pointCount; ++i) {
        if (!isDrawable(block.m_position[i]))
            continue;
        const pcVec3d at = pixelAndDepth(block.m_position[i]);
        const int left = std::min(static_cast<int>(at.x()), m_width - 1) - (m_dot - 1) / 2;
        const int top = std::min(static_cast<int>(at.y()), m_height - 1) - (m_dot - 1) / 2;
        for (int row = top; row < top + m_dot; ++row) {
            for (int column = left; column < left + m_dot; ++column)
                image.set(column, row, at.z(), [&] { return m_colouring.color({block, key, {i, i, i}}); });
        }
    }
}

void DataSetView::drawTriangles(DepthImage &image, const stPtCloud_PointArray &block, int key) const
{
    for (unsigned int i = 0; i < block.m_triangleCount; ++i) {
        const stTriangle &triangle = block.m_triangle[i];
        if (!isDrawable(block, triangle))
            continue;
        Place place{block, key, {triangle.a, triangle.b, triangle.c}};
        fillTriangle(image, place);
    }
}

/// Fills the pixels whose middle lies in the triangle; one too small or narrow for any shows by its corners.
void DataSetView::fillTriangle(DepthImage &image, Place &place) const
{
    std::array<pcVec3d, 3> at;
    for (std::size_t i = 0; i < 3; ++i)
        at[i] = pixelAndDepth(place.block.m_position[place.corners[i]]);
    const auto [left, right] = std::minmax({at[0].x(), at[1].x(), at[2].x()});
    const auto [top, bottom] = std::minmax({at[0].y(), at[1].y(), at[2].y()});
    const double area = turn(at[0], at[1], at[2].x(), at[2].y());
    bool isShown = false;
    for (int row = static_cast<int>(top); row <= std::min(static_cast<int>(bottom), m_height - 1); ++row) {
        for (int column = static_cast<int>(left); column <= std::min(static_cast<int>(right), m_width - 1); ++column) {
            const double x = column + 0.5;
            const double y = row + 0.5;
            place.weights = {turn(at[1], at[2], x, y) / area, turn(at[2], at[0], x, y) / area,
                             turn(at[0], at[1], x, y) / area};
            // Without a surface they are not numbers, or beyond all bounds.
            if (!(place.weights[0] >= 0 && place.weights[1] >= 0 && place.weights[2] >= 0 && std::isfinite(1 / area)))
                continue;
            const double depth =
                place.weights[0] * at[0].z() + place.weights[1] * at[1].z() + place.weights[2] * at[2].z();
            image.set(column, row, depth, [&] { return m_colouring.color(place); });
            isShown = true;
        }
    }
    for (std::size_t i = 0; i < 3 && !isShown; ++i) {
        place.weights = {};
        place.weights[i] = 1;
        image.set(std::min(static_cast<int>(at[i].x()), m_width - 1),
                  std::min(static_cast<int>(at[i].y()), m_height - 1), at[i].z(),
                  [&] { return m_colouring.color(place); });
    }
}
