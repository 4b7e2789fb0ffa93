#include "tools/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>
#include <utility>

#include "tools/Text.h"

namespace {

bool Refuse(const std::string& aText, std::string* apError) {
    *apError = aText;
    return false;
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

bool SetOption(const Option& aOption, const std::string& aText) {
    if (aOption.mRead != nullptr) {
        return aOption.mRead(aText);
    }
    uint32_t lValue = 0;
    if (aOption.mValues != nullptr && !ReadValue(aOption.mValues, aText, &lValue)) {
        return false;
    }
    aOption.mSet(lValue);
    return true;
}

}  // namespace

bool ReadNumber(std::string_view aText, uint32_t* apNumber) {
    const char* lpEnd = aText.data() + aText.size();
    const auto [lpStop, lResult] = std::from_chars(aText.data(), lpEnd, *apNumber);
    return lResult == std::errc() && lpStop == lpEnd;
}

std::string_view NextPart(std::string_view aText, char aSeparator, size_t* apStart) {
    const size_t lEnd = std::min(aText.find(aSeparator, *apStart), aText.size());
    const std::string_view lPart = aText.substr(*apStart, lEnd - *apStart);
    *apStart = lEnd + 1;
    return lPart;
}

CommandLine::CommandLine(std::string aProgram, std::vector<std::string> aOperands, std::string aPurpose,
                         std::vector<Option> aOptions)
    : cProgram(std::move(aProgram)),
      cOperands(std::move(aOperands)),
      cPurpose(std::move(aPurpose)),
      cOptions(std::move(aOptions)) {
    cOptions.push_back({"--help", nullptr, "show this text", [this](uint32_t) { cInformation = Help(); }});
    cOptions.push_back({"--version", nullptr, "show the version",
                        [this](uint32_t) { cInformation = cProgram + " " TESSAVOX_VERSION "\n"; }});
}

bool CommandLine::Parse(const std::vector<std::string>& aArguments, std::string* apError) {
    for (size_t lNext = 0; lNext < aArguments.size(); ++lNext) {
        if (aArguments[lNext].starts_with('-')) {
            if (!ReadOption(aArguments, &lNext, apError)) {
                return false;
            }
        } else if (cValues.size() == cOperands.size()) {
            return Refuse("one argument too many: " + aArguments[lNext] + "; see --help", apError);
        } else {
            cValues.push_back(aArguments[lNext]);
        }
    }
    if (cInformation.empty() && cValues.size() < cOperands.size()) {
        return Refuse("no " + cOperands[cValues.size()] + "; see --help", apError);
    }
    return true;
}

// Reads the option at *apNext, and its value from there or from the next argument; *apNext goes to the last one read.
bool CommandLine::ReadOption(const std::vector<std::string>& aArguments, size_t* apNext, std::string* apError) {
    const std::string& lArgument = aArguments[*apNext];
    const size_t lEquals = std::min(lArgument.find('='), lArgument.size());
    const std::string lName = lArgument.substr(0, lEquals);
    const auto lOption = std::find_if(cOptions.begin(), cOptions.end(),
                                      [&lName](const Option& aOption) { return lName == aOption.mName; });
    if (lOption == cOptions.end()) {
        return Refuse("unknown option " + lName + "; see --help", apError);
    }
    std::string lText;
    if (lOption->mValues == nullptr) {
        if (lEquals < lArgument.size()) {
            return Refuse(lName + " takes no value", apError);
        }
    } else if (lEquals < lArgument.size()) {
        lText = lArgument.substr(lEquals + 1);
    } else if (++*apNext < aArguments.size()) {
        lText = aArguments[*apNext];
    } else {
        return Refuse(lName + " needs a value: " + lOption->mValues, apError);
    }
    if (!SetOption(*lOption, lText)) {
        return Refuse("bad value '" + lText + "' for " + lName + ": " + lOption->mValues, apError);
    }
    return true;
}

std::string CommandLine::Help() const {
    std::string lHelp = "usage: " + cProgram + " [options]";
    for (const std::string& lOperand : cOperands) {
        lHelp += " " + lOperand;
    }
    lHelp += "\n" + cPurpose;
    for (const Option& lOption : cOptions) {
        lHelp += std::string("  ") + lOption.mName + (lOption.mValues != nullptr ? " " : "") +
                 (lOption.mValues != nullptr ? lOption.mValues : "") + "\n        " + lOption.mHelp + "\n";
    }
    return lHelp;
}

std::optional<int> CommandLine::Read(int aCount, char** apArguments) {
    std::string lError;
    if (!Parse(std::vector<std::string>(apArguments + (aCount > 0 ? 1 : 0), apArguments + aCount), &lError)) {
        return Fail(STATUS_USAGE, lError);
    }
    if (cInformation.empty()) {
        return std::nullopt;
    }
    std::fputs(cInformation.c_str(), stdout);
    return STATUS_DONE;
}

void CommandLine::Say(const std::string& aText) const {
    std::fprintf(stderr, "%s: %s\n", cProgram.c_str(), WithoutControls(aText).c_str());
}

int CommandLine::Fail(int aStatus, const std::string& aText) const {
    Say(aText);
    return aStatus;
}
