#pragma once

#include <QString>

#include <cstdint>

/// Throws `Failure(ExitCode::Memory)`, with both figures, where the machine has less than `bytes` to give: a process
/// that takes too much may otherwise be ended by the system, or end the machine's other work. Asked before each heavy
/// step; `step` names it.
void requireMemory(std::uint64_t bytes, const QString &step);
