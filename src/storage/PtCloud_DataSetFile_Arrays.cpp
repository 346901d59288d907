// Builders from points in memory.

#include "PtCloud_DataSetFile_Build.h"

#include "ArrayClassifier.h"
#include "BorrowedPointArray.h"
#include "RunCopy.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

namespace ptCloud
{

namespace
{

using Run = ElementRun;

bool isComplete(const stPtCloud_PointArray &array)
{
    return array.m_pointIndices != nullptr && array.m_pointMarks != nullptr && array.m_position != nullptr;
}

/// The arrays that have points, in order. False if one of them can't be taken.
template <typename Arrays>
bool takeArrays(const Arrays &arrays, QList<const stPtCloud_PointArray *> &taken)
{
    for (const stPtCloud_PointArray *array : arrays) {
        if (array == nullptr || (array->m_pointCount != 0 && !isComplete(*array)))
            return false;
        if (array->m_pointCount != 0)
            taken.append(array);
    }
    return !taken.isEmpty();
}

/// Fills the block with the points of the runs. Of points that the source array does not have, zeros are left.
void fillBlock(stPtCloud_PointArray &block, const stPtCloud_PointArray &source, const std::vector<Run> &runs)
{
    unsigned int *index = block.m_pointIndices;
    bool isWhole = true;
    for (const Run &run : runs) {
        std::iota(index, index + run.count, 0U);
        index += run.count;
        const unsigned int end = std::min(run.first + run.count, source.m_pointCount);
        isWhole = isWhole && end == run.first + run.count;
    }
    std::fill_n(block.m_pointMarks, block.m_pointCount, static_cast<unsigned char>(0));
    for (const ColumnTraits &traits : columnArrays) {
        auto *const elements = static_cast<unsigned char *>(traits.get(block));
        if (elements == nullptr || traits.get(source) == nullptr || traits.count == ColumnTraits::ByTriangles)
            continue;
        if (isWhole) {
            gatherRuns(traits, elements, traits.get(source), runs);
            continue;
        }
        std::size_t at = 0;
        for (const Run &run : runs) {
            const unsigned int end = std::min(run.first + run.count, source.m_pointCount);
            const unsigned int there = run.first < end ? end - run.first : 0;
            if (there != 0)
                gatherRuns(traits, elements + at * traits.elementSize, traits.get(source), {{run.first, there}});
            std::memset(elements + (at + there) * traits.elementSize, 0,
                        static_cast<std::size_t>(run.count - there) * traits.elementSize);
            at += run.count;
        }
    }
}

} // namespace

bool PtCloud_DataSetFile::buildByGrids(ArrayClassifier &classifier, const QList<const stPtCloud_PointArray *> &arrays,
                                       EDataSetSort sort, unsigned int triangles)
{
    const std::vector<ArrayClassifier::Box> boxes = classifier.takeBoxes();
    quint64 largest = 0;
    for (const ArrayClassifier::Box &box : boxes)
        largest = std::max(largest, box.pointCount);
    if (largest == 0) {
        logPointsEmpty();
        return false;
    }
    arrays.first()->getColumns(m_columns);
    const bool withTriangles = sort == EDataSetSort_ByBox && arrays.first()->m_triangle != nullptr;
    if (largest > std::numeric_limits<unsigned int>::max()
        || !reallocBufMems(static_cast<unsigned int>(largest), withTriangles, triangles)) {
        logNoMemory();
        return false;
    }

    m_sortType = sort;
    int key = 0;
    for (const ArrayClassifier::Box &box : boxes)
        m_blocks.insert(++key, {0, static_cast<unsigned int>(box.pointCount), box.box, triangles});
    if (!writeHead())
        return false;
    key = 0;
    for (const ArrayClassifier::Box &box : boxes) {
        const stPtCloud_PointArray &source = *arrays.at(static_cast<int>(box.array));
        m_buffer.m_pointCount = static_cast<unsigned int>(box.pointCount);
        m_buffer.m_triangleCount = triangles;
        m_buffer.m_blockTag = source.m_blockTag;
        fillBlock(m_buffer, source, box.runs);
        if (m_buffer.m_triangle != nullptr)
            std::copy_n(source.m_triangle, triangles, m_buffer.m_triangle);
        if (!writeBlockAt(++key, m_buffer))
            return false;
    }
    return true;
}

bool PtCloud_DataSetFile::makeDataSet_byPointsArray(const stPtCloud_PointArray &array)
{
    return buildFile([&] {
        QList<const stPtCloud_PointArray *> arrays;
        if (!takeArrays(QList<const stPtCloud_PointArray *>{&array}, arrays))
            return false;
        ArrayClassifier classifier;
        if (array.m_triangleCount != 0)
            classifier.addWhole(array);
        else
            classifier.add(array);
        return buildByGrids(classifier, arrays, EDataSetSort_ByBox, array.m_triangleCount);
    });
}

bool PtCloud_DataSetFile::makeDataSet_byPointsArray(QList<const stPtCloud_PointArray *> arrays)
{
    return buildFile([&] {
        QList<const stPtCloud_PointArray *> taken;
        if (!takeArrays(arrays, taken))
            return false;
        ArrayClassifier classifier;
        for (const stPtCloud_PointArray *array : qAsConst(taken))
            classifier.add(*array);
        return buildByGrids(classifier, taken, EDataSetSort_ByArray, 0);
    });
}

/// Writes an array as a block, straight from its own memory, with fresh indices and marks.
bool PtCloud_DataSetFile::writeBorrowed(int key, const stPtCloud_PointArray &array)
{
    BorrowedPointArray block;
    static_cast<stPtCloud_PointArray &>(block) = array;
    if (block.m_pointIndices != nullptr)
        std::iota(block.m_pointIndices, block.m_pointIndices + block.m_pointCount, 0U);
    if (block.m_pointMarks != nullptr)
        std::fill_n(block.m_pointMarks, block.m_pointCount, static_cast<unsigned char>(0));
    return writeBlockAt(key, block);
}

bool PtCloud_DataSetFile::makeDataSet_bySplittedPointsArray(const std::list<const stPtCloud_PointArray *> &arrays)
{
    return buildFile([&] {
        QList<const stPtCloud_PointArray *> taken;
        if (!takeArrays(arrays, taken))
            return false;
        for (const ColumnTraits &traits : columnArrays) {
            if (std::all_of(taken.cbegin(), taken.cend(),
                            [&traits](const stPtCloud_PointArray *array) { return traits.get(*array) != nullptr; }))
                m_columns.append(traits.column);
        }
        if (!m_columns.contains(EDataSetColumn_Position))
            return false;
        for (int key = 0; key < taken.size(); ++key) {
            const stPtCloud_PointArray &array = *taken.at(key);
            m_blocks.insert(key, {0, array.m_pointCount, ArrayGrid::toBox(ArrayGrid::rangeOf(array)), 0});
        }
        m_sortType = EDataSetSort_ByArray;
        if (!writeHead())
            return false;
        for (int key = 0; key < taken.size(); ++key) {
            if (!writeBorrowed(key, *taken.at(key)))
                return false;
        }
        return true;
    });
}

bool PtCloud_DataSetFile::makeDataSet_byMemory(
    EDataSetSort sort, const QList<EDataSetColumn> &columns,
    const QMap<int, std::tuple<pcBoundingBoxf, const stPtCloud_PointArray *>> &blocks)
{
    if (static_cast<unsigned int>(sort) > EDataSetSort_ByArray) {
        closeFile();
        return false;
    }
    return buildFile([&] {
        if (blocks.isEmpty() || !columns.contains(EDataSetColumn_Position))
            return false;
        m_sortType = sort;
        m_columns = columns;
        for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
            const auto &[box, array] = *it;
            if (array == nullptr || (array->m_pointCount != 0 && !isComplete(*array)))
                return false;
            m_blocks.insert(it.key(), {0, array->m_pointCount, box, array->m_triangleCount});
        }
        if (!writeHead())
            return false;
        for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
            if (!writeBorrowed(it.key(), *std::get<1>(*it)))
                return false;
        }
        return true;
    });
}

} // namespace ptCloud
