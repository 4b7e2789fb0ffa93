#pragma once

#include <string>

namespace platform::posix {

// The writing end of a console that must never hold up the program.  One thread at a time.
class QuietOutput {
public:
    explicit QuietOutput(int aHandle);  // of a standard stream; stays open

    // Writes what can be written at once.  False when that is nothing.
    bool Write(const std::string& aText);

private:
    const int cHandle;
    int cOwnHandle;  // by which no write waits; -1 when it cannot be had
};

}  // namespace platform::posix
