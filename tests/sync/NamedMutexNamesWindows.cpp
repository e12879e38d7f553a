#include <tests/sync/NamedMutexNames.h>

NamedMutexNames::~NamedMutexNames() = default;

bool NamedMutexNames::IsSharedWithFormer(const std::string&) {
    return false;
}
