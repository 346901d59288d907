#include "FunctionMethods.h"

#include "CommandError.h"

#include <algorithm>
#include <limits>

namespace
{

using Option = MethodOption;
using Range = OptionRange;

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double largestInteger = std::numeric_limits<int>::max();

constexpr Range anySwitch = {0, 1};
constexpr Range positive = {0, infinite, Range::WithoutLeast};
constexpr Range notNegative = {0, infinite};
constexpr Range distance = {1e-6, 1e9};
constexpr Range count = {1, largestInteger};

/// The same in every case.
constexpr std::array<double, 4> always(double value)
{
    return {value, value, value, value};
}

constexpr Option fastNormal = {"--fast-normal",
                               Option::Flag,
                               {0, 1, 0, 0},
                               anySwitch,
                               "Turn normals upwards instead of making them agree with their neighbours; faster, and "
                               "right for terrain"};
constexpr Option maxIterations = {"--max-iterations", Option::Integer, always(100), {1, 100000}, "Rounds at most"};
constexpr Option clusters = {"--clusters", Option::Integer, always(8), {1, 10000}, "Number of clusters"};
constexpr Option minCluster = {"--min-cluster", Option::Integer, always(50), count,
                               "Points of the smallest cluster that is kept"};
constexpr Option maxCluster = {"--max-cluster", Option::Integer, always(100000000), count,
                               "Points of the largest cluster that is kept, no fewer than --min-cluster"};

bool isInteger(const Option &option)
{
    return option.kind == Option::Integer;
}

QVariant valueOf(const Option &option, const std::string &text)
{
    if (option.kind == Option::Flag)
        return text == "true";
    bool isSound = false;
    const QString given = argument(text);
    QVariant value = isInteger(option) ? QVariant(given.toInt(&isSound)) : QVariant(given.toDouble(&isSound));
    if (isSound && option.range.contains(value.toDouble()))
        return value;
    throw CommandError(QStringLiteral("%1 takes a %2 %3, and not %4")
                           .arg(QLatin1String(option.name),
                                isInteger(option) ? QStringLiteral("whole number") : QStringLiteral("number"),
                                option.range.text(), quoted(given)));
}

QVariant valueOf(const Option &option, Preset preset)
{
    const double value = option.valueFor(preset);
    switch (option.kind) {
    case Option::Flag:
        return value != 0.0;
    case Option::Integer:
        return static_cast<int>(value);
    case Option::Number:
        break;
    }
    return value;
}

QString numberText(double number)
{
    constexpr int digits = 10;
    return QString::number(number, 'g', digits);
}

QString valueText(const Option &option, Preset preset)
{
    const double value = option.valueFor(preset);
    if (option.kind == Option::Flag)
        return value != 0.0 ? QStringLiteral("on") : QStringLiteral("off");
    return numberText(value);
}

/// The values without the option: as "1; terrain 2, building 0.3".
QString valuesText(const Option &option)
{
    QStringList others;
    for (const PresetCase &one : presetCases) {
        if (option.valueFor(one.preset) != option.valueFor(Preset::None))
            others << QLatin1String(one.name) + QLatin1Char(' ') + valueText(option, one.preset);
    }
    const QString standard = valueText(option, Preset::None);
    return others.isEmpty() ? standard : standard + QStringLiteral("; ") + others.join(QStringLiteral(", "));
}

std::string helpOf(const Option &option)
{
    QString help = QString::fromUtf8(option.help);
    if (option.kind != Option::Flag)
        help += QStringLiteral("; ") + option.range.text();
    return (help + QStringLiteral(" [%1]").arg(valuesText(option))).toStdString();
}

} // namespace

bool OptionRange::contains(double value) const
{
    const bool isLowEnough = ends == WithoutMost ? value < most : value <= most;
    const bool isHighEnough = ends == WithoutLeast ? value > least : value >= least;
    return isLowEnough && isHighEnough && value < infinite;
}

QString OptionRange::text() const
{
    QString words = (ends == WithoutLeast ? QStringLiteral("above ") : QStringLiteral("from ")) + numberText(least);
    if (most < largestInteger || ends == WithoutMost)
        words += (ends == WithoutMost ? QStringLiteral(" to below ") : QStringLiteral(" to ")) + numberText(most);
    return words;
}

const std::vector<Method> &meshMethods()
{
    static const std::vector<Method> methods = {
        {"alpha",
         Function_mesh_alpha,
         "alpha shape",
         {fastNormal,
          {"--alpha",
           Option::Number,
           {1, 2, 0.3, 0.02},
           positive,
           "Radius of the balls that carve the shape, in position units; about three times the spacing of the "
           "points"}}},
        {"ball-pivoting",
         Function_mesh_ball_pivoting,
         "a ball rolls over the points",
         {fastNormal,
          {"--radius", Option::Number, always(0), notNegative,
           "Radius of the ball in position units, 0: from the spacing of the points"}}},
        {"poisson",
         Function_mesh_poisson,
         "a smooth closed surface near the points",
         {fastNormal,
          {"--depth", Option::Integer, always(9), {2, 14}, "Depth of the octree, each step doubles the detail"},
          {"--width",
           Option::Number,
           {0, 1, 0.1, 0.01},
           notNegative,
           "Width of its finest cells in position units, instead of --depth, 0: none"},
          {"--density-quantile",
           Option::Number,
           always(0.05),
           {0, 1, Range::WithoutMost},
           "Share of the surface, where points were fewest, that is taken away"}}},
    };
    return methods;
}

const std::vector<Method> &splitMethods()
{
    static const std::vector<Method> methods = {
        {"dbscan",
         Function_split_dbscan,
         "dense regions, and noise",
         {{"--epsilon", Option::Number, {1, 2, 0.5, 0.03}, distance, "Radius of a neighbourhood in position units"},
          {"--min-points", Option::Integer, always(10), count, "Points in it that make a dense place"},
          {"--retain-noise", Option::Flag, always(0), anySwitch, "Keep what belongs to no cluster as a last block"}}},
        {"kmeans", Function_split_kmeans, "so many round clusters, random start", {maxIterations, clusters}},
        {"kmeans-extra", Function_split_kmeans_extra, "the same with a spread start", {maxIterations, clusters}},
        {"euclidean",
         Function_split_euclidean,
         "what lies apart",
         {{"--tolerance",
           Option::Number,
           {1, 1.5, 0.5, 0.02},
           distance,
           "Distance up to which points belong together, in position units"},
          minCluster,
          maxCluster}},
        {"euclidean-fast",
         Function_split_euclidean_fast,
         "the same on a grid of cells",
         {{"--cell", Option::Number, {1, 1.5, 0.5, 0.02}, distance, "Edge of the cells in position units"},
          {"--max-size",
           Option::Integer,
           always(0),
           {0, largestInteger},
           "Points of a cluster at most, larger ones are cut, 0: any number"}}},
        {"region-growing",
         Function_split_region_growing,
         "smooth surfaces",
         {{"--tolerance", Option::Integer, always(30), {3, 1000}, "Number of neighbours that tell the surface"},
          {"--smooth", Option::Number, {5, 8, 5, 10}, {0, 90}, "Angle between normals of one surface, in degrees"},
          {"--curvature",
           Option::Number,
           always(0.05),
           {0, 1},
           "Curvature up to which a point lets the surface grow: 0 on a plane, 1/3 where it has no direction"},
          minCluster,
          maxCluster}},
        {"patchwork", Function_split_pachwork, "ground and the rest, without parameters", {}},
        {"csf",
         Function_split_csf,
         "ground and the rest, by a cloth laid over the survey from below",
         {{"--slope-smooth", Option::Flag, {0, 1, 0, 0}, anySwitch, "Let the cloth follow steep slopes"},
          {"--threshold",
           Option::Number,
           {0.5, 0.5, 0.2, 0.02},
           {0.001, 100},
           "Distance from the cloth up to which a point is ground, in position units"},
          {"--cloth-resolution",
           Option::Number,
           {1, 1, 0.5, 0.1},
           {0.01, 1000},
           "Spacing of the cloth, in position units"},
          {"--iterations", Option::Integer, always(500), {1, 10000}, "Rounds at most"},
          {"--rigidness", Option::Integer, {2, 2, 3, 3}, {1, 3}, "1 for mountains, 2 for hills, 3 for flat land"},
          {"--time-step", Option::Number, always(0.65), {0.01, 2}, "Time of a round, longer ones press harder"},
          {"--remove-ground", Option::Flag, always(0), anySwitch, "Keep the rest alone"}}},
    };
    return methods;
}

const std::vector<Method> &sampleMethods()
{
    static const std::vector<Method> methods = {
        {"poisson-disk",
         Function_sample_poisson_disk,
         "evenly spread points",
         {{"--percent",
           Option::Number,
           {10, 25, 25, 50},
           {0, 100, Range::WithoutLeast},
           "Share of the points that stays, in per cent"},
          {"--init-factor",
           Option::Number,
           always(5),
           {1, 1000, Range::WithoutLeast},
           "Samples drawn for each that stays, over a mesh only"},
          {"--mesh-alpha", Option::Number, always(0), notNegative,
           "Draw from an alpha shape of this radius in position units, with new points and positions alone, 0: choose "
           "among the points, which keep all their columns"}}},
    };
    return methods;
}

QVariantList parametersOf(const Method &method, Preset preset, const GivenOptions &given)
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
        parameters << (found == given.end() ? valueOf(option, preset) : valueOf(option, found->second));
    }
    return parameters;
}

std::string helpOf(const std::vector<Method> &methods, const std::string &option)
{
    std::vector<std::pair<std::string, std::string>> texts; ///< methods, help
    for (const Method &method : methods) {
        for (const Option &one : method.options) {
            if (option != one.name)
                continue;
            if (!texts.empty() && texts.back().second == helpOf(one))
                texts.back().first += std::string(", ") + method.name;
            else
                texts.emplace_back(method.name, helpOf(one));
        }
    }
    std::string help;
    for (const auto &[names, text] : texts) {
        help += help.empty() ? "" : "; ";
        if (methods.size() > 1)
            help.append(names).append(": ");
        help += text;
    }
    return help;
}
