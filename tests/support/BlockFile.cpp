#include "BlockFile.h"

#include "Bytes.h"

namespace support
{

namespace
{

std::optional<BlockFile> refuse(QString *reason, const char *why)
{
    if (reason != nullptr)
        *reason = QString::fromLatin1(why);
    return std::nullopt;
}

} // namespace

int BlockFile::elementSize(quint32 column)
{
    constexpr int sizes[] = {12, 12, 12, 16, 2, 1, 1, 1, 1, 1, 1, 1, 2, 8, 1, 8, 4, 4, 12};
    return column < 19 ? sizes[column] : 0;
}

QByteArray BlockFile::bytes() const
{
    QByteArray out;
    put(out, formatWord);
    put(out, sort);
    put(out, static_cast<qint32>(columns.size()));
    for (const quint32 column : columns)
        put(out, column);
    put(out, static_cast<qint32>(blocks.size()));
    for (const Block &block : blocks) {
        put(out, block.key);
        for (const float edge : block.box)
            put(out, edge);
        put(out, block.points);
        put(out, block.tag);
        put(out, block.triangles);
        for (const quint32 index : block.indices)
            put(out, index);
        for (const quint8 mark : block.marks)
            put(out, mark);
        for (const QByteArray &run : block.columns)
            out += run;
    }
    return out;
}

std::optional<BlockFile> BlockFile::parse(const QByteArray &bytes, QString *reason)
{
    if (bytes.size() < 16)
        return refuse(reason, "shorter than an empty file");
    BlockFile file;
    file.formatWord = get<quint32>(bytes, 0);
    file.sort = get<quint32>(bytes, 4);
    const auto columnCount = get<qint32>(bytes, 8);
    if (columnCount < 0 || 16 + 4LL * columnCount > bytes.size())
        return refuse(reason, "column count does not fit");
    for (qint32 i = 0; i < columnCount; ++i)
        file.columns.push_back(get<quint32>(bytes, 12 + 4LL * i));
    qint64 at = 12 + 4LL * columnCount;
    const auto blockCount = get<qint32>(bytes, at);
    at += 4;
    for (qint32 number = 0; number < blockCount; ++number) {
        if (at + 40 > bytes.size())
            return refuse(reason, "ends within a block's head");
        Block block;
        block.recordOffset = at;
        block.key = get<qint32>(bytes, at);
        for (int i = 0; i < 6; ++i)
            block.box[i] = get<float>(bytes, at + 4 + 4LL * i);
        block.points = get<quint32>(bytes, at + 28);
        block.tag = get<qint32>(bytes, at + 32);
        block.triangles = get<quint32>(bytes, at + 36);
        at += 40;
        qint64 size = 5LL * block.points;
        for (const quint32 column : file.columns)
            size +=
                static_cast<qint64>(elementSize(column)) * (countsTriangles(column) ? block.triangles : block.points);
        if (at + size > bytes.size())
            return refuse(reason, "ends within a block's data");
        for (quint32 i = 0; i < block.points; ++i, at += 4)
            block.indices.push_back(get<quint32>(bytes, at));
        for (quint32 i = 0; i < block.points; ++i, ++at)
            block.marks.push_back(get<quint8>(bytes, at));
        for (const quint32 column : file.columns) {
            const int run =
                elementSize(column) * static_cast<int>(countsTriangles(column) ? block.triangles : block.points);
            block.columns.push_back(bytes.mid(static_cast<int>(at), run));
            at += run;
        }
        file.blocks.push_back(block);
    }
    if (at != bytes.size())
        return refuse(reason, "bytes are left over");
    return file;
}

BlockFile::Block BlockFile::makeBlock(qint32 key, quint32 points, quint32 triangles, quint8 seed) const
{
    Block block;
    block.key = key;
    for (int i = 0; i < 6; ++i)
        block.box[i] = static_cast<float>(key) + static_cast<float>(i) * 0.5F;
    block.points = points;
    block.triangles = triangles;
    for (quint32 i = 0; i < points; ++i) {
        block.indices.push_back(i);
        block.marks.push_back(static_cast<quint8>((i + seed) % 2));
    }
    for (const quint32 column : columns) {
        const quint32 count = countsTriangles(column) ? triangles : points;
        QByteArray run(static_cast<int>(count) * elementSize(column), '\0');
        for (int i = 0; i < run.size(); ++i)
            run[i] = static_cast<char>((i * 7 + static_cast<int>(column) * 31 + seed) & 0x3f);
        block.columns.push_back(run);
    }
    return block;
}

} // namespace support
