#pragma once

#include <cstdint>
#include <string>

// One line on standard error that is rewritten as a program goes on; nothing at all when that is no terminal.  Other
// output goes out between Clear and the next Show, so that lines do not mix.
class Progress {
public:
    Progress();
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    bool IsDue() const;                   // whether there is a line and it has stood for a while
    void Show(const std::string& aText);  // its first 79 characters, when it is due
    void Clear();

private:
    const bool cTerminal;
    bool cShown = false;
    uint32_t cLastTick;
};
