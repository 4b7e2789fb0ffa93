// Runs the built tools as their users do: on recordings, sound and damaged, and on what cannot work.

#include <csignal>
#include <filesystem>
#include <functional>

#include "Networking/FileLayer.h"
#include "tests/system/ToolsFixture.h"

namespace {

// What a dump leaves when it is quiet.
std::string WithoutSoundUnits(const std::string& aDump) {
    std::istringstream lStream(aDump);
    std::string lRest;
    for (std::string lLine; std::getline(lStream, lLine);) {
        const bool lUnit = lLine.starts_with("dlfc ") || lLine.starts_with("{\"type\":\"unit\"");
        lRest += lUnit && !Contains(lLine, "! ") && !Contains(lLine, "\"faults\":[\"") ? "" : lLine + "\n";
    }
    return lRest;
}

class ToolsSystemTest : public ToolsFixture {
protected:
    // The dump names one fault, if any, and says with its exit code whether the player will play everything.
    static void ExpectDump(const std::string& aBytes, const std::string& aFault, bool aSound) {
        WriteFile("rec.mdi", aBytes);
        EXPECT_EQ(aSound ? 0 : 1, Dump("dcp.file.pft:rec.mdi:0:0"));
        const std::string lText = ReadFile("console");
        EXPECT_TRUE(Contains(lText, aSound ? "\nThe recording is sound.\n" : "\nThe recording is NOT sound.\n"));
        EXPECT_TRUE(Contains(lText, aFault)) << lText;
        EXPECT_EQ(!aFault.empty(), Contains(lText, "! ")) << lText;
        EXPECT_EQ("", ReadFile("errors"));
        EXPECT_EQ(aSound ? 0 : 1, Dump("--json dcp.file.pft:rec.mdi:0:0"));
        EXPECT_TRUE(Contains(ReadFile("console"), aSound ? ",\"sound\":true}\n" : ",\"sound\":false}\n"));
        ExpectObjects("console");
        for (const char* const lpForm : {"", "--json "}) {
            Dump(lpForm + "dcp.file.pft:rec.mdi:0:0"s);
            const std::string lRest = WithoutSoundUnits(ReadFile("console"));
            Dump(lpForm + "--quiet dcp.file.pft:rec.mdi:0:0"s);
            EXPECT_EQ(lRest, ReadFile("console"));
        }
    }
};

TEST_F(ToolsSystemTest, DumpFindsWhatIsWrongWithUnits) {
    struct {
        const char* mFault;
        bool mSound;
        std::function<void(Units&)> mPlant;
    } const CASES[] = {
        {"", true, [](Units&) {}},
        {"item missing (robm)", false, [](Units& aUnits) { aUnits[1].erase(ValueOf(aUnits[1], "robm") - 8, 9); }},
        {"item length wrong (dlfc)", false, [](Units& aUnits) { --aUnits[1][ValueOf(aUnits[1], "dlfc") - 1]; }},
        {"FAC CRC wrong", false, [](Units& aUnits) { aUnits[1][ValueOf(aUnits[1], "fac_") + 4] ^= 1; }},
        {"out of super-frame order (the player leaves it out)", false,
         [](Units& aUnits) {
             const size_t lFac = ValueOf(aUnits[1], "fac_");
             aUnits[1].replace(lFac, 9, aUnits[2], ValueOf(aUnits[2], "fac_"), 9);
         }},
        {"ends inside a super frame", false, [](Units& aUnits) { aUnits.pop_back(); }},
        {"3 x units lost (from dlfc 3 on)", false,
         [](Units& aUnits) { aUnits.erase(aUnits.begin() + 3, aUnits.begin() + 6); }},
        {"TAG items damaged (record 2)", false, [](Units& aUnits) { aUnits[1] += "abc"; }},
        {"not an MDI unit (protocol 'D\\x1B[H', record 2)", false,
         [](Units& aUnits) { aUnits[1].replace(aUnits[1].find("DMDI"), 4, "D\x1B[H"); }},
        {"dlfc jumps (5000, not 3)", true,
         [](Units& aUnits) {
             for (uint32_t lIndex = 3; lIndex < aUnits.size(); ++lIndex)
                 aUnits[lIndex] = WithDlfc(aUnits[lIndex], 5000 + lIndex - 3);
         }},
        {"DRM mode changes (C,", true,
         [](Units& aUnits) {
             for (size_t lIndex = 3; lIndex < aUnits.size(); ++lIndex)
                 aUnits[lIndex][ValueOf(aUnits[lIndex], "robm")] = 2;
         }},
        {"no unit", false, [](Units& aUnits) { aUnits.clear(); }},
    };
    for (const bool lPft : {false, true}) {
        for (const auto& lCase : CASES) {
            SCOPED_TRACE(lCase.mFault + (lPft ? " in PFT"s : " in AF"s));
            Units lUnits = MakeUnits(9);
            lCase.mPlant(lUnits);
            std::string lFault = lCase.mFault;
            if (lPft && lFault.empty())
                lFault = "first super frame left out at each repetition";
            if (lPft && Contains(lFault, "record 2"))
                lFault.replace(lFault.find("record 2"), 8, "record 8");  // the last fragment of the unit
            ExpectDump(RecordingOf(lUnits, lPft), lFault, lCase.mSound);
        }
    }
}

TEST_F(ToolsSystemTest, DumpFindsWhatIsWrongWithRecords) {
    using Recording = std::vector<std::string>;
    struct {
        const char* mFault;
        bool mPft;
        std::function<void(Recording&)> mPlant;
    } const CASES[] = {
        {"AF packet damaged (record 2)", false, [](Recording& aRecords) { aRecords[1].back() ^= 1; }},
        {"AF packet damaged (record 8)", true, [](Recording& aRecords) { aRecords[6].back() ^= 1; }},
        {"PFT header damaged", true, [](Recording& aRecords) { aRecords.back()[RECORD_HEADER_SIZE + 3] ^= 1; }},
        {"fragments missing", true, [](Recording& aRecords) { aRecords.pop_back(); }},
        {"fragments missing (record 1)", true, [](Recording& aRecords) { aRecords.erase(aRecords.begin()); }},
        {"record skipped (record 4)", false,
         [](Recording& aRecords) { aRecords.insert(aRecords.begin() + 3, "junk\0\0\1\0"s + std::string(32, 'x')); }},
        {"record skipped", false, [](Recording& aRecords) { aRecords[1].replace(24, 4, "pfaf"); }},
        {"record cut off (behind record 5)", false, [](Recording& aRecords) { aRecords[5].pop_back(); }},
        {"record cut off (behind record 5)", false, [](Recording& aRecords) { aRecords[5].resize(31); }},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mFault);
        Recording lRecords = Records(RecordingOf(MakeUnits(6), lCase.mPft));
        lCase.mPlant(lRecords);
        std::string lBytes;
        for (const std::string& lRecord : lRecords)
            lBytes += lRecord;
        ExpectDump(lBytes, lCase.mFault, false);
    }
    // So many damaged fragments make the player pause for minutes; the dump must not.
    std::string lBytes;
    for (int lCount = 0; lCount < 2000; ++lCount)
        lBytes += "fio_\0\0\0\xE0"s + "afpf\0\0\0\xA0PF\0\1\0\0\1\0\0\1abcdefghij"s;
    ExpectDump(lBytes, "2000 x PFT header damaged", false);
}

TEST_F(ToolsSystemTest, DumpShowsItemsWithoutControlCharacters) {
    Units lUnits = MakeUnits(3);
    lUnits[0] += "\x1B[\"\n\0\0\0\x08x"s;
    WriteFile("rec.mdi", RecordingOf(lUnits, false));
    EXPECT_EQ(0, Dump("--verbose dcp.file:rec.mdi:0:0 --units 1"));
    const std::string lText = ReadFile("console");
    EXPECT_TRUE(Contains(lText, "dlfc 0  frame 1/3 (identity 0)  1054 bytes  streams 655 218\n")) << lText;
    EXPECT_TRUE(Contains(lText, "\n    dlfc  32 bits  00000000\n")) << lText;
    EXPECT_TRUE(Contains(lText, "\n    \\x1B[\"\\x0A  8 bits  78\n")) << lText;
    EXPECT_FALSE(Contains(lText, "sound")) << "of a part";
    EXPECT_EQ(0, Dump("--verbose --json dcp.file:rec.mdi:0:0"));
    EXPECT_TRUE(Contains(ReadFile("console"), R"({"name":"\u001b[\"\n","bits":8,"start":"78"})"));
    EXPECT_EQ("", ReadFile("ERR_SYS.tra"));
}

TEST_F(ToolsSystemTest, RelayWarnsOfARecordingThatThePlayerRefuses) {
    const Units lUnits = MakeUnits(501);
    const std::string lWhole = RecordingOf(lUnits, false);
    ASSERT_GT(lWhole.size(), FILE_MAX_SIZE - 20000);  // and longer with PFT headers
    WriteFile("rec.mdi", lWhole);
    EXPECT_EQ(0, Relay("--fast dcp.file:rec.mdi:0:0 dcp.file.pft:out.mdi:999:0"));
    const std::string LONG = "longer than the 524288 bytes that the player takes without InputFileSizeLimit";
    EXPECT_EQ("dcp-relay: the recording is " + LONG + "\n", ReadFile("errors"));
    for (const auto& [lFile, lIsLong] : {std::pair("rec", false), {"out", true}}) {
        EXPECT_EQ(0, Dump("dcp.file.pft:"s + lFile + ".mdi:0:0"));  // long, but sound
        EXPECT_EQ(lIsLong, ReadFile("console").ends_with("The recording is sound.\nIt is " + LONG + ".\n"));
        EXPECT_EQ(0, Dump("--json dcp.file.pft:"s + lFile + ".mdi:0:0"));
        EXPECT_TRUE(Contains(ReadFile("console"), "\"longer_than_default_limit\":"s + (lIsLong ? "true" : "false")));
    }
}

TEST_F(ToolsSystemTest, NamesWrongUsageAndWhatFails) {
    WriteFile("rec.mdi", RecordingOf(MakeUnits(1), false));
    const std::string FROM = "dcp.file:rec.mdi:0:0 ";
    struct {
        std::string mCommand;
        int mExitCode;
        std::string mError;
    } const CASES[] = {
        {MDI_DUMP " dcp.udp.pft://any:5000?ttl=4", 2,
         "mdi-dump: dcp.udp.pft://any:5000?ttl=4: 'ttl=4' is no option; options are fec=0|1, crc=0|1, live=0|1"},
        {MDI_DUMP " --units=0 x", 2, "mdi-dump: -n,--units takes 1..., not '0'; see --help"},
        {MDI_DUMP " dcp.file.pft:none.mdi:0:0", 1, "mdi-dump: none.mdi cannot be read: No such file or directory"},
        {MDI_DUMP " --interface 99 dcp.udp.pft://any:5000", 2, "mdi-dump: there is no local interface number 99"},
        {MDI_DUMP " dcp.file:/dev/zero:0:0", 1, "mdi-dump: /dev/zero is no file"},
        {MDI_DUMP " a\x1B", 2,
         "mdi-dump: 'a\\x1B' is no DCP address; the recording of that name is dcp.file.pft:a\\x1B:0:0"},
        {DCP_RELAY " " + FROM + "out.mdi", 2,
         "dcp-relay: 'out.mdi' is no DCP address; the recording of that name is dcp.file.pft:out.mdi:9999:0"},
        {DCP_RELAY " " + FROM + "dcp.file:out.mdi:0:0", 2,
         "dcp-relay: dcp.file:out.mdi:0:0: the first number is the limit of the recording in units, for example 9999"},
        {DCP_RELAY " " + FROM + "dcp.file:./rec.mdi:9:0", 2, "dcp-relay: FROM and TO are the same file"},
        {DCP_RELAY " --renumber --protocol mci " + FROM + "x", 2, "dcp-relay: --renumber is for mdi only"},
        {DCP_RELAY " --start 2 " + FROM + "dcp.file:out.mdi:9:0", 2,
         "dcp-relay: --start 2 is beyond the beginning of the last super frame of FROM, which has 1 unit"},
        {DCP_RELAY " --loop 0 dcp.udp://any:5000 dcp.file:out.mdi:9:0", 2,
         "dcp-relay: --start and --loop are for files that hold recordings"},
        {DCP_RELAY " " + FROM + "dcp.file:none/out.mdi:9:0", 1,
         "dcp-relay: dcp.file:none/out.mdi:9:0: the file cannot be opened: No such file or directory"},
        {DCP_RELAY " " + FROM + "dcp.file:/dev/full:9:0", 1,
         "dcp-relay: /dev/full cannot be written: No space left on device"},
        {DCP_RELAY " " + FROM + "dcp.udp://127.255.255.255:5000", 1,
         "dcp-relay: dcp.udp://127.255.255.255:5000: the network gives no such socket: Permission denied"},
        {MDI_MAKE " none/x", 1, "mdi-make: cannot write none/x: No such file or directory"},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mCommand);
        EXPECT_EQ(lCase.mExitCode, RunTool(lCase.mCommand));
        EXPECT_EQ(lCase.mError + "\n", ReadFile("errors"));
    }
    EXPECT_FALSE(std::filesystem::exists("out.mdi"));  // nothing is begun before both addresses are good
    for (const std::string lTool : {MDI_DUMP, DCP_RELAY, MDI_MAKE}) {
        EXPECT_EQ(0, RunTool(lTool + " --version"));
        EXPECT_TRUE(Contains(ReadFile("console"), " " TESSAVOX_VERSION "\n"));
        EXPECT_EQ(0, RunTool(lTool + " --help"));
        EXPECT_EQ("", ReadFile("errors"));
    }
}

TEST_F(ToolsSystemTest, MakeLeavesNothingBehindWhenItFails) {
    WriteFile("old", "old");
    const auto lSmallFiles = [] {
        const rlimit LIMIT{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &LIMIT);
        std::signal(SIGXFSZ, SIG_IGN);
    };
    std::filesystem::create_symlink("/dev/full", "device");
    for (const char* const lpPath : {"new", "old"}) {
        EXPECT_EQ(1, Process({MDI_MAKE, lpPath}, "", lSmallFiles).ExitCode());
        EXPECT_EQ("mdi-make: cannot write "s + lpPath + ": File too large\n", ReadFile("errors"));
    }
    EXPECT_EQ("old", ReadFile("old"));
    EXPECT_EQ(1, RunTool(MDI_MAKE " device"));
    EXPECT_TRUE(std::filesystem::is_character_file("device"));
    EXPECT_EQ(4, std::distance(std::filesystem::directory_iterator("."), {})) << "old, device, console, errors";

    std::filesystem::create_symlink("old", "a:link");
    EXPECT_EQ(0, RunTool(MDI_MAKE " --frames=3 a:link"));
    EXPECT_TRUE(Contains(ReadFile("errors"), "warning: no DCP address can hold 'a:link'"));
    EXPECT_EQ(0, Dump("dcp.file:old:0:0"));
    EXPECT_TRUE(std::filesystem::is_symlink("a:link"));
}

TEST_F(ToolsSystemTest, StandardOutputMayFailOrGo) {
    WriteFile("rec.mdi", RecordingOf(MakeUnits(4), false));  // which last longer than a second
    const auto lFull = [] { dup2(open("/dev/full", O_WRONLY), 1); };
    const auto lGone = [] {
        int lPipe[2];
        dup2(pipe(lPipe) == 0 ? lPipe[1] : -1, 1);
        close(lPipe[0]);
    };
    const std::vector<std::string> DUMP{MDI_DUMP, "dcp.file:rec.mdi:0:0"};
    const std::vector<std::string> RELAY{DCP_RELAY, "-s1", "dcp.file:rec.mdi:0:0", "dcp.file:out.mdi:9:0"};
    const std::string FULL = ": standard output cannot be written: No space left on device\n";
    struct {
        std::vector<std::string> mWords;
        std::function<void()> mOutput;
        int mExitCode;
        std::string mError;
    } const CASES[] = {
        {DUMP, lGone, 1, ""},
        {DUMP, lFull, 1, "mdi-dump" + FULL},
        {RELAY, lGone, 0, ""},
        {RELAY, lFull, 1, "dcp-relay" + FULL},
    };
    for (const auto& lCase : CASES) {
        EXPECT_EQ(lCase.mExitCode, Process(lCase.mWords, "", lCase.mOutput).ExitCode()) << lCase.mError;
        EXPECT_EQ(lCase.mError, ReadFile("errors"));
    }
    EXPECT_EQ(ReadFile("rec.mdi"), ReadFile("out.mdi"));
}

TEST_F(ToolsSystemTest, DumpsANetworkUntilItIsStopped) {
    Units lUnits = MakeUnits(6);
    lUnits.erase(lUnits.begin() + 2);
    lUnits.erase(lUnits.begin());  // networks are met in the middle of a super frame
    WriteFile("rec.mdi", RecordingOf(lUnits, false));
    Process lDump({MDI_DUMP, "--json", "dcp.udp.pft://any:" + cPort}, ".dump");
    ASSERT_TRUE(Eventually([] { return PortIsBound(TestPort()); }));
    EXPECT_EQ(0, Relay("dcp.file:rec.mdi:0:0 dcp.udp.pft://127.0.0.1:" + cPort));
    ASSERT_TRUE(Eventually([] { return Contains(ReadFile("console.dump"), "\"unit\":4,"); }));
    lDump.Signal(SIGINT);
    EXPECT_EQ(0, lDump.ExitCode());
    ExpectObjects("console.dump");
    const std::string lText = ReadFile("console.dump");
    EXPECT_TRUE(Contains(lText, "\"faults\":[\"units lost (from dlfc 2 on)\",\"out of super-frame order\"]")) << lText;
    EXPECT_TRUE(Contains(lText, "{\"type\":\"summary\",\"units\":4,\"lost\":1,\"out_of_order\":0,")) << lText;
    EXPECT_TRUE(Contains(lText, "\"drm_mode\":\"B, 10 kHz, SDC 16-QAM, MSC 64-QAM, long interleaving\"")) << lText;
    EXPECT_TRUE(Contains(lText, "\"faults\":{\"out of super-frame order\":1,\"units lost\":1}}\n")) << lText;
}

}  // namespace
