#include "BlockLayout.h"

#include "ColumnTraits.h"

#include <limits>

namespace ptCloud
{

namespace
{

constexpr quint64 largest = static_cast<quint64>(std::numeric_limits<qint64>::max());

quint64 saturatedAdd(quint64 a, quint64 b)
{
    return a > largest - b ? largest : a + b;
}

quint64 saturatedMultiply(quint64 a, quint64 b)
{
    return b != 0 && a > largest / b ? largest : a * b;
}

} // namespace

BlockLayout::BlockLayout(const QList<EDataSetColumn> &columns)
{
    for (const ColumnTraits &traits : unlistedArrays)
        m_bytesPerPoint += traits.elementSize;
    for (const EDataSetColumn column : columns) {
        const ColumnTraits *traits = findColumn(column);
        if (traits == nullptr) {
            m_isValid = false;
            return;
        }
        (traits->count == ColumnTraits::ByTriangles ? m_bytesPerTriangle : m_bytesPerPoint) += traits->elementSize;
    }
}

qint64 BlockLayout::dataSize(unsigned int points, unsigned int triangles) const
{
    const quint64 runs =
        saturatedAdd(saturatedMultiply(m_bytesPerPoint, points), saturatedMultiply(m_bytesPerTriangle, triangles));
    return static_cast<qint64>(saturatedAdd(dataHeadSize, runs));
}

} // namespace ptCloud
