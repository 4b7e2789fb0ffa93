#include "tools/Output.h"

#include <cerrno>
#include <cstdio>

#include "platform/Console.h"
#include "platform/Interrupt.h"

namespace {

int sOutputError = 0;
bool sBuffered = false;

void Note(bool aWritten) {
    if (!aWritten && sOutputError == 0)
        sOutputError = errno;
}

}  // namespace

void PrepareTool() {
    platform::SecureStandardHandles();
    platform::SilencePrint();
    platform::CatchInterrupts();
    platform::IgnoreBrokenPipes();
}

void PrintLine(const std::string& aLine) {
    Note(std::fputs((aLine + "\n").c_str(), stdout) >= 0);
    if (!sBuffered)
        FlushOutput();
}

void BufferOutput() {
    sBuffered = true;
}

void FlushOutput() {
    Note(std::fflush(stdout) == 0);
}

int OutputError() {
    return sOutputError;
}
