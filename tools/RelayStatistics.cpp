#include "tools/RelayStatistics.h"

#include "platform/Clock.h"
#include "tools/JsonLine.h"
#include "tools/Text.h"

namespace {

// Kilobits per second, which is bits per millisecond.
double Rate(uint64_t aBytes, uint64_t aMilliseconds) {
    return aMilliseconds == 0 ? 0.0 : 8.0 * static_cast<double>(aBytes) / static_cast<double>(aMilliseconds);
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

std::string RelayStatistics::Line(bool aJson, bool aFinal, const ReceptionStatistics* apReception) {
    const uint64_t lNow = Elapsed();
    const double lRate = aFinal ? Rate(cBytes, lNow) : Rate(cBytes - cBytesBefore, lNow - cTimeBefore);
    cBytesBefore = cBytes;
    cTimeBefore = lNow;
    const double lSeconds = static_cast<double>(lNow) / 1000;
    if (!aJson) {
        const std::string lReception = apReception != nullptr ? apReception->GetText() : "";
        return Decimal(lSeconds, 1) + " s: " + Short() + ", " + Count(cBytes, "byte") + ", " + Decimal(lRate, 1) +
               " kbit/s" + (lReception.empty() ? "" : "\n    reception: " + lReception);
    }
    nlohmann::ordered_json lLine = {{"type", aFinal ? "summary" : "statistics"},
                                    {"seconds", JsonDecimal(lSeconds, 1)},
                                    {"received", cReceived},
                                    {"sent", cSent},
                                    {"lost", cLost},
                                    {"bytes", cBytes},
                                    {"kbit_per_s", JsonDecimal(lRate, 1)}};
    if (apReception != nullptr)
        lLine["reception"] = JsonOf(*apReception);
    return JsonLine(lLine);
}

std::string RelayStatistics::Short() const {
    return Count(cReceived, "unit") + " received, " + std::to_string(cSent) + " sent, " + std::to_string(cLost) +
           " lost";
}
