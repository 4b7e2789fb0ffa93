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

TEST(CRCTest, NoBytesLeaveTheRegister) {
    for (int32_t lLength : {0, -1, INT32_MIN}) {
        EXPECT_EQ(0x0Fu, CRC8(0x9B, true).Update(0x1F0, nullptr, lLength));
        EXPECT_EQ(0x2345u, CRC16(0x1021, true).Update(0x12345, nullptr, lLength));
        EXPECT_EQ(0x12345678u, CRC32(0x04C11DB7, true).Update(0x12345678, nullptr, lLength));
        EXPECT_EQ(0x0000u, CRC16(0x1021, true).Compute(nullptr, lLength));
    }
}

TEST(CRCTest, UpdateContinuesWhereItEnded) {
    const CRC16 lCRC16(0x11021, true);  // bits above the width do not count
    const CRC32 lCRC32(0x04C11DB7, true);
    EXPECT_EQ(0x29B1u, lCRC16.Update(lCRC16.Update(0xFFFF, DIGITS, 4), DIGITS + 4, 5));
    EXPECT_EQ(0x340BC6D9u, lCRC32.Update(lCRC32.Update(0xFFFFFFFF, DIGITS, 4), DIGITS + 4, 5));
}

}  // namespace
