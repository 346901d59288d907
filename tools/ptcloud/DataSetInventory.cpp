#include "DataSetInventory.h"

#include "BlockTable.h"
#include "ContourReport.h"
#include "FileFacts.h"
#include "StrayFiles.h"
#include "VolumeReport.h"

#include <QFileInfo>
#include <QJsonArray>

using namespace ptCloud;

FileRow summarise(const QString &name, PtCloud_DataSetFile &file)
{
    FileRow row;
    row.name = name;
    row.bytes = sizeOfFile(file.getFilepath());
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 can't be read").arg(quoted(file.getFilepath())));
    const QList<BlockRow> blocks = readBlockTable(file);
    file.closeFile();
    row.blocks = blocks.size();
    for (const BlockRow &block : blocks) {
        row.points += block.points;
        row.triangles += block.triangles;
        row.box.expandBy(block.box);
    }
    return row;
}

QJsonObject toJson(const FileRow &row)
{
    return {{QStringLiteral("name"), row.name},
            {QStringLiteral("points"), row.points},
            {QStringLiteral("triangles"), row.triangles},
            {QStringLiteral("blocks"), row.blocks},
            {QStringLiteral("bytes"), row.bytes},
            {QStringLiteral("box"), row.box.valid() ? QJsonValue(boxToJson(row.box)) : QJsonValue()}};
}

namespace
{

QList<FileRow> summarise(const QMap<QString, PtCloud_DataSetFile *> &files)
{
    QList<FileRow> rows;
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        rows.append(summarise(it.key(), **it));
    return rows;
}

QJsonArray toJson(const QList<FileRow> &rows)
{
    QJsonArray array;
    for (const FileRow &row : rows)
        array.append(toJson(row));
    return array;
}

void print(const Console &console, const QString &kind, const FileRow &row)
{
    QString line = QStringLiteral("%1 %2: %3 points").arg(kind.leftJustified(10), row.name, grouped(row.points));
    if (row.triangles > 0)
        line += QStringLiteral(", %1 triangles").arg(grouped(row.triangles));
    line += QStringLiteral(" in %1 blocks, %2 bytes").arg(grouped(row.blocks), grouped(row.bytes));
    console.line(line);
    if (row.box.valid()) {
        const auto range = [](float low, float high) {
            return QStringLiteral("%1 to %2")
                .arg(static_cast<double>(low), 0, 'f', 3)
                .arg(static_cast<double>(high), 0, 'f', 3);
        };
        console.line(QStringLiteral("           x %1, y %2, z %3")
                         .arg(range(row.box.xMin(), row.box.xMax()), range(row.box.yMin(), row.box.yMax()),
                              range(row.box.zMin(), row.box.zMax())));
    }
}

/// Everything that a data set's directory holds, gathered so that it is told in words or as JSON.
class Inventory
{
public:
    Inventory(const Console &console, const PtCloudDataSet &dataSet) : m_console(console), m_dataSet(dataSet)
    {
        m_object = {{QStringLiteral("name"), dataSet.getName()},
                    {QStringLiteral("directory"), QFileInfo(dataSet.getFilePath_Points()).absolutePath()}};
    }

    void tell()
    {
        add("points", "points", summarise(QStringLiteral("Points"), *m_dataSet.getContent_PointDataSetFile()));
        addAll("mesh", "meshes", *m_dataSet.getContent_Meshs());
        addAll("split", "splits", *m_dataSet.getContent_Splits());
        addAll("cut", "cuts", *m_dataSet.getContent_Cuts());
        addTerrain("dem mesh", "demMesh", *m_dataSet.getContent_Dem_Mesh());
        addTerrain("dem class", "demClassify", *m_dataSet.getContent_Dem_Classify());
        addHeightMap();
        addContours();
        addVolumes();
        warnOfUntold();
        m_console.object(m_object);
    }

private:
    /// What did not load, or can't be read now, is left out of all that is told.
    void warnOfUntold() const
    {
        const QDir directory = QFileInfo(m_dataSet.getFilePath_Points()).absoluteDir();
        for (const QString &name : filesIn(directory.path())) {
            if (isContentName(name) && !m_told.contains(name))
                m_console.warn(QStringLiteral("%1 can't be read").arg(quoted(directory.filePath(name))));
        }
    }

    void add(const char *kind, const char *key, const FileRow &row)
    {
        m_told << row.name;
        print(m_console, QLatin1String(kind), row);
        m_object.insert(QLatin1String(key), toJson(row));
    }

    void addAll(const char *kind, const char *key, const QMap<QString, PtCloud_DataSetFile *> &files)
    {
        const QList<FileRow> rows = summarise(files);
        for (const FileRow &row : rows)
            print(m_console, QLatin1String(kind), row);
        for (const PtCloud_DataSetFile *file : files)
            m_told << QFileInfo(file->getFilepath()).fileName();
        m_object.insert(QLatin1String(key), toJson(rows));
    }

    /// A classify file keeps its path whether it is there or not.
    void addTerrain(const char *kind, const char *key, PtCloud_DataSetFile &file)
    {
        m_object.insert(QLatin1String(key), QJsonValue());
        if (file.isValid() && file.openFile())
            add(kind, key, summarise(QFileInfo(file.getFilepath()).fileName(), file));
        file.closeFile();
    }

    void addHeightMap()
    {
        const QImage *image = m_dataSet.getContent_Dem_HeightMap();
        m_object.insert(QStringLiteral("heightMap"), QJsonValue());
        if (image == nullptr)
            return;
        m_told << QFileInfo(m_dataSet.getFilePath_Dem_HeightMap()).fileName();
        m_console.line(QStringLiteral("height map %1 x %2 pixels").arg(image->width()).arg(image->height()));
        m_object.insert(QStringLiteral("heightMap"), QJsonObject{{QStringLiteral("width"), image->width()},
                                                                 {QStringLiteral("height"), image->height()}});
    }

    void addContours()
    {
        PtCloud_ContourFile contours(*m_dataSet.getContent_Dem_Contour());
        m_object.insert(QStringLiteral("contours"), QJsonValue());
        if (!contours.openFile())
            return;
        m_told << QFileInfo(contours.getFilepath()).fileName();
        m_console.line(QStringLiteral("contours   %1 and %2 heights")
                           .arg(grouped(contours.contourGroup1().size()), grouped(contours.contourGroup2().size())));
        m_object.insert(QStringLiteral("contours"), contoursToJson(contours));
    }

    void addVolumes()
    {
        const QList<VolumeRow> rows = rowsAsStored(*m_dataSet.getContent_EarthVolume());
        if (!rows.isEmpty()) {
            m_console.line(QStringLiteral("volumes"));
            for (const QString &line : toTable(rows))
                m_console.line(QStringLiteral("  ") + line);
        }
        m_object.insert(QStringLiteral("volumes"), ::toJson(rows));
        if (isAsStored(*m_dataSet.getContent_EarthVolume()))
            m_told << QStringLiteral("earth.volume");
    }

    const Console &m_console;
    const PtCloudDataSet &m_dataSet;
    QJsonObject m_object;
    QStringList m_told; ///< files
};

} // namespace

void tellDataSet(const Console &console, const PtCloudDataSet &dataSet)
{
    Inventory(console, dataSet).tell();
}
