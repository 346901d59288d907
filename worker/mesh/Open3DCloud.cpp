#include "Open3DCloud.h"

#include <open3d/utility/Logging.h>

#include <algorithm>

open3d::geometry::PointCloud toOpen3D(const Points &points, const Points &normals)
{
    open3d::utility::SetVerbosityLevel(open3d::utility::VerbosityLevel::Error);
    if (std::all_of(points.begin(), points.end(), [&points](const auto &p) { return p == points.front(); }))
        throw Failure(ExitCode::Cloud,
                      QStringLiteral("all %1 points lie at one place; a mesh needs a surface").arg(points.size()));
    open3d::geometry::PointCloud cloud;
    cloud.points_.resize(points.size());
    std::transform(points.begin(), points.end(), cloud.points_.begin(), toEigen);
    cloud.normals_.resize(normals.size());
    std::transform(normals.begin(), normals.end(), cloud.normals_.begin(), toEigen);
    return cloud;
}
