// Inversion: the choice between the two ways, their ends on singular matrices, random ones against Eigen.

#include "MatrixTesting.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

constexpr int rounds = 1000;

template <typename M>
class MatrixInverse : public ::testing::Test
{
};
using Matrices = ::testing::Types<pcMatrixf, pcMatrixd>;
TYPED_TEST_SUITE(MatrixInverse, Matrices);

TYPED_TEST(MatrixInverse, OfTheIdentityIsTheIdentity)
{
    EXPECT_TRUE(TypeParam::inverse(TypeParam()).isIdentity());
    TypeParam m;
    EXPECT_TRUE(m.invert_4x4(TypeParam()));
    EXPECT_TRUE(m.isIdentity());
}

TYPED_TEST(MatrixInverse, OfPowersOfTwoIsExact)
{
    const TypeParam m(0, 2, 0, 0, 0, 0, 4, 0, 0.5, 0, 0, 0, 8, -16, 32, 1);
    const TypeParam wanted(0, 0, 2, 0, 0.5, 0, 0, 0, 0, 0.25, 0, 0, 8, -8, -16, 1);
    TypeParam inverse;
    EXPECT_TRUE(inverse.invert(m));
    EXPECT_EQ(inverse, wanted);
    EXPECT_TRUE(inverse.invert_4x3(m));
    EXPECT_EQ(inverse, wanted);
    EXPECT_TRUE(inverse.invert_4x4(m));
    EXPECT_EQ(inverse, wanted);
}

TYPED_TEST(MatrixInverse, OfItselfIsThatOfACopy)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (const bool affine : {true, false}) {
        const TypeParam m = random.wellConditioned<S>(affine);
        const TypeParam wanted = TypeParam::inverse(m);
        TypeParam self(m);
        EXPECT_TRUE(self.invert(self));
        EXPECT_EQ(self, wanted);
        TypeParam byCofactors;
        byCofactors.invert_4x3(m);
        self = m;
        self.invert_4x3(self);
        EXPECT_EQ(self, byCofactors);
        TypeParam byElimination;
        byElimination.invert_4x4(m);
        self = m;
        self.invert_4x4(self);
        EXPECT_EQ(self, byElimination);
    }
}

TYPED_TEST(MatrixInverse, IsThatOfEigen)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const bool affine = i % 2 == 0;
        const TypeParam m = random.wellConditioned<S>(affine);
        const Matrix4 wanted = eigen(m).inverse();
        const double allowed = 40.0 * tolerance<S> * wanted.cwiseAbs().maxCoeff();
        TypeParam inverse;
        EXPECT_TRUE(inverse.invert(m));
        expectNear(eigen(inverse), wanted, allowed);
        expectNear(eigen(m * inverse), Matrix4::Identity().eval(), 10.0 * allowed);
        expectNear(eigen(inverse * m), Matrix4::Identity().eval(), 10.0 * allowed);
        EXPECT_TRUE(inverse.invert_4x4(m));
        expectNear(eigen(inverse), wanted, allowed);
    }
}

TYPED_TEST(MatrixInverse, CofactorsCorrectForAProjectiveColumn)
{
    using S = ElementOf<TypeParam>;
    Random random;
    int compared = 0;
    for (int i = 0; i < rounds; ++i) {
        TypeParam m = random.wellConditioned<S>(true);
        for (int row = 0; row < 4; ++row)
            m(row, 3) = static_cast<S>(random.number(-1.0, 0.9));
        const Matrix4 wanted = eigen(m).inverse();
        const Block3 block = eigen(m).template block<3, 3>(0, 0).inverse();
        const double size = wanted.cwiseAbs().maxCoeff() * (1.0 + block.cwiseAbs().maxCoeff());
        if (!(size < 100.0))
            continue;
        ++compared;
        TypeParam inverse;
        EXPECT_TRUE(inverse.invert_4x3(m));
        expectNear(eigen(inverse), wanted, 100.0 * tolerance<S> * size);
    }
    EXPECT_GT(compared, rounds / 4);
}

TYPED_TEST(MatrixInverse, CofactorsPassOverTheColumnWhereItsLastElementIsNearlyOne)
{
    using S = ElementOf<TypeParam>;
    // (w - 1) squared is not above 1e-6: columns 0 to 2 as if column 3 were that of an affine matrix.
    for (const double w : {1.0, 1.0009, 0.9991}) {
        const TypeParam m(2, 0, 0, 5, 0, 2, 0, 6, 0, 0, 2, 7, 2, 4, 8, static_cast<S>(w));
        TypeParam inverse;
        EXPECT_TRUE(inverse.invert_4x3(m));
        EXPECT_EQ(inverse, TypeParam(0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, -1, -2, -4, 1));
    }
    TypeParam corrected;
    corrected.invert_4x3(TypeParam(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 2, 4, 8, 2));
    EXPECT_EQ(corrected, TypeParam(0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, -0.5, -1, -2, 0.5));
}

// What is not exactly affine goes through the elimination; what is, through the cofactors, which always succeed.
TYPED_TEST(MatrixInverse, SingularMatricesEndInTwoWays)
{
    using S = ElementOf<TypeParam>;
    const TypeParam m(1, 2, 3, 0, 0, 0, 0, 0, 4, 5, 6, 0, 7, 8, 9, 1);
    TypeParam inverse;
    EXPECT_TRUE(inverse.invert(m));
    EXPECT_FALSE(std::isfinite(inverse(0, 0)));
    EXPECT_FALSE(inverse.invert_4x4(m));
    TypeParam projective(m);
    projective(0, 3) = std::numeric_limits<S>::denorm_min();
    EXPECT_FALSE(inverse.invert(projective));
    projective = m;
    projective(3, 3) = std::nextafter(S(1), S(2));
    EXPECT_FALSE(inverse.invert(projective));
    EXPECT_FALSE(inverse.invert_4x4(TypeParam(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0)));
}

TYPED_TEST(MatrixInverse, WithoutNumbersEndsInAFailure)
{
    using S = ElementOf<TypeParam>;
    TypeParam m;
    for (int i = 0; i < 16; ++i)
        m(i / 4, i % 4) = notANumber<S>;
    EXPECT_FALSE(m.invert_4x4(TypeParam(m)));
}

/// The elimination written down once more, as plainly as can be: a list of pivots, each the last of the largest.
template <typename S>
bool plainElimination(pcMatrix<S> &m)
{
    std::vector<std::pair<int, int>> pivots;
    std::vector<bool> done(4);
    for (int step = 0; step < 4; ++step) {
        std::vector<std::pair<int, int>> open;
        for (int i = 0; i < 16; ++i) {
            if (!done[static_cast<std::size_t>(i / 4)] && !done[static_cast<std::size_t>(i % 4)])
                open.emplace_back(i / 4, i % 4);
        }
        std::pair<int, int> best = open.front();
        for (const auto &place : open) {
            if (!(std::abs(m(place.first, place.second)) < std::abs(m(best.first, best.second))))
                best = place;
        }
        const auto [row, col] = best;
        pivots.push_back(best);
        done[static_cast<std::size_t>(col)] = true;
        for (int k = 0; k < 4 && row != col; ++k)
            std::swap(m(row, k), m(col, k));
        if (m(col, col) == S(0))
            return false;
        const S reciprocal = S(1) / m(col, col);
        m(col, col) = S(1);
        for (int k = 0; k < 4; ++k)
            m(col, k) = m(col, k) * reciprocal;
        for (int r = 0; r < 4; ++r) {
            const S factor = m(r, col);
            for (int k = 0; k < 4 && r != col; ++k)
                m(r, k) = (k == col ? S(0) : m(r, k)) - factor * m(col, k);
        }
    }
    for (int step = 3; step >= 0; --step) {
        const auto [row, col] = pivots[static_cast<std::size_t>(step)];
        for (int k = 0; k < 4 && row != col; ++k)
            std::swap(m(k, row), m(k, col));
    }
    return true;
}

// Whole numbers tie often, so that the order of the search shows in the last bits.
TYPED_TEST(MatrixInverse, EliminationTakesTheLastOfTheLargest)
{
    using S = ElementOf<TypeParam>;
    Random random;
    int singular = 0;
    for (int i = 0; i < 20 * rounds; ++i) {
        TypeParam m;
        for (int k = 0; k < 16; ++k)
            m(k / 4, k % 4) = static_cast<S>(std::floor(random.number(-3.0, 4.0)));
        TypeParam wanted(m);
        const bool invertible = plainElimination(wanted);
        TypeParam inverse;
        ASSERT_EQ(inverse.invert_4x4(m), invertible);
        if (invertible) {
            ASSERT_EQ(storedBits<S>(inverse), storedBits<S>(wanted));
        }
        singular += invertible ? 0 : 1;
    }
    EXPECT_GT(singular, 0);
}

} // namespace
