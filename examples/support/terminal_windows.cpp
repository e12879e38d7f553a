#include <io.h>
#include <cstdio>

#include "terminal.h"

bool IsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}
