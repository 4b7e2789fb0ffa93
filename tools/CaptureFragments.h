#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/CaptureFrame.h"

constexpr size_t MAX_FRAGMENTED_PACKETS = 64;       // at once
constexpr uint64_t FRAGMENT_PATIENCE = 30'000'000;  // microseconds
constexpr uint64_t DUPLICATE_PATIENCE = 1'000'000;  // microseconds

// Puts the fragments of IPv4 packets of UDP together, in any order.  Memory is bounded by MAX_FRAGMENTED_PACKETS of the
// largest packet, 4.3 MB, and so is the work for a fragment: as many comparisons of keys, and its own bytes.
//
// A packet that lacks a fragment is given up FRAGMENT_PATIENCE after its first one, or earlier when it is the oldest
// and its place is needed.  A fragment that came before is left out, also for DUPLICATE_PATIENCE after its packet was
// whole: a capture on all interfaces holds a frame once for each that it passed.  A fragment that contradicts what came
// before (other bytes at one place, another end) belongs to a later packet of the same number, and begins it.
class CaptureFragments {
public:
    // Takes a fragment that ParseFrame gave, with its time in microseconds; times may go back.  The payload of the
    // packet that is whole with it, valid until the next call, or nothing.
    std::optional<ByteView> Add(const IPv4Packet& aFragment, uint64_t aTime);

    // Packets that were given up or still lack a fragment.
    uint64_t GetUnfinished() const;

private:
    struct Slot {
        bool IsWaiting() const { return mUsed && mSize != mEnd; }
        bool IsOf(const IPv4Packet& aFragment) const;
        bool IsExpired(uint64_t aTime) const;
        bool Fits(const IPv4Packet& aFragment) const;
        void Put(const IPv4Packet& aFragment);

        bool mUsed = false;
        uint64_t mNumber = 0;  // of its beginning among all
        uint64_t mTime = 0;    // of its beginning, or when it was whole
        uint32_t mSource = 0;
        uint32_t mDestination = 0;
        uint16_t mId = 0;
        size_t mEnd = IPV4_MAX_PAYLOAD + 1;                      // the packet's size, or this before it is known
        size_t mReached = 0;                                     // where the furthest byte that came ends
        size_t mSize = 0;                                        // bytes that came
        std::bitset<IPV4_MAX_PAYLOAD / IPV4_BLOCK + 1> mBlocks;  // that came
        std::vector<unsigned char> mBytes;                       // never shrinks
    };

    Slot* Find(const IPv4Packet& aFragment, uint64_t aTime);
    Slot* MakeRoom(uint64_t aTime);
    void Begin(Slot* apSlot, const IPv4Packet& aFragment, uint64_t aTime);

    std::vector<Slot> cSlots;
    uint64_t cBegun = 0;
    uint64_t cGivenUp = 0;
};
