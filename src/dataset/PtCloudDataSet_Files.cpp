// The data set as a directory: load, save, copy, rename, remove, and the exchange of its points.

#include "FileSweep.h"
#include "PtCloudDataSet.h"
#include "PtCloudDataSet_Family.h"
#include "System.h"
#include "Toolkits.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

namespace ptCloud
{

namespace
{

/// What is at a path, links not followed; `none` where the disk does not tell.
std::filesystem::file_type kindOf(const QString &path)
{
    std::error_code unused;
    return std::filesystem::symlink_status(std::filesystem::u8path(path.toStdString()), unused).type();
}

/// Removes a directory with all in it. A link to one goes as a link: what it leads to is not ours. Nothing goes where
/// it can't be known which of them it is.
void removeTree(const QString &path)
{
    const std::filesystem::file_type kind = kindOf(path);
    if (kind == std::filesystem::file_type::directory)
        QDir(path).removeRecursively();
    else if (kind == std::filesystem::file_type::symlink)
        QFile::remove(path);
}

/// Where this fails, both files are as before. A move of Qt's copies the bytes where the name can't be changed, and
/// removes the old file before the last of them have reached the new one.
bool moveFile(const QString &from, const QString &to)
{
    return kindOf(to) == std::filesystem::file_type::not_found && platform::replaceFile(from, to);
}

/// Whether copying `source` to `target` would copy it onto or into itself, by whatever path.
bool leadsIntoItself(const QString &source, const QString &target)
{
    const QString from = QFileInfo(source).canonicalFilePath();
    const QString to = QFileInfo(target).canonicalFilePath();
    return QFileInfo(source) == QFileInfo(target) || (to + QLatin1Char('/')).startsWith(from + QLatin1Char('/'));
}

} // namespace

void PtCloudDataSet::clear()
{
    m_points.closeFile();
    dropAll(meshes);
    m_demMesh.closeFile();
    m_demHeightMap.reset();
    m_demContour.closeFile();
    m_demClassify.closeFile();
    dropAll(splits);
    m_earthVolume.clear();
    dropAll(cuts);
}

void PtCloudDataSet::dropAll(const Family &family)
{
    FileMap &files = this->*family.files;
    for (PtCloud_DataSetFile *file : qAsConst(files))
        drop(file);
    files.clear();
}

void PtCloudDataSet::setDir(const QString &dir, const QString &name)
{
    m_dir = dir;
    m_name = name;
    QDir directory(m_dir);
    if (m_dir.isEmpty() || !platform::isPlainName(m_name) || !directory.exists())
        return;
    if (!directory.exists(m_name) && !directory.mkdir(m_name))
        return;
    if (directory.cd(m_name))
        m_points.setFile(directory.absoluteFilePath(getFileName_Points()));
}

bool PtCloudDataSet::loadFromFile()
{
    clear();
    QDir directory;
    if (!enter(directory))
        return false;
    if (!m_points.setFile(directory.absoluteFilePath(getFileName_Points())) || !m_points.isValid()
        || m_points.checkHead() != PtCloud_DataSetFile::EHead::Sound)
        return false;

    QStringList knownNames = {getFileName_Points(),      getFileName_Dem_Mesh(),     getFileName_Dem_HeightMap(),
                              getFileName_Dem_Contour(), getFileName_Dem_Classify(), getFileName_EarthVolumn()};
    // Listed once: what one listing failed to show, another would show to the sweep.
    const QFileInfoList files = plainFilesIn(directory);
    load(meshes, files, knownNames);
    if (!attachDemMesh(directory.absoluteFilePath(getFileName_Dem_Mesh())))
        m_demMesh.setFile(QString());
    loadDemHeightMap(directory.absoluteFilePath(getFileName_Dem_HeightMap()));
    attachDemContour(directory.absoluteFilePath(getFileName_Dem_Contour()));
    m_demClassify.setFile(directory.absoluteFilePath(getFileName_Dem_Classify()));
    load(splits, files, knownNames);
    m_earthVolume.setFile(directory, getFileName_EarthVolumn());
    if (!m_earthVolume.loadFromFile())
        m_earthVolume.clear();
    load(cuts, files, knownNames);
    removeOtherFiles(files, knownNames);
    return true;
}

void PtCloudDataSet::load(const Family &family, const QFileInfoList &files, QStringList &knownNames)
{
    const QString pattern = family.fileName(QStringLiteral("*"));
    for (const QFileInfo &entry : files) {
        if (!QDir::match(pattern, entry.fileName()))
            continue;
        auto file = std::make_unique<PtCloud_DataSetFile>();
        const bool isFile = file->setFile(QDir::fromNativeSeparators(entry.absoluteFilePath()));
        const PtCloud_DataSetFile::EHead head = isFile ? file->checkHead() : PtCloud_DataSetFile::EHead::Unreadable;
        // What can't be read now may be sound: it is not listed, but it stays.
        if (head != PtCloud_DataSetFile::EHead::Corrupt)
            knownNames.append(entry.fileName());
        if (head != PtCloud_DataSetFile::EHead::Sound)
            continue;
        PtCloud_DataSetFile *&place = (this->*family.files)[entry.completeBaseName()];
        drop(place);
        place = file.release();
    }
}

bool PtCloudDataSet::saveToFile() const
{
    QDir directory;
    if (!enter(directory))
        return false;
    m_earthVolume.setFile(directory, getFileName_EarthVolumn());
    m_earthVolume.saveToFile();
    return true;
}

PtCloudDataSet *PtCloudDataSet::copy(const QString &newName)
{
    QDir directory;
    if (!enter(directory) || !platform::isPlainName(newName))
        return nullptr;
    const QString source = QDir(m_dir).absoluteFilePath(m_name);
    const QString target = QDir(m_dir).absoluteFilePath(newName);
    if (leadsIntoItself(source, target) || !tk::Toolkits::CopyDirectory(source, target, true))
        return nullptr;
    auto copied = std::make_unique<PtCloudDataSet>();
    copied->setDir(m_dir, newName);
    if (copied->loadFromFile())
        return copied.release();
    removeTree(target);
    return nullptr;
}

PtCloud_DataSetFile *PtCloudDataSet::copyPoints(const QString &fileName)
{
    QDir directory;
    if (!enter(directory))
        return nullptr;
    m_points.closeFile();
    if (!platform::isPlainName(fileName))
        return nullptr;
    const QString source = directory.absoluteFilePath(getFileName_Points());
    const QString target = directory.absoluteFilePath(fileName);
    // The points onto themselves would leave none.
    if (QFileInfo(source) == QFileInfo(target) || !QFile::remove(target) || !QFile::copy(source, target))
        return nullptr;
    auto file = std::make_unique<PtCloud_DataSetFile>();
    return file->setFile(target) ? file.release() : nullptr;
}

/// What was open before a move, so that it can be opened again behind it.
struct PtCloudDataSet::OpenContents
{
    bool points = false;
    QMap<QString, bool> meshes;
    bool demMesh = false;
    bool demContour = false;
    bool demClassify = false;
    QMap<QString, bool> splits;
    QMap<QString, bool> cuts;
};

namespace
{

bool closeAndTell(PtCloud_DataSetFile &file)
{
    const bool wasOpen = file.isOpened();
    file.closeFile();
    return wasOpen;
}

QMap<QString, bool> closeAndTell(const QMap<QString, PtCloud_DataSetFile *> &files)
{
    QMap<QString, bool> wasOpen;
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        wasOpen.insert(it.key(), closeAndTell(**it));
    return wasOpen;
}

void move(PtCloud_DataSetFile &file, const QString &path, bool reopen)
{
    file.setFile(path);
    if (reopen)
        file.openFile();
}

} // namespace

PtCloudDataSet::OpenContents PtCloudDataSet::closeContents()
{
    OpenContents wasOpen;
    wasOpen.points = closeAndTell(m_points);
    wasOpen.meshes = closeAndTell(m_meshes);
    wasOpen.demMesh = closeAndTell(m_demMesh);
    wasOpen.demContour = m_demContour.isOpen();
    m_demContour.closeFile();
    wasOpen.demClassify = closeAndTell(m_demClassify);
    wasOpen.splits = closeAndTell(m_splits);
    wasOpen.cuts = closeAndTell(m_cuts);
    return wasOpen;
}

void PtCloudDataSet::moveContents(const QDir &directory, const OpenContents &wasOpen)
{
    // Put together by hand: a name with a colon in front is a path of its own to QDir.
    const QString place = directory.absolutePath() + QLatin1Char('/');
    const auto moveFamily = [this, &place](const Family &family, const QMap<QString, bool> &reopen) {
        for (auto it = reopen.cbegin(); it != reopen.cend(); ++it)
            move(*(this->*family.files)[it.key()], place + family.fileName(it.key()), *it);
    };
    move(m_points, directory.absoluteFilePath(getFileName_Points()), wasOpen.points);
    moveFamily(meshes, wasOpen.meshes);
    move(m_demMesh, directory.absoluteFilePath(getFileName_Dem_Mesh()), wasOpen.demMesh);
    m_demContour.setFile(directory.absoluteFilePath(getFileName_Dem_Contour()));
    if (wasOpen.demContour)
        m_demContour.openFile();
    move(m_demClassify, directory.absoluteFilePath(getFileName_Dem_Classify()), wasOpen.demClassify);
    moveFamily(splits, wasOpen.splits);
    m_earthVolume.setFile(directory, getFileName_EarthVolumn());
    moveFamily(cuts, wasOpen.cuts);
}

bool PtCloudDataSet::rename(const QString &newName)
{
    QDir directory;
    if (!enter(directory))
        return false;
    const OpenContents wasOpen = closeContents();
    if (!platform::isPlainName(newName) || !QDir(m_dir).rename(m_name, newName))
        return false;
    m_name = newName;
    if (enter(directory))
        moveContents(directory, wasOpen);
    return true;
}

void PtCloudDataSet::removeFile()
{
    QDir directory;
    if (!enter(directory))
        return;
    const QString path = QDir(m_dir).absoluteFilePath(m_name);
    clear();
    m_dir.clear();
    m_name.clear();
    removeTree(path);
}

void PtCloudDataSet::updateContent_Points()
{
    QDir directory;
    if (!enter(directory))
        return;
    const QString points = QDir::fromNativeSeparators(directory.absoluteFilePath(getFileName_Points()));
    const QString oldPoints = QDir::fromNativeSeparators(directory.absoluteFilePath(QStringLiteral("tmp_points_2")));
    const QString newPoints = createEmptyLocatedContent_Points();
    // A link would leave points that lie elsewhere, and go when that place does.
    const QFileInfo newFile(newPoints);
    if (!newFile.isFile() || newFile.isSymLink())
        return;
    const bool wasOpen = closeAndTell(m_points);
    if (!moveFile(points, oldPoints))
        return;
    if (!moveFile(newPoints, points)) {
        if (!moveFile(oldPoints, points))
            QFile::copy(oldPoints, points);
        return;
    }
    if (wasOpen)
        m_points.openFile();
    QFile::remove(oldPoints);
    Q_EMIT sgContentUpdated_Points(m_name);
}

} // namespace ptCloud
