#pragma once

#include "PtCloud_Types.h"

#include <QVariant>

#include <array>
#include <map>
#include <string>
#include <vector>

/// The usual cases, for each of which the options have values of their own.
enum class Preset { None, Terrain, Building, Object };

struct PresetCase
{
    Preset preset;
    const char *name; ///< as on the command line
    const char *help;
};

/// All cases but `None`, in the order of `MethodOption::values`.
constexpr PresetCase presetCases[] = {
    {Preset::Terrain, "terrain", "an airborne survey of about 4 points to a square metre"},
    {Preset::Building, "building", "facades and roofs, with points some centimetres to decimetres apart"},
    {Preset::Object, "object", "a scanned thing of about a metre, with points some millimetres to a centimetre apart"},
};

/// The numbers that an option takes. The worker takes the same, and names its own keys where it refuses one.
struct OptionRange
{
    enum Ends { Closed, WithoutLeast, WithoutMost };

    double least;
    double most;
    Ends ends = Closed;

    bool contains(double value) const;
    /// As "from 2 to 14", "above 0".
    QString text() const;
};

/// One parameter of a function that the worker runs, as an option of the command line.
struct MethodOption
{
    enum Kind { Flag, Integer, Number };

    const char *name; ///< as "--alpha"
    Kind kind;
    std::array<double, 1 + std::size(presetCases)> values; ///< what a method gets without the option, by `Preset`
    OptionRange range;
    const char *help; ///< meaning and unit

    double valueFor(Preset preset) const { return values.at(static_cast<std::size_t>(preset)); }
};

/// A function of the worker; its options come in the order in which the worker's settings take them.
struct Method
{
    const char *name;
    EPtCloud_Function function;
    const char *help;
    std::vector<MethodOption> options;
};

/// The methods of `ptcloud mesh`, of `split` and of `sample`.
const std::vector<Method> &meshMethods();
const std::vector<Method> &splitMethods();
const std::vector<Method> &sampleMethods();

/// What the command line gave: the text of each option by its name; a flag is "true" or "false".
using GivenOptions = std::map<std::string, std::string>;

/// The function's parameters in order: what was given, and the preset's values for the rest. Throws `CommandError` for
/// an option of another method, for text that is no number of its kind, and for a number out of range.
QVariantList parametersOf(const Method &method, Preset preset, const GivenOptions &given);

/// Meaning, unit, range and values of an option for the help of a command; where its methods differ, for each of them.
std::string helpOf(const std::vector<Method> &methods, const std::string &option);
