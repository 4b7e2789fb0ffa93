// Runs the built player as its user does: with its settings file, its keys and its console, over loopback.

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "Networking/RecordFormat.h"
#include "platform/Clock.h"
#include "tests/system/PlayerFixture.h"
#include "tests/unit/NotifySocket.h"
#include "tests/unit/TestSupport.h"

namespace {

constexpr char BANNER[] =
    "******************************************\n"
    "** Starting MDI File Player application **\n"
    "**       VESTRAL Tessavox player        **\n"
    "******************************************\n\n";
constexpr char STARTED[] = "\nStarting DRM player application. PRESS 'q' to quit.\n";

class PlayerSystemTest : public PlayerFixture {};

// The kernel then refuses every socket to the process.
void RefuseSockets() {
    sock_filter lFilter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                             BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 1),
                             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAFNOSUPPORT),
                             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog lProgram = {4, lFilter};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &lProgram);
}

void LoseDirectory() {
    std::filesystem::create_directory("gone");
    std::filesystem::current_path("gone");
    std::filesystem::remove("../gone");
}

TEST_F(PlayerSystemTest, EveryStartUpFailureIsNamedAndExitsWith0) {
    std::ofstream("rec.mdi") << "x";
    const std::string lIni = (cDirectory.GetPath() / "VESTRAL Tessavox.ini").string();
    const std::string lGood = "InputFileName=rec.mdi\nDrmOutputAddress=127.0.0.1\nDrmOutputPort=5000\n";
    const auto lPort = [](const char* aText) {
        return "ERROR: DRM IP PORT must be 1025<=DrmOutputPort<=65535, current value = " + std::string(aText) + "\n";
    };
    const auto lMissing = [](const char* aKey) { return "ERROR: Missing \"" + std::string(aKey) + "\" setting\n"; };
    const auto lUnable = [](const std::string& aAddress, const char* aCode) {
        return "\nUnable to open port \"" + aAddress + "\" : Error " + aCode;
    };
    struct {
        std::string mSettings;
        std::string mConsole;  // behind the banner
        bool mAwaitsKey;
        void (*mBefore)();
    } const CASES[] = {
        {"-", "Missing \"" + lIni + "\" file\n", true, nullptr},
        {"", lMissing("InputFileName"), true, nullptr},
        {"InputFileName=\nDrmOutputPort=1\n", lMissing("InputFileName"), true, nullptr},
        {"InputFileName=rec.mdi\nDrmOutputPort=1\n", lMissing("DrmOutputAddress"), true, nullptr},
        {"InputFileName=r\nDrmOutputAddress=a\n", lMissing("DrmOutputPort"), true, nullptr},
        {"InputFileName=r\nDrmOutputAddress=a\nDrmOutputPort=-1\n", lMissing("DrmOutputPort"), true, nullptr},
        {"InputFileName=r\nDrmOutputAddress=a\nDrmOutputPort=1024\n", lPort("1024"), true, nullptr},
        {"InputFileName=r\nDrmOutputAddress=a\nDrmOutputPort=65536\n", lPort("65536"), true, nullptr},
        {"InputFileName=r\nDrmOutputAddress=a\nDrmOutputPort=port\n", lPort("0"), true, nullptr},
        {lGood + "Console=x\nPacing=12x\n", "ERROR: Pacing must be relative or absolute, current value = 12x\n", true,
         nullptr},
        {lGood, "WSAStartup KO", false, RefuseSockets},
        {"InputFileName=none.mdi\nDrmOutputAddress=127.0.0.1\nDrmOutputPort=5000\n",
         "\n\tUnable to open MDI file\n" + lUnable("dcp.file.pft:none.mdi:0:0", "10"), true, nullptr},
        {"InputFileName=C:\\rec.mdi\nDrmOutputAddress=127.0.0.1\nDrmOutputPort=5000\n",
         lUnable("dcp.file.pft:C:\\rec.mdi:0:0", "5"), true, nullptr},
        {"InputFileName=rec.mdi\nDrmOutputAddress=modulator.example\nDrmOutputPort=5000\n",
         lUnable("dcp.udp.pft://modulator.example:5000", "8"), true, nullptr},
        {"InputFileName=rec.mdi\nDrmOutputAddress=modulator\nDrmOutputPort=1025\n",
         "connecting socket failed. Error: 13" + lUnable("dcp.udp.pft://modulator:1025", "9"), true, nullptr},
        {lGood, "Unable to find currentDirectory\n", true, LoseDirectory},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mConsole);
        std::filesystem::remove("VESTRAL Tessavox.ini");
        if (lCase.mSettings != "-")
            Configure(lCase.mSettings);
        Player lPlayer(lCase.mBefore != nullptr ? lCase.mBefore : [] {});
        const std::string lExpected = BANNER + lCase.mConsole;
        EXPECT_TRUE(Eventually([&] { return ReadFile("console").size() >= lExpected.size(); }));
        if (lCase.mAwaitsKey) {
            EXPECT_TRUE(lPlayer.StillRuns());
            lPlayer.Press("x");
        }
        EXPECT_EQ(0, lPlayer.ExitCode());
        EXPECT_EQ(lExpected, ReadFile("console"));
    }
}

TEST_F(PlayerSystemTest, PlaysRenumberedInALoopUntilQ) {
    MakeRecording("--frames 4 --first-identity 2");  // 2, 0, 1, 2: the first is dropped in the first pass
    ConfigureToPlay("rec.mdi");
    Listen();
    Player lPlayer;
    for (int64_t lCounter = 0; lCounter < 6; ++lCounter) {
        EXPECT_EQ(lCounter, NextCounter());
        if (lCounter == 2)
            lPlayer.Press("Q");
    }
    EXPECT_TRUE(lPlayer.StillRuns());
    lPlayer.Press("q");
    EXPECT_EQ(0, lPlayer.ExitCode());
    const std::string lExpected = std::string(BANNER) + STARTED +
                                  "DRM Mode:\n\tSpectrum Occupancy => 10KHz\n\tRobustness Mode => B\n"
                                  "\tSDC Mode => 16QAM\n\tMSC Mode => 64QAM (standard)\n"
                                  "\tTime Interleaving => Long (2s)\n\n\t\t*** | ***\r\t\t*** / ***\r\t\t*** - ***\r"
                                  "\t\t*** \\ ***\r\t\t*** | ***\r";
    EXPECT_EQ(0u, ReadFile("console").find(lExpected)) << ReadFile("console");
    EXPECT_EQ("", ReadFile("ERR_SYS.tra"));
}

// What cannot be played must leave processor, console and trace file alone.
TEST_F(PlayerSystemTest, AUselessRecordingLeavesTheMachineIdle) {
    std::string lForeign, lWrongCRC, lDamaged, lNeverFirst;
    MakeRecording("--frames 3");
    for (std::string lRecord : Records(ReadFile("rec.mdi"))) {
        lRecord.back() = static_cast<char>(lRecord.back() ^ 1);
        lWrongCRC += lRecord;
        lRecord.replace(lRecord.find("DMDI"), 4, "DSDI");
        lRecord[RECORD_HEADER_SIZE + 8] = 0x10;  // without a CRC
        lForeign += lRecord.replace(lRecord.size() - 2, 2, 2, '\0');
    }
    MakeRecording("--frames 3 --packets pft --fragment-size 100");
    for (std::string lRecord : Records(ReadFile("rec.mdi"))) {
        if (lRecord[RECORD_HEADER_SIZE + 6] != 0)
            lNeverFirst += lRecord;
        lRecord[RECORD_HEADER_SIZE + 11] = static_cast<char>(lRecord[RECORD_HEADER_SIZE + 11] ^ 1);
        lDamaged += lRecord;
    }
    MakeRecording("--frames 1 --first-identity 1");
    const std::string lOutOfOrder = ReadFile("rec.mdi");
    const std::pair<const char*, std::string> CASES[] = {
        {"31 bytes", std::string(31, 'x')}, {"nothing known", std::string(5000, 'x')}, {"another protocol", lForeign},
        {"wrong CRC", lWrongCRC},           {"no first fragment", lNeverFirst},        {"damaged fragments", lDamaged},
        {"out of order", lOutOfOrder}};
    for (const auto& [lName, lBytes] : CASES) {
        SCOPED_TRACE(lName);
        std::filesystem::remove("ERR_SYS.tra");
        std::ofstream("rec.mdi", std::ios::binary) << lBytes;
        ConfigureToPlay("rec.mdi");
        Player lPlayer;
        platform::Sleep(2000);
        EXPECT_LT(lPlayer.ProcessorSeconds(), 0.7);  // spinning takes 2 and more
        const std::string lLines = ReadFile("console") + ReadFile("ERR_SYS.tra");
        EXPECT_LT(std::count(lLines.begin(), lLines.end(), '\n'), 6 + 20);
    }
}

// Standard output becomes a pipe that is full and that nobody reads.
void StallConsole() {
    int lEnds[2];
    if (pipe2(lEnds, O_NONBLOCK) != 0)
        _exit(98);
    while (write(lEnds[1], "x", 1) == 1) {
    }
    fcntl(lEnds[1], F_SETFL, 0);
    dup2(lEnds[1], STDOUT_FILENO);
}

TEST_F(PlayerSystemTest, TellsItsSupervisorsOfItsWork) {
    NotifySocket lManager("@tessavox-" + std::to_string(getpid()));
    MakeRecording("--frames 9");
    ConfigureToPlay("rec.mdi");
    std::ofstream("VESTRAL Tessavox.ini", std::ios::app) << "\nConsole=quiet\nMetricsFile=metrics\n";
    Listen();
    Player lPlayer(StallConsole);
    EXPECT_TRUE(Eventually([] { return std::filesystem::exists("metrics"); }));
    EXPECT_TRUE(Eventually([&] { return lManager.Next() == "READY=1"; }));
    for (int64_t lCounter = 0; lCounter < 4; ++lCounter)
        EXPECT_EQ(lCounter, NextCounter());
    lPlayer.Signal(SIGTERM);
    EXPECT_EQ(0, lPlayer.ExitCode());
    EXPECT_TRUE(Eventually([&] { return lManager.Next() == "STOPPING=1"; }));
    int64_t lUnits = 4;
    for (cListener.SetReceiveTimeout(1); NextCounter() != -1;)
        ++lUnits;
    const std::string lMetrics = ReadFile("metrics");
    const auto lTells = [&](const std::string& aName, int64_t aValue) {
        return lMetrics.find("\ntessavox_" + aName + "{output=\"127.0.0.1:" + std::to_string(cPort) + "\"} " +
                             std::to_string(aValue) + "\n") != std::string::npos;
    };
    EXPECT_TRUE(lTells("units_sent_total", lUnits) && lTells("pacing_deviation_seconds_count", lUnits - 1)) << lMetrics;
}

TEST_F(PlayerSystemTest, StartsAndStopsAnyNumberOfTimes) {
    MakeRecording("--frames 3");
    ConfigureToPlay("rec.mdi");
    for (int lRound = 0; lRound < 20; ++lRound) {
        Player lPlayer;
        platform::Sleep(static_cast<uint32_t>(lRound));
        lPlayer.Press("q");
        ASSERT_EQ(0, lPlayer.ExitCode()) << lRound;
    }
}

}  // namespace
