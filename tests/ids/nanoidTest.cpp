#include <morvel/ids/nanoid.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

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

    std::uint32_t Next() {
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

private:
    std::array<std::uint32_t, 624> _state;
    int _next = 624;
};

// The rejection scheme with the size of a request given, byte for byte and with nothing clever. A
// request that ends inside a word drops the rest of it.
std::string expectedIdentifier(Twister* twister, const std::string& alphabet, std::size_t size,
                               std::size_t step) {
    std::size_t range = 2;
    while (range < alphabet.size()) {
        range *= 2;
    }
    std::string result;
    for (;;) {
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < step; ++i) {
            word = i % 4 == 0 ? twister->Next() : word / 256;
            const std::size_t index = word % range;
            if (result.size() < size && index < alphabet.size()) {
                result += alphabet[index];
            }
        }
        if (result.size() == size) {
            return result;
        }
    }
}

std::string symbols(std::size_t count) {
    std::string alphabet;
    for (std::size_t i = 0; i < count; ++i) {
        alphabet += static_cast<char>(i + 1);
    }
    return alphabet;
}

// Answers with the bytes of a script, zeros after its end, and keeps account of the requests.
class Script : public nanoid::crypto_random_base {
public:
    explicit Script(std::string bytes = "") : _bytes(std::move(bytes)) {}

    void next_bytes(unsigned char* buffer, unsigned long long length) override {
        if (requests.empty()) {
            cleared = std::count(buffer, buffer + length, 0) == static_cast<long long>(length);
        }
        requests.push_back(length);
        for (unsigned long long i = 0; i < length; ++i) {
            buffer[i] = _at < _bytes.size() ? static_cast<unsigned char>(_bytes[_at++]) : 0;
        }
    }

    std::vector<unsigned long long> requests;
    bool cleared = false;

private:
    std::string _bytes;
    std::size_t _at = 0;
};

// An engine whose numbers are 0x03020100, 0x07060504 and so on: byte n of the output is n.
class CountingEngine {
public:
    using result_type = std::uint32_t;
    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }

    explicit CountingEngine(int* drawn) : _drawn(drawn) {}
    result_type operator()() {
        const auto first = static_cast<result_type>(4 * (*_drawn)++);
        return first | (first + 1) << 8 | (first + 2) << 16 | (first + 3) << 24;
    }

private:
    int* _drawn;
};

template <class Function>
std::string whatItThrows(Function function) {
    try {
        function();
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
    return "nothing";
}

}  // namespace

// The 10,000th number of an engine seeded with 5489, from the C++ standard, [rand.predef].
TEST(nanoid, TheTwisterOfTheseTestsIsTheStandardOne) {
    Twister twister(5489);
    for (int i = 1; i < 10000; ++i) {
        twister.Next();
    }
    EXPECT_EQ(twister.Next(), 4123659995u);
}

// Steps computed by hand in double precision: 1.6 * 63 * 1000 / 64 is 1575 on paper, and a hair
// more in the order in which it is to be evaluated.
TEST(nanoid, DrawsTheIdentifiersThatFollowFromTheSeed) {
    const struct {
        std::size_t alphabet, size, step;
    } rows[] = {
        {1, 1, 2},     {1, 10, 16},    {2, 1, 1},     {2, 7, 6},   {3, 1, 2},
        {3, 100, 161}, {5, 9, 21},     {10, 21, 51},  {26, 8, 16}, {64, 21, 34},
        {65, 21, 66},  {129, 33, 105}, {255, 21, 34}, {255, 1, 2}, {64, 1000, 1576},
    };
    for (const std::uint32_t seed : {0u, 1u, 5489u, 0xFFFFFFFFu}) {
        Twister twister(seed);
        nanoid::crypto_random<std::mt19937> source{std::mt19937(seed)};
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << seed << ": " << row.size << " of " << row.alphabet);
            const std::string alphabet = symbols(row.alphabet);
            for (int i = 0; i < 50; ++i) {  // over several generations of the engine's state
                ASSERT_EQ(nanoid::generate(source, alphabet, row.size),
                          expectedIdentifier(&twister, alphabet, row.size, row.step));
            }
        }
    }
}

TEST(nanoid, AsksForAsMuchAtATimeAsItIsLikelyToNeed) {
    const struct {
        std::size_t alphabet;
        unsigned long long size, step;
    } rows[] = {{1, 10, 16}, {3, 100, 161}, {64, 21, 34}, {64, 1000, 1576}, {65, 21, 66}};
    for (const auto& row : rows) {
        Script zeros;  // each byte is the first symbol
        EXPECT_EQ(nanoid::generate(zeros, symbols(row.alphabet), row.size),
                  std::string(row.size, '\1'));
        EXPECT_EQ(zeros.requests[0], row.step) << row.size << " of " << row.alphabet;
        EXPECT_TRUE(zeros.cleared);
    }
}

TEST(nanoid, RejectsWhatLiesOutsideAndAsksAgain) {
    Script script("\xFF\x03\x07\x0B\xFE\x00");  // of two bits each: 3 3, 3 3, 2 0
    EXPECT_EQ(nanoid::generate(script, "abc", 1), "c");
    EXPECT_EQ(script.requests, (std::vector<unsigned long long>{2, 2, 2}));
}

TEST(nanoid, DrawsASymbolThatStandsTwiceTwiceAsOften) {
    Script script(std::string("\0\1\2\3", 4));
    EXPECT_EQ(nanoid::generate(script, "xyxx", 4), "xyxx");
}

// Pearson's test; the limits are those that a fair draw passes 9,999 times in 10,000. The seed is
// fixed, so the test has one outcome.
TEST(nanoid, DrawsEvenly) {
    const struct {
        std::size_t alphabet;
        double limit;
    } rows[] = {{1, 0},        {2, 15.137},   {3, 18.421},   {10, 33.720},
                {64, 113.505}, {65, 114.834}, {255, 346.490}};
    constexpr std::size_t draws = 1000000;
    for (const auto& row : rows) {
        nanoid::crypto_random<std::mt19937> source{std::mt19937(20240229)};
        const std::string alphabet = symbols(row.alphabet);
        std::array<std::size_t, 256> counts = {};
        for (const unsigned char symbol : nanoid::generate(source, alphabet, draws)) {
            ++counts[symbol];
        }
        const double mean = static_cast<double>(draws) / static_cast<double>(row.alphabet);
        double sum = 0;
        std::size_t counted = 0;
        for (const unsigned char symbol : alphabet) {
            const double off = static_cast<double>(counts[symbol]) - mean;
            sum += off * off / mean;
            counted += counts[symbol];
        }
        EXPECT_EQ(counted, draws) << row.alphabet;  // nothing from outside the alphabet
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
    } rows[] = {{0, 5, alphabet}, {256, 5, alphabet}, {0, 0, alphabet},   {256, 0, alphabet},
                {1, 0, size},     {255, 0, size},     {255, 1, "nothing"}};
    for (const auto& row : rows) {
        Script script;
        EXPECT_EQ(whatItThrows(
                      [&] { nanoid::generate(script, std::string(row.symbols, 'x'), row.size); }),
                  row.what);
        EXPECT_EQ(whatItThrows([&] { nanoid::generate(std::string(row.symbols, 'x'), row.size); }),
                  row.what);
    }
}

// For some rows the step would not even fit 64 bits. Sanitizers end the program where
// operator new would throw, so the rows that come to it are left out there.
TEST(nanoid, FailsForWantOfMemoryBeforeItDraws) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr bool newThrows = false;
#else
    constexpr bool newThrows = true;
#endif
    const struct {
        std::size_t alphabet;
        unsigned long long size;
        bool comesToNew;
    } rows[] = {{64, 1ULL << 60, true},
                {64, 1ULL << 61, true},
                {2, ~0ULL, false},
                {1, ~0ULL, false},
                {65, 1ULL << 63, false}};
    for (const auto& row : rows) {
        if (row.comesToNew && !newThrows) {
            continue;
        }
        Script script;
        EXPECT_THROW(nanoid::generate(script, symbols(row.alphabet), row.size), std::bad_alloc)
            << row.size;
        EXPECT_TRUE(script.requests.empty());
    }
}

TEST(nanoid, NextBytesDrawsWholeWordsAndDropsTheRestOfTheLast) {
    for (int length = 0; length <= 40; ++length) {
        int drawn = 0;
        nanoid::crypto_random<CountingEngine> source{CountingEngine(&drawn)};
        unsigned char bytes[44];
        std::memset(bytes, 0xEE, sizeof bytes);
        source.next_bytes(bytes, static_cast<unsigned long long>(length));
        EXPECT_EQ(drawn, (length + 3) / 4);
        for (int i = 0; i < 44; ++i) {
            EXPECT_EQ(bytes[i], i < length ? i : 0xEE) << "byte " << i << " of " << length;
        }
    }
}

TEST(nanoid, DefaultAlphabetHasTheSymbolsThatAUrlTakesAsTheyAre) {
    EXPECT_EQ(nanoid::default_alphabet(),
              "_-0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
}
