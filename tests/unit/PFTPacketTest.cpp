#include "Networking/PFTPacket.h"

#include <gtest/gtest.h>

#include <string>

#include "Networking/StatusCodes.h"

namespace {

using namespace std::string_literals;

// A fragment that views a copy of exactly these bytes.
struct Received {
    explicit Received(const std::string& aBytes) : mOwner(static_cast<uint32_t>(aBytes.size())), mPacket(0) {
        mOwner.Write(mOwner.cCapacity, reinterpret_cast<const unsigned char*>(aBytes.data()));
        mPacket.Share(&mOwner);
    }
    Packet mOwner;
    PFTPacket mPacket;
};

// These header bytes with their HCRC and so many bytes of payload.
std::string Fragment(const std::string& aHeader, size_t aPayload) {
    const uint16_t lCRC = PFTPacket::SharedEngine()->Compute(reinterpret_cast<const unsigned char*>(aHeader.data()),
                                                             static_cast<int32_t>(aHeader.size()));
    return aHeader + static_cast<char>(lCRC >> 8) + static_cast<char>(lCRC) + std::string(aPayload, 'x');
}

TEST(PFTPacketTest, BuildsAndParsesTheWireFormat) {
    const struct {
        uint16_t mPSeq;
        uint32_t mFindex, mFcount;
        bool mFEC, mAddressing;
        uint16_t mSource, mDestination;
        uint32_t mPayload;
        std::string mHeader;
    } CASES[] = {
        {4660, 2, 5, false, false, 0, 0, 3, "PF\x12\x34\0\0\2\0\0\5\0\3\x56\x15"s},
        {4660, 0xFF000002, 0x01000005, true, false, 0, 0, 300, "PF\x12\x34\0\0\2\0\0\5\x81\x2C\xCF\4\x43\xE8"s},
        {4660, 2, 5, true, true, 1, 2, 3, "PF\x12\x34\0\0\2\0\0\5\xC0\3\xCF\4\0\1\0\2\xC5\x81"s},
        {0, 69999, 70000, false, true, 65534, 32769, 3, "PF\0\0\1\x11\x6F\1\x11\x70\x40\3\xFF\xFE\x80\1\x7C\xBC"s},
        {0, 0, 1, false, false, 0, 0, 0, "PF\0\0\0\0\0\0\0\1\0\0\x13\7"s},
    };
    for (const auto& lCase : CASES) {
        const uint32_t lHeaderSize = static_cast<uint32_t>(lCase.mHeader.size());
        const std::string lPayload(lCase.mPayload, 'x');
        PFTPacket lBuilt(lHeaderSize + lCase.mPayload);
        for (int lTwice = 0; lTwice < 2; ++lTwice) {
            if (lCase.mFEC)
                lBuilt.SetRSParameters(207, 4);
            if (lCase.mAddressing)
                lBuilt.SetAddresses(lCase.mSource, lCase.mDestination);
        }
        EXPECT_EQ(1u, lBuilt.WritePayload(lCase.mPayload, reinterpret_cast<const unsigned char*>(lPayload.data())));
        EXPECT_EQ(1u, lBuilt.SetHeader(lCase.mPSeq, lCase.mFindex, lCase.mFcount));
        EXPECT_EQ(lBuilt.cPayload, lBuilt.cWritePosition);
        ASSERT_EQ(lCase.mHeader + lPayload, std::string(reinterpret_cast<char*>(lBuilt.cData), lBuilt.cSize));

        Received lReceived(lCase.mHeader + lPayload);
        PFTPacket& lParsed = lReceived.mPacket;
        ASSERT_EQ(1u, lParsed.Parse());
        EXPECT_EQ(lCase.mPSeq, lParsed.GetPSeq());
        EXPECT_EQ(lCase.mFindex & 0xFFFFFF, lParsed.GetFindex());
        EXPECT_EQ(lCase.mFcount & 0xFFFFFF, lParsed.GetFcount());
        EXPECT_EQ(lCase.mFEC, lParsed.GetFEC());
        EXPECT_EQ(lCase.mFEC ? 207 : 0, lParsed.GetRSk());
        EXPECT_EQ(lCase.mFEC ? 4 : 0, lParsed.GetRSz());
        EXPECT_EQ(lCase.mSource, lParsed.GetSource());
        EXPECT_EQ(lCase.mDestination, lParsed.GetDestination());
        EXPECT_EQ(lParsed.cData + lHeaderSize, lParsed.cPayload);
        EXPECT_EQ(lCase.mPayload, lParsed.cPayloadSize);
    }
}

TEST(PFTPacketTest, ChecksItsFields) {
    const struct {
        const char* mName;
        uint32_t mResult;
        std::string mBytes;
    } CASES[] = {
        {"last piece, bytes behind the payload", 1, Fragment("PF\0\0\0\0\1\0\0\2\0\3"s, 4)},
        {"RSk 207", 1, Fragment("PF\0\0\0\0\1\0\0\2\x80\0\xCF\xFF"s, 0)},
        {"RSk 208", 0, Fragment("PF\0\0\0\0\1\0\0\2\x80\0\xD0\0"s, 0)},
        {"not PF", 0, Fragment("QF\0\0\0\0\1\0\0\2\0\3"s, 3)},
        {"AF", 0, Fragment("AF\0\0\0\0\1\0\0\2\0\3"s, 3)},
        {"Fcount 0", 0, Fragment("PF\0\0\0\0\0\0\0\0\0\3"s, 3)},
        {"Findex is Fcount", 0, Fragment("PF\0\0\1\0\0\1\0\0\0\3"s, 3)},
        {"Findex above Fcount in its third byte", 0, Fragment("PF\0\0\1\0\0\0\0\x9\0\3"s, 3)},
        {"payload one byte short", 0, Fragment("PF\0\0\0\0\1\0\0\2\x3F\xFF"s, 16382)},
    };
    for (const auto& lCase : CASES)
        EXPECT_EQ(lCase.mResult, Received(lCase.mBytes).mPacket.Parse()) << lCase.mName;
}

TEST(PFTPacketTest, RefusesDamage) {
    const std::string lGood = Fragment("PF\0\x9\0\0\1\0\0\2\xC0\3\xC8\1\0\1\0\2"s, 3);
    ASSERT_EQ(1u, Received(lGood).mPacket.Parse());
    for (size_t lSize = 0; lSize < lGood.size(); ++lSize) {
        Received lCut(lGood.substr(0, lSize));
        EXPECT_EQ(0u, lCut.mPacket.Parse()) << lSize;
        EXPECT_EQ(lSize < 20 ? PACKET_READ_OVERFLOW : 0u, lCut.mPacket.GetError()) << lSize;
    }
    for (size_t lBit = 0; lBit < 20 * 8; ++lBit) {
        std::string lBad = lGood;
        lBad[lBit / 8] = static_cast<char>(lBad[lBit / 8] ^ (0x80 >> lBit % 8));
        EXPECT_EQ(0u, Received(lBad).mPacket.Parse()) << "bit " << lBit;
    }
}

TEST(PFTPacketTest, WritesNothingBeyondItsCapacity) {
    const unsigned char lPayload[3] = {};
    for (uint32_t lCapacity = 0; lCapacity < 23; ++lCapacity) {
        PFTPacket lPacket(lCapacity);
        lPacket.SetRSParameters(1, 2);
        lPacket.SetAddresses(3, 4);
        EXPECT_EQ(0u, lPacket.WritePayload(3, lPayload)) << lCapacity;
        EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
        EXPECT_EQ(lCapacity >= 20 ? 1u : 0u, lPacket.SetHeader(1, 0, 1)) << lCapacity;
        EXPECT_EQ(lCapacity >= 20 ? 0u : PACKET_WRITE_OVERFLOW, lPacket.GetError());
    }
}

TEST(PFTPacketTest, TheFirstFragmentSetsTheEngineUnlessThereIsOne) {
    static const CRC16 OTHER(CRC16_POLYNOMIAL, false);
    PFTPacket::spcCRCEngine = &OTHER;
    EXPECT_EQ(0u, Received("PF\0\0\0\0\0\0\0\1\0\0\x13\7"s).mPacket.Parse());
    PFTPacket::spcCRCEngine = nullptr;
    EXPECT_EQ(1u, Received("PF\0\0\0\0\0\0\0\1\0\0\x13\7"s).mPacket.Parse());
    EXPECT_EQ(PFTPacket::SharedEngine(), PFTPacket::spcCRCEngine.load());
}

}  // namespace
