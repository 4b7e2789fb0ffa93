#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Networking/StackObserver.h"

// Counts what a stack that receives from a network reports.  The endpoint's task counts, any thread may ask.
class ReceptionStatistics : public StackObserver {
public:
    void Observe(const StackReport& aReport) override;

    // Each count with its name, in the order in which they are told.
    std::vector<std::pair<const char*, uint64_t>> GetCounts() const;

    // The counts that are not 0 in one line; an empty text when nothing has come.
    std::string GetText() const;

    uint64_t Get(StackEvent aEvent) const { return cCounts[static_cast<size_t>(aEvent)]; }

private:
    std::array<std::atomic<uint64_t>, static_cast<size_t>(StackEvent::COUNT)> cCounts{};
};
