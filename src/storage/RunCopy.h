#pragma once

#include "ColumnTraits.h"

#include <cstring>
#include <vector>

namespace ptCloud
{

/// Points in a row.
struct ElementRun
{
    unsigned int first;
    unsigned int count;
};

namespace detail
{

// Runs are short as a rule, so the size is known to the compiler.
template <unsigned int size>
void gatherRuns(unsigned char *to, const unsigned char *from, const std::vector<ElementRun> &runs)
{
    for (const ElementRun &run : runs) {
        const unsigned char *element = from + static_cast<std::size_t>(run.first) * size;
        for (unsigned int i = 0; i < run.count; ++i, to += size, element += size)
            std::memcpy(to, element, size);
    }
}

} // namespace detail

/// Copies the elements of runs one behind the other, for one array of a block. The target may lie in front of the first
/// run in the same memory, if the runs ascend.
inline void gatherRuns(const ColumnTraits &traits, void *to, const void *from, const std::vector<ElementRun> &runs)
{
    auto *const target = static_cast<unsigned char *>(to);
    const auto *const source = static_cast<const unsigned char *>(from);
    switch (traits.elementSize) {
    case 1:
        return detail::gatherRuns<1>(target, source, runs);
    case 2:
        return detail::gatherRuns<2>(target, source, runs);
    case 4:
        return detail::gatherRuns<4>(target, source, runs);
    case 8:
        return detail::gatherRuns<8>(target, source, runs);
    case 12:
        return detail::gatherRuns<12>(target, source, runs);
    case 16:
        return detail::gatherRuns<16>(target, source, runs);
    default:
        Q_ASSERT(false);
    }
}

} // namespace ptCloud
