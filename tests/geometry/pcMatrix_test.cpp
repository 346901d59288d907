// Elements, comparison, and what is written or read element by element.

#include "MatrixTesting.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

template <typename M>
class Matrix : public ::testing::Test
{
};
using Matrices = ::testing::Types<pcMatrixf, pcMatrixd>;
TYPED_TEST_SUITE(Matrix, Matrices);

TYPED_TEST(Matrix, IsTheIdentityByDefault)
{
    using S = ElementOf<TypeParam>;
    const std::vector<S> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_EQ(elements(TypeParam()), identity);
    EXPECT_EQ(elements(TypeParam::identity()), identity);
    EXPECT_TRUE(TypeParam().isIdentity());
    TypeParam m = counted<S>();
    m.makeIdentity();
    EXPECT_EQ(elements(m), identity);
}

TYPED_TEST(Matrix, IdentityIsExact)
{
    using S = ElementOf<TypeParam>;
    for (int i = 0; i < 16; ++i) {
        TypeParam m;
        m(i / 4, i % 4) = std::nextafter(m(i / 4, i % 4), S(2));
        EXPECT_FALSE(m.isIdentity());
        m(i / 4, i % 4) = notANumber<S>;
        EXPECT_FALSE(m.isIdentity());
    }
}

TYPED_TEST(Matrix, StandsInRowMajorOrder)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = counted<S>();
    const TypeParam &same = m;
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(elements(m)[static_cast<std::size_t>(i)], S(i + 1));
        EXPECT_EQ(same(i / 4, i % 4), S(i + 1));
    }
    m(2, 1) = 100;
    EXPECT_EQ(elements(m)[9], S(100));
}

TYPED_TEST(Matrix, TakesSixteenValuesOfEitherPrecision)
{
    using S = ElementOf<TypeParam>;
    double wide[16];
    float narrow[16];
    for (int i = 0; i < 16; ++i) {
        wide[i] = 0.1 * i;
        narrow[i] = 0.1F * static_cast<float>(i);
    }
    const TypeParam fromWide(wide);
    const TypeParam fromNarrow(narrow);
    TypeParam setWide;
    TypeParam setNarrow;
    setWide.set(wide);
    setNarrow.set(narrow);
    TypeParam ofFloat;
    TypeParam ofDouble;
    ofFloat.set(pcMatrixf(narrow));
    ofDouble.set(pcMatrixd(wide));
    for (int i = 0; i < 16; ++i) {
        const int row = i / 4;
        const int col = i % 4;
        EXPECT_EQ(fromWide(row, col), static_cast<S>(wide[i]));
        EXPECT_EQ(setWide(row, col), static_cast<S>(wide[i]));
        EXPECT_EQ(ofDouble(row, col), static_cast<S>(wide[i]));
        EXPECT_EQ(fromNarrow(row, col), static_cast<S>(narrow[i]));
        EXPECT_EQ(setNarrow(row, col), static_cast<S>(narrow[i]));
        EXPECT_EQ(ofFloat(row, col), static_cast<S>(narrow[i]));
    }
    TypeParam m;
    m.set(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    EXPECT_EQ(m, counted<S>());
}

TYPED_TEST(Matrix, TakesARotation)
{
    const pcQuatd q(0.5, pcVec3d(1, 2, 3));
    TypeParam wanted;
    wanted.makeRotate(q);
    EXPECT_EQ(TypeParam(q), wanted);
    TypeParam m = counted<ElementOf<TypeParam>>();
    m.set(q);
    EXPECT_EQ(m, wanted);
    pcQuatd back;
    m.get(back);
    EXPECT_EQ(back, m.getRotate());
}

TYPED_TEST(Matrix, IsValidWithoutANaN)
{
    using S = ElementOf<TypeParam>;
    for (int i = 0; i < 16; ++i) {
        TypeParam m;
        m(i / 4, i % 4) = infinity<S>;
        EXPECT_TRUE(m.valid() && !m.isNaN());
        m(i / 4, i % 4) = notANumber<S>;
        EXPECT_TRUE(!m.valid() && m.isNaN());
    }
}

TYPED_TEST(Matrix, ComparesInStorageOrder)
{
    using S = ElementOf<TypeParam>;
    const TypeParam m = counted<S>();
    EXPECT_EQ(m.compare(TypeParam(m)), 0);
    EXPECT_TRUE(m == m && !(m != m) && !(m < m));
    for (int i = 0; i < 16; ++i) {
        TypeParam greater = m;
        greater(i / 4, i % 4) = std::nextafter(m(i / 4, i % 4), S(100));
        for (int rest = i + 1; rest < 16; ++rest)
            greater(rest / 4, rest % 4) = -100;
        EXPECT_EQ(m.compare(greater), -1);
        EXPECT_EQ(greater.compare(m), 1);
        EXPECT_TRUE(m < greater && m != greater && !(m == greater) && !(greater < m));
    }
}

TYPED_TEST(Matrix, ComparisonPassesOverANaN)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = counted<S>();
    m(0, 0) = notANumber<S>;
    EXPECT_TRUE(m == counted<S>());
    EXPECT_TRUE(m == m);
    m(3, 3) = 17;
    EXPECT_EQ(m.compare(counted<S>()), 1);
}

TYPED_TEST(Matrix, TranslationStandsInTheLastRow)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = counted<S>();
    EXPECT_EQ(m.getTrans(), pcVec3d(13, 14, 15));
    const auto expectOnly = [&](S x, S y, S z) {
        std::vector<S> wanted = elements(counted<S>());
        wanted[12] = x;
        wanted[13] = y;
        wanted[14] = z;
        EXPECT_EQ(elements(m), wanted);
    };
    m.setTrans(S(-1), S(-2), S(-3));
    expectOnly(-1, -2, -3);
    m.setTrans(pcVec3d(0.1, 2, 3));
    expectOnly(static_cast<S>(0.1), 2, 3);
    m.setTrans(pcVec3f(0.1F, 4, 5));
    expectOnly(static_cast<S>(0.1F), 4, 5);
}

TYPED_TEST(Matrix, ScaleIsTheLengthOfTheColumns)
{
    using S = ElementOf<TypeParam>;
    const TypeParam m(1, 0, 3, 99, 2, 3, 0, 99, 2, 4, -4, 99, 99, 99, 99, 99);
    EXPECT_EQ(m.getScale(), pcVec3d(3, 5, 5));
    EXPECT_EQ(TypeParam::scale(S(2), S(-3), S(4)).getScale(), pcVec3d(2, 3, 4));
}

TYPED_TEST(Matrix, MakesScalesAndTranslations)
{
    using S = ElementOf<TypeParam>;
    const TypeParam scale(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1);
    const TypeParam translation(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 3, 4, 1);
    EXPECT_EQ(TypeParam::scale(S(2), S(3), S(4)), scale);
    EXPECT_EQ(TypeParam::scale(pcVec3d(2, 3, 4)), scale);
    EXPECT_EQ(TypeParam::scale(pcVec3f(2, 3, 4)), scale);
    EXPECT_EQ(TypeParam::translate(S(2), S(3), S(4)), translation);
    EXPECT_EQ(TypeParam::translate(pcVec3d(2, 3, 4)), translation);
    EXPECT_EQ(TypeParam::translate(pcVec3f(2, 3, 4)), translation);
    TypeParam m = counted<S>();
    m.makeScale(pcVec3d(2, 3, 4));
    EXPECT_EQ(m, scale);
    m.makeTranslate(pcVec3f(2, 3, 4));
    EXPECT_EQ(m, translation);
    m.makeScale(S(2), S(3), S(4));
    EXPECT_EQ(m, scale);
    m.makeTranslate(S(2), S(3), S(4));
    EXPECT_EQ(m, translation);
    m.makeScale(pcVec3f(2, 3, 4));
    EXPECT_EQ(m, scale);
    m.makeTranslate(pcVec3d(2, 3, 4));
    EXPECT_EQ(m, translation);
}

TYPED_TEST(Matrix, OrthoNormalizeRescalesColumnsOnly)
{
    using S = ElementOf<TypeParam>;
    // Lengths 3, 5 and 0; the columns are not at right angles, and the rest is left.
    const TypeParam m(1, 0, 0, 7, 2, 3, 0, 8, 2, 4, 0, 9, 10, 11, 12, 13);
    TypeParam wanted(m);
    for (int row = 0; row < 3; ++row) {
        wanted(row, 0) = static_cast<S>(static_cast<double>(m(row, 0)) / 3.0);
        wanted(row, 1) = static_cast<S>(static_cast<double>(m(row, 1)) / 5.0);
    }
    EXPECT_EQ(elements(TypeParam::orthoNormal(m)), elements(wanted));
    TypeParam self(m);
    self.orthoNormalize(self);
    EXPECT_EQ(elements(self), elements(wanted));
}

TYPED_TEST(Matrix, OrthoNormalizeLeavesWhatIsNearlyUnitOrNearlyNothing)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = TypeParam::scale(static_cast<S>(1.0000004), static_cast<S>(0.0009), static_cast<S>(0.9999996));
    EXPECT_EQ(elements(TypeParam::orthoNormal(m)), elements(m));
    m.makeScale(static_cast<S>(1.000001), static_cast<S>(0.0011), static_cast<S>(0.999999));
    m.orthoNormalize(m);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(m(i, i), S(1));
}

TYPED_TEST(Matrix, TransposesAllOrTheBlock)
{
    using S = ElementOf<TypeParam>;
    const TypeParam whole(1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16);
    const TypeParam block(1, 5, 9, 4, 2, 6, 10, 8, 3, 7, 11, 12, 13, 14, 15, 16);
    TypeParam m;
    EXPECT_TRUE(m.transpose(counted<S>()));
    EXPECT_EQ(m, whole);
    m = counted<S>();
    EXPECT_TRUE(m.transpose(m));
    EXPECT_EQ(m, whole);
    m = counted<S>();
    EXPECT_TRUE(m.transpose3x3(m));
    EXPECT_EQ(m, block);
    m = TypeParam::translate(S(20), S(21), S(22));
    EXPECT_TRUE(m.transpose3x3(counted<S>()));
    EXPECT_EQ(m, TypeParam(1, 5, 9, 0, 2, 6, 10, 0, 3, 7, 11, 0, 20, 21, 22, 1));
}

TEST(pcMatrixf, CalculatesElementByElement)
{
    const pcMatrixf m = counted<float>();
    const pcMatrixf product = m * 3.0F;
    const pcMatrixf quotient = m / 3.0F;
    const pcMatrixf sum = m + product;
    for (int i = 0; i < 16; ++i) {
        const auto value = static_cast<float>(i + 1);
        EXPECT_EQ(product(i / 4, i % 4), value * 3.0F);
        EXPECT_EQ(quotient(i / 4, i % 4), value / 3.0F);
        EXPECT_EQ(sum(i / 4, i % 4), value + value * 3.0F);
    }
    pcMatrixf r = m;
    EXPECT_EQ(&(r *= 3.0F), &r);
    EXPECT_EQ(r, product);
    r = m;
    EXPECT_EQ(&(r /= 3.0F), &r);
    EXPECT_EQ(r, quotient);
    r = m;
    EXPECT_EQ(&(r += product), &r);
    EXPECT_EQ(r, sum);
    r = m;
    r += r;
    EXPECT_EQ(r, m * 2.0F);
}

} // namespace
