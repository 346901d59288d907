// Allocations. Those of `new` go through here as well where a sanitizer has a `new` of its own, which would not call
// `malloc`.

#include "FaultInjector.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

using fault::Call;

namespace
{

bool fails(std::size_t size)
{
    return fault::isArmed() && size >= fault::sizeThatCounts() && fault::fails(Call::Memory);
}

/// Finds a function. Calls that the search itself makes find nothing: the search goes on without.
template <typename Function>
Function *find(Function *own, const char *name)
{
    static thread_local bool isSearching = false;
    if (isSearching)
        return nullptr;
    isSearching = true;
    Function *const found = fault::next(own, name);
    isSearching = false;
    return found;
}

} // namespace

// A static that is initialised under a lock would lock itself out.
#define FAULT_NEXT_ALLOCATION(name)                                                                                    \
    static decltype(&name) real = nullptr;                                                                             \
    if (real == nullptr)                                                                                               \
        real = find(&name, #name);                                                                                     \
    if (real == nullptr)                                                                                               \
        return {};

extern "C" {

void *malloc(size_t size) noexcept
{
    FAULT_NEXT_ALLOCATION(malloc)
    return fails(size) ? nullptr : real(size);
}

void *calloc(size_t count, size_t size) noexcept
{
    FAULT_NEXT_ALLOCATION(calloc)
    return fails(count * size) ? nullptr : real(count, size);
}

void *realloc(void *old, size_t size) noexcept
{
    FAULT_NEXT_ALLOCATION(realloc)
    return fails(size) ? nullptr : real(old, size);
}

void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    FAULT_NEXT_ALLOCATION(aligned_alloc)
    return fails(size) ? nullptr : real(alignment, size);
}

int posix_memalign(void **memory, size_t alignment, size_t size) noexcept
{
    FAULT_NEXT_ALLOCATION(posix_memalign)
    return fails(size) ? ENOMEM : real(memory, alignment, size);
}

} // extern "C"

void *operator new(std::size_t size)
{
    void *const memory = malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void *operator new[](std::size_t size)
{
    return operator new(size);
}

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return malloc(size == 0 ? 1 : size);
}

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return malloc(size == 0 ? 1 : size);
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete[](void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void *memory, std::size_t) noexcept
{
    std::free(memory);
}
