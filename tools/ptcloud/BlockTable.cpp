#include "BlockTable.h"

#include "Console.h"

#include <QFile>

using namespace ptCloud;

namespace
{

/// The triangle count of a block, which the reader tells only together with the points.
quint32 readTriangleCount(QFile &file, qint64 blockOffset)
{
    constexpr qint64 triangleCountAt = 8;
    quint32 count = 0;
    if (file.seek(blockOffset + triangleCountAt))
        file.read(reinterpret_cast<char *>(&count), sizeof count);
    return count;
}

} // namespace

QList<BlockRow> readBlockTable(const PtCloud_DataSetFile &file)
{
    QFile bytes(file.getFilepath());
    if (!bytes.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw CommandError(QStringLiteral("%1 can't be read: %2").arg(quoted(file.getFilepath()), bytes.errorString()));
    QList<BlockRow> rows;
    const auto infos = file.getBlockInfos();
    for (auto it = infos.cbegin(); it != infos.cend(); ++it) {
        const auto &[offset, points, box] = *it;
        rows.append({it.key(), offset, points, readTriangleCount(bytes, offset), box});
    }
    return rows;
}

QJsonArray boxToJson(const pcBoundingBoxf &box)
{
    return {static_cast<double>(box.xMin()), static_cast<double>(box.yMin()), static_cast<double>(box.zMin()),
            static_cast<double>(box.xMax()), static_cast<double>(box.yMax()), static_cast<double>(box.zMax())};
}
