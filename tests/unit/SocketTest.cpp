#include "platform/Socket.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "platform/Clock.h"
#include "tests/unit/TestSupport.h"

namespace {

using platform::UdpSocket;
using Result = UdpSocket::ReceiveResult;

constexpr uint32_t LOOPBACK = 0x7F000001;
constexpr uint32_t LONG_WAIT = 20000;  // for what is sure to come

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
        while (!aSocket.Bind(aAddress, lPort) && aSocket.GetLastError() == EADDRINUSE)
            ++lPort;
        return lPort;
    }
    bool Send(const std::string& aText) { return cSender.Send(Octets(aText), aText.size()); }
    // The next datagram of at most ten bytes, or in brackets why there is none.
    std::string Receive() {
        unsigned char lBuffer[10];
        size_t lSize = 0;
        const Result lResult = cReceiver.Receive(lBuffer, sizeof(lBuffer), &lSize);
        if (lResult == Result::DATAGRAM)
            return std::string(lBuffer, lBuffer + lSize);
        return lResult == Result::TIMED_OUT ? "(time-out)" : Failure(cReceiver.GetLastError());
    }
    static std::string Failure(int aError) { return "(" + std::to_string(aError) + ")"; }

    UdpSocket cReceiver, cSender;
};

TEST_F(SocketTest, CarriesDatagramsOfEverySizeThatFits) {
    ASSERT_TRUE(cSender.Connect(LOOPBACK, Bind(cReceiver, LOOPBACK)));
    for (const char* lText : {"first", "", "0123456789", "too long ..", "last"})
        EXPECT_TRUE(Send(lText));
    for (const std::string& lText : std::vector<std::string>{"first", "", "0123456789", Failure(EMSGSIZE), "last"})
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
        EXPECT_TRUE(Send("lost")) << cSender.GetLastError();
    ASSERT_TRUE(cReceiver.Create() && cReceiver.Bind(LOOPBACK, lPort) && cReceiver.SetReceiveTimeout(LONG_WAIT));
    EXPECT_TRUE(Send("found"));
    EXPECT_EQ("found", Receive());
}

TEST_F(SocketTest, JoinsAGroup) {
    const uint32_t GROUP = 0xEFFF2A01;  // 239.255.42.1
    const uint16_t lPort = Bind(cReceiver, 0);
    ASSERT_TRUE(cReceiver.JoinGroup(GROUP, LOOPBACK)) << cReceiver.GetLastError();
    Bind(cSender, LOOPBACK);  // makes the loopback interface the sending one
    ASSERT_TRUE(cSender.Connect(GROUP, lPort)) << cSender.GetLastError();
    EXPECT_TRUE(Send("group"));
    EXPECT_EQ("group", Receive());
}

TEST_F(SocketTest, FailuresGiveTheSystemsNumber) {
    EXPECT_FALSE(cSender.Bind(LOOPBACK, Bind(cReceiver, LOOPBACK)));
    EXPECT_EQ(EADDRINUSE, cSender.GetLastError());
    EXPECT_FALSE(Send("not connected"));
    EXPECT_EQ(EDESTADDRREQ, cSender.GetLastError());
    EXPECT_FALSE(cReceiver.JoinGroup(LOOPBACK, 0));
    EXPECT_EQ(EINVAL, cReceiver.GetLastError());
    ASSERT_TRUE(cSender.Connect(LOOPBACK, 9));
    EXPECT_FALSE(Send(std::string(70000, 'x')));
    EXPECT_EQ(EMSGSIZE, cSender.GetLastError());
    cReceiver.Close();
    EXPECT_FALSE(cReceiver.SetReceiveTimeout(0));
    EXPECT_EQ(Failure(EBADF), Receive());
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
