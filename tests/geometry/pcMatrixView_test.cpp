// Projections and views, made and read.

#include "MatrixTesting.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

constexpr int rounds = 1000;

template <typename M>
class MatrixView : public ::testing::Test
{
};
using Matrices = ::testing::Types<pcMatrixf, pcMatrixd>;
TYPED_TEST_SUITE(MatrixView, Matrices);

TYPED_TEST(MatrixView, LooksDownTheNegativeZAxis)
{
    // From (5, 0, 0) towards the origin: x is in front, so it ends on the z axis; y goes to the right.
    const TypeParam wanted(0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -5, 1);
    EXPECT_EQ(TypeParam::lookAt({5, 0, 0}, {0, 0, 0}, {0, 0, 2}), wanted);
    TypeParam m = counted<ElementOf<TypeParam>>();
    m.makeLookAt({5, 0, 0}, {0, 0, 0}, {0, 0, 2});
    EXPECT_EQ(m, wanted);
    EXPECT_EQ(m.preMult(pcVec3d(0, 1, 2)), pcVec3d(1, 2, -5));
}

TYPED_TEST(MatrixView, WithoutSidesWhereUpIsTheDirection)
{
    const TypeParam m = TypeParam::lookAt({0, 0, 5}, {0, 0, 0}, {0, 0, 1});
    EXPECT_EQ(m, TypeParam(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, -5, 1));
}

TYPED_TEST(MatrixView, LooksAsTheFrameOfEyeAndDirectionTells)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcVec3d eye = random.vector<pcVec3d>(10.0);
        const pcVec3d front = random.direction();
        const pcVec3d up = random.direction();
        if (std::abs(front * up) > 0.9)
            continue;
        const TypeParam m = TypeParam::lookAt(eye, eye + front * 3.0, up);
        const double allowed = 40.0 * tolerance<S>;
        expectNear(eigen(m.preMult(eye)), Eigen::Vector3d(0, 0, 0), allowed);
        expectNear(eigen(m.preMult(eye + front * 3.0)), Eigen::Vector3d(0, 0, -3), allowed);
        const pcVec3d above = TypeParam::transform3x3(up, m);
        EXPECT_NEAR(above.x(), 0.0, allowed);
        EXPECT_GT(above.y(), 0.0);
        const Block3 block = eigen(m).template block<3, 3>(0, 0);
        expectNear(block * block.transpose(), Block3::Identity(), allowed);
        EXPECT_NEAR(block.determinant(), 1.0, allowed);

        pcVec3d foundEye;
        pcVec3d foundCenter;
        pcVec3d foundUp;
        m.getLookAt(foundEye, foundCenter, foundUp, S(3));
        expectNear(eigen(foundEye), eigen(eye), allowed);
        expectNear(eigen(foundCenter), eigen(eye + front * 3.0), allowed);
        EXPECT_NEAR(foundUp * front, 0.0, allowed);
        EXPECT_NEAR(foundUp.length(), 1.0, allowed);
        EXPECT_GT(foundUp * up, 0.0);
        pcVec3f narrowEye;
        pcVec3f narrowCenter;
        pcVec3f narrowUp;
        m.getLookAt(narrowEye, narrowCenter, narrowUp, S(3));
        const double rough = 40.0 * tolerance<float>;
        expectNear(eigen(narrowEye), eigen(eye), rough);
        expectNear(eigen(narrowCenter), eigen(eye + front * 3.0), rough);
        expectNear(eigen(narrowUp), eigen(foundUp), rough);
    }
}

TYPED_TEST(MatrixView, ReadsAViewFromElementsEvenWhereItIsNone)
{
    // Columns of lengths other than 1: up is taken as it is, the direction normalised.
    const TypeParam m(1, 2, 0, 0, 0, 3, 0, 0, 0, 4, -0.5, 0, 0, 0, 0, 1);
    pcVec3d eye(1, 1, 1);
    pcVec3d center;
    pcVec3d up;
    m.getLookAt(eye, center, up, 2);
    EXPECT_EQ(eye, pcVec3d(0, 0, 0));
    EXPECT_EQ(up, pcVec3d(2, 3, 4));
    EXPECT_EQ(center, pcVec3d(0, 0, 2));
}

TYPED_TEST(MatrixView, OrthoMapsItsBoxToTheCube)
{
    const TypeParam m = TypeParam::ortho(-2, 6, 1, 3, 10, 18);
    EXPECT_EQ(m, TypeParam(0.25, 0, 0, 0, 0, 1, 0, 0, 0, 0, -0.25, 0, -0.5, -2, -3.5, 1));
    EXPECT_EQ(m.preMult(pcVec3d(-2, 1, -10)), pcVec3d(-1, -1, -1));
    EXPECT_EQ(m.preMult(pcVec3d(6, 3, -18)), pcVec3d(1, 1, 1));
    EXPECT_EQ(TypeParam::ortho2D(-2, 6, 1, 3), TypeParam::ortho(-2, 6, 1, 3, -1, 1));
    TypeParam made = counted<ElementOf<TypeParam>>();
    made.makeOrtho2D(-2, 6, 1, 3);
    EXPECT_EQ(made, TypeParam(0.25, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, -0.5, -2, 0, 1));
}

TYPED_TEST(MatrixView, FrustumMapsItsCornersToTheCube)
{
    const TypeParam m = TypeParam::frustum(-1, 3, -2, 2, 2, 6);
    EXPECT_EQ(m, TypeParam(1, 0, 0, 0, 0, 1, 0, 0, 0.5, 0, -2, -1, 0, 0, -6, 0));
    EXPECT_EQ(m.preMult(pcVec3d(-1, -2, -2)), pcVec3d(-1, -1, -1));
    EXPECT_EQ(m.preMult(pcVec3d(3, 2, -2)), pcVec3d(1, 1, -1));
    EXPECT_NEAR(m.preMult(pcVec3d(0, 0, -6)).z(), 1.0, 1e-15);
}

TYPED_TEST(MatrixView, FrustumMayBeEndless)
{
    const double max = std::numeric_limits<double>::max();
    for (const double zFar : {infinity<double>, -infinity<double>}) {
        const TypeParam m = TypeParam::frustum(-1, 1, -1, 1, 3, zFar);
        EXPECT_EQ(m(2, 2), -1);
        EXPECT_EQ(m(3, 2), -6);
    }
    // The largest number is not yet infinite: it is divided, and here runs over.
    EXPECT_EQ(TypeParam::frustum(-1, 1, -1, 1, 3, max)(3, 2), -infinity<ElementOf<TypeParam>>);
}

TYPED_TEST(MatrixView, PerspectiveIsASymmetricFrustum)
{
    using S = ElementOf<TypeParam>;
    const TypeParam m = TypeParam::perspective(90.0, 2.0, 1.0, 3.0);
    expectNear(eigen(m), eigen(TypeParam(0.5, 0, 0, 0, 0, 1, 0, 0, 0, 0, -2, -1, 0, 0, -3, 0)), tolerance<S>);
    TypeParam made = counted<S>();
    made.makePerspective(90.0, 2.0, 1.0, 3.0);
    EXPECT_EQ(made, m);
}

/// The six limits of a projection, in the order of the arguments.
template <typename T>
struct Limits
{
    T values[6] = {99, 99, 99, 99, 99, 99};

    template <typename M>
    bool readOrtho(const M &m)
    {
        return m.getOrtho(values[0], values[1], values[2], values[3], values[4], values[5]);
    }
    template <typename M>
    bool readFrustum(const M &m)
    {
        return m.getFrustum(values[0], values[1], values[2], values[3], values[4], values[5]);
    }
    void expect(const double (&wanted)[6], double allowed) const
    {
        for (int i = 0; i < 6; ++i)
            EXPECT_NEAR(values[i], wanted[i], allowed * (1.0 + std::abs(wanted[i]))) << "limit " << i;
    }
};

template <typename M, typename T>
void expectLimitsComeBack()
{
    using Coarser = std::conditional_t<sizeof(ElementOf<M>) < sizeof(T), ElementOf<M>, T>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const double left = random.number(-5.0, 5.0);
        const double bottom = random.number(-5.0, 5.0);
        const double zNear = random.number(1.0, 2.0);
        const double wanted[6] = {left,  left + random.number(3.0, 6.0), bottom, bottom + random.number(3.0, 6.0),
                                  zNear, zNear + random.number(2.0, 6.0)};
        Limits<T> limits;
        EXPECT_TRUE(limits.readOrtho(M::ortho(wanted[0], wanted[1], wanted[2], wanted[3], wanted[4], wanted[5])));
        limits.expect(wanted, tolerance<Coarser>);
        EXPECT_TRUE(limits.readFrustum(M::frustum(wanted[0], wanted[1], wanted[2], wanted[3], wanted[4], wanted[5])));
        limits.expect(wanted, tolerance<Coarser>);

        T fovy = 0;
        T aspect = 0;
        T nearest = 0;
        T farthest = 0;
        const double angle = random.number(10.0, 150.0);
        const double ratio = random.number(0.5, 2.0);
        EXPECT_TRUE(M::perspective(angle, ratio, wanted[4], wanted[5]).getPerspective(fovy, aspect, nearest, farthest));
        EXPECT_NEAR(fovy, angle, 180.0 * tolerance<Coarser>);
        EXPECT_NEAR(aspect, ratio, 4.0 * tolerance<Coarser>);
        EXPECT_NEAR(nearest, wanted[4], 10.0 * tolerance<Coarser>);
        EXPECT_NEAR(farthest, wanted[5], 10.0 * tolerance<Coarser>);
    }
}

TYPED_TEST(MatrixView, LimitsComeBack)
{
    expectLimitsComeBack<TypeParam, double>();
    expectLimitsComeBack<TypeParam, float>();
}

TYPED_TEST(MatrixView, LimitsOfWholeNumbersAreExact)
{
    Limits<double> limits;
    EXPECT_TRUE(limits.readOrtho(TypeParam::ortho(-2, 6, 1, 3, 10, 18)));
    limits.expect({-2, 6, 1, 3, 10, 18}, 0.0);
    EXPECT_TRUE(limits.readFrustum(TypeParam::frustum(-1, 3, -2, 2, 2, 6)));
    limits.expect({-1, 3, -2, 2, 2, 6}, 0.0);
}

TYPED_TEST(MatrixView, AnythingElseIsNoProjection)
{
    using S = ElementOf<TypeParam>;
    const TypeParam ortho = TypeParam::ortho(-2, 6, 1, 3, 10, 18);
    const TypeParam frustum = TypeParam::frustum(-1, 3, -2, 2, 2, 6);
    Limits<double> wide;
    Limits<float> narrow;
    EXPECT_FALSE(wide.readFrustum(ortho) || narrow.readFrustum(ortho));
    EXPECT_FALSE(wide.readOrtho(frustum) || narrow.readOrtho(frustum));
    for (int row = 0; row < 4; ++row) {
        TypeParam m(ortho);
        m(row, 3) = std::nextafter(m(row, 3), S(2));
        EXPECT_FALSE(wide.readOrtho(m) || narrow.readOrtho(m));
        m = frustum;
        m(row, 3) = std::nextafter(m(row, 3), S(2));
        EXPECT_FALSE(wide.readFrustum(m) || narrow.readFrustum(m));
    }
    wide.expect({99, 99, 99, 99, 99, 99}, 0.0);
    narrow.expect({99, 99, 99, 99, 99, 99}, 0.0);
}

TYPED_TEST(MatrixView, WithoutAPerspectiveTheDistancesBecomeZero)
{
    const TypeParam ortho = TypeParam::ortho(-2, 6, 1, 3, 10, 18);
    double wide[4] = {99, 99, 99, 99};
    float narrow[4] = {99, 99, 99, 99};
    EXPECT_FALSE(ortho.getPerspective(wide[0], wide[1], wide[2], wide[3]));
    EXPECT_FALSE(ortho.getPerspective(narrow[0], narrow[1], narrow[2], narrow[3]));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(wide[i], i < 2 ? 99 : 0);
        EXPECT_EQ(narrow[i], i < 2 ? 99 : 0);
    }
}

} // namespace
