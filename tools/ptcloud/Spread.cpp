#include "Spread.h"

#include <algorithm>
#include <cmath>

void Spread::add(float value)
{
    constexpr std::size_t mostKept = 1 << 16;
    if (m_count++ % m_stride != 0)
        return;
    m_kept.push_back(value);
    if (m_kept.size() < mostKept)
        return;
    for (std::size_t i = 0; i < mostKept / 2; ++i)
        m_kept[i] = m_kept[2 * i];
    m_kept.resize(mostKept / 2);
    m_stride *= 2;
}

double Spread::quantile(double share) const
{
    if (m_kept.empty())
        return 0;
    std::vector<float> values = m_kept;
    const auto nth = std::lround(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + nth, values.end());
    return static_cast<double>(values[static_cast<std::size_t>(nth)]);
}
