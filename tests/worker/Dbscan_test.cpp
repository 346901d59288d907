#include "ClusterScenes.h"
#include "Dbscan.h"
#include "Failure.h"

#include <limits>

using namespace ptCloud;
using namespace support;

namespace
{

NoProgress quiet;

} // namespace

TEST(Dbscan, TwoBallsAndAPlaneAreThreeClusters)
{
    const ClusterScene scene = shuffled(ballsAndPlane(), 1);
    const std::vector<int> labels = dbscan(scene.points, {0.5, 5}, quiet);
    EXPECT_EQ(plain::adjustedRandIndex(labels, scene.labels), 1);
}

TEST(Dbscan, PointsFarFromAllOthersAreNoise)
{
    ClusterScene scene = ballsAndPlane();
    for (const pcVec3f &p : scatter(20, 4, 1)) {
        scene.points.push_back(p + pcVec3f(0, 0, 40));
        scene.labels.push_back(-1);
    }
    EXPECT_EQ(dbscan(scene.points, {0.5, 5}, quiet), scene.labels);
}

TEST(Dbscan, MatchesTheDefinition)
{
    for (const NamedPoints &cloud : hardClouds()) {
        for (const double epsilon : {0.01, 0.5, 1.0, std::sqrt(2.0), 2.5, 100.0}) {
            for (const int leastPoints : {1, 2, 4, 7, 27, 1000}) {
                EXPECT_EQ(dbscan(cloud.points, {epsilon, leastPoints}, quiet),
                          plain::dbscan(toPlaces(cloud.points), epsilon, static_cast<std::size_t>(leastPoints)))
                    << cloud.name << ", epsilon " << epsilon << ", " << leastPoints << " points";
            }
        }
    }
}

TEST(Dbscan, MatchesTheDefinitionOverManyCellsOnAllCores)
{
    Points points = scatter(9000, 40, 5);
    for (const double epsilon : {0.8, 1.5, 2.5}) {
        EXPECT_EQ(dbscan(points, {epsilon, 5}, quiet), plain::dbscan(toPlaces(points), epsilon, 5)) << epsilon;
    }
}

TEST(Dbscan, APointBetweenTwoClustersGoesToTheOneOfTheFirstCore)
{
    // Two rows of three, and a point that reaches the end of each.
    const Points points{{2, 0, 0}, {0, 0, 0}, {-1, 0, 0}, {-2, 0, 0}, {4, 0, 0}, {5, 0, 0}, {6, 0, 0}};
    const Points turned(points.rbegin(), points.rend());
    const DbscanParameters parameters{1, 3};
    EXPECT_EQ(dbscan(points, parameters, quiet), (std::vector<int>{-1, 0, 0, 0, 1, 1, 1}));
    const Points bridged{{1, 0, 0}, {3, 0, 0}, {4, 0, 0}, {4, 0, 0}, {-1, 0, 0}, {-2, 0, 0}, {-2, 0, 0}};
    const DbscanParameters wide{2, 4};
    EXPECT_EQ(dbscan(bridged, wide, quiet), (std::vector<int>{0, 0, 0, 0, 1, 1, 1}));
}

TEST(Dbscan, ANeighbourhoodHoldsItsOwnBorder)
{
    EXPECT_EQ(dbscan({{0, 0, 0}, {1, 0, 0}}, {1, 2}, quiet), (std::vector<int>{0, 0}));
    EXPECT_EQ(dbscan({{0, 0, 0}, {1, 0, 0}}, {0.999, 2}, quiet), (std::vector<int>{-1, -1}));
}

TEST(Dbscan, RefusesWhatCantBe)
{
    for (const DbscanParameters &parameters :
         {DbscanParameters{0, 5}, DbscanParameters{-1, 5}, DbscanParameters{std::nan(""), 5},
          DbscanParameters{std::numeric_limits<double>::infinity(), 5}, DbscanParameters{1, 0},
          DbscanParameters{1, -3}}) {
        try {
            dbscan(scatter(10, 1, 1), parameters, quiet);
            ADD_FAILURE() << parameters.epsilon << ' ' << parameters.leastPoints;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.code(), ExitCode::Argument);
            EXPECT_TRUE(failure.message().contains(QLatin1String(parameters.leastPoints == 5 ? "epsilon" : "minpts")));
        }
    }
}

TEST(Dbscan, RefusesAnEpsilonThatIsLostInTheCloud)
{
    try {
        dbscan({{-1e9F, 0, 0}, {1e9F, 0, 0}}, {0.01, 1}, quiet);
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code(), ExitCode::Argument);
        EXPECT_TRUE(failure.message().contains(QLatin1String("epsilon is 0.01")));
        EXPECT_TRUE(failure.message().contains(QLatin1String("try 2 ")));
    }
    EXPECT_EQ(dbscan({{-1e9F, 0, 0}, {1e9F, 0, 0}}, {2.5, 1}, quiet), (std::vector<int>{0, 1}));
}
