#include <tests/sync/NamedMutexNames.h>

NamedMutexNames::~NamedMutexNames() = default;
