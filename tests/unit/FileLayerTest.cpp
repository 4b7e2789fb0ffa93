#include "Networking/FileLayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <string>
#include <tuple>

#include "Networking/RecordingStream.h"
#include "platform/Clock.h"
#include "tests/unit/FakeTransport.h"
#include "tests/unit/TestSupport.h"

namespace {

std::string Item(const std::string& aName, uint32_t aBits, const std::string& aValue) {
    std::string lItem = aName;
    for (const int lShift : {24, 16, 8, 0})
        lItem += static_cast<char>(aBits >> lShift);
    return lItem + aValue;
}

std::string Item(const std::string& aName, const std::string& aValue) {
    return Item(aName, static_cast<uint32_t>(8 * aValue.size()), aValue);
}

std::string Record(const std::string& aPacket, const std::string& aTime = "12345678") {
    return Item("fio_", (aTime.empty() ? "" : Item("time", aTime)) + Item("afpf", aPacket));
}

const std::string PADDING(40, 'p');
const std::string A = Record("AF1" + PADDING);
const std::string B = Record("PF2" + PADDING, "");
const std::string C = Record("AF3" + PADDING);
const std::string FOREIGN = Record("XY" + PADDING);
const std::string JUNK = Item("junk", PADDING);

void WriteFile(const std::string& aBytes) {
    std::ofstream("rec.mdi", std::ios::binary) << aBytes;
}

class FileLayerTest : public testing::Test {
protected:
    FileLayerTest() {
        cLayer.RegisterTag("AF", nullptr);
        cLayer.RegisterTag("PF", nullptr);
    }

    // The first bytes of the packets that aCount requests give, or the result and code of a request that gave none.
    // Each request must do without the wait that the one before asked for.
    std::string Receive(std::ptrdiff_t aCount, size_t aBytes = 3) {
        std::string lAll;
        Packet lOut(0);
        while (aCount-- > 0) {
            uint32_t lTimeOut = 0;
            const uint32_t lResult = cLayer.Receive(&lOut, &lTimeOut, 0);
            EXPECT_EQ(lResult == 1 ? 0u : RETRY_DELAY, lTimeOut);
            lAll += lResult == 1 ? BytesOf(lOut).substr(0, aBytes)
                                 : std::to_string(lResult) + ":" + std::to_string(cLayer.GetError());
            lAll += " ";
        }
        return lAll;
    }

    // Opens rec.mdi to be played from memory, or through the smallest buffer there may be.
    void Play(bool aStreamed) {
        if (!aStreamed) {
            ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
            return;
        }
        platform::FilePointer lFile(std::fopen("rec.mdi", "rb"));
        ASSERT_EQ(1u, cLayer.Open(std::make_unique<RecordingStream>("rec.mdi", std::move(lFile), RECORDING_MAX_VIEW)));
    }

    uint32_t SendPacket(const std::string& aBytes) {
        TextPacket lPacket(aBytes);
        return cLayer.Send(&lPacket);
    }

    // Result, code and console of an Open to read.
    std::string Opened(const std::string& aPath) {
        uint32_t lResult = 0;
        const std::string lConsole = Printed([&] { lResult = cLayer.Open(aPath.c_str(), false, 0); });
        return std::to_string(lResult) + ":" + std::to_string(cLayer.GetError()) + lConsole;
    }

    static constexpr uint32_t RETRY_DELAY = 800;
    const TestDirectory cDirectory;
    FileLayer cLayer;
};

TEST_F(FileLayerTest, PlaysWhatItCanAndNamesWhatItCannot) {
    const std::string TOO_SHORT = "MDI File is too short (31).\n";
    const char* const NO_PACKET = "MDI File doesn't contain at least one AF packet.\n";
    struct {
        const char* mName;
        std::string mFile, mExpected, mConsole = "";
    } const CASES[] = {
        {"both forms, in a loop", A + B + C, "AF1 PF2 AF3 AF1 PF2 "},
        {"foreign items and forms",
         JUNK + A + Item("fio_", Item("else", PADDING)) + B +
             Item("fio_", Item("time", 32, "1234") + Item("afpf", PADDING)),
         "AF1 PF2 AF1 "},
        {"unregistered packets", FOREIGN + A + Record("") + Record("A" + PADDING), "AF1 AF1 "},
        {"the largest packet", Record("AF4" + std::string(4965, 'x')) + A, "AF4 AF1 AF4 "},
        {"larger than that", Record("AF4" + std::string(4966, 'x')) + A, "AF1 AF1 "},
        {"nothing to deliver", FOREIGN + Record("YX" + PADDING), "0:0 0:0 "},
        {"cut in a later packet", A + C.substr(0, C.size() - 1), "AF1 2:13 AF1 "},
        {"cut in a later header", A + C.substr(0, 31), "AF1 AF1 "},
        {"cut in the first packet", A.substr(0, A.size() - 1), "0:0 ", NO_PACKET},
        {"a header alone", A.substr(0, 32), "0:0 ", NO_PACKET},
        {"31 bytes", A.substr(0, 31), "0:0 0:0 ", TOO_SHORT + TOO_SHORT},
        {"0 bytes", "", "0:0 ", "MDI File is too short (0).\n"},
        {"lengths beyond all bounds", A + Item("junk", 0xFFFFFFFF, PADDING) + C, "AF1 AF1 "},
        {"a packet beyond all bounds", A + Item("fio_", 96, Item("afpf", 0xFFFFFFFF, PADDING)) + C, "AF1 AF1 "},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mName);
        WriteFile(lCase.mFile);
        const auto lRequests = std::count(lCase.mExpected.begin(), lCase.mExpected.end(), ' ');
        for (const bool lStreamed : {false, true}) {
            Play(lStreamed);
            EXPECT_EQ(lCase.mConsole, Printed([&] { EXPECT_EQ(lCase.mExpected, Receive(lRequests)); })) << lStreamed;
        }
    }
}

TEST_F(FileLayerTest, ReadsARecordingOnceAndNamesItsFaults) {
    // A file, its packets, how many records are skipped, and whether the end is cut off.
    const std::tuple<std::string, std::string, uint32_t, bool> CASES[] = {
        {A + B, "AF1 PF2 ", 0, false},
        {JUNK + A + FOREIGN + B + Item("junk", 0xFFFFFFFF, ""), "AF1 PF2 ", 2, true},
        {Record(std::string(4969, 'A')) + A + Item("junk", 0xFFFFFFFF, PADDING), "AF1 ", 2, false},
        {A + B.substr(0, 40), "AF1 ", 0, true},
        {A + B.substr(0, 31), "AF1 ", 0, true},
        {A.substr(0, 40), "", 0, true},
        {A.substr(0, 31), "", 0, true},
        {"", "", 0, false},
    };
    for (const auto& [lFile, lExpected, lSkipped, lCutOff] : CASES) {
        SCOPED_TRACE(lFile.substr(0, 50));
        WriteFile(lFile);
        cLayer.ciSettings.mOnePass = true;
        Play(lFile.size() % 2 == 0);
        EventCounts lEvents(cLayer);
        std::string lPackets;
        Packet lOut(0);
        uint32_t lTimeOut = 1u << 31;  // is not slept
        uint32_t lResult = 1;
        while ((lResult = cLayer.Receive(&lOut, &lTimeOut, 0)) == 1) {
            EXPECT_FALSE(cLayer.ciAtEnd);
            lPackets += BytesOf(lOut).substr(0, 3) + " ";
        }
        for (int lAgain = 0; lAgain < 2; ++lAgain) {
            EXPECT_EQ(2u, lResult);
            EXPECT_EQ(FILE_END, cLayer.GetError());
            EXPECT_EQ(0u, lTimeOut);
            EXPECT_TRUE(cLayer.ciAtEnd);
            lResult = cLayer.Receive(&lOut, &lTimeOut, 0);
        }
        EXPECT_EQ(lExpected, lPackets);
        EXPECT_EQ(lSkipped, lEvents.Get(StackEvent::RECORD_SKIPPED));
        EXPECT_EQ(lCutOff ? 1u : 0u, lEvents.Get(StackEvent::RECORDING_CUT_OFF));
        EXPECT_EQ(1u, lEvents.Get(StackEvent::PASS_ENDED));
    }
}

TEST_F(FileLayerTest, WaitsWhilePacketsLeadToNoUnit) {
    WriteFile(A);
    ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
    EventCounts lStack(cLayer);
    const auto lElapsed = [this](std::ptrdiff_t aRequests) {
        const uint32_t lStart = platform::TickCount();
        Receive(aRequests);
        return platform::TickCount() - lStart;
    };
    EXPECT_LT(lElapsed(200), 800u);
    EXPECT_GE(lElapsed(1), 800u);
    for (int lLine = 0; lLine < 4; ++lLine)
        lStack.cReporter.Report(StackEvent::FRAGMENT_DAMAGED);
    EXPECT_GE(lElapsed(1), 800u);
    lStack.cReporter.Report(StackEvent::UNIT_FILED);
    EXPECT_LT(lElapsed(2000), 800u);
}

TEST_F(FileLayerTest, OpensUpToItsLimit) {
    const std::string FAILED = "0:" + std::to_string(FILE_OPEN_FAILED);
    WriteFile(std::string(524288, 'x'));
    EXPECT_EQ("1:0", Opened("rec.mdi"));
    WriteFile(std::string(524289, 'x'));
    EXPECT_EQ(FAILED + "MDI file size (524289) is too big.\n", Opened("rec.mdi"));
    const std::string lLongPath = std::string(60, 'd') + "/" + std::string(60, 'f');
    EXPECT_EQ(FAILED + "\n\tUnable to open MDI file\n", Opened(lLongPath));
    std::filesystem::create_directory(std::string(60, 'd'));
    std::ofstream(lLongPath) << A;
    EXPECT_EQ("1:0", Opened(lLongPath));
    EXPECT_EQ("AF1 ", Receive(1));
}

TEST_F(FileLayerTest, StreamsWhatIsTooLongForMemory) {
    std::string lRecording;
    std::string lExpected;
    for (int lNumber = 100; lNumber < 1000; ++lNumber) {
        lRecording += Record("AF" + std::to_string(lNumber) + std::string(static_cast<size_t>(lNumber), 'x'));
        lExpected += "AF" + std::to_string(lNumber) + " ";
    }
    WriteFile(lRecording);
    cLayer.ciSettings.mFileSizeLimit = lRecording.size();
    ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
    EXPECT_EQ(lExpected + lExpected, Receive(1800, 5));
    std::ofstream("rec.mdi", std::ios::app) << A;  // is beyond the limit
    const std::string lTooBig = "MDI file size (" + std::to_string(lRecording.size() + A.size()) + ") is too big.\n";
    EXPECT_EQ(lTooBig, Printed([&] { EXPECT_EQ("0:10 ", Receive(1)); }));
}

TEST_F(FileLayerTest, PlaysAcrossAllOffsets) {
    const std::string lGap = Item("junk", 0xFFFFFFFF, "");  // 512 MiB
    std::ofstream lFile("rec.mdi", std::ios::binary);
    lFile << A;
    for (int lCount = 0; lCount < 9; ++lCount)
        lFile << lGap << std::flush && lFile.seekp(0x1FFFFFFF + 1, std::ios::cur);
    lFile << B << C << std::flush;
    cLayer.ciSettings.mFileSizeLimit = UINT64_MAX;
    ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
    EXPECT_EQ("AF1 PF2 AF3 AF1 PF2 ", Receive(5));
}

TEST_F(FileLayerTest, LosesAPassOfAFileThatChanges) {
    const std::string D = Record("AF4" + std::string(4965, 'x'));  // fills the buffer
    const auto lReplace = [](const std::string& aBytes) {
        std::filesystem::rename("rec.mdi", "old.mdi");
        WriteFile(aBytes);
    };
    const auto lTruncate = [](size_t aSize) { std::filesystem::resize_file("rec.mdi", aSize); };
    struct {
        const char* mName;
        std::function<void()> mChange;  // after A of A, D and B was played
        std::string mExpected;
        std::string mConsole;
        uint64_t mFailures;
    } const CASES[] = {
        {"cut between records", [&] { lTruncate(A.size()); }, "0:10 AF1 AF1 ",
         "MDI File cannot be read at byte " + std::to_string(A.size()) + ".\n", 1},
        {"cut in a packet", [&] { lTruncate(A.size() + 100); }, "0:10 AF1 2:13 ",
         "MDI File cannot be read at byte " + std::to_string(A.size()) + ".\n", 1},
        {"emptied", [&] { lTruncate(0); }, "0:10 0:0 0:0 ",
         "MDI File cannot be read at byte " + std::to_string(A.size()) +
             ".\nMDI File is too short (0).\nMDI File is too short (0).\n",
         1},
        {"appended to", [&] { std::ofstream("rec.mdi", std::ios::app) << C; }, "AF4 PF2 AF1 AF4 PF2 AF3 AF1 ", "", 0},
        {"written anew", [&] { WriteFile(B + D + A); }, "0:10 PF2 AF4 AF1 ",
         "MDI File cannot be read at byte " + std::to_string(A.size()) + ".\n", 1},
        {"replaced", [&] { lReplace(C + B); }, "AF4 PF2 AF3 PF2 AF3 ", "", 0},
        {"removed", [] { std::filesystem::remove("rec.mdi"); }, "AF4 PF2 AF1 AF4 PF2 ", "", 0},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mName);
        WriteFile(A + D + B);
        Play(true);
        EventCounts lEvents(cLayer);
        EXPECT_EQ("AF1 ", Receive(1));
        lCase.mChange();
        const auto lRequests = std::count(lCase.mExpected.begin(), lCase.mExpected.end(), ' ');
        EXPECT_EQ(lCase.mConsole, Printed([&] { EXPECT_EQ(lCase.mExpected, Receive(lRequests)); }));
        EXPECT_EQ(lCase.mFailures, lEvents.Get(StackEvent::RECORDING_FAILED));
    }
}

TEST_F(FileLayerTest, RecordsUntilTheLimitIsCounted) {
    const auto lFragment = [](int aSequence) {
        return std::string("PF") + '\0' + static_cast<char>(aSequence) + "rest";
    };
    const auto lPacket = [](int aSequence) {
        return std::string("AF\0\0\0\0\0", 7) + static_cast<char>(aSequence) + "rest";
    };
    ASSERT_EQ(1u, cLayer.Open("rec.mdi", true, 3));
    for (const std::string& lSent : {lFragment(7), lFragment(7), lPacket(8)})
        EXPECT_EQ(1u, SendPacket(lSent));
    EXPECT_EQ(LAYER_PACKET_TOO_BIG, CodeOf(cLayer, SendPacket(std::string(4969, 'P'))));
    for (int lCount = 0; lCount < 2; ++lCount)
        EXPECT_EQ(FILE_END, CodeOf(cLayer, SendPacket(lPacket(9))));
    const std::string lFirst("\0\0\0\0\x17\xD7\x84\0", 8);   // 0 s, 400,000,000 ns
    const std::string lSecond("\0\0\0\0\x2F\xAF\x08\0", 8);  // 0 s, 800,000,000 ns
    EXPECT_EQ(Record(lFragment(7), lFirst) + Record(lFragment(7), lFirst) + Record(lPacket(8), lSecond),
              ReadFile("rec.mdi"));

    ASSERT_EQ(1u, cLayer.Open("rec.mdi", true, 3));
    EXPECT_EQ(1u, SendPacket(lPacket(9)));  // the number last recorded: not counted again
    EXPECT_EQ(Record(lPacket(9), std::string(8, '\0')), ReadFile("rec.mdi"));
    cLayer.Close();
    EXPECT_EQ(FILE_WRITE_FAILED, CodeOf(cLayer, SendPacket(lPacket(9))));
}

}  // namespace
