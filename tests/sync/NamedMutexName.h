#pragma once

#if __has_include(<sys/sem.h>)
#include <sys/ipc.h>
#include <sys/sem.h>
#endif

#include <tests/support/Test.h>

/// A name for a lock that nobody else uses. What the system keeps of the lock goes with the object.
struct NamedMutexName {
    ~NamedMutexName() {
#if __has_include(<sys/sem.h>)
        semctl(semget(ftok(file.c_str(), 'p'), 1, 0), 0, IPC_RMID);
#endif
        std::remove(file.c_str());
    }

    const std::string name = "morvel-test-" + std::to_string(std::random_device()());
    const std::string file = "/tmp/" + name + ".mutex";  ///< Stands for the lock off Windows.
};
