// The worker's settings file: what the worker reads of it, and what the host leaves when it writes into it.

#include "Bytes.h"
#include "Driver.h"
#include "Failure.h"
#include "FunctionConfig.h"
#include "Parameters.h"

#include <QFile>

#include <cmath>
#include <optional>

using fuzz::check;

namespace
{

const char *const keys[] = {"function",        "source_filepath", "dest_filepath", "fastNormal",     "alpha",
                            "radius",          "depth",           "width",         "desity_divide",  "meshAbsFilepath",
                            "largePixels",     "contourPeace",    "epsilon",       "minpts",         "retainNoise",
                            "maxIteration",    "clusterNum",      "tolerance",     "minCluster",     "maxCluster",
                            "disTh",           "maxSize",         "smooth",        "cure",           "sloopSmooth",
                            "class_threshold", "interations",     "rigidness",     "targetPercents", "init_factor",
                            "makeMeshAlpha"};

/// A file of a name that has not been used for a while: Qt remembers the last thirty files of settings by their names,
/// and would not look again at one that has changed within a moment.
class SettingsFile
{
public:
    explicit SettingsFile(const QByteArray &bytes)
    {
        static int number = 0;
        constexpr int names = 100;
        number = (number + 1) % names;
        m_path = fuzz::scratchFile(QStringLiteral("settings%1.ini").arg(number), bytes);
    }
    ~SettingsFile() { QFile::remove(m_path); }
    SettingsFile(const SettingsFile &) = delete;
    SettingsFile &operator=(const SettingsFile &) = delete;

    QString path() const { return m_path; }
    QByteArray bytes() const { return support::readFile(m_path); }

private:
    QString m_path;
};

std::optional<Parameters> read(const QString &path)
{
    try {
        return Parameters::fromFile(path);
    } catch (const Failure &failure) {
        check(failure.code() == ExitCode::ConfigFile, "a file that can't be read ends with another code");
        return std::nullopt;
    }
}

/// The answer of a getter; nothing where it refuses the value.
template <typename Get>
auto ask(const Get &get) -> std::optional<decltype(get())>
{
    try {
        return get();
    } catch (const Failure &failure) {
        check(failure.code() == ExitCode::Argument, "a value that can't be ends with another code");
        return std::nullopt;
    }
}

void askAll(const Parameters &parameters)
{
    constexpr Range range = {0.5, 100};
    constexpr int least = 1;
    constexpr int most = 10000;
    for (const char *const key : keys) {
        // Of a key that is missing every other getter says so, too.
        if (parameters.text(key).isNull()) {
            check(!ask([&] { return parameters.flag(key); }), "a key that is missing has a value");
            continue;
        }
        const auto number = ask([&] { return parameters.number(key); });
        check(!number || std::isfinite(*number), "a number is none");
        const auto held = ask([&] { return parameters.number(key, range); });
        check(!held || (*held >= range.least && *held <= range.most), "a number is out of its range");
        const auto integer = ask([&] { return parameters.integer(key); });
        check(!integer || (number && *number == *integer), "a whole number is another as a number");
        const auto heldInteger = ask([&] { return parameters.integer(key, least, most); });
        check(!heldInteger || (*heldInteger >= least && *heldInteger <= most), "a whole number is out of its range");
        ask([&] { return parameters.flag(key); });
    }
}

/// The worker reads what the host wrote, whatever stood in the file before.
void checkHost(const QByteArray &before)
{
    const EPtCloud_Function function = Function_split_dbscan;
    const SettingsFile host(before);
    ptCloud::stFunctionConfig config;
    config.function = function;
    config.params = QVariantList{0.5, 10, true};
    config.sourceFilepath = QString::fromUtf8("/a b/\xc3\xa4;x,y=\"z\"\\n");
    config.destFilepath = QStringLiteral("/out");
    check(ptCloud::writeFunctionConfig(config, host.path()), "the host can't write the settings");
    const SettingsFile worker(host.bytes());
    const Parameters parameters = Parameters::fromFile(worker.path());
    check(parameters.integer("function") == function, "the worker reads another function");
    check(parameters.text("source_filepath") == config.sourceFilepath, "the worker reads another source");
    check(parameters.text("dest_filepath") == config.destFilepath, "the worker reads another destination");
    check(parameters.number("epsilon") == 0.5 && parameters.integer("minpts") == 10 && parameters.flag("retainNoise"),
          "the worker reads other values");
}

bool run(const QByteArray &input)
{
    const SettingsFile first(input);
    const SettingsFile second(input);
    const std::optional<Parameters> parameters = read(first.path());
    const std::optional<Parameters> again = read(second.path());
    check(parameters.has_value() == again.has_value(), "a file is taken once and refused once");
    check(first.bytes() == input, "reading changed the file");
    if (parameters) {
        for (const char *const key : keys)
            check(parameters->text(key) == again->text(key), "a file read twice gives two texts");
        askAll(*parameters);
    }
    checkHost(input);
    return parameters.has_value();
}

QByteArray settingsOf(EPtCloud_Function function, const QVariantList &values)
{
    const SettingsFile file({});
    ptCloud::stFunctionConfig config;
    config.function = function;
    config.params = values;
    config.sourceFilepath = QString::fromUtf8("/caf\xc3\xa9/a, b/Points");
    config.destFilepath = QStringLiteral("/caf/roof.mesh");
    check(ptCloud::writeFunctionConfig(config, file.path()), "the host can't write the settings");
    return file.bytes();
}

std::vector<fuzz::Seed> seeds()
{
    return {
        {"mesh", settingsOf(Function_mesh_poisson, {true, 8U, 0.25, 1e-3})},
        {"terrain", settingsOf(Function_dem, {QString(), QStringLiteral("/h.png"), 512U, QString(), 10U, QString()})},
        {"cloth", settingsOf(Function_split_csf, {true, 0.5, 1.0, 500, 3, 0.65, false})},
        {"byHand", "; a note\n[section]\nfunction=100\nepsilon = 1.5\nminpts=\"7\"\nretainNoise=TRUE\n"
                   "source_filepath=/caf\xc3\xa9/a, b\n[other]\nlist=1, 2, \"3\"\nodd\\key=@Invalid()\n"}};
}

const fuzz::Driver driver("WorkerSettings", run, seeds);

} // namespace
