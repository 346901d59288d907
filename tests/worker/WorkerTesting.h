#pragma once

#include "Mesh.h"

#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace support
{

using ptCloud::pcVec3d;
using ptCloud::pcVec3f;
using ptCloud::stPtCloud_PointArray;
using ptCloud::stTriangle;

/// Points on a ball's surface, evenly spread along a spiral.
inline std::vector<pcVec3d> ball(std::size_t count, double radius, const pcVec3d &middle = {})
{
    constexpr double goldenAngle = 2.399963229728653;
    std::vector<pcVec3d> points;
    for (std::size_t i = 0; i < count; ++i) {
        const double z = 1 - (2 * static_cast<double>(i) + 1) / static_cast<double>(count);
        const double r = std::sqrt(1 - z * z);
        const double angle = goldenAngle * static_cast<double>(i);
        points.push_back(middle + pcVec3d(r * std::cos(angle), r * std::sin(angle), z) * radius);
    }
    return points;
}

inline double ballArea(double radius)
{
    return 4 * 3.14159265358979323846 * radius * radius;
}

inline double ballVolume(double radius)
{
    return ballArea(radius) * radius / 3;
}

/// Rolling ground over a square, with some roughness.
inline std::vector<pcVec3d> hills(std::size_t count, double side, const pcVec3d &corner = {}, unsigned int seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(0, side);
    std::normal_distribution<double> rough(0, 0.02);
    std::vector<pcVec3d> points;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = place(random);
        const double y = place(random);
        points.push_back(corner + pcVec3d(x, y, 3 * std::sin(x / 15) * std::cos(y / 20) + rough(random)));
    }
    return points;
}

inline Points toFloats(const std::vector<pcVec3d> &points)
{
    Points floats;
    for (const pcVec3d &p : points)
        floats.push_back(static_cast<pcVec3f>(p));
    return floats;
}

/// What can be told of triangles over corners.
struct Surface
{
    double area = 0;
    double volume = 0;         ///< inside triangles that face outwards
    std::size_t openEdges = 0; ///< of one triangle alone
    std::size_t badEdges = 0;  ///< of more than two, or of two that face to different sides
    std::size_t upward = 0;    ///< triangles
    bool namesEachCorner = true;
    bool isSound = true; ///< no corner that isn't there, no triangle without a surface

    bool isClosed() const { return openEdges == 0 && badEdges == 0; }
};

inline Surface measure(const pcVec3f *corners, std::size_t cornerCount, const stTriangle *triangles, std::size_t count)
{
    Surface surface;
    std::map<std::pair<unsigned int, unsigned int>, int> edges;
    std::vector<bool> isNamed(cornerCount);
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned int named[] = {triangles[i].a, triangles[i].b, triangles[i].c};
        for (int k = 0; k < 3; ++k) {
            if (named[k] >= cornerCount)
                return {0, 0, 0, 0, 0, false, false};
            isNamed[named[k]] = true;
            ++edges[{named[k], named[(k + 1) % 3]}];
        }
        const auto place = [&](int k) { return pcVec3d(corners[named[k]]) - pcVec3d(corners[0]); };
        const pcVec3d outwards = (place(1) - place(0)) ^ (place(2) - place(0));
        surface.area += outwards.length() / 2;
        surface.volume += place(0) * (place(1) ^ place(2)) / 6;
        surface.upward += outwards.z() > 0 ? 1 : 0;
        surface.isSound = surface.isSound && outwards.length() > 0;
    }
    for (const auto &[edge, uses] : edges) {
        const bool hasBack = edges.count({edge.second, edge.first}) != 0;
        surface.openEdges += hasBack || uses != 1 ? 0 : 1;
        surface.badEdges += uses == 1 ? 0 : 1;
    }
    for (const bool named : isNamed)
        surface.namesEachCorner = surface.namesEachCorner && named;
    return surface;
}

inline Surface measure(const Points &source, const Mesh &mesh)
{
    Points corners = mesh.positions;
    if (!mesh.sources.empty()) {
        corners.clear();
        for (const std::uint32_t i : mesh.sources)
            corners.push_back(source.at(i));
    }
    return measure(corners.data(), corners.size(), mesh.triangles.data(), mesh.triangles.size());
}

/// Writes points as a data set file; `fill` gets the array before, to put more into it.
template <typename Fill>
bool writeSource(const QString &path, const Points &points, const QList<ptCloud::EDataSetColumn> &columns,
                 const Fill &fill)
{
    stPtCloud_PointArray array;
    if (!array.alloc(static_cast<unsigned int>(points.size()), columns, false, 0))
        return false;
    std::copy(points.begin(), points.end(), array.m_position);
    fill(array);
    ptCloud::PtCloud_DataSetFile file;
    // One block that takes every point, also those without a place.
    const QMap<int, std::tuple<ptCloud::pcBoundingBoxf, const stPtCloud_PointArray *>> blocks{
        {1, {ptCloud::pcBoundingBoxf(), &array}}};
    return file.setFile(path) && file.makeDataSet_byMemory(ptCloud::EDataSetSort_ByBox, columns, blocks);
}

inline bool writeSource(const QString &path, const Points &points)
{
    return writeSource(path, points, {ptCloud::EDataSetColumn_Position}, [](stPtCloud_PointArray &) {});
}

/// Runs a copy of the worker program by hand, in a directory of its own.
class WorkerDirectory
{
public:
    struct End
    {
        bool isNormal = false;
        int code = -1;
        QByteArray errors;

        QByteArray lastLine() const { return errors.trimmed().split('\n').last(); }
    };

    WorkerDirectory() : m_program(path("worker_by_hand"))
    {
        EXPECT_TRUE(m_directory.isValid());
        EXPECT_TRUE(QFile::copy(QStringLiteral(WORKER_PROGRAM), m_program));
    }

    QString path(const char *name) const { return m_directory.filePath(QString::fromUtf8(name)); }
    QString directory() const { return m_directory.path(); }

    /// Writes the settings, as text: lines "key=value".
    QString settings(const QByteArray &lines) const
    {
        QFile file(path("settings.ini"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[section]\n" + lines);
        return file.fileName();
    }

    /// Lines for a source and a destination in this directory.
    QByteArray paths(const char *source = "source", const char *destination = "result") const
    {
        return "source_filepath=" + path(source).toUtf8() + "\ndest_filepath=" + path(destination).toUtf8() + "\n";
    }

    void setVariable(const char *name, const char *value)
    {
        m_environment.insert(QString::fromUtf8(name), QString::fromUtf8(value));
    }

    std::unique_ptr<QProcess> start(const QStringList &arguments)
    {
        auto process = std::make_unique<QProcess>();
        // Without this a host's block would be found, of another test that runs meanwhile.
        m_environment.insert(QStringLiteral("TMPDIR"), m_directory.path());
        process->setProcessEnvironment(m_environment);
        process->start(m_program, arguments);
        return process;
    }

    End run(const QStringList &arguments)
    {
        const auto process = start(arguments);
        End end;
        constexpr int timeoutMs = 240000;
        if (!process->waitForFinished(timeoutMs))
            return end;
        end.isNormal = process->exitStatus() == QProcess::NormalExit;
        end.code = process->exitCode();
        end.errors = process->readAllStandardError();
        return end;
    }

    End run(const QByteArray &lines) { return run(QStringList{settings(lines)}); }

private:
    QTemporaryDir m_directory;
    QString m_program;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
};

} // namespace support
