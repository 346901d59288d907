// What a host does with the contents of a data set.

#include "Session.h"

#include "PtCloud_DataSetMemory.h"

#include <cstdlib>

namespace soak
{

using namespace ptCloud;
using support::text;
using support::writeFile;

namespace
{

const QString anyContent = QStringLiteral("content");

/// Points on a slope of `side` by `side`, the column of triangles only where there are some.
void fill(stPtCloud_PointArray &array, unsigned int side, bool withTriangles)
{
    const unsigned int triangles = withTriangles ? 2 * (side - 1) * (side - 1) : 0;
    ASSERT_TRUE(array.alloc(side * side, {EDataSetColumn_Position, EDataSetColumn_Intensity, EDataSetColumn_Triangle},
                            withTriangles, triangles));
    for (unsigned int i = 0; i < side * side; ++i) {
        const auto x = static_cast<float>(i % side);
        const auto y = static_cast<float>(i / side);
        array.m_position[i].set(x, y, 1.0F + 0.5F * x);
    }
    for (unsigned int i = 0; i < triangles; i += 2) {
        const unsigned int cell = i / 2;
        const unsigned int corner = cell / (side - 1) * side + cell % (side - 1);
        array.m_triangle[i] = {corner, corner + 1, corner + side};
        array.m_triangle[i + 1] = {corner + 1, corner + side + 1, corner + side};
    }
}

void fillLines(PtCloud_ContourFile::Group &group)
{
    for (int height = 0; height < 5; ++height)
        group[height].append(QVector<QPointF>(20, QPointF(height, 1.0)));
}

/// Adds a file under a name, or takes the one away that is there.
template <typename Write>
void exchange(PtCloudDataSet &dataSet, const support::ContentFamily &family, Write write)
{
    std::unique_ptr<PtCloud_DataSetFile> file((dataSet.*family.create)(anyContent));
    if (file == nullptr)
        return (dataSet.*family.remove)(anyContent);
    EXPECT_TRUE(write(*file));
    EXPECT_TRUE(file->openFile());
    file->closeFile();
    (dataSet.*family.add)(anyContent, file.release());
    EXPECT_TRUE((dataSet.*family.files)()->contains(anyContent));
}

} // namespace

void Session::read()
{
    PtCloud_DataSetFile &points = *anyDataSet().getContent_PointDataSetFile();
    ASSERT_TRUE(points.openFile());
    const auto blocks = points.getBlockInfos();
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        const stPtCloud_PointArray *const block = points.readBlock(it.key());
        ASSERT_NE(block, nullptr);
        QMap<EDataSetColumn, QVariant> values;
        EXPECT_TRUE(block->getPeace(0, values));
    }
    EXPECT_EQ(points.readBlock(blocks.lastKey() + 1), nullptr);
    points.closeFile();
}

void Session::edit()
{
    PtCloudDataSet &dataSet = anyDataSet();
    PtCloud_DataSetFile &points = *dataSet.getContent_PointDataSetFile();
    PtCloud_DataSetMemory memory;
    ASSERT_TRUE(memory.makeFromFile(&points));
    points.closeFile();
    for (const auto &entry : *memory.getAllBlocksPtr()) {
        stPtCloud_PointArray &block = *std::get<1>(entry);
        if (block.m_pointCount < 2)
            continue;
        block.markPoints({0, 1});
        QSet<unsigned int> marked;
        block.removeAllMarks(marked);
        EXPECT_TRUE(block.removePointsByIndies({*marked.begin()}));
    }
    const PtCloud_DataSetMemory other(memory);
    PtCloud_DataSetFile edited;
    edited.setFile(dataSet.createEmptyLocatedContent_Points());
    EXPECT_TRUE(memory.saveToFile(&edited));
    dataSet.updateContent_Points();
    EXPECT_FALSE(QFileInfo::exists(edited.getFilepath()));
}

void Session::addMesh()
{
    exchange(anyDataSet(), support::contentFamilies()[0], [](PtCloud_DataSetFile &file) {
        stPtCloud_PointArray array;
        fill(array, 12, true);
        return file.makeDataSet_byPointsArray(array);
    });
}

void Session::addSplit()
{
    exchange(anyDataSet(), support::contentFamilies()[1], [](PtCloud_DataSetFile &file) {
        stPtCloud_PointArray a;
        stPtCloud_PointArray b;
        fill(a, 8, false);
        fill(b, 9, false);
        PtCloud_DataSetFile noPath;
        EXPECT_FALSE(noPath.makeDataSet_byPointsArray(a));
        return file.makeDataSet_byPointsArray(QList<const stPtCloud_PointArray *>{&a})
               && file.makeDataSet_bySplittedPointsArray({&a, &b});
    });
}

void Session::addCut()
{
    PtCloudDataSet &dataSet = anyDataSet();
    exchange(dataSet, support::contentFamilies()[2], [&dataSet](PtCloud_DataSetFile &file) {
        PtCloud_DataSetFile &points = *dataSet.getContent_PointDataSetFile();
        PtCloud_DataSetMemory memory;
        EXPECT_TRUE(memory.makeFromFile(&points));
        points.closeFile();
        return memory.saveToFile(&file);
    });
}

void Session::addTerrain()
{
    PtCloudDataSet &dataSet = anyDataSet();
    PtCloud_ContourFile contours;
    contours.setFile(dataSet.createEmptyLocatedContent_Dem_Contour());
    fillLines(contours.contourGroup1());
    fillLines(contours.contourGroup2());
    EXPECT_TRUE(contours.saveToFile());
    EXPECT_TRUE(writeFile(dataSet.createEmptyLocatedContent_Dem_Mesh(), support::meshBytes(20)));
    EXPECT_TRUE(writeFile(dataSet.createEmptyLocatedContent_Dem_Classify(), support::pointsBytes(30)));
    EXPECT_TRUE(writeFile(dataSet.createEmptyLocatedContent_Dem_HeightMap(), support::pictureBytes(50)));
    dataSet.setContent_Dem_Contour();
    dataSet.setContent_Dem_Mesh();
    dataSet.setContent_Dem_Classify();
    dataSet.setContent_Dem_HeightMap();
    EXPECT_TRUE(dataSet.getContent_Dem_Contour()->openFile());
    EXPECT_EQ(dataSet.getContent_Dem_Contour()->contourGroup2().size(), 5);
    dataSet.getContent_Dem_Contour()->closeFile();
    EXPECT_NE(dataSet.getContent_Dem_HeightMap(), nullptr);
}

void Session::addDamagedTerrain()
{
    PtCloudDataSet &dataSet = anyDataSet();
    for (const QString &file :
         {dataSet.createEmptyLocatedContent_Dem_Contour(), dataSet.createEmptyLocatedContent_Dem_Mesh(),
          dataSet.createEmptyLocatedContent_Dem_Classify(), dataSet.createEmptyLocatedContent_Dem_HeightMap()})
        EXPECT_TRUE(writeFile(file, QByteArray(100, 'x')));
    dataSet.setContent_Dem_Contour();
    dataSet.setContent_Dem_Mesh();
    dataSet.setContent_Dem_Classify();
    dataSet.setContent_Dem_HeightMap();
    EXPECT_EQ(dataSet.getContent_Dem_Mesh()->getFilepath(), QString());
    EXPECT_EQ(dataSet.getContent_Dem_Contour()->getFilepath(), QString());
    EXPECT_EQ(dataSet.getContent_Dem_HeightMap(), nullptr);
    dataSet.removeContent_AllDem();
}

void Session::removeContents()
{
    PtCloudDataSet &dataSet = anyDataSet();
    dataSet.removeContent_AllMesh();
    dataSet.removeContent_AllSplits();
    dataSet.removeContent_AllCuts();
    dataSet.removeContent_AllDem();
    dataSet.removeContent_Mesh(text("unknown"));
    EXPECT_TRUE(dataSet.getContent_Meshs()->isEmpty());
}

void Session::volumes()
{
    PtCloudDataSet &dataSet = anyDataSet();
    stPtCloud_PointArray array;
    fill(array, 12, true);
    PtCloud_DataSetFile mesh;
    mesh.setFile(path("tmp/mesh"));
    ASSERT_TRUE(mesh.makeDataSet_byPointsArray(array));

    VolumeCalcAreaList &list = *dataSet.getContent_EarthVolume();
    list.removeArea(anyContent);
    VolumeCalcArea *const area = list.addArea(anyContent);
    ASSERT_NE(area, nullptr);
    area->boundary = {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}};
    area->groundHeightType = 1;
    area->gridSize = 1.0F;
    list.setDTMFile(&mesh);
    list.setGridFile(dataSet.getContent_PointDataSetFile());
    EXPECT_TRUE(list.doCalc(VolumeCalc_DTM));
    EXPECT_TRUE(area->dtmCalculated);
    EXPECT_TRUE(list.doCalc(VolumeCalc_GRID));
    list.setDTMFile(nullptr);
    dataSet.getContent_PointDataSetFile()->closeFile();
    mesh.removeFile();
    EXPECT_TRUE(dataSet.saveToFile());
    EXPECT_TRUE(list.loadFromFile());
    EXPECT_NE(list.getArea(anyContent), nullptr);
}

void Session::volumesThatFail()
{
    PtCloudDataSet &dataSet = anyDataSet();
    VolumeCalcAreaList &list = *dataSet.getContent_EarthVolume();
    PtCloud_DataSetFile missing;
    missing.setFile(path("missing"));
    list.setDTMFile(&missing);
    EXPECT_FALSE(list.doCalc(VolumeCalc_DTM));
    list.setDTMFile(nullptr);
    EXPECT_FALSE(list.doCalc(VolumeCalc_DTM));

    VolumeCalcAreaList broken;
    broken.setFile(QDir(path("tmp")), text("broken.volume"));
    support::VolumeFile file;
    file.areas.resize(2);
    file.areas[1].version = 9;
    EXPECT_TRUE(writeFile(path("tmp/broken.volume"), file.bytes()));
    EXPECT_FALSE(broken.loadFromFile());
    EXPECT_TRUE(QFile::remove(path("tmp/broken.volume")));
}

} // namespace soak
