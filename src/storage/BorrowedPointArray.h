#pragma once

#include "ColumnTraits.h"

namespace ptCloud
{

/// A point array whose arrays belong to somebody else: it lets go of them instead of releasing them.
struct BorrowedPointArray : stPtCloud_PointArray
{
    BorrowedPointArray() = default;
    ~BorrowedPointArray()
    {
        for (const ColumnTraits &traits : blockArrays)
            traits.set(*this, nullptr);
    }
};

} // namespace ptCloud
