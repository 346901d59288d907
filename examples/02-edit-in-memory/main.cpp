// A survey is loaded into memory, a piece of it cut out, a boulder dropped, points marked, and the rest saved and read
// back.
//
//   02-edit-in-memory IN OUT      IN: a data set file; OUT: the one to write

#include <points_cloud.h>

#include <cstdio>

using namespace ptCloud;

namespace
{

qint64 pointsIn(const IDataSetReader &reader)
{
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    reader.getBlocks(blocks);
    qint64 count = 0;
    for (const auto &block : qAsConst(blocks))
        count += std::get<0>(block);
    return count;
}

/// The box around all blocks.
pcBoundingBoxf boundsOf(const IDataSetReader &reader)
{
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    reader.getBlocks(blocks);
    pcBoundingBoxf bounds;
    for (const auto &block : qAsConst(blocks))
        bounds.expandBy(std::get<1>(block));
    return bounds;
}

} // namespace

int main(int argc, char **argv)
{
    PtCloud_DataSetFile in;
    PtCloud_DataSetMemory memory;
    if (argc != 3 || !in.setFile(QString::fromLocal8Bit(argv[1])) || !memory.makeFromFile(&in)) {
        std::fprintf(stderr, "02-edit-in-memory IN OUT\n");
        return 2;
    }
    const pcBoundingBoxf bounds = boundsOf(memory);
    const pcVec3f middle = bounds.center();
    const float quarter = (bounds.xMax() - bounds.xMin()) / 4;
    // The middle half of the survey, without what lies near its centre.
    const pcBoundingBoxf wanted(middle - pcVec3f(quarter, quarter, bounds.radius()),
                                middle + pcVec3f(quarter, quarter, bounds.radius()));
    const pcBoundingSpheref boulder(middle, quarter / 4);

    std::printf("before: %lld points\n", static_cast<long long>(pointsIn(memory)));
    PtCloud_DataSetMemory::BlockMap *blocks = memory.getAllBlocksPtr();
    for (auto it = blocks->begin(); it != blocks->end();) {
        stPtCloud_PointArray *block = std::get<1>(*it);
        block->removeOutterByBox(wanted);
        block->removeInnerBySphere(boulder);
        if (block->m_pointCount > 0) {
            block->markPoint(0, true); // a mark lives in memory: saving takes it away
            ++it;
            continue;
        }
        // What is taken out of the map belongs to the host.
        it = blocks->erase(it);
        delete block;
    }

    PtCloud_DataSetFile out;
    if (!out.setFile(QString::fromLocal8Bit(argv[2])) || !memory.saveToFile(&out) || !out.openFile()) {
        std::fprintf(stderr, "nothing is left, or %s can't be written\n", argv[2]);
        return 1;
    }
    std::printf("after: %lld points\n", static_cast<long long>(pointsIn(out)));
    return 0;
}
