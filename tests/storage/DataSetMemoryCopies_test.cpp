#include "DataSetMemoryTesting.h"

#include <cstdio>
#include <memory>
#include <random>
#include <set>

// What is released twice, too early or never is seen by the address sanitizer.

using support::BlockFile;

namespace
{

class DataSetMemoryCopies : public DataSetMemoryTest
{
protected:
    using Object = std::unique_ptr<Memory>;

    Object filled(const BlockFile &file)
    {
        auto memory = std::make_unique<Memory>();
        EXPECT_TRUE(take(*memory, file));
        return memory;
    }

    static void expectSameBlocks(Memory &first, Memory &second)
    {
        EXPECT_NE(first.getAllBlocksPtr(), second.getAllBlocksPtr());
        EXPECT_EQ(*first.getAllBlocksPtr(), *second.getAllBlocksPtr()) << "boxes and pointers";
        EXPECT_EQ(first.getSortType(), second.getSortType());
    }
};

/// How a second object comes to show the arrays of the first.
enum class Way { Construction, Assignment, AssignmentOverBlocks };
/// Which of the two goes first.
enum class First { Original, Copy };

class DataSetMemoryCopy : public DataSetMemoryCopies, public ::testing::WithParamInterface<std::tuple<Way, First>>
{
protected:
    void SetUp() override
    {
        DataSetMemoryCopies::SetUp();
        m_original = filled(sample(2));
        if (std::get<Way>(GetParam()) == Way::Construction) {
            m_copy = std::make_unique<Memory>(*m_original);
            return;
        }
        m_copy = std::get<Way>(GetParam()) == Way::Assignment ? std::make_unique<Memory>()
                                                              : filled(fileWithKeys({2, 3, 11}, 5));
        Memory &result = *m_copy = *m_original;
        EXPECT_EQ(&result, m_copy.get());
    }

    bool originalGoesFirst() const { return std::get<First>(GetParam()) == First::Original; }
    Object &goesFirst() { return originalGoesFirst() ? m_original : m_copy; }
    Object &staysOn() { return originalGoesFirst() ? m_copy : m_original; }

    Object m_original;
    Object m_copy;
};

TEST_P(DataSetMemoryCopy, ShowsTheSameArraysAndOutlivesTheOther)
{
    expectSameBlocks(*m_original, *m_copy);
    expectBlocks(*m_copy, sample(2));
    goesFirst().reset();
    expectBlocks(*staysOn(), sample(2));
    EXPECT_TRUE(support::sameBytes(saved(*staysOn()), renumbered(sample(2)).bytes())) << "the columns too";
}

TEST_P(DataSetMemoryCopy, ShowsWhatIsEditedThroughTheOther)
{
    ASSERT_TRUE(arrayAt(*goesFirst(), 3)->removePointsByIndies({0, 1, 2, 3, 4}));
    goesFirst().reset();
    EXPECT_EQ(staysOn()->readBlock(3)->m_pointCount, 2U);
}

TEST_P(DataSetMemoryCopy, KeepsItsOwnListOfBlocks)
{
    ptCloud::stPtCloud_PointArray *taken = arrayAt(*goesFirst(), 2);
    goesFirst()->getAllBlocksPtr()->remove(2);
    (*goesFirst()->getAllBlocksPtr())[8] = Entry(ptCloud::pcBoundingBoxf(), newArray(2, 1));
    EXPECT_EQ(staysOn()->readBlock(2), taken);
    EXPECT_EQ(staysOn()->readBlock(8), nullptr);
    goesFirst().reset();
    expectBlocks(*staysOn(), sample(2));
}

TEST_P(DataSetMemoryCopy, OutlivesTheOthersFailure)
{
    EXPECT_FALSE(take(*goesFirst(), support::soundFile({0, 2}, {{3, 0}})));
    expectEmpty(*goesFirst());
    expectBlocks(*staysOn(), sample(2));
    goesFirst().reset();
    expectBlocks(*staysOn(), sample(2));
}

TEST_P(DataSetMemoryCopy, OutlivesTheOthersReplacements)
{
    ASSERT_TRUE(take(*goesFirst(), fileWithKeys({1, 2, 3}, 6)));
    EXPECT_EQ(goesFirst()->readBlock(1)->m_pointCount, 6U);
    expectBlocks(*staysOn(), sample(2));
    goesFirst().reset();
    expectBlocks(*staysOn(), sample(2));
}

TEST_P(DataSetMemoryCopy, LeavesToTheHostWhatIsTakenOutOfBoth)
{
    const Object::element_type::BlockMap all = *m_original->getAllBlocksPtr();
    const std::unique_ptr<ptCloud::stPtCloud_PointArray> mine(std::get<1>(goesFirst()->getAllBlocksPtr()->take(1)));
    EXPECT_EQ(std::get<1>(staysOn()->getAllBlocksPtr()->take(1)), mine.get());
    goesFirst().reset();
    EXPECT_EQ(mine->m_pointCount, 4U);
    EXPECT_EQ(staysOn()->readBlock(3), std::get<1>(all[3]));
    staysOn().reset();
    EXPECT_EQ(mine->m_pointCount, 4U);
    EXPECT_TRUE(mine->removePointsByIndies({0}));
    EXPECT_EQ(mine->m_pointCount, 3U);
}

TEST_P(DataSetMemoryCopy, ReleasesAnArrayThatIsInBothMapsUnderTwoKeysOnce)
{
    for (Memory *memory : {m_original.get(), m_copy.get()})
        (*memory->getAllBlocksPtr())[20] = (*memory->getAllBlocksPtr())[1];
    goesFirst().reset();
    EXPECT_EQ(staysOn()->readBlock(20), staysOn()->readBlock(1));
    staysOn()->getAllBlocksPtr()->remove(1);
    EXPECT_EQ(staysOn()->readBlock(20)->m_pointCount, 4U);
}

TEST_P(DataSetMemoryCopy, HandsItsArraysOnToFurtherCopies)
{
    auto third = std::make_unique<Memory>(*goesFirst());
    goesFirst().reset();
    auto fourth = std::make_unique<Memory>();
    *fourth = *third;
    third.reset();
    staysOn().reset();
    expectBlocks(*fourth, sample(2));
}

TEST_P(DataSetMemoryCopy, TakesItsArraysBackByAssignment)
{
    *m_original = *m_copy;
    *m_copy = *m_original;
    goesFirst().reset();
    expectBlocks(*staysOn(), sample(2));
}

INSTANTIATE_TEST_SUITE_P(Copies, DataSetMemoryCopy,
                         ::testing::Combine(::testing::Values(Way::Construction, Way::Assignment,
                                                              Way::AssignmentOverBlocks),
                                            ::testing::Values(First::Original, First::Copy)));

TEST_F(DataSetMemoryCopies, OfNothingAreNothing)
{
    Memory none;
    Memory copy(none);
    expectEmpty(copy);
    Object memory = filled(sample());
    *memory = none;
    expectEmpty(*memory);
    EXPECT_EQ(saved(*memory), QByteArray());
}

TEST_F(DataSetMemoryCopies, OntoThemselvesChangeNothing)
{
    Object memory = filled(sample(2));
    const Memory::BlockMap before = *memory->getAllBlocksPtr();
    Memory &same = *memory;
    *memory = same;
    EXPECT_EQ(*memory->getAllBlocksPtr(), before);
    expectBlocks(*memory, sample(2));
}

TEST_F(DataSetMemoryCopies, KeepWhatTheyReplacedUntilTheyGo)
{
    Object memory = filled(fileWithKeys({1, 2}, 5));
    const ptCloud::stPtCloud_PointArray *replaced = memory->readBlock(1);
    const Object other = filled(sample());
    *memory = *other;
    EXPECT_EQ(replaced->m_pointCount, 5U) << "a host may still look at it";
    EXPECT_EQ(support::columnBytes(*replaced, 0), fileWithKeys({1}, 5).blocks[0].columns[0]);
    *memory = *other;
    EXPECT_EQ(replaced->m_pointCount, 5U);
    memory.reset();
    expectBlocks(*other, sample());
}

TEST_F(DataSetMemoryCopies, KeepWhatASecondFileReplacedUntilTheyGo)
{
    Object memory = filled(fileWithKeys({1, 2}, 5));
    Object copy = std::make_unique<Memory>(*memory);
    const ptCloud::stPtCloud_PointArray *replaced = memory->readBlock(1);
    ASSERT_TRUE(take(*memory, fileWithKeys({1}, 6)));
    ASSERT_TRUE(take(*memory, fileWithKeys({1}, 7)));
    EXPECT_EQ(copy->readBlock(1), replaced);
    copy.reset();
    EXPECT_EQ(replaced->m_pointCount, 5U) << "parked in the object that replaced it";
    EXPECT_EQ(memory->readBlock(1)->m_pointCount, 7U);
    EXPECT_EQ(memory->readBlock(2)->m_pointCount, 5U);
}

TEST_F(DataSetMemoryCopies, MayPassTheirArraysRoundInACircle)
{
    Object first = filled(fileWithKeys({1, 2}, 3));
    Object second = filled(fileWithKeys({1, 2}, 4));
    const Object third = std::make_unique<Memory>(*first);
    *first = *second; // the arrays of the first are parked, and shown by the third
    *second = *third;
    *first = *third; // back where they came from
    expectSameBlocks(*first, *third);
    first.reset();
    expectBlocks(*second, fileWithKeys({1, 2}, 3));
    second.reset();
    expectBlocks(*third, fileWithKeys({1, 2}, 3));
}

TEST_F(DataSetMemoryCopies, OfAnArrayUnderTwoKeysReleaseItOnce)
{
    const Object memory = filled(fileWithKeys({1}, 3));
    auto &blocks = *memory->getAllBlocksPtr();
    blocks[2] = blocks[1];
    blocks[-5] = blocks[1];
    const Memory copy(*memory);
    ASSERT_TRUE(take(*memory, fileWithKeys({2}, 4)));
    EXPECT_EQ(memory->readBlock(1), memory->readBlock(-5));
    EXPECT_EQ(memory->readBlock(1)->m_pointCount, 3U);
    EXPECT_EQ(memory->readBlock(2)->m_pointCount, 4U);
}

TEST_F(DataSetMemoryCopies, LetABlockChangeItsKeyAndItsObject)
{
    Object giver = filled(fileWithKeys({1, 2}, 3));
    Object taker = filled(fileWithKeys({1, 2}, 4));
    auto &given = *giver->getAllBlocksPtr();
    given[7] = given.take(1);
    (*taker->getAllBlocksPtr())[9] = given.take(2);
    giver.reset();
    EXPECT_EQ(taker->readBlock(9)->m_pointCount, 3U);
    EXPECT_EQ(keysOf(*taker), (std::vector<int>{1, 2, 9}));
}

TEST_F(DataSetMemoryCopies, LeaveToTheHostWhatItTookFromOneObject)
{
    Object memory = filled(fileWithKeys({1, 2}, 3));
    const std::unique_ptr<ptCloud::stPtCloud_PointArray> mine(std::get<1>(memory->getAllBlocksPtr()->take(2)));
    ASSERT_TRUE(take(*memory, fileWithKeys({1, 2}, 4)));
    memory.reset();
    EXPECT_EQ(support::columnBytes(*mine, 0), fileWithKeys({2}, 3).blocks[0].columns[0]);
}

TEST_F(DataSetMemoryCopies, LeaveToTheHostWhatItTookFromBothOnceTheyWereAssignedBack)
{
    Object memory = filled(fileWithKeys({1, 2}, 3));
    Object copy = std::make_unique<Memory>(*memory);
    *memory = *copy; // the same arrays under the same keys: none is replaced
    ptCloud::stPtCloud_PointArray *mine = std::get<1>(memory->getAllBlocksPtr()->take(1));
    ASSERT_EQ(std::get<1>(copy->getAllBlocksPtr()->take(1)), mine);
    memory.reset();
    copy.reset();
    ASSERT_EQ(mine->m_pointCount, 3U);
    delete mine;
}

TEST_F(DataSetMemoryCopies, MayStandInALocalScopeAndInContainers)
{
    const Object memory = filled(sample());
    {
        const Memory view = *memory;
        std::vector<Memory> views(5, view);
        views.erase(views.begin() + 1, views.begin() + 3);
        views.push_back(views.front());
        for (Memory &each : views)
            expectSameBlocks(each, *memory);
    }
    expectBlocks(*memory, sample());
}

/// Objects that are made, filled, copied, assigned, emptied and destroyed as drawn; each is known by the tags that its
/// arrays should have.
class DataSetMemoryCopiesRandom : public DataSetMemoryCopies, public ::testing::WithParamInterface<quint32>
{
protected:
    using Tags = std::map<int, int>;
    struct Known
    {
        Object memory = std::make_unique<Memory>();
        Tags tags;
    };

    unsigned int below(std::size_t count) { return static_cast<unsigned int>(m_random() % count); }
    Known &any() { return m_objects[below(m_objects.size())]; }

    void fill(Known &known)
    {
        BlockFile file;
        file.columns = {0};
        for (qint32 key = 1; key <= 4; ++key) {
            if (below(2) == 0) {
                file.blocks.push_back(file.makeBlock(key, 2));
                file.blocks.back().tag = known.tags[key] = ++m_lastTag;
            }
        }
        EXPECT_TRUE(take(*known.memory, file));
    }
    void fail(Known &known)
    {
        EXPECT_FALSE(take(*known.memory, support::soundFile({0, 2}, {{2, 0}})));
        known.tags.clear();
    }
    void addBlock(Known &known)
    {
        const int key = static_cast<int>(10 + below(3));
        if (known.tags.count(key) != 0)
            return;
        known.tags[key] = ++m_lastTag;
        (*known.memory->getAllBlocksPtr())[key] = Entry(ptCloud::pcBoundingBoxf(), newArray(1, m_lastTag));
    }
    void moveBlock(Known &known)
    {
        auto &blocks = *known.memory->getAllBlocksPtr();
        if (known.tags.empty() || known.tags.count(20) != 0)
            return;
        const int key = known.tags.begin()->first;
        blocks[20] = blocks.take(key);
        known.tags[20] = known.tags[key];
        known.tags.erase(key);
    }
    void copy(const Known &known)
    {
        Known made;
        made.memory = std::make_unique<Memory>(*known.memory);
        made.tags = known.tags;
        m_objects.push_back(std::move(made));
    }
    void assign()
    {
        Known &to = any();
        const Known &from = any();
        *to.memory = *from.memory;
        to.tags = from.tags;
    }

    void step()
    {
        if (m_objects.empty() || below(8) == 0)
            m_objects.emplace_back();
        switch (below(9)) {
        case 0:
            return fill(any());
        case 1:
            return below(3) == 0 ? fail(any()) : fill(any());
        case 2:
            return addBlock(any());
        case 3:
            return moveBlock(any());
        case 4:
        case 5:
            return copy(any());
        case 6:
            return assign();
        default:
            m_objects.erase(m_objects.begin() + below(m_objects.size()));
        }
    }

    void expectKnown()
    {
        for (const Known &known : m_objects) {
            Tags tags;
            for (const int key : keysOf(*known.memory))
                tags[key] = known.memory->readBlock(key)->m_blockTag;
            ASSERT_EQ(tags, known.tags);
        }
    }

    std::mt19937 m_random{GetParam()};
    std::vector<Known> m_objects;
    int m_lastTag = 0;
};

TEST_P(DataSetMemoryCopiesRandom, HoldTheirBlocksWhateverBecomesOfTheOthers)
{
    std::printf("seed %u\n", GetParam());
    for (int steps = 0; steps < 80 && !HasFatalFailure(); ++steps) {
        step();
        expectKnown();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DataSetMemoryCopiesRandom, ::testing::Range(1U, 26U));

} // namespace
