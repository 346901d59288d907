// What the blocks are for: the highest point of a region is found without reading the rest of the survey.
//
//   03-blocks-of-a-region FILE XMIN YMIN XMAX YMAX      FILE: a data set file; coordinates in its units

#include <points_cloud.h>

#include <QStringList>

#include <cstdio>
#include <limits>

using namespace ptCloud;

int main(int argc, char **argv)
{
    if (argc != 6) {
        std::fprintf(stderr, "03-blocks-of-a-region FILE XMIN YMIN XMAX YMAX\n");
        return 2;
    }
    const auto number = [argv](int i) { return QString::fromLocal8Bit(argv[i]).toFloat(); };
    constexpr float far = std::numeric_limits<float>::max();
    const pcBoundingBoxf region(number(2), number(3), -far, number(4), number(5), far);

    PtCloud_DataSetFile file;
    if (!file.setFile(QString::fromLocal8Bit(argv[1])) || !file.openFile()) {
        std::fprintf(stderr, "%s is no sound data set file\n", argv[1]);
        return 1;
    }
    // Opening reads the heads alone: where each block lies, how many points it has, and its box.
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);

    int read = 0;
    qint64 inside = 0;
    pcVec3f highest(0, 0, -far);
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        if (!std::get<1>(*it).intersects(region))
            continue;
        // The block is the file's, and good until the next readBlock.
        const stPtCloud_PointArray *block = file.readBlock(it.key());
        if (block == nullptr)
            return 1;
        ++read;
        for (unsigned int i = 0; i < block->m_pointCount; ++i) {
            const pcVec3f &point = block->m_position[i];
            if (!region.contains(point))
                continue;
            ++inside;
            if (point.z() > highest.z())
                highest = point;
        }
    }
    std::printf("%d of %d blocks read, %lld points inside", read, blocks.size(), static_cast<long long>(inside));
    if (inside > 0) {
        std::printf(", the highest at %.3f %.3f %.3f", static_cast<double>(highest.x()),
                    static_cast<double>(highest.y()), static_cast<double>(highest.z()));
    }
    std::printf("\n");
    return 0;
}
