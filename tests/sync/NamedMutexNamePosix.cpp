#include <sys/ipc.h>
#include <sys/sem.h>

#include <cstdio>

#include <tests/sync/NamedMutexName.h>

NamedMutexName::~NamedMutexName() {
    const key_t key = ftok(file.c_str(), 'p');
    if (key != -1) semctl(semget(key, 1, 0), 0, IPC_RMID);
    std::remove(file.c_str());
}
