#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "Networking/CRC32.h"
#include "tools/MakeRecording.h"

namespace {

// The CRC-32 of the recording that these arguments make, or 0 when this is the error.
uint32_t Make(const std::string& aArguments, const std::string& aError = "") {
    std::istringstream lStream(aArguments);
    const std::vector<std::string> lWords(std::istream_iterator<std::string>(lStream), {});
    std::vector<const char*> lArguments{"mdi-make", "out.mdi"};
    for (const std::string& lWord : lWords)
        lArguments.push_back(lWord.c_str());
    MdiMakeOptions lOptions;
    CommandLine lLine("mdi-make", "");
    AddMdiMakeOptions(&lLine, &lOptions);
    EXPECT_EQ(std::nullopt, lLine.Read(static_cast<int>(lArguments.size()), lArguments.data())) << aArguments;
    std::vector<unsigned char> lRecording;
    std::string lError;
    const auto lAppend = [&lRecording](const std::vector<unsigned char>& aFrame) {
        lRecording.insert(lRecording.end(), aFrame.begin(), aFrame.end());
        return true;
    };
    const bool lMade = MakeRecording(lOptions, lAppend, &lError);
    EXPECT_EQ(aError, lMade ? "" : lError) << aArguments;
    const auto lSize = static_cast<int32_t>(lRecording.size());
    return lMade ? CRC32(0x04C11DB7, true).Compute(lRecording.data(), lSize) : 0;
}

}  // namespace

// These recordings were once taken apart bit by bit with code that shares nothing with what makes them.  They have
// streams and fields that just fit, or just do not, into a protection level, every mode, all SDC entities, and
// fragments as many, as short and as long as there may be.
TEST(MdiMakeTest, MakesTheRecordingsThatWereChecked) {
    const std::pair<const char*, uint32_t> CASES[] = {
        {"--frames=260 --streams=500,340", 0x11479590},
        {"--frames=4 --first-identity=1", 0x20A1973E},
        {"--frames=4 --first-identity=3", 0x9319C21F},
        {"--frames=4 --streams=873", 0x651DC14C},
        {"--frames=4 --streams=874", 0x2D30D29E},
        {"--frames=4 --streams=600,448", 0x1AAEAC22},
        {"--frames=4 --streams=1048,1", 0xB3EBE2ED},
        {"--frames=4 --mode=A --occupancy=4.5 --msc-mode=16 --streams=313", 0x4674FA2F},
        {"--frames=4 --mode=A --occupancy=0 --msc-mode=16 --streams=314", 0x9E82D9D0},
        {"--frames=4 --mode C --msc-mode 16 --streams 9,9,9,9", 0xFCB62764},
        {"--frames=4 --mode=D --sdc-mode=4", 0x7DF409F3},
        {"--frames=4 --mode=D --occupancy=20 --interleaving=short", 0x1816741A},
        {"--frames=4 --occupancy=5kHz --msc-mode=hmmix --streams=9,9,9", 0x765DFDF4},
        {"--frames=4 --msc-mode=hmsym --streams=291,524", 0x82F026C4},
        {"--frames=4 --msc-mode=hmsym --streams=292,525", 0xC864ED48},
        {"--frames=4 --msc-mode=hmmix --streams=145,697", 0xF70B4986},
        {"--frames=4 --msc-mode=hmmix --streams=193,698", 0xBBC6CDA1},
        {"--occupancy=1 --sdc-mode=4 --streams=20,30,40,50 --frames=48", 0x8C0DE91B},
        {"--frames=4 --streams=627 --first-sequence=65534 --packets=pft --fragment-size=10", 0xD0C287DC},
        {"--frames=4 --streams=627 --first-sequence=65534 --packets=pft --fragment-size=711 --no-time", 0xE7E403EB},
        {"--frames=4 --streams=627 --first-sequence=65534 --packets=pft --fragment-size=4954", 0xBC7E124A},
    };
    for (const auto& [lArguments, lSum] : CASES)
        EXPECT_EQ(lSum, Make(lArguments)) << lArguments;
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
        EXPECT_EQ(0u, Make(lArguments, lError));
}
