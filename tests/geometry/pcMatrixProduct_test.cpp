// Products with matrices and vectors: exact ones in whole numbers, random ones against Eigen.

#include "MatrixTesting.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

constexpr int rounds = 1000;

template <typename M>
class MatrixProduct : public ::testing::Test
{
};
using Matrices = ::testing::Types<pcMatrixf, pcMatrixd>;
TYPED_TEST_SUITE(MatrixProduct, Matrices);

const double other[16] = {2, -1, 0, 3, 1, 4, -2, 0, 0, 5, 1, -3, 6, 0, 2, 1};

TYPED_TEST(MatrixProduct, OfWholeNumbersIsExact)
{
    using S = ElementOf<TypeParam>;
    const TypeParam a = counted<S>();
    const TypeParam b(other);
    const TypeParam wanted(28, 22, 7, -2, 64, 54, 11, 2, 100, 86, 15, 6, 136, 118, 19, 10);
    EXPECT_EQ(a * b, wanted);
    TypeParam m;
    m.mult(a, b);
    EXPECT_EQ(m, wanted);
    m = a;
    m.postMult(b);
    EXPECT_EQ(m, wanted);
    m = b;
    m.preMult(a);
    EXPECT_EQ(m, wanted);
    m = a;
    EXPECT_EQ(&(m *= b), &m);
    EXPECT_EQ(m, wanted);
}

TYPED_TEST(MatrixProduct, TakesItselfAsAFactor)
{
    using S = ElementOf<TypeParam>;
    const TypeParam a = counted<S>();
    const TypeParam b(other);
    const TypeParam twin(a);
    TypeParam m = a;
    m.mult(m, b);
    EXPECT_EQ(m, a * b);
    m = b;
    m.mult(a, m);
    EXPECT_EQ(m, a * b);
    const TypeParam square = a * twin;
    m = a;
    m.mult(m, m);
    EXPECT_EQ(m, square);
    m = a;
    m *= m;
    EXPECT_EQ(m, square);
    m = a;
    m.preMult(m);
    EXPECT_EQ(m, square);
    m = a;
    m.postMult(m);
    EXPECT_EQ(m, square);
    m = a;
    m = m * m;
    EXPECT_EQ(m, square);
}

TYPED_TEST(MatrixProduct, AddsFromLeftToRightInItsOwnScalar)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const TypeParam a = random.matrix<S>(10.0);
        const TypeParam b = random.matrix<S>(10.0);
        const TypeParam product = a * b;
        for (int row = 0; row < 4; ++row) {
            for (int col = 0; col < 4; ++col) {
                volatile S sum = a(row, 0) * b(0, col); // kept from wider registers and fused steps
                for (int k = 1; k < 4; ++k) {
                    volatile S term = a(row, k) * b(k, col);
                    sum = sum + term;
                }
                EXPECT_EQ(product(row, col), sum);
            }
        }
    }
}

TYPED_TEST(MatrixProduct, IsThatOfEigen)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const TypeParam a = random.matrix<S>(10.0);
        const TypeParam b = random.matrix<S>(10.0);
        expectNear(eigen(a * b), eigen(a) * eigen(b), 400.0 * tolerance<S>);
    }
}

TYPED_TEST(MatrixProduct, TranslationMovesPointsOnlyFromTheLeft)
{
    using S = ElementOf<TypeParam>;
    const TypeParam m = TypeParam::translate(S(10), S(0), S(0));
    EXPECT_EQ(m.preMult(pcVec3d(1, 2, 3)), pcVec3d(11, 2, 3));
    EXPECT_EQ(m.preMult(pcVec3f(1, 2, 3)), pcVec3f(11, 2, 3));
    // The translation row then acts through the division alone, by the reciprocal of 11.
    const double d = 1.0 / 11.0;
    EXPECT_EQ(m.postMult(pcVec3d(1, 2, 3)), pcVec3d(d, 2 * d, 3 * d));
    const float f = 1.0F / 11.0F;
    if constexpr (sizeof(S) == 4) {
        EXPECT_EQ(m.postMult(pcVec3f(1, 2, 3)), pcVec3f(f, 2 * f, 3 * f));
    }
    EXPECT_EQ(m * pcVec3d(1, 2, 3), m.postMult(pcVec3d(1, 2, 3)));
    EXPECT_EQ(m * pcVec3f(1, 2, 3), m.postMult(pcVec3f(1, 2, 3)));
}

TYPED_TEST(MatrixProduct, FourComponentsAreNotDivided)
{
    using S = ElementOf<TypeParam>;
    const TypeParam m = counted<S>();
    EXPECT_EQ(m.preMult(pcVec4d(1, 2, 3, 4)), pcVec4d(90, 100, 110, 120));
    EXPECT_EQ(m.preMult(pcVec4f(1, 2, 3, 4)), pcVec4f(90, 100, 110, 120));
    EXPECT_EQ(m.postMult(pcVec4d(1, 2, 3, 4)), pcVec4d(30, 70, 110, 150));
    EXPECT_EQ(m.postMult(pcVec4f(1, 2, 3, 4)), pcVec4f(30, 70, 110, 150));
    EXPECT_EQ(m * pcVec4d(1, 2, 3, 4), pcVec4d(30, 70, 110, 150));
    EXPECT_EQ(m * pcVec4f(1, 2, 3, 4), pcVec4f(30, 70, 110, 150));
}

TYPED_TEST(MatrixProduct, DivisionByNothingIsNotTested)
{
    TypeParam m;
    m(3, 3) = 0;
    EXPECT_EQ(m.preMult(pcVec3d(1, -1, 2)), pcVec3d(infinity<double>, -infinity<double>, infinity<double>));
    EXPECT_TRUE(m.postMult(pcVec3f(0, 1, 2)).isNaN());
}

template <typename V, typename S>
void expectVectorsLikeEigen(double allowed)
{
    Random random;
    using P = std::conditional_t<std::is_same_v<ScalarOf<V>, float>, pcVec4f, pcVec4d>;
    for (int i = 0; i < rounds; ++i) {
        const pcMatrix<S> m = random.matrix<S>(3.0);
        const V v = random.vector<V>(3.0);
        const Matrix4 plain = eigen(m);
        const Eigen::Vector4d point = eigen(v).homogeneous();
        const Eigen::Vector4d row = plain.transpose() * point;
        const Eigen::Vector4d column = plain * point;
        if (std::abs(row(3)) > 0.5)
            expectNear(eigen(m.preMult(v)), row.hnormalized(), allowed);
        if (std::abs(column(3)) > 0.5) {
            expectNear(eigen(m.postMult(v)), column.hnormalized(), allowed);
            EXPECT_EQ(m * v, m.postMult(v));
        }
        const Block3 block = plain.block<3, 3>(0, 0);
        expectNear(eigen(pcMatrix<S>::transform3x3(m, v)), block * eigen(v), allowed);
        expectNear(eigen(pcMatrix<S>::transform3x3(v, m)), block.transpose() * eigen(v), allowed);

        const P p = random.vector<P>(3.0);
        expectNear(eigen(m.preMult(p)), plain.transpose() * eigen(p), allowed);
        expectNear(eigen(m.postMult(p)), plain * eigen(p), allowed);
    }
}

TYPED_TEST(MatrixProduct, VectorsAreTransformedAsByEigen)
{
    using S = ElementOf<TypeParam>;
    expectVectorsLikeEigen<pcVec3f, S>(400.0 * tolerance<float>);
    // A double vector stays of double precision on either matrix.
    expectVectorsLikeEigen<pcVec3d, S>(400.0 * tolerance<double>);
}

TYPED_TEST(MatrixProduct, FactorsInFrontAndBehindAreProducts)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const TypeParam m = random.matrix<S>(4.0);
        const pcVec3d v = random.vector<pcVec3d>(4.0);
        const pcVec3f narrow = v;
        const pcQuatd q = random.rotation();
        const double allowed = 100.0 * tolerance<S>;
        const auto changed = [&](auto change) {
            TypeParam result(m);
            change(result);
            return eigen(result);
        };
        const Matrix4 translation = eigen(TypeParam::translate(v));
        const Matrix4 scale = eigen(TypeParam::scale(v));
        const Matrix4 rotation = eigen(TypeParam::rotate(q));
        expectNear(changed([&](TypeParam &r) { r.preMultTranslate(v); }), translation * eigen(m), allowed);
        expectNear(changed([&](TypeParam &r) { r.postMultTranslate(v); }), eigen(m) * translation, allowed);
        expectNear(changed([&](TypeParam &r) { r.preMultScale(v); }), scale * eigen(m), allowed);
        expectNear(changed([&](TypeParam &r) { r.postMultScale(v); }), eigen(m) * scale, allowed);
        expectNear(changed([&](TypeParam &r) { r.preMultRotate(q); }), rotation * eigen(m), allowed);
        expectNear(changed([&](TypeParam &r) { r.postMultRotate(q); }), eigen(m) * rotation, allowed);
        const double rough = 100.0 * tolerance<float>;
        expectNear(changed([&](TypeParam &r) { r.preMultTranslate(narrow); }), translation * eigen(m), rough);
        expectNear(changed([&](TypeParam &r) { r.postMultTranslate(narrow); }), eigen(m) * translation, rough);
        expectNear(changed([&](TypeParam &r) { r.preMultScale(narrow); }), scale * eigen(m), rough);
        expectNear(changed([&](TypeParam &r) { r.postMultScale(narrow); }), eigen(m) * scale, rough);
    }
}

TYPED_TEST(MatrixProduct, TranslationPassesOverAxesWithoutAShift)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = counted<S>();
    for (int col = 0; col < 4; ++col)
        m(1, col) = notANumber<S>;
    TypeParam moved(m);
    moved.preMultTranslate(pcVec3d(2, 0, -1));
    EXPECT_EQ(moved.getTrans(), pcVec3d(13 + 2 - 9, 14 + 4 - 10, 15 + 6 - 11));
    EXPECT_EQ(moved(3, 3), S(16 + 8 - 12));
    moved = m;
    moved.preMultTranslate(pcVec3f(2, -0.0F, -1));
    EXPECT_EQ(moved(3, 0), S(6));

    m = counted<S>();
    for (int row = 0; row < 4; ++row)
        m(row, 3) = infinity<S>;
    moved = m;
    moved.postMultTranslate(pcVec3d(0, 1, 0));
    for (int row = 0; row < 4; ++row) {
        EXPECT_EQ(moved(row, 0), m(row, 0));
        EXPECT_EQ(moved(row, 1), infinity<S>);
        EXPECT_EQ(moved(row, 2), m(row, 2));
    }
}

TYPED_TEST(MatrixProduct, TheIdentityRotationTouchesNothing)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = counted<S>();
    m(0, 0) = infinity<S>; // a product with the identity would spread NaN
    m(1, 1) = S(-0.0);
    const auto before = storedBits<S>(m);
    m.preMultRotate(pcQuatd());
    EXPECT_EQ(storedBits<S>(m), before);
    m.postMultRotate(pcQuatd());
    EXPECT_EQ(storedBits<S>(m), before);
    m.postMultRotate(pcQuatd(0, 0, 0, -1));
    EXPECT_NE(storedBits<S>(m), before);
}

} // namespace
