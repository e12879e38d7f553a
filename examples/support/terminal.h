#pragma once

/// Whether the standard error stream goes to a terminal, on which a line can be written over.
bool IsTerminal();
