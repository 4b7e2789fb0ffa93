#include "tools/Output.h"

#include <cstdio>

#include "platform/Console.h"
#include "platform/Interrupt.h"

void PrepareTool() {
    platform::SecureStandardHandles();
    platform::SilencePrint();
    platform::CatchInterrupts();
    platform::IgnoreBrokenPipes();
}

void PrintLine(const std::string& aLine) {
    std::fputs((aLine + "\n").c_str(), stdout);
    std::fflush(stdout);
}

bool OutputIsComplete() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}
