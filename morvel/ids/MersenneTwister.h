#pragma once

#include <cstddef>
#include <cstdint>

namespace morvel {

/// MT19937, number for number the sequence of std::mt19937, in a form that compilers turn into
/// SIMD code: words of 32 bits, where the standard type may hold each in 64, and the numbers of a
/// whole state at a time. Internal: callers' own sources go on with the standard type.
class MersenneTwister {
public:
    using result_type = std::uint32_t;

    explicit MersenneTwister(result_type seed);

    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return 0xFFFFFFFF; }

    result_type operator()() {
        if (_next == Size) _renew();
        return _numbers[_next++];
    }

private:
    static constexpr std::size_t Size = 624;

    void _renew();

    std::uint32_t _state[Size];
    std::uint32_t _numbers[Size];  ///< What the state gives, tempered.
    std::size_t _next = Size;
};

}  // namespace morvel
