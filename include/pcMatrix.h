#pragma once

#include "pcQuat.h"

#include <type_traits>

namespace ptCloud
{

/// A 4x4 transformation of space, sixteen scalars in row-major order: element (row, col) is value row x 4 + col.
///
/// **Convention.** A point is a row vector that is multiplied from the left, v x M. So the translation stands in row 3,
/// the homogeneous part in column 3, and in a product `a * b` the left factor applies first. `preMult` transforms a
/// point this way. `postMult`, and with it `operator*` of a vector, is M x v: the vector as a column, which is the
/// transposed transformation.
///
/// **Range.** Arithmetic runs in the scalar `S`, or in double precision where the other operand is of double precision;
/// projections and views are calculated in double precision and rounded when they are stored. Comparison is exact.
/// Nothing allocates or throws, and only inversion and the getters of projections report a failure: elsewhere a zero
/// divisor gives infinities or NaN. A source may always be the object itself.
///
/// Angles are radians, except the field of view of a perspective. Views look down the negative z axis (right-handed),
/// projections map the visible space to -1..1 on all axes. Use the names `pcMatrixf` and `pcMatrixd`.
template <typename S>
class pcMatrix
{
    static_assert(std::is_floating_point_v<S>, "transformations are floating-point");

    template <typename T>
    using OnlyFloat = std::enable_if_t<std::is_same_v<T, float>, int>;

public:
    /// The identity.
    pcMatrix() = default;
    /// The rotation, as `makeRotate`.
    pcMatrix(const pcQuatd &q) { makeRotate(q); }
    /// From sixteen values in storage order.
    explicit pcMatrix(const float *values) { set(values); }
    explicit pcMatrix(const double *values) { set(values); }
    pcMatrix(S a00, S a01, S a02, S a03, S a10, S a11, S a12, S a13, S a20, S a21, S a22, S a23, S a30, S a31, S a32,
             S a33)
        : m_m{a00, a01, a02, a03, a10, a11, a12, a13, a20, a21, a22, a23, a30, a31, a32, a33}
    {}

    void set(const pcMatrix<float> &m);
    void set(const pcMatrix<double> &m);
    void set(const pcQuatd &q) { makeRotate(q); }
    void set(const float *values);
    void set(const double *values);
    void set(S a00, S a01, S a02, S a03, S a10, S a11, S a12, S a13, S a20, S a21, S a22, S a23, S a30, S a31, S a32,
             S a33)
    {
        *this = pcMatrix(a00, a01, a02, a03, a10, a11, a12, a13, a20, a21, a22, a23, a30, a31, a32, a33);
    }

    /// Element; the indices are not checked.
    S &operator()(int row, int col) { return m_m[row * 4 + col]; }
    S operator()(int row, int col) const { return m_m[row * 4 + col]; }

    /// The negation of `isNaN`; infinities are valid.
    bool valid() const { return !isNaN(); }
    /// Whether any element is a NaN.
    bool isNaN() const;
    /// Whether this is exactly the identity.
    bool isIdentity() const;

    /// -1 where at the first difference, in storage order, `m` is greater, 1 where this is, 0 without one. A NaN
    /// differs from nothing, so that it is equal to whatever stands in its place.
    int compare(const pcMatrix &m) const;
    bool operator==(const pcMatrix &m) const { return compare(m) == 0; }
    bool operator!=(const pcMatrix &m) const { return compare(m) != 0; }
    bool operator<(const pcMatrix &m) const { return compare(m) < 0; }

    /// The translation, the first three elements of row 3.
    pcVec3d getTrans() const { return {m_m[12], m_m[13], m_m[14]}; }
    /// Writes the translation and nothing else.
    void setTrans(const pcVec3d &v);
    void setTrans(const pcVec3f &v);
    void setTrans(S x, S y, S z);
    /// Lengths of the first three columns, over the upper three rows.
    pcVec3d getScale() const;
    /// The rotation, as `getRotate`.
    void get(pcQuatd &q) const { q = getRotate(); }

    /// \name New matrices, each by the `make` or `invert` operation of the same meaning
    /// \{
    static pcMatrix identity() { return pcMatrix(); }
    static pcMatrix scale(const pcVec3d &v);
    static pcMatrix scale(const pcVec3f &v);
    static pcMatrix scale(S x, S y, S z);
    static pcMatrix translate(const pcVec3d &v);
    static pcMatrix translate(const pcVec3f &v);
    static pcMatrix translate(S x, S y, S z);
    static pcMatrix rotate(const pcQuatd &q);
    static pcMatrix rotate(const pcVec3d &from, const pcVec3d &to);
    static pcMatrix rotate(const pcVec3f &from, const pcVec3f &to);
    static pcMatrix rotate(S angle, const pcVec3d &axis);
    static pcMatrix rotate(S angle, const pcVec3f &axis);
    static pcMatrix rotate(S angle, S x, S y, S z);
    static pcMatrix rotate(S angle1, const pcVec3d &axis1, S angle2, const pcVec3d &axis2, S angle3,
                           const pcVec3d &axis3);
    static pcMatrix rotate(S angle1, const pcVec3f &axis1, S angle2, const pcVec3f &axis2, S angle3,
                           const pcVec3f &axis3);
    static pcMatrix inverse(const pcMatrix &m);
    static pcMatrix orthoNormal(const pcMatrix &m);
    static pcMatrix ortho(double left, double right, double bottom, double top, double zNear, double zFar);
    static pcMatrix ortho2D(double left, double right, double bottom, double top);
    static pcMatrix frustum(double left, double right, double bottom, double top, double zNear, double zFar);
    static pcMatrix perspective(double fovy, double aspectRatio, double zNear, double zFar);
    static pcMatrix lookAt(const pcVec3d &eye, const pcVec3d &center, const pcVec3d &up);
    /// \}

    /// The upper 3x3 block times a column vector, or a row vector times that block: no translation, no division.
    static pcVec3d transform3x3(const pcMatrix &m, const pcVec3d &v);
    static pcVec3f transform3x3(const pcMatrix &m, const pcVec3f &v);
    static pcVec3d transform3x3(const pcVec3d &v, const pcMatrix &m);
    static pcVec3f transform3x3(const pcVec3f &v, const pcMatrix &m);

    void makeIdentity() { *this = pcMatrix(); }
    void makeScale(const pcVec3d &v);
    void makeScale(const pcVec3f &v);
    void makeScale(S x, S y, S z);
    void makeTranslate(const pcVec3d &v);
    void makeTranslate(const pcVec3f &v);
    void makeTranslate(S x, S y, S z);
    /// Rotations, as the operations of `pcQuatd` with the same arguments.
    void makeRotate(const pcQuatd &q);
    void makeRotate(const pcVec3d &from, const pcVec3d &to);
    void makeRotate(const pcVec3f &from, const pcVec3f &to);
    void makeRotate(S angle, const pcVec3d &axis);
    void makeRotate(S angle, const pcVec3f &axis);
    void makeRotate(S angle, S x, S y, S z);
    void makeRotate(S angle1, const pcVec3d &axis1, S angle2, const pcVec3d &axis2, S angle3, const pcVec3d &axis3);
    void makeRotate(S angle1, const pcVec3f &axis1, S angle2, const pcVec3f &axis2, S angle3, const pcVec3f &axis3);

    /// A parallel projection of the given box of eye space; `zNear` and `zFar` are distances along the view.
    void makeOrtho(double left, double right, double bottom, double top, double zNear, double zFar);
    /// The same for flat drawings, with z from -1 to 1.
    void makeOrtho2D(double left, double right, double bottom, double top);
    /// A perspective through the given rectangle at the distance `zNear`. `zFar` may be infinite.
    void makeFrustum(double left, double right, double bottom, double top, double zNear, double zFar);
    /// A symmetric perspective; `fovy` is the whole vertical field of view in degrees, the aspect ratio width by
    /// height.
    void makePerspective(double fovy, double aspectRatio, double zNear, double zFar);
    /// The view from `eye` towards `center`. Where `up` is parallel to that direction the view has no sides: its first
    /// two columns are zero.
    void makeLookAt(const pcVec3d &eye, const pcVec3d &center, const pcVec3d &up);

    /// What `makeOrtho` was given. False, outputs untouched, where column 3 is not exactly that of a parallel
    /// projection.
    bool getOrtho(double &left, double &right, double &bottom, double &top, double &zNear, double &zFar) const;
    bool getOrtho(float &left, float &right, float &bottom, float &top, float &zNear, float &zFar) const;
    /// What `makeFrustum` was given. False, outputs untouched, where column 3 is not exactly that of a perspective.
    bool getFrustum(double &left, double &right, double &bottom, double &top, double &zNear, double &zFar) const;
    bool getFrustum(float &left, float &right, float &bottom, float &top, float &zNear, float &zFar) const;
    /// What `makePerspective` was given, off-centre ones included. False, and both distances 0, where `getFrustum`
    /// fails.
    bool getPerspective(double &fovy, double &aspectRatio, double &zNear, double &zFar) const;
    bool getPerspective(float &fovy, float &aspectRatio, float &zNear, float &zFar) const;
    /// The view's eye, its direction of up, and the point at `lookDistance` in front of the eye.
    void getLookAt(pcVec3d &eye, pcVec3d &center, pcVec3d &up, S lookDistance) const;
    void getLookAt(pcVec3f &eye, pcVec3f &center, pcVec3f &up, S lookDistance) const;

    /// Writes the rotation into the upper 3x3 block and leaves the rest. `q` need not have length 1; for the zero
    /// quaternion the block becomes zero.
    void setRotate(const pcQuatd &q);
    /// The rotation of the upper 3x3 block, which must be a pure one.
    ///
    /// The largest of the four components is taken from the diagonal, which keeps the root that the others are divided
    /// by away from 0. After S. W. Shepperd, "Quaternion from Rotation Matrix", Journal of Guidance and Control 1,
    /// 1978.
    pcQuatd getRotate() const;

    /// Becomes `m` with each of the first three columns scaled to length 1 over the upper three rows. Columns shorter
    /// than about 1e-3 stay, and columns are not made orthogonal to one another.
    void orthoNormalize(const pcMatrix &m);

    /// Becomes the inverse of `m`: by `invert_4x3` where column 3 is exactly (0, 0, 0, 1), else by `invert_4x4`.
    bool invert(const pcMatrix &m);
    /// The inverse by cofactors of the upper 3x3 block. Column 3 is corrected for only where its last element is not 1.
    /// Always true: the inverse of a singular matrix is not finite.
    bool invert_4x3(const pcMatrix &m);
    /// The inverse by Gauss-Jordan elimination with full pivoting (Press et al., "Numerical Recipes", chapter 2.1).
    /// False, with no particular elements, where a pivot is exactly 0.
    bool invert_4x4(const pcMatrix &m);

    /// Becomes the transposed matrix; always true.
    bool transpose(const pcMatrix &m);
    /// Writes the upper 3x3 block, transposed from that of `m`, and leaves the rest; always true.
    bool transpose3x3(const pcMatrix &m);

    /// Becomes a x b.
    void mult(const pcMatrix &a, const pcMatrix &b);
    /// Becomes m x this.
    void preMult(const pcMatrix &m) { mult(m, *this); }
    /// Becomes this x m.
    void postMult(const pcMatrix &m) { mult(*this, m); }
    pcMatrix operator*(const pcMatrix &m) const;
    pcMatrix &operator*=(const pcMatrix &m)
    {
        postMult(m);
        return *this;
    }

    /// The point transformed: v x this with 1 as fourth component, divided by the w that comes out.
    pcVec3d preMult(const pcVec3d &v) const;
    pcVec3f preMult(const pcVec3f &v) const;
    /// v x this, with no division.
    pcVec4d preMult(const pcVec4d &v) const;
    pcVec4f preMult(const pcVec4f &v) const;
    /// this x v with 1 as fourth component, divided by the w that comes out.
    pcVec3d postMult(const pcVec3d &v) const;
    pcVec3f postMult(const pcVec3f &v) const;
    /// this x v, with no division.
    pcVec4d postMult(const pcVec4d &v) const;
    pcVec4f postMult(const pcVec4f &v) const;
    /// As `postMult`.
    pcVec3d operator*(const pcVec3d &v) const { return postMult(v); }
    pcVec3f operator*(const pcVec3f &v) const { return postMult(v); }
    pcVec4d operator*(const pcVec4d &v) const { return postMult(v); }
    pcVec4f operator*(const pcVec4f &v) const { return postMult(v); }

    /// The product with a translation, scale or rotation in front (`pre`) or behind (`post`). What a translation of 0
    /// or the identity rotation would leave is not touched, whatever it holds.
    void preMultTranslate(const pcVec3d &v);
    void preMultTranslate(const pcVec3f &v);
    void postMultTranslate(const pcVec3d &v);
    void postMultTranslate(const pcVec3f &v);
    void preMultScale(const pcVec3d &v);
    void preMultScale(const pcVec3f &v);
    void postMultScale(const pcVec3d &v);
    void postMultScale(const pcVec3f &v);
    void preMultRotate(const pcQuatd &q);
    void postMultRotate(const pcQuatd &q);

    /// \name Element by element, on `pcMatrixf` alone
    /// \{
    template <typename T = S, OnlyFloat<T> = 0>
    pcMatrix operator*(float s) const
    {
        return pcMatrix(*this) *= s;
    }
    template <typename T = S, OnlyFloat<T> = 0>
    pcMatrix operator/(float s) const
    {
        return pcMatrix(*this) /= s;
    }
    template <typename T = S, OnlyFloat<T> = 0>
    pcMatrix operator+(const pcMatrix &m) const
    {
        return pcMatrix(*this) += m;
    }
    template <typename T = S, OnlyFloat<T> = 0>
    pcMatrix &operator*=(float s)
    {
        for (S &element : m_m)
            element *= s;
        return *this;
    }
    template <typename T = S, OnlyFloat<T> = 0>
    pcMatrix &operator/=(float s)
    {
        for (S &element : m_m)
            element /= s;
        return *this;
    }
    template <typename T = S, OnlyFloat<T> = 0>
    pcMatrix &operator+=(const pcMatrix &m)
    {
        for (int i = 0; i < 16; ++i)
            m_m[i] += m.m_m[i];
        return *this;
    }
    /// \}

private:
    template <typename>
    friend class pcMatrix;

    template <typename T>
    void assign(const T *values);
    template <typename V>
    V rowTimes(const V &v) const;
    template <typename V>
    V timesColumn(const V &v) const;
    template <typename T>
    void translateBefore(const pcVec3<T> &v);
    template <typename T>
    void translateBehind(const pcVec3<T> &v);
    template <typename T>
    void scaleBefore(const pcVec3<T> &v);
    template <typename T>
    void scaleBehind(const pcVec3<T> &v);
    template <typename T>
    bool readOrtho(T &left, T &right, T &bottom, T &top, T &zNear, T &zFar) const;
    template <typename T>
    bool readFrustum(T &left, T &right, T &bottom, T &top, T &zNear, T &zFar) const;
    template <typename T>
    bool readPerspective(T &fovy, T &aspectRatio, T &zNear, T &zFar) const;
    template <typename T>
    void readLookAt(pcVec3<T> &eye, pcVec3<T> &center, pcVec3<T> &up, S lookDistance) const;

    S m_m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

extern template class POINTS_CLOUD_EXPORT pcMatrix<float>;
extern template class POINTS_CLOUD_EXPORT pcMatrix<double>;

static_assert(sizeof(pcMatrixf) == 64 && sizeof(pcMatrixd) == 128, "matrices are bare elements");
static_assert(std::is_trivially_copyable_v<pcMatrixf> && std::is_trivially_copyable_v<pcMatrixd>);

} // namespace ptCloud
