// Marks, and the removal of points in place.

#include "stPtCloud_PointArray.h"

#include "RunCopy.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace ptCloud
{

namespace
{

using Indices = std::vector<unsigned int>; ///< ascending, each once

/// The points that move when others in front of them go. Those in front of the first stay where they are.
class MovedPoints
{
public:
    MovedPoints(const Indices &removed, unsigned int count)
    {
        if (removed.empty())
            return;
        // Runs whose lengths nobody can guess cost more than their points one by one.
        constexpr std::size_t shortRun = 32;
        const std::size_t moved = count - removed.front() - removed.size();
        if (moved < removed.size() * shortRun)
            listPoints(removed, count, moved);
        else
            listRuns(removed, count);
    }

    void closeRanks(const ColumnTraits &traits, void *target, const void *elements) const
    {
        gatherElements(traits, target, elements, m_indices);
        moveRuns(traits, target, elements, m_runs);
    }

private:
    void listRuns(const Indices &removed, unsigned int count)
    {
        for (std::size_t i = 0; i < removed.size(); ++i) {
            const unsigned int first = removed[i] + 1;
            const unsigned int end = i + 1 < removed.size() ? removed[i + 1] : count;
            if (first < end)
                m_runs.push_back({first, end - first});
        }
    }

    void listPoints(const Indices &removed, unsigned int count, std::size_t moved)
    {
        const unsigned int begin = removed.front();
        std::vector<unsigned char> isKept(count - begin, 1);
        for (const unsigned int index : removed)
            isKept[index - begin] = 0;
        // Room for one more, so that each index can be put down before it is known to stay.
        m_indices.resize(moved + 1);
        std::size_t listed = 0;
        for (unsigned int i = begin; i < count; ++i) {
            m_indices[listed] = i;
            listed += isKept[i - begin];
        }
        m_indices.resize(moved);
    }

    // One of the two holds the points.
    std::vector<ElementRun> m_runs;
    Indices m_indices;
};

/// Where the corners of triangles go.
class CornerMap
{
public:
    /// @param removed  those of `listed` that are points
    CornerMap(const Indices &listed, const Indices &removed, unsigned int count) : m_listed(listed), m_count(count)
    {
        m_moved.assign(count, 0);
        unsigned int gone = 0;
        for (unsigned int i = removed.empty() ? count : removed.front(); i < count; ++i) {
            if (gone < removed.size() && removed[gone] == i)
                ++gone;
            else
                m_moved[i] = i - gone;
        }
    }

    bool isListed(const stTriangle &triangle) const
    {
        return isListed(triangle.a) || isListed(triangle.b) || isListed(triangle.c);
    }
    /// A point that did not move is not known here, and becomes 0.
    stTriangle operator()(const stTriangle &triangle) const
    {
        return {moved(triangle.a), moved(triangle.b), moved(triangle.c)};
    }

private:
    bool isListed(unsigned int corner) const { return std::binary_search(m_listed.begin(), m_listed.end(), corner); }
    unsigned int moved(unsigned int corner) const { return corner < m_count ? m_moved[corner] : 0; }

    const Indices &m_listed;
    unsigned int m_count;
    std::vector<unsigned int> m_moved;
};

void bendTriangles(stPtCloud_PointArray &array, const CornerMap &corners)
{
    stTriangle *const begin = array.m_triangle;
    stTriangle *const end =
        std::remove_if(begin, begin + array.m_triangleCount,
                       [&corners](const stTriangle &triangle) { return corners.isListed(triangle); });
    std::transform(begin, end, begin, corners);
    array.m_triangleCount = static_cast<unsigned int>(end - begin);
}

/// Removes the listed points. What takes memory comes before the first move.
void remove(stPtCloud_PointArray &array, const Indices &listed)
{
    const unsigned int count = array.m_pointCount;
    const Indices removed(listed.begin(), std::lower_bound(listed.begin(), listed.end(), count));
    const MovedPoints moved(removed, count);
    // Without indices nothing is known to have moved.
    const bool isKnown = array.m_pointIndices != nullptr;
    const bool hasTriangles = array.m_triangle != nullptr && array.m_triangleCount != 0;
    const CornerMap corners(listed, isKnown ? removed : Indices(), hasTriangles ? count : 0);

    for (const ColumnTraits &traits : blockArrays) {
        void *const elements = traits.get(array);
        if (elements == nullptr || traits.count == ColumnTraits::ByTriangles || removed.empty())
            continue;
        auto *const target =
            static_cast<unsigned char *>(elements) + static_cast<std::size_t>(removed.front()) * traits.elementSize;
        moved.closeRanks(traits, target, elements);
    }
    array.m_pointCount = isKnown ? count - static_cast<unsigned int>(removed.size()) : 0;
    if (hasTriangles)
        bendTriangles(array, corners);
}

template <typename IsRemoved>
void removeWhere(stPtCloud_PointArray &array, IsRemoved isRemoved)
{
    if (array.m_position == nullptr)
        return;
    Indices indices;
    for (unsigned int i = 0; i < array.m_pointCount; ++i) {
        if (isRemoved(array.m_position[i]))
            indices.push_back(i);
    }
    if (!indices.empty())
        remove(array, indices);
}

/// The tests are turned round on purpose, so that what can't be compared is inside.
auto insideOf(const pcBoundingBoxf &box)
{
    const bool isValid = !(box.xMax() < box.xMin() || box.yMax() < box.yMin() || box.zMax() < box.zMin());
    return [box, isValid](const pcVec3f &p) {
        return isValid
               && !(p.x() < box.xMin() || p.x() > box.xMax() || p.y() < box.yMin() || p.y() > box.yMax()
                    || p.z() < box.zMin() || p.z() > box.zMax());
    };
}

auto insideOf(const pcBoundingSpheref &sphere)
{
    const pcVec3f center = sphere.center();
    const bool isValid = !(sphere.radius() < 0.0F);
    const float radius2 = sphere.radius() * sphere.radius();
    return [center, isValid, radius2](const pcVec3f &p) {
        const float dx = p.x() - center.x();
        const float dy = p.y() - center.y();
        const float dz = p.z() - center.z();
        return isValid && !(radius2 < dx * dx + dy * dy + dz * dz);
    };
}

template <typename Volume>
void removeInner(stPtCloud_PointArray &array, const Volume &volume)
{
    removeWhere(array, insideOf(volume));
}

template <typename Volume>
void removeOutter(stPtCloud_PointArray &array, const Volume &volume)
{
    removeWhere(array, [isInside = insideOf(volume)](const pcVec3f &p) { return !isInside(p); });
}

} // namespace

bool stPtCloud_PointArray::markPoint(unsigned int index, bool marked)
{
    if (m_pointMarks == nullptr || index > m_pointCount)
        return false;
    if (index < m_pointCount)
        m_pointMarks[index] = marked ? 1 : 0;
    return true;
}

void stPtCloud_PointArray::markPoints(const QSet<unsigned int> &indices)
{
    if (m_pointMarks == nullptr)
        return;
    for (const unsigned int index : indices) {
        if (index < m_pointCount)
            m_pointMarks[index] = 1;
    }
}

void stPtCloud_PointArray::removeAllMarks(QSet<unsigned int> &marked)
{
    if (m_pointMarks == nullptr)
        return;
    for (unsigned int i = 0; i < m_pointCount; ++i) {
        if (m_pointMarks[i] == 0)
            continue;
        m_pointMarks[i] = 0;
        marked.insert(i);
    }
}

void stPtCloud_PointArray::removeInnerByBox(const pcBoundingBoxf &box)
{
    removeInner(*this, box);
}

void stPtCloud_PointArray::removeOutterByBox(const pcBoundingBoxf &box)
{
    removeOutter(*this, box);
}

void stPtCloud_PointArray::removeInnerBySphere(const pcBoundingSpheref &sphere)
{
    removeInner(*this, sphere);
}

void stPtCloud_PointArray::removeOutterBySphere(const pcBoundingSpheref &sphere)
{
    removeOutter(*this, sphere);
}

bool stPtCloud_PointArray::removePointsByIndies(const std::set<unsigned int> &indices)
{
    // In one walk: it is most of the cost.
    Indices listed;
    listed.reserve(indices.size());
    std::copy(indices.begin(), indices.end(), std::back_inserter(listed));
    remove(*this, listed);
    return true;
}

} // namespace ptCloud
