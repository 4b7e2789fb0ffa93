// Tests PFTLayer with Reed-Solomon parity.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "Networking/FECProtector.h"
#include "Networking/PFTLayer.h"
#include "platform/Clock.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

std::string TestPacket(uint32_t aSize, char aMark) {
    std::string lPacket = "AF";
    for (uint32_t lIndex = 2; lIndex < aSize; ++lIndex)
        lPacket += static_cast<char>('a' + (lIndex * lIndex + static_cast<uint32_t>(aMark)) % 26);
    return lPacket;
}

struct Header {
    uint32_t mPSeq, mFindex, mFcount;
    uint8_t mRSk, mRSz;
};

std::string Fragment(const Header& aHeader, const unsigned char* apPayload, uint32_t aSize) {
    PFTPacket lPacket(16 + aSize);
    lPacket.SetRSParameters(aHeader.mRSk, aHeader.mRSz);
    lPacket.WritePayload(aSize, apPayload);
    lPacket.SetHeader(static_cast<uint16_t>(aHeader.mPSeq), aHeader.mFindex, aHeader.mFcount);
    return BytesOf(lPacket);
}

// Returns the fragments of a packet, of which any aErrors may be lost.
std::vector<std::string> Protect(uint32_t aPSeq, const std::string& aPacket, uint32_t aErrors) {
    static const auto sCodec = CreateRSCodec(8, 0x11D, 1, 1, 48, 0);
    const FECLayout lLayout(static_cast<uint32_t>(aPacket.size()), aErrors, 1456);
    const auto lBytes = ProtectPacket(*sCodec, lLayout, reinterpret_cast<const unsigned char*>(aPacket.data()));
    std::vector<std::string> lFragments;
    for (uint32_t lIndex = 0; lIndex < lLayout.mFragments; ++lIndex) {
        const Header lHeader = {aPSeq, lIndex, lLayout.mFragments, static_cast<uint8_t>(lLayout.mRSk),
                                static_cast<uint8_t>(lLayout.mRSz)};
        lFragments.push_back(Fragment(lHeader, lBytes.data() + lIndex * lLayout.mFragmentSize, lLayout.mFragmentSize));
    }
    return lFragments;
}

class ProtectionTest : public testing::Test {
protected:
    ProtectionTest() {
        cLayer.SetLowerLayer(&cTransport);
        cLayer.SetMode(PFT_MODE_FEC);
        cLayer.RegisterTag("AF", nullptr);
    }

    void WillReceive(const std::vector<std::string>& aFragments) {
        for (const std::string& lFragment : aFragments)
            cTransport.WillReceive(lFragment);
    }

    const TestDirectory cDirectory;  // for the trace file
    FakeTransport cTransport;
    PFTLayer cLayer;
};

TEST_F(ProtectionTest, RestoresWhatTheParityAllows) {
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
        const std::string lAll = ReceiveAll(cLayer, "AF");
        EXPECT_EQ(0u, lAll.find(lCase.mExpected));
        EXPECT_EQ(lAll.size() - lThird.size() - 1, lAll.rfind(lThird + " "));
    }
}

TEST_F(ProtectionTest, RestoresSevenOfFortyTwo) {
    std::mt19937 lRandom(7);
    std::string lExpected;
    for (uint32_t lPSeq = 0; lPSeq < 60; ++lPSeq) {
        auto lFragments = Protect(lPSeq, TestPacket(1000, static_cast<char>(lPSeq)), 7);
        ASSERT_EQ(42u, lFragments.size());
        // The first one is kept: when all losses are at the start, the layer knows nothing of the packet by the time
        // that the next one comes near.
        for (int lLost = 0; lLost < 7; ++lLost)
            lFragments.erase(lFragments.begin() + 1 + static_cast<std::ptrdiff_t>(lRandom() % (lFragments.size() - 1)));
        WillReceive(lFragments);
        lExpected += TestPacket(1000, static_cast<char>(lPSeq)) + " ";
    }
    WillReceive(Protect(60, TestPacket(1000, 60), 7));
    EXPECT_EQ(lExpected + TestPacket(1000, 60) + " ", ReceiveAll(cLayer, "AF"));
    EXPECT_EQ(0u, TraceLines().size());
}

TEST_F(ProtectionTest, RefusesPacketsThatDoNotAddUp) {
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
                Fragment({5, lIndex, lIndex == 2 ? lCase.mLastFcount : 3, lCase.mRSk[lIndex], lCase.mRSz[lIndex]},
                         lBytes.data(), lCase.mSizes[lIndex]));
        WillReceive(Protect(6, lGood, 1));
        WillReceive(Protect(7, lGood, 1));
        EXPECT_EQ(0u, ReceiveAll(cLayer, "AF").find("- "));
        WillReceive(Protect(8, lGood, 1));
        EXPECT_EQ(lGood + " ", ReceiveAll(cLayer, "AF"));
    }
    // The packet is larger than the buffer in which it is put together.
    for (uint32_t lIndex = 0; lIndex < 10; ++lIndex)
        cTransport.WillReceive(Fragment({9, lIndex, 10, 207, 0}, lBytes.data(), 1110));
    // More fragments are lost than can be listed.
    const auto lMany = Protect(10, TestPacket(1000, 2), 7);
    WillReceive({lMany.begin(), lMany.begin() + 2});
    for (size_t lPlace = 3; lPlace < lMany.size(); lPlace += 2)
        cTransport.WillReceive(lMany[lPlace]);
    WillReceive(Protect(11, lGood, 1));
    WillReceive(Protect(12, lGood, 1));
    EXPECT_EQ("- - " + lGood + " ", ReceiveAll(cLayer, "AF"));
    EXPECT_EQ(3u, TraceLines().size());  // two of the packet without bytes, one of the packet that does not fit
}

TEST_F(ProtectionTest, APacketOfWhichNothingCameLeavesNoGaps) {
    const std::string lGood = TestPacket(40, 1);  // has three fragments
    WillReceive(Protect(1, lGood, 1));
    WillReceive(Protect(3, lGood, 1));  // the fragments of 3 and 4 show that those of 2 are lost
    WillReceive(Protect(4, lGood, 1));
    WillReceive(Protect(5, lGood, 1));
    EXPECT_EQ(lGood + " " + lGood + " ", ReceiveAll(cLayer, "AF"));
}

TEST_F(ProtectionTest, FindsItsWayBackFromAnything) {
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
                    lParsed.Write(lParsed.cCapacity, reinterpret_cast<const unsigned char*>(lFragment.data()));
                    ASSERT_EQ(1u, lParsed.Parse());
                    lFragment = Fragment({lParsed.GetPSeq(), lBelow(90), 1 + lBelow(90),
                                          static_cast<uint8_t>(lBelow(256)), static_cast<uint8_t>(lBelow(256))},
                                         lParsed.cPayload, lBelow(lParsed.cPayloadSize + 1));
                }
                cTransport.WillReceive(lFragment);
            }
        }
        ReceiveAll(cLayer, "AF");
        for (uint32_t lPSeq = 1000; lPSeq < 1005; ++lPSeq)
            WillReceive(Protect(lPSeq, lGood, 1));
        const std::string lRest = lGood + " " + lGood + " " + lGood + " ";
        EXPECT_TRUE(ReceiveAll(cLayer, "AF").ends_with(lRest)) << lRound;
    }
}

TEST_F(ProtectionTest, SendsAPacketOverItsTime) {
    struct {
        uint32_t mSize, mFragments, mFragmentSize, mPause;
    } const CASES[] = {{301, 9, 45, 22}, {14283, 13, 0, 15}};
    for (const auto& lCase : CASES) {
        const std::string lBytes = TestPacket(lCase.mSize, 'x');
        Packet lPacket(lCase.mSize);
        lPacket.Write(lCase.mSize, reinterpret_cast<const unsigned char*>(lBytes.data()));
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
        EXPECT_EQ(lCase.mSize < 10000 ? lBytes + " " : "- ", ReceiveAll(lReceiver, "AF"));
    }
}

TEST_F(ProtectionTest, RefusesToSend) {
    Packet lPacket(15001);
    lPacket.cProtocol = "AF";
    for (const auto& [lSize, lCode] : {std::pair{0u, PACKET_READ_OVERFLOW}, {15001u, LAYER_PACKET_TOO_BIG}}) {
        lPacket.SetSize(lSize);
        EXPECT_EQ(0u, cLayer.Send(&lPacket));
        EXPECT_EQ(static_cast<uint32_t>(lCode), cLayer.GetError());
    }
    lPacket.SetSize(100);
    cTransport.cSendCode = 12;
    EXPECT_EQ(0u, cLayer.Send(&lPacket));
    EXPECT_EQ(12u, cLayer.GetError());
    cTransport.ciMaxPacketSize = 16;  // leaves no room beside the header
    EXPECT_EQ(0u, cLayer.Send(&lPacket));
    EXPECT_EQ(PACKET_WRITE_OVERFLOW, cLayer.GetError());
    EXPECT_EQ(0, cLayer.ciwPSeq);
}

}  // namespace
