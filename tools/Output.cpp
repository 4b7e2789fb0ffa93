#include "tools/Output.h"

#include <cerrno>
#include <cstdio>

#include "platform/Console.h"
#include "platform/Interrupt.h"

namespace {

int sOutputError = 0;

}  // namespace

void PrepareTool() {
    platform::SecureStandardHandles();
    platform::SilencePrint();
    platform::CatchInterrupts();
    platform::IgnoreBrokenPipes();
}

void PrintLine(const std::string& aLine) {
    const bool lWritten = std::fputs((aLine + "\n").c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (!lWritten && sOutputError == 0)
        sOutputError = errno;
}

int OutputError() {
    return sOutputError;
}
