#pragma once

#include <gtest/gtest.h>

#include <QByteArray>

#include <algorithm>

namespace support
{

/// Whether two files are the same; otherwise tells where they part.
inline ::testing::AssertionResult sameBytes(const QByteArray &actual, const QByteArray &expected)
{
    if (actual == expected)
        return ::testing::AssertionSuccess();
    const auto shorter = std::min(actual.size(), expected.size());
    const auto parts = std::mismatch(actual.begin(), actual.begin() + shorter, expected.begin()).first;
    const auto at = static_cast<int>(parts - actual.begin());
    return ::testing::AssertionFailure() << "sizes " << actual.size() << " and " << expected.size()
                                         << ", which part at byte " << at << ": "
                                         << actual.mid(at, 16).toHex(' ').constData() << " and not "
                                         << expected.mid(at, 16).toHex(' ').constData();
}

} // namespace support
