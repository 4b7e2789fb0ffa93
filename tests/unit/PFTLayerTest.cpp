#include "Networking/PFTLayer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "platform/Clock.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

const unsigned char* Bytes(const std::string& aText) {
    return reinterpret_cast<const unsigned char*>(aText.data());
}

// Returns a fragment with the payload "PSEQ.FINDEX;", before which the first one has "AF", the tag of the packet.
std::string Fragment(uint32_t aPSeq, uint32_t aFindex, uint32_t aFcount, bool aFEC) {
    const std::string lText = (aFindex == 0 ? "AF" : "") + std::to_string(aPSeq) + "." + std::to_string(aFindex) + ";";
    PFTPacket lPacket(100);
    if (aFEC)
        lPacket.SetRSParameters(100, 0);
    lPacket.WritePayload(static_cast<uint32_t>(lText.size()), Bytes(lText));
    lPacket.SetHeader(static_cast<uint16_t>(aPSeq), aFindex, aFcount);
    return BytesOf(lPacket);
}

class PFTLayerTest : public testing::Test {
protected:
    PFTLayerTest() {
        cLayer.SetLowerLayer(&cTransport);
        cLayer.SetMode(PFT_MODE_FRAGMENT);
        cLayer.RegisterTag("AF", nullptr);
    }

    // Each word is a result of the transport: PSEQ.FINDEX/FCOUNT is a fragment, with ! behind it one with parity; a
    // text that begins with AF is a whole packet; T is a time-out, E a failure and X a damaged fragment.
    void WillReceive(const std::string& aScript) {
        std::istringstream lScript(aScript);
        for (std::string lWord; lScript >> lWord;) {
            if (lWord == "T") {
                cTransport.WillTimeOut();
            } else if (lWord == "E") {
                cTransport.WillFail();
            } else if (lWord == "X") {
                cTransport.WillReceive(Fragment(1, 0, 1, false).substr(0, 13));
            } else if (lWord.starts_with("AF")) {
                cTransport.WillReceive(lWord);
            } else {
                unsigned lPSeq = 0, lFindex = 0, lFcount = 0;
                ASSERT_EQ(3, std::sscanf(lWord.c_str(), "%u.%u/%u", &lPSeq, &lFindex, &lFcount)) << lWord;
                cTransport.WillReceive(Fragment(lPSeq, lFindex, lFcount, lWord.back() == '!'));
            }
        }
    }

    std::string ReceiveAll() { return ::ReceiveAll(cLayer, "AF"); }

    const TestDirectory cDirectory;  // for the trace file
    FakeTransport cTransport;
    PFTLayer cLayer;
};

TEST_F(PFTLayerTest, PutsFragmentsTogether) {
    struct {
        const char* mScript;
        const char* mExpected;
    } const CASES[] = {
        {"7.0/1 8.0/1", "AF7.0; AF8.0; "},
        {"1.2/3 T 65535.0/1 0.0/2 0.1/2 1.0/1", "AF65535.0; AF0.0;0.1; AF1.0; "},  // 1.2 follows no first fragment
        {"0.0/4 0.2/4 0.3/4 0.1/4", "AF0.0;0.1;0.2;0.3; "},
        {"5.0/2 6.0/2 6.1/2 5.1/2", "AF5.0;5.1; AF6.0;6.1; "},
        {"65535.0/3 0.0/3 65535.2/3 65535.1/3 0.1/3 0.2/3", "AF65535.0;65535.1;65535.2; AF0.0;0.1;0.2; "},
        {"5.0/2 5.0/2 5.1/2 6.0/1", "- AF6.0; "},         // a repeated fragment is far behind
        {"5.0/1 200.0/1 201.0/1", "AF5.0; - AF201.0; "},  // 200 is far ahead
        {"5.0/2 T 5.1/2 6.0/1", "2 AF6.0; "},             // silence inside a packet
        {"5.0/1 4.0/1 3.0/1 6.0/1", "AF5.0; AF6.0; "},    // 4 and 3 wait in the queue
        {"5.0/2 5.1/2 5.1/2 7.0/1 6.0/1 8.0/1", "AF5.0;5.1; AF6.0; AF7.0; AF8.0; "},  // 7 waits behind the repeated one
        {"5.0/6 5.2/6 5.3/6 5.4/6 5.5/6 6.0/6 7.0/6 8.0/1", "- AF8.0; "},  // 5.1 is lost when 8.0 is far ahead
        {"5.0/1! 6.0/1", "- AF6.0; "},                                     // too short to have parity
        {"5.0/5! 5.2/5! 5.3/5! 5.4/5! 6.0/1", "- AF6.0; "},                // too short to repair a gap
        {"5.0/4 5.1/2 6.0/1", "- AF6.0; "},                                // never complete, because the count changed
        {"AFone 900.0/2 AFtwo 800.1/2 AF3", "AFone - AFtwo - AF3 "},
        {"5.0/2 AFwhole 5.1/2 6.0/1 7.0/1 8.0/1", "AFwhole AF8.0; "},  // 5 is given up for a whole packet
        {"E X 5.0/2 E X 5.1/2", "AF5.0;5.1; "},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mScript);
        WillReceive(lCase.mScript);
        cLayer.ciRxState = RX_RESET;
        EXPECT_EQ(lCase.mExpected, ReceiveAll());
    }
    EXPECT_EQ(4u, TraceLines().size());  // of the last case
    EXPECT_NE(std::string::npos, TraceLines()[0].find("Assertion (0) in file \"Networking/PFTLayer.cpp\""));
}

TEST_F(PFTLayerTest, WaitsForNoFirstFragmentAtTheEnd) {
    WillReceive("5.0/1 6.1/2 X T T");
    cTransport.ciAtEnd = true;
    EXPECT_EQ("AF5.0; 2 2 ", ReceiveAll());
}

TEST_F(PFTLayerTest, APacketOfTooManyFragmentsCostsOnlyItself) {
    for (uint32_t lFindex = 0; lFindex < 100; ++lFindex)
        WillReceive("1." + std::to_string(lFindex) + "/100");
    WillReceive("2.0/1");
    EXPECT_EQ("- AF2.0; ", ReceiveAll());
}

TEST_F(PFTLayerTest, FindsItsWayBackFromAnything) {
    std::mt19937 lRandom(1);
    const auto lBelow = [&lRandom](uint32_t aLimit) {
        return std::uniform_int_distribution<uint32_t>(0, aLimit - 1)(lRandom);
    };
    const uint32_t COUNTS[] = {1, 2, 5, 90, 0xFFFFFF};
    for (int lRound = 0; lRound < 300; ++lRound) {
        for (int lUnit = 0; lUnit < 60; ++lUnit) {
            const uint32_t lFcount = COUNTS[lBelow(5)];
            std::string lFragment =
                Fragment(65530 + lBelow(12), lBelow(std::min(lFcount, 95u)), lFcount, lBelow(2) == 1);
            if (lBelow(8) == 0)
                lFragment.resize(lBelow(static_cast<uint32_t>(lFragment.size())) + 1);
            cTransport.WillReceive(lFragment);
        }
        ReceiveAll();
        WillReceive("1000.0/1 1001.0/1 1002.0/1 1003.0/1 1004.0/1 1005.0/1 1006.0/1 1007.0/1");
        EXPECT_NE(std::string::npos, ReceiveAll().find("AF1007.0;")) << lRound;
    }
}

TEST_F(PFTLayerTest, CutsPackets) {
    struct {
        size_t mSize;
        std::vector<size_t> mFragments;
        uint32_t mPauses;  // milliseconds of all pauses together
    } const CASES[] = {{1, {1}, 0}, {1458, {1458}, 0}, {1459, {1458, 1}, 100}, {3000, {1458, 1458, 84}, 132}};
    uint16_t lPSeq = 65534;
    cLayer.ciwPSeq = lPSeq;
    for (const auto& lCase : CASES) {
        Packet lPacket(3000);
        const std::string lBytes(lCase.mSize, 'x');
        lPacket.Write(static_cast<uint32_t>(lBytes.size()), Bytes(lBytes));
        lPacket.cProtocol = "AF";
        cTransport.cSent.clear();
        const uint32_t lStart = platform::TickCount();
        ASSERT_EQ(1u, cLayer.Send(&lPacket));
        EXPECT_GE(platform::TickCount() - lStart, lCase.mPauses);
        ASSERT_EQ(lCase.mFragments.size(), cTransport.cSent.size());
        for (size_t lIndex = 0; lIndex < lCase.mFragments.size(); ++lIndex) {
            const std::string& lSent = cTransport.cSent[lIndex];
            EXPECT_EQ(lCase.mFragments[lIndex] + 14, lSent.size());
            EXPECT_EQ(static_cast<char>(lPSeq >> 8), lSent[2]);
            EXPECT_EQ(static_cast<char>(lPSeq), lSent[3]);
            EXPECT_EQ(static_cast<char>(lIndex), lSent[6]);
            EXPECT_EQ(static_cast<char>(lCase.mFragments.size()), lSent[9]);
        }
        ++lPSeq;
    }
}

TEST_F(PFTLayerTest, RefusesToSend) {
    const unsigned char lByte = 1;
    Packet lPacket(1);
    lPacket.cProtocol = "AF";
    EXPECT_EQ(0u, cLayer.Send(&lPacket));  // it is empty
    EXPECT_EQ(PACKET_READ_OVERFLOW, cLayer.GetError());
    lPacket.Write(1, &lByte);
    cTransport.cSendCode = 12;
    EXPECT_EQ(0u, cLayer.Send(&lPacket));
    EXPECT_EQ(12u, cLayer.GetError());
    lPacket.cProtocol = "PF";
    EXPECT_EQ(0u, cLayer.Send(&lPacket));
    EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, cLayer.GetError());
    EXPECT_EQ(0, cLayer.ciwPSeq);
    EXPECT_TRUE(cTransport.cSent.empty());
}

TEST_F(PFTLayerTest, ReadsTheSupportedErrorsFromTheRegistry) {
    setenv("VESTRAL_REGISTRY", "registry.reg", 1);
    EXPECT_EQ(1u, PFTLayer().ciSupportedErrors);  // there is no registry
    const std::pair<const char*, uint32_t> CASES[] = {{"0", 1}, {"1", 1},        {"5", 5},
                                                      {"9", 7}, {"ffffffff", 7}, {"?", 1}};
    for (const auto& [lText, lExpected] : CASES) {
        std::ofstream("registry.reg") << "[HKEY_LOCAL_MACHINE\\SOFTWARE\\VESTRAL\\Drm\\Settings]\n"
                                      << "\"PftSupportedErrors\"=dword:" << lText << "\n";
        EXPECT_EQ(lExpected, PFTLayer().ciSupportedErrors) << lText;
    }
    unsetenv("VESTRAL_REGISTRY");
}

}  // namespace
