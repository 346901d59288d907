#pragma once

#include <limits>

namespace ptCloud
{

/// Double to `int`: in range it truncates toward zero; NaN and whatever `int` can't hold give the smallest `int`.
///
/// The language leaves the second half open, and processors differ. x86-64 answers like this, so files and grids come
/// out the same everywhere.
constexpr int truncToInt(double value)
{
    constexpr double tooLow = -2147483649.0;
    constexpr double tooHigh = 2147483648.0;
    return value > tooLow && value < tooHigh ? static_cast<int>(value) : std::numeric_limits<int>::min();
}

// Signed overflow is undefined, unsigned is not: sums and products that may wrap are taken unsigned.

constexpr int wrapAdd(int a, int b)
{
    return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b));
}
constexpr int wrapSub(int a, int b)
{
    return static_cast<int>(static_cast<unsigned int>(a) - static_cast<unsigned int>(b));
}
constexpr int wrapMul(int a, int b)
{
    return static_cast<int>(static_cast<unsigned int>(a) * static_cast<unsigned int>(b));
}

} // namespace ptCloud
