#pragma once

#include <string>

namespace crash
{

/// Ends this process by SIGKILL at the call number `number` (from 1) that would change something below `directory`:
/// before it, or, where it writes, after `share` of 256 parts of its bytes. The program has to be linked so that its
/// own symbols come before those of the system library.
void killAtFileCall(const std::string &directory, long number, int share);

} // namespace crash
