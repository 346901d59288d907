#include "PtCloud_ContourFile.h"

#include <QDataStream>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <new>

namespace ptCloud
{

namespace
{

constexpr qint32 fileVersion = 1;

/// Elements that a file may announce beyond its end: they read as zeros, or as empty lines. Of more, no drawing is
/// left, only time and memory lost.
constexpr qint32 mostMissing = 1000000;

qint32 readCount(QDataStream &stream)
{
    qint32 count = 0;
    stream >> count;
    return std::max(count, 0);
}

QVector<QPointF> readLine(QDataStream &stream)
{
    const qint32 count = readCount(stream);
    QVector<QPointF> line;
    while (line.size() < count && !stream.atEnd()) {
        QPointF point;
        stream >> point;
        line.append(point);
    }
    line.resize(line.size() + std::min(count - line.size(), mostMissing));
    return line;
}

void readGroup(QDataStream &stream, PtCloud_ContourFile::Group &group)
{
    const qint32 heights = readCount(stream);
    // Heights behind the end have no lines, and so add nothing.
    for (qint32 i = 0; i < heights && !stream.atEnd(); ++i) {
        double height = 0;
        stream >> height;
        const qint32 count = readCount(stream);
        qint32 read = 0;
        for (; read < count && !stream.atEnd(); ++read)
            group[height].append(readLine(stream));
        // Not asked of the file a million times: each time the system is.
        for (qint32 missing = std::min(count - read, mostMissing); missing > 0; --missing)
            group[height].append(QVector<QPointF>());
    }
}

void writeGroup(QDataStream &stream, const PtCloud_ContourFile::Group &group)
{
    stream << qint32(group.size());
    for (auto it = group.cbegin(); it != group.cend(); ++it) {
        stream << it.key() << qint32(it->size());
        for (const QVector<QPointF> &line : *it) {
            stream << qint32(line.size());
            for (const QPointF &point : line)
                stream << point;
        }
    }
}

} // namespace

void PtCloud_ContourFile::setFile(const QString &path)
{
    clear();
    m_filePath = path;
}

bool PtCloud_ContourFile::isValid() const
{
    const QFileInfo info(m_filePath);
    return !m_filePath.isEmpty() && info.exists() && info.isFile() && info.isReadable();
}

bool PtCloud_ContourFile::openFile()
{
    clear();
    if (!isValid())
        return false;
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    try {
        QDataStream stream(&file);
        return load(stream);
    } catch (const std::bad_alloc &) {
        clear();
        return false;
    }
}

void PtCloud_ContourFile::closeFile()
{
    clear();
    m_isOpen = false;
}

bool PtCloud_ContourFile::saveToFile(QString * /*error*/) const
{
    if (m_filePath.isEmpty())
        return false;
    if (!QFileInfo::exists(m_filePath) && !QFile(m_filePath).open(QIODevice::NewOnly))
        return false;
    QFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QDataStream stream(&file);
    save(stream);
    return true;
}

void PtCloud_ContourFile::removeFile()
{
    if (m_filePath.isEmpty())
        return;
    closeFile();
    QFile::remove(m_filePath);
}

void PtCloud_ContourFile::clear()
{
    m_contourGroup1.clear();
    m_contourGroup2.clear();
}

bool PtCloud_ContourFile::load(QDataStream &stream)
{
    clear();
    qint32 version = 0;
    stream >> version;
    if (version != fileVersion)
        return false;
    readGroup(stream, m_contourGroup1);
    readGroup(stream, m_contourGroup2);
    return true;
}

void PtCloud_ContourFile::save(QDataStream &stream) const
{
    stream << fileVersion;
    writeGroup(stream, m_contourGroup1);
    writeGroup(stream, m_contourGroup2);
}

} // namespace ptCloud
