#pragma once

#include "Progress.h"

#include <cstddef>
#include <vector>

/// A cloth of particles on a lattice that is pressed against a terrain from below, as if the terrain were turned over
/// and the cloth fell on it (Zhang et al. 2016, "An easy-to-use airborne LiDAR data filtering method based on cloth
/// simulation").
///
/// Each round moves every free particle by its speed and the pull (Verlet), fixes those that have reached their stop,
/// and lets each pair of neighbours take back part of the difference of their heights: of two free particles each
/// moves, beside a fixed one the free one alone. Pairs are taken along rows, then along columns, first those that begin
/// at an even place, then the others. So no two pairs of one pass share a particle, and the result does not depend on
/// the number of threads.
class Cloth
{
public:
    /// What moves the particles in a round.
    struct Force
    {
        float pull;   ///< rise of a particle at rest
        float single; ///< part of the difference that a free particle beside a fixed one takes back
        float shared; ///< part that either of two free particles takes back: half of it
    };

    /// `stops` holds the height of each node's stop, row by row. The cloth begins below all of them, near enough that
    /// the rounds it needs do not grow with the heights of mountains.
    ///
    /// `pull` is the rise in the first round, in the units of the heights. In proportion to the distance between
    /// particles it makes the cloth act alike on a hill and on a model of it. What counts as rest goes by it as well.
    Cloth(int columns, std::vector<float> stops, double pull);

    /// Runs up to `rounds` rounds, fewer when nothing moves any more. Each of `rigidness` halvings of the difference
    /// between neighbours makes the cloth stiffer.
    void rise(int rounds, int rigidness, Progress &progress);
    /// Fixes free particles beside fixed ones whose stops differ by less than `largestStep`, and so on from those: a
    /// cloth spans steep slopes, where the ground goes on without a break. Only particles that came within `largestGap`
    /// of their stop follow, or the deck of a bridge would follow the road.
    void followSlopes(double largestStep, double largestGap);

    const std::vector<float> &heights() const { return m_heights; }
    bool isFixed(std::size_t node) const { return m_heights[node] >= m_stops[node]; }

private:
    void beginBelowStops();
    int moveBand(std::size_t band, const Force &force);
    int moveRow(std::size_t row, const Force &force);
    void pullAlong(std::size_t row, std::size_t begin, const Force &force);
    void pullAcross(std::size_t row, const Force &force);
    std::size_t bandCount() const;

    std::size_t m_columns;
    std::size_t m_rows;
    std::vector<float> m_stops;
    float m_pull;
    std::vector<float> m_heights;
    std::vector<float> m_earlier; ///< heights one round ago
};
