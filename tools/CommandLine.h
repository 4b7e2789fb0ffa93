#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The exit statuses of all tools.
enum ExitStatus : int { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2 };

struct Option {
    const char* mName;
    // "LOW...HIGH" or "LOW..." for a number, "WORD|WORD" for one of some words, null for none; with mRead any text.
    const char* mValues;
    const char* mHelp;
    std::function<void(uint32_t)> mSet;                       // takes the number or the index of the word
    std::function<bool(const std::string&)> mRead = nullptr;  // takes a value of another form; false refuses it
};

// The command line of a tool: --name=value or --name value for the options of its table, --help, --version, and the
// operands, all of which must be there.  The last of repeated options counts.
class CommandLine {
public:
    CommandLine(std::string aProgram, std::vector<std::string> aOperands, std::string aPurpose,
                std::vector<Option> aOptions);
    CommandLine(const CommandLine&) = delete;

    // Reads the arguments, without the program's name, and calls the options' functions.  False with a message of one
    // line in *apError.  Operands are not checked once --help or --version was among the arguments.
    bool Parse(const std::vector<std::string>& aArguments, std::string* apError);

    // The same for main: what --help or --version asks for or the message has been printed when there is a status.
    std::optional<int> Read(int aCount, char** apArguments);

    const std::string& GetOperand(size_t aIndex) const { return cValues[aIndex]; }
    const std::string& GetInformation() const { return cInformation; }  // of --help or --version, else empty

    // A message in the program's name on standard error; the status is the result.
    void Say(const std::string& aText) const;
    int Fail(int aStatus, const std::string& aText) const;

private:
    bool ReadOption(const std::vector<std::string>& aArguments, size_t* apNext, std::string* apError);
    std::string Help() const;

    const std::string cProgram;
    const std::vector<std::string> cOperands;
    const std::string cPurpose;
    std::vector<Option> cOptions;
    std::vector<std::string> cValues;  // of the operands
    std::string cInformation;
};

// A whole decimal number of 32 bits and nothing else.
bool ReadNumber(std::string_view aText, uint32_t* apNumber);

// The part of aText from *apStart on up to aSeparator; *apStart goes behind that.
std::string_view NextPart(std::string_view aText, char aSeparator, size_t* apStart);
