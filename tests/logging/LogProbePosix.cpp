// As LogProbe.cpp, for what only POSIX systems have: forks.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <morvel/logging/NLogMessage.h>

namespace {
void writeLines(int writer, int first, int count) {
    for (int i = first; i < first + count; ++i) {
        NLOG("NOTICE", "writer %d line %d", writer, i);
    }
}

// A child that has not ended after a minute is a failure and not a reason to wait for ever.
bool endsWell(pid_t child) {
    for (int turn = 0; turn < 6000; ++turn) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child) {
            return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        }
        usleep(10000);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return false;
}

// Children that log `lines` lines each and end normally, forked while threads log and the queue is
// long. Writers 0 to 2 are the parent's threads, those from 100 on the children.
int forks(int children, int lines) {
    std::atomic<bool> go{true};
    std::vector<int> written(3);
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 3; ++writer) {
        threads.emplace_back([&, writer] {
            // At least some, and a limit for machines that fork slowly.
            while (written[writer] < 500 || (go && written[writer] < 40000)) {
                writeLines(writer, written[writer]++, 1);
            }
        });
    }
    bool well = true;
    for (int i = 0; i < children; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            writeLines(100 + i, 0, lines);
            std::exit(0);
        }
        well = child > 0 && endsWell(child) && well;
    }
    go = false;
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int count : written) {
        std::cout << count << ' ';
    }
    return well ? 0 : 1;
}

// A child that never logs, of a parent whose queue is long.
int forkQuietly() {
    writeLines(0, 0, 5000);
    const pid_t child = fork();
    if (child == 0) {
        std::exit(0);
    }
    return endsWell(child) ? 0 : 1;
}
}  // namespace

int main(int argc, char** argv) {
    const std::string job = argc > 1 ? argv[1] : "";
    if (job == "forks") return forks(std::atoi(argv[2]), std::atoi(argv[3]));
    if (job == "fork-quietly") return forkQuietly();
    return 2;
}
