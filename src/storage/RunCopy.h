#pragma once

#include "ColumnTraits.h"

#include <cstring>
#include <type_traits>
#include <vector>

namespace ptCloud
{

/// Points in a row.
struct ElementRun
{
    unsigned int first;
    unsigned int count;
};

/// Calls `work` with the size of an array's elements as a constant, so that the copy of one is an instruction or two.
template <typename Work>
void withElementSize(const ColumnTraits &traits, Work work)
{
    switch (traits.elementSize) {
    case 1:
        return work(std::integral_constant<std::size_t, 1>());
    case 2:
        return work(std::integral_constant<std::size_t, 2>());
    case 4:
        return work(std::integral_constant<std::size_t, 4>());
    case 8:
        return work(std::integral_constant<std::size_t, 8>());
    case 12:
        return work(std::integral_constant<std::size_t, 12>());
    case 16:
        return work(std::integral_constant<std::size_t, 16>());
    default:
        Q_ASSERT(false);
    }
}

/// Copies the elements of runs one behind the other, for one array of a block. The target may lie in front of the first
/// run in the same memory, if the runs ascend.
inline void gatherRuns(const ColumnTraits &traits, void *to, const void *from, const std::vector<ElementRun> &runs)
{
    withElementSize(traits, [&](auto size) {
        auto *target = static_cast<unsigned char *>(to);
        // Runs are short as a rule.
        for (const ElementRun &run : runs) {
            const auto *element = static_cast<const unsigned char *>(from) + run.first * size;
            for (unsigned int i = 0; i < run.count; ++i, target += size, element += size)
                std::memcpy(target, element, size);
        }
    });
}

/// The same for runs that are long.
inline void moveRuns(const ColumnTraits &traits, void *to, const void *from, const std::vector<ElementRun> &runs)
{
    auto *target = static_cast<unsigned char *>(to);
    for (const ElementRun &run : runs) {
        const std::size_t bytes = static_cast<std::size_t>(run.count) * traits.elementSize;
        std::memmove(target, static_cast<const unsigned char *>(from) + std::size_t(run.first) * traits.elementSize,
                     bytes);
        target += bytes;
    }
}

/// The same for single elements.
inline void gatherElements(const ColumnTraits &traits, void *to, const void *from,
                           const std::vector<unsigned int> &indices)
{
    withElementSize(traits, [&](auto size) {
        auto *target = static_cast<unsigned char *>(to);
        for (const unsigned int index : indices) {
            std::memcpy(target, static_cast<const unsigned char *>(from) + index * size, size);
            target += size;
        }
    });
}

} // namespace ptCloud
