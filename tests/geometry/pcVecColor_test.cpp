#include "GeometryTesting.h"

#include "pcVec.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace geometry;
using namespace ptCloud;

namespace
{

// Vectors of three components are no colours.
template <typename V>
using Red = decltype(std::declval<V &>().r());
template <typename V>
using Abgr = decltype(std::declval<V &>().asABGR());
template <typename V>
using Rgba = decltype(std::declval<V &>().asRGBA());
template <typename V>
using Clamp = decltype(&V::clampTo);
static_assert(hasNone<pcVec3f, Red, Abgr, Rgba, Clamp> && hasNone<pcVec3d, Red, Abgr, Rgba, Clamp>);

template <typename V, typename S = ScalarOf<V>>
constexpr bool hasColorMembers()
{
    static_assert(std::is_same_v<decltype(&V::clampTo), S (V::*)(S, S, S) const>);
    static_assert(std::is_same_v<decltype(&V::asABGR), unsigned int (V::*)() const>);
    static_assert(std::is_same_v<decltype(&V::asRGBA), unsigned int (V::*)() const>);
    return hasAll<V, Red, Abgr, Rgba, Clamp>;
}
static_assert(hasColorMembers<pcVec4f>() && hasColorMembers<pcVec4d>());

template <typename V>
class VecColor : public ::testing::Test
{
public:
    /// The byte that a channel becomes, the same at all four places of both words.
    static unsigned int packed(ScalarOf<V> channel)
    {
        const V color(channel, channel, channel, channel);
        const unsigned int byte = color.asABGR() & 0xFFU;
        EXPECT_EQ(color.asABGR(), byte * 0x01010101U);
        EXPECT_EQ(color.asRGBA(), byte * 0x01010101U);
        return byte;
    }
};
using Colors = ::testing::Types<pcVec4f, pcVec4d>;
TYPED_TEST_SUITE(VecColor, Colors);

TYPED_TEST(VecColor, ChannelsAreOtherNamesForTheComponents)
{
    using S = ScalarOf<TypeParam>;
    S &(TypeParam::*const references[])() = {&TypeParam::r, &TypeParam::g, &TypeParam::b, &TypeParam::a};
    S (TypeParam::*const readers[])() const = {&TypeParam::r, &TypeParam::g, &TypeParam::b, &TypeParam::a};
    TypeParam color;
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_EQ(&(color.*references[i])(), &color[i]);
        (color.*references[i])() = static_cast<S>(i + 1);
        EXPECT_EQ((color.*readers[i])(), static_cast<S>(i + 1));
    }
    EXPECT_EQ(color, TypeParam(1, 2, 3, 4));
}

TYPED_TEST(VecColor, PacksTheChannelsByName)
{
    using S = ScalarOf<TypeParam>;
    const TypeParam color(1, S(0.5), 0, 2);
    EXPECT_EQ(color.asABGR(), 0xFF7F00FFU);
    EXPECT_EQ(color.asRGBA(), 0xFF007FFFU);
}

TYPED_TEST(VecColor, EachChannelHasItsPlace)
{
    const unsigned int abgr[] = {0xFF000000U, 0x00FF0000U, 0x0000FF00U, 0x000000FFU};
    const unsigned int rgba[] = {0x000000FFU, 0x0000FF00U, 0x00FF0000U, 0xFF000000U};
    for (unsigned int i = 0; i < 4; ++i) {
        TypeParam color;
        color[i] = 1;
        EXPECT_EQ(color.asABGR(), abgr[i]) << "channel " << i;
        EXPECT_EQ(color.asRGBA(), rgba[i]) << "channel " << i;
    }
}

TYPED_TEST(VecColor, PackingNeverRounds)
{
    using S = ScalarOf<TypeParam>;
    EXPECT_EQ(this->packed(0), 0U);
    EXPECT_EQ(this->packed(S(0.5)), 127U);
    EXPECT_EQ(this->packed(S(0.75)), 191U);    // 191.25
    EXPECT_EQ(this->packed(S(0.125)), 31U);    // 31.875
    EXPECT_EQ(this->packed(S(1.0 / 512)), 0U); // 0.498
    EXPECT_EQ(this->packed(std::nextafter(S(1), S(0))), 254U);
    EXPECT_EQ(this->packed(1), 255U);
}

TYPED_TEST(VecColor, PackingHoldsChannelsToAByte)
{
    using S = ScalarOf<TypeParam>;
    for (const S channel : {S(-1), S(-1e-3), S(-1e9), -infinity<S>, S(-0.0)})
        EXPECT_EQ(this->packed(channel), 0U) << channel;
    for (const S channel : {S(1.001), S(2), S(1e9), std::numeric_limits<S>::max(), infinity<S>})
        EXPECT_EQ(this->packed(channel), 255U) << channel;
}

TYPED_TEST(VecColor, PacksAChannelThatIsNoNumberAsFull)
{
    using S = ScalarOf<TypeParam>;
    EXPECT_EQ(this->packed(notANumber<S>), 255U);
    EXPECT_EQ(this->packed(-notANumber<S>), 255U);
    EXPECT_EQ(TypeParam(0, notANumber<S>, 0, 1).asABGR(), 0x00FF00FFU);
}

TEST(VecColorOfDoubles, PacksWithoutAStepThroughFloat)
{
    // A float would round the channel up to 128 / 255.
    EXPECT_EQ(pcVec4d(0, 0, 0, 128.0 / 255.0 - 1e-12).asABGR(), 127U);
    EXPECT_EQ(pcVec4d(0, 0, 0, 128.0 / 255.0 + 1e-12).asABGR(), 128U);
}

TYPED_TEST(VecColor, ClampHoldsAValueBetweenTwoEnds)
{
    using S = ScalarOf<TypeParam>;
    const TypeParam color;
    EXPECT_EQ(color.clampTo(5, 0, 10), S(5));
    EXPECT_EQ(color.clampTo(-1, 0, 10), S(0));
    EXPECT_EQ(color.clampTo(11, 0, 10), S(10));
    EXPECT_EQ(color.clampTo(0, 0, 10), S(0));
    EXPECT_EQ(color.clampTo(10, 0, 10), S(10));
    EXPECT_EQ(color.clampTo(infinity<S>, 0, 10), S(10));
}

TYPED_TEST(VecColor, ClampLetsTheLowEndWin)
{
    using S = ScalarOf<TypeParam>;
    const TypeParam color;
    EXPECT_EQ(color.clampTo(5, 10, 0), S(10));
    EXPECT_EQ(color.clampTo(-5, 10, 0), S(10));
    EXPECT_EQ(color.clampTo(20, 10, 0), S(0));
}

TYPED_TEST(VecColor, ClampIgnoresTheObject)
{
    using S = ScalarOf<TypeParam>;
    const TypeParam color(notANumber<S>, 100, -100, infinity<S>);
    const auto before = bits(color);
    EXPECT_EQ(color.clampTo(5, 0, 10), S(5));
    EXPECT_EQ(color.clampTo(50, 0, 10), S(10));
    EXPECT_EQ(bits(color), before);
}

} // namespace
