#include "PtCloud_Controller.h"

#include "LasFile.h"
#include "PtCloudDataSet.h"
#include "System.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>

#include <algorithm>
#include <new>

namespace ptCloud
{

namespace
{

constexpr int hostEventsMs = 100;

bool clashes(const QMap<QString, QString> &registry, const QString &name)
{
    return std::any_of(registry.keyBegin(), registry.keyEnd(),
                       [&name](const QString &key) { return QString::compare(key, name, Qt::CaseInsensitive) == 0; });
}

/// Whether the file is one that a builder can read. A header too large for memory counts as one that is not.
bool loads(const QString &filepath)
{
    try {
        return LasFile().load(filepath, 1);
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace

PtCloud_Controller::PtCloud_Controller()
{
    // The signal names the type as it stands inside the namespace, a host's own code usually in full.
    qRegisterMetaType<EEPtCloudActResult>("EEPtCloudActResult");
    qRegisterMetaType<EEPtCloudActResult>("ptCloud::EEPtCloudActResult");
}

PtCloud_Controller::~PtCloud_Controller()
{
    clear();
}

void PtCloud_Controller::setDir(const QString &dir)
{
    m_dir = dir;
}

void PtCloud_Controller::reset()
{
    platform::stopWorkers();
    QCoreApplication::processEvents(QEventLoop::AllEvents, hostEventsMs);
    closePointFiles();
}

void PtCloud_Controller::clear()
{
    reset();
    m_lasFiles.clear();
    closePointFiles();
    for (PtCloudDataSet *dataSet : qAsConst(m_dataSets))
        m_dropped.emplace_back(dataSet);
    m_dataSets.clear();
}

EEPtCloudActResult PtCloud_Controller::doCmd_LasFile_Import(const stControlParam_LasFile_Import &param,
                                                            QString *registeredName)
{
    // The caller's record may be what a slot changes.
    const QString filepath = param.filepath;
    if (!loads(filepath))
        return ActResult_FileError;

    QString name = QFileInfo(filepath).fileName();
    while (clashes(m_lasFiles, name))
        name.prepend(QLatin1Char('_'));
    m_lasFiles[name] = filepath;
    if (registeredName != nullptr)
        *registeredName = name;
    Q_EMIT sg_LasFile_Added(name);
    return ActResult_Success;
}

EEPtCloudActResult PtCloud_Controller::doCmd_LasFile_Remove(const stControlParam_LasFile_Remove &param)
{
    const QString name = param.name;
    if (m_lasFiles.remove(name) == 0)
        return ActResult_NotFound;
    Q_EMIT sg_LasFile_Removed(name);
    return ActResult_Success;
}

void PtCloud_Controller::getLasFilepaths(QMap<QString, QString> &out) const
{
    out = m_lasFiles;
}

void PtCloud_Controller::getLasFileColumns(const QString &name, QList<EDataSetColumn> &out)
{
    const auto it = m_lasFiles.constFind(name);
    LasFile file;
    if (it != m_lasFiles.cend() && file.load(*it, 1))
        file.getColumns(out);
}

} // namespace ptCloud
