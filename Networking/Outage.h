#pragma once

#include <cstdint>

#include "platform/Clock.h"
#include "runtime/Trace.h"

// The time during which a sender's transport does not work.  It leaves one line in the trace file when it begins and
// one when it ends, and says when the transport may be opened anew.
class Outage {
public:
    // To be called after each send or opening that failed.
    void Begin(const char* apReason) {
        if (!cLasts)
            WriteTrace(apReason);
        cLasts = true;
    }
    // To be called after each send that worked.
    void End() {
        if (cLasts)
            WriteTrace("sending works again.");
        cLasts = false;
    }

    void NoteOpening() { cLastOpening = platform::TickCount(); }
    bool MayOpen() const { return platform::TickCount() - cLastOpening >= REOPEN_INTERVAL; }

private:
    static constexpr uint32_t REOPEN_INTERVAL = 1000;  // milliseconds

    bool cLasts = false;
    uint32_t cLastOpening = 0;  // tick
};
