#include "stPtCloud_PointArray.h"

#include "ColumnTraits.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace ptCloud
{

namespace
{

/// The address of element `index`.
unsigned char *elementAt(const ColumnTraits &traits, void *elements, unsigned int index)
{
    return static_cast<unsigned char *>(elements) + static_cast<std::size_t>(index) * traits.elementSize;
}

std::size_t byteCount(const ColumnTraits &traits, unsigned int count)
{
    return static_cast<std::size_t>(count) * traits.elementSize;
}

bool allocateInto(stPtCloud_PointArray &array, const ColumnTraits &traits, unsigned int count)
{
    // A column that is listed twice replaces its first array.
    std::free(traits.get(array));
    traits.set(array, std::calloc(std::max(count, 1U), traits.elementSize));
    return traits.get(array) != nullptr;
}

} // namespace

bool allocateColumns(stPtCloud_PointArray &array, const QList<EDataSetColumn> &columns, unsigned int points,
                     unsigned int triangles)
{
    for (const ColumnTraits &traits : unlistedArrays) {
        if (!allocateInto(array, traits, points))
            return false;
    }
    for (const EDataSetColumn column : columns) {
        const ColumnTraits *traits = findColumn(column);
        if (traits == nullptr)
            return false;
        const bool ofTriangles = traits->count == ColumnTraits::ByTriangles;
        if (ofTriangles && triangles == 0)
            continue;
        if (!allocateInto(array, *traits, ofTriangles ? triangles : points))
            return false;
    }
    return true;
}

QVariant detail::toVariant(const pcVec3f &value)
{
    return QList<QVariant>{value.x(), value.y(), value.z()};
}

QVariant detail::toVariant(const pcVec4f &value)
{
    return QList<QVariant>{value.r(), value.g(), value.b(), value.a()};
}

QVariant detail::toVariant(const stTriangle &value)
{
    return QList<QVariant>{value.a, value.b, value.c};
}

stPtCloud_PointArray &stPtCloud_PointArray::operator=(const stPtCloud_PointArray &source)
{
    if (this == &source)
        return *this;
    m_pointCount = source.m_pointCount;
    m_blockTag = source.m_blockTag;
    m_triangleCount = source.m_triangleCount;
    for (const ColumnTraits &traits : blockArrays)
        traits.set(*this, traits.get(source));
    return *this;
}

bool stPtCloud_PointArray::alloc(unsigned int pointCount, const QList<EDataSetColumn> &columns, bool withTriangles,
                                 unsigned int triangleCount)
{
    clear();
    if (pointCount == 0)
        return true;

    m_pointCount = pointCount;
    const bool done = allocateColumns(*this, columns, pointCount, withTriangles ? triangleCount : 0);
    m_triangleCount = m_triangle != nullptr ? triangleCount : 0;
    return done;
}

void stPtCloud_PointArray::clear()
{
    m_pointCount = 0;
    m_blockTag = -1;
    m_triangleCount = 0;
    for (const ColumnTraits &traits : blockArrays) {
        std::free(traits.get(*this));
        traits.set(*this, nullptr);
    }
}

void stPtCloud_PointArray::copy_noTriangle(const stPtCloud_PointArray &source, unsigned int sourceStart,
                                           unsigned int targetStart, unsigned int count)
{
    if (count == 0)
        return;
    for (const ColumnTraits &traits : blockArrays) {
        void *from = traits.get(source);
        void *to = traits.get(*this);
        if (traits.count == ColumnTraits::ByTriangles || from == nullptr || to == nullptr)
            continue;
        std::memmove(elementAt(traits, to, targetStart), elementAt(traits, from, sourceStart),
                     byteCount(traits, count));
    }
}

bool stPtCloud_PointArray::makeCopy(stPtCloud_PointArray *&copy) const
{
    copy = nullptr;
    auto made = std::make_unique<stPtCloud_PointArray>();
    made->m_pointCount = m_pointCount;
    made->m_blockTag = m_blockTag;
    made->m_triangleCount = m_triangleCount;
    for (const ColumnTraits &traits : blockArrays) {
        const void *elements = traits.get(*this);
        if (elements == nullptr)
            continue;
        const unsigned int count = traits.countOf(*this);
        if (!allocateInto(*made, traits, count))
            return false;
        std::memcpy(traits.get(*made), elements, byteCount(traits, count));
    }
    copy = made.release();
    return true;
}

void stPtCloud_PointArray::getColumns(QList<EDataSetColumn> &columns) const
{
    for (const ColumnTraits &traits : columnArrays) {
        if (traits.get(*this) != nullptr)
            columns.append(traits.column);
    }
}

bool stPtCloud_PointArray::getPeace(unsigned int index, QMap<EDataSetColumn, QVariant> &values) const
{
    if (index > m_pointCount || m_position == nullptr)
        return false;

    // An index equal to the count is let through, but there is nothing behind the arrays to read.
    alignas(std::max_align_t) static constexpr unsigned char zeros[16] = {};
    for (const ColumnTraits &traits : columnArrays) {
        void *elements = traits.get(*this);
        if (traits.count == ColumnTraits::ByTriangles || elements == nullptr)
            continue;
        const void *element = index < m_pointCount ? elementAt(traits, elements, index) : zeros;
        values.insert(traits.column, traits.toVariant(element));
    }
    return true;
}

} // namespace ptCloud
