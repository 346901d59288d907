// Rotations into matrices and back.

#include "MatrixTesting.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

constexpr int rounds = 1000;

template <typename M>
class MatrixRotate : public ::testing::Test
{
};
using Matrices = ::testing::Types<pcMatrixf, pcMatrixd>;
TYPED_TEST_SUITE(MatrixRotate, Matrices);

TYPED_TEST(MatrixRotate, SetRotateWritesTheBlockAlone)
{
    using S = ElementOf<TypeParam>;
    TypeParam m = counted<S>();
    m.setRotate(pcQuatd(0, 0, 1, 0)); // half a turn about z
    EXPECT_EQ(m, TypeParam(-1, 0, 0, 4, 0, -1, 0, 8, 0, 0, 1, 12, 13, 14, 15, 16));
    m = counted<S>();
    m.setRotate(pcQuatd(1, 2, 3, 4)); // of length root 30, by hand
    const double s = 2.0 / 30.0;
    const auto element = [&](double value) { return static_cast<S>(value); };
    EXPECT_NEAR(m(0, 0), element(1.0 - 13 * s), tolerance<S>);
    EXPECT_NEAR(m(0, 1), element(14 * s), tolerance<S>);
    EXPECT_NEAR(m(0, 2), element(-5 * s), tolerance<S>);
    EXPECT_NEAR(m(1, 0), element(-10 * s), tolerance<S>);
    EXPECT_NEAR(m(1, 1), element(1.0 - 10 * s), tolerance<S>);
    EXPECT_NEAR(m(1, 2), element(10 * s), tolerance<S>);
    EXPECT_NEAR(m(2, 0), element(11 * s), tolerance<S>);
    EXPECT_NEAR(m(2, 1), element(2 * s), tolerance<S>);
    EXPECT_NEAR(m(2, 2), element(1.0 - 5 * s), tolerance<S>);
    EXPECT_EQ(m(2, 3), S(12));
    EXPECT_EQ(m(3, 0), S(13));
}

TYPED_TEST(MatrixRotate, OfTheZeroQuaternionTheBlockIsZero)
{
    using S = ElementOf<TypeParam>;
    const TypeParam wanted(0, 0, 0, 4, 0, 0, 0, 8, 0, 0, 0, 12, 13, 14, 15, 16);
    TypeParam m = counted<S>();
    m.setRotate(pcQuatd(0, 0, 0, 0));
    EXPECT_EQ(m, wanted);
    m = counted<S>();
    m.setRotate(pcQuatd(0, 0, 0, 1e-154)); // the square is just below the smallest normal number
    EXPECT_EQ(m, wanted);
    m.setRotate(pcQuatd(0, 0, 0, 1.5e-154));
    EXPECT_EQ(m(0, 0), S(1));
}

TYPED_TEST(MatrixRotate, TakesTheLowestOfEqualComponents)
{
    EXPECT_EQ(TypeParam().getRotate(), pcQuatd(0, 0, 0, 1));
    EXPECT_EQ(TypeParam::rotate(pcQuatd(1, 0, 0, 0)).getRotate(), pcQuatd(1, 0, 0, 0));
    EXPECT_EQ(TypeParam::rotate(pcQuatd(0, 1, 0, 0)).getRotate(), pcQuatd(0, 1, 0, 0));
    EXPECT_EQ(TypeParam::rotate(pcQuatd(0, 0, 1, 0)).getRotate(), pcQuatd(0, 0, 1, 0));
    // All four are alike; w comes first, so it stays positive whatever the sign of the quaternion was.
    EXPECT_EQ(TypeParam::rotate(pcQuatd(-0.5, 0.5, 0.5, -0.5)).getRotate(), pcQuatd(0.5, -0.5, -0.5, 0.5));
    // x and y are alike, then y and z: the first of the two is the positive one.
    const double half = std::sqrt(0.5);
    expectNear(TypeParam(0, 1, 0, 0, 1, 0, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1).getRotate(), pcQuatd(half, half, 0, 0),
               tolerance<ElementOf<TypeParam>>);
    expectNear(TypeParam(-1, 0, 0, 0, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 0, 1).getRotate(), pcQuatd(0, half, -half, 0),
               tolerance<ElementOf<TypeParam>>);
}

TYPED_TEST(MatrixRotate, IsTheTransposedRotationOfEigenAndComesBack)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcQuatd q = random.rotation();
        const TypeParam m = TypeParam::rotate(q * random.number(0.5, 2.0));
        Matrix4 wanted = Matrix4::Identity();
        wanted.block<3, 3>(0, 0) = eigen(q).toRotationMatrix().transpose();
        expectNear(eigen(m), wanted, tolerance<S>);
        const pcQuatd back = m.getRotate();
        expectNear(back, q.asVec4() * back.asVec4() < 0.0 ? -q : q, tolerance<S>);
        const pcVec3d v = random.vector<pcVec3d>(1.0);
        expectNear(eigen(m.preMult(v)), eigen(q * v), tolerance<S>);
    }
}

TYPED_TEST(MatrixRotate, ProductsOfRotationsAreRotationsByProducts)
{
    using S = ElementOf<TypeParam>;
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcQuatd a = random.rotation();
        const pcQuatd b = random.rotation();
        expectNear(eigen(TypeParam::rotate(a) * TypeParam::rotate(b)), eigen(TypeParam::rotate(a * b)), tolerance<S>);
    }
}

TYPED_TEST(MatrixRotate, EveryFormIsThatOfTheQuaternion)
{
    using S = ElementOf<TypeParam>;
    const pcVec3d u(1, 2, 3);
    const pcVec3d v(-2, 0.5, 1);
    const pcVec3d w(0, -1, 4);
    const pcVec3f uf = u;
    const pcVec3f vf = v;
    const pcVec3f wf = w;
    const auto a = static_cast<S>(0.3);
    const auto b = static_cast<S>(-1.1);
    const auto c = static_cast<S>(2.7);
    pcQuatd between;
    between.makeRotate(u, v);
    const TypeParam fromTo(between);
    const TypeParam about(pcQuatd(a, u));
    const TypeParam three(pcQuatd(a, u, b, v, c, w));
    EXPECT_EQ(TypeParam::rotate(u, v), fromTo);
    EXPECT_EQ(TypeParam::rotate(uf, vf), fromTo);
    EXPECT_EQ(TypeParam::rotate(a, u), about);
    EXPECT_EQ(TypeParam::rotate(a, uf), about);
    EXPECT_EQ(TypeParam::rotate(a, S(1), S(2), S(3)), about);
    EXPECT_EQ(TypeParam::rotate(a, u, b, v, c, w), three);
    EXPECT_EQ(TypeParam::rotate(a, uf, b, vf, c, wf), three);
    const auto made = [](auto make) {
        TypeParam m = counted<S>();
        make(m);
        return m;
    };
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(u, v); }), fromTo);
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(uf, vf); }), fromTo);
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(a, u); }), about);
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(a, uf); }), about);
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(a, S(1), S(2), S(3)); }), about);
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(a, u, b, v, c, w); }), three);
    EXPECT_EQ(made([&](TypeParam &m) { m.makeRotate(a, uf, b, vf, c, wf); }), three);
}

} // namespace
