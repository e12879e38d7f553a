// Makoto Matsumoto and Takuji Nishimura, "Mersenne Twister", ACM TOMACS 8 (1998), with the
// initialisation of 2002. Covered by MersenneTwisterTest.
#include <morvel/ids/MersenneTwister.h>

namespace {

std::uint32_t _twisted(std::uint32_t word, std::uint32_t next, std::uint32_t distant) {
    const std::uint32_t joined = (word & 0x80000000) | (next & 0x7FFFFFFF);
    return distant ^ joined >> 1 ^ ((0 - (joined & 1)) & 0x9908B0DF);
}

std::uint32_t _tempered(std::uint32_t word) {
    word ^= word >> 11;
    word ^= word << 7 & 0x9D2C5680;
    word ^= word << 15 & 0xEFC60000;
    return word ^ word >> 18;
}

}  // namespace

morvel::MersenneTwister::MersenneTwister(result_type seed) {
    _state[0] = seed;
    for (std::uint32_t i = 1; i < Size; ++i) {
        _state[i] = (_state[i - 1] ^ _state[i - 1] >> 30) * 1812433253 + i;
    }
}

// The word at a distance lies behind the end for the later ones: three loops spare a remainder.
void morvel::MersenneTwister::_renew() {
    constexpr std::size_t Distance = 397;
    constexpr std::size_t Near = Size - Distance;
    for (std::size_t i = 0; i < Near; ++i) {
        _state[i] = _twisted(_state[i], _state[i + 1], _state[i + Distance]);
    }
    for (std::size_t i = Near; i < Size - 1; ++i) {
        _state[i] = _twisted(_state[i], _state[i + 1], _state[i - Near]);
    }
    _state[Size - 1] = _twisted(_state[Size - 1], _state[0], _state[Distance - 1]);
    for (std::size_t i = 0; i < Size; ++i) _numbers[i] = _tempered(_state[i]);
    _next = 0;
}
