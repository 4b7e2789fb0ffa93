#include "tools/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/Text.h"

namespace {

constexpr size_t HELP_COLUMN = 28;

std::string RangeText(uint32_t aLowest, uint32_t aHighest) {
    return std::to_string(aLowest) + "..." + (aHighest < UINT32_MAX ? std::to_string(aHighest) : "");
}

}  // namespace

CommandLine::CommandLine(const std::string& aProgram, const std::string& aPurpose)
    : cProgram(aProgram), cApp(std::make_unique<CLI::App>(aPurpose, aProgram)) {
    cApp->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)->disable_flag_override();
    cApp->get_formatter()->column_width(HELP_COLUMN);
    cApp->set_help_flag("-h,--help", "show this text");
    cApp->set_version_flag("-V,--version", aProgram + " " TESSAVOX_VERSION, "show the version");
    cApp->footer("Exit status: 0 done, 1 failed, 2 wrong usage.  See also: man " + aProgram);
}

CommandLine::~CommandLine() = default;

void CommandLine::AddOperand(const char* apName, std::string* apText, const char* apHelp) {
    cApp->add_option(apName, *apText, apHelp)->required()->option_text(" ");
}

void CommandLine::AddFlag(const char* apNames, bool* apFlag, const char* apHelp, bool aMeaning) {
    cApp->add_flag_callback(
        apNames, [apFlag, aMeaning] { *apFlag = aMeaning; }, apHelp);
}

// Numbers are read by ReadNumber, because CLI11 itself takes a leading zero as the sign of an octal number.
void CommandLine::AddNumber(const char* apNames, uint32_t* apNumber, uint32_t aLowest, uint32_t aHighest,
                            const char* apHelp) {
    AddText(
        apNames, RangeText(aLowest, aHighest).c_str(), apHelp,
        [apNumber, aLowest, aHighest](const std::string& aText) {
            return ReadNumber(aText, apNumber) && *apNumber >= aLowest && *apNumber <= aHighest;
        });
}

void CommandLine::AddChoice(const char* apNames, const std::vector<std::string>& aWords, const char* apHelp,
                            std::function<void(size_t)> aSet) {
    AddText(
        apNames, CLI::detail::join(aWords, "|").c_str(), apHelp,
        [aWords, aSet](const std::string& aText) {
            const auto lWord = std::find(aWords.begin(), aWords.end(), aText);
            if (lWord == aWords.end())
                return false;
            aSet(static_cast<size_t>(lWord - aWords.begin()));
            return true;
        });
}

void CommandLine::AddText(const char* apNames, const char* apForm, const char* apHelp,
                          std::function<bool(const std::string&)> aRead) {
    const std::string lNames = apNames;
    const std::string lForm = apForm;
    const auto lSet = [lNames, lForm, lRead = std::move(aRead)](const std::string& aText) {
        if (!lRead(aText))
            throw CLI::ValidationError(lNames + " takes " + lForm + ", not '" + aText + "'");
    };
    cApp->add_option_function<std::string>(lNames, lSet, apHelp)->type_name(lForm);
}

std::optional<int> CommandLine::Read(int aCount, const char* const* apArguments) {
    try {
        cApp->parse(aCount, apArguments);
        return std::nullopt;
    } catch (const CLI::Success& lRequest) {
        return cApp->exit(lRequest);
    } catch (const CLI::ParseError& lError) {
        return Fail(STATUS_USAGE, std::string(lError.what()) + "; see --help");
    }
}

void CommandLine::Say(const std::string& aText) const {
    std::string lStart = cProgram + ": ";
    for (const std::string& lLine : Parts(aText, '\n')) {
        std::fprintf(stderr, "%s%s\n", lStart.c_str(), WithoutControls(lLine).c_str());
        lStart.clear();
    }
}

int CommandLine::Fail(int aStatus, const std::string& aText) const {
    Say(aText);
    return aStatus;
}
