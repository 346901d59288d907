#include "Labels.h"

#include <cstddef>

void numberByFirstPoint(std::vector<int> &labels, int bound)
{
    std::vector<int> numbers(static_cast<std::size_t>(bound), noise);
    int next = 0;
    for (int &label : labels) {
        if (label == noise)
            continue;
        int &number = numbers[static_cast<std::size_t>(label)];
        if (number == noise)
            number = next++;
        label = number;
    }
}

void keepSizes(std::vector<int> &labels, int bound, int least, int most)
{
    std::vector<int> sizes(static_cast<std::size_t>(bound));
    for (const int label : labels) {
        if (label != noise)
            ++sizes[static_cast<std::size_t>(label)];
    }
    for (int &label : labels) {
        if (label != noise
            && (sizes[static_cast<std::size_t>(label)] < least || sizes[static_cast<std::size_t>(label)] > most))
            label = noise;
    }
    numberByFirstPoint(labels, bound);
}
