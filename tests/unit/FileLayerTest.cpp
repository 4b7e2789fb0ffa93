#include "Networking/FileLayer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

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

std::string Record(const std::string& aPacket, bool aTime = true) {
    return Item("fio_", (aTime ? Item("time", "12345678") : "") + Item("afpf", aPacket));
}

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
    std::string Receive(int aCount) {
        std::string lAll;
        Packet lOut(0);
        while (aCount-- > 0) {
            uint32_t lTimeOut = 0;
            const uint32_t lResult = cLayer.Receive(&lOut, &lTimeOut, 0);
            EXPECT_EQ(lResult == 1 ? 0u : RETRY_DELAY, lTimeOut);
            lAll += lResult == 1 ? BytesOf(lOut).substr(0, 3)
                                 : std::to_string(lResult) + ":" + std::to_string(cLayer.GetError());
            lAll += " ";
        }
        return lAll;
    }

    uint32_t SendPacket(const std::string& aBytes) {
        Packet lPacket(static_cast<uint32_t>(aBytes.size()));
        lPacket.Write(lPacket.cCapacity, reinterpret_cast<const unsigned char*>(aBytes.data()));
        return cLayer.Send(&lPacket);
    }

    static constexpr uint32_t RETRY_DELAY = 800;
    const TestDirectory cDirectory;
    FileLayer cLayer;
};

TEST_F(FileLayerTest, PlaysWhatItCanAndNamesWhatItCannot) {
    const std::string lPadding(40, 'p');
    const std::string A = Record("AF1" + lPadding);
    const std::string B = Record("PF2" + lPadding, false);
    const std::string C = Record("AF3" + lPadding);
    const std::string TOO_SHORT = "MDI File is too short (31).\n";
    const char* const NO_PACKET = "MDI File doesn't contain at least one AF packet.\n";
    struct {
        std::string mName;
        std::string mFile;
        int mRequests;
        std::string mExpected;
        std::string mConsole;
    } const CASES[] = {
        {"both forms, in a loop", A + B + C, 5, "AF1 PF2 AF3 AF1 PF2 ", ""},
        {"foreign items and forms",
         Item("junk", lPadding) + A + Item("fio_", Item("else", lPadding)) + B +
             Item("fio_", Item("time", 32, "1234") + Item("afpf", lPadding)),
         3, "AF1 PF2 AF1 ", ""},
        {"unregistered packets", Record("XY" + lPadding) + A + Record("") + Record("A" + lPadding), 2, "AF1 AF1 ", ""},
        {"the largest packet", Record("AF4" + std::string(4965, 'x')) + A, 3, "AF4 AF1 AF4 ", ""},
        {"larger than that", Record("AF4" + std::string(4966, 'x')) + A, 2, "AF1 AF1 ", ""},
        {"nothing to deliver", Record("XY" + lPadding) + Record("YX" + lPadding), 2, "0:0 0:0 ", ""},
        {"cut in a later packet", A + C.substr(0, C.size() - 1), 3, "AF1 2:13 AF1 ", ""},
        {"cut in a later header", A + C.substr(0, 31), 2, "AF1 AF1 ", ""},
        {"cut in the first packet", A.substr(0, A.size() - 1), 1, "0:0 ", NO_PACKET},
        {"a header alone", A.substr(0, 32), 1, "0:0 ", NO_PACKET},
        {"31 bytes", A.substr(0, 31), 2, "0:0 0:0 ", TOO_SHORT + TOO_SHORT},
        {"0 bytes", "", 1, "0:0 ", "MDI File is too short (0).\n"},
        {"lengths beyond all bounds", A + Item("junk", 0xFFFFFFFF, lPadding) + C, 2, "AF1 AF1 ", ""},
        {"a packet beyond all bounds", A + Item("fio_", 96, Item("afpf", 0xFFFFFFFF, lPadding)) + C, 2, "AF1 AF1 ", ""},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mName);
        WriteFile(lCase.mFile);
        ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
        testing::internal::CaptureStdout();
        EXPECT_EQ(lCase.mExpected, Receive(lCase.mRequests));
        EXPECT_EQ(lCase.mConsole, testing::internal::GetCapturedStdout());
    }
}

TEST_F(FileLayerTest, ReadsARecordingOnceAndNamesItsFaults) {
    const std::string lPadding(40, 'p');
    const std::string A = Record("AF1" + lPadding);
    const std::string B = Record("PF2" + lPadding, false);
    const std::string JUNK = Item("junk", lPadding);
    struct {
        std::string mFile;
        std::string mPackets;
        uint32_t mSkipped;
        bool mCutOff;
    } const CASES[] = {
        {A + B, "AF1 PF2 ", 0, false},
        {JUNK + A + Record("XY" + lPadding) + B + Item("junk", 0xFFFFFFFF, ""), "AF1 PF2 ", 2, true},
        {Record(std::string(4969, 'A')) + A + Item("junk", 0xFFFFFFFF, lPadding), "AF1 ", 2, false},
        {A + B.substr(0, 40), "AF1 ", 0, true},
        {A + B.substr(0, 31), "AF1 ", 0, true},
        {A.substr(0, 40), "", 0, true},
        {A.substr(0, 31), "", 0, true},
        {"", "", 0, false},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mFile.substr(0, 50));
        WriteFile(lCase.mFile);
        ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
        cLayer.ciOnePass = true;
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
        EXPECT_EQ(lCase.mPackets, lPackets);
        EXPECT_EQ(lCase.mSkipped, cLayer.ciSkippedRecords);
        EXPECT_EQ(lCase.mCutOff, cLayer.ciCutOff);
    }
}

TEST_F(FileLayerTest, OpensUpToItsLimit) {
    struct {
        size_t mSize;
        uint32_t mResult;
        const char* mConsole;
    } const CASES[] = {{524288, 1, ""}, {524289, 0, "MDI file size (524289) is too big.\n"}};
    for (const auto& lCase : CASES) {
        WriteFile(std::string(lCase.mSize, 'x'));
        testing::internal::CaptureStdout();
        EXPECT_EQ(lCase.mResult, cLayer.Open("rec.mdi", false, 0));
        EXPECT_EQ(lCase.mConsole, testing::internal::GetCapturedStdout());
        EXPECT_EQ(lCase.mResult == 1 ? 0u : FILE_OPEN_FAILED, cLayer.GetError());
    }
    const std::string lLongPath = std::string(60, 'd') + "/" + std::string(60, 'f');
    testing::internal::CaptureStdout();
    EXPECT_EQ(0u, cLayer.Open(lLongPath.c_str(), false, 0));
    EXPECT_EQ("\n\tUnable to open MDI file\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(FILE_OPEN_FAILED, cLayer.GetError());
    std::filesystem::create_directory(std::string(60, 'd'));
    std::ofstream(lLongPath) << Record("AF1" + std::string(40, 'x'));
    EXPECT_EQ(1u, cLayer.Open(lLongPath.c_str(), false, 0));
    EXPECT_EQ("AF1 ", Receive(1));
}

TEST_F(FileLayerTest, SleepsTheDelayOnce) {
    WriteFile(Record("AF1" + std::string(40, 'x')));
    ASSERT_EQ(1u, cLayer.Open("rec.mdi", false, 0));
    Packet lOut(0);
    uint32_t lTimeOut = 60;
    const uint32_t lStart = platform::TickCount();
    EXPECT_EQ(1u, cLayer.Receive(&lOut, &lTimeOut, 0));
    EXPECT_GE(platform::TickCount() - lStart, 60u);
    EXPECT_EQ(0u, lTimeOut);
}

TEST_F(FileLayerTest, RecordsUntilTheLimitIsCounted) {
    const auto lFragment = [](int aSequence) {
        return std::string("PF") + '\0' + static_cast<char>(aSequence) + "rest";
    };
    const auto lPacket = [](int aSequence) {
        return std::string("AF\0\0\0\0\0", 7) + static_cast<char>(aSequence) + "rest";
    };
    ASSERT_EQ(1u, cLayer.Open("rec.mdi", true, 3));
    EXPECT_EQ(1u, SendPacket(lFragment(7)));
    EXPECT_EQ(1u, SendPacket(lFragment(7)));
    EXPECT_EQ(1u, SendPacket(lPacket(8)));
    EXPECT_EQ(0u, SendPacket(std::string(4969, 'P')));
    EXPECT_EQ(LAYER_PACKET_TOO_BIG, cLayer.GetError());
    for (int lCount = 0; lCount < 2; ++lCount) {
        EXPECT_EQ(0u, SendPacket(lPacket(9)));
        EXPECT_EQ(FILE_END, cLayer.GetError());
    }
    const auto lRecord = [](const std::string& aTime, const std::string& aPacket) {
        return Item("fio_", Item("time", aTime) + Item("afpf", aPacket));
    };
    const std::string lFirst("\0\0\0\0\x17\xD7\x84\0", 8);   // 0 s, 400,000,000 ns
    const std::string lSecond("\0\0\0\0\x2F\xAF\x08\0", 8);  // 0 s, 800,000,000 ns
    EXPECT_EQ(lRecord(lFirst, lFragment(7)) + lRecord(lFirst, lFragment(7)) + lRecord(lSecond, lPacket(8)),
              ReadFile("rec.mdi"));

    ASSERT_EQ(1u, cLayer.Open("rec.mdi", true, 3));
    EXPECT_EQ(1u, SendPacket(lPacket(9)));  // the number last recorded: not counted again
    EXPECT_EQ(lRecord(std::string(8, '\0'), lPacket(9)), ReadFile("rec.mdi"));
    cLayer.Close();
    EXPECT_EQ(0u, SendPacket(lPacket(9)));
    EXPECT_EQ(FILE_WRITE_FAILED, cLayer.GetError());
}

TEST_F(FileLayerTest, AFullDiskShowsAtOnce) {
    ASSERT_EQ(1u, cLayer.Open("/dev/full", true, 3));
    EXPECT_EQ(0u, SendPacket("AF123456"));
    EXPECT_EQ(FILE_WRITE_FAILED, cLayer.GetError());
}

}  // namespace
