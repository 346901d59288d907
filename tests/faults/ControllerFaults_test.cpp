#include "FaultTesting.h"

using support::FaultRow;
using support::Faults;
using support::ToldRule;

namespace
{

#define NEW "inside/project/new(/.*)?"
#define SOURCES "inside/project/[ab](/.*)?"

const ToldRule recordsThatCantBeRead = {
    "a reading error in a LAS file drops records or leaves zeros, and does not fail the build", "read seek", "",
    "inside/project/new/Points"};
const ToldRule contentsThatCantBeRead = {
    "a content that can't be read stays on disk and is not listed; points that can't be read leave the data set out",
    "open read seek list look memory", R"(true\|(a.las)?\|(a|b|a b)?\|)"};
const ToldRule aSaveThatIsCut = {"nobody looks at the stream: a save that is cut tells success", "write close", "",
                                 "inside/project/points_cloud.pcproj"};
const ToldRule sourcesThatStay = {"whether the directory of a source goes is not looked at", "remove list look memory",
                                  "", SOURCES};
const ToldRule aDirectoryThatStays = {"whether the directory goes is not looked at", "remove list look memory", "",
                                      "inside/project/a(/.*)?"};
const ToldRule aPartThatStays = {"what can't be removed stays", "remove list look", "", NEW};

const FaultRow rows[] = {
    {"Import", "import", R"(0\|a.las b.las\|a b\|\+b.las)", R"(2\|a.las\|a b\|)", ""},
    {"Columns", "columns", R"(12\|a.las\|a b\|)", R"(0\|a.las\|a b\|)", ""},
    {"Make", "make", R"(0\|a.las\|a b new\|\+new)", R"([25]\|a.las\|a b\|)", NEW, {recordsThatCantBeRead}, "close"},
    {"Copy", "copy", R"(0\|a.las\|a b new\|\+new)", R"(1\|a.las\|a b\|)", NEW},
    {"Merge", "merge", R"(0\|a.las\|a b new\|\+new)", R"(2\|a.las\|a b\|)", "", {aPartThatStays}, "close"},
    {"MergeAndRemove",
     "merge-and-remove",
     R"(0\|a.las\|new\|\+new -a -b)",
     R"(2\|a.las\|a b\|)",
     "",
     {aPartThatStays, sourcesThatStay},
     "close"},
    {"Rename", "rename", R"(0\|a.las\|b new\|a>new)", R"(2\|a.las\|a b\|)", ""},
    {"Remove", "remove", R"(0\|a.las\|b\|-a)", "", "", {aDirectoryThatStays}},
    {"Open", "open", R"(true\|a.las\|a b\|)", R"(false\|\|\|)", "", {contentsThatCantBeRead}},
    {"Save", "save", R"(true\|a.las b.las\|a b\|\+b.las)", R"(false\|a.las b.las\|a b\|\+b.las)", "", {aSaveThatIsCut}},
    {"RunFunction", "run-function", R"(0\|a.las\|a b\|)", R"([178]\|a.las\|a b\|)", ""},
};

INSTANTIATE_TEST_SUITE_P(Controller, Faults, ::testing::ValuesIn(rows), support::FaultRowName());

} // namespace
