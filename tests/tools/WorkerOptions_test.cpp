// The options that the host offers for the worker's functions: their ranges and presets are those of the worker, and
// the help tells them.

#include "CommandError.h"
#include "Failure.h"
#include "Function.h"
#include "FunctionMethods.h"
#include "Parameters.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cmath>
#include <ostream>

namespace
{

/// The worker's keys in the order of the host's parameters.
const std::map<EPtCloud_Function, QStringList> &workerKeys()
{
    const auto keys = [](const char *words) { return QString::fromUtf8(words).split(QLatin1Char(' ')); };
    static const std::map<EPtCloud_Function, QStringList> all = {
        {Function_mesh_alpha, keys("fastNormal alpha")},
        {Function_mesh_ball_pivoting, keys("fastNormal radius")},
        {Function_mesh_poisson, keys("fastNormal depth width desity_divide")},
        {Function_split_dbscan, keys("epsilon minpts retainNoise")},
        {Function_split_kmeans, keys("maxIteration clusterNum")},
        {Function_split_kmeans_extra, keys("maxIteration clusterNum")},
        {Function_split_euclidean, keys("tolerance minCluster maxCluster")},
        {Function_split_euclidean_fast, keys("disTh maxSize")},
        {Function_split_region_growing, keys("tolerance smooth cure minCluster maxCluster")},
        {Function_split_pachwork, {}},
        {Function_split_csf,
         keys("sloopSmooth class_threshold cloth_resolution interations rigidness time_step remove_ground")},
        {Function_sample_poisson_disk, keys("targetPercents init_factor makeMeshAlpha")}};
    return all;
}

std::vector<Method> allMethods()
{
    std::vector<Method> all;
    for (const auto *methods : {&meshMethods(), &splitMethods(), &sampleMethods()})
        all.insert(all.end(), methods->begin(), methods->end());
    return all;
}

/// Whether the worker takes the parameters; it then misses its source.
bool isTakenByWorker(const Method &method, const QVariantList &parameters)
{
    const QTemporaryDir directory;
    QHash<QString, QString> values{{QStringLiteral("dest_filepath"), directory.filePath(QStringLiteral("result"))},
                                   {QStringLiteral("source_filepath"), directory.filePath(QStringLiteral("none"))}};
    const QStringList &keys = workerKeys().at(method.function);
    EXPECT_EQ(keys.size(), parameters.size()) << method.name;
    for (int i = 0; i < keys.size(); ++i)
        values[keys[i]] = parameters[i].toString();
    NoProgress progress;
    try {
        findFunction(method.function)(Parameters(values), progress);
    } catch (const Failure &failure) {
        EXPECT_TRUE(failure.code() == ExitCode::Argument || failure.code() == ExitCode::ReadSource) << failure.what();
        return failure.code() == ExitCode::ReadSource;
    }
    ADD_FAILURE() << "there is no source";
    return false;
}

bool isTakenByHost(const Method &method, const GivenOptions &given)
{
    try {
        parametersOf(method, Preset::None, given);
        return true;
    } catch (const CommandError &) {
        return false;
    }
}

/// The numbers at the ends of an option's range, with whether they belong to it.
std::vector<std::pair<double, bool>> endsOf(const MethodOption &option)
{
    const auto [least, most, ends] = option.range;
    const bool isInteger = option.kind == MethodOption::Integer;
    const auto next = [isInteger](double value, double towards) {
        return isInteger ? value + (towards > value ? 1 : -1) : std::nextafter(value, towards);
    };
    constexpr double infinite = std::numeric_limits<double>::infinity();
    std::vector<std::pair<double, bool>> numbers = {
        {least, ends != OptionRange::WithoutLeast}, {next(least, -infinite), false}, {next(least, infinite), true}};
    if (most < infinite && !(isInteger && most == std::numeric_limits<int>::max())) {
        numbers.insert(
            numbers.end(),
            {{most, ends != OptionRange::WithoutMost}, {next(most, infinite), false}, {next(most, -infinite), true}});
    }
    return numbers;
}

/// What lets the worker look at every option.
GivenOptions othersOf(const Method &method)
{
    GivenOptions given;
    for (const MethodOption &option : method.options) {
        for (const char *name : {"--min-cluster", "--mesh-alpha"}) {
            if (std::string(name) == option.name)
                given[name] = "1";
        }
    }
    return given;
}

std::string textOf(double number)
{
    constexpr int digits = 17;
    return QString::number(number, 'g', digits).toStdString();
}

} // namespace

TEST(WorkerOptions, HaveTheRangesOfTheWorker)
{
    for (const Method &method : allMethods()) {
        for (const MethodOption &option : method.options) {
            if (option.kind == MethodOption::Flag)
                continue;
            for (const auto &[number, isTaken] : endsOf(option)) {
                SCOPED_TRACE(std::string(method.name) + " " + option.name + " " + textOf(number));
                GivenOptions given = othersOf(method);
                given[option.name] = textOf(number);
                EXPECT_EQ(isTakenByHost(method, given), isTaken);
                // What the host refuses goes to the worker in the place of another value.
                QVariantList parameters = parametersOf(method, Preset::None, othersOf(method));
                parameters[static_cast<int>(&option - method.options.data())] = number;
                EXPECT_EQ(isTakenByWorker(method, parameters), isTaken);
            }
        }
    }
}

TEST(WorkerOptions, HavePresetsThatTheWorkerTakes)
{
    for (const Method &method : allMethods()) {
        EXPECT_TRUE(isTakenByWorker(method, parametersOf(method, Preset::None, {}))) << method.name;
        for (const PresetCase &one : presetCases)
            EXPECT_TRUE(isTakenByWorker(method, parametersOf(method, one.preset, {}))) << method.name << one.name;
    }
}

TEST(WorkerOptions, AreAsGivenWhateverThePreset)
{
    const Method &alpha = meshMethods().front();
    EXPECT_EQ(parametersOf(alpha, Preset::None, {}), QVariantList({false, 1.0}));
    EXPECT_EQ(parametersOf(alpha, Preset::Terrain, {}), QVariantList({true, 2.0}));
    EXPECT_EQ(parametersOf(alpha, Preset::Terrain, {{"--alpha", "7"}}), QVariantList({true, 7.0}));
    EXPECT_EQ(parametersOf(alpha, Preset::Terrain, {{"--fast-normal", "false"}}), QVariantList({false, 2.0}));
    EXPECT_EQ(parametersOf(alpha, Preset::Object, {{"--fast-normal", "true"}}), QVariantList({true, 0.02}));
}

TEST(WorkerOptions, AreToldWithRangeAndValues)
{
    const auto told = [](const char *option, const char *text) {
        return QString::fromStdString(helpOf(meshMethods(), option)).contains(QString::fromUtf8(text));
    };
    EXPECT_TRUE(told("--alpha", "; above 0 [1; terrain 2, building 0.3, object 0.02]"));
    EXPECT_TRUE(told("--depth", "; from 2 to 14 [9]"));
    EXPECT_TRUE(told("--density-quantile", "; from 0 to below 1 [0.05]"));
    EXPECT_TRUE(told("--radius", "; from 0 [0]"));
    EXPECT_TRUE(told("--fast-normal", "alpha, ball-pivoting, poisson: "));
    EXPECT_TRUE(told("--fast-normal", "[off; terrain on]"));
}

TEST(WorkerOptions, AreRefusedWithTheirRange)
{
    try {
        parametersOf(meshMethods().back(), Preset::None, {{"--depth", "15"}});
        FAIL() << "15 is out of range";
    } catch (const CommandError &error) {
        EXPECT_EQ(error.text().toStdString(), "--depth takes a whole number from 2 to 14, and not \"15\"");
    }
}
