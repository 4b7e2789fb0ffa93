// Runs dcp-relay as its users do: between recordings and over loopback.

#include <csignal>
#include <filesystem>
#include <random>

#include "platform/Socket.h"
#include "tests/system/ToolsFixture.h"

namespace {

class RelaySystemTest : public ToolsFixture {};

TEST_F(RelaySystemTest, KeepsUnitsByteForByte) {
    Units lUnits = MakeUnits(5, {1100, 200});
    for (uint32_t lIndex = 0; lIndex < 5; ++lIndex)
        lUnits[lIndex] = WithDlfc(lUnits[lIndex], 100 + lIndex);
    WriteFile("rec.mdi", RecordingOf(lUnits, true));
    EXPECT_EQ(0, Relay("--fast dcp.file:rec.mdi:0:0 dcp.file:out.mdi:99:0"));
    EXPECT_TRUE(lUnits == UnitsOf(ReadFile("out.mdi")));
    EXPECT_TRUE(Contains(ReadFile("console"), "5 units received, 5 sent, 0 lost, ")) << ReadFile("console");

    lUnits.resize(4);
    for (uint32_t lIndex = 0; lIndex < 4; ++lIndex)
        lUnits[lIndex] = WithDlfc(lUnits[lIndex], lIndex);
    const uint32_t lStart = platform::TickCount();
    EXPECT_EQ(0, Relay("--renumber --json --stats=1 dcp.file:rec.mdi:0:0 dcp.file:out.mdi:4:0"));
    EXPECT_GE(platform::TickCount() - lStart, 1200u);  // one unit per 400 ms
    EXPECT_TRUE(lUnits == UnitsOf(ReadFile("out.mdi")));
    EXPECT_EQ("dcp-relay: the recording has reached its limit\n", ReadFile("errors"));
    EXPECT_EQ(0u, ReadFile("console").find("{\"type\":\"statistics\",\"seconds\":1.")) << ReadFile("console");
    const std::string lSummary = ReadFile("console").substr(ReadFile("console").find("{\"type\":\"summary\""));
    EXPECT_TRUE(Contains(lSummary, "\"received\":4,\"sent\":4,\"lost\":0,\"bytes\":")) << lSummary;
    ExpectObjects("console");

    EXPECT_EQ(0, Relay("--fast --units=2 dcp.file:rec.mdi:0:0 dcp.file.pft:out.mdi:99:0"));
    EXPECT_EQ(2u, Records(ReadFile("out.mdi")).size());
    EXPECT_EQ("", ReadFile("ERR_SYS.tra"));
}

TEST_F(RelaySystemTest, SaysWhatIsLost) {
    // Without PFT the frames with a service description do not fit into a datagram.
    WriteFile("rec.mdi", RecordingOf(MakeUnits(6, {1000, 345}), false));
    EXPECT_EQ(0, Relay("--fast dcp.file:rec.mdi:0:0 dcp.udp://127.0.0.1:" + cPort));
    const std::string lLost = "dcp-relay: units are lost: a unit too long for this address; with pft it is cut\n";
    const std::string lAgain = "dcp-relay: units go out again; 1 unit lost\n";
    EXPECT_EQ(lLost + lAgain + lLost + lAgain, ReadFile("errors"));
    EXPECT_TRUE(Contains(ReadFile("console"), "6 units received, 4 sent, 2 lost, ")) << ReadFile("console");

    std::vector<std::string> lRecords = Records(RecordingOf(MakeUnits(6), false));
    lRecords[3].back() = static_cast<char>(lRecords[3].back() ^ 1);
    std::string lBytes;
    for (const std::string& lRecord : lRecords)
        lBytes += lRecord;
    WriteFile("rec.mdi", lBytes);
    EXPECT_EQ(0, Relay("--fast dcp.file:rec.mdi:0:0 dcp.file:out.mdi:99:0"));
    EXPECT_EQ("dcp-relay: FROM is damaged; mdi-dump tells where\n", ReadFile("errors"));
    EXPECT_TRUE(Contains(ReadFile("console"), "5 units received, 5 sent, 1 lost, ")) << ReadFile("console");
    EXPECT_EQ(1, Relay("--fast --protocol=sdi dcp.file:rec.mdi:0:0 dcp.file:out.mdi:99:0"));
    EXPECT_TRUE(Contains(ReadFile("console"), "0 units received, 0 sent, 1 lost, ")) << ReadFile("console");
}

TEST_F(RelaySystemTest, RepeatsFromABeginningOfASuperFrame) {
    const Units lUnits = MakeUnits(7);
    const struct {
        const char* mOptions;
        std::vector<uint32_t> mSent;
    } CASES[] = {
        {"--loop=3", {0, 1, 2, 3, 4, 5, 6, 0, 1, 2, 3, 4, 5, 6, 0, 1, 2, 3, 4, 5, 6}},
        {"--loop=2 --start=2", {3, 4, 5, 6, 3, 4, 5, 6}},
        {"--loop=0 --start=4 --units=6", {3, 4, 5, 6, 3, 4}},
        {"--start=7", {6}},
    };
    for (const auto& lCase : CASES) {
        for (const bool lPft : {false, true}) {
            for (const bool lRenumber : {false, true}) {
                SCOPED_TRACE(testing::Message() << lCase.mOptions << lPft << lRenumber);
                WriteFile("rec.mdi", RecordingOf(lUnits, lPft));
                Units lSent;
                for (const uint32_t lUnit : lCase.mSent)
                    lSent.push_back(WithDlfc(lUnits[lUnit], lRenumber ? static_cast<uint32_t>(lSent.size()) : lUnit));
                EXPECT_EQ(0, Relay("--fast --strict "s + (lRenumber ? "--renumber " : "") + lCase.mOptions +
                                   " dcp.file:rec.mdi:0:0 dcp.file:out.mdi:99:0"));
                EXPECT_TRUE(RecordingOf(lSent, false) == ReadFile("out.mdi"));
                EXPECT_TRUE(Contains(ReadFile("console"), " 0 lost, ")) << ReadFile("console");
                EXPECT_EQ("", ReadFile("errors") + ReadFile("ERR_SYS.tra"));
            }
        }
    }
}

TEST_F(RelaySystemTest, RecordsWhatThePlayerSends) {
    const Units lUnits = MakeUnits(6);
    WriteFile("rec.mdi", RecordingOf(lUnits, false));
    std::ofstream("VESTRAL Tessavox.ini")
        << "[Settings]\nInputFileName=rec.mdi\nDrmOutputAddress=127.0.0.1\nDrmOutputPort=" << cPort;
    Process lRelay({DCP_RELAY, "dcp.udp.pft://any:" + cPort, "dcp.file:out.mdi:99:0"}, ".relay");
    ASSERT_TRUE(Eventually([] { return PortIsBound(TestPort()); }));
    {
        const Process lPlayer({TESSAVOX});
        ASSERT_TRUE(Eventually([] { return Records(ReadFile("out.mdi")).size() >= 9; }));
    }
    lRelay.Signal(SIGTERM);
    lRelay.Signal(SIGTERM);  // as from timeout and service managers
    EXPECT_EQ(0, lRelay.ExitCode());
    EXPECT_EQ("", ReadFile("errors.relay"));

    Units lRecorded = UnitsOf(ReadFile("out.mdi"));
    const std::string lCount = std::to_string(lRecorded.size());
    EXPECT_TRUE(Contains(ReadFile("console.relay"), " " + lCount + " units received, " + lCount + " sent, 0 lost, "));
    lRecorded.resize(9);
    for (uint32_t lIndex = 0; lIndex < 9; ++lIndex)
        EXPECT_TRUE(WithDlfc(lUnits[lIndex % 6], lIndex) == lRecorded[lIndex]) << lIndex;
    WriteFile("out.mdi", RecordingOf(lRecorded, false));
    EXPECT_EQ(0, Dump("dcp.file:out.mdi:0:0"));
    EXPECT_TRUE(Contains(ReadFile("console"), "\n9 units, 0 lost, 0 out of order, "));
    EXPECT_EQ("", ReadFile("ERR_SYS.tra"));
}

// Passes one packet's fragments from one port to another: doubles and swaps some and loses any one of them.
void PassDamaged(platform::UdpSocket& aIn, platform::UdpSocket& aOut, std::mt19937& aRandom) {
    Units lFragments;
    for (size_t lCount = 1; lFragments.size() < lCount;) {
        unsigned char lBuffer[1472];
        size_t lSize = 0;
        ASSERT_EQ(platform::UdpSocket::ReceiveResult::DATAGRAM, aIn.Receive(lBuffer, sizeof lBuffer, &lSize));
        lCount = lBuffer[9];
        lFragments.emplace_back(reinterpret_cast<char*>(lBuffer), lSize);
    }
    const auto lAny = [&] { return lFragments.begin() + static_cast<int>(aRandom() % lFragments.size()); };
    lFragments.erase(lAny());
    lFragments.push_back(*lAny());
    std::iter_swap(lAny(), lAny());
    for (const std::string& lFragment : lFragments)
        ASSERT_TRUE(aOut.Send(Octets(lFragment), lFragment.size()));
}

TEST_F(RelaySystemTest, ParityCarriesUnitsOverALossyLink) {
    const Units lUnits = MakeUnits(6);
    WriteFile("rec.mdi", RecordingOf(lUnits, false));
    constexpr uint32_t LOOPBACK = 0x7F000001;
    const uint32_t lPort = TestPort();  // of the link
    platform::UdpSocket lIn, lOut;
    ASSERT_TRUE(lIn.Create() && lIn.Bind(LOOPBACK, static_cast<uint16_t>(lPort)) && lIn.SetReceiveTimeout(20000));
    ASSERT_TRUE(lOut.Create() && lOut.Connect(LOOPBACK, static_cast<uint16_t>(lPort + 1)));
    Process lRecorder({DCP_RELAY, "--units=6", "dcp.udp.pft://127.0.0.1:" + std::to_string(lPort + 1) + "?fec=1",
                       "dcp.file:got.mdi:9:0"},
                      "-recorder");
    ASSERT_TRUE(Eventually([] { return std::filesystem::exists("got.mdi"); }));
    Process lSender({DCP_RELAY, "--fast", "dcp.file:rec.mdi:0:0",
                     "dcp.udp.pft://127.0.0.1:" + std::to_string(lPort) + "?fec=1&crc=1&live=0"});
    std::mt19937 lRandom(5);
    for (size_t lUnit = 0; lUnit < lUnits.size(); ++lUnit)
        PassDamaged(lIn, lOut, lRandom);
    EXPECT_EQ(0, lSender.ExitCode());
    EXPECT_EQ(0, lRecorder.ExitCode());
    EXPECT_EQ(lUnits, UnitsOf(ReadFile("got.mdi")));
    EXPECT_TRUE(Contains(ReadFile("console-recorder"), "6 units received, 6 sent, 0 lost"));
}

}  // namespace
