#pragma once

#include <string>

#include <morvel/ids/MersenneTwister.h>
#include <morvel/ids/nanoid.h>

/// What the identifiers of a process share; both objects live as long as the library is loaded.
namespace morvel {

extern const std::string identifierAlphabet;
extern nanoid::crypto_random<MersenneTwister> identifierGenerator;

/// nanoid::generate into storage that is there already. What it throws leaves `*result` as it was,
/// but for what the source throws.
void GenerateInto(std::string* result, nanoid::crypto_random_base& source,
                  const std::string& alphabet, unsigned long long size);

}  // namespace morvel
