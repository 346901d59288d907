// The builder from other data set files.

#include "PtCloud_DataSetFile_Build.h"

#include "IntegerArithmetic.h"
#include "System.h"

#include <algorithm>
#include <numeric>

namespace ptCloud
{

namespace
{

/// The columns of both, in the order of the first. A first list that is empty counts as none yet.
void intersect(QList<EDataSetColumn> &columns, const QList<EDataSetColumn> &others)
{
    if (columns.isEmpty()) {
        columns = others;
        return;
    }
    columns.erase(std::remove_if(columns.begin(), columns.end(),
                                 [&others](EDataSetColumn column) { return !others.contains(column); }),
                  columns.end());
}

} // namespace

bool PtCloud_DataSetFile::makeDataSet_byDataSetFiles(const QList<PtCloud_DataSetFile *> &files)
{
    closeFile();
    // Emptying the target would take the points of a source that is the same file.
    for (const PtCloud_DataSetFile *file : files) {
        if (file == nullptr || file == this || platform::isSameFile(file->m_filepath, m_filepath))
            return false;
    }
    QMap<int, stMergeSource> sources;
    try {
        if (!open(true) || !planMerge(files, sources))
            return false;
    } catch (const std::bad_alloc &) {
        closeFile();
        return false;
    }
    return buildByDataSetFiles(sources);
}

/// Opens the sources and gathers columns, sort and blocks from them. The target stays open where one does not open.
bool PtCloud_DataSetFile::planMerge(const QList<PtCloud_DataSetFile *> &files, QMap<int, stMergeSource> &sources)
{
    int base = 0;
    for (PtCloud_DataSetFile *file : files) {
        if (!file->openFile())
            return false;
        intersect(m_columns, file->m_columns);
        if (m_sortType == EDataSetSort_None)
            m_sortType = file->m_sortType;
        else if (m_sortType != file->m_sortType)
            m_sortType = EDataSetSort_None;
        for (auto it = file->m_blocks.cbegin(); it != file->m_blocks.cend(); ++it) {
            const int key = wrapAdd(it.key(), base);
            m_blocks.insert(key, {0, it->pointCount, it->box, it->triangleCount});
            sources.insert(key, {file, it.key()});
        }
        if (!file->m_blocks.isEmpty())
            base = wrapAdd(base, file->m_blocks.lastKey());
    }
    return true;
}

bool PtCloud_DataSetFile::buildByDataSetFiles(const QMap<int, stMergeSource> &sources)
{
    const auto build = [this, &sources] {
        unsigned int points = 0;
        unsigned int triangles = 0;
        for (const stBlockInfo &block : qAsConst(m_blocks)) {
            points = std::max(points, block.pointCount);
            triangles = std::max(triangles, block.triangleCount);
        }
        if (!reallocBufMems(points, triangles != 0, triangles)) {
            logNoMemory();
            return false;
        }
        if (!writeHead())
            return false;
        unsigned int total = 0;
        for (auto it = sources.cbegin(); it != sources.cend(); ++it) {
            const stPtCloud_PointArray *const block = it->file->readBlock(it->key);
            if (block == nullptr)
                return false;
            std::iota(block->m_pointIndices, block->m_pointIndices + block->m_pointCount, total);
            if (!writeBlockAt(it.key(), *block))
                return false;
            total += block->m_pointCount;
        }
        return true;
    };
    return finishFile(build);
}

} // namespace ptCloud
