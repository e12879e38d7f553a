#include <tests/sync/NamedMutexName.h>

NamedMutexName::~NamedMutexName() = default;
