#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace support
{

/// A data set file as plain numbers and bytes, written and read without the library.
struct BlockFile
{
    struct Block
    {
        qint32 key = 0;
        float box[6] = {0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F}; ///< min x y z, max x y z
        quint32 points = 0;
        qint32 tag = -1;
        quint32 triangles = 0;
        std::vector<quint32> indices;
        std::vector<quint8> marks;
        std::vector<QByteArray> columns; ///< raw bytes of each column run, in the order of the file's column list

        qint64 recordOffset = 0; ///< where the key stands; filled by `parse`
    };

    quint32 formatWord = 1;
    quint32 sort = 1;
    std::vector<quint32> columns;
    std::vector<Block> blocks;

    /// Bytes of one element of a column kind: 12 for positions, normals, triangles and xyzT, and so on; 0 for no
    /// column.
    static int elementSize(quint32 column);
    /// Whether the run of a column counts triangles.
    static bool countsTriangles(quint32 column) { return column == 2; }

    /// Bytes of the file as the fields stand; counts come from the fields, runs from the bytes given.
    QByteArray bytes() const;
    /// Takes a file apart. Nothing, with a reason, if it does not add up to its very last byte.
    static std::optional<BlockFile> parse(const QByteArray &bytes, QString *reason = nullptr);

    /// A sound block: runs of the right size, filled with a pattern that depends on `seed`.
    Block makeBlock(qint32 key, quint32 points, quint32 triangles = 0, quint8 seed = 1) const;
};

} // namespace support
