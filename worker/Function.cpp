#include "Function.h"

#include "Failure.h"

#include "PtCloud_Types.h"

#include <algorithm>
#include <iterator>

namespace
{

struct Function
{
    EPtCloud_Function id;
    Runner run;
};

constexpr Function functions[] = {
    {Function_mesh_alpha, runAlphaShape},
    {Function_mesh_ball_pivoting, runBallPivoting},
    {Function_mesh_poisson, runPoisson},
    {Function_dem, runTerrain},
    {Function_split_dbscan, runDbscan},
    {Function_split_kmeans, runKMeans},
    {Function_split_kmeans_extra, runKMeansExtra},
    {Function_split_euclidean, runEuclidean},
    {Function_split_euclidean_fast, runEuclideanFast},
    {Function_split_region_growing, runRegionGrowing},
    {Function_split_pachwork, runPatchwork},
    {Function_split_csf, runCloth},
    {Function_sample_poisson_disk, runPoissonDisk},
};

} // namespace

Runner findFunction(int id)
{
    const auto *const found = std::find_if(std::begin(functions), std::end(functions),
                                           [id](const Function &function) { return function.id == id; });
    if (found == std::end(functions))
        throw Failure(ExitCode::NotSupported, QStringLiteral("function %1 is none of this worker's").arg(id));
    return found->run;
}
