#pragma once

#include "Failure.h"
#include "Points.h"

#include <open3d/geometry/PointCloud.h>

#include <exception>

/// The points as Open3D takes them, with normals if there are any; Open3D keeps quiet from then on, since nobody reads
/// what it prints. Throws `Failure(ExitCode::Cloud)` where all points lie at one place, which its algorithms can't
/// take.
open3d::geometry::PointCloud toOpen3D(const Points &points, const Points &normals);

inline Eigen::Vector3d toEigen(const ptCloud::pcVec3f &p)
{
    return {p.x(), p.y(), p.z()};
}

inline ptCloud::pcVec3f fromEigen(const Eigen::Vector3d &p)
{
    return {static_cast<float>(p.x()), static_cast<float>(p.y()), static_cast<float>(p.z())};
}

/// Calls into Open3D; what it throws becomes a failure with this code. Memory that runs out stays what it is.
template <typename Call>
auto callOpen3D(ExitCode code, const QString &advice, const Call &call)
{
    try {
        return call();
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        const QString first = QString::fromLocal8Bit(error.what()).section(QLatin1Char('\n'), 0, 0).trimmed();
        throw Failure(code, QStringLiteral("%1 (%2)").arg(advice, first.left(200)));
    }
}
