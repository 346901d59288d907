#include "SourceCloud.h"

#include "Failure.h"
#include "MemoryGuard.h"
#include "PtCloud_DataSetFile.h"

#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

using namespace ptCloud;

namespace
{

/// A point with all columns, and its position near the origin.
constexpr std::uint64_t bytesOfPoint = 130;

bool isUsable(const pcVec3f &p)
{
    const auto isNear = [](float c) { return std::fabs(c) <= static_cast<float>(SourceCloud::largestCoordinate); };
    return isNear(p.x()) && isNear(p.y()) && isNear(p.z());
}

QList<EDataSetColumn> pointColumns(const QList<EDataSetColumn> &stored)
{
    QList<EDataSetColumn> columns;
    for (const EDataSetColumn column : stored) {
        if (column != EDataSetColumn_Triangle && !columns.contains(column))
            columns.append(column);
    }
    return columns;
}

[[noreturn]] void refuse(const QString &path, const QString &why)
{
    throw Failure(ExitCode::ReadSource, QStringLiteral("the source %1 %2").arg(path, why));
}

} // namespace

SourceCloud::SourceCloud(const QString &path, Progress &progress)
{
    read(path, progress);
    if (size() == 0)
        refuse(path, QStringLiteral("has no usable point%1").arg(leftOutNote()));
    shift();
}

void SourceCloud::read(const QString &path, Progress &progress)
{
    if (path.isEmpty())
        throw Failure(ExitCode::ReadSource, QStringLiteral("source_filepath is empty: there is nothing to read"));
    if (!QFileInfo(path).isFile())
        refuse(path, QStringLiteral("is not there"));
    PtCloud_DataSetFile file;
    if (!file.setFile(path) || !file.openFile())
        refuse(path, QStringLiteral("can't be read, or is no data set file"));
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    std::uint64_t count = 0;
    for (const auto &block : qAsConst(blocks))
        count += std::get<0>(block);

    const QString name = QStringLiteral("reading the points");
    requireMemory(count * bytesOfPoint, name);
    // Labels and indices of points are of 32 bits.
    if (count > static_cast<std::uint64_t>(std::numeric_limits<int>::max())
        || !m_array.alloc(static_cast<unsigned int>(count), pointColumns(file.getColumns()), false, 0))
        throw Failure(ExitCode::Memory, QStringLiteral("%1 points are too many").arg(count));
    progress.stage(name, 0, 1);
    m_array.m_pointCount = 0;
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        const stPtCloud_PointArray *const block = std::get<0>(*it) == 0 ? nullptr : file.readBlock(it.key());
        if (std::get<0>(*it) != 0 && (block == nullptr || block->m_position == nullptr || block->m_pointCount > count))
            refuse(path, QStringLiteral("has a block that can't be read"));
        if (block == nullptr)
            continue;
        count -= block->m_pointCount;
        append(*block);
        progress.show(static_cast<double>(size()) / static_cast<double>(size() + count + 1));
    }
}

/// Takes the usable points of a block, run by run.
void SourceCloud::append(const stPtCloud_PointArray &block)
{
    const pcVec3f *const begin = block.m_position;
    const pcVec3f *const end = begin + block.m_pointCount;
    for (const pcVec3f *first = begin; first != end;) {
        const pcVec3f *const last = std::find_if_not(first, end, isUsable);
        const auto count = static_cast<unsigned int>(last - first);
        m_array.copy_noTriangle(block, static_cast<unsigned int>(first - begin), m_array.m_pointCount, count);
        m_array.m_pointCount += count;
        first = std::find_if(last, end, isUsable);
        m_leftOut += static_cast<std::uint64_t>(first - last);
    }
}

void SourceCloud::shift()
{
    const pcVec3f *const positions = m_array.m_position;
    for (int axis = 0; axis < 3; ++axis) {
        const auto [least, most] = std::minmax_element(
            positions, positions + size(), [axis](const pcVec3f &a, const pcVec3f &b) { return a[axis] < b[axis]; });
        // A whole number takes nothing from the digits of what is left.
        m_origin[axis] = std::round(((*least)[axis] + static_cast<double>((*most)[axis])) / 2);
    }
    m_points.resize(size());
    std::transform(positions, positions + size(), m_points.begin(),
                   [this](const pcVec3f &p) { return static_cast<pcVec3f>(pcVec3d(p) - m_origin); });
}

pcVec3f SourceCloud::toFile(const pcVec3d &local) const
{
    return static_cast<pcVec3f>(local + m_origin);
}

QString SourceCloud::leftOutNote() const
{
    if (m_leftOut == 0)
        return {};
    return QStringLiteral(", %1 points without a usable position left out").arg(m_leftOut);
}
