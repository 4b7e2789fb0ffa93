#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

// The exit statuses of all tools.
enum ExitStatus : int { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2 };

// The command line of a tool, read by CLI11, and the tool's messages.  Only its source file includes CLI11, which is
// slow to compile.
//
// Names of options are given as CLI11 takes them, for example "-j,--json".  The last one of repeated options counts.
// Values go to where the pointers point; these must outlive Read.
class CommandLine {
public:
    CommandLine(const std::string& aProgram, const std::string& aPurpose);
    ~CommandLine();

    // An argument without a name.  All operands are required, in the order in which they are added.
    void AddOperand(const char* apName, std::string* apText, const char* apHelp);
    // Sets *apFlag to aMeaning when the option is there.
    void AddFlag(const char* apNames, bool* apFlag, const char* apHelp, bool aMeaning = true);
    // A whole decimal number from aLowest to aHighest.
    void AddNumber(const char* apNames, uint32_t* apNumber, uint32_t aLowest, uint32_t aHighest, const char* apHelp);
    // One of aWords; aSet takes its index.
    void AddChoice(const char* apNames, const std::vector<std::string>& aWords, const char* apHelp,
                   std::function<void(size_t)> aSet);
    // Another form of value, which the help shows as apForm; aRead answers false when it refuses the text.
    void AddText(const char* apNames, const char* apForm, const char* apHelp,
                 std::function<bool(const std::string&)> aRead);

    // Reads the arguments of main.  When there is a status, the program is to end with it: the help, the version or a
    // message about wrong usage has been printed.
    std::optional<int> Read(int aCount, const char* const* apArguments);

    // Writes a message, usually of one line, in the program's name to standard error; the status is the result.
    void Say(const std::string& aText) const;
    int Fail(int aStatus, const std::string& aText) const;

private:
    const std::string cProgram;
    const std::unique_ptr<CLI::App> cApp;
};
