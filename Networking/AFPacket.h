#pragma once

#include <cstdint>

#include "Networking/CRC16.h"
#include "Networking/Packet.h"

constexpr uint32_t AF_HEADER_SIZE = 10;
constexpr uint32_t AF_CRC_SIZE = 2;
constexpr uint32_t AF_OVERHEAD = AF_HEADER_SIZE + AF_CRC_SIZE;
constexpr uint32_t AF_MAX_SIZE = 65537;  // a whole packet; its CRC then covers 65,535 bytes

// Application framing (ETSI TS 102 821, AF layer); numbers are most significant byte first:
//
//   offset  bytes  field
//   0       2      "AF"
//   2       4      LEN, bytes of payload
//   6       2      SEQ, sequence number
//   8       1      AR: bit 7 CF, there is a CRC; bits 6 to 4 major version; bits 3 to 0 minor version
//   9       1      PT, protocol of the payload, one character ('T' is a TAG packet)
//   10      LEN    payload
//   10+LEN  2      CRC-16 of all before it; 0 with CF clear
//
// To send: construct with AF_OVERHEAD + payload bytes, SetCRCEngine, WritePayload, point cPayloadProtocol at the name
// whose first character is PT, SetHeader, SetCRC.  To receive: construct with 0, point cPayloadProtocol at two
// characters, the second NUL, SetCRCEngine, Share, Parse.  Packets longer than AF_MAX_SIZE are refused both ways.
class AFPacket : public Packet {
public:
    AFPacket(uint32_t aCapacity, uint8_t aMajorVersion, uint8_t aMinorVersion);  // versions 0 to 7 and 0 to 15

    void SetCRCEngine(const CRC16* apEngine) { cpcEngine = apEngine; }  // must outlive the packet

    // As in Packet, but a payload that makes the packet longer than AF_MAX_SIZE is not written at all: 0 with
    // PACKET_WRITE_OVERFLOW.
    uint32_t WritePayload(uint32_t aLength, const unsigned char* apBytes);
    // Fill in the header for the payload in place, and the CRC over both.  0 with PACKET_WRITE_OVERFLOW when the
    // capacity is too small for it; without an engine SetCRC(true) is 0.
    uint32_t SetHeader(uint16_t aSequence, bool aCRCFlag);
    uint32_t SetCRC(bool aCRCFlag);

    // 1 for a valid packet of the same major version (the minor one may differ): cSize is then its size without what
    // follows it, the payload view is set and PT written to cPayloadProtocol, unless that is null.
    // 0 changes none of these; with PACKET_READ_OVERFLOW when the packet is cut short.  0 too without an engine for a
    // packet that has a CRC.
    uint32_t Parse() override;
    uint16_t GetSequence() const;  // of SetHeader or the header last parsed

private:
    unsigned char cHeader[AF_HEADER_SIZE];
    uint8_t cMajorVersion;
    uint8_t cMinorVersion;
    const CRC16* cpcEngine;
};
