#pragma once

#include <cstdlib>
#include <ctime>

namespace morvel::test {

/// Sets this process's time zone, like "ACT-9:30".
inline void SetTimeZone(const char* zone) {
#if defined(_WIN32)
    _putenv_s("TZ", zone);
    _tzset();
#else
    setenv("TZ", zone, 1);
    tzset();
#endif
}

}  // namespace morvel::test
