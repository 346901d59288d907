#pragma once

#include "PtCloud_Types.h"

#include <QVariant>

#include <map>
#include <string>
#include <vector>

/// One parameter of a function that the worker runs, as an option of the command line.
struct MethodOption
{
    enum Kind { Flag, Integer, Number };

    const char *name; ///< as "--alpha"
    Kind kind;
    double standard; ///< what a method gets without the option
    const char *help;
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

/// What the command line gave: the text of each option by its name; a flag is "true".
using GivenOptions = std::map<std::string, std::string>;

/// The function's parameters in order. Throws `CommandError` for an option of another method and for text that is no
/// number of its kind.
QVariantList parametersOf(const Method &method, const GivenOptions &given);
