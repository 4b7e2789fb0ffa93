#include "tools/RelayStatistics.h"

#include "platform/Clock.h"
#include "tools/Text.h"

namespace {

// Kilobits per second, which is bits per millisecond.
std::string Rate(uint64_t aBytes, uint64_t aMilliseconds) {
    return Decimal(aMilliseconds == 0 ? 0.0 : 8.0 * static_cast<double>(aBytes) / static_cast<double>(aMilliseconds),
                   1);
}

}  // namespace

RelayStatistics::RelayStatistics() : cTick(platform::TickCount()) {}

void RelayStatistics::Sent(uint32_t aBytes) {
    ++cSent;
    cBytes += aBytes;
}

uint64_t RelayStatistics::Elapsed() {
    const uint32_t lNow = platform::TickCount();
    cMilliseconds += lNow - cTick;
    cTick = lNow;
    return cMilliseconds;
}

std::string RelayStatistics::Line(bool aJson, bool aFinal) {
    const uint64_t lNow = Elapsed();
    const std::string lRate = aFinal ? Rate(cBytes, lNow) : Rate(cBytes - cBytesBefore, lNow - cTimeBefore);
    cBytesBefore = cBytes;
    cTimeBefore = lNow;
    const std::string lSeconds = Decimal(static_cast<double>(lNow) / 1000, 1);
    if (!aJson) {
        return lSeconds + " s: " + Short() + ", " + Count(cBytes, "byte") + ", " + lRate + " kbit/s";
    }
    return JsonObject()
        .Put("type", aFinal ? "summary" : "statistics")
        .PutJson("seconds", lSeconds)
        .Put("received", cReceived)
        .Put("sent", cSent)
        .Put("lost", cLost)
        .Put("bytes", cBytes)
        .PutJson("kbit_per_s", lRate)
        .GetText();
}

std::string RelayStatistics::Short() const {
    return Count(cReceived, "unit") + " received, " + std::to_string(cSent) + " sent, " + std::to_string(cLost) +
           " lost";
}
