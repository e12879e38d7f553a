#include <morvel/ids/nanoid.h>

#include <new>

#include <tests/support/Test.h>

namespace {

// The bytes of one request: it begins with a new word, and drops the rest of its last.
std::string drawn(std::mt19937* engine, std::size_t count) {
    std::string bytes;
    for (std::uint32_t word = 0; bytes.size() < count; word >>= 8) {
        if (bytes.size() % 4 == 0) word = static_cast<std::uint32_t>((*engine)());
        bytes += static_cast<char>(word);
    }
    return bytes;
}

// The rejection scheme with the size of a request given, byte for byte and with nothing clever.
std::string expectedIdentifier(std::mt19937* engine, const std::string& alphabet, std::size_t size,
                               std::size_t step) {
    std::size_t range = 2;
    while (range < alphabet.size()) range *= 2;
    std::string result;
    while (result.size() < size) {
        for (const char byte : drawn(engine, step)) {
            const std::size_t index = static_cast<unsigned char>(byte) % range;
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
    std::mt19937 engine(0xFFFFFFFF);
    nanoid::crypto_random<std::mt19937> source{engine};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.size << " of " << row.alphabet);
        const std::string alphabet = symbols(row.alphabet);
        for (int i = 0; i < 100; ++i) {  // over several generations of the engine's state
            ASSERT_EQ(nanoid::generate(source, alphabet, row.size),
                      expectedIdentifier(&engine, alphabet, row.size, row.step));
        }
        Untouched zeros;
        EXPECT_EQ(nanoid::generate(zeros, alphabet, row.size), std::string(row.size, '\1'));
        EXPECT_EQ(zeros.request, row.step);
    }
}

TEST(nanoid, RefusesAlphabetFirstThenSize) {
    for (const std::size_t symbols : {0, 1, 255, 256}) {
        const bool legal = symbols % 256 != 0;
        for (const unsigned long long size : {0, legal ? 0 : 5}) {
            EXPECT_THAT([&] { nanoid::generate(std::string(symbols, 'x'), size); },
                        testing::ThrowsMessage<std::invalid_argument>(
                            legal ? "size must be greater than zero."
                                  : "alphabet must contain between 1 and 255 symbols."));
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
    std::mt19937 engine;
    nanoid::crypto_random<std::mt19937> source{engine};
    for (std::size_t length = 0; length <= 9; ++length) {
        std::string bytes(length + 1, '\0');
        source.next_bytes(reinterpret_cast<unsigned char*>(bytes.data()), length);
        EXPECT_EQ(bytes, drawn(&engine, length) + '\0') << length;
    }
}
