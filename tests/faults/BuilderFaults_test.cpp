#include "FaultTesting.h"

using support::FaultRow;
using support::Faults;
using support::ToldRule;

namespace
{

#define TARGET "inside/built/target"

const ToldRule recordsThatCantBeRead = {
    "a reading error in a LAS file drops records or leaves zeros, and does not fail the build", "read seek", "",
    TARGET};
const ToldRule recordsThatAreLeftOut = {"records that can't be read are not there", "read seek", R"(true\|\d+)"};

const FaultRow rows[] = {
    {"BuildLas", "build-las", "true", "false", TARGET, {recordsThatCantBeRead}, "close"},
    {"BuildArray", "build-array", "true", "false", TARGET, {}, "close"},
    {"BuildArrays", "build-arrays", "true", "false", TARGET, {}, "close"},
    {"BuildSplitted", "build-splitted", "true", "false", TARGET, {}, "close"},
    {"BuildMemory", "build-memory", "true", "false", TARGET, {}, "close"},
    {"BuildMerge", "build-merge", "true", "false", TARGET, {}, "close"},
    {"ReadMemory", "read-memory", R"(true\|3 .*)", R"(false\|0 .*)", ""},
    {"ReadBlocks", "read-blocks", R"(true(\|[0-9a-f]{32}){3})", R"(false|true(\|([0-9a-f]{32}|null)){3})", ""},
    {"ReadLas", "read-las", R"(true\|3000)", "false", "", {recordsThatAreLeftOut}},
};

INSTANTIATE_TEST_SUITE_P(Builder, Faults, ::testing::ValuesIn(rows), support::FaultRowName());

} // namespace
