#pragma once

#include <string>

#include <morvel/ids/MersenneTwister.h>
#include <morvel/ids/nanoid.h>

namespace morvel {

/// The source that the identifiers of a process are drawn from, seeded by std::random_device. A
/// forked child, which has a copy of its parent's, seeds that anew before it draws.
class IdentifierGenerator : public nanoid::crypto_random_base {
public:
    IdentifierGenerator();
    void next_bytes(unsigned char* buffer, unsigned long long length) override;

private:
    nanoid::crypto_random<MersenneTwister> _source;
};

/// Both live as long as the library is loaded.
extern const std::string IdentifierAlphabet;
extern IdentifierGenerator _identifierGenerator;

/// nanoid::generate into storage that is there already. What it throws leaves `*result` as it was,
/// but for what the source throws.
void GenerateInto(std::string* result, nanoid::crypto_random_base& source,
                  const std::string& alphabet, unsigned long long size);

}  // namespace morvel
