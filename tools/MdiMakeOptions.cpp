#include "tools/MdiMakeOptions.h"

#include <string_view>

#include "Networking/PFTPacket.h"
#include "tools/Multiplex.h"

namespace {

constexpr uint32_t OCCUPANCIES = 6;
constexpr uint32_t MAX_FRAGMENT_SIZE = FILE_MAX_PACKET_SIZE - PFT_HEADER_SIZE;
static_assert(MAX_FRAGMENT_SIZE == 4954, "as the option says");
constexpr MscMode MSC_MODES[] = {MSC_64QAM, MSC_16QAM, MSC_64QAM_HIERARCHICAL_IQ, MSC_64QAM_HIERARCHICAL_I};

bool ReadStreams(std::string_view aText, std::vector<uint32_t>* apStreams) {
    apStreams->clear();
    for (size_t lStart = 0; lStart <= aText.size();) {
        uint32_t lSize = 0;
        if (!ReadNumber(NextPart(aText, ',', &lStart), &lSize) || lSize == 0 || lSize > MAX_STREAM_SIZE) {
            return false;
        }
        apStreams->push_back(lSize);
    }
    return apStreams->size() <= MAX_STREAMS;
}

std::vector<Option> OptionTable(MdiMakeOptions* apOptions) {
    DrmMode* const lpMode = &apOptions->mMode;
    RecordingWriter::Format* const lpFormat = &apOptions->mFormat;
    return {
        {"--frames", "1...", "number of frames of 400 ms (300)",
         [apOptions](uint32_t aValue) { apOptions->mFrames = aValue; }},
        {"--mode", "A|B|C|D", "robustness mode (B)", [lpMode](uint32_t aValue) { lpMode->mRobustness = aValue; }},
        {"--occupancy", "0|1|2|3|4|5|4.5|5kHz|9|10|18|20", "code of the bandwidth, or the bandwidth in kHz (10)",
         [lpMode](uint32_t aValue) { lpMode->mOccupancy = aValue % OCCUPANCIES; }},
        {"--sdc-mode", "16|4", "QAM of the service description channel (16)",
         [lpMode](uint32_t aValue) { lpMode->mSdc4Qam = aValue == 1; }},
        {"--msc-mode", "64|16|hmsym|hmmix",
         "QAM of the streams (64); hmsym and hmmix are 64-QAM, hierarchical on I and Q or on I\n"
         "        only, and stream 0 is the hierarchical one",
         [lpMode](uint32_t aValue) { lpMode->mMsc = MSC_MODES[aValue]; }},
        {"--interleaving", "long|short", "over 2 s or 400 ms (long)",
         [lpMode](uint32_t aValue) { lpMode->mShortInterleaving = aValue == 1; }},
        {"--streams", "SIZE[,SIZE...]",
         "one to four streams of 1 to 4095 bytes per frame (two that the strongest protection\n        carries)",
         nullptr, [apOptions](const std::string& aText) { return ReadStreams(aText, &apOptions->mStreams); }},
        {"--first-identity", "0...3", "of the first frame (0); then 0, 1, 2 in turn, where 3 stands for 0",
         [apOptions](uint32_t aValue) { apOptions->mFirstIdentity = aValue; }},
        {"--packets", "af|pft", "whole AF packets or PFT fragments in the records (af)",
         [lpFormat](uint32_t aValue) { lpFormat->mPft = aValue == 1; }},
        {"--fragment-size", "1...4954", "bytes of AF packet in a PFT fragment (512)",
         [lpFormat](uint32_t aValue) { lpFormat->mFragmentSize = aValue; }},
        {"--first-sequence", "0...65535", "number of the first AF packet, and its PSeq (0)",
         [lpFormat](uint32_t aValue) { lpFormat->mFirstSequence = static_cast<uint16_t>(aValue); }},
        {"--no-time", nullptr, "records without time stamps", [lpFormat](uint32_t) { lpFormat->mTime = false; }},
    };
}

}  // namespace

CommandLine MdiMakeCommandLine(MdiMakeOptions* apOptions) {
    return CommandLine(
        "mdi-make", {"OUTPUT-FILE"},
        "Writes a recording of a synthetic DRM transmission.  Each stream is announced as an audio service, but its\n"
        "bytes are a test pattern.  The strongest protection that carries the streams is chosen.\n",
        OptionTable(apOptions));
}
