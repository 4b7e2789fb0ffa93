#pragma once

#include <cstddef>
#include <cstdint>

#include "Networking/CRC16.h"

// The AF packet (ETSI TS 102 821, AF layer); numbers are most significant byte first:
//
//   offset  bytes  field
//   0       2      "AF"
//   2       4      LEN, bytes of payload
//   6       2      SEQ, sequence number
//   8       1      AR: bit 7 CF, there is a CRC; bits 6 to 4 major version; bits 3 to 0 minor version
//   9       1      PT, protocol of the payload, one character ('T' is a TAG packet)
//   10      LEN    payload
//   10+LEN  2      CRC-16 of all before it; 0 with CF clear

constexpr uint32_t AF_HEADER_SIZE = 10;
constexpr uint32_t AF_CRC_SIZE = 2;
constexpr uint32_t AF_OVERHEAD = AF_HEADER_SIZE + AF_CRC_SIZE;
constexpr uint32_t AF_MAX_SIZE = 65537;  // a whole packet; its CRC then covers 65,535 bytes
constexpr uint32_t AF_SEQUENCE_OFFSET = 6;
constexpr uint8_t AF_MAJOR_VERSION = 1;  // what is sent and taken unless a layer is set otherwise

struct AFHeader {
    uint32_t mLength = 0;  // of the payload, in bytes
    uint16_t mSequence = 0;
    bool mHasCRC = false;
    uint8_t mMajorVersion = 0;  // 0 to 7
    uint8_t mMinorVersion = 0;  // 0 to 15
    char mProtocol = '\0';
};

enum class AFCheck { VALID, CUT_SHORT, INVALID };

// Checks the packet at the front of aSize bytes: sync, major version, length and CRC.  apEngine computes the CRC;
// without one a packet that has a CRC is invalid.  *apHeader holds the header unless fewer than AF_HEADER_SIZE bytes
// are there.  ParseAFHeader leaves out the CRC.
AFCheck ParseAFHeader(const unsigned char* apBytes, size_t aSize, uint8_t aMajorVersion, AFHeader* apHeader);
AFCheck ParseAFPacket(const unsigned char* apBytes, size_t aSize, uint8_t aMajorVersion, const CRC16* apEngine,
                      AFHeader* apHeader);

// Writes AF_HEADER_SIZE bytes.
void WriteAFHeader(const AFHeader& aHeader, unsigned char* apBytes);
