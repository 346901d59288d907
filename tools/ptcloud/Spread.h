#pragma once

#include <cstddef>
#include <vector>

/// Where the bulk of many values lies, so that a few strays don't stretch the range. It keeps some of the values,
/// evenly taken from all.
class Spread
{
public:
    void add(float value);

    /// The value below which this share of all lies, 0 to 1; 0 where there is none.
    double quantile(double share) const;

private:
    std::vector<float> m_kept;
    std::size_t m_stride = 1; ///< one of so many values is kept
    std::size_t m_count = 0;
};
