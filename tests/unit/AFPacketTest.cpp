#include "Networking/AFPacket.h"

#include <gtest/gtest.h>

#include <string>

#include "Networking/StatusCodes.h"

namespace {

using namespace std::string_literals;

const CRC16 ENGINE(CRC16_POLYNOMIAL, true);
const std::string WITH_CRC = "AF\0\0\0\4\0\1\x90T\1\2\3\4\xA8\xED"s;
const std::string WITHOUT_CRC = "AF\0\0\0\4\0\1\x10T\1\2\3\4\0\0"s;
const std::string EMPTY = "AF\0\0\0\0\0\1\x90T\x33\x62"s;

// The packet as it is sent; empty when a step failed.
std::string Build(const std::string& aPayload, bool aCRCFlag, uint8_t aMajor = 1, uint8_t aMinor = 0) {
    char lProtocol[] = "TAG";
    const uint32_t lLength = static_cast<uint32_t>(aPayload.size());
    AFPacket lPacket(AF_OVERHEAD + lLength, aMajor, aMinor);
    lPacket.SetCRCEngine(&ENGINE);
    lPacket.cPayloadProtocol = lProtocol;
    if (!lPacket.WritePayload(lLength, reinterpret_cast<const unsigned char*>(aPayload.data())) ||
        !lPacket.SetHeader(1, aCRCFlag) || !lPacket.SetCRC(aCRCFlag))
        return "";
    return std::string(reinterpret_cast<char*>(lPacket.cData), lPacket.cSize);
}

// Parses a copy of exactly these bytes: the size of the packet in front, 0 when it is refused.
uint32_t Parse(const std::string& aBytes) {
    Packet lOwner(static_cast<uint32_t>(aBytes.size()));
    lOwner.Write(lOwner.cCapacity, reinterpret_cast<const unsigned char*>(aBytes.data()));
    char lProtocol[] = "?";
    AFPacket lPacket(0, 1, 0);
    lPacket.SetCRCEngine(&ENGINE);
    lPacket.cPayloadProtocol = lProtocol;
    lPacket.Share(&lOwner);
    if (lPacket.Parse() == 0) {
        EXPECT_EQ(aBytes.size(), lPacket.GetSize());
        return 0;
    }
    EXPECT_STREQ("T", lProtocol);
    EXPECT_EQ(1u, lPacket.GetSequence());
    EXPECT_EQ(lOwner.cData + 10, lPacket.cPayload);
    EXPECT_EQ(lPacket.GetSize(), lPacket.cPayloadSize + 12);
    return lPacket.GetSize();
}

TEST(AFPacketTest, BuildsTheWireFormat) {
    EXPECT_EQ(WITH_CRC, Build("\1\2\3\4", true));
    EXPECT_EQ(WITHOUT_CRC, Build("\1\2\3\4", false));
    EXPECT_EQ(EMPTY, Build("", true));
    EXPECT_EQ('\xFF', Build("", true, 0xFF, 0xFF)[8]);
    EXPECT_EQ('\x12', Build("", false, 9, 0xF2)[8]);
}

TEST(AFPacketTest, ParsesWhatIsValid) {
    for (const std::string& lGood : {WITH_CRC, WITHOUT_CRC, EMPTY, Build("other minor", true, 1, 15)}) {
        EXPECT_EQ(lGood.size(), Parse(lGood));
        EXPECT_EQ(lGood.size(), Parse(lGood + std::string(100000, 'x')));
    }
}

TEST(AFPacketTest, RefusesDamage) {
    for (size_t lSize = 0; lSize < WITH_CRC.size(); ++lSize) {
        EXPECT_EQ(0u, Parse(WITH_CRC.substr(0, lSize))) << lSize;
        EXPECT_EQ(0u, Parse(WITHOUT_CRC.substr(0, lSize))) << lSize;
    }
    for (size_t lBit = 0; lBit < WITH_CRC.size() * 8; ++lBit) {
        std::string lBad = WITH_CRC;
        lBad[lBit / 8] = static_cast<char>(lBad[lBit / 8] ^ (0x80 >> lBit % 8));
        EXPECT_EQ(0u, Parse(lBad)) << "bit " << lBit;
    }
    EXPECT_EQ(0u, Parse(Build("other major", true, 2)));
    EXPECT_EQ(0u, Parse("AF\0\0\0\4\0\1\x10T\1\2\3\4\0\1"s));
    for (char lLength : {'\xF3', '\xF4', '\xFF'})  // with its overhead the length goes around
        EXPECT_EQ(0u, Parse("AF\xFF\xFF\xFF"s + lLength + "\0\1\x10T\1\2\3\4\0\0"s));
}

TEST(AFPacketTest, StopsAtTheLongestPacket) {
    EXPECT_EQ(65537u, Parse(Build(std::string(65525, 'x'), true)));
    EXPECT_EQ(65537u, Parse("AF\0\0\xFF\xF5\0\1\x10T"s + std::string(70000, '\0')));
    EXPECT_EQ(0u, Parse("AF\0\0\xFF\xF6\0\1\x10T"s + std::string(70000, '\0')));

    AFPacket lPacket(70000, 1, 0);
    EXPECT_EQ(0u, lPacket.WritePayload(65526, nullptr));  // refused before it is read
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
    EXPECT_EQ(12u, lPacket.GetSize());
}

TEST(AFPacketTest, WritesNothingBeyondItsCapacity) {
    const unsigned char lPayload[6] = {};
    for (uint32_t lCapacity = 0; lCapacity < 18; ++lCapacity) {
        AFPacket lPacket(lCapacity, 1, 0);
        EXPECT_EQ(0u, lPacket.SetCRC(true));  // no engine
        lPacket.SetCRCEngine(&ENGINE);
        EXPECT_EQ(lCapacity >= 16 ? 1u : 0u, lPacket.WritePayload(6, lPayload)) << lCapacity;
        EXPECT_EQ(lCapacity >= 10 ? 1u : 0u, lPacket.SetHeader(1, true)) << lCapacity;
        lPacket.GetError();
        EXPECT_EQ(0u, lPacket.SetCRC(true)) << lCapacity;
        EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
        EXPECT_EQ(0u, lPacket.SetCRC(false)) << lCapacity;
    }
}

}  // namespace
