#include "Networking/PFTLayer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Networking/FECProtector.h"
#include "platform/Clock.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

// Returns a fragment with the payload "PSEQ.FINDEX;", before which the first one has "AF", the tag of the packet.
std::string Fragment(uint32_t aPSeq, uint32_t aFindex, uint32_t aFcount, bool aFEC) {
    const std::string lText = (aFindex == 0 ? "AF" : "") + std::to_string(aPSeq) + "." + std::to_string(aFindex) + ";";
    PFTPacket lPacket(100);
    if (aFEC)
        lPacket.SetRSParameters(100, 0);
    lPacket.WritePayload(static_cast<uint32_t>(lText.size()), Octets(lText));
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
    cLayer.ciRxState = RX_RESET;
    for (uint32_t lFindex = 0; lFindex < 100; ++lFindex)  // too many for one packet
        WillReceive("1." + std::to_string(lFindex) + "/100");
    WillReceive("2.0/1");
    EXPECT_EQ("- AF2.0; ", ReceiveAll());
}

TEST_F(PFTLayerTest, WaitsForNoFirstFragmentAtTheEnd) {
    WillReceive("5.0/1 6.1/2 X T T");
    cTransport.ciAtEnd = true;
    EXPECT_EQ("AF5.0; 2 2 ", ReceiveAll());
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
        lPacket.Write(static_cast<uint32_t>(lBytes.size()), Octets(lBytes));
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
    Packet lPacket(15001);
    for (const uint32_t lMode : {PFT_MODE_FRAGMENT, PFT_MODE_FEC}) {
        cLayer.SetMode(lMode);
        lPacket.cProtocol = "AF";
        lPacket.SetSize(0);
        EXPECT_EQ(PACKET_READ_OVERFLOW, CodeOf(cLayer, cLayer.Send(&lPacket)));
        lPacket.SetSize(100);
        cTransport.cSendCode = 12;
        EXPECT_EQ(12u, CodeOf(cLayer, cLayer.Send(&lPacket)));
        lPacket.cProtocol = "PF";
        EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, CodeOf(cLayer, cLayer.Send(&lPacket)));
    }
    lPacket.cProtocol = "AF";
    lPacket.SetSize(15001);
    EXPECT_EQ(LAYER_PACKET_TOO_BIG, CodeOf(cLayer, cLayer.Send(&lPacket)));
    lPacket.SetSize(100);
    cTransport.ciMaxPacketSize = 16;  // leaves no room beside the header
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, CodeOf(cLayer, cLayer.Send(&lPacket)));
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

std::string TestPacket(uint32_t aSize, char aMark) {
    std::string lPacket = "AF";
    for (uint32_t lIndex = 2; lIndex < aSize; ++lIndex)
        lPacket += static_cast<char>('a' + (lIndex * lIndex + static_cast<uint32_t>(aMark)) % 26);
    return lPacket;
}

struct ParityHeader {
    uint32_t mPSeq, mFindex, mFcount;
    uint8_t mRSk, mRSz;
};

std::string ParityFragment(const ParityHeader& aHeader, const unsigned char* apPayload, uint32_t aSize) {
    PFTPacket lPacket(16 + aSize);
    lPacket.SetRSParameters(aHeader.mRSk, aHeader.mRSz);
    lPacket.WritePayload(aSize, apPayload);
    lPacket.SetHeader(static_cast<uint16_t>(aHeader.mPSeq), aHeader.mFindex, aHeader.mFcount);
    return BytesOf(lPacket);
}

// Returns the fragments of a packet, of which any aErrors may be lost.
std::vector<std::string> Protect(uint32_t aPSeq, const std::string& aPacket, uint32_t aErrors) {
    const FECLayout lLayout(static_cast<uint32_t>(aPacket.size()), aErrors, 1456);
    const auto lBytes = ProtectPacket(*SharedRSCodec(), lLayout, Octets(aPacket));
    std::vector<std::string> lFragments;
    for (uint32_t lIndex = 0; lIndex < lLayout.mFragments; ++lIndex) {
        const ParityHeader lHeader = {aPSeq, lIndex, lLayout.mFragments, static_cast<uint8_t>(lLayout.mRSk),
                                      static_cast<uint8_t>(lLayout.mRSz)};
        lFragments.push_back(
            ParityFragment(lHeader, lBytes.data() + lIndex * lLayout.mFragmentSize, lLayout.mFragmentSize));
    }
    return lFragments;
}

class ParityTest : public PFTLayerTest {
protected:
    ParityTest() { cLayer.SetMode(PFT_MODE_FEC); }

    void WillReceive(const std::vector<std::string>& aFragments) {
        for (const std::string& lFragment : aFragments)
            cTransport.WillReceive(lFragment);
    }
};

TEST_F(ParityTest, RestoresWhatTheParityAllows) {
    const std::string lFirst = TestPacket(301, 1);    // has 9 fragments
    const std::string lSecond = TestPacket(1000, 2);  // has 42 fragments
    const std::string lThird = TestPacket(40, 3);
    struct {
        // The indexes of the fragments that arrive, in their order; {0} stands for all fragments.
        std::vector<size_t> mFirst;
        std::vector<size_t> mSecond;
        std::string mExpected;
    } const CASES[] = {
        {{0}, {0}, lFirst + " " + lSecond + " "},
        {{0, 2, 3, 4, 5, 6, 7, 8}, {0}, lFirst + " " + lSecond + " "},
        {{0, 1, 2, 3, 4, 5, 6, 7}, {0}, lFirst + " " + lSecond + " "},     // the loss of the last shows later
        {{0, 2, 1, 4, 3, 6, 5, 8, 7}, {0}, lFirst + " " + lSecond + " "},  // out of order
        {{0, 2, 2, 3, 4, 5, 6, 7, 8}, {0}, lFirst + " " + lSecond + " "},  // one comes twice
        {{0, 2, 3, 5, 6, 8}, {0}, "- "},                                   // one lost too many costs the queue too
        {{0, 1, 2}, {4}, "- "},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(&lCase - CASES);
        cLayer.ciRxState = RX_RESET;
        const auto Pick = [](const std::vector<std::string>& aFragments, const std::vector<size_t>& aPlaces) {
            std::vector<std::string> lPicked;
            for (const size_t lPlace : aPlaces)
                lPicked.push_back(aFragments[lPlace]);
            return aPlaces.size() == 1 && aPlaces[0] == 0 ? aFragments : lPicked;
        };
        WillReceive(Pick(Protect(65535, lFirst, 1), lCase.mFirst));
        WillReceive(Pick(Protect(0, lSecond, 7), lCase.mSecond));
        WillReceive(Protect(1, lThird, 1));
        WillReceive(Protect(2, lThird, 1));
        const std::string lAll = ReceiveAll();
        EXPECT_EQ(0u, lAll.find(lCase.mExpected));
        EXPECT_EQ(lAll.size() - lThird.size() - 1, lAll.rfind(lThird + " "));
    }
}

TEST_F(ParityTest, RefusesPacketsThatDoNotAddUp) {
    const std::vector<unsigned char> lBytes(2000, 'x');
    struct {
        uint32_t mSizes[3];
        uint8_t mRSk[3], mRSz[3];
        uint32_t mLastFcount;
    } const CASES[] = {
        {{17, 17, 17}, {0, 0, 0}, {0, 0, 0}, 3},        // the blocks have no data
        {{17, 17, 17}, {2, 2, 2}, {2, 2, 2}, 3},        // all data are fillers
        {{17, 17, 17}, {2, 2, 2}, {255, 255, 255}, 3},  // more fillers than data
        {{17, 17, 17}, {4, 4, 4}, {0, 0, 0}, 3},        // less than one block
        {{17, 17, 20}, {1, 1, 1}, {0, 0, 0}, 3},        // the lengths differ
        {{17, 17, 17}, {1, 1, 2}, {0, 0, 0}, 3},       {{17, 17, 17}, {2, 2, 2}, {0, 0, 1}, 3},
        {{17, 17, 17}, {1, 1, 1}, {0, 0, 0}, 4},  // the counts differ
        {{0, 0, 0}, {1, 1, 1}, {0, 0, 0}, 3},
    };
    const std::string lGood = TestPacket(40, 1);
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(&lCase - CASES);
        cLayer.ciRxState = RX_RESET;
        for (uint32_t lIndex = 0; lIndex < 3; ++lIndex)
            cTransport.WillReceive(
                ParityFragment({5, lIndex, lIndex == 2 ? lCase.mLastFcount : 3, lCase.mRSk[lIndex], lCase.mRSz[lIndex]},
                               lBytes.data(), lCase.mSizes[lIndex]));
        WillReceive(Protect(6, lGood, 1));
        WillReceive(Protect(7, lGood, 1));
        EXPECT_EQ(0u, ReceiveAll().find("- "));
        WillReceive(Protect(8, lGood, 1));
        EXPECT_EQ(lGood + " ", ReceiveAll());
    }
    // The packet is larger than the buffer in which it is put together.
    for (uint32_t lIndex = 0; lIndex < 10; ++lIndex)
        cTransport.WillReceive(ParityFragment({9, lIndex, 10, 207, 0}, lBytes.data(), 1110));
    // More fragments are lost than can be listed.
    const auto lMany = Protect(10, TestPacket(1000, 2), 7);
    WillReceive({lMany.begin(), lMany.begin() + 2});
    for (size_t lPlace = 3; lPlace < lMany.size(); lPlace += 2)
        cTransport.WillReceive(lMany[lPlace]);
    WillReceive(Protect(11, lGood, 1));
    WillReceive(Protect(12, lGood, 1));
    EXPECT_EQ("- - " + lGood + " ", ReceiveAll());
    EXPECT_EQ(3u, TraceLines().size());  // two of the packet without bytes, one of the packet that does not fit
}

TEST_F(ParityTest, APacketOfWhichNothingCameLeavesNoGaps) {
    const std::string lGood = TestPacket(40, 1);  // has three fragments
    WillReceive(Protect(1, lGood, 1));
    WillReceive(Protect(3, lGood, 1));  // the fragments of 3 and 4 show that those of 2 are lost
    WillReceive(Protect(4, lGood, 1));
    WillReceive(Protect(5, lGood, 1));
    EXPECT_EQ(lGood + " " + lGood + " ", ReceiveAll());
}

TEST_F(ParityTest, FindsItsWayBackFromAnything) {
    std::mt19937 lRandom(2);
    const auto lBelow = [&lRandom](size_t aLimit) { return static_cast<uint32_t>(lRandom() % aLimit); };
    const std::string lGood = TestPacket(40, 1);
    for (int lRound = 0; lRound < 100; ++lRound) {
        for (int lPacket = 0; lPacket < 10; ++lPacket) {
            const uint32_t lSize = 2 + lBelow(9000);
            for (std::string& lFragment : Protect(65530 + lBelow(10), TestPacket(lSize, 0), 1 + lBelow(7))) {
                const uint32_t lFate = lBelow(12);
                if (lFate == 0)
                    continue;
                if (lFate == 1) {  // gets another header with a valid CRC
                    PFTPacket lParsed(static_cast<uint32_t>(lFragment.size()));
                    lParsed.SetSize(0);
                    lParsed.Write(lParsed.cCapacity, Octets(lFragment));
                    ASSERT_EQ(1u, lParsed.Parse());
                    lFragment = ParityFragment({lParsed.GetPSeq(), lBelow(90), 1 + lBelow(90),
                                                static_cast<uint8_t>(lBelow(256)), static_cast<uint8_t>(lBelow(256))},
                                               lParsed.cPayload, lBelow(lParsed.cPayloadSize + 1));
                }
                cTransport.WillReceive(lFragment);
            }
        }
        ReceiveAll();
        for (uint32_t lPSeq = 1000; lPSeq < 1005; ++lPSeq)
            WillReceive(Protect(lPSeq, lGood, 1));
        const std::string lRest = lGood + " " + lGood + " " + lGood + " ";
        EXPECT_TRUE(ReceiveAll().ends_with(lRest)) << lRound;
    }
}

TEST_F(ParityTest, SendsAPacketOverItsTime) {
    struct {
        uint32_t mSize, mFragments, mFragmentSize, mPause;
    } const CASES[] = {{301, 9, 45, 22}, {14283, 13, 0, 15}};
    for (const auto& lCase : CASES) {
        const std::string lBytes = TestPacket(lCase.mSize, 'x');
        Packet lPacket(lCase.mSize);
        lPacket.Write(lCase.mSize, Octets(lBytes));
        lPacket.cProtocol = "AF";
        cTransport.cSent.clear();
        const uint32_t lStart = platform::TickCount();
        ASSERT_EQ(1u, cLayer.Send(&lPacket));
        EXPECT_GE(platform::TickCount() - lStart, lCase.mFragments * lCase.mPause);
        ASSERT_EQ(lCase.mFragments, cTransport.cSent.size());
        if (lCase.mFragmentSize != 0) {
            EXPECT_EQ(std::string("PF\0\0\0\0\1\0\0\11\x80\x2d\x97\1", 14), cTransport.cSent[1].substr(0, 14));
            EXPECT_EQ(lCase.mFragmentSize + 16, cTransport.cSent[1].size());
        }
        for (const std::string& lSent : cTransport.cSent)
            EXPECT_LE(lSent.size(), 1472u);
        cTransport.LoopBack();
        PFTLayer lReceiver;
        lReceiver.SetLowerLayer(&cTransport);
        lReceiver.RegisterTag("AF", nullptr);
        // 14,283 bytes and their parity are more than a receiver takes.
        EXPECT_EQ(lCase.mSize < 10000 ? lBytes + " " : "- ", ::ReceiveAll(lReceiver, "AF"));
    }
}

}  // namespace
