#include "Vertices.h"

#include <algorithm>
#include <utility>

using namespace ptCloud;

Points pick(const Points &all, const std::vector<std::uint32_t> &indices)
{
    Points picked;
    if (all.empty())
        return picked;
    picked.reserve(indices.size());
    for (const std::uint32_t i : indices)
        picked.push_back(all[i]);
    return picked;
}

std::vector<stTriangle> toTriangles(const std::vector<Eigen::Vector3i> &triangles)
{
    std::vector<stTriangle> converted(triangles.size());
    std::transform(triangles.begin(), triangles.end(), converted.begin(), [](const Eigen::Vector3i &t) {
        return stTriangle{static_cast<unsigned int>(t.x()), static_cast<unsigned int>(t.y()),
                          static_cast<unsigned int>(t.z())};
    });
    return converted;
}

Mesh compactMesh(const std::vector<std::uint32_t> &sources, const Points &normals, std::vector<stTriangle> triangles)
{
    Mesh mesh;
    std::vector<std::uint32_t> place(sources.size(), 0);
    for (const stTriangle &t : triangles)
        place[t.a] = place[t.b] = place[t.c] = 1;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (place[i] == 0)
            continue;
        place[i] = static_cast<std::uint32_t>(mesh.sources.size());
        mesh.sources.push_back(sources[i]);
        if (!normals.empty())
            mesh.normals.push_back(normals[i]);
    }
    for (stTriangle &t : triangles)
        t = {place[t.a], place[t.b], place[t.c]};
    mesh.triangles = std::move(triangles);
    return mesh;
}
