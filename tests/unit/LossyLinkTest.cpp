// Two endpoints with parity and, between them, a link that loses, swaps and doubles fragments.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "Networking/DRMNetworkInterface.h"
#include "Networking/MDIUnit.h"
#include "platform/Socket.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

constexpr uint32_t LOOPBACK = 0x7F000001;
constexpr uint32_t UNITS = 8;

std::string Address(uint32_t aPort) {
    return "dcp.udp.pft://127.0.0.1:" + std::to_string(aPort) + "?fec=1";
}

std::unique_ptr<MDIUnit> TestUnit(uint32_t aCounter) {
    auto lUnit = std::make_unique<MDIUnit>(2000, uint16_t{0}, uint16_t{0});
    std::vector<unsigned char> lStream(200 + aCounter * 150);
    for (size_t lIndex = 0; lIndex < lStream.size(); ++lIndex)
        lStream[lIndex] = static_cast<unsigned char>(lIndex * lIndex + aCounter);
    lUnit->SetDlfc(aCounter, false);
    lUnit->SetFac(lStream.data());
    lUnit->SetRobm(1);
    lUnit->SetStream(0, static_cast<uint32_t>(lStream.size()), lStream.data());
    return lUnit;
}

// What becomes of a packet's fragments: one is lost, and one or two of the others are swapped with their neighbours or
// doubled behind the gap.
std::vector<std::string> Damage(std::vector<std::string> aFragments, std::mt19937& aRandom) {
    const size_t lLost = aRandom() % aFragments.size();
    aFragments.erase(aFragments.begin() + static_cast<std::ptrdiff_t>(lLost));
    if (lLost + 1 < aFragments.size() && aRandom() % 2 == 0)
        aFragments.insert(aFragments.begin() + static_cast<std::ptrdiff_t>(lLost), aFragments[lLost]);
    if (lLost >= 4)
        std::swap(aFragments[1], aFragments[2]);
    if (lLost + 6 < aFragments.size())
        std::swap(aFragments[lLost + 4], aFragments[lLost + 5]);
    return aFragments;
}

TEST(LossyLinkTest, EverythingRepairableArrives) {
    const TestDirectory lDirectory;
    const uint32_t lPort = TestPort() + 20001;  // of the link; the receiver's is the next one
    platform::UdpSocket lIn, lOut;
    ASSERT_TRUE(lIn.Create() && lIn.Bind(LOOPBACK, static_cast<uint16_t>(lPort)) && lIn.SetReceiveTimeout(20000));
    ASSERT_TRUE(lOut.Create() && lOut.Connect(LOOPBACK, static_cast<uint16_t>(lPort + 1)));
    DRMNetworkInterface lReceiver(0, 6000), lSender(1, 0);
    ASSERT_TRUE(lReceiver.Open(Address(lPort + 1).c_str(), 0) && lReceiver.EnableMDI() && lReceiver.Start());
    ASSERT_TRUE(lSender.Open(Address(lPort).c_str(), 0) && lSender.EnableMDI() && lSender.Start());

    for (uint32_t lCounter = 0; lCounter < UNITS; ++lCounter)
        ASSERT_EQ(1u, lSender.Send(TestUnit(lCounter).get()));
    std::mt19937 lRandom(5);
    for (uint32_t lCounter = 0; lCounter < UNITS; ++lCounter) {
        std::vector<std::string> lFragments;
        for (size_t lCount = 1; lFragments.size() < lCount;) {
            unsigned char lBuffer[1472];
            size_t lSize = 0;
            ASSERT_EQ(platform::UdpSocket::ReceiveResult::DATAGRAM, lIn.Receive(lBuffer, sizeof lBuffer, &lSize));
            lCount = lBuffer[9];
            lFragments.emplace_back(reinterpret_cast<char*>(lBuffer), lSize);
        }
        if (lCounter + 1 < UNITS)  // without another packet behind it a gap would not be noticed
            lFragments = Damage(lFragments, lRandom);
        for (const std::string& lFragment : lFragments)
            ASSERT_TRUE(lOut.Send(reinterpret_cast<const unsigned char*>(lFragment.data()), lFragment.size()));
    }
    for (uint32_t lCounter = 0; lCounter < UNITS; ++lCounter) {
        Packet lUnit(0);
        ASSERT_EQ(1u, lReceiver.ReceiveMDI(&lUnit)) << lCounter;
        EXPECT_EQ(BytesOf(*TestUnit(lCounter)), BytesOf(lUnit)) << lCounter;
    }
    EXPECT_EQ(0u, TraceLines().size());
}

}  // namespace
