#include "FaultTesting.h"

using support::FaultRow;
using support::Faults;
using support::ToldRule;

namespace
{

#define NEW "inside/project/new(/.*)?"
#define OWN "inside/(project|littered)/\\.ptcloud(/.*)?"

const ToldRule recordsThatCantBeRead = {
    "a reading error in a LAS file drops records or leaves zeros, and does not fail the build", "read seek", "",
    "inside/(built/target|project/new/Points)"};
const ToldRule aBuildThatStays = {"what a builder has written stays, and is no file that the host would write over",
                                  "write reserve seek truncate close read look", "", "inside/built/target", false};
const ToldRule filesThatDoNotLoad = {"a file that can't be read is shown as one that does not load",
                                     "open read seek look thread memory",
                                     "",
                                     "",
                                     true,
                                     ".*does not load: .*"};
const ToldRule aBuildThatFailsToClose = {"a build whose file fails to close has failed", "close"};
const ToldRule blocksThatAreLeftOut = {"a block that can't be read is left out of a volume", "read seek memory", "",
                                       "inside/(built/out.*|project/a/earth.volume)"};
const ToldRule aTemporaryDirectoryThatStays = {"a temporary directory that can't be listed or emptied stays",
                                               "remove list look open memory", "",
                                               "inside/tmp/ptcloud-[^/]*(/volume)?"};
const ToldRule entriesThatAreForgotten = {"what does not load is forgotten by the next save, with a warning",
                                          "open read seek list look memory", "",
                                          "inside/project/(.ptcloud/)?points_cloud.pcproj"};
const ToldRule aLockThatStays = {"a lock of a program that has ended holds nobody", "remove look list", "",
                                 "inside/(project|littered)/.ptcloud/lock"};
const ToldRule aProductThatIsDone = {"a product that is made stays where it can't be read back to be shown",
                                     "open read seek look list memory", "", "", false};
const ToldRule whatStoodThereBefore = {"what stood there before and can't be removed or put back is named, and stays",
                                       "remove rename", "", "inside/project/a/dem.*(\\.before)?", false};
const ToldRule thinnedPoints = {"thinned points that can't be put in place stay, and are named",
                                "open read seek look list memory", "", "", false};
const ToldRule pointsOutOfPlace = {"points that can't be moved or removed lie beside the data set's other files",
                                   "rename remove", "", "inside/project/a/(Points|tmp_points.*)", false};
const ToldRule aTemporaryFileThatStays = {
    "a file that is being written can't be removed from a disk that is gone: the next run names it", "remove", "",
    "inside/project/a/earth.volume\\.[A-Za-z]{6}", false};
const ToldRule aDirectoryOfItsOwn = {
    "a command that is refused in the end may have made the host's directory first, or not", "look mkdir", "", OWN};
const ToldRule aDirectoryThatStays = {"whether the directory of a data set goes is not looked at",
                                      "remove list look memory", "", "inside/project/[ab](/.*)?"};

const ToldRule workThatIsDone = {"what was merged, renamed or removed stays so where the save behind it fails",
                                 "open read write seek rename look list memory close sync", "",
                                 "inside/project/([ab]|new)(/.*)?"};

const FaultRow files[] = {
    {"Las", "ptcloud las @/las/a.las", "0", "1", "", {filesThatDoNotLoad}},
    {"Dump", "ptcloud dump @/project/a/Points", "0", "1", ""},
    {"Build",
     "ptcloud build @/built/target @/las/a.las",
     "0",
     "1",
     "inside/built/target",
     {recordsThatCantBeRead, aBuildThatStays}},
    {"Convert", "ptcloud convert @/las/a.las @/built/out.las", "0", "1", "inside/built/out.las.json"},
    {"ConvertPublished", "ptcloud convert @/las/published.las @/built/out.las", "0", "1", "inside/built/out.las.json"},
    {"ExportLas", "ptcloud export @/project/a/Points @/built/out.las", "0", "1", ""},
    {"ExportPly", "ptcloud export @/project/a/roof.mesh @/built/out.ply", "0", "1", ""},
    {"ExportCsv", "ptcloud export @/project/a/Points @/built/out.csv", "0", "1", ""},
    {"Picture", "ptcloud picture @/project/a/Points @/built/out.png --by height --size 64", "0", "1", ""},
    {"Contours", "ptcloud contours @/project/a/dem.contour --picture @/built/out.png", "0", "1", ""},
    {"Volume",
     "ptcloud volume --points @/project/a/Points --areas @/areas.geojson --out @/built/out.volume --csv "
     "@/built/out.csv",
     "0",
     "1",
     "inside/built/out.volume",
     {blocksThatAreLeftOut, aTemporaryDirectoryThatStays}},
    {"DemoLas", "ptcloud demo-las @/built/out.las --points 3000", "0", "1", ""},
};

#define SAVED OWN "|inside/project/points_cloud.pcproj"

const FaultRow projects[] = {
    {"New", "ptcloud new -p @/fresh", "0", "1", "inside/fresh(/.*)?"},
    {"List", "ptcloud list -p @/project", "0", "1", OWN, {aLockThatStays}},
    {"Import", "ptcloud import @/las/b.las -p @/project", "0", "1", SAVED, {entriesThatAreForgotten, aLockThatStays}},
    {"Make",
     "ptcloud make new a.las -p @/project",
     "0",
     "1",
     SAVED "|" NEW,
     {recordsThatCantBeRead, aBuildThatFailsToClose, entriesThatAreForgotten, aLockThatStays}},
    {"Copy", "ptcloud copy a new -p @/project", "0", "1", SAVED "|" NEW, {entriesThatAreForgotten, aLockThatStays}},
    {"MergeAndRemove",
     "ptcloud merge new a b --remove-sources -p @/project",
     "0",
     "1",
     SAVED "|" NEW,
     {entriesThatAreForgotten, aLockThatStays, aDirectoryThatStays, workThatIsDone}},
    {"Rename",
     "ptcloud rename a new -p @/project",
     "0",
     "1",
     SAVED,
     {entriesThatAreForgotten, aLockThatStays, workThatIsDone}},
    {"Remove",
     "ptcloud remove b -p @/project",
     "0",
     "1",
     SAVED,
     {entriesThatAreForgotten, aLockThatStays, aDirectoryThatStays, workThatIsDone}},
    {"Mesh",
     "ptcloud mesh a new --method alpha -p @/project",
     "0",
     "1",
     OWN "|inside/project/a/new.mesh",
     {aProductThatIsDone, aLockThatStays}},
    {"Terrain",
     "ptcloud dem a --only mesh -p @/project",
     "0",
     "1",
     OWN "|inside/project/a/dem.demmesh",
     {whatStoodThereBefore, aLockThatStays}},
    {"TerrainThatFails",
     "ptcloud dem a --only height-map -p @/project",
     "1",
     "1",
     OWN,
     {aDirectoryOfItsOwn, whatStoodThereBefore, aLockThatStays}},
    {"Sample",
     "ptcloud sample a -p @/project",
     "0",
     "1",
     OWN "|inside/project/a/tmp_points",
     {thinnedPoints, pointsOutOfPlace, aLockThatStays}},
    {"Volume",
     "ptcloud volume a --areas @/areas.geojson -p @/project",
     "0",
     "1",
     SAVED "|inside/project/a/earth.volume",
     {entriesThatAreForgotten, blocksThatAreLeftOut, aLockThatStays, aTemporaryDirectoryThatStays,
      aTemporaryFileThatStays}},
};

/// What must not be written over stays, also where it can't be looked at.
const FaultRow refusals[] = {
    {"BuildOverItsSource", "ptcloud build @/las/a.las @/las/a.las", "1", "1", ""},
    {"BuildOverOther", "ptcloud build @/las/b.las @/las/a.las", "1", "1", ""},
    {"ConvertOverItsSource", "ptcloud convert @/las/a.las @/las/a.las", "1", "1", ""},
    {"ConvertOverOther", "ptcloud convert @/las/a.las @/las/b.las", "1", "1", ""},
    {"ExportOverOther", "ptcloud export @/project/a/Points @/las/a.las", "1", "1", ""},
    {"VolumeOverOther",
     "ptcloud volume --points @/project/a/Points --areas @/areas.geojson --out @/las/a.las",
     "1",
     "1",
     "",
     {aTemporaryDirectoryThatStays}},
    {"VolumeOverPoints",
     "ptcloud volume a --areas @/areas.geojson --csv @/project/b/Points -p @/project",
     "1",
     "1",
     OWN,
     {aDirectoryOfItsOwn, aLockThatStays}},
    {"DemoLasOverOther", "ptcloud demo-las @/las/a.las --points 3000", "1", "1", ""},
    {"ListLittered",
     "ptcloud list -p @/littered",
     "1",
     "1",
     "inside/littered/.ptcloud(/.*)?",
     {aDirectoryOfItsOwn, aLockThatStays}},
    {"InspectLittered", "ptcloud inspect @/littered/b", "1", "1", ""},
    {"NewInProject", "ptcloud new -p @/project", "1", "1", ""},
};

INSTANTIATE_TEST_SUITE_P(PtcloudFiles, Faults, ::testing::ValuesIn(files), support::FaultRowName());
INSTANTIATE_TEST_SUITE_P(PtcloudRefusals, Faults, ::testing::ValuesIn(refusals), support::FaultRowName());
INSTANTIATE_TEST_SUITE_P(PtcloudProjects, Faults, ::testing::ValuesIn(projects), support::FaultRowName());

} // namespace
