// Earth volumes beside the least that they can cost: for points, one pass that only bins them, and the making
// of the list of records that is the result; for a mesh, the bare polygon intersections that no shortcut by rectangles
// spares.
//
//   volume_areas DIR [ROUNDS]

#include "Best.h"

#include "PtCloud_DataSetFile.h"
#include "VolumeCalcAreaList.h"

#include <QDir>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr float side = 100.0F;

class BlockWriter
{
public:
    explicit BlockWriter(const QString &path) : m_file(path)
    {
        m_file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    }

    /// A file of one block with positions and, if there are any, triangles.
    void write(const std::vector<pcVec3f> &points, const std::vector<stTriangle> &triangles)
    {
        const bool isMesh = !triangles.empty();
        put<quint32>({1, 1, isMesh ? 2U : 1U, 0});
        if (isMesh)
            put<quint32>({2});
        put<qint32>({1, 1});
        put<float>({0, 0, -100, side, side, 100});
        const auto count = static_cast<quint32>(points.size());
        put<quint32>({count, 0xffffffffU, static_cast<quint32>(triangles.size())});
        std::vector<quint32> indices(count);
        std::vector<quint8> marks(count);
        putAll(indices);
        putAll(marks);
        putAll(points);
        putAll(triangles);
    }

private:
    template <typename T>
    void put(std::initializer_list<T> values)
    {
        m_file.write(reinterpret_cast<const char *>(values.begin()), static_cast<qint64>(values.size() * sizeof(T)));
    }
    template <typename T>
    void putAll(const std::vector<T> &values)
    {
        m_file.write(reinterpret_cast<const char *>(values.data()), static_cast<qint64>(values.size() * sizeof(T)));
    }

    QFile m_file;
};

float heightAt(double x, double y)
{
    return static_cast<float>(5 * std::sin(x / 9) * std::cos(y / 13));
}

std::vector<pcVec3f> randomPoints(std::size_t count)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> coordinate(0, side);
    std::vector<pcVec3f> points(count);
    for (pcVec3f &point : points) {
        point.x() = coordinate(random);
        point.y() = coordinate(random);
        point.z() = heightAt(static_cast<double>(point.x()), static_cast<double>(point.y()));
    }
    return points;
}

/// A square mesh of about so many triangles.
void squareMesh(std::size_t count, std::vector<pcVec3f> &points, std::vector<stTriangle> &triangles)
{
    const auto edge = static_cast<unsigned int>(std::sqrt(static_cast<double>(count) / 2));
    for (unsigned int i = 0; i <= edge; ++i) {
        for (unsigned int j = 0; j <= edge; ++j) {
            const double x = static_cast<double>(side) * i / edge;
            const double y = static_cast<double>(side) * j / edge;
            points.emplace_back(static_cast<float>(x), static_cast<float>(y), heightAt(x, y));
        }
    }
    for (unsigned int i = 0; i < edge; ++i) {
        for (unsigned int j = 0; j < edge; ++j) {
            const unsigned int at = i * (edge + 1) + j;
            triangles.push_back({at, at + 1, at + edge + 1});
            triangles.push_back({at + 1, at + edge + 2, at + edge + 1});
        }
    }
}

/// A star around the middle of the square.
QList<pcVec3f> starArea(int corners)
{
    QList<pcVec3f> boundary;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * M_PI * i / corners;
        const double radius = 40 + 8 * std::sin(7 * angle);
        boundary.append(
            {static_cast<float>(50 + radius * std::cos(angle)), static_cast<float>(50 + radius * std::sin(angle)), 0});
    }
    return boundary;
}

VolumeCalcArea *oneArea(VolumeCalcAreaList &list, const QList<pcVec3f> &boundary)
{
    list.setFile(QDir(), QStringLiteral("unused"));
    VolumeCalcArea *area = list.addArea(QStringLiteral("area"));
    area->groundHeightType = 1;
    area->groundHeight = 0.5F;
    area->boundary = boundary;
    return area;
}

/// Reads the points and bins them into the cells by division: the highest of each.
void binPoints(PtCloud_DataSetFile &file, float cellSize, std::vector<float> &heights)
{
    const auto edge = static_cast<std::size_t>(std::lround(side / cellSize));
    heights.assign(edge * edge, -99999.0F);
    const stPtCloud_PointArray *block = file.readBlock(1);
    const float cellsPerUnit = 1 / cellSize;
    for (unsigned int i = 0; i < block->m_pointCount; ++i) {
        const pcVec3f &point = block->m_position[i];
        const auto column = std::min(static_cast<std::size_t>(point.x() * cellsPerUnit), edge - 1);
        const auto row = std::min(static_cast<std::size_t>(point.y() * cellsPerUnit), edge - 1);
        float &height = heights[column * edge + row];
        height = std::max(height, point.z());
    }
}

/// Makes the list of records that such a calculation results in, and drops the one before.
void recordCells(const std::vector<float> &heights, float cellSize, QList<stQuadPrism> &records)
{
    records.clear();
    records.reserve(static_cast<int>(heights.size()));
    const auto edge = static_cast<std::size_t>(std::lround(side / cellSize));
    for (std::size_t i = 0; i < heights.size(); ++i) {
        stQuadPrism prism;
        prism.xMin = static_cast<float>(i / edge) * cellSize;
        prism.yMin = static_cast<float>(i % edge) * cellSize;
        prism.xMax = prism.xMin + cellSize;
        prism.yMax = prism.yMin + cellSize;
        prism.topZ = heights[i];
        prism.calcVolume();
        records.append(prism);
    }
}

void benchGrid(const QString &path, std::size_t count, float cellSize, int rounds)
{
    BlockWriter(path).write(randomPoints(count), {});
    PtCloud_DataSetFile file;
    file.setFile(path);
    file.openFile();
    VolumeCalcAreaList list;
    VolumeCalcArea *area = oneArea(list, {{0, 0, 0}, {side, 0, 0}, {side, side, 0}, {0, side, 0}});
    area->gridSize = cellSize;
    list.setGridFile(&file);
    std::vector<float> heights;
    QList<stQuadPrism> records;
    const double binning = best(rounds, [&] { binPoints(file, cellSize, heights); });
    const double recording = best(rounds, [&] { recordCells(heights, cellSize, records); });
    const double library = best(rounds, [&] { list.doCalc(VolumeCalc_GRID); });
    const double edge = static_cast<double>(side / cellSize);
    std::printf("grid %10zu points %10.0f cells   %8.3f s   binning %8.3f s  records %8.3f s   library / both %5.2f\n",
                count, edge * edge, library, binning, recording, library / (binning + recording));
}

struct Rectangle
{
    double low[2] = {1e300, 1e300};
    double high[2] = {-1e300, -1e300};

    void add(const QPointF &point)
    {
        const double at[2] = {point.x(), point.y()};
        for (int i = 0; i < 2; ++i) {
            low[i] = std::min(low[i], at[i]);
            high[i] = std::max(high[i], at[i]);
        }
    }
    bool meets(const Rectangle &other, double margin) const
    {
        for (int i = 0; i < 2; ++i) {
            if (low[i] - margin > other.high[i] || other.low[i] > high[i] + margin)
                return false;
        }
        return true;
    }
};

/// The triangles in the area's rectangle whose own rectangle meets that of an edge.
std::vector<QPolygonF> trianglesAtEdges(const QPolygonF &polygon, const std::vector<pcVec3f> &points,
                                        const std::vector<stTriangle> &triangles)
{
    Rectangle whole;
    std::vector<Rectangle> edges;
    for (int i = 1; i < polygon.size(); ++i) {
        whole.add(polygon[i]);
        edges.emplace_back();
        edges.back().add(polygon[i - 1]);
        edges.back().add(polygon[i]);
    }
    std::vector<QPolygonF> result;
    for (const stTriangle &triangle : triangles) {
        QPolygonF corners;
        Rectangle rectangle;
        for (const unsigned int index : {triangle.a, triangle.b, triangle.c, triangle.a}) {
            corners.append(QPointF(points[index].x(), points[index].y()));
            rectangle.add(corners.last());
        }
        bool isInside = true;
        for (int i = 0; i < 2; ++i)
            isInside = isInside && rectangle.low[i] >= whole.low[i] && rectangle.high[i] <= whole.high[i];
        const auto meets = [&rectangle](const Rectangle &edge) { return rectangle.meets(edge, 1e-4); };
        if (isInside && std::any_of(edges.begin(), edges.end(), meets))
            result.push_back(corners);
    }
    return result;
}

void benchMesh(const QString &path, std::size_t count, int corners, int rounds)
{
    std::vector<pcVec3f> points;
    std::vector<stTriangle> triangles;
    squareMesh(count, points, triangles);
    BlockWriter(path).write(points, triangles);
    PtCloud_DataSetFile file;
    file.setFile(path);
    file.openFile();
    VolumeCalcAreaList list;
    const VolumeCalcArea *area = oneArea(list, starArea(corners));
    list.setDTMFile(&file);

    QPolygonF polygon;
    for (const pcVec3f &corner : area->boundary)
        polygon.append(QPointF(corner.x(), corner.y()));
    polygon.append(polygon.first());
    const std::vector<QPolygonF> hard = trianglesAtEdges(polygon, points, triangles);
    int met = 0;
    const double floorTime = best(rounds, [&] {
        for (const QPolygonF &triangle : hard)
            met += triangle.intersects(polygon) ? 1 : 0;
    });
    const double library = best(rounds, [&] { list.doCalc(VolumeCalc_DTM); });
    std::printf("mesh %10zu triangles %7d corners   %8.3f s  floor %8.3f s  library / floor %5.2f   (%d prisms, %zu at "
                "edges)\n",
                triangles.size(), corners, library, floorTime, library / floorTime, area->prisms.size(), hard.size());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "volume_areas DIR [ROUNDS]\n");
        return 2;
    }
    const QString path = QDir(QString::fromLocal8Bit(argv[1])).absoluteFilePath(QStringLiteral("volume.blk"));
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
    for (const std::size_t points : {std::size_t(100000), std::size_t(1000000), std::size_t(10000000)})
        benchGrid(path, points, 0.1F, rounds);
    for (const float cellSize : {1.0F, 0.02F})
        benchGrid(path, 1000000, cellSize, rounds);
    for (const int corners : {5, 50, 500})
        benchMesh(path, 1000000, corners, rounds);
    QFile::remove(path);
    return 0;
}
