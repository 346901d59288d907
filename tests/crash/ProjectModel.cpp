#include "ProjectModel.h"

#include "Survey.h"

#include "PlainVolume.h"
#include "ProjectFile.h"
#include "VolumeFile.h"

#include <algorithm>

namespace crash
{

namespace
{

constexpr char wholeMark[] = "points:";
constexpr int success = 0;
constexpr int fileError = 2;
constexpr int notFound = 3;
constexpr int nameExists = 4;
constexpr int badName = 6;

Content withoutPart(const Content &points, int part)
{
    std::vector<quint32> tokens = pointsOf(points).value_or(std::vector<quint32>());
    tokens.erase(
        std::remove_if(tokens.begin(), tokens.end(), [part](quint32 token) { return isInPart(numberOf(token), part); }),
        tokens.end());
    return pointsContent(tokens);
}

void appendSurvey(std::vector<quint32> &tokens, int survey)
{
    for (int number = 0; number < surveySize(survey); ++number)
        tokens.push_back(pointToken(survey, number));
}

/// The areas that a load finds in a file of volumes.
QMap<QString, support::VolumeFile::Area> areasIn(const Content &bytes)
{
    QMap<QString, support::VolumeFile::Area> areas;
    const auto reading = support::VolumeFile::read(bytes);
    if (reading.ok) {
        for (const auto &area : reading.areas)
            areas[area.name] = area;
    }
    return areas;
}

support::VolumeFile::Area newArea(int number)
{
    const DrawnArea drawn = drawnArea(number);
    support::VolumeFile::Area area;
    area.name = QStringLiteral("area%1").arg(number);
    area.groundHeightType = 1;
    area.groundHeight = static_cast<double>(drawn.ground);
    area.gridSize = static_cast<double>(drawn.gridSize);
    for (const auto &[x, y] : {std::pair(0.0F, 0.0F), {1.0F, 0.0F}, {1.0F, 1.0F}, {0.0F, 1.0F}}) {
        area.corners.push_back(
            {static_cast<double>(drawn.x + x * drawn.edge), static_cast<double>(drawn.y + y * drawn.edge), 0.0});
    }
    return area;
}

support::plain::Point positionOf(quint32 token)
{
    const SurveyPoint point = surveyPoint(surveyOf(token), numberOf(token));
    return {static_cast<float>(point.x) / 1000.0F, static_cast<float>(point.y) / 1000.0F,
            static_cast<float>(point.z) / 1000.0F};
}

void calculate(support::VolumeFile::Area &area, const support::plain::Block &block)
{
    support::plain::Area plain;
    plain.groundHeightType = area.groundHeightType;
    plain.groundHeight = static_cast<float>(area.groundHeight);
    plain.maxHeight = static_cast<float>(area.maxHeight);
    plain.gridSize = static_cast<float>(area.gridSize);
    for (const auto &corner : area.corners) {
        plain.boundary.push_back(
            {static_cast<float>(corner[0]), static_cast<float>(corner[1]), static_cast<float>(corner[2])});
    }
    std::vector<support::plain::Cell> cells;
    area.gridCalculated = support::plain::calcGrid(plain, {block}, cells) ? 1 : 0;
    area.quadPrisms.clear();
    for (const auto &cell : cells) {
        support::VolumeFile::QuadPrism prism;
        const auto size = static_cast<double>((cell.yMax - cell.yMin) * (cell.xMax - cell.xMin));
        prism.floats = {static_cast<double>(cell.xMin),   static_cast<double>(cell.xMax),
                        static_cast<double>(cell.yMin),   static_cast<double>(cell.yMax),
                        static_cast<double>(cell.ground), static_cast<double>(cell.top)};
        if (cell.top > cell.ground)
            prism.dig = static_cast<double>(cell.top - cell.ground) * size;
        else
            prism.fill = static_cast<double>(cell.ground - cell.top) * size;
        area.quadPrisms.push_back(prism);
    }
}

} // namespace

const char partMark[] = "part:";

Content pointsContent(std::vector<quint32> tokens)
{
    std::sort(tokens.begin(), tokens.end());
    return wholeMark
           + QByteArray(reinterpret_cast<const char *>(tokens.data()),
                        static_cast<int>(tokens.size() * sizeof(quint32)));
}

std::optional<std::vector<quint32>> pointsOf(const Content &content)
{
    if (!content.startsWith(wholeMark))
        return std::nullopt;
    const QByteArray bytes = content.mid(sizeof wholeMark - 1);
    std::vector<quint32> tokens(static_cast<std::size_t>(bytes.size()) / sizeof(quint32));
    std::copy_n(bytes.constData(), bytes.size(), reinterpret_cast<char *>(tokens.data()));
    return tokens;
}

bool isFileOfPoints(const QString &fileName)
{
    return fileName == QLatin1String("Points") || fileName.startsWith(QLatin1String("tmp_points"))
           || fileName.endsWith(QLatin1String(".cut"));
}

QByteArray Project::fileBytes() const
{
    support::ProjectFile file;
    for (auto it = lasFiles.cbegin(); it != lasFiles.cend(); ++it)
        file.lasFiles.emplace_back(it.key(), *it);
    QStringList names = dataSets.values();
    names.sort();
    for (const QString &name : qAsConst(names))
        file.dataSets.emplace_back(name, name);
    return file.bytes();
}

bool Project::loads(const QString &directory) const
{
    return pointsOf(directories.value(directory).value(QStringLiteral("Points"))).has_value();
}

void sweep(Files &directory)
{
    const QStringList names = directory.keys();
    for (const QString &name : names) {
        const bool isCut = name.endsWith(QLatin1String(".cut")) && pointsOf(directory[name]).has_value();
        if (!isCut && name != QLatin1String("Points") && name != QLatin1String("earth.volume")
            && name != QLatin1String("dem.contour"))
            directory.remove(name);
    }
}

int ProjectModel::apply(Project &project, const Step &step) const
{
    const QString verb = step.verb();
    const QString name = step.word(1);
    if (verb == QLatin1String("open"))
        return open(project);
    if (verb == QLatin1String("import"))
        return importLas(project, step);
    if (verb == QLatin1String("forget"))
        return project.lasFiles.remove(name) == 0 ? notFound : success;
    if (verb == QLatin1String("make"))
        return make(project, step);
    if (verb == QLatin1String("copy"))
        return copy(project, step);
    if (verb == QLatin1String("merge"))
        return merge(project, step);
    if (verb == QLatin1String("rename"))
        return rename(project, step);
    if (verb == QLatin1String("remove")) {
        if (!project.dataSets.remove(name))
            return notFound;
        project.directories.remove(name);
        return success;
    }
    if (verb == QLatin1String("save")) {
        project.files[Project::fileName()] = project.fileBytes();
        return 1;
    }
    if (verb == QLatin1String("volume"))
        return volume(project, step);

    Files &files = project.directories[name];
    if (verb == QLatin1String("edit")) {
        files[QStringLiteral("Points")] = withoutPart(files[QStringLiteral("Points")], step.word(2).toInt());
    } else if (verb == QLatin1String("rebuild")) {
        std::vector<quint32> tokens;
        appendSurvey(tokens, step.word(2).toInt());
        files[QStringLiteral("Points")] = pointsContent(tokens);
    } else if (verb == QLatin1String("cut")) {
        const QString cut = step.word(2) + QStringLiteral(".cut");
        if (files.contains(cut))
            return 0;
        files[cut] = withoutPart(files[QStringLiteral("Points")], step.word(3).toInt());
    } else if (verb == QLatin1String("uncut")) {
        files.remove(step.word(2) + QStringLiteral(".cut"));
    } else if (verb == QLatin1String("contours")) {
        files[QStringLiteral("dem.contour")] = drawnContours(step.word(2).toInt()).bytes();
    }
    return 1;
}

void ProjectModel::restore(Project &project, const QMap<QString, QString> &lasFiles, const QSet<QString> &dataSets)
{
    project.lasFiles = lasFiles;
    project.dataSets.clear();
    for (const QString &name : dataSets) {
        Files &directory = project.directories[name]; // made where it is missing
        if (project.loads(name)) {
            project.dataSets.insert(name);
            sweep(directory);
        }
    }
    project.files = {{Project::fileName(), project.files[Project::fileName()]}};
}

int ProjectModel::open(Project &project) const
{
    const support::ProjectFileContents contents(project.files.value(Project::fileName()));
    project.lasFiles.clear();
    project.dataSets.clear();
    if (!contents.isAccepted)
        return 0;
    QMap<QString, QString> lasFiles;
    for (auto it = contents.lasFiles.cbegin(); it != contents.lasFiles.cend(); ++it) {
        if (it->startsWith(m_lasDir) && it->endsWith(QLatin1String(".las"))) // not so where the file was cut
            lasFiles[it.key()] = *it;
    }
    QSet<QString> dataSets;
    for (const QString &directory : contents.dataSets) {
        if (!directory.isEmpty())
            dataSets.insert(directory);
    }
    restore(project, lasFiles, dataSets);
    return 1;
}

int ProjectModel::importLas(Project &project, const Step &step) const
{
    QString name = step.word(1);
    while (project.lasFiles.contains(name))
        name.prepend(QLatin1Char('_'));
    project.lasFiles[name] = m_lasDir + QLatin1Char('/') + step.word(1);
    return success;
}

int ProjectModel::make(Project &project, const Step &step) const
{
    const QString name = step.word(1);
    if (project.dataSets.contains(name))
        return nameExists;
    std::vector<quint32> tokens;
    const QStringList lasNames = step.rest(2);
    for (const QString &lasName : lasNames) {
        const QString file = project.lasFiles[lasName].mid(m_lasDir.size() + 1);
        appendSurvey(tokens, file.section(QLatin1Char('.'), 0, 0).toInt());
    }
    project.directories[name][QStringLiteral("Points")] = pointsContent(tokens);
    sweep(project.directories[name]);
    project.dataSets.insert(name);
    return success;
}

int ProjectModel::copy(Project &project, const Step &step)
{
    const QString name = step.word(1);
    const QString newName = step.word(2);
    if (!project.dataSets.contains(name))
        return notFound;
    if (project.dataSets.contains(newName))
        return nameExists;
    const Files source = project.directories[name];
    Files &target = project.directories[newName];
    for (auto it = source.cbegin(); it != source.cend(); ++it)
        target[it.key()] = *it;
    sweep(target);
    project.dataSets.insert(newName);
    return success;
}

int ProjectModel::merge(Project &project, const Step &step)
{
    const QString name = step.word(1);
    if (project.dataSets.contains(name))
        return nameExists;
    std::vector<quint32> tokens;
    const QStringList sources = step.rest(3);
    for (const QString &source : sources) {
        if (!project.dataSets.contains(source))
            return notFound;
        const auto points = pointsOf(project.directories[source][QStringLiteral("Points")]).value();
        tokens.insert(tokens.end(), points.begin(), points.end());
    }
    project.directories[name][QStringLiteral("Points")] = pointsContent(tokens);
    sweep(project.directories[name]);
    project.dataSets.insert(name);
    if (step.word(2) == QLatin1String("remove")) {
        for (const QString &source : sources) {
            project.dataSets.remove(source);
            project.directories.remove(source);
        }
    }
    return success;
}

int ProjectModel::rename(Project &project, const Step &step)
{
    const QString name = step.word(1);
    const QString newName = step.word(2);
    const bool isTaken = project.dataSets.contains(newName);
    if (name == newName || (project.dataSets.contains(name) && isTaken && newName > name))
        return badName;
    if (!project.dataSets.contains(name))
        return notFound;
    if (isTaken || project.directories.contains(newName))
        return fileError;
    project.directories[newName] = project.directories.take(name);
    project.dataSets.remove(name);
    project.dataSets.insert(newName);
    return success;
}

int ProjectModel::volume(Project &project, const Step &step)
{
    Files &files = project.directories[step.word(1)];
    QMap<QString, support::VolumeFile::Area> areas = areasIn(files.value(QStringLiteral("earth.volume")));
    const support::VolumeFile::Area added = newArea(step.word(2).toInt());
    areas[added.name] = added;

    support::plain::Block block{{0.0F, 0.0F, 4000.0F, 4000.0F}, {}};
    const auto tokens = pointsOf(files[QStringLiteral("Points")]).value_or(std::vector<quint32>());
    for (const quint32 token : tokens)
        block.points.push_back(positionOf(token));
    support::VolumeFile file;
    for (support::VolumeFile::Area &area : areas) {
        calculate(area, block);
        file.areas.push_back(area);
    }
    files[QStringLiteral("earth.volume")] = file.bytes();
    return 1;
}

} // namespace crash
