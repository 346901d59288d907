#pragma once

#include "../control/FunctionRunTesting.h"
#include "WorkerTesting.h"

#include <QDir>

#include <random>

namespace support
{

/// What a function makes of a data set.
enum class Product { Mesh, Split, Sample, Terrain };

/// A function of the worker with parameters that suit a survey.
struct WorkerFunction
{
    const char *name;
    EPtCloud_Function id;
    Product product;
    int blocks; ///< of a split; 0: any number
    QVariantList (*parameters)(
        double spacing); ///< by the distance of the points in plan; without the paths of a terrain
};

inline void PrintTo(const WorkerFunction &function, std::ostream *out)
{
    *out << function.name;
}

struct WorkerFunctionName
{
    std::string operator()(const ::testing::TestParamInfo<WorkerFunction> &info) const { return info.param.name; }
};

constexpr int mapPixels = 64;
constexpr int contourSteps = 5;
constexpr double sampledPercent = 25;

inline const WorkerFunction workerFunctions[] = {
    {"AlphaShape", Function_mesh_alpha, Product::Mesh, 0,
     [](double spacing) {
         return QVariantList{true, 4 * spacing};
     }},
    {"BallPivoting", Function_mesh_ball_pivoting, Product::Mesh, 0,
     [](double) {
         return QVariantList{false, 0.0};
     }},
    {"Poisson", Function_mesh_poisson, Product::Mesh, 0,
     [](double) {
         return QVariantList{true, 6, 0.0, 0.05};
     }},
    {"Terrain", Function_dem, Product::Terrain, 0,
     [](double) {
         return QVariantList{mapPixels, contourSteps};
     }},
    {"Dbscan", Function_split_dbscan, Product::Split, 0,
     [](double spacing) {
         return QVariantList{3 * spacing, 5, true};
     }},
    {"KMeans", Function_split_kmeans, Product::Split, 4,
     [](double) {
         return QVariantList{50, 4};
     }},
    {"KMeansExtra", Function_split_kmeans_extra, Product::Split, 5,
     [](double) {
         return QVariantList{50, 5};
     }},
    {"Euclidean", Function_split_euclidean, Product::Split, 0,
     [](double spacing) {
         return QVariantList{3 * spacing, 1, 100000000};
     }},
    {"EuclideanFast", Function_split_euclidean_fast, Product::Split, 0,
     [](double spacing) {
         return QVariantList{3 * spacing, 0};
     }},
    {"RegionGrowing", Function_split_region_growing, Product::Split, 0,
     [](double) {
         return QVariantList{20, 20.0, 0.2, 1, 100000000};
     }},
    {"Patchwork", Function_split_pachwork, Product::Split, 2, [](double) { return QVariantList(); }},
    {"Cloth", Function_split_csf, Product::Split, 2,
     [](double spacing) { return QVariantList{false, spacing, 2 * spacing, 200, 2, 0.65, false}; }},
    {"PoissonDisk", Function_sample_poisson_disk, Product::Sample, 0,
     [](double) {
         return QVariantList{sampledPercent, 5.0, 0.0};
     }},
};

/// A slope with a house and trees, of that many points; the distance between them in plan is 0.5.
inline Points smallSurvey(std::size_t count, unsigned int seed = 5)
{
    const double side = std::sqrt(static_cast<double>(count)) / 2;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(0, side);
    std::uniform_real_distribution<double> unit(0, 1);
    Points points;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = place(random);
        const double y = place(random);
        double z = 100 + 0.1 * x + 0.02 * unit(random);
        if (std::fabs(x - side * 0.3) < side * 0.15 && std::fabs(y - side * 0.4) < side * 0.1)
            z = 106 + 0.1 * side;
        else if (std::hypot(x - side * 0.75, y - side * 0.7) < side * 0.12 && unit(random) < 0.6)
            z += 2 + 4 * unit(random);
        points.emplace_back(static_cast<float>(1000 + x), static_cast<float>(2000 + y), static_cast<float>(z));
    }
    return points;
}

/// The controller with this project's worker, on the data set `site`.
class ControllerWorkerTest : public FunctionRunTest
{
protected:
    void SetUp() override
    {
        FunctionRunTest::SetUp();
        AppConfig::getInstance().setBinDir(QFileInfo(QStringLiteral(WORKER_PROGRAM)).absolutePath());
    }

    ptCloud::PtCloudDataSet &site() { return *m_controller.getDataSet(QStringLiteral("site")); }
    QString points() const { return m_project + QStringLiteral("/site/Points"); }
    void usePoints(const Points &points) { ASSERT_TRUE(writeSource(this->points(), points)); }
    /// Points in the file and their distance in plan.
    unsigned int pointCount() const { return inFile(points()).points; }
    double spacing() const
    {
        const Contents contents = inFile(points());
        const pcVec3f size = contents.box.corner(7) - contents.box.corner(0);
        return std::sqrt(static_cast<double>(size.x()) * static_cast<double>(size.y()) / contents.points);
    }

    struct Contents
    {
        unsigned int points = 0;
        unsigned int triangles = 0;
        int blocks = 0;
        ptCloud::pcBoundingBoxf box;
    };
    /// What is in a sound data set file.
    static Contents inFile(const QString &path)
    {
        Contents contents;
        ptCloud::PtCloud_DataSetFile file;
        EXPECT_TRUE(file.setFile(path) && file.openFile()) << qPrintable(path);
        QMap<int, std::tuple<unsigned int, ptCloud::pcBoundingBoxf>> blocks;
        file.getBlocks(blocks);
        for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
            const stPtCloud_PointArray *const block = file.readBlock(it.key());
            EXPECT_NE(block, nullptr);
            if (block == nullptr)
                continue;
            ++contents.blocks;
            contents.points += block->m_pointCount;
            contents.triangles += block->m_triangleCount;
            for (unsigned int i = 0; i < block->m_pointCount; ++i)
                contents.box.expandBy(block->m_position[i]);
        }
        return contents;
    }

    /// Where the data set wants the function's result.
    QString destination(Product product)
    {
        const auto pathOf = [](ptCloud::PtCloud_DataSetFile *file) {
            return std::unique_ptr<ptCloud::PtCloud_DataSetFile>(file)->getFilepath();
        };
        switch (product) {
        case Product::Mesh:
            return pathOf(site().createEmptyLocatedContent_Mesh(QStringLiteral("new")));
        case Product::Split:
            return pathOf(site().createEmptyLocatedContent_Split(QStringLiteral("new")));
        case Product::Sample:
            return site().createEmptyLocatedContent_Points();
        case Product::Terrain:
            break;
        }
        return site().createEmptyLocatedContent_Dem_Mesh();
    }
    /// The parameters of a terrain, all its products among them.
    QVariantList terrainParameters(const QVariant &pixels, const QVariant &steps)
    {
        return {site().createEmptyLocatedContent_Dem_Mesh(),
                site().createEmptyLocatedContent_Dem_HeightMap(),
                pixels,
                site().createEmptyLocatedContent_Dem_Contour(),
                steps,
                site().createEmptyLocatedContent_Dem_Classify()};
    }
    QVariantList parametersOf(const WorkerFunction &function)
    {
        const QVariantList parameters = function.parameters(spacing());
        return function.product == Product::Terrain ? terrainParameters(parameters[0], parameters[1]) : parameters;
    }

    ptCloud::EEPtCloudActResult run(const WorkerFunction &function, const QVariantList &parameters,
                                    const QString &destination)
    {
        const QString name = QStringLiteral("site");
        switch (function.product) {
        case Product::Split:
            return m_controller.doCmd_DataSet_Do_Split({name, destination, function.id, parameters}, &m_progress);
        case Product::Sample:
            return m_controller.doCmd_DataSet_Do_Sample({name, destination, function.id, parameters}, &m_progress);
        case Product::Mesh:
        case Product::Terrain:
            break;
        }
        return m_controller.doCmd_DataSet_Do_Mesh({name, destination, function.id, parameters}, &m_progress);
    }
    ptCloud::EEPtCloudActResult run(const WorkerFunction &function, const QVariantList &parameters)
    {
        return run(function, parameters, destination(function.product));
    }

    /// Removes what has come into the data set's directory since.
    void keepOfSite(const QStringList &before) const
    {
        for (const QString &file : filesOfSite()) {
            if (!before.contains(file)) {
                EXPECT_TRUE(QFile::remove(m_project + QStringLiteral("/site/") + file));
            }
        }
    }
    /// Everything in the data set's directory, hidden files too.
    QStringList filesOfSite() const
    {
        return QDir(m_project + QStringLiteral("/site"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

#ifdef Q_OS_LINUX
    /// The processes that run this project's worker.
    static QList<qint64> workers()
    {
        QList<qint64> found;
        const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString &process : processes) {
            if (QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process)) == QStringLiteral(WORKER_PROGRAM))
                found << process.toLongLong();
        }
        return found;
    }
#endif
};

} // namespace support
