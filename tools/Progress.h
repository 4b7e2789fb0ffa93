#pragma once

#include <cstdint>
#include <string>

// A line on standard error that shows how far a program is and is written over again and again.  When standard error is
// no terminal nothing is written.  Clear comes before any other output, which would go on in the same line.
class Progress {
public:
    Progress();
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    bool IsDue() const;                   // whether there is a terminal and the last Show is 200 ms ago
    void Show(const std::string& aText);  // the first 79 characters, so that 80 columns hold them
    void Clear();

private:
    const bool cTerminal;
    bool cShown = false;
    uint32_t cLastTick;
};
