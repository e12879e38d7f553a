#pragma once

#include <random>
#include <string>

#include <morvel/ids/nanoid.h>

/// What the identifiers of a process share; both objects live as long as the library is loaded.
namespace morvel {

extern const std::string identifierAlphabet;
extern nanoid::crypto_random<std::mt19937> identifierGenerator;

}  // namespace morvel
