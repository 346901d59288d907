// The commands that make, copy, merge, rename and remove data sets. Each takes a copy of what it was given: a slot that
// runs on one of its signals may change the original.

#include "LasFile.h"
#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <new>

namespace ptCloud
{

namespace
{

constexpr unsigned int recordsPerStep = 1000000;

bool equalsIgnoringCase(const QString &a, const QString &b)
{
    return QString::compare(a, b, Qt::CaseInsensitive) == 0;
}

/// LAS files side by side in memory: a builder walks them in the order of their addresses, which this makes their own.
class LoadedLasFiles
{
public:
    explicit LoadedLasFiles(int count) : m_files(std::make_unique<LasFile[]>(static_cast<std::size_t>(count))) {}

    bool load(const QString &path)
    {
        LasFile &file = m_files[static_cast<std::size_t>(m_loaded.size())];
        if (!file.load(path, recordsPerStep))
            return false;
        m_loaded.append(&file);
        return true;
    }
    const QList<const LasFile *> &files() const { return m_loaded; }

private:
    std::unique_ptr<LasFile[]> m_files;
    QList<const LasFile *> m_loaded;
};

} // namespace

/// Whether a new data set can't have the name, since one is registered under it or lives in a directory of that name.
bool PtCloud_Controller::clashesWithDataSet(const QString &name) const
{
    for (auto it = m_dataSets.cbegin(); it != m_dataSets.cend(); ++it) {
        if (equalsIgnoringCase(it.key(), name) || equalsIgnoringCase((*it)->getName(), name))
            return true;
    }
    return false;
}

void PtCloud_Controller::registerDataSet(const QString &name, std::unique_ptr<PtCloudDataSet> dataSet)
{
    m_dataSets[name] = dataSet.release();
    Q_EMIT sg_DataSet_Added(name);
}

/// Removes a data set that is registered from disk and from the registry. False if there is none.
bool PtCloud_Controller::removeDataSet(const QString &name)
{
    const std::unique_ptr<PtCloudDataSet> dataSet(m_dataSets.take(name));
    if (dataSet != nullptr)
        dataSet->removeFile();
    return dataSet != nullptr;
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Make(const stControlParam_DataSet_Make &param)
{
    const stControlParam_DataSet_Make wanted = param;
    if (m_dir.isEmpty())
        return ActResult_CannotRun;
    if (clashesWithDataSet(wanted.name))
        return ActResult_NameExists;
    auto dataSet = std::make_unique<PtCloudDataSet>();
    dataSet->setDir(m_dir, wanted.name);
    PtCloud_DataSetFile *const points = dataSet->getContent_PointDataSetFile();
    bool isMade = false;
    try {
        LoadedLasFiles lasFiles(wanted.lasNames.size());
        for (const QString &lasName : wanted.lasNames) {
            // A name that is not registered is from here on, without a path.
            if (!lasFiles.load(m_lasFiles[lasName]))
                return ActResult_FileError;
        }
        isMade = points->makeDataSet_byLasFile(lasFiles.files(), wanted.columns);
    } catch (const std::bad_alloc &) {
        return ActResult_FileError;
    }
    points->closeFile();
    if (!isMade)
        return ActResult_MakeFailed;
    dataSet->loadFromFile();
    registerDataSet(wanted.name, std::move(dataSet));
    return ActResult_Success;
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Copy(const stControlParam_DataSet_Copy &param)
{
    const stControlParam_DataSet_Copy wanted = param;
    if (m_dir.isEmpty())
        return ActResult_CannotRun;
    PtCloudDataSet *const source = getDataSet(wanted.name);
    if (source == nullptr)
        return ActResult_NotFound;
    if (clashesWithDataSet(wanted.newName))
        return ActResult_NameExists;
    std::unique_ptr<PtCloudDataSet> copied(source->copy(wanted.newName));
    if (copied == nullptr)
        return ActResult_CannotRun;
    registerDataSet(wanted.newName, std::move(copied));
    return ActResult_Success;
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Merge(const stControlParam_DataSet_Merge &param)
{
    const stControlParam_DataSet_Merge wanted = param;
    if (m_dir.isEmpty())
        return ActResult_CannotRun;
    if (clashesWithDataSet(wanted.newName))
        return ActResult_NameExists;
    const QFileInfo place(QDir(m_dir).absoluteFilePath(wanted.newName));
    QList<PtCloud_DataSetFile *> sources;
    bool isSource = false;
    for (const QString &name : wanted.sourceNames) {
        PtCloud_DataSetFile *const source = getDataSetReader(name);
        if (source == nullptr)
            return ActResult_NotFound;
        isSource = isSource || QFileInfo(QFileInfo(source->getFilepath()).absolutePath()) == place;
        sources.append(source);
    }
    // A failed merge removes its directory, which must not be that of a source that is linked to it. If it is the link
    // itself, only the link goes.
    if (isSource && !place.isSymLink())
        return ActResult_FileError;

    auto merged = std::make_unique<PtCloudDataSet>();
    merged->setDir(m_dir, wanted.newName);
    if (!merged->getContent_PointDataSetFile()->makeDataSet_byDataSetFiles(sources)) {
        const QString partial = merged->getContent_PointDataSetFile()->getFilepath();
        merged->removeFile();
        // What made the merge fail, such as too many open files, can keep the directory from being listed too.
        if (QFile::remove(partial))
            QDir(m_dir).rmdir(wanted.newName);
        return ActResult_FileError;
    }
    merged->getContent_PointDataSetFile()->closeFile();
    merged->loadFromFile();
    registerDataSet(wanted.newName, std::move(merged));
    if (wanted.removeSources) {
        for (const QString &name : wanted.sourceNames) {
            if (removeDataSet(name))
                Q_EMIT sg_DataSet_Removed(name);
        }
    }
    return ActResult_Success;
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Remove(const stControlParam_DataSet_Remove &param)
{
    const QString name = param.name;
    if (!removeDataSet(name))
        return ActResult_NotFound;
    Q_EMIT sg_DataSet_Removed(name);
    return ActResult_Success;
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Rename(const stControlParam_DataSet_Rename &param)
{
    const QString name = param.name;
    const QString newName = param.newName;
    if (newName.trimmed() != newName || name == newName)
        return ActResult_BadName;
    const auto entry = m_dataSets.constFind(name);
    // From the entry itself on: the names before it are not looked at.
    for (auto it = entry; it != m_dataSets.cend(); ++it) {
        if (equalsIgnoringCase(it.key(), newName))
            return ActResult_BadName;
    }
    if (entry == m_dataSets.cend())
        return ActResult_NotFound;
    PtCloudDataSet *const dataSet = *entry;
    // What the scan has not seen would be overwritten in the registry, or share a directory.
    const bool isTaken = std::any_of(m_dataSets.cbegin(), m_dataSets.cend(),
                                     [&newName](const PtCloudDataSet *other) { return other->getName() == newName; });
    if (isTaken || m_dataSets.contains(newName) || !dataSet->rename(newName))
        return ActResult_FileError;
    m_dataSets.remove(name);
    m_dataSets[newName] = dataSet;
    Q_EMIT sg_DataSet_Renamed(name, newName);
    return ActResult_Success;
}

} // namespace ptCloud
