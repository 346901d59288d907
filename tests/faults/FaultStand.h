#pragma once

#include "BlockFile.h"
#include "Bytes.h"
#include "ContourFile.h"
#include "DataSetDirectory.h"
#include "LasWriter.h"
#include "ProjectFile.h"
#include "PublishedLas.h"
#include "VolumeFile.h"

#include <QTemporaryDir>

namespace support
{

/// Everything that commands work on, below one directory, which is laid down again and again, and things beside it that
/// nobody may touch.
///
///     inside/las/{a,b}.las            registered is a
///     inside/las/published.las        with a coordinate system in front of the points, and bytes behind them
///     inside/project/                 with the data sets a, which has every kind of content, and b
///     inside/littered/                a project with files in it that an opening would delete
///     inside/built/target             what builders write over
///     inside/{home,tmp}               of the program that is tried
///     outside/                        canaries
class FaultStand
{
public:
    FaultStand() : m_before(contents()) { layDown(); }

    bool isValid() const { return m_root.isValid(); }
    QString root() const { return QFileInfo(m_root.path()).canonicalFilePath(); }
    QString inside() const { return root() + QStringLiteral("/inside"); }

    /// Gives every file its first content again, and removes what has come since.
    void layDown() const
    {
        const DiskState now = state();
        for (auto it = now.cbegin(); it != now.cend(); ++it) {
            const QString path = m_root.filePath(it.key());
            if (m_before.contains(it.key()))
                continue;
            if (*it == "directory")
                QDir(path).removeRecursively();
            else
                QFile::remove(path);
        }
        for (auto it = m_before.cbegin(); it != m_before.cend(); ++it) {
            const QString path = m_root.filePath(it.key());
            if (now.value(it.key()) == *it)
                continue;
            if (*it == "directory")
                QDir().mkpath(path);
            else
                writeFile(path, *it);
        }
    }

    DiskState state() const { return diskState(m_root.path()); }
    const DiskState &before() const { return m_before; }

private:
    /// Columns of points on a slope: places, and some brightness.
    static BlockFile::Block slopeBlock(const BlockFile &file, qint32 key, quint32 points, quint32 triangles = 0)
    {
        BlockFile::Block block = file.makeBlock(key, points, triangles, static_cast<quint8>(key));
        for (quint32 i = 0; i < points; ++i) {
            const auto step = static_cast<float>(i % 40);
            putAt(block.columns[0], static_cast<int>(i) * 12, step);
            putAt(block.columns[0], static_cast<int>(i) * 12 + 4, static_cast<float>(i / 40));
            putAt(block.columns[0], static_cast<int>(i) * 12 + 8, static_cast<float>(key) + step / 4);
        }
        for (quint32 i = 0; i < triangles; ++i) {
            for (quint32 corner = 0; corner < 3; ++corner)
                putAt(block.columns[1], static_cast<int>(12 * i + 4 * corner), (i + corner * corner) % points);
        }
        return block;
    }

    static QByteArray points(int blocks, quint32 pointsInBlock)
    {
        BlockFile file;
        file.columns = {0, 4};
        for (int key = 1; key <= blocks; ++key)
            file.blocks.push_back(slopeBlock(file, key, pointsInBlock));
        return file.bytes();
    }

    static QByteArray mesh(quint32 triangles)
    {
        BlockFile file;
        file.columns = {0, 2};
        file.blocks.push_back(slopeBlock(file, 1, 1000, triangles));
        return file.bytes();
    }

    static QByteArray las(quint8 format, int points)
    {
        LasWriter writer;
        writer.format = format;
        for (int i = 0; i < points; ++i) {
            LasPoint point;
            point.x = i * 13 % 40000;
            point.y = i * 7;
            point.z = i % 100;
            point.red = static_cast<quint16>(i % 256);
            writer.points.push_back(point);
        }
        return writer.bytes();
    }

    static QByteArray publishedLas()
    {
        PublishedLas writer;
        writer.variableRecords = {{"LASF_Projection", 34735, QByteArray(72, '\x21')},
                                  {"LASF_Projection", 34736, QByteArray(400, '\x22')}};
        writer.points.resize(100);
        for (std::size_t i = 0; i < writer.points.size(); ++i)
            writer.points[i].x = static_cast<qint32>(i);
        return writer.bytes() + QByteArray(5000, '\x23');
    }

    static QByteArray volumes()
    {
        VolumeFile file;
        VolumeFile::Area area;
        area.name = QStringLiteral("pit");
        area.groundHeightType = 1;
        area.gridSize = 1.0;
        area.corners = {{0.5, 0.5, 0.0}, {30.5, 0.5, 0.0}, {30.5, 20.5, 0.0}, {0.5, 20.5, 0.0}};
        file.areas = {area};
        return file.bytes();
    }

    DiskState contents() const
    {
        const QString lasPath = inside() + QStringLiteral("/las/a.las");
        ProjectFile project;
        project.lasFiles = {{QStringLiteral("a.las"), lasPath}};
        project.dataSets = {{QStringLiteral("a"), QStringLiteral("a")}, {QStringLiteral("b"), QStringLiteral("b")}};
        DiskState state;
        for (const char *directory :
             {"inside", "inside/las", "inside/project", "inside/project/a", "inside/project/b", "inside/built",
              "inside/littered", "inside/littered/b", "inside/home", "inside/tmp", "outside", "outside/a"})
            state[QLatin1String(directory)] = "directory";
        state[QStringLiteral("outside/canary")] = "sings";
        state[QStringLiteral("outside/a/Points")] = points(1, 10);
        state[QStringLiteral("inside/las/a.las")] = las(3, 3000);
        state[QStringLiteral("inside/las/b.las")] = las(1, 2000);
        state[QStringLiteral("inside/las/published.las")] = publishedLas();
        state[QStringLiteral("inside/built/target")] = points(1, 40);
        state[QStringLiteral("inside/areas.geojson")] = areas();
        state[QStringLiteral("inside/home/script")] = "copy\nexit 0";
        state[QStringLiteral("inside/project/points_cloud.pcproj")] = project.bytes();
        state[QStringLiteral("inside/project/b/Points")] = points(2, 1200);
        project.dataSets.erase(project.dataSets.begin());
        state[QStringLiteral("inside/littered/points_cloud.pcproj")] = project.bytes();
        state[QStringLiteral("inside/littered/b/Points")] = points(1, 10);
        state[QStringLiteral("inside/littered/b/notes.txt")] = "of the surveyor";
        state[QStringLiteral("inside/littered/notes.txt")] = "of the surveyor";
        const auto put = [&state](const char *name, const QByteArray &bytes) {
            state[QLatin1String("inside/project/a/") + QLatin1String(name)] = bytes;
        };
        put("Points", points(3, 1600));
        put("roof.mesh", mesh(2000));
        put("wall.mesh", mesh(20));
        put("north.split", points(2, 200));
        put("first.cut", points(1, 100));
        put("dem.demmesh", mesh(100));
        put("dem.classify", points(1, 300));
        put("dem.contour", sampleContours().bytes());
        put("dem.height.png", pictureBytes(200));
        put("earth.volume", volumes());
        return state;
    }

    static QByteArray areas()
    {
        return R"({"type": "FeatureCollection", "features": [{"type": "Feature",
            "properties": {"name": "heap", "ground_height": 0, "grid_size": 1},
            "geometry": {"type": "Polygon", "coordinates": [[[0.5, 0.5], [30.5, 0.5], [30.5, 20.5], [0.5, 0.5]]]}}]})";
    }

    /// In memory where the system offers that: the stand is laid down some thousand times.
    static QString place()
    {
        const QFileInfo shared(QStringLiteral("/dev/shm"));
        return (shared.isDir() && shared.isWritable() ? shared.filePath() : QDir::tempPath())
               + QStringLiteral("/faults-XXXXXX");
    }

    QTemporaryDir m_root{place()};
    DiskState m_before;
};

} // namespace support
