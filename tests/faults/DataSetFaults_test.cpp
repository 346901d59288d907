#include "FaultTesting.h"

using support::FaultRow;
using support::Faults;
using support::ToldRule;

namespace
{

#define CONTENTS "(roof|wall|north|first|pit|demmesh|height| )*"

const ToldRule contentsThatCantBeRead = {"a content that can't be read stays on disk and is not listed",
                                         "open read seek list look memory", R"(true\|)" CONTENTS};
const ToldRule blocksThatAreLeftOut = {"a block that can't be read is left out", "read seek memory",
                                       R"(true\|true [\d.]+)"};
const ToldRule aListThatIsCut = {"nobody looks at the stream: a save that is cut tells success", "write close", "",
                                 "inside/project/a/(earth.volume|dem.contour)"};
const ToldRule anEndThatReadsAsZeros = {"what can't be read of contours reads as zeros", "read", R"(true\|\d \d)"};
const ToldRule aTargetThatIsGone = {"the target must be there, and goes before the copy comes",
                                    "remove open read write "
                                    "seek truncate close rename look list mkdir reserve sync memory",
                                    "", "inside/project/a/north.split", false};
const ToldRule oldPointsThatStay = {"what can't be removed of the old points stays until the next load", "remove", "",
                                    "inside/project/a/tmp_points_2"};
const ToldRule pointsUnderAnotherName = {
    "between two moves the old points bear another name, and keep it where nothing "
    "more can be done",
    "rename", "", "inside/project/a/(Points|tmp_points.*)", false};
const ToldRule aLinkThatStays = {"whether the link goes is not looked at", "remove look memory", "",
                                 "inside/project/linked"};
const ToldRule filesThatStay = {"whether a file goes is not looked at; without a look at the directory nothing is done",
                                "remove look", CONTENTS, "inside/project/a/(.*mesh|dem.*)"};

const FaultRow rows[] = {
    {"Load", "load", R"(true\|roof wall north first pit demmesh height)", R"(false\|)", "", {contentsThatCantBeRead}},
    {"SaveVolumes", "save-volumes", "true", "false", "", {aListThatIsCut}},
    {"CalcGrid", "calc-grid", R"(true\|true \d.*)", R"((true|false)\|false 0)", "", {blocksThatAreLeftOut}},
    {"CalcMesh", "calc-mesh", R"(true\|true \d+)", R"((true|false)\|false 0)", ""},
    {"LoadContours", "load-contours", R"(true\|2 1)", R"(false\|0 0)", "", {anEndThatReadsAsZeros}},
    {"SaveContours", "save-contours", "true", "false", "", {aListThatIsCut}},
    {"CopyPoints", "copy-points", "object", "null", "inside/project/a/north.split", {aTargetThatIsGone}},
    {"UpdatePoints",
     "update-points",
     "signals 1",
     "signals 0",
     "inside/project/a/tmp_points",
     {oldPointsThatStay, pointsUnderAnotherName}},
    {"RemoveLinked", "remove-linked", "done", "", "", {aLinkThatStays}},
    {"AttachTerrain", "attach-terrain", "true", "false", ""},
    {"RemoveContents", "remove-contents", "north first pit", "", "", {filesThatStay}},
};

INSTANTIATE_TEST_SUITE_P(DataSet, Faults, ::testing::ValuesIn(rows), support::FaultRowName());

} // namespace
