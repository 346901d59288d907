#include "ArrayClassifier.h"

#include "PointRuns.h"

#include <algorithm>

namespace ptCloud
{

namespace
{

constexpr std::size_t none = static_cast<std::size_t>(-1);

bool holds(const pcBoundingBoxf &box, const pcVec3f &point)
{
    return box.xMin() <= point.x() && point.x() < box.xMax() && box.yMin() <= point.y() && point.y() < box.yMax()
           && box.zMin() <= point.z() && point.z() < box.zMax();
}

/// Brings runs into ascending order. Of two with one first point the later found one stays.
void sortRuns(std::vector<ArrayClassifier::Run> &runs)
{
    const auto before = [](const ArrayClassifier::Run &a, const ArrayClassifier::Run &b) { return a.first < b.first; };
    if (!std::is_sorted(runs.begin(), runs.end(), before))
        std::stable_sort(runs.begin(), runs.end(), before);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (i + 1 < runs.size() && runs[i + 1].first == runs[i].first)
            continue;
        runs[kept++] = runs[i];
    }
    runs.resize(kept);
}

} // namespace

void ArrayClassifier::add(const stPtCloud_PointArray &array)
{
    m_grids.push_back({ArrayGrid(array), m_boxes.size()});
    const Grid &grid = m_grids.back();
    m_extents.add(grid.grid.extent());
    for (int box = 0; box < grid.grid.boxCount(); ++box)
        m_boxes.push_back({m_arrays, grid.grid.boxAt(box), {}, 0});
    ++m_arrays;
    const std::vector<const Grid *> grids = gridsThatMeet(grid.grid);
    if (grids.size() == 1)
        classifyAlone(array, grid);
    else
        classifyAmong(array, grids);
}

void ArrayClassifier::addWhole(const stPtCloud_PointArray &array)
{
    m_boxes.push_back({m_arrays, ArrayGrid::toBox(ArrayGrid::rangeOf(array)), {{0, array.m_pointCount}}, 0});
    ++m_arrays;
}

std::vector<const ArrayClassifier::Grid *> ArrayClassifier::gridsThatMeet(const ArrayGrid &grid) const
{
    std::vector<const Grid *> grids;
    if (!grid.isWhole()) {
        for (const Grid &other : m_grids)
            grids.push_back(&other);
        return grids;
    }
    for (const std::size_t number : m_extents.overlapping(grid.extent()))
        grids.push_back(&m_grids[number]);
    return grids;
}

void ArrayClassifier::classifyAlone(const stPtCloud_PointArray &array, const Grid &grid)
{
    walkRuns(
        array.m_pointCount, [&](unsigned int i) { return grid.grid.boxOf(array.m_position[i]); },
        [&](const PointRun &run) {
            m_boxes[grid.firstBox + static_cast<std::size_t>(run.box)].runs.push_back({run.first, run.count});
        });
}

/// What a pass over all boxes would do, again and again until the points are used up: a box takes the points in a row
/// that it holds, and the pass goes on behind it. Each grid has one box at most for a point, so the next box of the
/// pass is the first of these that the pass has not left behind.
void ArrayClassifier::classifyAmong(const stPtCloud_PointArray &array, const std::vector<const Grid *> &grids)
{
    const auto nextBox = [&grids](const pcVec3f &point, std::size_t from) {
        std::size_t next = none;
        for (const Grid *grid : grids) {
            const int box = grid->grid.boxOf(point);
            if (box == BoxGrid::noBox)
                continue;
            const std::size_t number = grid->firstBox + static_cast<std::size_t>(box);
            if (number >= from && number < next)
                next = number;
        }
        return next;
    };
    std::size_t from = 0; // where the pass stands
    for (unsigned int i = 0; i < array.m_pointCount;) {
        const std::size_t number = nextBox(array.m_position[i], from);
        if (number == none) {
            // A point that this pass came too late for has another one; a point without any box is passed over.
            if (from == 0)
                ++i;
            from = 0;
            continue;
        }
        Box &box = m_boxes[number];
        const unsigned int first = i;
        while (i < array.m_pointCount && holds(box.box, array.m_position[i]))
            ++i;
        box.runs.push_back({first, i - first});
        from = number + 1;
    }
}

std::vector<ArrayClassifier::Box> ArrayClassifier::takeBoxes()
{
    m_boxes.erase(std::remove_if(m_boxes.begin(), m_boxes.end(), [](const Box &box) { return box.runs.empty(); }),
                  m_boxes.end());
    for (Box &box : m_boxes) {
        sortRuns(box.runs);
        for (const Run &run : box.runs)
            box.pointCount += run.count;
    }
    return std::move(m_boxes);
}

} // namespace ptCloud
