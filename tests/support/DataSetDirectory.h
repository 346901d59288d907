#pragma once

#include "BlockFile.h"
#include "Bytes.h"
#include "ContourFile.h"
#include "DataSetFileTest.h"
#include "DebugLog.h"
#include "VolumeFile.h"

#include "PtCloudDataSet.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMap>
#include <QStringList>
#include <QTemporaryDir>

#include <ostream>
#include <vector>

namespace support
{

/// Sound files of points, of which no two seeds give the same bytes: block 1 has `seed` points.
inline QByteArray pointsBytes(quint8 seed)
{
    BlockFile file;
    file.columns = {0, 4};
    file.blocks.push_back(file.makeBlock(1, seed, 0, seed));
    return file.bytes();
}

/// Likewise with triangles.
inline QByteArray meshBytes(quint8 seed)
{
    BlockFile file;
    file.columns = {0, 2};
    file.blocks.push_back(file.makeBlock(1, seed, 1, seed));
    return file.bytes();
}

inline QByteArray pngBytes(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

/// A picture of 3 by `height` grey pixels.
inline QByteArray pictureBytes(int height)
{
    QImage image(3, height, QImage::Format_Grayscale8);
    image.fill(100);
    return pngBytes(image);
}

/// A volume file of one area without results.
inline QByteArray volumeBytes(const QString &area)
{
    VolumeFile file;
    file.areas.emplace_back();
    file.areas.back().name = area;
    return file.bytes();
}

/// Everything below a directory, hidden entries too: relative paths with the bytes of files, the targets of links, and
/// a mark for directories.
using DiskState = QMap<QString, QByteArray>;

inline DiskState diskState(const QString &directory)
{
    DiskState state;
    QDirIterator it(directory, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        QByteArray &entry = state[QDir(directory).relativeFilePath(path)];
        if (info.isSymLink())
            entry = "link to " + info.symLinkTarget().toUtf8();
        else
            entry = info.isDir() ? QByteArray("directory") : readFile(path);
    }
    return state;
}

/// A data set with every kind of content, as the files of its directory.
inline DiskState fullDataSet()
{
    return {{QStringLiteral("Points"), pointsBytes(10)},
            {QStringLiteral("roof.mesh"), meshBytes(11)},
            {QStringLiteral("wall.mesh"), meshBytes(12)},
            {QStringLiteral("dem.demmesh"), meshBytes(13)},
            {QStringLiteral("dem.height.png"), pictureBytes(5)},
            {QStringLiteral("dem.contour"), sampleContours().bytes()},
            {QStringLiteral("dem.classify"), pointsBytes(14)},
            {QStringLiteral("north.split"), pointsBytes(15)},
            {QStringLiteral("south.split"), pointsBytes(16)},
            {QStringLiteral("earth.volume"), volumeBytes(QStringLiteral("pit"))},
            {QStringLiteral("first.cut"), pointsBytes(17)},
            {QStringLiteral("second.cut"), pointsBytes(18)}};
}

inline DiskState bareDataSet()
{
    return {{QStringLiteral("Points"), pointsBytes(10)}};
}

/// Whether two states are the same; otherwise names the entries that differ.
inline ::testing::AssertionResult sameDisk(const DiskState &actual, const DiskState &expected)
{
    ::testing::AssertionResult failure = ::testing::AssertionFailure();
    for (auto it = actual.cbegin(); it != actual.cend(); ++it) {
        if (!expected.contains(it.key()))
            failure << "unexpected: " << it.key().toStdString() << "\n";
        else if (expected[it.key()] != *it)
            failure << "changed: " << it.key().toStdString() << "\n";
    }
    for (const QString &name : expected.keys()) {
        if (!actual.contains(name))
            failure << "missing: " << name.toStdString() << "\n";
    }
    return actual == expected ? ::testing::AssertionSuccess() : failure;
}

/// Writes files into a directory, which is made.
inline void makeDirectory(const QString &path, const DiskState &files)
{
    ASSERT_TRUE(QDir().mkpath(path));
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        ASSERT_TRUE(writeFile(path + QLatin1Char('/') + it.key(), *it));
}

/// Every signal of a data set in the order of emission, as "signal(first, second)".
class SignalLog
{
public:
    using DataSet = ptCloud::PtCloudDataSet;

    explicit SignalLog(DataSet &dataSet)
    {
        log(dataSet, &DataSet::sgContentUpdated_Points, "sgContentUpdated_Points");
        log(dataSet, &DataSet::sgContentAdded_Mesh, "sgContentAdded_Mesh");
        log(dataSet, &DataSet::sgRemoved_Mesh, "sgRemoved_Mesh");
        log(dataSet, &DataSet::sgContentAdded_Dem_Mesh, "sgContentAdded_Dem_Mesh");
        log(dataSet, &DataSet::sgContentRemoved_Dem_Mesh, "sgContentRemoved_Dem_Mesh");
        log(dataSet, &DataSet::sgContentAdded_Dem_Contour, "sgContentAdded_Dem_Contour");
        log(dataSet, &DataSet::sgContentRemoved_Dem_Contour, "sgContentRemoved_Dem_Contour");
        log(dataSet, &DataSet::sgContentAdded_Dem_Classify, "sgContentAdded_Dem_Classify");
        log(dataSet, &DataSet::sgContentRemoved_Dem_Classify, "sgContentRemoved_Dem_Classify");
        log(dataSet, &DataSet::sgContentAdded_Split, "sgContentAdded_Split");
        log(dataSet, &DataSet::sgRemoved_Split, "sgRemoved_Split");
        log(dataSet, &DataSet::sgContentAdded_EarthVolume, "sgContentAdded_EarthVolume");
        log(dataSet, &DataSet::sgContentRemoved_EarthVolume, "sgContentRemoved_EarthVolume");
        log(dataSet, &DataSet::sgContentAdded_Cut, "sgContentAdded_Cut");
        log(dataSet, &DataSet::sgContentRemoved_Cut, "sgContentRemoved_Cut");
    }

    /// What came since the last call.
    QStringList take()
    {
        QStringList result;
        result.swap(m_lines);
        return result;
    }

private:
    void log(DataSet &dataSet, void (DataSet::*signal)(QString), const char *name)
    {
        QObject::connect(&dataSet, signal, &m_receiver, [this, name](const QString &dataSetName) {
            m_lines.append(QStringLiteral("%1(%2)").arg(QLatin1String(name), dataSetName));
        });
    }
    void log(DataSet &dataSet, void (DataSet::*signal)(QString, QString), const char *name)
    {
        QObject::connect(&dataSet, signal, &m_receiver,
                         [this, name](const QString &dataSetName, const QString &second) {
                             m_lines.append(QStringLiteral("%1(%2, %3)").arg(QLatin1String(name), dataSetName, second));
                         });
    }

    QObject m_receiver;
    QStringList m_lines;
};

/// The files of points and meshes that a data set holds, by the names of their files.
inline QMap<QString, ptCloud::PtCloud_DataSetFile *> contentsOf(const ptCloud::PtCloudDataSet &dataSet)
{
    QMap<QString, ptCloud::PtCloud_DataSetFile *> result = {
        {QStringLiteral("Points"), dataSet.getContent_PointDataSetFile()},
        {QStringLiteral("dem.demmesh"), dataSet.getContent_Dem_Mesh()},
        {QStringLiteral("dem.classify"), dataSet.getContent_Dem_Classify()}};
    const auto enter = [&result](const QMap<QString, ptCloud::PtCloud_DataSetFile *> &files, const char *suffix) {
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            result[it.key() + QLatin1String(suffix)] = *it;
    };
    enter(*dataSet.getContent_Meshs(), ".mesh");
    enter(*dataSet.getContent_Splits(), ".split");
    enter(*dataSet.getContent_Cuts(), ".cut");
    return result;
}

/// Those of them that are open.
inline QStringList openContents(const ptCloud::PtCloudDataSet &dataSet)
{
    QStringList result;
    const auto contents = contentsOf(dataSet);
    for (auto it = contents.cbegin(); it != contents.cend(); ++it) {
        if ((*it)->isOpened())
            result.append(it.key());
    }
    return result;
}

/// The number of points of block 1, by which an open file of the functions above is known; 0 while closed.
inline int pointsIn(const ptCloud::PtCloud_DataSetFile &file)
{
    const auto blocks = file.getBlockInfos();
    return blocks.contains(1) ? static_cast<int>(std::get<1>(blocks[1])) : 0;
}

/// A data set `site` in a project directory of its own. Files stand beside the project and within it, so that what a
/// data set does outside its directory is seen.
class DataSetTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_root.isValid());
        makeDirectory(m_root.path(), {{QStringLiteral("canary"), "outside the project"}});
        makeDirectory(project(), {{QStringLiteral("canary"), "in the project"}});
    }

    QString root() const { return m_root.path(); }
    /// Two levels down, so that a name that climbs twice is still in the test's own directory.
    QString project() const { return m_root.filePath(QStringLiteral("outer/project")); }
    QString inProject(const char *name) const { return project() + QLatin1Char('/') + QLatin1String(name); }
    QString path(const char *file) const { return inProject("site/") + QLatin1String(file); }

    void setDir() { m_set.setDir(project(), QStringLiteral("site")); }
    /// Puts the files where the data set looks, and loads them.
    void load(const DiskState &files)
    {
        makeDirectory(inProject("site"), files);
        setDir();
        ASSERT_TRUE(m_set.loadFromFile());
    }
    void write(const char *file, const QByteArray &bytes) const { ASSERT_TRUE(writeFile(path(file), bytes)); }
    /// Opens every file that the data set holds, and fills its contours.
    void openAll()
    {
        const auto contents = contentsOf(m_set);
        for (auto it = contents.cbegin(); it != contents.cend(); ++it)
            ASSERT_TRUE((*it)->openFile()) << it.key().toStdString();
        ASSERT_TRUE(m_set.getContent_Dem_Contour()->openFile());
    }

    DiskState inSite() const { return diskState(inProject("site")); }
    DiskState onDisk() const { return diskState(root()); }

    QTemporaryDir m_root;
    DebugLog m_log;
    ptCloud::PtCloudDataSet m_set;
    SignalLog m_signals{m_set};
};

/// Expects that nothing is left of what a data set held but perhaps paths.
inline void expectNoContents(const ptCloud::PtCloudDataSet &dataSet)
{
    EXPECT_EQ(openContents(dataSet), QStringList());
    EXPECT_TRUE(dataSet.getContent_Meshs()->isEmpty());
    EXPECT_TRUE(dataSet.getContent_Splits()->isEmpty());
    EXPECT_TRUE(dataSet.getContent_Cuts()->isEmpty());
    EXPECT_EQ(dataSet.getContent_Dem_HeightMap(), nullptr);
    EXPECT_TRUE(dataSet.getContent_Dem_Contour()->contourGroup1().isEmpty());
    EXPECT_TRUE(dataSet.getContent_Dem_Contour()->contourGroup2().isEmpty());
    EXPECT_TRUE(dataSet.getContent_EarthVolume()->isEmpty());
}

/// One family of files of which a data set has any number, with all operations on it.
struct ContentFamily
{
    using DataSet = ptCloud::PtCloudDataSet;
    using File = ptCloud::PtCloud_DataSetFile;

    const char *name;
    const char *suffix;
    const char *addedSignal;
    const char *removedSignal;
    File *(DataSet::*create)(const QString &) const;
    void (DataSet::*add)(const QString &, File *);
    void (DataSet::*remove)(const QString &);
    void (DataSet::*removeAll)();
    const QMap<QString, File *> *(DataSet::*files)() const;
    void (DataSet::*removed)(QString, QString);
    void (DataSet::*added)(QString, QString);

    QString fileName(const QString &content) const { return content + QLatin1String(suffix); }
};

inline void PrintTo(const ContentFamily &family, std::ostream *out)
{
    *out << family.name;
}

inline std::vector<ContentFamily> contentFamilies()
{
    using Set = ptCloud::PtCloudDataSet;
    return {{"Mesh", ".mesh", "sgContentAdded_Mesh", "sgRemoved_Mesh", &Set::createEmptyLocatedContent_Mesh,
             &Set::addContent_Mesh, &Set::removeContent_Mesh, &Set::removeContent_AllMesh, &Set::getContent_Meshs,
             &Set::sgRemoved_Mesh, &Set::sgContentAdded_Mesh},
            {"Split", ".split", "sgContentAdded_Split", "sgRemoved_Split", &Set::createEmptyLocatedContent_Split,
             &Set::addContent_Split, &Set::removeContent_Split, &Set::removeContent_AllSplits, &Set::getContent_Splits,
             &Set::sgRemoved_Split, &Set::sgContentAdded_Split},
            {"Cut", ".cut", "sgContentAdded_Cut", "sgContentRemoved_Cut", &Set::createEmptyLocatedContent_Cut,
             &Set::addContent_Cut, &Set::removeContent_Cut, &Set::removeContent_AllCuts, &Set::getContent_Cuts,
             &Set::sgContentRemoved_Cut, &Set::sgContentAdded_Cut}};
}

} // namespace support
