#include "Networking/Receiver/SenderCodes.h"

#include <utility>

#include "platform/Console.h"

namespace {

// The sender works on a task of its own, so a unit's code may show with the next unit only: one unit without a code is
// no end yet.
constexpr uint32_t UNITS_WITHOUT_AT_END = 2;

// By one format, so that a quiet console takes the end of a code and its return for news.
void Tell(uint32_t aCode, const char* aEnd) {
    platform::Print("DRM Sender Error %d%s\n", static_cast<int>(aCode), aEnd);
}

}  // namespace

void SenderCodes::Note(uint32_t aCode) {
    if (aCode != 0) {
        cUnitsWithout = 0;
        if (std::exchange(cCode, aCode) != aCode)
            Tell(aCode, "");
    } else if (cCode != 0 && ++cUnitsWithout == UNITS_WITHOUT_AT_END) {
        Tell(std::exchange(cCode, 0), " has ended");
    }
}
