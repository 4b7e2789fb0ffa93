#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Networking/DRMNetworkInterface.h"
#include "Networking/MDIUnit.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/LossyLink.h"
#include "tests/unit/TestSupport.h"

namespace {

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

TEST(LossyLinkTest, EverythingRepairableArrives) {
    const TestDirectory lDirectory;
    const uint32_t lPort = TestPort();  // the link's port; the receiver has the next one
    LossyLink lLink(lPort, lPort + 1);
    DRMNetworkInterface lReceiver(0, 6000), lSender(1, 0);
    ASSERT_TRUE(lReceiver.Open(Address(lPort + 1).c_str(), 0) && lReceiver.EnableMDI() && lReceiver.Start());
    ASSERT_TRUE(lSender.Open(Address(lPort).c_str(), 0) && lSender.EnableMDI() && lSender.Start());

    for (uint32_t lCounter = 0; lCounter < UNITS; ++lCounter)
        ASSERT_EQ(1u, lSender.Send(TestUnit(lCounter).get()));
    for (uint32_t lCounter = 0; lCounter < UNITS; ++lCounter)
        lLink.PassPacket(lCounter + 1 < UNITS);  // no later packet would show a gap in the last
    for (uint32_t lCounter = 0; lCounter < UNITS; ++lCounter) {
        Packet lUnit(0);
        ASSERT_EQ(1u, lReceiver.ReceiveMDI(&lUnit)) << lCounter;
        EXPECT_EQ(BytesOf(*TestUnit(lCounter)), BytesOf(lUnit)) << lCounter;
    }
    EXPECT_EQ(0u, TraceLines().size());
}

}  // namespace
