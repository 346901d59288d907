#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Sets that are united two by two, by any number of threads at a time (union-find).
///
/// A root always hangs below a smaller one, so that in the end the root of a set is its smallest element, whatever the
/// order in which threads came.
class DisjointSets
{
public:
    explicit DisjointSets(std::size_t count) : m_parents(count)
    {
        for (std::size_t i = 0; i < count; ++i)
            m_parents[i].store(static_cast<std::uint32_t>(i), std::memory_order_relaxed);
    }

    /// The smallest element of the set, once all unions are done; before, an element of it.
    std::uint32_t find(std::uint32_t element)
    {
        for (;;) {
            std::uint32_t parent = load(element);
            if (parent == element)
                return element;
            const std::uint32_t grandparent = load(parent);
            // Halves the way for those who come later. Where another thread was faster, its way is no longer.
            if (grandparent != parent)
                m_parents[element].compare_exchange_weak(parent, grandparent, std::memory_order_relaxed);
            element = grandparent;
        }
    }

    void unite(std::uint32_t a, std::uint32_t b)
    {
        for (;;) {
            a = find(a);
            b = find(b);
            if (a == b)
                return;
            const std::uint32_t larger = a > b ? a : b;
            const std::uint32_t smaller = a > b ? b : a;
            std::uint32_t expected = larger;
            if (m_parents[larger].compare_exchange_strong(expected, smaller, std::memory_order_relaxed))
                return;
        }
    }

private:
    std::uint32_t load(std::uint32_t element) const { return m_parents[element].load(std::memory_order_relaxed); }

    std::vector<std::atomic<std::uint32_t>> m_parents;
};
