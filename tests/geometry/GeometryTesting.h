#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

/// What the tests of the geometry classes share: special values, and the look at an object's bare memory.
namespace geometry
{

template <typename S>
constexpr S notANumber = std::numeric_limits<S>::quiet_NaN();
template <typename S>
constexpr S infinity = std::numeric_limits<S>::infinity();

/// A number so large that adding 1 to it changes nothing.
template <typename S>
constexpr S swallowsOne = S(4) / std::numeric_limits<S>::epsilon();

/// What an object holds, as it lies in memory, taken as values of type `T`.
template <typename T, typename Object>
std::vector<T> stored(const Object &object)
{
    static_assert(sizeof(Object) % sizeof(T) == 0);
    std::vector<T> values(sizeof(Object) / sizeof(T));
    std::memcpy(values.data(), static_cast<const void *>(&object), sizeof object);
    return values;
}

/// The bits of the scalars of type `S` that an object is made of.
template <typename S, typename Object>
auto storedBits(const Object &object)
{
    return stored<std::conditional_t<sizeof(S) == 4, std::uint32_t, std::uint64_t>>(object);
}

/// Whether the expression that `Expression` stands for exists for a class.
template <template <typename> class Expression, typename T, typename = void>
constexpr bool exists = false;
template <template <typename> class Expression, typename T>
constexpr bool exists<Expression, T, std::void_t<Expression<T>>> = true;

template <typename T, template <typename> class... Expressions>
constexpr bool hasAll = (exists<Expressions, T> && ...);
template <typename T, template <typename> class... Expressions>
constexpr bool hasNone = !(exists<Expressions, T> || ...);

/// The scalar of a floating-point vector, and how many of it the vector has.
template <typename V>
using ScalarOf = std::decay_t<decltype(std::declval<const V &>().x())>;
template <typename V>
constexpr unsigned int sizeOf = sizeof(V) / sizeof(ScalarOf<V>);

template <typename V>
auto components(const V &v)
{
    return stored<ScalarOf<V>>(v);
}
template <typename V>
auto bits(const V &v)
{
    return storedBits<ScalarOf<V>>(v);
}

/// A vector of the first three or of all four values.
template <typename V, typename S = ScalarOf<V>>
V make(const std::array<S, 4> &values)
{
    if constexpr (sizeOf<V> == 3)
        return V(values[0], values[1], values[2]);
    else
        return V(values[0], values[1], values[2], values[3]);
}

/// What the components of that vector should be.
template <typename V, typename S = ScalarOf<V>>
std::vector<S> expected(const std::array<S, 4> &values)
{
    return {values.begin(), values.begin() + sizeOf<V>};
}

/// A vector that is all `rest` but for one component.
template <typename V, typename S = ScalarOf<V>>
V withComponent(unsigned int index, S value, S rest)
{
    std::array<S, 4> values = {rest, rest, rest, rest};
    values[index] = value;
    return make<V>(values);
}

} // namespace geometry
