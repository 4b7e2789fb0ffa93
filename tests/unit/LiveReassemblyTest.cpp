#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Networking/AFLayer.h"
#include "Networking/ByteOrder.h"
#include "Networking/FECProtector.h"
#include "Networking/PFTLayer.h"
#include "tests/unit/FakeTransport.h"

namespace {

constexpr uint32_t UNITS = 120;
constexpr uint64_t FRAME = 400'000;  // microseconds

struct Datagram {
    std::string mBytes;
    uint64_t mTime;  // microseconds
    uint32_t mUnit;
    uint32_t mSource = 1;
};
using Datagrams = std::vector<Datagram>;

// Ways of sending an AF packet.
constexpr int WHOLE = -1;
constexpr int THREE_FRAGMENTS = 0;  // above: so many lost fragments that parity restores

std::string Fragment(const PFTHeader& aHeader, const std::string& aPayload) {
    unsigned char lHeader[PFT_MAX_HEADER_SIZE];
    const uint32_t lSize = WritePFTHeader(aHeader, lHeader);
    const uint16_t lCRC = PFTPacket::SharedEngine()->Compute(lHeader, static_cast<int32_t>(lSize));
    return std::string(reinterpret_cast<char*>(lHeader), lSize) + static_cast<char>(lCRC >> 8) +
           static_cast<char>(lCRC) + aPayload;
}

std::vector<std::string> Cut(int aWay, uint16_t aPSeq, const std::string& aPacket) {
    if (aWay == WHOLE)
        return {aPacket};
    std::string lBytes = aPacket;
    PFTHeader lHeader{.mPSeq = aPSeq, .mFcount = 3, .mPlen = static_cast<uint32_t>(aPacket.size() + 2) / 3};
    if (aWay > 0) {
        const FECLayout lLayout(static_cast<uint32_t>(aPacket.size()), static_cast<uint32_t>(aWay), 1456);
        const auto lProtected = ProtectPacket(*SharedRSCodec(), lLayout, Octets(aPacket));
        lBytes.assign(lProtected.begin(), lProtected.end());
        lHeader = {.mPSeq = aPSeq,
                   .mFcount = lLayout.mFragments,
                   .mPlen = lLayout.mFragmentSize,
                   .mFEC = true,
                   .mRSk = static_cast<uint8_t>(lLayout.mRSk),
                   .mRSz = static_cast<uint8_t>(lLayout.mRSz)};
    }
    std::vector<std::string> lFragments;
    for (const uint32_t lSize = lHeader.mPlen; lHeader.mFindex < lHeader.mFcount; ++lHeader.mFindex) {
        const std::string lPart = lBytes.substr(lHeader.mFindex * lSize, lSize);
        lHeader.mPlen = static_cast<uint32_t>(lPart.size());
        lFragments.push_back(Fragment(lHeader, lPart));
    }
    return lFragments;
}

// A unit names itself.
std::string PacketOf(uint32_t aUnit, uint16_t aSequence) {
    char lProtocol[] = "T";
    const CRC16 lEngine(CRC16_POLYNOMIAL, true);
    const std::string lUnit = std::to_string(aUnit) + std::string(700, static_cast<char>('a' + aUnit % 26));
    AFPacket lPacket(AF_OVERHEAD + static_cast<uint32_t>(lUnit.size()), 1, 0);
    lPacket.SetCRCEngine(&lEngine);
    lPacket.WritePayload(static_cast<uint32_t>(lUnit.size()), Octets(lUnit));
    lPacket.cPayloadProtocol = lProtocol;
    lPacket.SetHeader(aSequence, true);
    lPacket.SetCRC(true);
    return BytesOf(lPacket);
}

Datagrams Transmission(int aWay, uint16_t aFirst, uint32_t aRestartAt = UNITS) {
    Datagrams lAll;
    uint16_t lNumber = aFirst;
    for (uint32_t lUnit = 0; lUnit < UNITS; ++lUnit) {
        lNumber = lUnit == aRestartAt ? uint16_t{0} : lNumber;
        const auto lParts = Cut(aWay, lNumber, PacketOf(lUnit, lNumber));
        for (size_t lIndex = 0; lIndex < lParts.size(); ++lIndex)
            lAll.push_back({lParts[lIndex], FRAME * (lUnit + 20) + FRAME / 2 * lIndex / lParts.size(), lUnit});
        ++lNumber;
    }
    return lAll;
}

// Gives datagrams at their times, and passes the time while it waits.
class TimedTransport : public Layer {
public:
    uint32_t Send(Packet*) override { return 0; }
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t) override {
        InputPlace& lInput = ciReporter->cInput;
        const uint64_t lLimit = lInput.mTime + uint64_t{1000} * *apTimeOut;
        ciAtEnd = cNext == cDatagrams.size();
        if (ciAtEnd || cDatagrams[cNext].mTime > lLimit) {
            lInput.mTime = lLimit;
            return 2;
        }
        const Datagram& lDatagram = cDatagrams[cNext++];
        lInput.mTime = std::max(lInput.mTime, lDatagram.mTime);
        lInput.mAddress = lDatagram.mSource;
        cPacket.Rewind();
        cPacket.SetSize(0);
        cPacket.Write(static_cast<uint32_t>(lDatagram.mBytes.size()), Octets(lDatagram.mBytes));
        SetTag(cProtocol, cPacket);
        cPacket.cProtocol = cProtocol;
        apOut->Share(&cPacket);
        return 1;
    }
    Datagrams cDatagrams;
    size_t cNext = 0;
    Packet cPacket{70000};
    char cProtocol[3] = "";
};

// The numbers of the units that come up, in their order.
std::vector<uint32_t> Received(const Datagrams& aDatagrams) {
    TimedTransport lTransport;
    lTransport.cDatagrams = aDatagrams;
    PFTLayer lPFT;
    AFLayer lAF;
    EventCounts lEvents(lTransport);
    lPFT.SetLowerLayer(&lTransport);
    lPFT.RegisterTag("AF", nullptr);
    lPFT.ciReporter = &lEvents.cReporter;
    lPFT.SetLive(false);
    lAF.SetLowerLayer(&lPFT);
    lAF.RegisterTag("T", nullptr);
    lAF.SetFileMode(true);
    lAF.ciLive = true;
    std::vector<uint32_t> lUnits;
    Packet lOut(0);
    for (uint32_t lResult = 1; lResult == 1 || !lTransport.ciAtEnd;) {
        uint32_t lTimeOut = 6000;
        const uint64_t lBefore = lEvents.cReporter.cInput.mTime;
        lResult = lAF.Receive(&lOut, &lTimeOut, 0);
        EXPECT_LE(lEvents.cReporter.cInput.mTime - lBefore, 6'010'000u);
        if (lResult == 1)
            lUnits.push_back(static_cast<uint32_t>(std::stoul(BytesOf(lOut))));
    }
    EXPECT_EQ(lUnits.size(), lEvents.Get(StackEvent::PACKET_COMPLETED));
    return lUnits;
}

// What arrives decides what comes up: a unit without parity when all of its datagrams came, one with parity when no
// more are missing than it restores.
std::vector<uint32_t> Recoverable(const Datagrams& aSent, const Datagrams& aArrived, int aWay) {
    std::map<uint32_t, std::set<std::string>> lMissing;
    for (const Datagram& lDatagram : aSent)
        lMissing[lDatagram.mUnit].insert(lDatagram.mBytes);
    for (const Datagram& lDatagram : aArrived)
        lMissing[lDatagram.mUnit].erase(lDatagram.mBytes);
    std::vector<uint32_t> lUnits;
    for (uint32_t lUnit = 0; lUnit < UNITS; ++lUnit)
        if (lMissing[lUnit].size() <= static_cast<size_t>(std::max(aWay, 0)))
            lUnits.push_back(lUnit);
    return lUnits;
}

TEST(LiveReassemblyTest, LosesOnlyWhatTheNetworkLost) {
    std::mt19937 lRandom(11);
    const auto lOneIn = [&lRandom](uint32_t aCount) { return lRandom() % aCount == 0; };
    using Channel = std::function<void(Datagrams&)>;
    const std::pair<const char*, Channel> CHANNELS[] = {
        {"sound", [](Datagrams&) {}},
        {"loss, and a pause behind a packet that lost half",
         [&](Datagrams& aAll) {
             std::erase_if(aAll, [&](const Datagram& aOne) { return lOneIn(aOne.mUnit == 41 ? 2 : 12); });
             for (Datagram& lDatagram : aAll)
                 lDatagram.mTime += lDatagram.mUnit > 41 ? 2 * FRAME : 0;
         }},
        {"doubles",
         [&](Datagrams& aAll) {
             for (size_t lIndex = 0; lIndex < aAll.size(); ++lIndex)
                 if (lOneIn(20))
                     aAll.insert(aAll.begin() + static_cast<std::ptrdiff_t>(lIndex), Datagram(aAll[lIndex]));
         }},
        {"late by three",
         [&](Datagrams& aAll) {
             for (size_t lIndex = 1; lIndex + 3 < aAll.size(); ++lIndex) {
                 if (!lOneIn(40))
                     continue;
                 std::rotate(&aAll[lIndex], &aAll[lIndex] + 1, &aAll[lIndex] + 4);
                 lIndex += 3;
             }
         }},
        {"forged",
         [&](Datagrams& aAll) {
             for (size_t lIndex = 0; lIndex < aAll.size(); ++lIndex) {
                 const auto lAhead = ReadU16(Octets(aAll[lIndex].mBytes) + 2) + 1 + lRandom() % 15;
                 const auto lPSeq = static_cast<uint16_t>(lOneIn(2) ? lRandom() : lAhead);
                 const PFTHeader lHeader{.mPSeq = lPSeq, .mFcount = 2, .mPlen = 3};
                 if (lOneIn(50))
                     aAll.insert(aAll.begin() + static_cast<std::ptrdiff_t>(lIndex),
                                 {Fragment(lHeader, "xyz"), aAll[lIndex].mTime, UNITS});
             }
         }},
        {"contradicting",
         [&](Datagrams& aAll) {
             for (size_t lIndex = 0; lIndex < aAll.size(); lIndex += 4 + lRandom() % 30) {
                 Datagram lOther = {aAll[lIndex].mBytes, aAll[lIndex].mTime, UNITS};
                 PFTHeader lHeader;
                 ParsePFTFragment(Octets(lOther.mBytes), lOther.mBytes.size(), *PFTPacket::SharedEngine(), &lHeader);
                 if (lOther.mBytes[0] == 'A' || lOneIn(2))
                     lOther.mBytes.back() ^= 1;
                 else
                     lOther.mBytes = Fragment(lHeader, lOther.mBytes.substr(lHeader.GetSize(), --lHeader.mPlen));
                 aAll.insert(aAll.begin() + static_cast<std::ptrdiff_t>(lIndex++), lOther);
             }
         }},
        {"a second sender",
         [&](Datagrams& aAll) {
             for (size_t lIndex = 1; lIndex < aAll.size(); lIndex += 2)
                 aAll.insert(aAll.begin() + static_cast<std::ptrdiff_t>(lIndex),
                             {aAll[0].mBytes, aAll[lIndex].mTime, UNITS, 2});
         }},
    };
    for (const int lWay : {WHOLE, THREE_FRAGMENTS, 1, 7}) {
        for (const auto& [lName, lChannel] : CHANNELS) {
            // Over the wrap, and with a numbering that begins anew in the middle.
            for (const uint16_t lFirst : {uint16_t{65500}, uint16_t{0}}) {
                SCOPED_TRACE(std::string(lName) + ", way " + std::to_string(lWay) + ", from " + std::to_string(lFirst));
                const Datagrams lSent = Transmission(lWay, lFirst, lFirst == 0 ? UNITS / 2 : UNITS);
                Datagrams lArrived = lSent;
                lChannel(lArrived);
                const auto lReceived = Received(lArrived);
                const auto lAtLeast = Recoverable(lSent, lArrived, lWay);  // parity often restores more
                EXPECT_EQ(lReceived.end(),
                          std::adjacent_find(lReceived.begin(), lReceived.end(), std::greater_equal<>()));
                EXPECT_TRUE(std::includes(lReceived.begin(), lReceived.end(), lAtLeast.begin(), lAtLeast.end()))
                    << lReceived.size() << " of " << lAtLeast.size();
            }
        }
    }
}

TEST(LiveReassemblyTest, ASenderThatTakesOverLosesNothing) {
    Datagrams lAll = Transmission(THREE_FRAGMENTS, 0);
    for (Datagram& lDatagram : lAll) {
        lDatagram.mSource = lDatagram.mUnit < 60 ? 1 : 2;
        lDatagram.mTime += lDatagram.mUnit < 60 ? 0 : 2 * FRAME;
    }
    EXPECT_EQ(UNITS, Received(lAll).size());
}

}  // namespace
