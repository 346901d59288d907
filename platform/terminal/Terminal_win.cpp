#include "Terminal.h"

#include <cstdio>

#include <io.h>

namespace terminal
{

bool standardErrorIsTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}

} // namespace terminal
