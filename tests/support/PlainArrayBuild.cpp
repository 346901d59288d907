#include "PlainArrayBuild.h"

#include "BlockFile.h"
#include "Bytes.h"

#include <algorithm>
#include <limits>

namespace support
{

namespace
{

struct Range
{
    qint64 lower[3] = {};
    qint64 upper[3] = {};
};

struct Box
{
    const PlainArray *source = nullptr; ///< the array that the box was made for
    qint64 minimum[3] = {};
    qint64 maximum[3] = {};
    std::map<quint32, quint32> runs; ///< count of points by the index of the first
};

qint64 cutTowardZero(float value)
{
    if (value >= -2147483648.0F && value < 2147483648.0F)
        return static_cast<qint64>(value);
    return -2147483648LL;
}

Range rangeOf(const PlainArray &array)
{
    Range range;
    for (int axis = 0; axis < 3; ++axis) {
        float least = std::numeric_limits<float>::max();
        float most = -std::numeric_limits<float>::max();
        for (quint32 point = 0; point < array.points; ++point) {
            const float value = array.coordinate(point, axis);
            if (value < least)
                least = value;
            if (value > most)
                most = value;
        }
        const qint64 a = cutTowardZero(least - 0.5F);
        const qint64 b = cutTowardZero(most + 0.5F);
        range.lower[axis] = std::min(a, b) - 1;
        range.upper[axis] = std::max(a, b) + 1;
    }
    return range;
}

void appendBoxes(std::vector<Box> &boxes, const PlainArray &array)
{
    const Range range = rangeOf(array);
    qint64 longest = 0;
    for (int axis = 0; axis < 3; ++axis)
        longest = std::max(longest, range.upper[axis] - range.lower[axis]);
    auto size = static_cast<qint64>(static_cast<double>(longest) * 0.0625);
    size = size / 1000 * 1000;
    if (size < 1000)
        size = 1000;
    for (qint64 x = range.lower[0]; x <= range.upper[0]; x += size)
        for (qint64 y = range.lower[1]; y <= range.upper[1]; y += size)
            for (qint64 z = range.lower[2]; z <= range.upper[2]; z += size)
                boxes.push_back({&array, {x, y, z}, {x + size, y + size, z + size}, {}});
}

bool holds(const Box &box, const PlainArray &array, quint32 point)
{
    for (int axis = 0; axis < 3; ++axis) {
        const float value = array.coordinate(point, axis);
        if (!(static_cast<float>(box.minimum[axis]) <= value) || !(value < static_cast<float>(box.maximum[axis])))
            return false;
    }
    return true;
}

/// Gives the points of an array to the boxes that they lie in, those of earlier arrays too.
void classify(std::vector<Box> &boxes, const PlainArray &array)
{
    quint32 i = 0;
    while (i < array.points) {
        const quint32 before = i;
        for (Box &box : boxes) {
            const quint32 first = i;
            while (i < array.points && holds(box, array, i))
                ++i;
            if (i > first)
                box.runs[first] = i - first;
        }
        if (i == before)
            ++i;
    }
}

quint32 pointsOf(const Box &box)
{
    quint32 points = 0;
    for (const auto &[first, count] : box.runs)
        points += count;
    return points;
}

/// The one buffer of a build. A column that a box's array lacks keeps what an earlier block left, zeros at first.
class Buffer
{
public:
    Buffer(const std::vector<quint32> &columns, quint32 largest) : m_order(columns)
    {
        for (const quint32 column : columns)
            m_columns[column] = QByteArray(static_cast<int>(largest) * BlockFile::elementSize(column), '\0');
    }

    BlockFile::Block fill(const Box &box, quint32 triangles)
    {
        BlockFile::Block block;
        block.tag = box.source->tag;
        block.triangles = triangles;
        for (int axis = 0; axis < 3; ++axis) {
            block.box[axis] = static_cast<float>(box.minimum[axis]);
            block.box[3 + axis] = static_cast<float>(box.maximum[axis]);
        }
        for (const auto &[first, count] : box.runs) {
            storeRun(*box.source, first, count, block.points);
            for (quint32 i = 0; i < count; ++i) {
                block.indices.push_back(i);
                block.marks.push_back(0);
            }
            block.points += count;
        }
        for (const quint32 column : m_order)
            block.columns.push_back(runOf(column, *box.source, block.points));
        return block;
    }

private:
    /// Indices of a run may belong to another, longer array: what lies past the end of the box's own is zeros.
    void storeRun(const PlainArray &source, quint32 first, quint32 count, quint32 at)
    {
        const quint32 inside = first < source.points ? std::min(count, source.points - first) : 0;
        for (auto &[column, bytes] : m_columns) {
            if (!source.has(column) || BlockFile::countsTriangles(column))
                continue;
            const int size = BlockFile::elementSize(column);
            QByteArray run = source.elements(column, first, inside);
            run.append(QByteArray(static_cast<int>(count - inside) * size, '\0'));
            bytes.replace(static_cast<int>(at) * size, run.size(), run);
        }
    }

    QByteArray runOf(quint32 column, const PlainArray &source, quint32 points) const
    {
        if (BlockFile::countsTriangles(column))
            return source.columns.at(column);
        return m_columns.at(column).left(static_cast<int>(points) * BlockFile::elementSize(column));
    }

    std::vector<quint32> m_order;
    std::map<quint32, QByteArray> m_columns;
};

PlainArrayBuild assemble(std::vector<Box> boxes, const PlainArray &first, quint32 sort, quint32 triangles)
{
    boxes.erase(std::remove_if(boxes.begin(), boxes.end(), [](const Box &box) { return box.runs.empty(); }),
                boxes.end());
    if (boxes.empty())
        return {};

    BlockFile file;
    file.sort = sort;
    for (const auto &[column, bytes] : first.columns)
        file.columns.push_back(column);
    quint32 largest = 0;
    for (const Box &box : boxes)
        largest = std::max(largest, pointsOf(box));
    Buffer buffer(file.columns, largest);
    for (const Box &box : boxes) {
        file.blocks.push_back(buffer.fill(box, triangles));
        file.blocks.back().key = static_cast<qint32>(file.blocks.size());
    }
    return {true, file.bytes()};
}

} // namespace

QByteArray PlainArray::elements(quint32 column, quint32 first, quint32 count) const
{
    const int size = BlockFile::elementSize(column);
    return columns.at(column).mid(static_cast<int>(first) * size, static_cast<int>(count) * size);
}

float PlainArray::coordinate(quint32 point, int axis) const
{
    return get<float>(columns.at(0), 12LL * point + 4LL * axis);
}

PlainArrayBuild buildPlainly(const PlainArray &array)
{
    std::vector<Box> boxes;
    if (array.triangles > 0) {
        const Range range = rangeOf(array);
        Box whole{&array, {}, {}, {{0, array.points}}};
        std::copy_n(range.lower, 3, whole.minimum);
        std::copy_n(range.upper, 3, whole.maximum);
        boxes.push_back(whole);
    } else {
        appendBoxes(boxes, array);
        classify(boxes, array);
    }
    return assemble(boxes, array, 1, array.triangles);
}

PlainArrayBuild buildPlainly(const std::vector<PlainArray> &arrays)
{
    std::vector<Box> boxes;
    const PlainArray *firstWithPoints = nullptr;
    for (const PlainArray &array : arrays) {
        if (array.points == 0)
            continue;
        if (firstWithPoints == nullptr)
            firstWithPoints = &array;
        appendBoxes(boxes, array);
        classify(boxes, array);
    }
    return firstWithPoints == nullptr ? PlainArrayBuild() : assemble(boxes, *firstWithPoints, 2, 0);
}

} // namespace support
