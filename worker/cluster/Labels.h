#pragma once

#include <vector>

/// What stands in place of a cluster's number for a point that belongs to none.
constexpr int noise = -1;

/// Numbers clusters anew, from 0, in the order of their first points. Labels are below `bound`; `noise` stays.
void numberByFirstPoint(std::vector<int> &labels, int bound);

/// Makes noise of clusters with fewer than `least` or more than `most` points, and numbers the others anew.
void keepSizes(std::vector<int> &labels, int bound, int least, int most);
