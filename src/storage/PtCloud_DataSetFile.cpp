#include "PtCloud_DataSetFile.h"

#include "BlockLayout.h"
#include "ColumnTraits.h"
#include "System.h"

#include <QDebug>
#include <QFileInfo>
#include <QVarLengthArray>
#include <QVector>

#include <algorithm>
#include <limits>
#include <new>

namespace ptCloud
{

namespace
{

qint64 runBytes(const ColumnTraits &traits, const stPtCloud_PointArray &array)
{
    return static_cast<qint64>(traits.countOf(array)) * traits.elementSize;
}

/// A whole read; false where the file ends within it. A read that an error cuts short tells of no error: only the next
/// one does.
bool readWhole(QFile &file, void *bytes, qint64 count)
{
    auto *at = static_cast<char *>(bytes);
    while (count > 0) {
        const qint64 read = file.read(at, count);
        if (read <= 0)
            return false;
        at += read;
        count -= read;
    }
    return true;
}

template <typename T>
bool readValue(QFile &file, T &value)
{
    return readWhole(file, &value, sizeof value);
}

struct RecordHead
{
    qint32 key;
    float box[6];
};
static_assert(sizeof(RecordHead) == BlockLayout::recordHeadSize, "stored raw");

struct DataHead
{
    quint32 pointCount;
    qint32 blockTag;
    quint32 triangleCount;
};
static_assert(sizeof(DataHead) == BlockLayout::dataHeadSize, "stored raw");

} // namespace

PtCloud_DataSetFile::~PtCloud_DataSetFile()
{
    PtCloud_DataSetFile::closeFile();
}

bool PtCloud_DataSetFile::setFile(const QString &path)
{
    closeFile();
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return false;
    m_filepath = path;
    return true;
}

bool PtCloud_DataSetFile::isValid() const
{
    return !m_filepath.isEmpty() && QFileInfo(m_filepath).isFile();
}

void PtCloud_DataSetFile::removeFile()
{
    closeFile();
    if (!m_filepath.isEmpty())
        QFile::remove(m_filepath);
}

void PtCloud_DataSetFile::getBlocks(QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> &blocks) const
{
    for (auto it = m_blocks.cbegin(); it != m_blocks.cend(); ++it)
        blocks[it.key()] = {it->pointCount, it->box};
}

QMap<int, std::tuple<qint64, unsigned int, pcBoundingBoxf>> PtCloud_DataSetFile::getBlockInfos() const
{
    QMap<int, std::tuple<qint64, unsigned int, pcBoundingBoxf>> infos;
    for (auto it = m_blocks.cbegin(); it != m_blocks.cend(); ++it)
        infos.insert(it.key(), {it->offset, it->pointCount, it->box});
    return infos;
}

bool PtCloud_DataSetFile::openFile()
{
    if (m_file)
        return true;
    try {
        if (open(false) && readHead()) {
            unsigned int points = 0;
            unsigned int triangles = 0;
            for (const stBlockInfo &block : qAsConst(m_blocks)) {
                points = std::max(points, block.pointCount);
                triangles = std::max(triangles, block.triangleCount);
            }
            m_lacksTriangles = triangles == 0 && m_columns.contains(EDataSetColumn_Triangle);
            if (reallocBufMems(points, triangles != 0, triangles))
                return true;
        }
    } catch (const std::bad_alloc &) {
        // A head that lists more than memory holds is refused like any other.
    }
    closeFile();
    return false;
}

/// A file that is corrupt may be deleted for it, so it must be found so twice: a size that can't be told for once reads
/// as 0.
PtCloud_DataSetFile::EHead PtCloud_DataSetFile::checkHead()
{
    const EHead head = lookAtHead();
    return head == EHead::Corrupt ? lookAtHead() : head;
}

PtCloud_DataSetFile::EHead PtCloud_DataSetFile::lookAtHead()
{
    EHead head = EHead::Unreadable;
    try {
        if (open(false)) {
            if (readHead())
                head = EHead::Sound;
            else if (m_file->error() == QFileDevice::NoError)
                head = EHead::Corrupt;
        }
    } catch (const std::bad_alloc &) {
    }
    closeFile();
    return head;
}

void PtCloud_DataSetFile::closeFile()
{
    freeBufMems();
    if (m_file)
        m_file->close();
    m_file.reset();
    m_sortType = EDataSetSort_None;
    m_columns.clear();
    m_blocks.clear();
}

const stPtCloud_PointArray *PtCloud_DataSetFile::readBlock(int key)
{
    return m_file && readToBufBlock(key) ? &m_buffer : nullptr;
}

bool PtCloud_DataSetFile::open(bool forWriting)
{
    closeFile();
    if (m_filepath.isEmpty())
        return false;
    QIODevice::OpenMode mode = QIODevice::ReadWrite | QIODevice::Truncate;
    if (!forWriting) {
        // Opening a pipe or a device could block for ever.
        if (!QFileInfo(m_filepath).isFile())
            return false;
        // Blocks are read straight into their arrays; a buffer in between would only be filled and thrown away.
        mode = QIODevice::ReadOnly | QIODevice::Unbuffered;
    }
    auto file = std::make_unique<QFile>(m_filepath);
    if (!file->open(mode))
        return false;
    m_file = std::move(file);
    return true;
}

bool PtCloud_DataSetFile::readHead()
{
    return m_file->seek(0) && readColumnList() && readBlockList();
}

bool PtCloud_DataSetFile::readColumnList()
{
    quint32 formatWord = 0;
    quint32 sortType = 0;
    qint32 columnCount = 0;
    if (!readValue(*m_file, formatWord) || formatWord != BlockLayout::formatWord || !readValue(*m_file, sortType)
        || sortType > EDataSetSort_ByArray || !readValue(*m_file, columnCount))
        return false;
    m_sortType = static_cast<EDataSetSort>(sortType);

    columnCount = std::max(columnCount, 0);
    if (BlockLayout::headSize(columnCount) > m_file->size())
        return false;
    QVarLengthArray<quint32, 4096> words;
    while (m_columns.size() < columnCount) {
        words.resize(std::min(columnCount - m_columns.size(), 4096));
        if (!readBytes(words.data(), BlockLayout::wordSize * words.size()))
            return false;
        for (const quint32 word : words) {
            const auto column = static_cast<EDataSetColumn>(word);
            if (findColumn(column) == nullptr)
                return false;
            m_columns.append(column);
        }
    }
    return true;
}

bool PtCloud_DataSetFile::readBlockList()
{
    const qint64 fileSize = m_file->size();
    const BlockLayout layout(m_columns);
    qint32 blockCount = 0;
    if (!readValue(*m_file, blockCount))
        return false;
    // Each block takes at least its head, so a count beyond the file is refused before a long walk.
    if (blockCount > (fileSize - m_file->pos()) / (BlockLayout::recordHeadSize + BlockLayout::dataHeadSize))
        return false;
    for (qint32 number = 1; number <= blockCount; ++number) {
        RecordHead head = {};
        if (!readValue(*m_file, head))
            return false;
        stBlockInfo block;
        block.box.set(head.box[0], head.box[1], head.box[2], head.box[3], head.box[4], head.box[5]);
        block.offset = m_file->pos();
        // The list may be long, so its sum comes from the layout, and only the counts from here.
        bool ok = false;
        getBlockDataSize({}, m_file.get(), &ok, &block.pointCount, &block.triangleCount);
        if (!ok)
            return false;
        const qint64 size = layout.dataSize(block.pointCount, block.triangleCount);
        m_blocks[head.key] = block;
        if (size > fileSize - block.offset)
            return false;
        if (number < blockCount && !m_file->seek(block.offset + size))
            return false;
        qDebug().nospace().noquote() << "block number= " << number << "    points number= " << block.pointCount;
    }
    return true;
}

bool PtCloud_DataSetFile::writeHead()
{
    const BlockLayout layout(m_columns);
    if (!layout.isValid())
        return false;
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    qint64 position = BlockLayout::headSize(m_columns.size());
    for (stBlockInfo &block : m_blocks) {
        block.offset = position + BlockLayout::recordHeadSize;
        const qint64 size = layout.dataSize(block.pointCount, block.triangleCount);
        position = size > largest - BlockLayout::recordHeadSize - block.offset ? largest : block.offset + size;
    }
    if (position == largest || !platform::reserveFileSpace(*m_file, position)) {
        qDebug().nospace().noquote() << "Resize file failed with size: " << position / 1048576 << "Mbytes.";
        return false;
    }

    QVector<quint32> words = {BlockLayout::unfinishedWord, static_cast<quint32>(m_sortType),
                              static_cast<quint32>(m_columns.size())};
    for (const EDataSetColumn column : qAsConst(m_columns))
        words.append(static_cast<quint32>(column));
    words.append(static_cast<quint32>(m_blocks.size()));
    if (!m_file->seek(0) || !writeBytes(words.constData(), BlockLayout::wordSize * words.size()))
        return false;
    for (auto it = m_blocks.cbegin(); it != m_blocks.cend(); ++it) {
        const pcBoundingBoxf &box = it->box;
        const RecordHead head = {it.key(), {box.xMin(), box.yMin(), box.zMin(), box.xMax(), box.yMax(), box.zMax()}};
        if (!m_file->seek(it->offset - BlockLayout::recordHeadSize) || !writeBytes(&head, sizeof head))
            return false;
    }
    return true;
}

/// Ends a build. Until here a reader refuses the file: the head has room for all points at once, so what a process
/// that was killed left of them could not be told from points.
bool PtCloud_DataSetFile::writeFormatWord()
{
    return m_file->seek(0) && writeBytes(&BlockLayout::formatWord, BlockLayout::wordSize) && m_file->flush();
}

bool PtCloud_DataSetFile::readToBufBlock(int key)
{
    const auto it = m_blocks.constFind(key);
    DataHead head = {};
    if (it == m_blocks.cend() || !m_file->seek(it->offset) || !readValue(*m_file, head))
        return false;
    // The file may have changed since the buffer was made for its largest block.
    if (head.pointCount > m_bufferPoints || (m_buffer.m_triangle != nullptr && head.triangleCount > m_bufferTriangles))
        return false;
    m_buffer.m_pointCount = head.pointCount;
    m_buffer.m_blockTag = head.blockTag;
    m_buffer.m_triangleCount = head.triangleCount;
    // Nothing to read; and a damaged file can list very many columns for very many empty blocks.
    if (head.pointCount == 0 && head.triangleCount == 0)
        return !m_lacksTriangles;
    for (const ColumnTraits &traits : unlistedArrays) {
        if (!readBytes(traits.get(m_buffer), runBytes(traits, m_buffer)))
            return false;
    }
    for (const EDataSetColumn column : qAsConst(m_columns)) {
        const ColumnTraits *traits = findColumn(column);
        void *elements = traits != nullptr ? traits->get(m_buffer) : nullptr;
        if (elements == nullptr || !readBytes(elements, runBytes(*traits, m_buffer)))
            return false;
    }
    return true;
}

bool PtCloud_DataSetFile::writeBufBlock(const stPtCloud_PointArray *array)
{
    const DataHead head = {array->m_pointCount, array->m_blockTag, array->m_triangleCount};
    if (!writeBytes(&head, sizeof head))
        return false;
    for (const ColumnTraits &traits : unlistedArrays) {
        if (!writeBytes(traits.get(*array), runBytes(traits, *array)))
            return false;
    }
    for (const EDataSetColumn column : qAsConst(m_columns)) {
        const ColumnTraits *traits = findColumn(column);
        const void *elements = traits != nullptr ? traits->get(*array) : nullptr;
        if (elements == nullptr || !writeBytes(elements, runBytes(*traits, *array)))
            return false;
    }
    return true;
}

bool PtCloud_DataSetFile::writeBlockAt(int key, const stPtCloud_PointArray &array)
{
    return m_file->seek(m_blocks[key].offset) && writeBufBlock(&array);
}

bool PtCloud_DataSetFile::readBytes(void *bytes, qint64 count)
{
    return readWhole(*m_file, bytes, count);
}

bool PtCloud_DataSetFile::writeBytes(const void *bytes, qint64 count)
{
    return count == 0 || m_file->write(static_cast<const char *>(bytes), count) == count;
}

bool PtCloud_DataSetFile::reallocBufMems(unsigned int points, bool withTriangles, unsigned int triangles)
{
    freeBufMems();
    if (!allocateColumns(m_buffer, m_columns, points, withTriangles ? triangles : 0)) {
        freeBufMems();
        return false;
    }
    m_bufferPoints = points;
    m_bufferTriangles = triangles;
    return true;
}

void PtCloud_DataSetFile::freeBufMems()
{
    m_buffer.clear();
    m_bufferPoints = 0;
    m_bufferTriangles = 0;
}

qint64 PtCloud_DataSetFile::getBlockDataSize(const QList<EDataSetColumn> &columns, unsigned int points,
                                             unsigned int triangles, bool *ok) const
{
    const BlockLayout layout(columns);
    if (ok != nullptr)
        *ok = layout.isValid();
    return layout.isValid() ? layout.dataSize(points, triangles) : 0;
}

qint64 PtCloud_DataSetFile::getBlockDataSize(const QList<EDataSetColumn> &columns, QFile *file, bool *ok,
                                             unsigned int *points, unsigned int *triangles) const
{
    DataHead head = {};
    if (!readValue(*file, head)) {
        if (ok != nullptr)
            *ok = false;
        return 0;
    }
    if (points != nullptr)
        *points = head.pointCount;
    if (triangles != nullptr)
        *triangles = head.triangleCount;
    return getBlockDataSize(columns, head.pointCount, head.triangleCount, ok);
}

} // namespace ptCloud
