#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

// Why a unit was given up before the sender's task took it.
enum class DropReason : size_t {
    DAMAGED,        // it, or its AF packet, fails its checks
    FOREIGN,        // it is of another protocol
    ORDER,          // it is out of the super frame's order
    RECEIVE_QUEUE,  // the receiver's queue was full
    SEND_QUEUE      // the sender's queue was full
};
constexpr size_t DROP_REASON_COUNT = 5;

enum class PlayerQueue : size_t { RECEIVE, SEND };
constexpr size_t PLAYER_QUEUE_COUNT = 2;

// The bounds of the buckets of the pacing deviation's histogram.
constexpr size_t PACING_BUCKET_COUNT = 13;

// Counts what the player does.  Any thread may tell and ask; nobody ever waits.
class PlayerMetrics {
public:
    // For an output "address:port", which tells the players of one host apart.  The start time is now.
    explicit PlayerMetrics(const std::string& aOutput);

    void UnitHanded();  // the playing loop gave a unit to the sender's task
    // The sender's task has finished a unit: the network took it, or the stack refused it with a status code.
    void UnitSent();
    void UnitRefused(uint32_t aCode);

    void UnitDropped(DropReason aReason);
    void PassEnded();                                           // the recording begins again
    void NewGrid();                                             // a unit was so late that the pace began anew
    void PacingDeviation(std::chrono::nanoseconds aDeviation);  // of a unit from its due time, early or late
    void QueueLength(PlayerQueue aQueue, uint32_t aUnits);

    uint64_t GetUnitsHanded() const { return cHanded; }
    uint64_t GetUnitsFinished() const;  // sent and refused
    std::string StatusLine() const;     // for people
    std::string Text() const;           // all metrics in the Prometheus text format, version 0.0.4

private:
    // One for each status code; the first stands for all that are above.
    static constexpr size_t CODE_COUNT = 64;

    using Counter = std::atomic<uint64_t>;

    std::string Sample(const char* aName, const std::string& aLabels, const std::string& aValue) const;
    std::string Family(const char* aName, const char* aType, const char* aHelp, const std::string& aValue) const;
    std::string DroppedByReason() const;
    std::string RefusedByCode() const;
    std::string QueueLengths() const;
    std::string PacingHistogram() const;

    const std::string cOutputLabel;  // output="address:port"
    const std::string cStartTime;    // in seconds since 1970
    Counter cHanded = 0;
    Counter cSent = 0;
    std::array<Counter, CODE_COUNT> cRefused{};
    std::array<Counter, DROP_REASON_COUNT> cDropped{};
    Counter cPasses = 0;
    Counter cNewGrids = 0;
    std::atomic<int64_t> cLastSent = 0;  // in milliseconds since 1970
    std::atomic<bool> cDestinationUsable = false;
    std::array<std::atomic<uint32_t>, PLAYER_QUEUE_COUNT> cQueueLengths{};
    std::array<Counter, PACING_BUCKET_COUNT + 1> cDeviations{};  // one bucket more for what is above the bounds
    Counter cDeviationSum = 0;                                   // nanoseconds
};
