#include "Networking/AFPacket.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Networking/StatusCodes.h"
#include "tests/unit/FakeTransport.h"

namespace {

using namespace std::string_literals;

const CRC16 ENGINE(CRC16_POLYNOMIAL, true);
const std::string WITH_CRC = "AF\0\0\0\4\0\1\x90T\1\2\3\4\xA8\xED"s;
const std::string WITHOUT_CRC = "AF\0\0\0\4\0\1\x10T\1\2\3\4\0\0"s;

// Returns the packet as it is sent; an empty text when a step failed.
std::string Build(const std::string& aPayload, bool aCRCFlag, uint8_t aMajor = 1, uint8_t aMinor = 0) {
    char lProtocol[] = "TAG";
    const uint32_t lLength = static_cast<uint32_t>(aPayload.size());
    AFPacket lPacket(AF_OVERHEAD + lLength, aMajor, aMinor);
    lPacket.SetCRCEngine(&ENGINE);
    lPacket.cPayloadProtocol = lProtocol;
    const bool lBuilt =
        lPacket.WritePayload(lLength, Octets(aPayload)) && lPacket.SetHeader(1, aCRCFlag) && lPacket.SetCRC(aCRCFlag);
    return lBuilt ? BytesOf(lPacket) : "";
}

// Parses a copy of exactly these bytes.  Returns the size of the packet in front, or the error code when it is refused.
uint32_t Parse(const std::string& aBytes) {
    const TextPacket lOwner(aBytes);
    char lProtocol[] = "?";
    AFPacket lPacket(0, 1, 0);
    lPacket.SetCRCEngine(&ENGINE);
    lPacket.cPayloadProtocol = lProtocol;
    lPacket.Share(&lOwner);
    const bool lValid = lPacket.Parse() != 0;
    EXPECT_STREQ(lValid ? "T" : "?", lProtocol);
    EXPECT_EQ(lValid ? lPacket.cPayloadSize + 12 : lOwner.cSize, lPacket.GetSize());
    EXPECT_EQ(lValid ? lOwner.cData + 10 : nullptr, lPacket.cPayload);
    EXPECT_TRUE(!lValid || lPacket.GetSequence() == 1);
    return lValid ? lPacket.GetSize() : lPacket.GetError();
}

TEST(AFPacketTest, BuildsTheWireFormatAndParsesIt) {
    EXPECT_EQ(WITH_CRC, Build("\1\2\3\4", true));
    EXPECT_EQ(WITHOUT_CRC, Build("\1\2\3\4", false));
    EXPECT_EQ('\x12', Build("", false, 9, 0xF2)[8]);  // versions are cut to their fields
    const std::string lLongest(65525, 'x');
    for (const std::string& lGood :
         {WITH_CRC, WITHOUT_CRC, Build("", true), Build("other minor", true, 1, 15), Build(lLongest, true)}) {
        EXPECT_EQ(lGood.size(), Parse(lGood));
        EXPECT_EQ(lGood.size(), Parse(lGood + lLongest));
    }
}

TEST(AFPacketTest, RefusesDamage) {
    for (const std::string& lGood : {WITH_CRC, WITHOUT_CRC})
        for (size_t lSize = 0; lSize < lGood.size(); ++lSize)
            EXPECT_EQ(PACKET_READ_OVERFLOW, Parse(lGood.substr(0, lSize))) << lSize;
    for (size_t lBit = 0; lBit < WITH_CRC.size() * 8; ++lBit) {
        std::string lBad = WITH_CRC;
        lBad[lBit / 8] = static_cast<char>(lBad[lBit / 8] ^ (0x80 >> lBit % 8));
        EXPECT_GT(12u, Parse(lBad)) << "bit " << lBit;  // a code is less than the size of any packet
    }
    const std::pair<const char*, std::string> BAD[] = {
        {"not AF", "BF\0\0\0\4\0\1\x10T\1\2\3\4\0\0"s},
        {"lower major version", Build("", true, 0)},
        {"higher major version", Build("", true, 2)},
        {"a CRC without its flag", "AF\0\0\0\4\0\1\x10T\1\2\3\4\0\1"s},
        {"length that wraps with the overhead", "AF\xFF\xFF\xFF\xF4\0\1\x10T\1\2\3\4\0\0"s},
        {"longer than the longest", "AF\0\0\xFF\xF6\0\1\x10T"s + std::string(70000, '\0')},
    };
    for (const auto& [lName, lBytes] : BAD)
        EXPECT_EQ(0u, Parse(lBytes)) << lName;
}

TEST(AFPacketTest, WritesNothingBeyondItsCapacity) {
    const unsigned char lPayload[6] = {};
    for (uint32_t lCapacity = 0; lCapacity < 18; ++lCapacity) {
        AFPacket lPacket(lCapacity, 1, 0);
        EXPECT_EQ(0u, lPacket.SetCRC(true));  // there is no engine
        lPacket.SetCRCEngine(&ENGINE);
        EXPECT_EQ(lCapacity >= 16 ? 1u : 0u, lPacket.WritePayload(6, lPayload)) << lCapacity;
        EXPECT_EQ(lCapacity >= 10 ? 1u : 0u, lPacket.SetHeader(1, true)) << lCapacity;
        EXPECT_EQ(0u, lPacket.SetCRC(true)) << lCapacity;
        EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
        EXPECT_EQ(0u, lPacket.SetCRC(false)) << lCapacity;
    }
    AFPacket lPacket(70000, 1, 0);
    EXPECT_EQ(1u, lPacket.WritePayload(65526, std::vector<unsigned char>(65526).data()));
    EXPECT_EQ(0u, lPacket.SetCRC(false));  // the packet is too long
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
}

}  // namespace
