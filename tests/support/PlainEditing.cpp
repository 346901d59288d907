#include "PlainEditing.h"

#include "BlockFile.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

namespace support
{

namespace
{

using Indices = std::set<unsigned int>;
using Moves = std::map<unsigned int, unsigned int>;
using Triangle = std::array<unsigned int, 3>;

/// Closes the gaps in one array, and tells how many elements are left.
quint32 compact(QByteArray *elements, int size, quint32 count, const Indices &removed, Moves *moves = nullptr)
{
    if (elements == nullptr || count == 0)
        return 0;
    // An index at or above the count is no element's.
    Indices stops(removed.begin(), removed.lower_bound(count));
    stops.insert(count);
    Moves lengths;
    Moves targets;
    std::optional<unsigned int> previous;
    quint32 passed = 0;
    for (const unsigned int stop : stops) {
        if (previous && stop != *previous + 1) {
            lengths[*previous + 1] = stop - *previous - 1;
            targets[*previous + 1] = *previous + 1 - passed;
        }
        previous = stop;
        ++passed;
    }
    for (const auto &[start, length] : lengths) {
        const auto bytes = static_cast<std::size_t>(size);
        std::memmove(elements->data() + targets[start] * bytes, elements->constData() + start * bytes, length * bytes);
        for (unsigned int k = 0; moves != nullptr && k < length; ++k)
            moves->emplace(start + k, targets[start] + k);
    }
    const quint32 left = count - (passed - 1);
    elements->truncate(static_cast<int>(left) * size);
    return left;
}

template <typename T>
T *orNull(std::optional<T> &value)
{
    return value ? &*value : nullptr;
}

std::vector<Triangle> trianglesOf(const PlainBlock &block)
{
    std::vector<Triangle> triangles(block.triangles);
    std::memcpy(triangles.data(), block.columns.at(2).constData(), 12 * triangles.size());
    return triangles;
}

void bendTriangles(PlainBlock &block, const Indices &removed, Moves &moves)
{
    if (!block.has(2) || block.triangles == 0)
        return;
    std::vector<Triangle> kept;
    for (Triangle triangle : trianglesOf(block)) {
        if (std::any_of(triangle.begin(), triangle.end(), [&](unsigned int v) { return removed.count(v) != 0; }))
            continue;
        for (unsigned int &vertex : triangle)
            vertex = moves[vertex];
        kept.push_back(triangle);
    }
    block.triangles = static_cast<quint32>(kept.size());
    block.columns[2] =
        QByteArray(reinterpret_cast<const char *>(kept.data()), static_cast<int>(sizeof(Triangle) * kept.size()));
}

bool isInBox(const PlainBlock &block, quint32 point, const std::array<float, 6> &corners)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (corners[axis + 3] < corners[axis])
            return false;
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float value = block.coordinate(point, static_cast<int>(axis));
        if (value < corners[axis] || value > corners[axis + 3])
            return false;
    }
    return true;
}

bool isInSphere(const PlainBlock &block, quint32 point, const std::array<float, 4> &sphere)
{
    const float radius = sphere[3];
    if (radius < 0.0F)
        return false;
    const float dx = block.coordinate(point, 0) - sphere[0];
    const float dy = block.coordinate(point, 1) - sphere[1];
    const float dz = block.coordinate(point, 2) - sphere[2];
    return !(radius * radius < dx * dx + dy * dy + dz * dz);
}

template <typename IsInside>
void removeWhere(PlainBlock &block, bool inside, const IsInside &isInside)
{
    Indices chosen;
    for (quint32 point = 0; block.has(0) && point < block.points; ++point) {
        if (isInside(point) == inside)
            chosen.insert(point);
    }
    if (!chosen.empty())
        removePlainly(block, chosen);
}

} // namespace

void removePlainly(PlainBlock &block, const Indices &removed)
{
    Moves moves;
    const quint32 left = compact(orNull(block.indices), 4, block.points, removed, &moves);
    compact(orNull(block.marks), 1, block.points, removed);
    for (auto &[column, elements] : block.columns) {
        if (!BlockFile::countsTriangles(column))
            compact(&elements, BlockFile::elementSize(column), block.points, removed);
    }
    block.points = left;
    bendTriangles(block, removed, moves);
}

void removeByBoxPlainly(PlainBlock &block, const std::array<float, 6> &corners, bool inside)
{
    removeWhere(block, inside, [&](quint32 point) { return isInBox(block, point, corners); });
}

void removeBySpherePlainly(PlainBlock &block, const std::array<float, 4> &sphere, bool inside)
{
    removeWhere(block, inside, [&](quint32 point) { return isInSphere(block, point, sphere); });
}

} // namespace support
