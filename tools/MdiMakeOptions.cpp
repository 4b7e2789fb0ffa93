#include "tools/MdiMakeOptions.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "Networking/PFTPacket.h"
#include "tools/Multiplex.h"

namespace {

using Options = MdiMakeOptions;

struct Option {
    const char* mName;
    // "LOW...HIGH" or "LOW..." for a number, "WORD|WORD" for one of some words, null for none.
    const char* mValues;
    const char* mHelp;
    void (*mSet)(Options* apOptions,
                 uint32_t aValue);  // the number or the index of the word; null for the stream sizes
};

constexpr uint32_t OCCUPANCIES = 6;
constexpr uint32_t MAX_FRAGMENT_SIZE = MAX_RECORD_PACKET_SIZE - PFT_HEADER_SIZE;
static_assert(MAX_FRAGMENT_SIZE == 4954, "as the option says");
constexpr MscMode MSC_MODES[] = {MSC_64QAM, MSC_16QAM, MSC_64QAM_HIERARCHICAL_IQ, MSC_64QAM_HIERARCHICAL_I};

constexpr Option OPTIONS[] = {
    {"--frames", "1...", "number of frames of 400 ms (300)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mFrames = aValue; }},
    {"--mode", "A|B|C|D", "robustness mode (B)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mMode.mRobustness = aValue; }},
    {"--occupancy", "0|1|2|3|4|5|4.5|5kHz|9|10|18|20", "code of the bandwidth, or the bandwidth in kHz (10)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mMode.mOccupancy = aValue % OCCUPANCIES; }},
    {"--sdc-mode", "16|4", "QAM of the service description channel (16)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mMode.mSdc4Qam = aValue == 1; }},
    {"--msc-mode", "64|16|hmsym|hmmix",
     "QAM of the streams (64); hmsym and hmmix are 64-QAM, hierarchical on I and Q or on I\n"
     "        only, and stream 0 is the hierarchical one",
     [](Options* apOptions, uint32_t aValue) { apOptions->mMode.mMsc = MSC_MODES[aValue]; }},
    {"--interleaving", "long|short", "over 2 s or 400 ms (long)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mMode.mShortInterleaving = aValue == 1; }},
    {"--streams", "SIZE[,SIZE...]",
     "one to four streams of 1 to 4095 bytes per frame (two that the strongest protection\n        carries)", nullptr},
    {"--first-identity", "0...3", "of the first frame (0); then 0, 1, 2 in turn, where 3 stands for 0",
     [](Options* apOptions, uint32_t aValue) { apOptions->mFirstIdentity = aValue; }},
    {"--packets", "af|pft", "whole AF packets or PFT fragments in the records (af)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mFormat.mPft = aValue == 1; }},
    {"--fragment-size", "1...4954", "bytes of AF packet in a PFT fragment (512)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mFormat.mFragmentSize = aValue; }},
    {"--first-sequence", "0...65535", "number of the first AF packet, and its PSeq (0)",
     [](Options* apOptions, uint32_t aValue) { apOptions->mFormat.mFirstSequence = static_cast<uint16_t>(aValue); }},
    {"--no-time", nullptr, "records without time stamps",
     [](Options* apOptions, uint32_t) { apOptions->mFormat.mTime = false; }},
    {"--help", nullptr, "show this text", [](Options* apOptions, uint32_t) { apOptions->mHelp = true; }},
};

bool Fail(const std::string& aText, std::string* apError) {
    *apError = aText;
    return false;
}

bool ReadNumber(std::string_view aText, uint32_t* apNumber) {
    const char* lpEnd = aText.data() + aText.size();
    const auto [lpStop, lResult] = std::from_chars(aText.data(), lpEnd, *apNumber);
    return lResult == std::errc() && lpStop == lpEnd;
}

// The part of aText from *apStart on up to aSeparator; *apStart goes behind that.
std::string_view NextPart(std::string_view aText, char aSeparator, size_t* apStart) {
    const size_t lEnd = std::min(aText.find(aSeparator, *apStart), aText.size());
    const std::string_view lPart = aText.substr(*apStart, lEnd - *apStart);
    *apStart = lEnd + 1;
    return lPart;
}

bool ReadValue(std::string_view aValues, std::string_view aText, uint32_t* apValue) {
    const size_t lDots = aValues.find("...");
    if (lDots != std::string_view::npos) {
        uint32_t lLowest = 0;
        uint32_t lHighest = UINT32_MAX;  // stays when the text ends with the dots
        ReadNumber(aValues.substr(0, lDots), &lLowest);
        ReadNumber(aValues.substr(lDots + 3), &lHighest);
        return ReadNumber(aText, apValue) && *apValue >= lLowest && *apValue <= lHighest;
    }
    *apValue = 0;
    for (size_t lStart = 0; lStart < aValues.size(); ++*apValue) {
        if (NextPart(aValues, '|', &lStart) == aText) {
            return true;
        }
    }
    return false;
}

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

bool SetOption(const Option& aOption, const std::string& aText, Options* apOptions) {
    uint32_t lValue = 0;
    if (aOption.mSet == nullptr) {
        return ReadStreams(aText, &apOptions->mStreams);
    }
    if (aOption.mValues != nullptr && !ReadValue(aOption.mValues, aText, &lValue)) {
        return false;
    }
    aOption.mSet(apOptions, lValue);
    return true;
}

// Reads the option at *apNext, and its value from there or from the next argument; *apNext goes to the last one read.
bool ReadOption(const std::vector<std::string>& aArguments, size_t* apNext, Options* apOptions, std::string* apError) {
    const std::string& lArgument = aArguments[*apNext];
    const size_t lEquals = std::min(lArgument.find('='), lArgument.size());
    const std::string lName = lArgument.substr(0, lEquals);
    const Option* lpOption = std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                                          [&lName](const Option& aOption) { return lName == aOption.mName; });
    if (lpOption == std::end(OPTIONS)) {
        return Fail("unknown option " + lName + "; see --help", apError);
    }
    std::string lText;
    if (lpOption->mValues == nullptr) {
        if (lEquals < lArgument.size()) {
            return Fail(lName + " takes no value", apError);
        }
    } else if (lEquals < lArgument.size()) {
        lText = lArgument.substr(lEquals + 1);
    } else if (++*apNext < aArguments.size()) {
        lText = aArguments[*apNext];
    } else {
        return Fail(lName + " needs a value: " + lpOption->mValues, apError);
    }
    if (!SetOption(*lpOption, lText, apOptions)) {
        return Fail("bad value '" + lText + "' for " + lName + ": " + lpOption->mValues, apError);
    }
    return true;
}

}  // namespace

bool ParseOptions(const std::vector<std::string>& aArguments, MdiMakeOptions* apOptions, std::string* apError) {
    for (size_t lNext = 0; lNext < aArguments.size(); ++lNext) {
        if (aArguments[lNext].starts_with('-')) {
            if (!ReadOption(aArguments, &lNext, apOptions, apError)) {
                return false;
            }
        } else if (!apOptions->mOutput.empty()) {
            return Fail("more than one output file: " + aArguments[lNext], apError);
        } else {
            apOptions->mOutput = aArguments[lNext];
        }
    }
    if (apOptions->mHelp) {
        return true;
    }
    if (apOptions->mOutput.empty()) {
        return Fail("no output file; see --help", apError);
    }
    if (!ModeExists(apOptions->mMode)) {
        return Fail("robustness modes C and D have occupancies 3 and 5 (10 and 20 kHz) only", apError);
    }
    return true;
}

std::string OptionsHelp() {
    std::string lHelp =
        "usage: mdi-make [options] OUTPUT-FILE\n"
        "Writes a recording of a synthetic DRM transmission.  Each stream is announced as an audio service, but its\n"
        "bytes are a test pattern.  The strongest protection that carries the streams is chosen.\n";
    for (const Option& lOption : OPTIONS) {
        lHelp += std::string("  ") + lOption.mName + (lOption.mValues != nullptr ? " " : "") +
                 (lOption.mValues != nullptr ? lOption.mValues : "") + "\n        " + lOption.mHelp + "\n";
    }
    return lHelp;
}
