#include "GeometryTesting.h"

#include "pcVec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace geometry;
using namespace ptCloud;

namespace
{

// What vectors of three and of four components have in common, with its result types.
template <typename V, typename S = ScalarOf<V>>
constexpr bool hasCommonMembers()
{
    static_assert(std::is_default_constructible_v<V> && std::is_nothrow_copy_assignable_v<V>);
    static_assert(std::is_trivially_copyable_v<V> && std::is_standard_layout_v<V>);
    static_assert(std::is_same_v<decltype(std::declval<V &>() = std::declval<const V &>()), V &>);
    static_assert(std::is_same_v<decltype(std::declval<V &>() = std::declval<V &&>()), V &>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() == std::declval<const V &>()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() != std::declval<const V &>()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() < std::declval<const V &>()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() + std::declval<const V &>()), V>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() - std::declval<const V &>()), V>);
    static_assert(std::is_same_v<decltype(std::declval<V &>() += std::declval<const V &>()), V &>);
    static_assert(std::is_same_v<decltype(std::declval<V &>() -= std::declval<const V &>()), V &>);
    static_assert(std::is_same_v<decltype(-std::declval<const V &>()), V>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() * std::declval<S>()), V>);
    static_assert(std::is_same_v<decltype(std::declval<const V &>() * std::declval<const V &>()), S>);
    static_assert(std::is_same_v<decltype(&V::operator*=), V &(V::*)(S)>);
    static_assert(std::is_same_v<decltype(&V::operator/), V (V::*)(S) const>);
    static_assert(std::is_same_v<decltype(&V::operator/=), V &(V::*)(S)>);
    static_assert(std::is_same_v<decltype(&V::length2), S (V::*)() const>);
    static_assert(std::is_same_v<decltype(&V::length), S (V::*)() const>);
    static_assert(std::is_same_v<decltype(&V::normalize), S (V::*)()>);
    static_assert(std::is_same_v<decltype(&V::isNaN), bool (V::*)() const>);
    static_assert(std::is_same_v<decltype(&V::valid), bool (V::*)() const>);
    return true;
}
static_assert(hasCommonMembers<pcVec3f>() && hasCommonMembers<pcVec3d>());
static_assert(hasCommonMembers<pcVec4f>() && hasCommonMembers<pcVec4d>());
static_assert(std::is_same_v<ScalarOf<pcVec3f>, float> && std::is_same_v<ScalarOf<pcVec3d>, double>);
static_assert(std::is_same_v<ScalarOf<pcVec4f>, float> && std::is_same_v<ScalarOf<pcVec4d>, double>);
static_assert(sizeof(pcVec3f) == 12 && sizeof(pcVec3d) == 24 && sizeof(pcVec4f) == 16 && sizeof(pcVec4d) == 32);

// What only one of the two kinds has; each takes the subscript of its own integer type and no other.
template <typename V, typename Index>
using Subscript = std::pair<decltype(static_cast<ScalarOf<V> &(V::*)(Index)>(&V::operator[])),
                            decltype(static_cast<ScalarOf<V> (V::*)(Index) const>(&V::operator[]))>;
template <typename V>
using SignedSubscript = Subscript<V, int>;
template <typename V>
using UnsignedSubscript = Subscript<V, unsigned int>;
template <typename V>
using Cross = decltype(std::declval<const V &>() ^ std::declval<const V &>());
template <typename V>
using SetOfVector = decltype(std::declval<V &>().set(std::declval<const V &>()));
template <typename V>
using Fourth = decltype(std::declval<V &>().w());

static_assert(hasAll<pcVec3f, SignedSubscript, Cross, SetOfVector>);
static_assert(hasAll<pcVec3d, SignedSubscript, Cross, SetOfVector>);
static_assert(hasNone<pcVec3f, UnsignedSubscript, Fourth> && hasNone<pcVec3d, UnsignedSubscript, Fourth>);
static_assert(hasAll<pcVec4f, UnsignedSubscript, Fourth> && hasAll<pcVec4d, UnsignedSubscript, Fourth>);
static_assert(hasNone<pcVec4f, SignedSubscript, Cross, SetOfVector>);
static_assert(hasNone<pcVec4d, SignedSubscript, Cross, SetOfVector>);
static_assert(std::is_same_v<Cross<pcVec3f>, pcVec3f> && std::is_same_v<Cross<pcVec3d>, pcVec3d>);

template <typename V>
class FloatVec : public ::testing::Test
{
};
using FloatVecs = ::testing::Types<pcVec3f, pcVec3d, pcVec4f, pcVec4d>;
TYPED_TEST_SUITE(FloatVec, FloatVecs);

template <typename V>
class FloatVec3 : public FloatVec<V>
{
};
using FloatVec3s = ::testing::Types<pcVec3f, pcVec3d>;
TYPED_TEST_SUITE(FloatVec3, FloatVec3s);

TYPED_TEST(FloatVec, IsAllZeroByDefault)
{
    for (const auto word : bits(TypeParam()))
        EXPECT_EQ(word, 0U);
}

TYPED_TEST(FloatVec, StoresItsComponentsInOrderAndNothingElse)
{
    using S = ScalarOf<TypeParam>;
    const std::array<TypeParam, 2> pair = {make<TypeParam>({1, 2, 3, 4}), make<TypeParam>({5, 6, 7, 8})};
    std::vector<S> scalars = expected<TypeParam>({1, 2, 3, 4});
    for (const S value : expected<TypeParam>({5, 6, 7, 8}))
        scalars.push_back(value);
    EXPECT_EQ(stored<S>(pair), scalars);
}

TYPED_TEST(FloatVec, NamesReadAndWriteTheComponents)
{
    using S = ScalarOf<TypeParam>;
    S &(TypeParam::*const references[])() = {&TypeParam::x, &TypeParam::y, &TypeParam::z};
    S (TypeParam::*const readers[])() const = {&TypeParam::x, &TypeParam::y, &TypeParam::z};
    TypeParam v;
    for (int i = 0; i < 3; ++i) {
        (v.*references[i])() = S(i + 1);
        EXPECT_EQ((v.*readers[i])(), S(i + 1));
    }
    if constexpr (sizeOf<TypeParam> == 4) {
        v.w() = S(4);
        EXPECT_EQ(std::as_const(v).w(), S(4));
    }
    EXPECT_EQ(components(v), expected<TypeParam>({1, 2, 3, 4}));
}

TYPED_TEST(FloatVec, SubscriptReadsAndWritesTheComponents)
{
    using S = ScalarOf<TypeParam>;
    using Index = std::conditional_t<sizeOf<TypeParam> == 3, int, unsigned int>;
    TypeParam v;
    for (Index i = 0; i < static_cast<Index>(sizeOf<TypeParam>); ++i) {
        v[i] = static_cast<S>(i + 1);
        EXPECT_EQ(std::as_const(v)[i], static_cast<S>(i + 1));
    }
    EXPECT_EQ(components(v), expected<TypeParam>({1, 2, 3, 4}));
}

TYPED_TEST(FloatVec, SetReplacesEveryComponent)
{
    auto v = make<TypeParam>({9, 9, 9, 9});
    if constexpr (sizeOf<TypeParam> == 3)
        v.set(1, 2, 3);
    else
        v.set(1, 2, 3, 4);
    EXPECT_EQ(components(v), expected<TypeParam>({1, 2, 3, 4}));
}

TYPED_TEST(FloatVec3, SetTakesAnotherVector)
{
    TypeParam v;
    v.set(TypeParam(1, 2, 3));
    EXPECT_EQ(components(v), expected<TypeParam>({1, 2, 3, 0}));
}

TYPED_TEST(FloatVec, AssignmentCopiesEveryBitAndGivesTheObject)
{
    using S = ScalarOf<TypeParam>;
    const auto source = make<TypeParam>({S(-0.0), notANumber<S>, S(3), -infinity<S>});
    TypeParam copied;
    EXPECT_EQ(&(copied = source), &copied);
    EXPECT_EQ(bits(copied), bits(source));

    TypeParam moved;
    EXPECT_EQ(&(moved = std::move(copied)), &moved);
    EXPECT_EQ(bits(moved), bits(source));
    EXPECT_EQ(bits(TypeParam(source)), bits(source));
}

TYPED_TEST(FloatVec, EqualityIsExactInEveryComponent)
{
    using S = ScalarOf<TypeParam>;
    const auto ones = make<TypeParam>({1, 1, 1, 1});
    EXPECT_TRUE(ones == TypeParam(ones));
    EXPECT_FALSE(ones != TypeParam(ones));
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        const auto other = withComponent<TypeParam>(i, std::nextafter(S(1), S(2)), S(1));
        EXPECT_FALSE(ones == other) << "component " << i;
        EXPECT_TRUE(ones != other) << "component " << i;
    }
}

TYPED_TEST(FloatVec, EqualityTakesZerosOfBothSignsAsOneAndNaNAsUnequal)
{
    using S = ScalarOf<TypeParam>;
    EXPECT_TRUE(TypeParam() == -TypeParam());
    EXPECT_FALSE(TypeParam() != -TypeParam());
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        const auto v = withComponent<TypeParam>(i, notANumber<S>, S(1));
        EXPECT_FALSE(v == TypeParam(v)) << "component " << i;
        EXPECT_TRUE(v != TypeParam(v)) << "component " << i;
    }
}

TYPED_TEST(FloatVec, OrdersByTheFirstComponentThatDiffers)
{
    using S = ScalarOf<TypeParam>;
    const auto ones = make<TypeParam>({1, 1, 1, 1});
    EXPECT_FALSE(ones < TypeParam(ones));
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        std::array<S, 4> larger = {1, 1, 1, 1};
        larger[i] = S(2);
        // What follows the deciding component must not matter.
        std::fill(larger.begin() + i + 1, larger.end(), S(-5));
        const auto other = make<TypeParam>(larger);
        EXPECT_TRUE(ones < other) << "component " << i;
        EXPECT_FALSE(other < ones) << "component " << i;
    }
}

TYPED_TEST(FloatVec, OrderPassesANaNOnToTheNextComponent)
{
    using S = ScalarOf<TypeParam>;
    const auto low = make<TypeParam>({0, 1, 0, 0});
    const auto high = make<TypeParam>({0, 2, 0, 0});
    const auto lowNaN = make<TypeParam>({notANumber<S>, 1, 0, 0});
    const auto highNaN = make<TypeParam>({notANumber<S>, 2, 0, 0});
    EXPECT_TRUE(lowNaN < high);
    EXPECT_TRUE(low < highNaN);
    EXPECT_TRUE(lowNaN < highNaN);
    EXPECT_FALSE(highNaN < low);
    EXPECT_FALSE(high < lowNaN);
}

TYPED_TEST(FloatVec, OrderIsUndecidedWhereNothingButNaNDiffers)
{
    using S = ScalarOf<TypeParam>;
    const auto ones = make<TypeParam>({1, 1, 1, 1});
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        const auto other = withComponent<TypeParam>(i, notANumber<S>, S(1));
        EXPECT_FALSE(ones < other) << "component " << i;
        EXPECT_FALSE(other < ones) << "component " << i;
    }
}

TYPED_TEST(FloatVec, AddsAndSubtractsByComponent)
{
    using S = ScalarOf<TypeParam>;
    const auto a = make<TypeParam>({1, 2, 3, 4});
    const auto b = make<TypeParam>({10, -20, S(0.5), 8});
    EXPECT_EQ(components(a + b), expected<TypeParam>({11, -18, S(3.5), 12}));
    EXPECT_EQ(components(a - b), expected<TypeParam>({-9, 22, S(2.5), -4}));

    TypeParam v = a;
    EXPECT_EQ(&(v += b), &v);
    EXPECT_EQ(components(v), components(a + b));
    EXPECT_EQ(&(v -= b), &v);
    EXPECT_EQ(components(v), components(a));
}

TYPED_TEST(FloatVec, AddsAndSubtractsItself)
{
    const auto a = make<TypeParam>({1, 2, 3, 4});
    TypeParam v = a;
    v += *&v;
    EXPECT_EQ(components(v), expected<TypeParam>({2, 4, 6, 8}));
    v -= *&v;
    EXPECT_EQ(v, TypeParam());
}

TYPED_TEST(FloatVec, NegationFlipsTheSignBit)
{
    using S = ScalarOf<TypeParam>;
    const TypeParam vectors[] = {TypeParam(), make<TypeParam>({1, -2, infinity<S>, S(-0.0)}),
                                 make<TypeParam>({notANumber<S>, -infinity<S>, -notANumber<S>, 0})};
    for (const TypeParam &v : vectors) {
        auto flipped = bits(v);
        for (auto &word : flipped)
            word ^= typename decltype(flipped)::value_type(1) << (sizeof(S) * 8 - 1);
        EXPECT_EQ(bits(-v), flipped);
    }
}

TYPED_TEST(FloatVec, ScalesByComponent)
{
    using S = ScalarOf<TypeParam>;
    const auto a = make<TypeParam>({1, -2, 3, S(0.5)});
    EXPECT_EQ(components(a * S(4)), expected<TypeParam>({4, -8, 12, 2}));
    EXPECT_EQ(components(a / S(4)), expected<TypeParam>({S(0.25), S(-0.5), S(0.75), S(0.125)}));

    TypeParam v = a;
    EXPECT_EQ(&(v *= S(4)), &v);
    EXPECT_EQ(components(v), components(a * S(4)));
    EXPECT_EQ(&(v /= S(4)), &v);
    EXPECT_EQ(components(v), components(a));
}

TYPED_TEST(FloatVec, DivisionTakesNoReciprocal)
{
    using S = ScalarOf<TypeParam>;
    // A reciprocal shows: 41 x (1 / 41) is not 1 in float, 49 x (1 / 49) is not 1 in double.
    for (int n = 1; n <= 1000; ++n) {
        auto v = make<TypeParam>({S(n), S(-n), S(n), S(-n)});
        ASSERT_EQ(components(v / S(n)), expected<TypeParam>({1, -1, 1, -1})) << n;
        ASSERT_EQ(components(v /= S(n)), expected<TypeParam>({1, -1, 1, -1})) << n;
    }
}

TYPED_TEST(FloatVec, DivisionByZeroGivesInfinitiesAndNaN)
{
    using S = ScalarOf<TypeParam>;
    const TypeParam quotient = make<TypeParam>({1, -1, 0, 1}) / S(0);
    EXPECT_EQ(quotient.x(), infinity<S>);
    EXPECT_EQ(quotient.y(), -infinity<S>);
    EXPECT_TRUE(std::isnan(quotient.z()));
}

TYPED_TEST(FloatVec, DotProductHasATermForEachComponent)
{
    using S = ScalarOf<TypeParam>;
    const auto a = make<TypeParam>({1, 2, 3, 4});
    const auto b = make<TypeParam>({5, 6, 7, 8});
    EXPECT_EQ(a * b, sizeOf<TypeParam> == 3 ? S(38) : S(70));
}

TYPED_TEST(FloatVec, DotProductSumsFromLeftToRight)
{
    using S = ScalarOf<TypeParam>;
    const auto a = make<TypeParam>({1, swallowsOne<S>, -swallowsOne<S>, 1});
    const auto ones = make<TypeParam>({1, 1, 1, 1});
    EXPECT_EQ(a * ones, sizeOf<TypeParam> == 3 ? S(0) : S(1));
}

TYPED_TEST(FloatVec3, CrossProductIsRightHanded)
{
    const TypeParam x(1, 0, 0);
    const TypeParam y(0, 1, 0);
    const TypeParam z(0, 0, 1);
    EXPECT_EQ(x ^ y, z);
    EXPECT_EQ(y ^ z, x);
    EXPECT_EQ(z ^ x, y);
    EXPECT_EQ(y ^ x, -z);
    EXPECT_EQ(components(TypeParam(1, 2, 3) ^ TypeParam(4, 5, 7)), expected<TypeParam>({-1, 5, -3, 0}));
}

} // namespace
