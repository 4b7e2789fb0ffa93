#pragma once

#include <cstdint>
#include <vector>

#include "Networking/FECProcessor.h"
#include "Networking/PFTFormat.h"
#include "Networking/Packet.h"

// The limits of a packet that live reception puts together.  An AF packet of AF_MAX_SIZE fits with its parity.
constexpr uint32_t LIVE_MAX_PACKET_SIZE = 90000;  // bytes, parity included
constexpr uint32_t LIVE_MAX_FRAGMENTS = 4096;

// The fragments of one packet that have arrived, in any order.  All of them have one format: the number of fragments,
// their size, and with parity the shape of the code.  The last fragment of a packet without parity may be shorter.  A
// packet that came whole counts as its only fragment.
//
// Memory: below 213,000 bytes (a growing vector takes up to twice LIVE_MAX_PACKET_SIZE for the payload, and each of
// LIVE_MAX_FRAGMENTS takes 8), which are kept for the next packet.
class PacketParts {
public:
    enum class Added { NEW, DOUBLE, REFUSED };

    void Clear();
    bool IsEmpty() const { return cCount == 0; }

    // Stores a copy of a fragment's payload, aHeader.mPlen bytes.  Refuses a fragment of another format than the first
    // one, and a packet beyond the limits.
    Added Add(const PFTHeader& aHeader, const unsigned char* apPayload);

    // For a fragment whose index is taken already.  Differs tells whether the stored one has other bytes; Replace puts
    // the new one in its place, as long as there is room for both.
    bool Differs(const PFTHeader& aHeader, const unsigned char* apPayload) const;
    void Replace(const PFTHeader& aHeader, const unsigned char* apPayload);

    uint32_t GetCount() const { return cCount; }  // of fragments
    bool IsWhole() const { return cCount > 0 && cCount == cFormat.mFcount; }
    bool HasParity() const { return cCount > 0 && cFormat.mFEC; }
    uint32_t GetMissing() const { return cCount > 0 ? cFormat.mFcount - cCount : 0; }

    // Writes the packet that was sent to *apPacket, which has room for LIVE_MAX_PACKET_SIZE bytes.  Fragments that are
    // missing are rebuilt from the parity; false when it does not suffice.
    bool Join(FECProcessor& aFEC, Packet* apPacket) const;

private:
    static constexpr uint32_t NOT_HERE = 0xFFFFFFFF;
    struct Part {
        uint32_t mOffset = NOT_HERE;  // of the payload in cBytes
        uint32_t mSize = 0;
    };

    bool Fits(const PFTHeader& aHeader) const;

    PFTHeader cFormat;   // of the first fragment
    uint32_t cSize = 0;  // of every fragment but the last; 0 as long as none of them has come
    uint32_t cCount = 0;
    std::vector<Part> cParts;           // by Findex
    std::vector<unsigned char> cBytes;  // payloads in the order of arrival
};
