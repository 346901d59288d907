#include "FunctionConfig.h"

#include <QSettings>

#include <algorithm>
#include <iterator>

namespace ptCloud
{

namespace
{

/// One parameter of a function: the key that the worker reads, and how an element of the host's list becomes its value.
struct Parameter
{
    const char *key;
    QVariant (*convert)(const QVariant &);
};

struct Function
{
    EPtCloud_Function id;
    const char *logName;
    Parameter parameters[7]; ///< in the order of the host's list; those behind the last have no key
};

QVariant boolean(const QVariant &element)
{
    return element.toBool();
}

QVariant integer(const QVariant &element)
{
    return element.toInt();
}

QVariant unsignedInteger(const QVariant &element)
{
    return element.toUInt();
}

QVariant number(const QVariant &element)
{
    return element.toDouble();
}

QVariant text(const QVariant &element)
{
    return element.toString();
}

// The spelling of each key is what workers read.
constexpr Function functions[] = {
    {Function_mesh_alpha, "mesh_alpha", {{"fastNormal", boolean}, {"alpha", number}}},
    {Function_mesh_ball_pivoting, "mesh_ball_pivoting", {{"fastNormal", boolean}, {"radius", number}}},
    {Function_mesh_poisson,
     "mesh_poisson",
     {{"fastNormal", boolean}, {"depth", unsignedInteger}, {"width", number}, {"desity_divide", number}}},
    {Function_dem,
     "",
     {{"meshAbsFilepath", text},
      {"heightMapAbsFilepath", text},
      {"largePixels", unsignedInteger},
      {"contourAbsFilepath", text},
      {"contourPeace", unsignedInteger},
      {"treeClassifyAbsFilepath", text}}},
    {Function_split_dbscan, "split_dbscan", {{"epsilon", number}, {"minpts", integer}, {"retainNoise", boolean}}},
    {Function_split_kmeans, "split_kmeans", {{"maxIteration", integer}, {"clusterNum", integer}}},
    {Function_split_kmeans_extra, "split_kmeans_extra", {{"maxIteration", integer}, {"clusterNum", integer}}},
    {Function_split_euclidean,
     "split_euclidean",
     {{"tolerance", number}, {"minCluster", integer}, {"maxCluster", integer}}},
    {Function_split_euclidean_fast, "split_euclidean_fast", {{"disTh", number}, {"maxSize", integer}}},
    {Function_split_region_growing,
     "split_region_growing",
     {{"tolerance", integer}, {"smooth", number}, {"cure", number}, {"minCluster", integer}, {"maxCluster", integer}}},
    {Function_split_pachwork, "split_pachwork++", {}},
    {Function_split_csf,
     "split_csf",
     {{"sloopSmooth", boolean},
      {"class_threshold", number},
      {"cloth_resolution", number},
      {"interations", integer},
      {"rigidness", integer},
      {"time_step", number},
      {"remove_ground", boolean}}},
    {Function_sample_poisson_disk,
     "sample_poisson_disk",
     {{"targetPercents", number}, {"init_factor", number}, {"makeMeshAlpha", number}}},
};

/// Null for a value that is no function.
const Function *findFunction(EPtCloud_Function id)
{
    const auto *const found = std::find_if(std::begin(functions), std::end(functions),
                                           [id](const Function &function) { return function.id == id; });
    return found == std::end(functions) ? nullptr : found;
}

void setValue(QSettings &settings, const char *key, const QVariant &value)
{
    settings.setValue(QStringLiteral("/%1/%2").arg(QLatin1String("section"), QLatin1String(key)), value);
}

} // namespace

QString functionLogName(EPtCloud_Function function)
{
    const Function *const found = findFunction(function);
    return found == nullptr ? QString() : QString::fromLatin1(found->logName);
}

bool writeFunctionConfig(const stFunctionConfig &config, const QString &path)
{
    QSettings settings(path, QSettings::IniFormat);
    setValue(settings, "function", static_cast<int>(config.function));
    setValue(settings, "source_filepath", config.sourceFilepath);
    setValue(settings, "dest_filepath", config.destFilepath);
    const Function *const function = findFunction(config.function);
    if (function == nullptr)
        return false;
    const QVariantList elements = config.params.toList();
    int position = 0;
    for (const Parameter &parameter : function->parameters) {
        if (parameter.key == nullptr)
            break;
        setValue(settings, parameter.key, parameter.convert(elements.value(position++)));
    }
    return true;
}

} // namespace ptCloud
