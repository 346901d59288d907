#include "Terminal.h"

#include <unistd.h>

namespace terminal
{

bool standardErrorIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace terminal
