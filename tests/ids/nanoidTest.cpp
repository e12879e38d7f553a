#include <morvel/ids/nanoid.h>

#include <array>
#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

// The Mersenne twister as Matsumoto and Nishimura describe it, written out anew.
class Twister {
public:
    explicit Twister(std::uint32_t seed) {
        _state[0] = seed;
        for (std::uint32_t i = 1; i < 624; ++i) {
            _state[i] = (_state[i - 1] ^ _state[i - 1] >> 30) * 1812433253u + i;
        }
    }

    // Byte `i` of a request: a request begins with a new word, and drops the rest of its last.
    unsigned char Byte(std::size_t i) {
        _word = i % 4 == 0 ? _nextWord() : _word >> 8;
        return static_cast<unsigned char>(_word);
    }

private:
    std::uint32_t _nextWord() {
        if (_next == 624) {
            for (int i = 0; i < 624; ++i) {
                const std::uint32_t joined =
                    (_state[i] & 0x80000000u) | (_state[(i + 1) % 624] & 0x7FFFFFFFu);
                _state[i] =
                    _state[(i + 397) % 624] ^ joined >> 1 ^ ((joined & 1) != 0 ? 0x9908B0DFu : 0);
            }
            _next = 0;
        }
        std::uint32_t y = _state[_next++];
        y ^= y >> 11;
        y ^= y << 7 & 0x9D2C5680u;
        y ^= y << 15 & 0xEFC60000u;
        return y ^ y >> 18;
    }

    std::array<std::uint32_t, 624> _state;
    std::uint32_t _word = 0;
    int _next = 624;
};

// The rejection scheme with the size of a request given, byte for byte and with nothing clever.
std::string expectedIdentifier(Twister* twister, const std::string& alphabet, std::size_t size,
                               std::size_t step) {
    std::size_t range = 2;
    while (range < alphabet.size()) range *= 2;
    std::string result;
    while (result.size() < size) {
        for (std::size_t i = 0; i < step; ++i) {
            const std::size_t index = twister->Byte(i) % range;
            if (index < alphabet.size()) result += alphabet[index];
        }
    }
    return result.substr(0, size);
}

std::string symbols(std::size_t count) {
    std::string alphabet;
    for (std::size_t i = 0; i < count; ++i) alphabet += static_cast<char>(i + 1);
    return alphabet;
}

// Leaves the bytes as they come, which is at 0.
class Untouched : public nanoid::crypto_random_base {
public:
    void next_bytes(unsigned char*, unsigned long long length) override { request = length; }
    unsigned long long request = 0;
};

}  // namespace

// Steps computed by hand in double precision: 1.6 * 63 * 1000 / 64 is 1575 on paper, and a hair
// more in the order in which it is to be evaluated.
TEST(nanoid, DrawsTheIdentifiersThatFollowFromTheSeed) {
    const struct {
        std::size_t alphabet, size, step;
    } rows[] = {
        {1, 10, 16},  {2, 7, 6},    {3, 1, 2},     {3, 100, 161}, {5, 9, 21},
        {64, 21, 34}, {65, 21, 66}, {255, 21, 34}, {255, 1, 2},   {64, 1000, 1576},
    };
    Twister twister(0xFFFFFFFF);
    nanoid::crypto_random<std::mt19937> source{std::mt19937(0xFFFFFFFF)};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.size << " of " << row.alphabet);
        const std::string alphabet = symbols(row.alphabet);
        for (int i = 0; i < 100; ++i) {  // over several generations of the engine's state
            ASSERT_EQ(nanoid::generate(source, alphabet, row.size),
                      expectedIdentifier(&twister, alphabet, row.size, row.step));
        }
        Untouched zeros;
        EXPECT_EQ(nanoid::generate(zeros, alphabet, row.size), std::string(row.size, '\1'));
        EXPECT_EQ(zeros.request, row.step);
    }
}

// Pearson's test; the limits are those that a fair draw passes 9,999 times in 10,000. The seed is
// fixed, so the test has one outcome.
TEST(nanoid, DrawsEvenly) {
    const struct {
        std::size_t alphabet;
        double limit;
    } rows[] = {{2, 15.137}, {3, 18.421}, {10, 33.720}, {65, 114.834}, {255, 346.490}};
    constexpr std::size_t draws = 1000000;
    for (const auto& row : rows) {
        nanoid::crypto_random<std::mt19937> source{std::mt19937(20240229)};
        const std::string alphabet = symbols(row.alphabet);
        std::array<int, 256> counts = {};
        for (const unsigned char symbol : nanoid::generate(source, alphabet, draws)) {
            ++counts[symbol];
        }
        const double mean = static_cast<double>(draws) / static_cast<double>(row.alphabet);
        double sum = 0;
        for (const unsigned char symbol : alphabet) {
            const double off = counts[symbol] - mean;
            sum += off * off / mean;
        }
        EXPECT_LE(sum, row.limit) << row.alphabet;
    }
}

TEST(nanoid, RefusesAlphabetFirstThenSize) {
    const char* const alphabet = "alphabet must contain between 1 and 255 symbols.";
    const char* const size = "size must be greater than zero.";
    const struct {
        std::size_t symbols;
        unsigned long long size;
        const char* what;
    } rows[] = {
        {0, 5, alphabet}, {256, 5, alphabet}, {0, 0, alphabet}, {1, 0, size}, {255, 0, size}};
    for (const auto& row : rows) {
        try {
            nanoid::generate(std::string(row.symbols, 'x'), row.size);
            ADD_FAILURE() << row.symbols << ' ' << row.size;
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), row.what);
        }
    }
}

// The step of the first would not even fit 64 bits.
TEST(nanoid, FailsForWantOfMemoryBeforeItDraws) {
    for (const unsigned long long size : {~0ULL, 1ULL << 63}) {
        Untouched source;
        EXPECT_THROW(nanoid::generate(source, "ab", size), std::bad_alloc) << size;
        EXPECT_EQ(source.request, 0u);
    }
}

TEST(nanoid, NextBytesDrawsWholeWordsAndDropsTheRestOfTheLast) {
    Twister twister(5489);
    nanoid::crypto_random<std::mt19937> source{std::mt19937(5489)};
    for (std::size_t length = 0; length <= 9; ++length) {
        std::array<unsigned char, 12> bytes = {}, expected = {};
        source.next_bytes(bytes.data(), length);
        for (std::size_t i = 0; i < length; ++i) expected[i] = twister.Byte(i);
        EXPECT_EQ(bytes, expected) << length;
    }
}

TEST(nanoid, DefaultAlphabetHasTheSymbolsThatAUrlTakesAsTheyAre) {
    EXPECT_EQ(nanoid::default_alphabet(),
              "_-0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
}
