#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tools/MakeRecording.h"

// What a recording holds is built or taken apart here with code that shares nothing with what made it.
namespace {

using namespace std::string_literals;
using Bytes = std::string;

// aCount bits from bit aFirst on; bit 0 is the most significant of the first byte.
uint32_t Bits(const Bytes& aBytes, size_t aFirst, size_t aCount) {
    uint32_t lValue = 0;
    for (size_t lBit = aFirst; lBit < aFirst + aCount; ++lBit)
        lValue = lValue << 1 | (static_cast<unsigned char>(aBytes.at(lBit / 8)) >> (7 - lBit % 8) & 1u);
    return lValue;
}

// A number in so many bytes, the most significant first.
Bytes Wire(size_t aValue, size_t aSize) {
    Bytes lBytes(aSize, '\0');
    for (size_t lIndex = aSize; lIndex-- > 0; aValue >>= 8)
        lBytes[lIndex] = static_cast<char>(aValue & 0xFF);
    return lBytes;
}

// aBytes and their CRC of aSize bytes: the complement of a register that starts with all ones.
Bytes WithCrc(const Bytes& aBytes, size_t aSize, uint32_t aPolynomial) {
    uint32_t lRegister = UINT32_MAX;
    for (size_t lBit = 0; lBit < 8 * aBytes.size(); ++lBit) {
        const uint32_t lOut = lRegister >> (8 * aSize - 1) & 1;
        lRegister = lRegister << 1 ^ (lOut != Bits(aBytes, lBit, 1) ? aPolynomial : 0);
    }
    return aBytes + Wire(~lRegister, aSize);
}

// The recording that these arguments make, or nothing when this is the error.
Bytes Make(const std::string& aArguments, const std::string& aError = "") {
    std::istringstream lStream(aArguments);
    const std::vector<std::string> lWords(std::istream_iterator<std::string>(lStream), {});
    std::vector<const char*> lArguments{"mdi-make", "out.mdi"};
    for (const std::string& lWord : lWords)
        lArguments.push_back(lWord.c_str());
    MdiMakeOptions lOptions;
    CommandLine lLine("mdi-make", "");
    AddMdiMakeOptions(&lLine, &lOptions);
    EXPECT_EQ(std::nullopt, lLine.Read(static_cast<int>(lArguments.size()), lArguments.data())) << aArguments;
    Bytes lRecording;
    std::string lError;
    const auto lAppend = [&lRecording](const std::vector<unsigned char>& aFrame) {
        lRecording.append(aFrame.begin(), aFrame.end());
        return true;
    };
    const bool lMade = MakeRecording(lOptions, lAppend, &lError);
    EXPECT_EQ(aError, lMade ? "" : lError) << aArguments;
    return lRecording;
}

Bytes Record(const Bytes& aPacket, size_t aFrame, bool aTime) {
    const size_t lNanoseconds = 400 * aFrame % 1000 * 1'000'000;
    const Bytes lTime = "time" + Wire(64, 4) + Wire(400 * aFrame / 1000, 4) + Wire(lNanoseconds, 4);
    const Bytes lRest = (aTime ? lTime : "") + "afpf" + Wire(8 * aPacket.size(), 4) + aPacket;
    return "fio_" + Wire(8 * lRest.size(), 4) + lRest;
}

using Frame = std::map<std::string, Bytes>;

// The items of each frame in a recording of AF packets, and as "AF" its packet; all else is checked here.
std::vector<Frame> Frames(const std::string& aArguments, size_t aFirstSequence = 0) {
    const Bytes lFile = Make(aArguments);
    std::vector<Frame> lFrames;
    for (size_t lAt = 0; lAt < lFile.size();) {
        const Bytes lUnit = lFile.substr(lAt + 42, Bits(lFile, 8 * (lAt + 34), 32));  // behind record and AF header
        const Bytes lHeader = "AF" + Wire(lUnit.size(), 4) + Wire(aFirstSequence + lFrames.size(), 2) + "\x90T";
        Frame lFrame{{"AF", WithCrc(lHeader + lUnit, 2, 0x1021)}};
        const Bytes lRecord = Record(lFrame["AF"], lFrames.size(), true);
        EXPECT_EQ(lRecord, lFile.substr(lAt, lRecord.size())) << aArguments << ", frame " << lFrames.size();
        lAt += lRecord.size();
        for (size_t lItem = 0, lSize = 0; lItem < lUnit.size(); lItem += 8 + lSize) {
            lSize = Bits(lUnit, 8 * lItem + 32, 32) / 8;
            EXPECT_LE(lItem + 8 + lSize, lUnit.size());
            lFrame[lUnit.substr(lItem, 4)] = lUnit.substr(lItem + 8, lSize);
        }
        lFrames.push_back(lFrame);
    }
    return lFrames;
}

}  // namespace

TEST(MdiMakeTest, EveryFrameIsAWholeUnitInSuperFrameOrder) {
    for (const size_t lFirst : {0u, 1u, 2u, 3u}) {
        auto lFrames = Frames("--frames=260 --streams=500,340 --first-identity=" + std::to_string(lFirst));
        ASSERT_EQ(260u, lFrames.size());
        for (size_t lCount = 0; lCount < 260; ++lCount) {
            SCOPED_TRACE(testing::Message() << "first " << lFirst << ", frame " << lCount);
            Frame& lFrame = lFrames[lCount];
            const size_t lIdentity = lCount == 0 ? lFirst : (lCount + lFirst) % 3;
            EXPECT_EQ(lIdentity, Bits(lFrame["fac_"], 1, 2));
            EXPECT_EQ(lIdentity % 3 == 0, lFrame.contains("sdc_"));
            EXPECT_EQ(Wire(lCount, 4), lFrame["dlfc"]);
            EXPECT_EQ("DMDI\0\0\0\0"s, lFrame["*ptr"]);
            EXPECT_EQ(500u, lFrame["str0"].size());
            EXPECT_EQ(340u, lFrame["str1"].size());
            EXPECT_NE(lFrame["str0"][0], lFrame["str1"][0]);
        }
        for (const size_t lOther : {1u, 256u})
            EXPECT_NE(lFrames[0]["str0"], lFrames[lOther]["str0"]) << lOther;
    }
}

// Sizes of SDC fields and of streams that just fit, or just do not, into a protection level.
TEST(MdiMakeTest, FacAndSdcDescribeTheChannel) {
    const struct {
        const char* mArguments;
        size_t mFields;  // of the FAC: occupancy (4 bits), interleaving (1), MSC mode (2), SDC mode (1), services (4)
        size_t mRobustness, mSdcData, mLevel, mHierarchicalLevel;  // SDC data in bytes
    } CASES[] = {
        {"--streams=873", 0b0011'0'00'0'0100, 1, 76, 0, 0},
        {"--streams=874", 0b0011'0'00'0'0100, 1, 76, 1, 0},
        {"--streams=600,448", 0b0011'0'00'0'1000, 1, 76, 1, 0},
        {"--streams=1048,1", 0b0011'0'00'0'1000, 1, 76, 2, 0},
        {"--mode=A --occupancy=4.5 --msc-mode=16 --streams=313", 0b0000'0'11'0'0100, 0, 37, 0, 0},
        {"--mode=A --occupancy=0 --msc-mode=16 --streams=314", 0b0000'0'11'0'0100, 0, 37, 1, 0},
        {"--mode C --msc-mode 16 --streams 9,9,9,9", 0b0011'0'11'0'0000, 2, 68, 0, 0},
        {"--mode=D --sdc-mode=4", 0b0011'0'00'1'1000, 3, 15, 0, 0},
        {"--mode=D --occupancy=20 --interleaving=short", 0b0101'1'00'0'1000, 3, 78, 0, 0},
        {"--occupancy=5kHz --msc-mode=hmmix --streams=9,9,9", 0b0001'0'01'0'1100, 1, 33, 0, 0},
        {"--msc-mode=hmsym --streams=291,524", 0b0011'0'10'0'1000, 1, 76, 0, 0},
        {"--msc-mode=hmsym --streams=292,525", 0b0011'0'10'0'1000, 1, 76, 1, 1},
        {"--msc-mode=hmmix --streams=145,697", 0b0011'0'01'0'1000, 1, 76, 0, 0},
        {"--msc-mode=hmmix --streams=193,698", 0b0011'0'01'0'1000, 1, 76, 1, 3},
    };
    for (const auto& lCase : CASES) {
        SCOPED_TRACE(lCase.mArguments);
        auto lFrames = Frames("--frames=5 "s + lCase.mArguments);
        const size_t lStreams = lFrames[0].size() - 7;
        for (size_t lCount = 0; lCount < 5; ++lCount) {
            const size_t lService = lCount % lStreams;
            const size_t lParameters =
                (0xE1D000 + lService) << 20 | lService << 18 | 5 << 13 | 1 << 7;  // English, news
            const Bytes lFac = Wire(lCount % 3 << 61 | lCase.mFields << 49 | lParameters, 8);
            EXPECT_EQ(WithCrc(lFac, 1, 0x1D), lFrames[lCount]["fac_"]);
            EXPECT_EQ(Wire(lCase.mRobustness, 1), lFrames[lCount]["robm"]);
        }
        Bytes lDescription = Wire(lCase.mLevel, 1);
        for (size_t lStream = 0; lStream < lStreams; ++lStream) {
            const size_t lSize = lFrames[0]["str" + std::to_string(lStream)].size();
            lDescription += Wire((lStream == 0 ? lCase.mHierarchicalLevel << 22 : 0) | lSize, 3);
        }
        EXPECT_EQ(lDescription, lFrames[0]["sdci"]);
        const Bytes& lSdc = lFrames[0]["sdc_"];
        EXPECT_EQ(WithCrc(lSdc.substr(0, 1 + lCase.mSdcData), 2, 0x1021), lSdc);
        EXPECT_EQ(Wire(6 * lStreams, 1) + lDescription, lSdc.substr(1, 1 + lDescription.size()));  // entity of type 0
    }
}

// With four services and the shortest blocks that hold their description.
TEST(MdiMakeTest, SdcEntitiesGoRoundOverSuperFrames) {
    auto lFrames = Frames("--occupancy=1 --sdc-mode=4 --streams=20,30,40,50 --frames=48");
    for (size_t lBlock = 0; lBlock < 16; ++lBlock) {
        Bytes lEntities = "\x18\0\0\0\x14\0\0\x1E\0\0\x28\0\0\x32\0"s;
        if (lBlock % 5 != 0) {
            const size_t lService = lBlock % 5 - 1;
            const Bytes lAudio = "\4" + Wire(0x90 | lService << 2 | lService, 1) + "\3\0"s;  // AAC, 24 kHz
            lEntities = lAudio + "\x12" + Wire(0x10 | lService << 2, 1) + "Service " + std::to_string(lService + 1);
        }
        EXPECT_EQ(WithCrc("\5" + lEntities, 2, 0x1021), lFrames.at(3 * lBlock)["sdc_"]) << lBlock;
    }
}

TEST(MdiMakeTest, CutsPacketsIntoFragments) {
    const std::string lArguments = "--frames=4 --streams=627 --first-sequence=65534 ";
    auto lFrames = Frames(lArguments, 65534);
    ASSERT_EQ(4u, lFrames.size());
    // As many pieces as there may be, a last piece of two bytes, and the longest fragments.
    for (const auto& [lSize, lTime] : {std::pair(10u, true), {711u, false}, {4954u, true}}) {
        Bytes lExpected;
        for (size_t lFrame = 0; lFrame < 4; ++lFrame) {
            const Bytes& lPacket = lFrames[lFrame]["AF"];  // 800 bytes with SDC, else 713
            const Bytes lCount = Wire((lPacket.size() + lSize - 1) / lSize, 3);
            for (size_t lIndex = 0; lIndex * lSize < lPacket.size(); ++lIndex) {
                const Bytes lPiece = lPacket.substr(lIndex * lSize, lSize);
                const Bytes lIds = Wire(65534 + lFrame, 2) + Wire(lIndex, 3);
                const Bytes lHeader = WithCrc("PF" + lIds + lCount + Wire(lPiece.size(), 2), 2, 0x1021);
                lExpected += Record(lHeader + lPiece, lFrame, lTime);
            }
        }
        const std::string lCut = "--packets=pft --fragment-size=" + std::to_string(lSize);
        EXPECT_EQ(lExpected, Make(lArguments + lCut + (lTime ? "" : " --no-time")));
    }
}

TEST(MdiMakeTest, RefusesStreamsOfAnotherForm) {
    for (const char* const lpStreams : {"1,", "0", "4096", "1,1,1,1,1"}) {
        const char* const ARGUMENTS[] = {"mdi-make", "out.mdi", "--streams", lpStreams};
        MdiMakeOptions lOptions;
        CommandLine lLine("mdi-make", "");
        AddMdiMakeOptions(&lLine, &lOptions);
        EXPECT_EQ(STATUS_USAGE, lLine.Read(4, ARGUMENTS)) << lpStreams;
    }
}

TEST(MdiMakeTest, RefusesWithAReason) {
    const std::pair<const char*, const char*> CASES[] = {
        {"--mode=C --occupancy=9", "robustness modes C and D have occupancies 3 and 5 (10 and 20 kHz) only"},
        {"--streams=700,700", "the streams would take 1400 bytes per frame; the channel carries 1372 at most"},
        {"--msc-mode=hmsym --streams=389",
         "the hierarchical stream 0 would take 389 bytes per frame; the channel carries 388 at most"},
        {"--occupancy=0 --sdc-mode=4 --streams=9,9,9,9",
         "the service description channel is too narrow to describe 4 streams"},
        {"--packets=pft --fragment-size=10 --streams=628",
         "fragments of 10 bytes cut a frame into 81 pieces; 80 can be put together again"},
        {"--packets=pft --streams=400 --fragment-size=286 --no-time",
         "fragments of 286 bytes end in a record that is too short to be found without its time"},
    };
    for (const auto& [lArguments, lError] : CASES)
        EXPECT_EQ("", Make(lArguments, lError));
}
