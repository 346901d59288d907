// Properties of random rotations, with Eigen as the independent account.

#include "MatrixTesting.h"

#include "pcQuat.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

constexpr int rounds = 2000;

/// Numbers of size 1 in double precision: what another order of operations may cost.
constexpr double close = 1e-14;

TEST(pcQuatRandom, ProductIsThatOfTheFactorsExchanged)
{
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcQuatd a = random.vector<pcVec4d>(2.0);
        const pcQuatd b = random.vector<pcVec4d>(2.0);
        expectNear(eigen(a * b).coeffs(), (eigen(b) * eigen(a)).coeffs(), close);
        expectNear(eigen(a / b).coeffs(), (eigen(b).inverse() * eigen(a)).coeffs(), close * (1.0 + 8.0 / b.length2()));
        expectNear(eigen(a.inverse()).coeffs(), eigen(a).inverse().coeffs(), close / a.length2());
    }
}

TEST(pcQuatRandom, RotatesVectorsAsEigenDoes)
{
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcQuatd q = random.rotation();
        const pcVec3d v = random.vector<pcVec3d>(10.0);
        expectNear(eigen(q * v), eigen(q) * eigen(v), 10.0 * close);
        const pcVec3f narrow = v;
        expectNear(eigen(q * narrow), eigen(q) * eigen(narrow), 1e-5);
    }
}

TEST(pcQuatRandom, RotationAppliedInTurnIsTheProduct)
{
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcQuatd first = random.rotation();
        const pcQuatd second = random.rotation();
        const pcVec3d v = random.vector<pcVec3d>(1.0);
        expectNear(eigen((first * second) * v), eigen(second * (first * v)), close);
    }
}

TEST(pcQuatRandom, AngleAndAxisComeBack)
{
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const double angle = random.number(1e-3, 2.0 * pi - 1e-3);
        const pcVec3d axis = random.direction();
        const pcQuatd q(angle, axis * random.number(0.1, 10.0));
        expectNear(eigen(q).coeffs(), Eigen::Quaterniond(Eigen::AngleAxisd(angle, eigen(axis))).coeffs(), close);
        double foundAngle = 0.0;
        pcVec3d foundAxis;
        q.getRotate(foundAngle, foundAxis);
        EXPECT_NEAR(foundAngle, angle, 1e-12);
        expectNear(eigen(foundAxis), eigen(axis), 1e-11);
    }
}

TEST(pcQuatRandom, TakesOneDirectionToAnother)
{
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcVec3d from = random.direction() * random.number(0.01, 100.0);
        pcVec3d to = random.direction() * random.number(0.01, 100.0);
        if (i % 10 == 0) // nearly opposite, on both sides of the limit
            to = -from + random.direction() * std::pow(10.0, random.number(-12.0, -1.0)) * from.length();
        pcQuatd q;
        q.makeRotate(from, to);
        EXPECT_NEAR(q.length(), 1.0, 1e-7);
        // Beyond the limit the angle that is passed over is up to the root of 2e-7.
        const double allowed = q.w() == 0.0 ? 1e-3 : 1e-7;
        expectNear(eigen(q * (from / from.length())), eigen(to / to.length()), allowed);
        if (q.w() != 0.0) {
            const Eigen::Quaterniond wanted = Eigen::Quaterniond::FromTwoVectors(eigen(from), eigen(to));
            if (wanted.w() > 1e-2)
                expectNear(eigen(q).coeffs(), wanted.coeffs(), 1e-7);
        }
    }
}

TEST(pcQuatRandom, SlerpIsThatOfEigen)
{
    Random random;
    for (int i = 0; i < rounds; ++i) {
        const pcQuatd from = random.rotation();
        const pcQuatd to = random.rotation();
        const double t = random.number(0.0, 1.0);
        pcQuatd q;
        q.slerp(t, from, to);
        // At exactly a whole turn apart either arc is the shorter.
        if (std::abs(from.asVec4() * to.asVec4()) > 1e-6)
            expectNear(eigen(q).coeffs(), eigen(from).slerp(t, eigen(to)).coeffs(), 1e-8);
    }
}

} // namespace
