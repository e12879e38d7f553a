#include <morvel/ids/nanoid.h>

#include <new>

#include <tests/support/Test.h>

namespace {

// A seeded source that notes the request, or one that leaves the bytes as they come: at 0.
struct Source : nanoid::crypto_random<std::mt19937> {
    explicit Source(bool silent) : crypto_random(std::mt19937(0xFFFFFFFF)), isSilent(silent) {}
    void next_bytes(unsigned char* buffer, unsigned long long length) override {
        request = length;
        if (isSilent) return;
        std::string bytes(length + 1, '\0');
        crypto_random::next_bytes(reinterpret_cast<unsigned char*>(bytes.data()), length);
        EXPECT_EQ(bytes.back(), '\0') << "beyond " << length;
        bytes.copy(reinterpret_cast<char*>(buffer), length);
    }
    const bool isSilent;
    unsigned long long request = 0;
};

// The rejection scheme with the size of a request given, byte for byte and with nothing clever. A
// request begins with a new word of the engine, and drops the rest of its last.
std::string _identifier(std::mt19937& engine, const std::string& alphabet, std::size_t size,
                        std::size_t step) {
    std::size_t range = 2;
    while (range < alphabet.size()) range *= 2;
    std::string result;
    while (result.size() < size) {
        std::size_t word = 0;
        for (std::size_t i = 0; i < step; ++i, word >>= 8) {
            if (i % 4 == 0) word = engine();
            if (word % range < alphabet.size()) result += alphabet[word % range];
        }
    }
    return result.substr(0, size);
}

}  // namespace

// Steps computed by hand in double precision: 1.6 * 63 * 1000 / 64 is 1575 on paper, and a hair
// more in the order in which it is to be evaluated. Up to 64 bytes need no heap.
TEST(nanoid, DrawsTheIdentifiersThatFollowFromTheSeed) {
    const struct {
        std::size_t symbols, size, step;
    } rows[] = {
        {1, 10, 16},  {2, 7, 6},    {3, 1, 2},    {3, 100, 161}, {5, 12, 27},      {2, 80, 64},
        {20, 26, 65}, {64, 21, 34}, {65, 21, 66}, {255, 21, 34}, {64, 1000, 1576},
    };
    Source source(false), silent(true);
    std::mt19937 engine(0xFFFFFFFF);
    for (const auto& row : rows) {
        SCOPED_TRACE(Message() << row.size << " of " << row.symbols);
        std::string alphabet(row.symbols, '\0');
        std::iota(alphabet.begin(), alphabet.end(), '\1');
        for (int i = 0; i < 100; ++i) {  // over several generations of the engine's state
            ASSERT_EQ(nanoid::generate(source, alphabet, row.size),
                      _identifier(engine, alphabet, row.size, row.step));
        }
        EXPECT_EQ(nanoid::generate(silent, alphabet, row.size), std::string(row.size, '\1'));
        EXPECT_EQ(silent.request, row.step);
    }
}

TEST(nanoid, RefusesAlphabetFirstThenSize) {
    for (const std::size_t symbols : {0, 1, 255, 256}) {
        const bool legal = symbols % 256 != 0;
        for (const unsigned long long size : {0, legal ? 0 : 5}) {
            EXPECT_THAT([&] { nanoid::generate(std::string(symbols, 'x'), size); },
                        ThrowsMessage<std::invalid_argument>(
                            legal ? "size must be greater than zero."
                                  : "alphabet must contain between 1 and 255 symbols."));
        }
    }
}

// The step of the first would not even fit 64 bits.
TEST(nanoid, ThrowsWhenOutOfMemoryBeforeItDraws) {
    for (const unsigned long long size : {~0ULL, 1ULL << 63}) {
        Source source(false);
        EXPECT_THROW(nanoid::generate(source, "ab", size), std::bad_alloc) << size;
        EXPECT_EQ(source.request, 0u);
    }
}
