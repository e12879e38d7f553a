#include <morvel/ids/NChecksum.h>

#include <tests/support/Test.h>

// The check value of the catalogue of parametrised CRC algorithms (CRC-32/ISO-HDLC).
TEST(NChecksum, SumsPiecesToTheKnownValue) {
    NChecksum sum;
    EXPECT_EQ(sum.Value(), 0u);
    for (const char* const piece : {"1234", "", "56789"}) sum.Update(piece);
    EXPECT_EQ(sum.Value(), 0xCBF43926u);
    sum.Update(std::string(1, '\0'));
    EXPECT_EQ(sum.Value(), 0x00C49E49u);
}
