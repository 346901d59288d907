#pragma once

#include <QElapsedTimer>

#include <algorithm>

/// The best of several rounds, in seconds.
template <typename Work>
double best(int rounds, Work work)
{
    double seconds = 1e300;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        seconds = std::min(seconds, static_cast<double>(timer.nsecsElapsed()) * 1e-9);
    }
    return seconds;
}
