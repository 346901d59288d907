#include "ClusterScenes.h"
#include "Failure.h"
#include "KMeans.h"
#include "KMeansStart.h"
#include "NearestCentre.h"

#include <limits>
#include <set>

using namespace ptCloud;
using namespace support;

namespace
{

NoProgress quiet;

std::vector<plain::Centre> toPlain(const Centres &centres)
{
    std::vector<plain::Centre> result;
    for (const pcVec3d &centre : centres)
        result.push_back({centre.x(), centre.y(), centre.z()});
    return result;
}

/// Three heaps far from each other.
ClusterScene heaps()
{
    ClusterScene scene;
    for (const pcVec3d &middle : {pcVec3d(0, 0, 0), pcVec3d(50, 0, 0), pcVec3d(0, 80, 10)})
        scene.add(ball(500, 5, middle));
    return scene;
}

std::size_t clusterCount(const std::vector<int> &labels)
{
    return std::set<int>(labels.begin(), labels.end()).size();
}

} // namespace

TEST(KMeans, HeapsFarApartAreClusters)
{
    const ClusterScene scene = shuffled(heaps(), 1);
    EXPECT_EQ(plain::adjustedRandIndex(kMeansPlusPlus(scene.points, {100, 3}, quiet), scene.labels), 1);
}

TEST(KMeans, MatchesLloydsRounds)
{
    for (const NamedPoints &cloud : hardClouds()) {
        const plain::Places places = toPlaces(cloud.points);
        for (const std::size_t clusters : {1U, 2U, 5U, 40U}) {
            if (clusters > cloud.points.size())
                continue;
            const auto random = toPlain(randomStart(cloud.points, clusters));
            const auto spread = toPlain(spreadStart(cloud.points, clusters, quiet));
            for (const int rounds : {1, 2, 5, 300}) {
                const KMeansParameters parameters{rounds, static_cast<int>(clusters)};
                EXPECT_EQ(kMeans(cloud.points, parameters, quiet), plain::kMeans(places, random, rounds))
                    << cloud.name << ", " << clusters << " clusters, " << rounds << " rounds";
                EXPECT_EQ(kMeansPlusPlus(cloud.points, parameters, quiet), plain::kMeans(places, spread, rounds))
                    << cloud.name << ", " << clusters << " clusters, " << rounds << " rounds";
            }
        }
    }
}

TEST(KMeans, MatchesLloydsRoundsOverManyPointsOnAllCores)
{
    const Points points = scatter(20000, 40, 6);
    EXPECT_EQ(kMeans(points, {30, 25}, quiet), plain::kMeans(toPlaces(points), toPlain(randomStart(points, 25)), 30));
}

TEST(KMeans, LeavesNoClusterEmptyWhereThereArePlacesForAll)
{
    // Most points in one place, so that a random start takes it several times.
    Points points(200, pcVec3f(1, 1, 1));
    for (const pcVec3f &p : scatter(20, 10, 1))
        points.push_back(p);
    for (const int clusters : {2, 8, 20, 21}) {
        EXPECT_EQ(clusterCount(kMeans(points, {100, clusters}, quiet)), static_cast<std::size_t>(clusters));
        EXPECT_EQ(clusterCount(kMeansPlusPlus(points, {100, clusters}, quiet)), static_cast<std::size_t>(clusters));
    }
    EXPECT_EQ(clusterCount(kMeans(points, {100, 50}, quiet)), 21U);
    EXPECT_EQ(clusterCount(kMeansPlusPlus(points, {100, 50}, quiet)), 21U);
}

TEST(KMeans, AsManyClustersAsPointsAreThePoints)
{
    const Points points = scatter(100, 10, 1);
    EXPECT_EQ(clusterCount(kMeans(points, {10, 100}, quiet)), 100U);
    EXPECT_EQ(clusterCount(kMeansPlusPlus(points, {10, 100}, quiet)), 100U);
}

TEST(KMeans, RefusesWhatCantBe)
{
    const Points points = scatter(10, 1, 1);
    const std::pair<KMeansParameters, const char *> cases[] = {{{0, 3}, "maxIteration is 0"},
                                                               {{-5, 3}, "maxIteration is -5"},
                                                               {{10, 0}, "clusterNum is 0"},
                                                               {{10, 10001}, "clusterNum is 10001"},
                                                               {{10, 11}, "clusterNum is 11, more than the 10 points"}};
    for (const auto &[parameters, words] : cases) {
        for (const auto run : {kMeans, kMeansPlusPlus}) {
            try {
                run(points, parameters, quiet);
                ADD_FAILURE() << words;
            } catch (const Failure &failure) {
                EXPECT_EQ(failure.code(), ExitCode::Argument);
                EXPECT_TRUE(failure.message().contains(QLatin1String(words))) << failure.what();
            }
        }
    }
}

TEST(KMeansStart, RandomCentresAreDifferentPoints)
{
    const Points points = scatter(300, 10, 2);
    for (const std::size_t count : {1U, 150U, 299U, 300U}) {
        const Centres centres = randomStart(points, count);
        EXPECT_EQ(std::set<pcVec3d>(centres.begin(), centres.end()).size(), count);
    }
}

TEST(KMeansStart, SpreadCentresFallIntoEveryHeap)
{
    const ClusterScene scene = shuffled(heaps(), 4);
    std::set<int> hit;
    for (const pcVec3d &centre : spreadStart(scene.points, 3, quiet)) {
        const auto at = std::find(scene.points.begin(), scene.points.end(), pcVec3f(centre));
        ASSERT_NE(at, scene.points.end());
        hit.insert(scene.labels[static_cast<std::size_t>(at - scene.points.begin())]);
    }
    EXPECT_EQ(hit.size(), 3U);
}

TEST(NearestCentre, FindsWhatAskingAllFinds)
{
    for (const NamedPoints &cloud : hardClouds()) {
        if (cloud.points.empty())
            continue;
        const Centres centres(cloud.points.begin(), cloud.points.end());
        const NearestCentre search(centres);
        for (const pcVec3f &p : scatter(50, 12, 8)) {
            // Whole coordinates lie as far from several.
            const pcVec3d place(std::round(p.x()), std::round(p.y()), static_cast<double>(p.z()));
            for (const int except : {NearestCentre::none, 0}) {
                std::vector<std::pair<double, int>> all;
                for (int i = 0; i < static_cast<int>(centres.size()); ++i) {
                    if (i != except)
                        all.emplace_back((place - centres[static_cast<std::size_t>(i)]).length2(), i);
                }
                all.resize(all.size() + 2, {std::numeric_limits<double>::infinity(), NearestCentre::none});
                std::sort(all.begin(), all.end(), [](const auto &a, const auto &b) { return a < b; });
                const NearestCentre::Found found = search.find(place, except);
                EXPECT_EQ(found.centre, all[0].second) << cloud.name;
                EXPECT_EQ(found.square, all[0].first);
                EXPECT_EQ(found.secondSquare, all[1].first);
            }
        }
    }
}
