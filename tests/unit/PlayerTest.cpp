#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Networking/Receiver/FrameGrid.h"
#include "Networking/Receiver/ModeReport.h"
#include "Networking/Receiver/OptionalSettings.h"
#include "Networking/Receiver/Pacer.h"
#include "Networking/Receiver/SenderCodes.h"
#include "Networking/SuperFrameOrder.h"
#include "tests/unit/TestSupport.h"

namespace {

TEST(SuperFrameOrderTest, KeepsTheOrder) {
    struct {
        const char* mIdentities;
        const char* mAccepted;
    } const CASES[] = {{"012012", "yyyyyy"},   {"312012", "yyyyyy"}, {"120120", "nnyyyy"},
                       {"0101201", "yynnyyy"}, {"00312", "ynnyy"},   {"222111", "nnnnnn"}};
    for (const auto& lCase : CASES) {
        SuperFrameOrder lOrder;
        std::string lAccepted;
        for (const char* lpIdentity = lCase.mIdentities; *lpIdentity != '\0'; ++lpIdentity)
            lAccepted += lOrder.Accept(*lpIdentity - '0') ? 'y' : 'n';
        EXPECT_EQ(lCase.mAccepted, lAccepted) << lCase.mIdentities;
        EXPECT_EQ(std::count(lAccepted.begin(), lAccepted.end(), 'y') % 3 == 0, lOrder.AtBoundary());
    }
}

// Each wait begins where the pass before ended: its tick, its wait and what the pass itself took.
TEST(PacerTest, TwoIntervalsMakeTwoFrames) {
    struct {
        std::vector<uint32_t> mWork;  // milliseconds of each pass after the first
        std::vector<uint32_t> mWaits;
    } const CASES[] = {{{0, 0, 0}, {400, 400, 400, 400}},          {{50, 50, 50, 50}, {400, 350, 400, 350, 400}},
                       {{0, 30, 0, 0}, {400, 400, 370, 430, 370}}, {{500, 0, 0}, {400, 0, 400, 400}},
                       {{2200000000, 0, 0}, {400, 0, 400, 400}},  // stopped for 25 days
                       {{6000, 0, 0, 0}, {400, 0, 400, 400, 400}}};
    for (const uint32_t lStart : {1u, 0u, 0xFFFFFF00u}) {
        for (const auto& lCase : CASES) {
            Pacer lPacer;
            uint32_t lNow = lStart;
            for (size_t lPass = 0; lPass < lCase.mWaits.size(); ++lPass) {
                const uint32_t lWait = lPacer.NextWait(lNow);
                EXPECT_EQ(lCase.mWaits[lPass], lWait) << lPass;
                lNow += lWait + (lPass < lCase.mWork.size() ? lCase.mWork[lPass] : 0);
            }
        }
    }
}

TEST(FrameGridTest, ALateUnitDoesNotMoveTheNext) {
    constexpr uint64_t START = 123'456'789;  // nanoseconds
    struct {
        uint32_t mReady, mGoesOut;  // milliseconds since the first unit
    } const UNITS[] = {{0, 0},       {10, 400},    {809, 809},   {810, 1200},  {2000, 2000}, {2001, 2001},
                       {2002, 2400}, {3201, 3201}, {3202, 3601}, {9000, 9000}, {9001, 9400}};
    FrameGrid lGrid;
    for (const auto& lUnit : UNITS) {
        const uint64_t lTime = std::max(START + lUnit.mReady * uint64_t{1'000'000}, lGrid.NextDue());
        EXPECT_EQ(START + lUnit.mGoesOut * uint64_t{1'000'000}, lTime) << lUnit.mReady;
        lGrid.TakePlace(lTime);
    }
}

TEST(ModeReportTest, NamesEveryMode) {
    const auto lReport = [](int aOccupancy, int aRobustness, int aMSC, bool aSDCIs4QAM, bool aShort) {
        const unsigned char lFac[MDI_FAC_SIZE] = {
            static_cast<unsigned char>(0xE0 | aOccupancy << 1 | (aShort ? 1 : 0)),
            static_cast<unsigned char>(aMSC << 6 | (aSDCIs4QAM ? 0x20 : 0) | 0x1F)};
        return ModeReport(ParseFac(lFac), static_cast<unsigned char>(aRobustness));
    };
    EXPECT_EQ(
        "DRM Mode:\n\tSpectrum Occupancy => 10KHz\n\tRobustness Mode => B\n\tSDC Mode => 16QAM\n"
        "\tMSC Mode => 64QAM (standard)\n\tTime Interleaving => Long (2s)\n\n",
        lReport(3, 1, 0, false, false));
    EXPECT_EQ(
        "DRM Mode:\n\tSpectrum Occupancy => 20KHz\n\tRobustness Mode => D\n\tSDC Mode => 4QAM\n"
        "\tMSC Mode => 16QAM (standard)\n\tTime Interleaving => Short (400ms)\n\n",
        lReport(15, 200, 3, true, true));
    const char* const OCCUPANCIES[] = {"4.5KHz", "5KHz", "9KHz", "10KHz", "18KHz", "20KHz", "20KHz"};
    for (int lCode = 0; lCode < 7; ++lCode)
        EXPECT_NE(std::string::npos, lReport(lCode, 0, 0, false, false).find(std::string(" => ") + OCCUPANCIES[lCode]));
    EXPECT_NE(std::string::npos, lReport(0, 0, 1, false, false).find("=> Hierarchic on I\n"));
    EXPECT_NE(std::string::npos, lReport(0, 2, 2, false, false).find("=> C\n"));
    EXPECT_NE(std::string::npos, lReport(0, 0, 2, false, false).find("=> Hierarchic on I and Q\n"));
}

TEST(SenderCodesTest, TellsBeginningChangeAndEnd) {
    EXPECT_EQ("DRM Sender Error 12\nDRM Sender Error 9\nDRM Sender Error 9 has ended\nDRM Sender Error 9\n",
              Printed([] {
                  SenderCodes lCodes;
                  for (const uint32_t lCode : {0u, 0u, 12u, 12u, 0u, 12u, 9u, 9u, 0u, 9u, 0u, 0u, 0u, 9u, 0u})
                      lCodes.Note(lCode);
              }));
}

platform::IniSection Section(const std::string& aLines) {
    const TestDirectory lDirectory;
    std::ofstream("ini") << "[Settings]\n" << aLines;
    return platform::IniSection("ini", "Settings");
}

TEST(OptionalSettingsTest, TakesNothingByHalves) {
    const std::string lInterface = "the name or the IPv4 address of an interface";
    struct {
        std::string mKey, mAccepted;
        std::vector<std::string> mGood, mBad;
    } const CASES[] = {
        {"Pacing", "relative or absolute", {"relative", "absolute", ""}, {"absolut", "absolute 1", "0"}},
        {"SendErrors", "end or continue", {"end", "continue", ""}, {"continued", "1"}},
        {"ProbeTries", "0 to 100", {"0", "100", ""}, {"-1", "101", "12x", "x", "1.0", "4294967297"}},
        {"Console", "full or quiet", {"full", "quiet", ""}, {"loud"}},
        {"DrmOutputProtection", "0 to 7", {"0", "7", ""}, {"8", "+1"}},
        {"DrmOutputInterface", lInterface, {"eth0", "10.0.0.1", ""}, {"10.0.0", "10.0.0.256", "10.0.0.1.", "1"}},
        {"DrmOutputTTL", "1 to 255", {"1", "255", ""}, {"0", "256"}},
        {"DrmOutputDSCP", "0 to 63", {"0", "63", ""}, {"64"}},
        {"MetricsFile", "the path of a file that can be written", {""}, {"none/file", "."}},
        {"InputFileSizeLimit",
         "524288 to 1099511627776",
         {"524288", "1099511627776", ""},
         {"524287", "1099511627777", "18446744073709551616"}},
    };
    PlayerSettings lSettings;
    for (const auto& lCase : CASES) {
        for (const std::string& lValue : lCase.mGood)
            EXPECT_TRUE(ReadOptionalSettings(Section(lCase.mKey + "=" + lValue), &lSettings)) << lValue;
        for (const std::string& lValue : lCase.mBad) {
            const std::string lLastKey = &lCase == std::end(CASES) - 1 ? "" : "InputFileSizeLimit=0\n";
            const auto lSection = Section(lLastKey + lCase.mKey + "=" + lValue);
            EXPECT_EQ("ERROR: " + lCase.mKey + " must be " + lCase.mAccepted + ", current value = " + lValue + "\n",
                      Printed([&] { EXPECT_FALSE(ReadOptionalSettings(lSection, &lSettings)); }));
        }
    }
}

TEST(OptionalSettingsTest, ListsWhatIsInForce) {
    PlayerSettings lSettings;
    lSettings.mInputFileName = "rec.mdi";
    lSettings.mDrmOutputAddress = "10.0.0.2";
    lSettings.mDrmOutputPort = 5000;
    EXPECT_EQ("", SettingsLine(Section("InputFileName=rec.mdi\nPacign=absolute\nPacing=\n"), lSettings));
    const auto lSection = Section("Pacign=x\nINPUTFILENAME=x\nprobetries=100\nconsole=quiet\nFoo=\npacign=y\n");
    EXPECT_TRUE(ReadOptionalSettings(lSection, &lSettings));
    EXPECT_TRUE(lSettings.mProbeTries == 100 && !lSettings.mAbsolutePacing);
    EXPECT_EQ(
        "Settings: InputFileName=rec.mdi, DrmOutputAddress=10.0.0.2, DrmOutputPort=5000, Pacing=relative, "
        "SendErrors=end, ProbeTries=100, Console=quiet, DrmOutputProtection=0, DrmOutputInterface=(the system's), "
        "DrmOutputTTL=(the system's), DrmOutputDSCP=0, MetricsFile=(none), InputFileSizeLimit=524288; unknown keys: "
        "Pacign, Foo\n",
        SettingsLine(lSection, lSettings));
}

}  // namespace
