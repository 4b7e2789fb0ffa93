#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tools/MakeRecording.h"

// Recordings are taken apart here with code that shares nothing with what made them.
namespace {

using Bytes = std::vector<unsigned char>;

// aCount bits from bit aFirst on; bit 0 is the most significant of the first byte.
uint32_t Bits(const Bytes& aBytes, size_t aFirst, size_t aCount) {
    uint32_t lValue = 0;
    for (size_t lBit = aFirst; lBit < aFirst + aCount; ++lBit) {
        lValue = lValue << 1 | (aBytes.at(lBit / 8) >> (7 - lBit % 8) & 1u);
    }
    return lValue;
}

uint32_t Number(const Bytes& aBytes, size_t aOffset) {
    return Bits(aBytes, 8 * aOffset, 32);
}

Bytes Part(const Bytes& aBytes, size_t aOffset, size_t aSize) {
    if (aOffset > aBytes.size() || aSize > aBytes.size() - aOffset) {
        ADD_FAILURE() << aSize << " bytes at " << aOffset << " of " << aBytes.size();
        return Bytes(aSize);
    }
    return Bytes(aBytes.begin() + static_cast<std::ptrdiff_t>(aOffset),
                 aBytes.begin() + static_cast<std::ptrdiff_t>(aOffset + aSize));
}

std::string Text(const Bytes& aBytes, size_t aOffset, size_t aSize) {
    const Bytes lPart = Part(aBytes, aOffset, aSize);
    return std::string(lPart.begin(), lPart.end());
}

// The complement of the register, which starts with all ones, after all but the last aWidth bits.
uint32_t Crc(const Bytes& aBytes, unsigned aWidth, uint32_t aPolynomial) {
    const uint32_t lMask = (1u << aWidth) - 1;
    uint32_t lRegister = lMask;
    for (size_t lBit = 0; lBit < 8 * aBytes.size() - aWidth; ++lBit) {
        const uint32_t lOut = lRegister >> (aWidth - 1) & 1;
        lRegister = (lRegister << 1 & lMask) ^ (lOut != Bits(aBytes, lBit, 1) ? aPolynomial : 0);
    }
    return ~lRegister & lMask;
}

void ExpectCrc(const Bytes& aBytes, unsigned aWidth, uint32_t aPolynomial) {
    EXPECT_EQ(Crc(aBytes, aWidth, aPolynomial), Bits(aBytes, 8 * aBytes.size() - aWidth, aWidth));
}

bool Make(const std::vector<std::string>& aArguments, Bytes* apRecording, std::string* apError) {
    MdiMakeOptions lOptions;
    return ParseOptions(aArguments, &lOptions, apError) && MakeRecording(lOptions, apRecording, apError);
}

Bytes MustMake(std::vector<std::string> aArguments) {
    aArguments.push_back("out.mdi");
    Bytes lRecording;
    std::string lError;
    EXPECT_TRUE(Make(aArguments, &lRecording, &lError)) << lError;
    return lRecording;
}

struct Record {
    uint64_t mMilliseconds;
    Bytes mPacket;
};

std::vector<Record> Records(const Bytes& aFile, bool aTime = true) {
    std::vector<Record> lRecords;
    const size_t lHeader = aTime ? 32 : 16;
    for (size_t lAt = 0; lAt < aFile.size();) {
        const size_t lSize = Number(aFile, lAt + lHeader - 4) / 8;
        EXPECT_EQ("fio_", Text(aFile, lAt, 4));
        EXPECT_EQ(8 * (lHeader - 8 + lSize), Number(aFile, lAt + 4));
        EXPECT_EQ("afpf", Text(aFile, lAt + lHeader - 8, 4));
        uint64_t lTime = 0;
        if (aTime) {
            EXPECT_EQ("time", Text(aFile, lAt + 8, 4));
            EXPECT_EQ(64u, Number(aFile, lAt + 12));
            lTime = Number(aFile, lAt + 16) * uint64_t{1000} + Number(aFile, lAt + 20) / 1'000'000;
        }
        lRecords.push_back({lTime, Part(aFile, lAt + lHeader, lSize)});
        lAt += lHeader + lSize;
    }
    return lRecords;
}

using Items = std::map<std::string, Bytes>;

// The items of the unit in an AF packet.
Items Unit(const Bytes& aPacket, uint32_t aSequence) {
    EXPECT_EQ("AF", Text(aPacket, 0, 2));
    EXPECT_EQ(aPacket.size() - 12, Number(aPacket, 2));
    EXPECT_EQ(aSequence, Bits(aPacket, 48, 16));
    EXPECT_EQ(0x9054u, Bits(aPacket, 64, 16));  // with CRC, version 1.0, 'T'
    ExpectCrc(aPacket, 16, 0x1021);
    Items lItems;
    for (size_t lAt = 10; lAt < aPacket.size() - 2;) {
        const size_t lSize = (Number(aPacket, lAt + 4) + 7) / 8;
        lItems[Text(aPacket, lAt, 4)] = Part(aPacket, lAt + 8, lSize);
        lAt += 8 + lSize;
    }
    return lItems;
}

std::vector<Items> Units(const Bytes& aFile) {
    std::vector<Items> lUnits;
    for (const Record& lRecord : Records(aFile)) {
        EXPECT_EQ(400 * lUnits.size(), lRecord.mMilliseconds);
        lUnits.push_back(Unit(lRecord.mPacket, static_cast<uint32_t>(lUnits.size())));
    }
    return lUnits;
}

}  // namespace

TEST(MdiMakeTest, EveryFrameIsAWholeUnitInSuperFrameOrder) {
    for (const uint32_t lFirst : {0u, 1u, 2u, 3u}) {
        const auto lUnits =
            Units(MustMake({"--frames=260", "--streams=500,340", "--first-identity", std::to_string(lFirst)}));
        ASSERT_EQ(260u, lUnits.size());
        for (uint32_t lFrame = 0; lFrame < 260; ++lFrame) {
            SCOPED_TRACE(testing::Message() << "first " << lFirst << ", frame " << lFrame);
            const Items& lUnit = lUnits[lFrame];
            const uint32_t lIdentity = lFrame == 0 ? lFirst : (lFrame + lFirst) % 3;
            EXPECT_EQ(lIdentity, Bits(lUnit.at("fac_"), 1, 2));
            EXPECT_EQ(lIdentity % 3 == 0, lUnit.contains("sdc_"));
            EXPECT_EQ(lFrame, Number(lUnit.at("dlfc"), 0));
            EXPECT_EQ(std::string("DMDI\0\0\0\0", 8), Text(lUnit.at("*ptr"), 0, 8));
            EXPECT_EQ(Bytes{1}, lUnit.at("robm"));
            EXPECT_EQ(500u, lUnit.at("str0").size());
            EXPECT_EQ(340u, lUnit.at("str1").size());
            EXPECT_NE(lUnit.at("str0")[0], lUnit.at("str1")[0]);
            EXPECT_FALSE(lUnit.contains("str2"));
            ExpectCrc(lUnit.at("fac_"), 8, 0x1D);
        }
        EXPECT_NE(lUnits[0].at("str0"), lUnits[1].at("str0"));
        EXPECT_NE(lUnits[0].at("str0"), lUnits[256].at("str0"));
    }
}

TEST(MdiMakeTest, FacTellsTheModeAndTheServicesInTurn) {
    struct {
        std::vector<std::string> mArguments;
        uint32_t mFields;  // occupancy (4 bits), interleaving (1), MSC mode (2), SDC mode (1), services (4)
        unsigned char mRobustness;
        uint32_t mServices;
    } const lCases[] = {
        {{"--mode=A", "--occupancy=4.5", "--streams=9"}, 0b0000'0'00'0'0100, 0, 1},
        {{"--occupancy=5kHz", "--msc-mode=hmmix", "--streams=9,9"}, 0b0001'0'01'0'1000, 1, 2},
        {{"--occupancy=5", "--msc-mode=hmsym", "--streams=9,9,9"}, 0b0101'0'10'0'1100, 1, 3},
        {{"--mode", "C", "--msc-mode", "16", "--streams", "9,9,9,9"}, 0b0011'0'11'0'0000, 2, 4},
        {{"--mode=D", "--occupancy=20", "--interleaving=short", "--sdc-mode=4"}, 0b0101'1'00'1'1000, 3, 2},
    };
    for (auto lCase : lCases) {
        lCase.mArguments.push_back("--frames=9");
        const auto lUnits = Units(MustMake(lCase.mArguments));
        SCOPED_TRACE(lCase.mArguments[0] + " " + lCase.mArguments[1]);
        for (uint32_t lFrame = 0; lFrame < 9; ++lFrame) {
            const Bytes& lFac = lUnits[lFrame].at("fac_");
            EXPECT_EQ(lCase.mFields, Bits(lFac, 3, 12));
            EXPECT_EQ(lFrame % lCase.mServices, Bits(lFac, 44, 2));  // short identifier
            EXPECT_EQ(0xE1D000 + lFrame % lCase.mServices, Bits(lFac, 20, 24));
            EXPECT_EQ(0u, Bits(lFac, 51, 1));  // audio
            EXPECT_EQ(Bytes{lCase.mRobustness}, lUnits[lFrame].at("robm"));
        }
    }
}

// Where the sizes of protected parts, SDC fields and stream sums meet their limits.
TEST(MdiMakeTest, ChoosesTheStrongestProtectionThatCarriesTheStreams) {
    struct {
        std::vector<std::string> mArguments;
        uint32_t mSdcData;    // bytes
        uint32_t mLevel;      // of part B
        uint32_t mFirstPart;  // the first 12 bits of the description of stream 0
    } const lCases[] = {
        {{"--streams=873"}, 76, 0, 0},
        {{"--streams=874"}, 76, 1, 0},
        {{"--streams=600,448"}, 76, 1, 0},
        {{"--streams=1048,1"}, 76, 2, 0},
        {{"--mode=A", "--occupancy=0", "--msc-mode=16", "--streams=313"}, 37, 0, 0},
        {{"--mode=A", "--occupancy=0", "--msc-mode=16", "--streams=314"}, 37, 1, 0},
        {{"--mode=D", "--sdc-mode=4"}, 15, 0, 0},
        {{"--mode=A", "--occupancy=5"}, 207, 0, 0},
        {{"--msc-mode=hmsym", "--streams=291,524"}, 76, 0, 0},
        {{"--msc-mode=hmsym", "--streams=292,525"}, 76, 1, 1u << 10},
        {{"--msc-mode=hmmix", "--streams=145,697"}, 76, 0, 0},
        {{"--msc-mode=hmmix", "--streams=193,698"}, 76, 1, 3u << 10},
    };
    for (auto lCase : lCases) {
        lCase.mArguments.push_back("--frames=3");
        const Items lUnit = Units(MustMake(lCase.mArguments)).at(0);
        SCOPED_TRACE(lCase.mArguments[0] + " " + lCase.mArguments[1]);
        const Bytes& lSdci = lUnit.at("sdci");
        EXPECT_EQ(0u, Bits(lSdci, 0, 6));
        EXPECT_EQ(lCase.mLevel, Bits(lSdci, 6, 2));
        EXPECT_EQ(lCase.mFirstPart, Bits(lSdci, 8, 12));
        EXPECT_EQ(lUnit.at("str0").size(), Bits(lSdci, 20, 12));
        const Bytes& lSdc = lUnit.at("sdc_");
        EXPECT_EQ(1 + lCase.mSdcData + 2, lSdc.size());
        ExpectCrc(lSdc, 16, 0x1021);
        EXPECT_EQ((lSdci.size() - 1) << 5, Bits(lSdc, 8, 12));  // entity 0, and the description once more
        EXPECT_EQ(Part(lSdci, 1, lSdci.size() - 1), Part(lSdc, 3, lSdci.size() - 1));
        EXPECT_EQ(lCase.mLevel, Bits(lSdc, 22, 2));
    }
}

// With four services and the shortest blocks that hold their description.
TEST(MdiMakeTest, SdcEntitiesGoRoundOverSuperFrames) {
    const auto lUnits = Units(MustMake({"--occupancy=1", "--sdc-mode=4", "--streams=20,30,40,50", "--frames=48"}));
    std::string lEntities;  // of the blocks of one round: type and short identifier
    for (size_t lBlock = 0; lBlock < 16; ++lBlock) {
        const Bytes& lSdc = lUnits.at(3 * lBlock).at("sdc_");
        ExpectCrc(lSdc, 16, 0x1021);
        EXPECT_EQ(5, lSdc[0]);  // the AFS index
        if (lBlock >= 5) {
            EXPECT_EQ(lUnits[3 * (lBlock - 5)].at("sdc_"), lSdc);
            continue;
        }
        for (size_t lAt = 1; lAt + 4 <= lSdc.size() - 2 && Bits(lSdc, 8 * lAt, 16) != 0;) {
            const uint32_t lType = Bits(lSdc, 8 * lAt + 8, 4);
            const uint32_t lService = lType == 0 ? 0 : Bits(lSdc, 8 * lAt + 12, 2);
            const size_t lLength = Bits(lSdc, 8 * lAt, 7);
            lEntities += std::to_string(lType) + std::to_string(lService) + " ";
            if (lType == 1) {
                EXPECT_EQ("Service " + std::to_string(lService + 1), Text(lSdc, lAt + 2, lLength));
            } else if (lType == 9) {
                EXPECT_EQ(lService << 18 | lService << 16 | 3u << 8, Bits(lSdc, 8 * lAt + 12, 20));  // AAC, 24 kHz
            }
            lAt += 2 + lLength;
        }
        lEntities += "| ";
    }
    EXPECT_EQ("00 | 90 10 | 91 11 | 92 12 | 93 13 | ", lEntities);
}

TEST(MdiMakeTest, FragmentsMakeTheSamePacketsAsWithoutFragments) {
    const auto lWhole = Records(MustMake({"--frames=4", "--first-sequence=65534"}));
    for (const std::string lSize : {"14", "100", "512", "4954"}) {
        for (const bool lTime : {true, false}) {
            std::vector<std::string> lArguments = {"--frames=4", "--first-sequence=65534", "--packets=pft",
                                                   "--fragment-size", lSize};
            if (!lTime) {
                lArguments.push_back("--no-time");
            }
            const auto lRecords = Records(MustMake(lArguments), lTime);
            size_t lNext = 0;
            for (size_t lFrame = 0; lFrame < 4; ++lFrame) {
                SCOPED_TRACE(testing::Message() << lSize << " bytes, frame " << lFrame);
                const uint32_t lSequence = (65534 + lFrame) & 0xFFFF;
                Bytes lPacket;
                uint32_t lCount = 1;
                for (uint32_t lIndex = 0; lIndex < lCount; ++lIndex, ++lNext) {
                    const Bytes& lFragment = lRecords.at(lNext).mPacket;
                    EXPECT_EQ(lTime ? 400 * lFrame : 0, lRecords[lNext].mMilliseconds);
                    EXPECT_EQ(0x50460000 + lSequence, Number(lFragment, 0));
                    EXPECT_EQ(lIndex, Bits(lFragment, 32, 24));
                    lCount = Bits(lFragment, 56, 24);
                    EXPECT_EQ(lFragment.size() - 14, Bits(lFragment, 80, 16));  // neither FEC nor addresses
                    ExpectCrc(Part(lFragment, 0, 14), 16, 0x1021);
                    EXPECT_TRUE(lIndex + 1 == lCount || lFragment.size() == 14 + std::stoul(lSize));
                    lPacket.insert(lPacket.end(), lFragment.begin() + 14, lFragment.end());
                }
                EXPECT_EQ(lWhole.at(lFrame).mPacket, lPacket);
                Unit(lPacket, lSequence);
            }
            EXPECT_EQ(lRecords.size(), lNext);
        }
    }
}

TEST(MdiMakeTest, FillsARecordingUpToItsLimit) {
    std::vector<std::string> lArguments = {"--streams=873", "--no-time", "out.mdi", "--frames=4000000000"};
    Bytes lRecording;
    std::string lError;
    ASSERT_FALSE(Make(lArguments, &lRecording, &lError));
    const std::string lStart = "a recording has 524288 bytes at most; ";
    ASSERT_EQ(lStart, lError.substr(0, lStart.size()));
    const unsigned long lFit = std::stoul(lError.substr(lStart.size()));
    lArguments.back() = "--frames=" + std::to_string(lFit);
    ASSERT_TRUE(Make(lArguments, &lRecording, &lError)) << lError;
    EXPECT_LE(lRecording.size(), 524288u);
    EXPECT_GT(lRecording.size(), 524288u - 1100u);
    lArguments.back() = "--frames=" + std::to_string(lFit + 1);
    EXPECT_FALSE(Make(lArguments, &lRecording, &lError));
}

TEST(MdiMakeTest, RefusesWithAReason) {
    struct {
        std::vector<std::string> mArguments;
        const char* mError;
    } const lCases[] = {
        {{}, "no output file; see --help"},
        {{"a", "b"}, "more than one output file: b"},
        {{"a", "--colour=red"}, "unknown option --colour; see --help"},
        {{"a", "-f"}, "unknown option -f; see --help"},
        {{"a", "--no-time=1"}, "--no-time takes no value"},
        {{"a", "--frames"}, "--frames needs a value: 1..."},
        {{"a", "--frames=0"}, "bad value '0' for --frames: 1..."},
        {{"a", "--frames=4294967296"}, "bad value '4294967296' for --frames: 1..."},
        {{"a", "--frames", "--no-time"}, "bad value '--no-time' for --frames: 1..."},
        {{"a", "--mode="}, "bad value '' for --mode: A|B|C|D"},
        {{"a", "--mode=A|B"}, "bad value 'A|B' for --mode: A|B|C|D"},
        {{"a", "--first-identity=4"}, "bad value '4' for --first-identity: 0...3"},
        {{"a", "--first-sequence=65536"}, "bad value '65536' for --first-sequence: 0...65535"},
        {{"a", "--fragment-size=4955"}, "bad value '4955' for --fragment-size: 1...4954"},
        {{"a", "--streams=1,"}, "bad value '1,' for --streams: SIZE[,SIZE...]"},
        {{"a", "--streams=0"}, "bad value '0' for --streams: SIZE[,SIZE...]"},
        {{"a", "--streams=4096"}, "bad value '4096' for --streams: SIZE[,SIZE...]"},
        {{"a", "--streams=1,1,1,1,1"}, "bad value '1,1,1,1,1' for --streams: SIZE[,SIZE...]"},
        {{"a", "--mode=C", "--occupancy=9"}, "robustness modes C and D have occupancies 3 and 5 (10 and 20 kHz) only"},
        {{"a", "--streams=700,700"}, "the streams would take 1400 bytes per frame; the channel carries 1372 at most"},
        {{"a", "--msc-mode=hmsym", "--streams=389"},
         "the hierarchical stream 0 would take 389 bytes per frame; the channel carries 388 at most"},
        {{"a", "--occupancy=0", "--sdc-mode=4", "--streams=9,9,9,9"},
         "the service description channel is too narrow to describe 4 streams"},
        {{"a", "--packets=pft", "--fragment-size=12"},
         "fragments of 12 bytes cut a frame into 89 pieces; 80 can be put together again"},
        {{"a", "--packets=pft", "--streams=400", "--fragment-size=286", "--no-time"},
         "fragments of 286 bytes end in a record that is too short to be found without its time"},
    };
    for (const auto& lCase : lCases) {
        Bytes lRecording;
        std::string lError;
        EXPECT_FALSE(Make(lCase.mArguments, &lRecording, &lError)) << lCase.mError;
        EXPECT_EQ(lCase.mError, lError);
    }
}
