#include "ProjectReading.h"

#include "Survey.h"

#include "BlockFile.h"
#include "Bytes.h"
#include "VolumeFile.h"

#include "stPtCloud_PointArray.h"

#include <QDir>

#include <algorithm>
#include <iterator>

namespace crash
{

namespace
{

constexpr char unknownPoint[] = "a point that was never made";

struct ReadPoint
{
    std::array<float, 3> position;
    quint16 intensity;
    quint16 survey;
    double number;
};

/// Enters the point; false if no survey has it.
bool takePoint(const ReadPoint &point, std::vector<quint32> &tokens)
{
    const auto number = static_cast<int>(point.number);
    if (number < 0 || number >= surveySize(point.survey) || static_cast<double>(number) != point.number)
        return false;
    const SurveyPoint made = surveyPoint(point.survey, number);
    tokens.push_back(pointToken(point.survey, number));
    const std::array<qint32, 3> position = {made.x, made.y, made.z};
    return made.intensity == point.intensity
           && std::equal(position.begin(), position.end(), point.position.begin(),
                         [](qint32 raw, float read) { return static_cast<float>(raw) / 1000.0F == read; });
}

Content contentOf(const QString &name, const QByteArray &bytes)
{
    if (!isFileOfPoints(name))
        return bytes;
    const auto file = support::BlockFile::parse(bytes);
    const auto known = std::vector<quint32>(std::begin(surveyColumns), std::end(surveyColumns));
    if (!file || file->formatWord != 1 || file->columns != known)
        return partMark + bytes;
    std::vector<quint32> tokens;
    for (const auto &block : file->blocks) {
        for (quint32 i = 0; i < block.points; ++i) {
            const auto position = support::get<std::array<float, 3>>(block.columns[0], 12LL * i);
            const ReadPoint point = {position, support::get<quint16>(block.columns[1], 2LL * i),
                                     support::get<quint16>(block.columns[2], 2LL * i),
                                     support::get<double>(block.columns[3], 8LL * i)};
            if (!takePoint(point, tokens))
                return partMark + bytes;
        }
    }
    return pointsContent(tokens);
}

Content contentOf(ptCloud::PtCloud_DataSetFile &file)
{
    if (!file.openFile())
        return "does not open";
    std::vector<quint32> tokens;
    const auto blocks = file.getBlockInfos();
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        const ptCloud::stPtCloud_PointArray *const block = file.readBlock(it.key());
        if (block == nullptr)
            return "a block is not read";
        for (unsigned int i = 0; i < block->m_pointCount; ++i) {
            const ptCloud::pcVec3f &position = block->m_position[i];
            if (!takePoint({{position.x(), position.y(), position.z()},
                            block->m_intensity[i],
                            block->m_pointSourceId[i],
                            block->m_gpsTime[i]},
                           tokens))
                return unknownPoint;
        }
    }
    file.closeFile();
    return pointsContent(tokens);
}

/// Contours as a map of heights, which is how a host sees them.
using Contours = QMap<double, std::vector<support::ContourFile::Line>>;

QByteArray bytesOf(const Contours (&groups)[2])
{
    support::ContourFile file;
    for (int i = 0; i < 2; ++i) {
        for (auto it = groups[i].cbegin(); it != groups[i].cend(); ++it)
            file.groups[i].heights.push_back({it.key(), *it, {}});
    }
    return file.bytes();
}

QByteArray contoursIn(const QByteArray &bytes)
{
    const auto file = support::ContourFile::read(bytes);
    if (!file)
        return {};
    Contours groups[2];
    for (int i = 0; i < 2; ++i) {
        for (const auto &height : file->groups[i].heights) {
            for (const auto &line : height.lines)
                groups[i][height.height].push_back(line);
        }
    }
    return bytesOf(groups);
}

QByteArray contoursIn(ptCloud::PtCloud_ContourFile &file)
{
    if (!file.openFile())
        return {};
    Contours groups[2];
    const ptCloud::PtCloud_ContourFile::Group *const read[] = {&file.contourGroup1(), &file.contourGroup2()};
    for (int i = 0; i < 2; ++i) {
        for (auto it = read[i]->cbegin(); it != read[i]->cend(); ++it) {
            for (const QVector<QPointF> &points : *it) {
                support::ContourFile::Line line;
                for (const QPointF &point : points)
                    line.points.push_back({point.x(), point.y()});
                groups[i][it.key()].push_back(line);
            }
        }
    }
    file.closeFile();
    return bytesOf(groups);
}

QByteArray volumesIn(const QByteArray &bytes)
{
    const auto reading = support::VolumeFile::read(bytes);
    QMap<QString, support::VolumeFile::Area> areas;
    if (reading.ok) {
        for (const auto &area : reading.areas)
            areas[area.name] = area;
    }
    support::VolumeFile file;
    file.areas = std::vector<support::VolumeFile::Area>(areas.cbegin(), areas.cend());
    return file.bytes();
}

support::VolumeFile::QuadPrism prismOf(const ptCloud::stQuadPrism &prism)
{
    support::VolumeFile::QuadPrism result;
    const float floats[] = {prism.xMin, prism.xMax, prism.yMin, prism.yMax, prism.groundZ, prism.topZ};
    std::transform(std::begin(floats), std::end(floats), result.floats.begin(),
                   [](float value) { return static_cast<double>(value); });
    result.dig = prism.digVolume;
    result.fill = prism.fillVolume;
    return result;
}

QByteArray volumesIn(const ptCloud::VolumeCalcAreaList &list)
{
    QMap<QString, const ptCloud::VolumeCalcArea *> areas;
    list.getAreas(areas);
    support::VolumeFile file;
    for (auto it = areas.cbegin(); it != areas.cend(); ++it) {
        const ptCloud::VolumeCalcArea &from = **it;
        support::VolumeFile::Area area;
        area.name = it.key();
        area.groundHeightType = from.groundHeightType;
        area.groundHeight = static_cast<double>(from.groundHeight);
        for (const ptCloud::pcVec3f &corner : from.boundary) {
            area.corners.push_back(
                {static_cast<double>(corner.x()), static_cast<double>(corner.y()), static_cast<double>(corner.z())});
        }
        area.maxHeight = static_cast<double>(from.maxHeight);
        area.gridSize = static_cast<double>(from.gridSize);
        for (const ptCloud::stQuadPrism &prism : from.quadPrisms)
            area.quadPrisms.push_back(prismOf(prism));
        area.dtmCalculated = from.dtmCalculated ? 1 : 0;
        area.gridCalculated = from.gridCalculated ? 1 : 0;
        file.areas.push_back(area);
    }
    return file.bytes();
}

} // namespace

Project readProject(const QString &directory)
{
    Project project;
    const QFileInfoList entries =
        QDir(directory).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        if (!entry.isDir()) {
            project.files[entry.fileName()] = support::readFile(entry.absoluteFilePath());
            continue;
        }
        Files &files = project.directories[entry.fileName()];
        const QFileInfoList contents =
            QDir(entry.absoluteFilePath())
                .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo &file : contents)
            files[file.fileName()] = contentOf(file.fileName(), support::readFile(file.absoluteFilePath()));
    }
    return project;
}

Showing showingOf(const ptCloud::PtCloudDataSet &dataSet)
{
    Showing showing;
    showing[QStringLiteral("Points")] = contentOf(*dataSet.getContent_PointDataSetFile());
    const auto &cuts = *dataSet.getContent_Cuts();
    for (auto it = cuts.cbegin(); it != cuts.cend(); ++it)
        showing[it.key() + QStringLiteral(".cut")] = contentOf(**it);
    showing[QStringLiteral("earth.volume")] = volumesIn(*dataSet.getContent_EarthVolume());
    showing[QStringLiteral("dem.contour")] = contoursIn(*dataSet.getContent_Dem_Contour());
    return showing;
}

Showing showingOf(const Files &directory)
{
    Showing showing;
    for (auto it = directory.cbegin(); it != directory.cend(); ++it) {
        if (isFileOfPoints(it.key()))
            showing[it.key()] = *it;
    }
    showing[QStringLiteral("earth.volume")] = volumesIn(directory.value(QStringLiteral("earth.volume")));
    showing[QStringLiteral("dem.contour")] = contoursIn(directory.value(QStringLiteral("dem.contour")));
    return showing;
}

} // namespace crash
