#pragma once

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace bench {

/// Forks a server, which ends with this process and moves to the second core where there is one. 0
/// in the server.
inline pid_t ForkServer() {
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) ::_exit(0);
        cpu_set_t cores;
        CPU_ZERO(&cores);
        CPU_SET(1, &cores);
        ::sched_setaffinity(0, sizeof cores, &cores);  // refused where there is one core only
    }
    return child;
}

}  // namespace bench
