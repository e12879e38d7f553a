#include <unistd.h>

#include "terminal.h"

bool IsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}
