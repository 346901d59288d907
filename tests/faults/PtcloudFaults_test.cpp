#include "FaultTesting.h"

using support::FaultRow;
using support::Faults;
using support::ToldRule;

namespace
{

#define NEW "inside/project/new(/.*)?"
#define OWN "inside/project/\\.ptcloud(/.*)?"

const ToldRule recordsThatCantBeRead = {
    "a reading error in a LAS file drops records or leaves zeros, and does not fail the build", "read seek", "",
    "inside/(built/target|project/new/Points)"};

const FaultRow files[] = {
    {"Las", "ptcloud las @/las/a.las", "0", "1", ""},
    {"Dump", "ptcloud dump @/project/a/Points", "0", "1", ""},
    {"Build", "ptcloud build @/built/target @/las/a.las", "0", "1", "inside/built/target", {recordsThatCantBeRead}},
    {"Convert", "ptcloud convert @/las/a.las @/built/out.las", "0", "1", ""},
    {"ExportLas", "ptcloud export @/project/a/Points @/built/out.las", "0", "1", ""},
    {"ExportPly", "ptcloud export @/project/a/roof.mesh @/built/out.ply", "0", "1", ""},
    {"ExportCsv", "ptcloud export @/project/a/Points @/built/out.csv", "0", "1", ""},
    {"Picture", "ptcloud picture @/project/a/Points @/built/out.png --by height", "0", "1", ""},
    {"Contours", "ptcloud contours @/project/a/dem.contour --picture @/built/out.png", "0", "1", ""},
    {"Volume",
     "ptcloud volume --points @/project/a/Points --areas @/areas.geojson --out @/built/out.volume --csv @/built/out.csv",
     "0",
     "1",
     ""},
    {"DemoLas", "ptcloud demo-las @/built/out.las --points 3000", "0", "1", ""},
};

const FaultRow projects[] = {
    {"New", "ptcloud new -p @/fresh", "0", "1", "inside/fresh(/.*)?"},
    {"List", "ptcloud list -p @/project", "0", "1", OWN},
    {"Import", "ptcloud import @/las/b.las -p @/project", "0", "1", OWN},
    {"Make", "ptcloud make new a.las -p @/project", "0", "1", OWN "|" NEW, {recordsThatCantBeRead}},
    {"Copy", "ptcloud copy a new -p @/project", "0", "1", OWN "|" NEW},
    {"MergeAndRemove", "ptcloud merge new a b --remove-sources -p @/project", "0", "1", OWN},
    {"Rename", "ptcloud rename a new -p @/project", "0", "1", OWN},
    {"Remove", "ptcloud remove b -p @/project", "0", "1", OWN},
    {"Volume", "ptcloud volume a --areas @/areas.geojson -p @/project", "0", "1", OWN},
};

INSTANTIATE_TEST_SUITE_P(PtcloudFiles, Faults, ::testing::ValuesIn(files), support::FaultRowName());
INSTANTIATE_TEST_SUITE_P(PtcloudProjects, Faults, ::testing::ValuesIn(projects), support::FaultRowName());

} // namespace
