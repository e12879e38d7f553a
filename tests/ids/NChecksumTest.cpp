#include <morvel/ids/NChecksum.h>

#include <random>

#include <gtest/gtest.h>

namespace {

std::uint32_t checksum(const std::string& bytes) {
    NChecksum sum;
    sum.Update(bytes);
    return sum.Value();
}

// CRC-32 bit by bit, from the polynomial of ISO 3309 in reversed order.
std::uint32_t bitwise(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~crc;
}

}  // namespace

// The check value of the catalogue of parametrised CRC algorithms (CRC-32/ISO-HDLC); the others as
// Python's zlib.crc32 gives them. Runs of equal bytes show a wrong start value.
TEST(NChecksum, GivesTheKnownValues) {
    EXPECT_EQ(checksum("123456789"), 0xCBF43926u);
    EXPECT_EQ(checksum(""), 0u);
    EXPECT_EQ(checksum("The quick brown fox jumps over the lazy dog"), 0x414FA339u);
    EXPECT_EQ(checksum(std::string(32, '\0')), 0x190A55ADu);
    EXPECT_EQ(checksum(std::string(32, '\xFF')), 0xFF6CAB0Bu);
}

TEST(NChecksum, SumsInPiecesWhatItSumsAtOnce) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::string bytes(random() % 300, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        NChecksum sum;
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t length = random() % 5;  // empty pieces too
            sum.Update(bytes.substr(at, length));
            at += length;
            ASSERT_EQ(sum.Value(), bitwise(bytes.substr(0, at)));
        }
        ASSERT_EQ(sum.Value(), bitwise(bytes));
    }
}
