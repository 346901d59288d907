#include "FunctionMethods.h"

#include "Console.h"

#include <algorithm>
#include <cmath>

namespace
{

using Option = MethodOption;

constexpr Option fastNormal = {"--fast-normal", Option::Flag, 0,
                               "Turn normals upwards instead of making them agree with their neighbours; faster, and "
                               "right for terrain"};
constexpr Option maxIterations = {"--max-iterations", Option::Integer, 100, "Rounds at most"};
constexpr Option clusters = {"--clusters", Option::Integer, 8, "Number of clusters"};
constexpr Option minCluster = {"--min-cluster", Option::Integer, 50, "Points of the smallest cluster that is kept"};
constexpr Option maxCluster = {"--max-cluster", Option::Integer, 100000000,
                               "Points of the largest cluster that is kept"};

QVariant valueOf(const Option &option, const std::string &text)
{
    bool isSound = false;
    if (option.kind == Option::Integer) {
        const int value = argument(text).toInt(&isSound);
        if (isSound && value >= 0)
            return value;
    } else {
        const double value = argument(text).toDouble(&isSound);
        if (isSound && std::isfinite(value))
            return value;
    }
    throw CommandError(QStringLiteral("%1 takes %2, and not %3")
                           .arg(QLatin1String(option.name),
                                option.kind == Option::Integer ? QStringLiteral("a whole number from 0 up")
                                                               : QStringLiteral("a number"),
                                quoted(argument(text))));
}

QVariant standardOf(const Option &option)
{
    switch (option.kind) {
    case Option::Flag:
        return option.standard != 0.0;
    case Option::Integer:
        return static_cast<int>(option.standard);
    case Option::Number:
        break;
    }
    return option.standard;
}

} // namespace

const std::vector<Method> &meshMethods()
{
    static const std::vector<Method> methods = {
        {"alpha",
         Function_mesh_alpha,
         "alpha shape",
         {fastNormal,
          {"--alpha", Option::Number, 1.0,
           "Radius of the balls that carve the shape, in position units, above 0; about "
           "three times the spacing of the points"}}},
        {"ball-pivoting",
         Function_mesh_ball_pivoting,
         "a ball rolls over the points",
         {fastNormal,
          {"--radius", Option::Number, 0.0,
           "Radius of the ball in position units; 0: from the spacing of the points"}}},
        {"poisson",
         Function_mesh_poisson,
         "a smooth closed surface near the points",
         {fastNormal,
          {"--depth", Option::Integer, 9, "Depth of the octree, 2 to 14; each step doubles the detail"},
          {"--width", Option::Number, 0.0, "Width of its finest cells in position units, instead of --depth; 0: none"},
          {"--density-quantile", Option::Number, 0.05,
           "Share of the surface, where points were fewest, that is taken away; 0 to below 1"}}},
    };
    return methods;
}

const std::vector<Method> &splitMethods()
{
    static const std::vector<Method> methods = {
        {"dbscan",
         Function_split_dbscan,
         "dense regions, and noise",
         {{"--epsilon", Option::Number, 1.0, "Radius of a neighbourhood in position units, above 0"},
          {"--min-points", Option::Integer, 10, "Points in it that make a dense place, at least 1"},
          {"--retain-noise", Option::Flag, 0, "Keep what belongs to no cluster as a last block"}}},
        {"kmeans", Function_split_kmeans, "so many round clusters, random start", {maxIterations, clusters}},
        {"kmeans-extra", Function_split_kmeans_extra, "the same with a spread start", {maxIterations, clusters}},
        {"euclidean",
         Function_split_euclidean,
         "what lies apart",
         {{"--tolerance", Option::Number, 1.0, "Distance at which points belong together, in position units, above 0"},
          minCluster,
          maxCluster}},
        {"euclidean-fast",
         Function_split_euclidean_fast,
         "the same on a grid of cells",
         {{"--cell", Option::Number, 1.0, "Edge of the cells in position units, above 0"},
          {"--max-size", Option::Integer, 0, "Points of a cluster at most; 0: any number"}}},
        {"region-growing",
         Function_split_region_growing,
         "smooth surfaces",
         {{"--tolerance", Option::Integer, 30, "Number of neighbours, at least 3"},
          {"--smooth", Option::Number, 5.0, "Angle between normals of one surface, in degrees"},
          {"--curvature", Option::Number, 0.05, "Curvature up to which a point lets the surface grow, 0 to 1/3"},
          minCluster,
          maxCluster}},
        {"patchwork", Function_split_pachwork, "ground and the rest, without parameters", {}},
        {"csf",
         Function_split_csf,
         "ground and the rest, by a cloth laid over the survey from below",
         {{"--slope-smooth", Option::Flag, 0, "Smooth the cloth on steep slopes"},
          {"--threshold", Option::Number, 0.5, "Distance from the cloth up to which a point is ground, position units"},
          {"--cloth-resolution", Option::Number, 1.0, "Spacing of the cloth, position units, above 0"},
          {"--iterations", Option::Integer, 500, "Rounds at most"},
          {"--rigidness", Option::Integer, 2, "1 for mountains, 2 for hills, 3 for flat land"},
          {"--time-step", Option::Number, 0.65, "Time of a round, above 0"},
          {"--remove-ground", Option::Flag, 0, "Keep the rest alone"}}},
    };
    return methods;
}

const std::vector<Method> &sampleMethods()
{
    static const std::vector<Method> methods = {
        {"poisson-disk",
         Function_sample_poisson_disk,
         "evenly spread points",
         {{"--percent", Option::Number, 10.0, "Share of the points that stays, above 0, 100 at most"},
          {"--init-factor", Option::Number, 5.0, "Samples drawn for each that stays, above 1; over a mesh only"},
          {"--mesh-alpha", Option::Number, 0.0,
           "Draw from an alpha shape of this radius in position units, with new points and positions alone; 0: choose "
           "among the points, "
           "which keep all their columns"}}},
    };
    return methods;
}

QVariantList parametersOf(const Method &method, const GivenOptions &given)
{
    const auto takes = [&method](const std::string &name) {
        return std::any_of(method.options.begin(), method.options.end(),
                           [&name](const Option &option) { return name == option.name; });
    };
    for (const auto &[name, text] : given) {
        if (!takes(name))
            throw CommandError(
                QStringLiteral("%1 is no option of the method %2").arg(argument(name), QLatin1String(method.name)));
    }
    QVariantList parameters;
    for (const Option &option : method.options) {
        const auto found = given.find(option.name);
        if (found == given.end())
            parameters << standardOf(option);
        else
            parameters << (option.kind == Option::Flag ? QVariant(true) : valueOf(option, found->second));
    }
    return parameters;
}
