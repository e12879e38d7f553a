// Makes a LoadHost that is linked to the library, as most applications are: it comes with the
// program, and so before main, and stays until the end.

#include <morvel/logging/NLog.h>

NLog* (*_linkedHost)() = NLog::Get;
