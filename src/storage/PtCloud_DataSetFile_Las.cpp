#include "PtCloud_DataSetFile_Build.h"

#include "LasBlockAssembler.h"
#include "LasClassifier.h"

#include <limits>

namespace ptCloud
{

namespace
{

/// LAS files deliver positions, and neither normals nor triangles.
bool canComeFromLas(const QList<EDataSetColumn> &columns)
{
    for (const EDataSetColumn column : columns) {
        if (findColumn(column) == nullptr || column == EDataSetColumn_Normal || column == EDataSetColumn_Triangle)
            return false;
    }
    return columns.contains(EDataSetColumn_Position);
}

float toPosition(qint64 raw)
{
    return static_cast<float>(raw) / 1000.0F;
}

pcBoundingBoxf toPositions(const BoxGrid::Ranges &corners)
{
    return {toPosition(corners[0].lower), toPosition(corners[1].lower), toPosition(corners[2].lower),
            toPosition(corners[0].upper), toPosition(corners[1].upper), toPosition(corners[2].upper)};
}

} // namespace

int PtCloud_DataSetFile::_CalcMipMapBoxSize(int minX, int maxX, int minY, int maxY, int minZ, int maxZ)
{
    return static_cast<int>(BoxGrid::boxSize({{{minX, maxX}, {minY, maxY}, {minZ, maxZ}}}));
}

bool PtCloud_DataSetFile::makeDataSet_byLasFile(const QList<const LasFile *> &lasFiles,
                                                const QList<EDataSetColumn> &columns)
{
    return buildFile([&] { return canComeFromLas(columns) && buildByLasFile(lasFiles, columns); });
}

bool PtCloud_DataSetFile::buildByLasFile(const QList<const LasFile *> &lasFiles, const QList<EDataSetColumn> &columns)
{
    LasClassifier classifier;
    if (!classifier.readHeaders(lasFiles))
        return false;
    classifier.classify();

    std::vector<LasBlockAssembler::Block> blocks;
    bool countsFit = true;
    const std::vector<quint64> &points = classifier.pointsOfBoxes();
    for (std::size_t box = 0; box < points.size(); ++box) {
        countsFit = countsFit && points[box] <= std::numeric_limits<unsigned int>::max();
        if (points[box] != 0)
            blocks.push_back({static_cast<int>(box), static_cast<unsigned int>(points[box])});
    }
    if (blocks.empty()) {
        logPointsEmpty();
        return false;
    }

    m_columns = columns;
    m_sortType = EDataSetSort_ByBox;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        stBlockInfo info;
        info.pointCount = blocks[i].pointCount;
        info.box = toPositions(classifier.grid().cornersOf(blocks[i].box));
        m_blocks.insert(static_cast<int>(i) + 1, info);
    }
    LasBlockAssembler assembler(classifier, std::move(blocks), columns);
    if (!countsFit || !assembler.allocate()) {
        logNoMemory();
        return false;
    }
    return writeHead() && assembler.assemble([this](std::size_t number, const stPtCloud_PointArray &array) {
        return writeBlockAt(static_cast<int>(number) + 1, array);
    });
}

} // namespace ptCloud
