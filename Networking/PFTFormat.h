#pragma once

#include <cstddef>
#include <cstdint>

#include "Networking/CRC16.h"

// The fragment of protection, fragmentation and transport (ETSI TS 102 821, PFT layer); numbers are most significant
// byte first:
//
//   bytes  field
//   2      "PF"
//   2      PSeq, sequence number of the packet that the fragment is a piece of
//   3      Findex, which piece, from 0
//   3      Fcount, number of pieces
//   2      bit 15 FEC, bit 14 Addr, bits 13 to 0 Plen, bytes of payload
//   1 + 1  with FEC only: RSk, data bytes per Reed-Solomon block; RSz, zero bytes that fill up the last block
//   2 + 2  with Addr only: Source and Dest address
//   2      HCRC, CRC-16 of all before it
//   Plen   payload

constexpr uint32_t PFT_FIXED_SIZE = 12;                              // "PF" to Plen
constexpr uint32_t PFT_RS_SIZE = 2;                                  // RSk and RSz
constexpr uint32_t PFT_ADDRESS_SIZE = 4;                             // Source and Dest
constexpr uint32_t PFT_CRC_SIZE = 2;                                 // HCRC
constexpr uint32_t PFT_HEADER_SIZE = PFT_FIXED_SIZE + PFT_CRC_SIZE;  // without the optional fields
constexpr uint32_t PFT_MAX_HEADER_SIZE = PFT_HEADER_SIZE + PFT_RS_SIZE + PFT_ADDRESS_SIZE;
constexpr uint32_t PFT_MAX_PAYLOAD = 0x3FFF;
constexpr uint32_t PFT_MAX_RSK = 207;
constexpr uint32_t PFT_PSEQ_OFFSET = 2;

struct PFTHeader {
    uint16_t mPSeq = 0;
    uint32_t mFindex = 0;  // 24 bits
    uint32_t mFcount = 0;  // 24 bits
    uint32_t mPlen = 0;    // 14 bits
    bool mFEC = false;     // RSk and RSz are there
    bool mAddressing = false;
    uint8_t mRSk = 0;
    uint8_t mRSz = 0;
    uint16_t mSource = 0;
    uint16_t mDestination = 0;

    // In bytes, with HCRC.
    uint32_t GetSize() const {
        return PFT_HEADER_SIZE + (mFEC ? PFT_RS_SIZE : 0) + (mAddressing ? PFT_ADDRESS_SIZE : 0);
    }
};

enum class PFTCheck { VALID, HEADER_CUT_SHORT, INVALID };

// Checks the fragment at the front of aSize bytes: sync, Findex below Fcount, RSk up to PFT_MAX_RSK (0 too), HCRC, and
// that all of its payload is there.  *apHeader is the header of a valid fragment, else of no use.
PFTCheck ParsePFTFragment(const unsigned char* apBytes, size_t aSize, const CRC16& aEngine, PFTHeader* apHeader);

// Writes the header up to HCRC, PFT_MAX_HEADER_SIZE bytes at most, and returns how many bytes.  The numbers are cut to
// their fields.
uint32_t WritePFTHeader(const PFTHeader& aHeader, unsigned char* apBytes);
