#include "HostSteps.h"

#include "Survey.h"

#include "PtCloud_DataSetMemory.h"
#include "stPtCloud_PointArray.h"

#include <QDir>

#include <algorithm>
#include <set>

using namespace ptCloud;

namespace crash
{

namespace
{

constexpr int mostPoints = 12000; ///< in one data set: merges would double without end

QList<EDataSetColumn> columns()
{
    QList<EDataSetColumn> result;
    for (const quint32 column : surveyColumns)
        result.append(static_cast<EDataSetColumn>(column));
    return result;
}

Step step(const char *verb, QStringList words)
{
    words.prepend(QLatin1String(verb));
    return {words};
}

} // namespace

HostSteps::HostSteps(const QString &projectDir, const QString &lasDir, quint32 seed)
    : m_projectDir(projectDir), m_lasDir(lasDir), m_random(seed)
{}

QString HostSteps::anyName()
{
    // Few, so that directories which no data set uses are taken over.
    return QString(QChar('a' + below(7)));
}

QString HostSteps::known()
{
    const QStringList names = m_controller.getDataSets().keys();
    return names.isEmpty() || below(20) == 0 ? anyName() : pick(names);
}

int HostSteps::pointsOf(const QString &name) const
{
    PtCloud_DataSetFile *const points = m_controller.getDataSetReader(name);
    int count = 0;
    if (points != nullptr && points->openFile()) {
        QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
        points->getBlocks(blocks);
        for (const auto &block : qAsConst(blocks))
            count += static_cast<int>(std::get<0>(block));
        points->closeFile();
    }
    return count;
}

QString HostSteps::registeredLas()
{
    QMap<QString, QString> registered;
    m_controller.getLasFilepaths(registered);
    return registered.isEmpty() ? QString() : pick(registered.keys());
}

QStringList HostSteps::mergeSources()
{
    QStringList sources = {known(), known()};
    if (below(3) == 0)
        sources.append(known());
    sources.removeDuplicates();
    int points = 0;
    for (const QString &name : qAsConst(sources))
        points += pointsOf(name);
    return points > mostPoints ? sources.mid(0, 1) : sources;
}

/// A data set to be edited, which has at least so many points; none if it is not found at once.
QString HostSteps::editedSet(int atLeast)
{
    const QStringList names = m_controller.getDataSets().keys();
    const QString name = names.isEmpty() ? QString() : pick(names);
    return pointsOf(name) < atLeast ? QString() : name;
}

Step HostSteps::next()
{
    const QString number = QString::number(below(3));
    const int dice = below(100);
    if (dice < 30)
        return step("save", {});
    if (dice < 36 || registeredLas().isEmpty())
        return step("import", {lasName(1 + below(lasSurveys))});
    if (dice < 37)
        return step("forget", {registeredLas()});
    if (dice < 48 || m_controller.isDataSetEmpty())
        return step("make", below(3) == 0 ? QStringList{anyName(), registeredLas(), registeredLas()}
                                          : QStringList{anyName(), registeredLas()});
    if (dice < 57)
        return step("copy", {known(), anyName()});
    if (dice < 67) {
        const QString fate = QLatin1String(below(3) == 0 ? "keep" : "remove");
        return step("merge", QStringList{anyName(), fate} + mergeSources());
    }
    if (dice < 73)
        return step("rename", {known(), anyName()});
    if (dice < 77)
        return step("remove", {known()});

    const QString name = editedSet(dice < 90 ? 100 : 0);
    if (name.isEmpty())
        return step("save", {});
    if (dice < 84)
        return step("edit", {name, QString::number(below(4))});
    if (dice < 87)
        return step("rebuild", {name, QString::number(100 + below(100))});
    if (dice < 90)
        return step("cut", {name, QStringLiteral("cut") + number, QString::number(below(4))});
    if (dice < 92)
        return step("uncut", {name, QStringLiteral("cut") + number});
    if (dice < 96)
        return step("volume", {name, number});
    return step("contours", {name, QString::number(below(50))});
}

int HostSteps::run(const Step &step)
{
    struct Verb
    {
        const char *name;
        int (HostSteps::*run)(const Step &);
    };
    static constexpr Verb verbs[] = {
        {"import", &HostSteps::importLas}, {"forget", &HostSteps::forgetLas}, {"make", &HostSteps::make},
        {"copy", &HostSteps::copy},        {"merge", &HostSteps::merge},      {"rename", &HostSteps::rename},
        {"remove", &HostSteps::remove},    {"edit", &HostSteps::edit},        {"rebuild", &HostSteps::rebuild},
        {"cut", &HostSteps::cut},          {"uncut", &HostSteps::uncut},      {"volume", &HostSteps::volume},
        {"contours", &HostSteps::contours}};
    if (step.verb() == QLatin1String("open"))
        return open();
    for (const Verb &verb : verbs) {
        if (step.verb() == QLatin1String(verb.name))
            return (this->*verb.run)(step);
    }
    return save();
}

int HostSteps::open()
{
    if (m_project.loadProject(m_projectDir, nullptr))
        return 1;
    m_project.setDir(m_projectDir);
    return 0;
}

int HostSteps::save()
{
    return m_project.save(m_projectDir, nullptr) ? 1 : 0;
}

int HostSteps::importLas(const Step &step)
{
    return m_controller.doCmd_LasFile_Import({QDir(m_lasDir).absoluteFilePath(step.word(1))}, nullptr);
}

int HostSteps::forgetLas(const Step &step)
{
    return m_controller.doCmd_LasFile_Remove({step.word(1)});
}

int HostSteps::make(const Step &step)
{
    return m_controller.doCmd_DataSet_Make({step.rest(2), columns(), step.word(1)});
}

int HostSteps::copy(const Step &step)
{
    return m_controller.doCmd_DataSet_Copy({step.word(1), step.word(2)});
}

int HostSteps::merge(const Step &step)
{
    const QStringList sources = step.rest(3);
    return m_controller.doCmd_DataSet_Merge(
        {QSet<QString>(sources.begin(), sources.end()), step.word(1), step.word(2) == QLatin1String("remove")});
}

int HostSteps::rename(const Step &step)
{
    return m_controller.doCmd_DataSet_Rename({step.word(1), step.word(2)});
}

int HostSteps::remove(const Step &step)
{
    return m_controller.doCmd_DataSet_Remove({step.word(1)});
}

/// Writes the points of a data set but for one part of them.
bool HostSteps::writeWithoutPart(const PtCloudDataSet &dataSet, int part, PtCloud_DataSetFile &file)
{
    PtCloud_DataSetMemory memory;
    PtCloud_DataSetFile *const points = dataSet.getContent_PointDataSetFile();
    const bool isRead = memory.makeFromFile(points);
    points->closeFile();
    if (!isRead)
        return false;
    for (auto &block : *memory.getAllBlocksPtr()) {
        stPtCloud_PointArray &array = *std::get<1>(block);
        std::set<unsigned int> removed;
        for (unsigned int i = 0; i < array.m_pointCount; ++i) {
            if (isInPart(static_cast<int>(array.m_gpsTime[i]), part))
                removed.insert(i);
        }
        array.removePointsByIndies(removed);
    }
    return memory.saveToFile(&file);
}

int HostSteps::edit(const Step &step)
{
    PtCloudDataSet &dataSet = *m_controller.getDataSet(step.word(1));
    PtCloud_DataSetFile edited;
    if (!edited.setFile(dataSet.createEmptyLocatedContent_Points())
        || !writeWithoutPart(dataSet, step.word(2).toInt(), edited))
        return 0;
    dataSet.updateContent_Points();
    return 1;
}

int HostSteps::rebuild(const Step &step)
{
    PtCloudDataSet &dataSet = *m_controller.getDataSet(step.word(1));
    const int survey = step.word(2).toInt();
    const auto count = static_cast<unsigned int>(surveySize(survey));
    stPtCloud_PointArray array;
    if (!array.alloc(count, columns(), false, 0))
        return 0;
    for (unsigned int i = 0; i < count; ++i) {
        const SurveyPoint point = surveyPoint(survey, static_cast<int>(i));
        array.m_position[i].set(static_cast<float>(point.x) / 1000.0F, static_cast<float>(point.y) / 1000.0F,
                                static_cast<float>(point.z) / 1000.0F);
        array.m_intensity[i] = point.intensity;
        array.m_pointSourceId[i] = point.survey;
        array.m_gpsTime[i] = point.number;
    }
    PtCloud_DataSetFile built;
    if (!built.setFile(dataSet.createEmptyLocatedContent_Points()) || !built.makeDataSet_byPointsArray(array))
        return 0;
    dataSet.updateContent_Points();
    return 1;
}

int HostSteps::cut(const Step &step)
{
    PtCloudDataSet &dataSet = *m_controller.getDataSet(step.word(1));
    std::unique_ptr<PtCloud_DataSetFile> file(dataSet.createEmptyLocatedContent_Cut(step.word(2)));
    if (file == nullptr || !writeWithoutPart(dataSet, step.word(3).toInt(), *file))
        return 0;
    dataSet.addContent_Cut(step.word(2), file.release());
    return 1;
}

int HostSteps::uncut(const Step &step)
{
    m_controller.getDataSet(step.word(1))->removeContent_Cut(step.word(2));
    return 1;
}

int HostSteps::volume(const Step &step)
{
    PtCloudDataSet &dataSet = *m_controller.getDataSet(step.word(1));
    VolumeCalcAreaList &areas = *dataSet.getContent_EarthVolume();
    const QString name = QStringLiteral("area") + step.word(2);
    areas.removeArea(name);
    VolumeCalcArea &area = *areas.addArea(name);
    const DrawnArea drawn = drawnArea(step.word(2).toInt());
    area.groundHeightType = 1;
    area.groundHeight = drawn.ground;
    area.gridSize = drawn.gridSize;
    for (const auto &[x, y] : {std::pair(0.0F, 0.0F), {1.0F, 0.0F}, {1.0F, 1.0F}, {0.0F, 1.0F}})
        area.boundary.append({drawn.x + x * drawn.edge, drawn.y + y * drawn.edge, 0.0F});
    areas.setGridFile(dataSet.getContent_PointDataSetFile());
    const bool isCalculated = areas.doCalc(VolumeCalc_GRID);
    dataSet.getContent_PointDataSetFile()->closeFile();
    return isCalculated && dataSet.saveToFile() ? 1 : 0;
}

int HostSteps::contours(const Step &step)
{
    PtCloudDataSet &dataSet = *m_controller.getDataSet(step.word(1));
    PtCloud_ContourFile file;
    file.setFile(dataSet.createEmptyLocatedContent_Dem_Contour());
    const support::ContourFile drawn = drawnContours(step.word(2).toInt());
    const auto fill = [](PtCloud_ContourFile::Group &group, const support::ContourFile::Group &from) {
        for (const auto &height : from.heights) {
            for (const auto &line : height.lines) {
                QVector<QPointF> points;
                for (const auto &point : line.points)
                    points.append({point.x, point.y});
                group[height.height].append(points);
            }
        }
    };
    fill(file.contourGroup1(), drawn.groups[0]);
    fill(file.contourGroup2(), drawn.groups[1]);
    if (!file.saveToFile())
        return 0;
    dataSet.setContent_Dem_Contour();
    return 1;
}

} // namespace crash
