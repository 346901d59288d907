// The function that makes a terrain of a survey.

#include "Contours.h"
#include "Failure.h"
#include "Function.h"
#include "GroundFilter.h"
#include "HeightMap.h"
#include "MemoryGuard.h"
#include "Results.h"
#include "SourceCloud.h"
#include "TerrainClasses.h"

#include "PtCloud_DataSetFile.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>
#include <optional>
#include <utility>

using namespace ptCloud;

namespace
{

constexpr double readEnd = 0.1;
constexpr double groundEnd = 0.5;
constexpr double surfaceEnd = 0.6;
constexpr double mapEnd = 0.7;
constexpr double contoursEnd = 0.75;
constexpr double classesEnd = 0.85;

constexpr int mostSteps = 10000;

/// Beside the picture and hidden: a data set's directory is cleared of other files that a listing shows.
QString sideFileOf(const QString &picture)
{
    const QFileInfo info(picture);
    return info.dir().filePath(QStringLiteral(".%1.json").arg(info.fileName()));
}

/// The products: an empty path leaves one out.
struct TerrainParameters
{
    QString mesh;        ///< key `meshAbsFilepath`
    QString heightMap;   ///< key `heightMapAbsFilepath`
    int largePixels = 1; ///< key `largePixels`: longer side of the height map, 1 to `largestHeightMap`
    QString contours;    ///< key `contourAbsFilepath`
    int steps = 1;       ///< key `contourPeace`: heights with contours, 1 to `mostSteps`
    QString classes;     ///< key `treeClassifyAbsFilepath`

    static TerrainParameters from(const Parameters &parameters)
    {
        TerrainParameters wanted;
        wanted.mesh = parameters.text("meshAbsFilepath");
        wanted.heightMap = parameters.text("heightMapAbsFilepath");
        wanted.contours = parameters.text("contourAbsFilepath");
        wanted.classes = parameters.text("treeClassifyAbsFilepath");
        if (!wanted.heightMap.isEmpty())
            wanted.largePixels = parameters.integer("largePixels", 1, largestHeightMap);
        if (!wanted.contours.isEmpty())
            wanted.steps = parameters.integer("contourPeace", 1, mostSteps);
        return wanted;
    }

    /// Before any work: what can't be written, and two products in one file.
    void checkPaths(const QString &source) const
    {
        QStringList paths{mesh, heightMap, contours, classes};
        if (!heightMap.isEmpty())
            paths << sideFileOf(heightMap);
        paths.removeAll(QString());
        if (paths.isEmpty())
            throw Failure(ExitCode::WriteDest, QStringLiteral("no path of a terrain product is given"));
        for (QString &path : paths) {
            ResultFile::check(path, source);
            path = QFileInfo(path).absoluteFilePath();
        }
        if (paths.removeDuplicates() > 0)
            throw Failure(ExitCode::Argument, QStringLiteral("two terrain products can't go into one file"));
    }
};

void writeBytes(const QString &destination, const QByteArray &bytes)
{
    ResultFile result(destination);
    QFile file(result.temporaryPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        result.fail();
    file.close();
    result.commit();
}

/// The picture tells in its own text, too, what the side file says, and keeps it when it is copied alone.
void writeHeightMap(const QString &destination, HeightMap &map, const pcVec3d &origin)
{
    const QJsonObject description = map.description(origin);
    const QByteArray text = QJsonDocument(description).toJson();
    map.image.setText(QStringLiteral("Description"), QString::fromUtf8(text));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!map.image.save(&buffer, "PNG"))
        throw Failure(ExitCode::Memory, QStringLiteral("there is no memory for the height map"));
    writeBytes(destination, buffer.data());
    writeBytes(sideFileOf(destination), text);
}

void writeContours(const QString &destination, PtCloud_ContourFile &contours)
{
    ResultFile result(destination);
    PtCloud_ContourFile target;
    target.setFile(result.temporaryPath());
    target.contourGroup1().swap(contours.contourGroup1());
    target.contourGroup2().swap(contours.contourGroup2());
    // Writing does not tell of a full disk; what comes back does.
    PtCloud_ContourFile written;
    written.setFile(result.temporaryPath());
    if (!target.saveToFile() || !written.openFile() || written.contourGroup1() != target.contourGroup1()
        || written.contourGroup2() != target.contourGroup2())
        result.fail();
    result.commit();
}

void writeClasses(const QString &destination, const SourceCloud &cloud, const std::vector<unsigned char> &classes)
{
    QList<EDataSetColumn> columns;
    cloud.array().getColumns(columns);
    if (!columns.contains(EDataSetColumn_Classification))
        columns.append(EDataSetColumn_Classification);
    constexpr std::uint64_t bytesOfPoint = 220;
    requireMemory(cloud.size() * bytesOfPoint, QStringLiteral("writing the classification"));
    stPtCloud_PointArray array;
    if (!array.alloc(cloud.size(), columns, false, 0))
        throw Failure(ExitCode::Memory, QStringLiteral("there is no memory for the classification"));
    array.copy_noTriangle(cloud.array(), 0, 0, cloud.size());
    std::copy(classes.begin(), classes.end(), array.m_classification);
    ResultFile result(destination);
    PtCloud_DataSetFile file;
    if (!file.setFile(result.temporaryPath()) || !file.makeDataSet_byPointsArray(array))
        result.fail();
    result.commit();
}

/// Takes the ground, whose memory is wanted for writing.
Mesh meshOf(GroundModel ground)
{
    Mesh mesh;
    mesh.sources = std::move(ground.sources);
    mesh.triangles.reserve(ground.mesh.triangles.size());
    for (const auto &[a, b, c] : ground.mesh.triangles)
        mesh.triangles.push_back({a, b, c});
    return mesh;
}

/// All products, made before the first is written: a run that fails leaves none.
struct Terrain
{
    std::optional<HeightMap> heightMap;
    PtCloud_ContourFile contours;
    std::vector<unsigned char> classes;

    Terrain(const TerrainParameters &wanted, const SourceCloud &cloud, const GroundAndNoise &found,
            const GroundModel &ground, Progress &progress)
    {
        if (!wanted.heightMap.isEmpty()) {
            ProgressPart part(progress, surfaceEnd, mapEnd);
            heightMap = makeHeightMap(ground, wanted.largePixels, part);
        }
        if (!wanted.contours.isEmpty()) {
            ProgressPart part(progress, mapEnd, contoursEnd);
            addContours(ground, cloud.origin(), wanted.steps, contours, part);
        }
        if (!wanted.classes.isEmpty()) {
            ProgressPart part(progress, contoursEnd, classesEnd);
            classes = terrainClasses(cloud.points(), found, ground, cloud.array().m_classification, part);
        }
    }

    /// Gives up each product as soon as it is written, and the ground before its mesh is.
    void write(const TerrainParameters &wanted, const SourceCloud &cloud, GroundModel ground, Progress &progress)
    {
        if (!wanted.heightMap.isEmpty()) {
            progress.stage(QStringLiteral("writing the height map"), 0, 0.2);
            writeHeightMap(wanted.heightMap, *heightMap, cloud.origin());
            heightMap.reset();
        }
        if (!wanted.contours.isEmpty()) {
            progress.stage(QStringLiteral("writing the contours"), 0.2, 0.4);
            writeContours(wanted.contours, contours);
        }
        const Mesh mesh = meshOf(std::move(ground));
        if (!wanted.mesh.isEmpty()) {
            progress.stage(QStringLiteral("writing the ground mesh"), 0.4, 0.7);
            writeMesh(wanted.mesh, cloud, mesh);
        }
        if (!wanted.classes.isEmpty()) {
            progress.stage(QStringLiteral("writing the classification"), 0.7, 1);
            writeClasses(wanted.classes, cloud, classes);
        }
    }
};

} // namespace

QString runTerrain(const Parameters &parameters, Progress &progress)
{
    const TerrainParameters wanted = TerrainParameters::from(parameters);
    const QString source = parameters.text("source_filepath");
    if (parameters.text("dest_filepath").isEmpty())
        throw Failure(ExitCode::WriteDest, QStringLiteral("dest_filepath is empty"));
    wanted.checkPaths(source);
    ProgressPart reading(progress, 0, readEnd);
    const SourceCloud cloud(source, reading);
    ProgressPart filtering(progress, readEnd, groundEnd);
    const GroundAndNoise found = findGround(cloud.points(), cloud.array().m_classification, filtering);
    ProgressPart triangulating(progress, groundEnd, surfaceEnd);
    GroundModel ground = makeGroundModel(cloud.points(), found.isGround, triangulating);
    QString told = QStringLiteral("a ground of %1 triangles over %2 of %3 points%4")
                       .arg(ground.mesh.triangles.size())
                       .arg(ground.places.size())
                       .arg(cloud.size())
                       .arg(cloud.leftOutNote());
    Terrain terrain(wanted, cloud, found, ground, progress);
    ProgressPart writing(progress, classesEnd, 1);
    terrain.write(wanted, cloud, std::move(ground), writing);
    return told;
}
