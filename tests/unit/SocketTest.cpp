#include "platform/Socket.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <tuple>
#include <vector>

#include "platform/Clock.h"
#include "tests/unit/TestSupport.h"

namespace {

using platform::SocketError;
using platform::UdpAddress;
using platform::UdpSocket;
using Result = UdpSocket::ReceiveResult;

constexpr uint32_t LOOPBACK = 0x7F000001;
constexpr platform::NetworkInterface LOOPBACK_INTERFACE = {0, LOOPBACK};
constexpr uint32_t GROUP = 0xEFFF2A01;  // 239.255.42.1
constexpr uint32_t LONG_WAIT = 20000;   // for what is sure to come

class SocketTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(platform::StartSockets());
        ASSERT_TRUE(cReceiver.Create() && cReceiver.SetReceiveTimeout(LONG_WAIT));
        ASSERT_TRUE(cSender.Create() && cSender.SetSendTimeout(LONG_WAIT));
    }

    // Binds to the first port that is free and returns it.
    static uint16_t Bind(UdpSocket& aSocket, uint32_t aAddress) {
        uint16_t lPort = static_cast<uint16_t>(20000 + getpid() % 10000);
        while (!aSocket.Bind(aAddress, lPort) && aSocket.GetError() == SocketError::ADDRESS_IN_USE)
            ++lPort;
        return lPort;
    }
    bool Send(const std::string& aText) { return cSender.Send(Octets(aText), aText.size()); }
    // The next datagram of at most ten bytes, or in brackets why there is none.
    std::string Receive() { return ReceiveFrom(cReceiver); }
    std::string ReceiveFrom(UdpSocket& aSocket) {
        unsigned char lBuffer[10];
        size_t lSize = 0;
        const Result lResult = aSocket.Receive(lBuffer, sizeof(lBuffer), &lSize, &cSource);
        if (lResult == Result::DATAGRAM)
            return std::string(lBuffer, lBuffer + lSize);
        if (lResult == Result::TIMED_OUT)
            return "(time-out)";
        return aSocket.GetError() == SocketError::TOO_LONG ? "(too long)"
                                                           : "(" + std::to_string(aSocket.GetSystemError()) + ")";
    }

    UdpSocket cReceiver, cSender;
    UdpAddress cSource;  // of the last datagram
};

TEST_F(SocketTest, CarriesDatagramsOfEverySizeThatFits) {
    ASSERT_TRUE(cSender.Connect(LOOPBACK, Bind(cReceiver, LOOPBACK)));
    for (const char* lText : {"first", "", "0123456789", "too long ..", "last"})
        EXPECT_TRUE(Send(lText));
    for (const std::string& lText : std::vector<std::string>{"first", "", "0123456789", "(too long)", "last"})
        EXPECT_EQ(lText, Receive());

    const uint32_t lStart = platform::TickCount();
    ASSERT_TRUE(cReceiver.SetReceiveTimeout(50));
    EXPECT_EQ("(time-out)", Receive());
    EXPECT_GE(platform::TickCount() - lStart, 49u);
}

TEST_F(SocketTest, ClosedPortIsNoSendFailure) {
    const uint16_t lPort = Bind(cReceiver, LOOPBACK);
    ASSERT_TRUE(cSender.Connect(LOOPBACK, lPort));
    cReceiver.Close();
    for (int lCount = 0; lCount < 100; ++lCount)
        EXPECT_TRUE(Send("lost")) << cSender.GetSystemError();
    ASSERT_TRUE(cReceiver.Create() && cReceiver.Bind(LOOPBACK, lPort) && cReceiver.SetReceiveTimeout(LONG_WAIT));
    EXPECT_TRUE(Send("found"));
    EXPECT_EQ("found", Receive());
}

// Two receivers of one group and one of another group on the same port: each gets what is meant for it and nothing
// else, from the sender that it wants.
TEST_F(SocketTest, SharesAGroupsPortAndNothingElse) {
    const auto lInterface = platform::FindInterface("lo");
    ASSERT_TRUE(lInterface.has_value() && lInterface->mAddress == LOOPBACK);
    const uint32_t OTHER_SOURCE = LOOPBACK + 1;
    UdpSocket lTwin, lOther, lPicky;
    ASSERT_TRUE(lTwin.Create() && lOther.Create() && lPicky.Create());
    const uint16_t lPort = Bind(cReceiver, 0);
    EXPECT_FALSE(lTwin.BindToGroup(GROUP, lPort));  // a port that its owner does not share
    cReceiver.Create();
    for (UdpSocket* const lpSocket : {&cReceiver, &lTwin, &lPicky})
        ASSERT_TRUE(lpSocket->BindToGroup(GROUP, lPort));
    ASSERT_TRUE(lOther.BindToGroup(GROUP + 1, lPort));
    for (UdpSocket* const lpSocket : {&cReceiver, &lTwin})
        ASSERT_TRUE(lpSocket->JoinGroup(GROUP, *lInterface));
    ASSERT_TRUE(lPicky.JoinGroup(GROUP, *lInterface, OTHER_SOURCE));
    ASSERT_TRUE(lOther.JoinGroup(GROUP + 1, {0, LOOPBACK}, OTHER_SOURCE));

    const std::tuple<uint32_t, uint32_t, const char*> DATAGRAMS[] = {{LOOPBACK, LOOPBACK, "unicast"},
                                                                     {LOOPBACK, GROUP, "one"},
                                                                     {LOOPBACK, GROUP + 1, "two"},
                                                                     {OTHER_SOURCE, GROUP, "three"},
                                                                     {OTHER_SOURCE, GROUP + 1, "four"}};
    for (const auto& [lFrom, lTo, lText] : DATAGRAMS) {
        ASSERT_TRUE(cSender.Create() && cSender.SetMulticastInterface(LOOPBACK_INTERFACE));
        ASSERT_TRUE(cSender.Bind(lFrom, 0) && cSender.Connect(lTo, lPort) && Send(lText)) << lText;
    }
    const std::pair<UdpSocket*, std::vector<std::string>> EXPECTED[] = {
        {&cReceiver, {"one", "three"}}, {&lTwin, {"one", "three"}}, {&lPicky, {"three"}}, {&lOther, {"four"}}};
    for (const auto& [lpSocket, lTexts] : EXPECTED) {
        lpSocket->SetReceiveTimeout(LONG_WAIT);
        for (const std::string& lText : lTexts)
            EXPECT_EQ(lText, ReceiveFrom(*lpSocket));
        EXPECT_EQ(OTHER_SOURCE, cSource.mAddress);
        lpSocket->SetReceiveTimeout(20);
        EXPECT_EQ("(time-out)", ReceiveFrom(*lpSocket));
    }
}

TEST_F(SocketTest, FailuresAreToldApart) {
    EXPECT_FALSE(cSender.Bind(LOOPBACK, Bind(cReceiver, LOOPBACK)));
    EXPECT_EQ(SocketError::ADDRESS_IN_USE, cSender.GetError());
    EXPECT_FALSE(Send("not connected"));
    EXPECT_EQ(EDESTADDRREQ, cSender.GetSystemError());
    EXPECT_EQ(SocketError::OTHER, cSender.GetError());
    EXPECT_FALSE(cReceiver.JoinGroup(LOOPBACK, {}));
    EXPECT_EQ(EINVAL, cReceiver.GetSystemError());
    EXPECT_FALSE(platform::FindInterface("none").has_value() || platform::FindInterface("a name that is too long"));
    ASSERT_TRUE(cSender.Connect(LOOPBACK, 9));
    EXPECT_FALSE(Send(std::string(70000, 'x')));
    EXPECT_EQ(SocketError::TOO_LONG, cSender.GetError());
    cReceiver.Close();
    EXPECT_FALSE(cReceiver.SetReceiveTimeout(0));
    EXPECT_EQ("(" + std::to_string(EBADF) + ")", Receive());
}

TEST(AddressTest, ConvertsBothWays) {
    char lText[16];
    for (const uint32_t lAddress : {0u, LOOPBACK, 0x0A0001C8u, 0xFFFFFFFFu}) {
        platform::FormatAddress(lAddress, lText);
        EXPECT_EQ(lAddress, platform::ParseAddress(lText)) << lText;
    }
    EXPECT_EQ(0x0A000102u, platform::ParseAddress("10.0.1.2"));
    for (const char* lBad : {"", "any", "1.2.3.256", "1.2.3.4.5"})
        EXPECT_EQ(platform::NO_ADDRESS, platform::ParseAddress(lBad)) << lBad;
    const auto lAll = platform::InterfaceAddresses().value();
    EXPECT_EQ(1, std::count(lAll.begin(), lAll.end(), LOOPBACK));
}

}  // namespace
