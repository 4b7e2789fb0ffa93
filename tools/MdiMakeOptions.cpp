#include "tools/MdiMakeOptions.h"

#include "Networking/FacFields.h"
#include "Networking/FileLayer.h"
#include "Networking/PFTFormat.h"
#include "tools/Multiplex.h"
#include "tools/Text.h"

namespace {

constexpr uint32_t MAX_FRAGMENT_SIZE = FILE_MAX_PACKET_SIZE - PFT_HEADER_SIZE;
constexpr MscMode MSC_MODES[] = {MSC_64QAM, MSC_16QAM, MSC_64QAM_HIERARCHICAL_IQ, MSC_64QAM_HIERARCHICAL_I};

bool ReadStreams(const std::string& aText, std::vector<uint32_t>* apStreams) {
    apStreams->clear();
    for (const std::string& lPart : Parts(aText, ',')) {
        uint32_t lSize = 0;
        if (!ReadNumber(lPart, &lSize) || lSize == 0 || lSize > MAX_STREAM_SIZE)
            return false;
        apStreams->push_back(lSize);
    }
    return apStreams->size() <= MDI_STREAMS;
}

void AddChannelOptions(CommandLine* apLine, MdiMakeOptions* apOptions) {
    DrmMode* const lpMode = &apOptions->mMode;
    apLine->AddChoice(
        "-m,--mode", {"A", "B", "C", "D"}, "robustness mode (B)",
        [lpMode](size_t aWord) { lpMode->mRobustness = static_cast<unsigned>(aWord); });
    apLine->AddChoice(
        "--occupancy", {"0", "1", "2", "3", "4", "5", "4.5", "5kHz", "9", "10", "18", "20"},
        "code of the bandwidth, or its width in kHz (10)",
        [lpMode](size_t aWord) { lpMode->mOccupancy = static_cast<unsigned>(aWord % KNOWN_OCCUPANCIES); });
    apLine->AddChoice(
        "--sdc-mode", {"16", "4"}, "QAM of the service description channel (16)",
        [lpMode](size_t aWord) { lpMode->mSdc4Qam = aWord == 1; });
    apLine->AddChoice(
        "--msc-mode", {"64", "16", "hmsym", "hmmix"},
        "QAM of the streams (64); hmsym and hmmix are\n64-QAM, hierarchical on I and Q or on I only, "
        "and\nstream 0 is the hierarchical one",
        [lpMode](size_t aWord) { lpMode->mMsc = MSC_MODES[aWord]; });
    apLine->AddChoice(
        "--interleaving", {"long", "short"}, "over 2 s or 400 ms (long)",
        [lpMode](size_t aWord) { lpMode->mShortInterleaving = aWord == 1; });
    apLine->AddText("-s,--streams", "SIZE[,SIZE...]",
                    "one to four streams of 1 to 4095 bytes per frame\n(two that the strongest protection carries)",
                    [apOptions](const std::string& aText) { return ReadStreams(aText, &apOptions->mStreams); });
}

void AddFormatOptions(CommandLine* apLine, RecordingWriter::Format* apFormat) {
    apLine->AddChoice("-p,--packets", {"af", "pft"}, "whole AF packets or PFT fragments in the records\n(af)",
                      [apFormat](size_t aWord) { apFormat->mPft = aWord == 1; });
    apLine->AddNumber("--fragment-size", &apFormat->mFragmentSize, 1, MAX_FRAGMENT_SIZE,
                      "bytes of AF packet in a PFT fragment (512)");
    apLine->AddNumber("--first-sequence", &apFormat->mFirstSequence, 0, UINT16_MAX,
                      "number of the first AF packet, and its PSeq (0)");
    apLine->AddFlag("--no-time", &apFormat->mTime, "records without time stamps", false);
}

}  // namespace

void AddMdiMakeOptions(CommandLine* apLine, MdiMakeOptions* apOptions) {
    apLine->AddOperand("OUTPUT-FILE", &apOptions->mOutput, "the recording");
    apLine->AddNumber("-n,--frames", &apOptions->mFrames, 1, UINT32_MAX, "number of frames of 400 ms (300)");
    AddChannelOptions(apLine, apOptions);
    apLine->AddNumber("--first-identity", &apOptions->mFirstIdentity, 0, 3,
                      "of the first frame (0); then 0, 1, 2 in turn,\nwhere 3 stands for 0");
    AddFormatOptions(apLine, &apOptions->mFormat);
}
