#include "Networking/AFLayer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

// Returns an AF packet whose payload is its sequence number as text.
std::string Framed(uint16_t aSequence, char aType = 'T') {
    CRC16 lEngine(CRC16_POLYNOMIAL, true);
    const std::string lText = std::to_string(aSequence);
    char lType[2] = {aType, '\0'};
    AFPacket lPacket(100, 1, 0);
    lPacket.SetCRCEngine(&lEngine);
    lPacket.WritePayload(static_cast<uint32_t>(lText.size()), Octets(lText));
    lPacket.cPayloadProtocol = lType;
    lPacket.SetHeader(aSequence, true);
    lPacket.SetCRC(true);
    return BytesOf(lPacket);
}

class AFLayerTest : public testing::Test {
protected:
    AFLayerTest() {
        cLayer.SetLowerLayer(&cTransport);
        cLayer.RegisterTag("T", nullptr);
    }

    FakeTransport cTransport;
    AFLayer cLayer;
};

TEST_F(AFLayerTest, FramesWithSequenceAndCRC) {
    TextPacket lPacket("\1\2\3\4", "T");
    cLayer.ciUseCRC = true;
    cLayer.ciSequence = 1;
    ASSERT_EQ(1u, cLayer.Send(&lPacket));
    EXPECT_EQ(std::string("AF\0\0\0\4\0\1\x90T\1\2\3\4\xA8\xED", 16), cTransport.cSent.back());
    cTransport.cSendCode = 12;
    EXPECT_EQ(12u, CodeOf(cLayer, cLayer.Send(&lPacket)));
    EXPECT_EQ(2, cLayer.ciSequence);  // the failure used up no number
    cLayer.ciMaxPacketSize = 3;
    EXPECT_EQ(LAYER_PACKET_TOO_BIG, CodeOf(cLayer, cLayer.Send(&lPacket)));
    lPacket.cProtocol = "AF";
    EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, CodeOf(cLayer, cLayer.Send(&lPacket)));
}

TEST_F(AFLayerTest, FollowsSequenceNumbers) {
    // The sequence numbers that come (-1 stands for a time-out, -2 for a failure), and what the layer hands up.
    const std::pair<std::vector<int>, const char*> CASES[] = {
        {{7, 8, 9}, "7 8 9 "},
        {{7, 9, 8}, "7 8 9 "},
        {{7, 10, 9, 8, 11}, "7 8 9 10 11 "},
        {{7, 19, 19}, "7 - 19 "},   // 11 ahead is too far
        {{7, 18, 8}, "7 8 "},       // 10 ahead waits in the queue
        {{7, 7, 8}, "7 - 8 "},      // 7 is repeated
        {{17, 9, 30}, "17 - 30 "},  // 9 behind is late
        {{17, 8, 18}, "17 18 "},    // 10 behind counts as ahead
        {{65533, 3, 65534, 65535, 0, 1, 2}, "65533 65534 65535 0 1 2 3 "},
        {{65535, 0}, "65535 0 "},
        {{7, 9, -1, 8, 9}, "7 2 8 9 "},
        {{7, 9, -2, 20}, "7 - 20 "},
    };
    for (const auto& [lSequences, lExpected] : CASES) {
        cLayer.ciState = 0;
        cLayer.ciQueue->Clear();
        for (const int lSequence : lSequences)
            if (lSequence == -1)
                cTransport.WillTimeOut();
            else if (lSequence == -2)
                cTransport.WillFail();
            else
                cTransport.WillReceive(Framed(static_cast<uint16_t>(lSequence)));
        EXPECT_EQ(lExpected, ReceiveAll(cLayer, "T"));
    }
    EXPECT_EQ(11u, cLayer.GetError());  // the transport's code
}

TEST_F(AFLayerTest, FileModeTakesAnyOrderAndFaultyPacketsAreNamed) {
    cLayer.SetFileMode(true);
    std::string lBroken = Framed(4);
    lBroken.back() = static_cast<char>(lBroken.back() ^ 1);
    for (const std::string& lBytes : {Framed(9), Framed(3), lBroken, Framed(3), Framed(5, 'X'), Framed(65535)})
        cTransport.WillReceive(lBytes);
    EXPECT_EQ("AF Packet Parsing Failed\n", Printed([&] { EXPECT_EQ("9 3 - 3 65535 ", ReceiveAll(cLayer, "T")); }));
}

}  // namespace
