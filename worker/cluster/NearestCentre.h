#pragma once

#include "KMeansStart.h"

#include <cstddef>
#include <limits>
#include <vector>

/// Finds the nearest of some centres, exactly as one would by asking all of them in double precision: of two as near,
/// the one with the lower number.
///
/// The centres stand in the order of one coordinate, that in which they spread most. A search begins at the place's own
/// and goes both ways until the difference in that coordinate alone is too large. Any number of threads may ask at a
/// time.
class NearestCentre
{
public:
    explicit NearestCentre(const Centres &centres);

    struct Found
    {
        int centre = none;
        double square = std::numeric_limits<double>::infinity();       ///< of the distance to it
        double secondSquare = std::numeric_limits<double>::infinity(); ///< to the nearest of the others
    };
    static constexpr int none = -1;

    /// `except`: a centre that is passed over.
    Found find(const ptCloud::pcVec3d &place, int except = none) const;

private:
    struct Entry
    {
        ptCloud::pcVec3d place;
        int centre;
    };

    int m_axis = 0;
    std::vector<Entry> m_entries;
};
