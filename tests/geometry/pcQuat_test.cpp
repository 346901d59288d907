#include "MatrixTesting.h"

#include "pcQuat.h"

using namespace geometry;
using namespace ptCloud;

namespace
{

const double half = std::sqrt(0.5);

TEST(pcQuat, IsTheIdentityByDefault)
{
    EXPECT_EQ(components(pcQuatd()), (std::vector<double>{0, 0, 0, 1}));
    EXPECT_TRUE(pcQuatd().zeroRotation());
    EXPECT_FALSE(pcQuatd(0.0, 0.0, 1e-300, 1.0).zeroRotation());
    EXPECT_FALSE(pcQuatd(0.0, 0.0, 0.0, -1.0).zeroRotation());
    EXPECT_FALSE(pcQuatd(0.0, 0.0, 0.0, notANumber<double>).zeroRotation());
    EXPECT_TRUE(pcQuatd(-0.0, 0.0, -0.0, 1.0).zeroRotation());
}

TEST(pcQuat, TakesAndGivesItsComponents)
{
    pcQuatd q(1, 2, 3, 4);
    EXPECT_EQ(q.asVec3(), pcVec3d(1, 2, 3));
    EXPECT_EQ(q.asVec4(), pcVec4d(1, 2, 3, 4));
    EXPECT_EQ(pcQuatd(pcVec4d(1, 2, 3, 4)), q);
    EXPECT_EQ(pcQuatd(pcVec4f(0.1F, 2, 3, 4)), pcQuatd(static_cast<double>(0.1F), 2, 3, 4));
    q.x() = 5;
    q.y() = 6;
    q.z() = 7;
    q.w() = 8;
    const pcQuatd &same = q;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(same[i], 5 + i);
    q[2] = 9;
    EXPECT_EQ(same.z(), 9);
    q.set(1, 0, 0, 0);
    EXPECT_EQ(q, pcQuatd(1, 0, 0, 0));
    q.set(pcVec4d(0, 1, 0, 0));
    EXPECT_EQ(q, pcQuatd(0, 1, 0, 0));
    q.set(pcVec4f(0, 0, 1, 0));
    EXPECT_EQ(q, pcQuatd(0, 0, 1, 0));
}

TEST(pcQuat, ComparesExactlyAndInStorageOrder)
{
    const pcQuatd q(1, 2, 3, 4);
    for (int i = 0; i < 4; ++i) {
        pcQuatd greater = q;
        greater[i] = std::nextafter(q[i], 100.0);
        EXPECT_TRUE(q != greater && !(q == greater));
        EXPECT_TRUE(q < greater);
        EXPECT_FALSE(greater < q);
        for (int rest = i + 1; rest < 4; ++rest)
            greater[rest] = -100.0;
        EXPECT_TRUE(q < greater);
    }
    EXPECT_FALSE(q < q);
    EXPECT_TRUE(pcQuatd(notANumber<double>, 1, 0, 0) < pcQuatd(0, 2, 0, 0));
}

TEST(pcQuat, CalculatesByComponent)
{
    const pcQuatd a(1, 2, 3, 4);
    const pcQuatd b(0.5, -1, 8, 2);
    EXPECT_EQ(a + b, pcQuatd(1.5, 1, 11, 6));
    EXPECT_EQ(a - b, pcQuatd(0.5, 3, -5, 2));
    EXPECT_EQ(-a, pcQuatd(-1, -2, -3, -4));
    EXPECT_TRUE(std::signbit((-pcQuatd(0, 0, 0, 0)).x()));
    EXPECT_EQ(a * 3.0, pcQuatd(3, 6, 9, 12));
    EXPECT_EQ(a / 4.0, pcQuatd(0.25, 0.5, 0.75, 1));
    pcQuatd q = a;
    EXPECT_EQ(&(q += b), &q);
    EXPECT_EQ(q, a + b);
    EXPECT_EQ(&(q -= b), &q);
    EXPECT_EQ(q, a);
    EXPECT_EQ(&(q *= 3.0), &q);
    EXPECT_EQ(q, a * 3.0);
    EXPECT_EQ(&(q /= 3.0), &q);
    EXPECT_EQ(q, a * 3.0 / 3.0);
}

// 5 x (1 / 49) and 5 / 49 differ in the last bit; so do the others.
TEST(pcQuat, DividesByOneReciprocal)
{
    const double reciprocal = 1.0 / 49.0;
    bool differs = false;
    for (int i = 1; i < 40; ++i) {
        const pcQuatd q = pcQuatd(i, i + 1, i + 2, i + 3) / 49.0;
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(q[k], (i + k) * reciprocal);
            differs = differs || q[k] != (i + k) / 49.0;
        }
    }
    EXPECT_TRUE(differs);
}

TEST(pcQuat, HasLengthConjugateAndInverse)
{
    const pcQuatd q(1, -2, 4, 10);
    EXPECT_EQ(q.length2(), 121.0);
    EXPECT_EQ(q.length(), 11.0);
    EXPECT_EQ(q.conj(), pcQuatd(-1, 2, -4, 10));
    EXPECT_EQ(q.inverse(), q.conj() * (1.0 / 121.0));
    expectNear(q * q.inverse(), pcQuatd(), 1e-15);
    const pcQuatd none = pcQuatd(0, 0, 0, 0).inverse();
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(std::isfinite(none[i]));
}

TEST(pcQuat, MultipliesUnitsWithTheLeftFactorFirst)
{
    const pcQuatd i(1, 0, 0, 0);
    const pcQuatd j(0, 1, 0, 0);
    const pcQuatd k(0, 0, 1, 0);
    // The textbook has ij = k; with the left rotation first the sign turns.
    EXPECT_EQ(i * j, -k);
    EXPECT_EQ(j * k, -i);
    EXPECT_EQ(k * i, -j);
    EXPECT_EQ(j * i, k);
    EXPECT_EQ(k * j, i);
    EXPECT_EQ(i * k, j);
    EXPECT_EQ(i * i, pcQuatd(0, 0, 0, -1));
    EXPECT_EQ(pcQuatd(1, 2, 3, 4) * pcQuatd(5, 6, 7, 8), pcQuatd(32, 32, 56, -6));
    EXPECT_EQ(pcQuatd(1, 2, 3, 4) / pcQuatd(0, 0, 0, 2), pcQuatd(0.5, 1, 1.5, 2));
}

TEST(pcQuat, TakesItselfAsTheOtherOperand)
{
    const pcQuatd q(1, 2, 3, 4);
    const pcQuatd twin(q);
    pcQuatd r = q;
    const pcQuatd &same = r;
    r *= same;
    EXPECT_EQ(r, q * twin);
    r = q;
    r /= same;
    EXPECT_EQ(r, q / twin);
    r = q;
    r += same;
    EXPECT_EQ(r, q + twin);
    r = q;
    r -= same;
    EXPECT_EQ(r, pcQuatd(0, 0, 0, 0));

    const pcQuatd start(0.3, pcVec3d(1, 2, 3));
    const pcQuatd end(1.7, pcVec3d(-1, 2, 1));
    pcQuatd wanted;
    wanted.slerp(0.25, start, end);
    r = start;
    r.slerp(0.25, r, end);
    EXPECT_EQ(r, wanted);
    r = end;
    r.slerp(0.25, start, r);
    EXPECT_EQ(r, wanted);
}

TEST(pcQuat, RotatesVectorsCounterClockwise)
{
    const pcQuatd quarter(pi / 2, pcVec3d(0, 0, 1));
    expectNear(eigen(quarter * pcVec3d(1, 0, 0)), Eigen::Vector3d(0, 1, 0), 1e-15);
    expectNear(eigen(quarter * pcVec3f(1, 0, 0)), Eigen::Vector3d(0, 1, 0), 1e-7);
    // Half a turn about y, in whole numbers.
    EXPECT_EQ(pcQuatd(0, 1, 0, 0) * pcVec3d(1, 2, 3), pcVec3d(-1, 2, -3));
    EXPECT_EQ(pcQuatd(0, 1, 0, 0) * pcVec3f(1, 2, 3), pcVec3f(-1, 2, -3));
}

TEST(pcQuat, ApplyingAProductAppliesTheLeftFactorFirst)
{
    const pcQuatd first(pi / 2, pcVec3d(0, 0, 1));
    const pcQuatd second(pi / 2, pcVec3d(1, 0, 0));
    expectNear(eigen((first * second) * pcVec3d(1, 0, 0)), Eigen::Vector3d(0, 0, 1), 1e-15);
    expectNear(eigen(second * (first * pcVec3d(1, 0, 0))), Eigen::Vector3d(0, 0, 1), 1e-15);
}

TEST(pcQuat, IsMadeFromAngleAndAxisOfAnyLength)
{
    const pcQuatd wanted(0, 0, half, half);
    pcQuatd q;
    q.makeRotate(pi / 2, 0, 0, 7);
    expectNear(q, wanted, 1e-15);
    q.makeRotate(pi / 2, pcVec3d(0, 0, 0.001));
    expectNear(q, wanted, 1e-15);
    q.makeRotate(pi / 2, pcVec3f(0, 0, 2));
    expectNear(q, wanted, 1e-15);
    EXPECT_EQ(pcQuatd(pi / 2, pcVec3f(0, 0, 2)), q);
    EXPECT_EQ(pcQuatd(pi / 2, pcVec3d(0, 0, 2)), q);
}

TEST(pcQuat, AxisThatIsTooShortGivesTheIdentity)
{
    pcQuatd q(1, 2, 3, 4);
    q.makeRotate(1.0, 0, 0, 0);
    EXPECT_TRUE(q.zeroRotation());
    q.set(1, 2, 3, 4);
    q.makeRotate(1.0, 0.9e-7, 0, 0);
    EXPECT_TRUE(q.zeroRotation());
    q.makeRotate(1.0, 1.1e-7, 0, 0);
    expectNear(q, pcQuatd(std::sin(0.5), 0, 0, std::cos(0.5)), 1e-15);
}

TEST(pcQuat, ThreeRotationsApplyOneAfterTheOther)
{
    const pcVec3d axes[3] = {{1, 0, 0}, {0, 2, 0}, {0.5, 0.5, 3}};
    const pcQuatd wanted = (pcQuatd(0.3, axes[0]) * pcQuatd(-1.2, axes[1])) * pcQuatd(2.5, axes[2]);
    pcQuatd q;
    q.makeRotate(0.3, axes[0], -1.2, axes[1], 2.5, axes[2]);
    EXPECT_EQ(q, wanted);
    EXPECT_EQ(pcQuatd(0.3, axes[0], -1.2, axes[1], 2.5, axes[2]), wanted);
    const pcVec3f narrow[3] = {axes[0], axes[1], axes[2]};
    EXPECT_EQ(pcQuatd(0.3, narrow[0], -1.2, narrow[1], 2.5, narrow[2]), wanted);
    q.makeRotate(0.3, narrow[0], -1.2, narrow[1], 2.5, narrow[2]);
    EXPECT_EQ(q, wanted);
}

TEST(pcQuat, OppositeDirectionsTurnAboutAPerpendicularAxis)
{
    const auto between = [](const pcVec3d &from, const pcVec3d &to) {
        pcQuatd q;
        q.makeRotate(from, to);
        return q;
    };
    EXPECT_EQ(between({1, 0, 0}, {-1, 0, 0}), pcQuatd(0, 0, 1, 0));
    EXPECT_EQ(between({0, 1, 0}, {0, -1, 0}), pcQuatd(0, 0, -1, 0));
    EXPECT_EQ(between({0, 0, 1}, {0, 0, -1}), pcQuatd(0, 1, 0, 0));
    // Neither 0.8 nor 0.6 is below 0.6: the third branch, with z = 0.
    EXPECT_EQ(between({0.8, 0.6, 0}, {-0.8, -0.6, 0}), pcQuatd(0.6, -0.8, 0, 0));
    pcQuatd narrow;
    narrow.makeRotate(pcVec3f(1, 0, 0), pcVec3f(-1, 0, 0));
    EXPECT_EQ(narrow, pcQuatd(0, 0, 1, 0));
}

TEST(pcQuat, EqualLengthsShareOneRoot)
{
    // Squared lengths 4 and 4 + 4e-8: `to` is divided by the 2 of `from`, and keeps its length of slightly more than 1.
    const double x = 2.0 + 1e-8;
    pcQuatd q;
    q.makeRotate(pcVec3d(0, 2, 0), pcVec3d(x, 0, 0));
    const pcVec3d scaled = pcVec3d(x, 0, 0) / 2.0;
    const double s = std::sqrt(0.5);
    EXPECT_EQ(q, pcQuatd(0, 0, -(scaled.x() / (s + s)), s));
    EXPECT_NE(scaled.x(), 1.0);
    // A unit vector is used as it is, and lends its length of 1 to one that is not quite.
    q.makeRotate(pcVec3d(0, 1.00000004, 0), pcVec3d(1.00000006, 0, 0));
    EXPECT_EQ(q, pcQuatd(0, 0, -(1.00000004 * (1.00000006 / (s + s))), s));
}

TEST(pcQuat, OlderFormAgreesWhereDirectionsAreNeitherParallelNorOpposite)
{
    Random random;
    for (int i = 0; i < 1000; ++i) {
        const pcVec3d from = random.direction() * random.number(0.1, 10.0);
        const pcVec3d to = random.direction() * random.number(0.1, 10.0);
        if (std::abs(from * to) > 0.999 * from.length() * to.length())
            continue;
        pcQuatd q;
        pcQuatd older;
        q.makeRotate(from, to);
        older.makeRotate_original(from, to);
        expectNear(older, q, 1e-12);
    }
}

TEST(pcQuat, OlderFormOfParallelAndOppositeDirections)
{
    pcQuatd q(1, 2, 3, 4);
    q.makeRotate_original({2, 4, 6}, {1, 2, 3});
    EXPECT_TRUE(q.zeroRotation());
    // The auxiliary axis: first, second or third, and from ^ axis.
    const auto opposite = [](const pcVec3d &from) {
        pcQuatd result;
        result.makeRotate_original(from, -from);
        return result;
    };
    EXPECT_EQ(opposite({0, 3, 4}), pcQuatd(0, 0.8, -3.0 * (1.0 / 5.0), 0)); // |y| > |x|, |z| > |x|: x axis
    EXPECT_EQ(opposite({0, 1, 0}), pcQuatd(1, 0, 0, 0));                    // |y| > |x|, |z| not: z axis
    expectNear(opposite({3, 0, 4}), pcQuatd(-0.8, 0, 0.6, 0), 1e-15);       // |y| not above |x|, |z| > |y|: y axis
    EXPECT_EQ(opposite({1, 0, 0}), pcQuatd(0, -1, 0, 0));                   // z not above y: z axis
}

TEST(pcQuat, TellsAngleAndAxis)
{
    double angle = -1.0;
    pcVec3d axis;
    pcVec3f narrow;
    double x = -1.0;
    double y = -1.0;
    double z = -1.0;
    pcQuatd().getRotate(angle, axis);
    EXPECT_EQ(angle, 0.0);
    EXPECT_EQ(axis, pcVec3d(0, 0, 1));
    pcQuatd(0, 0, 0, -1).getRotate(angle, narrow);
    EXPECT_EQ(angle, 2.0 * std::atan2(0.0, -1.0));
    EXPECT_EQ(narrow, pcVec3f(0, 0, 1));
    pcQuatd(0, 3, 4, 5).getRotate(angle, x, y, z);
    EXPECT_EQ(angle, 2.0 * std::atan2(5.0, 5.0));
    EXPECT_EQ(pcVec3d(x, y, z), pcVec3d(0, 3.0 / 5.0, 4.0 / 5.0));
}

TEST(pcQuat, SlerpStartsAndEndsAtItsEnds)
{
    const pcQuatd from(0.4, pcVec3d(1, 2, 3));
    const pcQuatd to(2.0, pcVec3d(-1, 2, 0));
    pcQuatd q;
    q.slerp(0.0, from, to);
    EXPECT_EQ(q, from);
    q.slerp(1.0, from, to);
    expectNear(q, to, 1e-15);
    q.slerp(1.0, from, -to);
    expectNear(q, to, 1e-15); // the shorter arc ends at the negative of what was given
    q.slerp(0.5, pcQuatd(), pcQuatd(pi / 2, pcVec3d(0, 0, 1)));
    expectNear(q, pcQuatd(pi / 4, pcVec3d(0, 0, 1)), 1e-15);
}

TEST(pcQuat, SlerpOfNearlyEqualRotationsIsLinearAndNotNormalised)
{
    const pcQuatd from;
    const pcQuatd to(0.001, 0, 0, 1); // a dot product of exactly 1
    pcQuatd q;
    q.slerp(0.25, from, to);
    EXPECT_EQ(q, from * 0.75 + to * 0.25);
    // What is longer than 1 stays so.
    q.slerp(0.5, from * 2.0, to * 2.0);
    EXPECT_EQ(q, from * 2.0 * 0.5 + to * 2.0 * 0.5);
}

TEST(pcQuat, GoesToAndFromBothMatrices)
{
    const pcQuatd q(0.7, pcVec3d(1, -2, 0.5));
    pcMatrixd wide = counted<double>();
    pcMatrixf narrow = counted<float>();
    q.get(wide);
    q.get(narrow);
    EXPECT_EQ(wide, pcMatrixd(q));
    EXPECT_EQ(narrow, pcMatrixf(q));
    EXPECT_EQ(wide(3, 0), 0.0);
    pcQuatd back;
    back.set(wide);
    EXPECT_EQ(back, wide.getRotate());
    expectNear(back, q, 1e-15);
    back.set(narrow);
    EXPECT_EQ(back, narrow.getRotate());
    expectNear(back, q, 1e-6);
}

} // namespace
