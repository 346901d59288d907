#include "PrismTesting.h"
#include "VolumeFile.h"

#include "stPrism.h"

#include <gtest/gtest.h>

#include <QDataStream>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>

using namespace ptCloud;
using namespace volume;

namespace
{

static_assert(std::is_standard_layout_v<stPrism> && std::is_trivially_copyable_v<stPrism>);
static_assert(std::is_standard_layout_v<stQuadPrism> && std::is_trivially_copyable_v<stQuadPrism>);
static_assert(offsetof(stPrism, x1) == 0 && offsetof(stPrism, z1) == 8 && offsetof(stPrism, x2) == 12
              && offsetof(stPrism, x3) == 24 && offsetof(stPrism, groundZ) == 36 && offsetof(stPrism, digVolume) == 40
              && offsetof(stPrism, fillVolume) == 48 && sizeof(stPrism) == 56);
static_assert(offsetof(stQuadPrism, xMin) == 0 && offsetof(stQuadPrism, xMax) == 4 && offsetof(stQuadPrism, yMin) == 8
              && offsetof(stQuadPrism, yMax) == 12 && offsetof(stQuadPrism, groundZ) == 16
              && offsetof(stQuadPrism, topZ) == 20 && offsetof(stQuadPrism, digVolume) == 24
              && offsetof(stQuadPrism, fillVolume) == 32 && sizeof(stQuadPrism) == 40);

template <typename Prism>
struct Traits;
template <>
struct Traits<stPrism>
{
    using Stored = support::VolumeFile::Prism;
    static constexpr int floats = 10;
    static constexpr int bytes = 100;
};
template <>
struct Traits<stQuadPrism>
{
    using Stored = support::VolumeFile::QuadPrism;
    static constexpr int floats = 6;
    static constexpr int bytes = 68;
};

/// The floats in their order.
template <typename Prism>
std::array<float, Traits<Prism>::floats> floatsOf(const Prism &prism)
{
    std::array<float, Traits<Prism>::floats> values{};
    std::memcpy(values.data(), static_cast<const void *>(&prism), sizeof values);
    return values;
}

/// A prism with these floats and volumes.
template <typename Prism>
Prism withFloats(const std::array<float, Traits<Prism>::floats> &values, double dig = 0.0, double fill = 0.0)
{
    Prism prism;
    std::memcpy(static_cast<void *>(&prism), values.data(), sizeof values);
    prism.digVolume = dig;
    prism.fillVolume = fill;
    return prism;
}

/// Bit for bit, so that zeros of both signs and numbers that are none can be told apart.
template <typename Prism>
bool sameBits(const Prism &a, const Prism &b)
{
    return std::memcmp(static_cast<const void *>(&a), static_cast<const void *>(&b), sizeof a) == 0;
}

/// No two fields alike, none a short binary fraction.
template <typename Prism>
Prism anyPrism()
{
    std::array<float, Traits<Prism>::floats> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = 0.1F + static_cast<float>(i) * 1.7F;
    values[1] = -0.0F;
    return withFloats<Prism>(values, 123.456, -1e-9);
}

template <typename Prism>
typename Traits<Prism>::Stored storedForm(const Prism &prism)
{
    typename Traits<Prism>::Stored stored;
    const auto values = floatsOf(prism);
    std::copy(values.begin(), values.end(), stored.floats.begin());
    stored.dig = prism.digVolume;
    stored.fill = prism.fillVolume;
    return stored;
}

template <typename Prism>
QByteArray saved(const Prism &prism)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    prism.save(stream);
    return bytes;
}

template <typename Prism>
bool load(Prism &prism, const QByteArray &bytes, qint64 *left = nullptr)
{
    QDataStream stream(bytes);
    const bool ok = prism.load(stream);
    if (left != nullptr)
        *left = stream.device()->bytesAvailable();
    return ok;
}

template <typename Prism>
class PrismRecord : public ::testing::Test
{
};
using Prisms = ::testing::Types<stPrism, stQuadPrism>;
TYPED_TEST_SUITE(PrismRecord, Prisms);

TYPED_TEST(PrismRecord, StartsAsZeros)
{
    const TypeParam prism;
    for (const float value : floatsOf(prism))
        EXPECT_EQ(value, 0.0F);
    EXPECT_EQ(prism.digVolume, 0.0);
    EXPECT_EQ(prism.fillVolume, 0.0);
}

TYPED_TEST(PrismRecord, ClearsEveryField)
{
    auto prism = anyPrism<TypeParam>();
    prism.clear();
    EXPECT_TRUE(sameBits(prism, TypeParam()));
}

TYPED_TEST(PrismRecord, CopiesAndMovesFieldByField)
{
    const auto prism = anyPrism<TypeParam>();
    TypeParam copy(prism);
    EXPECT_TRUE(sameBits(copy, prism));
    copy.clear();
    EXPECT_TRUE(sameBits(prism, anyPrism<TypeParam>()));
    TypeParam moved(std::move(copy));
    moved = prism;
    EXPECT_TRUE(sameBits(moved, prism));
}

TYPED_TEST(PrismRecord, IsSavedWithEveryFloatAsEightBytes)
{
    const auto prism = anyPrism<TypeParam>();
    const QByteArray bytes = saved(prism);
    EXPECT_EQ(bytes.size(), Traits<TypeParam>::bytes);
    EXPECT_EQ(bytes.toHex(), support::bytesOf(storedForm(prism)).toHex());
}

TYPED_TEST(PrismRecord, IsLoadedAsItWasStored)
{
    const auto prism = anyPrism<TypeParam>();
    TypeParam loaded;
    qint64 left = -1;
    EXPECT_TRUE(load(loaded, support::bytesOf(storedForm(prism)) + "more", &left));
    EXPECT_TRUE(sameBits(loaded, prism));
    EXPECT_EQ(left, 4);
}

TYPED_TEST(PrismRecord, KeepsWhatIsInfiniteOrNoNumber)
{
    auto prism = anyPrism<TypeParam>();
    prism.groundZ = -std::numeric_limits<float>::infinity();
    prism.digVolume = notANumber;
    prism.fillVolume = infinity;
    TypeParam loaded;
    EXPECT_TRUE(load(loaded, saved(prism)));
    EXPECT_TRUE(sameBits(loaded, prism));
}

TYPED_TEST(PrismRecord, NarrowsStoredNumbersToFloats)
{
    typename Traits<TypeParam>::Stored stored;
    stored.floats.fill(0.1);
    stored.dig = 0.1;
    TypeParam loaded;
    EXPECT_TRUE(load(loaded, support::bytesOf(stored)));
    for (const float value : floatsOf(loaded))
        EXPECT_EQ(value, 0.1F);
    EXPECT_EQ(loaded.digVolume, 0.1);
}

TYPED_TEST(PrismRecord, RefusesAnotherVersionAndReadsNoFurther)
{
    for (const qint32 version : {0, 2, -1, 256, 0x01000000}) {
        auto stored = storedForm(anyPrism<TypeParam>());
        stored.version = version;
        auto prism = anyPrism<TypeParam>();
        qint64 left = -1;
        EXPECT_FALSE(load(prism, support::bytesOf(stored), &left)) << version;
        EXPECT_TRUE(sameBits(prism, TypeParam())) << version;
        EXPECT_EQ(left, Traits<TypeParam>::bytes - 4) << version;
    }
}

TYPED_TEST(PrismRecord, ReadsZerosBehindTheEndOfTheStream)
{
    const auto whole = anyPrism<TypeParam>();
    const QByteArray bytes = support::bytesOf(storedForm(whole));
    for (int length = 0; length < bytes.size(); ++length) {
        auto prism = anyPrism<TypeParam>();
        EXPECT_EQ(load(prism, bytes.left(length)), length >= 4) << length;
        auto expected = floatsOf(whole);
        const auto numbers = static_cast<std::size_t>(std::max(0, (length - 4) / 8));
        for (std::size_t i = numbers; i < expected.size(); ++i)
            expected[i] = 0.0F;
        const double dig = numbers > expected.size() ? whole.digVolume : 0.0;
        EXPECT_TRUE(sameBits(prism, withFloats<TypeParam>(expected, dig))) << length;
    }
}

stPrism prismOf(const support::CutTriangle &triangle)
{
    stPrism prism = withFloats<stPrism>({}, notANumber, notANumber);
    const auto &c = triangle.corners;
    const auto put = [](const support::Corner &corner, float &x, float &y, float &z) {
        x = static_cast<float>(corner.x);
        y = static_cast<float>(corner.y);
        z = static_cast<float>(corner.z);
    };
    put(c[0], prism.x1, prism.y1, prism.z1);
    put(c[1], prism.x2, prism.y2, prism.z2);
    put(c[2], prism.x3, prism.y3, prism.z3);
    prism.groundZ = static_cast<float>(triangle.ground);
    return prism;
}

TEST(stPrismRecord, CalculatesWhatTheKernelSays)
{
    for (const double ground : {-1.0, 0.5, 1.0, 2.0, 3.0, 4.0}) {
        const support::CutTriangle triangle = halfSquare(3, 1, 0, ground);
        stPrism prism = prismOf(triangle);
        prism.calcVolume();
        const DigFill expected = kernelVolumes(triangle);
        EXPECT_EQ(prism.digVolume, expected.dig);
        EXPECT_EQ(prism.fillVolume, expected.fill);
    }
    stPrism prism = prismOf(halfSquare(3, 1, 0, 0.5));
    prism.calcVolume();
    EXPECT_EQ(prism.digVolume, 0.2013888888888889);
    EXPECT_EQ(prism.fillVolume, 0.22222222222222224);
}

TEST(stPrismRecord, CalculatesInDoubleFromItsFloats)
{
    stPrism prism = prismOf({{{{500000.1, 0.3, 7.7}, {500003.7, 0.9, 7.7}, {500001.9, 4.3, 7.7}}}, 0.1});
    const double x1 = prism.x1, y1 = prism.y1, x2 = prism.x2, y2 = prism.y2, x3 = prism.x3, y3 = prism.y3;
    prism.calcVolume();
    const double area = std::fabs(x1 * y2 + x2 * y3 + x3 * y1 - x1 * y3 - x2 * y1 - x3 * y2) * 0.5;
    EXPECT_EQ(prism.digVolume, (static_cast<double>(7.7F) - static_cast<double>(0.1F)) * area);
    EXPECT_EQ(prism.fillVolume, 0.0);
}

TEST(stPrismRecord, LeavesItsShapeAloneWhenItCalculates)
{
    stPrism prism = anyPrism<stPrism>();
    prism.calcVolume();
    EXPECT_EQ(floatsOf(prism), floatsOf(anyPrism<stPrism>()));
}

/// Every field in turn is no number or infinite, over triangles of every lie to the ground.
TEST(stPrismRecord, NeverKeepsAVolumeThatIsNotANumber)
{
    const float bad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                         -std::numeric_limits<float>::infinity()};
    for (const double ground : {-1.0, 0.5, 1.0, 2.0, 4.0}) {
        for (std::size_t mask = 1; mask < 1024; ++mask) {
            for (const float value : bad) {
                auto floats = floatsOf(prismOf(halfSquare(3, 1, 0, ground)));
                for (std::size_t i = 0; i < floats.size(); ++i)
                    floats[i] = (mask >> i & 1U) != 0 ? value : floats[i];
                auto prism = withFloats<stPrism>(floats, 1.0, 1.0);
                prism.calcVolume();
                EXPECT_FALSE(std::isnan(prism.digVolume) || std::isnan(prism.fillVolume)) << mask << ' ' << value;
            }
        }
    }
}

TEST(stPrismRecord, TakesZeroForAVolumeThatIsNotANumber)
{
    const support::CutTriangle lost[] = {halfSquare(3, 1, 0, notANumber),
                                         halfSquare(2, 2, 2, notANumber),
                                         halfSquare(notANumber, notANumber, notANumber, 1),
                                         {{{{notANumber, 0, 3}, {1, 0, 1}, {0, 1, 0}}}, 0.5}};
    for (const support::CutTriangle &triangle : lost) {
        stPrism prism = prismOf(triangle);
        prism.calcVolume();
        EXPECT_EQ(prism.digVolume, 0.0);
        EXPECT_EQ(prism.fillVolume, 0.0);
    }
}

TEST(stPrismRecord, KeepsAVolumeThatIsInfinite)
{
    stPrism prism = prismOf(halfSquare(infinity, infinity, infinity, 1));
    prism.calcVolume();
    EXPECT_EQ(prism.digVolume, infinity);
    EXPECT_EQ(prism.fillVolume, 0.0);
}

/// xMin, xMax, yMin, yMax, ground, top; its volumes start as rubbish.
stQuadPrism calculated(const std::array<float, 6> &cell)
{
    auto prism = withFloats<stQuadPrism>(cell, notANumber, notANumber);
    prism.calcVolume();
    EXPECT_EQ(std::memcmp(static_cast<const void *>(&prism), cell.data(), sizeof cell), 0);
    return prism;
}

TEST(stQuadPrismRecord, DigsAboveTheGroundAndFillsBelow)
{
    EXPECT_EQ(calculated({1, 3, 10, 14, 5, 8}).digVolume, 24.0);
    EXPECT_EQ(calculated({1, 3, 10, 14, 5, 8}).fillVolume, 0.0);
    EXPECT_EQ(calculated({1, 3, 10, 14, 8, 5}).digVolume, 0.0);
    EXPECT_EQ(calculated({1, 3, 10, 14, 8, 5}).fillVolume, 24.0);
    EXPECT_EQ(calculated({1, 3, 10, 14, 5, 5}).digVolume, 0.0);
    EXPECT_EQ(calculated({1, 3, 10, 14, 5, 5}).fillVolume, 0.0);
}

TEST(stQuadPrismRecord, KeepsTheSignOfAnAreaThatIsTurnedOver)
{
    EXPECT_EQ(calculated({3, 1, 10, 14, 5, 8}).digVolume, -24.0);
    EXPECT_EQ(calculated({3, 1, 14, 10, 5, 8}).digVolume, 24.0);
}

TEST(stQuadPrismRecord, TakesAreaAndHeightAsFloats)
{
    const float x = 100000.1F;
    const float y = 99999.7F;
    const float side = 0.1F;
    const std::array<float, 6> cell = {x, x + side, y, y + side, 0.1F, 12.3F};
    // Each step rounded to a float by a store of its own.
    const volatile float width = cell[1] - cell[0];
    const volatile float depth = cell[3] - cell[2];
    const volatile float area = depth * width;
    const volatile float height = cell[5] - cell[4];
    EXPECT_EQ(calculated(cell).digVolume, static_cast<double>(height) * static_cast<double>(area));
    EXPECT_EQ(calculated({cell[0], cell[1], cell[2], cell[3], 12.3F, 0.1F}).fillVolume,
              static_cast<double>(height) * static_cast<double>(area));
    // In double all along it would be another number: so far out, floats stand a 128th apart.
    EXPECT_EQ(width, 0.1015625F);
    EXPECT_NE(static_cast<double>(height), static_cast<double>(12.3F) - static_cast<double>(0.1F));
}

TEST(stQuadPrismRecord, KeepsWhatIsInfiniteOrNoNumber)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float endless = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(std::isnan(calculated({0, 1, 0, 1, 0, nan}).fillVolume));
    EXPECT_EQ(calculated({0, 1, 0, 1, 0, nan}).digVolume, 0.0);
    EXPECT_TRUE(std::isnan(calculated({0, 1, 0, 1, nan, 3}).fillVolume));
    EXPECT_TRUE(std::isnan(calculated({nan, 1, 0, 1, 0, 3}).digVolume));
    EXPECT_EQ(calculated({0, 1, 0, 1, 0, endless}).digVolume, infinity);
    EXPECT_EQ(calculated({0, 1, 0, 1, endless, 0}).fillVolume, infinity);
    EXPECT_TRUE(std::isnan(calculated({0, 0, 0, 1, 0, endless}).digVolume));
}

} // namespace
