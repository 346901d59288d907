#include "LasBuildTesting.h"

#include <numeric>

using support::BlockFile;
using support::get;

namespace
{

class LasBuild : public LasBuildTest
{
protected:
    using Places = std::vector<std::array<qint32, 3>>;

    static std::vector<quint32> keysAndCounts(const BlockFile &file)
    {
        std::vector<quint32> numbers;
        for (const BlockFile::Block &block : file.blocks) {
            numbers.push_back(static_cast<quint32>(block.key));
            numbers.push_back(block.points);
        }
        return numbers;
    }

    /// The raw place of a point of a block whose first column is the position; what is stored is a thousandth of it.
    static std::array<qint32, 3> placeOf(const BlockFile::Block &block, int number)
    {
        std::array<qint32, 3> place{};
        for (int axis = 0; axis < 3; ++axis) {
            const auto stored = get<float>(block.columns.at(0), 12LL * number + 4LL * axis);
            place[static_cast<std::size_t>(axis)] = qRound(stored * 1000.0F);
        }
        return place;
    }

    static Places placesOf(const BlockFile::Block &block)
    {
        Places places;
        for (int i = 0; i < static_cast<int>(block.points); ++i)
            places.push_back(placeOf(block, i));
        return places;
    }

    static void expectBox(const BlockFile::Block &block, const std::array<float, 6> &box)
    {
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_EQ(block.box[i], box[i]) << "edge " << i;
    }
};

using LasBuildGrid = LasBuild;
using LasBuildRuns = LasBuild;
using LasBuildColumns = LasBuild;

struct GridSize
{
    const char *name;
    qint32 span; ///< greatest less least raw coordinate of the header
    qint32 edge;
    qint32 boxes;
};

struct GridSizeName
{
    template <typename Info>
    std::string operator()(const Info &info) const
    {
        constexpr const char *axes[] = {"OnX", "OnY", "OnZ"};
        return std::string(std::get<0>(info.param).name) + axes[std::get<1>(info.param)];
    }
};

class LasBuildGridSize : public LasBuild, public ::testing::WithParamInterface<std::tuple<GridSize, int>>
{
};

TEST_P(LasBuildGridSize, MakesBoxesOfASixteenthOfTheLongestAxisInWholeThousands)
{
    const auto &[grid, axis] = GetParam();
    const auto along = static_cast<std::size_t>(axis);
    Places places;
    for (qint32 number = 0; number < grid.boxes; ++number) {
        places.push_back({0, 0, 0});
        places.back()[along] = -1 + number * grid.edge;
    }
    support::LasWriter writer = fileOf(places, 0.0, 0.0);
    writer.maximum[along] = grid.span;
    add(writer);
    ASSERT_TRUE(build());

    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), static_cast<std::size_t>(grid.boxes));
    for (qint32 number = 0; number < grid.boxes; ++number) {
        const BlockFile::Block &block = file.blocks[static_cast<std::size_t>(number)];
        EXPECT_EQ(block.key, number + 1);
        EXPECT_EQ(placesOf(block), Places{places[static_cast<std::size_t>(number)]});
        std::array<float, 6> box{};
        for (std::size_t i = 0; i < 3; ++i) {
            const qint32 lower = i == along ? -1 + number * grid.edge : -1;
            box[i] = static_cast<float>(lower) / 1000.0F;
            box[3 + i] = static_cast<float>(lower + grid.edge) / 1000.0F;
        }
        expectBox(block, box);
    }
}

INSTANTIATE_TEST_SUITE_P(Spans, LasBuildGridSize,
                         ::testing::Combine(::testing::Values(GridSize{"OneUnit", 0, 1000, 1},
                                                              GridSize{"FiveThousand", 5000, 1000, 6},
                                                              GridSize{"BelowSixteenThousand", 15997, 1000, 16},
                                                              GridSize{"SixteenThousand", 15998, 1000, 17},
                                                              GridSize{"BelowThirtyTwoThousand", 31997, 1000, 32},
                                                              GridSize{"ThirtyTwoThousand", 31998, 2000, 17},
                                                              GridSize{"BelowFortyEightThousand", 47997, 2000, 24},
                                                              GridSize{"TwoMillion", 2000000, 125000, 17}),
                                            ::testing::Values(0, 1, 2)),
                         GridSizeName());

TEST_F(LasBuildGrid, LaysSixBoxesOverFiveMetres)
{
    support::LasWriter writer;
    for (const qint32 x : {0, 998, 999, 2500, 3000, 4500, 5000})
        writer.points.push_back(point(x, 0, 0));
    add(writer);
    ASSERT_TRUE(build());
    EXPECT_EQ(keysAndCounts(built()), (std::vector<quint32>{1, 2, 2, 1, 3, 1, 4, 1, 5, 1, 6, 1}));
}

TEST_F(LasBuildGrid, NumbersOnlyBoxesWithPointsAndZFastest)
{
    // Two boxes on each axis; the points come in the opposite order, and one box stays empty.
    Places places;
    for (const qint32 x : {1500, 0})
        for (const qint32 y : {1500, 0})
            for (const qint32 z : {1500, 0})
                places.push_back({x, y, z});
    places.erase(places.begin() + 4);
    add(fileOf(places));
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 7U);
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(file.blocks[i].key, static_cast<qint32>(i) + 1);
        EXPECT_EQ(placesOf(file.blocks[i]), Places{places[6 - i]});
    }
}

TEST_F(LasBuildGrid, GivesAnUpperCornerToTheNextBox)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_list.clear();
        Places places = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
        places[1][axis] = 998;
        places[2][axis] = 999;
        add(fileOf(places, 0.0, 1500.0));
        ASSERT_TRUE(build());
        const BlockFile file = built();
        ASSERT_EQ(file.blocks.size(), 2U);
        EXPECT_EQ(placesOf(file.blocks[0]), (Places{places[0], places[1]}));
        EXPECT_EQ(placesOf(file.blocks[1]), Places{places[2]});
    }
}

TEST_F(LasBuildGrid, ReachesOneUnitBelowTheRangeAndToTheEndOfItsLastBox)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_list.clear();
        Places places(6, {0, 0, 0});
        const std::array<qint32, 6> along = {-2, -1, 1500, 1998, 1999, 1000000};
        for (std::size_t i = 0; i < places.size(); ++i)
            places[i][axis] = along[i];
        add(fileOf(places, 0.0, 1500.0));
        ASSERT_TRUE(build());
        const BlockFile file = built();
        ASSERT_EQ(file.blocks.size(), 2U);
        EXPECT_EQ(placesOf(file.blocks[0]), Places{places[1]});
        EXPECT_EQ(placesOf(file.blocks[1]), (Places{places[2], places[3]}));
    }
}

TEST_F(LasBuildGrid, CutsTheRangeTowardZero)
{
    const struct
    {
        double least;
        double most;
        float lower; ///< of the first box
    } cases[] = {{-5.9, 5.9, -0.006F}, {0.9, 7.0, -0.001F}, {-0.9, 0.9, -0.001F}, {3.999, 4.5, 0.002F}};
    for (const auto &bounds : cases) {
        m_list.clear();
        add(fileOf({{4, 4, 4}}, bounds.least, bounds.most));
        ASSERT_TRUE(build());
        const BlockFile file = built();
        ASSERT_EQ(file.blocks.size(), 1U);
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_EQ(file.blocks[0].box[axis], bounds.lower) << bounds.least;
    }
}

TEST_F(LasBuildGrid, TakesTheRangeByScaleAndOffsetButNeitherForPositions)
{
    support::LasWriter writer;
    writer.scale = {0.5, 0.25, 2.0};
    writer.offset = {500000.0, -64.0, 10.0};
    writer.points = {point(1000, -2000, 30), point(1010, -2010, 31)};
    add(writer);
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 1U);
    expectBox(file.blocks[0], {0.999F, -2.011F, 0.029F, 1.999F, -1.011F, 1.029F});
    const float positions[] = {1.0F, -2.0F, 0.03F, 1.01F, -2.01F, 0.031F};
    EXPECT_EQ(file.blocks[0].columns[0], QByteArray(reinterpret_cast<const char *>(positions), sizeof positions));
}

TEST_F(LasBuildGrid, PutsEqualPointsIntoOneBlock)
{
    add(fileOf(Places(40, {77, -5, 123456})));
    ASSERT_TRUE(build());
    const BlockFile file = built();
    EXPECT_EQ(keysAndCounts(file), (std::vector<quint32>{1, 40}));
    expectBox(file.blocks.at(0), {0.076F, -0.006F, 123.455F, 1.076F, 0.994F, 124.455F});
}

TEST_F(LasBuildGrid, LiesOverTheRangeOfTheLastFileAlone)
{
    const support::LasWriter wide = fileOf({{0, 0, 0}, {500, 0, 0}, {90000, 0, 0}});
    const support::LasWriter narrow = fileOf({{400, 0, 0}, {600, 0, 0}});
    add(wide);
    add(narrow);
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 1U);
    EXPECT_EQ(file.blocks[0].points, 3U);
    EXPECT_EQ(file.blocks[0].box[0], 0.399F);

    std::swap(m_list[0], m_list[1]);
    ASSERT_TRUE(build());
    EXPECT_EQ(keysAndCounts(built()), (std::vector<quint32>{1, 4, 2, 1}));
}

TEST_F(LasBuildGrid, LiesOverTheRangeOfALastFileWithoutPoints)
{
    add(fileOf({{0, 0, 0}, {5000, 0, 0}}));
    support::LasWriter none = fileOf({}, 0.0, 10.0);
    none.tail = QByteArray(1, '\0');
    add(none);
    ASSERT_TRUE(build());
    EXPECT_EQ(keysAndCounts(built()), (std::vector<quint32>{1, 1}));
    ASSERT_EQ(m_log.lines().size(), 2);
    EXPECT_EQ(m_log.lines()[0], QStringLiteral("2 / 2"));
}

class LasBuildSteps : public LasBuild
{
protected:
    static std::vector<quint32> indicesOf(const BlockFile &file, std::size_t block)
    {
        return block < file.blocks.size() ? file.blocks[block].indices : std::vector<quint32>();
    }
    using Indices = std::vector<quint32>;
};

TEST_F(LasBuildSteps, CutARunAndItsIndicesStartAnew)
{
    add(fileOf(Places(5, {1, 2, 3})), 2);
    ASSERT_TRUE(build());
    const BlockFile file = built();
    EXPECT_EQ(indicesOf(file, 0), (Indices{0, 1, 0, 1, 0}));
    EXPECT_EQ(file.blocks.at(0).marks, std::vector<quint8>(5, 0));
    expectLog(m_log.lines(), {QStringLiteral("2 / 5"), QStringLiteral("4 / 5"), QStringLiteral("5 / 5")}, true);
}

TEST_F(LasBuildSteps, AreThoseOfTheFirstFileWithinTheWindowsOfEach)
{
    add(fileOf(Places(10, {0, 0, 0}), 0.0, 1500.0), 4);
    add(fileOf(Places(10, {1500, 0, 0}), 0.0, 1500.0), 6);
    ASSERT_TRUE(build());
    EXPECT_EQ(indicesOf(built(), 0), (Indices{0, 1, 2, 3, 0, 1, 2, 3, 0, 1}));
    EXPECT_EQ(indicesOf(built(), 1), (Indices{0, 1, 2, 3, 0, 1, 0, 1, 2, 3}));

    std::swap(m_list[0], m_list[1]);
    ASSERT_TRUE(build());
    EXPECT_EQ(indicesOf(built(), 0), (Indices{0, 1, 2, 3, 0, 1, 2, 3, 0, 1}));
    EXPECT_EQ(indicesOf(built(), 1), (Indices{0, 1, 2, 3, 4, 5, 0, 1, 2, 3}));
}

TEST_F(LasBuildSteps, EndWhereTheFileHoldsFewerRecordsThanAnnounced)
{
    support::LasWriter writer = fileOf(Places(5, {1, 2, 3}));
    writer.announcedPoints = 9;
    add(writer, 3);
    ASSERT_TRUE(build());
    EXPECT_EQ(indicesOf(built(), 0), (Indices{0, 1, 2, 0, 1}));
    expectLog(m_log.lines(), {QStringLiteral("3 / 9"), QStringLiteral("5 / 9")}, true);
}

TEST_F(LasBuildSteps, LeaveOutRecordsBeyondTheAnnouncedOnes)
{
    support::LasWriter writer = fileOf(Places(5, {1, 2, 3}));
    writer.announcedPoints = 3;
    add(writer);
    ASSERT_TRUE(build());
    EXPECT_EQ(indicesOf(built(), 0), (Indices{0, 1, 2}));
    expectLog(m_log.lines(), {QStringLiteral("3 / 3")}, true);
}

TEST_F(LasBuildRuns, BeginAnewWhenAFlightComesBackToABox)
{
    add(fileOf({{0, 0, 0}, {1, 0, 0}, {1500, 0, 0}, {2, 0, 0}, {1499, 0, 0}, {1498, 0, 0}}));
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 2U);
    EXPECT_EQ(file.blocks[0].indices, (std::vector<quint32>{0, 1, 0}));
    EXPECT_EQ(placesOf(file.blocks[0]), (Places{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}));
    EXPECT_EQ(file.blocks[1].indices, (std::vector<quint32>{0, 0, 1}));
    EXPECT_EQ(placesOf(file.blocks[1]), (Places{{1500, 0, 0}, {1499, 0, 0}, {1498, 0, 0}}));
}

TEST_F(LasBuildRuns, AreSplitByARecordOutsideTheGrid)
{
    add(fileOf({{0, 0, 0}, {1, 0, 0}, {99999, 0, 0}, {2, 0, 0}, {3, 0, -99999}, {4, 0, 0}}, 0.0, 10.0));
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 1U);
    EXPECT_EQ(file.blocks[0].indices, (std::vector<quint32>{0, 1, 0, 0}));
    EXPECT_EQ(placesOf(file.blocks[0]), (Places{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {4, 0, 0}}));
}

TEST_F(LasBuildRuns, StandInTheOrderOfTheFilesAddresses)
{
    const ptCloud::LasFile *one = add(fileOf({{1, 0, 0}, {2, 0, 0}}, 0.0, 10.0));
    const ptCloud::LasFile *other = add(fileOf({{3, 0, 0}, {4, 0, 0}}, 0.0, 10.0));
    const Places ascending = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}};
    const Places swapped = {{3, 0, 0}, {4, 0, 0}, {1, 0, 0}, {2, 0, 0}};
    const Places expected = std::less<const ptCloud::LasFile *>()(one, other) ? ascending : swapped;
    for (int order = 0; order < 2; ++order) {
        ASSERT_TRUE(build());
        EXPECT_EQ(placesOf(built().blocks.at(0)), expected);
        EXPECT_EQ(built().blocks.at(0).indices, (std::vector<quint32>{0, 1, 0, 1}));
        std::swap(m_list[0], m_list[1]);
    }
}

TEST_F(LasBuildRuns, ComeOnceFromAFileThatIsListedTwice)
{
    add(fileOf({{1, 0, 0}, {2, 0, 0}}));
    m_list.append(m_list.first());
    ASSERT_TRUE(build());
    EXPECT_EQ(keysAndCounts(built()), (std::vector<quint32>{1, 2}));
    expectLog(m_log.lines(), {QStringLiteral("2 / 2")}, true);
}

TEST_F(LasBuildRuns, ComeFromEachOfTwoObjectsOnOneFile)
{
    const QByteArray bytes = fileOf({{1, 0, 0}, {2, 0, 0}}).bytes();
    add(bytes);
    add(bytes);
    ASSERT_TRUE(build());
    EXPECT_EQ(placesOf(built().blocks.at(0)), (Places{{1, 0, 0}, {2, 0, 0}, {1, 0, 0}, {2, 0, 0}}));
}

TEST_F(LasBuildColumns, AreTheListedOnesAndNoOthers)
{
    add(fileOf({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, 3));
    ASSERT_TRUE(build({0, 3}));
    const BlockFile file = built();
    EXPECT_EQ(file.columns, (std::vector<quint32>{0, 3}));
    ASSERT_EQ(file.blocks.size(), 1U);
    EXPECT_EQ(support::readFile(path()).size(), 16 + 2 * 4 + 28 + 12 + 3 * (5 + 12 + 16));

    ASSERT_TRUE(m_file.openFile());
    support::expectBlockAt(support::readFile(path()), file.blocks[0].recordOffset + 28, {0, 3}, m_file.readBlock(1));
}

TEST_F(LasBuildColumns, KeepTheirOrderAndMayBeNamedTwice)
{
    add(fileOf({{1, 2, 3}, {4, 5, 6}}));
    ASSERT_TRUE(build({9, 0, 4, 0}));
    const BlockFile file = built();
    EXPECT_EQ(file.columns, (std::vector<quint32>{9, 0, 4, 0}));
    const std::vector<QByteArray> &runs = file.blocks.at(0).columns;
    EXPECT_EQ(runs[0], QByteArray("\x02\x03", 2));
    const float positions[] = {0.001F, 0.002F, 0.003F, 0.004F, 0.005F, 0.006F};
    EXPECT_EQ(runs[1], QByteArray(reinterpret_cast<const char *>(positions), sizeof positions));
    EXPECT_EQ(runs[2], QByteArray("\xe8\x03\xe9\x03", 4));
    EXPECT_EQ(runs[3], runs[1]);
}

TEST_F(LasBuildColumns, HoldEveryFieldOfTheRichestFormat)
{
    support::LasWriter writer = fileOf({{-1500, 2, 3}}, 5);
    writer.points[0].returnFlags = 0xD3; // return 3 of 2, direction 1, edge 1
    writer.points[0].red = 65535;
    writer.points[0].green = 256;
    writer.points[0].blue = 0;
    add(writer);
    std::vector<quint32> columns(19);
    std::iota(columns.begin(), columns.end(), 0U);
    columns.erase(columns.begin() + 1, columns.begin() + 3);
    ASSERT_TRUE(build(columns));

    QByteArray expected;
    for (const float value : {-1.5F, 0.002F, 0.003F, 1.0F, 256.0F / 65535.0F, 0.0F, 1.0F})
        support::put(expected, value);
    support::put<quint16>(expected, 1000);
    for (const int value : {3, 2, 1, 1, 2, 200, 1})
        support::put(expected, static_cast<quint8>(value));
    support::put<quint16>(expected, 500);
    support::put(expected, 1e5);
    support::put<quint8>(expected, 7);
    support::put<quint64>(expected, 0x100000000ULL);
    support::put<quint32>(expected, 70000);
    for (const float value : {0.125F, 0.0F, -0.75F, -1.5F})
        support::put(expected, value);
    const BlockFile file = built();
    EXPECT_EQ(std::accumulate(file.blocks.at(0).columns.begin(), file.blocks.at(0).columns.end(), QByteArray()),
              expected);
}

TEST_F(LasBuildColumns, ThatTheFormatLacksAreZeros)
{
    add(fileOf({{1, 2, 3}, {4, 5, 6}}, 0));
    const std::vector<quint32> lacking = {0, 3, 13, 14, 15, 16, 17, 18};
    ASSERT_TRUE(build(lacking));
    const std::vector<QByteArray> runs = built().blocks.at(0).columns;
    for (std::size_t i = 1; i < lacking.size(); ++i)
        EXPECT_EQ(runs.at(i), QByteArray(2 * BlockFile::elementSize(lacking[i]), '\0')) << lacking[i];
}

TEST_F(LasBuildColumns, ThatOneFileLacksKeepWhatEarlierBlocksLeft)
{
    add(fileOf({{0, 0, 0}, {1, 0, 0}}, 0.0, 2500.0, 1));
    add(fileOf({{1500, 0, 0}, {1501, 0, 0}, {1502, 0, 0}}, 0.0, 2500.0, 0));
    ASSERT_TRUE(build({0, 13}));
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 2U);
    const double times[] = {1e5, 1e5 + 0.25, 0.0};
    EXPECT_EQ(file.blocks[0].columns[1], QByteArray(reinterpret_cast<const char *>(times), 16));
    EXPECT_EQ(file.blocks[1].columns[1], QByteArray(reinterpret_cast<const char *>(times), 24));
}

TEST_F(LasBuild, WritesExactlyTheseBytes)
{
    add(fileOf({{10, 20, 30}, {1500, 20, 30}, {11, 20, 30}}, 2));
    ASSERT_TRUE(build({4, 0}));
    BlockFile expected;
    expected.columns = {4, 0};
    BlockFile::Block first;
    first.key = 1;
    const float firstBox[] = {0.009F, 0.019F, 0.029F, 1.009F, 1.019F, 1.029F};
    std::copy(std::begin(firstBox), std::end(firstBox), first.box);
    first.points = 2;
    first.indices = {0, 0};
    first.marks = {0, 0};
    const float firstPlaces[] = {0.01F, 0.02F, 0.03F, 0.011F, 0.02F, 0.03F};
    first.columns = {QByteArray("\xe8\x03\xea\x03", 4), QByteArray(reinterpret_cast<const char *>(firstPlaces), 24)};
    BlockFile::Block second = first;
    second.key = 2;
    second.box[0] = 1.009F;
    second.box[3] = 2.009F;
    second.points = 1;
    second.indices = {0};
    second.marks = {0};
    const float secondPlace[] = {1.5F, 0.02F, 0.03F};
    second.columns = {QByteArray("\xe9\x03", 2), QByteArray(reinterpret_cast<const char *>(secondPlace), 12)};
    expected.blocks = {first, second};
    EXPECT_EQ(support::readFile(path()), expected.bytes());
}

} // namespace
