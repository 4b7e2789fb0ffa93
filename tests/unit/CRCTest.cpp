#include "Networking/CRC16.h"
#include "Networking/CRC32.h"
#include "Networking/CRC8.h"

#include <gtest/gtest.h>

namespace {

const unsigned char DIGITS[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

TEST(CRCTest, GivesPublishedCheckValues) {
    EXPECT_EQ(0xDAu, CRC8(0x9B, true).Compute(DIGITS, 9));
    EXPECT_EQ(0x4Bu, CRC8(0x1D, false).Compute(DIGITS, 9));
    EXPECT_EQ(0xD64Eu, CRC16(0x1021, true).Compute(DIGITS, 9));
    EXPECT_EQ(0x29B1u, CRC16(0x1021, false).Compute(DIGITS, 9));
    EXPECT_EQ(0xCBF43926u, CRC32(0x04C11DB7, true).Compute(DIGITS, 9));
    EXPECT_EQ(0x340BC6D9u, CRC32(0x04C11DB7, false).Compute(DIGITS, 9));
}

// One call over all bytes takes eight at a time, calls for each byte never do.
TEST(CRCTest, UpdateContinuesWhereItEnded) {
    const CRC8 lCRC8(0x9B, true);
    const CRC16 lCRC16(0x11021, true);  // bits above the width do not count
    const CRC32 lCRC32(0x04C11DB7, true);
    uint8_t lRegister8 = 0xFF;
    uint16_t lRegister16 = 0xFFFF;
    uint32_t lRegister32 = 0xFFFFFFFF;
    unsigned char lBytes[301];
    for (int32_t lIndex = 0; lIndex < 301; ++lIndex) {
        lBytes[lIndex] = static_cast<unsigned char>(lIndex * lIndex * 7 / 5);
        lRegister8 = static_cast<uint8_t>(~lCRC8.Update(lRegister8, lBytes + lIndex, 1));
        lRegister16 = lCRC16.Update(lRegister16, lBytes + lIndex, 1);
        lRegister32 = lCRC32.Update(lRegister32, lBytes + lIndex, 1);
    }
    EXPECT_EQ(lRegister8, lCRC8.Compute(lBytes, 301));
    EXPECT_EQ(lRegister16, lCRC16.Update(0xFFFF, lBytes, 301));
    EXPECT_EQ(lRegister32, lCRC32.Update(0xFFFFFFFF, lBytes, 301));
}

}  // namespace
