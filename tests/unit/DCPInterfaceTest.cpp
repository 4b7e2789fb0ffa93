#include "Networking/DCPInterface.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "Networking/DRMNetworkInterface.h"
#include "Networking/MDIUnit.h"
#include "platform/Clock.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

const std::string UDP_LOCATION = "://127.0.0.1:" + std::to_string(TestPort());
const std::string UDP_ADDRESS = "dcp.udp.pft" + UDP_LOCATION;

std::unique_ptr<MDIUnit> SmallUnit(uint32_t aCounter) {
    const unsigned char lBytes[MDI_FAC_SIZE] = {};
    auto lUnit = std::make_unique<MDIUnit>(500, uint16_t{0}, uint16_t{0});
    lUnit->SetDlfc(aCounter, false);
    lUnit->SetFac(lBytes);
    lUnit->SetSdci(8, lBytes);
    lUnit->SetRobm(1);
    lUnit->SetStream(0, 8, lBytes);
    return lUnit;
}

void Start(DRMNetworkInterface& aEndpoint, const std::string& aAddress) {
    ASSERT_EQ(1u, aEndpoint.Open(aAddress.c_str(), 0)) << aAddress;
    ASSERT_EQ(1u, aEndpoint.EnableMDI());
    ASSERT_EQ(1u, aEndpoint.Start());
}

// The next code of what the endpoint's task does.
uint32_t AwaitCode(DRMNetworkInterface& aEndpoint) {
    uint32_t lCode = 0;
    EXPECT_TRUE(Eventually([&] { return (lCode = aEndpoint.GetError()) != 0; }));
    return lCode;
}

class DCPInterfaceTest : public testing::Test {
protected:
    void MakeRecording(uint32_t aUnits) {
        DRMNetworkInterface lRecorder(1, 0);
        Start(lRecorder, "dcp.file.pft:rec.mdi:" + std::to_string(aUnits) + ":0");
        for (uint32_t lCounter = 0; lCounter <= aUnits; ++lCounter)
            lRecorder.Send(SmallUnit(lCounter).get());
        EXPECT_EQ(FILE_END, AwaitCode(lRecorder));
    }

    const TestDirectory cDirectory;
};

TEST_F(DCPInterfaceTest, ReadsAddresses) {
    std::ofstream("rec.mdi") << "x";
    struct {
        std::string mAddress;
        uint32_t mCode, mMode;
        bool mCRC;
    } const CASES[] = {
        {UDP_ADDRESS, 0, 2, true},
        {UDP_ADDRESS + "?crc=0&fec=4", 0, 2, false},
        {UDP_ADDRESS + "?fec=2&crc=0", 0, 3, false},
        {"dcp.udp" + UDP_LOCATION + "?fec=2", 0, 0, true},
        {"dcp.udp.pft.x" + UDP_LOCATION + " rest", 0, 2, true},
        {"dcp.file.pft:rec.mdi:0:0", 0, 2, true},
        {"dcp.file.pft:rec.mdi:0:0?fec=1", 0, 3, true},
        {"dcp.file:rec.mdi:0:0?crc=0", 0, 0, false},
        {"dcp.file.pft:none.mdi:0:0", FILE_OPEN_FAILED, 0, true},
        {"dcp.udp.pft://127.0.0.1:80", UDP_INVALID_PORT, 0, true},
        {"dcp.udp.pft://1234567890123456:5000", UDP_INVALID_ADDRESS, 0, true},
        {"dcp.tcp.pft://127.0.0.1:5000", DCP_TRANSPORT_NOT_SUPPORTED, 0, true},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mAddress);
        DCPInterface lEndpoint(0);
        Printed([&] { EXPECT_EQ(lCase.mCode == 0 ? 1u : 0u, lEndpoint.Open(lCase.mAddress.c_str(), 0)); });
        EXPECT_EQ(lCase.mCode, lEndpoint.GetError());
        EXPECT_EQ(0u, lEndpoint.GetError());
        ASSERT_EQ(lCase.mCode == 0, lEndpoint.ciPFTLayer != nullptr);
        if (lCase.mCode != 0)
            continue;
        const bool lIsFile = lEndpoint.ciFileLayer != nullptr;
        EXPECT_EQ(lCase.mMode, lEndpoint.ciPFTLayer->ciMode);
        EXPECT_EQ(lIsFile ? 1u : 0u, lEndpoint.ciPFTLayer->ciAddressing);
        EXPECT_EQ(lCase.mCRC, lEndpoint.ciAFLayer->ciUseCRC);
        EXPECT_EQ(lIsFile, lEndpoint.ciAFLayer->ciFileMode);
        const uint32_t lMaximum = lCase.mMode != 0 ? 15000 : lIsFile ? 4950 : 1458;
        EXPECT_EQ(lMaximum - 12, lEndpoint.ciMaxPacketSize);
        EXPECT_EQ(DCP_INVALID_ADDRESS, CodeOf(lEndpoint, lEndpoint.Open(UDP_ADDRESS.c_str(), 0)));  // open already
    }
    // One each word, and those with blanks or of many characters.
    std::istringstream lWords(
        "dcp dcp:x udp://127.0.0.1:5000 dcp.udp.pft DCP.udp.pft://127.0.0.1:5000 dcp.UDP.pft://127.0.0.1:5000 "
        "dcp.udp.fec://127.0.0.1:5000 dcp.x://127.0.0.1:5000 dcp.udp.pft:127.0.0.1:5000 dcp.udp.pft://127.0.0.1 "
        "dcp.udp.pft://127.0.0.1:port dcp.udp.pft://:5000 dcp.udp.pft://127.0.0.1:99999999999 dcp.file.pft:rec.mdi:0 "
        "dcp.file.pft:C:\\rec.mdi:0:0");
    std::vector<std::string> lMalformed(std::istream_iterator<std::string>(lWords), {});
    lMalformed.insert(
        lMalformed.end(),
        {"", "dcp.file.pft:my rec.mdi:0:0", "dcp.file.pft:" + std::string(104, 'n') + ":0:0",
         "dcp.udp.pft://127.0.0.1:5000?" + std::string(52, 'x'), "dcp.file.pft:" + std::string(600, 'x') + ":0:0"});
    for (const std::string& lAddress : lMalformed) {
        DCPInterface lEndpoint(0);
        EXPECT_EQ(DCP_INVALID_ADDRESS, CodeOf(lEndpoint, lEndpoint.Open(lAddress.c_str(), 0))) << lAddress;
    }
}

TEST_F(DCPInterfaceTest, NamesTasksAndSemaphoresByNumber) {
    DCPInterface::sinDCPInterface = 0;
    for (const auto& [lTask, lSemaphore] : {std::pair{"DCT0", "DCS0"}, {"DCT1", "DCS1"}}) {
        const DCPInterface lEndpoint(0);
        EXPECT_STREQ(lTask, lEndpoint.name_text);
        EXPECT_STREQ(lSemaphore, lEndpoint.ciSemaphore->name_text);
    }
}

TEST_F(DCPInterfaceTest, ProtocolsAreEnabledBetweenOpenAndStart) {
    DRMNetworkInterface lEndpoint(0, 6000);
    Packet lOut(0);
    EXPECT_EQ(DCP_NOT_OPEN, CodeOf(lEndpoint, lEndpoint.EnableMDI()));
    EXPECT_EQ(0u, lEndpoint.Start());
    ASSERT_EQ(1u, lEndpoint.Open(UDP_ADDRESS.c_str(), 0));
    EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, CodeOf(lEndpoint, lEndpoint.ReceiveMDI(&lOut)));
    EXPECT_EQ(1u, lEndpoint.EnableMDI());
    EXPECT_EQ(1u, lEndpoint.EnableMCI());
    EXPECT_EQ(1u, lEndpoint.EnableMDI());
    EXPECT_EQ(LAYER_TOO_MANY_TAGS, CodeOf(lEndpoint, lEndpoint.EnableSDI()));
    EXPECT_EQ(0u, lEndpoint.ReceiveSDI(&lOut));
    EXPECT_EQ(1u, lEndpoint.Start());
    EXPECT_EQ(0u, lEndpoint.Start());
    EXPECT_EQ(0u, lEndpoint.EnableMDI());
    EXPECT_EQ(2u, lEndpoint.ReceiveMCI(&lOut));
    lEndpoint.FlushMDI();
    EXPECT_TRUE(TraceLines().empty());
    EXPECT_EQ(500u, DRMNetworkInterface(0, 500).GetMaxNetworkDelay());
    EXPECT_EQ(0u, DRMNetworkInterface(1, 500).GetMaxNetworkDelay());
    ASSERT_EQ(1u, TraceLines().size());
    EXPECT_NE(std::string::npos, TraceLines()[0].find("Assertion (ainMaxNetworkDelay >= 400*2) in file \"Networking/"));
}

TEST_F(DCPInterfaceTest, RecordsAndPlaysAFile) {
    MakeRecording(4);  // four units: the first has the number that counts for nothing
    DRMNetworkInterface lPlayer(0, 6000);
    Start(lPlayer, "dcp.file.pft:rec.mdi:0:0");
    for (const uint32_t lExpected : {0u, 1u, 2u, 3u}) {
        MDIUnit lUnit(0, 0, 0);
        uint32_t lCounter = 99;
        ASSERT_EQ(1u, lPlayer.ReceiveMDI(&lUnit));
        ASSERT_EQ(1u, lUnit.Parse());
        ASSERT_EQ(1u, lUnit.GetDlfc(&lCounter));
        EXPECT_EQ(lExpected, lCounter);
        EXPECT_STREQ("T", lUnit.cProtocol);
    }
    EXPECT_TRUE(Eventually([&] { return lPlayer.GetQueueCount(0) >= 5; }));  // it goes round
}

TEST_F(DCPInterfaceTest, CarriesUnitsOverUDPAndReportsWhatCannotGo) {
    DRMNetworkInterface lReceiver(0, 6000), lSender(1, 0);
    Start(lReceiver, UDP_ADDRESS);
    Start(lSender, UDP_ADDRESS);
    MDIUnit lUnit(0, 0, 0);
    lSender.Send(SmallUnit(5).get());
    ASSERT_EQ(1u, lReceiver.ReceiveMDI(&lUnit));
    EXPECT_EQ(BytesOf(*SmallUnit(5)), BytesOf(lUnit));

    auto lForeign = SmallUnit(6);
    char lDSDI[] = "DSDI";
    lForeign->cPayloadProtocol = lDSDI;
    lSender.Send(lForeign.get());
    EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, AwaitCode(lSender));
    MDIUnit lHuge(16000, 0, 0);
    lHuge.SetInfo(8 * 15900, std::vector<unsigned char>(15900).data());
    lSender.Send(&lHuge);
    EXPECT_EQ(LAYER_PACKET_TOO_BIG, AwaitCode(lSender));
    auto lUnnamed = SmallUnit(7);
    lUnnamed->cProtocol = "AF";
    lSender.Send(lUnnamed.get());
    EXPECT_EQ(LAYER_TAG_NOT_REGISTERED, AwaitCode(lSender));
}

TEST_F(DCPInterfaceTest, AFullSendQueueLosesAndTraces) {
    DRMNetworkInterface lSender(1, 0);
    ASSERT_EQ(1u, lSender.Open(UDP_ADDRESS.c_str(), 0));
    ASSERT_EQ(1u, lSender.EnableMDI());
    for (uint32_t lCounter = 0; lCounter < 11; ++lCounter)
        EXPECT_EQ(1u, lSender.Send(SmallUnit(lCounter).get()));
    EXPECT_EQ(10u, lSender.ciSendQueue->GetCount());
    ASSERT_EQ(1u, TraceLines().size());
    EXPECT_NE(std::string::npos, TraceLines()[0].find("Assertion (liuResult == SUCCESSFUL)"));
}

// Wherever the task stands: waiting for a datagram or a unit, sleeping, or at work.
TEST_F(DCPInterfaceTest, EndpointsGoWhereverTheirTasksStand) {
    MakeRecording(3);
    for (int lRound = 0; lRound < 30; ++lRound) {
        DRMNetworkInterface lPlayer(0, 6000), lReceiver(0, 6000);
        auto lSender = std::make_unique<DRMNetworkInterface>(1, 0);
        Start(lPlayer, "dcp.file.pft:rec.mdi:0:0");
        Start(lReceiver, UDP_ADDRESS);
        Start(*lSender, UDP_ADDRESS);
        MDIUnit lHuge(14000, 0, 0);  // sent with pauses between its fragments
        lHuge.SetInfo(8 * 13000, std::vector<unsigned char>(13000).data());
        lSender->Send(&lHuge);
        platform::Sleep(static_cast<uint32_t>(lRound % 7));
        lSender = nullptr;
        lReceiver.Close();
        EXPECT_EQ(0u, lReceiver.Open(UDP_ADDRESS.c_str(), 0));  // its task is not to be had again
    }
}

}  // namespace
