#pragma once

// Distances that a setting may have, in position units.
constexpr double leastDistance = 1e-6;
constexpr double mostDistance = 1e9;

/// Throws `Failure(ExitCode::Argument)` where `value` is not from `least` to `most`, such as when it is not a number.
/// The message names key, value and range.
void checkRange(const char *key, double value, double least, double most);
