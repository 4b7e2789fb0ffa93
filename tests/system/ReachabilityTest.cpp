// The probe, the daemon and the player between two hosts.

#include <linux/capability.h>
#include <netinet/ip_icmp.h>

#include <atomic>
#include <string>
#include <thread>

#include "DrmUtil/CNameResolutionDaemon.h"
#include "DrmUtil/resolve.h"
#include "Networking/UDPIPLayer.h"
#include "tests/system/PlayerFixture.h"
#include "tests/system/TwoHosts.h"

namespace {

constexpr char PEER[] = "10.77.0.2";
constexpr char SILENT[] = "10.77.0.9";  // "silent" by name

class ReachabilityTest : public PlayerFixture {
protected:
    void SetUp() override {
        static const std::string slProblem = Hosts().Make();
        if (!slProblem.empty())
            GTEST_SKIP() << "needs root and network namespaces: " << slProblem;
    }
    static TwoHosts& Hosts() {
        static TwoHosts sHosts;
        return sHosts;
    }
    static uint32_t State(const char* aHost) { return CNameResolutionDaemon::GetAddressState(aHost); }
    static bool Becomes(uint32_t aState, const char* aHost) {
        return Eventually([=] { return State(aHost) == aState; });
    }
    // The console of the player comes to hold the text.
    static bool Says(const std::string& aText) {
        return Eventually([&aText] { return ReadFile("console").find(aText) != std::string::npos; });
    }
    void PlayToPeer(const std::string& aMoreSettings = "") {
        MakeRecording("--frames 3");
        ConfigureToPlay("rec.mdi", PEER, aMoreSettings);
        Hosts().AtThere([this] { Listen(platform::ParseAddress(PEER)); });
    }
};

// First, as the probe is the daemon's thread's later on.
TEST_F(ReachabilityTest, ProbesInTheMannerOfAPing) {
    const auto lBegin = [](const std::string& aHost) { return "\nPinging " + aHost + " with 32 bytes of data\n\n"; };
    const std::string lReply = "Reply from 10\\.77\\.0\\.2: bytes=32 time(<1|=[1-9][0-9]*)ms TTL=128\n";
    struct {
        const char* mHost;
        bool mOthersReply;
        int mResult;
        std::string mConsole, mErrors;  // patterns
    } const CASES[] = {
        {PEER, false, 1, lBegin(PEER) + lReply, ""},
        {SILENT, false, 0, lBegin(SILENT) + "Request timed out.\n", ""},
        {SILENT, true, 0, lBegin(SILENT) + "(" + lReply + "){4}", ""},
        {"198.51.100.1", false, -1, lBegin("198.51.100.1"), "sendto failed: 101\n"},
        {"!", false, -1, "bad name !\n", "Invalid address !, getaddrinfo failed: -[0-9]+\n"},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mHost);
        std::atomic<bool> lDone = false;
        std::thread lOther([&lCase, &lDone] {
            int lSocket = -1;
            Hosts().AtThere([&lSocket] { lSocket = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP); });
            sockaddr_in lHere = {AF_INET, 0, {inet_addr("10.77.0.1")}, {}};
            const icmphdr lMessage = {ICMP_ECHOREPLY, 0, 0xFFFF, {}};
            for (; lCase.mOthersReply && !lDone; platform::Sleep(10))
                sendto(lSocket, &lMessage, sizeof lMessage, 0, reinterpret_cast<sockaddr*>(&lHere), sizeof lHere);
            close(lSocket);
        });
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const uint32_t lStart = platform::TickCount();
        EXPECT_EQ(lCase.mResult, Ping(lCase.mHost));
        const uint32_t lShortest = lCase.mConsole.ends_with("out.\n") ? PROBE_WAIT_MS : 0;
        EXPECT_GE(platform::TickCount() - lStart, lShortest);
        lDone = true;
        lOther.join();
        for (const auto& [lText, lPattern] : {std::pair(testing::internal::GetCapturedStdout(), lCase.mConsole),
                                              std::pair(testing::internal::GetCapturedStderr(), lCase.mErrors)})
            EXPECT_TRUE(testing::internal::RE::FullMatch(lText, lPattern)) << lText;
    }
}

TEST_F(ReachabilityTest, FollowsAHostThatGoesAndComesBack) {
    char lAddress[16] = "";
    EXPECT_EQ(0, UDPIPLayer().GetInterfaceAddress(0, lAddress));
    EXPECT_STREQ("10.77.0.1", lAddress);
    EXPECT_EQ(-1, UDPIPLayer().GetInterfaceAddress(1, lAddress));
    Capture lWire;
    for (const char* const lpUsable : {"239.1.2.3", "127.0.0.1", "10.77.0.1"})
        EXPECT_EQ(ADDRESS_USABLE, State(lpUsable));
    EXPECT_EQ(ADDRESS_PENDING, State(PEER));
    EXPECT_TRUE(Becomes(ADDRESS_USABLE, PEER));
    Hosts().SetCable("down");
    EXPECT_TRUE(Becomes(ADDRESS_UNREACHABLE, PEER));
    Hosts().SetCable("up");
    EXPECT_TRUE(Becomes(ADDRESS_USABLE, PEER));

    int lRequests = 0;
    for (auto lPacket = lWire.Next(); !lPacket.empty(); lPacket = lWire.Next(), ++lRequests) {
        ASSERT_EQ(Capture::IP_HEADER + 40u, lPacket.size());
        EXPECT_EQ(PEER, Capture::Destination(lPacket));
        EXPECT_EQ(128, lPacket[8]);  // hops
        EXPECT_EQ(0, InternetChecksum(&lPacket[Capture::IP_HEADER], 40));
        EXPECT_EQ(std::vector<unsigned char>(32, 0x45),
                  std::vector<unsigned char>(lPacket.begin() + Capture::IP_HEADER + 8, lPacket.end()));
    }
    EXPECT_GE(lRequests, 2);
}

// A name that resolves is usable at once, and its address is probed from the next pass on.
TEST_F(ReachabilityTest, ResolvesNames) {
    Capture lWire;
    EXPECT_EQ(ADDRESS_PENDING, State("nobody.example"));
    EXPECT_TRUE(Becomes(ADDRESS_UNREACHABLE, "nobody"));
    EXPECT_EQ(ADDRESS_PENDING, State("silent.example"));
    EXPECT_TRUE(Becomes(ADDRESS_USABLE, "silent.other"));
    EXPECT_TRUE(Becomes(ADDRESS_UNREACHABLE, "silent"));
    EXPECT_TRUE(lWire.Sees(SILENT));
}

TEST_F(ReachabilityTest, ThePlayerEndsWhenItsDestinationGoes) {
    PlayToPeer();
    Player lPlayer;
    EXPECT_EQ(0, NextCounter());
    EXPECT_TRUE(Says("Reply from 10.77.0.2"));
    Hosts().SetCable("down");
    EXPECT_TRUE(Says("DRM Sender Error 12\n"));
    EXPECT_TRUE(lPlayer.StillRuns());
    lPlayer.Press("x");
    EXPECT_EQ(0, lPlayer.ExitCode());
    EXPECT_EQ("", ReadFile("ERR_SYS.tra"));
    Hosts().SetCable("up");
}

// Without the right to raw sockets the player probes if the kernel lets its group, and plays in any case.
TEST_F(ReachabilityTest, ThePlayerNeedsNoPrivileges) {
    const std::pair<const char*, const char*> CASES[] = {{"1 0", "socket failed: 13\n"},
                                                         {"0 2147483647", "Reply from 10.77.0.2: bytes=32 time"}};
    for (const auto& [lGroups, lConsole] : CASES) {
        SCOPED_TRACE(lGroups);
        std::ofstream("/proc/sys/net/ipv4/ping_group_range") << lGroups;
        PlayToPeer();
        Player lPlayer([] { prctl(PR_CAPBSET_DROP, CAP_NET_RAW); });
        EXPECT_TRUE(Says(lConsole));
        for (int64_t lCounter = 0; lCounter < 4; ++lCounter)
            EXPECT_EQ(lCounter, NextCounter());
        EXPECT_TRUE(lPlayer.StillRuns());
    }
}

// Last, as the silent neighbours are not known to the interface any more when it comes up again.
TEST_F(ReachabilityTest, ThePlayerGoesOnAfterOutages) {
    TwoHosts::ChangeHere("link set here down");
    PlayToPeer("SendErrors=continue\nProbeTries=0");
    Player lPlayer;
    EXPECT_TRUE(Says("DRM Sender Error 9\n"));
    TwoHosts::ChangeHere("link set here up");
    int64_t lCounter = NextCounter();
    EXPECT_GT(lCounter, 0);
    EXPECT_TRUE(Says("DRM Sender Error 9 has ended\n"));

    TwoHosts::ChangeHere("addr del 10.77.0.1/24 dev here");
    ASSERT_TRUE(Eventually([] { return TraceLines().size() == 3; }));
    TwoHosts::ChangeHere("addr add 10.77.0.3/24 dev here");
    int64_t lNext = NextCounter();
    for (; lNext == lCounter + 1; lNext = NextCounter())
        lCounter = lNext;
    EXPECT_GT(lNext, lCounter);
    EXPECT_TRUE(lPlayer.StillRuns());
    EXPECT_EQ(4u, TraceLines().size());
    TwoHosts::ChangeHere("addr add 10.77.0.1/24 dev here");
}

}  // namespace
