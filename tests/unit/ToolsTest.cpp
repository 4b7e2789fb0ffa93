#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/Interrupt.h"
#include "tools/CommandLine.h"
#include "tools/DlfcWatch.h"
#include "tools/Endpoint.h"
#include "tools/IntervalHistogram.h"
#include "tools/JsonLine.h"
#include "tools/StatusText.h"
#include "tools/Text.h"

namespace {

using namespace std::string_literals;

TEST(DlfcWatchTest, TellsLossFromDisorderAndNewNumbering) {
    struct {
        std::vector<uint32_t> mCounters;
        const char* mSteps;  // Next, Gap, Back, Jump
        uint64_t mLost;
        uint64_t mBack;
    } const CASES[] = {
        {{7, 8, 9}, "NNN", 0, 0},
        {{UINT32_MAX, 0, 1}, "NNN", 0, 0},
        {{5, 7, 8, 12}, "NGNG", 4, 0},
        {{UINT32_MAX - 1, 2, 3}, "NGN", 3, 0},
        {{5, 7, 6, 8}, "NGBN", 1, 1},  // late
        {{5, 5, 6}, "NBN", 0, 1},      // repeated
        {{0, 1, 2, 0, 1, 2, 3}, "NNNBNNN", 0, 1},
        {{5, 1000000, 1000001, 6, 7}, "NJNJN", 0, 0},
        {{100, 1601, 3103}, "NGJ", 1500, 0},
    };
    for (const auto& lCase : CASES) {
        DlfcWatch lWatch;
        std::string lSteps;
        for (const uint32_t lCounter : lCase.mCounters)
            lSteps += "NGBJ"[static_cast<int>(lWatch.Follow(lCounter))];
        EXPECT_EQ(lCase.mSteps, lSteps);
        EXPECT_EQ(lCase.mLost, lWatch.GetLost()) << lSteps;
        EXPECT_EQ(lCase.mBack, lWatch.GetBack()) << lSteps;
    }
}

TEST(IntervalHistogramTest, GivesExactPercentiles) {
    IntervalHistogram lHistogram;
    EXPECT_EQ(0u, lHistogram.Percentile(50));
    for (uint32_t lCount = 0; lCount < 98; ++lCount)
        lHistogram.Add(400 + lCount % 2);
    lHistogram.Add(9999);
    lHistogram.Add(4000000000);
    EXPECT_EQ(100u, lHistogram.GetTotal());
    EXPECT_EQ(400u, lHistogram.Percentile(49));
    EXPECT_EQ(401u, lHistogram.Percentile(50));
    EXPECT_EQ(401u, lHistogram.Percentile(98));
    EXPECT_EQ(9999u, lHistogram.Percentile(99));
    EXPECT_EQ(10000u, lHistogram.Percentile(100));
    EXPECT_EQ(4000000000, lHistogram.GetMaximum());
}

TEST(TextTest, IsSafeForTerminalsAndParsers) {
    const std::string lBytes = "a\"b\\c\x1B[2J\n\0\x7F\xC3\xA9"s;
    EXPECT_EQ("a\"b\\c\\x1B[2J\\x0A\\x00\\x7F\\xC3\\xA9", Printable(lBytes));
    EXPECT_EQ("\"a\\\"b\\\\c\\u001b[2J\\n\\u0000\\u007f\\u00c3\\u00a9\"", JsonLine(JsonText(lBytes)));
    EXPECT_EQ("[\"\\ufffd\"]", JsonLine({"\xC3"}));
    EXPECT_EQ("000fff", Hex("\0\x0F\xFF"s));
}

TEST(StatusTextTest, HasWordsForEveryCode) {
    const uint32_t UNUSED[] = {15, 16, 20, 21, 22, 23};
    for (uint32_t lCode = 1; lCode <= 33; ++lCode) {
        const bool lUsed = std::find(std::begin(UNUSED), std::end(UNUSED), lCode) == std::end(UNUSED);
        EXPECT_EQ(lUsed, StatusText(lCode) != "code " + std::to_string(lCode)) << lCode;
    }
}

TEST(EndpointTest, RefusesAddressesThatMeanSomethingElse) {
    const std::string FORM = "of the form dcp.udp.pft://HOST:PORT or dcp.file.pft:FILE:LIMIT:0";
    const std::string PORT = "a UDP port is a number from 1024 to 65535";
    const std::string HOST = "a host is a dotted IPv4 address, or any to receive";
    const std::string OPTIONS = "options are fec=0|1, crc=0|1, live=0|1";
    const struct {
        uint32_t mDirection;
        const char* mAddress;
        std::string mError;  // its end
    } CASES[] = {
        {RECEIVING, "dcp.udp.pft:/any:5000", FORM},
        {RECEIVING, "dcp.udp.pft://any:1023", PORT},
        {RECEIVING, "dcp.udp.pft://127.0.0.256:5000", HOST},
        {SENDING, "dcp.udp.pft://any:5000", "units go to one host or multicast group"},
        {RECEIVING, "dcp.tcp.pft://any:5000", "this transport or protection is not available"},
        {SENDING, "dcp.udp.pft://127.0.0.1:5000?fec=7", "'fec=7' is no option; " + OPTIONS},
        {SENDING, "dcp.udp.pft://127.0.0.1:5000?fec=1&ttl=4", "'ttl=4' is no option; " + OPTIONS},
        {SENDING, "dcp.udp.pft://127.0.0.1:5000?crc=0&fec=1", "'fec=1' counts as the first option only"},
        {SENDING, "dcp.udp://127.0.0.1:5000?fec=1", "'fec=1' protects fragments, and without .pft there are none"},
    };
    for (const auto& lCase : CASES) {
        ToolEndpoint lEndpoint(lCase.mDirection, 0);
        std::string lError;
        EXPECT_EQ(STATUS_USAGE, OpenEndpoint(lEndpoint, lCase.mAddress, Protocol::MDI, 0, &lError)) << lCase.mAddress;
        EXPECT_TRUE(lError.ends_with(lCase.mError)) << lError;
    }
}

void TakeSignals() {
    platform::CatchInterrupts();
    for (const int lSignal : {SIGTERM, SIGTERM, SIGINT, SIGHUP})
        std::raise(lSignal);
    if (!platform::Interrupted())
        std::_Exit(1);
    platform::Sleep(2100);
    std::raise(SIGTERM);
    std::_Exit(2);
}

TEST(InterruptDeathTest, ASignalCountsOnceInTwoSeconds) {
    EXPECT_EXIT(TakeSignals(), testing::KilledBySignal(SIGTERM), "");
}

}  // namespace
