#include "Networking/Packet.h"

#include <gtest/gtest.h>

#include <string>

#include "Networking/StatusCodes.h"

namespace {

const unsigned char* Bytes(const char* apText) {
    return reinterpret_cast<const unsigned char*>(apText);
}

// What Read gives, and its result.
std::pair<uint32_t, std::string> ReadText(Packet* apPacket, uint32_t aLength) {
    std::string lText(aLength, '-');
    const uint32_t lResult = apPacket->Read(aLength, reinterpret_cast<unsigned char*>(lText.data()));
    return {lResult, lText};
}

using Got = std::pair<uint32_t, std::string>;

TEST(PacketTest, CutsAWriteAtTheCapacity) {
    const struct {
        uint32_t mCapacity, mFirst, mSecond, mResult, mSize, mError;
    } CASES[] = {
        {0, 0, 0, 1, 0, 0},
        {0, 0, 1, 0, 0, PACKET_WRITE_OVERFLOW},
        {5, 2, 3, 1, 5, 0},
        {5, 2, 4, 0, 5, PACKET_WRITE_OVERFLOW},
        {5, 5, 0, 1, 5, 0},
        {5, 5, 1, 0, 5, PACKET_WRITE_OVERFLOW},
        {5, 2, UINT32_MAX, 0, 5, PACKET_WRITE_OVERFLOW},
    };
    for (const auto& lCase : CASES) {
        Packet lPacket(lCase.mCapacity);
        EXPECT_EQ(1u, lPacket.Write(lCase.mFirst, Bytes("abcdef")));
        EXPECT_EQ(lCase.mResult, lPacket.Write(lCase.mSecond, Bytes("ghijkl"))) << lCase.mCapacity << lCase.mSecond;
        EXPECT_EQ(lCase.mSize, lPacket.GetSize());
        EXPECT_EQ(lCase.mError, lPacket.GetError());
        EXPECT_EQ(0u, lPacket.GetError());
    }
}

TEST(PacketTest, CutsAReadAtTheValidBytes) {
    Packet lPacket(8);
    lPacket.Write(5, Bytes("abcde"));
    EXPECT_EQ(Got(1, "ab"), ReadText(&lPacket, 2));
    EXPECT_EQ(0u, lPacket.GetError());
    EXPECT_EQ(Got(0, "cde-"), ReadText(&lPacket, 4));
    EXPECT_EQ(PACKET_READ_OVERFLOW, lPacket.GetError());
    EXPECT_EQ(Got(0, ""), ReadText(&lPacket, 0));
    EXPECT_EQ(PACKET_READ_OVERFLOW, lPacket.GetError());

    lPacket.Rewind();
    lPacket.Write(3, Bytes("xyz"));
    EXPECT_EQ(8u, lPacket.GetSize());
    EXPECT_EQ(Got(1, "xyzde"), ReadText(&lPacket, 5));

    lPacket.SetSize(100);  // more than there is room for
    EXPECT_EQ(0u, ReadText(&lPacket, 50).first);
    EXPECT_EQ(lPacket.cData + 8, lPacket.cReadPosition);
}

TEST(PacketTest, WritesThePayloadInItsPlace) {
    Packet lPacket(8);
    EXPECT_EQ(0u, lPacket.WritePayload(1, Bytes("a")));  // no payload view yet
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
    lPacket.cPayload = lPacket.cData + 3;
    lPacket.SetSize(3);
    EXPECT_EQ(1u, lPacket.WritePayload(5, Bytes("vwxyz")));
    EXPECT_EQ(8u, lPacket.GetSize());
    EXPECT_EQ(lPacket.cData, lPacket.cWritePosition);
    lPacket.SetSize(3);
    EXPECT_EQ(0u, lPacket.WritePayload(6, Bytes("abcdef")));
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, lPacket.GetError());
    EXPECT_EQ(5u, lPacket.cPayloadSize);
    EXPECT_EQ(8u, lPacket.GetSize());
    unsigned char lPayload[5];
    EXPECT_EQ(1u, lPacket.ReadPayload(lPayload));
    EXPECT_EQ('e', lPayload[4]);
}

TEST(PacketTest, ViewsBytesOfAnother) {
    char lProtocol[] = "T";
    Packet lOwner(8);
    lOwner.Write(6, Bytes("abcdef"));
    lOwner.cProtocol = "AF";
    lOwner.cPayloadProtocol = lProtocol;
    lOwner.cPayload = lOwner.cData + 2;
    lOwner.cPayloadSize = 3;
    {
        Packet lView(0);
        lView.Share(&lOwner);
        EXPECT_STREQ("AF", lView.cProtocol);
        EXPECT_EQ(8u, lView.cCapacity);
        EXPECT_EQ(Got(1, "abcdef"), ReadText(&lView, 6));
        lView.SharePayload(&lOwner);
        lView.Share(nullptr);
        lView.SharePayload(nullptr);
        EXPECT_EQ(lProtocol, lView.cProtocol);
        EXPECT_EQ(3u, lView.cCapacity);
        EXPECT_EQ(Got(0, "cde-"), ReadText(&lView, 4));
        EXPECT_EQ(0u, lView.Write(1, Bytes("x")));
        const Packet lCopy(lView);
        EXPECT_EQ(lOwner.cPayload, lCopy.cData);
        EXPECT_FALSE(lCopy.cOwner);
    }
    EXPECT_EQ(Got(1, "abcdef"), ReadText(&lOwner, 6));

    Packet lView(0);
    lOwner.cPayload = nullptr;
    lView.SharePayload(&lOwner);
    EXPECT_EQ(0u, lView.GetSize());
}

TEST(PacketTest, CopyOwnsItsOwnBytes) {
    Packet lSource(4);
    lSource.Write(3, Bytes("abc"));
    lSource.Write(9, Bytes("defghijkl"));
    lSource.cProtocol = "AF";
    lSource.cPayload = lSource.cData + 1;
    lSource.cPayloadSize = 2;
    Packet lCopy(lSource);
    lSource.Rewind();
    lSource.Write(4, Bytes("wxyz"));
    EXPECT_EQ(0u, lCopy.GetError());
    EXPECT_EQ(lCopy.cData + 1, lCopy.cPayload);
    EXPECT_EQ(2u, lCopy.cPayloadSize);
    EXPECT_STREQ("AF", lCopy.cProtocol);
    EXPECT_EQ(Got(1, "abcd"), ReadText(&lCopy, 4));
}

}  // namespace
