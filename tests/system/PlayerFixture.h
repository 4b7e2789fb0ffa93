#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include "Networking/ByteOrder.h"
#include "platform/Socket.h"
#include "tests/system/Process.h"
#include "tests/unit/TestSupport.h"

class Player : public Process {
public:
    explicit Player(const std::function<void()>& aBefore = [] {}) : Process({TESSAVOX}, "", aBefore) {}
};

// A test that runs in a directory of its own, with what a player needs there and a listener for what the player sends.
class PlayerFixture : public testing::Test {
protected:
    static void Configure(const std::string& aSettings) {
        std::ofstream("VESTRAL Tessavox.ini") << "[Settings]\n" << aSettings;
    }
    void ConfigureToPlay(const std::string& aFile, const std::string& aAddress = "127.0.0.1",
                         const std::string& aMore = "") {
        Configure("InputFileName=" + aFile + "\nDrmOutputAddress=" + aAddress +
                  "\nDrmOutputPort=" + std::to_string(cPort) + "\n" + aMore);
    }
    static void MakeRecording(const std::string& aOptions) {
        ASSERT_EQ(0, std::system((std::string(MDI_MAKE) + " " + aOptions + " rec.mdi >/dev/null").c_str()));
    }
    // Returns the "dlfc" of the next unit, which must arrive in one fragment; -1 when nothing arrives.
    int64_t NextCounter() {
        unsigned char lBytes[1472];
        size_t lSize = 0;
        if (cListener.Receive(lBytes, sizeof lBytes, &lSize) != platform::UdpSocket::ReceiveResult::DATAGRAM)
            return -1;
        const std::string lDatagram(reinterpret_cast<char*>(lBytes), lSize);
        const size_t lItem = lDatagram.find(std::string("dlfc\0\0\0\x20", 8));
        EXPECT_EQ("PF", lDatagram.substr(0, 2));
        EXPECT_EQ("AF", lDatagram.substr(14, 2));
        return lItem == std::string::npos ? -1 : ReadU32(lBytes + lItem + 8);
    }
    void Listen(uint32_t aAddress = 0x7F000001) {
        ASSERT_TRUE(cListener.Create() && cListener.Bind(aAddress, static_cast<uint16_t>(cPort)) &&
                    cListener.SetReceiveTimeout(8000));
    }

    const TestDirectory cDirectory;
    const uint32_t cPort = TestPort();
    platform::UdpSocket cListener;
};
