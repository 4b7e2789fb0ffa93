#include "Networking/UDPIPLayer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "DrmUtil/CNameResolutionDaemon.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

const uint32_t PORT = TestPort();

class UDPIPLayerTest : public testing::Test {
protected:
    UDPIPLayerTest() {
        for (UDPIPLayer* const lpLayer : {&cSender, &cReceiver}) {
            lpLayer->RegisterTag("AF", nullptr);
            lpLayer->RegisterTag("PF", nullptr);
        }
    }

    uint32_t Send(const std::string& aBytes, const char* aProtocol = "PF") {
        TextPacket lPacket(aBytes, aProtocol);
        return cSender.Send(&lPacket);
    }

    const TestDirectory cDirectory;  // for the trace file
    UDPIPLayer cSender;
    UDPIPLayer cReceiver;
};

TEST_F(UDPIPLayerTest, OpensOrSaysWhyNot) {
    struct {
        uint32_t mDirection, mPort;
        const char* mAddress;
        uint32_t mCode;
        const char* mConsole;
    } const CASES[] = {
        {1, 1024, "127.0.0.1", 0, ""},
        {1, PORT, "255.255.255.255", UDP_SOCKET_FAILED, "connecting socket failed. Error: 13"},
        {0, PORT, "any", 0, ""},
        {0, PORT, nullptr, 0, ""},
        {2, PORT, "127.0.0.1", 0, ""},
        {0, PORT, "240.0.0.1", UDP_SOCKET_FAILED, "connecting socket failed. Error: 99"},  // no group: bound to
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mAddress != nullptr ? lCase.mAddress : "null");
        const uint32_t lResult = lCase.mCode == 0 ? 1u : 0u;
        UDPIPLayer lLayer;
        EXPECT_EQ(lCase.mConsole, Printed([&] {
                      EXPECT_EQ(lResult, lLayer.OpenSocket(lCase.mDirection, lCase.mPort, lCase.mAddress, 0));
                  }));
        EXPECT_EQ(lCase.mCode, lLayer.GetError());
        EXPECT_EQ(lResult, lLayer.ciState);
        // Whatever is open is closed before a port that is refused.
        EXPECT_EQ(lResult == 1 ? "closesocket in opensocket\n" : "",
                  Printed([&] { EXPECT_EQ(0u, lLayer.OpenSocket(1, 80, "127.0.0.1", 0)); }));
        EXPECT_EQ(0u, lLayer.ciState);
    }
}

TEST_F(UDPIPLayerTest, CarriesDatagrams) {
    ASSERT_EQ(1u, cReceiver.OpenSocket(0, PORT, "127.0.0.1", 0));
    ASSERT_EQ(1u, cSender.OpenSocket(1, PORT, "127.0.0.1", 0));
    const std::string lLargest = "PF" + std::string(1470, 'x');
    for (const std::string& lBytes : {std::string("AF"), lLargest})
        EXPECT_EQ(1u, Send(lBytes));
    EXPECT_EQ(LAYER_PACKET_TOO_BIG, CodeOf(cSender, Send(lLargest + "x")));
    EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, CodeOf(cSender, Send("AF", "T")));
    for (const char* const lpForeign : {"XY", "P", ""})
        EXPECT_EQ(1u, Send(lpForeign));
    cSender.ciMaxPacketSize = 2000;
    EXPECT_EQ(1u, Send(lLargest + "x"));
    EXPECT_EQ(2u + 1472 + 3 + 1473, cSender.GetBytesSent());
    EXPECT_EQ(0u, cSender.GetBytesSent());

    Packet lOut(0);
    uint32_t lTimeOut = 1000;
    EXPECT_EQ(1u, cReceiver.Receive(&lOut, &lTimeOut, 0));
    EXPECT_STREQ("AF", lOut.cProtocol);
    EXPECT_EQ(1u, cReceiver.Receive(&lOut, &lTimeOut, 0));
    EXPECT_EQ(lLargest, BytesOf(lOut));
    const auto lPrinted = [&](uint32_t aResult) {
        return Printed([&] { EXPECT_EQ(aResult, cReceiver.Receive(&lOut, &lTimeOut, 0)); });
    };
    for (int lForeign = 0; lForeign < 3; ++lForeign)
        EXPECT_EQ("not registered\n", lPrinted(2)) << lForeign;
    EXPECT_EQ("receive from socket failed. Error: 90", lPrinted(0));
    EXPECT_EQ(UDP_RECEIVE_FAILED, cReceiver.GetError());
    lTimeOut = 5;
    EXPECT_EQ("Timeout at UDP level\n", lPrinted(2));
    EXPECT_EQ(0u, cReceiver.GetError());
    EXPECT_EQ(1474u, cReceiver.GetBytesReceived());
    EXPECT_EQ(0u, cReceiver.GetBytesReceived());
}

TEST_F(UDPIPLayerTest, SendsNothingToAnUnreachableDestination) {
    ASSERT_EQ(1u, cSender.OpenSocket(1, PORT, "127.0.0.1", 0));
    std::snprintf(cSender.ciAddress, sizeof cSender.ciAddress, "!unknown");
    EXPECT_EQ(1u, Send("PF"));  // while its look-up is pending
    CNameResolutionDaemon::cListLockSemaphore->Wait(platform::Semaphore::NO_TIME_LIMIT);
    CNameResolutionDaemon::cAddressList->front().miStatus = ADDRESS_UNREACHABLE;
    CNameResolutionDaemon::cListLockSemaphore->Release();
    EXPECT_EQ(UDP_SEND_FAILED, CodeOf(cSender, Send("PF")));
    EXPECT_TRUE(TraceLines().empty());
}

}  // namespace
