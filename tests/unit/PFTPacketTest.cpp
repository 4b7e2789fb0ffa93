#include "Networking/PFTPacket.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "Networking/StatusCodes.h"
#include "tests/unit/FakeTransport.h"

namespace {

using namespace std::string_literals;

// A fragment that views a copy of exactly these bytes.
struct Received : PFTPacket {
    explicit Received(const std::string& aBytes) : PFTPacket(0), mOwner(aBytes) { Share(&mOwner); }
    TextPacket mOwner;
};

// Returns a fragment of these header bytes, their HCRC and aPayload bytes of payload.
std::string Fragment(const std::string& aHeader, size_t aPayload) {
    const uint16_t lCRC = PFTPacket::SharedEngine()->Compute(Octets(aHeader), static_cast<int32_t>(aHeader.size()));
    return aHeader + static_cast<char>(lCRC >> 8) + static_cast<char>(lCRC) + std::string(aPayload, 'x');
}

TEST(PFTPacketTest, BuildsTheWireFormatAndParsesIt) {
    const std::tuple<bool, bool, std::string> CASES[] = {
        {false, false, "PF\x12\x34\1\x11\x6F\1\x11\x70\1\x2C\x9D\x81"s},
        {true, false, "PF\x12\x34\1\x11\x6F\1\x11\x70\x81\x2C\xCF\4\x96\x38"s},
        {false, true, "PF\x12\x34\1\x11\x6F\1\x11\x70\x41\x2C\xFF\xFE\x80\1\x5A\x15"s},
        {true, true, "PF\x12\x34\1\x11\x6F\1\x11\x70\xC1\x2C\xCF\4\xFF\xFE\x80\1\xB8\xA4"s},
    };
    for (const auto& [lFEC, lAddresses, lHeader] : CASES) {
        const std::string lBytes = lHeader + std::string(300, 'x');
        PFTPacket lBuilt(static_cast<uint32_t>(lBytes.size()));
        for (int lTwice = 0; lTwice < 2; ++lTwice) {
            if (lFEC)
                lBuilt.SetRSParameters(207, 4);
            if (lAddresses)
                lBuilt.SetAddresses(65534, 32769);
        }
        lBuilt.WritePayload(300, Octets(lBytes) + lHeader.size());
        EXPECT_EQ(1u, lBuilt.SetHeader(0x1234, 0xFF01116F, 0x01011170));  // only 24 bits count
        EXPECT_EQ(lBuilt.cPayload, lBuilt.cWritePosition);
        ASSERT_EQ(lBytes, BytesOf(lBuilt));

        Received lParsed(lBytes + "behind");
        ASSERT_EQ(1u, lParsed.Parse());
        EXPECT_EQ(std::tuple(0x1234, 0x01116Fu, 0x011170u),
                  std::tuple(lParsed.GetPSeq(), lParsed.GetFindex(), lParsed.GetFcount()));
        EXPECT_EQ(lFEC ? std::tuple(true, 207, 4) : std::tuple(false, 0, 0),
                  std::tuple(lParsed.GetFEC(), lParsed.GetRSk(), lParsed.GetRSz()));
        EXPECT_EQ(lAddresses ? std::tuple(65534, 32769) : std::tuple(0, 0),
                  std::tuple(lParsed.GetSource(), lParsed.GetDestination()));
        EXPECT_EQ(lParsed.cData + lHeader.size(), lParsed.cPayload);
        EXPECT_EQ(300u, lParsed.cPayloadSize);
    }
}

TEST(PFTPacketTest, RefusesDamage) {
    const std::string lGood = Fragment("PF\0\x9\0\0\1\0\0\2\xC0\3\xC8\1\0\1\0\2"s, 3);
    ASSERT_EQ(1u, Received(lGood).Parse());
    for (uint32_t lSize = 0; lSize < lGood.size(); ++lSize) {
        Received lCut(lGood.substr(0, lSize));
        EXPECT_EQ(0u, lCut.Parse()) << lSize;
        EXPECT_EQ(lSize < 20 ? PACKET_READ_OVERFLOW : 0u, lCut.GetError()) << lSize;
    }
    for (size_t lBit = 0; lBit < 20 * 8; ++lBit) {
        std::string lBad = lGood;
        lBad[lBit / 8] = static_cast<char>(lBad[lBit / 8] ^ (0x80 >> lBit % 8));
        EXPECT_EQ(0u, Received(lBad).Parse()) << "bit " << lBit;
    }
    const std::pair<const char*, std::string> BAD[] = {
        {"not PF", Fragment("AF\0\0\0\0\1\0\0\2\0\3"s, 3)},
        {"Fcount 0", Fragment("PF\0\0\0\0\0\0\0\0\0\3"s, 3)},
        {"Findex is Fcount", Fragment("PF\0\0\1\0\0\1\0\0\0\3"s, 3)},
        {"RSk 208", Fragment("PF\0\0\0\0\1\0\0\2\x80\0\xD0\0"s, 0)},
        {"longest payload, one byte short", Fragment("PF\0\0\0\0\1\0\0\2\x3F\xFF"s, 16382)},
    };
    for (const auto& [lName, lBytes] : BAD)
        EXPECT_EQ(0u, Received(lBytes).Parse()) << lName;
}

}  // namespace
