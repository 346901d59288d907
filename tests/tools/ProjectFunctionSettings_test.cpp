#include "FunctionCommandTesting.h"

#include <ostream>
#include <string>
#include <vector>

using support::words;

namespace
{

/// An option of a method, and the worker's setting that it stands for.
struct Option
{
    const char *name;
    const char *key;
    const char *standard; ///< the setting without the option
    const char *given;    ///< another value for it; empty for a flag
    const char *unit;     ///< how the help tells the unit of a length or an angle; empty for the rest
};

struct Method
{
    const char *name;
    const char *line; ///< the command without options
    const char *function;
    const char *destination; ///< in the project
    std::vector<Option> options;
};

void PrintTo(const Method &method, std::ostream *out)
{
    *out << method.line;
}

constexpr const char *units = "position units";
constexpr Option fastNormal = {"--fast-normal", "fastNormal", "false", "", ""};
constexpr Option maxIterations = {"--max-iterations", "maxIteration", "100", "31", ""};
constexpr Option clusters = {"--clusters", "clusterNum", "8", "32", ""};
constexpr Option minCluster = {"--min-cluster", "minCluster", "50", "33", ""};
constexpr Option maxCluster = {"--max-cluster", "maxCluster", "100000000", "34", ""};

const Method methods[] = {
    {"MeshAlpha",
     "mesh site new --method alpha",
     "0",
     "site/new.mesh",
     {fastNormal, {"--alpha", "alpha", "1", "2.25", units}}},
    {"MeshBallPivoting",
     "mesh site new --method ball-pivoting",
     "1",
     "site/new.mesh",
     {fastNormal, {"--radius", "radius", "0", "0.125", units}}},
    {"MeshPoisson",
     "mesh site new --method poisson",
     "2",
     "site/new.mesh",
     {fastNormal,
      {"--depth", "depth", "9", "12", ""},
      {"--width", "width", "0", "1.5", units},
      {"--density-quantile", "desity_divide", "0.05", "0.25", ""}}},
    {"SplitDbscan",
     "split site new --method dbscan",
     "100",
     "site/new.split",
     {{"--epsilon", "epsilon", "1", "0.5", units},
      {"--min-points", "minpts", "10", "7", ""},
      {"--retain-noise", "retainNoise", "false", "", ""}}},
    {"SplitKmeans", "split site new --method kmeans", "101", "site/new.split", {maxIterations, clusters}},
    {"SplitKmeansExtra", "split site new --method kmeans-extra", "102", "site/new.split", {maxIterations, clusters}},
    {"SplitEuclidean",
     "split site new --method euclidean",
     "103",
     "site/new.split",
     {{"--tolerance", "tolerance", "1", "0.75", units}, minCluster, maxCluster}},
    {"SplitEuclideanFast",
     "split site new --method euclidean-fast",
     "104",
     "site/new.split",
     {{"--cell", "disTh", "1", "3.5", units}, {"--max-size", "maxSize", "0", "4000", ""}}},
    {"SplitRegionGrowing",
     "split site new --method region-growing",
     "105",
     "site/new.split",
     {{"--tolerance", "tolerance", "30", "17", ""},
      {"--smooth", "smooth", "5", "7.5", "degrees"},
      {"--curvature", "cure", "0.05", "0.25", ""},
      minCluster,
      maxCluster}},
    {"SplitPatchwork", "split site new --method patchwork", "106", "site/new.split", {}},
    {"SplitCsf",
     "split site new --method csf",
     "107",
     "site/new.split",
     {{"--slope-smooth", "sloopSmooth", "false", "", ""},
      {"--threshold", "class_threshold", "0.5", "0.375", units},
      {"--cloth-resolution", "cloth_resolution", "1", "2.5", units},
      {"--iterations", "interations", "500", "41", ""},
      {"--rigidness", "rigidness", "2", "3", ""},
      {"--time-step", "time_step", "0.65", "0.25", ""},
      {"--remove-ground", "remove_ground", "false", "", ""}}},
    {"Sample",
     "sample site",
     "200",
     "site/tmp_points",
     {{"--percent", "targetPercents", "10", "12.5", ""},
      {"--init-factor", "init_factor", "5", "6.5", ""},
      {"--mesh-alpha", "makeMeshAlpha", "0", "1.25", units}}}};

bool isFlag(const Option &option)
{
    return *option.given == '\0';
}

class FunctionSettings : public support::FunctionCommandTest, public ::testing::WithParamInterface<Method>
{
protected:
    /// What the worker must be told, of which `value` gives each option's part.
    template <typename Value>
    QMap<QString, QString> expected(const Value &value) const
    {
        QMap<QString, QString> settings = {{key("function"), QString::fromUtf8(GetParam().function)},
                                           {key("source_filepath"), inProject("site/Points")},
                                           {key("dest_filepath"), inProject(GetParam().destination)}};
        for (const Option &option : GetParam().options)
            settings[key(option.key)] = QString::fromUtf8(value(option));
        return settings;
    }
    /// The settings after a run of the host, whose worker takes the points for the result.
    QMap<QString, QString> settingsOf(const QStringList &options) const
    {
        script("copy");
        const auto host = start(words(GetParam().line) + options);
        EXPECT_EQ(host->finish(), 0) << host->errors().constData();
        return settings();
    }
    static QStringList arguments(const Option &option)
    {
        QStringList words(QString::fromUtf8(option.name));
        if (!isFlag(option))
            words << QString::fromUtf8(option.given);
        return words;
    }
    static const char *asGiven(const Option &option) { return isFlag(option) ? "true" : option.given; }
};

class FunctionOptions : public support::FunctionCommandTest
{
};

/// What the help tells of an option, on one line.
QByteArray helpOf(const QByteArray &help, const char *option)
{
    const QByteArray start = QByteArray("\n  ") + option + ' ';
    const int begin = help.indexOf(start);
    if (begin < 0)
        return {};
    return help.mid(begin, help.indexOf("\n  -", begin + 1) - begin).simplified();
}

} // namespace

TEST_P(FunctionSettings, HaveTheHostsValuesWithoutOptions)
{
    EXPECT_EQ(settingsOf({}), expected([](const Option &option) { return option.standard; }));
}

TEST_P(FunctionSettings, TakeEveryOption)
{
    QStringList options;
    for (const Option &option : GetParam().options)
        options << arguments(option);
    EXPECT_EQ(settingsOf(options), expected(asGiven));
}

TEST_P(FunctionSettings, TakeEachOptionAlone)
{
    for (const Option &single : GetParam().options) {
        // Each run makes the same result.
        QFile::remove(inProject("site/new.mesh"));
        QFile::remove(inProject("site/new.split"));
        EXPECT_EQ(settingsOf(arguments(single)), expected([&single](const Option &option) {
                      return option.name == single.name ? asGiven(option) : option.standard;
                  }))
            << single.name;
    }
}

TEST_P(FunctionSettings, AreToldByTheHelpWithUnits)
{
    const auto host = start({words(GetParam().line).first(), QStringLiteral("--help")});
    EXPECT_EQ(host->finish(), 0);
    for (const Option &option : GetParam().options) {
        const QByteArray told = helpOf(host->output(), option.name);
        EXPECT_FALSE(told.isEmpty()) << option.name;
        EXPECT_TRUE(told.contains(option.unit)) << told.constData();
        // Behind it stand the values of presets, where they differ.
        const QByteArray standard = QByteArray("[") + (isFlag(option) ? "off" : option.standard);
        EXPECT_TRUE(told.contains(standard + ']') || told.contains(standard + "; ")) << told.constData();
    }
}

TEST_P(FunctionSettings, TakeNothingThatIsNoNumber)
{
    for (const Option &option : GetParam().options) {
        if (isFlag(option))
            continue;
        for (const char *bad : {"many", "1x", "nan", "inf", "1e999"}) {
            SCOPED_TRACE(bad);
            QStringList line = words(GetParam().line);
            expectNoRun(line << QString::fromUtf8(option.name) << QString::fromUtf8(bad), "", option.name);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Project, FunctionSettings, ::testing::ValuesIn(methods), support::CaseName());

TEST_F(FunctionOptions, OfAnotherMethodAreRefused)
{
    expectNoRun("mesh site new --method alpha --radius 1", "", "--radius");
    expectNoRun("mesh site new --method ball-pivoting --alpha 1", "", "--alpha");
    expectNoRun("mesh site new --method poisson --alpha 1", "", "--alpha");
    expectNoRun("split site new --method patchwork --tolerance 1", "", "--tolerance");
    expectNoRun("split site new --method kmeans --min-cluster 1", "", "--min-cluster");
    expectNoRun("split site new --method dbscan --remove-ground", "", "--remove-ground");
    expectNoRun("split site new --method csf --retain-noise", "", "--retain-noise");
}

TEST_F(FunctionOptions, OfWholeNumbersTakeNoFraction)
{
    expectNoRun("mesh site new --method poisson --depth 2.5", "", "--depth");
    expectNoRun("split site new --method dbscan --min-points 2.5", "", "--min-points");
    expectNoRun("split site new --method region-growing --tolerance 2.5", "", "--tolerance");
}

TEST_F(FunctionOptions, OfWholeNumbersTakeNoneThatDoesNotFit)
{
    expectNoRun("split site new --method kmeans --clusters 3000000000", "", "--clusters");
    expectNoRun("mesh site new --method poisson --depth 99999999999", "", "--depth");
    // The worker takes it without a sign.
    expectNoRun("mesh site new --method poisson --depth -1", "", "--depth");
}

TEST_F(FunctionOptions, OutOfRangeAreRefusedBeforeTheRun)
{
    expectNoRun("mesh site new --method alpha --alpha 0", "", "--alpha takes a number above 0");
    expectNoRun("mesh site new --method poisson --depth 15", "", "--depth takes a whole number from 2 to 14");
    expectNoRun("split site new --method csf --rigidness 4", "", "--rigidness takes a whole number from 1 to 3");
    expectNoRun("sample site --percent 100.5", "", "--percent takes a number above 0 to 100");
}

TEST_F(FunctionOptions, ComeFromThePresetUnlessTheyAreGiven)
{
    script("copy");
    EXPECT_EQ(start("mesh site new --method alpha --preset terrain")->finish(), 0);
    EXPECT_EQ(settings().value(key("fastNormal")), QStringLiteral("true"));
    EXPECT_EQ(settings().value(key("alpha")), QStringLiteral("2"));
    EXPECT_EQ(start("mesh site another --method alpha --preset terrain --alpha 3 --fast-normal=false")->finish(), 0);
    EXPECT_EQ(settings().value(key("fastNormal")), QStringLiteral("false"));
    EXPECT_EQ(settings().value(key("alpha")), QStringLiteral("3"));
    EXPECT_EQ(start("split site new --method csf --preset building")->finish(), 0);
    EXPECT_EQ(settings().value(key("class_threshold")), QStringLiteral("0.2"));
    EXPECT_EQ(start("sample site --preset object")->finish(), 0);
    EXPECT_EQ(settings().value(key("targetPercents")), QStringLiteral("50"));
}

TEST_F(FunctionOptions, HaveNoOtherPresets)
{
    expectWrongUsage("mesh site new --method alpha --preset forest");
    expectWrongUsage("sample site --preset");
    expectWrongUsage("dem site --preset terrain");
}

TEST_F(FunctionOptions, OfAnotherCommandAreWrongUsage)
{
    expectWrongUsage("mesh site new --method alpha --epsilon 1");
    expectWrongUsage("split site new --method dbscan --alpha 1");
    expectWrongUsage("sample site --alpha 1");
    expectWrongUsage("dem site --percent 10");
}

TEST_F(FunctionOptions, MustNameAMethodThatExists)
{
    expectWrongUsage("mesh site new --method carving");
    expectWrongUsage("mesh site new --method dbscan");
    expectWrongUsage("split site new --method alpha");
    expectWrongUsage("mesh site new");
    expectWrongUsage("split site new");
}

TEST_F(FunctionOptions, MustNameADataSetAndAResult)
{
    expectWrongUsage("mesh site --method alpha");
    expectWrongUsage("split site --method dbscan");
    expectWrongUsage("sample");
    expectWrongUsage("dem");
}

TEST_F(FunctionOptions, OfTheTerrainHaveRanges)
{
    expectWrongUsage("dem site --pixels 0");
    expectWrongUsage("dem site --pixels -1");
    expectWrongUsage("dem site --pixels many");
    expectWrongUsage("dem site --contours 0");
    expectWrongUsage("dem site --contours 2.5");
    expectWrongUsage("dem site --only roofs");
    expectWrongUsage("dem site --only mesh,roofs");
}

TEST_F(FunctionOptions, OfAnEarlierFunctionDoNotCount)
{
    script("copy");
    EXPECT_EQ(start("mesh site new --method alpha --alpha 3")->finish(), 0);
    EXPECT_EQ(start("split site new --method euclidean --tolerance 2.5")->finish(), 0);
    EXPECT_EQ(settings().value(key("function")), QStringLiteral("103"));
    EXPECT_EQ(settings().value(key("dest_filepath")), inProject("site/new.split"));
    EXPECT_EQ(settings().value(key("tolerance")), QStringLiteral("2.5"));
    EXPECT_EQ(settings().value(key("alpha")), QStringLiteral("3"));
}
