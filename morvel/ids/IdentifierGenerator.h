#pragma once

#include <cstdint>
#include <random>
#include <string>

#include <morvel/ids/nanoid.h>

namespace morvel {

/// std::mt19937, number for number, in words of 32 bits: where the standard type holds each in 64,
/// a number takes five times as long.
using MersenneTwister = std::mersenne_twister_engine<
    std::uint32_t, std::mt19937::word_size, std::mt19937::state_size, std::mt19937::shift_size,
    std::mt19937::mask_bits, std::mt19937::xor_mask, std::mt19937::tempering_u,
    std::mt19937::tempering_d, std::mt19937::tempering_s, std::mt19937::tempering_b,
    std::mt19937::tempering_t, std::mt19937::tempering_c, std::mt19937::tempering_l,
    std::mt19937::initialization_multiplier>;

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
/// but for what the source throws at a later draw than the first.
void GenerateInto(std::string* result, nanoid::crypto_random_base& source,
                  const std::string& alphabet, unsigned long long size);

}  // namespace morvel
