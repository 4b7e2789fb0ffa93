#include "Networking/Receiver/PlayerMetrics.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <numeric>

#include "Networking/StatusCodes.h"
#include "platform/Clock.h"

namespace {

constexpr auto RELAXED = std::memory_order_relaxed;
constexpr uint64_t NANOSECONDS_PER_SECOND = 1'000'000'000;

struct Bucket {
    int64_t mBound;  // nanoseconds, included
    const char* mText;
};
constexpr Bucket PACING_BUCKETS[PACING_BUCKET_COUNT] = {
    {50'000, "5e-05"},    {100'000, "0.0001"},  {200'000, "0.0002"},  {500'000, "0.0005"},  {1'000'000, "0.001"},
    {2'000'000, "0.002"}, {5'000'000, "0.005"}, {10'000'000, "0.01"}, {20'000'000, "0.02"}, {50'000'000, "0.05"},
    {100'000'000, "0.1"}, {200'000'000, "0.2"}, {400'000'000, "0.4"}};

constexpr const char* DROP_REASONS[DROP_REASON_COUNT] = {"damaged", "foreign", "order", "receive_queue", "send_queue"};
constexpr const char* QUEUES[PLAYER_QUEUE_COUNT] = {"receive", "send"};

int64_t MillisecondsNow() {
    const platform::CalendarTime lNow = platform::CalendarNow();
    return lNow.mSeconds * 1000 + lNow.mMilliseconds;
}

std::string SecondsText(int64_t aMilliseconds) {
    char lText[32];
    std::snprintf(lText, sizeof lText, "%" PRId64 ".%03d", aMilliseconds / 1000,
                  static_cast<int>(aMilliseconds % 1000));
    return lText;
}

std::string Escaped(const std::string& aValue) {
    std::string lText;
    for (const char lCharacter : aValue) {
        if (lCharacter == '\\' || lCharacter == '"')
            lText += '\\';
        lText += lCharacter;
    }
    return lText;
}

std::string Label(const char* aName, const std::string& aValue) {
    return std::string(",") + aName + "=\"" + aValue + "\"";
}

std::string Header(const char* aName, const char* aType, const char* aHelp) {
    const std::string lName = std::string("tessavox_") + aName;
    return "# HELP " + lName + " " + aHelp + "\n# TYPE " + lName + " " + aType + "\n";
}

template <typename Counters>
uint64_t Sum(const Counters& aCounters) {
    return std::accumulate(aCounters.begin(), aCounters.end(), uint64_t{0});
}

}  // namespace

PlayerMetrics::PlayerMetrics(const std::string& aOutput)
    : cOutputLabel("output=\"" + Escaped(aOutput) + "\""), cStartTime(SecondsText(MillisecondsNow())) {}

void PlayerMetrics::UnitHanded() {
    cHanded.fetch_add(1, RELAXED);
}

void PlayerMetrics::UnitSent() {
    cLastSent.store(MillisecondsNow(), RELAXED);
    cDestinationUsable.store(true, RELAXED);
    cSent.fetch_add(1, RELAXED);
}

void PlayerMetrics::UnitRefused(uint32_t aCode) {
    if (aCode == UDP_SOCKET_FAILED || aCode == UDP_SEND_FAILED)
        cDestinationUsable.store(false, RELAXED);
    cRefused[aCode < CODE_COUNT ? aCode : 0].fetch_add(1, RELAXED);
}

void PlayerMetrics::UnitDropped(DropReason aReason) {
    cDropped[static_cast<size_t>(aReason)].fetch_add(1, RELAXED);
}

void PlayerMetrics::PassEnded() {
    cPasses.fetch_add(1, RELAXED);
}

void PlayerMetrics::NewGrid() {
    cNewGrids.fetch_add(1, RELAXED);
}

void PlayerMetrics::PacingDeviation(std::chrono::nanoseconds aDeviation) {
    const int64_t lDeviation = std::abs(aDeviation.count());
    size_t lBucket = 0;
    while (lBucket < PACING_BUCKET_COUNT && lDeviation > PACING_BUCKETS[lBucket].mBound)
        ++lBucket;
    cDeviationSum.fetch_add(static_cast<uint64_t>(lDeviation), RELAXED);
    cDeviations[lBucket].fetch_add(1, RELAXED);
}

void PlayerMetrics::QueueLength(PlayerQueue aQueue, uint32_t aUnits) {
    cQueueLengths[static_cast<size_t>(aQueue)].store(aUnits, RELAXED);
}

uint64_t PlayerMetrics::GetUnitsFinished() const {
    return cSent + Sum(cRefused);
}

std::string PlayerMetrics::StatusLine() const {
    return "Units: " + std::to_string(cSent) + " sent, " + std::to_string(Sum(cRefused)) + " refused, " +
           std::to_string(Sum(cDropped)) + " dropped";
}

std::string PlayerMetrics::Sample(const char* aName, const std::string& aLabels, const std::string& aValue) const {
    return std::string("tessavox_") + aName + "{" + cOutputLabel + aLabels + "} " + aValue + "\n";
}

std::string PlayerMetrics::Family(const char* aName, const char* aType, const char* aHelp,
                                  const std::string& aValue) const {
    return Header(aName, aType, aHelp) + Sample(aName, "", aValue);
}

std::string PlayerMetrics::Text() const {
    return Header("build_info", "gauge", "Always 1; the labels tell the build.") +
           Sample("build_info", Label("version", TESSAVOX_VERSION), "1") +
           Family("start_time_seconds", "gauge", "When the player started, in seconds since 1970.", cStartTime) +
           Family("units_sent_total", "counter", "Units that the network took.", std::to_string(cSent)) +
           DroppedByReason() + RefusedByCode() +
           Family("destination_usable", "gauge", "1 when the network took the last unit that was to go out, else 0.",
                  cDestinationUsable ? "1" : "0") +
           Family("recording_passes_total", "counter", "How often the recording came to its end.",
                  std::to_string(cPasses)) +
           Family("last_unit_timestamp_seconds", "gauge",
                  "When the last unit was sent, in seconds since 1970; 0 before the first.", SecondsText(cLastSent)) +
           QueueLengths() +
           Family("new_grids_total", "counter", "How often a unit was so late that the pace began anew.",
                  std::to_string(cNewGrids)) +
           PacingHistogram();
}

std::string PlayerMetrics::DroppedByReason() const {
    std::string lText = Header("units_dropped_total", "counter", "Units given up before they were to go out.");
    for (size_t lReason = 0; lReason < DROP_REASON_COUNT; ++lReason)
        lText +=
            Sample("units_dropped_total", Label("reason", DROP_REASONS[lReason]), std::to_string(cDropped[lReason]));
    return lText;
}

// The codes of an unusable network are there from the beginning: the first increase of a series that is new is not
// seen.
std::string PlayerMetrics::RefusedByCode() const {
    std::string lText = Header("sender_errors_total", "counter", "Units that the sender refused, by its status code.");
    for (size_t lCode = 0; lCode < CODE_COUNT; ++lCode) {
        const uint64_t lCount = cRefused[lCode];
        if (lCount > 0 || lCode == UDP_SOCKET_FAILED || lCode == UDP_SEND_FAILED)
            lText += Sample("sender_errors_total", Label("code", std::to_string(lCode)), std::to_string(lCount));
    }
    return lText;
}

std::string PlayerMetrics::QueueLengths() const {
    std::string lText = Header("queue_length", "gauge", "Units that wait in a queue of at most 10.");
    for (size_t lQueue = 0; lQueue < PLAYER_QUEUE_COUNT; ++lQueue)
        lText += Sample("queue_length", Label("queue", QUEUES[lQueue]), std::to_string(cQueueLengths[lQueue]));
    return lText;
}

std::string PlayerMetrics::PacingHistogram() const {
    std::string lText =
        Header("pacing_deviation_seconds", "histogram", "How far from its due time a unit was handed to the sender.");
    uint64_t lCount = 0;
    for (size_t lBucket = 0; lBucket <= PACING_BUCKET_COUNT; ++lBucket) {
        lCount += cDeviations[lBucket];
        const char* const lBound = lBucket < PACING_BUCKET_COUNT ? PACING_BUCKETS[lBucket].mText : "+Inf";
        lText += Sample("pacing_deviation_seconds_bucket", Label("le", lBound), std::to_string(lCount));
    }
    const uint64_t lSum = cDeviationSum;
    char lSeconds[40];
    std::snprintf(lSeconds, sizeof lSeconds, "%" PRIu64 ".%09" PRIu64, lSum / NANOSECONDS_PER_SECOND,
                  lSum % NANOSECONDS_PER_SECOND);
    return lText + Sample("pacing_deviation_seconds_sum", "", lSeconds) +
           Sample("pacing_deviation_seconds_count", "", std::to_string(lCount));
}
