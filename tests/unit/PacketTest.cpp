#include "Networking/Packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/unit/FakeTransport.h"

namespace {

// A packet of "abcdef" in a buffer of 8 bytes; "cde" is its payload.
struct Filled : Packet {
    Filled() : Packet(8) {
        Write(6, Octets("abcdef"));
        cProtocol = "AF";
        cPayloadProtocol = mPayloadProtocol;
        cPayload = cData + 2;
        cPayloadSize = 3;
    }
    char mPayloadProtocol[2] = "T";
};

using Got = std::pair<uint32_t, std::string>;

// Returns the result of Read and the text that it read.
Got ReadText(Packet* apPacket, uint32_t aLength) {
    std::string lText(aLength, '-');
    const uint32_t lResult = apPacket->Read(aLength, reinterpret_cast<unsigned char*>(lText.data()));
    return {lResult, lText};
}

TEST(PacketTest, CutsAWriteAtTheCapacity) {
    for (const uint32_t lLeft : {0u, 2u, 5u})
        for (const uint32_t lLength : {0u, lLeft, lLeft + 1, UINT32_MAX}) {
            Packet lPacket(5);
            lPacket.Write(5 - lLeft, Octets("abcde"));
            EXPECT_EQ(lLength <= lLeft ? 1u : 0u, lPacket.Write(lLength, Octets("fghijk")))
                << lLength << " into " << lLeft;
            EXPECT_EQ(5 - lLeft + std::min(lLength, lLeft), lPacket.GetSize());
            EXPECT_EQ(lLength <= lLeft ? 0u : PACKET_WRITE_OVERFLOW, lPacket.GetError());
            EXPECT_EQ(0u, lPacket.GetError());
        }
    EXPECT_EQ(0u, Packet(0).Write(1, Octets("a")));
}

TEST(PacketTest, CutsAReadAtTheValidBytes) {
    Filled lPacket;
    EXPECT_EQ(Got(1, "abc"), ReadText(&lPacket, 3));
    EXPECT_EQ(0u, lPacket.GetError());
    for (const std::string lCut : {"def-", ""}) {
        EXPECT_EQ(Got(0, lCut), ReadText(&lPacket, static_cast<uint32_t>(lCut.size())));
        EXPECT_EQ(PACKET_READ_OVERFLOW, lPacket.GetError());
    }
    lPacket.Rewind();
    lPacket.Write(2, Octets("xy"));
    EXPECT_EQ(Got(1, "xycdef"), ReadText(&lPacket, 6));
    lPacket.SetSize(100);  // more than the capacity
    EXPECT_EQ(0u, ReadText(&lPacket, 50).first);
    EXPECT_EQ(lPacket.cData + 8, lPacket.cReadPosition);
}

TEST(PacketTest, ViewsBytesOfAnother) {
    Filled lOwner;
    Packet lView(0);
    lView.Share(&lOwner);
    EXPECT_STREQ("AF", lView.cProtocol);
    EXPECT_EQ(8u, lView.cCapacity);
    EXPECT_EQ(Got(1, "abcdef"), ReadText(&lView, 6));
    lView.SharePayload(&lOwner);
    lView.Share(nullptr);
    lView.SharePayload(nullptr);
    EXPECT_STREQ("T", lView.cProtocol);
    EXPECT_EQ(Got(0, "cde-"), ReadText(&lView, 4));
    Packet lCopy(lView);
    EXPECT_EQ(lOwner.cPayload, lCopy.cData);
    for (Packet* lpFull : {&lView, &lCopy})
        EXPECT_EQ(0u, lpFull->Write(1, Octets("x")));
    lOwner.cPayload = nullptr;
    lView.SharePayload(&lOwner);
    EXPECT_EQ(0u, lView.GetSize());
}

}  // namespace
