#include "tools/Progress.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Console.h"

namespace {

constexpr uint32_t INTERVAL = 200;  // milliseconds
constexpr int WIDTH = 79;

}  // namespace

Progress::Progress() : cTerminal(platform::IsTerminal(stderr)), cLastTick(platform::TickCount() - INTERVAL) {}

bool Progress::IsDue() const {
    return cTerminal && platform::TickCount() - cLastTick >= INTERVAL;
}

void Progress::Show(const std::string& aText) {
    Clear();
    cShown = true;
    cLastTick = platform::TickCount();
    std::fprintf(stderr, "%.*s", WIDTH, aText.c_str());
}

void Progress::Clear() {
    if (cShown)
        std::fputs("\r\x1B[K", stderr);  // to the line's start, and clear it
    cShown = false;
}
