#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

#include <morvel/platform/config.h>

/// Random identifiers by the rejection scheme of nanoid: as many random bytes as are likely to do,
/// each cut to the bits that an index into the alphabet needs, and dropped where it lies outside.
/// Nothing is folded back, so all symbols are equally likely for every length of the alphabet.
namespace nanoid {

/// A source of random bytes. An own source makes identifiers that don't depend on the process's
/// generator: a seeded one in tests, one for each thread, one from the system where guessing
/// matters.
///
/// @failure What a source throws comes out of generate.
/// @threads That of the source; generate calls it on the caller's thread.
/// @encoding Bytes, each from 0 to 255.
/// @cost One call for about 1.6 times the bytes that an identifier needs, seldom a second.
class MORVEL_API crypto_random_base {
public:
    virtual void next_bytes(unsigned char* buffer, unsigned long long length) = 0;  ///< Fills it.
    virtual ~crypto_random_base();                                                  ///< Virtual.
};

/// A source over a random engine of 32-bit numbers, which it owns.
///
/// @failure What the engine throws.
/// @threads One at a time.
/// @encoding Bytes, each from 0 to 255.
/// @cost One number of the engine for four bytes.
template <class Engine>
class crypto_random : public crypto_random_base {
    static_assert(std::is_unsigned<typename Engine::result_type>::value && Engine::min() == 0 &&
                      Engine::max() == std::numeric_limits<std::uint32_t>::max(),
                  "an engine of whole 32-bit words is needed");

public:
    /// Takes over the engine in the state that it is in.
    explicit crypto_random(Engine engine) : _engine(std::move(engine)) {}

    /// Four bytes from each number of the engine, lowest byte first; of the last number the upper
    /// bytes are dropped where `length` is no multiple of four.
    void next_bytes(unsigned char* buffer, unsigned long long length) override {
        unsigned char* const whole = buffer + (length & ~3ULL);
        for (; buffer != whole; buffer += 4) {
            const std::uint32_t word = static_cast<std::uint32_t>(_engine());
            std::memcpy(buffer, &word, 4);
        }
        if ((length & 3) != 0) {
            const std::uint32_t word = static_cast<std::uint32_t>(_engine());
            std::memcpy(buffer, &word, length & 3);
        }
    }

private:
    Engine _engine;
};

extern template class MORVEL_API crypto_random<std::mt19937>;

/// `size` symbols of `alphabet`, each byte of which is one symbol. Throws std::invalid_argument
/// with "alphabet must contain between 1 and 255 symbols." or, with a legal alphabet, "size must be
/// greater than zero."; std::bad_alloc if out of memory; and what the source throws.
///
/// The form without a source draws on the one generator of the process, which std::random_device
/// seeds at load, and in a forked child anew, with 32 bits and which has no lock: threads that call
/// it at once need one of their own.
///@{
MORVEL_API std::string generate(const std::string& alphabet, unsigned long long size);
MORVEL_API std::string generate(crypto_random_base& source, const std::string& alphabet,
                                unsigned long long size);
///@}

/// The 64 symbols that may stand in a URL as they are: _ - and the ASCII digits and letters. No
/// operation falls back on it.
MORVEL_API const std::string& default_alphabet();

}  // namespace nanoid
