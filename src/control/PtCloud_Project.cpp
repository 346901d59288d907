#include "PtCloud_Project.h"

#include "PtCloud_Controller.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <new>

namespace ptCloud
{

namespace
{

constexpr qint32 fileVersion = 1;
const QLatin1String fileName("points_cloud.pcproj");

/// Reads pairs of texts. False for a negative count. Pairs that are missing at the end of the file would all be the one
/// with the empty key.
bool readPairs(QDataStream &stream, QMap<QString, QString> &pairs)
{
    qint32 count = 0;
    stream >> count;
    for (qint32 i = 0; i < count; ++i) {
        if (stream.atEnd()) {
            pairs.insert(QString(), QString());
            break;
        }
        QString key;
        QString value;
        stream >> key >> value;
        pairs.insert(key, value);
    }
    return count >= 0;
}

void writePairs(QDataStream &stream, const QMap<QString, QString> &pairs)
{
    stream << qint32(pairs.size());
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it)
        stream << it.key() << it.value();
}

bool readProject(const QString &path, QMap<QString, QString> &lasFiles, QMap<QString, QString> &dataSets)
{
    const QFileInfo info(path);
    QFile file(path);
    if (!info.exists() || !info.isFile() || !info.isReadable() || !file.open(QIODevice::ReadOnly))
        return false;
    try {
        QDataStream stream(&file);
        qint32 version = 0;
        stream >> version;
        return version == fileVersion && readPairs(stream, lasFiles) && readPairs(stream, dataSets);
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace

PtCloud_Project::PtCloud_Project() : m_controller(std::make_shared<PtCloud_Controller>()) {}

PtCloud_Project::~PtCloud_Project() = default;

PtCloud_Project::PtCloud_Project(const PtCloud_Project &other) = default;

PtCloud_Project &PtCloud_Project::operator=(const PtCloud_Project &other) = default;

void PtCloud_Project::clear() {}

PtCloud_Controller *PtCloud_Project::getController()
{
    return m_controller.get();
}

void PtCloud_Project::setDir(const QString &dir)
{
    m_controller->setDir(dir);
}

bool PtCloud_Project::isDataSetEmpty() const
{
    return m_controller != nullptr && m_controller->isDataSetEmpty();
}

bool PtCloud_Project::loadProject(const QString &dir, QString * /*errorString*/)
{
    if (!QDir(dir).exists())
        return false;
    QMap<QString, QString> lasFiles;
    QMap<QString, QString> dataSets;
    if (!readProject(QDir(dir).absoluteFilePath(fileName), lasFiles, dataSets))
        return false;
    m_controller->setDir(dir);
    m_controller->setFiles(lasFiles, dataSets, {fileName});
    return true;
}

bool PtCloud_Project::save(const QString &dir, QString * /*errorString*/) const
{
    if (dir.isEmpty() || !QDir(dir).exists())
        return false;
    const QString path = QDir(dir).absoluteFilePath(fileName);
    if (!QFileInfo::exists(path) && !QFile(path).open(QIODevice::NewOnly))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QMap<QString, QString> lasFiles;
    QMap<QString, QString> dataSets;
    m_controller->getLasFilepaths(lasFiles);
    m_controller->getDataSetFileNames(dataSets);
    QDataStream stream(&file);
    stream << fileVersion;
    writePairs(stream, lasFiles);
    writePairs(stream, dataSets);
    return true;
}

} // namespace ptCloud
