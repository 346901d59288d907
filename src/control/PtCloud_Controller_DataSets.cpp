// The registry of data sets, and the restore of a project.

#include "FileSweep.h"
#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"

#include <QDir>
#include <QFileInfo>

namespace ptCloud
{

void PtCloud_Controller::closePointFiles()
{
    for (const PtCloudDataSet *dataSet : qAsConst(m_dataSets))
        dataSet->getContent_PointDataSetFile()->closeFile();
}

void PtCloud_Controller::setFiles(const QMap<QString, QString> &lasFiles, const QMap<QString, QString> &dataSets,
                                  const QList<QString> &keepFiles)
{
    // Slots of the host run inside `clear`, and what is given may be theirs.
    const QMap<QString, QString> wantedLasFiles = lasFiles;
    const QMap<QString, QString> wantedDataSets = dataSets;
    const QStringList wantedFiles = keepFiles;
    clear();
    if (m_dir.isEmpty())
        return;
    for (auto it = wantedLasFiles.cbegin(); it != wantedLasFiles.cend(); ++it) {
        const QFileInfo info(*it);
        if (info.exists() && info.isFile() && info.isReadable())
            m_lasFiles[it.key()] = *it;
    }
    for (auto it = wantedDataSets.cbegin(); it != wantedDataSets.cend(); ++it) {
        auto dataSet = std::make_unique<PtCloudDataSet>();
        dataSet->setDir(m_dir, *it);
        if (dataSet->loadFromFile())
            m_dataSets[it.key()] = dataSet.release();
    }
    removeOtherFiles(plainFilesIn(QDir(m_dir)), wantedFiles);
}

PtCloudDataSet *PtCloud_Controller::getDataSet(const QString &name)
{
    return m_dataSets.value(name, nullptr);
}

PtCloud_DataSetFile *PtCloud_Controller::getDataSetReader(const QString &name) const
{
    const PtCloudDataSet *const dataSet = m_dataSets.value(name, nullptr);
    return dataSet == nullptr ? nullptr : dataSet->getContent_PointDataSetFile();
}

QMap<QString, const PtCloudDataSet *> PtCloud_Controller::getDataSets()
{
    QMap<QString, const PtCloudDataSet *> all;
    for (auto it = m_dataSets.cbegin(); it != m_dataSets.cend(); ++it)
        all.insert(it.key(), *it);
    return all;
}

void PtCloud_Controller::getDataSetFileNames(QMap<QString, QString> &out) const
{
    for (auto it = m_dataSets.cbegin(); it != m_dataSets.cend(); ++it)
        out[it.key()] = (*it)->getName();
}

void PtCloud_Controller::getDataSetFilepaths(QMap<QString, QString> &out) const
{
    for (auto it = m_dataSets.cbegin(); it != m_dataSets.cend(); ++it)
        out[it.key()] = QDir(m_dir).absoluteFilePath((*it)->getName());
}

bool PtCloud_Controller::isDataSetEmpty() const
{
    return m_dataSets.isEmpty();
}

} // namespace ptCloud
