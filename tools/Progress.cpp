#include "tools/Progress.h"

#include <algorithm>
#include <cstdio>

#include "platform/Clock.h"
#include "platform/Console.h"

namespace {

constexpr uint32_t INTERVAL = 200;  // milliseconds
constexpr int WIDTH = 79;
constexpr double LEARNING = 1;          // second, before which the time left is not told
constexpr double LONGEST = 999 * 3600;  // seconds left; more is not told

}  // namespace

Progress::Progress()
    : cTerminal(platform::IsTerminal(stderr)),
      cStart(platform::MonotonicTime()),
      cLastTick(platform::TickCount() - INTERVAL) {}

bool Progress::IsDue() const {
    return cTerminal && platform::TickCount() - cLastTick >= INTERVAL;
}

void Progress::Show(const std::string& aText, double aShare) {
    Clear();
    cShown = true;
    cLastTick = platform::TickCount();
    std::fprintf(stderr, "%.*s", WIDTH, (aText + (aShare > 0 ? Outlook(aShare) : "")).c_str());
}

std::string Progress::Outlook(double aShare) const {
    const double lShare = std::min(aShare, 1.0);
    const double lElapsed = static_cast<double>(platform::MonotonicTime() - cStart) / 1e9;
    const std::string lPercent = ", " + std::to_string(static_cast<int>(100 * lShare)) + " %";
    if (lElapsed < LEARNING)
        return lPercent;
    const int lLeft = static_cast<int>(std::min(lElapsed * (1 - lShare) / lShare, LONGEST) + 0.5);
    char lText[48];
    std::snprintf(lText, sizeof lText, ", %d:%02d:%02d left", lLeft / 3600, lLeft / 60 % 60, lLeft % 60);
    return lPercent + lText;
}

void Progress::Clear() {
    if (cShown)
        std::fputs("\r\x1B[K", stderr);  // to the line's start, and clear it
    cShown = false;
}
