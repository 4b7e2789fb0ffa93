#pragma once

#include <cstdint>
#include <string>

// The part of a limit that was reached; 0 when there is none, which UINT32_MAX stands for.
constexpr double ShareOf(uint64_t aDone, uint32_t aLimit) {
    return aLimit == UINT32_MAX ? 0 : static_cast<double>(aDone) / aLimit;
}

// A line on standard error that shows how far a program is and is written over again and again.  When standard error is
// no terminal nothing is written.  Clear comes before any other output, which would go on in the same line.
class Progress {
public:
    Progress();
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    bool IsDue() const;  // whether there is a terminal and the last Show is 200 ms ago
    // Shows the first 79 characters, so that 80 columns hold them.  aShare is the part of the work that is done; when
    // it is above 0, percent follow the text and, after a second, the time left.
    void Show(const std::string& aText, double aShare);
    void Clear();

private:
    std::string Outlook(double aShare) const;

    const bool cTerminal;
    const uint64_t cStart;  // nanoseconds
    bool cShown = false;
    uint32_t cLastTick;
};
