// The life of a data set whose directory is the input: its names, its files, its links.

#include "CanaryScene.h"
#include "DataSetArchive.h"
#include "Driver.h"

#include "DataSetDirectory.h"

#include <QFile>

#include <iterator>
#include <memory>

using fuzz::check;
using fuzz::DataSetArchive;
using ptCloud::PtCloud_DataSetFile;
using ptCloud::PtCloudDataSet;
using support::DiskState;

namespace
{

const QStringList fixedNames = {QStringLiteral("Points"),       QStringLiteral("dem.demmesh"),
                                QStringLiteral("dem.contour"),  QStringLiteral("dem.height.png"),
                                QStringLiteral("dem.classify"), QStringLiteral("earth.volume")};

/// Blocks may lie over each other, so that a small file holds any number of large ones.
constexpr int mostBlocks = 64;

class Scene : public fuzz::CanaryScene
{
public:
    Scene() : CanaryScene(QStringLiteral("DataSetDirectory")) {}

    QString site() const { return inPlace(QStringLiteral("site")); }

    void lay(const DataSetArchive &archive) const
    {
        CanaryScene::lay({{QStringLiteral("canary"), "in the project"}});
        check(QDir().mkpath(site()), "the place takes no directory");
        for (const DataSetArchive::Entry &entry : archive.entries)
            layEntry(entry, site() + QLatin1Char('/') + entry.name);
    }

private:
    /// A name that no file system takes is left out.
    static void layEntry(const DataSetArchive::Entry &entry, const QString &path)
    {
        static const char *const targets[] = {
            "../../canary", "../../beside/Points", "../../beside", "nowhere", "a.mesh", "..", "."};
        if (entry.kind == DataSetArchive::File)
            support::writeFile(path, entry.contents);
        else if (entry.kind == DataSetArchive::Directory)
            support::writeFile(path + QStringLiteral("/notes.txt"),
                               QDir().mkpath(path) ? entry.contents : QByteArray());
        else
            QFile::link(QLatin1String(targets[static_cast<quint8>(entry.contents.isEmpty() ? 0 : entry.contents.at(0))
                                              % std::size(targets)]),
                        path);
    }
};

/// What a directory holds. Where links lead to changes with the name of the directory, and is left out.
DiskState stateOf(const QString &directory)
{
    DiskState state = support::diskState(directory);
    for (QByteArray &entry : state) {
        if (entry.startsWith("link to "))
            entry = "link";
    }
    return state;
}

bool isLink(const QString &path)
{
    return QFileInfo(path).isSymLink();
}

bool isSound(const QString &path)
{
    PtCloud_DataSetFile file;
    return file.setFile(path) && file.isValid() && file.openFile();
}

/// Whether a load looks at an entry of the directory at all.
bool isListed(const QString &directory, const QString &entry)
{
    const QString path = directory + QLatin1Char('/') + entry;
    return !entry.contains(QLatin1Char('/')) && !entry.startsWith(QLatin1Char('.')) && QFileInfo(path).isFile();
}

bool isFamilyMember(const QString &name)
{
    return name.endsWith(QLatin1String(".mesh"), Qt::CaseInsensitive)
           || name.endsWith(QLatin1String(".split"), Qt::CaseInsensitive)
           || name.endsWith(QLatin1String(".cut"), Qt::CaseInsensitive);
}

/// What a load leaves of a directory.
DiskState swept(const QString &directory, const DiskState &before)
{
    DiskState after = before;
    for (const QString &name : before.keys()) {
        const bool isKept = !isListed(directory, name) || fixedNames.contains(name, Qt::CaseInsensitive)
                            || (isFamilyMember(name) && isSound(directory + QLatin1Char('/') + name));
        if (!isKept)
            after.remove(name);
    }
    return after;
}

/// Every file of a family that a load left is in its map, and nothing else.
void checkFamilies(const PtCloudDataSet &dataSet, const QString &directory, const DiskState &state)
{
    for (const support::ContentFamily &family : support::contentFamilies()) {
        QStringList expected;
        for (const QString &name : state.keys()) {
            if (isListed(directory, name) && name.endsWith(QLatin1String(family.suffix), Qt::CaseInsensitive))
                expected.append(QFileInfo(name).completeBaseName());
        }
        expected.removeDuplicates();
        expected.sort();
        check((dataSet.*family.files)()->keys() == expected, "a data set lists other files than it has");
    }
}

void readBlocks(PtCloud_DataSetFile &file)
{
    int left = mostBlocks;
    const QList<int> keys = file.getBlockInfos().keys();
    for (const int key : keys) {
        // A file that lists triangles and has none opens, and its blocks are not read.
        const bool mayFail = file.getColumns().contains(ptCloud::EDataSetColumn_Triangle);
        check(file.readBlock(key) != nullptr || mayFail, "a block of a sound file can't be read");
        if (--left == 0)
            break;
    }
    file.closeFile();
}

/// Opens and reads all that a data set has.
void readAll(const PtCloudDataSet &dataSet)
{
    const auto contents = support::contentsOf(dataSet);
    for (auto it = contents.cbegin(); it != contents.cend(); ++it) {
        // Classes are attached without a look at them; an absent mesh has no path.
        const bool mayFail = *it == dataSet.getContent_Dem_Classify() || (*it)->getFilepath().isEmpty();
        const bool isOpen = (*it)->openFile();
        check(isOpen || mayFail, "a content that was loaded does not open");
        if (isOpen)
            readBlocks(**it);
    }
    ptCloud::PtCloud_ContourFile &contours = *dataSet.getContent_Dem_Contour();
    check(contours.openFile() == contours.isValid(), "contours that were loaded do not open");
    contours.closeFile();
    QMap<QString, ptCloud::VolumeCalcArea *> areas;
    dataSet.getContent_EarthVolume()->getAreas(areas);
    for (const ptCloud::VolumeCalcArea *const area : qAsConst(areas))
        check(area->dtmCalculated || area->getDigVolume_dtm() == 0 || !area->prisms.isEmpty(), "a volume of nothing");
}

/// Saving changes the volumes' file alone, and saving what was saved changes nothing.
void checkSaving(const PtCloudDataSet &dataSet, const QString &directory)
{
    const QString volumes = QStringLiteral("earth.volume");
    // What a link leads to is written.
    if (isLink(directory + QLatin1Char('/') + volumes))
        return;
    DiskState before = stateOf(directory);
    check(dataSet.saveToFile(), "a data set can't be saved");
    const DiskState saved = stateOf(directory);
    PtCloudDataSet again;
    again.setDir(QFileInfo(directory).path(), dataSet.getName());
    check(again.loadFromFile(), "a data set that was saved does not load");
    check(again.saveToFile() && stateOf(directory) == saved, "saving again changed something");
    before[volumes] = saved[volumes];
    check(saved == before, "saving changed other files");
}

void checkCopy(PtCloudDataSet &dataSet, const Scene &scene)
{
    const DiskState before = stateOf(scene.site());
    const bool hasLinks = before.values().contains("link");
    const std::unique_ptr<PtCloudDataSet> copy(dataSet.copy(QStringLiteral("copy")));
    check(stateOf(scene.site()) == before, "copying changed the source");
    check(copy != nullptr || hasLinks, "a data set can't be copied");
    if (copy == nullptr)
        return;
    check(hasLinks || stateOf(scene.inPlace(QStringLiteral("copy"))) == before, "a copy is not its source");
    copy->removeFile();
    check(!QFileInfo::exists(scene.inPlace(QStringLiteral("copy"))), "a removed copy is still there");
}

/// @return the new directory
QString checkRename(PtCloudDataSet &dataSet, const Scene &scene)
{
    const DiskState before = stateOf(scene.site());
    check(dataSet.rename(QStringLiteral("moved")), "a data set can't be renamed");
    QString moved = scene.inPlace(QStringLiteral("moved"));
    check(stateOf(moved) == before && !QFileInfo::exists(scene.site()), "renaming changed something");
    checkFamilies(dataSet, moved, before);
    for (const support::ContentFamily &family : support::contentFamilies()) {
        for (const auto &[name, file] : (dataSet.*family.files)()->toStdMap()) {
            // One whose suffix is in other letters is looked for in these, until it is loaded again.
            const bool isThere = before.contains(family.fileName(name));
            check(file->openFile() == isThere, "a content does not open after its data set was renamed");
        }
    }
    return moved;
}

void checkUpdate(PtCloudDataSet &dataSet, const QString &directory)
{
    const QString given = dataSet.createEmptyLocatedContent_Points();
    const QString old = directory + QStringLiteral("/tmp_points_2");
    const QByteArray points = support::pointsBytes(9);
    if (isLink(given) || isLink(old) || QFileInfo::exists(old) || !support::writeFile(given, points))
        return;
    dataSet.updateContent_Points();
    check(support::readFile(dataSet.getFilePath_Points()) == points && !QFileInfo::exists(given)
              && !QFileInfo::exists(old),
          "new points did not take the place of the old");
}

void checkRemoval(PtCloudDataSet &dataSet, const QString &directory)
{
    DiskState expected = stateOf(directory);
    for (const auto &file : support::contentsOf(dataSet).toStdMap()) {
        if (file.second != dataSet.getContent_PointDataSetFile())
            expected.remove(QFileInfo(file.second->getFilepath()).fileName());
    }
    dataSet.removeContent_AllMesh();
    dataSet.removeContent_AllSplits();
    dataSet.removeContent_AllCuts();
    dataSet.removeContent_AllDem();
    DiskState left = stateOf(directory);
    for (const char *name : {"dem.contour", "dem.height.png"}) {
        expected.remove(QLatin1String(name));
        left.remove(QLatin1String(name));
    }
    check(left == expected, "removing contents removed more or less than them");
    dataSet.removeFile();
    check(!QFileInfo::exists(directory), "a removed data set is still there");
}

bool run(const QByteArray &input)
{
    static const Scene scene;
    scene.lay(DataSetArchive::parse(input));
    const DiskState before = stateOf(scene.site());
    const DiskState expected = swept(scene.site(), before);
    PtCloudDataSet dataSet;
    dataSet.setDir(scene.place(), QStringLiteral("site"));
    const bool isLoaded = dataSet.loadFromFile();
    check(isLoaded == isSound(scene.site() + QStringLiteral("/Points")), "the wrong data sets load");
    check(stateOf(scene.site()) == (isLoaded ? expected : before), "a load left more or less than its data set");
    if (isLoaded) {
        checkFamilies(dataSet, scene.site(), expected);
        readAll(dataSet);
        checkSaving(dataSet, scene.site());
        checkCopy(dataSet, scene);
        const QString moved = checkRename(dataSet, scene);
        checkUpdate(dataSet, moved);
        checkRemoval(dataSet, moved);
    }
    check(support::readFile(scene.inPlace(QStringLiteral("canary"))) == "in the project",
          "a file of the project was made, changed or removed");
    scene.checkOutside();
    return isLoaded;
}

QByteArray archiveOf(const DiskState &files, const std::vector<DataSetArchive::Entry> &more = {})
{
    DataSetArchive archive;
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        archive.entries.push_back({DataSetArchive::File, it.key(), *it});
    archive.entries.insert(archive.entries.end(), more.begin(), more.end());
    return archive.bytes();
}

std::vector<fuzz::Seed> seeds()
{
    DiskState littered = support::bareDataSet();
    for (const char *name : {"notes.txt", "tmp_points", ".hidden", "torn.mesh", "DEM.Contour"})
        littered[QLatin1String(name)] = name;
    std::vector<DataSetArchive::Entry> links;
    const char *const names[] = {"a.mesh", "a.split", "dem.demmesh", "b.mesh", "a.cut", "b.cut", "tmp_points"};
    for (char target = 0; target < static_cast<char>(std::size(names)); ++target)
        links.push_back({DataSetArchive::Link, QLatin1String(names[static_cast<int>(target)]), QByteArray(1, target)});
    return {{"bare", archiveOf(support::bareDataSet())},
            {"full", archiveOf(support::fullDataSet())},
            {"littered", archiveOf(littered, {{DataSetArchive::Directory, QStringLiteral("b.mesh"), "within"}})},
            {"linked", archiveOf(support::bareDataSet(), links)}};
}

const fuzz::Driver driver("DataSetDirectory", run, seeds);

} // namespace
