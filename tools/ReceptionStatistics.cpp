#include "tools/ReceptionStatistics.h"

#include <initializer_list>

namespace {

using Events = std::initializer_list<StackEvent>;

// A count that is told is the sum of some events.
struct Row {
    const char* mName;
    Events mEvents;
};

const Row ROWS[] = {
    {"datagrams", {StackEvent::INPUT_TAKEN, StackEvent::INPUT_FOREIGN, StackEvent::INPUT_OVERSIZE}},
    {"foreign", {StackEvent::INPUT_FOREIGN}},
    {"damaged", {StackEvent::FRAGMENT_DAMAGED, StackEvent::PACKET_DAMAGED, StackEvent::INPUT_OVERSIZE}},
    {"duplicates", {StackEvent::FRAGMENT_DOUBLE, StackEvent::PACKET_DOUBLE}},
    {"late", {StackEvent::FRAGMENT_LATE, StackEvent::PACKET_LATE}},
    {"fragments_lost", {StackEvent::FRAGMENTS_LOST}},
    {"packets", {StackEvent::PACKET_COMPLETED}},
    {"packets_rebuilt", {StackEvent::PACKET_REBUILT}},
    {"packets_lost", {StackEvent::PACKETS_LOST}},
    {"restarts", {StackEvent::NUMBERING_ANEW}},
    {"other_sources", {StackEvent::SOURCE_FOREIGN}},
    {"sources", {StackEvent::SOURCE_FOLLOWED}},
    {"units_overflowed", {StackEvent::UNIT_OVERFLOWED}},
};

}  // namespace

void ReceptionStatistics::Observe(const StackReport& aReport) {
    cCounts[static_cast<size_t>(aReport.mEvent)] += aReport.mCount;
}

std::vector<std::pair<const char*, uint64_t>> ReceptionStatistics::GetCounts() const {
    std::vector<std::pair<const char*, uint64_t>> lCounts;
    for (const Row& lRow : ROWS) {
        uint64_t lSum = 0;
        for (const StackEvent lEvent : lRow.mEvents)
            lSum += Get(lEvent);
        lCounts.emplace_back(lRow.mName, lSum);
    }
    return lCounts;
}

std::string ReceptionStatistics::GetText() const {
    std::string lText;
    for (const auto& [lName, lCount] : GetCounts()) {
        std::string lWords(lName);
        for (char& lCharacter : lWords)
            lCharacter = lCharacter == '_' ? ' ' : lCharacter;
        if (lCount > 0)
            lText += (lText.empty() ? "" : ", ") + std::to_string(lCount) + " " + lWords;
    }
    const bool lNoneIsDCP = !lText.empty() && Get(StackEvent::INPUT_TAKEN) == 0;
    return lNoneIsDCP ? lText + ": datagrams arrive, none is DCP" : lText;
}
