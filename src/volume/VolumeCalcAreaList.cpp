#include "VolumeCalcAreaList.h"

#include "PtCloud_DataSetFile.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>

#include <new>

namespace ptCloud
{

namespace
{

constexpr qint32 listVersion = 2;
/// The version before also held four texts behind the areas.
constexpr qint32 listVersionWithTexts = 1;
constexpr int textsOfOldVersion = 4;

} // namespace

VolumeCalcAreaList::VolumeCalcAreaList(const VolumeCalcAreaList &other)
{
    *this = other;
}

VolumeCalcAreaList &VolumeCalcAreaList::operator=(const VolumeCalcAreaList &other)
{
    if (this == &other)
        return *this;
    dir = other.dir;
    fileName = other.fileName;
    areas = other.areas;
    // Shared now, the next write would move the other list's areas away from the pointers that name them.
    areas.detach();
    gridFile = other.gridFile;
    dtmFile = other.dtmFile;
    return *this;
}

VolumeCalcArea *VolumeCalcAreaList::addArea(const QString &name)
{
    if (areas.contains(name))
        return nullptr;
    return &areas.insert(name, VolumeCalcArea()).value();
}

void VolumeCalcAreaList::removeArea(const QString &name)
{
    areas.remove(name);
}

VolumeCalcArea *VolumeCalcAreaList::getArea(const QString &name)
{
    const auto found = areas.find(name);
    return found == areas.end() ? nullptr : &found.value();
}

const VolumeCalcArea *VolumeCalcAreaList::getArea(const QString &name) const
{
    const auto found = areas.constFind(name);
    return found == areas.constEnd() ? nullptr : &found.value();
}

void VolumeCalcAreaList::getAreas(QMap<QString, VolumeCalcArea *> &result)
{
    for (auto it = areas.begin(); it != areas.end(); ++it)
        result.insert(it.key(), &it.value());
}

void VolumeCalcAreaList::getAreas(QMap<QString, const VolumeCalcArea *> &result) const
{
    for (auto it = areas.constBegin(); it != areas.constEnd(); ++it)
        result.insert(it.key(), &it.value());
}

void VolumeCalcAreaList::clear()
{
    areas.clear();
}

void VolumeCalcAreaList::setFile(QDir directory, const QString &name) const
{
    dir = std::move(directory);
    fileName = name;
}

void VolumeCalcAreaList::rename(const QString &name)
{
    fileName = name;
}

void VolumeCalcAreaList::copyTo(VolumeCalcAreaList &other, const QString &name)
{
    other.setFile(dir, name);
}

PtCloud_DataSetFile *VolumeCalcAreaList::sourceOf(EVolumeCalcFunction function) const
{
    switch (function) {
    case VolumeCalc_DTM:
        return dtmFile;
    case VolumeCalc_GRID:
        return gridFile;
    }
    return nullptr;
}

bool VolumeCalcAreaList::doCalc(EVolumeCalcFunction function)
{
    PtCloud_DataSetFile *const source = fileName.isEmpty() ? nullptr : sourceOf(function);
    if (source == nullptr)
        return false;
    const bool wasOpen = source->isOpened();
    if (!source->openFile())
        return false;
    for (VolumeCalcArea &area : areas)
        function == VolumeCalc_DTM ? area.calcDTM(source) : area.calcGRID(source);
    // Always the mesh: a host reads the points on after a run over them, and a mesh is whole in memory by then.
    if (!wasOpen && dtmFile != nullptr)
        dtmFile->closeFile();
    return true;
}

bool VolumeCalcAreaList::loadFromFile()
{
    clear();
    if (fileName.isEmpty())
        return false;
    const QFileInfo info(dir.absoluteFilePath(fileName));
    if (!info.exists() || !info.isFile() || !info.isReadable())
        return false;
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    try {
        QDataStream stream(&file);
        if (load(stream))
            return true;
    } catch (const std::bad_alloc &) {
    }
    clear();
    return false;
}

bool VolumeCalcAreaList::saveToFile() const
{
    if (fileName.isEmpty())
        return false;
    const QString path = dir.absoluteFilePath(fileName);
    if (!QFileInfo::exists(path) && !QFile(path).open(QIODevice::NewOnly))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QDataStream stream(&file);
    save(stream);
    return true;
}

void VolumeCalcAreaList::forget(const PtCloud_DataSetFile *file)
{
    if (dtmFile == file)
        dtmFile = nullptr;
    if (gridFile == file)
        gridFile = nullptr;
}

bool VolumeCalcAreaList::load(QDataStream &stream)
{
    clear();
    qint32 version = 0;
    stream >> version;
    if (version != listVersion && version != listVersionWithTexts)
        return true;
    qint32 count = 0;
    stream >> count;
    for (qint32 i = 0; i < count; ++i) {
        QString name;
        stream >> name;
        if (!areas[name].load(stream))
            return false;
    }
    if (version == listVersionWithTexts) {
        QString text;
        for (int i = 0; i < textsOfOldVersion; ++i)
            stream >> text;
    }
    return true;
}

void VolumeCalcAreaList::save(QDataStream &stream) const
{
    stream << listVersion << qint32(areas.size());
    for (auto it = areas.constBegin(); it != areas.constEnd(); ++it) {
        stream << it.key();
        it->save(stream);
    }
}

} // namespace ptCloud
