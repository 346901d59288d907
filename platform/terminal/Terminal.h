#pragma once

/// What the command-line host has to know of the terminal; an implementation file a system, picked by the build.
namespace terminal
{

/// Whether standard error is a terminal that a person looks at.
bool standardErrorIsTerminal();

} // namespace terminal
